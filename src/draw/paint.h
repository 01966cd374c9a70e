// Paints the marks of a tick onto the canvas. Window thread, inside the frame, while the projection is the flat field.
// No table is changed.
#pragma once

#include "brush/ink.h"
#include "game/marks.h"

#include <span>

// 1 when this frame wiped the canvas or painted on it: the canvas is then copied back into its texture.
extern int field_is_painted;

/// Paints the segment or the end of the stroke and prints the mark's text. Leaves the front material black (ambient,
/// diffuse and emission) with alpha 0. A mark of a free slot changes nothing, not even the material.
/// @param pixels  of the window that a brush stroke wider than ordinary ones may fill
void paint_by_turtle(const mark_t& mark, double pixels = FRAME_INK);

/// All marks of a tick in their order. Wide strokes share FRAME_INK evenly.
void paint_marks(std::span<const mark_t> marks);
