// What stands on the floor and seldom changes: walls (in battle mode), coins and cards. A picture of it is kept, with
// its depth, and laid over the floor for as long as nothing of it, and nothing of the view, changes: most of a full
// field's pixels are then copied and not drawn. Window thread.
#pragma once

#include "field/state.h"

#include <array>

extern std::array<int, COIN_MAX> coin_list; // scratch of each frame: rank -> coin index, -1 = none

/// Puts the depth of the kept picture, the floor's included, into the window's depth buffer.
/// It is a copy, and so it wants a window in which nothing is waiting to be drawn: call it when a frame begins.
/// @return whether there is such a picture
[[nodiscard]] bool restore_scenery_depth();

/// Looks at the tables. Caller holds frame_rendering_mutex.
/// @return whether the scenery, and the view of it, are those of the frame before
[[nodiscard]] bool scenery_is_unchanged();

/// Lays the kept picture over the floor, which stands in the back buffer. Wants the depths from restore_scenery_depth.
/// Leaves the state that draw_scenery leaves.
void draw_cached_scenery();

/// Draws what scenery_is_unchanged saw over the floor, with depth test. The normal is left facing up; culling,
/// texturing and blending are left off.
void draw_scenery();

/// Keeps the picture of what draw_scenery has just drawn, unless GL has no means to. The matrices are those of the
/// view.
void cache_scenery();

/// Gives the kept picture up, as is due when the window has had another size.
void forget_scenery();
