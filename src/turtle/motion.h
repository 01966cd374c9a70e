// The commands that move a turtle. Turtles, doughnuts and stones always block; walls only in bounded-area mode;
// battle mode limits the speed. Every move shifts the track history. Caller holds frame_rendering_mutex.
#pragma once

#include "field/kinds.h"

/// A text for the end of a step, for users who ask why a turtle does not move.
[[nodiscard]] const char* step_end_text(step_end_t end);

/// One step of `length` field units along the heading, backwards when negative; in battle mode at most 2.
/// A blocked turtle does not move at all; the kind of obstacle is reported once, as an event.
step_end_t try_step(int i, double length);

/// try_step. @return 0 moved; -1 refused or blocked. Built with KELMORA_LOG_STEPS, logs every end.
int turtle_step_forward(int i, double length);

/// To (x, y) regardless of what lies between. Refused in battle mode, to a zombie, to a turtle with another one too
/// close at its start, and in bounded-area mode outside the field or within 10 of a wall. @return 0 moved; -1 refused
int turtle_jump(int i, double x, double y);

/// turtle_jump by (dx, dy).
int turtle_rjump(int i, double dx, double dy);

/// Turns by `angle` degrees, counter-clockwise positive; in battle mode by at most 3. @return 0; -1 refused
int turtle_turn(int i, double angle);

/// Sets heading 0, 90, 180 or -90 for codes 1 to 4; other codes keep it.
/// @return 0; 1 in battle mode or for a zombie
int turtle_head(int i, int code);
