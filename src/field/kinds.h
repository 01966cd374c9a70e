// The kinds of things that stand on the field, and what each of them is called elsewhere: one row a kind.
#pragma once

#include "field/turtles.h"

#include <array>
#include <cstdint>

enum class kind_t { turtle, robot, doughnut, stone };

// What stands in the way of a turtle. These are also the codes of the finder.
inline constexpr uint32_t BLOCKED_BY_NOTHING = 0;
inline constexpr uint32_t BLOCKED_BY_TURTLE = 1;
inline constexpr uint32_t BLOCKED_BY_DOUGHNUT = 2;
inline constexpr uint32_t BLOCKED_BY_STONE = 3;

struct kind_info_t {
    kind_t kind;
    uint32_t flag;         // TTL_* bit that tells the kind; 0 for a turtle
    uint32_t blocked_by;   // BLOCKED_BY_* when it stands in the way
    uint32_t event, latch; // of the turtle whose way it blocks: EVENT_*, and the TTL_LATCH_* that says it was reported
    int json_type;         // "type" on the page for browsers
};

inline constexpr std::array<kind_info_t, 4> KINDS{{
    {kind_t::turtle, 0, BLOCKED_BY_TURTLE, EVENT_TURTLE, TTL_LATCH_TURTLE, 1},
    {kind_t::robot, TTL_ROBOT, BLOCKED_BY_TURTLE, EVENT_TURTLE, TTL_LATCH_TURTLE, 1},
    {kind_t::doughnut, TTL_DOUGHNUT, BLOCKED_BY_DOUGHNUT, EVENT_DOUGHNUT, TTL_LATCH_DOUGHNUT, 2},
    {kind_t::stone, TTL_STONE, BLOCKED_BY_STONE, EVENT_STONE, TTL_LATCH_STONE, 3},
}};

/// The kind that turtle_t::flags tell. The last row that fits counts: an ownerless doughnut has the robot's bit, too.
[[nodiscard]] constexpr const kind_info_t& kind_of(uint32_t flags) {
    const kind_info_t* found = &KINDS[0];
    for (const kind_info_t& kind : KINDS) {
        if (has_any(flags, kind.flag)) found = &kind;
    }
    return *found;
}

namespace kinds_detail {

constexpr uint32_t all_of(uint32_t kind_info_t::*field) {
    uint32_t bits = 0;
    for (const kind_info_t& kind : KINDS) bits |= kind.*field;
    return bits;
}

} // namespace kinds_detail

/// The events of something in the way, walls included, and the latches of all but walls.
inline constexpr uint32_t EVENTS_BLOCKED = kinds_detail::all_of(&kind_info_t::event) | EVENT_WALL;
inline constexpr uint32_t TTL_LATCH_OBJECTS = kinds_detail::all_of(&kind_info_t::latch);
