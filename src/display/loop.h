// The main loop: waits for the display server and for the next tick, and lets GLUT handle events. Window thread.
#pragma once

#include <cstdint>

/// Turns vertical synchronisation off: it would slow ticks to 60 a second, or to one where a compositor does not show
/// the window. Does nothing when the driver does not support it. Needs a GL context.
void let_swaps_not_wait();

/// One tick and its frame. GLUT does not draw in a window that is minimised, on another workspace or fully covered;
/// then the frame is drawn here, with all its computing, painting and captures, and only not shown.
/// @param tick  counts, asks GLUT for a frame, and returns after how many ns the next tick is due
/// @return what `tick` returned
int64_t tick_and_draw(int64_t (*tick)());

/// Runs the window and does not return: events as they come, ticks when they are due by the monotonic clock. (GLUT's
/// own loop and timers use whole milliseconds of the system clock: set back by an hour, it would stop the field for an
/// hour.)
[[noreturn]] void run_loop(int64_t (*tick)());
