#include "draw/overlays.h"

#include <array>
#include <span>

#include "draw/icons.h"
#include "draw/primitives.h"
#include "field/state.h"
#include "images.h"
#include "picture/picture.h"

using namespace picture;

namespace {

constexpr double COLOUR_TOLERANCE = 1e-5;
constexpr double HALF = 204.8; // 0.4 of 512

class Overlays : public PictureTest {};

struct text_line {
    double x, y, z;
    const char* text;
};

const text_line WARNING[] = {
    {-230.4, 128.0, 30.0, "COMMUNICATION ERROR !"},
    {-230.4, 102.4, 30.0, "TCP communication ports cannot be opened because they are already in use."},
    {-230.4, 76.8, 30.0, "It seems another Kelmora is running on this computer."},
    {-230.4, 51.2, 30.0, "Quit this program by pressing Q and check the running programs in background."},
};

const text_line HELP[] = {
    {-168.96, 163.84, 32.0, "Kelmora"},
    {-168.96, 128.0, 35.0, copyright},
    {-140.8, 102.4, 35.0, "c  clear screen"},
    {-140.8, 75.15, 35.0, "z  erase zombie"},
    {-140.8, 47.9, 35.0, "!  toggle graphics/battle mode"},
    {-140.8, 20.65, 35.0, "@  toggle public/private mode"},
    {-140.8, -6.6, 35.0, "p  capture screen"},
    {-140.8, -33.85, 35.0, "3  toggle birds-eye view mode"},
    {-102.4, -61.1, 35.0, "+ - zoom  < > rotate"},
    {-140.8, -88.35, 35.0, "M  toggle maze mode"},
    {-140.8, -115.6, 35.0, "h  help (show this screen)"},
    {-140.8, -142.85, 35.0, "K  kill all turtles"},
    {-140.8, -170.1, 35.0, "Q  exit"},
    {-102.4, -194.56, 35.0, "Press ESC to dismiss this screen"},
};

/// Lines only: text is made of strokes, the panel is not.
std::vector<vertex> strokes(const std::vector<piece>& pieces) {
    std::vector<vertex> all;
    for (const piece& p : pieces)
        if (p.kind != GL_POLYGON_TOKEN) all.insert(all.end(), p.vertices.begin(), p.vertices.end());
    return all;
}

/// The overlay's strokes are those of the lines, one after another, all in one colour.
void expect_texts(void (*overlay)(), std::span<const text_line> lines, double red, double green, double blue,
                  double alpha) {
    const auto drawn = strokes(vertices_of(overlay));
    std::vector<vertex> expected;
    for (const text_line& line : lines) {
        const auto one = flat(vertices_of([&] { drawString(nullptr, line.text, line.x, line.y, line.z); }));
        ASSERT_FALSE(one.empty());
        expected.insert(expected.end(), one.begin(), one.end());
    }
    ASSERT_EQ(drawn.size(), expected.size());
    for (size_t k = 0; k < drawn.size(); ++k) {
        ASSERT_TRUE(is_at(drawn[k], expected[k].x, expected[k].y, expected[k].z)) << "stroke vertex " << k;
        ASSERT_NEAR(drawn[k].red, red, COLOUR_TOLERANCE);
        ASSERT_NEAR(drawn[k].green, green, COLOUR_TOLERANCE);
        ASSERT_NEAR(drawn[k].blue, blue, COLOUR_TOLERANCE);
        ASSERT_NEAR(drawn[k].alpha, alpha, COLOUR_TOLERANCE);
    }
}

// Emission, a fifth of ambient and all of diffuse, cut at 1: of (1, 0.1, 0) that is (1, 0.22, 0).
TEST_F(Overlays, warning_is_four_bright_red_lines) { expect_texts(drawWarning, WARNING, 1.0, 0.22, 0.0, 1.0); }

// Of (1, 0.2, 0.1) likewise (1, 0.44, 0.22).
TEST_F(Overlays, help_lists_every_key_in_orange_red) { expect_texts(drawHelp, HELP, 1.0, 0.44, 0.22, 0.9); }

TEST_F(Overlays, warning_shows_its_red_whatever_was_drawn_before) {
    glNormal3d(0.0, -1.0, 0.0);
    glColor4d(0.0, 1.0, 0.0, 0.5);
    drawWarning();
    const shot s = read_window();
    const int red = pixels_of(s, {255, 56, 0}, 1); // 0.22 * 255 = 56.1
    EXPECT_GT(red, 1500);
    EXPECT_EQ(pixels_of(s, {0, 0, 0}, 0), SIDE * SIDE - red);
}

TEST_F(Overlays, warning_leaves_the_material_red_without_emission) {
    drawWarning();
    EXPECT_EQ(front_material(GL_EMISSION), (std::vector<float>{0.0F, 0.0F, 0.0F, 1.0F}));
    EXPECT_EQ(front_material(GL_AMBIENT), (std::vector<float>{1.0F, 0.1F, 0.0F, 1.0F}));
    EXPECT_EQ(front_material(GL_DIFFUSE), (std::vector<float>{1.0F, 0.1F, 0.0F, 1.0F}));
    expect_tidy_state();
}

TEST_F(Overlays, overlays_touch_the_front_material_only) {
    const float back[] = {0.1F, 0.2F, 0.3F, 0.4F};
    for (void (*overlay)() : {drawHelp, drawWarning}) {
        glMaterialfv(GL_BACK, GL_EMISSION, back);
        glMaterialfv(GL_BACK, GL_DIFFUSE, back);
        overlay();
        std::vector<float> colour(4);
        glGetMaterialfv(GL_BACK, GL_EMISSION, colour.data());
        EXPECT_EQ(colour, std::vector<float>(back, back + 4));
        glGetMaterialfv(GL_BACK, GL_DIFFUSE, colour.data());
        EXPECT_EQ(colour, std::vector<float>(back, back + 4));
    }
}

TEST_F(Overlays, help_leaves_the_material_orange_red_without_emission_and_resets_gl_state) {
    drawHelp();
    EXPECT_EQ(front_material(GL_EMISSION), (std::vector<float>{0.0F, 0.0F, 0.0F, 1.0F}));
    EXPECT_EQ(front_material(GL_DIFFUSE), (std::vector<float>{1.0F, 0.2F, 0.1F, 0.9F}));
    expect_tidy_state();
}

std::vector<vertex> panel_of_help() {
    std::vector<vertex> all;
    for (const piece& p : vertices_of(drawHelp))
        if (p.kind == GL_POLYGON_TOKEN) all.insert(all.end(), p.vertices.begin(), p.vertices.end());
    return all;
}

TEST_F(Overlays, help_panel_repeats_the_stone_fifteen_times_each_way_dimmed) {
    const auto panel = panel_of_help();
    ASSERT_FALSE(panel.empty());
    struct corner {
        double x, y, s, t;
    };
    for (const corner& c : {corner{-HALF, -HALF, 0, 0}, corner{HALF, -HALF, 15, 0}, corner{HALF, HALF, 15, 15},
                            corner{-HALF, HALF, 0, 15}}) {
        const vertex* v = find_vertex(panel, c.x, c.y, 30.0);
        ASSERT_TRUE(v) << c.x << ' ' << c.y;
        EXPECT_NEAR(v->s, c.s, COLOUR_TOLERANCE);
        EXPECT_NEAR(v->t, c.t, COLOUR_TOLERANCE);
        EXPECT_NEAR(v->red, 0.66, COLOUR_TOLERANCE); // 0.3 emission, 0.06 ambient, 0.3 diffuse
        EXPECT_NEAR(v->green, 0.66, COLOUR_TOLERANCE);
        EXPECT_NEAR(v->blue, 0.66, COLOUR_TOLERANCE);
        EXPECT_NEAR(v->alpha, 0.9, COLOUR_TOLERANCE);
    }
}

TEST_F(Overlays, help_panel_is_seen_from_above_only) {
    EXPECT_FALSE(panel_of_help().empty());
    glScaled(1.0, -1.0, -1.0);
    EXPECT_TRUE(panel_of_help().empty());
}

TEST_F(Overlays, help_panel_lies_flat_under_the_light) {
    // Tilted by 60 degrees, as the bird's-eye view tilts it, it gets half of the light that comes from the eye.
    glRotated(-60.0, 1.0, 0.0, 0.0);
    const auto panel = panel_of_help();
    ASSERT_FALSE(panel.empty());
    for (const vertex& v : panel) EXPECT_NEAR(v.red, 0.3 + 0.06 + 0.3 * 0.5, COLOUR_TOLERANCE);
}

TEST_F(Overlays, help_makes_the_stone_texture_when_it_is_missing_and_only_that) {
    for (size_t slot = 0; slot < OBJ_TEXTURES; ++slot)
        if (obj_tex_initialized[slot]) glDeleteTextures(1, &obj_textures[slot]);
    obj_tex_initialized.fill(0);
    drawHelp();
    EXPECT_EQ(obj_tex_initialized, (std::array<int, OBJ_TEXTURES>{0, 1, 0, 0}));
    const unsigned name = obj_textures[TEX_STONE];
    drawHelp();
    EXPECT_EQ(obj_textures[TEX_STONE], name);
}

TEST_F(Overlays, help_panel_is_translucent_by_a_tenth) {
    // The right margin of the panel, without text: the background shows with weight 1 - 0.9 * the stone's own alpha.
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE); // as icons and cards leave it
    glColor4d(0.0, 1.0, 0.0, 0.5);
    clear(0.0, 0.0, 0.0);
    drawHelp();
    const shot dark = read_window();
    clear(1.0, 1.0, 1.0);
    drawHelp();
    const shot bright = read_window();
    int looked_at = 0;
    for (int y = -100; y < 0; ++y)
        for (int x = 170; x < 200; ++x) {
            // 409.6 units show 15 * 32 texels; skip pixels whose centre lies close to a texel's border.
            const double u = (x + 0.5 + HALF) / (2 * HALF) * 480, v = (y + 0.5 + HALF) / (2 * HALF) * 480;
            if (u - std::floor(u) < 0.1 || u - std::floor(u) > 0.9 || v - std::floor(v) < 0.1 ||
                v - std::floor(v) > 0.9)
                continue;
            const int column = static_cast<int>(u) % 32, row = 31 - static_cast<int>(v) % 32;
            const double weight = 1 - 0.9 * stone_image32x32[(row * 32 + column) * 4 + 3] / 255.0;
            EXPECT_NEAR(bright.on_field(x, y).r - dark.on_field(x, y).r, 255 * weight, 3);
            // The stone itself is dimmed by the material's 0.3 + 0.06 + 0.3.
            const double grey = 0.66 * stone_image32x32[(row * 32 + column) * 4];
            EXPECT_NEAR(dark.on_field(x, y).r, grey * (1 - weight), 3);
            ++looked_at;
        }
    EXPECT_GT(looked_at, 500);
    EXPECT_EQ(dark.on_field(220, 0), (rgb{0, 0, 0}));
    EXPECT_EQ(bright.on_field(220, 0), (rgb{255, 255, 255}));
}

TEST_F(Overlays, both_overlays_in_one_frame_are_both_drawn) {
    drawHelp();
    const shot help = read_window();
    drawWarning();
    const shot both = read_window();
    // Left of the panel only the warning's first letters can be.
    int letters = 0;
    for (int y = 50; y < 140; ++y)
        for (int x = -231; x < -206; ++x) {
            EXPECT_EQ(help.on_field(x, y), (rgb{0, 0, 0}));
            letters += difference(both.on_field(x, y), {255, 56, 0}) <= 1;
        }
    EXPECT_GT(letters, 40);
    expect_tidy_state();
}

TEST_F(Overlays, help_covers_what_stands_on_the_field) {
    const float white[] = {1.0F, 1.0F, 1.0F, 1.0F};
    glMaterialfv(GL_FRONT, GL_EMISSION, white);
    drawString(nullptr, "a name above a turtle", -100.0, 112.0, 16.0);
    const shot before = read_window();
    clear(0.0, 0.0, 0.0);
    drawHelp();
    const shot help = read_window();
    clear(0.0, 0.0, 0.0);
    glMaterialfv(GL_FRONT, GL_EMISSION, white);
    drawString(nullptr, "a name above a turtle", -100.0, 112.0, 16.0);
    drawHelp();
    const shot both = read_window();
    EXPECT_GT(pixels_of(before, {255, 255, 255}, 0), 100);
    EXPECT_EQ(pixels_of(both, {255, 255, 255}, 0), 0);
    // Only the panel's translucence makes a difference: the stone may let more through where it is not opaque itself.
    EXPECT_LT(differing_pixels(help, both, 30), 20);
}

} // namespace
