// Playing cards on the field: one texture per card, made when the card is first drawn.
// Window thread only; cards that are never placed need neither picture nor texture.
#pragma once

#include <array>

#include "field/state.h"

extern std::array<unsigned char*, CARD_MAX> card_text_image; // the picture uploaded, CARD_BYTES, or null
extern std::array<unsigned, CARD_MAX> card_textures;         // GL names, valid where the flag below is 1
extern std::array<int, CARD_MAX> card_tex_initialized;       // 1 once the card's texture exists

/// Cuts card c (0..52, not checked) from the sheet and makes its texture. Leaves no texture bound.
void init_card_tex(int c);

/// Draws card c (0..52, not checked) with its lower-left corner at (x, y), 75 x 104 field units, at height `depth`.
/// Visible from above only; leaves blending, culling and texturing off.
void draw_Card(double x, double y, double depth, int c);
