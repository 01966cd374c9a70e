// Shared by the unit tests: a field in its start state, turtles at chosen places, and a replay of the random stream.
// One thread; nothing here listens or draws.
#pragma once

#include "base/log.h"
#include "field/cards.h"
#include "field/clients.h"
#include "field/coin_map.h"
#include "field/coins.h"
#include "field/state.h"
#include "field/turtles.h"
#include "field/wall_map.h"
#include "field/walls.h"
#include "geometry/collision.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <string>

inline constexpr double NEAR = 1e-9; // tolerance of results that pass through sines and roots
inline constexpr double INF = std::numeric_limits<double>::infinity();
inline const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

/// Every table empty, every flag at its start value, no walls at all (not even the boundary), the random stream
/// restarted. Never calls field_kill_all_turtles, whose first call differs from later ones.
inline void reset_tables(unsigned seed = 1) {
    ttl = {};
    for (turtle_t& t : ttl) t.client_id = -1;
    ntmax = 0;
    walls = {};
    nwall = 0;
    cards = {};
    init_teaminfo();
    for (teaminfo_t& t : teams)
        for (char& c : t.message) c = 0;
    reset_coin();
    for (coin_t& c : coins) c.x = c.y = 0;
    reset_card();
    Xmin = Ymin = -256.0;
    Xmax = Ymax = 256.0;
    bgcol[0] = bgcol[1] = bgcol[2] = 0.0;
    signals.wipe_requested = false;
    modes.battle_mode = 0;
    modes.maze_mode = modes.bounded_area_mode = modes.bird_view_mode = 0;
    modes.disp_help = modes.disp_score = modes.disp_name = 0;
    signals.private_mode = 1;
    signals.menuitem_need_to_change = 0;
    signals.capture_screen = 0;
    signals.socket_error_occurred = 0;
    signals.elapsed_time = 0;
    for (client_t& c : client_tab) {
        c = {};
        free_client_slot(c);
    }
    nclient = 0;
    signals.accept_only_localhost = 1;
    log_forget();
    srandom(seed);
}

/// A fresh turtle of client slot `client` in slot `i`; plain turtles of the tests belong to slot 0.
inline turtle_t& put_turtle(int i, double x, double y, double dir = 0, int client = 0) {
    init_turtle(i, client, x, y, dir);
    if (i >= ntmax) ntmax = i + 1;
    return ttl[static_cast<size_t>(i)];
}

/// A stone or doughnut in slot `i`, without checking that the place is free.
inline turtle_t& put_object(int i, uint32_t kind, double x, double y) {
    turtle_t& t = put_turtle(i, x, y, 0, -1);
    t.flags = TTL_ALIVE | kind;
    t.score = 0;
    return t;
}

/// Coin number k, placed as the k-th.
inline coin_t& lay_coin(int k, double x, double y) {
    coin_t& c = coins[static_cast<size_t>(k)];
    c.x = x;
    c.y = y;
    c.ord = k;
    c.flags = ON_FIELD;
    if (k >= ncoin) ncoin = k + 1;
    add_coin_to_map(k);
    return c;
}

/// A long upright face at `x` that stops motion towards +x.
inline void put_wall_to_the_right(double x) { setup_wall(0, x, -1000, x, 1000, -1, 0); }

/// A long upright face at `x` that stops motion towards -x.
inline void put_wall_to_the_left(double x) { setup_wall(0, x, 1000, x, -1000, 1, 0); }

/// Horizontal faces 30 apart from `from` to `to`: no point between them is farther than 15 from one.
inline void put_grating(double from, double to) {
    for (double y = from; y <= to; y += 30) setup_wall(0, -1000, y, 1000, y, 0, 1);
}

/// Next value of the stream as drand would give it, computed here from random() alone.
inline double replay() { return static_cast<double>(random()) / 2147483647.0; }

/// How many numbers `action` took from a stream seeded with `seed`: looks for what random() returns next in the plain
/// stream. -1 when more than `limit`.
template <class Action> int draws_of(unsigned seed, Action action, int limit = 5000) {
    srandom(seed);
    action();
    long next[4];
    for (long& n : next) n = random();
    srandom(seed);
    long window[4];
    for (long& w : window) w = random();
    for (int drawn = 0; drawn <= limit; ++drawn) {
        if (window[0] == next[0] && window[1] == next[1] && window[2] == next[2] && window[3] == next[3]) return drawn;
        window[0] = window[1];
        window[1] = window[2];
        window[2] = window[3];
        window[3] = random();
    }
    return -1;
}

/// Every test of the rules starts from the same field.
struct FieldTest : ::testing::Test {
    void SetUp() override { reset_tables(); }
};
