// One step of the game: the only place that defines the order of its rules. Everything that steps the game calls
// tick(): the frame, which then draws the returned view, and programs without a picture. Caller holds
// frame_rendering_mutex. The caller's timer advances the clock, signals.elapsed_time.
#pragma once

#include "field/turtles.h"
#include "game/battle.h"
#include "game/marks.h"

#include <array>

// A line from a turtle to the last find of one of its sensors; shown in one tick of battle mode.
struct sensor_line_t {
    bool shown;
    point_t from, to;
};

// The visible part of one slot's turn.
struct turn_t {
    int slot;
    bool fires; // its beam flew in this tick; a beam flies on when its turtle is gone
    beam_view_t beam;
    bool in_use;     // what follows is set for slots in use only
    turtle_t turtle; // the record to be drawn: after its beam's step, before its death and its robot's action
    sensor_line_t finder, radar;
    dying_view_t dying;
    explosion_view_t explosion;
};

// The visible part of one tick.
struct tick_view_t {
    int count;                         // slots scanned
    std::array<mark_t, TTL_MAX> marks; // by slot, which is the order of painting
    std::array<turn_t, TTL_MAX> turns; // in the order of drawing: doughnuts and stones lie under the others
};

/// The start of a tick: coins within reach, team boards accept messages again.
void begin_tick();

/// The turn of slot `i`: moves its beam, counts its death and its gun's pause down, lets a robot act.
/// @param[out] turn  what is not visible of it stays as it was
void take_turn(int i, turn_t& turn);
turn_t take_turn(int i);

/// One tick. @param[out] view  what to draw of it
void tick(tick_view_t& view);

/// One tick that is not drawn.
void tick();
