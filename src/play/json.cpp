#include "play/json.h"

#include <charconv>
#include <cstdio>

namespace {

constexpr size_t DIGITS_MAX = 24; // of a 64-bit number with its sign

bool is_continuation(unsigned char b) { return (b & 0xC0U) == 0x80U; }

// Length of the UTF-8 sequence at the start of `text`; 0 when invalid. Overlong forms and surrogates are invalid.
size_t sequence_length(std::string_view text) {
    const auto at = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char first = at(0);
    if (first < 0x80) return 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (size_t k = 1; k < length; ++k) {
        if (!is_continuation(at(k))) return 0;
    }
    if ((first == 0xE0 && at(1) < 0xA0) || (first == 0xED && at(1) > 0x9F)) return 0;
    if ((first == 0xF0 && at(1) < 0x90) || (first == 0xF4 && at(1) > 0x8F)) return 0;
    return length;
}

void add_character(std::string& json, std::string_view sequence) {
    const char c = sequence[0];
    if (c == '"' || c == '\\') {
        json += '\\';
        json += c;
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
        char escape[8];
        snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
        json += escape;
    } else {
        json += sequence;
    }
}

} // namespace

void add_json_string(std::string& json, std::string_view bytes) {
    json += '"';
    while (!bytes.empty()) {
        const size_t length = sequence_length(bytes);
        if (length == 0) {
            json += "\xEF\xBF\xBD"; // U+FFFD
            bytes.remove_prefix(1);
        } else {
            add_character(json, bytes.substr(0, length));
            bytes.remove_prefix(length);
        }
    }
    json += '"';
}

void add_json_integer(std::string& json, int64_t number) {
    char digits[DIGITS_MAX];
    json.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void add_json_hundredths(std::string& json, int64_t hundredths) {
    if (hundredths < 0) json += '-';
    const uint64_t size = hundredths < 0 ? 0 - static_cast<uint64_t>(hundredths) : static_cast<uint64_t>(hundredths);
    add_json_integer(json, static_cast<int64_t>(size / 100));
    const auto cents = static_cast<unsigned>(size % 100);
    if (cents == 0) return;
    json += '.';
    json += static_cast<char>('0' + cents / 10);
    if (cents % 10 != 0) json += static_cast<char>('0' + cents % 10);
}
