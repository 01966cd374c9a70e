#include "turtle/lifecycle.h"

#include "field/turtles.h"
#include "geometry/collision.h"
#include "geometry/random.h"
#include "turtle/sensors.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int PLACE_TRIES = 20;          // draws of which one must be free; one more is drawn but never taken
constexpr double FREE_SPREAD = 491.0;    // side of the square of random places, field units
constexpr double FREE_CLEARANCE = 20.0;  // to the nearest turtle and to the nearest wall
constexpr double HEADING_SPREAD = 180.0; // degrees
constexpr double MAZE_ENTRANCE = 32.0;   // side of the maze's entrance corner
constexpr double MAZE_CLEARANCE = 10.0;

struct place_t {
    bool found;
    double x, y;
};

point_t draw_free_point() {
    const double x = (drand() - 0.5) * FREE_SPREAD;
    const double y = (drand() - 0.5) * FREE_SPREAD;
    return {x, y};
}

point_t draw_entrance_point() {
    const double x = Xmin + drand() * MAZE_ENTRANCE;
    const double y = Ymin + drand() * MAZE_ENTRANCE;
    return {x, y};
}

// The draw after the last try is made but never taken: the random stream must not change.
place_t find_place(point_t (*draw)(), double clearance) {
    for (int tries = 1; tries <= PLACE_TRIES + 1; ++tries) {
        const point_t p = draw();
        if (dist_to_nn_from(-1, p.x, p.y) >= clearance && !is_wall_within(p.x, p.y, clearance)) {
            return {.found = tries <= PLACE_TRIES, .x = p.x, .y = p.y};
        }
    }
    return {.found = false, .x = 0.0, .y = 0.0};
}

int first_free_slot() {
    for (int i = 0; i < TTL_MAX; ++i) {
        if (!has_any(ttl[i].flags, TTL_ALIVE)) return i;
    }
    return -1;
}

} // namespace

int generate_turtle(int client_id, uint32_t extra_flags) {
    const int slot = first_free_slot();
    if (slot < 0) return -1;

    const bool at_entrance = modes.maze_mode && !has_any(extra_flags, TTL_OBJECT);
    const place_t p =
        at_entrance ? find_place(draw_entrance_point, MAZE_CLEARANCE) : find_place(draw_free_point, FREE_CLEARANCE);
    if (!p.found) return -1;

    const double heading = at_entrance ? 0.0 : (drand() - 0.5) * HEADING_SPREAD;
    init_turtle(slot, client_id, p.x, p.y, heading);
    ttl[slot].flags |= extra_flags;
    ntmax = std::max(ntmax, slot + 1);
    return slot;
}

int set_object_at(uint32_t flags, double x, double y) {
    int slot = -1;
    for (int i = 0; i < TTL_MAX && slot < 0; ++i) {
        // Strictly farther: an object may not stand exactly at contact, though a new turtle may.
        if (!has_any(ttl[i].flags, TTL_ALIVE) && dist_to_nn_from(i, x, y) > BODY_GAP) slot = i;
    }
    if (slot < 0) return -1;

    turtle_t& t = ttl[slot];
    t.client_id = -1;
    std::fill(std::begin(t.pos), std::end(t.pos), point_t{x, y});
    std::fill(std::begin(t.color), std::end(t.color), rgb_t{0.5, 0.5, 0.5});
    // The current width and the heading keep what the slot held before.
    std::fill(std::begin(t.line_width) + 1, std::end(t.line_width), 1.0);
    t.dying_count = 0;
    t.fire_wait = 0;
    t.score = 0;
    t.team = 0;
    bounded_copy(t.message, "", TEXT_BYTES);
    bounded_copy(t.name, "", TEXT_BYTES);
    t.n_doughnut = 0;
    coins_gone += t.n_coin; // of the slot's last turtle
    t.n_coin = 0;
    t.n_painted = 0;
    t.flags = flags | TTL_ALIVE;
    t.event = 0;
    t.event_mask = UINT32_MAX;
    t.radar_target = -1;
    t.finder_target = -1;
    ntmax = std::max(ntmax, slot + 1);
    return 0;
}

int turtle_reset(int i, int client_id) {
    if (modes.battle_mode || has_any(ttl[i].flags, TTL_ZOMBIE)) return 1;
    if (ttl[i].client_id != client_id) return 0;
    init_turtle(i, client_id, 0.0, 0.0, 0.0);
    return 0;
}

int turtle_home(int i) {
    turtle_t& t = ttl[i];
    if (modes.battle_mode || has_any(t.flags, TTL_ZOMBIE)) return 1;
    std::fill(std::begin(t.pos), std::end(t.pos) - 1, point_t{0.0, 0.0}); // all but the oldest point
    t.dir = 0.0;
    return 0;
}
