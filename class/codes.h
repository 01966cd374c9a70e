// Class codes and tokens, from the system's source of randomness.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace classroom {

inline constexpr size_t CODE_CHARACTERS = 5;   // 27^5: fourteen million codes
inline constexpr size_t LONGEST_CODE = 16;     // of a code chosen by the teacher
inline constexpr size_t TOKEN_CHARACTERS = 32; // 128 random bits

/// A new code of letters and digits that are not easily confused.
[[nodiscard]] std::string random_code();
/// 32 hexadecimal digits.
[[nodiscard]] std::string random_token();
/// The code in the form that is compared and shown: upper case, without blanks and hyphens. Empty when it is not a
/// code: 3 to LONGEST_CODE letters and digits (ASCII).
[[nodiscard]] std::string normal_code(std::string_view text);
/// Compares in constant time.
[[nodiscard]] bool equal_secret(std::string_view a, std::string_view b);

} // namespace classroom
