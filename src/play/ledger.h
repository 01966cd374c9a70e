// The ledger of a game: every program that ever joined, with what became of its turtle. The results are made of it.
// The game's thread only.
#pragma once

#include "field/clients.h"
#include "field/state.h"
#include "play/setting.h"

#include <array>
#include <cstdint>
#include <string>

inline constexpr int PROGRAMS_MAX = 10000; // programs that the results list; who joins later plays, but is not listed

struct program_t {
    int32_t seat;     // slot of the client table
    int32_t turtle;   // index in ttl
    int32_t score;    // the last, also of the dead
    int32_t team;     // 0 to 4
    int32_t coins;    // carried
    int64_t death;    // tick in which its turtle began to die; -1 = it did not
    int64_t left;     // tick in which it hung up; -1 = it did not
    int64_t commands; // lines carried out
    int64_t missed_turns;
    bool browser;          // it was none: the results leave it out
    char name[TEXT_BYTES]; // may lack a terminator
};

struct ledger_t {
    std::array<program_t, PROGRAMS_MAX> programs;
    int count;                              // programs listed
    int64_t unlisted;                       // programs that joined when the list was full
    std::array<int32_t, MAX_CLIENT> seated; // index in programs of who sits there; -1 = nobody who is listed
};

/// Nobody has joined yet.
void open_ledger(ledger_t& ledger);

/// The client in `slot` has joined; its turtle stands on the field.
void note_join(ledger_t& ledger, int slot);

/// One line of the client in `slot` was carried out.
void note_command(ledger_t& ledger, int slot);

/// The client in `slot` missed its turn.
void note_missed_turn(ledger_t& ledger, int slot);

/// After a tick, and before a client is dropped: what its turtle is worth now.
void note_state(ledger_t& ledger);

/// The client in `slot` is no longer seated: it `hung_up`, or was dropped after its turtle's death.
void note_leave(ledger_t& ledger, int slot, bool hung_up);

/// What joined in `slot` was a browser and has been turned away: the results know nothing of it.
void note_turned_away(ledger_t& ledger, int slot);

/// Programs that still play: seated, their turtles alive, neither dying nor zombies. @param[out] sides  teams among
/// them, where everybody without a team is a side of its own
[[nodiscard]] int count_players(int& sides);

/// The results as one JSON object without a line feed.
/// Places: who still plays comes first, the higher score in front; then the others, who went later in front, then by
/// score. Equals share a place.
/// @param why  what ended the game  @param names  false leaves all names empty
[[nodiscard]] std::string results_json(const ledger_t& ledger, const setting_t& setting, const char* why, bool names);
