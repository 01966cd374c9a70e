// Tiles of the window, against a plain grid of pixels.
#include "draw/tiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr int SIDE = TILE_PIXELS * TILES_A_SIDE;

bool is_marked(const tiles_t& t, int column, int row) { return (t.rows[static_cast<size_t>(row)] >> column & 1U) != 0; }

int count_of(const tiles_t& t) {
    int count = 0;
    for (int row = 0; row < TILES_A_SIDE; ++row)
        for (int column = 0; column < TILES_A_SIDE; ++column) count += is_marked(t, column, row);
    return count;
}

std::array<rectangle_t, RECTANGLES_MAX> rectangles;

} // namespace

TEST(Tiles, rectangle_marks_the_tiles_it_touches) {
    tiles_t t{};
    EXPECT_FALSE(any_tile(t));
    mark_tiles(t, 16.0, 31.9, 31.9, 32.0);
    EXPECT_EQ(count_of(t), 2);
    EXPECT_TRUE(is_marked(t, 1, 1));
    EXPECT_TRUE(is_marked(t, 1, 2));
    EXPECT_TRUE(touches_tiles(t, 0, 0, 16, 16));
    EXPECT_FALSE(touches_tiles(t, 0, 0, 15.9, 100));
    const rectangle_t r = tiles_within(t, 0, 0, SIDE, SIDE);
    EXPECT_EQ(r.left, 16);
    EXPECT_EQ(r.right, 32);
    EXPECT_EQ(r.bottom, 16);
    EXPECT_EQ(r.top, 48);
    EXPECT_EQ(tiles_within(t, 0, 0, 16, 20).top, 32);
    EXPECT_EQ(tiles_within(t, 40, 0, 50, 500).right, 0);
}

TEST(Tiles, sides_beyond_the_window_and_sides_that_are_no_numbers) {
    constexpr double INF = std::numeric_limits<double>::infinity();
    const auto marked = [](double left, double bottom, double right, double top) {
        tiles_t t{};
        mark_tiles(t, left, bottom, right, top);
        return count_of(t);
    };
    EXPECT_EQ(marked(-50, -50, -1, 600), 0);
    EXPECT_EQ(marked(513, 0, 600, 600), 0);
    EXPECT_EQ(marked(20, 20, 10, 10), 0);
    EXPECT_EQ(marked(-INF, -INF, INF, INF), TILES_A_SIDE * TILES_A_SIDE);
    EXPECT_EQ(marked(NAN, NAN, NAN, NAN), TILES_A_SIDE * TILES_A_SIDE);
    EXPECT_EQ(marked(-1e300, 511.5, 1e300, 512), TILES_A_SIDE);
}

TEST(Tiles, rectangles_hold_every_marked_tile_once) {
    std::mt19937 chance(4);
    for (int turn = 0; turn < 300; ++turn) {
        tiles_t t{};
        const unsigned marks = chance() % 40;
        for (unsigned k = 0; k < marks; ++k) {
            const double x = chance() % 512, y = chance() % 512;
            mark_tiles(t, x, y, x + chance() % 60, y + chance() % 60);
        }
        if (turn % 10 == 0) {
            // A board of chequers has the most rectangles there are.
            for (size_t row = 0; row < t.rows.size(); ++row) t.rows[row] = row % 2 == 0 ? 0x55555555U : 0xAAAAAAAAU;
        }
        tiles_t covered{};
        const int count = rectangles_of(t, rectangles);
        for (int k = 0; k < count; ++k) {
            const rectangle_t& r = rectangles[static_cast<size_t>(k)];
            for (int row = r.bottom / TILE_PIXELS; row < r.top / TILE_PIXELS; ++row)
                for (int column = r.left / TILE_PIXELS; column < r.right / TILE_PIXELS; ++column) {
                    ASSERT_FALSE(is_marked(covered, column, row)) << turn;
                    covered.rows[static_cast<size_t>(row)] |= 1U << column;
                }
        }
        ASSERT_EQ(covered.rows, t.rows) << turn;
        EXPECT_EQ(any_tile(t), count > 0);
    }
    tiles_t all;
    mark_all_tiles(all);
    EXPECT_EQ(rectangles_of(all, rectangles), 1);
    EXPECT_FALSE(is_worth_picking_out(all));
}
