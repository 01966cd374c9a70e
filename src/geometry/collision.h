// Collisions and distances: obstacles in the way of a moving disc, and how near things are. The functions take values
// (a place, a heading, whom to leave out), so queries change nothing; those with a turtle's index call them for its
// current place.
// Commands, frames, menu and key handlers hold frame_rendering_mutex. Indices are not checked.
#pragma once

#include <cstdint>

// The place and heading of a disc.
struct pose_t {
    double x, y; // field units
    double dir;  // degrees, 0 along +x, counter-clockwise positive, need not be wrapped
};

/// The place and heading of turtle `i`.
[[nodiscard]] pose_t pose_of(int i);

// --- walls ---

/// Whether a step of length `step` (negative: backwards) would carry a disc past contact with a wall. A step that ends
/// exactly at contact is allowed.
[[nodiscard]] bool is_wall_in_step(const pose_t& from, double step);

/// The least free travel of a disc along its heading until it touches a wall face, if below `limit`; otherwise some
/// number that is not below it. Field units; negative when it already overlaps a face.
[[nodiscard]] double travel_to_wall(const pose_t& from, double limit);

/// Whether a wall is nearer to (x, y) than `limit`, field units.
[[nodiscard]] bool is_wall_within(double x, double y, double limit);

/// 1 when a step of length `step` would carry turtle `i` past contact with a wall, else 0: see is_wall_in_step.
[[nodiscard]] int is_colliding_to_wall(int i, double step);

/// Free travel of turtle `i` along its heading (against it when step < 0) until its disc touches a wall face.
/// @param step  field units; only its sign matters here
/// @return field units, negative when already overlapping; NO_DISTANCE when no face lies ahead
[[nodiscard]] double distance_to_front_wall(int i, double step);

/// The same free travel at headings dir + 45 (left), dir (front) and dir - 45 (right).
void distance_to_walls_3dir(int i, double& left, double& front, double& right);

/// Distance from a point to the nearest wall, field units; NO_DISTANCE without walls. Scans all walls.
[[nodiscard]] double dist_to_wall_from(double x, double y);

/// 1 when the point lies outside the field (its edges are inside) or nearer than 5 to a wall, else 0.
[[nodiscard]] int is_hitting_wall(double x, double y);

// --- turtles, doughnuts and stones ---

struct way_t {
    uint32_t code;  // BLOCKED_BY_*; a body whose contact lies beyond the step is no block
    double allowed; // the permitted travel: the contact distance when blocked (0 or less when touching), else the step
    int other;      // the object nearest to the path, which blocks if the code says so; -1 when nothing is near
};

/// How far a body may travel along its heading before it touches another turtle, doughnut or stone.
/// Walls are ignored; zombies and dying turtles block like live ones; ties go to the lower index.
/// @param leave_out  index of the turtle to ignore, usually the asker; -1 for none
/// @param step       field units, backwards when negative
/// Formula: contact where |P + u v - Q| = BODY_GAP, so u = |F - P| - sqrt(BODY_GAP^2 - |Q - F|^2), F the foot of Q.
[[nodiscard]] way_t way_ahead(const pose_t& from, int leave_out, double step);

/// way_ahead of turtle `i`. @return the code
[[nodiscard]] uint32_t check_how_far_it_can_go(int i, double& allowed, int& other, double step);
