// Bounds the painted pixels of strokes that are wider than ordinary ones. Pure functions. The width of a brush comes
// from its program unchecked. Dots are spaced by a twentieth of the width at a row's start, so a row that starts with
// almost no width and ends wider than the window would fill the window 500 times.
#pragma once

#include <span>

// One dot of a row: a square of side `size` centred at (x, y), field units.
struct ink_dot_t {
    double x, y, size;
};

inline constexpr double ORDINARY_WIDTH = 100.0;      // field units; strokes up to this width are painted dot for dot
inline constexpr double FRAME_INK = 4.0 * 512 * 512; // pixels that all wider strokes of one frame together may fill
// Half of this share of a dot's side is the radius within which its ink is solid, slightly less than in the image.
inline constexpr double SOLID_SHARE = 0.45;
// Solid ink lets a twentieth of the background through; with this many layers none of it is visible in 8 bits.
inline constexpr int SOLID_LAYERS = 3;

struct ink_t {
    int count;      // remaining dots, at the front of the span and in their order
    bool fills_all; // the stroke covers the whole window with its color; count is 0
};

/// Keeps, in place, the dots of a stroke that must be painted: none that lies wholly outside the window; none at all
/// when SOLID_LAYERS of them cover the whole window with solid ink, because then the window is filled; and when they
/// would fill more than `pixels` pixels, only every second, third and so on, and the last.
/// @param dots    finite places and sizes, sizes above 0
/// @param pixels  0 or more, infinite for no bound
[[nodiscard]] ink_t bound_ink(std::span<ink_dot_t> dots, double pixels);
