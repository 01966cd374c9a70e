// The card sheet: its run-length code, intact and damaged, and where each card is cut from.
#include "cards/sheet.h"

#include "images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

namespace {

using bytes = std::vector<unsigned char>;

// Decodes into `pixels` pixels of 0xEE, with a guard behind them that must stay unchanged.
bytes decoded(const bytes& coded, int pixels, int expected_bytes) {
    bytes out(pixels * PIXEL_BYTES + 16, 0xEE);
    // A copy of exactly the coded size, so that the address sanitizer notices a read past the end.
    const bytes exact(coded);
    EXPECT_EQ(decode_runs(exact, std::span(out).first(pixels * PIXEL_BYTES)), expected_bytes);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(out[pixels * PIXEL_BYTES + i], 0xEE) << "written past the picture";
    out.resize(pixels * PIXEL_BYTES);
    return out;
}

TEST(sheet_code, literal_pixels_are_copied) {
    EXPECT_EQ(decoded({2, 1, 2, 3, 4, 5, 6, 7, 8}, 2, 8), (bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(sheet_code, a_run_repeats_one_pixel) {
    EXPECT_EQ(decoded({128 + 3, 9, 8, 7, 6}, 3, 12), (bytes{9, 8, 7, 6, 9, 8, 7, 6, 9, 8, 7, 6}));
}

TEST(sheet_code, longest_packets_are_127_pixels) {
    bytes literals(1 + 127 * 4);
    std::iota(literals.begin(), literals.end(), 0);
    literals[0] = 127;
    EXPECT_EQ(decoded(literals, 127, 508), bytes(literals.begin() + 1, literals.end()));
    EXPECT_EQ(decoded({255, 1, 1, 1, 1}, 127, 508), bytes(508, 1));
}

TEST(sheet_code, empty_packets_produce_nothing) {
    // A count of 0 is followed by no pixel; one of 128 by a pixel that is used zero times.
    EXPECT_EQ(decoded({0, 128, 5, 5, 5, 5, 0, 129, 1, 2, 3, 4}, 1, 4), (bytes{1, 2, 3, 4}));
}

TEST(sheet_code, decoding_stops_when_the_picture_is_full) {
    EXPECT_EQ(decoded({129, 1, 2, 3, 4, 129, 9, 9, 9, 9}, 1, 4), (bytes{1, 2, 3, 4}));
    EXPECT_EQ(decoded({255, 1, 2, 3, 4}, 1, 4), (bytes{1, 2, 3, 4}));           // a run past the end
    EXPECT_EQ(decoded({2, 1, 2, 3, 4, 5, 6, 7, 8}, 1, 4), (bytes{1, 2, 3, 4})); // literals past the end
    EXPECT_EQ(decoded({129, 1, 2, 3, 4}, 0, 0), bytes{});
}

TEST(sheet_code, decoding_stops_when_the_data_ends) {
    EXPECT_EQ(decoded({}, 1, 0), bytes(4, 0xEE));
    EXPECT_EQ(decoded({3}, 1, 0), bytes(4, 0xEE)); // no pixel at all
    EXPECT_EQ(decoded({200}, 1, 0), bytes(4, 0xEE));
    EXPECT_EQ(decoded({200, 1, 2, 3}, 1, 0), bytes(4, 0xEE)); // less than a pixel
    EXPECT_EQ(decoded({3, 1, 2, 3, 4, 5, 6}, 3, 4),
              (bytes{1, 2, 3, 4, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
}

unsigned little_endian(const unsigned char* b) {
    return b[0] | b[1] << 8 | b[2] << 16 | static_cast<unsigned>(b[3]) << 24;
}

TEST(card_sheet, header_gives_its_size) {
    EXPECT_EQ(little_endian(gimp_cards_image), 1158u);
    EXPECT_EQ(little_endian(gimp_cards_image + 4), 600u);
    EXPECT_EQ(little_endian(gimp_cards_image + 8), 4u);
    EXPECT_EQ(sizeof gimp_cards_image, 12u + 824136u);
}

TEST(card_sheet, decodes_to_exactly_the_whole_picture) {
    bytes picture(SHEET_BYTES);
    EXPECT_EQ(decode_runs(std::span(gimp_cards_image).subspan(12), picture), 1158 * 600 * 4);
}

TEST(card_sheet, is_decoded_once_and_kept) {
    prepare_image();
    EXPECT_EQ(cards_image_is_ready, 1);
    const unsigned char* const first = cards_image;
    ASSERT_NE(first, nullptr);
    // The code starts right behind the 12 bytes of the header.
    bytes picture(SHEET_BYTES);
    decode_runs(std::span(gimp_cards_image).subspan(12), picture);
    EXPECT_EQ(std::memcmp(first, picture.data(), SHEET_BYTES), 0);
    prepare_image();
    EXPECT_EQ(cards_image, first);
}

// During a test each pixel of the sheet holds its own coordinates, so that a crop shows where it comes from.
class card_cells : public testing::Test {
protected:
    void SetUp() override {
        prepare_image();
        sheet.assign(cards_image, cards_image + SHEET_BYTES);
        for (int y = 0; y < SHEET_HEIGHT; ++y)
            for (int x = 0; x < SHEET_WIDTH; ++x) {
                unsigned char* const p = cards_image + (y * SHEET_WIDTH + x) * 4;
                p[0] = static_cast<unsigned char>(x);
                p[1] = static_cast<unsigned char>(x >> 8);
                p[2] = static_cast<unsigned char>(y);
                p[3] = static_cast<unsigned char>(y >> 8);
            }
    }
    void TearDown() override { std::memcpy(cards_image, sheet.data(), SHEET_BYTES); }
    bytes sheet;
};

int x_of(const unsigned char* p) { return p[0] | p[1] << 8; }
int y_of(const unsigned char* p) { return p[2] | p[3] << 8; }

TEST_F(card_cells, lie_where_their_row_and_column_say) {
    struct {
        int card, left, top;
    } const cells[] = {
        {0, 15, 10},     {1, 102, 10},  // 87.7 + 15 = 102.7
        {10, 892, 10},                  // 877 + 15
        {12, 1067, 10},                 // 1052.4 + 15 = 1067.4
        {13, 15, 127},                  // 117.5 + 10 = 127.5
        {25, 1067, 127}, {26, 15, 245}, // 235 + 10
        {39, 15, 362},                  // 352.5 + 10 = 362.5
        {51, 1067, 362}, {52, 15, 480}, // 470 + 10
    };
    for (const auto& cell : cells) {
        bytes picture(CARD_BYTES + 8, 0xEE);
        crop_card_image(cell.card, picture.data());
        // The first stored row is the cell's bottom row, the last its top row.
        EXPECT_EQ(x_of(&picture[0]), cell.left) << cell.card;
        EXPECT_EQ(y_of(&picture[0]), cell.top + 103) << cell.card;
        EXPECT_EQ(x_of(&picture[74 * 4]), cell.left + 74) << cell.card;
        EXPECT_EQ(y_of(&picture[75 * 4]), cell.top + 102) << cell.card;
        EXPECT_EQ(x_of(&picture[CARD_BYTES - 4]), cell.left + 74) << cell.card;
        EXPECT_EQ(y_of(&picture[CARD_BYTES - 4]), cell.top) << cell.card;
        for (int i = 0; i < 8; ++i) EXPECT_EQ(picture[CARD_BYTES + i], 0xEE);
    }
}

TEST_F(card_cells, every_pixel_of_a_picture_comes_from_its_mirrored_row) {
    bytes picture(CARD_BYTES);
    crop_card_image(30, picture.data()); // row 2, column 4: left 350.8 + 15 = 365.8, top 245
    for (int row = 0; row < 104; ++row)
        for (int column = 0; column < 75; ++column) {
            const unsigned char* const p = &picture[(row * 75 + column) * 4];
            ASSERT_EQ(x_of(p), 365 + column);
            ASSERT_EQ(y_of(p), 245 + 103 - row);
        }
}

TEST(card_pictures, every_card_is_opaque_inside_and_transparent_at_its_corners) {
    for (int c = 0; c < 53; ++c) {
        bytes picture(CARD_BYTES);
        crop_card_image(c, picture.data());
        const auto alpha = [&](int column, int row) { return picture[(row * 75 + column) * 4 + 3]; };
        EXPECT_EQ(alpha(37, 52), 255) << c;
        EXPECT_EQ(alpha(0, 0), 0) << c;
        EXPECT_EQ(alpha(74, 0), 0) << c;
        EXPECT_EQ(alpha(0, 103), 0) << c;
        EXPECT_EQ(alpha(74, 103), 0) << c;
    }
}

TEST(card_pictures, no_two_cards_look_the_same) {
    std::vector<bytes> seen;
    for (int c = 0; c < 53; ++c) {
        bytes picture(CARD_BYTES);
        crop_card_image(c, picture.data());
        for (const bytes& other : seen) EXPECT_NE(picture, other) << c;
        seen.push_back(picture);
    }
}

} // namespace
