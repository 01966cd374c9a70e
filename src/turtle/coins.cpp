#include "turtle/coins.h"

#include "field/coin_map.h"
#include "field/turtles.h"
#include "turtle/lifecycle.h"

namespace {

constexpr int BORROWED = 10; // coins that one loan brings

// Lowest slot whose coin is not on the field; -1 when all are.
int free_coin_slot() {
    for (int k = 0; k < ncoin; ++k) {
        if (!has_any(coins[k].flags, ON_FIELD)) return k;
    }
    if (ncoin >= COIN_MAX) return -1;
    return ncoin++;
}

} // namespace

int turtle_generate_doughnut(int i) {
    if (ttl[i].n_doughnut >= DOUGHNUT_QUOTA) return -1;
    if (generate_turtle(-1, TTL_DOUGHNUT) < 0) return -1;
    ++ttl[i].n_doughnut;
    return 0;
}

int turtle_borrow_coin(int i) {
    if (stock_of_coin < BORROWED) return -1;
    ttl[i].n_coin += BORROWED;
    stock_of_coin -= BORROWED;
    return 0;
}

int turtle_drop_coin(int i) {
    turtle_t& t = ttl[i];
    if (t.n_coin < 1) return -1;
    const int highest = highest_coin_ord();
    const int slot = free_coin_slot();
    if (slot < 0) return -1;
    coin_t& coin = coins[slot];
    coin.x = t.pos[0].x;
    coin.y = t.pos[0].y;
    coin.flags |= ON_FIELD;
    coin.ord = highest + 1;
    add_coin_to_map(slot);
    --t.n_coin;
    return 0;
}

int turtle_pick_coin(int i) {
    int nearest = -1;
    count_neighbor_coin_in_map(i, nearest);
    if (nearest < 0) return 0;
    coin_t& coin = coins[nearest];
    const int rank = coin.ord;
    coin.flags &= ~ON_FIELD;
    coin.ord = -1;
    remove_coin_from_map(nearest);
    ++ttl[i].n_coin;
    for (int k = 0; k < ncoin; ++k) {
        if (has_any(coins[k].flags, ON_FIELD) && coins[k].ord > rank) --coins[k].ord;
    }
    return 0;
}
