// Coins that a turtle carries and doughnuts it makes: limits of bank and table, dense ranks, conservation.
#include "turtle/coins.h"

#include "game/furnish.h"
#include "support.h"
#include "turtle/motion.h"

#include <set>

using Coins = FieldTest;

static void expect_dense_ranks() {
    std::set<int> ranks;
    int on_field = 0;
    for (const coin_t& c : coins) {
        const bool lies = (c.flags & ON_FIELD) != 0;
        EXPECT_EQ(lies, c.ord >= 0);
        if (!lies) continue;
        ++on_field;
        ranks.insert(c.ord);
    }
    EXPECT_EQ(static_cast<int>(ranks.size()), on_field);
    if (on_field > 0) {
        EXPECT_EQ(*ranks.rbegin(), on_field - 1);
    }
}

TEST_F(Coins, borrowing_takes_ten_at_a_time_while_the_bank_holds_ten) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(turtle_borrow_coin(0), 0);
    EXPECT_EQ(ttl[0].n_coin, 10);
    EXPECT_EQ(stock_of_coin, 290);
    stock_of_coin = 9;
    EXPECT_EQ(turtle_borrow_coin(0), -1);
    EXPECT_EQ(ttl[0].n_coin, 10);
    EXPECT_EQ(stock_of_coin, 9);
    stock_of_coin = 10;
    EXPECT_EQ(turtle_borrow_coin(0), 0);
    EXPECT_EQ(stock_of_coin, 0);
    stock_of_coin = -4;
    EXPECT_EQ(turtle_borrow_coin(0), -1);
}

TEST_F(Coins, dropping_lays_a_coin_where_the_turtle_stands) {
    put_turtle(0, 12, -34);
    EXPECT_EQ(turtle_drop_coin(0), -1); // carries none
    ttl[0].n_coin = 1;
    EXPECT_EQ(turtle_drop_coin(0), 0);
    EXPECT_EQ(ttl[0].n_coin, 0);
    EXPECT_EQ(ncoin, 1);
    EXPECT_EQ(coins[0].x, 12);
    EXPECT_EQ(coins[0].y, -34);
    EXPECT_EQ(coins[0].ord, 0);
    EXPECT_EQ(coins[0].flags, 0x1000000u);
    EXPECT_EQ(stock_of_coin, 300); // the bank is not touched
    EXPECT_EQ(turtle_drop_coin(0), -1);
    int nearest;
    EXPECT_EQ(count_neighbor_coin_in_map(0, nearest), 1);
}

TEST_F(Coins, three_dropped_coins_rank_in_order_and_close_the_gap_of_a_picked_one) {
    put_turtle(0, 0, 0);
    ttl[0].n_coin = 4;
    turtle_drop_coin(0); // an older coin elsewhere
    turtle_jump(0, 100, 0);
    for (int k = 1; k <= 3; ++k) {
        turtle_drop_coin(0);
        EXPECT_EQ(coins[static_cast<size_t>(k)].ord, k);
    }
    EXPECT_EQ(turtle_pick_coin(0), 0); // equal distances: the first met is slot 1
    EXPECT_EQ(coins[1].ord, -1);
    EXPECT_EQ(coins[1].flags & ON_FIELD, 0u);
    EXPECT_EQ(coins[1].next, nullptr);
    EXPECT_EQ(coins[2].ord, 1);
    EXPECT_EQ(coins[3].ord, 2);
    EXPECT_EQ(coins[0].ord, 0);
    EXPECT_EQ(ttl[0].n_coin, 1);
    expect_dense_ranks();
}

TEST_F(Coins, lowest_empty_slot_is_used_again) {
    put_turtle(0, 0, 0);
    ttl[0].n_coin = 3;
    for (int k = 0; k < 3; ++k) turtle_drop_coin(0);
    turtle_pick_coin(0);
    EXPECT_EQ(coins[0].ord, -1);
    EXPECT_EQ(turtle_drop_coin(0), 0);
    EXPECT_EQ(coins[0].ord, 2);
    EXPECT_EQ(ncoin, 3);
}

TEST_F(Coins, dropping_needs_a_free_slot) {
    put_turtle(0, 0, 0);
    ttl[0].n_coin = 302;
    for (int k = 0; k < 300; ++k) EXPECT_EQ(turtle_drop_coin(0), 0);
    EXPECT_EQ(ncoin, 300);
    EXPECT_EQ(turtle_drop_coin(0), -1);
    EXPECT_EQ(ttl[0].n_coin, 2);
    expect_dense_ranks();
    turtle_pick_coin(0);
    EXPECT_EQ(turtle_drop_coin(0), 0);
}

TEST_F(Coins, picking_at_an_empty_place_is_no_error) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(turtle_pick_coin(0), 0);
    EXPECT_EQ(ttl[0].n_coin, 0);
    ttl[0].n_coin = 1;
    turtle_drop_coin(0);
    turtle_jump(0, 20, 0); // exactly out of reach
    EXPECT_EQ(turtle_pick_coin(0), 0);
    EXPECT_EQ(ttl[0].n_coin, 0);
    turtle_jump(0, 19.99, 0);
    turtle_pick_coin(0);
    EXPECT_EQ(ttl[0].n_coin, 1);
}

TEST_F(Coins, zombie_may_handle_coins) {
    put_turtle(0, 0, 0).flags |= TTL_ZOMBIE;
    EXPECT_EQ(turtle_borrow_coin(0), 0);
    EXPECT_EQ(turtle_drop_coin(0), 0);
    EXPECT_EQ(turtle_pick_coin(0), 0);
    EXPECT_EQ(ttl[0].n_coin, 10);
}

TEST_F(Coins, coin_dropped_outside_the_field_can_be_picked_up_again) {
    const double places[][2] = {{300, 0}, {-999, -999}, {1e308, 1e308}, {0, -257}};
    for (const auto& p : places) {
        put_turtle(0, p[0], p[1]).n_coin = 1;
        EXPECT_EQ(turtle_drop_coin(0), 0);
        EXPECT_EQ(turtle_pick_coin(0), 0);
        EXPECT_EQ(ttl[0].n_coin, 1) << p[0];
    }
}

TEST_F(Coins, eleventh_doughnut_is_refused) {
    put_turtle(0, 1e6, 0);
    for (int k = 0; k < 10; ++k) EXPECT_EQ(turtle_generate_doughnut(0), 0);
    EXPECT_EQ(ttl[0].n_doughnut, 10);
    EXPECT_EQ(draws_of(1, [] { EXPECT_EQ(turtle_generate_doughnut(0), -1); }), 0);
    EXPECT_EQ(ntmax, 11);
    EXPECT_EQ(ttl[5].flags, TTL_ALIVE | TTL_ROBOT | TTL_DOUGHNUT);
}

TEST_F(Coins, doughnut_that_finds_no_place_is_not_counted) {
    put_turtle(0, 1e6, 0);
    put_grating(-270, 270);
    EXPECT_EQ(turtle_generate_doughnut(0), -1);
    EXPECT_EQ(ttl[0].n_doughnut, 0);
}

TEST_F(Coins, ranks_stay_dense_and_coins_conserved_under_random_handling) {
    for (int i = 0; i < 3; ++i) put_turtle(i, 60.0 * i, 0);
    for (int k = 0; k < 3000; ++k) {
        const int i = static_cast<int>(random() % 3);
        switch (random() % 5) {
        case 0:
            turtle_borrow_coin(i);
            break;
        case 1:
            turtle_drop_coin(i);
            break;
        case 2:
            turtle_pick_coin(i);
            break;
        case 3:
            turtle_jump(i, replay() * 600 - 300, replay() * 600 - 300);
            break;
        default:
            if (stock_of_coin > 0) field_scatter_coin(1);
        }
        int lying = 0, hung = 0, carried = 0;
        for (const coin_t& c : coins) lying += (c.flags & ON_FIELD) != 0;
        for (const coin_t* head : coinmap)
            for (; head != nullptr; head = head->next) ++hung;
        for (const turtle_t& t : ttl) carried += t.n_coin;
        ASSERT_EQ(hung, lying) << k;
        ASSERT_EQ(stock_of_coin + lying + carried, 300) << k;
    }
    expect_dense_ranks();
}
