// A turtle's track on the canvas: when a segment is painted, in which colours and widths, and the printed texts. Places
// are pixels of the flat view; lines run along pixel centres (.5), so that their pixels are exact.
#include "picture/field_fixture.h"

#include "draw/paint.h"
#include "draw/track.h"
#include "turtle/motion.h"
#include "turtle/pen.h"

using namespace picture;

namespace {

struct dot_t {
    double x, y, size, r, g, b;
    bool operator==(const dot_t&) const = default;
};

std::vector<dot_t> dots;

void record_dot(double x, double y, double size, double r, double g, double b) {
    dots.push_back({x, y, size, r, g, b});
}

const rgb BLACK{0, 0, 0};
const rgb RED{255, 0, 0};

class Paint : public FieldPicture {
protected:
    void SetUp() override {
        FieldPicture::SetUp();
        canvas_view();
        const float black[] = {0.0F, 0.0F, 0.0F, 0.0F};
        glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, black);
        glMaterialfv(GL_FRONT, GL_EMISSION, black);
        field_is_painted = 0;
        dots.clear();
    }

    // A turtle with the pen down whose track is pos[0], pos[1], ... as given; red, width 1.
    static turtle_t& put_track(std::initializer_list<point_t> track, int n_painted) {
        turtle_t& t = put_turtle(0, 0, 0);
        t.flags |= TTL_PEN_DOWN;
        size_t k = 0;
        for (const point_t& p : track) t.pos[k++] = p;
        t.n_painted = n_painted;
        return t;
    }

    static int inked() {
        const shot s = read_window();
        return SIDE * SIDE - pixels_of(s, BLACK, 0);
    }

    // Rows of ink of a vertical cut through the column at x.
    static int rows_at(int x) {
        const shot s = read_window();
        int rows = 0;
        for (int y = -256; y < 256; ++y) rows += s.on_field(x, y) == BLACK ? 0 : 1;
        return rows;
    }
};

} // namespace

// --- lines ---

TEST_F(Paint, line_runs_from_the_last_point_to_this_one) {
    put_track({{50.5, 10.5}, {-49.5, 10.5}}, 1);
    paint_line_and_fill_area(ttl[0]);
    const box b = ink(read_window(), BLACK, 0);
    EXPECT_EQ(b.bottom, 266); // y = 10
    EXPECT_EQ(b.top, 266);
    EXPECT_EQ(b.left, 206);         // x = -50
    EXPECT_NEAR(b.right, 305.5, 1); // GL may leave out a line's last pixel
    EXPECT_EQ(pixels_of(read_window(), RED, 0), b.right - b.left + 1);
}

TEST_F(Paint, colour_blends_from_the_older_to_the_newer_one) {
    turtle_t& t = put_track({{100.5, 0.5}, {-99.5, 0.5}}, 1);
    t.color[0] = {1, 1, 1}; // not used: colours lag one step
    t.color[1] = {0, 0, 1};
    t.color[2] = {1, 0, 0};
    paint_line_and_fill_area(ttl[0]);
    const shot s = read_window();
    EXPECT_LE(difference(s.on_field(-99, 0), {255, 0, 0}), 4);
    EXPECT_LE(difference(s.on_field(0, 0), {128, 0, 128}), 4);
    EXPECT_LE(difference(s.on_field(99, 0), {0, 0, 255}), 4);
}

TEST_F(Paint, width_of_a_line_lags_one_step) {
    turtle_t& t = put_track({{50.5, 0.5}, {-49.5, 0.5}}, 1);
    t.line_width[0] = 9;
    t.line_width[1] = 5;
    paint_line_and_fill_area(ttl[0]);
    EXPECT_EQ(rows_at(0), 5);
    expect_tidy_state(); // width 1 again
}

TEST_F(Paint, line_without_a_sensible_width_is_one_pixel_wide) {
    for (const double width : {0.0, -3.0, NOT_A_NUMBER, INF, -INF}) {
        clear(0, 0, 0);
        put_track({{50.5, 0.5}, {-49.5, 0.5}}, 1).line_width[1] = width;
        paint_line_and_fill_area(ttl[0]);
        EXPECT_EQ(rows_at(0), 1) << width;
    }
}

TEST_F(Paint, huge_width_is_as_wide_as_gl_can_draw) {
    float range[2];
    glGetFloatv(GL_ALIASED_LINE_WIDTH_RANGE, range);
    put_track({{50.5, 0.5}, {-49.5, 0.5}}, 1).line_width[1] = 1e300;
    paint_line_and_fill_area(ttl[0]);
    EXPECT_NEAR(rows_at(0), std::min(range[1], 512.0F), 1);
}

TEST_F(Paint, colours_beyond_their_range_are_cut) {
    turtle_t& t = put_track({{50.5, 0.5}, {-49.5, 0.5}}, 1);
    t.color[1] = t.color[2] = {1e300, -7, NOT_A_NUMBER};
    paint_line_and_fill_area(ttl[0]);
    EXPECT_EQ(read_window().on_field(0, 0), RED);
}

// --- points ---

TEST_F(Paint, point_is_a_square_of_its_size_at_the_newest_place) {
    turtle_t& t = put_track({{20.5, 30.5}, {-50, -50}}, 1);
    t.flags |= TTL_POINT_MODE;
    t.line_width[0] = 3;
    t.line_width[1] = 7;
    t.color[0] = {1, 1, 1};
    t.color[1] = {0, 1, 0};
    paint_line_and_fill_area(ttl[0]);
    const shot s = read_window();
    const box b = ink(s, BLACK, 0);
    EXPECT_EQ(b.left, 276 - 3);
    EXPECT_EQ(b.right, 276 + 3);
    EXPECT_EQ(b.bottom, 286 - 3);
    EXPECT_EQ(b.top, 286 + 3);
    EXPECT_EQ(pixels_of(s, {0, 255, 0}, 0), 49);
    float size = 0;
    glGetFloatv(GL_POINT_SIZE, &size);
    EXPECT_EQ(size, 1.0F);
}

TEST_F(Paint, point_without_a_sensible_size_is_one_pixel) {
    for (const double width : {0.0, -3.0, NOT_A_NUMBER, INF}) {
        clear(0, 0, 0);
        turtle_t& t = put_track({{20.5, 30.5}}, 1);
        t.flags |= TTL_POINT_MODE;
        t.line_width[1] = width;
        paint_line_and_fill_area(ttl[0]);
        EXPECT_EQ(inked(), 1) << width;
    }
}

// --- polygons ---

TEST_F(Paint, polygon_needs_two_segments) {
    turtle_t& t = put_track({{0, 40}, {40, 0}, {0, 0}}, 1);
    t.flags |= TTL_FILL_POLY;
    for (const int n : {0, 1, -5}) {
        t.n_painted = n;
        paint_line_and_fill_area(ttl[0]);
        EXPECT_EQ(inked(), 0) << n;
    }
    t.n_painted = 2;
    paint_line_and_fill_area(ttl[0]);
    EXPECT_NEAR(inked(), 800, 40); // half of 40 x 40, give or take the diagonal
}

TEST_F(Paint, polygon_spans_at_most_the_latest_six_points) {
    // A hexagon; the seventh point is far out and would show.
    const std::initializer_list<point_t> track = {{40, 0},    {20, 40},  {-20, 40}, {-40, 0},
                                                  {-20, -40}, {20, -40}, {0, -200}};
    turtle_t& t = put_track(track, 5);
    t.flags |= TTL_FILL_POLY;
    paint_line_and_fill_area(ttl[0]);
    const shot five = read_window();
    clear(0, 0, 0);
    t.n_painted = 9;
    paint_line_and_fill_area(ttl[0]);
    EXPECT_EQ(differing_pixels(five, read_window(), 0), 0);
    EXPECT_NEAR(inked(), 4800, 80); // 40 x 80 in the middle and four triangles of 20 x 40 / 2
}

TEST_F(Paint, polygon_takes_precedence_over_points) {
    turtle_t& t = put_track({{0, 40}, {40, 0}, {0, 0}}, 2);
    t.flags |= TTL_FILL_POLY | TTL_POINT_MODE;
    paint_line_and_fill_area(ttl[0]);
    EXPECT_GT(inked(), 700);
}

TEST_F(Paint, corners_of_a_polygon_have_the_colours_one_step_older) {
    turtle_t& t = put_track({{0, 100}, {100, 0}, {0, 0}}, 2);
    t.flags |= TTL_FILL_POLY;
    t.color[0] = {1, 1, 1};
    t.color[1] = {1, 0, 0};
    t.color[2] = {0, 1, 0};
    t.color[3] = {0, 0, 1};
    paint_line_and_fill_area(ttl[0]);
    const shot s = read_window();
    EXPECT_LE(difference(s.on_field(0, 97), {255, 0, 0}), 10);
    EXPECT_LE(difference(s.on_field(97, 0), {0, 255, 0}), 10);
    EXPECT_LE(difference(s.on_field(0, 0), {0, 0, 255}), 10);
}

// --- ink ---

TEST_F(Paint, brush_gets_the_points_for_its_place_in_the_track) {
    stamp_dot = record_dot;
    turtle_t& t = put_track({{90, 5}, {70, 10}, {50, 0}, {30, 8}, {10, 0}, {-10, 3}, {-30, 0}}, 0);
    for (int k = 0; k < TRACK_MAX; ++k) {
        t.line_width[k] = 10 + k;
        t.color[k] = {k / 10.0, 0, 1};
    }
    // P(k) has the place of entry k and the width of entry k + 1.
    struct row_t {
        int final, n;
        void (*stroke)();
    };
    const row_t rows[] = {
        {0, 0, [] {}},
        {0, 3, [] {}},
        {0, 4, [] { drawCurve3(30, 8, 14, 50, 0, 13, 70, 10, 12, 0.4, 0, 1); }},
        {0, 5, [] { drawCurve4(10, 0, 15, 30, 8, 14, 50, 0, 13, 70, 10, 12, 0.4, 0, 1); }},
        {0, 900, [] { drawCurve4(10, 0, 15, 30, 8, 14, 50, 0, 13, 70, 10, 12, 0.4, 0, 1); }},
        {1, 4, [] { brushLine3(30, 8, 14, 50, 0, 13, 70, 10, 12, 90, 5, 11, 0.4, 0, 1); }},
        {1, 9, [] { brushLine3(30, 8, 14, 50, 0, 13, 70, 10, 12, 90, 5, 11, 0.4, 0, 1); }},
        {1, 3, [] { brushLine2(50, 0, 13, 70, 10, 12, 90, 5, 11, 0.3, 0, 1); }},
        {1, 2, [] { brushLine(1, 70, 10, 12, 90, 5, 11, 0.2, 0, 1); }},
        {1, 0, [] { brushLine(1, 70, 10, 12, 90, 5, 11, 0.2, 0, 1); }},
    };
    for (const row_t& row : rows) {
        dots.clear();
        row.stroke();
        const std::vector<dot_t> expected = dots;
        dots.clear();
        t.n_painted = row.n;
        paint_by_brush(ttl[0], row.final);
        EXPECT_EQ(dots, expected) << row.final << ' ' << row.n;
        EXPECT_EQ(expected.empty(), row.final == 0 && row.n <= 3) << row.final << ' ' << row.n;
    }
}

TEST_F(Paint, pen_put_down_and_lifted_leaves_one_dot) {
    stamp_dot = record_dot;
    put_turtle(0, 12, 34);
    turtle_set_brush(0);
    turtle_pen_down(0);
    ttl[0].flags |= TTL_SEG_PAINTED;
    turtle_pen_up(0);
    paint_by_turtle(leave_mark(0));
    ASSERT_EQ(dots.size(), 1U);
    EXPECT_EQ(dots[0].x, 12);
    EXPECT_EQ(dots[0].y, 34);
}

TEST_F(Paint, brush_holds_three_segments_back_and_paints_with_the_fourth) {
    stamp_dot = record_dot;
    put_turtle(0, 0, 0);
    turtle_set_brush(0);
    turtle_pen_down(0);
    ttl[0].flags |= TTL_SEG_PAINTED;
    for (int step = 1; step <= 5; ++step) {
        dots.clear();
        field_is_painted = 0;
        ASSERT_EQ(turtle_step_forward(0, 20), 0);
        paint_by_turtle(leave_mark(0));
        EXPECT_EQ(ttl[0].n_painted, step);
        EXPECT_EQ(dots.empty(), step <= 3) << step;
        EXPECT_EQ(field_is_painted, step <= 3 ? 0 : 1) << step;
        // The turtle stands at 20 * step; the ink ends two segments behind it and starts one before that.
        for (const dot_t& d : dots) {
            EXPECT_GE(d.x, 20 * (step - 3) - NEAR) << step;
            EXPECT_LE(d.x, 20 * (step - 2) + NEAR) << step;
        }
        EXPECT_TRUE(has_any(ttl[0].flags, TTL_SEG_PAINTED));
        dots.clear();
        paint_by_turtle(leave_mark(0)); // nothing new
        EXPECT_TRUE(dots.empty()) << step;
    }
}

TEST_F(Paint, lifting_the_brush_finishes_the_stroke_exactly_once) {
    stamp_dot = record_dot;
    put_turtle(0, 0, 0);
    turtle_set_brush(0);
    turtle_pen_down(0);
    for (int step = 0; step < 5; ++step) {
        turtle_step_forward(0, 20);
        paint_by_turtle(leave_mark(0));
    }
    turtle_pen_up(0);
    dots.clear();
    field_is_painted = 0;
    paint_by_turtle(leave_mark(0));
    EXPECT_FALSE(dots.empty());
    EXPECT_EQ(field_is_painted, 1);
    EXPECT_FALSE(has_any(ttl[0].flags, TTL_PEN_LIFTED));
    EXPECT_TRUE(has_any(ttl[0].flags, TTL_SEG_PAINTED));
    dots.clear();
    field_is_painted = 0;
    for (int frame = 0; frame < 3; ++frame) paint_by_turtle(leave_mark(0));
    EXPECT_TRUE(dots.empty());
    EXPECT_EQ(field_is_painted, 0);
}

TEST_F(Paint, lift_in_line_mode_is_remembered_for_the_brush) {
    stamp_dot = record_dot;
    put_turtle(0, 0, 0);
    turtle_pen_down(0);
    turtle_step_forward(0, 20);
    turtle_pen_up(0);
    paint_by_turtle(leave_mark(0));
    EXPECT_TRUE(has_any(ttl[0].flags, TTL_PEN_LIFTED));
    turtle_set_brush(0);
    paint_by_turtle(leave_mark(0));
    EXPECT_FALSE(dots.empty());
}

// --- when to paint ---

TEST_F(Paint, segment_is_painted_once) {
    turtle_t& t = put_track({{50.5, 10.5}, {-49.5, 10.5}}, 0);
    paint_by_turtle(leave_mark(0));
    EXPECT_GT(inked(), 0);
    EXPECT_EQ(t.n_painted, 1);
    EXPECT_EQ(field_is_painted, 1);
    clear(0, 0, 0);
    field_is_painted = 0;
    paint_by_turtle(leave_mark(0));
    EXPECT_EQ(inked(), 0);
    EXPECT_EQ(t.n_painted, 1);
    EXPECT_EQ(field_is_painted, 0);
}

TEST_F(Paint, painting_changes_no_flag_but_its_own) {
    constexpr uint32_t OTHERS = TTL_ALIVE | TTL_ROBOT | TTL_FIRING | TTL_LATCH_COIN | TTL_LATCH_WALL;
    struct row_t {
        uint32_t before, after;
        int n_painted;
    };
    for (const row_t& row : {row_t{TTL_PEN_DOWN, TTL_PEN_DOWN | TTL_SEG_PAINTED, 0},
                             row_t{TTL_PEN_DOWN | TTL_FILL_POLY, TTL_PEN_DOWN | TTL_FILL_POLY | TTL_SEG_PAINTED, 4},
                             row_t{TTL_PEN_DOWN | TTL_POINT_MODE, TTL_PEN_DOWN | TTL_POINT_MODE | TTL_SEG_PAINTED, 4},
                             row_t{TTL_PEN_DOWN | TTL_BRUSH, TTL_PEN_DOWN | TTL_BRUSH | TTL_SEG_PAINTED, 0},
                             row_t{TTL_PEN_DOWN | TTL_BRUSH, TTL_PEN_DOWN | TTL_BRUSH | TTL_SEG_PAINTED, 7},
                             // A new segment is painted first; the lift waits for the next frame.
                             row_t{TTL_PEN_DOWN | TTL_PEN_LIFTED | TTL_BRUSH,
                                   TTL_PEN_DOWN | TTL_PEN_LIFTED | TTL_BRUSH | TTL_SEG_PAINTED, 0},
                             row_t{TTL_PEN_LIFTED | TTL_BRUSH, TTL_BRUSH | TTL_SEG_PAINTED, 7},
                             row_t{TTL_PEN_LIFTED, TTL_PEN_LIFTED, 7}, row_t{TTL_BRUSH, TTL_BRUSH, 7}}) {
        turtle_t& t = put_track({{50, 10}, {-50, 10}}, row.n_painted);
        t.flags = OTHERS | row.before;
        paint_by_turtle(leave_mark(0));
        EXPECT_EQ(t.flags, OTHERS | row.after) << row.before << ' ' << row.n_painted;
    }
}

TEST_F(Paint, pen_up_paints_nothing) {
    put_track({{50, 10}, {-50, 10}}, 0).flags &= ~TTL_PEN_DOWN;
    paint_by_turtle(leave_mark(0));
    EXPECT_EQ(inked(), 0);
    EXPECT_EQ(ttl[0].n_painted, 0);
    EXPECT_EQ(field_is_painted, 0);
}

TEST_F(Paint, stones_and_robots_paint_when_their_pen_is_down) {
    for (const uint32_t kind : {TTL_STONE, TTL_DOUGHNUT, TTL_ROBOT}) {
        clear(0, 0, 0);
        put_track({{50.5, 10.5}, {-49.5, 10.5}}, 0).flags |= kind;
        paint_by_turtle(leave_mark(0));
        EXPECT_GT(inked(), 0) << kind;
    }
}

TEST_F(Paint, slot_not_in_use_changes_neither_turtle_nor_material) {
    turtle_t& t = put_track({{50, 10}, {-50, 10}}, 0);
    t.flags &= ~TTL_ALIVE;
    bounded_copy(t.message, "hidden", TEXT_BYTES);
    const float odd[] = {0.25F, 0.5F, 0.75F, 1.0F};
    glMaterialfv(GL_FRONT, GL_EMISSION, odd);
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, odd);
    paint_by_turtle(leave_mark(0));
    EXPECT_EQ(inked(), 0);
    EXPECT_EQ(t.message[0], 'h');
    EXPECT_EQ(front_material(GL_EMISSION), std::vector<float>(odd, odd + 4));
    EXPECT_EQ(front_material(GL_DIFFUSE), std::vector<float>(odd, odd + 4));
}

TEST_F(Paint, material_is_black_and_clear_afterwards) {
    put_track({{50, 10}, {-50, 10}}, 0);
    paint_by_turtle(leave_mark(0));
    const std::vector<float> black(4, 0.0F);
    EXPECT_EQ(front_material(GL_EMISSION), black);
    EXPECT_EQ(front_material(GL_AMBIENT), black);
    EXPECT_EQ(front_material(GL_DIFFUSE), black);
    expect_tidy_state();
}

// --- texts ---

TEST_F(Paint, message_is_printed_once_in_the_pen_colour) {
    turtle_t& t = put_turtle(0, 20, 30);
    t.color[0] = {0.2, 1, 0.6}; // 51, 255, 153
    t.color[1] = {1, 0, 0};
    turtle_print_string(0, "earlier");
    turtle_print_string(0, "H");
    paint_by_turtle(leave_mark(0));
    EXPECT_EQ(t.message[0], '\0');
    EXPECT_EQ(field_is_painted, 1);
    const shot s = read_window();
    const box b = ink(s, BLACK, 0);
    EXPECT_GE(b.left, 276 - 1);
    EXPECT_LE(b.right, 276 + 12); // one letter only
    EXPECT_GE(b.bottom, 286 - 2);
    EXPECT_LE(b.top, 286 + 13);
    EXPECT_GT(inked(), 20); // an H: two strokes of 10 and one of 7
    EXPECT_EQ(pixels_of(s, {51, 255, 153}, 0), inked());
    clear(0, 0, 0);
    paint_by_turtle(leave_mark(0));
    EXPECT_EQ(inked(), 0);
}

TEST_F(Paint, text_beside_fresh_ink_keeps_its_own_colour) {
    turtle_t& t = put_track({{-150, -150}, {-170, -150}, {-190, -150}, {-210, -150}, {-230, -150}}, 3);
    t.flags |= TTL_BRUSH;
    t.pos[0] = {100, 100};
    for (rgb_t& c : t.color) c = {0, 0, 1};
    t.color[0] = {0.5, 0, 0};
    bounded_copy(t.message, "HHHH", TEXT_BYTES);
    paint_by_turtle(leave_mark(0));
    const shot s = read_window();
    int letters = 0;
    for (int y = 90; y < 120; ++y)
        for (int x = 90; x < 200; ++x) {
            if (s.on_field(x, y) == BLACK) continue;
            ++letters;
            EXPECT_LE(difference(s.on_field(x, y), {128, 0, 0}), 1);
        }
    EXPECT_GT(letters, 20);
}

TEST_F(Paint, text_without_a_terminator_ends_with_its_field) {
    turtle_t& t = put_turtle(0, -250, 0);
    for (char& c : t.message) c = 'i';
    for (char& c : t.name) c = 'W';
    paint_by_turtle(leave_mark(0));
    EXPECT_EQ(t.message[0], '\0');
    EXPECT_GT(inked(), 0);
}
