// One step of the game: the only place that says in which order its rules run. Everything that steps the game calls
// tick(): the frame, which then draws what it was told, and whatever plays without a picture.
// Caller holds frame_rendering_mutex. The clock, signals.elapsed_time, is advanced by the caller's timer.
#pragma once

#include "field/turtles.h"
#include "game/battle.h"
#include "game/marks.h"

#include <array>

// A line from a turtle to what one of its sensors found last; shown in one tick of battle mode.
struct sensor_line_t {
    bool shown;
    point_t from, to;
};

// What there is to see of one slot's turn.
struct turn_t {
    int slot;
    bool fires; // its beam flew in this tick; a beam flies on when its turtle has gone
    beam_view_t beam;
    bool in_use;     // the rest is for slots in use only
    turtle_t turtle; // the record as it was when it was to be drawn: after its beam, before its death and its robot
    sensor_line_t finder, radar;
    dying_view_t dying;
    explosion_view_t explosion;
};

// What there is to see of one tick.
struct tick_view_t {
    int count;                         // slots looked at
    std::array<mark_t, TTL_MAX> marks; // by slot, which is the order of painting
    std::array<turn_t, TTL_MAX> turns; // in the order of drawing: doughnuts and stones lie under the others
};

/// The start of a tick: coins within reach, team boards open again.
void begin_tick();

/// The turn of slot `i`: its beam flies, it dies a little, its gun cools, a robot acts.
turn_t take_turn(int i);

/// One tick. @param[out] view  what there is to draw of it
void tick(tick_view_t& view);

/// One tick that nobody draws.
void tick();
