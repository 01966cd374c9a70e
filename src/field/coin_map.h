// The grid over the coins: each coin on the field is in the list of its 32 x 32 cell, so that coins near a turtle are
// found without a scan. Caller holds frame_rendering_mutex. Places outside the field belong to the border cells, so
// that a coin dropped there can be picked up.
#pragma once

#include <array>

struct coin_t;

inline constexpr int COINMAP_SIDE = 16;      // cells along each axis
inline constexpr double COINMAP_CELL = 32.0; // field units
inline constexpr double COIN_REACH = 20.0;   // field units; a coin nearer than this is within reach

extern std::array<coin_t*, COINMAP_SIDE * COINMAP_SIDE> coinmap; // heads, [column * COINMAP_SIDE + row]

/// Empties every cell.
void init_coinmap();

/// Appends coin number `coin` to the list of its cell; its own link must be null.
void add_coin_to_map(int coin);

/// Takes coin number `coin` out of its cell; its place must be the one it was added at.
void remove_coin_from_map(int coin);

/// Number of coins nearer than COIN_REACH to turtle `i`.
/// @param[out] nearest  number of the nearest one, the first of equals; -1 without any
int count_neighbor_coin_in_map(int i, int& nearest);

/// Highest rank among the coins on the field; -1 without any.
[[nodiscard]] int highest_coin_ord();
