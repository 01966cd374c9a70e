// The cards on the field as JSON.
#include "cards/layout.h"
#include "support.h"

#include <array>
#include <string>

namespace {

struct CardLayout : FieldTest {
    static card_layout_t now() { return {.cards = cards, .order = card_list}; }
    static std::string text() {
        std::array<char, CARDS_JSON_BYTES> buffer{};
        const int length = write_cards_json(now(), buffer);
        EXPECT_EQ(std::string(buffer.data()).size(), static_cast<size_t>(length));
        return buffer.data();
    }
};

} // namespace

TEST_F(CardLayout, empty_field_has_no_cards) {
    EXPECT_EQ(text(), "{\"sheet\":\"cards.png\",\"width\":75,\"height\":104,\"cards\":[]}\n");
}

TEST_F(CardLayout, lowest_card_comes_first) {
    field_set_card(1, -34.5, 20);
    field_set_card(53, 1, 2);
    field_set_card(15, 0, 0); // second row, second column
    field_set_card(1, 3, 4);  // to the top
    // Columns are 87.7 pixels apart from 15 on, rows 117.5 from 10 on, cut to whole pixels.
    EXPECT_EQ(text(), "{\"sheet\":\"cards.png\",\"width\":75,\"height\":104,\"cards\":["
                      "{\"card\":53,\"x\":1.000000,\"y\":2.000000,\"u\":15,\"v\":480},"
                      "{\"card\":15,\"x\":0.000000,\"y\":0.000000,\"u\":102,\"v\":127},"
                      "{\"card\":1,\"x\":3.000000,\"y\":4.000000,\"u\":15,\"v\":10}]}\n");
}

TEST_F(CardLayout, card_without_a_finite_place_is_left_out) {
    field_set_card(2, INF, 0);
    field_set_card(3, 0, NOT_A_NUMBER);
    field_set_card(4, 0, 0);
    field_set_card(-4, 0, 0);
    EXPECT_EQ(text(), "{\"sheet\":\"cards.png\",\"width\":75,\"height\":104,\"cards\":[]}\n");
}

TEST_F(CardLayout, longest_numbers_fit) {
    for (int k = 1; k <= CARD_MAX; ++k) field_set_card(k, -1.7e308, -1.7e308);
    const std::string all = text();
    EXPECT_EQ(all.substr(all.size() - 3), "]}\n");
    EXPECT_GT(all.size(), 53U * 2 * 309);
    EXPECT_LT(all.size(), CARDS_JSON_BYTES);
}

TEST_F(CardLayout, text_that_does_not_fit_is_cut) {
    field_set_card(1, 0, 0);
    std::array<char, 20> small{};
    EXPECT_EQ(write_cards_json(now(), small), 19);
    EXPECT_EQ(std::string(small.data()), "{\"sheet\":\"cards.png");
    EXPECT_EQ(write_cards_json(now(), {}), 0);
}

TEST_F(CardLayout, invalid_entries_of_the_order_are_skipped) {
    field_set_card(1, 0, 0);
    card_list[40] = -1;
    card_list[41] = CARD_MAX;
    EXPECT_NE(text().find("\"card\":1,"), std::string::npos);
}

TEST_F(CardLayout, only_visible_changes_make_a_difference) {
    field_set_card(1, 0, 0);
    field_set_card(2, 5, 5);
    const card_layout_t before = now();
    EXPECT_TRUE(shows_the_same(before, now()));
    cards[10].x = 7; // not on the field
    std::swap(card_list[30], card_list[31]);
    EXPECT_TRUE(shows_the_same(before, now()));
    field_set_card(1, 0, 0); // to the top
    EXPECT_FALSE(shows_the_same(before, now()));
    field_set_card(2, 5, 5);
    EXPECT_TRUE(shows_the_same(before, now()));
    cards[1].y = 5.25;
    EXPECT_FALSE(shows_the_same(before, now()));
    cards[1].y = 5;
    field_set_card(-1, 0, 0);
    EXPECT_FALSE(shows_the_same(before, now()));
}
