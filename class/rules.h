// Rules on students' lines. Lines are cut exactly as the field cuts them, so that no command slips past a rule. Pure
// functions and one small table; no sockets, no clock.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace classroom {

inline constexpr size_t LINE_CHARACTERS = 511; // the field drops what is beyond
inline constexpr size_t LINES_A_REQUEST = 256; // commands in one request

/// The commands in `body` as the field would execute them: ended by a line feed or ";", without the bytes that the
/// field drops (control characters and those from 128 up) and without leading blanks, cut at LINE_CHARACTERS. Lines
/// that are then empty are dropped. The end of the body ends the last line.
/// @param most  cuts at most this many lines, so that a hostile body costs no more; the result then has that size
[[nodiscard]] std::vector<std::string> split_lines(std::string_view body, size_t most);

struct rule {
    std::string_view key;    // how it is shown and named
    char letter;             // first character of the command word, lower case
    std::string_view second; // first character of the second word is one of these, lower case; empty: whatever it is
    bool allowed;            // at the start
    std::string_view what;   // for people
};

inline constexpr std::array<rule, 20> RULES = {{
    {"c a", 'c', "a", false, "wipe the painting and the zombies"},
    {"c f", 'c', "f", false, "wipe the painting"},
    {"h", 'h', "", false, "colour the ground, which wipes the painting"},
    {"!", '!', "", false, "switch battle mode"},
    {"r", 'r', "", false, "call a robot"},
    {"z", 'z', "", false, "lay and take cards"},
    {"c h", 'c', "h", true, "go home"},
    {"j", 'j', "", true, "jump to a point"},
    {"g", 'g', "", true, "jump by a distance"},
    {"l b", 'l', "b", true, "paint with the brush"},
    {"l s", 'l', "s+", true, "fill shapes"},
    {"s", 's', "", true, "write texts"},
    {"n", 'n', "", true, "give the turtle another name"},
    {"u", 'u', "", true, "post on the team's board"},
    {"i", 'i', "", true, "join a team"},
    {"o b", 'o', "b", true, "borrow coins"},
    {"o x", 'o', "x", true, "have coins scattered"},
    {"d", 'd', "", true, "bake doughnuts"},
    {"x", 'x', "", true, "fire"},
    {"q", 'q', "", true, "ask questions"},
}};

/// Which of RULES are in force; one flag for each.
struct rule_set {
    std::array<bool, RULES.size()> allowed{};
    rule_set();
};

/// @return index in RULES of the first rule that forbids `line` (one of split_lines), -1 when it may be sent
[[nodiscard]] int forbidden_by(const rule_set& rules, std::string_view line);

/// @return index in RULES of the rule with that key, -1 when there is none
[[nodiscard]] int find_rule(std::string_view key);

/// The text of a name command (`n HEX`) as the field decodes it. @return false when the line is not a name command
[[nodiscard]] bool read_name_command(std::string_view line, std::string& name);

} // namespace classroom
