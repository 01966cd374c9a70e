// The embedded artwork: sizes, layouts and the properties that drawing relies on. No window, one thread.
// The pictures themselves are free; these are the properties that code or viewers depend on.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "images.h"

namespace {

constexpr int ICON = 32;    // pixels, both sides of an object icon
constexpr int GROUND = 200; // pixels, both sides of the ground tile
constexpr int SHEET_W = 1158;
constexpr int SHEET_H = 600;
constexpr int CARD_W = 75;
constexpr int CARD_H = 104;
constexpr size_t SHEET_BYTES = 2779200; // 1158 * 600 * 4

const unsigned char* icon_pixel(const unsigned char* image, int x, int y) { return image + 4 * (y * ICON + x); }

struct decoded_t {
    std::vector<unsigned char> pixels;
    size_t consumed;  // bytes of code read
    bool well_formed; // no empty packet, nothing past either end
};

// A count byte below 128 is followed by that many literal pixels; otherwise one pixel is repeated count - 128 times.
decoded_t decode_sheet() {
    const unsigned char* code = gimp_cards_image + 12;
    const size_t length = sizeof gimp_cards_image - 12;
    decoded_t d{{}, 0, true};
    while (d.pixels.size() < SHEET_BYTES) {
        if (d.consumed >= length) return {d.pixels, d.consumed, false};
        const unsigned count = code[d.consumed++];
        const bool run = count >= 128;
        const size_t pixels = run ? count - 128 : count;
        const size_t taken = 4 * (run ? 1 : pixels);
        if (pixels == 0 || d.consumed + taken > length) return {d.pixels, d.consumed, false};
        for (size_t i = 0; i < pixels; ++i) {
            const unsigned char* p = code + d.consumed + (run ? 0 : 4 * i);
            d.pixels.insert(d.pixels.end(), p, p + 4);
        }
        d.consumed += taken;
    }
    return d;
}

const decoded_t& sheet() {
    static const decoded_t decoded = decode_sheet();
    return decoded;
}

const unsigned char* sheet_pixel(int x, int y) { return &sheet().pixels[4 * (static_cast<size_t>(y) * SHEET_W + x)]; }

struct corner_t {
    int x, y;
};

// Columns start every 87.7 pixels from 15, rows every 117.5 from 10, cut to whole pixels.
corner_t cell_of(int card) {
    return {static_cast<int>(87.7 * (card % 13) + 15.0), static_cast<int>(117.5 * (card / 13) + 10.0)};
}

const unsigned char* card_pixel(int card, int x, int y) {
    const corner_t c = cell_of(card);
    return sheet_pixel(c.x + x, c.y + y);
}

std::string card_bytes(int card) {
    std::string out;
    for (int y = 0; y < CARD_H; ++y)
        out.append(reinterpret_cast<const char*>(card_pixel(card, 0, y)), static_cast<size_t>(4 * CARD_W));
    return out;
}

// Largest difference of a sample between two rows (or columns) of the ground.
int ground_step(bool rows, int a, int b) {
    int worst = 0;
    for (int i = 0; i < GROUND; ++i)
        for (int s = 0; s < 3; ++s) {
            const int p = rows ? a * GROUND + i : i * GROUND + a;
            const int q = rows ? b * GROUND + i : i * GROUND + b;
            worst = std::max(worst, std::abs(background_image200x200[3 * p + s] - background_image200x200[3 * q + s]));
        }
    return worst;
}

struct viewer_icon {
    const unsigned char* data;
    size_t size;
    uint32_t side; // pixels
};

const viewer_icon VIEWER_ICONS[] = {
    {png_img0, sizeof png_img0, 64}, {png_img1, sizeof png_img1, 64}, {png_img2, sizeof png_img2, 64},
    {png_img3, sizeof png_img3, 64}, {png_img4, sizeof png_img4, 64}, {png_img5, sizeof png_img5, 32},
    {png_img6, sizeof png_img6, 32}, {png_img7, sizeof png_img7, 64},
};

uint32_t big_endian(const unsigned char* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

// The checksum that PNG puts behind each chunk: CRC-32, polynomial 0xEDB88320, over type and data.
uint32_t crc32_of(const unsigned char* p, size_t n) {
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < n; ++i) {
        crc ^= p[i];
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
    }
    return ~crc;
}

} // namespace

TEST(assets, arrays_have_the_sizes_that_drawing_and_serving_assume) {
    EXPECT_EQ(sizeof doughnut_image32x32, 4097u);
    EXPECT_EQ(sizeof stone_image32x32, 4097u);
    EXPECT_EQ(sizeof coin_image32x32, 4097u);
    EXPECT_EQ(sizeof ten_image32x32, 4097u);
    EXPECT_EQ(sizeof background_image200x200, 120001u);
    EXPECT_EQ(sizeof gimp_cards_image, 824148u); // 12 of header, 824136 of code
    const size_t lengths[] = {4240, 4896, 3326, 4181, 3319, 481, 691, 11961};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(VIEWER_ICONS[i].size, lengths[i]) << "icon " << i;
}

TEST(assets, pixel_arrays_end_in_a_nul) {
    EXPECT_EQ(doughnut_image32x32[4096], 0);
    EXPECT_EQ(stone_image32x32[4096], 0);
    EXPECT_EQ(coin_image32x32[4096], 0);
    EXPECT_EQ(ten_image32x32[4096], 0);
    EXPECT_EQ(background_image200x200[120000], 0);
}

TEST(assets, round_icons_are_solid_inside_and_clear_in_the_corners) {
    for (const unsigned char* image : {doughnut_image32x32, coin_image32x32, ten_image32x32})
        for (int y : {0, ICON - 1})
            for (int x : {0, ICON - 1}) EXPECT_EQ(icon_pixel(image, x, y)[3], 0);
    EXPECT_EQ(icon_pixel(coin_image32x32, 16, 16)[3], 255);
    EXPECT_EQ(icon_pixel(doughnut_image32x32, 16, 16)[3], 0) << "the hole shows what lies below";
    EXPECT_EQ(icon_pixel(doughnut_image32x32, 16, 6)[3], 255);
}

TEST(assets, stone_is_opaque_and_grey) {
    for (int i = 0; i < ICON * ICON; ++i) {
        const unsigned char* p = stone_image32x32 + 4 * i;
        ASSERT_EQ(p[3], 255) << "pixel " << i;
        ASSERT_LE(std::abs(p[0] - p[2]), 16) << "pixel " << i; // near grey: red and blue within a sixteenth
    }
}

// A wall shows the lower 15 rows of the stone: one course of blocks above one joint. The joint lies at the bottom of
// the picture and halfway up, so that courses of 16 rows follow each other across the edge of the tile as inside it.
TEST(assets, stone_courses_repeat_across_the_upper_and_lower_edge) {
    auto row_mean = [](int y) {
        int sum = 0;
        for (int x = 0; x < ICON; ++x) sum += icon_pixel(stone_image32x32, x, y)[0];
        return sum / ICON;
    };
    for (int bottom : {15, 31}) {
        const int next = (bottom + 1) % ICON;
        EXPECT_LT(row_mean(bottom) + 20, row_mean(next)) << "row " << bottom << " is the joint, the next one a block";
        EXPECT_LT(row_mean(bottom) + 20, row_mean(bottom - 5)) << "above the joint lies a block";
    }
}

TEST(assets, dot_is_white_and_fades_from_the_centre_outwards) {
    for (int y = 0; y < ICON; ++y)
        for (int x = 0; x < ICON; ++x)
            for (int s = 0; s < 3; ++s) ASSERT_EQ(icon_pixel(ten_image32x32, x, y)[s], 255);
    // Along the row and the diagonal from the centre: never rising, strong inside, nothing at the rim.
    for (int x = 17; x < ICON; ++x) {
        EXPECT_LE(icon_pixel(ten_image32x32, x, 16)[3], icon_pixel(ten_image32x32, x - 1, 16)[3]);
        EXPECT_LE(icon_pixel(ten_image32x32, x, x)[3], icon_pixel(ten_image32x32, x - 1, x - 1)[3]);
    }
    EXPECT_GT(icon_pixel(ten_image32x32, 16, 16)[3], 200);
    EXPECT_LT(icon_pixel(ten_image32x32, 31, 16)[3], 10);
}

TEST(assets, dot_is_the_same_in_all_directions) {
    for (int y = 0; y < ICON; ++y)
        for (int x = 0; x < ICON; ++x) {
            const int a = icon_pixel(ten_image32x32, x, y)[3];
            EXPECT_EQ(a, icon_pixel(ten_image32x32, ICON - 1 - x, y)[3]);
            EXPECT_EQ(a, icon_pixel(ten_image32x32, y, x)[3]);
        }
}

// Twenty dots a width: the share left uncovered on the middle line is the product of (1 - alpha) over the dots that
// reach it.
TEST(assets, dots_of_a_stroke_add_up_to_solid_ink_with_a_soft_rim) {
    auto cover = [](int y) {
        double clear = 1;
        for (int k = 0; k < 20; ++k) clear *= 1 - icon_pixel(ten_image32x32, k * ICON / 20, y)[3] / 255.0;
        return 1 - clear;
    };
    EXPECT_GT(cover(16), 0.99);
    EXPECT_GT(cover(5), 0.95); // two thirds of the way out: still ink
    EXPECT_LT(cover(0), 0.3);  // the rim: almost nothing
    EXPECT_GT(cover(2), cover(0));
}

TEST(assets, ground_continues_over_its_edges) {
    // Every step across an edge must also occur between neighbours inside.
    int inside_rows = 0;
    int inside_columns = 0;
    for (int i = 1; i < GROUND; ++i) {
        inside_rows = std::max(inside_rows, ground_step(true, i - 1, i));
        inside_columns = std::max(inside_columns, ground_step(false, i - 1, i));
    }
    EXPECT_LE(ground_step(true, GROUND - 1, 0), inside_rows);
    EXPECT_LE(ground_step(false, GROUND - 1, 0), inside_columns);
    EXPECT_LT(inside_rows, 40); // and those are small, so that turtles stand out
    EXPECT_LT(inside_columns, 40);
}

TEST(assets, ground_is_dark_so_that_everything_shows_on_it) {
    for (size_t i = 0; i + 1 < sizeof background_image200x200; ++i) ASSERT_LT(background_image200x200[i], 80);
}

TEST(assets, sheet_header_tells_width_height_and_bytes_per_pixel) {
    // 1158 = 0x0486, 600 = 0x0258, lowest byte first.
    const unsigned char expected[12] = {0x86, 0x04, 0, 0, 0x58, 0x02, 0, 0, 4, 0, 0, 0};
    EXPECT_EQ(memcmp(gimp_cards_image, expected, sizeof expected), 0);
}

TEST(assets, sheet_decodes_to_the_last_pixel_with_the_last_byte) {
    EXPECT_TRUE(sheet().well_formed);
    EXPECT_EQ(sheet().pixels.size(), SHEET_BYTES);
    EXPECT_EQ(sheet().consumed, 824136u);
}

TEST(assets, card_corners_are_clear_and_card_centres_opaque) {
    ASSERT_EQ(sheet().pixels.size(), SHEET_BYTES);
    for (int card = 0; card < 53; ++card) {
        for (int y : {0, CARD_H - 1})
            for (int x : {0, CARD_W - 1}) EXPECT_EQ(card_pixel(card, x, y)[3], 0) << "card " << card;
        EXPECT_EQ(card_pixel(card, CARD_W / 2, CARD_H / 2)[3], 255) << "card " << card;
        EXPECT_EQ(card_pixel(card, CARD_W / 2, 0)[3], 255) << "card " << card << " fills its cell";
        EXPECT_EQ(card_pixel(card, CARD_W - 1, CARD_H / 2)[3], 255) << "card " << card << " fills its cell";
    }
}

TEST(assets, sheet_is_clear_between_the_cards) {
    ASSERT_EQ(sheet().pixels.size(), SHEET_BYTES);
    std::vector<bool> in_cell(static_cast<size_t>(SHEET_W) * SHEET_H);
    for (int card = 0; card < 53; ++card)
        for (int y = 0; y < CARD_H; ++y)
            for (int x = 0; x < CARD_W; ++x)
                in_cell[static_cast<size_t>(cell_of(card).y + y) * SHEET_W + cell_of(card).x + x] = true;
    for (size_t i = 0; i < in_cell.size(); ++i)
        ASSERT_TRUE(in_cell[i] || sheet().pixels[4 * i + 3] == 0) << "pixel " << i;
}

TEST(assets, every_card_has_a_face_of_its_own) {
    ASSERT_EQ(sheet().pixels.size(), SHEET_BYTES);
    std::set<std::string> faces;
    for (int card = 0; card < 53; ++card) faces.insert(card_bytes(card));
    EXPECT_EQ(faces.size(), 53u);
}

// Rows 0 and 2 are black suits, 1 and 3 red ones: the 12 x 24 pixels of the index in the upper left corner hold the
// suit's colour, at least a twelfth of them (24) at full strength, and none of the other.
TEST(assets, suits_alternate_black_and_red) {
    ASSERT_EQ(sheet().pixels.size(), SHEET_BYTES);
    for (int card = 0; card < 52; ++card) {
        int red = 0;
        int black = 0;
        for (int y = 4; y < 28; ++y)
            for (int x = 3; x < 15; ++x) {
                const unsigned char* p = card_pixel(card, x, y);
                if (p[0] > 150 && p[1] < 90 && p[2] < 90) ++red;
                if (p[0] < 80 && p[1] < 80 && p[2] < 80) ++black;
            }
        const bool red_suit = card / 13 % 2 == 1;
        EXPECT_GT(red_suit ? red : black, 24) << "card " << card;
        EXPECT_EQ(red_suit ? black : red, 0) << "card " << card;
    }
}

TEST(assets, viewer_icons_are_png_files_of_their_size_with_alpha) {
    const unsigned char signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    for (const viewer_icon& icon : VIEWER_ICONS) {
        ASSERT_EQ(memcmp(icon.data, signature, 8), 0);
        EXPECT_EQ(memcmp(icon.data + 12, "IHDR", 4), 0);
        EXPECT_EQ(big_endian(icon.data + 16), icon.side);
        EXPECT_EQ(big_endian(icon.data + 20), icon.side);
        EXPECT_EQ(icon.data[24], 8); // bits per sample
        EXPECT_EQ(icon.data[25], 6); // red, green, blue, alpha
    }
}

TEST(assets, viewer_icons_are_whole_chunks_up_to_their_last_byte) {
    for (const viewer_icon& icon : VIEWER_ICONS) {
        size_t at = 8;
        std::string last;
        bool has_data = false;
        while (at < icon.size) {
            ASSERT_LE(at + 12, icon.size); // length, type, checksum
            const size_t length = big_endian(icon.data + at);
            ASSERT_LE(length, icon.size - at - 12);
            last.assign(reinterpret_cast<const char*>(icon.data + at + 4), 4);
            has_data = has_data || last == "IDAT";
            EXPECT_EQ(crc32_of(icon.data + at + 4, length + 4), big_endian(icon.data + at + 8 + length)) << last;
            at += 12 + length;
        }
        EXPECT_TRUE(has_data);
        EXPECT_EQ(last, "IEND");
    }
}
