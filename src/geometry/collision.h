// Collisions and distances: what stands in the way of a disc that moves, and how near things are.
// Commands, frames, menu and key handlers hold frame_rendering_mutex.
#pragma once

#include <cstdint>

// Codes of check_how_far_it_can_go, which are also those of the finder.
inline constexpr uint32_t BLOCKED_BY_NOTHING = 0;
inline constexpr uint32_t BLOCKED_BY_TURTLE = 1;
inline constexpr uint32_t BLOCKED_BY_DOUGHNUT = 2;
inline constexpr uint32_t BLOCKED_BY_STONE = 3;

/// 1 when a step of length `step` (negative: backwards) would carry turtle `i` past contact with a wall, else 0.
/// A step that ends exactly at contact is allowed.
[[nodiscard]] int is_colliding_to_wall(int i, double step);

/// Free travel of turtle `i` along its heading (against it when step < 0) until its disc touches a wall face.
/// @param step  field units; only its sign matters here
/// @return field units, negative when already overlapping; NO_DISTANCE when no face lies ahead
[[nodiscard]] double distance_to_front_wall(int i, double step);

/// The same free travel at headings dir + 45 (left), dir (front) and dir - 45 (right).
void distance_to_walls_3dir(int i, double& left, double& front, double& right);

/// Distance from a point to the nearest wall, field units; NO_DISTANCE without walls.
[[nodiscard]] double dist_to_wall_from(double x, double y);

/// 1 when the point lies outside the field (its edges are inside) or nearer than 5 to a wall, else 0.
[[nodiscard]] int is_hitting_wall(double x, double y);

/// How far turtle `i` may travel along its heading before its body touches another turtle, doughnut or stone.
/// Walls are not looked at; zombies and dying turtles block like live ones; ties go to the lower index.
/// @param[out] allowed  the permitted travel: the contact distance when blocked (0 or less when touching), else step
/// @param[out] other    index of the blocking object; -1 when nothing is near the path
/// @return BLOCKED_BY_*; a body whose contact lies beyond the step is no block
/// Formula: contact where |P + u v - Q| = BODY_GAP, so u = |F - P| - sqrt(BODY_GAP^2 - |Q - F|^2), F the foot of Q.
[[nodiscard]] uint32_t check_how_far_it_can_go(int i, double& allowed, int& other, double step);
