#include "class/rules.h"

namespace classroom {

namespace {

constexpr int HEX_STEPS = 128; // steps of the field's decoder; a blank between pairs takes one, too

bool ends_line(char c) { return c == '\n' || c == ';'; }

bool belongs_to_line(char c) { return static_cast<signed char>(c) >= ' '; }

// First character of word number k in lower case, 0 for a missing one. Only blanks are left as separators.
char letter_of_word(std::string_view line, int k) {
    size_t p = 0;
    for (int word = 0;; ++word) {
        while (p < line.size() && line[p] == ' ') ++p;
        if (p == line.size()) return '\0';
        if (word == k) break;
        while (p < line.size() && line[p] != ' ') ++p;
    }
    const char c = line[p];
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 0;
}

} // namespace

std::vector<std::string> split_lines(std::string_view body, size_t most) {
    std::vector<std::string> lines;
    std::string line;
    for (const char c : body) {
        if (lines.size() == most) return lines;
        if (ends_line(c)) {
            if (!line.empty()) lines.push_back(std::move(line));
            line.clear();
        } else if (belongs_to_line(c) && !(c == ' ' && line.empty()) && line.size() < LINE_CHARACTERS) {
            line.push_back(c);
        }
    }
    if (!line.empty() && lines.size() < most) lines.push_back(std::move(line));
    return lines;
}

rule_set::rule_set() {
    for (size_t i = 0; i < RULES.size(); ++i) allowed[i] = RULES[i].allowed;
}

int forbidden_by(const rule_set& rules, std::string_view line) {
    const char first = letter_of_word(line, 0);
    const char second = letter_of_word(line, 1);
    for (size_t i = 0; i < RULES.size(); ++i) {
        if (rules.allowed[i] || RULES[i].letter != first) continue;
        const bool any = RULES[i].second.empty();
        if (any || (second != '\0' && RULES[i].second.find(second) != std::string_view::npos))
            return static_cast<int>(i);
    }
    return -1;
}

int find_rule(std::string_view key) {
    for (size_t i = 0; i < RULES.size(); ++i) {
        if (RULES[i].key == key) return static_cast<int>(i);
    }
    return -1;
}

bool read_name_command(std::string_view line, std::string& name) {
    if (letter_of_word(line, 0) != 'n') return false;
    name.clear();
    size_t p = line.find(' ');
    if (p == std::string_view::npos) return true;
    for (int step = 0; p < line.size() && step < HEX_STEPS; ++step) {
        if (line[p] == ' ') {
            ++p;
            continue;
        }
        const int high = hex_value(line[p]);
        const int low = p + 1 < line.size() ? hex_value(line[p + 1]) : 0;
        p += 2;
        if (const int byte = 16 * high + low; byte != 0) name.push_back(static_cast<char>(byte));
    }
    return true;
}

} // namespace classroom
