#include "geometry/collision.h"

#include "field/state.h"
#include "field/turtles.h"
#include "field/walls.h"
#include "geometry/segment.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double BEAM_CLEARANCE = 5.0; // a point nearer than this to a wall hits it, field units
constexpr double BODY_GAP_SQUARED = BODY_GAP * BODY_GAP;

double heading_of_step(const turtle_t& t, double step) { return step < 0.0 ? t.dir + 180.0 : t.dir; }

double free_travel(const turtle_t& t, double heading, const wall_t& w) {
    return net_dist_to_lineseg(t.pos[0].x, t.pos[0].y, heading, w.x1, w.y1, w.x2, w.y2, w.nx, w.ny);
}

uint32_t kind_of_body(const turtle_t& t) {
    if (has_any(t.flags, TTL_STONE)) return BLOCKED_BY_STONE;
    if (has_any(t.flags, TTL_DOUGHNUT)) return BLOCKED_BY_DOUGHNUT;
    return BLOCKED_BY_TURTLE;
}

} // namespace

int is_colliding_to_wall(int i, double step) {
    const turtle_t& t = ttl[i];
    const double heading = heading_of_step(t, step);
    const double reach = std::fabs(step);
    double best = NO_DISTANCE;
    for (int k = 0; k < nwall; ++k) {
        const wall_t& w = walls[k];
        const double half = std::hypot(w.x2 - w.x1, w.y2 - w.y1) / 2.0;
        const double to_middle = std::hypot(t.pos[0].x - (w.x1 + w.x2) / 2.0, t.pos[0].y - (w.y1 + w.y2) / 2.0);
        if (reach + (half + BODY_RADIUS) > to_middle) best = std::min(best, free_travel(t, heading, w));
    }
    return reach > best ? 1 : 0;
}

double distance_to_front_wall(int i, double step) {
    const turtle_t& t = ttl[i];
    const double heading = heading_of_step(t, step);
    double best = NO_DISTANCE;
    for (int k = 0; k < nwall; ++k) best = std::min(best, free_travel(t, heading, walls[k]));
    return best;
}

void distance_to_walls_3dir(int i, double& left, double& front, double& right) {
    const turtle_t& t = ttl[i];
    left = front = right = NO_DISTANCE;
    for (int k = 0; k < nwall; ++k) {
        left = std::min(left, free_travel(t, t.dir + 45.0, walls[k]));
        front = std::min(front, free_travel(t, t.dir, walls[k]));
        right = std::min(right, free_travel(t, t.dir - 45.0, walls[k]));
    }
}

double dist_to_wall_from(double x, double y) {
    double best = NO_DISTANCE;
    for (int k = 0; k < nwall; ++k) {
        const wall_t& w = walls[k];
        best = std::min(best, dist_lineseg_to_point(w.x1, w.y1, w.x2, w.y2, x, y));
    }
    return best;
}

int is_hitting_wall(double x, double y) {
    if (x < Xmin || x > Xmax || y < Ymin || y > Ymax) return 1;
    return dist_to_wall_from(x, y) < BEAM_CLEARANCE ? 1 : 0;
}

uint32_t check_how_far_it_can_go(int i, double& allowed, int& other, double step) {
    const turtle_t& self = ttl[i];
    const double px = self.pos[0].x;
    const double py = self.pos[0].y;
    const double ex = px + step * std::cos(self.dir * PI / 180.0);
    const double ey = py + step * std::sin(self.dir * PI / 180.0);

    double best = NO_DISTANCE; // along the path to the foot of the nearest body
    double aside = 0.0;        // from that foot to the body's centre, squared
    uint32_t code = BLOCKED_BY_NOTHING;
    other = -1;
    for (int k = 0; k < ntmax; ++k) {
        const turtle_t& t = ttl[k];
        if (k == i || !has_any(t.flags, TTL_ALIVE)) continue;

        double foot_x = 0.0;
        double foot_y = 0.0;
        double dist = 0.0;
        dist_halfline_to_point(foot_x, foot_y, dist, px, py, ex, ey, t.pos[0].x, t.pos[0].y);
        if (!(dist <= BODY_GAP)) continue;

        const double along = std::sqrt((foot_x - px) * (foot_x - px) + (foot_y - py) * (foot_y - py));
        if (!(along < best)) continue;
        best = along;
        aside = (t.pos[0].x - foot_x) * (t.pos[0].x - foot_x) + (t.pos[0].y - foot_y) * (t.pos[0].y - foot_y);
        other = k;
        code = kind_of_body(t);
    }

    if (other >= 0) {
        // Rounding can leave a body at exactly BODY_GAP a hair outside: its contact is the foot itself.
        const double contact = best - std::sqrt(std::max(0.0, BODY_GAP_SQUARED - aside));
        if (contact <= 0.0 || contact <= std::fabs(step)) {
            allowed = contact;
            return code;
        }
    }
    allowed = step;
    return BLOCKED_BY_NOTHING;
}
