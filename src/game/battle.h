// The game rules that run once per frame: coin events, flying beams and their hits, dying, robots.
// Window thread, inside the frame (frame_rendering_mutex held). No OpenGL here: each step changes the tables and
// returns what to draw. Counters count frames. The random stream is consumed in slot order, one drand per use.
#pragma once

#include <cstdint>

#include "field/state.h"
#include "field/turtles.h"

inline constexpr double BEAM_STEP = 2.0;           // field units that a beam flies per frame
inline constexpr double BEAM_REACH_SQUARED = 100;  // a body nearer than 10 to the beam is hit, field units squared
inline constexpr int HIT_REWARD = 11;              // points for the shooter
inline constexpr int HIT_DAMAGE = 30;              // points off the victim
inline constexpr double DOUGHNUT_RANGE = 40.0;     // a doughnut shot from here or farther earns nothing, field units
inline constexpr int GLOW_ABOVE = 35;              // dying_count above which a dying turtle glows
inline constexpr double ROBOT_STEP = 0.15;         // field units that a robot walks per frame
inline constexpr double ROBOT_MARGIN = 10.0;       // field units that a robot keeps from the field's edges
inline constexpr double ROBOT_FIRE_CHANCE = 0.002; // per frame

// What a frame has to draw for one flying beam.
struct beam_view_t {
    point_t ball;   // where the beam was at the start of the frame
    int32_t struck; // 1 when it met a wall in this frame: an explosion at `strike`
    point_t strike;
};

// What a frame has to draw for one dying turtle.
struct dying_view_t {
    int32_t glow; // 1 while it glows
    point_t at;
};

// What a frame has to draw of an explosion.
struct explosion_view_t {
    int32_t shown;
    point_t at;
    double alpha; // 1 at first, then fading to 1/25
};

/// Raises EVENT_COIN once for every client's turtle that has come near a coin, and again only after a frame away from
/// all coins. Scans all slots.
void update_coin_event();

/// 1 when turtle `target` lives, is not dying and stands nearer than 10 to (x, y), else 0. Zombies, robots, stones and
/// doughnuts can be hit.
[[nodiscard]] int is_hit_by_bullet(int target, double x, double y);

/// Starts the dying of turtle `i`; one that is already dying is unchanged.
void start_to_kill(int i);

/// Moves the beam of slot `i` one step, whether the slot is in use or not, and resolves hits: first walls, then the
/// lowest slot within reach, both in one frame if need be. Requires TTL_FIRING.
[[nodiscard]] beam_view_t step_beam(int i);

/// Counts dying down by one frame; at the end frees the slot and asks its client to disconnect. Does nothing when the
/// turtle is not dying.
dying_view_t step_dying(int i);

/// Counts the pause after a resolved shot down by one frame. Shows nothing when there is none.
[[nodiscard]] explosion_view_t step_fire_wait(int i);

/// One step of a robot: walks, turns at the margin, turns about at an obstacle, fires at random. A refused step moves
/// the robot back by the step's length. Doughnuts do nothing and draw no random number.
void update_robot(int i);
