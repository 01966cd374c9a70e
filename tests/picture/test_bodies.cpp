// Turtles drawn all at once look like turtles drawn one by one.
#include "picture/field_fixture.h"

#include "game/modes.h"

#include <random>

using namespace picture;

namespace {

// Rounding: so much of 255, in so many of the 262144 pixels. An outline that meets the middle of a pixel may fall to
// either side, which is one pixel in two hundred turtles; see strays.
constexpr int ROUNDING = 2;
constexpr int ROUNDED_PIXELS = SIDE * SIDE / 1000;

class Bodies : public FieldPicture {
protected:
    static void crowd(std::mt19937& chance, int special) {
        reset_tables(chance());
        modes.disp_name = modes.disp_score = 1;
        std::uniform_real_distribution<double> place(-250, 250), angle(-400, 400);
        for (int i = 0; i < TTL_MAX; ++i) {
            const bool whole = chance() % 4 == 0;
            turtle_t& t = put_turtle(i, whole ? std::round(place(chance)) : place(chance),
                                     whole ? std::round(place(chance)) : place(chance),
                                     whole ? 45.0 * (chance() % 8) : angle(chance));
            t.team = static_cast<int>(chance() % 7) - 1;
            bounded_copy(t.name, "Ann", TEXT_BYTES);
            if (special == 0) continue;
            if (chance() % 5 == 0) t.n_coin = 3;
            if (chance() % 7 == 0) t.flags |= TTL_STONE;
            if (chance() % 7 == 0) t.dying_count = 45;
            if (chance() % 7 == 0) {
                t.fire_wait = 20;
                t.beam_x = place(chance);
                t.beam_y = place(chance);
            }
        }
        signals.elapsed_time = chance() % 1000;
        bgcol[2] = 0.3;
        signals.wipe_requested = true;
    }
};

} // namespace

TEST_F(Bodies, crowd_drawn_at_once_looks_like_turtles_one_by_one) {
    int strays = 0, covered = 0;
    for (const int bird : {0, 1}) {
        for (const int special : {0, 1}) {
            for (unsigned turn = 0; turn < 10; ++turn) {
                const auto drawn = [&](int plainly) {
                    std::mt19937 chance(100 * turn + 7);
                    crowd(chance, special);
                    modes.bird_view_mode = bird;
                    view_rotation_angle = turn % 2 == 0 ? 0 : 35;
                    use_reference_path = plainly;
                    return frame();
                };
                const shot plain = drawn(1), at_once = drawn(0);
                EXPECT_LE(differing_pixels(plain, at_once, 0), ROUNDED_PIXELS) << bird << special << turn;
                strays += differing_pixels(plain, at_once, ROUNDING);
                covered += SIDE * SIDE - pixels_of(plain, {0, 0, 77}, 1);
            }
        }
    }
    printf("%d of %d pixels of turtles differ by more than %d\n", strays, covered, ROUNDING);
    EXPECT_GT(covered, 200000);
    EXPECT_LE(strays, covered / 1000);
}
