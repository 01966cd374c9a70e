#include "geometry/segment.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double DEGENERATE = 1e-5; // squared length below which a direction is undefined
constexpr double BODY_RADIUS_SQUARED = BODY_RADIUS * BODY_RADIUS;

// Travel of the centre from (px, py) along the unit vector (c, s) to the circle of BODY_RADIUS around an end point.
double travel_to_end_point(double px, double py, double c, double s, double end_x, double end_y) {
    const double qx = px - end_x;
    const double qy = py - end_y;
    const double b = 2.0 * (c * qx + s * qy);
    const double k = qx * qx + qy * qy - BODY_RADIUS_SQUARED;
    const double discriminant = b * b - 4.0 * k;
    if (!(discriminant > 0.0)) return NO_DISTANCE;

    const double root = std::sqrt(discriminant);
    const double near_root = (-b - root) / 2.0;
    if (near_root > 0.0) return near_root;
    const double far_root = (root - b) / 2.0;
    if (far_root > 0.0) return far_root;
    return NO_DISTANCE;
}

} // namespace

void dist_halfline_to_point(double& foot_x, double& foot_y, double& dist, double x0, double y0, double x1, double y1,
                            double px, double py) {
    const double dx = x1 - x0;
    const double dy = y1 - y0;
    const double length_squared = dx * dx + dy * dy;
    if (length_squared < DEGENERATE) {
        foot_x = x0;
        foot_y = y0;
        dist = std::sqrt((px - x0) * (px - x0) + (py - y0) * (py - y0));
        return;
    }
    const double t = ((px - x0) * dx + (py - y0) * dy) / length_squared;
    foot_x = x0 + t * dx;
    foot_y = y0 + t * dy;
    dist = t < 0.0 ? NO_DISTANCE : std::sqrt((px - foot_x) * (px - foot_x) + (py - foot_y) * (py - foot_y));
}

double dist_lineseg_to_point(double x1, double y1, double x2, double y2, double px, double py) {
    const double ex = x2 - x1;
    const double ey = y2 - y1;
    const double length_squared = ex * ex + ey * ey;
    double t = 0.0;
    if (!(length_squared < DEGENERATE)) {
        t = std::clamp(((px - x1) * ex + (py - y1) * ey) / length_squared, 0.0, 1.0);
    }
    const double dx = px - (x1 + t * ex);
    const double dy = py - (y1 + t * ey);
    return std::sqrt(dx * dx + dy * dy);
}

double dist_to_lineseg(double px, double py, double dir, double x1, double y1, double x2, double y2, double nx,
                       double ny) {
    const double vx = std::cos(dir * PI / 180.0);
    const double vy = std::sin(dir * PI / 180.0);
    if (vx * nx + vy * ny >= 0.0) return NO_DISTANCE;

    const double ex = x2 - x1;
    const double ey = y2 - y1;
    const double den = vx * ey - vy * ex;
    const double t = (vx * (py - y1) - vy * (px - x1)) / den;
    const double u = ((py - y1) * ex - (px - x1) * ey) / den;
    if (!(t >= 0.0 && t <= 1.0 && u >= 0.0)) return NO_DISTANCE;

    const double dx = px - (x1 + t * ex);
    const double dy = py - (y1 + t * ey);
    return std::sqrt(dx * dx + dy * dy);
}

double net_dist_to_lineseg(double px, double py, double dir, double x1, double y1, double x2, double y2, double nx,
                           double ny) {
    return net_dist_along(px, py, std::cos(dir * PI / 180.0), std::sin(dir * PI / 180.0), x1, y1, x2, y2, nx, ny);
}

double net_dist_along(double px, double py, double c, double s, double x1, double y1, double x2, double y2, double nx,
                      double ny) {
    const double normal_length = std::sqrt(nx * nx + ny * ny);
    const double ux = nx / normal_length;
    const double uy = ny / normal_length;
    const double k = ux * c + uy * s;
    if (k >= 0.0) return NO_DISTANCE;

    const double ex = x2 - x1;
    const double ey = y2 - y1;
    const double den = c * ey - s * ex;
    const double wx = px - x1;
    const double wy = py - y1;
    const double t = (c * wy - s * wx) / den;
    const double u = (wy * ex - wx * ey) / den;

    // Where the centre would cross the wall's line, and how much earlier a disc stops on a slanting approach.
    const double hx = x1 + t * ex;
    const double hy = y1 + t * ey;
    const double pull_back = BODY_RADIUS / -k;
    const double touch_x = hx - pull_back * c - BODY_RADIUS * ux;
    const double touch_y = hy - pull_back * s - BODY_RADIUS * uy;
    const double touch_t = ((touch_x - x1) * ex + (touch_y - y1) * ey) / (ex * ex + ey * ey);
    if (u > 0.0 && touch_t >= 0.0 && touch_t <= 1.0) {
        return std::sqrt((hx - px) * (hx - px) + (hy - py) * (hy - py)) - pull_back;
    }
    return std::min(travel_to_end_point(px, py, c, s, x1, y1), travel_to_end_point(px, py, c, s, x2, y2));
}
