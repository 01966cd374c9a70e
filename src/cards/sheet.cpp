#include "cards/sheet.h"

#include "field/state.h"
#include "images.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t HEADER_BYTES = 12; // width, height and bytes per pixel, 32 bits each
constexpr int RUN = 128;                 // count bytes from here on repeat one pixel
constexpr int CARDS_PER_ROW = 13;
constexpr double CELL_PITCH_X = 87.7; // pixels of the sheet between the left edges of two cells
constexpr double CELL_PITCH_Y = 117.5;
constexpr double SHEET_LEFT = 15.0; // pixels before the first cell
constexpr double SHEET_TOP = 10.0;

// The cells that reach farthest to the right and to the bottom still lie on the sheet.
static_assert(static_cast<int>(CELL_PITCH_X * (CARDS_PER_ROW - 1) + SHEET_LEFT) + CARD_WIDTH <= SHEET_WIDTH);
constexpr int LAST_ROW = (CARD_MAX - 1) / CARDS_PER_ROW;
static_assert(static_cast<int>(CELL_PITCH_Y * LAST_ROW + SHEET_TOP) + CARD_HEIGHT <= SHEET_HEIGHT);

} // namespace

unsigned char* cards_image = nullptr;
int cards_image_is_ready = 0;

int decode_runs(std::span<const unsigned char> coded, std::span<unsigned char> pixels) {
    std::size_t in = 0, out = 0;
    while (out < pixels.size() && in < coded.size()) {
        const int n = coded[in++];
        const std::size_t wanted = static_cast<std::size_t>(n < RUN ? n : n - RUN) * PIXEL_BYTES;
        const std::size_t space = (pixels.size() - out) / PIXEL_BYTES * PIXEL_BYTES;
        const std::size_t left = (coded.size() - in) / PIXEL_BYTES * PIXEL_BYTES;
        if (n < RUN) {
            const std::size_t bytes = std::min({wanted, space, left});
            std::memcpy(pixels.data() + out, coded.data() + in, bytes);
            out += bytes;
            if (bytes < wanted) break;
            in += bytes;
        } else {
            if (left == 0) break;
            const std::size_t bytes = std::min(wanted, space);
            for (std::size_t at = out; at < out + bytes; at += PIXEL_BYTES)
                std::memcpy(pixels.data() + at, coded.data() + in, PIXEL_BYTES);
            out += bytes;
            if (bytes < wanted) break;
            in += PIXEL_BYTES;
        }
    }
    return static_cast<int>(out);
}

void prepare_image() {
    if (cards_image_is_ready) return;
    cards_image = static_cast<unsigned char*>(std::calloc(SHEET_BYTES + 1, 1));
    if (!cards_image) return; // cards stay transparent; the next one drawn tries again
    decode_runs(std::span(gimp_cards_image).subspan(HEADER_BYTES), {cards_image, SHEET_BYTES});
    cards_image_is_ready = 1;
}

card_cell_t card_cell(int c) {
    const int row = c / CARDS_PER_ROW, column = c - CARDS_PER_ROW * row;
    return {.left = static_cast<int>(CELL_PITCH_X * column + SHEET_LEFT),
            .top = static_cast<int>(CELL_PITCH_Y * row + SHEET_TOP)};
}

void crop_card_image(int c, unsigned char* picture) {
    assert(c >= 0 && c < CARD_MAX);
    prepare_image();
    if (!cards_image_is_ready) {
        std::memset(picture, 0, CARD_BYTES);
        return;
    }
    const auto [x0, y0] = card_cell(c);
    for (int y = y0 + CARD_HEIGHT - 1; y >= y0; --y) {
        std::memcpy(picture, cards_image + (x0 + SHEET_WIDTH * y) * PIXEL_BYTES, CARD_WIDTH * PIXEL_BYTES);
        picture += CARD_WIDTH * PIXEL_BYTES;
    }
}
