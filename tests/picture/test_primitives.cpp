#include "draw/primitives.h"

#include <array>

#include "picture/picture.h"

using namespace picture;

namespace {

class Primitives : public PictureTest {};

constexpr double TABLE_TOLERANCE = 1e-14; // rounding of eleven additions of pi/6
constexpr rgb BLACK = {0, 0, 0};

TEST_F(Primitives, tables_hold_sine_and_cosine_of_every_30_degrees) {
    sine_tab.fill(9.0);
    cosine_tab.fill(9.0);
    first_call = 1;
    init_sc_tab();
    EXPECT_EQ(first_call, 0);
    for (size_t k = 0; k < sine_tab.size(); ++k) {
        EXPECT_NEAR(sine_tab[k], std::sin(static_cast<double>(k) * M_PI / 6.0), TABLE_TOLERANCE);
        EXPECT_NEAR(cosine_tab[k], std::cos(static_cast<double>(k) * M_PI / 6.0), TABLE_TOLERANCE);
    }
}

TEST_F(Primitives, first_shape_of_any_kind_fills_the_tables) {
    using shape = void (*)();
    const shape shapes[] = {[] { drawCircle(0, 0, 0, 1); }, [] { fillCircle(0, 0, 0, 1); },
                            [] { drawOval(0, 0, 0, 1, 2); }, [] { fillOval(0, 0, 0, 1, 2); }};
    for (const shape draw : shapes) {
        sine_tab.fill(9.0);
        first_call = 1;
        draw();
        EXPECT_EQ(first_call, 0);
        EXPECT_NEAR(sine_tab[3], 1.0, TABLE_TOLERANCE); // 90 degrees
    }
}

// The rim: centre plus half-axis times cosine and sine of k * 30 degrees.
void expect_outline(const std::vector<piece>& lines, double x, double y, double z, double rx, double ry) {
    ASSERT_EQ(lines.size(), 12u);
    for (size_t k = 0; k < 12; ++k) {
        const double a = static_cast<double>(k) * M_PI / 6.0, b = static_cast<double>(k + 1) * M_PI / 6.0;
        ASSERT_EQ(lines[k].vertices.size(), 2u);
        EXPECT_TRUE(is_at(lines[k].vertices[0], x + rx * std::cos(a), y + ry * std::sin(a), z)) << "side " << k;
        EXPECT_TRUE(is_at(lines[k].vertices[1], x + rx * std::cos(b), y + ry * std::sin(b), z)) << "side " << k;
    }
}

TEST_F(Primitives, circle_is_a_loop_of_twelve_sides_at_its_height) {
    expect_outline(vertices_of([] { drawCircle(10.0, -20.0, 5.0, 40.0); }), 10.0, -20.0, 5.0, 40.0, 40.0);
}

TEST_F(Primitives, oval_has_its_own_half_axis_each_way) {
    expect_outline(vertices_of([] { drawOval(-7.0, 3.0, 12.0, 50.0, 20.0); }), -7.0, 3.0, 12.0, 50.0, 20.0);
}

TEST_F(Primitives, negative_radius_mirrors_the_rim_through_the_centre) {
    const auto lines = vertices_of([] { drawCircle(0.0, 0.0, 0.0, -30.0); });
    expect_outline(lines, 0.0, 0.0, 0.0, -30.0, -30.0);
    EXPECT_TRUE(is_at(lines[0].vertices[0], -30.0, 0.0, 0.0));
}

TEST_F(Primitives, radius_zero_draws_all_vertices_at_the_centre) {
    expect_outline(vertices_of([] { drawCircle(4.0, 5.0, 6.0, 0.0); }), 4.0, 5.0, 6.0, 0.0, 0.0);
    for (const vertex& v : flat(vertices_of([] { fillCircle(4.0, 5.0, 6.0, 0.0); })))
        EXPECT_TRUE(is_at(v, 4.0, 5.0, 0.0));
}

void expect_fan(const std::vector<piece>& triangles, double x, double y, double rx, double ry) {
    ASSERT_EQ(triangles.size(), 12u);
    for (size_t k = 0; k < 12; ++k) {
        const double a = static_cast<double>(k) * M_PI / 6.0, b = static_cast<double>(k + 1) * M_PI / 6.0;
        const auto& v = triangles[k].vertices;
        ASSERT_EQ(v.size(), 3u);
        EXPECT_TRUE(find_vertex(v, x, y, 0.0)) << "triangle " << k;
        EXPECT_TRUE(find_vertex(v, x + rx * std::cos(a), y + ry * std::sin(a), 0.0)) << "triangle " << k;
        EXPECT_TRUE(find_vertex(v, x + rx * std::cos(b), y + ry * std::sin(b), 0.0)) << "triangle " << k;
    }
}

TEST_F(Primitives, filled_circle_lies_on_the_ground_whatever_its_height) {
    expect_fan(vertices_of([] { fillCircle(10.0, 20.0, 5.0, 30.0); }), 10.0, 20.0, 30.0, 30.0);
}

TEST_F(Primitives, filled_oval_lies_on_the_ground_whatever_its_height) {
    expect_fan(vertices_of([] { fillOval(-10.0, 20.0, -5.0, 60.0, 30.0); }), -10.0, 20.0, 60.0, 30.0);
}

TEST_F(Primitives, shapes_take_the_colour_in_force_and_keep_it) {
    glDisable(GL_LIGHTING);
    glColor4d(0.25, 0.5, 0.75, 1.0);
    for (const vertex& v : flat(vertices_of([] { fillCircle(0, 0, 0, 10); }))) {
        EXPECT_NEAR(v.red, 0.25, 1e-6);
        EXPECT_NEAR(v.green, 0.5, 1e-6);
        EXPECT_NEAR(v.blue, 0.75, 1e-6);
    }
    GLfloat colour[4] = {};
    glGetFloatv(GL_CURRENT_COLOR, colour);
    EXPECT_EQ(colour[1], 0.5F);
    expect_tidy_state();
}

TEST_F(Primitives, filled_circle_covers_its_area) {
    glDisable(GL_LIGHTING);
    fillCircle(0.0, 0.0, 0.0, 100.0);
    // A regular twelve-sided polygon of radius r has the area 3 r^2. A rim pixel counts when its centre is inside, so
    // the count is off by less than a pixel per unit of rim, 12 * 2 * 100 * sin(15 degrees) = 621; errors of opposite
    // sides mostly cancel.
    EXPECT_NEAR(pixels_of(read_window(), {255, 255, 255}, 0), 30000, 150);
}

void glow(float r, float g, float b) {
    const float colour[] = {r, g, b, 1.0F};
    const float none[] = {0.0F, 0.0F, 0.0F, 1.0F};
    glMaterialfv(GL_FRONT, GL_EMISSION, colour);
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, none);
}

TEST_F(Primitives, text_stands_on_its_anchor_and_runs_to_the_right) {
    const auto strokes = flat(vertices_of([] { drawString(GLUT_BITMAP_HELVETICA_12, "H", 30.0, -40.0, 16.0); }));
    ASSERT_FALSE(strokes.empty());
    double left = 1e9, right = -1e9, low = 1e9, high = -1e9;
    for (const vertex& v : strokes) {
        left = std::min(left, v.x);
        right = std::max(right, v.x);
        low = std::min(low, v.y);
        high = std::max(high, v.y);
        EXPECT_NEAR(v.z, 16.0, VERTEX_TOLERANCE);
    }
    // A capital of the stroke font stands on the baseline and is 100 units high, a tenth of that on the field.
    EXPECT_NEAR(low, -40.0, VERTEX_TOLERANCE);
    EXPECT_NEAR(high, -30.0, VERTEX_TOLERANCE);
    const double advance = static_cast<double>(glutStrokeWidthf(GLUT_STROKE_ROMAN, 'H')) * 0.1;
    EXPECT_GE(left, 30.0 - VERTEX_TOLERANCE);
    EXPECT_LE(right, 30.0 + advance + VERTEX_TOLERANCE);
}

TEST_F(Primitives, glyphs_follow_one_another_by_their_widths) {
    const auto first = flat(vertices_of([] { drawString(nullptr, "A", 0.0, 0.0, 1.0); }));
    const auto both = flat(vertices_of([] { drawString(nullptr, "WA", 0.0, 0.0, 1.0); }));
    const double advance = static_cast<double>(glutStrokeWidthf(GLUT_STROKE_ROMAN, 'W')) * 0.1;
    for (const vertex& v : first) EXPECT_TRUE(find_vertex(both, v.x + advance, v.y, 1.0));
}

// The font's own calls with the same transformation, one by one.
void use_reference_path(const char* text, double x, double y, double z) {
    glPushMatrix();
    glTranslated(x, y, z);
    glScaled(0.1, 0.1, 0.1);
    for (const char* c = text; *c; ++c) glutStrokeCharacter(GLUT_STROKE_ROMAN, static_cast<unsigned char>(*c));
    glPopMatrix();
}

TEST_F(Primitives, every_glyph_has_the_pixels_of_the_fonts_own_calls) {
    std::string all;
    for (char c = 1; c < 127; ++c) all += c;
    for (const bool tilted : {false, true}) {
        const auto shot_of = [&](const std::function<void(const char*, double, double)>& write) {
            clear(0.0, 0.0, 0.0);
            if (tilted)
                bird_view(55.0, 20.0);
            else
                top_view();
            glow(1.0F, 1.0F, 1.0F);
            for (size_t k = 0; k < all.size(); k += 32)
                write(all.substr(k, 32).c_str(), -250.0, 200.0 - static_cast<double>(k) * 2.0);
            return read_window();
        };
        const shot ours = shot_of([](const char* t, double x, double y) { drawString(nullptr, t, x, y, 16.0); });
        const shot plain = shot_of([](const char* t, double x, double y) { use_reference_path(t, x, y, 16.0); });
        EXPECT_GT(pixels_of(ours, {255, 255, 255}, 0), 500);
        EXPECT_EQ(differing_pixels(ours, plain, 0), 0);
    }
}

TEST_F(Primitives, text_is_the_same_whatever_font_is_passed) {
    std::vector<shot> shots;
    for (void* font : {GLUT_BITMAP_HELVETICA_12, GLUT_BITMAP_HELVETICA_18, GLUT_BITMAP_9_BY_15, GLUT_STROKE_MONO_ROMAN,
                       static_cast<void*>(nullptr)}) {
        clear(0.0, 0.0, 0.0);
        glow(0.5F, 0.5F, 1.0F);
        drawString(font, "any font", -50.0, 0.0, 16.0);
        shots.push_back(read_window());
    }
    EXPECT_GT(ink(shots[0], BLACK, 0).right, 0);
    for (const shot& s : shots) EXPECT_EQ(differing_pixels(s, shots[0], 0), 0);
}

TEST_F(Primitives, text_shows_the_lit_material_whatever_normal_was_in_force) {
    // Ambient light 0.2 and a full diffuse light on a surface that faces it: 0.1 + 0.5 * 0.2 + 0.5 = 0.7 of red.
    const float half_red[] = {0.5F, 0.0F, 0.0F, 1.0F};
    const float faint[] = {0.1F, 0.0F, 0.0F, 1.0F};
    for (const double nz : {1.0, 0.0, -1.0}) {
        clear(0.0, 0.0, 0.0);
        glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, half_red);
        glMaterialfv(GL_FRONT, GL_EMISSION, faint);
        glNormal3d(1.0 - std::abs(nz), 0.0, nz);
        drawString(nullptr, "E", 0.0, 0.0, 16.0);
        const shot s = read_window();
        const int lit = pixels_of(s, {179, 0, 0}, 1); // 0.7 * 255 = 178.5
        EXPECT_GT(lit, 20);
        EXPECT_EQ(pixels_of(s, BLACK, 0), SIDE * SIDE - lit);
    }
}

TEST_F(Primitives, empty_and_missing_texts_draw_nothing) {
    EXPECT_TRUE(vertices_of([] { drawString(nullptr, "", 0.0, 0.0, 0.0); }).empty());
    EXPECT_TRUE(vertices_of([] { drawString(nullptr, nullptr, 0.0, 0.0, 0.0); }).empty());
    EXPECT_TRUE(vertices_of([] { drawBoundedString(nullptr, nullptr, 8, 0.0, 0.0, 0.0); }).empty());
    expect_tidy_state();
}

TEST_F(Primitives, bytes_without_a_glyph_draw_nothing_and_take_no_room) {
    const auto plain = flat(vertices_of([] { drawString(nullptr, "ab", 0.0, 0.0, 0.0); }));
    const auto mixed = flat(vertices_of([] {
        drawString(nullptr,
                   "\x80\xff\n"
                   "a\x07\xc3\xa4"
                   "b",
                   0.0, 0.0, 0.0);
    }));
    ASSERT_EQ(mixed.size(), plain.size());
    for (size_t k = 0; k < plain.size(); ++k) EXPECT_TRUE(is_at(mixed[k], plain[k].x, plain[k].y, plain[k].z));
}

TEST_F(Primitives, bounded_text_ends_at_its_size_or_at_its_terminator) {
    const char unterminated[4] = {'a', 'b', 'c', 'd'};
    const auto expected = flat(vertices_of([] { drawString(nullptr, "abcd", 0.0, 0.0, 0.0); }));
    EXPECT_EQ(flat(vertices_of([&] { drawBoundedString(nullptr, unterminated, 4, 0.0, 0.0, 0.0); })).size(),
              expected.size());
    const auto early = flat(vertices_of([] { drawString(nullptr, "ab", 0.0, 0.0, 0.0); }));
    EXPECT_EQ(flat(vertices_of([] { drawBoundedString(nullptr, "ab\0cd", 5, 0.0, 0.0, 0.0); })).size(), early.size());
    EXPECT_EQ(flat(vertices_of([&] { drawBoundedString(nullptr, unterminated, 2, 0.0, 0.0, 0.0); })).size(),
              early.size());
}

TEST_F(Primitives, text_puts_the_matrix_back) {
    GLdouble before[16] = {}, after[16] = {};
    glGetDoublev(GL_MODELVIEW_MATRIX, before);
    drawString(nullptr, "some text", 12.0, 34.0, 5.0);
    glGetDoublev(GL_MODELVIEW_MATRIX, after);
    for (int k = 0; k < 16; ++k) EXPECT_EQ(before[k], after[k]);
    expect_tidy_state();
}

} // namespace
