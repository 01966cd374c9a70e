// Walls, sensor lines and turtles above the floor, z up. Window thread, inside the frame. No table is changed: a
// turtle's actions in a tick come from its turn.
#pragma once

#include "field/walls.h"
#include "game/tick.h"

#include <span>

// Every wall, coin and solid is drawn by itself, without culling, batches and lists. The picture is the same; tests and
// benchmarks compare both.
extern bool use_reference_path;

/// All walls: stone faces one unit in front of the line, capped by slabs at height 15 with pointed ends.
void draw_walls();

/// The walls whose index is wanted; the plain way draws all.
void draw_some_walls(std::span<const bool, WALL_MAX> wanted);

/// The lines from a turtle to the last finds of its finder and its radar.
void draw_beam(const turn_t& turn);

/// Front material of a turtle's body, by team. A dying turtle keeps its color: only blending fades it.
void set_ttl_color(const turtle_t& t);

/// The body of a turtle at (x, y), heading `dir` degrees. Objects are their icons.
/// @param leg_phase, head_phase  -1 to 1: where in its gait the turtle is
void draw_turtle_body(const turtle_t& t, double x, double y, double dir, double leg_phase, double head_phase);

/// Everything of one slot's turn: beam, sensor lines, body, labels, death, explosion.
void draw_turtle(const turn_t& turn);

/// The same of all slots in their order; TTL_MAX at most. Bodies that nothing blended comes between are drawn at once.
void draw_turtles(std::span<const turn_t> turns);
