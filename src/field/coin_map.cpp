#include "field/coin_map.h"

#include "field/state.h"
#include "field/turtles.h"

#include <algorithm>

std::array<coin_t*, COINMAP_SIDE * COINMAP_SIDE> coinmap;

namespace {

constexpr double COINMAP_EDGE = 256.0; // the grid covers -256 to 256, whatever the field's bounds
constexpr double COIN_REACH_SQUARED = COIN_REACH * COIN_REACH;

// Column or row of a coordinate, clamped to the grid before it is converted; NaN goes to cell 0.
int cell_of(double coordinate) {
    const double cell = (COINMAP_EDGE + coordinate) / COINMAP_CELL;
    if (!(cell > 0.0)) return 0;
    if (cell >= COINMAP_SIDE) return COINMAP_SIDE - 1;
    return static_cast<int>(cell);
}

coin_t*& head_of(const coin_t& coin) { return coinmap[cell_of(coin.x) * COINMAP_SIDE + cell_of(coin.y)]; }

} // namespace

void init_coinmap() { coinmap.fill(nullptr); }

void add_coin_to_map(int coin) {
    coin_t** link = &head_of(coins[coin]);
    while (*link != nullptr) link = &(*link)->next;
    *link = &coins[coin];
}

void remove_coin_from_map(int coin) {
    coin_t& c = coins[coin];
    coin_t** link = &head_of(c);
    while (*link != nullptr && *link != &c) link = &(*link)->next;
    if (*link == &c) *link = c.next;
    c.next = nullptr;
}

int count_neighbor_coin_in_map(int i, int& nearest) {
    const point_t here = ttl[i].pos[0];
    const int column = cell_of(here.x);
    const int row = cell_of(here.y);
    int count = 0;
    double best = COIN_REACH_SQUARED;
    nearest = -1;
    for (int r = row - 1; r <= row + 1; ++r) {
        for (int c = column - 1; c <= column + 1; ++c) {
            if (r < 0 || r >= COINMAP_SIDE || c < 0 || c >= COINMAP_SIDE) continue;
            for (const coin_t* coin = coinmap[c * COINMAP_SIDE + r]; coin != nullptr; coin = coin->next) {
                const double dx = coin->x - here.x;
                const double dy = coin->y - here.y;
                const double d2 = dx * dx + dy * dy;
                if (!(d2 < COIN_REACH_SQUARED)) continue;
                ++count;
                if (d2 < best) {
                    best = d2;
                    nearest = coin->number;
                }
            }
        }
    }
    return count;
}

int highest_coin_ord() {
    int highest = -1;
    for (int k = 0; k < ncoin; ++k) {
        if (has_any(coins[k].flags, ON_FIELD)) highest = std::max(highest, coins[k].ord);
    }
    return highest;
}
