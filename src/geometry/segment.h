// Plane geometry on doubles: the four pure functions behind every collision and distance test.
// Headings are degrees, 0 along +x, counter-clockwise positive. No state; any thread.
// NO_DISTANCE means "no answer" everywhere, so that callers take minima without a special case.
#pragma once

#include "base/angles.h"

#include <cfloat>

inline constexpr double NO_DISTANCE = FLT_MAX; // the largest single-precision float, held in a double
inline constexpr double BODY_RADIUS = 10.0;    // field units, a turtle's disc against walls

/// Distance from (px, py) to the half-line that starts at (x0, y0) and runs through (x1, y1).
/// @param[out] foot_x,foot_y  foot of the perpendicular, not clamped to the half-line; written in every case
/// @param[out] dist  field units; NO_DISTANCE when the point lies behind the start
/// A direction shorter than sqrt(1e-5) is no direction: the foot is the start and dist the distance from it.
/// Formula: t = (p - p0).d / |d|^2, foot = p0 + t d.
void dist_halfline_to_point(double& foot_x, double& foot_y, double& dist, double x0, double y0, double x1, double y1,
                            double px, double py);

/// Distance from (px, py) to the segment (x1, y1)-(x2, y2), field units; a segment shorter than sqrt(1e-5) is a point.
/// Formula: as above with t clamped to [0, 1].
[[nodiscard]] double dist_lineseg_to_point(double x1, double y1, double x2, double y2, double px, double py);

/// Distance along heading `dir` from (px, py) to a one-sided segment with normal (nx, ny).
/// @return field units; NO_DISTANCE when the ray misses or does not run against the normal (any length of normal)
/// Formula: Cramer's rule on P + u v = P1 + t e.
[[nodiscard]] double dist_to_lineseg(double px, double py, double dir, double x1, double y1, double x2, double y2,
                                     double nx, double ny);

/// Free travel of a disc of BODY_RADIUS along heading `dir` before it touches a one-sided wall face or one of its ends.
/// @return field units; negative when the disc already overlaps the face; NO_DISTANCE when nothing lies ahead.
/// A disc that already overlaps an end point gets the distance at which it would leave that end's circle: callers
/// only compare the result with the length of a step.
/// Formula: ray meets line, pulled back by r/|n.v|; beside the ends the smaller positive root of |P + u v - Q|^2 = r^2.
[[nodiscard]] double net_dist_to_lineseg(double px, double py, double dir, double x1, double y1, double x2, double y2,
                                         double nx, double ny);

/// net_dist_to_lineseg along the unit vector (c, s), (cos, sin) of the heading in radians: for one heading against many
/// walls.
[[nodiscard]] double net_dist_along(double px, double py, double c, double s, double x1, double y1, double x2,
                                    double y2, double nx, double ny);
