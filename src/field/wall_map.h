// The grid over the walls: finds the walls near a place or on a line through it without scanning all. A list may
// contain walls that are farther away, and a wall twice, but never omits one: callers compute the distances. Caller
// holds frame_rendering_mutex.
#pragma once

#include "field/walls.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// Candidate walls, as indices of the wall table.
struct wall_list_t {
    std::array<int16_t, size_t{2} * WALL_MAX> index; // room for one call of each of the functions below
    size_t count = 0;

    [[nodiscard]] std::span<const int16_t> found() const { return {index.data(), count}; }
};

/// Appends one face to the wall table and enters it into the grid; a full table ignores it. The first face of the table
/// empties the grid.
void setup_wall(uint32_t attr, double x1, double y1, double x2, double y2, double nx, double ny);

/// Appends every wall whose line passes (x, y) at less than `reach` and whose middle, along that line, is nearer than
/// `reach` plus half the wall's length; this includes all walls with any point nearer than `reach`.
/// For a place or reach that is far out or not finite, all walls are appended, here and below.
void list_walls_near(wall_list_t& list, double x, double y, double reach);

/// Appends every wall whose line passes (x, y) at less than `aside`, at any distance along that line. Without a maze,
/// a list that list_walls_near has filled with all walls stays as it is.
void list_walls_in_line(wall_list_t& list, double x, double y, double aside);
