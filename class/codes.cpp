#include "class/codes.h"

#include "class/text.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <sys/random.h>

namespace classroom {

namespace {

// Without 0 and O, 1, I and L, 2 and Z, 5 and S.
constexpr std::string_view LETTERS = "ABCDEFGHJKMNPQRTUVWXY346789";
// Bytes from here on are rejected: they would make the first letters more likely.
constexpr size_t FAIR = 256 / LETTERS.size() * LETTERS.size();

void fill_random(std::span<unsigned char> bytes) {
    // Without randomness there are no secrets, so the process ends. Requests this small are never partial.
    if (getrandom(bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size())) return;
    fputs("kelmora-class: the system gives no random numbers\n", stderr);
    abort();
}

} // namespace

std::string random_code() {
    std::string code;
    while (code.size() < CODE_CHARACTERS) {
        std::array<unsigned char, 1> byte{};
        fill_random(byte);
        if (byte[0] < FAIR) code.push_back(LETTERS[byte[0] % LETTERS.size()]);
    }
    return code;
}

std::string random_token() {
    std::array<unsigned char, TOKEN_CHARACTERS / 2> bytes{};
    fill_random(bytes);
    return to_hex({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::string normal_code(std::string_view text) {
    std::string code;
    for (const char c : text) {
        if (c == ' ' || c == '-') continue;
        const bool small = c >= 'a' && c <= 'z';
        if (!small && !(c >= 'A' && c <= 'Z') && !(c >= '0' && c <= '9')) return "";
        if (code.size() == LONGEST_CODE) return "";
        code.push_back(small ? static_cast<char>(c - 'a' + 'A') : c);
    }
    return code.size() < 3 ? "" : code;
}

bool equal_secret(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    unsigned different = 0;
    for (size_t i = 0; i < a.size(); ++i) different |= static_cast<unsigned char>(a[i] ^ b[i]);
    return different == 0;
}

} // namespace classroom
