// The field's small textured squares (doughnut, stone, coin, brush dot), stone walls and the battle background.
// Window thread only. A texture is made on first use and lives as long as the program.
// Every routine disables what it enabled: culling, blending and texturing are off afterwards.
#pragma once

#include "field/kinds.h"
#include "images.h"

#include <array>
#include <cstdint>
#include <span>

inline constexpr int ICON_SIDE = 32;                         // pixels
inline constexpr int ICON_BYTES = ICON_SIDE * ICON_SIDE * 4; // red, green, blue, alpha
inline constexpr int TILE_SIDE = 200;                        // pixels of the background tile, RGB

struct icon_t {
    std::span<const unsigned char, ICON_BYTES + 1> image; // with one NUL byte behind its pixels
    uint32_t object;                                      // TTL_* bit of the kind of objects that it shows; 0: none
    double height;                                        // of these objects above the floor, field units
};

// Slots of the object textures, and what is in them. Every kind of objects has one; the heights keep the layers apart.
inline constexpr int TEX_DOUGHNUT = 0;
inline constexpr int TEX_STONE = 1;
inline constexpr int TEX_COIN = 2;
inline constexpr int TEX_BRUSH_DOT = 3;
inline constexpr std::array ICONS{
    icon_t{doughnut_image32x32, TTL_DOUGHNUT, 2.0},
    icon_t{stone_image32x32, TTL_STONE, 3.0},
    icon_t{coin_image32x32, 0, 0.0},
    icon_t{ten_image32x32, 0, 0.0},
};
inline constexpr int OBJ_TEXTURES = ICONS.size();

extern std::array<unsigned, OBJ_TEXTURES> obj_textures;   // GL names, valid where the flag below is 1
extern std::array<int, OBJ_TEXTURES> obj_tex_initialized; // 1 once the slot's texture exists
extern std::array<std::array<unsigned char, ICON_BYTES>, OBJ_TEXTURES> obj_text_image; // what was uploaded

/// Copies a 32 x 32 RGBA image upside down, so that its top row is where GL shows the top. Buffers must not overlap.
void flip32x32icon(const unsigned char* source, unsigned char* destination);

/// Makes the texture of a slot from an image. Nearest filter, repeating. Leaves no texture bound.
void init_obj_tex(int slot, const unsigned char* image);

/// Binds the texture of a slot, making it first where it does not exist yet.
void bind_obj_tex(int slot);

/// The icon of an object at its kind's height, from 10 units left of and below the place to 9 units right of and above
/// it, unlit and blended. A kind without an icon draws nothing.
void draw_object_icon(const kind_info_t& kind, double x, double y);

/// draw_object_icon of a doughnut, of a stone.
void drawIcon_Doughnut(double x, double y);
void drawIcon_Stone(double x, double y);

/// Coin number n at height 1.0 + n / (ncoin + 1) * 1.5, so that overlapping coins lie in a fixed order.
void drawIcon_Coin(int n, double x, double y);

/// A stone-textured lit wall face, 15 units high, visible from the side its normal points to: seen from there,
/// (x1, y1) is the right end.
void drawStoneWall(double x1, double y1, double x2, double y2, double nx, double ny);

/// Many coins or wall faces with one bind: begin, any number of pieces, end, with no other GL call in between. The
/// pixels and the final state equal those of the single calls.
void begin_coin_batch();
void coin_in_batch(int n, double x, double y);
void end_coin_batch();

void begin_stone_wall_batch();
void stone_wall_in_batch(double x1, double y1, double x2, double y2, double nx, double ny);
void end_stone_wall_batch();

/// Draws the background tile nine times over the field, in window pixels. Needs a projection in which the corner (-256,
/// -256, 0) is not outside, or GL drops the tiles.
void drawBackground();
