// Whole frames: the canvas from frame to frame, the two cameras, the order of the layers, what a frame changes.
#include "picture/field_fixture.h"

#include "display/window.h"
#include "draw/icons.h"
#include "draw/paint.h"
#include "field/cards.h"
#include "game/furnish.h"
#include "game/modes.h"
#include "turtle/pen.h"

#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>

using namespace picture;

namespace {

const rgb BLACK{0, 0, 0};
const rgb WHITE{255, 255, 255};

class Frame : public FieldPicture {
protected:
    void SetUp() override {
        FieldPicture::SetUp();
        glDisable(GL_DEPTH_TEST); // as every frame finds it
    }

    static shot noise_shot() {
        shot s{std::vector<unsigned char>(size_t{SIDE} * SIDE * 3)};
        size_t k = 0;
        for (int row = 0; row < SIDE; ++row)
            for (int column = 0; column < SIDE; ++column) {
                const rgb c = noise(column, row);
                for (const int level : {c.r, c.g, c.b}) s.bytes[k++] = static_cast<unsigned char>(level);
            }
        return s;
    }

    // A field with some of everything, the same at every call.
    static void furnish() {
        reset_tables(5);
        reset_wall();
        generate_maze();
        modes.battle_mode = modes.disp_name = modes.disp_score = modes.disp_help = 1;
        bgcol[0] = 0.2;
        signals.wipe_requested = true;
        for (int k = 0; k < 60; ++k) lay_coin(k, 7.0 * (k % 20) - 70.3, 11.0 * (k / 20) - 180.3);
        for (int k = 1; k <= 53; ++k) field_set_card(k, 7.0 * k - 240, 90);
        for (int i = 0; i < 12; ++i) {
            turtle_t& t = put_turtle(i, 40.0 * i - 220, 15.0 * i - 100, 33.0 * i);
            t.team = i % 5;
            t.n_coin = i % 2;
            t.flags |= TTL_PEN_DOWN;
            t.pos[1] = {t.pos[0].x - 30, t.pos[0].y - 20};
            bounded_copy(t.name, "turtle", TEXT_BYTES);
        }
        put_object(12, TTL_STONE, -100, 100);
        put_object(13, TTL_DOUGHNUT, 100, -100);
        ttl[3].dying_count = 45;
        ttl[4].fire_wait = 20;
        ttl[4].beam_x = ttl[4].beam_y = 60;
        ttl[5].flags |= TTL_FIRING;
        ttl[5].beam_x = -120;
        ttl[5].beam_y = -40;
        ttl[6].finder_target = 7;
        ttl[8].radar_target = 2;
    }
};

// What drawing could change: all tables, and the next number of the random stream.
struct tables_t {
    decltype(ttl) turtles = ttl;
    decltype(coins) coin_table = coins;
    decltype(cards) card_table = cards;
    decltype(card_list) layers = card_list;
    decltype(teams) boards = teams;
    decltype(walls) wall_table = walls;
    int counts[5] = {ntmax, ncoin, nwall, stock_of_coin, coins_gone};
};

TEST_F(Frame, drawing_a_tick_twice_changes_no_table) {
    generate_maze();
    field_set_battle_mode();
    field_scatter_coin(20);
    field_set_card(5, 30.0, -60.0);
    for (int k = 0; k < 6; ++k) {
        const bool robot = k >= 3;
        put_turtle(4 + k, -240.0 + 80.0 * k, -240.0, 30.0, robot ? -1 : k).flags |= robot ? TTL_ROBOT : 0;
    }
    ttl[4].flags |= TTL_PEN_DOWN;
    ttl[5].flags |= TTL_PEN_DOWN | TTL_BRUSH;
    ttl[6].dying_count = 40;
    ttl[7].flags |= TTL_FIRING;
    ttl[8].finder_target = 7;
    strcpy(ttl[5].message, "once");
    draw_frame();

    static tick_view_t view;
    tick(view);
    const auto before = std::make_unique<tables_t>();
    unsigned char random_state[256];
    char* const old_state = initstate(1, reinterpret_cast<char*>(random_state), sizeof random_state);
    unsigned char untouched[sizeof random_state];
    memcpy(untouched, random_state, sizeof untouched);
    draw_tick(view);
    draw_tick(view);
    EXPECT_EQ(memcmp(untouched, random_state, sizeof untouched), 0);
    setstate(old_state);
    const auto after = std::make_unique<tables_t>();
    EXPECT_EQ(memcmp(before.get(), after.get(), sizeof(tables_t)), 0);
}

} // namespace

// --- canvas ---

TEST_F(Frame, clear_wipes_to_the_background_colour) {
    put_canvas(noise);
    bgcol[0] = 0.2; // 51
    bgcol[1] = 0.4; // 102
    bgcol[2] = 0.6; // 153
    field_clear();
    EXPECT_EQ(pixels_of(frame(), {51, 102, 153}, 0), SIDE * SIDE);
    EXPECT_FALSE(signals.wipe_requested);
    EXPECT_EQ(field_is_painted, 1);
}

TEST_F(Frame, canvas_is_wiped_whatever_the_window_holds) {
    if (glutExtensionSupported("GL_ARB_framebuffer_object") == 0) GTEST_SKIP() << "the window is all that is wiped";
    put_canvas(noise);
    glClearColor(0.0F, 1.0F, 0.0F, 1.0F);
    wipe_canvas();
    EXPECT_EQ(pixels_of(frame(), {0, 255, 0}, 0), SIDE * SIDE);
}

TEST_F(Frame, background_colour_is_cut_to_its_range) {
    for (const double none : {-1.0, -1e300, -INF, NOT_A_NUMBER})
        for (const double full : {1.5, 1e300, INF}) {
            field_set_color(none, full, none);
            EXPECT_EQ(pixels_of(frame(), {0, 255, 0}, 0), SIDE * SIDE) << none << ' ' << full;
        }
}

TEST_F(Frame, clear_in_battle_mode_lays_the_battle_background_once) {
    clear(0, 0, 0);
    canvas_view();
    drawBackground();
    const shot expected = read_window();
    modes.battle_mode = 1;
    EXPECT_EQ(differing_pixels(frame(), expected, 0), 0);
    EXPECT_EQ(differing_pixels(frame(), expected, 0), 0);
    EXPECT_EQ(field_is_painted, 0);
}

TEST_F(Frame, what_is_drawn_right_after_a_wipe_stays_wherever_the_frame_was) {
    put_canvas(noise);
    turtle_t& t = put_turtle(0, 0.5, 0.5);
    t.flags |= TTL_PEN_DOWN | TTL_POINT_MODE | TTL_SEG_PAINTED;
    t.line_width[1] = 9;
    t.color[1] = {0, 1, 0};
    // A packet holds the lock until the frame has begun; then it wipes and draws.
    std::atomic<bool> locked = false;
    std::atomic<bool> begun = false;
    std::thread packet([&] {
        const std::lock_guard guard(frame_rendering_mutex);
        locked = true;
        while (!begun) std::this_thread::yield();
        field_clear();
        t.flags &= ~TTL_SEG_PAINTED;
    });
    while (!locked) std::this_thread::yield();
    begun = true;
    draw_frame();
    packet.join();
    ttl[0].flags = 0;
    EXPECT_EQ(pixels_of(frame(), {0, 255, 0}, 0), 81);
    EXPECT_EQ(pixels_of(frame(), BLACK, 0), SIDE * SIDE - 81);
}

TEST_F(Frame, canvas_passes_through_many_frames_bit_for_bit) {
    put_canvas(noise);
    const shot expected = noise_shot();
    for (int k = 0; k < 20; ++k) ASSERT_EQ(differing_pixels(frame(), expected, 0), 0) << k;
    EXPECT_EQ(field_is_painted, 0);
}

TEST_F(Frame, frame_that_paints_nothing_leaves_the_texture_alone) {
    // A copy of the window would make it opaque: the window has no alpha.
    const auto alpha = [] {
        std::vector<unsigned char> pixels(size_t{SIDE} * SIDE * 4);
        glBindTexture(GL_TEXTURE_2D, bg_textures);
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        glBindTexture(GL_TEXTURE_2D, 0);
        return pixels[3];
    };
    std::vector<unsigned char> faint(size_t{SIDE} * SIDE * 4, 7);
    glBindTexture(GL_TEXTURE_2D, bg_textures);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, SIDE, SIDE, 0, GL_RGBA, GL_UNSIGNED_BYTE, faint.data());
    glBindTexture(GL_TEXTURE_2D, 0);
    canvas_is_top_down = 0;
    signals.wipe_requested = false;
    put_turtle(0, 0, 0).flags |= TTL_PEN_DOWN | TTL_SEG_PAINTED; // stands still
    draw_frame();
    EXPECT_EQ(alpha(), 7);
    ttl[0].flags &= ~TTL_SEG_PAINTED;
    draw_frame();
    EXPECT_EQ(alpha(), 255);
}

TEST_F(Frame, painting_changes_its_own_pixels_only) {
    put_canvas(noise);
    turtle_t& t = put_turtle(0, -200.5, 100.5);
    t.flags |= TTL_PEN_DOWN | TTL_POINT_MODE;
    t.line_width[1] = 3;
    t.color[1] = {0, 1, 0};
    draw_frame();
    EXPECT_EQ(field_is_painted, 1);
    ttl[0].flags = 0; // without the body: the floor alone
    const shot s = frame();
    EXPECT_EQ(field_is_painted, 0);
    shot expected = noise_shot();
    for (int row = 355; row <= 357; ++row) // 100.5 + 256 = 356.5, centre of pixel 356
        for (int column = 54; column <= 56; ++column) {
            const size_t k = (static_cast<size_t>(row) * SIDE + static_cast<size_t>(column)) * 3;
            expected.bytes[k] = expected.bytes[k + 2] = 0;
            expected.bytes[k + 1] = 255;
        }
    EXPECT_EQ(differing_pixels(s, expected, 0), 0);
}

TEST_F(Frame, brush_ink_and_texts_stay_on_the_canvas) {
    turtle_t& t = put_turtle(0, 0, 0);
    t.flags |= TTL_PEN_DOWN | TTL_BRUSH;
    t.n_painted = 4;
    for (int k = 0; k < TRACK_MAX; ++k) {
        t.pos[k] = {100.0 - 30.0 * k, 50.0 + 5.0 * (k % 2)};
        t.line_width[k] = 12;
    }
    turtle_print_string(0, "here");
    draw_frame();
    ttl[0].flags = 0;
    const shot first = frame();
    EXPECT_GT(SIDE * SIDE - pixels_of(first, BLACK, 0), 100);
    for (int k = 0; k < 5; ++k) EXPECT_EQ(differing_pixels(first, frame(), 0), 0);
}

TEST_F(Frame, the_end_of_a_text_of_wide_letters_stays) {
    const auto printed = [](int plainly) {
        use_reference_path = plainly;
        put_canvas([](int, int) { return BLACK; });
        put_turtle(0, -200, 3);
        turtle_print_string(0, "a");
        draw_frame(); // from here on only what was painted is copied
        turtle_print_string(0, "mmmmmmmmmmmmmmmmmmmmmmmmmmmmmm");
        draw_frame();
        ttl[0].flags = 0;
        return frame();
    };
    const shot plain = printed(1);
    EXPECT_EQ(differing_pixels(plain, printed(0), 0), 0);
    EXPECT_NEAR(ink(plain, BLACK, 0).right, 56 + 29 * 12.396 + 11.436, 1.5); // widths of m from the font
}

// --- cameras ---

TEST_F(Frame, bird_view_shows_the_field_from_the_south) {
    put_canvas([](int, int) { return WHITE; });
    glClearColor(0, 0, 0, 1);
    modes.bird_view_mode = 1;
    const shot s = frame();
    const box b = ink(s, BLACK, 128);
    // Depth of a point (x, y, 0) is (512 - y') with y' along the view: near edge (256 + 512) / sqrt 2 = 543.06, far
    // edge 905.10; heights -181.02 and 181.02; tan 27.5 deg = 0.520567. Near edge: columns 256 (1 -+ 256 / 282.70), row
    // 256 (1 - 181.02 / 282.70) = 92.1; far edge: row 256 (1 + 181.02 / 471.17) = 354.4.
    EXPECT_NEAR(b.left, 24.2, 1);
    EXPECT_NEAR(b.right, 486.8, 1);
    EXPECT_NEAR(b.bottom, 92.1, 1);
    EXPECT_NEAR(b.top, 353.4, 1);
    EXPECT_EQ(s.at(30, 340), BLACK); // beside the narrower far end
}

// The matrices that a frame leaves behind; column by column.
TEST_F(Frame, cameras_have_their_planes_and_their_place) {
    constexpr double TOLERANCE = 1e-4; // single precision
    const auto matrix = [](GLenum which) {
        std::array<double, 16> m;
        glGetDoublev(which, m.data());
        return m;
    };
    draw_frame();
    std::array<double, 16> p = matrix(GL_PROJECTION_MATRIX), m = matrix(GL_MODELVIEW_MATRIX);
    EXPECT_NEAR(p[0], 1 / 256.0, TOLERANCE);
    EXPECT_NEAR(p[5], 1 / 256.0, TOLERANCE);
    EXPECT_NEAR(p[10], -2 / (614.4 - 409.6), TOLERANCE);
    EXPECT_NEAR(p[14], -(614.4 + 409.6) / (614.4 - 409.6), TOLERANCE);
    EXPECT_EQ(p[15], 1);
    EXPECT_NEAR(m[14], -512, TOLERANCE); // the centre of the field lies 512 before the eye

    modes.bird_view_mode = 1;
    view_fov_angle = 40;
    view_rotation_angle = 30;
    draw_frame();
    p = matrix(GL_PROJECTION_MATRIX);
    m = matrix(GL_MODELVIEW_MATRIX);
    const double cotangent = 1 / std::tan(20 * M_PI / 180);
    EXPECT_NEAR(p[0], cotangent, TOLERANCE);
    EXPECT_NEAR(p[5], cotangent, TOLERANCE);
    EXPECT_NEAR(p[10], -(1024 + 409.6) / (1024 - 409.6), TOLERANCE);
    EXPECT_NEAR(p[14], -2 * 1024 * 409.6 / (1024 - 409.6), 0.01);
    EXPECT_NEAR(m[12], 0, TOLERANCE);
    EXPECT_NEAR(m[13], 0, TOLERANCE);
    EXPECT_NEAR(m[14], -512 * std::sqrt(2), 0.01);
    // East turned by 30 degrees is (cos 30, sin 30); north then rises half into the picture, half away: 1 / sqrt 2.
    EXPECT_NEAR(m[0], std::cos(M_PI / 6), TOLERANCE);
    EXPECT_NEAR(m[1], std::sin(M_PI / 6) / std::sqrt(2), TOLERANCE);
    EXPECT_NEAR(m[2], -std::sin(M_PI / 6) / std::sqrt(2), TOLERANCE);
}

TEST_F(Frame, smaller_field_of_view_is_nearer) {
    put_canvas([](int, int) { return WHITE; });
    glClearColor(0, 0, 0, 1);
    modes.bird_view_mode = 1;
    const int wide = pixels_of(frame(), WHITE, 0);
    view_fov_angle = 40;
    EXPECT_GT(pixels_of(frame(), WHITE, 0), wide);
}

TEST_F(Frame, rotation_turns_the_field_counter_clockwise_under_the_camera) {
    put_canvas([](int column, int) { return column >= SIDE / 2 ? WHITE : BLACK; });
    glClearColor(0, 0, 0, 1);
    modes.bird_view_mode = 1;
    view_rotation_angle = 90; // east goes to the far side
    const shot s = frame();
    EXPECT_EQ(s.at(256, 330), WHITE);
    EXPECT_EQ(s.at(256, 120), BLACK);
    modes.bird_view_mode = 0; // the top view does not turn
    EXPECT_EQ(frame().on_field(100, 0), WHITE);
}

// --- layers ---

TEST_F(Frame, walls_show_in_battle_mode_only) {
    setup_wall(0, 100, 50, -100, 50, 0, 1);
    put_canvas([](int, int) { return BLACK; });
    EXPECT_EQ(pixels_of(frame(), BLACK, 0), SIDE * SIDE);
    modes.battle_mode = 1;
    EXPECT_NE(frame().on_field(0, 49), BLACK);
}

TEST_F(Frame, newest_coin_lies_on_top) {
    put_canvas([](int, int) { return BLACK; });
    lay_coin(0, 5, 0);
    const shot only = frame();
    reset_coin();
    // Opposite to the slot order: the coin in slot 0 is the newer one.
    lay_coin(0, 5, 0);
    lay_coin(1, 0, 0);
    coins[0].ord = 1;
    coins[1].ord = 0;
    const shot both = frame();
    int opaque = 0;
    for (int y = -4; y < 4; ++y)
        for (int x = 1; x < 9; ++x) {
            EXPECT_LE(difference(both.on_field(x, y), only.on_field(x, y)), 1) << x << ' ' << y;
            ++opaque;
        }
    EXPECT_EQ(opaque, 64);
    EXPECT_NE(both.on_field(4, 0), BLACK);
}

TEST_F(Frame, coin_that_was_picked_up_is_gone) {
    put_canvas([](int, int) { return BLACK; });
    lay_coin(0, -50, 0);
    const shot only = frame();
    lay_coin(1, 50, 0);
    EXPECT_GT(differing_pixels(frame(), only, 0), 100);
    coins[1].flags = 0; // its slot stays below ncoin
    coins[1].ord = -1;
    EXPECT_EQ(differing_pixels(frame(), only, 0), 0);
    coins[0].flags = 0;
    coins[0].ord = -1;
    EXPECT_EQ(pixels_of(frame(), BLACK, 0), SIDE * SIDE);
}

TEST_F(Frame, card_placed_last_lies_on_top) {
    put_canvas([](int, int) { return BLACK; });
    field_set_card(20, 0, 0);
    const shot only = frame();
    field_set_card(7, 10, 0);
    field_set_card(20, 0, 0);
    const shot both = frame();
    for (int y = 20; y < 80; ++y)
        for (int x = 12; x < 70; ++x) ASSERT_EQ(both.on_field(x, y), only.on_field(x, y)) << x << ' ' << y;
    EXPECT_NE(both.on_field(80, 50), BLACK); // the lower card sticks out to the right
}

TEST_F(Frame, corner_of_the_upper_card_shows_the_floor) {
    // The upper card is drawn first; its transparent pixels keep the lower one off the floor.
    const rgb floor{0, 102, 204};
    put_canvas([&](int, int) { return floor; });
    field_set_card(7, -20, -20);
    EXPECT_NE(frame().on_field(0, 0), floor);
    field_set_card(20, 0, 0);
    EXPECT_EQ(frame().on_field(0, 0), floor);
}

TEST_F(Frame, frame_sets_the_blending_that_it_needs) {
    const rgb floor{0, 102, 204};
    put_canvas([&](int, int) { return floor; });
    field_set_card(20, 0, 0);
    lay_coin(0, -100, 0);
    put_object(0, TTL_DOUGHNUT, -100, 100);
    put_turtle(1, 0, -100);
    ttl[1].beam_x = ttl[1].beam_y = -150;
    const auto drawn = [] {
        ttl[1].fire_wait = 10;
        return frame();
    };
    const shot expected = drawn();
    EXPECT_EQ(expected.on_field(0, 0), floor);
    EXPECT_EQ(expected.on_field(-110, -10), floor);
    EXPECT_EQ(expected.on_field(-110, 90), floor);
    glBlendFunc(GL_ONE, GL_ZERO);
    EXPECT_EQ(differing_pixels(drawn(), expected, 0), 0);
}

TEST_F(Frame, entries_that_are_no_card_are_passed_over) {
    put_canvas([](int, int) { return BLACK; });
    field_set_card(20, 0, 0);
    const shot expected = frame();
    card_list[1] = -1;
    card_list[2] = 53;
    card_list[3] = INT32_MAX;
    card_list[4] = INT32_MIN;
    EXPECT_EQ(differing_pixels(frame(), expected, 0), 0);
}

TEST_F(Frame, turtle_is_drawn_over_a_doughnut_whatever_their_slots) {
    put_canvas([](int, int) { return BLACK; });
    put_turtle(0, 0, 0);
    const shot turtle = frame();
    put_object(1, TTL_DOUGHNUT, 0, 0);
    const shot both = frame();
    // The middle of the shell; the doughnut reaches beyond it.
    for (int y = -4; y < 4; ++y)
        for (int x = -6; x < 6; ++x) EXPECT_EQ(both.on_field(x, y), turtle.on_field(x, y)) << x << ' ' << y;
    EXPECT_GT(differing_pixels(both, turtle, 0), 20);
}

TEST_F(Frame, objects_draw_before_turtles_whatever_their_slots) {
    // Both fire; each beam hits the same victim with 30 points, so that only the second kills.
    put_turtle(0, -200, 0);
    put_object(1, TTL_DOUGHNUT, 200, 0);
    put_turtle(2, 0, 100).score = 30;
    for (const int i : {0, 1}) {
        ttl[i].flags |= TTL_FIRING;
        ttl[i].beam_x = 0;
        ttl[i].beam_y = 98;
        ttl[i].beam_dir = 90;
    }
    draw_frame();
    EXPECT_EQ(ttl[2].dying_count, 49); // this is its first frame of dying
    EXPECT_EQ(ttl[1].fire_wait, 24);   // the doughnut came first: its explosion has begun
    EXPECT_EQ(ttl[0].fire_wait, 0);    // the turtle killed: no explosion
}

TEST_F(Frame, overlays_come_on_top_and_reset_gl_state) {
    put_canvas([](int, int) { return BLACK; });
    put_turtle(0, 0, 0);
    const shot bare = frame();
    modes.disp_help = 1;
    EXPECT_GT(differing_pixels(frame(), bare, 8), 10000);
    modes.disp_help = 0;
    signals.socket_error_occurred = 1;
    const int warning = differing_pixels(frame(), bare, 8);
    EXPECT_GT(warning, 200);
    EXPECT_LT(warning, 30000);
    modes.disp_help = 1;
    const shot both = frame();
    EXPECT_GT(differing_pixels(both, bare, 8), 10000); // the panel
    int letters = 0;                                   // of the warning's lines, to the left of the panel
    for (int y = 50; y < 140; ++y)
        for (int x = -231; x < -206; ++x) letters += difference(both.on_field(x, y), {255, 56, 0}) <= 1;
    EXPECT_GT(letters, 40);
    EXPECT_FALSE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_FALSE(glIsEnabled(GL_CULL_FACE));
}

TEST_F(Frame, fast_ways_of_drawing_show_the_plain_picture) {
    // Triangles of one wall or body may round an edge pixel or a texel differently: a few of 262144 pixels.
    constexpr int HANDFUL = 60;
    // The first frame clears the canvas, the next paints on it, one does not, and from the third on everything that
    // stands still comes from a cached picture.
    const auto five_frames = [](int view, int plainly) {
        reset_tables();
        draw_frame(); // nothing of an earlier scene remains
        furnish();
        modes.bird_view_mode = view;
        use_reference_path = plainly;
        std::vector<shot> shots;
        for (int k = 0; k < 5; ++k) {
            for (int i = 0; i < 12 && k % 3 != 2; ++i) ttl[i].flags &= ~TTL_SEG_PAINTED;
            shots.push_back(frame());
        }
        return shots;
    };
    for (const int view : {0, 1}) {
        const std::vector<shot> plain = five_frames(view, 1);
        const std::vector<shot> fast = five_frames(view, 0);
        for (size_t k = 0; k < plain.size(); ++k)
            EXPECT_LE(differing_pixels(plain[k], fast[k], 4), HANDFUL) << view << ' ' << k;
        EXPECT_GT(differing_pixels(plain[0], shot{std::vector<unsigned char>(plain[0].bytes.size())}, 4), 50000);
    }
}

// --- what a frame does besides drawing ---

TEST_F(Frame, frame_ends_with_the_field_unlocked_and_unpaced) {
    for (client_t& c : client_tab) c.frame_cmd_count = 3;
    teams[2].flags = TEAM_REFUSES;
    put_turtle(0, 0, 0);
    lay_coin(0, 5, 5);
    draw_frame();
    ASSERT_TRUE(frame_rendering_mutex.try_lock());
    frame_rendering_mutex.unlock();
    for (const client_t& c : client_tab) EXPECT_EQ(c.frame_cmd_count, 0U);
    EXPECT_EQ(teams[2].flags, 0U);
    EXPECT_EQ(ttl[0].event, EVENT_COIN);
    EXPECT_EQ(signals.elapsed_time, 0U); // the timer counts, not the frame
}

TEST_F(Frame, capture_writes_one_file_and_clears_its_flag) {
    char home[] = "/tmp/kelmora-frame-XXXXXX";
    ASSERT_NE(mkdtemp(home), nullptr);
    const char* before = getenv("HOME");
    const std::string saved = before == nullptr ? "" : before;
    setenv("HOME", home, 1);
    signals.elapsed_time = 77;
    signals.capture_screen = 1;
    draw_frame();
    EXPECT_EQ(signals.capture_screen, 0);
    draw_frame();
    if (before != nullptr) setenv("HOME", saved.c_str(), 1);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(home)) names.push_back(entry.path().filename());
    EXPECT_EQ(names, std::vector<std::string>{"kelmora-capture-77.png"});
    std::filesystem::remove_all(home);
}

// --- keys ---

TEST_F(Frame, zoom_keys_stop_at_their_ends) {
    for (const char key : {'+', ';'}) {
        view_fov_angle = 55;
        keyboardfunc(static_cast<unsigned char>(key), 0, 0);
        EXPECT_EQ(view_fov_angle, 50);
        for (int k = 1; k < 8; ++k) keyboardfunc(static_cast<unsigned char>(key), 0, 0);
        EXPECT_EQ(view_fov_angle, 15);
        keyboardfunc(static_cast<unsigned char>(key), 0, 0);
        EXPECT_EQ(view_fov_angle, 15);
    }
    for (const char key : {'-', '='}) {
        view_fov_angle = 15;
        keyboardfunc(static_cast<unsigned char>(key), 0, 0);
        EXPECT_EQ(view_fov_angle, 20);
        view_fov_angle = 55;
        keyboardfunc(static_cast<unsigned char>(key), 0, 0);
        EXPECT_EQ(view_fov_angle, 60);
        keyboardfunc(static_cast<unsigned char>(key), 0, 0);
        EXPECT_EQ(view_fov_angle, 60);
    }
}

TEST_F(Frame, rotation_keys_wrap_beyond_a_half_turn) {
    for (int k = 0; k < 72; ++k) keyboardfunc('.', 0, 0);
    EXPECT_EQ(view_rotation_angle, 180);
    keyboardfunc('>', 0, 0);
    EXPECT_EQ(view_rotation_angle, -177.5);
    keyboardfunc(',', 0, 0);
    EXPECT_EQ(view_rotation_angle, -180); // not below: stays
    keyboardfunc('<', 0, 0);
    EXPECT_EQ(view_rotation_angle, 177.5);
}

TEST_F(Frame, small_letters_of_the_capital_keys_do_nothing) {
    put_turtle(0, 0, 0);
    const int walls_before = nwall;
    for (const char key : {'k', 'm', 'q', '4', 'a', ' ', '~', '\x7f', '\0', '\x1a'}) {
        keyboardfunc(static_cast<unsigned char>(key), 0, 0);
    }
    EXPECT_TRUE(has_any(ttl[0].flags, TTL_ALIVE));
    EXPECT_EQ(modes.maze_mode, 0);
    EXPECT_EQ(nwall, walls_before);
}

TEST_F(Frame, keys_reach_their_switches) {
    const auto press = [](unsigned char key) { keyboardfunc(key, 3, 4); };
    for (const unsigned char key : {'H', 'h'}) press(key);
    EXPECT_EQ(modes.disp_help, 0);
    press('h');
    EXPECT_EQ(modes.disp_help, 1);
    press(27);
    EXPECT_EQ(modes.disp_help, 0);
    press('N');
    EXPECT_EQ(modes.disp_name, 1);
    press('n');
    EXPECT_EQ(modes.disp_name, 0);
    press('S');
    EXPECT_EQ(modes.disp_score, 1);
    press('s');
    EXPECT_EQ(modes.disp_score, 0);
    press('B');
    EXPECT_EQ(modes.bounded_area_mode, 1);
    press('b');
    EXPECT_EQ(modes.bounded_area_mode, 0);
    press('3');
    EXPECT_EQ(modes.bird_view_mode, 1);
    press('@');
    EXPECT_EQ(signals.private_mode, 0);
    EXPECT_EQ(signals.menuitem_need_to_change, 1);
    press('@');
    EXPECT_EQ(signals.private_mode, 1);
    press('!');
    EXPECT_EQ(modes.battle_mode, 1);
    press('!');
    EXPECT_EQ(modes.battle_mode, 0);
    for (const unsigned char key : {'P', 'p'}) {
        signals.capture_screen = 0;
        press(key);
        EXPECT_EQ(signals.capture_screen, 1);
    }
    signals.capture_screen = 0;
    for (const unsigned char key : {'C', 'c'}) {
        signals.wipe_requested = false;
        press(key);
        EXPECT_TRUE(signals.wipe_requested);
    }
    for (const unsigned char key : {'O', 'o'}) press(key);
    EXPECT_EQ(ntmax, 2);
    EXPECT_EQ(ttl[1].flags, TTL_ALIVE | TTL_STONE);
    for (const unsigned char key : {'Z', 'z'}) {
        put_turtle(0, 0, 0).flags |= TTL_ZOMBIE;
        press(key);
        EXPECT_EQ(ttl[0].flags, 0U);
    }
    press('K');
    EXPECT_EQ(ntmax, 0);
    press('M');
    EXPECT_EQ(modes.maze_mode, 1);
    press('M');
    EXPECT_EQ(modes.maze_mode, 0);
    ASSERT_TRUE(frame_rendering_mutex.try_lock()); // no handler keeps the lock
    frame_rendering_mutex.unlock();
}

TEST_F(Frame, menu_entries_reach_their_operations) {
    signals.wipe_requested = false;
    menufunc(0);
    menufunc(6);
    menufunc(-1);
    menufunc(10);
    EXPECT_FALSE(signals.wipe_requested);
    menufunc(1);
    EXPECT_TRUE(signals.wipe_requested);
    put_turtle(0, 0, 0).flags |= TTL_ZOMBIE;
    menufunc(2);
    EXPECT_EQ(ttl[0].flags, 0U);
    menufunc(3);
    EXPECT_EQ(modes.battle_mode, 1);
    menufunc(4);
    EXPECT_EQ(signals.private_mode, 0);
    menufunc(5);
    EXPECT_EQ(signals.capture_screen, 1);
    menufunc(7);
    menufunc(7);
    EXPECT_EQ(modes.disp_help, 1); // sets, never toggles
    put_turtle(0, 0, 0);
    menufunc(8);
    EXPECT_EQ(ntmax, 0);
}

TEST_F(Frame, timer_advances_the_clock_by_one) {
    signals.menuitem_need_to_change = 1;
    EXPECT_EQ(on_tick(), 80'000'000);
    EXPECT_EQ(signals.elapsed_time, 1U);
    EXPECT_EQ(signals.menuitem_need_to_change, 0);
}
