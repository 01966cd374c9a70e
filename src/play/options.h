// The options of kelmora-headless, read with getopt. No state.
#pragma once

#include "play/setting.h"

#include <cstdint>

enum class pace_kind_t {
    real,  // like the window's timer: 8 ms a tick while anything can move, else 80 ms
    free,  // ticks without a pause
    turns, // one tick when every program has ended its turn
};

inline constexpr int VIEWER_OFF = -1;

struct options_t {
    int client_port = 2222;  // 0 to 65535; 0 takes a free one
    int viewer_port = 2280;  // likewise; VIEWER_OFF serves no browsers
    setting_t setting;       // how the field is furnished
    bool seed_given = false; // without it the seed is the second of the start
    pace_kind_t pace = pace_kind_t::real;
    int turn_limit_ms = 1000;      // thinking time of a program in one turn; 0 = unlimited
    int start = -1;                // programs that must have joined before the clock starts; -1 = the pace's default
    uint64_t ticks = 0;            // length of the game; 0 = unlimited
    bool until_one = false;        // the game ends when one player, or one team, is left
    const char* results = nullptr; // file, "-" = standard output; null = none
    const char* record = nullptr;  // likewise
    bool anonymous = false;        // no names in the record
    bool admit_all = false;        // not only 127.0.0.1
    const char* scripts = nullptr; // the list of scripts for the page; null = the page's own
};

enum class parse_result_t {
    run,
    help,  // the help text was asked for
    wrong, // after one line on standard error
};

/// Reads the command line. @param[out] options  complete only for parse_result_t::run
[[nodiscard]] parse_result_t parse_options(int argc, char** argv, options_t& options);

/// The help text, for standard output.
[[nodiscard]] const char* options_help();
