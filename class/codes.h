// Class codes and tokens, from the system's source of randomness.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace classroom {

inline constexpr size_t CODE_CHARACTERS = 5;   // 27^5: fourteen million codes
inline constexpr size_t LONGEST_CODE = 16;     // of one that the teacher chose
inline constexpr size_t TOKEN_CHARACTERS = 32; // 128 random bits

/// A new code: letters and digits that nobody mistakes for one another.
[[nodiscard]] std::string random_code();
/// 32 hexadecimal digits.
[[nodiscard]] std::string random_token();
/// The code as it is compared and shown: upper case, without blanks and hyphens. Empty when it is no code: 3 to
/// LONGEST_CODE letters and digits (ASCII).
[[nodiscard]] std::string normal_code(std::string_view text);
/// Equal, in a time that tells nothing about where they differ.
[[nodiscard]] bool equal_secret(std::string_view a, std::string_view b);

} // namespace classroom
