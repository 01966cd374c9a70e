#include "turtle/sensors.h"

#include "field/kinds.h"
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

struct radar_entry_t {
    double d2;
    int index;
    double bearing;
};
using radar_list = std::array<radar_entry_t, RADAR_RANKS>;

// Inserts an entry before the first one that is strictly farther; the last one drops out.
void insert_by_distance(radar_list& list, const radar_entry_t& entry) {
    const auto place = std::find_if(list.begin(), list.end(), [&](const radar_entry_t& e) { return e.d2 > entry.d2; });
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

// 1 when a body or a wall is close to turtle i in direction `dir`, else 0.
int senses(int i, double dir) {
    const pose_t from{.x = ttl[i].pos[0].x, .y = ttl[i].pos[0].y, .dir = dir};
    const bool body = way_ahead(from, i, SONAR_TRAVEL).code != BLOCKED_BY_NOTHING;
    return body || travel_to_wall(from, SONAR_WALL) < SONAR_WALL ? 1 : 0;
}

// Free travel to the nearest wall ahead, or behind for a negative range; exact only where it is compared with the range
// or with the travel that a body within the range allows.
double wall_in_sight(pose_t from, double range) {
    if (range < 0.0) from.dir += 180.0;
    return travel_to_wall(from, std::fabs(range) + 1.0);
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
    const pose_t from = pose_of(i);
    const way_t way = way_ahead(from, i, range);
    const double wall = modes.bounded_area_mode ? wall_in_sight(from, range) : NO_DISTANCE;

    team = 0;
    if (way.code == BLOCKED_BY_NOTHING && wall > range) {
        code = 0;
    } else if (wall > way.allowed) {
        code = static_cast<int>(way.code);
        if (way.code != BLOCKED_BY_NOTHING) {
            ttl[way.other].event |= EVENT_FOUND;
            self.finder_target = way.other;
            team = ttl[way.other].team;
        }
    } else {
        code = FINDER_WALL;
    }
    return 0;
}

int qt_sonar(int i, int& left, int& front, int& right) {
    const double dir = ttl[i].dir;
    left = senses(i, dir + 45.0);
    front = senses(i, dir);
    right = senses(i, dir - 45.0);
    return 0;
}

int qt_angular_rader(int i, int rank, double& angle, int& team) {
    angle = 0.0;
    team = 0;
    if (rank < 0 || rank >= RADAR_RANKS) return -1;

    turtle_t& self = ttl[i];
    self.event &= ~EVENT_SEEN;
    const radar_entry_t entry = nearest_turtles(i)[rank];
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
