// Where turtles start. Two overlapping turtles can neither step nor jump, so no turtle is put where another one is.
// Pure functions; field units.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace classroom {

struct spot {
    double x;
    double y;
};

inline constexpr double CROWDED = 20;    // closer than this to another body nothing moves
inline constexpr double ELBOW_ROOM = 45; // between a start and any other turtle
inline constexpr double RING_RADIUS = 180;

/// Bodies on the field, from the repaired list of turtles, without the first one named `self`.
[[nodiscard]] std::vector<spot> other_bodies(std::string_view list, std::string_view self);

/// Nothing is so near the middle that a turtle there could not move.
[[nodiscard]] bool middle_is_free(std::span<const spot> others);

/// A start apart from all others: the place's own one on a ring, else another place of the ring or of a smaller one;
/// the place's own one when all are taken.
[[nodiscard]] spot free_spot(std::span<const spot> others, int place);

} // namespace classroom
