// The parts on the floor that seldom change: walls (in battle mode), coins and cards. A picture of them is cached, with
// its depths, and laid over the floor while neither they nor the view change: most of a full field's pixels are then
// copied instead of drawn. Window thread.
#pragma once

#include "field/state.h"

#include <array>

extern std::array<int, COIN_MAX> coin_list; // scratch of each frame: rank -> coin index, -1 = none

/// Puts the depths of the cached picture, including the floor's, into the window's depth buffer. A copy, so nothing may
/// be waiting to be drawn in the window: call it at the start of a frame.
/// @return whether there is such a picture
[[nodiscard]] bool restore_scenery_depth();

/// Reads the tables. Caller holds frame_rendering_mutex.
/// @return whether the scenery and its view are those of the frame before
[[nodiscard]] bool scenery_is_unchanged();

/// Lays the cached picture over the floor in the back buffer. Needs the depths from restore_scenery_depth. Leaves the
/// same state as draw_scenery.
void draw_cached_scenery();

/// Draws the scenery that scenery_is_unchanged read over the floor, with depth test. The normal is left facing up;
/// culling, texturing and blending are left off.
void draw_scenery();

/// Caches the picture that draw_scenery has just drawn, if GL supports it. The matrices are those of the view.
void cache_scenery();

/// Drops the cached picture; needed when the window's size has changed.
void forget_scenery();
