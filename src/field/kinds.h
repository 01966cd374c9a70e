// The bits of a turtle's record, and the table of the kinds of objects: whatever differs between turtle, robot,
// doughnut and stone is a column of it. Constants only; how each kind looks is in draw/icons.h.
#pragma once

#include <array>
#include <cstdint>

// turtle_t::flags
inline constexpr uint32_t TTL_ALIVE = 0x1; // the slot is in use
inline constexpr uint32_t TTL_PEN_DOWN = 0x2;
inline constexpr uint32_t TTL_POINT_MODE = 0x4;
inline constexpr uint32_t TTL_FILL_POLY = 0x8;
inline constexpr uint32_t TTL_BRUSH = 0x10;
inline constexpr uint32_t TTL_FIRING = 0x80;  // a fired beam is in flight
inline constexpr uint32_t TTL_ZOMBIE = 0x100; // dead or abandoned, still on the field
inline constexpr uint32_t TTL_ROBOT = 0x200;  // driven by the program; init_turtle sets it for every ownerless turtle
inline constexpr uint32_t TTL_STONE = 0x400;
inline constexpr uint32_t TTL_DOUGHNUT = 0x800;
inline constexpr uint32_t TTL_SEG_PAINTED = 0x1000;   // the newest segment is painted; every step or jump clears it
inline constexpr uint32_t TTL_PEN_LIFTED = 0x2000;    // the pen has just been lifted: a brush stroke must be finished
inline constexpr uint32_t TTL_LATCH_TURTLE = 0x10000; // latches: the condition was reported and persists
inline constexpr uint32_t TTL_LATCH_DOUGHNUT = 0x20000;
inline constexpr uint32_t TTL_LATCH_STONE = 0x40000;
inline constexpr uint32_t TTL_LATCH_WALL = 0x80000;
inline constexpr uint32_t TTL_LATCH_COIN = 0x100000;

// turtle_t::event and event_mask
inline constexpr uint32_t EVENT_HIT = 0x1;       // hit by a beam
inline constexpr uint32_t EVENT_TURTLE = 0x2;    // blocked by a turtle
inline constexpr uint32_t EVENT_DOUGHNUT = 0x4;  // blocked by a doughnut
inline constexpr uint32_t EVENT_STONE = 0x8;     // blocked by a stone
inline constexpr uint32_t EVENT_WALL = 0x10;     // hit a wall in bounded-area mode
inline constexpr uint32_t EVENT_COIN = 0x20;     // a coin is within reach
inline constexpr uint32_t EVENT_FOUND = 0x40;    // caught by another turtle's finder
inline constexpr uint32_t EVENT_SEEN = 0x80;     // seen by another turtle's angular radar
inline constexpr uint32_t EVENT_MESSAGE = 0x100; // a team message arrived

// What a body is to those who run into it. These are also the codes of the finder, which has FINDER_WALL besides.
inline constexpr uint32_t BLOCKED_BY_NOTHING = 0;
inline constexpr uint32_t BLOCKED_BY_TURTLE = 1;
inline constexpr uint32_t BLOCKED_BY_DOUGHNUT = 2;
inline constexpr uint32_t BLOCKED_BY_STONE = 3;
inline constexpr int FINDER_WALL = 4;

/// Whether `word` has at least one of `bits`.
[[nodiscard]] constexpr bool has_any(uint32_t word, uint32_t bits) { return (word & bits) != 0; }

enum class kind_t { turtle, robot, doughnut, stone };

// How a step ended; the last ones name the body that was in the way.
enum class step_end_t { moved, cannot_move, no_points, wall, turtle, doughnut, stone };

// What a beam does to what it hits.
enum class hit_t { hurts, kills, stops }; // takes points, kills at once, does nothing but end the beam

// A column that a row leaves out is that of a turtle.
struct kind_info_t {
    kind_t kind;
    const char* name;                              // in the record of a game
    uint32_t flag = 0;                             // TTL_* bit of the kind; 0 for a turtle
    bool object = false;                           // shows no name and no score, never moves, lies under the others
    uint32_t blocked_by = BLOCKED_BY_TURTLE;       // of it as an obstacle
    uint32_t event = EVENT_TURTLE;                 // of the blocked turtle
    uint32_t latch = TTL_LATCH_TURTLE;             // of the blocked turtle: that marks the event as reported
    step_end_t step_end = step_end_t::turtle;      // of the blocked turtle's step
    const char* in_way = "a turtle is in the way"; // the same in words
    hit_t hit = hit_t::hurts;
    char key = 0;      // of the window, in lower case, that scatters one of the kind; 0: none
    int json_type = 1; // "type" on the page for browsers, by which web/src/common/kinds.js knows it
};

inline constexpr std::array<kind_info_t, 4> KINDS{{
    {.kind = kind_t::turtle, .name = "turtle"},
    {.kind = kind_t::robot, .name = "robot", .flag = TTL_ROBOT},
    {.kind = kind_t::doughnut,
     .name = "doughnut",
     .flag = TTL_DOUGHNUT,
     .object = true,
     .blocked_by = BLOCKED_BY_DOUGHNUT,
     .event = EVENT_DOUGHNUT,
     .latch = TTL_LATCH_DOUGHNUT,
     .step_end = step_end_t::doughnut,
     .in_way = "a doughnut is in the way",
     .hit = hit_t::kills,
     .json_type = 2},
    {.kind = kind_t::stone,
     .name = "stone",
     .flag = TTL_STONE,
     .object = true,
     .blocked_by = BLOCKED_BY_STONE,
     .event = EVENT_STONE,
     .latch = TTL_LATCH_STONE,
     .step_end = step_end_t::stone,
     .in_way = "a stone is in the way",
     .hit = hit_t::stops,
     .key = 'o',
     .json_type = 3},
}};

/// The kind for turtle_t::flags. The last matching row counts: an ownerless doughnut has the robot's bit, too.
[[nodiscard]] constexpr const kind_info_t& kind_of(uint32_t flags) {
    const kind_info_t* found = &KINDS[0];
    for (const kind_info_t& kind : KINDS) {
        if (has_any(flags, kind.flag)) found = &kind;
    }
    return *found;
}

namespace kinds_detail {

constexpr uint32_t all_of(uint32_t kind_info_t::*field, bool objects_only = false) {
    uint32_t bits = 0;
    for (const kind_info_t& kind : KINDS) {
        if (kind.object || !objects_only) bits |= kind.*field;
    }
    return bits;
}

} // namespace kinds_detail

/// The flags of all kinds that are objects.
inline constexpr uint32_t TTL_OBJECT = kinds_detail::all_of(&kind_info_t::flag, true);

/// The events of all obstacles, walls included, and the latches of all but walls.
inline constexpr uint32_t EVENTS_BLOCKED = kinds_detail::all_of(&kind_info_t::event) | EVENT_WALL;
inline constexpr uint32_t TTL_LATCH_OBJECTS = kinds_detail::all_of(&kind_info_t::latch);
