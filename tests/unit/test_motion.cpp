// Motion: steps, jumps, turns and headings in every mode, the track history, and events that are reported once.
#include "turtle/motion.h"

#include "field/kinds.h"
#include "game/furnish.h"
#include "support.h"

using Motion = FieldTest;

static turtle_t& self() { return ttl[0]; }

TEST_F(Motion, step_moves_along_the_heading) {
    struct row {
        double dir, length, x, y;
    };
    const row rows[] = {{0, 10, 10, 0},    {90, 10, 0, 10},   {180, 10, -10, 0}, {-90, 10, 0, -10},
                        {0, -10, -10, 0},  {90, -10, 0, -10}, {450, 10, 0, 10},  {60, 10, 5, 8.660254037844386},
                        {0, 1000, 1000, 0}};
    for (const row& r : rows) {
        put_turtle(0, 0, 0, r.dir);
        EXPECT_EQ(turtle_step_forward(0, r.length), 0);
        EXPECT_NEAR(self().pos[0].x, r.x, NEAR);
        EXPECT_NEAR(self().pos[0].y, r.y, NEAR);
        EXPECT_EQ(self().dir, r.dir);
    }
}

TEST_F(Motion, step_shifts_all_three_histories_and_asks_for_painting) {
    put_turtle(0, 0, 0);
    for (int k = 0; k < 8; ++k) {
        self().color[0] = {0.1 * k, 0.5, 1};
        self().line_width[0] = k;
        self().flags |= TTL_SEG_PAINTED;
        EXPECT_EQ(turtle_step_forward(0, 1), 0);
        EXPECT_FALSE(has_any(self().flags, TTL_SEG_PAINTED));
    }
    for (int k = 0; k < 7; ++k) EXPECT_EQ(self().pos[k].x, 8 - k);
    // Step k pushed its own pen into entry 1 and left it in entry 0.
    EXPECT_EQ(self().line_width[0], 7);
    for (int k = 1; k < 7; ++k) EXPECT_EQ(self().line_width[k], 8 - k);
    for (int k = 1; k < 7; ++k) EXPECT_EQ(self().color[k].r, 0.1 * (8 - k));
    EXPECT_EQ(self().color[0].r, 0.1 * 7);
}

TEST_F(Motion, step_of_zero_still_shifts) {
    put_turtle(0, 3, 0);
    self().pos[1] = {1, 1};
    EXPECT_EQ(turtle_step_forward(0, 0), 0);
    EXPECT_EQ(self().pos[1].x, 3);
    EXPECT_EQ(self().pos[2].x, 1);
}

TEST_F(Motion, zombie_stone_and_doughnut_do_not_step) {
    for (const uint32_t bit : {TTL_ZOMBIE, TTL_STONE, TTL_DOUGHNUT}) {
        put_turtle(0, 0, 0).flags |= bit;
        EXPECT_EQ(turtle_step_forward(0, 10), -1);
        EXPECT_EQ(self().pos[0].x, 0);
    }
}

TEST_F(Motion, battle_limits_steps_to_two) {
    modes.battle_mode = 1;
    struct row {
        double asked, moved;
    };
    const row rows[] = {{5, 2}, {2, 2}, {2.001, 2}, {1.5, 1.5}, {-5, -2}, {-2, -2}, {-1.5, -1.5}, {INF, 2}, {-INF, -2}};
    for (const row& r : rows) {
        put_turtle(0, 0, 0);
        EXPECT_EQ(turtle_step_forward(0, r.asked), 0);
        EXPECT_EQ(self().pos[0].x, r.moved);
    }
}

TEST_F(Motion, battle_stops_a_turtle_without_points) {
    modes.battle_mode = 1;
    for (const int score : {0, -5}) {
        put_turtle(0, 0, 0).score = score;
        EXPECT_EQ(turtle_step_forward(0, 1), -1);
        EXPECT_EQ(turtle_turn(0, 1), -1);
        EXPECT_EQ(turtle_head(0, 2), 1);
        EXPECT_EQ(turtle_jump(0, 50, 50), -1);
        EXPECT_EQ(self().pos[0].x, 0);
        EXPECT_EQ(self().dir, 0);
    }
    self().score = 1;
    EXPECT_EQ(turtle_step_forward(0, 1), 0);
    EXPECT_EQ(turtle_turn(0, 1), 0);
    modes.battle_mode = 0;
    self().score = 0;
    EXPECT_EQ(turtle_step_forward(0, 10), 0); // points count in battle only
}

TEST_F(Motion, blocked_turtle_stays_exactly_where_it_was_and_is_notified_once) {
    struct row {
        uint32_t kind, event, latch;
    };
    const row rows[] = {{0, EVENT_TURTLE, TTL_LATCH_TURTLE},
                        {TTL_DOUGHNUT, EVENT_DOUGHNUT, TTL_LATCH_DOUGHNUT},
                        {TTL_STONE, EVENT_STONE, TTL_LATCH_STONE}};
    for (const row& r : rows) {
        put_turtle(0, 1.25, 0);
        put_object(1, r.kind, 30, 0);
        self().flags |= TTL_SEG_PAINTED;
        EXPECT_EQ(turtle_step_forward(0, 15), -1);
        EXPECT_EQ(self().pos[0].x, 1.25);
        EXPECT_EQ(self().event, r.event);
        EXPECT_TRUE(has_any(self().flags, TTL_SEG_PAINTED));
        EXPECT_EQ(self().flags, TTL_ALIVE | TTL_SEG_PAINTED | r.latch);
        self().event = 0;
        EXPECT_EQ(turtle_step_forward(0, 15), -1);
        EXPECT_EQ(self().event, 0u);
        EXPECT_EQ(turtle_turn(0, 1), 0);
        EXPECT_EQ(turtle_step_forward(0, 15), -1);
        EXPECT_EQ(self().event, r.event);
        EXPECT_EQ(ttl[1].event, 0u); // the obstacle gets no event
    }
}

TEST_F(Motion, each_kind_of_obstacle_has_a_latch_of_its_own) {
    put_turtle(0, 0, 0);
    put_object(1, 0, 30, 0);
    put_object(2, TTL_STONE, -30, 0);
    EXPECT_EQ(turtle_step_forward(0, 15), -1);
    EXPECT_EQ(turtle_step_forward(0, -15), -1);
    EXPECT_EQ(self().event, EVENT_TURTLE | EVENT_STONE);
}

TEST_F(Motion, free_step_releases_the_object_latches) {
    put_turtle(0, 0, 0);
    self().flags |= TTL_LATCH_OBJECTS | TTL_LATCH_WALL | TTL_LATCH_COIN;
    EXPECT_EQ(turtle_step_forward(0, 1), 0);
    EXPECT_EQ(self().flags, TTL_ALIVE | TTL_LATCH_WALL | TTL_LATCH_COIN); // walls are not consulted here
    modes.bounded_area_mode = 1;
    EXPECT_EQ(turtle_step_forward(0, 1), 0);
    EXPECT_EQ(self().flags, TTL_ALIVE | TTL_LATCH_COIN);
}

TEST_F(Motion, step_stopped_by_a_wall_releases_the_object_latches_too) {
    modes.bounded_area_mode = 1;
    put_wall_to_the_right(15);
    put_turtle(0, 0, 0);
    self().flags |= TTL_LATCH_OBJECTS;
    EXPECT_EQ(turtle_step_forward(0, 10), -1);
    EXPECT_EQ(self().flags, TTL_ALIVE | TTL_LATCH_WALL);
    EXPECT_EQ(self().event, EVENT_WALL);
}

TEST_F(Motion, blocked_step_keeps_the_wall_latch) {
    modes.bounded_area_mode = 1;
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0);
    self().flags |= TTL_LATCH_WALL | TTL_LATCH_STONE;
    EXPECT_EQ(turtle_step_forward(0, 15), -1);
    EXPECT_EQ(self().flags, TTL_ALIVE | TTL_LATCH_WALL | TTL_LATCH_STONE | TTL_LATCH_TURTLE);
}

TEST_F(Motion, wall_stops_in_a_bounded_area_and_is_notified_once) {
    modes.bounded_area_mode = 1;
    put_wall_to_the_right(15);
    put_turtle(0, 0, 0);
    EXPECT_EQ(turtle_step_forward(0, 5.01), -1);
    EXPECT_EQ(self().pos[0].x, 0);
    EXPECT_EQ(self().event, EVENT_WALL);
    self().event = 0;
    EXPECT_EQ(turtle_step_forward(0, 5.01), -1);
    EXPECT_EQ(self().event, 0u);
    EXPECT_EQ(turtle_step_forward(0, 5), 0); // ends at contact: allowed, and releases the latch
    EXPECT_EQ(self().pos[0].x, 5);
    EXPECT_EQ(turtle_step_forward(0, 0.1), -1);
    EXPECT_EQ(self().event, EVENT_WALL);
}

TEST_F(Motion, without_bounds_a_turtle_walks_through_walls_and_out_of_the_field) {
    reset_wall();
    put_wall_to_the_right(15);
    put_turtle(0, 0, 0);
    for (int k = 0; k < 40; ++k) EXPECT_EQ(turtle_step_forward(0, 10), 0);
    EXPECT_EQ(self().pos[0].x, 400);
    EXPECT_EQ(self().event, 0u);
}

TEST_F(Motion, turtle_outside_is_stopped_by_the_back_faces_on_its_way_in) {
    reset_wall();
    modes.bounded_area_mode = 1;
    put_turtle(0, 280, 0, 180);
    EXPECT_EQ(turtle_step_forward(0, 14), 0); // 280 - 256 - 10
    EXPECT_EQ(turtle_step_forward(0, 1), -1);
}

TEST_F(Motion, step_backwards_meets_what_is_behind) {
    modes.bounded_area_mode = 1;
    put_wall_to_the_left(-15);
    put_turtle(0, 0, 0);
    EXPECT_EQ(turtle_step_forward(0, -6), -1);
    EXPECT_EQ(self().event, EVENT_WALL);
    modes.bounded_area_mode = 0;
    put_turtle(1, -22, 0);
    EXPECT_EQ(turtle_step_forward(0, -3), -1);
    EXPECT_EQ(self().event, EVENT_WALL | EVENT_TURTLE);
    EXPECT_EQ(turtle_step_forward(0, 3), 0);
}

TEST_F(Motion, jump_goes_to_the_point_and_shifts_the_history) {
    put_turtle(0, 1, 2);
    self().flags |= TTL_SEG_PAINTED | TTL_LATCH_OBJECTS | TTL_LATCH_WALL;
    self().event = 0x55;
    EXPECT_EQ(turtle_jump(0, 900, -900), 0); // no bounds
    EXPECT_EQ(self().pos[0].x, 900);
    EXPECT_EQ(self().pos[0].y, -900);
    EXPECT_EQ(self().pos[1].x, 1);
    EXPECT_EQ(self().pos[1].y, 2);
    EXPECT_EQ(self().flags, TTL_ALIVE | TTL_LATCH_OBJECTS | TTL_LATCH_WALL);
    EXPECT_EQ(self().event, 0x55u);
}

TEST_F(Motion, jump_onto_a_stone_is_allowed) {
    put_turtle(0, 0, 0);
    put_object(1, TTL_STONE, 100, 0);
    EXPECT_EQ(turtle_jump(0, 100, 0), 0);
}

TEST_F(Motion, jump_is_refused_when_a_body_is_too_close_at_the_start) {
    put_turtle(0, 0, 0);
    put_turtle(1, 15, 0);
    EXPECT_EQ(turtle_jump(0, 200, 200), -1);
    EXPECT_EQ(self().pos[0].x, 0);
    ttl[1].pos[0].x = 20; // exactly at contact is not closer than 20
    EXPECT_EQ(turtle_jump(0, 200, 200), 0);
    put_turtle(0, 0, 0);
    ttl[1].pos[0].x = std::nextafter(20.0, 0.0);
    EXPECT_EQ(turtle_jump(0, 200, 200), -1);
    ttl[1].flags = 0;
    EXPECT_EQ(turtle_jump(0, 200, 200), 0);
}

TEST_F(Motion, jump_is_refused_in_battle_and_to_a_zombie) {
    put_turtle(0, 0, 0);
    modes.battle_mode = 1;
    EXPECT_EQ(turtle_jump(0, 50, 0), -1);
    modes.battle_mode = 0;
    self().flags |= TTL_ZOMBIE;
    EXPECT_EQ(turtle_jump(0, 50, 0), -1);
    EXPECT_EQ(turtle_rjump(0, 50, 0), -1);
    EXPECT_EQ(self().pos[0].x, 0);
}

TEST_F(Motion, bounded_jump_stays_inside_inclusive_bounds) {
    modes.bounded_area_mode = 1; // no walls in the table: the bounds alone
    struct row {
        double x, y;
        int result;
    };
    const double out = std::nextafter(256.0, 300.0);
    const row rows[] = {{256, 256, 0}, {-256, -256, 0}, {out, 0, -1}, {-out, 0, -1},
                        {0, out, -1},  {0, -out, -1},   {INF, 0, -1}, {0, -INF, -1}};
    for (const row& r : rows) {
        put_turtle(0, 0, 0);
        EXPECT_EQ(turtle_jump(0, r.x, r.y), r.result) << r.x << " " << r.y;
    }
}

TEST_F(Motion, bounded_jump_keeps_ten_from_walls) {
    modes.bounded_area_mode = 1;
    reset_wall();
    put_turtle(0, 0, 0);
    EXPECT_EQ(turtle_jump(0, 246, 0), 0); // exactly 10
    EXPECT_EQ(turtle_jump(0, 246.001, 0), -1);
    EXPECT_EQ(turtle_jump(0, 0, -246.001), -1);
    modes.bounded_area_mode = 0;
    EXPECT_EQ(turtle_jump(0, 255, 0), 0);
}

TEST_F(Motion, relative_jump_adds_to_the_place) {
    put_turtle(0, 10, 20, 77);
    EXPECT_EQ(turtle_rjump(0, -5, 7), 0);
    EXPECT_EQ(self().pos[0].x, 5);
    EXPECT_EQ(self().pos[0].y, 27);
}

TEST_F(Motion, turn_adds_and_never_wraps) {
    put_turtle(0, 0, 0, 350);
    EXPECT_EQ(turtle_turn(0, 370), 0);
    EXPECT_EQ(self().dir, 720);
    EXPECT_EQ(turtle_turn(0, -1000), 0);
    EXPECT_EQ(self().dir, -280);
}

TEST_F(Motion, battle_limits_turns_to_three) {
    modes.battle_mode = 1;
    struct row {
        double asked, turned;
    };
    const row rows[] = {{10, 3},  {3, 3},       {3.001, 3}, {2.5, 2.5}, {-10, -3},
                        {-3, -3}, {-2.5, -2.5}, {INF, 3},   {-INF, -3}};
    for (const row& r : rows) {
        put_turtle(0, 0, 0);
        EXPECT_EQ(turtle_turn(0, r.asked), 0);
        EXPECT_EQ(self().dir, r.turned);
    }
}

TEST_F(Motion, any_turn_but_zero_clears_the_four_latches) {
    const uint32_t latches = TTL_LATCH_OBJECTS | TTL_LATCH_WALL;
    struct row {
        double angle;
        bool clears;
    };
    const row rows[] = {{0.0, false}, {-0.0, false}, {5e-324, true}, {1, true}, {-1, true}, {NOT_A_NUMBER, true}};
    for (const row& r : rows) {
        put_turtle(0, 0, 0).flags |= latches | TTL_LATCH_COIN | TTL_PEN_DOWN;
        EXPECT_EQ(turtle_turn(0, r.angle), 0);
        EXPECT_EQ(self().flags, TTL_ALIVE | TTL_LATCH_COIN | TTL_PEN_DOWN | (r.clears ? 0u : latches)) << r.angle;
    }
}

TEST_F(Motion, zombie_does_not_turn_and_keeps_its_latches) {
    put_turtle(0, 0, 0).flags |= TTL_ZOMBIE | TTL_LATCH_WALL;
    EXPECT_EQ(turtle_turn(0, 10), -1);
    EXPECT_EQ(self().dir, 0);
    EXPECT_TRUE(has_any(self().flags, TTL_LATCH_WALL));
}

TEST_F(Motion, heading_codes_are_east_north_west_south) {
    const double expected[] = {0, 90, 180, -90};
    for (int code = 1; code <= 4; ++code) {
        put_turtle(0, 0, 0, 33);
        EXPECT_EQ(turtle_head(0, code), 0);
        EXPECT_EQ(self().dir, expected[code - 1]);
    }
    for (const int code : {0, 5, -1, 2147483647}) {
        put_turtle(0, 0, 0, 33);
        EXPECT_EQ(turtle_head(0, code), 0);
        EXPECT_EQ(self().dir, 33);
    }
}

TEST_F(Motion, heading_is_refused_in_battle_and_to_a_zombie) {
    put_turtle(0, 0, 0, 33);
    modes.battle_mode = 1;
    EXPECT_EQ(turtle_head(0, 1), 1);
    modes.battle_mode = 0;
    self().flags |= TTL_ZOMBIE;
    EXPECT_EQ(turtle_head(0, 1), 1);
    EXPECT_EQ(self().dir, 33);
}

TEST_F(Motion, heading_keeps_the_latches) {
    put_turtle(0, 0, 0).flags |= TTL_LATCH_WALL;
    EXPECT_EQ(turtle_head(0, 2), 0);
    EXPECT_TRUE(has_any(self().flags, TTL_LATCH_WALL));
}

TEST_F(Motion, hostile_numbers_give_a_status) {
    const double odd[] = {NOT_A_NUMBER, INF, -INF, 1e308, -1e308, 5e-324};
    reset_wall();
    for (int mode = 0; mode < 4; ++mode)
        for (const double a : odd)
            for (const double b : odd) {
                modes.battle_mode = mode & 1;
                modes.bounded_area_mode = mode >> 1;
                put_turtle(0, 0, 0);
                put_turtle(1, 40, 0);
                for (const int result : {turtle_turn(0, a), turtle_step_forward(0, b), turtle_jump(0, a, b),
                                         turtle_rjump(0, a, b), turtle_step_forward(0, a), turtle_step_forward(0, 1)})
                    EXPECT_TRUE(result == 0 || result == -1);
            }
}
