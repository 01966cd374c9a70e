#include "game/furnish.h"

#include "field/coin_map.h"
#include "field/state.h"
#include "field/turtles.h"
#include "field/wall_map.h"
#include "field/walls.h"
#include "geometry/collision.h"
#include "geometry/random.h"
#include "turtle/lifecycle.h"
#include "turtle/sensors.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

constexpr double COIN_SPREAD = 492.0; // side of the square of random places: 10 inside the field's edges
constexpr int OBJECT_TRIES = 10;
constexpr double OBJECT_SPREAD = 492.0;   // side of the square of random places, field units
constexpr double OBJECT_CLEARANCE = 25.0; // to the nearest turtle and to the nearest wall
constexpr int STICK_TRIES = 6;            // draws before a vertex stays without a wall
constexpr double GOAL_OFFSET = 16.0;      // centres of the four cells around the field's centre

struct grid_step_t {
    int dx, dy;
};
// The last direction, back towards the edge, is for the first row only: later rows never build over earlier ones.
constexpr std::array<grid_step_t, 4> STICK_DIRECTIONS = {{{-1, 0}, {1, 0}, {0, 1}, {0, -1}}};

// Wall ends at each vertex, [gx][gy].
std::array<std::array<int, MAZE_VERTICES>, MAZE_VERTICES> maze_vertex;

void drop_stick(int gx, int gy, int directions) {
    for (int tries = 0; tries < STICK_TRIES; ++tries) {
        const grid_step_t step = STICK_DIRECTIONS[static_cast<size_t>(random() % directions)];
        int& near_end = maze_vertex[gx][gy];
        int& far_end = maze_vertex[gx + step.dx][gy + step.dy];
        if (near_end != 0 && far_end != 0) continue;
        gen_wall(gx, gy, step.dx, step.dy);
        ++near_end;
        ++far_end;
        return;
    }
}

} // namespace

void generate_boundary_wall() {
    setup_wall(0, Xmax, Ymax, Xmin, Ymax, 0, -1);
    setup_wall(WALL_BACKFACE, Xmin, Ymax, Xmax, Ymax, 0, 1);
    setup_wall(0, Xmin, Ymin, Xmax, Ymin, 0, 1);
    setup_wall(WALL_BACKFACE, Xmax, Ymin, Xmin, Ymin, 0, -1);
    setup_wall(0, Xmin, Ymax, Xmin, Ymin, 1, 0);
    setup_wall(WALL_BACKFACE, Xmin, Ymin, Xmin, Ymax, -1, 0);
    setup_wall(0, Xmax, Ymin, Xmax, Ymax, -1, 0);
    setup_wall(WALL_BACKFACE, Xmax, Ymax, Xmax, Ymin, 1, 0);
}

void reset_wall() {
    nwall = 0;
    generate_boundary_wall();
}

int scatter_objects(uint32_t flag, int n) {
    for (int object = 0; object < n; ++object) {
        double x = 0.0;
        double y = 0.0;
        for (int tries = 0; tries < OBJECT_TRIES; ++tries) {
            x = (drand() - 0.5) * OBJECT_SPREAD;
            y = (drand() - 0.5) * OBJECT_SPREAD;
            if (dist_to_nn_from(-1, x, y) >= OBJECT_CLEARANCE && !is_wall_within(x, y, OBJECT_CLEARANCE)) break;
        }
        // The last point is used even if none was good: an object only needs more than BODY_GAP.
        static_cast<void>(set_object_at(flag, x, y));
    }
    return n;
}

int scatter_stone(int n) { return scatter_objects(TTL_STONE, n); }

void gen_wall(int gx, int gy, int dx, int dy) {
    const double x1 = Xmin + MAZE_CELL * gx;
    const double y1 = Ymin + MAZE_CELL * gy;
    const double x2 = Xmin + MAZE_CELL * (gx + dx);
    const double y2 = Ymin + MAZE_CELL * (gy + dy);
    setup_wall(0, x1, y1, x2, y2, -dy, dx);
    setup_wall(WALL_BACKFACE, x2, y2, x1, y1, dy, -dx);
}

void generate_maze() {
    maze_vertex = {};
    for (int gy = 1; gy < MAZE_VERTICES - 1; ++gy) {
        for (int gx = 1; gx < MAZE_VERTICES - 1; ++gx) drop_stick(gx, gy, gy == 1 ? 4 : 3);
    }
    static_cast<void>(set_object_at(TTL_DOUGHNUT, GOAL_OFFSET, GOAL_OFFSET));
    static_cast<void>(set_object_at(TTL_DOUGHNUT, -GOAL_OFFSET, GOAL_OFFSET));
    static_cast<void>(set_object_at(TTL_DOUGHNUT, GOAL_OFFSET, -GOAL_OFFSET));
    static_cast<void>(set_object_at(TTL_DOUGHNUT, -GOAL_OFFSET, -GOAL_OFFSET));
}

int field_scatter_coin(int n) {
    if (stock_of_coin < 1) return -1;
    int highest = highest_coin_ord();
    int placed = 0;
    for (int k = 0; k < COIN_MAX; ++k) {
        coin_t& coin = coins[k];
        if (has_any(coin.flags, ON_FIELD)) continue;
        coin.x = (drand() - 0.5) * COIN_SPREAD;
        coin.y = (drand() - 0.5) * COIN_SPREAD;
        coin.flags |= ON_FIELD;
        coin.ord = ++highest;
        add_coin_to_map(k);
        --stock_of_coin;
        ncoin = std::max(ncoin, k + 1);
        // Tested after a coin was placed: scattering 0 coins places one.
        if (++placed >= n) break;
    }
    return 0;
}
