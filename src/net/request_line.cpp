#include "net/request_line.h"

#include <array>
#include <string_view>

namespace {

// Methods of browsers and similar clients; PRI begins HTTP/2.
constexpr std::array<std::string_view, 10> METHODS = {"GET",     "HEAD",    "POST",  "PUT",   "DELETE",
                                                      "CONNECT", "OPTIONS", "TRACE", "PATCH", "PRI"};
constexpr std::string_view PROTOCOL = "HTTP/";

bool ends_line(char byte) { return byte == '\n' || byte == ';'; }
bool is_digit(char byte) { return byte >= '0' && byte <= '9'; }

// Keeps in `possible` the methods that have `byte` at `position`.
uint16_t narrowed(uint16_t possible, size_t position, char byte) {
    uint16_t left = 0;
    for (size_t m = 0; m < METHODS.size(); ++m) {
        if ((possible & 1U << m) == 0) continue;
        if (position < METHODS[m].size() && METHODS[m][position] == byte) left |= static_cast<uint16_t>(1U << m);
    }
    return left;
}

bool is_method(uint16_t possible, size_t length) {
    for (size_t m = 0; m < METHODS.size(); ++m) {
        if ((possible & 1U << m) != 0 && METHODS[m].size() == length) return true;
    }
    return false;
}

first_line_state next_state(first_line_t& line, char byte) {
    using enum first_line_state;
    switch (line.state) {
    case nothing_yet:
        if (byte == ' ' || ends_line(byte)) return nothing_yet;
        line.methods = (1U << METHODS.size()) - 1;
        line.position = 0;
        [[fallthrough]];
    case method:
        if (byte == ' ') return is_method(line.methods, line.position) ? before_target : command;
        line.methods = narrowed(line.methods, line.position++, byte);
        return line.methods != 0 ? method : command;
    case before_target:
        if (ends_line(byte)) return command;
        if (byte == ' ') return before_target;
        return byte == '/' ? path : target;
    case path:
        if (byte == '\n') return command;
        return byte == ' ' ? before_protocol : path;
    case target:
        if (ends_line(byte)) return command;
        return byte == ' ' ? before_protocol : target;
    case before_protocol:
        if (byte == ' ') return before_protocol;
        line.position = 0;
        [[fallthrough]];
    case protocol:
        if (byte != PROTOCOL[line.position]) return command;
        return ++line.position == PROTOCOL.size() ? before_version : protocol;
    case before_version:
        return is_digit(byte) ? version : command;
    case version:
        if (is_digit(byte) || byte == '.') return version;
        [[fallthrough]];
    case after_version:
        if (ends_line(byte)) return http_request;
        return byte == ' ' ? after_version : command;
    case command:
    case http_request:
        break;
    }
    return line.state;
}

} // namespace

void read_first_line(first_line_t& line, char byte) {
    const bool counts = byte == '\n' || static_cast<signed char>(byte) >= ' ';
    if (counts) line.state = next_state(line, byte);
}
