// Lines and rules of the class server, compared with the field's own framing and commands.
#include "class/rules.h"

#include "net/command.h"
#include "net/framing.h"
#include "support.h"

#include <cstring>
#include <random>

using classroom::forbidden_by;
using classroom::read_name_command;
using classroom::rule_set;
using classroom::RULES;
using classroom::split_lines;

namespace {

std::vector<std::string> split(std::string_view body) { return split_lines(body, 100); }

std::string verdict(std::string_view line) {
    const int rule = forbidden_by(rule_set(), line);
    return rule < 0 ? "" : std::string(RULES[static_cast<size_t>(rule)].key);
}

// The lines that the field cuts from the bytes after a line feed is added.
std::vector<std::string> field_lines(const std::string& bytes) {
    client_t& c = client_tab[0];
    std::vector<std::string> lines;
    std::string rest = bytes + '\n';
    while (!rest.empty()) {
        const size_t n = std::min(rest.size(), static_cast<size_t>(RECV_MAX - c.recv_len));
        memcpy(c.recv_buf + c.recv_len, rest.data(), n);
        c.recv_len += static_cast<int32_t>(n);
        c.recv_buf[c.recv_len] = '\0';
        rest.erase(0, n);
        char line[LINE_MAX_BYTES];
        while (take_line(0, line)) lines.emplace_back(line);
    }
    return lines;
}

} // namespace

TEST(Lines, end_with_a_line_feed_or_a_semicolon_or_the_body) {
    EXPECT_EQ(split("f 10\nt l 90;q p"), (std::vector<std::string>{"f 10", "t l 90", "q p"}));
    EXPECT_EQ(split("f 10\r\n"), std::vector<std::string>{"f 10"});
    EXPECT_TRUE(split("").empty());
    EXPECT_TRUE(split(" \n;;\t;\r\n  ").empty());
}

TEST(Lines, lose_what_the_field_drops) {
    EXPECT_EQ(split("   f 10"), std::vector<std::string>{"f 10"});
    EXPECT_EQ(split("f\t 10"), std::vector<std::string>{"f 10"});
    EXPECT_EQ(split(std::string_view("c\0 a", 4)), std::vector<std::string>{"c a"});
    EXPECT_EQ(split("c\x80 \xC3\xA4 a"), std::vector<std::string>{"c  a"});
    EXPECT_EQ(split("\x01 c a"), std::vector<std::string>{"c a"});
    EXPECT_EQ(split("c\x7F"), std::vector<std::string>{"c\x7F"}); // the field keeps this one
}

TEST(Lines, are_cut_in_length_and_number) {
    const std::string long_line(600, 'x');
    EXPECT_EQ(split(long_line + "\nq p"), (std::vector<std::string>{std::string(511, 'x'), "q p"}));
    EXPECT_EQ(split(long_line + ' ' + "a"), std::vector<std::string>{std::string(511, 'x')});
    EXPECT_EQ(split_lines("a;b;c", 2), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(split_lines("a;b", 2).size(), 2U);
}

struct Framing : FieldTest {};

TEST_F(Framing, is_that_of_the_field) {
    std::mt19937 random(7);
    const std::string alphabet = "cC aAfFhH!rz;;\n\n\r\t  0129.-xq" + std::string("\0\x80\xFF\x7F\x1F", 5);
    for (int round = 0; round < 3000; ++round) {
        std::string bytes;
        for (unsigned k = random() % 60; k > 0; --k) bytes += alphabet[random() % alphabet.size()];
        EXPECT_EQ(split(bytes), field_lines(bytes)) << testing::PrintToString(bytes);
        client_tab[0].recv_len = 0;
    }
}

TEST(Rules, forbid_by_default_what_disturbs_everybody) {
    for (const char* line : {"c a", "C A", "c   a", "clear all", "cx Ay", "c a 10"})
        EXPECT_EQ(verdict(line), "c a") << line;
    for (const char* line : {"c f", "C field"}) EXPECT_EQ(verdict(line), "c f") << line;
    for (const char* line : {"h", "H 1 0 0", "hello"}) EXPECT_EQ(verdict(line), "h") << line;
    for (const char* line : {"!", "! -", "!u", "!battle"}) EXPECT_EQ(verdict(line), "!") << line;
    for (const char* line : {"r", "R 1", "robot"}) EXPECT_EQ(verdict(line), "r") << line;
    for (const char* line : {"z 0", "Z 1 2 3"}) EXPECT_EQ(verdict(line), "z") << line;
}

TEST(Rules, let_everything_else_pass) {
    for (const char* line :
         {"c",   "c 10",   "c h",    "ca",    "cf", "f 10", "b 1", "q a", "q p", "p d",   "t l 90", "k 1 0 0",
          "w 3", "s 4142", "n 4142", "u c a", "x",  ".",    "?",   "o",   "0",   "j 1 2", "l b"}) {
        EXPECT_EQ(verdict(line), "") << line;
    }
}

TEST(Rules, can_be_switched_one_by_one) {
    for (size_t i = 0; i < RULES.size(); ++i) {
        rule_set rules;
        rules.allowed.fill(true);
        const std::string line(RULES[i].key);
        EXPECT_EQ(forbidden_by(rules, line), -1) << line;
        rules.allowed[i] = false;
        EXPECT_EQ(forbidden_by(rules, line), static_cast<int>(i)) << line;
        EXPECT_EQ(classroom::find_rule(line), static_cast<int>(i));
    }
    EXPECT_EQ(classroom::find_rule("no such rule"), -1);
    rule_set rules;
    rules.allowed.fill(true);
    rules.allowed[static_cast<size_t>(classroom::find_rule("l b"))] = false;
    EXPECT_EQ(forbidden_by(rules, "l s"), -1);
    EXPECT_EQ(forbidden_by(rules, "l"), -1);
    EXPECT_GE(forbidden_by(rules, "L Brush"), 0);
}

struct Slips : FieldTest {
    // What the forbidden commands would change.
    static std::string marks() {
        std::string text = std::to_string(signals.wipe_requested.load()) + ' ' + std::to_string(modes.battle_mode) +
                           ' ' + std::to_string(ntmax);
        for (const double part : bgcol) text += ' ' + std::to_string(part);
        for (const card_t& c : cards) text += ' ' + std::to_string(c.flags);
        return text;
    }
};

TEST_F(Slips, no_line_that_passes_does_what_is_forbidden) {
    std::mt19937 random(11);
    const std::string alphabet = "ccCC  aAfFhH!rRzZ  ;\n01-\t" + std::string("\0\x80\xFF", 3);
    put_turtle(0, 0, 0);
    client_tab[0].sockfd = 1000;
    client_tab[0].turtle_id = 0;
    const std::string before = marks();
    int passed = 0;
    int refused = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string bytes;
        for (unsigned k = 1 + random() % 12; k > 0; --k) bytes += alphabet[random() % alphabet.size()];
        for (const std::string& line : split(bytes)) {
            if (!verdict(line).empty()) {
                ++refused;
                continue;
            }
            ++passed;
            parse_message_for(0, line.c_str());
            ASSERT_EQ(marks(), before) << testing::PrintToString(line);
        }
    }
    EXPECT_GT(passed, 1000);
    EXPECT_GT(refused, 1000);
}

TEST(Names, are_read_from_the_command_as_the_field_reads_them) {
    std::string name = "before";
    EXPECT_FALSE(read_name_command("f 10", name));
    EXPECT_EQ(name, "before");
    EXPECT_TRUE(read_name_command("n 48656c6c6f", name));
    EXPECT_EQ(name, "Hello");
    EXPECT_TRUE(read_name_command("N  48 65", name));
    EXPECT_EQ(name, "He");
    EXPECT_TRUE(read_name_command("n 4 8", name)); // the blank is taken for a digit that is 0
    EXPECT_EQ(name, std::string("\x40\x80"));
    EXPECT_TRUE(read_name_command("n", name));
    EXPECT_EQ(name, "");
    EXPECT_TRUE(read_name_command("n 410042", name)); // a byte of 0 adds nothing
    EXPECT_EQ(name, "AB");
    EXPECT_TRUE(read_name_command("n 4", name));
    EXPECT_EQ(name, "@");
}

struct NameOfTurtle : FieldTest {};

TEST_F(NameOfTurtle, is_what_the_field_makes_of_it) {
    std::mt19937 random(5);
    put_turtle(0, 0, 0);
    client_tab[0].turtle_id = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string line = "n ";
        for (unsigned k = random() % 40; k > 0; --k) line += "0123456789abcdefABCDEF  xyz"[random() % 27];
        std::string name;
        ASSERT_TRUE(read_name_command(line, name));
        parse_message_for(0, line.c_str());
        EXPECT_EQ(name, std::string(ttl[0].name)) << line;
    }
}
