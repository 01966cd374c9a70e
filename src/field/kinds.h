// The kinds of objects on the field, with their codes elsewhere: one row per kind.
#pragma once

#include "field/turtles.h"

#include <array>
#include <cstdint>

enum class kind_t { turtle, robot, doughnut, stone };

// Obstacles. These are also the codes of the finder.
inline constexpr uint32_t BLOCKED_BY_NOTHING = 0;
inline constexpr uint32_t BLOCKED_BY_TURTLE = 1;
inline constexpr uint32_t BLOCKED_BY_DOUGHNUT = 2;
inline constexpr uint32_t BLOCKED_BY_STONE = 3;

struct kind_info_t {
    kind_t kind;
    const char* name;      // in the record of a game
    uint32_t flag;         // TTL_* bit of the kind; 0 for a turtle
    uint32_t blocked_by;   // BLOCKED_BY_* of it as an obstacle
    uint32_t event, latch; // of the blocked turtle: EVENT_*, and the TTL_LATCH_* that marks it as reported
    int json_type;         // "type" on the page for browsers
};

inline constexpr std::array<kind_info_t, 4> KINDS{{
    {kind_t::turtle, "turtle", 0, BLOCKED_BY_TURTLE, EVENT_TURTLE, TTL_LATCH_TURTLE, 1},
    {kind_t::robot, "robot", TTL_ROBOT, BLOCKED_BY_TURTLE, EVENT_TURTLE, TTL_LATCH_TURTLE, 1},
    {kind_t::doughnut, "doughnut", TTL_DOUGHNUT, BLOCKED_BY_DOUGHNUT, EVENT_DOUGHNUT, TTL_LATCH_DOUGHNUT, 2},
    {kind_t::stone, "stone", TTL_STONE, BLOCKED_BY_STONE, EVENT_STONE, TTL_LATCH_STONE, 3},
}};

/// The kind for turtle_t::flags. The last matching row counts: an ownerless doughnut has the robot's bit, too.
[[nodiscard]] constexpr const kind_info_t& kind_of(uint32_t flags) {
    const kind_info_t* found = &KINDS[0];
    for (const kind_info_t& kind : KINDS) {
        if (has_any(flags, kind.flag)) found = &kind;
    }
    return *found;
}

namespace kinds_detail {

constexpr uint32_t all_of(uint32_t kind_info_t::*field) {
    uint32_t bits = 0;
    for (const kind_info_t& kind : KINDS) bits |= kind.*field;
    return bits;
}

} // namespace kinds_detail

/// The events of all obstacles, walls included, and the latches of all but walls.
inline constexpr uint32_t EVENTS_BLOCKED = kinds_detail::all_of(&kind_info_t::event) | EVENT_WALL;
inline constexpr uint32_t TTL_LATCH_OBJECTS = kinds_detail::all_of(&kind_info_t::latch);
