// The card sheet: one run-length coded picture of all 53 faces, decoded once and cut into cards. Window thread.
// No OpenGL here. Damaged data causes no read past its end and no write past the picture: pixels without data stay
// transparent black.
#pragma once

#include <span>

inline constexpr int CARD_WIDTH = 75;   // pixels of the sheet, and field units
inline constexpr int CARD_HEIGHT = 104; // likewise
inline constexpr int PIXEL_BYTES = 4;   // red, green, blue, alpha
inline constexpr int CARD_BYTES = CARD_WIDTH * CARD_HEIGHT * PIXEL_BYTES;
static_assert(CARD_BYTES == 31200);

inline constexpr int SHEET_WIDTH = 1158; // pixels
inline constexpr int SHEET_HEIGHT = 600;
inline constexpr int SHEET_BYTES = SHEET_WIDTH * SHEET_HEIGHT * PIXEL_BYTES;
static_assert(SHEET_BYTES == 2779200);

extern unsigned char* cards_image; // the decoded sheet, rows top down, one byte more than needed; null until decoded
extern int cards_image_is_ready;   // 1 once the sheet is decoded; it is kept for the life of the process

/// Decodes the run-length code: a count byte n below 128 is followed by n pixels, one of 128 or more by one pixel that
/// is repeated n - 128 times. Stops when `pixels` is full or `coded` runs out, whichever comes first; a packet that is
/// too long for either is cut to whole pixels.
/// @param pixels  its size a multiple of PIXEL_BYTES
/// @return bytes written, 0 to pixels.size(); the rest is unchanged
int decode_runs(std::span<const unsigned char> coded, std::span<unsigned char> pixels);

/// Decodes the sheet into cards_image, at the first call only.
void prepare_image();

// Where a card's picture lies on the sheet.
struct card_cell_t {
    int left, top; // pixels from the upper left corner
};

/// @param c  card index, 0 to 52
[[nodiscard]] card_cell_t card_cell(int c);

/// Writes the picture of card index c (0 to 52: suits in rows of 13, then the further card) to `picture`, CARD_BYTES
/// bytes, bottom row first as for textures.
void crop_card_image(int c, unsigned char* picture);
