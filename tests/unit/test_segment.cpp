// The four functions of plane geometry: both sides of each limit, degenerate directions, one-sidedness, and the results
// for an overlapping disc.
#include "geometry/segment.h"

#include "support.h"

struct HalfLine {
    double fx = -1, fy = -1, dist = -1;
    HalfLine(double x0, double y0, double x1, double y1, double px, double py) {
        dist_halfline_to_point(fx, fy, dist, x0, y0, x1, y1, px, py);
    }
};

TEST(Segment, no_distance_is_the_largest_single_precision_number) { EXPECT_EQ(NO_DISTANCE, 3.4028234663852886e38); }

TEST(Segment, half_line_measures_from_the_foot_which_is_not_clamped) {
    const HalfLine h(0, 0, 10, 0, 30, 4); // beyond the second point: t = 3
    EXPECT_EQ(h.fx, 30);
    EXPECT_EQ(h.fy, 0);
    EXPECT_EQ(h.dist, 4);
}

TEST(Segment, point_behind_the_half_line_gives_no_distance_but_a_foot) {
    const HalfLine h(0, 0, 10, 0, -5, 3);
    EXPECT_EQ(h.dist, NO_DISTANCE);
    EXPECT_EQ(h.fx, -5);
    EXPECT_EQ(h.fy, 0);
}

TEST(Segment, point_beside_the_start_of_the_half_line_is_not_behind_it) {
    const HalfLine h(0, 0, 10, 0, 0, 3); // t = 0
    EXPECT_EQ(h.dist, 3);
    EXPECT_EQ(h.fx, 0);
}

TEST(Segment, half_line_shorter_than_the_limit_is_its_start) {
    const HalfLine degenerate(1, 1, 1.003, 1, 4, 5); // 0.003^2 = 9e-6 < 1e-5; (3, 4) away: 5
    EXPECT_EQ(degenerate.dist, 5);
    EXPECT_EQ(degenerate.fx, 1);
    EXPECT_EQ(degenerate.fy, 1);
    const HalfLine long_enough(0, 0, 0.0032, 0, 4, 5); // 1.024e-5: a direction
    EXPECT_NEAR(long_enough.dist, 5, NEAR);
    EXPECT_NEAR(long_enough.fx, 4, NEAR);
}

TEST(Segment, degenerate_half_line_has_no_behind) {
    const HalfLine h(0, 0, 0, 0, -3, -4);
    EXPECT_EQ(h.dist, 5);
}

TEST(Segment, segment_distance_is_clamped_to_both_ends) {
    EXPECT_EQ(dist_lineseg_to_point(0, 0, 10, 0, 5, 7), 7);
    EXPECT_EQ(dist_lineseg_to_point(0, 0, 10, 0, -3, 4), 5);
    EXPECT_EQ(dist_lineseg_to_point(0, 0, 10, 0, 13, -4), 5);
    EXPECT_EQ(dist_lineseg_to_point(0, 0, 10, 0, 0, 2), 2);
    EXPECT_EQ(dist_lineseg_to_point(0, 0, 10, 0, 10, 2), 2);
}

TEST(Segment, segment_with_equal_ends_is_a_point) {
    EXPECT_EQ(dist_lineseg_to_point(1, 1, 1, 1, 4, 5), 5);
    EXPECT_EQ(dist_lineseg_to_point(0, 0, 0.003, 0, 4, 3), 5); // below 1e-5, measured from the first end
}

TEST(Segment, ray_is_stopped_only_against_the_normal) {
    // Upright segment at x = 10, normal towards -x, ray along +x from the origin.
    EXPECT_NEAR(dist_to_lineseg(0, 0, 0, 10, -5, 10, 5, -1, 0), 10, NEAR);
    EXPECT_NEAR(dist_to_lineseg(0, 0, 0, 10, -5, 10, 5, -250, 0), 10, NEAR); // any length of normal
    EXPECT_EQ(dist_to_lineseg(0, 0, 0, 10, -5, 10, 5, 1, 0), NO_DISTANCE);
    EXPECT_EQ(dist_to_lineseg(0, 0, 0, 10, -5, 10, 5, 0, 1), NO_DISTANCE); // at right angles
}

TEST(Segment, ray_meets_the_ends_and_misses_beyond_them) {
    EXPECT_NEAR(dist_to_lineseg(0, 5, 0, 10, -5, 10, 5, -1, 0), 10, NEAR);
    EXPECT_NEAR(dist_to_lineseg(0, -5, 0, 10, -5, 10, 5, -1, 0), 10, NEAR);
    EXPECT_EQ(dist_to_lineseg(0, 5.001, 0, 10, -5, 10, 5, -1, 0), NO_DISTANCE);
    EXPECT_EQ(dist_to_lineseg(0, -5.001, 0, 10, -5, 10, 5, -1, 0), NO_DISTANCE);
}

TEST(Segment, ray_that_starts_behind_the_segment_misses) {
    EXPECT_EQ(dist_to_lineseg(11, 0, 0, 10, -5, 10, 5, -1, 0), NO_DISTANCE);
    EXPECT_EQ(dist_to_lineseg(10, 0, 0, 10, -5, 10, 5, -1, 0), 0); // u = 0 counts
}

TEST(Segment, disc_facing_a_long_wall_stops_its_radius_before_it) {
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 0, 30, -1000, 30, 1000, -1, 0), 20); // 30 ahead, radius 10
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 0, 30, -1000, 30, 1000, -7, 0), 20); // the normal is normalised
}

TEST(Segment, slanting_approach_loses_the_radius_over_the_cosine) {
    for (const double dir : {30.0, -30.0})
        EXPECT_NEAR(net_dist_to_lineseg(0, 0, dir, 30, -1000, 30, 1000, -1, 0), 20 / std::cos(PI / 6), NEAR); // 23.094
}

TEST(Segment, overlapping_disc_gets_a_negative_travel) {
    EXPECT_EQ(net_dist_to_lineseg(25, 0, 0, 30, -1000, 30, 1000, -1, 0), -5); // 5 before the face, radius 10
}

TEST(Segment, centre_on_or_beyond_the_face_is_not_stopped_by_it) {
    EXPECT_EQ(net_dist_to_lineseg(30, 0, 0, 30, -1000, 30, 1000, -1, 0), NO_DISTANCE); // u = 0
    EXPECT_EQ(net_dist_to_lineseg(31, 0, 0, 30, -1000, 30, 1000, -1, 0), NO_DISTANCE);
    EXPECT_LT(net_dist_to_lineseg(29.999, 0, 0, 30, -1000, 30, 1000, -1, 0), -9.99);
}

TEST(Segment, moving_along_or_away_from_a_face_is_free) {
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 0, 30, -1000, 30, 1000, 0, 1), NO_DISTANCE); // k = 0
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 0, 30, -1000, 30, 1000, 1, 0), NO_DISTANCE);
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 180, 30, -1000, 30, 1000, -1, 0), NO_DISTANCE);
    // Past a face along which the disc moves, its ends do not count either, however near they are to the path.
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 0, 30, -5, 60, -5, 0, 1), NO_DISTANCE);
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 0, 60, 5, 30, 5, 0, -1), NO_DISTANCE);
}

TEST(Segment, disc_passing_an_end_is_stopped_by_the_circle_round_it) {
    // Wall upwards from (30, 5): the centre line passes 5 below the end, contact where the offset along the line is
    // sqrt(100 - 25) = 8.660 before it.
    const double expected = 30 - std::sqrt(75.0);
    EXPECT_NEAR(net_dist_to_lineseg(0, 0, 0, 30, 5, 30, 100, -1, 0), expected, NEAR);
    EXPECT_NEAR(net_dist_to_lineseg(0, 0, 0, 30, 100, 30, 5, -1, 0), expected, NEAR); // ends swapped
}

TEST(Segment, disc_that_only_grazes_an_end_is_free) {
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 0, 30, 10, 30, 100, -1, 0), NO_DISTANCE); // discriminant 0
    EXPECT_EQ(net_dist_to_lineseg(0, 0, 0, 30, 10.001, 30, 100, -1, 0), NO_DISTANCE);
    EXPECT_NEAR(net_dist_to_lineseg(0, 0, 0, 30, 9.9, 30, 100, -1, 0), 30 - std::sqrt(100 - 9.9 * 9.9), NEAR);
}

TEST(Segment, disc_overlapping_an_end_gets_the_distance_to_leaving_its_circle) {
    // 5 before and 5 below the end: leaves the circle 5 + sqrt(75) on.
    EXPECT_NEAR(net_dist_to_lineseg(25, 0, 0, 30, 5, 30, 100, -1, 0), 5 + std::sqrt(75.0), NEAR);
}

TEST(Segment, disc_that_barely_meets_an_end_is_stopped_beside_it) {
    // It passes 9.99 beside the end, so it touches sqrt(100 - 9.99^2) before coming level with it.
    EXPECT_NEAR(net_dist_to_lineseg(-30, -9.99, 0, 0, 0, 0, 100, -1, 0), 30 - std::sqrt(100 - 9.99 * 9.99), NEAR);
}

TEST(Segment, disc_touching_an_end_exactly_is_let_through_its_circle) {
    // 6 before and 8 beside the end: exactly 10 away. The smaller root is 0, which is not ahead; the larger is 12.
    EXPECT_EQ(net_dist_to_lineseg(-6, -8, 0, 0, 0, 0, 100, -1, 0), 12);
    // 6 behind it and leaving: the larger root is 0, and nothing is ahead.
    EXPECT_EQ(net_dist_to_lineseg(6, -8, 0, 0, 0, 0, 100, -1, 0), NO_DISTANCE);
}

TEST(Segment, disc_beyond_both_roots_of_an_end_is_free) {
    EXPECT_EQ(net_dist_to_lineseg(50, 0, 0, 30, 5, 30, 100, -1, 0), NO_DISTANCE);
}

TEST(Segment, nearer_of_the_two_ends_decides) {
    // A short wall, nearly along the path: the heading runs against its normal, the touching point lies off its ends.
    // Wall from (40, 6) to (60, 6) faces down; heading 1 degree upwards from the origin; both ends are in reach.
    const double v = PI / 180;
    auto root = [&](double qx, double qy) {
        const double px = -qx, py = -qy, b = 2 * (std::cos(v) * px + std::sin(v) * py);
        return (-b - std::sqrt(b * b - 4 * (px * px + py * py - 100))) / 2;
    };
    EXPECT_NEAR(net_dist_to_lineseg(0, 0, 1, 40, 6, 60, 6, 0, -1), std::min(root(40, 6), root(60, 6)), 1e-6);
}

TEST(Segment, values_that_are_no_numbers_never_look_like_a_contact) {
    const double odd[] = {NOT_A_NUMBER, INF, -INF, 1e308, -1e308};
    for (const double v : odd) {
        double fx, fy, d;
        dist_halfline_to_point(fx, fy, d, v, 0, 1, v, 3, v);
        EXPECT_FALSE(d <= 20.0 && std::isnan(d));
        const double n = net_dist_to_lineseg(v, 0, 0, 30, -10, 30, 10, -1, 0);
        EXPECT_FALSE(n > 0 && n < 1) << v;
    }
}

// A wall of length 50 that slants by 3 : 4 : 5, seen from the lower right, and a heading straight at it.
struct SlantingWall : ::testing::Test {
    static constexpr double EX = 0.8, EY = 0.6; // its direction from (7, -3)
    static constexpr double NX = 0.6, NY = -0.8;
    const double straight = std::atan2(-NY, -NX) * 180 / PI;
    struct point {
        double x, y;
    };
    static point at(double along, double before) {
        return {7 + along * EX + before * NX, -3 + along * EY + before * NY};
    }
    double travel(double along, double before, double length_of_normal) const {
        const point p = at(along, before), end = at(50, 0);
        return net_dist_to_lineseg(p.x, p.y, straight, 7, -3, end.x, end.y, NX * length_of_normal,
                                   NY * length_of_normal);
    }
};

TEST_F(SlantingWall, disc_stops_its_radius_before_it_all_along) {
    for (const double along : {0.5, 5.0, 25.0, 45.0, 49.5}) EXPECT_NEAR(travel(along, 30, 1), 20, NEAR) << along;
    // 6 beyond an end: the circle round the end is met sqrt(100 - 36) = 8 before level.
    EXPECT_NEAR(travel(-6, 30, 1), 22, NEAR);
    EXPECT_NEAR(travel(56, 30, 1), 22, NEAR);
    EXPECT_EQ(travel(-10.5, 30, 1), NO_DISTANCE);
    EXPECT_EQ(travel(60.5, 30, 1), NO_DISTANCE);
}

TEST_F(SlantingWall, length_of_the_normal_does_not_matter_to_a_disc) {
    for (const double length : {0.001, 0.5, 5.0, 1000.0}) EXPECT_NEAR(travel(25, 30, length), 20, NEAR) << length;
    EXPECT_EQ(travel(25, 30, -5), NO_DISTANCE);
}

TEST_F(SlantingWall, ray_meets_it_from_the_front_only) {
    const point end = at(50, 0);
    for (const double along : {1.0, 25.0, 45.0, 49.0}) {
        for (const double before : {0.5, 10.0, 30.0, 300.0}) {
            const point p = at(along, before), behind = at(along, -before);
            EXPECT_NEAR(dist_to_lineseg(p.x, p.y, straight, 7, -3, end.x, end.y, NX, NY), before, NEAR);
            EXPECT_EQ(dist_to_lineseg(behind.x, behind.y, straight, 7, -3, end.x, end.y, NX, NY), NO_DISTANCE);
            EXPECT_EQ(dist_to_lineseg(p.x, p.y, straight, 7, -3, end.x, end.y, -NX, -NY), NO_DISTANCE);
        }
    }
    for (const double along : {-0.5, 50.5}) {
        const point p = at(along, 10);
        EXPECT_EQ(dist_to_lineseg(p.x, p.y, straight, 7, -3, end.x, end.y, NX, NY), NO_DISTANCE);
    }
}

TEST_F(SlantingWall, point_is_measured_to_it_or_to_its_ends) {
    const point end = at(50, 0);
    struct row {
        double along, before, distance;
    };
    for (const row& r : {row{25, 30, 30}, {25, -30, 30}, {1, 2, 2}, {-3, 4, 5}, {53, -4, 5}, {-12, 0, 12}}) {
        const point p = at(r.along, r.before);
        EXPECT_NEAR(dist_lineseg_to_point(7, -3, end.x, end.y, p.x, p.y), r.distance, NEAR);
    }
}

TEST_F(SlantingWall, half_line_along_it_has_its_foot_on_it) {
    const point through = at(50, 0);
    double foot_x = 0, foot_y = 0, dist = 0;
    for (const double along : {3.0, 25.0, 80.0}) {
        const point p = at(along, 14), foot = at(along, 0);
        dist_halfline_to_point(foot_x, foot_y, dist, 7, -3, through.x, through.y, p.x, p.y);
        EXPECT_NEAR(foot_x, foot.x, NEAR);
        EXPECT_NEAR(foot_y, foot.y, NEAR);
        EXPECT_NEAR(dist, 14, NEAR);
    }
}
