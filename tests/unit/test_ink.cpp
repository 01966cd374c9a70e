// Which dots of a stroke are painted.
#include "brush/ink.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

namespace {

constexpr double UNBOUNDED = std::numeric_limits<double>::infinity();
constexpr double WINDOW = 512.0 * 512.0;

struct result_t {
    std::vector<ink_dot_t> dots;
    bool fills_all;
};

result_t bounded(std::vector<ink_dot_t> dots, double pixels) {
    const ink_t ink = bound_ink(dots, pixels);
    dots.resize(static_cast<size_t>(ink.count));
    return {dots, ink.fills_all};
}

// Pixels of the window, counted one centre at a time.
double pixels_filled(const std::vector<ink_dot_t>& dots) {
    double sum = 0;
    for (const ink_dot_t& d : dots) {
        int columns = 0, rows = 0;
        for (int k = 0; k < 512; ++k) {
            const double centre = k - 255.5;
            columns += centre > d.x - d.size / 2 && centre < d.x + d.size / 2;
            rows += centre > d.y - d.size / 2 && centre < d.y + d.size / 2;
        }
        sum += static_cast<double>(columns) * rows;
    }
    return sum;
}

} // namespace

TEST(Ink, stroke_within_its_bound_keeps_every_dot) {
    std::vector<ink_dot_t> row;
    for (int k = 0; k < 100; ++k) row.push_back({2.0 * k - 100, 0.5 * k, 40}); // 1600 pixels each
    const result_t r = bounded(row, 160000);
    EXPECT_FALSE(r.fills_all);
    ASSERT_EQ(r.dots.size(), 100U);
    for (size_t k = 0; k < 100; ++k) EXPECT_EQ(r.dots[k].x, row[k].x);
}

TEST(Ink, dots_wholly_outside_the_window_are_left_out) {
    // Dots of 10 (5 to each side) beyond the edge at 256, on each side; exactly at the edge they touch no pixel.
    const std::vector<ink_dot_t> outside{{261, 0, 10}, {-261, 0, 10}, {0, 261, 10}, {0, -261, 10}, {1e9, 1e9, 100}};
    EXPECT_TRUE(bounded(outside, UNBOUNDED).dots.empty());
    const std::vector<ink_dot_t> inside{
        {260.9, 0, 10}, {-260.9, 0, 10}, {0, 260.9, 10}, {0, -260.9, 10}, {1e9, 0, 3e9}};
    EXPECT_EQ(bounded(inside, UNBOUNDED).dots.size(), 5U);
}

TEST(Ink, stroke_beyond_its_bound_spaces_its_dots_wider_and_keeps_its_end) {
    std::vector<ink_dot_t> row;
    for (int k = 0; k < 100; ++k) row.push_back({2.0 * k - 100, 0, 40});
    const result_t r = bounded(row, 40000); // a quarter of 160000
    ASSERT_EQ(r.dots.size(), 25U);
    for (size_t k = 0; k < 25; ++k) EXPECT_EQ(r.dots[k].x, row[3 + 4 * k].x);
}

TEST(Ink, bound_of_nothing_leaves_the_last_dot) {
    std::vector<ink_dot_t> row;
    for (int k = 0; k < 513; ++k) row.push_back({0, 0, 1000.0 + k});
    for (const double pixels : {0.0, 1.0, 10.0}) {
        const result_t r = bounded(row, pixels);
        ASSERT_EQ(r.dots.size(), 1U);
        EXPECT_EQ(r.dots[0].size, 1512);
    }
}

TEST(Ink, three_layers_of_solid_ink_fill_the_window) {
    // From the centre the corners are 362 away: solid within 0.45 of half the side, so from 1609 on.
    const ink_dot_t solid{0, 0, 1610}, nearly{0, 0, 1608}, small{10, 10, 5};
    EXPECT_TRUE(bounded({small, solid, solid, small, solid, small}, UNBOUNDED).fills_all);
    EXPECT_FALSE(bounded({small, solid, solid, nearly, small}, UNBOUNDED).fills_all);
    // Off centre it takes more: from (100, 0) the far corners are hypot(356, 256) = 438.5 away, so 1949.
    EXPECT_TRUE(bounded({{100, 0, 1950}, {-100, 0, 1950}, {0, 100, 1950}}, UNBOUNDED).fills_all);
    EXPECT_FALSE(bounded({{100, 0, 1948}, {-100, 0, 1948}, {0, 100, 1948}}, UNBOUNDED).fills_all);
}

TEST(Ink, no_stroke_fills_more_than_its_bound_and_one_dot) {
    std::mt19937 chance(7);
    std::uniform_real_distribution<double> place(-600, 600), width(0.01, 1500), share(0.1, 6);
    for (int turn = 0; turn < 200; ++turn) {
        const double x0 = place(chance), y0 = place(chance), x1 = place(chance), y1 = place(chance);
        const double w0 = width(chance), w1 = width(chance), bound = share(chance) * WINDOW;
        std::vector<ink_dot_t> row;
        for (int k = 0; k <= 512; ++k) {
            const double t = k / 512.0;
            row.push_back({x0 + t * (x1 - x0), y0 + t * (y1 - y0), w0 + t * (w1 - w0)});
        }
        const result_t r = bounded(row, bound);
        EXPECT_LE(pixels_filled(r.dots), bound + WINDOW) << turn;
    }
}

TEST(Ink, empty_row_stays_empty) {
    const result_t r = bounded({}, 0.0);
    EXPECT_TRUE(r.dots.empty());
    EXPECT_FALSE(r.fills_all);
}
