// The parts on the floor that seldom change: walls (in battle mode), coins and cards. The finished picture of floor,
// walls, coins and cards is copied from the window with its depths, and copied back while neither they nor the view
// change: most of a full field's pixels are then copied instead of drawn. Where the canvas is painted on, the picture
// is drawn again, and only there. It equals, bit for bit, what drawing everything would give. Window thread.
#pragma once

#include "field/state.h"

#include <array>

extern std::array<int, COIN_MAX> coin_list; // scratch of each frame: rank -> coin index, -1 = none

/// Reads the tables. Caller holds frame_rendering_mutex.
/// @return whether the scenery and its view are those of the frame before
[[nodiscard]] bool scenery_is_unchanged();

/// Draws the scenery that scenery_is_unchanged read over the floor, with depth test. The normal is left facing up;
/// culling, texturing and blending are left off.
void draw_scenery();

/// Keeps the picture of floor and scenery that stands in the back buffer and its depths, unless GL has no means to or
/// it is not worth it.
void keep_scene();

/// Whether a picture is kept that show_kept_scene may show.
[[nodiscard]] bool scene_is_kept();

/// Puts the kept picture and its depths into the window, after it was drawn anew where painted_tiles says. The canvas
/// is in the back buffer, the matrices are those of the view. Leaves the state that draw_scenery leaves, with the depth
/// test on.
/// @param floor_depth  of an empty floor in the depth buffer: 1, or that of the floor where it is not drawn
/// @return false where there is no picture that could be shown: then nothing is done
[[nodiscard]] bool show_kept_scene(double floor_depth);

/// Drops the cached picture; needed when the window's size has changed.
void forget_scenery();
