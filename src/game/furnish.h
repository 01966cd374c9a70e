// Furnishes the field: the boundary walls, stones, coins, and the maze with its four doughnuts.
// Caller holds frame_rendering_mutex. The random stream is consumed in the order stated, so that a seed determines
// everything.
#pragma once

#include <cstdint>

inline constexpr int MAZE_VERTICES = 17; // grid vertices along each axis
inline constexpr int MAZE_CELL = 32;     // field units between them

/// Appends the eight faces of the field's boundary; the front faces look inwards.
void generate_boundary_wall();

/// Empties the wall table and puts the boundary back.
void reset_wall();

/// Tries to place `n` objects at random, each after at most ten draws (x, then y). @return n, placed or not
/// @param flag  the TTL_* bit of their kind
int scatter_objects(uint32_t flag, int n);

/// scatter_objects of stones.
int scatter_stone(int n);

/// A two-sided wall from grid vertex (gx, gy) to (gx + dx, gy + dy); (dx, dy) is a unit step.
void gen_wall(int gx, int gy, int dx, int dy);

/// Adds the maze's walls and its four doughnuts. Each inner vertex gets one wall in a random direction: the first row
/// has four directions, the others three, each with at most six draws of random().
void generate_maze();

/// Places up to `n` coins at random (x, then y), ranks above all others; at least one, as the count is tested after a
/// coin was placed. @return 0, also when slots ran out; -1 when the bank was empty before
int field_scatter_coin(int n);
