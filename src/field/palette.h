// The team colors of the window; a test compares those of the page for browsers with them.
#pragma once

#include "field/turtles.h"

/// By team.
inline constexpr std::array<rgb_t, TEAM_MAX> TEAM_COLORS{{
    {0.2, 1.0, 0.1},
    {0.7, 0.3, 1.0},
    {0.5, 0.9, 0.9},
    {0.1, 0.1, 1.0},
    {0.8, 0.9, 0.0},
}};
inline constexpr rgb_t NO_TEAM_COLOR{0.7, 0.8, 0.0};

/// Body color of a team, modulo TEAM_MAX; a negative team has a color of its own.
[[nodiscard]] constexpr rgb_t team_color(int team) {
    const int remainder = team % TEAM_MAX; // keeps the sign of the team
    return remainder < 0 ? NO_TEAM_COLOR : TEAM_COLORS[static_cast<size_t>(remainder)];
}
