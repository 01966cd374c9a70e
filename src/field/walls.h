// The table of one-sided wall faces; field/wall_map fills it.
// Commands, frames, menu and key handlers hold frame_rendering_mutex; HTTP threads read without it.
// Every physical wall is two records, front and back; a face stops only motion against its normal.
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

inline constexpr int WALL_MAX = 700;
inline constexpr uint32_t WALL_BACKFACE = 0x100000; // wall_t::attr: back of a two-sided wall, has no top to draw

struct wall_t {
    double x1, y1, x2, y2; // end points, field units
    double nx, ny;         // normal of the face, need not be of unit length
    uint32_t attr;         // WALL_BACKFACE
};
static_assert(std::is_trivially_copyable_v<wall_t>);

extern std::array<wall_t, WALL_MAX> walls;
extern int nwall;
