// Walls, sensor lines and turtles above the floor, z up. Window thread, inside the frame.
// draw_turtle also drives the game rules of game/battle, interleaved with the drawing in a fixed order.
#pragma once

// 1: every wall, coin and solid is drawn by itself, without culling, batches and lists. The picture is the same; tests
// and benchmarks compare the two ways.
extern int draw_plainly;

/// All walls: stone faces one unit in front of the line, capped by slabs at height 15 with pointed ends.
void draw_walls();

/// The lines from turtle `i` to what its finder and its radar found last; each is shown in one frame.
void draw_beam(int i);

/// Front material of turtle `i`'s body, by team. A dying turtle keeps its colour: only blending fades it.
void set_ttl_color(int i);

/// The body of turtle `i` at (x, y), heading `dir` degrees. Stones and doughnuts are their icons.
/// @param leg_phase, head_phase  -1 to 1: where in its gait the turtle is
void draw_turtle_body(int i, double x, double y, double dir, double leg_phase, double head_phase);

/// Everything of slot `i` for this frame, rules included. A beam flies on for a slot that is not in use.
void draw_turtle(int i);
