// One frame: one step of the game, then its view is drawn: first on the canvas, then the scene over it. Window thread.
#pragma once

#include "game/tick.h"

#include <cstdint>

/// Frames drawn since the start, shown or not.
[[nodiscard]] uint64_t frames_drawn();

/// Tells the window's size in pixels. A window manager may keep it larger than the field's square: the background then
/// fills what lies beyond.
void set_window_size(int width, int height);

/// A tick and its picture, left in the back buffer but not shown yet. Holds frame_rendering_mutex from before the first
/// table is read until the picture is finished, so that commands run between frames only.
void draw_frame();

/// Draws a tick made earlier. Changes no table of the field. Caller holds the lock.
void draw_tick(const tick_view_t& view);

/// GLUT display callback: draws a frame and shows it.
void display();
