// The loop that waits for the display server and for the next tick, and lets GLUT handle what comes in. Window thread.
#pragma once

#include <cstdint>

/// Makes showing a frame not wait for the screen: ticks would come at its beat then, 60 a second, or one where a
/// compositor does not show the window. Does nothing where the driver knows no such wait. Wants a GL context.
void let_swaps_not_wait();

/// One tick and its frame. GLUT draws none in a window that is minimised, on another workspace or wholly covered; then
/// it is drawn here, with all that it computes, paints and captures, and just not shown.
/// @param tick  counts, asks GLUT for a frame, and tells after how many ns the next tick is due
/// @return what `tick` returned
int64_t tick_and_draw(int64_t (*tick)());

/// Runs the window and does not return: events as they come, ticks when they are due by the monotonic clock. (GLUT's
/// own loop and timers count whole milliseconds of the clock of the day: set back by an hour, it would let the field
/// stand still for an hour.)
[[noreturn]] void run_loop(int64_t (*tick)());
