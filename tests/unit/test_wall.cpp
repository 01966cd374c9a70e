// Walls: the table's limit, contact at its exact limits, one-sided faces, and how bodies block each other.
#include "field/wall_map.h"
#include "field/walls.h"
#include "geometry/collision.h"

#include "game/furnish.h"
#include "geometry/segment.h"
#include "support.h"

using Wall = FieldTest;

struct Reach {
    double allowed = -77;
    int other = -77;
    uint32_t code;
    explicit Reach(double step, int i = 0) : code(check_how_far_it_can_go(i, allowed, other, step)) {}
};

TEST_F(Wall, setup_wall_stores_the_six_numbers_in_order) {
    setup_wall(WALL_BACKFACE, 1, 2, 3, 4, 5, 6);
    ASSERT_EQ(nwall, 1);
    const wall_t& w = walls[0];
    EXPECT_EQ(w.attr, 0x100000u);
    EXPECT_EQ(w.x1, 1);
    EXPECT_EQ(w.y1, 2);
    EXPECT_EQ(w.x2, 3);
    EXPECT_EQ(w.y2, 4);
    EXPECT_EQ(w.nx, 5);
    EXPECT_EQ(w.ny, 6);
}

TEST_F(Wall, table_takes_700_faces_and_ignores_more) {
    for (int i = 0; i < 700; ++i) setup_wall(0, i, 0, i, 1, 1, 0);
    EXPECT_EQ(nwall, 700);
    setup_wall(0, -1, 0, 0, 0, 0, 1);
    EXPECT_EQ(nwall, 700);
    EXPECT_EQ(walls[699].x1, 699);
}

TEST_F(Wall, without_walls_nothing_is_near_or_in_the_way) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(dist_to_wall_from(0, 0), NO_DISTANCE);
    EXPECT_EQ(is_colliding_to_wall(0, 1e6), 0);
    EXPECT_EQ(distance_to_front_wall(0, 1), NO_DISTANCE);
    double l, f, r;
    distance_to_walls_3dir(0, l, f, r);
    EXPECT_EQ(l, NO_DISTANCE);
    EXPECT_EQ(f, NO_DISTANCE);
    EXPECT_EQ(r, NO_DISTANCE);
    EXPECT_EQ(is_hitting_wall(0, 0), 0);
}

TEST_F(Wall, step_ending_exactly_at_contact_is_allowed) {
    put_wall_to_the_right(15);
    put_turtle(0, 0, 0);
    EXPECT_EQ(is_colliding_to_wall(0, 5), 0); // 15 ahead, radius 10
    EXPECT_EQ(is_colliding_to_wall(0, 5.01), 1);
    EXPECT_EQ(is_colliding_to_wall(0, std::nextafter(5.0, 6.0)), 1);
}

TEST_F(Wall, backward_step_is_tested_behind) {
    put_wall_to_the_left(-15);
    put_turtle(0, 0, 0);
    EXPECT_EQ(is_colliding_to_wall(0, -5), 0);
    EXPECT_EQ(is_colliding_to_wall(0, -5.01), 1);
    EXPECT_EQ(is_colliding_to_wall(0, 5.01), 0);
}

TEST_F(Wall, face_stops_only_motion_against_its_normal) {
    setup_wall(0, 15, -100, 15, 100, 1, 0); // looks away from the turtle
    put_turtle(0, 0, 0);
    EXPECT_EQ(is_colliding_to_wall(0, 100), 0);
    setup_wall(WALL_BACKFACE, 15, 100, 15, -100, -1, 0); // its pair
    EXPECT_EQ(is_colliding_to_wall(0, 100), 1);
}

TEST_F(Wall, overlapping_turtle_collides_even_with_a_step_of_zero) {
    put_wall_to_the_right(5);
    put_turtle(0, 0, 0);
    EXPECT_EQ(is_colliding_to_wall(0, 0), 1); // 0 > -5
}

// A turtle 9 above the line of a wall that lies 40 behind it, heading almost along that line but slightly down to it:
// its disc overlaps the line, and it would have touched the wall 40 units ago, so the free travel is -40. Only the
// bound keeps such a wall from stopping a short step. Half length 17 and distance to the middle 41 = hypot(40, 9): the
// wall is checked when the step is longer than 41 - (17 + 10) = 14.
class WallBehind : public Wall {
protected:
    void SetUp() override {
        Wall::SetUp();
        setup_wall(0, -57, 0, -23, 0, 0, 1);
        put_turtle(0, 0, 9, -std::asin(1.0 / 40.0) * 180.0 / PI);
    }
};

TEST_F(WallBehind, has_a_negative_free_travel) { EXPECT_NEAR(distance_to_front_wall(0, 1), -40, NEAR); }

TEST_F(WallBehind, cheap_bound_keeps_it_from_stopping_a_short_step) {
    EXPECT_EQ(is_colliding_to_wall(0, 1), 0);
    EXPECT_EQ(is_colliding_to_wall(0, 13.9), 0);
}

TEST_F(WallBehind, cheap_bound_lets_it_stop_a_step_beyond_the_limit) {
    EXPECT_EQ(is_colliding_to_wall(0, 14), 0);
    EXPECT_EQ(is_colliding_to_wall(0, 14.001), 1);
}

TEST_F(Wall, step_stops_at_a_wall_ahead_however_short_the_wall) {
    setup_wall(0, 100, -5, 100, 5, -1, 0);
    put_turtle(0, 0, 0);
    EXPECT_EQ(is_colliding_to_wall(0, 90), 0);
    EXPECT_EQ(is_colliding_to_wall(0, 90.1), 1);
}

TEST_F(Wall, front_distance_uses_only_the_sign_of_the_step) {
    put_wall_to_the_right(30);
    put_wall_to_the_left(-50);
    put_turtle(0, 0, 0);
    EXPECT_EQ(distance_to_front_wall(0, 1), 20);
    EXPECT_EQ(distance_to_front_wall(0, 1000), 20);
    EXPECT_EQ(distance_to_front_wall(0, 0), 20);
    EXPECT_NEAR(distance_to_front_wall(0, -1), 40, NEAR);
}

TEST_F(Wall, three_directions_are_left_front_and_right) {
    put_wall_to_the_right(30);
    put_turtle(0, 0, 0, 45);
    double l, f, r;
    distance_to_walls_3dir(0, l, f, r);
    EXPECT_GT(l, 1e15); // 90 degrees: along the wall, or beyond it by a rounding of the cosine
    EXPECT_NEAR(f, 20 / std::cos(PI / 4), NEAR);
    EXPECT_NEAR(r, 20, NEAR); // 0 degrees
    EXPECT_EQ(ttl[0].dir, 45);
}

TEST_F(Wall, nearest_wall_of_a_point_is_measured_to_the_segment) {
    setup_wall(0, 0, 0, 10, 0, 0, 1);
    setup_wall(0, 100, 100, 110, 100, 0, 1);
    EXPECT_EQ(dist_to_wall_from(5, -4), 4);
    EXPECT_EQ(dist_to_wall_from(13, 4), 5);
    EXPECT_EQ(dist_to_wall_from(105, 98), 2);
}

TEST_F(Wall, hitting_starts_nearer_than_five) {
    setup_wall(0, 0, 0, 10, 0, 0, 1);
    EXPECT_EQ(is_hitting_wall(5, 5), 0);
    EXPECT_EQ(is_hitting_wall(5, std::nextafter(5.0, 0.0)), 1);
    EXPECT_EQ(is_hitting_wall(5, -4.99), 1); // either side
}

TEST_F(Wall, edges_of_the_field_are_inside) {
    const double far = std::nextafter(256.0, 1000.0);
    EXPECT_EQ(is_hitting_wall(256, 256), 0); // no walls: the rectangle alone
    EXPECT_EQ(is_hitting_wall(-256, -256), 0);
    EXPECT_EQ(is_hitting_wall(far, 0), 1);
    EXPECT_EQ(is_hitting_wall(-far, 0), 1);
    EXPECT_EQ(is_hitting_wall(0, far), 1);
    EXPECT_EQ(is_hitting_wall(0, -far), 1);
    reset_wall();
    EXPECT_EQ(is_hitting_wall(256, 0), 1); // the boundary wall itself
    EXPECT_EQ(is_hitting_wall(251, 0), 0); // exactly 5 away
    EXPECT_EQ(is_hitting_wall(251.01, 0), 1);
}

TEST_F(Wall, edges_follow_the_bounds) {
    Xmax = 100;
    EXPECT_EQ(is_hitting_wall(100, 0), 0);
    EXPECT_EQ(is_hitting_wall(101, 0), 1);
}

TEST_F(Wall, bodies_thirty_apart_leave_ten) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0);
    const Reach far(15), near(9);
    EXPECT_EQ(far.code, 1u);
    EXPECT_EQ(far.allowed, 10);
    EXPECT_EQ(far.other, 1);
    EXPECT_EQ(near.code, 0u);
    EXPECT_EQ(near.allowed, 9);
}

TEST_F(Wall, step_that_ends_at_contact_with_a_body_is_blocked) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0);
    EXPECT_EQ(Reach(10).code, 1u); // contact at 10, not beyond the step
    EXPECT_EQ(Reach(std::nextafter(10.0, 0.0)).code, 0u);
}

TEST_F(Wall, step_may_end_half_a_unit_before_contact) {
    put_turtle(0, 0, 0);
    put_turtle(1, 20.5, 0);
    const Reach within(0.25), beyond(0.75);
    EXPECT_EQ(within.code, 0u);
    EXPECT_EQ(within.allowed, 0.25);
    EXPECT_EQ(beyond.code, 1u);
    EXPECT_EQ(beyond.allowed, 0.5);
}

TEST_F(Wall, kind_of_the_obstacle_gives_the_code) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0);
    struct row {
        uint32_t flags, code;
    };
    const row rows[] = {{TTL_ALIVE, 1},
                        {TTL_ALIVE | TTL_ROBOT, 1},
                        {TTL_ALIVE | TTL_ZOMBIE, 1},
                        {TTL_ALIVE | TTL_DOUGHNUT | TTL_ROBOT, 2},
                        {TTL_ALIVE | TTL_STONE, 3},
                        {TTL_ALIVE | TTL_STONE | TTL_DOUGHNUT, 3},
                        {0, 0}};
    for (const row& r : rows) {
        ttl[1].flags = r.flags;
        EXPECT_EQ(Reach(15).code, r.code) << std::hex << r.flags;
    }
}

TEST_F(Wall, dying_turtle_blocks) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0).dying_count = 50;
    EXPECT_EQ(Reach(15).code, 1u);
}

TEST_F(Wall, body_beside_the_path_blocks_up_to_twenty) {
    put_turtle(0, 0, 0);
    put_turtle(1, 40, 20); // touches the path's side at 40
    EXPECT_EQ(Reach(40).code, 1u);
    EXPECT_EQ(Reach(40).allowed, 40);
    EXPECT_EQ(Reach(39.9).code, 0u);
    ttl[1].pos[0].y = std::nextafter(20.0, 21.0);
    EXPECT_EQ(Reach(1000).code, 0u);
    ttl[1].pos[0].y = 12; // sqrt(400 - 144) = 16
    EXPECT_EQ(Reach(1000).allowed, 24);
}

TEST_F(Wall, touching_bodies_block_towards_each_other_only) {
    put_turtle(0, 0, 0);
    put_turtle(1, 20, 0);
    EXPECT_EQ(Reach(1).code, 1u);
    EXPECT_EQ(Reach(1).allowed, 0);
    EXPECT_EQ(Reach(-1).code, 0u);
    EXPECT_EQ(Reach(-1).allowed, -1);
    ttl[1].pos[0].x = 12;
    EXPECT_EQ(Reach(1).allowed, -8); // 12 - 20
}

TEST_F(Wall, body_behind_blocks_backward_steps) {
    put_turtle(0, 0, 0);
    put_object(1, TTL_STONE, -30, 0);
    EXPECT_EQ(Reach(-15).code, 3u);
    EXPECT_NEAR(Reach(-15).allowed, 10, NEAR);
    EXPECT_EQ(Reach(-9).code, 0u);
    EXPECT_EQ(Reach(-9).allowed, -9);
    EXPECT_EQ(Reach(15).code, 0u);
}

TEST_F(Wall, step_of_zero_is_blocked_only_by_what_touches) {
    put_turtle(0, 0, 0);
    put_turtle(1, -20, 0);
    EXPECT_EQ(Reach(0).code, 1u); // no direction: measured all round, 0 - sqrt(0) is not above 0
    ttl[1].pos[0].x = -20.001;
    EXPECT_EQ(Reach(0).code, 0u);
}

TEST_F(Wall, nearer_foot_decides_even_when_another_would_be_touched_first) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 19);              // foot 30, touched at 30 - sqrt(39) = 23.8
    put_object(2, TTL_DOUGHNUT, 31, 0); // foot 31, touched at 11
    EXPECT_EQ(Reach(15).code, 0u);
    EXPECT_EQ(Reach(25).code, 1u);
    EXPECT_NEAR(Reach(25).allowed, 30 - std::sqrt(39.0), NEAR);
}

TEST_F(Wall, nearer_of_doughnut_and_turtle_gives_the_code) {
    put_turtle(0, 0, 0);
    put_turtle(1, 60, 0);
    put_object(2, TTL_DOUGHNUT, 50, 0);
    EXPECT_EQ(Reach(100).code, 2u);
    EXPECT_EQ(Reach(100).other, 2);
    ttl[2].pos[0].x = 70;
    EXPECT_EQ(Reach(100).code, 1u);
}

TEST_F(Wall, equal_feet_go_to_the_lower_index) {
    put_turtle(0, 0, 0);
    put_object(1, TTL_STONE, 50, 5);
    put_turtle(2, 50, -5);
    EXPECT_EQ(Reach(100).other, 1);
    EXPECT_EQ(Reach(100).code, 3u);
}

TEST_F(Wall, scan_leaves_out_the_asker_and_what_lies_beyond_the_counter) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0);
    ntmax = 1;
    EXPECT_EQ(Reach(15).code, 0u);
    EXPECT_EQ(Reach(15).other, -1);
}

TEST_F(Wall, walls_do_not_count_among_bodies) {
    put_wall_to_the_right(15);
    put_turtle(0, 0, 0);
    EXPECT_EQ(Reach(100).code, 0u);
}

TEST_F(Wall, contact_is_a_number_however_the_distance_rounds) {
    // Half-line distances of 20 computed at odd angles: the square may come out a little over 400.
    for (int k = 0; k < 20000; ++k) {
        const double dir = replay() * 720 - 360, along = replay() * 200;
        put_turtle(0, replay() * 400 - 200, replay() * 400 - 200, dir);
        const double c = std::cos(dir * DEG_TO_RAD), s = std::sin(dir * DEG_TO_RAD);
        put_turtle(1, ttl[0].pos[0].x + along * c - 20 * s, ttl[0].pos[0].y + along * s + 20 * c);
        const Reach r(along + 1);
        ASSERT_FALSE(std::isnan(r.allowed)) << dir << " " << along;
        ASSERT_LE(r.code, 1u);
    }
}

TEST_F(Wall, hostile_steps_and_places_give_a_code_and_no_trap) {
    reset_wall();
    const double odd[] = {NOT_A_NUMBER, INF, -INF, 1e308, -1e308, 5e-324, 0.0, -0.0};
    for (const double step : odd)
        for (const double x : odd)
            for (const double dir : odd) {
                put_turtle(0, x, 0, dir);
                put_turtle(1, 30, step);
                EXPECT_LE(Reach(step).code, 3u);
                EXPECT_LE(is_colliding_to_wall(0, step), 1);
                (void)distance_to_front_wall(0, step);
                EXPECT_LE(is_hitting_wall(x, step), 1);
            }
}
