#include "game/invariants.h"

#include "base/log.h"
#include "field/clients.h"
#include "field/coin_map.h"
#include "field/state.h"
#include "field/turtles.h"
#include "field/walls.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

bool watched;

const char* broken_coin_list(const std::bitset<COIN_MAX>& on_field) {
    std::bitset<COIN_MAX> listed;
    for (const coin_t* head : coinmap) {
        for (const coin_t* c = head; c != nullptr; c = c->next) {
            const ptrdiff_t k = c - coins.data();
            if (k < 0 || k >= COIN_MAX) return "a cell's list stays within the coin table";
            const auto coin = static_cast<size_t>(k);
            if (listed.test(coin)) return "a coin is in the list of one cell only, and no list is a ring";
            listed.set(coin);
        }
    }
    return listed == on_field ? nullptr : "every coin on the field is in the list of a cell, and no other is";
}

const char* broken_coins() {
    if (ncoin < 0 || ncoin > COIN_MAX) return "ncoin is within the coin table";
    std::bitset<COIN_MAX> on_field, ranks;
    size_t highest = 0;
    for (int k = 0; k < COIN_MAX; ++k) {
        const coin_t& c = coins[k];
        if (c.number != k) return "a coin's number is its index";
        if (!has_any(c.flags, ON_FIELD)) {
            if (c.ord != -1) return "a coin off the field has no rank";
            continue;
        }
        if (k >= ncoin) return "no coin lies on the field behind ncoin";
        if (c.ord < 0 || c.ord >= COIN_MAX || ranks.test(static_cast<size_t>(c.ord))) {
            return "coins on the field have ranks of their own";
        }
        ranks.set(static_cast<size_t>(c.ord));
        on_field.set(static_cast<size_t>(k));
        if (static_cast<size_t>(c.ord) > highest) highest = static_cast<size_t>(c.ord);
    }
    if (on_field.any() && highest + 1 != on_field.count()) return "the ranks of the coins on the field are dense";

    // The coins of a freed slot count until the slot is reused, when they go to coins_gone. Only the bank may fall
    // below zero.
    int64_t total = int64_t{stock_of_coin} + coins_gone + static_cast<int64_t>(on_field.count());
    for (const turtle_t& t : ttl) {
        if (t.n_coin < 0) return "no turtle carries fewer than no coins";
        total += t.n_coin;
    }
    if (coins_gone < 0) return "no more coins come back than have gone";
    if (total != COIN_MAX) return "bank, field, hands and what has gone make up all coins";
    return broken_coin_list(on_field);
}

const char* broken_cards() {
    std::bitset<CARD_MAX> listed;
    for (const int32_t c : card_list) {
        if (c < 0 || c >= CARD_MAX || listed.test(static_cast<size_t>(c))) return "card_list names every card once";
        listed.set(static_cast<size_t>(c));
    }
    return nullptr;
}

const char* broken_clients() {
    int occupied = 0;
    for (const client_t& c : client_tab) {
        if (c.turtle_id < -1 || c.turtle_id >= TTL_MAX) return "a client's turtle is in the table, or it has none";
        if (c.recv_len < 0 || c.recv_len > RECV_MAX || c.recv_buf[c.recv_len] != '\0') {
            return "a client's pending text is bounded and terminated";
        }
        if (c.sockfd >= 0) ++occupied;
    }
    return occupied == nclient ? nullptr : "nclient counts the occupied slots";
}

const char* broken_turtles() {
    if (ntmax < 0 || ntmax > TTL_MAX) return "ntmax is within the turtle table";
    for (int i = 0; i < TTL_MAX; ++i) {
        const turtle_t& t = ttl[i];
        if (!has_any(t.flags, TTL_ALIVE)) continue;
        if (i >= ntmax) return "no turtle lives behind ntmax";
        if (t.client_id < -1 || t.client_id >= MAX_CLIENT) return "a turtle's owner is a client slot or nobody";
        if (t.dying_count < 0 || t.fire_wait < 0) return "no countdown runs below zero";
    }
    return nullptr;
}

} // namespace

const char* first_broken_invariant() {
    if (nwall < 0 || nwall > WALL_MAX) return "nwall is within the wall table";
    if (const char* what = broken_turtles()) return what;
    if (const char* what = broken_clients()) return what;
    if (const char* what = broken_cards()) return what;
    return broken_coins();
}

void watch_invariants() { watched = true; }

void abort_if_broken() {
    if (!watched) return;
    const char* const what = first_broken_invariant();
    if (what == nullptr) return;
    log_line("broken invariant: %s", what);
    abort();
}
