// What belongs to one game without a window: its options, who joined, what is written about it, and why it ended.
// The game's thread only.
#pragma once

#include "play/ledger.h"
#include "play/options.h"
#include "play/recorder.h"

#include <cstdint>
#include <cstdio>

// Lines that a program may send in one turn without a paced one among them. A flood of questions is a missed turn.
inline constexpr int TURN_LINES_MAX = 1000;

struct game_t {
    options_t options;
    int listen_sock; // -1 = nobody can join
    ledger_t ledger;
    recorder_t* recorder; // null = no record is made
    FILE* record_file;
    bool record_failed; // the file takes no more
    int64_t joined;     // programs that ever joined
    bool several_seen;  // two sides have stood on the field: from now on one may be left
    const char* why;    // what ended the game; null while it goes on
};
