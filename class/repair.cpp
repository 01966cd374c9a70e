#include "class/repair.h"

#include "class/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace classroom {

namespace {

// Removes `word` from the front of `text`. @return whether it was there
bool take(std::string_view& text, std::string_view word) {
    if (!text.starts_with(word)) return false;
    text.remove_prefix(word.size());
    return true;
}

// The form that JSON requires: no leading zero before another digit, a digit on both sides of the point, no exponent.
bool is_json_number(std::string_view number) {
    if (number.starts_with('-')) number.remove_prefix(1);
    const auto digits = [&number] {
        const size_t n = std::min(number.find_first_not_of("0123456789"), number.size());
        number.remove_prefix(n);
        return n;
    };
    const bool zero = number.starts_with('0');
    const size_t whole = digits();
    if (whole == 0 || (zero && whole > 1)) return false;
    if (number.empty()) return true;
    if (!take(number, ".")) return false;
    return digits() > 0 && number.empty();
}

// Reads a number, or nan or inf. @return false when there is neither
bool take_number(std::string_view& text, double& value, std::string& out) {
    const size_t length = std::min(text.find_first_not_of("+-.0123456789naif"), text.size());
    const std::string_view number = text.substr(0, length);
    if (number.empty()) return false;
    text.remove_prefix(length);
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool whole =
        error == std::errc() && end == number.data() + number.size() && std::isfinite(value) && is_json_number(number);
    if (!whole) value = 0;
    out += whole ? number : "0";
    return true;
}

bool take_flag(std::string_view& text, bool& value, std::string& out) {
    value = text.starts_with("true");
    if (!take(text, "true") && !take(text, "false")) return false;
    out += value ? "true" : "false";
    return true;
}

struct record {
    std::string json;
    double x = 0;
    double y = 0;
    bool alive = false;
};

// The text before and after the name.
constexpr std::array<std::string_view, 3> HEAD = {"\"tid\":", ",\"time\":", ",\"type\":"};
constexpr std::array<std::string_view, 10> NUMBERS = {
    ",\"team\":", ",\"x\":",  ",\"y\":",    ",\"head\":",  ",\"ttl\":",
    ",\"bx\":",   ",\"by\":", ",\"bttf\":", ",\"score\":", ",\"ncoin\":"};
constexpr std::array<std::string_view, 6> FLAGS = {
    ",\"alive\":", ",\"firing\":", ",\"got_hit\":", ",\"collide\":", ",\"detected\":", ",\"got_msg\":"};

// Reads everything after a name and its quote, up to the closing brace.
bool take_rest(std::string_view& text, record& r) {
    for (const std::string_view key : NUMBERS) {
        double value = 0;
        if (!take(text, key)) return false;
        r.json += key;
        if (!take_number(text, value, r.json)) return false;
        if (key == ",\"x\":") r.x = value;
        if (key == ",\"y\":") r.y = value;
    }
    for (const std::string_view key : FLAGS) {
        bool value = false;
        if (!take(text, key)) return false;
        r.json += key;
        if (!take_flag(text, value, r.json)) return false;
        if (key == ",\"alive\":") r.alive = value;
    }
    r.json += '}';
    return take(text, "}");
}

bool take_record(std::string_view& text, record& r) {
    r.json.push_back('{');
    if (!take(text, "{")) return false;
    for (const std::string_view key : HEAD) {
        double value = 0;
        if (!take(text, key)) return false;
        r.json += key;
        if (!take_number(text, value, r.json)) return false;
    }
    if (!take(text, ",\"name\":\"")) return false;
    constexpr size_t longest_name = 260;
    for (size_t end = 0; end < text.size() && end <= longest_name; ++end) {
        if (text[end] != '"') continue;
        record whole = r;
        whole.json += ",\"name\":" + json_string(text.substr(0, end));
        std::string_view rest = text.substr(end + 1);
        if (!take_rest(rest, whole)) continue;
        text = rest;
        r = whole;
        return true;
    }
    return false;
}

bool is_parked(const record& r) { return r.x == PARK_X && r.y >= PARK_Y; }

} // namespace

std::string json_string(std::string_view text) {
    std::string out = "\"";
    for (const char c : valid_utf8(text)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == '"' || byte == '\\') out += '\\';
        if (byte >= ' ' && byte != 0x7F) {
            out += c;
        } else {
            std::array<char, 8> escape{};
            snprintf(escape.data(), escape.size(), "\\u%04x", byte);
            out += escape.data();
        }
    }
    return out + '"';
}

std::string repair_turtles(std::string_view list) {
    std::string out = "[";
    if (!take(list, "[")) return "[]";
    for (record r; take_record(list, r); r = {}) {
        if (r.alive && !is_parked(r)) {
            if (out.size() > 1) out += ", ";
            out += r.json;
        }
        if (!take(list, ", ")) break;
    }
    return out + ']';
}

} // namespace classroom
