// The turtle table: every turtle, robot, doughnut and stone is a record of it; the index is its identity.
// Commands, frames, menu and key handlers hold frame_rendering_mutex; HTTP threads read without it.
// A slot is free while TTL_ALIVE is clear; free slots are reused lowest first.
#pragma once

#include "field/kinds.h"
#include "field/state.h"

#include <array>
#include <cstdint>
#include <type_traits>

inline constexpr int TTL_MAX = 30;          // slots
inline constexpr int TRACK_MAX = 7;         // points of track history, newest first
inline constexpr double BODY_GAP = 20.0;    // centre distance at which two bodies touch, field units
inline constexpr int DYING_FRAMES = 50;     // length of the dying animation
inline constexpr int FIRE_WAIT_FRAMES = 25; // explosion and pause after a shot was resolved
inline constexpr int DOUGHNUT_QUOTA = 10;   // doughnuts that one turtle may make

struct point_t {
    double x, y; // field units
};
struct rgb_t {
    double r, g, b; // 0 to 1, not clamped
};

struct turtle_t {
    int32_t client_id;            // owning slot of client_tab, 0 to 9; -1 = none
    double dir;                   // heading, degrees, never wrapped; 0 along +x, counter-clockwise positive
    point_t pos[TRACK_MAX];       // track history, [0] is the current position
    rgb_t color[TRACK_MAX];       // pen color history, [0] is the current color
    double line_width[TRACK_MAX]; // pen width history, [0] is the current width
    double beam_dir;              // heading of the beam, degrees
    double beam_x, beam_y;        // position of the beam
    int32_t dying_count;          // frames left of the dying animation; 0 = not dying
    int32_t fire_wait;            // frames before the turtle may fire again
    int32_t score;                // points, which are also the battle energy
    int32_t team;                 // 1 to 4; 0 = none
    double finder_range;          // field units
    uint32_t flags;               // TTL_*, see field/kinds.h
    uint32_t event;               // pending EVENT_* bits
    uint32_t event_mask;          // events that the client wants to see
    int32_t radar_target;         // turtle last reported by the radar, drawn once; -1 = none
    int32_t finder_target;        // object last found by the finder, drawn once; -1 = none
    int32_t n_doughnut;           // doughnuts made
    int32_t n_coin;               // coins carried
    int32_t n_painted;            // segments painted since the pen went down
    char message[TEXT_BYTES];     // text waiting to be printed, terminated
    char name[TEXT_BYTES];        // may lack a terminator
};
static_assert(std::is_trivially_copyable_v<turtle_t>);

extern std::array<turtle_t, TTL_MAX> ttl;
extern int ntmax; // one past the highest slot ever handed out; scans stop here; only kill-all lowers it

/// A fresh turtle in slot `i` at (x, y), heading `dir` degrees: red pen up, width 1, score 100, no team, no name, all
/// events wanted. Ownerless (client_id < 0) turtles get TTL_ROBOT. An index outside the table is ignored.
/// The beam fields are left as they were.
void init_turtle(int i, int client_id, double x, double y, double dir);

/// Sets TTL_ZOMBIE; the turtle stays on the field. An index outside the table is ignored.
void make_zombie(int i);

/// Frees the turtle's slot if `client_id` still owns it; nothing of it stays on the field. Other indices are ignored.
void turtle_leave(int i, int client_id);

/// Puts the turtle into team 1 to 4; any other number changes nothing. @return 0, or -1 for a zombie
int turtle_set_team(int i, int team);

/// Names the turtle with at most TEXT_BYTES bytes of `text`. @return 0, or 1 for a zombie
int turtle_name(int i, const char* text);

/// Adds `bits` to the wanted events. @return 0
int turtle_enable_event(int i, uint32_t bits);

/// Takes `bits` from the wanted and from the pending events. @return 0
int turtle_disable_event(int i, uint32_t bits);

/// The pending events that are wanted; clears all pending ones, unwanted too.
[[nodiscard]] uint32_t turtle_get_and_reset_eventcode(int i);
