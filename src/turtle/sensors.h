// Distances between turtles and the three sensors: finder, sonar, angular radar.
// Caller holds frame_rendering_mutex. Indices are not checked.
#pragma once

/// Distance from (x, y) to the nearest live turtle other than `exclude` (-1 excludes none), field units; without any
/// the root of FLT_MAX.
[[nodiscard]] double dist_to_nn_from(int exclude, double x, double y);

/// dist_to_nn_from the turtle's own place.
[[nodiscard]] double dist_to_nn(int i);

/// Distance between two turtles, field units; NO_DISTANCE when either is not alive.
[[nodiscard]] double dist_t2t(int a, int b);

/// What lies straight ahead within finder_range. The found object gets EVENT_FOUND; the asker's own is cleared.
/// @param[out] code  BLOCKED_BY_*, or FINDER_WALL (only in bounded-area mode; wins a tie)
/// @param[out] team  the found object's team, else 0
/// @return 0
int qt_finder(int i, int& code, int& team);

/// Whether a body lies within 20 of travel, or a wall within 10, at dir + 45, dir and dir - 45; walls count in every
/// mode. Outputs are 0 or 1. @return 0
int qt_sonar(int i, int& left, int& front, int& right);

inline constexpr int RADAR_RANKS = 5;

/// Bearing of the rank-th nearest turtle relative to the heading, with uniform noise of +-20 degrees (one drand).
/// The turtle that is seen gets EVENT_SEEN; the asker's own is cleared.
/// @param rank  0 (nearest) to RADAR_RANKS - 1; others return -1 and draw nothing
/// @param[out] angle  degrees; noise alone when there is no such turtle
/// @param[out] team   its team, else 0
/// @return 0; -1 when the asker is not alive (no drand then) or there is no such turtle
int qt_angular_rader(int i, int rank, double& angle, int& team);
