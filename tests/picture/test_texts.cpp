// Texts drawn as one array of lines look like texts drawn glyph by glyph: labels of turtles, the help screen.
#include "draw/texts.h"

#include "draw/overlays.h"
#include "draw/primitives.h"
#include "game/modes.h"
#include "picture/field_fixture.h"

#include <climits>
#include <cstring>
#include <functional>
#include <random>
#include <string>

using namespace picture;

namespace {

// Rounding: so much of 255, in so many of the 262144 pixels. A line that meets the border between two pixels may fall
// to either side; see strays.
constexpr int ROUNDING = 2;
constexpr int ROUNDED_PIXELS = SIDE * SIDE / 1000;

using color_t = std::array<float, 4>;

std::string any_text(std::mt19937& chance, size_t length) {
    std::string text;
    while (text.size() < length) text += static_cast<char>(1 + chance() % 255);
    return text;
}

class Texts : public FieldPicture {
protected:
    int strays = 0, covered = 0;

    void expect_alike(const shot& plain, const shot& fast, const rgb& paper, const char* what, unsigned turn) {
        EXPECT_LE(differing_pixels(plain, fast, 0), ROUNDED_PIXELS) << what << ' ' << turn;
        strays += differing_pixels(plain, fast, ROUNDING);
        covered += SIDE * SIDE - pixels_of(plain, paper, 1);
    }

    void expect_few_strays(int least_covered) {
        printf("%d of %d pixels differ by more than %d\n", strays, covered, ROUNDING);
        EXPECT_GT(covered, least_covered);
        EXPECT_LE(strays, covered / 1000);
    }
};

void look_at(unsigned turn) {
    if (turn % 2 == 0) {
        top_view();
    } else {
        bird_view(20.0 + turn % 60, 37.0 * turn);
    }
}

TEST_F(Texts, gathered_texts_look_like_texts_drawn_glyph_by_glyph) {
    for (unsigned turn = 0; turn < 40; ++turn) {
        const auto drawn = [turn](bool gathered) {
            std::mt19937 chance(turn);
            std::uniform_real_distribution<double> place(-260, 260);
            std::uniform_real_distribution<float> level(0, 1);
            start_state();
            clear(0.0, 0.0, 0.3);
            look_at(turn);
            for (int k = 0; k < 30; ++k) {
                const std::string text = any_text(chance, chance() % 20);
                const double x = place(chance), y = place(chance), z = k % 3 == 0 ? 16.0 : 30.0;
                // What is not black glows.
                const color_t emission{level(chance), level(chance), level(chance), 1.0F};
                const color_t matter{level(chance), level(chance), level(chance), 1.0F};
                // Its terminator is not read.
                const int size = static_cast<int>(text.size());
                if (gathered) {
                    gather_text(text.data(), size, x, y, z, lit_text_color(emission, matter, matter));
                } else {
                    glMaterialfv(GL_FRONT, GL_EMISSION, emission.data());
                    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, matter.data());
                    drawBoundedString(nullptr, text.data(), size, x, y, z);
                }
            }
            draw_gathered_texts();
            return read_window();
        };
        expect_alike(drawn(false), drawn(true), {0, 0, 77}, "texts", turn);
    }
    expect_few_strays(50000);
}

TEST_F(Texts, text_ends_at_its_terminator_or_at_its_size) {
    const color_t white{1.0F, 1.0F, 1.0F, 1.0F};
    const auto drawn = [&white](const char* text, int size) {
        clear(0.0, 0.0, 0.0);
        gather_text(text, size, -50.0, 0.0, 16.0, white);
        draw_gathered_texts();
        return read_window();
    };
    const shot two = drawn("ab", 2);
    EXPECT_GT(pixels_of(two, {255, 255, 255}, 0), 20);
    EXPECT_EQ(differing_pixels(drawn("ab\0cd", 5), two, 0), 0);
    EXPECT_EQ(differing_pixels(drawn("abcd", 2), two, 0), 0);
    EXPECT_EQ(differing_pixels(drawn("a\x80\n\xff"
                                     "b",
                                     5),
                               two, 0),
              0); // bytes without a glyph
    EXPECT_EQ(pixels_of(drawn("", 0), {0, 0, 0}, 0), SIDE * SIDE);
}

TEST_F(Texts, what_was_drawn_is_forgotten) {
    gather_text("once", 4, 0.0, 0.0, 16.0, {1.0F, 1.0F, 1.0F, 1.0F});
    draw_gathered_texts();
    clear(0.0, 0.0, 0.0);
    draw_gathered_texts();
    EXPECT_EQ(pixels_of(read_window(), {0, 0, 0}, 0), SIDE * SIDE);
}

// Any number of texts: the array is drawn whenever it is full.
TEST_F(Texts, ten_thousand_glyphs_are_all_drawn) {
    const std::string line(100, '8');
    const auto drawn = [&line](bool gathered) {
        start_state();
        clear(0.0, 0.0, 0.0);
        top_view();
        const color_t green{0.0F, 1.0F, 0.0F, 1.0F}, black{0.0F, 0.0F, 0.0F, 1.0F};
        glMaterialfv(GL_FRONT, GL_EMISSION, green.data());
        glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, black.data());
        for (int k = 0; k < 100; ++k) {
            const double y = 5.0 * k - 250.0;
            if (gathered) {
                gather_text(line.data(), 100, -250.0, y, 16.0, green);
            } else {
                drawString(nullptr, line.c_str(), -250.0, y, 16.0);
            }
        }
        draw_gathered_texts();
        return read_window();
    };
    expect_alike(drawn(false), drawn(true), {0, 0, 0}, "glyphs", 0);
    expect_few_strays(20000);
}

// Turtles with labels of all kinds, some of them on top of each other.
void label_crowd(std::mt19937& chance) {
    reset_tables(chance());
    modes.disp_name = chance() % 4 != 0;
    modes.disp_score = chance() % 4 != 0;
    modes.battle_mode = chance() % 2 == 0;
    std::uniform_real_distribution<double> place(-250, 250), angle(-400, 400);
    for (int i = 0; i < TTL_MAX; ++i) {
        turtle_t& t = put_turtle(i, place(chance), place(chance), angle(chance));
        t.team = static_cast<int>(chance() % 7) - 1;
        const int scores[] = {0, 7, -3, 100, INT_MAX, INT_MIN};
        t.score = scores[chance() % 6];
        // The longest go far beyond the window.
        const size_t lengths[] = {0, 3, 5, 8, 12, 20};
        const std::string name = any_text(chance, i % 10 == 0 ? TEXT_BYTES : lengths[chance() % 6]);
        std::memset(t.name, 0, TEXT_BYTES);
        std::memcpy(t.name, name.data(), name.size()); // the longest lacks a terminator
        if (chance() % 6 == 0) t.n_coin = 2;
        if (chance() % 6 == 0) t.dying_count = 45;
        if (chance() % 9 == 0) t.flags |= TTL_DOUGHNUT;
    }
    signals.elapsed_time = chance() % 1000;
    bgcol[2] = 0.3;
    signals.wipe_requested = true;
}

TEST_F(Texts, labels_help_and_warning_look_as_if_drawn_one_by_one) {
    for (unsigned turn = 0; turn < 16; ++turn) {
        const auto drawn = [turn](int plainly) {
            std::mt19937 chance(turn);
            label_crowd(chance);
            modes.bird_view_mode = turn % 2;
            modes.disp_help = turn % 3 != 0;
            signals.socket_error_occurred = turn % 4 == 3;
            view_rotation_angle = turn % 4 < 2 ? 0.0 : 11.0 * turn;
            use_reference_path = plainly;
            draw_frame(); // what it leaves behind would show in the next one
            return frame();
        };
        expect_alike(drawn(1), drawn(0), {0, 0, 77}, "frame", turn);
    }
    expect_few_strays(1000000);
}

// The panel is blended over what lies under it: not one of its pixels may differ.
TEST_F(Texts, help_screen_over_a_painted_field_is_the_plain_one) {
    for (const int bird : {0, 1}) {
        const auto drawn = [bird](int plainly) {
            reset_tables();
            put_canvas(noise);
            modes.disp_help = 1;
            modes.bird_view_mode = bird;
            view_rotation_angle = 20.0 * bird;
            use_reference_path = plainly;
            return frame();
        };
        const shot plain = drawn(1), fast = drawn(0);
        EXPECT_LE(differing_pixels(plain, fast, 0), 20) << bird; // ends of strokes
    }
}

TEST_F(Texts, overlays_leave_nothing_behind) {
    modes.disp_help = 1;
    glEnable(GL_DEPTH_TEST);
    draw_overlays();
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
    EXPECT_EQ(front_material(GL_EMISSION), (std::vector<float>{0.0F, 0.0F, 0.0F, 1.0F}));
    expect_tidy_state();
}

} // namespace
