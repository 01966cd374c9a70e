// Boundary, stones and maze: the boundary's eight faces one by one, and the random stream replayed for the rest.
#include "game/furnish.h"

#include "geometry/random.h"
#include "support.h"
#include "turtle/lifecycle.h"

using Furnish = FieldTest;

static void expect_wall(int i, uint32_t attr, double x1, double y1, double x2, double y2, double nx, double ny) {
    const wall_t& w = walls[static_cast<size_t>(i)];
    EXPECT_EQ(w.attr, attr) << i;
    EXPECT_EQ(w.x1, x1) << i;
    EXPECT_EQ(w.y1, y1) << i;
    EXPECT_EQ(w.x2, x2) << i;
    EXPECT_EQ(w.y2, y2) << i;
    EXPECT_EQ(w.nx, nx) << i;
    EXPECT_EQ(w.ny, ny) << i;
}

TEST_F(Furnish, drand_divides_the_librarys_value) {
    for (unsigned seed = 1; seed < 100; ++seed) {
        srandom(seed);
        const double expected = static_cast<double>(random()) / 2147483647.0;
        srandom(seed);
        EXPECT_EQ(drand(), expected);
    }
}

TEST_F(Furnish, reset_leaves_exactly_the_eight_faces_in_order) {
    setup_wall(0, 1, 2, 3, 4, 5, 6);
    reset_wall();
    ASSERT_EQ(nwall, 8);
    expect_wall(0, 0, 256, 256, -256, 256, 0, -1);
    expect_wall(1, WALL_BACKFACE, -256, 256, 256, 256, 0, 1);
    expect_wall(2, 0, -256, -256, 256, -256, 0, 1);
    expect_wall(3, WALL_BACKFACE, 256, -256, -256, -256, 0, -1);
    expect_wall(4, 0, -256, 256, -256, -256, 1, 0);
    expect_wall(5, WALL_BACKFACE, -256, -256, -256, 256, -1, 0);
    expect_wall(6, 0, 256, -256, 256, 256, -1, 0);
    expect_wall(7, WALL_BACKFACE, 256, 256, 256, -256, 1, 0);
}

TEST_F(Furnish, boundary_follows_the_bounds) {
    Xmin = -1;
    Xmax = 2;
    Ymin = -3;
    Ymax = 4;
    generate_boundary_wall();
    ASSERT_EQ(nwall, 8);
    expect_wall(0, 0, 2, 4, -1, 4, 0, -1);
    expect_wall(6, 0, 2, -3, 2, 4, -1, 0);
}

TEST_F(Furnish, maze_wall_is_two_faces_with_normals_turned_left_and_right) {
    gen_wall(1, 1, -1, 0); // ends on the boundary
    ASSERT_EQ(nwall, 2);
    expect_wall(0, 0, -224, -224, -256, -224, 0, -1);
    expect_wall(1, WALL_BACKFACE, -256, -224, -224, -224, 0, 1);
    gen_wall(8, 8, 0, 1);
    expect_wall(2, 0, 0, 0, 0, 32, -1, 0);
    expect_wall(3, WALL_BACKFACE, 0, 32, 0, 0, 1, 0);
}

TEST_F(Furnish, stone_is_drawn_x_then_y_and_lies_within_246) {
    for (unsigned seed = 1; seed < 50; ++seed) {
        reset_tables(seed);
        EXPECT_EQ(draws_of(seed, [] { EXPECT_EQ(scatter_stone(1), 1); }), 2);
        srandom(seed);
        const double x = (replay() - 0.5) * 492.0, y = (replay() - 0.5) * 492.0;
        EXPECT_EQ(ttl[0].pos[0].x, x);
        EXPECT_EQ(ttl[0].pos[0].y, y);
        EXPECT_EQ(ttl[0].flags, TTL_STONE | TTL_ALIVE);
    }
}

TEST_F(Furnish, stone_wants_25_to_turtles_and_walls) {
    srandom(6);
    const double x = (replay() - 0.5) * 492.0, y = (replay() - 0.5) * 492.0;
    for (const double gap : {24.999, 25.001}) {
        reset_tables(6);
        put_turtle(0, x + gap, y);
        scatter_stone(1);
        EXPECT_EQ(ttl[1].pos[0].x == x, gap > 25);
        reset_tables(6);
        put_wall_to_the_right(x + gap);
        scatter_stone(1);
        EXPECT_EQ(ttl[0].pos[0].x == x, gap > 25);
    }
}

TEST_F(Furnish, stone_at_exactly_25_from_a_turtle_or_a_wall_may_stay) {
    int exact = 0;
    for (unsigned seed = 1; seed < 20; ++seed) {
        srandom(seed);
        const double x = (replay() - 0.5) * 492.0, y = (replay() - 0.5) * 492.0;
        const double at = x + 25;
        if (std::sqrt((at - x) * (at - x)) != 25.0) continue; // rounded
        ++exact;
        reset_tables(seed);
        put_turtle(0, at, y);
        scatter_stone(1);
        EXPECT_EQ(ttl[1].pos[0].x, x);
        reset_tables(seed);
        put_wall_to_the_right(at);
        scatter_stone(1);
        EXPECT_EQ(ttl[0].pos[0].x, x);
    }
    EXPECT_GT(exact, 0);
}

TEST_F(Furnish, stone_tries_its_tenth_point_after_ten_failures) {
    put_grating(-270, 270); // no point is 25 from a wall
    EXPECT_EQ(draws_of(13, [] { EXPECT_EQ(scatter_stone(1), 1); }), 20);
    srandom(13);
    for (int k = 0; k < 18; ++k) (void)replay();
    EXPECT_EQ(ttl[0].pos[0].x, (replay() - 0.5) * 492.0);
    EXPECT_EQ(ttl[0].pos[0].y, (replay() - 0.5) * 492.0);
}

TEST_F(Furnish, stones_of_a_crowded_field_are_counted_though_refused) {
    for (int i = 0; i < 30; ++i) put_turtle(i, 1e6 + 100 * i, 0);
    EXPECT_EQ(scatter_stone(3), 3);
    for (const turtle_t& t : ttl) EXPECT_FALSE(has_any(t.flags, TTL_STONE));
    reset_tables(1);
    put_turtle(0, 0, 0);
    EXPECT_EQ(scatter_stone(0), 0);
    EXPECT_EQ(ntmax, 1);
}

TEST_F(Furnish, tenth_point_too_near_to_a_turtle_is_refused_silently) {
    srandom(13);
    for (int k = 0; k < 18; ++k) (void)replay();
    const double x = (replay() - 0.5) * 492.0, y = (replay() - 0.5) * 492.0;
    put_grating(-270, 270);
    put_turtle(0, x + 15, y);
    srandom(13);
    EXPECT_EQ(scatter_stone(1), 1);
    EXPECT_EQ(ntmax, 1);
}

// The maze computed a second time, from random() alone.
struct stick {
    int gx, gy, dx, dy;
};
static int plain_maze(stick* sticks, int* rejected) {
    bool carries[17][17] = {};
    int n = 0;
    for (int gy = 1; gy <= 15; ++gy)
        for (int gx = 1; gx <= 15; ++gx) {
            const int directions = gy == 1 ? 4 : 3;
            for (int tries = 0; tries < 6; ++tries) {
                static const int step[4][2] = {{-1, 0}, {1, 0}, {0, 1}, {0, -1}};
                const int* d = step[random() % directions];
                if (carries[gx][gy] && carries[gx + d[0]][gy + d[1]]) {
                    ++*rejected;
                    continue;
                }
                carries[gx][gy] = carries[gx + d[0]][gy + d[1]] = true;
                sticks[n++] = {gx, gy, d[0], d[1]};
                break;
            }
        }
    return n;
}

TEST_F(Furnish, maze_is_built_wall_by_wall_from_the_stream) {
    int rejected = 0;
    for (unsigned seed = 1; seed <= 30; ++seed) {
        reset_tables(seed);
        generate_maze();
        const long after = random();
        stick sticks[225];
        srandom(seed);
        const int n = plain_maze(sticks, &rejected);
        EXPECT_EQ(random(), after); // as many draws
        ASSERT_EQ(nwall, 2 * n);
        for (int k = 0; k < n; ++k) {
            const stick& s = sticks[k];
            const double x1 = -256 + 32 * s.gx, y1 = -256 + 32 * s.gy;
            const double x2 = x1 + 32 * s.dx, y2 = y1 + 32 * s.dy;
            expect_wall(2 * k, 0, x1, y1, x2, y2, -s.dy, s.dx);
            expect_wall(2 * k + 1, WALL_BACKFACE, x2, y2, x1, y1, s.dy, -s.dx);
        }
    }
    EXPECT_GT(rejected, 0); // some were rejected
}

TEST_F(Furnish, maze_ends_with_four_doughnuts_round_the_centre) {
    reset_wall();
    generate_maze();
    ASSERT_EQ(ntmax, 4);
    const double at[][2] = {{16, 16}, {-16, 16}, {16, -16}, {-16, -16}};
    for (size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(ttl[k].flags, TTL_DOUGHNUT | TTL_ALIVE);
        EXPECT_EQ(ttl[k].pos[0].x, at[k][0]);
        EXPECT_EQ(ttl[k].pos[0].y, at[k][1]);
    }
    EXPECT_LE(nwall, 458);
    EXPECT_GT(nwall, 8 + 2 * 150);
}

TEST_F(Furnish, second_maze_starts_from_bare_vertices) {
    reset_wall();
    generate_maze();
    reset_tables(2);
    generate_maze();
    const int first = nwall;
    reset_tables(2);
    generate_maze();
    EXPECT_EQ(nwall, first);
}
