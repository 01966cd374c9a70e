// Strokes as lists of dots: what each routine stamps, in which order, where and how wide.
// Most strokes here are thin for their length, so that they have 512 steps: 1/512 is exact in binary, the running sum
// meets 1 exactly, dot k lies at t = k / 512, and there are 513 dots.
#include "brush/model.h"
#include "brush/strokes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double ROUNDING = 1e-9; // field units
constexpr double HALF_ROOT2 = 0.70710678118654752;

struct stamped {
    double x, y, size, r, g, b;
    bool operator==(const stamped&) const = default;
};
using row = std::vector<stamped>;

row recorded;

void record_dot(double x, double y, double size, double r, double g, double b) {
    recorded.push_back({x, y, size, r, g, b});
}

// The dots that `draw` stamps.
template <typename Draw> row dots_of(Draw draw) {
    recorded.clear();
    stamp_dot = record_dot;
    draw();
    stamp_dot = nullptr;
    return recorded;
}

row operator+(row a, const row& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct pt {
    double x, y, w;
};

// Shorter calls; the three values of the colour differ from all other numbers here.
row line(int last, pt a, pt b) {
    return dots_of([&] { brushLine(last, a.x, a.y, a.w, b.x, b.y, b.w, 0.25, 0.5, 0.75); });
}
row curve3(pt a, pt b, pt c) {
    return dots_of([&] { drawCurve3(a.x, a.y, a.w, b.x, b.y, b.w, c.x, c.y, c.w, 0.25, 0.5, 0.75); });
}
row last_curve3(pt a, pt b, pt c) {
    return dots_of([&] { drawCurve3asLastStroke(a.x, a.y, a.w, b.x, b.y, b.w, c.x, c.y, c.w, 0.25, 0.5, 0.75); });
}
row curve4(pt a, pt b, pt c, pt d) {
    return dots_of([&] { drawCurve4(a.x, a.y, a.w, b.x, b.y, b.w, c.x, c.y, c.w, d.x, d.y, d.w, 0.25, 0.5, 0.75); });
}
row line2(pt a, pt b, pt c) {
    return dots_of([&] { brushLine2(a.x, a.y, a.w, b.x, b.y, b.w, c.x, c.y, c.w, 0.25, 0.5, 0.75); });
}
row line3(pt a, pt b, pt c, pt d) {
    return dots_of([&] { brushLine3(a.x, a.y, a.w, b.x, b.y, b.w, c.x, c.y, c.w, d.x, d.y, d.w, 0.25, 0.5, 0.75); });
}
row one_dot(pt p) { return {{p.x, p.y, p.w, 0.25, 0.5, 0.75}}; }

// The point at distance `len` from `from` in direction `degrees`.
pt onward(pt from, double degrees, double len, double w) {
    const double a = degrees * M_PI / 180.0;
    return {from.x + len * std::cos(a), from.y + len * std::sin(a), w};
}

void expect_dot(const stamped& d, double x, double y, double size) {
    EXPECT_NEAR(d.x, x, ROUNDING);
    EXPECT_NEAR(d.y, y, ROUNDING);
    EXPECT_NEAR(d.size, size, ROUNDING);
}

// A straight row from a to b whose dots advance evenly.
void expect_even(const row& dots, pt a, pt b) {
    ASSERT_EQ(dots.size(), 513u);
    for (int i = 0; i <= 512; ++i) {
        const double t = i / 512.0;
        EXPECT_NEAR(dots[i].x, a.x + (b.x - a.x) * t, ROUNDING) << i;
        EXPECT_NEAR(dots[i].y, a.y + (b.y - a.y) * t, ROUNDING) << i;
    }
}

// ------------------------------------------------------------------ the seam and the spacing

TEST(stamp_dot, strokes_without_a_receiver_draw_nothing) {
    const auto draw = [] {
        brushLine(0, 0, 0, 5, 100, 0, 5, 1, 1, 1);
        brushLine3(0, 0, 5, 100, 0, 5, 200, 0, 5, 300, 0, 5, 1, 1, 1);
    };
    EXPECT_GT(dots_of(draw).size(), 500U);
    recorded.clear();
    draw(); // dots_of has taken the receiver away again
    EXPECT_TRUE(recorded.empty());
}

TEST(stamp_dot, every_dot_carries_the_stroke_s_colour) {
    for (const stamped& d : line(0, {0, 0, 5}, {100, 50, 9})) {
        EXPECT_EQ(d.r, 0.25);
        EXPECT_EQ(d.g, 0.5);
        EXPECT_EQ(d.b, 0.75);
    }
}

TEST(dot_spacing, of_length_10_and_width_10_has_twenty_steps) {
    // trunc(10 / (10.01 / 20)) + 1 = trunc(19.98) + 1 = 20.
    const row dots = line(0, {0, 0, 10}, {10, 0, 10});
    ASSERT_GE(dots.size(), 20u);
    ASSERT_LE(dots.size(), 21u);
    double t = 0.0;
    for (const stamped& d : dots) {
        EXPECT_EQ(d.x, 10 * t);
        t += 1.0 / 20;
    }
    EXPECT_GT(t, 1.0); // and not one dot fewer than the running sum allows
}

TEST(dot_spacing, running_sum_may_end_short_of_the_end_or_leave_the_last_dot_out) {
    // Ten steps: trunc(10 / (21.01 / 20)) + 1 = 9 + 1. Ten times 0.1 adds up to 0.9999999999999999 in doubles, so the
    // eleventh dot exists, just before the end.
    const row ten = line(0, {0, 0, 21}, {10, 0, 21});
    ASSERT_EQ(ten.size(), 11u);
    EXPECT_EQ(ten.back().x, 10 * 0.9999999999999999);
    // Four steps: 1/4 is exact and the last dot meets the end. trunc(4 / (20.01 / 20)) + 1 = 3 + 1.
    const row four = line(0, {0, 0, 20}, {4, 0, 20});
    ASSERT_EQ(four.size(), 5u);
    EXPECT_EQ(four.back().x, 4.0);
    // Some count overshoots: the sum of its n steps lies above 1 and the row ends a whole step early.
    bool overshoots = false;
    for (int n = 2; n < 200 && !overshoots; ++n) {
        double t = 0.0;
        for (int i = 0; i < n; ++i) t += 1.0 / n;
        if (t <= 1.0) continue;
        overshoots = true;
        // Width 19.99 makes the spacing 1: length n - 0.5 takes trunc(n - 0.5) + 1 = n steps. Downward, because a long
        // row to the right would be waisted.
        const row dots = line(0, {0, 0, 19.99}, {0, -(n - 0.5), 19.99});
        EXPECT_EQ(dots.size(), static_cast<std::size_t>(n));
        EXPECT_NEAR(dots.back().y, -(n - 0.5) * (n - 1) / n, ROUNDING);
    }
    EXPECT_TRUE(overshoots);
}

TEST(dot_spacing, never_takes_more_than_512_steps) {
    // 100 / (2.01 / 20) = 995.02: 996 steps, limited to 512.
    const row dots = line(0, {0, 0, 2}, {100, 0, 2});
    ASSERT_EQ(dots.size(), 513u);
    EXPECT_EQ(dots[1].x - dots[0].x, 100 / 512.0);
    EXPECT_EQ(dots.back().x, 100.0);
    // 511 steps are below the limit: 510.5 spacings of (19.99 + 0.01) / 20 = 1.
    const row below = line(0, {0, 0, 19.99}, {0, -510.5, 19.99});
    EXPECT_NEAR(below[1].y, -510.5 / 511, ROUNDING);
}

TEST(dot_spacing, exists_for_a_width_of_zero) {
    // 0.01 / 20 = 0.0005 apart: 10 units take 20001 steps, limited to 512.
    const row dots = line(0, {0, 0, 0}, {10, 0, 0});
    EXPECT_EQ(dots.size(), 513u);
    for (const stamped& d : dots) EXPECT_EQ(d.size, 0.0);
}

TEST(dot_spacing, of_a_negative_width_is_that_of_its_absolute_value) {
    const row plus = line(0, {0, 0, 7}, {-30, 0, 7}), minus = line(0, {0, 0, -7}, {-30, 0, -7});
    ASSERT_EQ(plus.size(), minus.size());
    for (std::size_t i = 0; i < plus.size(); ++i) {
        EXPECT_EQ(plus[i].x, minus[i].x);
        EXPECT_EQ(minus[i].size, -plus[i].size); // raised to the least size when it is drawn
    }
}

TEST(dot_spacing, of_a_stroke_far_wider_than_long_is_one_step) {
    // 10 / (1000.01 / 20) = 0.2: one step, dots at the start and at the end.
    const row dots = line(0, {0, 0, 1000}, {-10, 0, 1000});
    ASSERT_EQ(dots.size(), 2u);
    EXPECT_EQ(dots[0].x, 0.0);
    EXPECT_EQ(dots[1].x, -10.0);
}

// ------------------------------------------------------------------ values that are not finite, or huge

TEST(hostile_values, dots_without_a_finite_place_or_size_are_left_out) {
    for (const double v : {NOT_A_NUMBER, INFINITE, -INFINITE}) {
        EXPECT_EQ(line(0, {v, 0, 5}, {100, 0, 5}), row{});
        EXPECT_EQ(line(0, {0, 0, 5}, {100, v, 5}), row{});
        EXPECT_EQ(line(0, {0, 0, v}, {100, 0, v}), row{});
        EXPECT_EQ(line(0, {0, 0, v}, {0.5, 0, 5}), row{}); // a single dot too
    }
    // An infinite width at the far end only: at t = 0 it is 0 * infinity, which is NaN, and beyond that infinite.
    EXPECT_EQ(line(0, {0, 0, 5}, {100, 0, INFINITE}), row{});
}

TEST(hostile_values, every_routine_ends_with_at_most_513_finite_dots_a_row) {
    const double odd[] = {NOT_A_NUMBER, INFINITE, -INFINITE, 1e308, -1e308, 1e155, 1e-308, 0.0, -0.0, 1.0};
    for (const double a : odd)
        for (const double b : odd)
            for (const double w : odd) {
                const pt p0{a, b, w}, p1{b, 1, a}, p2{w, a, 2}, p3{1, w, b};
                // line3 draws three rows and a dot at most.
                for (const row& dots : {line(0, p0, p1), line(1, p0, p1), curve3(p0, p1, p2), last_curve3(p0, p1, p2),
                                        curve4(p0, p1, p2, p3)}) {
                    ASSERT_LE(dots.size(), 513u);
                    for (const stamped& d : dots) ASSERT_TRUE(std::isfinite(d.x + 0 * d.y + 0 * d.size));
                }
                ASSERT_LE(line2(p0, p1, p2).size(), 2 * 513u);
                ASSERT_LE(line3(p0, p1, p2, p3).size(), 3 * 513u);
            }
}

TEST(hostile_values, an_infinite_length_still_ends) {
    // The length overflows to infinity; the places themselves are finite.
    const row dots = line(0, {0, 0, 1}, {1e200, 0, 1});
    EXPECT_EQ(dots.size(), 513u);
    EXPECT_EQ(dots.back().x, 1e200);
}

// ------------------------------------------------------------------ brushLine

TEST(brush_line, shorter_than_1_1_is_one_dot_at_its_start) {
    for (const double w1 : {0.0, 5.0, 500.0}) {
        EXPECT_EQ(line(0, {3, 4, 6}, {4, 4, w1}), one_dot({3, 4, 6}));
        EXPECT_EQ(line(1, {3, 4, 6}, {3, 4, w1}), one_dot({3, 4, 6}));
    }
    EXPECT_EQ(line(0, {0, 0, 6}, {std::nextafter(1.1, 0.0), 0, 6}).size(), 1u);
}

TEST(brush_line, of_length_1_1_is_a_row) {
    // 1.1 / (0.2 / 20) = 110 spacings.
    EXPECT_GT(line(0, {0, 0, 0.19}, {1.1, 0, 0.19}).size(), 100u);
}

TEST(brush_line, width_runs_linearly_under_the_profile) {
    // To the left inside a track: uniform. 100 long and 2 wide has 512 steps.
    const row dots = line(0, {100, 10, 2}, {0, 10, 6});
    ASSERT_EQ(dots.size(), 513u);
    expect_dot(dots[0], 100, 10, 2);
    expect_dot(dots[128], 75, 10, 3); // a quarter of the way from 2 to 6
    expect_dot(dots[512], 0, 10, 6);
}

TEST(brush_line, long_and_rightward_inside_a_track_is_waisted) {
    const row dots = line(0, {0, 0, 2}, {100, 0, 2});
    ASSERT_EQ(dots.size(), 513u);
    EXPECT_NEAR(dots[0].size, 2 * 0.86, ROUNDING);    // 1 - 0.7 * 0.2
    EXPECT_NEAR(dots[256].size, 2 * 0.755, ROUNDING); // 1 - 0.5 * 0.7 * 0.7
    EXPECT_NEAR(dots[512].size, 2, ROUNDING);
    // 40 long and 10 wide: the ratio is 4, not above.
    for (const stamped& d : line(0, {0, 0, 10}, {40, 0, 10})) EXPECT_NEAR(d.size, 10, ROUNDING);
}

TEST(brush_line, as_last_stroke_takes_the_profile_of_its_direction) {
    struct {
        double degrees, factor;
    } const rows[] = {
        {10, 0.75},   // right: 1 - t at t = 1/4
        {45, 0.5},    // steeply up: 1 - sqrt(1/4)
        {135, 0.5},   // up to the left, the same
        {-45, 0.75},  // down to the right: 1 - t, without the flick of a curve
        {-90, 0.875}, // straight down: 1 - (1/4)^1.5
        {-135, 0.875},
    };
    for (const auto& r : rows) {
        const row dots = line(1, {0, 0, 2}, onward({0, 0, 0}, r.degrees, 100, 2));
        ASSERT_EQ(dots.size(), 513u) << r.degrees;
        EXPECT_NEAR(dots[0].size, 2, ROUNDING) << r.degrees;
        EXPECT_NEAR(dots[128].size, 2 * r.factor, ROUNDING) << r.degrees;
        EXPECT_NEAR(dots[512].size, 0, ROUNDING) << r.degrees;
    }
}

TEST(brush_line, never_bends_sideways) { expect_even(line(1, {0, 0, 2}, {100, -100, 2}), {0, 0, 2}, {100, -100, 2}); }

// ------------------------------------------------------------------ drawCurve3

TEST(curve3, of_collinear_points_is_a_straight_row_with_no_profile) {
    const row dots = curve3({0, 0, 2}, {100, 0, 6}, {150, 0, 9});
    expect_even(dots, {0, 0, 2}, {100, 0, 6});
    // The middle width is the mean, which makes the quadratic law linear.
    EXPECT_NEAR(dots[128].size, 3, ROUNDING);
    EXPECT_NEAR(dots[512].size, 6, ROUNDING);
}

TEST(curve3, arrives_along_the_next_segment) {
    // Next segment at 45 degrees: the control point is 25 (a quarter of 100) back from p1 along it.
    const row dots = curve3({0, 0, 2}, {100, 0, 2}, {130, 30, 2});
    ASSERT_EQ(dots.size(), 513u);
    const double qx = 100 - 25 * HALF_ROOT2, qy = -25 * HALF_ROOT2;
    expect_dot(dots[0], 0, 0, 2);
    expect_dot(dots[256], qx / 2 + 25, qy / 2, 2);                       // 1/4 p0 + 1/2 q + 1/4 p1
    expect_dot(dots[128], 6 / 16.0 * qx + 100 / 16.0, 6 / 16.0 * qy, 2); // 9/16 p0 + 6/16 q + 1/16 p1
    expect_dot(dots[512], 100, 0, 2);
}

TEST(curve3, length_of_the_next_segment_does_not_matter) {
    const row near = curve3({0, 0, 2}, {100, 0, 2}, {101, 1, 2}), far = curve3({0, 0, 2}, {100, 0, 2}, {900, 800, 2});
    ASSERT_EQ(near.size(), far.size());
    for (std::size_t i = 0; i < near.size(); ++i) expect_dot(near[i], far[i].x, far[i].y, far[i].size);
}

TEST(curve3, a_corner_becomes_a_straight_line) {
    const pt p0{0, 0, 2}, p1{100, 0, 6};
    EXPECT_EQ(curve3(p0, p1, {100, 50, 2}), line(0, p0, p1)); // right angle
    EXPECT_EQ(curve3(p0, p1, {0, 0, 2}), line(0, p0, p1));    // turning back
    // cos 73 = 0.292 is below 0.3, cos 72 = 0.309 above.
    EXPECT_EQ(curve3(p0, p1, onward(p1, 73, 50, 2)), line(0, p0, p1));
    EXPECT_NE(curve3(p0, p1, onward(p1, 72, 50, 2)), line(0, p0, p1));
}

TEST(curve3, a_turn_of_a_few_degrees_is_ignored) {
    // cos 8 = 0.9903 is above 0.99, cos 8.2 = 0.9898 below.
    const pt p0{0, 0, 2}, p1{100, 0, 2};
    expect_even(curve3(p0, p1, onward(p1, 8, 50, 2)), p0, p1);
    EXPECT_LT(curve3(p0, p1, onward(p1, 8.2, 50, 2))[256].y, -1.0); // half of 25 sin 8.2 = 3.57
}

TEST(curve3, last_width_is_not_used) {
    EXPECT_EQ(curve3({0, 0, 2}, {100, 0, 6}, {130, 30, 1}), curve3({0, 0, 2}, {100, 0, 6}, {130, 30, NOT_A_NUMBER}));
}

TEST(curve3, spacing_follows_the_first_width_and_the_drawn_length) {
    // 50 / (20 / 20) = 50: 51 steps, whatever the other width and segment. Before a neighbour at a slant.
    const row dots = curve3({0, 0, 19.99}, {50, 0, 500}, {999, 999, 1});
    EXPECT_GE(dots.size(), 51u);
    EXPECT_LE(dots.size(), 52u);
}

// ------------------------------------------------------------------ drawCurve3asLastStroke

TEST(last_curve3, leaves_along_the_segment_before) {
    // Before it the brush came level; the stroke goes 100 at 45 degrees: control point 25 beyond p1.
    const pt p1{0, 0, 2}, p2 = onward(p1, 45, 100, 2);
    const row dots = last_curve3({-30, 0, 2}, p1, p2);
    ASSERT_EQ(dots.size(), 513u);
    expect_dot(dots[0], 0, 0, 2);
    expect_dot(dots[256], 12.5 + p2.x / 4, p2.y / 4, 2);
    expect_dot(dots[512], p2.x, p2.y, 2);
}

TEST(last_curve3, leaves_along_a_segment_of_any_slope) {
    // The segment before is (-30, 40), 50 long: a quarter of 100 along it is (-15, 20).
    const row dots = last_curve3({30, -40, 2}, {0, 0, 2}, {0, 100, 2});
    ASSERT_EQ(dots.size(), 513u);
    expect_dot(dots[256], -7.5, 10 + 25, 2); // half of the control point and a quarter of the end
}

TEST(last_curve3, of_a_straight_run_steps_back_first) {
    // The control point is the middle of the segment before, x = 50: at t = 1/2 the dot lies at 25 + 25 + 30 = 80,
    // behind the 100 it started from.
    const row dots = last_curve3({0, 0, 2}, {100, 0, 2}, {120, 0, 2});
    EXPECT_NEAR(dots.front().x, 100, ROUNDING);
    // 20 / (2.01 / 20) = 199.004: 200 steps; dot 100 is half-way.
    expect_dot(dots[100], 80, 0, 2);
    EXPECT_LT(dots[1].x, 100);
}

TEST(last_curve3, middle_width_is_the_mean_of_the_two_before) {
    // 1/4 * 4 + 1/2 * (2 + 4) / 2 + 1/4 * 10 = 5; with the mean of 4 and 10 it would be 7.
    const row dots = last_curve3({-30, 0, 2}, {0, 0, 4}, {80, 80, 10});
    ASSERT_EQ(dots.size(), 513u);
    EXPECT_NEAR(dots[256].size, 5, ROUNDING);
    EXPECT_NEAR(dots[512].size, 10, ROUNDING);
}

TEST(last_curve3, a_corner_becomes_a_straight_line_without_taper) {
    const pt p1{0, 0, 2}, p2{0, 100, 6};
    EXPECT_EQ(last_curve3({-30, 0, 2}, p1, p2), line(0, p1, p2));
    EXPECT_EQ(last_curve3({-30, 0, 2}, p1, onward(p1, 73, 100, 2)), line(0, p1, onward(p1, 73, 100, 2)));
    EXPECT_NE(last_curve3({-30, 0, 2}, p1, onward(p1, 72, 100, 2)), line(0, p1, onward(p1, 72, 100, 2)));
}

TEST(last_curve3, spacing_follows_the_middle_point_s_width) {
    // 50 / (20 / 20) = 50: 51 steps.
    const row dots = last_curve3({-900, 0, 1}, {0, 0, 19.99}, onward({0, 0, 0}, 30, 49.99, 500));
    EXPECT_GE(dots.size(), 50u);
    EXPECT_LE(dots.size(), 51u);
}

// ------------------------------------------------------------------ drawCurve4

TEST(curve4, meets_the_directions_of_both_neighbours) {
    // An arch: up at 45 degrees, level, down at 45. Tangents at p1 (200, 100) and at p2 (200, -100) meet at (50, 25).
    const row dots = curve4({-100, -100, 9}, {0, 0, 2}, {100, 0, 6}, {200, -100, 9});
    ASSERT_EQ(dots.size(), 513u);
    expect_dot(dots[0], 0, 0, 2);
    expect_dot(dots[256], 50, 12.5, 4);
    // 9/16 * 0 + 6/16 * (50, 25) + 1/16 * (100, 0); width a quarter of the way from 2 to 6
    expect_dot(dots[128], 25, 9.375, 3);
    expect_dot(dots[512], 100, 0, 6);
}

TEST(curve4, between_parallel_neighbours_is_straight) {
    // A step: level, slanted, level again. The outer segments are parallel, so no tangents are intersected.
    expect_even(curve4({-100, 0, 2}, {0, 0, 2}, {100, 50, 2}, {200, 50, 2}), {0, 0, 2}, {100, 50, 2});
    // cos 8 = 0.9903 still counts as parallel.
    const pt p2{100, 50, 2};
    expect_even(curve4({-100, 0, 2}, {0, 0, 2}, p2, onward(p2, 8, 100, 2)), {0, 0, 2}, p2);
    EXPECT_EQ(curve4({-100, 0, 2}, {0, 0, 2}, p2, onward(p2, 8, 100, 2)).size(), 513u);
}

TEST(curve4, with_a_corner_before_bends_only_towards_what_follows) {
    const pt p1{0, 0, 2}, p2{100, 0, 6}, p3{180, 80, 2};
    EXPECT_EQ(curve4({0, 90, 2}, p1, p2, p3), curve3(p1, p2, p3));   // right angle at p1
    EXPECT_EQ(curve4({100, 10, 2}, p1, p2, p3), curve3(p1, p2, p3)); // turning back
    // cos 85 = 0.087 is below 0.1, cos 84 = 0.105 above. p0 lies behind p1 seen along 85 or 84 degrees.
    EXPECT_EQ(curve4(onward(p1, 180 + 85, 50, 2), p1, p2, p3), curve3(p1, p2, p3));
    EXPECT_NE(curve4(onward(p1, 180 + 84, 50, 2), p1, p2, p3), curve3(p1, p2, p3));
}

TEST(curve4, with_a_corner_after_is_a_straight_line) {
    const pt p0{-80, -80, 2}, p1{0, 0, 2}, p2{100, 0, 6};
    EXPECT_EQ(curve4(p0, p1, p2, {100, 50, 2}), line(0, p1, p2));
    EXPECT_EQ(curve4(p0, p1, p2, onward(p2, 85, 50, 2)), line(0, p1, p2));
    EXPECT_NE(curve4(p0, p1, p2, onward(p2, 84, 50, 2)), line(0, p1, p2));
}

TEST(curve4, with_corners_on_both_sides_is_a_straight_line) {
    const pt p1{0, 0, 2}, p2{100, 0, 6};
    EXPECT_EQ(curve4({0, 50, 2}, p1, p2, {100, 50, 2}), line(0, p1, p2));
}

TEST(curve4, outer_widths_are_not_used) {
    const pt p1{0, 0, 2}, p2{100, 0, 6};
    EXPECT_EQ(curve4({-100, -100, 1}, p1, p2, {200, -100, 1}), curve4({-100, -100, 99}, p1, p2, {200, -100, 99}));
}

TEST(curve4, spacing_follows_the_width_at_its_start) {
    // 50 / (20 / 20) = 50: 51 steps.
    const row dots = curve4({-50, -50, 1}, {0, 0, 19.99}, {50, 0, 500}, {100, -50, 1});
    EXPECT_GE(dots.size(), 51u);
    EXPECT_LE(dots.size(), 52u);
}

TEST(curves, beside_a_segment_of_length_zero_stay_within_their_points) {
    // A turtle that stands still leaves equal neighbours in its track. What is drawn must lie between the points.
    const pt a{10, 10, 4}, b{60, 30, 4}, c{90, 90, 4};
    const pt same[][4] = {{a, a, b, c}, {a, b, b, c}, {a, b, c, c}, {a, a, a, b}, {a, a, b, b},
                          {a, b, b, b}, {a, a, a, a}, {a, b, a, a}, {a, a, b, a}, {a, b, b, a}};
    for (const auto& p : same) {
        row dots = curve3(p[0], p[1], p[2]) + last_curve3(p[0], p[1], p[2]) + curve4(p[0], p[1], p[2], p[3]) +
                   line2(p[0], p[1], p[2]) + line3(p[0], p[1], p[2], p[3]);
        for (const stamped& d : dots) {
            // A flick may bend away by its width.
            ASSERT_GE(d.x, 10 - 4.001);
            ASSERT_LE(d.x, 90 + 4.001);
            ASSERT_GE(d.y, 10 - 4.001);
            ASSERT_LE(d.y, 90 + 4.001);
        }
    }
}

TEST(curves, without_a_meeting_point_of_the_tangents_draw_nothing) {
    // p2 - p0 = (200, 100) and p3 - p1 = (400, 200) are parallel though the outer segments (100, 0) and (300, 100) are
    // not: the tangents meet at infinity.
    EXPECT_EQ(curve4({-100, 0, 2}, {0, 0, 2}, {100, 100, 2}, {400, 200, 2}), row{});
}

// ------------------------------------------------------------------ brushLine2

TEST(brush_line2, with_a_short_end_is_a_line_and_a_dot) {
    const pt p0{0, 0, 2}, p1{100, 0, 4}, p2{101, 0, 6};
    EXPECT_EQ(line2(p0, p1, p2), line(0, p0, p1) + one_dot(p2));
    EXPECT_EQ(line2(p0, p0, p0), one_dot(p0) + one_dot(p0)); // both short: the end decides
}

TEST(brush_line2, with_a_short_start_is_a_dot_and_a_last_stroke) {
    const pt p0{0, 0, 2}, p1{1, 0, 4}, p2{100, 0, 6};
    EXPECT_EQ(line2(p0, p1, p2), one_dot(p0) + line(1, p1, p2));
}

TEST(brush_line2, with_segments_of_length_1_1_is_a_curve) {
    const pt far{-100, 0, 2}, p{0, 0, 3}, near{1.1, 0, 4};
    EXPECT_NE(line2(far, p, near), line(0, far, p) + one_dot(near));
    EXPECT_NE(line2(p, near, {100, -1, 5}), one_dot(p) + line(1, near, {100, -1, 5}));
}

TEST(brush_line2, around_a_corner_is_two_straight_strokes) {
    const pt p0{0, 0, 2}, p1{100, 0, 4};
    EXPECT_EQ(line2(p0, p1, {20, 0, 6}), line(0, p0, p1) + line(1, p1, {20, 0, 6})); // turning back
    // Downward, so that direction alone would allow a curve: cos 61 = 0.485 is below 0.5, cos 59 = 0.515 above.
    const pt sharp = onward(p1, -61, 80, 6), wide = onward(p1, -59, 80, 6);
    EXPECT_EQ(line2(p0, p1, sharp), line(0, p0, p1) + line(1, p1, sharp));
    EXPECT_NE(line2(p0, p1, wide), line(0, p0, p1) + line(1, p1, wide));
}

TEST(brush_line2, ending_upward_is_two_straight_strokes) {
    const pt p0{0, 0, 2}, p1 = onward(p0, 40, 100, 4);
    for (const double degrees : {30.5, 45.0, 89.0, 95.0}) { // never more than 60 degrees from 40
        const pt p2 = onward(p1, degrees, 80, 6);
        EXPECT_EQ(line2(p0, p1, p2), line(0, p0, p1) + line(1, p1, p2)) << degrees;
    }
    const pt level = onward(p1, 29.5, 80, 6);
    EXPECT_NE(line2(p0, p1, level), line(0, p0, p1) + line(1, p1, level));
}

TEST(brush_line2, to_the_right_is_one_curve_with_a_linear_taper) {
    // From 30 degrees below level to level; 100 and 100 long, 2 wide: 512 steps. p1 is the control point.
    const pt p1{0, 0, 2}, p0 = onward(p1, 150, 100, 2), p2{100, 0, 2};
    const row dots = line2(p0, p1, p2);
    ASSERT_EQ(dots.size(), 513u);
    expect_dot(dots[0], p0.x, p0.y, 2);
    expect_dot(dots[256], p0.x / 4 + 25, p0.y / 4, 1); // cuts the corner; half the width is left
    expect_dot(dots[512], 100, 0, 0);
}

TEST(brush_line2, straight_down_takes_the_slow_taper) {
    const pt p0{0, 200, 2}, p1{0, 100, 2}, p2{0, 0, 2};
    const row dots = line2(p0, p1, p2);
    ASSERT_EQ(dots.size(), 513u);
    // t = 1/4: 9/16 * 200 + 6/16 * 100 = 150; 1 - (1/4)^1.5 = 0.875
    expect_dot(dots[128], 0, 150, 2 * 0.875);
    expect_dot(dots[512], 0, 0, 0);
}

TEST(brush_line2, down_to_the_right_is_a_flick_that_bends_up) {
    // All at -45 degrees; widths 2, 4, 6, so the width at t is 2 + 4 t.
    const pt p0{-100, 100, 2}, p1{0, 0, 4}, p2{100, -100, 6};
    const row dots = line2(p0, p1, p2);
    ASSERT_EQ(dots.size(), 513u);
    expect_dot(dots[0], -100, 100, 2);
    // t = 1/4: place -100 + 200 / 4; width 3 times e^0.425, no offset yet
    expect_dot(dots[128], -50, 50, 3 * std::exp(0.425));
    // t = 1/2: width 4, times the 2.2231 at which the fall starts
    EXPECT_NEAR(dots[256].size, 4 * 2.2231, 1e-3);
    EXPECT_NEAR(dots[256].y, 0, ROUNDING);
    // t = 3/4: width 5, offset half of it: -50 + 2.5
    EXPECT_NEAR(dots[384].x, 50, ROUNDING);
    EXPECT_NEAR(dots[384].y, -50 + 2.5, ROUNDING);
    // t = 1: a full width of 6 above the end, with no size left
    expect_dot(dots[512], 100, -100 + 6, 0);
}

TEST(brush_line2, spacing_covers_both_segments_with_the_first_width) {
    // (30 + 20.5) / (20 / 20) = 50.5: 51 steps.
    const row dots = line2({0, 0, 19.99}, {30, 0, 1}, {50.5, 0, 500});
    EXPECT_GE(dots.size(), 51u);
    EXPECT_LE(dots.size(), 52u);
}

// ------------------------------------------------------------------ brushLine3

TEST(brush_line3, with_a_short_end_closes_with_a_dot) {
    const pt p0{0, 0, 2}, p1{80, 0, 3}, p2{150, 30, 4}, p3{150, 31, 5};
    EXPECT_EQ(line3(p0, p1, p2, p3), curve3(p0, p1, p2) + last_curve3(p0, p1, p2) + one_dot(p3));
}

TEST(brush_line3, with_a_short_middle_dots_it_and_ends_in_a_last_stroke) {
    const pt p0{0, 0, 2}, p1{80, 0, 3}, p2{81, 0, 4}, p3{150, -31, 5};
    EXPECT_EQ(line3(p0, p1, p2, p3), curve3(p0, p1, p2) + one_dot(p1) + line(1, p2, p3));
}

TEST(brush_line3, with_segments_of_length_1_1_is_a_curve) {
    const pt p0{-100, 0, 2}, p1{-50, 0, 3}, p2{0, 0, 4}, near{1.1, 0, 5}, end{70, -3, 6};
    EXPECT_EQ(line3(p0, p1, p2, near), curve3(p0, p1, p2) + line2(p1, p2, near));
    EXPECT_EQ(line3(p0, p2, near, end), curve3(p0, p2, near) + line2(p2, near, end));
}

TEST(brush_line3, with_middle_and_end_short_goes_by_the_end) {
    const pt p0{0, 0, 2}, p1{80, 0, 3}, p2{81, 0, 4}, p3{81, 1, 5};
    EXPECT_EQ(line3(p0, p1, p2, p3), curve3(p0, p1, p2) + last_curve3(p0, p1, p2) + one_dot(p3));
}

TEST(brush_line3, around_a_corner_ends_in_a_straight_last_stroke) {
    const pt p0{0, 0, 2}, p1{80, 0, 3}, p2{150, -10, 4};
    const double heading = std::atan2(-10.0, 70.0) * 180 / M_PI;
    // Turning down by 61 degrees (cosine 0.485, below 0.5) and by 59 (0.515).
    const pt sharp = onward(p2, heading - 61, 70, 5), wide = onward(p2, heading - 59, 70, 5);
    EXPECT_EQ(line3(p0, p1, p2, sharp), curve3(p0, p1, p2) + last_curve3(p0, p1, p2) + line(1, p2, sharp));
    EXPECT_EQ(line3(p0, p1, p2, wide), curve3(p0, p1, p2) + line2(p1, p2, wide));
}

TEST(brush_line3, not_ending_upward_closes_with_one_tapered_curve) {
    const pt p0{0, 0, 2}, p1{80, 0, 3}, p2{150, -10, 4};
    for (const double degrees : {29.0, 0.0, -40.0}) {
        const pt p3 = onward(p2, degrees, 60, 5);
        EXPECT_EQ(line3(p0, p1, p2, p3), curve3(p0, p1, p2) + line2(p1, p2, p3)) << degrees;
    }
}

TEST(brush_line3, ending_upward_closes_with_a_stroke_of_the_end_point_s_width) {
    const pt p0{0, 0, 2}, p1{80, 0, 3}, p2 = onward(p1, 30, 70, 4), p3 = onward(p2, 45, 60, 9);
    const pt closing{p2.x, p2.y, 9}; // the width of p3, not the 4 of p2
    EXPECT_EQ(line3(p0, p1, p2, p3), curve3(p0, p1, p2) + last_curve3(p0, p1, p2) + line(1, closing, p3));
}

} // namespace
