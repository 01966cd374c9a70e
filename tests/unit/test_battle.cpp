// The per-frame rules: coin events, beams and hits, dying, the pause after a shot, robots.
// Distances are chosen so that they are exact in binary, or one step of 2 straight along an axis.
#include "game/battle.h"

#include "field/palette.h"
#include "support.h"

namespace {

// A turtle at (0, 0) in slot 0 with a beam that will be at (beam_x + 2, 0) after its next step.
struct Battle : FieldTest {
    static turtle_t& put_shooter(double beam_x, int slot = 0) {
        turtle_t& t = put_turtle(slot, 0, 0);
        t.beam_x = beam_x;
        t.beam_y = 0;
        t.beam_dir = 0;
        t.flags |= TTL_FIRING;
        return t;
    }
    static bool is_firing(int i) { return has_any(ttl[static_cast<size_t>(i)].flags, TTL_FIRING); }
};

// Number `n` (from 0) of the stream after srandom(seed), as drand returns it; leaves the stream restarted.
double draw_number(unsigned seed, int n) {
    srandom(seed);
    for (int k = 0; k < n; ++k) (void)random();
    const double v = replay();
    srandom(seed);
    return v;
}

} // namespace

// --- coins within reach ---

TEST_F(Battle, lasting_coin_raises_its_event_once) {
    put_turtle(0, 0, 0);
    lay_coin(0, 5, 0);
    update_coin_event();
    EXPECT_EQ(ttl[0].event, EVENT_COIN);
    EXPECT_TRUE(has_any(ttl[0].flags, TTL_LATCH_COIN));
    ttl[0].event = 0;
    update_coin_event();
    EXPECT_EQ(ttl[0].event, 0U);
}

TEST_F(Battle, coin_event_is_armed_again_after_one_frame_away) {
    put_turtle(0, 0, 0);
    lay_coin(0, 5, 0);
    update_coin_event();
    ttl[0].event = 0;
    ttl[0].pos[0] = {200, 0};
    update_coin_event();
    EXPECT_FALSE(has_any(ttl[0].flags, TTL_LATCH_COIN));
    EXPECT_EQ(ttl[0].event, 0U);
    ttl[0].pos[0] = {0, 0};
    update_coin_event();
    EXPECT_EQ(ttl[0].event, EVENT_COIN);
}

TEST_F(Battle, second_coin_while_latched_is_silent) {
    put_turtle(0, 0, 0);
    lay_coin(0, 5, 0);
    update_coin_event();
    ttl[0].event = 0;
    lay_coin(1, -5, 0);
    update_coin_event();
    EXPECT_EQ(ttl[0].event, 0U);
}

TEST_F(Battle, only_client_turtles_in_use_get_coin_events) {
    lay_coin(0, 0, 0);
    for (const uint32_t kind : {TTL_ZOMBIE, TTL_ROBOT, TTL_DOUGHNUT, TTL_STONE}) {
        put_turtle(0, 1, 0).flags = TTL_ALIVE | kind;
        update_coin_event();
        EXPECT_EQ(ttl[0].event, 0U) << kind;
        EXPECT_FALSE(has_any(ttl[0].flags, TTL_LATCH_COIN)) << kind;
    }
    put_turtle(0, 1, 0).flags = 0;
    update_coin_event();
    EXPECT_EQ(ttl[0].event, 0U);
}

TEST_F(Battle, coin_events_look_at_all_thirty_slots) {
    put_turtle(29, 0, 0);
    ntmax = 0;
    lay_coin(0, 5, 0);
    update_coin_event();
    EXPECT_EQ(ttl[29].event, EVENT_COIN);
}

// --- who can be hit ---

TEST_F(Battle, hit_needs_less_than_ten_units) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(is_hit_by_bullet(0, 9.999, 0), 1);
    EXPECT_EQ(is_hit_by_bullet(0, 10, 0), 0);
    EXPECT_EQ(is_hit_by_bullet(0, 6, 8), 0); // 36 + 64 = 100
    EXPECT_EQ(is_hit_by_bullet(0, 6, 7.999), 1);
    EXPECT_EQ(is_hit_by_bullet(0, 0, -9.999), 1);
}

TEST_F(Battle, hit_is_measured_from_where_the_target_stands_now) {
    put_turtle(0, 30, 50).pos[1] = {-30, -50};
    EXPECT_EQ(is_hit_by_bullet(0, 36, 57), 1);
    EXPECT_EQ(is_hit_by_bullet(0, 36, 58), 0); // 36 + 64 = 100
    EXPECT_EQ(is_hit_by_bullet(0, 24, 43), 1);
    EXPECT_EQ(is_hit_by_bullet(0, -30, -50), 0);
    EXPECT_EQ(is_hit_by_bullet(0, 30, -50), 0);
    EXPECT_EQ(is_hit_by_bullet(0, -30, 50), 0);
}

TEST_F(Battle, every_kind_in_use_can_be_hit_unless_dying) {
    for (const uint32_t kind : {0U, TTL_ZOMBIE, TTL_ROBOT, TTL_DOUGHNUT, TTL_STONE}) {
        turtle_t& t = put_turtle(0, 0, 0);
        t.flags = TTL_ALIVE | kind;
        EXPECT_EQ(is_hit_by_bullet(0, 0, 0), 1) << kind;
        t.dying_count = 1;
        EXPECT_EQ(is_hit_by_bullet(0, 0, 0), 0) << kind;
        t.dying_count = 0;
        t.flags = kind;
        EXPECT_EQ(is_hit_by_bullet(0, 0, 0), 0) << kind;
    }
}

TEST_F(Battle, beam_at_a_nan_place_hits_nobody) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(is_hit_by_bullet(0, NOT_A_NUMBER, 0), 0);
    EXPECT_EQ(is_hit_by_bullet(0, INF, 0), 0);
}

// --- flight ---

TEST_F(Battle, beam_flies_two_units_along_its_own_heading) {
    turtle_t& t = put_shooter(50);
    t.dir = 77; // the turtle has turned since, which does not matter
    t.beam_dir = 90;
    t.beam_y = 10;
    const beam_view_t view = step_beam(0);
    EXPECT_EQ(view.ball.x, 50); // drawn where it was
    EXPECT_EQ(view.ball.y, 10);
    EXPECT_EQ(view.struck, 0);
    EXPECT_NEAR(t.beam_x, 50, NEAR);
    EXPECT_NEAR(t.beam_y, 12, NEAR);
    EXPECT_TRUE(is_firing(0));
    EXPECT_EQ(t.fire_wait, 0);
}

TEST_F(Battle, beam_flies_on_for_a_slot_that_is_not_in_use) {
    turtle_t& t = put_shooter(50);
    t.flags = TTL_FIRING;
    EXPECT_EQ(step_beam(0).struck, 0);
    EXPECT_EQ(t.beam_x, 52);
    EXPECT_EQ(t.flags, TTL_FIRING);
}

TEST_F(Battle, shooter_is_never_its_own_victim) {
    turtle_t& t = put_shooter(-2);
    EXPECT_EQ(step_beam(0).struck, 0);
    EXPECT_EQ(t.score, 100);
    EXPECT_TRUE(is_firing(0));
}

TEST_F(Battle, beam_stops_at_the_field_edge_one_step_short) {
    // 256 is still on the field, 258 is not.
    turtle_t& t = put_shooter(254);
    EXPECT_EQ(step_beam(0).struck, 0);
    EXPECT_EQ(t.beam_x, 256);
    const beam_view_t view = step_beam(0);
    EXPECT_EQ(view.struck, 1);
    EXPECT_EQ(view.strike.x, 258);
    EXPECT_EQ(view.strike.y, 0);
    EXPECT_EQ(t.beam_x, 256);
    EXPECT_EQ(t.fire_wait, 25);
    EXPECT_FALSE(is_firing(0));
}

TEST_F(Battle, beam_meets_a_wall_nearer_than_five) {
    put_wall_to_the_right(100);
    turtle_t& t = put_shooter(91);
    EXPECT_EQ(step_beam(0).struck, 0); // 93: 7 away
    EXPECT_EQ(step_beam(0).struck, 0); // 95: exactly 5 away
    EXPECT_EQ(t.beam_x, 95);
    EXPECT_EQ(step_beam(0).struck, 1);
    EXPECT_EQ(t.beam_x, 95);
}

TEST_F(Battle, beam_at_a_wall_still_hits_a_turtle_there) {
    put_wall_to_the_right(100);
    turtle_t& t = put_shooter(95);
    put_turtle(1, 106, 0); // 9 from the impact at 97
    const beam_view_t view = step_beam(0);
    EXPECT_EQ(view.struck, 1);
    EXPECT_EQ(t.score, 111);
    EXPECT_EQ(ttl[1].score, 70);
    EXPECT_EQ(ttl[1].event, EVENT_HIT);
    EXPECT_EQ(t.fire_wait, 25);
    EXPECT_FALSE(is_firing(0));
}

TEST_F(Battle, kill_at_a_wall_keeps_the_explosion_of_the_wall) {
    put_wall_to_the_right(100);
    turtle_t& t = put_shooter(95);
    put_turtle(1, 106, 0).score = 0;
    EXPECT_EQ(step_beam(0).struck, 1);
    EXPECT_EQ(ttl[1].dying_count, 50);
    EXPECT_EQ(t.fire_wait, 25);
}

// --- hits ---

TEST_F(Battle, hit_costs_thirty_and_earns_eleven) {
    turtle_t& t = put_shooter(80);
    put_turtle(1, 91, 0); // 9 from 82
    EXPECT_EQ(step_beam(0).struck, 0);
    EXPECT_EQ(t.score, 111);
    EXPECT_EQ(t.fire_wait, 25);
    EXPECT_FALSE(is_firing(0));
    EXPECT_EQ(t.beam_x, 82);
    EXPECT_EQ(ttl[1].score, 70);
    EXPECT_EQ(ttl[1].event, EVENT_HIT);
    EXPECT_EQ(ttl[1].dying_count, 0);
}

TEST_F(Battle, hits_and_coins_add_to_what_is_pending_already) {
    constexpr uint32_t FLAGS = TTL_ALIVE | TTL_PEN_DOWN | TTL_BRUSH | TTL_LATCH_WALL;
    turtle_t& shooter = put_shooter(80);
    shooter.flags = FLAGS | TTL_FIRING;
    turtle_t& victim = put_turtle(1, 82, 0);
    victim.flags = FLAGS;
    victim.event = EVENT_WALL | EVENT_MESSAGE;
    (void)step_beam(0);
    EXPECT_EQ(victim.event, EVENT_WALL | EVENT_MESSAGE | EVENT_HIT);
    EXPECT_EQ(shooter.flags, FLAGS);
    EXPECT_EQ(victim.flags, FLAGS);
    lay_coin(0, 82, 5);
    update_coin_event();
    EXPECT_EQ(victim.event, EVENT_WALL | EVENT_MESSAGE | EVENT_HIT | EVENT_COIN);
    EXPECT_EQ(victim.flags, FLAGS | TTL_LATCH_COIN);
    victim.pos[0].x = -200;
    update_coin_event();
    EXPECT_EQ(victim.flags, FLAGS);
    EXPECT_EQ(victim.event, EVENT_WALL | EVENT_MESSAGE | EVENT_HIT | EVENT_COIN); // pending events stay
}

TEST_F(Battle, points_have_no_upper_limit) {
    put_shooter(80).score = 1000000;
    put_turtle(1, 82, 0);
    (void)step_beam(0);
    EXPECT_EQ(ttl[0].score, 1000011);
}

TEST_F(Battle, lowest_slot_within_reach_is_the_victim) {
    put_shooter(80, 3);
    put_turtle(0, 91, 0); // 9 away
    put_turtle(1, 82, 0); // exactly there
    put_turtle(2, 82, 0);
    (void)step_beam(3);
    EXPECT_EQ(ttl[0].score, 70);
    EXPECT_EQ(ttl[1].score, 100);
    EXPECT_EQ(ttl[2].score, 100);
}

TEST_F(Battle, slots_above_the_highest_handed_out_are_not_searched) {
    put_shooter(80);
    put_turtle(5, 82, 0);
    ntmax = 5;
    (void)step_beam(0);
    EXPECT_EQ(ttl[5].score, 100);
    EXPECT_TRUE(is_firing(0));
}

TEST_F(Battle, victim_with_thirty_points_survives_with_none) {
    put_shooter(80);
    put_turtle(1, 82, 0).score = 30;
    (void)step_beam(0);
    EXPECT_EQ(ttl[1].score, 0);
    EXPECT_EQ(ttl[1].dying_count, 0);
    EXPECT_EQ(ttl[0].fire_wait, 25);
}

TEST_F(Battle, victim_with_twenty_nine_points_dies_without_explosion) {
    put_shooter(80);
    put_turtle(1, 82, 0).score = 29;
    (void)step_beam(0);
    EXPECT_EQ(ttl[1].score, 0);
    EXPECT_EQ(ttl[1].dying_count, 50);
    EXPECT_EQ(ttl[1].event, EVENT_HIT);
    EXPECT_EQ(ttl[0].fire_wait, 0);
    EXPECT_EQ(ttl[0].score, 111);
    EXPECT_FALSE(is_firing(0));
}

TEST_F(Battle, zombies_and_robots_are_hit_like_others) {
    for (const uint32_t kind : {TTL_ZOMBIE, TTL_ROBOT}) {
        put_shooter(80);
        put_turtle(1, 82, 0).flags |= kind;
        (void)step_beam(0);
        EXPECT_EQ(ttl[1].score, 70);
        EXPECT_EQ(ttl[0].score, 111);
    }
}

TEST_F(Battle, stone_absorbs_every_beam_and_never_dies) {
    put_object(1, TTL_STONE, 82, 0);
    for (int shot = 0; shot < 5; ++shot) {
        put_shooter(80);
        (void)step_beam(0);
        EXPECT_EQ(ttl[0].score, 100);
        EXPECT_EQ(ttl[0].fire_wait, 25);
        EXPECT_FALSE(is_firing(0));
        EXPECT_EQ(ttl[1].dying_count, 0);
        EXPECT_EQ(ttl[1].event, 0U);
        EXPECT_EQ(ttl[1].score, 0);
    }
}

TEST_F(Battle, doughnut_pays_only_below_forty) {
    struct row_t {
        double distance;
        int score;
    };
    for (const row_t row : {row_t{39.9, 111}, row_t{40.0, 100}, row_t{60.0, 100}}) {
        reset_tables();
        put_shooter(row.distance - 2);
        put_object(1, TTL_DOUGHNUT, row.distance, 0);
        (void)step_beam(0);
        EXPECT_EQ(ttl[0].score, row.score) << row.distance;
        EXPECT_EQ(ttl[1].dying_count, 50) << row.distance;
        EXPECT_EQ(ttl[0].fire_wait, 0) << row.distance; // no explosion
        EXPECT_FALSE(is_firing(0)) << row.distance;
        EXPECT_EQ(ttl[1].event, 0U) << row.distance;
        EXPECT_EQ(ttl[1].score, 0) << row.distance;
    }
}

TEST_F(Battle, doughnut_shot_by_a_turtle_that_has_gone_pays_nothing) {
    // The distance is undefined when one of the two turtles is not in use.
    put_shooter(28).flags = TTL_FIRING;
    put_object(1, TTL_DOUGHNUT, 30, 0);
    (void)step_beam(0);
    EXPECT_EQ(ttl[0].score, 100);
    EXPECT_EQ(ttl[1].dying_count, 50);
}

TEST_F(Battle, dying_turtle_lets_the_beam_pass_to_the_next) {
    put_shooter(80);
    put_turtle(1, 82, 0).dying_count = 3;
    put_turtle(2, 82, 5);
    (void)step_beam(0);
    EXPECT_EQ(ttl[1].score, 100);
    EXPECT_EQ(ttl[2].score, 70);
}

TEST_F(Battle, beam_flies_on_through_a_dying_turtle) {
    put_shooter(80);
    put_turtle(1, 82, 0).dying_count = 50;
    for (int frame = 0; frame < 10; ++frame) (void)step_beam(0);
    EXPECT_EQ(ttl[0].beam_x, 100);
    EXPECT_TRUE(is_firing(0));
    EXPECT_EQ(ttl[1].dying_count, 50);
}

TEST_F(Battle, beam_with_a_nan_direction_never_ends_and_hits_nobody) {
    put_shooter(80).beam_dir = NOT_A_NUMBER;
    put_turtle(1, 82, 0);
    for (int frame = 0; frame < 3; ++frame) (void)step_beam(0);
    EXPECT_EQ(ttl[1].score, 100);
}

// --- the pause after a shot ---

TEST_F(Battle, explosion_fades_over_twenty_five_frames) {
    turtle_t& t = put_turtle(0, 0, 0);
    t.beam_x = 12;
    t.beam_y = 34;
    t.fire_wait = 25;
    for (int left = 25; left > 0; --left) {
        const explosion_view_t view = step_fire_wait(0);
        EXPECT_EQ(view.shown, 1);
        EXPECT_EQ(view.at.x, 12);
        EXPECT_EQ(view.at.y, 34);
        EXPECT_EQ(view.alpha, left / 25.0);
        EXPECT_EQ(t.fire_wait, left - 1);
    }
    EXPECT_EQ(step_fire_wait(0).shown, 0);
    EXPECT_EQ(t.fire_wait, 0);
}

TEST_F(Battle, negative_pause_is_left_alone) {
    put_turtle(0, 0, 0).fire_wait = -1;
    EXPECT_EQ(step_fire_wait(0).shown, 0);
    EXPECT_EQ(ttl[0].fire_wait, -1);
}

// --- dying ---

TEST_F(Battle, dying_starts_once) {
    put_turtle(0, 0, 0);
    start_to_kill(0);
    EXPECT_EQ(ttl[0].dying_count, 50);
    ttl[0].dying_count = 7;
    start_to_kill(0);
    EXPECT_EQ(ttl[0].dying_count, 7);
}

TEST_F(Battle, dying_takes_fifty_frames_and_glows_for_the_first_fifteen) {
    put_turtle(0, 3, 4);
    start_to_kill(0);
    for (int frame = 1; frame <= 50; ++frame) {
        EXPECT_TRUE(has_any(ttl[0].flags, TTL_ALIVE)) << frame;
        const dying_view_t view = step_dying(0);
        EXPECT_EQ(view.glow, frame <= 15 ? 1 : 0) << frame; // counts 50 down to 36
        EXPECT_EQ(view.at.x, 3);
        EXPECT_EQ(view.at.y, 4);
        EXPECT_EQ(ttl[0].dying_count, 50 - frame);
    }
    EXPECT_FALSE(has_any(ttl[0].flags, TTL_ALIVE));
}

TEST_F(Battle, end_of_dying_sends_the_client_away_at_the_last_frame_only) {
    client_tab[4].sockfd = 99;
    client_tab[4].turtle_id = 2;
    client_tab[5].turtle_id = 3;
    put_turtle(2, 0, 0, 0, 4).dying_count = 2;
    step_dying(2);
    EXPECT_EQ(client_tab[4].disconnect_request, 0U);
    step_dying(2);
    EXPECT_EQ(client_tab[4].disconnect_request, 1U);
    EXPECT_EQ(client_tab[5].disconnect_request, 0U);
    client_tab[4].sockfd = -1;
}

TEST_F(Battle, end_of_an_ownerless_thing_touches_no_client) {
    put_object(0, TTL_DOUGHNUT, 0, 0).dying_count = 1;
    step_dying(0);
    EXPECT_EQ(ttl[0].flags, TTL_DOUGHNUT);
    for (const client_t& c : client_tab) EXPECT_EQ(c.disconnect_request, 0U);
}

TEST_F(Battle, healthy_turtle_does_not_die) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(step_dying(0).glow, 0);
    EXPECT_EQ(ttl[0].dying_count, 0);
    EXPECT_TRUE(has_any(ttl[0].flags, TTL_ALIVE));
}

// --- robots ---

TEST_F(Battle, robot_walks_along_its_heading_and_draws_one_number) {
    const int drawn = draws_of(1, [] {
        put_turtle(0, 0, 0, 0, -1);
        update_robot(0);
    });
    EXPECT_EQ(drawn, 1); // whether it fires
    EXPECT_NEAR(ttl[0].pos[0].x, 0.15, NEAR);
    EXPECT_EQ(ttl[0].pos[0].y, 0);
    EXPECT_EQ(ttl[0].dir, 0);
}

TEST_F(Battle, robot_at_a_margin_turns_on_the_spot) {
    struct row_t {
        double x, y, dir;
    };
    // 245.9 + 0.15 is beyond 246 on every side.
    for (const row_t row : {row_t{245.9, 0, 0}, row_t{0, 245.9, 90}, row_t{-245.9, 0, 180}, row_t{0, -245.9, -90}}) {
        const double turn = (draw_number(7, 0) - 0.5) * 100.0;
        const int drawn = draws_of(7, [&row] {
            put_turtle(0, row.x, row.y, row.dir, -1);
            update_robot(0);
        });
        EXPECT_EQ(drawn, 2); // the turn, then whether it fires
        EXPECT_EQ(ttl[0].pos[0].x, row.x);
        EXPECT_EQ(ttl[0].pos[0].y, row.y);
        EXPECT_NEAR(ttl[0].dir, row.dir + turn, NEAR);
    }
}

TEST_F(Battle, robot_just_inside_the_margin_walks) {
    // 245.84 + 0.15 = 245.99, still inside 246.
    put_turtle(0, 245.84, 0, 0, -1);
    update_robot(0);
    EXPECT_NEAR(ttl[0].pos[0].x, 245.99, NEAR);
}

TEST_F(Battle, robot_walks_up_to_its_margin_from_each_edge) {
    // 0.85 + 0.15 is exactly 1 in doubles, which lies on the margin of a field that ends at 11.
    Xmax = Ymax = 11;
    Xmin = Ymin = -11;
    struct row_t {
        double x, y, dir;
    };
    for (const row_t row : {row_t{0.85, 0, 0}, row_t{0, 0.85, 90}, row_t{-0.85, 0, 180}, row_t{0, -0.85, -90}}) {
        turtle_t& t = put_turtle(0, row.x, row.y, row.dir, -1);
        t.pos[1] = {5, 5}; // where it came from does not matter
        update_robot(0);
        EXPECT_NEAR(t.pos[0].x, row.x / 0.85, NEAR) << row.dir;
        EXPECT_NEAR(t.pos[0].y, row.y / 0.85, NEAR) << row.dir;
        EXPECT_EQ(t.dir, row.dir);
    }
}

TEST_F(Battle, blocked_robot_steps_back_along_its_heading) {
    turtle_t& t = put_turtle(0, 30, 40, 90, -1);
    t.pos[1] = {-1, -2};
    put_object(1, TTL_STONE, 30, 60);
    update_robot(0);
    EXPECT_NEAR(t.pos[0].x, 30, NEAR);
    EXPECT_NEAR(t.pos[0].y, 40 - 0.15, NEAR);
    EXPECT_EQ(t.pos[1].x, -1); // not a step of the track
    EXPECT_EQ(t.pos[1].y, -2);
}

TEST_F(Battle, blocked_robot_steps_back_and_turns_about) {
    const double turn = 180.0 + (draw_number(7, 0) - 0.5) * 10.0;
    const int drawn = draws_of(7, [] {
        put_turtle(0, 0, 0, 0, -1);
        put_object(1, TTL_STONE, 20, 0);
        update_robot(0);
    });
    EXPECT_EQ(drawn, 2);
    EXPECT_NEAR(ttl[0].pos[0].x, -0.15, NEAR); // it did not go forward, but does step back
    EXPECT_NEAR(ttl[0].dir, turn, NEAR);
}

TEST_F(Battle, about_turn_is_limited_like_any_turn_in_battle_mode) {
    modes.battle_mode = 1;
    put_turtle(0, 0, 0, 0, -1);
    put_object(1, TTL_STONE, 20, 0);
    update_robot(0);
    EXPECT_NEAR(ttl[0].dir, 3, NEAR);
}

TEST_F(Battle, doughnut_never_walks_and_draws_nothing) {
    const int drawn = draws_of(1, [] {
        put_turtle(0, 0, 0, 0, -1).flags |= TTL_DOUGHNUT;
        update_robot(0);
    });
    EXPECT_EQ(drawn, 0);
    EXPECT_EQ(ttl[0].pos[0].x, 0);
}

TEST_F(Battle, robot_fires_when_its_draw_is_below_one_in_five_hundred) {
    // A seed whose first number is below 0.002 and one whose first number is just not.
    unsigned firing = 0;
    unsigned quiet = 0;
    for (unsigned seed = 1; firing == 0 || quiet == 0; ++seed) {
        const double v = draw_number(seed, 0);
        if (firing == 0 && v < 0.002) firing = seed;
        if (quiet == 0 && v >= 0.002 && v < 0.004) quiet = seed;
    }
    put_turtle(0, 0, 0, 0, -1);
    srandom(quiet);
    update_robot(0);
    EXPECT_FALSE(is_firing(0));
    srandom(firing);
    update_robot(0);
    EXPECT_TRUE(is_firing(0));
    EXPECT_EQ(ttl[0].score, 99);
    EXPECT_NEAR(ttl[0].beam_x, 0.30, NEAR); // from the place after its walk
}

TEST_F(Battle, robots_draw_in_the_order_in_which_they_are_served) {
    for (const int i : {0, 1}) put_turtle(i, 245.9, 100.0 * i, 0, -1);
    srandom(3);
    const double first = replay();
    (void)replay();
    const double third = replay();
    srandom(3);
    update_robot(0);
    update_robot(1);
    EXPECT_NEAR(ttl[0].dir, (first - 0.5) * 100.0, NEAR);
    EXPECT_NEAR(ttl[1].dir, (third - 0.5) * 100.0, NEAR);
}

// --- colours ---

TEST_F(Battle, team_colours_repeat_every_five_and_negative_ones_share_one) {
    struct row_t {
        int team;
        double r, g, b;
    };
    for (const row_t row :
         {row_t{0, 0.2, 1.0, 0.1}, row_t{1, 0.7, 0.3, 1.0}, row_t{2, 0.5, 0.9, 0.9}, row_t{3, 0.1, 0.1, 1.0},
          row_t{4, 0.8, 0.9, 0.0}, row_t{5, 0.2, 1.0, 0.1}, row_t{9, 0.8, 0.9, 0.0}, row_t{-1, 0.7, 0.8, 0.0},
          row_t{-4, 0.7, 0.8, 0.0}, row_t{-5, 0.2, 1.0, 0.1}, row_t{INT32_MIN, 0.7, 0.8, 0.0}}) {
        const rgb_t c = team_color(row.team);
        EXPECT_EQ(c.r, row.r) << row.team;
        EXPECT_EQ(c.g, row.g) << row.team;
        EXPECT_EQ(c.b, row.b) << row.team;
    }
}
