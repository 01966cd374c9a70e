// Stroke profiles of the ink brush: style of a stroke, width factor and sideways offset along it.
#include "brush/model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double ROUNDING = 1e-12;

TEST(thickness, is_uniform_for_style_0_and_for_every_style_outside_1_to_7) {
    for (const int style : {0, 8, -1, 100, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        for (const double t : {0.0, 0.3, 0.5, 1.0}) EXPECT_EQ(thickness(style, t), 1.0) << style << " at " << t;
}

TEST(thickness, of_style_1_is_waisted) {
    EXPECT_NEAR(thickness(1, 0.0), 0.86, ROUNDING);  // 1 - 1 * 0.7 * 0.2
    EXPECT_NEAR(thickness(1, 0.4), 0.748, ROUNDING); // 1 - 0.6 * 0.7 * 0.6
    EXPECT_NEAR(thickness(1, 1.0), 1.0, ROUNDING);   // 1 - 0
    // (1 - t)(t + 0.2) has its maximum at t = 0.4, so the stroke is wider on both sides of it.
    EXPECT_GT(thickness(1, 0.35), thickness(1, 0.4));
    EXPECT_GT(thickness(1, 0.45), thickness(1, 0.4));
}

TEST(thickness, of_styles_2_and_3_falls_with_the_root_of_t) {
    for (const int style : {2, 3}) {
        EXPECT_EQ(thickness(style, 0.0), 1.0);
        EXPECT_EQ(thickness(style, 0.25), 0.5); // 1 - 1/2
        EXPECT_EQ(thickness(style, 1.0), 0.0);
    }
}

TEST(thickness, of_styles_4_and_7_falls_linearly) {
    for (const int style : {4, 7}) {
        EXPECT_EQ(thickness(style, 0.0), 1.0);
        EXPECT_EQ(thickness(style, 0.25), 0.75);
        EXPECT_EQ(thickness(style, 1.0), 0.0);
    }
}

TEST(thickness, of_style_5_falls_slowly) {
    EXPECT_EQ(thickness(5, 0.0), 1.0);
    EXPECT_NEAR(thickness(5, 0.25), 0.875, ROUNDING); // 0.25^1.5 = (1/2)^3 = 1/8
    EXPECT_EQ(thickness(5, 1.0), 0.0);
}

TEST(thickness, of_style_6_swells_to_mid_stroke_and_falls_to_a_point) {
    EXPECT_EQ(thickness(6, 0.0), 1.0);
    EXPECT_NEAR(thickness(6, 0.25), 1.5297, 1e-3); // e^0.425 = 1 + 0.425 + 0.0903 + 0.0128 + 0.0014 + 0.0001
    EXPECT_NEAR(thickness(6, 0.49), 2.30, 0.01);   // e^0.833, just below e^0.85 = 2.34
    EXPECT_EQ(thickness(6, 1.0), 0.0);
    // 0.75^1.3 = e^(-0.28768 * 1.3) = e^-0.37399 = 0.68799; (1 - 0.68799) * 2.33965 * 1.6 = 1.16800
    EXPECT_NEAR(thickness(6, 0.75), 1.16800, 1e-4);
}

TEST(thickness, of_style_6_steps_down_at_mid_stroke) {
    // 0.5^1.3 = 0.40613; (1 - 0.40613) * 2.33965 * 1.6 = 2.2231, below the 2.3396 that the swelling reaches.
    EXPECT_NEAR(thickness(6, 0.5), 2.2231, 1e-3);
    EXPECT_NEAR(thickness(6, std::nextafter(0.5, 0.0)), 2.3396468519259908, 1e-9);
}

TEST(vshift, is_zero_for_every_style_but_6) {
    for (const int style : {-1, 0, 1, 2, 3, 4, 5, 7, 8, 100})
        for (const double t : {0.0, 0.5, 0.9, 1.0}) EXPECT_EQ(vshift(style, t), 0.0) << style << " at " << t;
}

TEST(vshift, of_style_6_rises_in_the_second_half) {
    EXPECT_EQ(vshift(6, 0.0), 0.0);
    EXPECT_EQ(vshift(6, 0.25), 0.0);
    EXPECT_EQ(vshift(6, std::nextafter(0.5, 0.0)), 0.0);
    EXPECT_EQ(vshift(6, 0.5), 0.0); // 2 * 0
    EXPECT_NEAR(vshift(6, 0.51), 0.02, 1e-15);
    EXPECT_EQ(vshift(6, 0.75), 0.5); // 2 * 0.25
    EXPECT_EQ(vshift(6, 1.0), 1.0);
}

TEST(stroke_style, inside_a_track_is_waisted_only_when_long_and_nearly_level_to_the_right) {
    EXPECT_EQ(strokeStyle(0, 100, 20, 10), 1); // ratio 5
    EXPECT_EQ(strokeStyle(0, 100, 20, 0), 1);  // 0 is included
    EXPECT_EQ(strokeStyle(0, 100, 20, std::nextafter(30.0, 0.0)), 1);
    EXPECT_EQ(strokeStyle(0, 100, 20, 30), 0); // 30 is not
    EXPECT_EQ(strokeStyle(0, 100, 20, -0.001), 0);
    EXPECT_EQ(strokeStyle(0, 80, 20, 10), 0); // ratio exactly 4
    EXPECT_EQ(strokeStyle(0, std::nextafter(80.0, 100.0), 20, 10), 1);
    EXPECT_EQ(strokeStyle(0, 1000, 20, 180), 0);
    EXPECT_EQ(strokeStyle(0, 1000, 20, -45), 0);
}

TEST(stroke_style, inside_a_track_accepts_a_width_of_zero_or_less) {
    EXPECT_EQ(strokeStyle(0, 100, 0, 10), 1);   // infinitely many widths long
    EXPECT_EQ(strokeStyle(0, 100, -20, 10), 0); // -5 is not above 4
    EXPECT_EQ(strokeStyle(0, 0, 0, 10), 0);     // NaN is not above 4
}

TEST(stroke_style, of_a_last_stroke_follows_its_direction) {
    EXPECT_EQ(strokeStyle(1, 50, 10, 0), 7);
    EXPECT_EQ(strokeStyle(1, 50, 10, std::nextafter(30.0, 0.0)), 7);
    EXPECT_EQ(strokeStyle(1, 50, 10, 30), 2);
    EXPECT_EQ(strokeStyle(1, 50, 10, std::nextafter(90.0, 0.0)), 2);
    EXPECT_EQ(strokeStyle(1, 50, 10, 90), 3);
    EXPECT_EQ(strokeStyle(1, 50, 10, 180), 3);
    EXPECT_EQ(strokeStyle(1, 50, 10, std::nextafter(0.0, -1.0)), 4);
    EXPECT_EQ(strokeStyle(1, 50, 10, -45), 4);
    EXPECT_EQ(strokeStyle(1, 50, 10, std::nextafter(-80.0, 0.0)), 4);
    EXPECT_EQ(strokeStyle(1, 50, 10, -80), 5);
    EXPECT_EQ(strokeStyle(1, 50, 10, -90), 5);
    EXPECT_EQ(strokeStyle(1, 50, 10, -179), 5);
}

TEST(stroke_style, of_a_last_stroke_uses_neither_length_nor_width) {
    for (const double width : {0.0, -5.0, 1.0, 1000.0, NOT_A_NUMBER})
        for (const double length : {0.0, 1.0, 1e9, INFINITE, NOT_A_NUMBER}) {
            EXPECT_EQ(strokeStyle(1, length, width, 10), 7);
            EXPECT_EQ(strokeStyle(1, length, width, -45), 4);
        }
}

TEST(stroke_style, takes_any_flag_but_zero_for_a_last_stroke) {
    EXPECT_EQ(strokeStyle(-1, 100, 20, 10), 7);
    EXPECT_EQ(strokeStyle(2, 100, 20, 10), 7);
}

TEST(stroke_style, is_uniform_for_an_angle_that_is_not_a_number) {
    EXPECT_EQ(strokeStyle(1, 100, 20, NOT_A_NUMBER), 0);
    EXPECT_EQ(strokeStyle(0, 100, 20, NOT_A_NUMBER), 0);
}

} // namespace
