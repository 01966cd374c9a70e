// The shared field: records and resets, coins scattered, cards, modes, toggles, kill-all and the field's queries.
#include "game/modes.h"

#include "field/queries.h"
#include "game/furnish.h"
#include "support.h"
#include "turtle/coins.h"

using Field = FieldTest;

// Runs `action` and returns what it wrote to standard error.
template <class Action> static std::string said(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

// As the program starts, before any test changes them.
const std::array<double, 4> EDGES_AT_START{Xmin, Xmax, Ymin, Ymax};

TEST_F(Field, edges_start_at_256) { EXPECT_EQ(EDGES_AT_START, (std::array<double, 4>{-256, 256, -256, 256})); }

TEST_F(Field, table_sizes_are_fixed) {
    EXPECT_EQ(teams.size(), 5u);
    EXPECT_EQ(coins.size(), 300u);
    EXPECT_EQ(cards.size(), 53u);
    EXPECT_EQ(card_list.size(), 53u);
    EXPECT_EQ(walls.size(), 700u);
    EXPECT_EQ(ttl.size(), 30u);
    EXPECT_EQ(sizeof teams[0].message, 260u);
}

TEST_F(Field, teams_start_numbered_and_empty) {
    for (teaminfo_t& t : teams) t = {77, "old", 5, 3};
    init_teaminfo();
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(teams[i].number, i);
        EXPECT_EQ(teams[i].message[0], 0);
        EXPECT_EQ(teams[i].message_time, 0u);
        EXPECT_EQ(teams[i].flags, 0u);
    }
}

TEST_F(Field, refresh_clears_the_flags_word_only) {
    for (teaminfo_t& t : teams) t = {2, "kept", 5, 0xffffffff};
    refresh_teaminfo();
    for (const teaminfo_t& t : teams) {
        EXPECT_EQ(t.flags, 0u);
        EXPECT_STREQ(t.message, "kept");
        EXPECT_EQ(t.message_time, 5u);
    }
}

TEST_F(Field, coin_reset_fills_the_bank_and_empties_all_hands) {
    for (int i = 0; i < 30; ++i) ttl[static_cast<size_t>(i)].n_coin = 4;
    field_scatter_coin(20);
    reset_coin();
    EXPECT_EQ(stock_of_coin, 300);
    EXPECT_EQ(ncoin, 0);
    for (int i = 0; i < 300; ++i) {
        const coin_t& c = coins[static_cast<size_t>(i)];
        EXPECT_EQ(c.number, i);
        EXPECT_EQ(c.flags, 0u);
        EXPECT_EQ(c.ord, -1);
        EXPECT_EQ(c.next, nullptr);
    }
    for (const turtle_t& t : ttl) EXPECT_EQ(t.n_coin, 0); // free slots too
    for (const coin_t* head : coinmap) EXPECT_EQ(head, nullptr);
}

TEST_F(Field, scatter_draws_x_then_y_for_each_coin) {
    EXPECT_EQ(draws_of(31, [] { EXPECT_EQ(field_scatter_coin(3), 0); }), 6);
    srandom(31);
    for (size_t k = 0; k < 3; ++k) {
        const double x = (replay() - 0.5) * 492.0, y = (replay() - 0.5) * 492.0;
        EXPECT_EQ(coins[k].x, x);
        EXPECT_EQ(coins[k].y, y);
        EXPECT_EQ(coins[k].ord, static_cast<int>(k));
        EXPECT_EQ(coins[k].flags, ON_FIELD);
    }
    EXPECT_EQ(ncoin, 3);
    EXPECT_EQ(stock_of_coin, 297);
}

TEST_F(Field, scatter_fills_holes_first_with_ranks_above_all) {
    put_turtle(0, 1e6, 0);
    field_scatter_coin(4);
    coins[1].flags = 0; // a hole, as left by picking a coin
    coins[1].ord = -1;
    coins[2].ord = 1;
    coins[3].ord = 2;
    init_coinmap();
    for (coin_t& c : coins) c.next = nullptr;
    field_scatter_coin(2);
    EXPECT_EQ(coins[1].ord, 3);
    EXPECT_EQ(coins[4].ord, 4);
    EXPECT_EQ(ncoin, 5);
    EXPECT_EQ(highest_coin_ord(), 4);
}

TEST_F(Field, scatter_of_several_may_take_the_bank_below_zero) {
    stock_of_coin = 1;
    EXPECT_EQ(field_scatter_coin(5), 0);
    EXPECT_EQ(stock_of_coin, -4);
    EXPECT_EQ(ncoin, 5);
    EXPECT_EQ(field_scatter_coin(1), -1);
    EXPECT_EQ(ncoin, 5);
    stock_of_coin = 0;
    EXPECT_EQ(draws_of(1, [] { EXPECT_EQ(field_scatter_coin(1), -1); }), 0);
}

TEST_F(Field, scatter_of_none_still_places_one) {
    for (const int n : {0, -5}) {
        reset_coin();
        EXPECT_EQ(field_scatter_coin(n), 0);
        EXPECT_EQ(ncoin, 1);
        EXPECT_EQ(stock_of_coin, 299);
    }
}

TEST_F(Field, scatter_over_a_full_field_places_nothing_and_succeeds) {
    EXPECT_EQ(field_scatter_coin(1000), 0);
    EXPECT_EQ(ncoin, 300);
    EXPECT_EQ(stock_of_coin, 0);
    stock_of_coin = 5;
    EXPECT_EQ(draws_of(1, [] { EXPECT_EQ(field_scatter_coin(5), 0); }), 0);
    EXPECT_EQ(stock_of_coin, 5);
}

TEST_F(Field, card_numbers_are_1_to_53_and_their_negatives) {
    for (const int n : {0, 54, -54, 2147483647, -2147483647 - 1}) {
        field_set_card(n, 7, 8);
        for (int k = 0; k < 53; ++k) {
            EXPECT_EQ(cards[static_cast<size_t>(k)].flags, 0u);
            EXPECT_EQ(card_list[static_cast<size_t>(k)], k);
        }
    }
    for (const int n : {1, 53}) {
        card_t& c = cards[static_cast<size_t>(n - 1)];
        field_set_card(n, 7, 8);
        EXPECT_EQ(c.flags, 0x1000000u);
        EXPECT_EQ(c.x, 7);
        EXPECT_EQ(c.y, 8);
        EXPECT_EQ(card_list[0], n - 1);
        field_set_card(-n, 0, 0);
        EXPECT_EQ(c.flags, 0u);
        EXPECT_EQ(c.x, 7); // place and order stay
        EXPECT_EQ(card_list[0], n - 1);
    }
}

TEST_F(Field, placed_card_moves_to_the_front_once) {
    field_set_card(5, 0, 0);
    field_set_card(9, 0, 0);
    field_set_card(5, 1, 1);
    const int expected[] = {4, 8, 0, 1, 2, 3, 5, 6, 7, 9, 10};
    for (size_t k = 0; k < 11; ++k) EXPECT_EQ(card_list[k], expected[k]) << k;
    EXPECT_EQ(card_list[52], 52);
}

TEST_F(Field, stacking_order_stays_a_permutation) {
    for (int k = 0; k < 500; ++k) field_set_card(static_cast<int>(random() % 120) - 60, 0, 0);
    uint64_t seen = 0;
    for (const int32_t c : card_list) seen |= 1ull << c;
    EXPECT_EQ(seen, (1ull << 53) - 1);
}

TEST_F(Field, clearing_cards_resets_order_and_shows_none) {
    void (*const clear[])() = {reset_card, field_clear_all_cards};
    for (const auto f : clear) {
        field_set_card(5, 3, 3);
        f();
        EXPECT_EQ(cards[4].flags, 0u);
        for (int k = 0; k < 53; ++k) {
            EXPECT_EQ(card_list[static_cast<size_t>(k)], k);
            EXPECT_EQ(cards[static_cast<size_t>(k)].index, static_cast<uint32_t>(k));
        }
    }
}

TEST_F(Field, card_queries_stop_at_52) {
    field_set_card(52, 3, 4);
    field_set_card(53, 5, 6);
    int shown = -1;
    double x = -1, y = -1;
    EXPECT_EQ(qf_stat_card(52, shown), 0);
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(qf_stat_card(1, shown), 0);
    EXPECT_EQ(shown, 0);
    EXPECT_EQ(qf_pos_card(52, x, y), 0);
    EXPECT_EQ(x, 3);
    EXPECT_EQ(y, 4);
    field_set_card(-52, 0, 0);
    EXPECT_EQ(qf_pos_card(52, x, y), 0); // also for hidden cards
    EXPECT_EQ(x, 3);
    for (const int k : {53, 0, -1, 54, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(qf_stat_card(k, shown), -1) << k;
        EXPECT_EQ(qf_pos_card(k, x, y), -1) << k;
    }
}

TEST_F(Field, turtle_counts_leave_out_stones_and_what_cannot_move) {
    int n = -1;
    EXPECT_EQ(qf_n_turtle(n), 0);
    EXPECT_EQ(n, 0);
    put_turtle(0, 0, 0);
    put_turtle(1, 50, 0, 0, -1); // robot
    put_turtle(2, 100, 0).flags |= TTL_ZOMBIE;
    put_object(3, TTL_STONE, 150, 0);
    put_object(4, TTL_DOUGHNUT | TTL_ROBOT, 200, 0);
    put_turtle(5, 250, 0).flags = 0;
    put_turtle(6, 300, 0);
    ntmax = 6;
    EXPECT_EQ(qf_n_turtle(n), 0);
    EXPECT_EQ(n, 4); // all but the stone, the free slot and the one beyond the counter
    EXPECT_EQ(qf_n_moving_obj(n), 0);
    EXPECT_EQ(n, 2);
}

TEST_F(Field, clock_is_64_bits_wide) {
    signals.elapsed_time = 0xfedcba9876543210ull;
    uint64_t t = 0;
    EXPECT_EQ(qf_elapsed_time(t), 0);
    EXPECT_EQ(t, 0xfedcba9876543210ull);
}

TEST_F(Field, clearing_zombies_frees_their_slots) {
    put_turtle(0, 0, 0);
    put_turtle(1, 50, 0).flags |= TTL_ZOMBIE | TTL_PEN_DOWN;
    put_turtle(2, 100, 0).flags |= TTL_ZOMBIE;
    ntmax = 2;
    field_clear_zombie();
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE);
    EXPECT_EQ(ttl[1].flags, 0u);
    EXPECT_EQ(ttl[2].flags, TTL_ALIVE | TTL_ZOMBIE); // beyond the counter
    EXPECT_EQ(ntmax, 2);
    EXPECT_FALSE(signals.wipe_requested);
}

TEST_F(Field, clearing_asks_for_a_wipe) {
    field_clear();
    EXPECT_TRUE(signals.wipe_requested);
    signals.wipe_requested = false;
    put_turtle(0, 0, 0).flags |= TTL_ZOMBIE;
    field_clear_all_turtles();
    EXPECT_TRUE(signals.wipe_requested);
    EXPECT_EQ(ttl[0].flags, 0u);
    signals.wipe_requested = false;
    field_set_color(0.25, -3, 7);
    EXPECT_TRUE(signals.wipe_requested);
    EXPECT_EQ(bgcol[0], 0.25);
    EXPECT_EQ(bgcol[1], -3);
    EXPECT_EQ(bgcol[2], 7);
}

static void fill_for_kill_all() {
    put_turtle(0, 5, 6, 0, 2);
    put_turtle(1, 50, 60, 0, 3);
    put_turtle(2, 70, 0, 0, -1);
    client_tab[2].sockfd = 1000;
    client_tab[2].turtle_id = 0;
    client_tab[3].sockfd = 1001;
    client_tab[3].turtle_id = 9; // drives another turtle by now
    field_scatter_coin(3);
    field_set_card(3, 1, 1);
}

TEST_F(Field, kill_all_frees_everything_and_asks_owners_to_go) {
    field_kill_all_turtles(); // so that the next call is not the first
    fill_for_kill_all();
    ttl[29].client_id = 5;
    ttl[29].pos[0] = {7, 7};
    field_kill_all_turtles();
    for (const turtle_t& t : ttl) {
        EXPECT_EQ(t.flags, 0u);
        EXPECT_EQ(t.client_id, -1);
        EXPECT_EQ(t.pos[0].x, 0);
        EXPECT_EQ(t.pos[0].y, 0);
    }
    EXPECT_EQ(ntmax, 0);
    EXPECT_EQ(client_tab[2].disconnect_request, 1u);
    EXPECT_EQ(client_tab[3].disconnect_request, 0u);
    EXPECT_EQ(client_tab[2].sockfd, 1000); // only marked
    EXPECT_EQ(stock_of_coin, 300);
    EXPECT_EQ(ncoin, 0);
    EXPECT_EQ(cards[2].flags, 0u);
    EXPECT_FALSE(signals.wipe_requested);
}

TEST_F(Field, first_kill_all_of_a_process_asks_no_client) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a new process, in which nothing has been killed yet
    EXPECT_EXIT(
        {
            fill_for_kill_all();
            field_kill_all_turtles();
            const bool untouched = client_tab[2].disconnect_request == 0 && ntmax == 0 && ttl[0].flags == 0;
            fill_for_kill_all();
            field_kill_all_turtles();
            const bool asked = client_tab[2].disconnect_request == 1;
            std::_Exit(untouched && asked ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(Field, toggles_flip_between_0_and_1) {
    struct row {
        int (*toggle)();
        bool* flag;
    };
    const row rows[] = {{field_toggle_disp_help, &modes.disp_help},
                        {field_toggle_disp_score, &modes.disp_score},
                        {field_toggle_disp_name, &modes.disp_name},
                        {field_toggle_bird_view_mode, &modes.bird_view_mode},
                        {field_toggle_bounded_area_mode, &modes.bounded_area_mode}};
    for (const row& r : rows) {
        for (const int expected : {1, 0, 1}) {
            EXPECT_EQ(r.toggle(), 0);
            EXPECT_EQ(*r.flag, expected);
        }
    }
    EXPECT_EQ(field_unset_disp_help(), 0);
    EXPECT_EQ(modes.disp_help, 0);
    EXPECT_EQ(field_set_disp_help(), 0);
    EXPECT_EQ(modes.disp_help, 1);
    EXPECT_EQ(field_set_disp_help(), 0);
    EXPECT_EQ(modes.disp_help, 1);
}

TEST_F(Field, setters_return_whether_they_changed_anything) {
    struct row {
        int (*set)(int);
        bool* flag;
    };
    const row rows[] = {{field_set_boundary_mode, &modes.bounded_area_mode},
                        {field_set_disp_name, &modes.disp_name},
                        {field_set_disp_score, &modes.disp_score}};
    for (const row& r : rows) {
        EXPECT_EQ(r.set(0), 1);
        EXPECT_EQ(r.set(1), 0);
        EXPECT_EQ(*r.flag, 1);
        EXPECT_EQ(r.set(1), 1);
        EXPECT_EQ(r.set(0), 0);
        EXPECT_EQ(*r.flag, 0);
    }
}

TEST_F(Field, battle_brings_bounds_names_and_scores) {
    EXPECT_EQ(said([] { EXPECT_EQ(field_set_battle_mode(), 0); }), "entering battle mode...\n");
    EXPECT_EQ(modes.battle_mode, 1);
    EXPECT_EQ(modes.bounded_area_mode + modes.disp_name + modes.disp_score, 3);
    EXPECT_EQ(signals.menuitem_need_to_change, 1);
    EXPECT_TRUE(signals.wipe_requested);
    signals.menuitem_need_to_change = 0;
    signals.wipe_requested = false;
    EXPECT_EQ(said([] { field_set_battle_mode(); }), "entering battle mode...\n"); // again: nothing flips back
    EXPECT_EQ(modes.bounded_area_mode + modes.disp_name + modes.disp_score, 3);
    EXPECT_EQ(signals.menuitem_need_to_change, 1);
    signals.menuitem_need_to_change = 0;
    EXPECT_EQ(said([] { EXPECT_EQ(field_unset_battle_mode(), 0); }), "entering turtle graphics mode...\n");
    EXPECT_EQ(modes.battle_mode, 0);
    EXPECT_EQ(modes.bounded_area_mode + modes.disp_name + modes.disp_score, 0);
    EXPECT_EQ(signals.menuitem_need_to_change, 1);
    EXPECT_TRUE(signals.wipe_requested);
}

TEST_F(Field, battle_toggle_goes_both_ways) {
    EXPECT_EQ(said([] { EXPECT_EQ(field_toggle_battle_mode(), 0); }), "entering battle mode...\n");
    EXPECT_EQ(modes.battle_mode, 1);
    EXPECT_EQ(said([] { EXPECT_EQ(field_toggle_battle_mode(), 0); }), "entering turtle graphics mode...\n");
    EXPECT_EQ(modes.battle_mode, 0);
}

TEST_F(Field, maze_brings_battle_walls_and_doughnuts) {
    field_kill_all_turtles();
    put_turtle(20, 0, 0);
    srandom(5);
    EXPECT_EQ(said([] { EXPECT_EQ(field_set_maze_mode(), 0); }), "entering battle mode...\nentering maze mode...\n");
    EXPECT_EQ(modes.maze_mode, 1);
    EXPECT_EQ(modes.battle_mode, 1);
    EXPECT_EQ(modes.bounded_area_mode, 1);
    EXPECT_EQ(ntmax, 4);
    EXPECT_EQ(ttl[20].flags, 0u);
    const int faces = nwall;
    EXPECT_GT(faces, 8);
    EXPECT_EQ(walls[0].y1, 256); // the boundary comes first
    EXPECT_EQ(said([] { EXPECT_EQ(field_unset_maze_mode(), 0); }), "exited from maze mode...\n");
    EXPECT_EQ(modes.maze_mode, 0);
    EXPECT_EQ(modes.battle_mode, 1); // stays
    EXPECT_EQ(modes.bounded_area_mode, 1);
    EXPECT_EQ(nwall, 8);
    EXPECT_EQ(ntmax, 0);
    srandom(5);
    EXPECT_EQ(said([] { field_toggle_maze_mode(); }), "entering battle mode...\nentering maze mode...\n");
    EXPECT_EQ(nwall, faces);
    EXPECT_EQ(said([] { field_toggle_maze_mode(); }), "exited from maze mode...\n");
    EXPECT_EQ(nwall, 8);
}

TEST_F(Field, private_mode_follows_the_access_rule) {
    EXPECT_EQ(said([] { EXPECT_EQ(field_toggle_private_mode(), 0); }), "entering public mode...\n");
    EXPECT_EQ(signals.private_mode, 0);
    EXPECT_EQ(signals.accept_only_localhost, 0);
    EXPECT_EQ(signals.menuitem_need_to_change, 1);
    signals.menuitem_need_to_change = 0;
    EXPECT_EQ(said([] { EXPECT_EQ(field_toggle_private_mode(), 0); }), "entering private mode...\n");
    EXPECT_EQ(signals.private_mode, 1);
    EXPECT_EQ(signals.accept_only_localhost, 1);
    EXPECT_EQ(signals.menuitem_need_to_change, 1);
}

TEST_F(Field, socket_error_is_remembered) {
    field_set_socket_error();
    EXPECT_EQ(signals.socket_error_occurred, 1);
    field_set_socket_error();
    EXPECT_EQ(signals.socket_error_occurred, 1);
}

TEST_F(Field, bounded_texts_never_read_beyond_their_field) {
    const char full[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(bounded_length(full, 4), 4);
    EXPECT_EQ(bounded_length("ab", 4), 2);
    EXPECT_EQ(bounded_length(nullptr, 4), 0);
    char field[5] = {'#', '#', '#', '#', '#'};
    bounded_copy(field, "x", 4);
    EXPECT_EQ(std::string(field, 5), std::string("x\0\0\0#", 5));
    bounded_copy(field, "abcdef", 4);
    EXPECT_EQ(std::string(field, 5), "abcd#");
}
