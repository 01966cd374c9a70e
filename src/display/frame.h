// One frame: the game makes one step, then what it tells is drawn: first on the canvas, then the scene over it.
// Window thread.
#pragma once

#include "game/tick.h"

#include <cstdint>

extern uint64_t frames_drawn; // since the start, shown or not; window thread only
// Pixels of the window, as GLUT told last. A window manager may keep it larger than the field's square; window thread.
extern int window_width, window_height;

/// A tick and its picture, which stands in the back buffer but is not shown yet. Holds frame_rendering_mutex from
/// before the first table is read until the picture is finished, so that commands run between frames only.
void draw_frame();

/// The picture of a tick that was made already. Changes no table of the field. Caller holds the lock.
void draw_tick(const tick_view_t& view);

/// GLUT display callback: draws a frame and shows it.
void display();
