// The newest piece of a turtle's track, from the short history in its record: ink strokes, lines, points, polygons.
// Window thread, inside the frame, with the caller's matrices. Nothing in the record is changed.
// A point at history index k goes with the width and color at k + 1: both lag one step behind, on purpose.
#pragma once

#include "brush/ink.h"
#include "field/turtles.h"

/// Passes the track's points to the brush. While the pen is down the ink runs two segments behind the turtle; lifting
/// draws what is missing.
/// @param final   0 for a new segment with the pen down (n_painted 3 or less draws nothing); not 0 once when lifted
/// @param pixels  of the window that a stroke wider than ORDINARY_WIDTH may fill; beyond that its dots are thinned out
void paint_by_brush(const turtle_t& t, int final, double pixels = FRAME_INK);

/// Whether a width used by such a stroke is beyond ORDINARY_WIDTH or NaN.
[[nodiscard]] bool brush_is_wide(const turtle_t& t, int final);

/// Draws the newest segment of the turtle as a polygon over up to the latest six points, else as a point, else as a
/// line. Only the front emission has the colors. Line width and point size are 1 afterwards; a width that is not above
/// 0 or not finite draws at 1.
void paint_line_and_fill_area(const turtle_t& t);

/// Sets the front emission to (r, g, b, 1); components are limited to 0..1, NaN is 0.
void set_pen_emission(double r, double g, double b);
