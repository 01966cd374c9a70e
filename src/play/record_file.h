// Reading a record: its lines, as far as the file goes, and what they say. Everything in the file is taken as hostile.
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
    bool whole;                     // the file ends where a member does; false: it was cut off or is damaged
    std::string trouble;            // what was wrong where it ended; empty when nothing was
};

inline constexpr size_t RECORD_BYTES_MOST = size_t{1} << 30; // unpacked; a longer record is read as if it ended there

/// Reads all lines that the file holds up to its end or to where it is damaged. @return false when it cannot be opened
/// or is no record, after a line on standard error
[[nodiscard]] bool read_record(const char* path, record_file_t& record);

struct record_head_t {
    setting_t setting;
    std::string build, pace;
    command_order_t order;
    bool anonymous;
};

/// The head's line. @return false when it is none of a record that this version reads
[[nodiscard]] bool parse_head(const std::string& line, record_head_t& head);

// What one line after the head says of the game's course.
struct record_line_t {
    uint64_t tick;
    bool full;                      // a full state
    std::vector<std::string> texts; // listed from here on in this member
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

/// Takes the commands of the ticks of a line apart. @param listed  the member's texts so far
/// @param[out] out  one entry for each tick  @return false when they are not as recorder.cpp writes them
[[nodiscard]] bool parse_commands(const std::string& commands, command_order_t order,
                                  const std::vector<std::string>& listed, std::vector<std::vector<seat_text_t>>& out);
