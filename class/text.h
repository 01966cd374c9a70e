// Text from outside: names, log text, hexadecimal digits, queries. All input is hostile.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace classroom {

inline constexpr size_t NAME_CHARACTERS = 24;

/// Code points of valid UTF-8 without overlong forms, surrogates and values past U+10FFFF; nothing for other bytes.
[[nodiscard]] std::optional<std::u32string> decode_utf8(std::string_view text);
void append_utf8(std::string& text, char32_t c);

/// Makes valid UTF-8 of any bytes: invalid ones become U+FFFD.
[[nodiscard]] std::string valid_utf8(std::string_view bytes);

/// A person's name: trimmed, inner white space collapsed, 1 to NAME_CHARACTERS characters without control characters
/// (C0, C1, direction marks, invisible ones). @return nothing for any other text
[[nodiscard]] std::optional<std::string> clean_name(std::string_view text);

/// The text cut at `most` bytes, at a character boundary.
[[nodiscard]] std::string cut_text(std::string_view text, size_t most);

/// For a log line: printable ASCII is kept, every other byte and the backslash become \xNN; at most 200 bytes are used.
[[nodiscard]] std::string for_log(std::string_view text);

/// Two digits for each byte.
[[nodiscard]] std::string to_hex(std::string_view bytes);

/// Value of `key` in a query "a=1&b=2", not decoded; nothing when absent.
[[nodiscard]] std::optional<std::string_view> query_value(std::string_view query, std::string_view key);

/// A number of decimal digits alone, at most `most`; nothing for anything else.
[[nodiscard]] std::optional<unsigned> decimal(std::string_view text, unsigned most);

/// The same letters, in whatever case (ASCII).
[[nodiscard]] bool same_word(std::string_view a, std::string_view b);
[[nodiscard]] std::string lower(std::string_view text);

} // namespace classroom
