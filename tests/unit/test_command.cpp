// The command language: every row of its table with its effect, result and pacing, and malformed lines.
#include "net/command.h"

#include "support.h"
#include "turtle/motion.h"
#include "turtle/pen.h"
#include "turtle/sensors.h"

#include <cstring>
#include <string_view>

// Slot 3 drives turtle 1; turtle 0 belongs to another client, far away.
struct Command : FieldTest {
    void SetUp() override {
        FieldTest::SetUp();
        put_turtle(0, 200, 200, 0, 4);
        put_turtle(1, 0, 0, 0, 3);
        client_tab[3].sockfd = 1000;
        client_tab[3].turtle_id = 1;
    }
    static turtle_t& me() { return ttl[1]; }
    static int run(const std::string& line) { return parse_message_for(3, line.c_str()); }
    static std::string quiet(const std::string& line, int expected) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(run(line), expected) << line;
        return testing::internal::GetCapturedStderr();
    }
    static uint32_t paced() { return client_tab[3].frame_cmd_count; }
    // Runs one line; expects this selector and this many further pacing counts.
    static void expect(const std::string& line, int selector, uint32_t pacing) {
        const uint32_t before = paced();
        EXPECT_EQ(run(line), selector) << line;
        EXPECT_EQ(paced() - before, pacing) << line;
    }
};

TEST_F(Command, only_the_first_letter_counts_in_either_case) {
    double x = 0;
    for (const char* line : {"f 10", "F 10", "forward 10", "f   10", "f 10 20 30", "fooooo 10.0 x"}) {
        expect(line, 0, 1);
        EXPECT_EQ(me().pos[0].x, x += 10) << line;
    }
    expect("f10", 0, 1); // one word, no distance
    EXPECT_EQ(me().pos[0].x, x);
}

TEST_F(Command, back_steps_against_the_heading) {
    expect("b 10", 0, 1);
    EXPECT_EQ(me().pos[0].x, -10);
    expect("B -10", 0, 1);
    EXPECT_EQ(me().pos[0].x, 0);
}

TEST_F(Command, blocked_step_is_an_error_and_paces) {
    put_turtle(2, 25, 0);
    expect("f 10", -1, 1);
    EXPECT_EQ(me().event, EVENT_TURTLE);
}

TEST_F(Command, numbers_are_read_as_the_c_library_reads_them) {
    struct row {
        const char* word;
        double value;
    };
    const row rows[] = {{"10", 10},       {"+10", 10},  {"-4.5", -4.5},     {"1e2", 100},     {"0x10", 16},
                        {".5", .5},       {"7abc", 7},  {"abc", 0},         {"", 0},          {"1e", 1},
                        {"--5", 0},       {"0x1p3", 8}, {"1,5", 1},         {"1e308", 1e308}, {"1e999", INF},
                        {"-1e999", -INF}, {"inf", INF}, {"-INFINITY", -INF}};
    for (const row& r : rows) {
        expect(std::string("w ") + r.word, 0, 0);
        EXPECT_EQ(me().line_width[0], r.value) << r.word;
    }
    run("w nan");
    EXPECT_TRUE(std::isnan(me().line_width[0]));
}

TEST_F(Command, c_without_a_letter_resets_and_steps_none) {
    run("f 10");
    run("p d");
    expect("c", 0, 1);
    EXPECT_EQ(me().pos[0].x, 0);
    EXPECT_EQ(me().flags, TTL_ALIVE);
    EXPECT_EQ(me().client_id, 3);
}

TEST_F(Command, c_with_a_number_resets_and_steps_it) {
    me().dir = 90;
    me().score = 5;
    expect("C 10", 0, 1);
    EXPECT_EQ(me().score, 100);
    EXPECT_EQ(me().pos[0].x, 10);
    EXPECT_EQ(me().pos[1].x, 0);
}

TEST_F(Command, c_sub_letters_clear_and_home_and_go_on_into_the_step) {
    put_turtle(2, -200, -200).flags |= TTL_ZOMBIE;
    run("f 10");
    for (const char* line : {"c f", "c F"}) {
        signals.wipe_requested = false;
        me().pos[1] = {77, 77};
        expect(line, 0, 1);
        EXPECT_TRUE(signals.wipe_requested);
        EXPECT_EQ(me().pos[1].x, 10); // the step of 0 shifted the history
        EXPECT_NE(ttl[2].flags, 0u);
    }
    for (const char* line : {"c h", "C H"}) {
        me().pos[0] = {50, 0};
        me().dir = 45;
        expect(line, 0, 1);
        EXPECT_EQ(me().pos[0].x, 0);
        EXPECT_EQ(me().dir, 0);
    }
    for (const char* line : {"c a", "c A"}) {
        ttl[2].flags = TTL_ALIVE | TTL_ZOMBIE;
        signals.wipe_requested = false;
        expect(line, 0, 1);
        EXPECT_EQ(ttl[2].flags, 0u);
        EXPECT_TRUE(signals.wipe_requested);
    }
}

TEST_F(Command, c_gives_the_steps_result_even_when_the_reset_was_refused) {
    modes.battle_mode = 1;
    me().pos[0].x = 5;
    expect("c 10", 0, 1); // no reset in battle, a step of 2
    EXPECT_EQ(me().pos[0].x, 7);
    make_zombie(1);
    expect("c h", -1, 1);
}

TEST_F(Command, jumps_are_relative_and_absolute) {
    expect("j 10 -20", 0, 1);
    EXPECT_EQ(me().pos[0].x, 10);
    EXPECT_EQ(me().pos[0].y, -20);
    expect("g 1 2", 0, 1);
    EXPECT_EQ(me().pos[0].x, 11);
    EXPECT_EQ(me().pos[0].y, -18);
    expect("J 5", 0, 1); // missing y reads 0
    EXPECT_EQ(me().pos[0].y, 0);
    expect("G", 0, 1);
    EXPECT_EQ(me().pos[0].x, 5);
    modes.battle_mode = 1;
    expect("j 1 1", -1, 1);
    expect("g 1 1", -1, 1);
}

TEST_F(Command, turns_have_sub_letters) {
    expect("t l 30", 0, 1);
    EXPECT_EQ(me().dir, 30);
    expect("T R 50", 0, 1);
    EXPECT_EQ(me().dir, -20);
    expect("t l", 0, 1);
    EXPECT_EQ(me().dir, -20);
    expect("turn left 20", 0, 1);
    EXPECT_EQ(me().dir, 0);
    struct row {
        const char* line;
        double dir;
    };
    for (const row& r : {row{"t n", 90}, row{"t W", 180}, row{"t s", -90}, row{"t E", 0}}) {
        expect(r.line, 0, 1);
        EXPECT_EQ(me().dir, r.dir);
    }
    expect("t x 90", -1, 1); // refused, but still paces
    expect("t", -1, 1);
    expect("t 90", -1, 1);
    EXPECT_EQ(me().dir, 0);
}

TEST_F(Command, heading_in_battle_answers_with_the_position) {
    modes.battle_mode = 1;
    for (const char* line : {"t e", "t n", "t w", "t s"}) expect(line, SEL_POSITION, 1);
    expect("t l 10", 0, 1);
    EXPECT_EQ(me().dir, 3);
    modes.battle_mode = 0;
    make_zombie(1);
    expect("t e", 1, 1);
    expect("t l 1", -1, 1);
}

TEST_F(Command, pen_goes_down_and_up_by_letter_or_sign) {
    for (const char* line : {"p d", "p D", "p +", "P down"}) {
        me().flags = TTL_ALIVE;
        expect(line, 0, 1);
        EXPECT_TRUE(has_any(me().flags, TTL_PEN_DOWN)) << line;
    }
    for (const char* line : {"p u", "p U", "p -", "P up"}) {
        me().flags = TTL_ALIVE | TTL_PEN_DOWN;
        expect(line, 0, 1);
        EXPECT_EQ(me().flags, TTL_ALIVE | TTL_PEN_LIFTED) << line;
    }
    me().flags = TTL_ALIVE | TTL_PEN_DOWN;
    for (const char* line : {"p", "p x", "p 1"}) {
        expect(line, 0, 1);
        EXPECT_EQ(me().flags, TTL_ALIVE | TTL_PEN_DOWN) << line;
    }
}

TEST_F(Command, line_modes_replace_each_other) {
    const uint32_t all = TTL_BRUSH | TTL_FILL_POLY | TTL_POINT_MODE;
    struct row {
        const char* line;
        uint32_t mode;
    };
    const row rows[] = {{"l s", TTL_FILL_POLY},
                        {"l S", TTL_FILL_POLY},
                        {"l +", TTL_FILL_POLY},
                        {"l b", TTL_BRUSH},
                        {"L B", TTL_BRUSH},
                        {"l p", TTL_POINT_MODE},
                        {"l P", TTL_POINT_MODE},
                        {"l", 0},
                        {"l x", 0},
                        {"l -", 0}};
    for (const row& r : rows) {
        me().flags |= all;
        expect(r.line, 0, 1);
        EXPECT_EQ(me().flags & all, r.mode) << r.line;
    }
}

TEST_F(Command, width_and_colour_do_not_pace) {
    expect("w 2.5", 0, 0);
    EXPECT_EQ(me().line_width[0], 2.5);
    expect("W", 0, 0);
    EXPECT_EQ(me().line_width[0], 0);
    expect("k 0.1 0.2 0.3", 0, 0);
    EXPECT_EQ(me().color[0].r, 0.1);
    EXPECT_EQ(me().color[0].g, 0.2);
    EXPECT_EQ(me().color[0].b, 0.3);
    expect("K 1", 0, 0);
    EXPECT_EQ(me().color[0].r, 1);
    EXPECT_EQ(me().color[0].b, 0);
    make_zombie(1);
    expect("k 1 1 1", -1, 0);
}

TEST_F(Command, h_paints_the_background_and_asks_for_a_wipe) {
    expect("h 0.5 0.25 1", 0, 1);
    EXPECT_EQ(bgcol[0], 0.5);
    EXPECT_EQ(bgcol[1], 0.25);
    EXPECT_EQ(bgcol[2], 1);
    EXPECT_TRUE(signals.wipe_requested);
    make_zombie(1);
    expect("H", 0, 1);
    EXPECT_EQ(bgcol[0], 0);
}

TEST_F(Command, s_prints_hex_text) {
    expect("s 48656c6c6f", 0, 1);
    EXPECT_STREQ(me().message, "Hello");
    expect("S 48 65", 0, 1);
    EXPECT_STREQ(me().message, "He");
    expect("s", 0, 1);
    EXPECT_STREQ(me().message, "");
    expect("s48", 0, 1); // the command's own word is no text
    EXPECT_STREQ(me().message, "");
    make_zombie(1);
    expect("s 48", -1, 1);
}

TEST_F(Command, blanks_before_hex_text_are_steps_of_its_decoder) {
    std::string pairs;
    for (int k = 0; k < 200; ++k) pairs += "41";
    expect("n " + pairs, 0, 0); // the blank takes one of the 128 steps
    EXPECT_EQ(std::string(me().name, 128), std::string(127, 'A') + '\0');
    expect("n   " + pairs, 0, 0); // three
    EXPECT_EQ(std::string(me().name, 128), std::string(125, 'A') + std::string(3, '\0'));
    expect("s " + pairs, 0, 1); // 127 characters just fit beside the turtle
    EXPECT_EQ(std::strlen(me().message), 127u);
}

TEST_F(Command, n_names_with_hex_text) {
    expect("n 426f", 0, 0);
    EXPECT_STREQ(me().name, "Bo");
    expect("name 416c", 0, 0);
    EXPECT_STREQ(me().name, "Al");
    make_zombie(1);
    expect("n 426f", 1, 0); // answers with the position
    EXPECT_STREQ(me().name, "Al");
}

TEST_F(Command, u_broadcasts_plain_text_without_its_leading_blanks) {
    put_turtle(2, -200, 0).team = 2;
    me().team = 2;
    expect("u   hello  world 48 ", 0, 0);
    EXPECT_STREQ(teams[2].message, "hello  world 48 ");
    EXPECT_EQ(ttl[2].event, EVENT_MESSAGE);
    expect("U", 0, 0);
    EXPECT_STREQ(teams[2].message, "");
    teams[2].flags = 1;
    expect("u x", -1, 0);
}

TEST_F(Command, i_joins_a_team_and_always_succeeds) {
    expect("i 3", 0, 0);
    EXPECT_EQ(me().team, 3);
    for (const char* line : {"i 0", "i 5", "i -1", "i", "i x", "i 99999999999999999999", "i -99999999999999999999"}) {
        expect(line, 0, 0);
        EXPECT_EQ(me().team, 3) << line;
    }
    expect("I 2abc", 0, 0);
    EXPECT_EQ(me().team, 2);
    expect("i 4294967297", 0, 0); // 2^32 + 1, cut to 32 bits
    EXPECT_EQ(me().team, 1);
    make_zombie(1);
    expect("i 4", 0, 0);
    EXPECT_EQ(me().team, 1);
}

TEST_F(Command, e_sets_the_finder_range) {
    expect("e 33.5", 0, 0);
    EXPECT_EQ(me().finder_range, 33.5);
    expect("E", 0, 0);
    EXPECT_EQ(me().finder_range, 0);
    make_zombie(1);
    expect("e 5", 1, 0);
}

TEST_F(Command, o_handles_coins_and_paces_all_but_borrowing) {
    expect("o b", 0, 0);
    EXPECT_EQ(me().n_coin, 10);
    expect("O B", 0, 0);
    EXPECT_EQ(me().n_coin, 20);
    int carried = 20;
    for (const char* line : {"o s", "o S", "o +"}) {
        expect(line, 0, 1);
        EXPECT_EQ(me().n_coin, --carried) << line;
    }
    for (const char* line : {"o", "o p", "o -"}) {
        expect(line, 0, 1);
        EXPECT_EQ(me().n_coin, ++carried) << line;
    }
    expect("o", 0, 1); // nothing left to pick
    for (const char* line : {"o x", "o X"}) {
        const int bank = stock_of_coin;
        expect(line, 0, 1);
        EXPECT_EQ(stock_of_coin, bank - 1);
    }
    stock_of_coin = 0;
    expect("o x", -1, 1);
    expect("o b", -1, 0);
    me().n_coin = 0;
    expect("o s", -1, 1);
}

TEST_F(Command, d_makes_doughnuts_and_x_fires_without_pacing) {
    expect("d", 0, 0);
    EXPECT_EQ(me().n_doughnut, 1);
    EXPECT_TRUE(has_any(ttl[2].flags, TTL_DOUGHNUT));
    me().n_doughnut = 10;
    expect("D", -1, 0);
    expect("x", 0, 0);
    EXPECT_TRUE(has_any(me().flags, TTL_FIRING));
    make_zombie(1);
    expect("X", -1, 0);
}

TEST_F(Command, y_switches_events) {
    expect("y - 6", 0, 0);
    EXPECT_EQ(me().event_mask, ~6u);
    expect("Y + 2", 0, 0);
    EXPECT_EQ(me().event_mask, ~4u);
    for (const char* line : {"y", "y x 1", "y 1 2"}) {
        expect(line, 0, 0);
        EXPECT_EQ(me().event_mask, ~4u) << line;
    }
    expect("y -abc 1", 0, 0); // a word that starts with the sign
    EXPECT_EQ(me().event_mask, ~5u);
    expect("y - 99999999999999999999", 0, 0); // saturates, then all 32 bits
    EXPECT_EQ(me().event_mask, 0u);
    expect("y + 4294967297", 0, 0); // 2^32 + 1
    EXPECT_EQ(me().event_mask, 1u);
    expect("y + -1", 0, 0);
    EXPECT_EQ(me().event_mask, 0xffffffffu);
}

TEST_F(Command, z_places_hides_and_clears_cards) {
    expect("z 53 1.5 -2", 0, 0);
    EXPECT_EQ(cards[52].flags, ON_FIELD);
    EXPECT_EQ(cards[52].x, 1.5);
    EXPECT_EQ(cards[52].y, -2);
    run("z 9 1 1");
    expect("Z -53", 0, 0); // this one alone, and none leaves its place in the order
    EXPECT_EQ(cards[52].flags, 0u);
    EXPECT_EQ(cards[8].flags, ON_FIELD);
    EXPECT_EQ(card_list[0], 8);
    EXPECT_EQ(card_list[1], 52);
    run("z -9");
    for (const char* line : {"z 54 1 1", "z -54", "z 2147483647", "z -2147483648"}) expect(line, 0, 0);
    for (const card_t& c : cards) EXPECT_EQ(c.flags, 0u);
    for (const char* line : {"z 0", "z", "z x", "z 0 1 2"}) {
        run("z 5 1 1");
        expect(line, 0, 0);
        EXPECT_EQ(cards[4].flags, 0u) << line;
        EXPECT_EQ(card_list[0], 0) << line;
    }
    run("z 1 0 0");
    expect("z 99999999999999999999", 0, 0); // saturates, its low 32 bits are -1: hides card 1
    EXPECT_EQ(cards[0].flags, 0u);
}

TEST_F(Command, r_answers_with_the_query_its_index_selects) {
    expect("r", 2, 0);
    EXPECT_EQ(ttl[2].flags, TTL_ALIVE | TTL_ROBOT);
    EXPECT_EQ(ttl[2].client_id, -1);
    expect("R 5", 3, 0);
    for (size_t i = 0; i < 30; ++i) ttl[i].flags |= TTL_ALIVE;
    expect("r", -1, 0);
}

TEST_F(Command, exclamation_mark_enters_and_leaves_battle) {
    for (const char* line : {"!", "! on", "! 1", "!x"}) {
        EXPECT_EQ(quiet(line, 0), "entering battle mode...\n");
        EXPECT_EQ(modes.battle_mode, 1);
    }
    for (const char* line : {"! u", "! U", "! -"}) {
        EXPECT_EQ(quiet(line, 0), "entering turtle graphics mode...\n");
        EXPECT_EQ(modes.battle_mode, 0);
    }
    EXPECT_EQ(paced(), 0u);
}

TEST_F(Command, ping_does_nothing) {
    const turtle_t before = me();
    expect(".", 0, 0);
    expect("...", 0, 0);
    EXPECT_EQ(std::memcmp(&before, &me(), sizeof before), 0);
}

TEST_F(Command, queries_select_and_do_nothing) {
    struct row {
        const char* line;
        int selector;
    };
    const row rows[] = {{"q p", 1},
                        {"q d", 2},
                        {"q m", 3},
                        {"q f", 4},
                        {"q r", 5},
                        {"q r 1", 5},
                        {"q r 2", 6},
                        {"q r 3", 7},
                        {"q r 4", 8},
                        {"q r 5", 9},
                        {"q r 6", -1},
                        {"q r 0", -1},
                        {"q r x", -1},
                        {"q r 19", 5},
                        {"q r 51", 9},
                        {"q r -1", -1},
                        {"q w", 10},
                        {"q a", 11},
                        {"q s", 12},
                        {"q t", 13},
                        {"q n", 14},
                        {"q c", 15},
                        {"q o", 16},
                        {"q b", 17},
                        {"q z s 1", 1001},
                        {"q z s 53", 1053},
                        {"q z p 53", 1153},
                        {"q z S 7", 1007},
                        {"q Z P 7", 1107},
                        {"q z s", 1000},
                        {"q z p", 1100},
                        {"q z p x", 1100},
                        {"q z s 100", 1100},
                        {"q z", 0},
                        {"q z x 5", 0},
                        {"q", -1},
                        {"q e", -1},
                        {"q 1", -1},
                        {"q ?", -1},
                        {"Q P", 1},
                        {"query position", 1},
                        {"Q W", 10},
                        {"q B", 17},
                        {"q z s -5", 995}};
    for (const row& r : rows) {
        ttl[1].event = 0x42;
        expect(r.line, r.selector, 0);
        EXPECT_EQ(me().event, 0x42u);
    }
}

TEST_F(Command, huge_card_queries_wrap_to_32_bits) {
    expect("q z s 2147483647", -2147482649, 0);    // 1000 + 2147483647 - 2^32
    expect("q z p 2147483647", -2147482549, 0);    // 1100 + 2147483647 - 2^32
    expect("q z s -2147483648", -2147482648, 0);   // 1000 - 2147483648
    expect("q z p 99999999999999999999", 1099, 0); // saturates as a long, whose low 32 bits are -1
}

TEST_F(Command, other_letters_and_signs_are_errors) {
    for (int c = 1; c < 256; ++c) {
        if (std::strchr("fbcgjtplwkhsnuieodxyzrqFBCGJTPLWKHSNUIEODXYZRQ!.", c) != nullptr) continue;
        const std::string line(1, static_cast<char>(c));
        expect(line, -1, 0);
        if (c > 32) expect(line + " 1 2 3", -1, 0);
    }
    expect("", -1, 0);
    expect("     ", -1, 0);
}

TEST_F(Command, letters_that_move_or_paint_pace_and_no_others_do) {
    for (const char letter : std::string_view("fbcgjtplhso")) {
        client_tab[3].frame_cmd_count = 0;
        run(std::string(1, letter));
        EXPECT_EQ(client_tab[3].frame_cmd_count, 1U) << letter;
    }
    for (const char letter : std::string_view("wknuiedxyzr!.qamv0")) {
        client_tab[3].frame_cmd_count = 0;
        testing::internal::CaptureStderr();
        run(std::string(1, letter));
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(client_tab[3].frame_cmd_count, 0U) << letter;
    }
}

TEST_F(Command, leading_blanks_do_not_matter) {
    expect("   f 10", 0, 1);
    EXPECT_EQ(me().pos[0].x, 10);
}

TEST_F(Command, word_is_cut_at_511_bytes) {
    expect("w " + std::string(509, '0') + "12", 0, 0); // 511 digits: whole
    EXPECT_EQ(me().line_width[0], 12);
    expect("w " + std::string(510, '0') + "12", 0, 0); // the last digit is cut off (into a word of its own)
    EXPECT_EQ(me().line_width[0], 1);
}

TEST_F(Command, over_long_words_and_lines_are_bounded) {
    const char letters[] = "fbcgjtplwkhsnuieodxyzrq!.";
    for (const char* c = letters; *c != 0; ++c)
        for (const size_t n : {510u, 511u, 512u, 513u, 522u, 523u, 2000u}) {
            const std::string prefix(1, *c);
            testing::internal::CaptureStderr();
            run(prefix + " " + std::string(n, '9'));
            run(prefix + std::string(n, 'x') + " " + std::string(n, '8') + " " + std::string(n, '7'));
            run(prefix + " p " + std::string(n, '1') + " " + std::string(n, '1'));
            run(prefix + std::string(n, ' ') + "1");
            testing::internal::GetCapturedStderr();
        }
    EXPECT_LE(ntmax, 30);
    EXPECT_EQ(client_tab[3].turtle_id, 1);
}

TEST_F(Command, pacing_counts_add_up_and_belong_to_the_slot) {
    for (int k = 0; k < 5; ++k) run("f 1");
    EXPECT_EQ(client_tab[3].frame_cmd_count, 5u);
    for (const int slot : {0, 1, 2, 4, 9}) EXPECT_EQ(client_tab[static_cast<size_t>(slot)].frame_cmd_count, 0u);
}

TEST_F(Command, random_lines_keep_the_invariants) {
    static const char alphabet[] = "fbcgjtplwkhsnuieodxyzrqFQ!.az 0123456789+-.e; \x80\xff\x01";
    testing::internal::CaptureStderr();
    srandom(77);
    for (int k = 0; k < 20000; ++k) {
        std::string line(static_cast<size_t>(random() % 24 + 1), ' ');
        for (char& c : line) c = alphabet[static_cast<size_t>(random()) % (sizeof alphabet - 1)];
        (void)run(line);
        ASSERT_LE(ntmax, 30);
        ASSERT_LE(ncoin, 300);
        ASSERT_LE(nwall, 700);
    }
    testing::internal::GetCapturedStderr();
    uint64_t seen = 0;
    for (const int32_t c : card_list) seen |= 1ull << c;
    EXPECT_EQ(seen, (1ull << 53) - 1);
}
