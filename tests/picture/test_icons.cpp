#include "draw/icons.h"

#include <array>

#include "field/state.h"
#include "images.h"
#include "picture/picture.h"

using namespace picture;

namespace {

using icon_bytes = std::array<unsigned char, ICON_BYTES>;

constexpr int BLEND_TOLERANCE = 2; // of 255: rounding of the weight and of the sum
constexpr double COLOUR_TOLERANCE = 1e-5;

class Icons : public PictureTest {
protected:
    void SetUp() override {
        PictureTest::SetUp();
        forget_textures(obj_textures, obj_tex_initialized);
        obj_textures.fill(0);
        ncoin = 0;
    }
    void TearDown() override {
        ncoin = 0;
        PictureTest::TearDown();
    }
};

TEST_F(Icons, flipped_icon_has_its_rows_reversed_and_its_bytes_in_order) {
    icon_bytes source, flipped;
    for (size_t k = 0; k < source.size(); ++k) source[k] = static_cast<unsigned char>(k * 7 + k / 256);
    flip32x32icon(source.data(), flipped.data());
    for (size_t row = 0; row < 32; ++row)
        for (size_t k = 0; k < 128; ++k) ASSERT_EQ(flipped[(31 - row) * 128 + k], source[row * 128 + k]);
}

TEST_F(Icons, icon_flipped_twice_is_the_one_it_started_from) {
    icon_bytes source, once, twice;
    for (size_t k = 0; k < source.size(); ++k) source[k] = static_cast<unsigned char>(k * 31 + k / 128);
    flip32x32icon(source.data(), once.data());
    flip32x32icon(once.data(), twice.data());
    EXPECT_NE(once, source);
    EXPECT_EQ(twice, source);
}

TEST_F(Icons, each_routine_makes_its_own_slot_and_no_other) {
    struct routine {
        void (*draw)();
        size_t slot;
    };
    const routine routines[] = {{[] { drawIcon_Doughnut(0, 0); }, 0},
                                {[] { drawIcon_Stone(0, 0); }, 1},
                                {[] { drawStoneWall(0, 0, 32, 0, 0, 1); }, 1},
                                {[] { drawIcon_Coin(0, 0, 0); }, 2},
                                {[] { bind_obj_tex(TEX_BRUSH_DOT); }, 3}};
    for (const routine& r : routines) {
        SetUp();
        r.draw();
        glBindTexture(GL_TEXTURE_2D, 0);
        for (size_t slot = 0; slot < OBJ_TEXTURES; ++slot) EXPECT_EQ(obj_tex_initialized[slot], slot == r.slot);
        EXPECT_TRUE(glIsTexture(obj_textures[r.slot]));
    }
}

TEST_F(Icons, hundred_doughnuts_make_one_texture) {
    const int before = number_of_textures();
    for (int k = 0; k < 100; ++k) drawIcon_Doughnut(k, k);
    EXPECT_EQ(number_of_textures(), before + 1);
}

TEST_F(Icons, texture_holds_the_flipped_image_unfiltered_and_repeating) {
    const std::array<const unsigned char*, 4> images = {doughnut_image32x32, stone_image32x32, coin_image32x32,
                                                        ten_image32x32};
    for (int slot = 0; slot < OBJ_TEXTURES; ++slot) {
        icon_bytes expected, found;
        flip32x32icon(images[static_cast<size_t>(slot)], expected.data());
        bind_obj_tex(slot);
        GLint width = 0, height = 0, format = 0, mag = 0, min = 0, wrap_s = 0, wrap_t = 0;
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &mag);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &min);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, &wrap_s);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, &wrap_t);
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, found.data());
        glBindTexture(GL_TEXTURE_2D, 0);
        EXPECT_EQ(width, 32);
        EXPECT_EQ(height, 32);
        EXPECT_EQ(format, GL_RGBA);
        EXPECT_EQ(mag, GL_NEAREST);
        EXPECT_EQ(min, GL_NEAREST);
        EXPECT_EQ(wrap_s, GL_REPEAT);
        EXPECT_EQ(wrap_t, GL_REPEAT);
        EXPECT_EQ(found, expected);
        EXPECT_EQ(obj_text_image[static_cast<size_t>(slot)], expected);
    }
}

TEST_F(Icons, making_a_texture_leaves_none_bound) {
    init_obj_tex(TEX_COIN, coin_image32x32);
    expect_tidy_state();
}

void expect_icon_quad(const std::function<void()>& draw, double x, double y, double z) {
    const auto all = flat(vertices_of(draw));
    ASSERT_FALSE(all.empty());
    struct corner {
        double x, y, s, t;
    };
    for (const corner& c : {corner{x - 10, y - 10, 0, 0}, corner{x + 9, y - 10, 1, 0}, corner{x + 9, y + 9, 1, 1},
                            corner{x - 10, y + 9, 0, 1}}) {
        const vertex* v = find_vertex(all, c.x, c.y, z);
        ASSERT_TRUE(v) << c.x << ' ' << c.y << ' ' << z;
        EXPECT_NEAR(v->s, c.s, COLOUR_TOLERANCE);
        EXPECT_NEAR(v->t, c.t, COLOUR_TOLERANCE);
    }
    for (const vertex& v : all) EXPECT_NEAR(v.z, z, VERTEX_TOLERANCE);
    expect_tidy_state();
}

TEST_F(Icons, icons_reach_from_ten_before_to_nine_behind_their_place_at_their_heights) {
    expect_icon_quad([] { drawIcon_Doughnut(30.0, -20.0); }, 30.0, -20.0, 2.0);
    expect_icon_quad([] { drawIcon_Stone(-100.0, 50.0); }, -100.0, 50.0, 3.0);
    expect_icon_quad([] { drawIcon_Coin(0, 7.0, 8.0); }, 7.0, 8.0, 1.0);
}

TEST_F(Icons, coin_height_grows_with_its_number) {
    expect_icon_quad([] { drawIcon_Coin(0, 0, 0); }, 0, 0, 1.0);
    ncoin = 3;
    expect_icon_quad([] { drawIcon_Coin(3, 0, 0); }, 0, 0, 2.125); // 1 + 3/4 * 1.5
    expect_icon_quad([] { drawIcon_Coin(1, 0, 0); }, 0, 0, 1.375); // 1 + 1/4 * 1.5
    ncoin = 299;
    expect_icon_quad([] { drawIcon_Coin(150, 0, 0); }, 0, 0, 1.75); // 1 + 150/300 * 1.5
}

TEST_F(Icons, doughnut_and_stone_set_white_and_the_coin_keeps_the_colour) {
    GLfloat colour[4] = {};
    glColor4d(0.25, 0.5, 0.75, 0.5);
    drawIcon_Coin(0, 0, 0);
    glGetFloatv(GL_CURRENT_COLOR, colour);
    EXPECT_EQ(colour[0], 0.25F);
    EXPECT_EQ(colour[3], 0.5F);
    for (void (*draw)(double, double) : {drawIcon_Doughnut, drawIcon_Stone}) {
        glColor4d(0.25, 0.5, 0.75, 0.5);
        draw(0, 0);
        glGetFloatv(GL_CURRENT_COLOR, colour);
        for (const GLfloat channel : colour) EXPECT_EQ(channel, 1.0F);
    }
}

TEST_F(Icons, icon_is_seen_from_above_only) {
    glScaled(1.0, -1.0, -1.0); // the field from below
    EXPECT_TRUE(vertices_of([] { drawIcon_Doughnut(0, 0); }).empty());
    EXPECT_TRUE(vertices_of([] { drawIcon_Stone(0, 0); }).empty());
    EXPECT_TRUE(vertices_of([] { drawIcon_Coin(0, 0, 0); }).empty());
}

// Pixel k of 19 shows texel (k + 0.5) * 32 / 19 rounded down; the middle one falls on the border between two.
constexpr int ICON_PIXELS = 19, UNDECIDED = 9;
int texel_of(int k) { return static_cast<int>((k + 0.5) * 32.0 / ICON_PIXELS); }

void expect_blended_icon(const shot& s, const unsigned char* image, const rgb& ground) {
    for (int row = 0; row < ICON_PIXELS; ++row)
        for (int column = 0; column < ICON_PIXELS; ++column) {
            if (row == UNDECIDED || column == UNDECIDED) continue;
            const unsigned char* texel = image + ((31 - texel_of(row)) * 32 + texel_of(column)) * 4;
            const double a = texel[3] / 255.0;
            const auto mix = [&](int over, int under) { return static_cast<int>(over * a + under * (1 - a) + 0.5); };
            const rgb expected = {mix(texel[0], ground.r), mix(texel[1], ground.g), mix(texel[2], ground.b)};
            ASSERT_LE(difference(s.on_field(column - 10, row - 10), expected), BLEND_TOLERANCE)
                << s.on_field(column - 10, row - 10) << " for " << expected << " at " << column << ' ' << row;
        }
    const box b = ink(s, ground, 0);
    EXPECT_GE(b.left, SIDE / 2 - 10);
    EXPECT_GE(b.bottom, SIDE / 2 - 10);
    EXPECT_LE(b.right, SIDE / 2 + 8);
    EXPECT_LE(b.top, SIDE / 2 + 8);
}

TEST_F(Icons, icons_show_their_image_unlit_over_what_lies_below) {
    const rgb ground = {0, 102, 204};
    const float black[] = {0.0F, 0.0F, 0.0F, 1.0F};
    struct icon {
        void (*draw)();
        const unsigned char* image;
    };
    for (const icon& i : {icon{[] { drawIcon_Doughnut(0, 0); }, doughnut_image32x32},
                          icon{[] { drawIcon_Stone(0, 0); }, stone_image32x32},
                          icon{[] { drawIcon_Coin(0, 0, 0); }, coin_image32x32}}) {
        clear(0.0, 0.4, 0.8);
        glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, black);
        i.draw();
        expect_blended_icon(read_window(), i.image, ground);
    }
}

TEST_F(Icons, coin_with_the_higher_number_covers_the_lower_whatever_the_order) {
    ncoin = 2;
    const auto shot_of = [](int first, int second) {
        clear(0.0, 0.0, 0.0);
        drawIcon_Coin(first, first * 6.0, 0.0);
        drawIcon_Coin(second, second * 6.0, 0.0);
        return read_window();
    };
    const shot ascending = shot_of(0, 1), descending = shot_of(1, 0);
    // Where the upper coin is opaque both orders show it.
    clear(0.0, 0.0, 0.0);
    drawIcon_Coin(1, 6.0, 0.0);
    const shot upper = read_window();
    int opaque = 0;
    for (int row = 0; row < ICON_PIXELS; ++row)
        for (int column = 0; column < ICON_PIXELS; ++column) {
            if (row == UNDECIDED || column == UNDECIDED) continue;
            if (coin_image32x32[((31 - texel_of(row)) * 32 + texel_of(column)) * 4 + 3] != 255) continue;
            ++opaque;
            EXPECT_EQ(ascending.on_field(column - 4, row - 10), upper.on_field(column - 4, row - 10));
            EXPECT_EQ(descending.on_field(column - 4, row - 10), upper.on_field(column - 4, row - 10));
        }
    EXPECT_GT(opaque, 100);
}

// A camera at the field's height that looks along -y at a face with normal (0, 1): window x is field -x, window y is
// field z, and the distance along the view is field y.
void side_view() {
    top_view();
    glLoadIdentity();
    gluLookAt(0.0, EYE, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0);
}

TEST_F(Icons, wall_is_fifteen_high_and_repeats_the_stone_every_32_units) {
    side_view();
    const float diffuse[] = {0.5F, 0.4F, 0.3F, 1.0F}, ambient[] = {0.5F, 0.0F, 1.0F, 1.0F};
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse);
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, ambient);
    const auto all = flat(vertices_of([] { drawStoneWall(-20.0, 10.0, 44.0, 10.0, 0.0, 1.0); }));
    ASSERT_FALSE(all.empty());
    struct corner {
        double x, z, s, t;
    };
    // 64 units are two repeats; 15 of 32 texels are 0.46875.
    for (const corner& c :
         {corner{-20, 0, 0, 0}, corner{-20, 15, 0, 0.46875}, corner{44, 15, 2, 0.46875}, corner{44, 0, 2, 0}}) {
        const vertex* v = find_vertex(all, -c.x, c.z, 10.0);
        ASSERT_TRUE(v) << c.x << ' ' << c.z;
        EXPECT_NEAR(v->s, c.s, COLOUR_TOLERANCE);
        EXPECT_NEAR(v->t, c.t, COLOUR_TOLERANCE);
        // It faces the light: diffuse and a fifth of ambient.
        EXPECT_NEAR(v->red, 0.6, COLOUR_TOLERANCE);
        EXPECT_NEAR(v->green, 0.4, COLOUR_TOLERANCE);
        EXPECT_NEAR(v->blue, 0.5, COLOUR_TOLERANCE);
    }
    expect_tidy_state();
}

TEST_F(Icons, wall_of_64_shows_each_texel_lit_once_per_unit_and_the_pattern_twice) {
    side_view();
    const float half[] = {0.5F, 0.5F, 0.5F, 1.0F}, none[] = {0.0F, 0.0F, 0.0F, 1.0F};
    glMaterialfv(GL_FRONT, GL_DIFFUSE, half);
    glMaterialfv(GL_FRONT, GL_AMBIENT, none);
    drawStoneWall(-32.0, 0.0, 32.0, 0.0, 0.0, 1.0);
    const shot s = read_window();
    for (int row = 0; row < 15; ++row)
        for (int k = 0; k < 64; ++k) {
            // Texel k mod 32 from the first end, which is at the right of the window; row 0 is the image's last row.
            const unsigned char* texel = stone_image32x32 + ((31 - row) * 32 + k % 32) * 4;
            const rgb expected = {texel[0] / 2, texel[1] / 2, texel[2] / 2};
            ASSERT_LE(difference(s.on_field(31 - k, row), expected), BLEND_TOLERANCE) << k << ' ' << row;
        }
    EXPECT_EQ(s.on_field(32, 3), (rgb{0, 0, 0}));
    EXPECT_EQ(s.on_field(-33, 3), (rgb{0, 0, 0}));
    EXPECT_EQ(s.on_field(0, 15), (rgb{0, 0, 0}));
}

TEST_F(Icons, wall_is_seen_from_its_front_only) {
    side_view();
    EXPECT_TRUE(vertices_of([] { drawStoneWall(32.0, 0.0, -32.0, 0.0, 0.0, -1.0); }).empty());
    EXPECT_FALSE(vertices_of([] { drawStoneWall(-32.0, 0.0, 32.0, 0.0, 0.0, 1.0); }).empty());
}

struct look {
    const char* name;
    void (*set)();
};
const look LOOKS[] = {{"top", [] { top_view(); }}, {"bird", [] { bird_view(55.0, 0.0); }}, {"bird turned", [] {
                                                                                                bird_view(35.0, 37.0);
                                                                                            }}};

TEST_F(Icons, coin_batch_has_the_pixels_and_the_state_of_single_coins) {
    ncoin = 60;
    const auto place = [](int n) {
        return std::pair(std::fmod(n * 61.7, 440.0) - 220, std::fmod(n * 37.3, 440.0) - 220);
    };
    for (const look& l : LOOKS) {
        clear(0.1, 0.3, 0.2);
        l.set();
        for (int n = 0; n < ncoin; ++n) drawIcon_Coin(n, place(n).first, place(n).second);
        const shot single = read_window();
        EXPECT_GT(pixels_of(single, single.at(0, 0), 0), 1000);
        clear(0.1, 0.3, 0.2);
        begin_coin_batch();
        for (int n = 0; n < ncoin; ++n) coin_in_batch(n, place(n).first, place(n).second);
        end_coin_batch();
        EXPECT_EQ(differing_pixels(single, read_window(), 0), 0) << l.name;
        expect_tidy_state();
    }
}

TEST_F(Icons, wall_batch_has_the_pixels_and_the_state_of_single_walls) {
    const auto each_wall = [](void (*draw)(double, double, double, double, double, double)) {
        for (int k = 0; k < 120; ++k) {
            // Spokes on a grid, both faces of each, in all directions.
            const double x = k % 12 * 40.0 - 220, y = k / 12 * 44.0 - 210, a = k * 0.7, dx = 18 * std::cos(a),
                         dy = 18 * std::sin(a);
            draw(x - dx, y - dy, x + dx, y + dy, -std::sin(a), std::cos(a));
            draw(x + dx, y + dy, x - dx, y - dy, std::sin(a), -std::cos(a));
        }
    };
    for (const look& l : LOOKS) {
        clear(0.0, 0.0, 0.0);
        l.set();
        each_wall(drawStoneWall);
        const shot single = read_window();
        clear(0.0, 0.0, 0.0);
        begin_stone_wall_batch();
        each_wall(stone_wall_in_batch);
        end_stone_wall_batch();
        EXPECT_EQ(differing_pixels(single, read_window(), 0), 0) << l.name;
        expect_tidy_state();
    }
    EXPECT_GT(SIDE * SIDE - pixels_of(read_window(), {0, 0, 0}, 0), 5000);
}

TEST_F(Icons, empty_batches_draw_nothing_and_reset_gl_state) {
    begin_coin_batch();
    end_coin_batch();
    begin_stone_wall_batch();
    end_stone_wall_batch();
    EXPECT_EQ(pixels_of(read_window(), {0, 0, 0}, 0), SIDE * SIDE);
    expect_tidy_state();
}

TEST_F(Icons, background_tiles_fill_the_window_pixel_for_pixel) {
    canvas_view();
    // None of these may tint the tiles.
    const float red[] = {1.0F, 0.0F, 0.0F, 1.0F};
    glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, red);
    glColor4d(0.0, 0.0, 0.0, 0.0);
    bind_obj_tex(TEX_STONE);
    glBindTexture(GL_TEXTURE_2D, 0);
    drawBackground();
    const shot s = read_window();
    // The first tile starts in the lower left corner; the image's first row is its lowest.
    int wrong = 0;
    for (int row = 0; row < SIDE; ++row)
        for (int column = 0; column < SIDE; ++column) {
            const unsigned char* p = background_image200x200 + (row % 200 * 200 + column % 200) * 3;
            wrong += s.at(column, row) != rgb{p[0], p[1], p[2]};
        }
    EXPECT_EQ(wrong, 0);
    expect_tidy_state();
}

TEST_F(Icons, background_is_the_same_under_any_unpacking_and_with_texturing_left_on) {
    canvas_view();
    drawBackground();
    const shot expected = read_window();
    clear(0.0, 0.0, 0.0);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 8);
    bind_obj_tex(TEX_STONE);
    glEnable(GL_TEXTURE_2D);
    drawBackground();
    glBindTexture(GL_TEXTURE_2D, 0);
    EXPECT_EQ(differing_pixels(expected, read_window(), 0), 0);
    expect_tidy_state();
}

} // namespace
