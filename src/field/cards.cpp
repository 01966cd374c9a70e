#include "field/cards.h"

#include "field/state.h"

#include <algorithm>

void reset_card() {
    for (int k = 0; k < CARD_MAX; ++k) {
        cards[k].index = static_cast<uint32_t>(k);
        cards[k].flags = 0;
        card_list[k] = k;
    }
}

void field_clear_all_cards() { reset_card(); }

void field_set_card(int n, double x, double y) {
    if (n >= 1 && n <= CARD_MAX) {
        card_t& card = cards[n - 1];
        card.flags |= ON_FIELD;
        card.x = x;
        card.y = y;
        const auto place = std::find(card_list.begin(), card_list.end(), n - 1);
        if (place == card_list.end()) {
            card_list[0] = n - 1;
        } else {
            std::rotate(card_list.begin(), place, place + 1);
        }
    } else if (n >= -CARD_MAX && n <= -1) {
        cards[-n - 1].flags &= ~ON_FIELD;
    }
}
