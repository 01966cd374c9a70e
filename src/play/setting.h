// The start of a game: the seed and what is on the field. A record stores it, so that the game can be replayed.
#pragma once

#include <cstdint>

enum class field_mode_t { drawing, battle, maze };

struct setting_t {
    uint32_t seed = 0;
    field_mode_t mode = field_mode_t::drawing;
    int stones = 0; // tried at random places, 0 to STONES_MOST; a full table takes no more
    int coins = 0;  // scattered on the field, 0 to COIN_MAX
};

inline constexpr int STONES_MOST = 30; // the turtle table holds no more

/// "drawing", "battle" or "maze".
[[nodiscard]] const char* mode_name(field_mode_t mode);

/// @return whether `name` is one of the three; `mode` is written only then
[[nodiscard]] bool mode_of_name(const char* name, field_mode_t& mode);

/// Seeds the random numbers and initialises all tables as the window does at its start, then changes the mode and
/// scatters stones and coins, in this order: the same setting gives the same field. No client may be connected.
void furnish_field(const setting_t& setting);
