// Games without a window: JSON texts, the predictions of a record's reader, one member of a record.

#include "play/gzip_member.h"
#include "play/json.h"
#include "play/options.h"
#include "play/predict.h"
#include "play/setting.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

std::string json_string(std::string_view bytes) {
    std::string json;
    add_json_string(json, bytes);
    return json;
}

TEST(PlayJson, invalid_utf8_is_replaced_byte_by_byte) {
    EXPECT_EQ(json_string("a\"b\\c\n"), "\"a\\\"b\\\\c\\u000a\"");
    EXPECT_EQ(json_string("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\xA2"), "\"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\xA2\"");
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(json_string("\xC3"), "\"" + replacement + "\"");                                     // cut off
    EXPECT_EQ(json_string("\xC0\xAF"), "\"" + replacement + replacement + "\"");                   // overlong
    EXPECT_EQ(json_string("\xED\xA0\x80"), "\"" + replacement + replacement + replacement + "\""); // a surrogate
    EXPECT_EQ(json_string("\xF4\x90\x80\x80").size(), 2 + 4 * replacement.size());                 // beyond the last
}

TEST(PlayJson, hundredths_have_no_trailing_zeros) {
    const auto text = [](int64_t n) {
        std::string json;
        add_json_hundredths(json, n);
        return json;
    };
    EXPECT_EQ(text(1250), "12.5");
    EXPECT_EQ(text(1205), "12.05");
    EXPECT_EQ(text(-5), "-0.05");
    EXPECT_EQ(text(-700), "-7");
    EXPECT_EQ(text(0), "0");
}

TEST(PlaySetting, modes_are_found_by_their_names_and_by_nothing_else) {
    for (const field_mode_t mode : {field_mode_t::drawing, field_mode_t::battle, field_mode_t::maze}) {
        field_mode_t found = mode == field_mode_t::maze ? field_mode_t::drawing : field_mode_t::maze;
        EXPECT_TRUE(mode_of_name(mode_name(mode), found));
        EXPECT_EQ(found, mode) << mode_name(mode);
    }
    for (const char* name : {"", "draw", "drawings", "Battle", "no such mode"}) {
        field_mode_t found = field_mode_t::battle;
        EXPECT_FALSE(mode_of_name(name, found)) << name;
        EXPECT_EQ(found, field_mode_t::battle) << name; // as it was
    }
}

TEST(PlayOptions, clock_waits_for_a_program_by_itself_only_in_turns) {
    const auto start_of = [](std::vector<std::string> words) {
        words.insert(words.begin(), "kelmora-headless");
        std::vector<char*> argv;
        for (std::string& word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        options_t options;
        EXPECT_EQ(parse_options(static_cast<int>(words.size()), argv.data(), options), parse_result_t::run);
        return options.start;
    };
    EXPECT_EQ(start_of({"--pace", "turns"}), 1);
    EXPECT_EQ(start_of({"--pace", "free"}), 0);
    EXPECT_EQ(start_of({"--pace", "real"}), 0);
    EXPECT_EQ(start_of({"--pace", "turns", "--start", "0"}), 0);
    EXPECT_EQ(start_of({"--pace", "free", "--start", "3"}), 3);
}

struct Predict : testing::Test {
    double x = 0, y = 0, head = 0;
    void run(const char* line, bool battle = false, int score = 100) {
        predict_command(line, battle, score, x, y, head);
    }
};

TEST_F(Predict, plain_steps_and_turns_count) {
    run("f 10");
    EXPECT_EQ(x, 10);
    run("b 2.5");
    EXPECT_EQ(x, 7.5);
    run("t l 90");
    EXPECT_EQ(head, 90);
    run("t r -10");
    EXPECT_EQ(head, 100);
}

TEST_F(Predict, any_other_form_changes_nothing) {
    for (const char* line :
         {"F 10", "forward 10", "f  10", "f 1e3", "f 0x10", "f nan", "f", "f ", "f -", "f 1.", "f .5", "f +1",
          "f 1234567890", "f 1.1234567890", "t l", "t x 3", "tl 3", "q p", "j 1 2"}) {
        run(line);
        EXPECT_EQ(x, 0) << line;
        EXPECT_EQ(head, 0) << line;
    }
}

TEST_F(Predict, battle_cuts_steps_and_turns_and_stops_at_the_edge) {
    run("f 10", true);
    EXPECT_EQ(x, 2);
    run("t l 90", true);
    EXPECT_EQ(head, 3);
    head = 0;
    x = 244.5;
    run("f 1.5", true); // exactly to 246
    EXPECT_EQ(x, 246);
    run("f 1", true);
    EXPECT_EQ(x, 246);
    run("b 1", true); // back into the field
    EXPECT_EQ(x, 245);
    run("f 1", true, 0); // without score there are no steps
    EXPECT_EQ(x, 245);
}

TEST(PlayMember, says_its_length_and_its_tick) {
    std::string out = "before";
    add_gzip_member(out, "text\n", 1000);
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(out[6 + k]); };
    EXPECT_EQ(byte(0), 0x1F);
    EXPECT_EQ(byte(1), 0x8B);
    EXPECT_EQ(byte(16) + 256 * byte(17), static_cast<int>(out.size()) - 6);
    EXPECT_EQ(byte(20) + 256 * byte(21), 1000);
    std::string again = "before";
    add_gzip_member(again, "text\n", 1000);
    EXPECT_EQ(out, again);
}

} // namespace
