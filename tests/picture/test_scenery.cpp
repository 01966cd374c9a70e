// The cached picture of walls, coins and cards: it looks like the drawn one, hides what the drawn one hides, and is
// dropped in the very frame in which any of them changes.

#include "picture/field_fixture.h"

#include "draw/scenery.h"
#include "field/cards.h"
#include "field/wall_map.h"
#include "field/walls.h"
#include "game/furnish.h"
#include "game/modes.h"
#include "geometry/collision.h"

#include <GL/freeglut.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>

using namespace picture;

namespace {

// Texels and edges that fall on the middle of a pixel may round either way; the edges of coins blend in two steps.
constexpr int HANDFUL = 60;  // of 262144 pixels
constexpr int TOLERANCE = 4; // of 255

class Scenery : public FieldPicture {
protected:
    // More than fills the window: many cards, coins on and beside them, walls, and turtles under, on and in front of
    // them.
    static void furnish() {
        reset_tables(5);
        reset_wall();
        modes.battle_mode = modes.disp_name = 1;
        setup_wall(0, -100, 60, 100, 60, 0, 1);
        setup_wall(0, 100, 60, -100, 60, 0, -1);
        setup_wall(0, 30.5, -200, 30.5, 20, -1, 0);
        for (int k = 0; k < 40; ++k) lay_coin(k, 11.3 * (k % 20) - 120.2, 9.7 * (k / 20) - 30.3);
        for (int k = 1; k <= 53; ++k) field_set_card(k, 9.0 * k - 250, (k % 7) * 50 - 240);
        for (int i = 0; i < 8; ++i) put_turtle(i, 45.3 * i - 170.2, 12.1 * i - 20.4, 33.0 * i);
        put_object(8, TTL_STONE, -100.3, 100.2);
        put_object(9, TTL_DOUGHNUT, coins[39].x, coins[39].y); // under the highest coin
        bgcol[1] = 0.3;
        signals.wipe_requested = true;
    }

    // Frames until a picture is cached and shown.
    static shot settled() {
        for (int k = 0; k < 3; ++k) draw_frame();
        return frame();
    }

    // Without framebuffer objects everything is drawn every time and looks the same.
    static bool can_keep() { return glutExtensionSupported("GL_ARB_framebuffer_object") != 0; }

    static shot plain_frame() {
        use_reference_path = true;
        const shot s = frame();
        use_reference_path = false;
        return s;
    }
};

struct view_t {
    int bird;
    double fov, rotation;
};

constexpr view_t VIEWS[] = {{0, 55, 0}, {1, 55, 0}, {1, 30, 25}};

// Places on pixels, between them and on their edges, where texels and outlines round; within `reach` of the middle.
double place(std::mt19937& chance, int reach) {
    const double whole = static_cast<int>(chance() % static_cast<unsigned>(2 * reach)) - reach;
    switch (chance() % 4) {
    case 0:
        return whole;
    case 1:
        return whole + 0.5;
    case 2:
        return whole + 0.25;
    default:
        return whole + static_cast<double>(chance() % 1000) / 1000.0;
    }
}

void look(const view_t& v) {
    modes.bird_view_mode = v.bird;
    view_fov_angle = v.fov;
    view_rotation_angle = v.rotation;
}

// Walls, 53 cards and mostly coins, in either view.
void furnish_at_random(std::mt19937& chance, unsigned seed) {
    reset_tables(seed);
    look(VIEWS[chance() % 2 == 0 ? 0 : chance() % 3]);
    modes.battle_mode = chance() % 2 == 0;
    for (int k = 0; k < 6; ++k) {
        const double y = place(chance, 250);
        const double x = place(chance, 250);
        setup_wall(0, x, y, place(chance, 250), y, 0, k % 2 == 0 ? 1 : -1);
    }
    const int n_coins = chance() % 3 == 0 ? 0 : static_cast<int>(chance() % 300);
    for (int k = 0; k < n_coins; ++k) {
        const double x = place(chance, 256);
        lay_coin(k, x, place(chance, 256));
    }
    for (int k = 1; k <= 53; ++k) {
        const double x = place(chance, 300) - 30;
        field_set_card(k, x, place(chance, 300) - 50);
    }
    bgcol = {0.1, 0.3, 0.2};
    signals.wipe_requested = true;
}

// A turtle paints a line, a point, a polygon, ink or a text inside and beyond it.
void pull_pen_at_random(int i, std::mt19937& chance) {
    turtle_t& t = put_turtle(i, 0, 0);
    t.flags |= TTL_PEN_DOWN;
    const double x = place(chance, 270), y = place(chance, 270);
    for (int k = 0; k < TRACK_MAX; ++k) {
        t.pos[k] = {x + place(chance, 20) * k, y + place(chance, 20) * k};
        t.line_width[k] = static_cast<double>(chance() % 100) / 5.0;
        t.color[k] = {0.1 * (chance() % 11), 0.1 * (chance() % 11), 0.1 * (chance() % 11)};
    }
    const unsigned kind = chance() % 5;
    if (kind == 1) t.flags |= TTL_POINT_MODE;
    if (kind == 2) t.flags |= TTL_FILL_POLY;
    if (kind == 3) t.flags |= TTL_BRUSH;
    t.n_painted = static_cast<int>(chance() % 7);
    if (kind == 4) bounded_copy(t.message, "gMW@ jQ_|{}", TEXT_BYTES);
}

} // namespace

TEST_F(Scenery, cached_picture_looks_like_the_drawn_one) {
    for (const view_t& view : VIEWS) {
        furnish();
        look(view);
        const shot plain = plain_frame();
        const shot kept = settled();
        EXPECT_EQ(scene_is_kept(), can_keep()) << view.bird;
        EXPECT_LE(differing_pixels(kept, plain, TOLERANCE), HANDFUL) << view.bird << ' ' << view.rotation;
        reset_card();
        EXPECT_GT(differing_pixels(frame(), plain, TOLERANCE), 20000);
    }
}

TEST_F(Scenery, whatever_lies_wherever_looks_the_same_kept_and_drawn) {
    std::mt19937 chance(15);
    int kept = 0, different = 0;
    for (int frames = 0; frames < 1000;) {
        furnish_at_random(chance, static_cast<unsigned>(frames));
        draw_frame();
        const shot drawn = frame();
        draw_frame();
        for (int again = 0; again < 5 && frames < 1000; ++again, ++frames) {
            const shot later = frame();
            kept += scene_is_kept();
            different += later.bytes != drawn.bytes;
        }
    }
    EXPECT_EQ(different, 0);
    if (can_keep()) {
        EXPECT_GT(kept, 900);
    }
}

TEST_F(Scenery, what_is_painted_under_the_kept_picture_looks_as_if_all_were_drawn) {
    std::mt19937 chance(16);
    int kept = 0, different = 0, painted = 0;
    for (int turn = 0; turn < 40; ++turn) {
        furnish_at_random(chance, static_cast<unsigned>(turn));
        shot before = settled();
        for (int stroke = 0; stroke < 5; ++stroke) {
            for (int i = 0; i < 1 + turn % 5; ++i) pull_pen_at_random(i, chance);
            const shot under_kept = frame();
            kept += scene_is_kept();
            const shot again = frame();
            forget_scenery();
            const shot drawn = frame();
            different += differing_pixels(under_kept, drawn, 0) + differing_pixels(again, drawn, 0);
            painted += drawn.bytes != before.bytes;
            before = settled();
        }
    }
    EXPECT_EQ(different, 0);
    EXPECT_GT(painted, 120);
    if (can_keep()) {
        EXPECT_GT(kept, 190);
    }
}

TEST_F(Scenery, nothing_painted_is_left_out_of_the_canvas) {
    // The plain way copies all of the window after painting, the other what painting has touched.
    const auto canvas_after = [](int plainly) {
        std::mt19937 chance(17);
        reset_tables();
        look(VIEWS[0]);
        signals.wipe_requested = true;
        draw_frame();
        use_reference_path = plainly;
        std::vector<shot> shots;
        for (int turn = 0; turn < 60; ++turn) {
            for (int i = 0; i < 4; ++i) pull_pen_at_random(i, chance);
            draw_frame();
            for (turtle_t& t : ttl) t.flags = 0; // the floor alone
            shots.push_back(frame());
        }
        use_reference_path = false;
        return shots;
    };
    const std::vector<shot> plain = canvas_after(1), picked = canvas_after(0);
    int painted = 0;
    for (size_t k = 0; k < plain.size(); ++k) {
        ASSERT_EQ(differing_pixels(plain[k], picked[k], 0), 0) << k;
        if (k > 0) painted += plain[k].bytes != plain[k - 1].bytes;
    }
    EXPECT_GT(painted, 40);
}

TEST_F(Scenery, canvas_lives_on_under_the_kept_picture) {
    for (const view_t& view : VIEWS) {
        furnish();
        look(view);
        const shot before = settled();
        const auto painted = [] {
            turtle_t& t = put_turtle(10, -60.5, 150.5);
            t.flags |= TTL_PEN_DOWN;
            t.pos[1] = {-250.5, -240.5};
            t.line_width[1] = 5;
            t.color[1] = {1, 0, 0};
            draw_frame();
            ttl[10].flags = 0;
            return frame();
        };
        const shot line = painted();
        EXPECT_EQ(scene_is_kept(), can_keep());
        EXPECT_GT(differing_pixels(line, before, TOLERANCE), 40);
        EXPECT_LE(differing_pixels(line, plain_frame(), TOLERANCE), HANDFUL) << view.bird;
        field_clear();
        const shot cleared = frame();
        EXPECT_EQ(scene_is_kept(), can_keep());
        EXPECT_LE(differing_pixels(cleared, before, TOLERANCE), HANDFUL) << view.bird;
    }
}

TEST_F(Scenery, every_change_shows_in_its_own_frame) {
    const std::function<void()> changes[] = {
        [] { coins[30].x += 150; },
        [] { coins[39].flags = 0; },
        [] { std::swap(coins[3].ord, coins[4].ord); },
        [] { lay_coin(40, 200.3, 210.2); },
        [] { ncoin = 300; }, // lowers all coins
        [] { field_set_card(7, 150, 150); },
        [] { field_set_card(-53, 0, 0); },
        [] { std::swap(card_list[0], card_list[1]); },
        [] { reset_card(); },
        [] { setup_wall(0, -200, 200, 50, 200, 0, 1); },
        [] { walls[0].y1 = 120; },
        [] { --nwall; },
        [] { reset_wall(); },
        [] { modes.battle_mode = 0; },
        [] {
            look({1, 55, 0});
        },
    };
    int number = 0;
    for (const auto& change : changes) {
        furnish();
        look(VIEWS[0]);
        const shot before = settled();
        ASSERT_EQ(scene_is_kept(), can_keep()) << number;
        change();
        const shot after = frame();
        EXPECT_GT(differing_pixels(after, before, TOLERANCE), 40) << number;
        EXPECT_LE(differing_pixels(after, plain_frame(), TOLERANCE), HANDFUL) << number;
        EXPECT_LE(differing_pixels(settled(), after, TOLERANCE), HANDFUL) << number;
        ++number;
    }
    for (const view_t& view : {view_t{1, 50, 0}, {1, 55, 2.5}, {0, 55, 0}}) {
        furnish();
        look(VIEWS[1]);
        settled();
        look(view);
        const shot after = frame();
        EXPECT_LE(differing_pixels(after, plain_frame(), TOLERANCE), HANDFUL) << view.fov;
    }
}

TEST_F(Scenery, scenery_that_changes_every_frame_is_drawn_every_frame) {
    furnish();
    settled();
    for (int k = 0; k < 4; ++k) {
        coins[5].x += 1.7;
        const shot s = frame();
        EXPECT_FALSE(scene_is_kept());
        EXPECT_LE(differing_pixels(s, plain_frame(), TOLERANCE), HANDFUL) << k;
    }
}

TEST_F(Scenery, scenery_with_a_nan_place_is_drawn_every_frame) {
    furnish();
    coins[0].x = std::numeric_limits<double>::quiet_NaN();
    const shot plain = plain_frame();
    EXPECT_LE(differing_pixels(settled(), plain, TOLERANCE), HANDFUL);
    EXPECT_FALSE(scene_is_kept());
}

TEST_F(Scenery, sparse_scenery_is_not_cached) {
    furnish();
    reset_card();
    for (int k = 1; k <= 25; ++k) field_set_card(k, 9.0 * k - 250, 0);
    settled();
    EXPECT_FALSE(scene_is_kept());
}

TEST_F(Scenery, resized_window_drops_the_picture) {
    furnish();
    settled();
    EXPECT_EQ(scene_is_kept(), can_keep());
    reshapefunc(300, 200);
    EXPECT_FALSE(scene_is_kept());
}

TEST_F(Scenery, reference_path_neither_caches_nor_shows_a_picture) {
    furnish();
    use_reference_path = true;
    settled();
    use_reference_path = false;
    EXPECT_FALSE(scene_is_kept());
    settled();
    EXPECT_EQ(scene_is_kept(), can_keep());
    use_reference_path = true;
    EXPECT_FALSE(scene_is_kept());
}

TEST_F(Scenery, frame_with_a_cached_picture_resets_gl_state) {
    furnish();
    settled();
    ASSERT_EQ(scene_is_kept(), can_keep());
    draw_frame();
    for (const GLenum off : {GL_DEPTH_TEST, GL_TEXTURE_2D, GL_BLEND, GL_CULL_FACE}) EXPECT_FALSE(glIsEnabled(off));
    int source = 0, target = 0, bound = -1, depth = -1;
    glGetIntegerv(GL_BLEND_SRC, &source);
    glGetIntegerv(GL_BLEND_DST, &target);
    EXPECT_EQ(source, GL_SRC_ALPHA);
    EXPECT_EQ(target, GL_ONE_MINUS_SRC_ALPHA);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(bound, 0);
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(bound, 0);
    glGetIntegerv(GL_PROJECTION_STACK_DEPTH, &depth);
    EXPECT_EQ(depth, 1);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}
