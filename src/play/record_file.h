// Reads a record: its lines, as far as the file is intact, and their content. Everything in the file is hostile.
#pragma once

#include "field/clients.h"
#include "play/recorder.h"
#include "play/setting.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

struct record_file_t {
    std::vector<std::string> lines; // whole lines, without their line feeds
    bool whole;                     // the file ends with a complete member; false: truncated or damaged
    std::string trouble;            // the reason when it is not whole, else empty
};

inline constexpr size_t RECORD_BYTES_MOST = size_t{1} << 30; // unpacked; a longer record is read only up to there
inline constexpr size_t RECORD_LINES_MOST = size_t{1} << 24; // likewise; 150 hours of the window's time
inline constexpr size_t LINE_BYTES_MOST = size_t{1} << 26;   // likewise; ten programs can fill a third of it

/// Reads all lines of the file up to its end or to the damage. @return false when it cannot be opened or is not a
/// record, after a line on standard error
[[nodiscard]] bool read_record(const char* path, record_file_t& record);

struct record_head_t {
    setting_t setting;
    std::string build, pace;
    command_order_t order;
    bool anonymous;
};

/// Parses the head's line. @return false when it is not the head of a record that this version reads
[[nodiscard]] bool parse_head(const std::string& line, record_head_t& head);

// The content of one line after the head.
struct record_line_t {
    uint64_t tick;
    bool full;                      // a full state
    std::vector<std::string> texts; // added to this member's list
    std::string commands;           // of the ticks up to `tick`, the last one its own
    std::string after;              // commands that ran after the last tick
    std::string end;                // the results as JSON; empty without
};

/// @return false when the line is no JSON object with a tick, or one of the above has a wrong type
[[nodiscard]] bool parse_line(const std::string& line, record_line_t& parsed);

// One program's commands in one tick: joined "+", dropped "=", hung up "-", turned away "~", else lines.
struct seat_text_t {
    int seat;
    std::string text;
};

/// Splits the commands of a line's ticks. @param listed  the member's texts so far
/// @param[out] out  one entry for each tick  @return false when they are not in the form of recorder.cpp
[[nodiscard]] bool parse_commands(const std::string& commands, command_order_t order,
                                  const std::vector<std::string>& listed, std::vector<std::vector<seat_text_t>>& out);
