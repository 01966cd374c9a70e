#include "brush/strokes.h"
#include "draw/dot.h"

#include <limits>

#include "draw/icons.h"
#include "images.h"
#include "picture/picture.h"

using namespace picture;

namespace {

constexpr int BLEND_TOLERANCE = 2; // of 255: rounding of the weight and of the sum
constexpr int INK = 8;             // of 255: a pixel that differs more from its paper is inked
constexpr rgb WHITE = {255, 255, 255};

class Brush : public PictureTest {
protected:
    void SetUp() override {
        PictureTest::SetUp();
        canvas_view();
        stamp_dot = paint_Ten;
    }
    void TearDown() override {
        stamp_dot = nullptr;
        PictureTest::TearDown();
    }
};

void forget_textures() {
    for (size_t slot = 0; slot < OBJ_TEXTURES; ++slot)
        if (obj_tex_initialized[slot]) glDeleteTextures(1, &obj_textures[slot]);
    obj_tex_initialized.fill(0);
    obj_textures.fill(0);
}

/// Inked rows of a column of field units on white paper.
int height_of_ink(const shot& s, int x) {
    int count = 0;
    for (int y = -256; y < 256; ++y) count += difference(s.on_field(x, y), WHITE) > INK;
    return count;
}

shot on_white_paper(const std::function<void()>& draw) {
    clear(1.0, 1.0, 1.0);
    draw();
    return read_window();
}

TEST_F(Brush, dot_is_a_square_around_its_place_just_above_the_canvas) {
    top_view();
    const std::vector<vertex> v = flat(vertices_of([] { paint_Ten(30.0, -20.0, 16.0, 1.0, 1.0, 1.0); }));
    struct {
        double x, y, s, t;
    } const corners[] = {{22, -28, 0, 0}, {22, -12, 0, 1}, {38, -12, 1, 1}, {38, -28, 1, 0}};
    for (const auto& c : corners) {
        const vertex* const found = find_vertex(v, c.x, c.y, 0.1);
        ASSERT_NE(found, nullptr) << c.x << ' ' << c.y;
        EXPECT_NEAR(found->s, c.s, 1e-6);
        EXPECT_NEAR(found->t, c.t, 1e-6);
        EXPECT_EQ(found->alpha, 1.0);
    }
}

TEST_F(Brush, dot_is_never_smaller_than_a_hundredth) {
    top_view();
    // Magnified a hundred times, so that the half-side of 0.005 is half a unit.
    glScaled(100.0, 100.0, 1.0);
    for (const double size : {0.01, 0.0099, 0.0, -5.0}) {
        const std::vector<vertex> v = flat(vertices_of([&] { paint_Ten(0.0, 0.0, size, 1.0, 1.0, 1.0); }));
        EXPECT_NE(find_vertex(v, -0.5, -0.5, 0.1), nullptr) << size;
        EXPECT_NE(find_vertex(v, 0.5, 0.5, 0.1), nullptr) << size;
    }
    const std::vector<vertex> v = flat(vertices_of([] { paint_Ten(0.0, 0.0, 0.02, 1.0, 1.0, 1.0); }));
    EXPECT_NE(find_vertex(v, 1.0, 1.0, 0.1), nullptr);
}

TEST_F(Brush, dot_without_a_finite_place_or_size_is_left_out) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const shot blank = on_white_paper([] {});
    const shot drawn = on_white_paper([&] {
        for (const double v : {nan, inf, -inf}) {
            paint_Ten(v, 0.0, 50.0, 0.0, 0.0, 0.0);
            paint_Ten(0.0, v, 50.0, 0.0, 0.0, 0.0);
            paint_Ten(0.0, 0.0, v, 0.0, 0.0, 0.0);
        }
    });
    EXPECT_EQ(differing_pixels(blank, drawn, 0), 0);
}

TEST_F(Brush, dot_however_large_covers_the_canvas_on_both_sides) {
    for (const double size : {1e6, 1e20, 1e38, 1e300}) {
        const shot s = on_white_paper([&] { paint_Ten(0.0, 0.0, size, 1.0, 0.0, 0.0); });
        // The four texels around the image's middle fill the canvas, and they are nearly opaque.
        EXPECT_GT(pixels_of(s, {255, 0, 0}, 55), SIDE * SIDE - 1) << size;
    }
}

TEST_F(Brush, dot_colour_is_cut_to_its_range) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const shot plain = on_white_paper([] { paint_Ten(0.0, 0.0, 64.0, 0.0, 1.0, 0.0); });
    for (const double none : {-1.0, -1e300, -inf, nan})
        for (const double full : {1.5, 1e300, inf}) {
            const shot s = on_white_paper([=] { paint_Ten(0.0, 0.0, 64.0, none, full, none); });
            EXPECT_EQ(differing_pixels(plain, s, 0), 0) << none << ' ' << full;
            EXPECT_EQ(front_material(GL_EMISSION), (std::vector<float>{0.0F, 1.0F, 0.0F, 1.0F}));
        }
}

TEST_F(Brush, dots_share_one_texture_made_at_the_first) {
    forget_textures();
    paint_Ten(0.0, 0.0, 10.0, 1.0, 0.0, 0.0);
    EXPECT_EQ(obj_tex_initialized, (std::array<int, OBJ_TEXTURES>{0, 0, 0, 1}));
    const unsigned name = obj_textures[TEX_BRUSH_DOT];
    EXPECT_TRUE(glIsTexture(name));
    for (int k = 0; k < 50; ++k) paint_Ten(k, 0.0, 10.0, 1.0, 0.0, 0.0);
    EXPECT_EQ(obj_textures[TEX_BRUSH_DOT], name);
}

TEST_F(Brush, dot_shows_the_image_tinted_and_weighted_by_its_alpha) {
    // 32 pixels for 32 texels. Emission 0.5 and light of the same colour from above add up to more than 1 where the
    // colour is 0.5 or 1: those channels are full, the channel of 0 is empty. Image colour times that, over grey.
    clear(0.2, 0.2, 0.2);
    paint_Ten(0.0, 0.0, 32.0, 1.0, 0.5, 0.0);
    const shot s = read_window();
    for (int row = 0; row < 32; ++row)
        for (int column = 0; column < 32; ++column) {
            const unsigned char* const texel = &ten_image32x32[4 * ((31 - row) * 32 + column)]; // top row first
            const double weight = texel[3] / 255.0, paper = 51.0;
            const rgb expected = {static_cast<int>(std::lround(texel[0] * weight + paper * (1.0 - weight))),
                                  static_cast<int>(std::lround(texel[1] * weight + paper * (1.0 - weight))),
                                  static_cast<int>(std::lround(paper * (1.0 - weight)))};
            ASSERT_LE(difference(s.on_field(column - 16, row - 16), expected), BLEND_TOLERANCE) << column << ' ' << row;
        }
}

TEST_F(Brush, dot_stays_within_its_square) {
    const box b = ink(on_white_paper([] { paint_Ten(40.0, 60.0, 20.0, 0.0, 0.0, 0.0); }), WHITE, INK);
    EXPECT_GE(b.left, 256 + 30);
    EXPECT_LT(b.right, 256 + 50);
    EXPECT_GE(b.bottom, 256 + 50);
    EXPECT_LT(b.top, 256 + 70);
    EXPECT_GE(b.right - b.left, 10); // and is more than a speck
    EXPECT_GE(b.top - b.bottom, 10);
}

TEST_F(Brush, dot_faces_up_whatever_was_drawn_before) {
    // Dark enough that emission, ambient and diffuse do not saturate: 0.3 + 0.3 * 0.2 + 0.3 = 0.66 when lit from above.
    const auto with_normal = [](double x, double y, double z) {
        return on_white_paper([=] {
            glNormal3d(x, y, z);
            paint_Ten(0.0, 0.0, 64.0, 0.3, 0.3, 0.3);
        });
    };
    const shot up = with_normal(0, 0, 1);
    EXPECT_EQ(differing_pixels(up, with_normal(0, 0, -1), 0), 0);
    EXPECT_EQ(differing_pixels(up, with_normal(1, 0, 0), 0), 0);
    EXPECT_NEAR(up.on_field(0, 0).r, 0.66 * 255, 0.1 * 255);
}

TEST_F(Brush, dot_keeps_its_colour_and_resets_gl_state) {
    glBlendFunc(GL_ONE, GL_ZERO);
    paint_Ten(0.0, 0.0, 10.0, 0.25, 0.5, 0.75);
    expect_tidy_state();
    const std::vector<float> colour = {0.25F, 0.5F, 0.75F, 1.0F};
    EXPECT_EQ(front_material(GL_EMISSION), colour);
    EXPECT_EQ(front_material(GL_AMBIENT), colour);
    EXPECT_EQ(front_material(GL_DIFFUSE), colour);
    GLint value = 0;
    glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &value);
    EXPECT_EQ(value, GL_MODULATE);
    glGetIntegerv(GL_BLEND_SRC, &value);
    EXPECT_EQ(value, GL_ONE); // the frame sets the blend function
}

TEST_F(Brush, stroke_covers_its_path_without_gaps) {
    // To the left: uniform. 20 wide: all ink lies within 10 of the path, and 10 beyond its ends.
    const shot s = on_white_paper([] { brushLine(0, 100, 0, 20, -100, 0, 20, 0, 0, 0); });
    const box b = ink(s, WHITE, INK);
    EXPECT_GE(b.left, 256 - 110);
    EXPECT_LT(b.right, 256 + 110);
    EXPECT_GE(b.bottom, 256 - 10);
    EXPECT_LT(b.top, 256 + 10);
    for (int x = -100; x < 100; ++x) {
        EXPECT_LE(s.on_field(x, 0).r, 16) << x; // full black along the middle
        EXPECT_GE(height_of_ink(s, x), 14) << x;
    }
}

TEST_F(Brush, stroke_has_its_colour) {
    const shot s = on_white_paper([] { brushLine(0, 100, 0, 20, -100, 0, 20, 1, 0, 0); });
    EXPECT_LE(difference(s.on_field(0, 0), {255, 0, 0}), 16);
}

TEST_F(Brush, last_stroke_tapers_to_nothing) {
    // Level to the right: the width falls linearly from 30 to nothing.
    const shot s = on_white_paper([] { brushLine(1, -100, 0, 30, 100, 0, 30, 0, 0, 0); });
    const int at_start = height_of_ink(s, -80), at_middle = height_of_ink(s, 0), near_end = height_of_ink(s, 80);
    EXPECT_GT(at_start, at_middle + 5);
    EXPECT_GT(at_middle, near_end + 5);
    EXPECT_LE(at_middle, 18); // 15 wide there, and each dot a little ahead of the place where it is that wide
    EXPECT_GE(near_end, 1);
    EXPECT_LE(near_end, 6);
}

TEST_F(Brush, flick_swells_and_bends_up) {
    // All points on the diagonal, 10 wide: at mid-stroke (0, 0) the ink is 2.3 times as wide; at t = 0.75 it is bent up
    // by half the width.
    const shot s = on_white_paper([] { brushLine2(-100, 100, 10, 0, 0, 10, 100, -100, 10, 0, 0, 0); });
    // A column cuts the diagonal band: about 1.41 times as long as the dots are high, plus their corners' rounding.
    EXPECT_GT(height_of_ink(s, -2), height_of_ink(s, -80) + 8);
    const auto middle_of = [&](int x) {
        int sum = 0, count = 0;
        for (int y = -256; y < 256; ++y)
            if (difference(s.on_field(x, y), WHITE) > INK) sum += y, ++count;
        return count > 0 ? static_cast<double>(sum) / count : -1000.0;
    };
    EXPECT_NEAR(middle_of(-50), 50.0, 3.0);       // still on the diagonal
    EXPECT_NEAR(middle_of(50), -50.0 + 5.0, 3.0); // half of 10 above it
}

TEST_F(Brush, joined_curves_leave_no_gap_and_no_kink) {
    // A wave of five points; the middle segments each meet the next where it starts.
    const shot s = on_white_paper([] {
        drawCurve3(-120, 0, 16, -60, 30, 16, 0, 0, 16, 0, 0, 0);
        drawCurve4(-120, 0, 16, -60, 30, 16, 0, 0, 16, 60, -30, 16, 0, 0, 0);
        drawCurve4(-60, 30, 16, 0, 0, 16, 60, -30, 16, 120, 0, 16, 0, 0, 0);
    });
    for (int x = -118; x < 60; ++x) EXPECT_GE(height_of_ink(s, x), 8) << x;
    for (const auto& [x, y] : {std::pair{-60, 30}, {0, 0}, {59, -30}}) EXPECT_LE(s.on_field(x, y).r, 40) << x;
}

TEST_F(Brush, stroke_far_outside_leaves_the_canvas_alone) {
    const shot blank = on_white_paper([] {});
    const shot drawn = on_white_paper([] {
        brushLine(0, 1e6, 0, 20, 1e9, 0, 20, 0, 0, 0);
        brushLine(0, 400, 400, 20, 900, 900, 20, 0, 0, 0);
    });
    EXPECT_EQ(differing_pixels(blank, drawn, 0), 0);
}

} // namespace
