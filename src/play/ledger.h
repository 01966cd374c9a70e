// The ledger of a game: every program that joined, with the fate of its turtle. The results are derived from it. The
// game's thread only.
#pragma once

#include "field/clients.h"
#include "field/state.h"
#include "play/setting.h"

#include <array>
#include <cstdint>
#include <string>

inline constexpr int PROGRAMS_MAX = 10000; // programs in the results; later ones play, but are not listed

struct program_t {
    int32_t seat;     // slot of the client table
    int32_t turtle;   // index in ttl
    int32_t score;    // the last one, also after death
    int32_t team;     // 0 to 4
    int32_t coins;    // carried
    int64_t death;    // tick in which its turtle began to die; -1 = it did not
    int64_t left;     // tick of its disconnect; -1 = still connected
    int64_t commands; // lines executed
    int64_t missed_turns;
    int64_t since;         // ns of the monotonic clock at which it joined
    bool left_behind;      // another program left while it was connected
    char name[TEXT_BYTES]; // may lack a terminator
};

struct ledger_t {
    std::array<program_t, PROGRAMS_MAX> programs;
    int count;                              // programs listed
    int64_t unlisted;                       // programs that joined when the list was full
    std::array<int32_t, MAX_CLIENT> seated; // by slot: index in programs; -1 = none that is listed
};

/// Nobody has joined yet.
void open_ledger(ledger_t& ledger);

/// The client in `slot` has joined; its turtle stands on the field.
void note_join(ledger_t& ledger, int slot);

/// One line of the client in `slot` was executed.
void note_command(ledger_t& ledger, int slot);

/// The client in `slot` missed its turn.
void note_missed_turn(ledger_t& ledger, int slot);

/// After a tick, and before a client is dropped: updates the scores.
void note_state(ledger_t& ledger);

/// The client in `slot` is gone: it `hung_up`, or was dropped after its turtle's death.
void note_leave(ledger_t& ledger, int slot, bool hung_up);

/// The client in `slot` was a browser: it is listed no more.
void note_turned_away(ledger_t& ledger, int slot);

/// Sides that still play: teams, and programs without a team, that are connected, their turtles alive, neither dying
/// nor zombies.
[[nodiscard]] int count_sides();

/// Whether two sides have been connected at a time. Who has been silent for less than a second may be a browser and
/// does not count yet; whoever missed a turn, leaves or dies in silence is none.
/// @param leaves  slot of a program that leaves; -1 = none
[[nodiscard]] bool have_two_played(const ledger_t& ledger, int leaves = -1);

/// The results as one JSON object without a line feed.
/// Places: programs that still play first, by score; then the others, the last to leave first, then by score. Equals
/// share a place.
/// @param why  what ended the game  @param names  false leaves all names empty
[[nodiscard]] std::string results_json(const ledger_t& ledger, const setting_t& setting, const char* why, bool names);
