// The invariants of the tables: they hold after any sequence of regular operations; each kind of damage is named; and
// coins that leave with a turtle are counted where they leave.
#include "game/invariants.h"

#include "game/furnish.h"
#include "game/modes.h"
#include "net/command.h"
#include "net/framing.h"
#include "support.h"
#include "turtle/coins.h"
#include "turtle/lifecycle.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

struct Invariants : FieldTest {
    void SetUp() override {
        FieldTest::SetUp();
        reset_wall();
    }
    // A client in slot `slot` with its own turtle, like an accepted connection.
    static int seat(int slot) {
        const int turtle = generate_turtle(slot, 0);
        client_tab[static_cast<size_t>(slot)].sockfd = 1000 + slot;
        client_tab[static_cast<size_t>(slot)].turtle_id = turtle;
        ++nclient;
        return turtle;
    }
    static void expect_broken(const char* what) {
        const char* found = first_broken_invariant();
        ASSERT_NE(found, nullptr) << what;
        EXPECT_STREQ(found, what);
    }
    // 30 coins on the field, 10 in the hands of a client's turtle.
    static int furnish() {
        field_scatter_coin(30);
        const int turtle = seat(0);
        turtle_borrow_coin(turtle);
        return turtle;
    }
};

TEST_F(Invariants, hold_of_a_fresh_field) { EXPECT_STREQ(first_broken_invariant(), nullptr); }

TEST_F(Invariants, hold_while_coins_go_round) {
    const int turtle = furnish();
    for (int k = 0; k < 6; ++k) {
        turtle_drop_coin(turtle);
        ASSERT_STREQ(first_broken_invariant(), nullptr) << "dropped " << k;
    }
    for (int k = 0; k < 4; ++k) {
        turtle_pick_coin(turtle);
        ASSERT_STREQ(first_broken_invariant(), nullptr) << "picked " << k;
    }
    EXPECT_EQ(coins_gone, 0);
}

TEST_F(Invariants, hold_of_a_coin_dropped_outside_the_field) {
    const int turtle = furnish();
    ttl[static_cast<size_t>(turtle)].pos[0] = {9000, NOT_A_NUMBER};
    turtle_drop_coin(turtle);
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

// A bank of 1 pays out 5: 299 coins were carried off before, so the field gets 5 and the bank owes 4.
TEST_F(Invariants, hold_of_a_bank_below_zero) {
    const int turtle = seat(0);
    for (int k = 0; k < 29; ++k) turtle_borrow_coin(turtle);
    field_scatter_coin(9);
    ASSERT_EQ(stock_of_coin, 1);
    field_scatter_coin(5);
    EXPECT_EQ(stock_of_coin, -4);
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, coins_of_a_turtle_that_is_reset_are_gone) {
    const int turtle = furnish();
    turtle_reset(turtle, 0);
    EXPECT_EQ(coins_gone, 10);
    EXPECT_EQ(stock_of_coin, 260);
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, coins_of_a_cleared_zombie_are_gone_once_its_slot_is_used_again) {
    const int turtle = furnish();
    make_zombie(turtle);
    field_clear_zombie();
    EXPECT_EQ(coins_gone, 0);
    EXPECT_STREQ(first_broken_invariant(), nullptr);
    ASSERT_EQ(generate_turtle(-1, TTL_DOUGHNUT), turtle);
    EXPECT_EQ(coins_gone, 10);
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, coins_of_a_slot_that_a_stone_takes_are_gone) {
    const int turtle = furnish();
    ttl[static_cast<size_t>(turtle)].flags = 0; // died
    ASSERT_EQ(set_object_at(TTL_STONE, 0, 0), 0);
    EXPECT_EQ(coins_gone, 10);
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, all_coins_come_back_when_all_turtles_are_killed) {
    turtle_reset(furnish(), 0);
    field_kill_all_turtles();
    EXPECT_EQ(coins_gone, 0);
    EXPECT_EQ(stock_of_coin, 300);
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, name_a_coin_too_many_or_too_few) {
    furnish();
    ++stock_of_coin;
    expect_broken("bank, field, hands and what has gone make up all coins");
    stock_of_coin -= 2;
    expect_broken("bank, field, hands and what has gone make up all coins");
    ++stock_of_coin;
    ttl[5].n_coin = -1;
    expect_broken("no turtle carries fewer than no coins");
    ttl[5].n_coin = 0;
    coins_gone = -1;
    expect_broken("no more coins come back than have gone");
    coins_gone = 0;
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, name_damage_to_ranks_and_numbers_of_coins) {
    furnish();
    coin_t& coin = coins[7]; // laid as the eighth: rank 7
    coin.ord = 8;
    expect_broken("coins on the field have ranks of their own");
    coin.ord = -1;
    expect_broken("coins on the field have ranks of their own");
    coin.ord = COIN_MAX;
    expect_broken("coins on the field have ranks of their own");
    coin.ord = 30;
    expect_broken("the ranks of the coins on the field are dense");
    coin.ord = 7;
    coins[40].ord = 0;
    expect_broken("a coin off the field has no rank");
    coins[40].ord = -1;
    coins[40].number = 41;
    expect_broken("a coin's number is its index");
    coins[40].number = 40;
    ncoin = 29;
    expect_broken("no coin lies on the field behind ncoin");
    ncoin = COIN_MAX + 1;
    expect_broken("ncoin is within the coin table");
    ncoin = 30;
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, name_damage_to_the_lists_of_the_coin_map) {
    furnish();
    coin_t*& free_cell = *std::find(coinmap.begin(), coinmap.end(), nullptr);
    free_cell = &coins[7];
    expect_broken("a coin is in the list of one cell only, and no list is a ring");
    free_cell = &coins[40];
    expect_broken("every coin on the field is in the list of a cell, and no other is");
    free_cell = coins.data() + COIN_MAX;
    expect_broken("a cell's list stays within the coin table");
    free_cell = nullptr;
    coin_t* tail = &coins[7];
    while (tail->next != nullptr) tail = tail->next;
    tail->next = &coins[7];
    expect_broken("a coin is in the list of one cell only, and no list is a ring");
    tail->next = nullptr;
    remove_coin_from_map(7);
    expect_broken("every coin on the field is in the list of a cell, and no other is");
    add_coin_to_map(7);
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, name_damage_to_the_stacking_order) {
    for (const int32_t wrong : {-1, 3, CARD_MAX}) {
        card_list[4] = wrong;
        expect_broken("card_list names every card once");
    }
    card_list[4] = 4;
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, name_damage_to_the_client_table) {
    furnish();
    for (const int wrong : {0, 2}) {
        nclient = wrong;
        expect_broken("nclient counts the occupied slots");
    }
    nclient = 1;
    for (const int wrong : {-2, TTL_MAX}) {
        client_tab[0].turtle_id = wrong;
        expect_broken("a client's turtle is in the table, or it has none");
    }
    client_tab[0].turtle_id = -1;
    EXPECT_STREQ(first_broken_invariant(), nullptr);
    for (const int wrong : {-1, RECV_MAX + 1}) {
        client_tab[0].recv_len = wrong;
        expect_broken("a client's pending text is bounded and terminated");
    }
    client_tab[0].recv_len = RECV_MAX;
    client_tab[0].recv_buf[RECV_MAX] = 'f';
    expect_broken("a client's pending text is bounded and terminated");
    client_tab[0].recv_buf[RECV_MAX] = '\0';
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

TEST_F(Invariants, name_damage_to_the_turtle_and_wall_tables) {
    const int turtle = furnish();
    for (const int wrong : {-1, TTL_MAX + 1}) {
        ntmax = wrong;
        expect_broken("ntmax is within the turtle table");
    }
    ntmax = turtle;
    expect_broken("no turtle lives behind ntmax");
    ntmax = turtle + 1;
    for (const int wrong : {-2, MAX_CLIENT}) {
        ttl[static_cast<size_t>(turtle)].client_id = wrong;
        expect_broken("a turtle's owner is a client slot or nobody");
    }
    ttl[static_cast<size_t>(turtle)].client_id = 0;
    ttl[static_cast<size_t>(turtle)].fire_wait = -1;
    expect_broken("no countdown runs below zero");
    ttl[static_cast<size_t>(turtle)].fire_wait = 0;
    for (const int wrong : {-1, WALL_MAX + 1}) {
        nwall = wrong;
        expect_broken("nwall is within the wall table");
    }
    nwall = 8;
    EXPECT_STREQ(first_broken_invariant(), nullptr);
}

// In a new process, because a broken table ends it. A release build goes on and answers.
TEST_F(Invariants, command_that_leaves_a_broken_table_ends_a_checked_build_only) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto execute_on_broken_tables = [] {
        furnish();
        watch_invariants();
        ++stock_of_coin;
        client_t& c = client_tab[0];
        c.recv_len = snprintf(c.recv_buf, sizeof c.recv_buf, "f 1\n");
        try_to_exec(0);
        fputs("went on\n", stderr);
        _exit(0);
    };
    if constexpr (CHECKED_BUILD) {
        EXPECT_DEATH(execute_on_broken_tables(), "broken invariant: bank, field, hands");
    } else {
        EXPECT_EXIT(execute_on_broken_tables(), ::testing::ExitedWithCode(0), "went on");
    }
}

TEST_F(Invariants, unwatched_tables_are_not_checked) {
    furnish();
    ++stock_of_coin;
    abort_if_broken();
    EXPECT_NE(first_broken_invariant(), nullptr);
}

// Every command that a client can send, on a field that has everything.
TEST_F(Invariants, hold_after_every_command) {
    static const char* const LINES[] = {
        "f 10",    "b 5",      "c a",  "c f", "c h",     "c",       "g 1 2", "j 20 20", "t l 30",
        "p d",     "p u",      "l s",  "w 3", "k 1 0 0", "h 0 0 1", "s 41",  "n 41",    "u hallo",
        "i 2",     "e 30",     "o",    "o b", "o s",     "o x",     "d",     "x",       "y + 3",
        "z 5 1 1", "z 53 0 0", "z -5", "z 0", "r",       "!",       "! u",   ".",       "q r 1"};
    furnish();
    seat(1);
    for (int round = 0; round < 40; ++round) {
        for (const char* line : LINES) {
            (void)parse_message_for(round % 2, line);
            ASSERT_STREQ(first_broken_invariant(), nullptr) << line << " in round " << round;
        }
    }
}
