// Fuzzes the hexadecimal coding of texts: decodes any text, and encodes and decodes any bytes.
#include "net/hex.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    // Buffers of exactly the promised size, so that the address sanitizer notices the first byte beyond.
    const std::unique_ptr<char[]> plain(new char[HEX_STEPS + 1]);
    convert_hex2str(text.c_str(), plain.get());
    if (memchr(plain.get(), '\0', HEX_STEPS + 1) == nullptr) abort();

    const std::unique_ptr<char[]> digits(new char[HEX_STEPS * 8 + 1]);
    const int cut = convert_str2hex(text.c_str(), digits.get());
    if (memchr(digits.get(), '\0', HEX_STEPS * 8 + 1) == nullptr) abort();

    // A short text of plain characters survives the round trip.
    const std::string shown = text.c_str();
    for (const char c : shown)
        if (static_cast<signed char>(c) < 0) return 0;
    if (shown.size() >= static_cast<size_t>(HEX_STEPS)) return 0;
    convert_hex2str(digits.get(), plain.get());
    if (cut != 0 || shown != plain.get()) abort();
    return 0;
}
