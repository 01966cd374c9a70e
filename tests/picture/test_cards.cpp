#include "draw/card.h"

#include <cstring>

#include "cards/sheet.h"
#include "field/state.h"
#include "picture/picture.h"

using namespace picture;

namespace {

constexpr double TEXTURE_TOLERANCE = 1e-5;
constexpr int BLEND_TOLERANCE = 2; // of 255: rounding of the weight and of the sum

class Cards : public PictureTest {
protected:
    void SetUp() override {
        PictureTest::SetUp();
        forget_textures(card_textures, card_tex_initialized);
    }
};

TEST_F(Cards, card_is_one_quad_of_its_size_from_its_lower_left_corner) {
    const auto all = flat(vertices_of([] { draw_Card(-30.0, 40.0, 0.5, 7); }));
    ASSERT_FALSE(all.empty());
    struct corner {
        double x, y, s, t;
    };
    for (const corner& c :
         {corner{-30, 40, 0, 0}, corner{45, 40, 1, 0}, corner{45, 144, 1, 1}, corner{-30, 144, 0, 1}}) {
        const vertex* v = find_vertex(all, c.x, c.y, 0.5);
        ASSERT_TRUE(v) << c.x << ' ' << c.y;
        EXPECT_NEAR(v->s, c.s, TEXTURE_TOLERANCE);
        EXPECT_NEAR(v->t, c.t, TEXTURE_TOLERANCE);
    }
    expect_tidy_state();
}

TEST_F(Cards, card_sets_white_and_is_seen_from_above_only) {
    glColor4d(0.1, 0.2, 0.3, 0.4);
    draw_Card(0.0, 0.0, 0.5, 0);
    GLfloat colour[4] = {};
    glGetFloatv(GL_CURRENT_COLOR, colour);
    for (const GLfloat channel : colour) EXPECT_EQ(channel, 1.0F);
    glScaled(1.0, -1.0, -1.0);
    EXPECT_TRUE(vertices_of([] { draw_Card(0.0, 0.0, 0.5, 0); }).empty());
}

TEST_F(Cards, first_drawing_makes_that_cards_texture_and_the_second_none) {
    const int before = number_of_textures();
    draw_Card(0.0, 0.0, 1.0, 20);
    EXPECT_EQ(number_of_textures(), before + 1);
    const unsigned name = card_textures[20];
    for (int k = 0; k < 10; ++k) draw_Card(k * 9.0, 0.0, 1.0, 20);
    EXPECT_EQ(number_of_textures(), before + 1);
    EXPECT_EQ(card_textures[20], name);
    for (size_t k = 0; k < CARD_MAX; ++k) EXPECT_EQ(card_tex_initialized[k], k == 20);
}

TEST_F(Cards, texture_is_the_cropped_picture_unfiltered) {
    for (const int c : {0, 12, 13, 51, 52}) {
        glPixelStorei(GL_UNPACK_ALIGNMENT, 8); // a row of 300 bytes is no multiple of it
        init_card_tex(c);
        expect_tidy_state();
        std::vector<unsigned char> expected(CARD_BYTES), found(CARD_BYTES);
        crop_card_image(c, expected.data());
        glBindTexture(GL_TEXTURE_2D, card_textures[static_cast<size_t>(c)]);
        GLint width = 0, height = 0, mag = 0, min = 0;
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &mag);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &min);
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, found.data());
        glBindTexture(GL_TEXTURE_2D, 0);
        EXPECT_EQ(width, 75);
        EXPECT_EQ(height, 104);
        EXPECT_EQ(mag, GL_NEAREST);
        EXPECT_EQ(min, GL_NEAREST);
        EXPECT_EQ(found, expected) << "card " << c;
        EXPECT_EQ(memcmp(card_text_image[static_cast<size_t>(c)], expected.data(), CARD_BYTES), 0);
    }
}

TEST_F(Cards, every_pixel_of_a_card_is_blended_over_the_field) {
    const rgb ground = {0, 102, 204};
    const float black[] = {0.0F, 0.0F, 0.0F, 1.0F};
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, black); // a card is not lit
    for (int c = 0; c < CARD_MAX; ++c) {
        clear(0.0, 0.4, 0.8);
        draw_Card(-30.0, -50.0, 1.0, c);
        const shot s = read_window();
        const unsigned char* picture = card_text_image[static_cast<size_t>(c)];
        int wrong = 0, clear_pixels = 0;
        for (int row = 0; row < CARD_HEIGHT; ++row)
            for (int column = 0; column < CARD_WIDTH; ++column) {
                const unsigned char* p = picture + (row * CARD_WIDTH + column) * 4;
                const double a = p[3] / 255.0;
                const auto mix = [&](int over, int under) {
                    return static_cast<int>(over * a + under * (1 - a) + 0.5);
                };
                const rgb expected = {mix(p[0], ground.r), mix(p[1], ground.g), mix(p[2], ground.b)};
                wrong += difference(s.on_field(column - 30, row - 50), expected) > BLEND_TOLERANCE;
                clear_pixels += p[3] == 0;
            }
        EXPECT_EQ(wrong, 0) << "card " << c;
        EXPECT_GE(clear_pixels, 4) << "card " << c; // its corners are rounded
        for (const int x : {-30, 44})
            for (const int y : {-50, 53}) EXPECT_EQ(s.on_field(x, y), ground) << "card " << c;
        const box b = ink(s, ground, 0);
        EXPECT_GE(b.left, 226);
        EXPECT_LE(b.right, 300);
        EXPECT_GE(b.bottom, 206);
        EXPECT_LE(b.top, 309);
    }
}

TEST_F(Cards, higher_card_covers_the_lower_whichever_is_drawn_first) {
    clear(0.0, 0.4, 0.8);
    draw_Card(0.0, 0.0, 1.0, 5);
    const shot alone = read_window();
    for (const bool upper_first : {true, false}) {
        clear(0.0, 0.4, 0.8);
        if (upper_first) draw_Card(0.0, 0.0, 1.0, 5);
        draw_Card(20.0, 30.0, 1 / 53.0, 40);
        if (!upper_first) draw_Card(0.0, 0.0, 1.0, 5);
        const shot s = read_window();
        // Inside both cards, away from the rounded corners.
        int wrong = 0;
        for (int y = 40; y < 94; ++y)
            for (int x = 30; x < 65; ++x) wrong += s.on_field(x, y) != alone.on_field(x, y);
        EXPECT_EQ(wrong, 0);
    }
}

TEST_F(Cards, neighbouring_depths_are_told_apart) {
    draw_Card(0.0, 0.0, 12 / 53.0, 5);
    const shot upper = read_window();
    draw_Card(0.0, 0.0, 11 / 53.0, 40);
    EXPECT_LT(differing_pixels(upper, read_window(), 0), 40); // but for the upper card's corners
}

} // namespace
