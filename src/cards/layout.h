// The cards on the field as JSON, for programs that show them outside the window. Pure.
#pragma once

#include "field/state.h"

#include <array>
#include <span>

// The cards and their stacking order at one moment.
struct card_layout_t {
    std::array<card_t, CARD_MAX> cards;
    std::array<int32_t, CARD_MAX> order; // card indices, the one on top first
};

// Room for 53 cards at places with as many digits as a double can have.
inline constexpr size_t CARDS_JSON_BYTES = CARD_MAX * (2 * 318 + 64) + 128;

/// Whether two layouts show the same cards at the same places in the same order. Cards at non-finite places are not
/// shown and make no difference.
[[nodiscard]] bool shows_the_same(const card_layout_t& a, const card_layout_t& b);

/// One object on one line: the sheet's file, a card's size in pixels and field units, and the cards on the field,
/// lowest first: number 1 to 53, lower left corner in field units, and the left and upper edge of its picture on the
/// sheet. A card whose place is not finite is left out.
/// @param text  at least CARDS_JSON_BYTES; what does not fit is cut
/// @return characters written, without the terminator
int write_cards_json(const card_layout_t& layout, std::span<char> text);
