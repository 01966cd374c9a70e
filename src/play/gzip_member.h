// A gzip member that contains its own length, so that a reader can skip members without unpacking them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Bytes of a member's header: that of gzip with one extra field, "KM", which holds the length of the whole member and
/// the tick at its end, 32 bits each, little-endian.
inline constexpr size_t MEMBER_HEADER_BYTES = 24;

/// Appends `text` to `out` as one member, without time and file name: the same text gives the same bytes.
void add_gzip_member(std::string& out, std::string_view text, uint32_t tick);
