#include "draw/tiles.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

// First and last tile that an interval touches; none where last < first.
struct interval_t {
    int first, last;
};

interval_t tiles_between(double from, double to) {
    constexpr double SIDE = TILE_PIXELS * TILES_A_SIDE;
    if (std::isnan(from)) from = 0.0;
    if (std::isnan(to)) to = SIDE;
    if (from > SIDE || to < 0.0 || to < from) return {0, -1};
    const auto tile = [=](double place) {
        return std::min(static_cast<int>(std::clamp(place, 0.0, SIDE)) / TILE_PIXELS, TILES_A_SIDE - 1);
    };
    return {tile(from), tile(to)};
}

uint32_t bits_of(interval_t columns) {
    const int first = std::clamp(columns.first, 0, TILES_A_SIDE - 1);
    const int count = std::clamp(columns.last - first + 1, 0, TILES_A_SIDE);
    return static_cast<uint32_t>(((uint64_t{1} << count) - 1) << first);
}

} // namespace

void clear_tiles(tiles_t& tiles) { tiles.rows.fill(0); }

void mark_all_tiles(tiles_t& tiles) { tiles.rows.fill(~0U); }

void mark_tiles(tiles_t& tiles, double left, double bottom, double right, double top) {
    const interval_t columns = tiles_between(left, right), rows = tiles_between(bottom, top);
    if (columns.last < columns.first) return;
    for (int row = rows.first; row <= rows.last; ++row) tiles.rows[static_cast<size_t>(row)] |= bits_of(columns);
}

bool any_tile(const tiles_t& tiles) {
    return std::any_of(tiles.rows.begin(), tiles.rows.end(), [](uint32_t row) { return row != 0; });
}

bool is_worth_picking_out(const tiles_t& tiles) {
    constexpr int MOST_TILES = TILES_A_SIDE * TILES_A_SIDE / 2;
    constexpr int MOST_COPIES = 64;
    int count = 0;
    for (const uint32_t row : tiles.rows) count += std::popcount(row);
    static std::array<rectangle_t, RECTANGLES_MAX> rectangles;
    return count <= MOST_TILES && rectangles_of(tiles, rectangles) <= MOST_COPIES;
}

bool touches_tiles(const tiles_t& tiles, double left, double bottom, double right, double top) {
    const interval_t columns = tiles_between(left, right), rows = tiles_between(bottom, top);
    if (columns.last < columns.first) return false;
    for (int row = rows.first; row <= rows.last; ++row) {
        if ((tiles.rows[static_cast<size_t>(row)] & bits_of(columns)) != 0) return true;
    }
    return false;
}

rectangle_t tiles_within(const tiles_t& tiles, double left, double bottom, double right, double top) {
    const interval_t columns = tiles_between(left, right), rows = tiles_between(bottom, top);
    if (columns.last < columns.first) return {0, 0, 0, 0};
    uint32_t any = 0;
    int first = rows.last + 1, last = rows.first - 1;
    for (int row = rows.first; row <= rows.last; ++row) {
        const uint32_t bits = tiles.rows[static_cast<size_t>(row)] & bits_of(columns);
        if (bits == 0) continue;
        any |= bits;
        first = std::min(first, row);
        last = row;
    }
    if (any == 0) return {0, 0, 0, 0};
    return {std::countr_zero(any) * TILE_PIXELS, first * TILE_PIXELS,
            (TILES_A_SIDE - std::countl_zero(any)) * TILE_PIXELS, (last + 1) * TILE_PIXELS};
}

int rectangles_of(const tiles_t& tiles, std::span<rectangle_t, RECTANGLES_MAX> rectangles) {
    tiles_t left = tiles;
    size_t count = 0;
    for (size_t row = 0; row < left.rows.size(); ++row) {
        while (left.rows[row] != 0) {
            const int first = std::countr_zero(left.rows[row]);
            const int width = std::countr_one(left.rows[row] >> first);
            const uint32_t run = bits_of({first, first + width - 1});
            // A row above joins when the run is one of its own, too, and no part of a longer one.
            size_t end = row;
            const auto is_a_run = [&](uint32_t bits) {
                const uint32_t around = (run << 1) | (run >> 1);
                return (bits & run) == run && (bits & around & ~run) == 0;
            };
            while (end < left.rows.size() && is_a_run(left.rows[end])) left.rows[end++] &= ~run;
            rectangles[count++] = {first * TILE_PIXELS, static_cast<int>(row) * TILE_PIXELS,
                                   (first + width) * TILE_PIXELS, static_cast<int>(end) * TILE_PIXELS};
        }
    }
    return static_cast<int>(count);
}
