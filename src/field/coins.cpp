#include "field/coins.h"

#include "field/state.h"
#include "geometry/coin_map.h"
#include "geometry/random.h"
#include "turtle/turtle.h"

#include <algorithm>

namespace {

constexpr double COIN_SPREAD = 492.0; // side of the square of random places: 10 inside the field's edges

} // namespace

void reset_coin() {
    init_coinmap();
    for (int k = 0; k < COIN_MAX; ++k) {
        coins[k].number = k;
        coins[k].flags = 0;
        coins[k].ord = -1;
        coins[k].next = nullptr;
    }
    for (turtle_t& t : ttl) t.n_coin = 0;
    stock_of_coin = COIN_MAX;
    coins_gone = 0;
    ncoin = 0;
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
        // Tested after a coin was placed: a scatter of nothing places one.
        if (++placed >= n) break;
    }
    return 0;
}
