// The grid over the walls gives the same answers as a scan of every wall, bit for bit.
#include "field/wall_map.h"

#include "game/furnish.h"
#include "geometry/collision.h"
#include "geometry/segment.h"
#include "support.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <random>

namespace {

// --- scans of every wall ---

double plain_travel(const pose_t& from, double heading, const wall_t& w) {
    return net_dist_to_lineseg(from.x, from.y, heading, w.x1, w.y1, w.x2, w.y2, w.nx, w.ny);
}

double plain_travel_to_wall(const pose_t& from) {
    double best = NO_DISTANCE;
    for (int k = 0; k < nwall; ++k) best = std::min(best, plain_travel(from, from.dir, walls[k]));
    return best;
}

bool plain_wall_in_step(const pose_t& from, double step) {
    const double heading = step < 0.0 ? from.dir + 180.0 : from.dir;
    double best = NO_DISTANCE;
    for (int k = 0; k < nwall; ++k) {
        const wall_t& w = walls[k];
        const double half = std::hypot(w.x2 - w.x1, w.y2 - w.y1) / 2.0;
        const double to_middle = std::hypot(from.x - (w.x1 + w.x2) / 2.0, from.y - (w.y1 + w.y2) / 2.0);
        if (std::fabs(step) + (half + BODY_RADIUS) > to_middle) best = std::min(best, plain_travel(from, heading, w));
    }
    return std::fabs(step) > best;
}

// --- walls, places and headings that are likely to go wrong ---

class WallMap : public testing::Test {
protected:
    void SetUp() override { reset_tables(); }

    std::mt19937 dice{7};
    double in(double low, double high) { return std::uniform_real_distribution<double>(low, high)(dice); }
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(dice); }

    void lay_short_wall() {
        const double x = in(-270, 270), y = in(-270, 270), length = pick(4) == 0 ? in(0, 33) : 32.0;
        const int sign = pick(2) == 0 ? 1 : -1;
        if (pick(2) == 0) {
            setup_wall(0, x, y, x + length, y, 0, sign * (pick(3) == 0 ? 0.5 : 1.0));
        } else {
            setup_wall(0, x, y, x, y + length, sign, 0);
        }
    }

    void lay_any_wall() {
        const double x = in(-300, 300), y = in(-300, 300), bend = in(0, 6.3);
        const double length = pick(3) == 0 ? in(0, 500) : in(0, 40);
        const double ex = x + length * std::cos(bend), ey = y + length * std::sin(bend);
        // Every tenth normal stands askew, as a caller may set it.
        const double turn = pick(10) == 0 ? in(0, 6.3) : bend + PI / 2.0;
        setup_wall(0, x, y, ex, ey, std::cos(turn), std::sin(turn));
    }

    void furnish(int kind) {
        reset_tables(static_cast<unsigned>(kind) + 1);
        reset_wall();
        if (kind % 3 == 0) {
            generate_maze();
        } else {
            for (int k = 0; k < 150; ++k) lay_short_wall();
            if (kind % 3 == 2)
                for (int k = 0; k < 60; ++k) lay_any_wall();
        }
    }

    // Often on the lines of the walls, or a body's radius beside them.
    double coordinate() {
        switch (pick(6)) {
        case 0:
            return -256.0 + 32.0 * pick(17);
        case 1:
            return -256.0 + 32.0 * pick(17) + (pick(2) == 0 ? 10.0 : -10.0);
        case 2:
            return -256.0 + 32.0 * pick(17) + in(-10.5, 10.5);
        case 3: {
            const wall_t& w = walls[pick(nwall)];
            return (pick(2) == 0 ? w.x1 : w.y1) + (pick(2) == 0 ? in(-11, 11) : 10.0);
        }
        case 4:
            return in(-300, 300);
        default:
            return in(-256, 256);
        }
    }

    double heading() {
        const double straight = 45.0 * (pick(17) - 8);
        switch (pick(5)) {
        case 0:
            return straight;
        case 1:
            return straight + in(-1e-6, 1e-6);
        case 2:
            return straight + in(-3, 3);
        case 3:
            return straight + (pick(2) == 0 ? 1e-12 : -1e-9);
        default:
            return in(-720, 720);
        }
    }

    pose_t pose() { return {.x = coordinate(), .y = coordinate(), .dir = heading()}; }

    double length() {
        static constexpr double LENGTHS[] = {0.0, 0.15, 2.0, 5.0, 10.0, 20.0, 25.0, 32.0, 100.0, 700.0, 5e3, 1e300};
        const double a = LENGTHS[pick(12)];
        return pick(3) == 0 ? a * in(0, 1) : a;
    }
};

TEST_F(WallMap, least_travel_below_a_limit_is_that_of_all_walls_bit_for_bit) {
    int far_behind = 0;
    for (int kind = 0; kind < 12; ++kind) {
        furnish(kind);
        for (int k = 0; k < 4000; ++k) {
            const pose_t from = pose();
            const double limit = length();
            const double plain = plain_travel_to_wall(from);
            const double found = travel_to_wall(from, limit);
            if (plain < -50.0) ++far_behind;
            if (plain < limit) {
                ASSERT_EQ(std::bit_cast<uint64_t>(found), std::bit_cast<uint64_t>(plain))
                    << from.x << ' ' << from.y << ' ' << from.dir << " limit " << limit << ": " << found << ' '
                    << plain;
            } else {
                ASSERT_GE(found, limit) << from.x << ' ' << from.y << ' ' << from.dir;
            }
        }
    }
    EXPECT_GT(far_behind, 100); // the case that a scan of near walls alone gets wrong
}

TEST_F(WallMap, steps_are_stopped_as_by_a_scan_of_all_walls) {
    int stopped = 0;
    for (int kind = 0; kind < 12; ++kind) {
        furnish(kind);
        for (int k = 0; k < 4000; ++k) {
            const pose_t from = pose();
            const double step = pick(2) == 0 ? length() : -length();
            const bool plain = plain_wall_in_step(from, step);
            stopped += plain ? 1 : 0;
            ASSERT_EQ(is_wall_in_step(from, step), plain) << from.x << ' ' << from.y << ' ' << from.dir << ' ' << step;
        }
    }
    EXPECT_GT(stopped, 1000);
}

TEST_F(WallMap, a_wall_is_within_a_limit_when_the_nearest_of_all_is) {
    int within = 0;
    int beyond = 0;
    for (int kind = 0; kind < 12; ++kind) {
        furnish(kind);
        for (int k = 0; k < 4000; ++k) {
            const double x = coordinate();
            const double y = coordinate();
            const double limit = length();
            const bool plain = dist_to_wall_from(x, y) < limit;
            (plain ? within : beyond)++;
            ASSERT_EQ(is_wall_within(x, y, limit), plain) << x << ' ' << y << ' ' << limit;
        }
    }
    EXPECT_GT(within, 1000);
    EXPECT_GT(beyond, 1000);
}

TEST_F(WallMap, places_and_limits_that_are_far_out_or_nan_scan_all_walls) {
    furnish(0);
    for (const double odd : {NOT_A_NUMBER, INF, -INF, 1e300, -1e300, 1001.0}) {
        EXPECT_EQ(is_wall_within(odd, 0, 20), dist_to_wall_from(odd, 0) < 20) << odd;
        EXPECT_EQ(is_wall_within(0, odd, 20), dist_to_wall_from(0, odd) < 20) << odd;
        EXPECT_EQ(is_wall_within(0, 0, odd), dist_to_wall_from(0, 0) < odd) << odd;
        EXPECT_EQ(is_wall_in_step({odd, 0, 0}, 2), plain_wall_in_step({odd, 0, 0}, 2)) << odd;
        EXPECT_EQ(is_wall_in_step({5, 5, 0}, odd), plain_wall_in_step({5, 5, 0}, odd)) << odd;
        EXPECT_EQ(travel_to_wall({odd, 3, 20}, 1e300), plain_travel_to_wall({odd, 3, 20})) << odd;
        EXPECT_EQ(travel_to_wall({3, 3, odd}, 1e300), plain_travel_to_wall({3, 3, odd})) << odd;
    }
}

TEST_F(WallMap, a_reset_table_forgets_the_walls_before) {
    furnish(0);
    nwall = 0;
    EXPECT_FALSE(is_wall_within(0, 0, 1e6));
    setup_wall(0, 0, 50, 10, 50, 0, -1);
    wall_list_t near;
    list_walls_near(near, 5, 40, 20);
    EXPECT_EQ(near.count, 1U);
    EXPECT_TRUE(is_wall_within(5, 40, 11));
    EXPECT_FALSE(is_wall_within(5, 40, 10));
}

TEST_F(WallMap, a_full_table_fits_into_one_list_of_both_kinds) {
    while (nwall < WALL_MAX) lay_any_wall();
    wall_list_t list;
    list_walls_near(list, 0, 0, 5000);
    list_walls_in_line(list, 0, 0, 5000);
    EXPECT_EQ(list.count, size_t{2} * WALL_MAX);
}

TEST_F(WallMap, few_walls_of_a_maze_are_near_a_place) {
    furnish(0);
    ASSERT_GT(nwall, 400);
    wall_list_t list;
    list_walls_near(list, 3, 3, 20);
    EXPECT_LT(list.count, 70U);
}

} // namespace
