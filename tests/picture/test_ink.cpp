// Strokes painted as one batch look like strokes painted dot by dot, and strokes that would fill the window many times
// are bounded.
#include "picture/field_fixture.h"

#include "draw/paint.h"
#include "draw/track.h"

#include <chrono>
#include <random>

using namespace picture;

namespace {

class Ink : public FieldPicture {
protected:
    /// A random track, to be painted as one mark.
    static turtle_t random_track(std::mt19937& chance, double widest) {
        std::uniform_real_distribution<double> place(-280, 280), step(-90, 90), width(0, widest), level(0, 1);
        turtle_t t{};
        t.flags = TTL_ALIVE | TTL_BRUSH;
        t.n_painted = static_cast<int>(chance() % 8);
        double x = place(chance), y = place(chance);
        for (int k = TRACK_MAX - 1; k >= 0; --k) {
            t.pos[k] = {x, y};
            x += step(chance);
            y += step(chance);
            t.line_width[k] = chance() % 4 == 0 ? 0.01 : width(chance);
            t.color[k] = {level(chance), level(chance), level(chance)};
        }
        return t;
    }

    static shot painted(const turtle_t& t, int final, int plainly) {
        clear(0.2, 0.4, 0.6);
        canvas_view();
        use_reference_path = plainly;
        paint_by_turtle({.in_use = true,
                         .kind = final != 0 ? mark_kind_t::brush_end : mark_kind_t::brush,
                         .text = false,
                         .turtle = t});
        use_reference_path = false;
        return read_window();
    }

    /// A turtle whose brush grows from nothing to `width` within 8 units.
    static turtle_t swelling(double width) {
        turtle_t t{};
        t.flags = TTL_ALIVE | TTL_BRUSH;
        t.n_painted = 5;
        for (int k = 0; k < TRACK_MAX; ++k) {
            t.pos[k] = {-8.0 * k, 0};
            t.line_width[k] = k % 2 == 0 ? 0.01 : width;
            t.color[k] = {1, 0.5, 0};
        }
        return t;
    }
};

} // namespace

TEST_F(Ink, stroke_is_pixel_for_pixel_what_its_dots_are_one_by_one) {
    std::mt19937 chance(20);
    int with_ink = 0;
    for (int turn = 0; turn < 300; ++turn) {
        const turtle_t t = random_track(chance, turn % 3 == 0 ? 100 : turn % 3 == 1 ? 20 : 3);
        const int final = turn % 2;
        const shot at_once = painted(t, final, 0);
        EXPECT_EQ(differing_pixels(at_once, painted(t, final, 1), 0), 0) << turn;
        with_ink += pixels_of(at_once, {51, 102, 153}, 0) < SIDE * SIDE;
    }
    EXPECT_GT(with_ink, 120);
}

TEST_F(Ink, only_widths_that_the_stroke_uses_decide_whether_it_is_ordinary) {
    turtle_t t{};
    t.n_painted = 9;
    for (double& w : t.line_width) w = 100;
    EXPECT_FALSE(brush_is_wide(t, 0));
    EXPECT_FALSE(brush_is_wide(t, 1));
    t.line_width[0] = t.line_width[6] = 4000; // neither is used
    EXPECT_FALSE(brush_is_wide(t, 0));
    EXPECT_FALSE(brush_is_wide(t, 1));
    t.line_width[1] = 100.5; // of the last point, which only the end of a stroke uses
    EXPECT_FALSE(brush_is_wide(t, 0));
    EXPECT_TRUE(brush_is_wide(t, 1));
    t.line_width[1] = 100;
    t.line_width[5] = -101;
    EXPECT_TRUE(brush_is_wide(t, 0));
    EXPECT_FALSE(brush_is_wide(t, 1));
    t.line_width[5] = NAN;
    EXPECT_TRUE(brush_is_wide(t, 0));
    t.n_painted = 4;
    EXPECT_FALSE(brush_is_wide(t, 0));
    t.n_painted = 0;
    t.line_width[3] = t.line_width[4] = 1e9;
    EXPECT_FALSE(brush_is_wide(t, 1));
}

TEST_F(Ink, stroke_wider_than_the_window_leaves_its_colour_everywhere) {
    const shot plain = painted(swelling(4000), 0, 1);
    const shot bounded = painted(swelling(4000), 0, 0);
    EXPECT_EQ(differing_pixels(bounded, plain, 0), 0);
    EXPECT_EQ(pixels_of(bounded, bounded.at(0, 0), 0), SIDE * SIDE);
}

TEST_F(Ink, wide_stroke_that_leaves_some_of_the_ground_stays_close_to_all_its_dots) {
    // Rims are softer and solid ink lets a little through; nothing is missing.
    for (const double width : {150.0, 300.0, 700.0}) {
        const shot plain = painted(swelling(width), 0, 1);
        const shot bounded = painted(swelling(width), 0, 0);
        const box all = ink(plain, {51, 102, 153}, 40), left = ink(bounded, {51, 102, 153}, 40);
        EXPECT_NEAR(all.left, left.left, 0.1 * width) << width;
        EXPECT_NEAR(all.right, left.right, 0.1 * width) << width;
        EXPECT_LT(differing_pixels(bounded, plain, 40), 0.3 * width * width) << width;
    }
}

TEST_F(Ink, strokes_wider_than_the_window_cost_no_more_than_ordinary_ones) {
    // Cost is processor time of this thread, which does all the drawing: nine strokes that would fill the window 2000
    // times against nine that fill it 60 times. Without the bound the ratio was about 45.
    const auto cost = [](double width) {
        std::array<mark_t, 9> marks{};
        for (mark_t& m : marks)
            m = {.in_use = true, .kind = mark_kind_t::brush, .text = false, .turtle = swelling(width)};
        canvas_view();
        timespec before{}, after{};
        double least = 1e9;
        for (int round = 0; round < 3; ++round) {
            glFinish();
            clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &before);
            paint_marks(marks);
            glFinish();
            clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &after);
            least = std::min(least, static_cast<double>(after.tv_sec - before.tv_sec) +
                                        1e-9 * static_cast<double>(after.tv_nsec - before.tv_nsec));
        }
        return least;
    };
    const double ordinary = cost(100);
    for (const double width : {101.0, 500.0, 1000.0, 2000.0, 4000.0, 1e9}) EXPECT_LT(cost(width), ordinary) << width;
}
