// The grid over the coins: every coin on the field hangs in the list of the 32 x 32 cell that holds it, so that the
// coins near a turtle are found without a scan. Caller holds frame_rendering_mutex.
// Places outside the field count for the border cell, so that a coin dropped out there can be picked up again.
#pragma once

#include <array>

struct coin_t;

inline constexpr int COINMAP_SIDE = 16;      // cells along each axis
inline constexpr double COINMAP_CELL = 32.0; // field units
inline constexpr double COIN_REACH = 20.0;   // field units; a coin nearer than this is within reach

extern std::array<coin_t*, COINMAP_SIDE * COINMAP_SIDE> coinmap; // heads, [column * COINMAP_SIDE + row]

/// Empties every cell.
void init_coinmap();

/// Hangs coin number `coin` behind the last one of its cell; its own link must be null.
void add_coin_to_map(int coin);

/// Takes coin number `coin` out of its cell; its place must be the one it was added at.
void remove_coin_from_map(int coin);

/// Number of coins nearer than COIN_REACH to turtle `i`.
/// @param[out] nearest  number of the nearest one, the first met of equals; -1 without any
int count_neighbor_coin_in_map(int i, int& nearest);

/// Highest rank among the coins on the field; -1 without any.
[[nodiscard]] int highest_coin_ord();
