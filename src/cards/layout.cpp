#include "cards/layout.h"

#include "cards/sheet.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {

struct shown_t {
    std::array<const card_t*, CARD_MAX> cards; // lowest first
    int count;
};

shown_t shown_cards(const card_layout_t& layout) {
    shown_t shown{};
    for (int k = CARD_MAX - 1; k >= 0; --k) {
        const int c = layout.order[k];
        if (c < 0 || c >= CARD_MAX) continue;
        const card_t& card = layout.cards[c];
        if ((card.flags & ON_FIELD) == 0 || !std::isfinite(card.x) || !std::isfinite(card.y)) continue;
        shown.cards[shown.count++] = &card;
    }
    return shown;
}

struct writer_t {
    std::span<char> text;
    size_t length;
};

[[gnu::format(printf, 2, 3)]] void add(writer_t& w, const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int wanted = vsnprintf(w.text.data() + w.length, w.text.size() - w.length, format, values);
    va_end(values);
    if (wanted > 0) w.length = std::min(w.length + static_cast<size_t>(wanted), w.text.size() - 1);
}

} // namespace

bool shows_the_same(const card_layout_t& a, const card_layout_t& b) {
    const shown_t one = shown_cards(a), other = shown_cards(b);
    return std::equal(
        one.cards.begin(), one.cards.begin() + one.count, other.cards.begin(), other.cards.begin() + other.count,
        [](const card_t* p, const card_t* q) { return p->index == q->index && p->x == q->x && p->y == q->y; });
}

int write_cards_json(const card_layout_t& layout, std::span<char> text) {
    if (text.empty()) return 0;
    writer_t w{text, 0};
    add(w, R"({"sheet":"cards.png","width":%d,"height":%d,"cards":[)", CARD_WIDTH, CARD_HEIGHT);
    const shown_t shown = shown_cards(layout);
    for (int k = 0; k < shown.count; ++k) {
        const card_t& card = *shown.cards[k];
        const card_cell_t cell = card_cell(static_cast<int>(card.index));
        add(w, R"(%s{"card":%d,"x":%f,"y":%f,"u":%d,"v":%d})", k == 0 ? "" : ",", static_cast<int>(card.index) + 1,
            card.x, card.y, cell.left, cell.top);
    }
    add(w, "]}\n");
    return static_cast<int>(w.length);
}
