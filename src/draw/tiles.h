// Which parts of the window have changed, in squares of 16 pixels: what is copied from one picture to another is only
// that. Plain values; window thread.
#pragma once

#include <array>
#include <cstdint>
#include <span>

inline constexpr int TILE_PIXELS = 16;                                 // the side of a tile
inline constexpr int TILES_A_SIDE = 32;                                // of the window
inline constexpr int RECTANGLES_MAX = TILES_A_SIDE * TILES_A_SIDE / 2; // runs of a row lie at least a tile apart

struct tiles_t {
    std::array<uint32_t, TILES_A_SIDE> rows; // from the bottom up; bit c is the tile with c tiles left of it
};

// A part of the window, pixels from its lower left corner; right and top are the first that do not belong to it.
struct rectangle_t {
    int left, bottom, right, top;
};

void clear_tiles(tiles_t& tiles);
void mark_all_tiles(tiles_t& tiles);

/// Marks the tiles that a rectangle touches, its sides included. Window coordinates, 0 to 512; what lies outside the
/// window is passed over, and a side that is no number reaches across the window.
void mark_tiles(tiles_t& tiles, double left, double bottom, double right, double top);

[[nodiscard]] bool any_tile(const tiles_t& tiles);

/// Whether copying the marked tiles one rectangle after the other is cheaper than copying all: each copy costs some
/// microseconds besides its pixels.
[[nodiscard]] bool is_worth_picking_out(const tiles_t& tiles);

/// Whether a rectangle, given as for mark_tiles, touches a marked tile.
[[nodiscard]] bool touches_tiles(const tiles_t& tiles, double left, double bottom, double right, double top);

/// The smallest rectangle around the marked tiles that a rectangle, given as for mark_tiles, touches; an empty one
/// where it touches none.
[[nodiscard]] rectangle_t tiles_within(const tiles_t& tiles, double left, double bottom, double right, double top);

/// The marked tiles as rectangles that do not overlap: runs of a row, and equal runs of rows that follow one another as
/// one. @return how many
int rectangles_of(const tiles_t& tiles, std::span<rectangle_t, RECTANGLES_MAX> rectangles);
