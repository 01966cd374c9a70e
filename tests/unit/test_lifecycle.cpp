// Finding a slot and a place: the random stream replayed number by number, the distances at their limits, reset and
// home.
#include "turtle/lifecycle.h"

#include "game/furnish.h"
#include "support.h"

using Lifecycle = FieldTest;

TEST_F(Lifecycle, place_is_drawn_x_then_y_then_heading) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        reset_tables(seed);
        ASSERT_EQ(generate_turtle(3, 0), 0);
        srandom(seed);
        const double x = (replay() - 0.5) * 491.0, y = (replay() - 0.5) * 491.0;
        const double dir = (replay() - 0.5) * 180.0;
        EXPECT_EQ(ttl[0].pos[0].x, x);
        EXPECT_EQ(ttl[0].pos[0].y, y);
        EXPECT_EQ(ttl[0].dir, dir);
        EXPECT_EQ(ttl[0].client_id, 3);
        EXPECT_EQ(ttl[0].flags, TTL_ALIVE);
    }
}

TEST_F(Lifecycle, stream_goes_on_after_the_heading) {
    EXPECT_EQ(draws_of(9, [] { generate_turtle(0, 0); }), 3);
}

TEST_F(Lifecycle, extra_flags_are_added) {
    ASSERT_EQ(generate_turtle(-1, TTL_ROBOT), 0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE | TTL_ROBOT);
    ASSERT_EQ(generate_turtle(-1, TTL_DOUGHNUT), 1);
    EXPECT_EQ(ttl[1].flags, TTL_ALIVE | TTL_ROBOT | TTL_DOUGHNUT);
    EXPECT_EQ(ttl[1].client_id, -1);
    EXPECT_EQ(ttl[1].score, 100);
}

TEST_F(Lifecycle, thirty_first_turtle_is_refused_without_a_draw) {
    for (int i = 0; i < 30; ++i) put_turtle(i, 1e6 + 100 * i, 0);
    EXPECT_EQ(draws_of(5, [] { EXPECT_EQ(generate_turtle(0, 0), -1); }), 0);
    EXPECT_EQ(ntmax, 30);
}

TEST_F(Lifecycle, lowest_free_slot_is_reused) {
    for (int i = 0; i < 5; ++i) put_turtle(i, 1e6 + 100 * i, 0);
    ttl[3].flags = 0;
    EXPECT_EQ(generate_turtle(0, 0), 3);
    EXPECT_EQ(ntmax, 5);
    EXPECT_EQ(generate_turtle(0, 0), 5);
    EXPECT_EQ(ntmax, 6);
}

TEST_F(Lifecycle, zombie_keeps_its_slot) {
    put_turtle(0, 1e6, 0).flags |= TTL_ZOMBIE;
    EXPECT_EQ(generate_turtle(0, 0), 1);
}

TEST_F(Lifecycle, turtle_at_exactly_twenty_does_not_spoil_the_place) {
    // The first point of the stream, and a neighbour whose computed distance is exactly 20.
    srandom(4);
    const double x = (replay() - 0.5) * 491.0, y = (replay() - 0.5) * 491.0;
    struct row {
        double at;
        bool accepted;
    };
    const row rows[] = {{x + 20, true}, {x + 19.999, false}};
    for (const row& r : rows) {
        if (std::sqrt((r.at - x) * (r.at - x)) < 20.0 && r.accepted) continue; // x + 20 rounded inwards
        reset_tables(4);
        put_turtle(0, r.at, y);
        ASSERT_EQ(generate_turtle(0, 0), 1);
        EXPECT_EQ(ttl[1].pos[0].x == x, r.accepted);
    }
}

TEST_F(Lifecycle, wall_nearer_than_twenty_spoils_the_place) {
    srandom(4);
    const double x = (replay() - 0.5) * 491.0, y = (replay() - 0.5) * 491.0;
    for (const double gap : {19.999, 20.001}) {
        reset_tables(4);
        put_wall_to_the_right(x + gap);
        ASSERT_EQ(generate_turtle(0, 0), 0);
        EXPECT_EQ(ttl[0].pos[0].x == x, gap > 20);
        EXPECT_TRUE(y == ttl[0].pos[0].y || gap < 20);
    }
}

TEST_F(Lifecycle, field_without_room_draws_21_points_and_no_heading) {
    put_grating(-270, 270);
    EXPECT_EQ(draws_of(11, [] { EXPECT_EQ(generate_turtle(0, 0), -1); }), 42);
    EXPECT_EQ(ntmax, 0);
    EXPECT_EQ(ttl[0].flags, 0u);
    modes.maze_mode = 1;
    // In the maze 10 is enough, and the grating leaves 15: the first point midway between two faces will do.
    EXPECT_EQ(generate_turtle(0, 0), 0);
}

TEST_F(Lifecycle, twentieth_point_is_taken_and_the_21st_is_not) {
    // Faces 30 apart up to y = 170: a point is free exactly when y >= 190, about one in nine.
    int seen_20 = 0, seen_21 = 0;
    for (unsigned seed = 1; seed < 20000 && (seen_20 == 0 || seen_21 == 0); ++seed) {
        srandom(seed);
        int first_free = 0;
        for (int k = 1; k <= 21 && first_free == 0; ++k) {
            (void)replay();
            if ((replay() - 0.5) * 491.0 >= 190.0) first_free = k;
        }
        if (first_free != 20 && first_free != 21) continue;
        reset_tables(seed);
        put_grating(-250, 170);
        const int drawn = draws_of(seed, [&] { EXPECT_EQ(generate_turtle(0, 0), first_free == 20 ? 0 : -1); });
        EXPECT_EQ(drawn, first_free == 20 ? 41 : 42); // 20 points and a heading; 21 points and none
        EXPECT_EQ(ntmax, first_free == 20 ? 1 : 0);
        ++(first_free == 20 ? seen_20 : seen_21);
    }
    EXPECT_GT(seen_20, 0);
    EXPECT_GT(seen_21, 0);
}

TEST_F(Lifecycle, maze_places_newcomers_in_the_entrance_corner_facing_east) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        reset_tables(seed);
        modes.maze_mode = 1;
        const int drawn = draws_of(seed, [] { ASSERT_EQ(generate_turtle(0, 0), 0); });
        EXPECT_EQ(drawn, 2); // no heading is drawn
        srandom(seed);
        const double x = -256.0 + replay() * 32.0, y = -256.0 + replay() * 32.0;
        EXPECT_EQ(ttl[0].pos[0].x, x);
        EXPECT_EQ(ttl[0].pos[0].y, y);
        EXPECT_EQ(ttl[0].dir, 0);
    }
}

TEST_F(Lifecycle, maze_asks_for_ten_to_walls_and_turtles) {
    modes.maze_mode = 1;
    reset_wall();
    for (unsigned seed = 1; seed <= 50; ++seed) {
        ttl[0].flags = ttl[1].flags = 0;
        ntmax = 0;
        srandom(seed);
        if (generate_turtle(0, 0) != 0) continue;
        EXPECT_GE(ttl[0].pos[0].x, -246);
        EXPECT_GE(ttl[0].pos[0].y, -246);
        EXPECT_LE(ttl[0].pos[0].x, -224);
        if (generate_turtle(0, 0) != 1) continue;
        EXPECT_GE(std::hypot(ttl[0].pos[0].x - ttl[1].pos[0].x, ttl[0].pos[0].y - ttl[1].pos[0].y), 10);
    }
}

TEST_F(Lifecycle, maze_corner_that_is_full_refuses_after_21_points) {
    modes.maze_mode = 1;
    setup_wall(0, -256, -248, -224, -248, 0, 1);
    setup_wall(0, -256, -232, -224, -232, 0, 1); // no y in the corner is 10 from both
    EXPECT_EQ(draws_of(3, [] { EXPECT_EQ(generate_turtle(0, 0), -1); }), 42);
}

TEST_F(Lifecycle, doughnut_goes_anywhere_in_maze_mode_too) {
    modes.maze_mode = 1;
    ASSERT_EQ(draws_of(21, [] { ASSERT_EQ(generate_turtle(-1, TTL_DOUGHNUT), 0); }), 3);
    srandom(21);
    EXPECT_EQ(ttl[0].pos[0].x, (replay() - 0.5) * 491.0);
}

TEST_F(Lifecycle, corner_follows_the_bounds) {
    modes.maze_mode = 1;
    Xmin = 0;
    Ymin = 100;
    ASSERT_EQ(draws_of(8, [] { generate_turtle(0, 0); }), 2);
    srandom(8);
    EXPECT_EQ(ttl[0].pos[0].x, 0 + replay() * 32.0);
    EXPECT_EQ(ttl[0].pos[0].y, 100 + replay() * 32.0);
}

TEST_F(Lifecycle, object_needs_strictly_more_than_twenty) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(set_object_at(TTL_STONE, 20, 0), -1);
    EXPECT_EQ(ntmax, 1);
    EXPECT_EQ(set_object_at(TTL_STONE, std::nextafter(20.0, 21.0), 0), 0);
    EXPECT_EQ(ntmax, 2);
    EXPECT_EQ(set_object_at(TTL_STONE, 0, -20.001), 0);
}

TEST_F(Lifecycle, object_ignores_walls_and_draws_no_numbers) {
    put_wall_to_the_right(100);
    EXPECT_EQ(draws_of(2, [] { EXPECT_EQ(set_object_at(TTL_STONE, 100, 0), 0); }), 0);
}

TEST_F(Lifecycle, object_sets_its_fields_and_leaves_four_as_they_were) {
    turtle_t& t = put_turtle(0, 5, 5, 77, 4);
    t.line_width[0] = 9;
    t.finder_range = 55;
    t.team = 3;
    t.n_coin = t.n_doughnut = t.n_painted = t.dying_count = t.fire_wait = 6;
    t.name[0] = t.message[0] = 'x';
    t.event = 7;
    t.event_mask = 1;
    t.radar_target = t.finder_target = 8;
    t.beam_x = 44;
    t.flags = TTL_PEN_DOWN; // not alive: free
    EXPECT_EQ(set_object_at(TTL_STONE, 10, 20), 0);
    EXPECT_EQ(t.client_id, -1);
    EXPECT_EQ(t.dir, 77);
    EXPECT_EQ(t.line_width[0], 9);
    EXPECT_EQ(t.finder_range, 55);
    EXPECT_EQ(t.beam_x, 44);
    for (int k = 0; k < 7; ++k) {
        EXPECT_EQ(t.pos[k].x, 10);
        EXPECT_EQ(t.pos[k].y, 20);
        EXPECT_EQ(t.color[k].r, 0.5);
        EXPECT_EQ(t.color[k].g, 0.5);
        EXPECT_EQ(t.color[k].b, 0.5);
        EXPECT_EQ(t.line_width[k], k == 0 ? 9 : 1.0);
    }
    EXPECT_EQ(t.flags, TTL_STONE | TTL_ALIVE); // ownerless, but not a robot
    EXPECT_EQ(t.score, 0);
    EXPECT_EQ(t.team, 0);
    EXPECT_EQ(t.n_coin + t.n_doughnut + t.n_painted + t.dying_count + t.fire_wait, 0);
    EXPECT_EQ(t.name[0] + t.message[0], 0);
    EXPECT_EQ(t.event, 0u);
    EXPECT_EQ(t.event_mask, 0xffffffffu);
    EXPECT_EQ(t.radar_target, -1);
    EXPECT_EQ(t.finder_target, -1);
}

TEST_F(Lifecycle, object_takes_the_lowest_free_slot_and_needs_one) {
    for (int i = 0; i < 30; ++i) put_turtle(i, 1e6 + 100 * i, 0);
    EXPECT_EQ(set_object_at(TTL_STONE, 0, 0), -1);
    ttl[17].flags = 0;
    ttl[21].flags = 0;
    EXPECT_EQ(set_object_at(TTL_DOUGHNUT, 0, 0), 0);
    EXPECT_EQ(ttl[17].flags, TTL_DOUGHNUT | TTL_ALIVE);
    EXPECT_EQ(ntmax, 30);
}

TEST_F(Lifecycle, reset_makes_a_fresh_turtle_for_its_owner) {
    put_turtle(0, 50, 60, 70, 2);
    ttl[0].flags |= TTL_PEN_DOWN | TTL_BRUSH;
    ttl[0].team = 3;
    ttl[0].score = 5;
    ttl[0].n_coin = 4;
    EXPECT_EQ(turtle_reset(0, 3), 0); // not the owner: nothing happens
    EXPECT_EQ(ttl[0].pos[0].x, 50);
    EXPECT_EQ(ttl[0].team, 3);
    EXPECT_EQ(turtle_reset(0, 2), 0);
    EXPECT_EQ(ttl[0].pos[0].x, 0);
    EXPECT_EQ(ttl[0].pos[6].y, 0);
    EXPECT_EQ(ttl[0].dir, 0);
    EXPECT_EQ(ttl[0].score, 100);
    EXPECT_EQ(ttl[0].team, 0);
    EXPECT_EQ(ttl[0].n_coin, 0);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE);
    EXPECT_EQ(ttl[0].client_id, 2);
}

TEST_F(Lifecycle, reset_and_home_are_refused_in_battle_and_to_a_zombie) {
    put_turtle(0, 50, 60, 70, 2);
    modes.battle_mode = 1;
    EXPECT_EQ(turtle_reset(0, 2), 1);
    EXPECT_EQ(turtle_reset(0, 3), 1);
    EXPECT_EQ(turtle_home(0), 1);
    modes.battle_mode = 0;
    make_zombie(0);
    EXPECT_EQ(turtle_reset(0, 2), 1);
    EXPECT_EQ(turtle_home(0), 1);
    EXPECT_EQ(ttl[0].pos[0].x, 50);
    EXPECT_EQ(ttl[0].dir, 70);
}

TEST_F(Lifecycle, home_keeps_the_oldest_point_and_the_pen) {
    put_turtle(0, 50, 60, 70);
    ttl[0].color[3] = {0.1, 0.2, 0.3};
    ttl[0].line_width[4] = 8;
    ttl[0].flags |= TTL_SEG_PAINTED | TTL_PEN_DOWN;
    EXPECT_EQ(turtle_home(0), 0);
    for (int k = 0; k <= 5; ++k) {
        EXPECT_EQ(ttl[0].pos[k].x, 0);
        EXPECT_EQ(ttl[0].pos[k].y, 0);
    }
    EXPECT_EQ(ttl[0].pos[6].x, 50);
    EXPECT_EQ(ttl[0].pos[6].y, 60);
    EXPECT_EQ(ttl[0].dir, 0);
    EXPECT_EQ(ttl[0].color[3].b, 0.3);
    EXPECT_EQ(ttl[0].line_width[4], 8);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE | TTL_SEG_PAINTED | TTL_PEN_DOWN);
}
