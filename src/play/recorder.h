// The record of a game: text lines, one JSON object each, in gzip members; docs/recording.md describes the format.
// The recorder is called for every line that runs and for every tick, reads the tables and returns finished members.
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

// Commands in a record: a listed text by one letter, another text between the two quotes, none as a dot.
inline constexpr std::string_view RECORD_OPENING = "\xC2\xAB", RECORD_CLOSING = "\xC2\xBB"; // the quotes, UTF-8
inline constexpr char RECORD_NO_COMMAND = '.';
inline constexpr std::string_view RECORD_FREE_ROUND = "_"; // a line's place left free, order rounds
inline constexpr char RECORD_NEXT_TICK = ' ';              // between two ticks, command_order_t::blocks

/// The letters of listed texts, in the order of the list.
[[nodiscard]] std::string_view record_letters();

// In what order the commands of a tick ran.
enum class command_order_t {
    rounds, // one line of each program in the order of the seats, and again: pace turns
    blocks, // as they arrived
};

// What a player of the record knows of a slot so far; place and heading by its own prediction.
struct told_t {
    bool shown;
    double x, y, head; // field units; degrees
    int32_t kind;      // of kind_t
    int32_t seat;      // client slot of its program; -1 = none
    int32_t team, score, coins;
    bool dying, zombie;
    bool firing;      // its beam flies
    uint32_t pen;     // colour, 0xRRGGBB
    int32_t width;    // hundredths
    point_t drawn_to; // where its last painted segment ended, quarters of a field unit
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
    bool packed;        // false: `out` is plain text, for comparing lines
    std::string member; // lines of the current member
    std::array<told_t, TTL_MAX> told;
    std::array<bool, COIN_MAX> coin_told;
    std::array<point_t, COIN_MAX> coin_place;
    bool battle_told;
    uint64_t wiped;                                    // tick of the last wipe
    int64_t pieces;                                    // segments painted since then
    std::array<seat_commands_t, MAX_CLIENT> by_seat;   // of the tick that comes, command_order_t::rounds
    std::vector<std::pair<int, std::string>> blocks;   // likewise, command_order_t::blocks
    std::vector<std::pair<int, std::string>> arrivals; // joined or turned away before the first line of the game
    bool begun;                                        // that line has come
    std::vector<std::string> ticks;                    // commands of the ticks since the last line, in recorded form
    bool any_command;                                  // in one of them
    std::string after;                                 // commands that ran after the last tick
    std::map<std::string, int, std::less<>> texts;     // texts of this member: index in its list, or -1 seen once
    int texts_listed;
    std::string new_texts; // listed since the last line, as JSON
    std::string painted;   // segments since the last line, as JSON
    bool wipe_pending;
    std::string out; // finished members, or lines; the caller writes and clears them
};

/// The head and the first full state, at tick 0. The field is furnished and no program has joined.
/// @param pace  real, free or turns, for the head  @param packed  false for plain lines
void open_record(recorder_t& r, const setting_t& setting, const char* pace, command_order_t order, bool anonymous,
                 bool packed = true);

/// A program has joined in `slot`.
void record_join(recorder_t& r, int slot);

/// `line` of the program in `slot` is about to run.
void record_command(recorder_t& r, int slot, std::string_view line);

/// The program in `slot` has disconnected; its turtle becomes a zombie.
void record_leave(recorder_t& r, int slot);

/// The program in `slot` is dropped because its turtle has died.
void record_drop(recorder_t& r, int slot);

/// The client in `slot` was a browser: its turtle is removed.
void record_turned_away(recorder_t& r, int slot);

/// A tick has passed: elapsed_time is its number, `view` what it left to paint.
void record_tick(recorder_t& r, const tick_view_t& view);

/// The end of the game: a last full state with the results. Nothing may be recorded afterwards.
void close_record(recorder_t& r, std::string_view results);

/// The text of "build" in the head: rules, compiler and C library decide whether a game can be replayed bit for bit.
[[nodiscard]] std::string build_name();
