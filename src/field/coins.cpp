#include "field/coins.h"

#include "field/coin_map.h"
#include "field/state.h"
#include "field/turtles.h"

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
