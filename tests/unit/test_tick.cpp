// One step of the game: the order of its rules, and the views it returns.
#include "game/tick.h"

#include "game/furnish.h"
#include "support.h"
#include "turtle/lifecycle.h"

#include <cstring>

namespace {

class Tick : public testing::Test {
protected:
    void SetUp() override { reset_tables(); }
    tick_view_t view{};
};

TEST_F(Tick, doughnuts_and_stones_take_their_turn_before_all_others) {
    put_turtle(0, 0, 0);
    ASSERT_EQ(set_object_at(TTL_STONE, 100, 0), 0);
    put_turtle(2, 0, 100);
    ASSERT_EQ(set_object_at(TTL_DOUGHNUT, 100, 100), 0);
    tick(view);
    ASSERT_EQ(view.count, 4);
    EXPECT_EQ(view.turns[0].slot, 1);
    EXPECT_EQ(view.turns[1].slot, 3);
    EXPECT_EQ(view.turns[2].slot, 0);
    EXPECT_EQ(view.turns[3].slot, 2);
}

TEST_F(Tick, a_turn_returns_the_turtle_as_it_was_after_its_beam_and_before_its_robot_moved) {
    // The robot shoots the turtle 20 ahead: its beam is 12 short of it and flies 2, which is 10 off: no hit. One tick
    // later it is 8 off.
    turtle_t& robot = put_turtle(0, 0, 0);
    robot.flags |= TTL_ROBOT | TTL_FIRING;
    robot.beam_x = 28;
    robot.beam_y = 0;
    robot.beam_dir = 0;
    put_turtle(1, 40, 0);
    tick(view);
    EXPECT_EQ(view.turns[0].turtle.pos[0].x, 0);
    EXPECT_EQ(view.turns[0].beam.ball.x, 28);
    EXPECT_EQ(view.turns[0].turtle.score, 100);
    EXPECT_NE(ttl[0].pos[0].x, 0); // it has walked since
    tick(view);
    EXPECT_EQ(view.turns[0].turtle.score, 111); // 11 for the hit, settled before the record was taken
    EXPECT_EQ(view.turns[1].turtle.score, 70);
}

TEST_F(Tick, a_robot_acts_in_the_tick_in_which_it_dies) {
    turtle_t& robot = put_turtle(0, 0, 0);
    robot.flags |= TTL_ROBOT;
    robot.dying_count = 1;
    tick(view);
    EXPECT_FALSE(has_any(ttl[0].flags, TTL_ALIVE));
    EXPECT_TRUE(view.turns[0].in_use);
    EXPECT_NEAR(ttl[0].pos[0].x, ROBOT_STEP, NEAR);
}

TEST_F(Tick, the_beam_of_a_turtle_that_has_gone_flies_on) {
    turtle_t& gone = put_turtle(0, 0, 0);
    gone.flags = TTL_FIRING;
    gone.beam_x = gone.beam_y = gone.beam_dir = 0;
    tick(view);
    EXPECT_TRUE(view.turns[0].fires);
    EXPECT_FALSE(view.turns[0].in_use);
    EXPECT_EQ(ttl[0].beam_x, BEAM_STEP);
}

TEST_F(Tick, a_sensor_line_is_shown_once_and_only_in_battle) {
    put_turtle(0, 0, 0).finder_target = 1;
    put_turtle(1, 50, 60);
    tick(view);
    EXPECT_FALSE(view.turns[0].finder.shown);
    EXPECT_EQ(ttl[0].finder_target, 1);
    modes.battle_mode = 1;
    tick(view);
    EXPECT_TRUE(view.turns[0].finder.shown);
    EXPECT_EQ(view.turns[0].finder.to.x, 50);
    EXPECT_EQ(view.turns[0].finder.to.y, 60);
    tick(view);
    EXPECT_FALSE(view.turns[0].finder.shown);
}

TEST_F(Tick, team_boards_open_again_and_coins_are_noticed) {
    put_turtle(0, 0, 0);
    coins[0].x = 5;
    coins[0].flags = ON_FIELD;
    coins[0].ord = 0;
    ncoin = 1;
    add_coin_to_map(0);
    teams[0].flags = TEAM_REFUSES;
    tick();
    EXPECT_EQ(teams[0].flags, 0U);
    EXPECT_EQ(ttl[0].event, EVENT_COIN);
}

TEST_F(Tick, a_segment_is_left_once) {
    turtle_t& t = put_turtle(0, 0, 0);
    t.flags |= TTL_PEN_DOWN;
    tick(view);
    EXPECT_EQ(view.marks[0].kind, mark_kind_t::pen);
    EXPECT_EQ(view.marks[0].turtle.n_painted, 1);
    EXPECT_EQ(ttl[0].n_painted, 1);
    tick(view);
    EXPECT_EQ(view.marks[0].kind, mark_kind_t::none);
    EXPECT_EQ(ttl[0].n_painted, 1);
}

TEST_F(Tick, a_brush_holds_three_segments_back_and_ends_its_stroke_when_lifted) {
    turtle_t& t = put_turtle(0, 0, 0);
    t.flags |= TTL_PEN_DOWN | TTL_BRUSH;
    for (int segment = 1; segment <= 4; ++segment) {
        t.flags &= ~TTL_SEG_PAINTED;
        tick(view);
        EXPECT_EQ(view.marks[0].kind, segment > 3 ? mark_kind_t::brush : mark_kind_t::none) << segment;
    }
    t.flags = (t.flags & ~TTL_PEN_DOWN) | TTL_PEN_LIFTED;
    tick(view);
    EXPECT_EQ(view.marks[0].kind, mark_kind_t::brush_end);
    EXPECT_FALSE(has_any(ttl[0].flags, TTL_PEN_LIFTED));
    tick(view);
    EXPECT_EQ(view.marks[0].kind, mark_kind_t::none);
}

TEST_F(Tick, a_text_is_left_once_and_a_free_slot_leaves_nothing) {
    strcpy(put_turtle(0, 0, 0).message, "hello");
    turtle_t& free_slot = put_turtle(1, 50, 0);
    strcpy(free_slot.message, "nobody");
    free_slot.flags = TTL_PEN_DOWN;
    tick(view);
    EXPECT_TRUE(view.marks[0].text);
    EXPECT_STREQ(view.marks[0].turtle.message, "hello");
    EXPECT_FALSE(view.marks[1].in_use);
    EXPECT_STREQ(ttl[1].message, "nobody");
    tick(view);
    EXPECT_FALSE(view.marks[0].text);
}

} // namespace
