// How much of a stroke is painted: a bound on the pixels of strokes that are wider than ordinary ones. Pure functions.
// The width of a brush comes from its program as it is. Rows of dots stand a twentieth of the width at their start
// apart, so that a row which begins with next to nothing and ends wider than the window would fill the window 500
// times.
#pragma once

#include <span>

// One dot of a row: a square of side `size` centred at (x, y), field units.
struct ink_dot_t {
    double x, y, size;
};

inline constexpr double ORDINARY_WIDTH = 100.0;      // field units; strokes up to this width are painted dot for dot
inline constexpr double FRAME_INK = 4.0 * 512 * 512; // pixels that all wider strokes of one frame may fill together
// Half of this share of a dot's side is the radius within which its ink is solid, a little less than it is in the
// image.
inline constexpr double SOLID_SHARE = 0.45;
// Solid ink lets a twentieth of the ground through. Below as many layers no pixel of 8 bits shows any of it.
inline constexpr int SOLID_LAYERS = 3;

struct ink_t {
    int count;      // dots that are left, at the front of the span and in their order
    bool fills_all; // the stroke is one plain area of its color over the whole window; count is 0
};

/// Leaves of a stroke's dots, in place, those that are to be painted: none that lies wholly outside the window; none at
/// all where SOLID_LAYERS of them cover the whole window with solid ink, for then the window is filled; and where they
/// would fill more pixels than `pixels`, every second, third and so on, and the last.
/// @param dots    finite places and sizes, sizes above 0
/// @param pixels  0 or more, infinite for no bound
[[nodiscard]] ink_t bound_ink(std::span<ink_dot_t> dots, double pixels);
