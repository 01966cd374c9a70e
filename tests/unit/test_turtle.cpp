// One turtle record: every field of a fresh turtle, team, name and the event word.
#include "field/turtles.h"

#include "field/kinds.h"
#include "support.h"

#include <cstring>

using Turtle = FieldTest;

TEST_F(Turtle, fresh_turtle_has_every_field_at_its_start) {
    turtle_t& t = ttl[4];
    std::memset(static_cast<void*>(&t), 0x5a, sizeof t);
    t.beam_dir = 1;
    t.beam_x = 2;
    t.beam_y = 3;
    init_turtle(4, 7, 10, -20, 33);
    EXPECT_EQ(t.client_id, 7);
    EXPECT_EQ(t.dir, 33);
    for (int k = 0; k < 7; ++k) {
        EXPECT_EQ(t.pos[k].x, 10);
        EXPECT_EQ(t.pos[k].y, -20);
        EXPECT_EQ(t.color[k].r, 1.0);
        EXPECT_EQ(t.color[k].g, 0.0);
        EXPECT_EQ(t.color[k].b, 0.0);
        EXPECT_EQ(t.line_width[k], 1.0);
    }
    EXPECT_EQ(t.beam_dir, 1); // left as they were
    EXPECT_EQ(t.beam_x, 2);
    EXPECT_EQ(t.beam_y, 3);
    EXPECT_EQ(t.dying_count, 0);
    EXPECT_EQ(t.fire_wait, 0);
    EXPECT_EQ(t.score, 100);
    EXPECT_EQ(t.team, 0);
    EXPECT_EQ(t.finder_range, 20.0);
    EXPECT_EQ(t.flags, TTL_ALIVE);
    EXPECT_EQ(t.event, 0u);
    EXPECT_EQ(t.event_mask, 0xffffffffu);
    EXPECT_EQ(t.radar_target, -1);
    EXPECT_EQ(t.finder_target, -1);
    EXPECT_EQ(t.n_doughnut, 0);
    EXPECT_EQ(t.n_coin, 0);
    EXPECT_EQ(t.n_painted, 0);
    EXPECT_EQ(t.message[0], 0);
    EXPECT_EQ(t.name[0], 0);
}

TEST_F(Turtle, ownerless_turtle_is_a_robot) {
    init_turtle(0, -1, 0, 0, 0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE | TTL_ROBOT);
    init_turtle(0, 0, 0, 0, 0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE);
}

TEST_F(Turtle, index_outside_the_table_is_ignored) {
    for (const int i : {-1, 30, 31, 2147483647, -2147483647 - 1}) init_turtle(i, 0, 1, 1, 1);
    for (const turtle_t& t : ttl) EXPECT_EQ(t.flags, 0u);
    init_turtle(29, 0, 1, 1, 1);
    EXPECT_EQ(ttl[29].flags, TTL_ALIVE);
    EXPECT_EQ(ntmax, 0); // callers maintain the counter
}

TEST_F(Turtle, flag_bits_have_their_fixed_values) {
    EXPECT_EQ(TTL_ALIVE | TTL_PEN_DOWN | TTL_POINT_MODE | TTL_FILL_POLY | TTL_BRUSH, 0x1fu);
    EXPECT_EQ(TTL_FIRING, 0x80u);
    EXPECT_EQ(TTL_ZOMBIE, 0x100u);
    EXPECT_EQ(TTL_ROBOT, 0x200u);
    EXPECT_EQ(TTL_STONE, 0x400u);
    EXPECT_EQ(TTL_DOUGHNUT, 0x800u);
    EXPECT_EQ(TTL_SEG_PAINTED, 0x1000u);
    EXPECT_EQ(TTL_PEN_LIFTED, 0x2000u);
    EXPECT_EQ(TTL_LATCH_OBJECTS | TTL_LATCH_WALL, 0xF0000u);
    EXPECT_EQ(TTL_LATCH_COIN, 0x100000u);
}

TEST_F(Turtle, zombie_keeps_everything_else) {
    put_turtle(0, 3, 4).flags |= TTL_PEN_DOWN;
    make_zombie(0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE | TTL_PEN_DOWN | TTL_ZOMBIE);
    EXPECT_EQ(ttl[0].client_id, 0);
    EXPECT_EQ(ttl[0].score, 100);
    make_zombie(-1);
    make_zombie(30);
    EXPECT_EQ(ttl[29].flags, 0u);
}

TEST_F(Turtle, teams_are_one_to_four) {
    put_turtle(0, 0, 0);
    for (const int team : {1, 2, 3, 4}) {
        EXPECT_EQ(turtle_set_team(0, team), 0);
        EXPECT_EQ(ttl[0].team, team);
    }
    for (const int team : {0, 5, -1, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(turtle_set_team(0, team), 0);
        EXPECT_EQ(ttl[0].team, 4);
    }
    make_zombie(0);
    EXPECT_EQ(turtle_set_team(0, 1), -1);
    EXPECT_EQ(turtle_set_team(0, 9), -1);
    EXPECT_EQ(ttl[0].team, 4);
}

TEST_F(Turtle, name_of_200_characters_keeps_the_first_128) {
    put_turtle(0, 0, 0);
    std::string text(200, 'a');
    text[127] = 'z';
    text[128] = '!';
    EXPECT_EQ(turtle_name(0, text.c_str()), 0);
    EXPECT_EQ(std::string(ttl[0].name, 128), text.substr(0, 128));
}

TEST_F(Turtle, shorter_name_fills_the_field_with_zeros) {
    put_turtle(0, 0, 0);
    turtle_name(0, std::string(127, 'x').c_str());
    EXPECT_EQ(ttl[0].name[127], 0);
    EXPECT_EQ(turtle_name(0, "Bo"), 0);
    EXPECT_EQ(std::string(ttl[0].name, 128), "Bo" + std::string(126, '\0'));
    EXPECT_EQ(turtle_name(0, ""), 0);
    EXPECT_EQ(ttl[0].name[0], 0);
}

TEST_F(Turtle, zombie_keeps_its_name) {
    put_turtle(0, 0, 0);
    turtle_name(0, "Bo");
    make_zombie(0);
    EXPECT_EQ(turtle_name(0, "Al"), 1);
    EXPECT_STREQ(ttl[0].name, "Bo");
}

TEST_F(Turtle, fetching_events_gives_the_wanted_ones_and_clears_all) {
    put_turtle(0, 0, 0);
    ttl[0].event_mask = 0x2;
    ttl[0].event = 0x6;
    EXPECT_EQ(turtle_get_and_reset_eventcode(0), 0x2u);
    EXPECT_EQ(ttl[0].event, 0u);
    ttl[0].event_mask = 0xffffffff;
    EXPECT_EQ(turtle_get_and_reset_eventcode(0), 0u);
}

TEST_F(Turtle, disabling_drops_pending_events_too) {
    put_turtle(0, 0, 0);
    ttl[0].event = 0x7;
    EXPECT_EQ(turtle_disable_event(0, 0x6), 0);
    EXPECT_EQ(ttl[0].event, 0x1u);
    EXPECT_EQ(ttl[0].event_mask, ~0x6u);
    EXPECT_EQ(turtle_enable_event(0, 0x2), 0);
    EXPECT_EQ(ttl[0].event_mask, ~0x4u);
    EXPECT_EQ(ttl[0].event, 0x1u);
}
