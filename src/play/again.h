// Replays a recorded game: the same seed and commands must produce the same record, line by line.
#pragma once

#include "play/record_file.h"

#include <string>

struct verdict_t {
    bool same;
    uint64_t tick;       // same: the last tick that was compared; else the tick of the first line that differs
    std::string trouble; // what differs; empty when nothing does
    bool other_build;    // the record was made by another build
};

/// Plays the record's game in the tables of this process and compares each line. The results at its end are not
/// compared, nor is anything after the place where the file was cut off.
[[nodiscard]] verdict_t play_again(const record_file_t& record);
