#include "class/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace classroom {

namespace {

constexpr size_t LOG_BYTES = 200;
constexpr char DIGITS[] = "0123456789abcdef";

// Decodes one character at the start of `text`; length 0 when the bytes are not valid.
struct decoded {
    char32_t c;
    size_t length;
};

decoded decode_one(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) return {first, 1};
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return {0, 0};
    char32_t c = first & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {0, 0};
        c = c << 6 | (byte(i) & 0x3F);
    }
    constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    if (c < smallest[length] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return {0, 0};
    return {c, length};
}

bool is_space(char32_t c) {
    return c == ' ' || c == 0xA0 || c == 0x3000 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F;
}

struct range {
    char32_t first;
    char32_t last;
};
constexpr std::array<range, 16> FORBIDDEN = {{
    {0, 0x1F},        // control characters
    {0x7F, 0x9F},     // more of them
    {0xAD, 0xAD},     // invisible
    {0x34F, 0x34F},   // invisible
    {0x61C, 0x61C},   // direction mark
    {0x115F, 0x1160}, // fillers
    {0x17B4, 0x17B5}, // invisible
    {0x180B, 0x180F}, // invisible
    {0x200B, 0x200F}, // invisible, joiners by themselves, direction marks
    {0x2028, 0x202E}, // line and paragraph separators, direction marks
    {0x2060, 0x206F}, // invisible, direction marks
    {0x2800, 0x2800}, // looks like a space
    {0x3164, 0x3164}, // filler
    {0xE000, 0xF8FF}, // private use
    {0xFEFF, 0xFEFF}, // invisible
    {0xFFA0, 0xFFA0}, // filler
}};
constexpr char32_t SPECIALS = 0xFFF0; // up to FFFF: no characters of texts
constexpr char32_t TAGS = 0xE0000;    // from here on: tags, private use

bool is_forbidden(char32_t c) {
    return c >= TAGS || (c >= SPECIALS && c <= 0xFFFF) ||
           std::any_of(FORBIDDEN.begin(), FORBIDDEN.end(), [c](const range& r) { return c >= r.first && c <= r.last; });
}

// Joiners of letters and of pictures, and the choices between two forms of one: invisible by themselves.
bool is_joiner(char32_t c) { return c == 0x200C || c == 0x200D; }
bool is_variation(char32_t c) { return c >= 0xFE00 && c <= 0xFE0F; }

// What a joiner may stand beside: scripts that need it begin with Arabic, and pictures come after them. Between Latin
// letters it would only make two names look the same.
bool takes_joiners(char32_t c) { return c >= 0x600 && !is_joiner(c) && !is_space(c); }

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

} // namespace

std::optional<std::u32string> decode_utf8(std::string_view text) {
    std::u32string out;
    while (!text.empty()) {
        const decoded d = decode_one(text);
        if (d.length == 0) return std::nullopt;
        out.push_back(d.c);
        text.remove_prefix(d.length);
    }
    return out;
}

void append_utf8(std::string& text, char32_t c) {
    const auto tail = [&text, c](int shift) { text.push_back(static_cast<char>(0x80 | (c >> shift & 0x3F))); };
    if (c < 0x80) {
        text.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        text.push_back(static_cast<char>(0xC0 | c >> 6));
        tail(0);
    } else if (c < 0x10000) {
        text.push_back(static_cast<char>(0xE0 | c >> 12));
        tail(6);
        tail(0);
    } else {
        text.push_back(static_cast<char>(0xF0 | c >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

std::string valid_utf8(std::string_view bytes) {
    std::string out;
    while (!bytes.empty()) {
        const decoded d = decode_one(bytes);
        if (d.length == 0) {
            append_utf8(out, 0xFFFD);
            bytes.remove_prefix(1);
        } else {
            out.append(bytes.substr(0, d.length));
            bytes.remove_prefix(d.length);
        }
    }
    return out;
}

std::optional<std::string> clean_name(std::string_view text) {
    if (text.size() > 8 * NAME_CHARACTERS) return std::nullopt;
    const auto characters = decode_utf8(text);
    if (!characters) return std::nullopt;
    std::string name;
    size_t count = 0;
    bool space = false;
    char32_t before = ' ';
    for (size_t i = 0; i < characters->size(); ++i) {
        const char32_t c = (*characters)[i];
        const char32_t previous = std::exchange(before, c);
        const char32_t next = i + 1 < characters->size() ? (*characters)[i + 1] : U' ';
        if (is_space(c)) {
            space = count > 0;
            continue;
        }
        if (is_joiner(c) ? !takes_joiners(previous) || !takes_joiners(next) : is_forbidden(c)) return std::nullopt;
        if (is_variation(c) && (is_space(previous) || is_variation(previous))) return std::nullopt;
        if (space) {
            name.push_back(' ');
            ++count;
            space = false;
        }
        append_utf8(name, c);
        ++count;
    }
    if (count == 0 || count > NAME_CHARACTERS) return std::nullopt;
    return name;
}

std::string cut_text(std::string_view text, size_t most) {
    if (text.size() <= most) return std::string(text);
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) --most;
    return std::string(text.substr(0, most));
}

std::string for_log(std::string_view text) {
    std::string out;
    for (const char c : text.substr(0, LOG_BYTES)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= ' ' && byte < 0x7F && c != '\\') {
            out.push_back(c);
        } else {
            out += "\\x";
            out.push_back(DIGITS[byte >> 4]);
            out.push_back(DIGITS[byte & 15]);
        }
    }
    return out;
}

std::string to_hex(std::string_view bytes) {
    std::string out;
    out.reserve(2 * bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        out.push_back(DIGITS[byte >> 4]);
        out.push_back(DIGITS[byte & 15]);
    }
    return out;
}

std::optional<std::string_view> query_value(std::string_view query, std::string_view key) {
    while (!query.empty()) {
        const std::string_view pair = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(query.size(), pair.size() + 1));
        const size_t equals = pair.find('=');
        if (equals != std::string_view::npos && pair.substr(0, equals) == key) return pair.substr(equals + 1);
    }
    return std::nullopt;
}

std::optional<unsigned> decimal(std::string_view text, unsigned most) {
    unsigned value = 0;
    if (text.empty() || text[0] < '0' || text[0] > '9') return std::nullopt;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value > most) return std::nullopt;
    return value;
}

std::string lower(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](char c) { return lower(c); });
    return out;
}

bool same_word(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

} // namespace classroom
