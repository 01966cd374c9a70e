// The state of one game without a window: its options, who joined, its output, and why it ended. The game's thread
// only.
#pragma once

#include "play/ledger.h"
#include "play/options.h"
#include "play/recorder.h"

#include <cstdint>
#include <cstdio>

// Lines that a program may send in one turn without a paced one. More questions count as a missed turn.
inline constexpr int TURN_LINES_MAX = 1000;

struct game_t {
    options_t options;
    int listen_sock; // -1 = nobody can join
    int viewer_sock; // unless VIEWER_OFF
    ledger_t ledger;
    recorder_t* recorder; // null = no record is made
    FILE* record_file;
    bool record_failed; // writing the file has failed
    int64_t joined;     // programs that ever joined, without browsers that came to the wrong port
    bool several_seen;  // two sides have played, so "one left" is possible from now on
    const char* why;    // why the game ended; null while it goes on
};
