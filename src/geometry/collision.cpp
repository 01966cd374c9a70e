#include "geometry/collision.h"

#include "field/kinds.h"
#include "field/state.h"
#include "field/turtles.h"
#include "field/wall_map.h"
#include "field/walls.h"
#include "geometry/segment.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace {

constexpr double BEAM_CLEARANCE = 5.0; // a point nearer than this to a wall hits it, field units
constexpr double BODY_GAP_SQUARED = BODY_GAP * BODY_GAP;

double heading_of_step(const pose_t& from, double step) { return step < 0.0 ? from.dir + 180.0 : from.dir; }

// A place and heading for tests against many walls.
struct ray_t {
    double x, y;
    double c, s; // cosine and sine of the heading

    ray_t(const pose_t& from, double heading)
        : x(from.x), y(from.y), c(std::cos(heading * PI / 180.0)), s(std::sin(heading * PI / 180.0)) {}
};

double free_travel(const ray_t& ray, const wall_t& w) {
    return net_dist_along(ray.x, ray.y, ray.c, ray.s, w.x1, w.y1, w.x2, w.y2, w.nx, w.ny);
}

double least_free_travel(const ray_t& ray, std::span<const int16_t> among) {
    double best = NO_DISTANCE;
    for (const int16_t k : among) best = std::min(best, free_travel(ray, walls[k]));
    return best;
}

} // namespace

pose_t pose_of(int i) { return {.x = ttl[i].pos[0].x, .y = ttl[i].pos[0].y, .dir = ttl[i].dir}; }

bool is_wall_in_step(const pose_t& from, double step) {
    const ray_t ray(from, heading_of_step(from, step));
    const double reach = std::fabs(step);
    wall_list_t near;
    list_walls_near(near, from.x, from.y, reach + BODY_RADIUS);
    double best = NO_DISTANCE;
    for (const int16_t k : near.found()) {
        const wall_t& w = walls[k];
        const double half = std::hypot(w.x2 - w.x1, w.y2 - w.y1) / 2.0;
        const double to_middle = std::hypot(from.x - (w.x1 + w.x2) / 2.0, from.y - (w.y1 + w.y2) / 2.0);
        if (reach + (half + BODY_RADIUS) > to_middle) best = std::min(best, free_travel(ray, w));
    }
    return reach > best;
}

double travel_to_wall(const pose_t& from, double limit) {
    wall_list_t candidates;
    // A disc that travels less than the limit meets only near walls; but free travel may also be negative, for a disc
    // that overlaps the line of a wall far behind it.
    list_walls_near(candidates, from.x, from.y, std::max(limit, 0.0) + BODY_RADIUS);
    list_walls_in_line(candidates, from.x, from.y, BODY_RADIUS);
    return least_free_travel(ray_t(from, from.dir), candidates.found());
}

bool is_wall_within(double x, double y, double limit) {
    wall_list_t near;
    list_walls_near(near, x, y, limit);
    return std::any_of(near.found().begin(), near.found().end(), [&](int16_t k) {
        const wall_t& w = walls[k];
        return dist_lineseg_to_point(w.x1, w.y1, w.x2, w.y2, x, y) < limit;
    });
}

int is_colliding_to_wall(int i, double step) { return is_wall_in_step(pose_of(i), step) ? 1 : 0; }

double distance_to_front_wall(int i, double step) {
    pose_t from = pose_of(i);
    from.dir = heading_of_step(from, step);
    return travel_to_wall(from, NO_DISTANCE);
}

void distance_to_walls_3dir(int i, double& left, double& front, double& right) {
    const pose_t from = pose_of(i);
    front = travel_to_wall(from, NO_DISTANCE);
    left = travel_to_wall({.x = from.x, .y = from.y, .dir = from.dir + 45.0}, NO_DISTANCE);
    right = travel_to_wall({.x = from.x, .y = from.y, .dir = from.dir - 45.0}, NO_DISTANCE);
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
    return is_wall_within(x, y, BEAM_CLEARANCE) ? 1 : 0;
}

way_t way_ahead(const pose_t& from, int leave_out, double step) {
    const double px = from.x;
    const double py = from.y;
    const double ex = px + step * std::cos(from.dir * PI / 180.0);
    const double ey = py + step * std::sin(from.dir * PI / 180.0);

    double best = NO_DISTANCE; // along the path to the foot of the nearest body
    double aside = 0.0;        // from that foot to the body's centre, squared
    way_t way{.code = BLOCKED_BY_NOTHING, .allowed = step, .other = -1};
    for (int k = 0; k < ntmax; ++k) {
        const turtle_t& t = ttl[k];
        if (k == leave_out || !has_any(t.flags, TTL_ALIVE)) continue;

        double foot_x = 0.0;
        double foot_y = 0.0;
        double dist = 0.0;
        dist_halfline_to_point(foot_x, foot_y, dist, px, py, ex, ey, t.pos[0].x, t.pos[0].y);
        if (!(dist <= BODY_GAP)) continue;

        const double along = std::sqrt((foot_x - px) * (foot_x - px) + (foot_y - py) * (foot_y - py));
        if (!(along < best)) continue;
        best = along;
        aside = (t.pos[0].x - foot_x) * (t.pos[0].x - foot_x) + (t.pos[0].y - foot_y) * (t.pos[0].y - foot_y);
        way.other = k;
        way.code = kind_of(t.flags).blocked_by;
    }

    if (way.other < 0) return way;
    // Rounding can put a body at exactly BODY_GAP slightly outside: its contact is the foot itself.
    const double contact = best - std::sqrt(std::max(0.0, BODY_GAP_SQUARED - aside));
    if (contact <= 0.0 || contact <= std::fabs(step)) {
        way.allowed = contact;
    } else {
        way.code = BLOCKED_BY_NOTHING;
    }
    return way;
}

uint32_t check_how_far_it_can_go(int i, double& allowed, int& other, double step) {
    const way_t way = way_ahead(pose_of(i), i, step);
    allowed = way.allowed;
    other = way.other;
    return way.code;
}
