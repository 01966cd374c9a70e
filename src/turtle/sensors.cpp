#include "turtle/sensors.h"

#include "field/turtles.h"
#include "geometry/collision.h"
#include "geometry/random.h"
#include "geometry/segment.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double SONAR_TRAVEL = 20.0; // field units, against bodies
constexpr double SONAR_WALL = 10.0;   // field units of free travel, against walls
constexpr double RADAR_NOISE = 40.0;  // degrees, full width of the noise

struct radar_entry {
    double d2;
    int index;
    double bearing;
};
using radar_list = std::array<radar_entry, RADAR_RANKS>;

// Puts an entry before the first one that is strictly farther; the last one drops out.
void insert_by_distance(radar_list& list, const radar_entry& entry) {
    const auto place = std::find_if(list.begin(), list.end(), [&](const radar_entry& e) { return e.d2 > entry.d2; });
    if (place == list.end()) return;
    std::move_backward(place, list.end() - 1, list.end());
    *place = entry;
}

radar_list nearest_turtles(int i) {
    const turtle_t& self = ttl[i];
    radar_list list;
    list.fill({.d2 = NO_DISTANCE, .index = -1, .bearing = self.dir});
    for (int k = 0; k < ntmax; ++k) {
        if (k == i || !has_any(ttl[k].flags, TTL_ALIVE)) continue;
        const double dx = ttl[k].pos[0].x - self.pos[0].x;
        const double dy = ttl[k].pos[0].y - self.pos[0].y;
        insert_by_distance(list, {.d2 = dx * dx + dy * dy, .index = k, .bearing = std::atan2(dy, dx) * 180.0 / PI});
    }
    return list;
}

// 1 when a body lies within reach of turtle i if it headed for `dir`.
int senses_body(int i, double dir) {
    const double heading = ttl[i].dir;
    double allowed = 0.0;
    int other = -1;
    ttl[i].dir = dir;
    const uint32_t code = check_how_far_it_can_go(i, allowed, other, SONAR_TRAVEL);
    ttl[i].dir = heading;
    return code != BLOCKED_BY_NOTHING ? 1 : 0;
}

} // namespace

double dist_to_nn_from(int exclude, double x, double y) {
    double best = NO_DISTANCE;
    for (int k = 0; k < ntmax; ++k) {
        if (k == exclude || !has_any(ttl[k].flags, TTL_ALIVE)) continue;
        const double dx = ttl[k].pos[0].x - x;
        const double dy = ttl[k].pos[0].y - y;
        best = std::min(best, dx * dx + dy * dy);
    }
    return std::sqrt(best);
}

double dist_to_nn(int i) { return dist_to_nn_from(i, ttl[i].pos[0].x, ttl[i].pos[0].y); }

double dist_t2t(int a, int b) {
    if (!has_any(ttl[a].flags, TTL_ALIVE) || !has_any(ttl[b].flags, TTL_ALIVE)) return NO_DISTANCE;
    const double dx = ttl[a].pos[0].x - ttl[b].pos[0].x;
    const double dy = ttl[a].pos[0].y - ttl[b].pos[0].y;
    return std::sqrt(dx * dx + dy * dy);
}

int qt_finder(int i, int& code, int& team) {
    turtle_t& self = ttl[i];
    self.event &= ~EVENT_FOUND;
    const double range = self.finder_range;
    double allowed = 0.0;
    int other = -1;
    const uint32_t hit = check_how_far_it_can_go(i, allowed, other, range);
    const double wall = bounded_area_mode != 0 ? distance_to_front_wall(i, range) : NO_DISTANCE;

    team = 0;
    if (hit == BLOCKED_BY_NOTHING && wall > range) {
        code = 0;
    } else if (wall > allowed) {
        code = static_cast<int>(hit);
        if (hit != BLOCKED_BY_NOTHING) {
            ttl[other].event |= EVENT_FOUND;
            self.finder_target = other;
            team = ttl[other].team;
        }
    } else {
        code = FINDER_WALL;
    }
    return 0;
}

int qt_sonar(int i, int& left, int& front, int& right) {
    const double dir = ttl[i].dir;
    double wall_left = 0.0;
    double wall_front = 0.0;
    double wall_right = 0.0;
    distance_to_walls_3dir(i, wall_left, wall_front, wall_right);
    front = senses_body(i, dir) != 0 || wall_front < SONAR_WALL ? 1 : 0;
    left = senses_body(i, dir + 45.0) != 0 || wall_left < SONAR_WALL ? 1 : 0;
    right = senses_body(i, dir - 45.0) != 0 || wall_right < SONAR_WALL ? 1 : 0;
    return 0;
}

int qt_angular_rader(int i, int rank, double& angle, int& team) {
    angle = 0.0;
    team = 0;
    if (rank < 0 || rank >= RADAR_RANKS) return -1;

    turtle_t& self = ttl[i];
    self.event &= ~EVENT_SEEN;
    const radar_entry entry = nearest_turtles(i)[rank];
    if (entry.index >= 0) {
        team = ttl[entry.index].team;
        ttl[entry.index].event |= EVENT_SEEN;
        self.radar_target = entry.index;
    }
    if (!has_any(self.flags, TTL_ALIVE)) return -1;

    double relative = std::fmod(entry.bearing - self.dir, 360.0);
    if (relative < -180.0) {
        relative += 360.0;
    } else if (relative > 180.0) {
        relative -= 360.0;
    }
    angle = relative + (drand() - 0.5) * RADAR_NOISE;
    return entry.index < 0 ? -1 : 0;
}
