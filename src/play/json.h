// Helpers for writing JSON. No state; any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Appends `bytes` as a JSON string with its quotes. Invalid UTF-8 becomes U+FFFD, byte by byte.
void add_json_string(std::string& json, std::string_view bytes);

/// Appends the digits of `number`.
void add_json_integer(std::string& json, int64_t number);

/// Appends `hundredths` / 100 without trailing zeros: 1250 gives 12.5.
void add_json_hundredths(std::string& json, int64_t hundredths);
