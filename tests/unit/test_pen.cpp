// Pen, colour, painting modes, text beside the turtle and the team's board.
#include "turtle/pen.h"

#include "support.h"
#include "turtle/motion.h"

#include <cstring>

using Pen = FieldTest;

TEST_F(Pen, pen_down_collapses_the_history_onto_the_current_point) {
    put_turtle(0, 0, 0);
    for (int k = 0; k < 7; ++k) turtle_step_forward(0, 5);
    turtle_set_color(0, 0.25, 0.5, 0.75);
    turtle_line_width(0, 4);
    ttl[0].n_painted = 9;
    EXPECT_EQ(turtle_pen_down(0), 0);
    EXPECT_TRUE(has_any(ttl[0].flags, TTL_PEN_DOWN));
    EXPECT_EQ(ttl[0].n_painted, 0);
    for (int k = 0; k < 7; ++k) {
        EXPECT_EQ(ttl[0].pos[k].x, 35);
        EXPECT_EQ(ttl[0].color[k].g, 0.5);
        EXPECT_EQ(ttl[0].line_width[k], 4);
    }
    turtle_step_forward(0, 5); // one segment, from the current position only
    EXPECT_EQ(ttl[0].pos[0].x, 40);
    for (int k = 1; k < 7; ++k) EXPECT_EQ(ttl[0].pos[k].x, 35);
}

TEST_F(Pen, pen_down_leaves_the_painted_mark_alone) {
    put_turtle(0, 0, 0).flags |= TTL_SEG_PAINTED | TTL_PEN_LIFTED;
    turtle_pen_down(0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE | TTL_SEG_PAINTED | TTL_PEN_LIFTED | TTL_PEN_DOWN);
}

TEST_F(Pen, pen_up_marks_the_lift_only_when_the_pen_was_down) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(turtle_pen_up(0), 0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE);
    turtle_pen_down(0);
    ttl[0].pos[3] = {9, 9};
    EXPECT_EQ(turtle_pen_up(0), 0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE | TTL_PEN_LIFTED);
    EXPECT_EQ(ttl[0].pos[3].x, 9); // the history stays
}

TEST_F(Pen, colour_is_stored_unchanged_and_refused_to_a_zombie) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(turtle_set_color(0, 1.5, -1, 0), 0);
    EXPECT_EQ(ttl[0].color[0].r, 1.5);
    EXPECT_EQ(ttl[0].color[0].g, -1);
    EXPECT_EQ(ttl[0].color[0].b, 0);
    EXPECT_EQ(ttl[0].color[1].r, 1.0); // the history keeps the old one
    make_zombie(0);
    EXPECT_EQ(turtle_set_color(0, 0.5, 0.5, 0.5), -1);
    EXPECT_EQ(ttl[0].color[0].r, 1.5);
}

TEST_F(Pen, width_is_stored_unchecked) {
    put_turtle(0, 0, 0);
    for (const double width : {0.0, -3.0, 1e308, INF}) {
        EXPECT_EQ(turtle_line_width(0, width), 0);
        EXPECT_EQ(ttl[0].line_width[0], width);
        EXPECT_EQ(ttl[0].line_width[1], 1.0);
    }
}

TEST_F(Pen, painting_modes_are_three_independent_bits) {
    struct row {
        int (*set)(int);
        int (*unset)(int);
        uint32_t bit;
    };
    const row rows[] = {{turtle_set_fill_poly, turtle_unset_fill_poly, 0x8},
                        {turtle_set_point_mode, turtle_unset_point_mode, 0x4},
                        {turtle_set_brush, turtle_unset_brush, 0x10}};
    put_turtle(0, 0, 0);
    uint32_t expected = TTL_ALIVE;
    for (const row& r : rows) {
        EXPECT_EQ(r.set(0), 0);
        EXPECT_EQ(r.set(0), 0);
        EXPECT_EQ(ttl[0].flags, expected |= r.bit);
    }
    for (const row& r : rows) {
        EXPECT_EQ(r.unset(0), 0);
        EXPECT_EQ(r.unset(0), 0);
        EXPECT_EQ(ttl[0].flags, expected &= ~r.bit);
    }
}

TEST_F(Pen, zombie_may_still_change_pen_width_and_modes) {
    put_turtle(0, 0, 0).flags |= TTL_ZOMBIE;
    EXPECT_EQ(turtle_pen_down(0), 0);
    EXPECT_EQ(turtle_line_width(0, 7), 0);
    EXPECT_EQ(turtle_set_brush(0), 0);
    EXPECT_EQ(turtle_set_fill_poly(0), 0);
    EXPECT_EQ(turtle_set_point_mode(0), 0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE | TTL_ZOMBIE | TTL_PEN_DOWN | TTL_BRUSH | TTL_FILL_POLY | TTL_POINT_MODE);
    EXPECT_EQ(turtle_pen_up(0), 0);
    EXPECT_EQ(ttl[0].line_width[0], 7);
}

TEST_F(Pen, text_of_127_is_taken_and_of_128_refused) {
    put_turtle(0, 0, 0);
    const std::string fits(127, 'a'), too_long(128, 'b');
    EXPECT_EQ(turtle_print_string(0, fits.c_str()), 0);
    EXPECT_EQ(std::string(ttl[0].message), fits);
    EXPECT_EQ(turtle_print_string(0, too_long.c_str()), -1);
    EXPECT_EQ(std::string(ttl[0].message), fits);
    EXPECT_EQ(turtle_print_string(0, "x"), 0);
    EXPECT_EQ(std::string(ttl[0].message, 128), "x" + std::string(127, '\0'));
}

TEST_F(Pen, zombie_prints_no_text) {
    put_turtle(0, 0, 0).flags |= TTL_ZOMBIE;
    EXPECT_EQ(turtle_print_string(0, "x"), -1);
    EXPECT_EQ(ttl[0].message[0], 0);
}

TEST_F(Pen, finder_range_is_stored_and_refused_to_a_zombie) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(turtle_finder_range(0, -12.5), 0);
    EXPECT_EQ(ttl[0].finder_range, -12.5);
    make_zombie(0);
    EXPECT_EQ(turtle_finder_range(0, 1), 1);
    EXPECT_EQ(ttl[0].finder_range, -12.5);
}

TEST_F(Pen, broadcast_notifies_every_other_member_of_the_team) {
    for (int i = 0; i < 6; ++i) put_turtle(i, 100.0 * i, 0);
    for (const int i : {0, 1, 3, 4}) ttl[static_cast<size_t>(i)].team = 2;
    ttl[2].team = 3;
    ttl[3].flags |= TTL_ZOMBIE; // still alive
    ttl[4].flags = 0;           // not alive
    signals.elapsed_time = (1ull << 32) + 77;
    EXPECT_EQ(turtle_broadcast_message(0, "hello; all"), 0);
    EXPECT_STREQ(teams[2].message, "hello; all");
    EXPECT_EQ(teams[2].message_time, 77u); // cut to 32 bits
    const uint32_t expected[] = {0, EVENT_MESSAGE, 0, EVENT_MESSAGE, 0, 0};
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(ttl[i].event, expected[i]) << i;
    EXPECT_EQ(teams[3].message[0], 0);
}

TEST_F(Pen, broadcast_stops_at_the_counter) {
    put_turtle(0, 0, 0);
    put_turtle(1, 100, 0);
    ntmax = 1;
    turtle_broadcast_message(0, "x");
    EXPECT_EQ(ttl[1].event, 0u);
}

TEST_F(Pen, those_without_a_team_share_board_zero) {
    put_turtle(0, 0, 0);
    put_turtle(1, 100, 0);
    put_object(2, TTL_STONE, 200, 0);
    EXPECT_EQ(turtle_broadcast_message(0, "x"), 0);
    EXPECT_STREQ(teams[0].message, "x");
    EXPECT_EQ(ttl[1].event, EVENT_MESSAGE);
    EXPECT_EQ(ttl[2].event, EVENT_MESSAGE);
}

TEST_F(Pen, refusing_team_keeps_its_message) {
    put_turtle(0, 0, 0);
    put_turtle(1, 100, 0);
    turtle_broadcast_message(0, "first");
    ttl[1].event = 0;
    teams[0].flags = 1;
    signals.elapsed_time = 5;
    EXPECT_EQ(turtle_broadcast_message(0, "second"), -1);
    EXPECT_STREQ(teams[0].message, "first");
    EXPECT_EQ(teams[0].message_time, 0u);
    EXPECT_EQ(ttl[1].event, 0u);
    teams[0].flags = 2; // only bit 0 refuses
    EXPECT_EQ(turtle_broadcast_message(0, "third"), 0);
}

TEST_F(Pen, long_broadcast_keeps_128_bytes_and_the_rest_of_the_field_its_old_content) {
    put_turtle(0, 0, 0);
    std::memset(teams[0].message, '#', sizeof teams[0].message);
    turtle_broadcast_message(0, std::string(300, 'm').c_str());
    EXPECT_EQ(std::string(teams[0].message, 260), std::string(128, 'm') + std::string(132, '#'));
    turtle_broadcast_message(0, "short");
    EXPECT_EQ(std::string(teams[0].message, 128), "short" + std::string(123, '\0'));
    EXPECT_EQ(teams[0].message[128], '#');
}

TEST_F(Pen, zombie_may_broadcast) {
    put_turtle(0, 0, 0).flags |= TTL_ZOMBIE;
    EXPECT_EQ(turtle_broadcast_message(0, "still here"), 0);
    EXPECT_STREQ(teams[0].message, "still here");
}
