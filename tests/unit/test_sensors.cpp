// Distances between turtles, finder, sonar, angular radar, and the plain queries about oneself.
#include "turtle/sensors.h"

#include "game/furnish.h"
#include "game/modes.h"
#include "geometry/collision.h"
#include "geometry/segment.h"
#include "support.h"
#include "turtle/pen.h"
#include "turtle/queries.h"

#include <cmath>

using Sensors = FieldTest;

static int finder_code, finder_team;
static void find(double range = 20) {
    ttl[0].finder_range = range;
    finder_code = finder_team = -77;
    EXPECT_EQ(qt_finder(0, finder_code, finder_team), 0);
}

TEST_F(Sensors, finder_reaches_as_far_as_the_bodies_would_meet) {
    // A stone 25 ahead is touched after 5.
    put_turtle(0, 0, 0);
    put_object(1, TTL_STONE, 25, 0);
    find(4.99);
    EXPECT_EQ(finder_code, 0);
    EXPECT_EQ(ttl[1].event, 0u);
    find(5);
    EXPECT_EQ(finder_code, 3);
    find(20);
    EXPECT_EQ(finder_code, 3);
    find(50);
    EXPECT_EQ(finder_code, 3);
    EXPECT_EQ(ttl[1].event, EVENT_FOUND);
    EXPECT_EQ(ttl[0].finder_target, 1);
}

TEST_F(Sensors, finder_returns_kind_and_team) {
    struct row {
        uint32_t kind;
        int code;
    };
    for (const row& r : {row{0, 1}, row{TTL_DOUGHNUT, 2}, row{TTL_STONE, 3}, row{TTL_ZOMBIE, 1}}) {
        put_turtle(0, 0, 0);
        put_object(1, r.kind, 30, 0).team = 4;
        find();
        EXPECT_EQ(finder_code, r.code);
        EXPECT_EQ(finder_team, 4);
        EXPECT_EQ(ttl[1].event, EVENT_FOUND);
    }
}

TEST_F(Sensors, finder_that_finds_nothing_keeps_its_last_target) {
    put_turtle(0, 0, 0).finder_target = 9;
    find();
    EXPECT_EQ(finder_code, 0);
    EXPECT_EQ(finder_team, 0);
    EXPECT_EQ(ttl[0].finder_target, 9);
}

TEST_F(Sensors, finder_clears_the_askers_own_mark) {
    put_turtle(0, 0, 0).event = 0xff;
    find();
    EXPECT_EQ(ttl[0].event, 0xffu & ~EVENT_FOUND);
}

TEST_F(Sensors, finder_sees_walls_in_a_bounded_area_only) {
    put_turtle(0, 0, 0);
    put_wall_to_the_right(15); // touched after 5
    find();
    EXPECT_EQ(finder_code, 0);
    modes.bounded_area_mode = 1;
    find();
    EXPECT_EQ(finder_code, FINDER_WALL);
    EXPECT_EQ(finder_team, 0);
    find(5); // exactly at the range
    EXPECT_EQ(finder_code, 4);
    find(4.999);
    EXPECT_EQ(finder_code, 0);
}

TEST_F(Sensors, finder_sees_a_wall_at_the_very_end_of_its_range_wherever_it_stands) {
    reset_wall();
    generate_maze();
    for (turtle_t& doughnut : ttl) doughnut.flags = 0;
    modes.bounded_area_mode = 1;
    int looks = 0;
    for (int x = -230; x <= 230; x += 10) {
        for (int y = -230; y <= 230; y += 10) {
            put_turtle(0, x, y, 90 * ((x + y) / 10));
            const double travel = distance_to_front_wall(0, 1); // a look at every wall
            if (!(travel > 0 && travel < 300)) continue;
            ++looks;
            find(travel);
            EXPECT_EQ(finder_code, FINDER_WALL) << x << ' ' << y;
            find(std::nextafter(travel, 0.0));
            EXPECT_EQ(finder_code, 0) << x << ' ' << y;
        }
    }
    EXPECT_GT(looks, 1000);
}

TEST_F(Sensors, wall_at_exactly_the_objects_distance_wins) {
    modes.bounded_area_mode = 1;
    put_turtle(0, 0, 0).finder_target = -1;
    put_object(1, TTL_STONE, 25, 0); // 25 - 20
    put_wall_to_the_right(15);       // 15 - 10
    find();
    EXPECT_EQ(finder_code, 4);
    EXPECT_EQ(ttl[1].event, 0u);
    EXPECT_EQ(ttl[0].finder_target, -1);
    ttl[1].pos[0].x = 24.999;
    find();
    EXPECT_EQ(finder_code, 3);
    ttl[1].pos[0].x = 25.001;
    find();
    EXPECT_EQ(finder_code, 4);
}

TEST_F(Sensors, object_is_found_before_a_wall_beyond_the_range) {
    modes.bounded_area_mode = 1;
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0).team = 2;
    put_wall_to_the_right(100);
    find();
    EXPECT_EQ(finder_code, 1);
    EXPECT_EQ(finder_team, 2);
}

TEST_F(Sensors, finder_takes_any_range) {
    modes.bounded_area_mode = 1;
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0);
    put_wall_to_the_right(60);
    for (const double range : {NOT_A_NUMBER, INF, -INF, 1e308, -1e308, 0.0}) {
        find(range);
        EXPECT_GE(finder_code, 0);
        EXPECT_LE(finder_code, 4);
        EXPECT_LT(ttl[0].finder_target, 30);
        EXPECT_GE(ttl[0].finder_target, -1);
    }
}

static void expect_sonar(int left, int front, int right, const char* what) {
    int l = -7, f = -7, r = -7;
    const double dir = ttl[0].dir;
    EXPECT_EQ(qt_sonar(0, l, f, r), 0);
    EXPECT_EQ(l, left) << what;
    EXPECT_EQ(f, front) << what;
    EXPECT_EQ(r, right) << what;
    EXPECT_EQ(ttl[0].dir, dir);
}

TEST_F(Sensors, sonar_finds_nothing_in_the_open) {
    put_turtle(0, 0, 0, 123.456);
    expect_sonar(0, 0, 0, "open");
}

TEST_F(Sensors, sonar_finds_a_body_within_twenty_of_travel) {
    put_turtle(0, 0, 0);
    put_turtle(1, 40, 0); // touched after exactly 20 straight ahead; 28 beside the slanting paths
    expect_sonar(0, 1, 0, "at 20");
    ttl[1].pos[0].x = 40.001;
    expect_sonar(0, 0, 0, "beyond 20");
    ttl[1].pos[0].x = 25; // 25 sin 45 = 17.7 beside both slanting paths
    expect_sonar(1, 1, 1, "25 ahead");
}

TEST_F(Sensors, body_to_the_front_left_blocks_left_and_front) {
    // 25 away at 45 degrees: straight on the left path; 17.7 beside the front path, touched after 17.7 - sqrt(87.5).
    put_turtle(0, 0, 0);
    const double d = 25 * std::sqrt(0.5);
    put_turtle(1, d, d);
    expect_sonar(1, 1, 0, "front left");
    put_turtle(1, d, -d);
    expect_sonar(0, 1, 1, "front right");
    put_turtle(1, 30 * std::sqrt(0.5), 30 * std::sqrt(0.5)); // 21.2 beside the front path
    expect_sonar(1, 0, 0, "front left, farther");
}

TEST_F(Sensors, sonar_finds_walls_nearer_than_ten_in_every_mode) {
    for (const int mode : {0, 1}) {
        modes.bounded_area_mode = mode;
        nwall = 0;
        put_wall_to_the_right(20); // free travel exactly 10; at 45 degrees 10 / cos 45
        put_turtle(0, 0, 0);
        expect_sonar(0, 0, 0, "exactly 10");
        ttl[0].pos[0].x = 0.001;
        expect_sonar(0, 1, 0, "below 10");
        ttl[0].pos[0].x = 3; // 7 ahead, 9.9 at 45 degrees
        expect_sonar(1, 1, 1, "all three");
        ttl[0].dir = 45;
        expect_sonar(0, 1, 1, "turned left: along the wall, slanting, straight");
    }
}

static double angle;
static int radar_team;
static int radar(int rank) {
    angle = 1e9;
    radar_team = -77;
    return qt_angular_rader(0, rank, angle, radar_team);
}

TEST_F(Sensors, radar_adds_one_draw_of_noise) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        reset_tables(seed);
        put_turtle(0, 0, 0, 10);
        put_turtle(1, 0, 50).team = 3; // bearing 90
        EXPECT_EQ(draws_of(seed, [] { EXPECT_EQ(radar(0), 0); }), 1);
        srandom(seed);
        EXPECT_NEAR(angle, 80 + (replay() - 0.5) * 40.0, NEAR);
        EXPECT_EQ(radar_team, 3);
        EXPECT_EQ(ttl[1].event, EVENT_SEEN);
        EXPECT_EQ(ttl[0].radar_target, 1);
    }
}

TEST_F(Sensors, radar_ranks_by_distance) {
    put_turtle(0, 0, 0);
    const double far[] = {60, 30, 50, 20, 40, 10, 70};
    for (int i = 1; i <= 7; ++i) put_turtle(i, far[i - 1], 0).team = i % 4 + 1;
    const int expected[] = {6, 4, 2, 5, 3};
    for (int rank = 0; rank < 5; ++rank) {
        EXPECT_EQ(radar(rank), 0);
        EXPECT_EQ(ttl[0].radar_target, expected[rank]);
        EXPECT_EQ(radar_team, expected[rank] % 4 + 1);
    }
    EXPECT_EQ(ttl[7].event, 0u); // the sixth and farther ones are not notified
    EXPECT_EQ(ttl[1].event, 0u);
}

TEST_F(Sensors, equal_distances_keep_the_lower_index_first) {
    put_turtle(0, 0, 0);
    put_turtle(1, 0, 30);
    put_turtle(2, 30, 0);
    put_turtle(3, -30, 0);
    for (int rank = 0; rank < 3; ++rank) {
        radar(rank);
        EXPECT_EQ(ttl[0].radar_target, rank + 1);
    }
}

TEST_F(Sensors, empty_rank_gives_noise_alone_and_failure) {
    put_turtle(0, 0, 0, 77);
    put_turtle(1, 10, 0).team = 2;
    put_turtle(2, 30, 0).team = 2;
    ttl[0].radar_target = 5;
    EXPECT_EQ(draws_of(3, [] { EXPECT_EQ(radar(2), -1); }), 1);
    EXPECT_EQ(radar_team, 0);
    EXPECT_EQ(ttl[0].radar_target, 5);
    srandom(3);
    EXPECT_EQ(angle, (replay() - 0.5) * 40.0);
    for (int k = 0; k < 200; ++k) {
        radar(4);
        EXPECT_LE(std::abs(angle), 20);
    }
}

TEST_F(Sensors, bearing_is_folded_to_half_a_turn_either_side) {
    struct row {
        double dir, relative;
    };
    // The other stands at bearing 0, so the relative bearing is -dir.
    const row rows[] = {{0, 0},   {-190, -170}, {190, 170}, {180, -180}, {-180, 180}, {179, -179}, {-181, -179},
                        {360, 0}, {725, -5},    {-725, 5},  {36000, 0},  {181, 179},  {540, -180}, {-540, 180}};
    for (const row& r : rows) {
        put_turtle(0, 0, 0, r.dir);
        put_turtle(1, 50, 0);
        srandom(1);
        EXPECT_EQ(radar(0), 0);
        srandom(1);
        EXPECT_NEAR(angle, r.relative + (replay() - 0.5) * 40.0, NEAR) << r.dir;
    }
}

TEST_F(Sensors, radar_sees_stones_doughnuts_and_zombies) {
    put_turtle(0, 0, 0);
    put_object(1, TTL_STONE, 30, 0);
    put_object(2, TTL_DOUGHNUT, 40, 0);
    put_turtle(3, 50, 0).flags |= TTL_ZOMBIE;
    put_turtle(4, 60, 0).dying_count = 30;
    for (int rank = 0; rank < 4; ++rank) {
        EXPECT_EQ(radar(rank), 0);
        EXPECT_EQ(ttl[rank + 1].event, EVENT_SEEN);
        EXPECT_EQ(ttl[0].radar_target, rank + 1);
    }
    EXPECT_EQ(radar(4), -1);
}

TEST_F(Sensors, radar_counts_live_slots_below_the_counter) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0).flags = 0;
    put_turtle(2, 40, 0);
    put_turtle(3, 50, 0);
    ntmax = 3;
    EXPECT_EQ(radar(0), 0);
    EXPECT_EQ(ttl[0].radar_target, 2);
    EXPECT_EQ(radar(1), -1);
    EXPECT_EQ(ttl[1].event, 0u);
    EXPECT_EQ(ttl[3].event, 0u);
}

TEST_F(Sensors, radar_rank_outside_the_list_is_refused_without_side_effects) {
    put_turtle(0, 0, 0).event = EVENT_SEEN;
    put_turtle(1, 30, 0).team = 2;
    for (const int rank : {-1, 5, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(draws_of(3, [rank] { EXPECT_EQ(radar(rank), -1); }), 0);
        EXPECT_EQ(angle, 0);
        EXPECT_EQ(radar_team, 0);
    }
    EXPECT_EQ(ttl[0].event, EVENT_SEEN);
    EXPECT_EQ(ttl[1].event, 0u);
}

TEST_F(Sensors, radar_that_finds_nothing_keeps_its_last_target) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 0);
    radar(0);
    EXPECT_EQ(radar(1), -1);
    EXPECT_EQ(ttl[0].radar_target, 1);
}

TEST_F(Sensors, radar_clears_the_askers_own_mark) {
    put_turtle(0, 0, 0).event = 0xff;
    radar(0);
    EXPECT_EQ(ttl[0].event, 0xffu & ~EVENT_SEEN);
}

TEST_F(Sensors, radar_of_a_free_slot_marks_but_draws_nothing) {
    put_turtle(0, 0, 0).flags = 0;
    put_turtle(1, 30, 0).team = 3;
    EXPECT_EQ(draws_of(3, [] { EXPECT_EQ(radar(0), -1); }), 0);
    EXPECT_EQ(angle, 0);
    EXPECT_EQ(radar_team, 3);
    EXPECT_EQ(ttl[1].event, EVENT_SEEN);
}

TEST_F(Sensors, radar_of_a_hostile_heading_stays_within_its_table) {
    for (const double dir : {NOT_A_NUMBER, INF, -INF, 1e308, -1e308}) {
        put_turtle(0, 0, 0, dir);
        put_turtle(1, NOT_A_NUMBER, 0);
        put_turtle(2, INF, 0);
        put_turtle(3, 30, 0);
        for (int rank = 0; rank < 5; ++rank) {
            const int result = radar(rank);
            EXPECT_TRUE(result == 0 || result == -1);
            EXPECT_LT(ttl[0].radar_target, 4);
        }
    }
}

TEST_F(Sensors, nearest_distance_without_others_is_the_root_of_the_largest) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(dist_to_nn(0), 1.8446743523953730e19);
    EXPECT_EQ(dist_to_nn_from(-1, 3, 4), 5); // nobody is excluded
    EXPECT_EQ(dist_to_nn_from(0, 3, 4), 1.8446743523953730e19);
}

TEST_F(Sensors, nearest_distance_counts_live_slots_below_the_counter) {
    put_turtle(0, 0, 0);
    put_turtle(1, 30, 40);
    put_object(2, TTL_STONE, 0, -12);
    EXPECT_EQ(dist_to_nn(0), 12);
    ttl[2].flags = 0;
    EXPECT_EQ(dist_to_nn(0), 50);
    ntmax = 1;
    EXPECT_EQ(dist_to_nn(0), 1.8446743523953730e19);
}

TEST_F(Sensors, distance_of_two_turtles_wants_both_alive) {
    // 30 and 40 apart by their current places; earlier places do not matter.
    put_turtle(0, 7, -11).pos[1] = {500, 500};
    put_turtle(1, 37, 29).pos[1] = {-500, -500};
    EXPECT_EQ(dist_t2t(0, 1), 50);
    EXPECT_EQ(dist_t2t(1, 0), 50);
    EXPECT_EQ(dist_t2t(0, 0), 0);
    ttl[1].flags = 0;
    EXPECT_EQ(dist_t2t(0, 1), NO_DISTANCE);
    EXPECT_EQ(dist_t2t(1, 0), NO_DISTANCE);
}

TEST_F(Sensors, plain_questions_answer_for_a_live_turtle) {
    turtle_t& t = put_turtle(0, 1.5, -2.5, 725);
    t.score = -7;
    t.team = 3;
    t.n_coin = 12;
    double x, y, dir;
    int alive, score, team, mine, near;
    EXPECT_EQ(qt_position(0, x, y), 0);
    EXPECT_EQ(x, 1.5);
    EXPECT_EQ(y, -2.5);
    EXPECT_EQ(qt_direction(0, dir), 0);
    EXPECT_EQ(dir, 725); // as stored
    EXPECT_EQ(qt_alive(0, alive), 0);
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(qt_score(0, score), 0);
    EXPECT_EQ(score, -7);
    EXPECT_EQ(qt_my_team(0, team), 0);
    EXPECT_EQ(team, 3);
    EXPECT_EQ(qt_my_coin(0, mine), 0);
    EXPECT_EQ(mine, 12);
    coins[0].x = 15;
    coins[0].y = 0;
    coins[0].flags = ON_FIELD;
    add_coin_to_map(0);
    EXPECT_EQ(qt_n_coin(0, near), 0);
    EXPECT_EQ(near, 1);
    make_zombie(0);
    EXPECT_EQ(qt_alive(0, alive), 0);
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(qt_position(0, x, y), 0);
}

TEST_F(Sensors, free_slot_has_no_place_heading_or_points) {
    turtle_t& t = put_turtle(0, 1.5, -2.5, 45);
    t.team = 2;
    t.n_coin = 3;
    t.flags = 0;
    double x = 9, y = 9, dir = 9;
    int alive = 9, score = 9, team = 9, mine = 9;
    EXPECT_EQ(qt_position(0, x, y), -1);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 0);
    EXPECT_EQ(qt_direction(0, dir), -1);
    EXPECT_EQ(dir, 0);
    EXPECT_EQ(qt_alive(0, alive), 0);
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(qt_score(0, score), 0);
    EXPECT_EQ(score, 0);
    EXPECT_EQ(qt_my_team(0, team), 0);
    EXPECT_EQ(team, 2); // answers for any slot
    EXPECT_EQ(qt_my_coin(0, mine), 0);
    EXPECT_EQ(mine, 3);
}

TEST_F(Sensors, team_message_comes_with_its_time) {
    put_turtle(0, 0, 0).team = 2;
    uint32_t time = 9;
    char text[TEXT_BYTES + 1];
    text[TEXT_BYTES] = '#';
    EXPECT_EQ(qt_team_msg(0, time, text), 0);
    EXPECT_EQ(time, 0u);
    EXPECT_EQ(text[0], 0);
    signals.elapsed_time = 1234;
    turtle_broadcast_message(0, std::string(200, 'w').c_str());
    EXPECT_EQ(qt_team_msg(0, time, text), 0);
    EXPECT_EQ(time, 1234u);
    EXPECT_EQ(std::string(text, TEXT_BYTES), std::string(128, 'w'));
    EXPECT_EQ(text[TEXT_BYTES], '#'); // never a byte beyond
}
