// Hexadecimal text: pairs, blanks, the 128 steps, lone digits and hostile bytes.
#include "net/hex.h"

#include "support.h"

static std::string decoded(const std::string& hex) {
    char out[HEX_STEPS + 1 + 8];
    for (char& c : out) c = '#';
    convert_hex2str(hex.c_str(), out);
    for (int k = HEX_STEPS + 1; k < HEX_STEPS + 1 + 8; ++k) EXPECT_EQ(out[k], '#'); // never beyond
    return out;
}

static std::string encoded(const std::string& text, int expected_result) {
    char out[HEX_STEPS * 8 + 1 + 8];
    EXPECT_EQ(convert_str2hex(text.c_str(), out), expected_result);
    return out;
}

static std::string repeated(const std::string& piece, int n) {
    std::string all;
    for (int k = 0; k < n; ++k) all += piece;
    return all;
}

TEST(Hex, digits_have_their_values_and_everything_else_is_zero) {
    for (int c = 0; c < 256; ++c) {
        int expected = 0;
        if (c >= '0' && c <= '9') expected = c - '0';
        if (c >= 'a' && c <= 'f') expected = c - 'a' + 10;
        if (c >= 'A' && c <= 'F') expected = c - 'A' + 10;
        EXPECT_EQ(char2int(static_cast<char>(c)), expected) << c;
    }
}

TEST(Hex, pairs_become_bytes) {
    EXPECT_EQ(decoded("48656c6c6f"), "Hello");
    EXPECT_EQ(decoded("48656C6C6F"), "Hello");
    EXPECT_EQ(decoded("e3818Ff0"), "\xe3\x81\x8f\xf0");
    EXPECT_EQ(decoded(""), "");
}

TEST(Hex, blank_is_skipped_only_where_a_pair_would_begin) {
    EXPECT_EQ(decoded("48 65"), "He");
    EXPECT_EQ(decoded("  48   65  "), "He");
    EXPECT_EQ(decoded("4 8"), "\x40\x80");
    EXPECT_EQ(decoded("4 86"), "\x40\x86");
}

TEST(Hex, lone_last_digit_is_the_high_one) {
    EXPECT_EQ(decoded("4"), "\x40");
    EXPECT_EQ(decoded("41 5"), "AP");
    EXPECT_EQ(decoded("z"), ""); // a zero byte
}

TEST(Hex, zero_bytes_append_nothing) {
    EXPECT_EQ(decoded("41004200"), "AB");
    EXPECT_EQ(decoded("zz41!?"), "A"); // bad digits are zeros
}

TEST(Hex, half_bad_pairs_keep_the_good_digit) {
    EXPECT_EQ(decoded("4g"), "\x40");
    EXPECT_EQ(decoded("g4"), "\x04");
}

TEST(Hex, steps_end_at_128) {
    EXPECT_EQ(decoded(repeated("41", 127)), std::string(127, 'A'));
    EXPECT_EQ(decoded(repeated("41", 128)), std::string(128, 'A'));
    EXPECT_EQ(decoded(repeated("41", 129)), std::string(128, 'A'));
    EXPECT_EQ(decoded(repeated("41", 5000)), std::string(128, 'A'));
}

TEST(Hex, blanks_and_zero_bytes_are_steps_too) {
    EXPECT_EQ(decoded(std::string(126, ' ') + "4142"), "AB");
    EXPECT_EQ(decoded(std::string(127, ' ') + "4142"), "A");
    EXPECT_EQ(decoded(std::string(128, ' ') + "4142"), "");
    EXPECT_EQ(decoded(repeated("00", 127) + "4142"), "A");
    EXPECT_EQ(decoded(repeated("41 ", 100)), std::string(64, 'A'));
}

TEST(Hex, encoder_writes_two_small_digits_a_byte) {
    EXPECT_EQ(encoded("Hello", 0), "48656c6c6f");
    EXPECT_EQ(encoded("", 0), "");
    EXPECT_EQ(encoded("\x01\x7f", 0), "017f");
}

TEST(Hex, encoder_writes_eight_digits_for_a_negative_byte) {
    EXPECT_EQ(encoded("\xe9", 0), "ffffffe9");
    EXPECT_EQ(encoded("\x80z", 0), "ffffff807a");
    EXPECT_EQ(encoded(std::string(128, '\xff'), 0).size(), 1024u);
}

TEST(Hex, encoder_cuts_after_128_bytes) {
    EXPECT_EQ(encoded(std::string(127, 'A'), 0), repeated("41", 127));
    EXPECT_EQ(encoded(std::string(128, 'A'), 0), repeated("41", 128));
    EXPECT_EQ(encoded(std::string(129, 'A'), 128), repeated("41", 128));
    EXPECT_EQ(encoded(std::string(5000, '\xff'), 128).size(), 1024u);
}

TEST(Hex, result_is_bounded_for_any_bytes) {
    srandom(1);
    for (int k = 0; k < 2000; ++k) {
        std::string bytes(static_cast<size_t>(random() % 600), '\0');
        for (char& c : bytes) c = static_cast<char>(random() % 255 + 1);
        EXPECT_LE(decoded(bytes).size(), 128u);
    }
}
