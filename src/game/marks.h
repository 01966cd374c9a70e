// The marks that a turtle leaves on the canvas in one tick: its newest segment, the end of a brush stroke, its printed
// text. Changes the table only; drawing reads the returned marks. Caller holds frame_rendering_mutex.
#pragma once

#include "field/turtles.h"

enum class mark_kind_t { none, pen, brush, brush_end };

struct mark_t {
    bool in_use; // false: the slot is free and nothing of it is painted
    mark_kind_t kind;
    bool text;       // the turtle's message is to be printed
    turtle_t turtle; // the record for painting; set only when something must be painted, else as it was
};

/// Takes the unpainted marks of slot `i`, once: a segment is marked as painted, a message is emptied. In brush mode the
/// first three segments after pen down are held back, because a stroke needs its neighbours.
void leave_mark(int i, mark_t& mark);
[[nodiscard]] mark_t leave_mark(int i);
