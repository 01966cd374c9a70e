#include "field/queries.h"

#include "field/state.h"
#include "field/turtles.h"

namespace {

constexpr int LAST_QUERIED_CARD = 52; // the further card 53 can be placed and hidden, but not queried

int count_live_without(uint32_t excluded) {
    int n = 0;
    for (int k = 0; k < ntmax; ++k) {
        if (has_any(ttl[k].flags, TTL_ALIVE) && !has_any(ttl[k].flags, excluded)) ++n;
    }
    return n;
}

} // namespace

int qf_elapsed_time(uint64_t& t) {
    t = signals.elapsed_time;
    return 0;
}

int qf_n_turtle(int& n) {
    n = count_live_without(TTL_OBJECT & ~TTL_DOUGHNUT);
    return 0;
}

int qf_n_moving_obj(int& n) {
    n = count_live_without(TTL_OBJECT | TTL_ZOMBIE);
    return 0;
}

int qf_stat_card(int k, int& shown) {
    if (k < 1 || k > LAST_QUERIED_CARD) return -1;
    shown = has_any(cards[k - 1].flags, ON_FIELD) ? 1 : 0;
    return 0;
}

int qf_pos_card(int k, double& x, double& y) {
    if (k < 1 || k > LAST_QUERIED_CARD) return -1;
    x = cards[k - 1].x;
    y = cards[k - 1].y;
    return 0;
}
