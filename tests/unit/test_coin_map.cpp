// The grid over the coins: cells, lists in order of insertion, reach, ties, and places outside the field.
#include "field/coin_map.h"

#include "support.h"

#include <vector>

struct CoinMap : FieldTest {
    static std::vector<int> cell(int column, int row) {
        std::vector<int> numbers;
        for (const coin_t* c = coinmap[static_cast<size_t>(column * 16 + row)]; c; c = c->next)
            numbers.push_back(c->number);
        return numbers;
    }
    static int near(double x, double y, int& nearest) {
        put_turtle(0, x, y);
        return count_neighbor_coin_in_map(0, nearest);
    }
};
using List = std::vector<int>;

TEST_F(CoinMap, place_gives_column_and_row_of_32) {
    lay_coin(0, -256, -256);
    lay_coin(1, -224, -256);
    lay_coin(2, -256, -224);
    lay_coin(3, 255.9, -224.1);
    lay_coin(4, 0, 255.9);
    EXPECT_EQ(cell(0, 0), List({0}));
    EXPECT_EQ(cell(1, 0), List({1}));
    EXPECT_EQ(cell(0, 1), List({2}));
    EXPECT_EQ(cell(15, 0), List({3}));
    EXPECT_EQ(cell(8, 15), List({4}));
}

TEST_F(CoinMap, list_keeps_its_order_when_the_middle_coin_is_removed) {
    for (const int n : {5, 2, 9}) lay_coin(n, 1, 1);
    EXPECT_EQ(cell(8, 8), List({5, 2, 9}));
    remove_coin_from_map(2);
    EXPECT_EQ(cell(8, 8), List({5, 9}));
    EXPECT_EQ(coins[2].next, nullptr);
    lay_coin(2, 1, 1);
    EXPECT_EQ(cell(8, 8), List({5, 9, 2}));
}

TEST_F(CoinMap, first_and_last_of_a_list_can_be_removed) {
    for (const int n : {0, 1, 2}) lay_coin(n, 1, 1);
    remove_coin_from_map(0);
    EXPECT_EQ(cell(8, 8), List({1, 2}));
    EXPECT_EQ(coins[0].next, nullptr);
    remove_coin_from_map(2);
    EXPECT_EQ(cell(8, 8), List({1}));
    remove_coin_from_map(1);
    EXPECT_EQ(cell(8, 8), List());
    remove_coin_from_map(1); // an empty list
    EXPECT_EQ(cell(8, 8), List());
}

TEST_F(CoinMap, init_empties_every_cell) {
    int nearest = 7;
    lay_coin(0, 1, 1);
    init_coinmap();
    EXPECT_EQ(near(1, 1, nearest), 0);
    EXPECT_EQ(nearest, -1);
    for (const coin_t* head : coinmap) EXPECT_EQ(head, nullptr);
}

TEST_F(CoinMap, reach_ends_before_twenty) {
    int nearest;
    lay_coin(0, 20, 0);
    EXPECT_EQ(near(0, 0, nearest), 0);
    EXPECT_EQ(nearest, -1);
    EXPECT_EQ(near(0.001, 0, nearest), 1);
    EXPECT_EQ(nearest, 0);
}

TEST_F(CoinMap, diagonal_neighbour_cell_is_seen) {
    int nearest;
    // Turtle just inside its cell's corner at (0, 0); 19 along the diagonal of the cell below left.
    const double d = 19 / std::sqrt(2.0), e = 20.001 / std::sqrt(2.0);
    lay_coin(0, -d, -d);
    lay_coin(1, -e, -e);
    EXPECT_EQ(near(0, 0, nearest), 1);
    EXPECT_EQ(nearest, 0);
}

TEST_F(CoinMap, nearest_of_several_is_told_and_all_are_counted) {
    int nearest;
    lay_coin(0, 15, 0);
    lay_coin(1, 3, 0);
    lay_coin(2, -10, 0);
    lay_coin(3, 100, 0);
    EXPECT_EQ(near(0, 0, nearest), 3);
    EXPECT_EQ(nearest, 1);
}

TEST_F(CoinMap, equal_distances_go_to_lower_row_then_lower_column_then_earlier_coin) {
    int nearest;
    lay_coin(0, 5, 5); // upper row, right
    EXPECT_EQ(near(0, 0, nearest), 1);
    lay_coin(1, -5, 5); // upper row, left
    near(0, 0, nearest);
    EXPECT_EQ(nearest, 1);
    lay_coin(2, 5, -5); // lower row, right: before both
    near(0, 0, nearest);
    EXPECT_EQ(nearest, 2);
    lay_coin(3, -5, -5); // lower row, left
    near(0, 0, nearest);
    EXPECT_EQ(nearest, 3);
    lay_coin(4, -5, -5); // same cell, later
    near(0, 0, nearest);
    EXPECT_EQ(nearest, 3);
}

TEST_F(CoinMap, border_cells_have_fewer_neighbours) {
    int nearest;
    lay_coin(0, -250, -250);
    lay_coin(1, 250, 250);
    EXPECT_EQ(near(-256, -256, nearest), 1);
    EXPECT_EQ(nearest, 0);
    EXPECT_EQ(near(256, 256, nearest), 1);
    EXPECT_EQ(nearest, 1);
}

TEST_F(CoinMap, coin_outside_the_field_is_listed_in_the_border_cell_and_found_again) {
    int nearest;
    const double places[][2] = {{300, 0}, {-300, 0}, {0, 1000}, {0, -1000}, {1e308, -1e308}, {-1e300, 5}};
    int n = 0;
    for (const auto& p : places) {
        lay_coin(n, p[0], p[1]);
        EXPECT_EQ(near(p[0], p[1], nearest), 1) << p[0];
        EXPECT_EQ(nearest, n);
        remove_coin_from_map(n++);
    }
    for (const coin_t* head : coinmap) EXPECT_EQ(head, nullptr);
}

TEST_F(CoinMap, far_edge_itself_belongs_to_the_last_cell) {
    lay_coin(0, 256, 256);
    lay_coin(1, 256, -256);
    lay_coin(2, -256, 256);
    EXPECT_EQ(cell(15, 15), List({0}));
    EXPECT_EQ(cell(15, 0), List({1}));
    EXPECT_EQ(cell(0, 15), List({2}));
}

TEST_F(CoinMap, nan_places_stay_in_the_grid) {
    int nearest;
    lay_coin(0, NOT_A_NUMBER, NOT_A_NUMBER);
    EXPECT_EQ(cell(0, 0), List({0}));
    lay_coin(1, INF, -INF);
    EXPECT_EQ(cell(15, 0), List({1}));
    EXPECT_EQ(near(NOT_A_NUMBER, 0, nearest), 0);
    EXPECT_EQ(near(INF, -INF, nearest), 0);
    remove_coin_from_map(0);
    remove_coin_from_map(1);
    for (const coin_t* head : coinmap) EXPECT_EQ(head, nullptr);
}
