// Hexadecimal text: pairs of digits carry free text through the line protocol. Pure; any thread.
#pragma once

inline constexpr int HEX_STEPS = 128; // steps that one call makes; a skipped blank is a step

/// Value of one hex digit in either case, 0 to 15; 0 for any other character.
[[nodiscard]] int char2int(char c);

/// Decodes `hex` into `out`, which holds HEX_STEPS bytes and a terminator. A blank is skipped where a pair would
/// begin; a decoded 0 byte appends nothing; a lone last digit counts as a high one.
void convert_hex2str(const char* hex, char* out);

/// Encodes at most 128 bytes of `text` into `out` (HEX_STEPS * 8 bytes and a terminator at the most): two digits a
/// byte, but eight for a byte of 128 and more, which is taken as a negative number.
/// @return 0 when the whole text was encoded, 128 when it was cut
int convert_str2hex(const char* text, char* out);
