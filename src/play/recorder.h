// The record of a game: text lines, one JSON object each, in gzip members; docs/recording.md describes the format.
// The recorder is told of every line that runs and of every tick, reads the tables and hands out finished members.
// The game's thread only.
#pragma once

#include "field/clients.h"
#include "field/state.h"
#include "field/turtles.h"
#include "game/tick.h"
#include "play/setting.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

inline constexpr int RECORD_VERSION = 1;
inline constexpr uint64_t STATE_EVERY = 4;         // ticks between two lines of changes: 31 a second
inline constexpr uint64_t FULL_STATE_EVERY = 1000; // ticks between two full states
static_assert(FULL_STATE_EVERY % STATE_EVERY == 0, "a full state stands where a line of changes would");

// How commands are told: a listed text by one letter, another one between the two quotes, none by a dot.
inline constexpr std::string_view RECORD_OPENING = "\xC2\xAB", RECORD_CLOSING = "\xC2\xBB"; // the quotes, UTF-8
inline constexpr char RECORD_NO_COMMAND = '.';
inline constexpr char RECORD_NEXT_TICK = ' '; // between two ticks, command_order_t::blocks

/// The letters of listed texts, in the order of the list.
[[nodiscard]] std::string_view record_letters();

// In what order the commands of a tick ran.
enum class command_order_t {
    rounds, // one line of each program in the order of the seats, and again: pace turns
    blocks, // as they arrived
};

// What a player of the record knows of a slot so far; positions and heading as it computes them.
struct told_t {
    bool shown;
    double x, y, head; // field units; degrees
    int32_t kind;      // turtle_kind of recorder.cpp
    int32_t seat;      // client slot of its program; -1 = none
    int32_t team, score, coins;
    bool dying, zombie;
    bool firing;      // its beam flies
    uint32_t pen;     // colour, 0xRRGGBB
    int32_t width;    // hundredths
    point_t drawn_to; // where its last painted segment ended, hundredths
    std::string name;
};

// The commands of one program in one tick.
struct seat_commands_t {
    std::string text; // lines, ";" between them
    int lines;
};

struct recorder_t {
    command_order_t order;
    bool anonymous;
    bool packed;        // false: `out` is text, for whoever compares lines
    std::string member; // lines of the member that is being filled
    std::array<told_t, TTL_MAX> told;
    std::array<bool, COIN_MAX> coin_told;
    std::array<point_t, COIN_MAX> coin_place;
    bool battle_told;
    uint64_t wiped;                                  // tick of the last wipe
    int64_t pieces;                                  // segments painted since then
    std::array<seat_commands_t, MAX_CLIENT> by_seat; // of the tick that comes, command_order_t::rounds
    std::vector<std::pair<int, std::string>> blocks; // likewise, command_order_t::blocks
    std::vector<std::string> ticks;                  // commands of the ticks since the last line, as told
    bool any_command;                                // in one of them
    std::string after;                               // commands that ran after the last tick
    std::map<std::string, int, std::less<>> texts;   // texts of this member: index in its list, or -1 seen once
    int texts_listed;
    std::string new_texts; // listed since the last line, as JSON
    std::string painted;   // segments since the last line, as JSON
    bool wipe_pending;
    std::string out; // finished members, or lines, for the caller to write and empty
};

/// The head and the first full state, at tick 0. The field is furnished and nobody has joined.
/// @param pace  real, free or turns: stands in the head  @param packed  false for lines as they are
void open_record(recorder_t& r, const setting_t& setting, const char* pace, command_order_t order, bool anonymous,
                 bool packed = true);

/// A program has joined in `slot`.
void record_join(recorder_t& r, int slot);

/// `line` of the program in `slot` is about to run.
void record_command(recorder_t& r, int slot, std::string_view line);

/// The program in `slot` has hung up; its turtle becomes a zombie.
void record_leave(recorder_t& r, int slot);

/// The program in `slot` is dropped, its turtle has died.
void record_drop(recorder_t& r, int slot);

/// What joined in `slot` was a browser: its turtle has left the field with it.
void record_turned_away(recorder_t& r, int slot);

/// A tick has passed: elapsed_time is its number, `view` what it painted.
void record_tick(recorder_t& r, const tick_view_t& view);

/// The end of the game: a last full state with the results. Nothing may be recorded afterwards.
void close_record(recorder_t& r, std::string_view results);

/// What stands behind the name of the build in the head: rules, compiler and C library decide whether a game can be
/// played again to the bit.
[[nodiscard]] std::string build_name();
