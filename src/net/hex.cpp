#include "net/hex.h"

#include <cstdio>

int char2int(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 0;
}

void convert_hex2str(const char* hex, char* out) {
    int length = 0;
    for (int step = 0; step < HEX_STEPS && *hex != '\0'; ++step) {
        if (*hex == ' ') {
            ++hex;
            continue;
        }
        // A lone last digit pairs with the terminator, whose value is 0, and the text ends there.
        const char byte = static_cast<char>(16 * char2int(hex[0]) + char2int(hex[1]));
        if (byte != '\0') out[length++] = byte;
        hex += hex[1] == '\0' ? 1 : 2;
    }
    out[length] = '\0';
}

int convert_str2hex(const char* text, char* out) {
    out[0] = '\0';
    for (int k = 0; text[k] != '\0'; ++k) {
        if (k == HEX_STEPS) return HEX_STEPS;
        // Signed on purpose: a byte of 128 or more is written as a negative number, in eight digits.
        out += snprintf(out, 9, "%02x", static_cast<unsigned int>(static_cast<signed char>(text[k])));
    }
    return 0;
}
