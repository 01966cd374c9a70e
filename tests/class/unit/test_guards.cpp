// What protects the class server: hosts, origins, codes, limits, paths, names, files.
#include "class/archive.h"
#include "class/codes.h"
#include "class/guards.h"
#include "class/limits.h"
#include "class/options.h"
#include "class/places.h"
#include "class/qr.h"
#include "class/repair.h"
#include "class/static_files.h"
#include "class/text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <unistd.h>

using namespace classroom;
using nlohmann::json;

TEST(Host, addresses_and_own_names_are_admitted) {
    const std::vector<std::string> names = {"teacher", "teacher.local"};
    for (const char* good : {"192.168.7.5:2288", "192.168.7.5", "10.0.0.1", "localhost:2288", "LOCALHOST", "[::1]:2288",
                             "[fe80::1]", "Teacher:2288", "teacher.local"}) {
        EXPECT_TRUE(host_is_ours(good, names)) << good;
    }
    for (const char* bad :
         {"", "evil.example", "evil.example:2288", "192.168.7.5.evil.example", "1.2.3", "1.2.3.4.5", "0x7f000001",
          "2130706433", "teacher.evil", "[::1", "[evil]", "localhost:", "localhost:99999", "localhost:1x",
          "localhost:80:80", "localhost@evil", "127.0.0.1 evil", "[]"}) {
        EXPECT_FALSE(host_is_ours(bad, names)) << bad;
    }
}

TEST(Host, only_three_are_local) {
    for (const char* good : {"localhost", "localhost:2288", "127.0.0.1:2288", "[::1]:1"})
        EXPECT_TRUE(host_is_local(good)) << good;
    for (const char* bad : {"127.0.0.2", "teacher", "192.168.7.5", "localhost.evil", "[::2]", ""})
        EXPECT_FALSE(host_is_local(bad)) << bad;
}

TEST(Origin, only_pages_of_this_very_address_may_ask) {
    EXPECT_TRUE(page_is_ours("", "localhost:2288", ""));
    EXPECT_TRUE(page_is_ours("http://localhost:2288", "localhost:2288", "same-origin"));
    EXPECT_TRUE(page_is_ours("http://192.168.7.5:2288", "192.168.7.5:2288", ""));
    EXPECT_TRUE(page_is_ours("", "localhost:2288", "none"));
    EXPECT_FALSE(page_is_ours("http://evil.example", "localhost:2288", ""));
    EXPECT_FALSE(page_is_ours("null", "localhost:2288", ""));
    EXPECT_FALSE(page_is_ours("http://localhost:2280", "localhost:2288", ""));
    EXPECT_FALSE(page_is_ours("https://localhost:2288", "localhost:2288", ""));
    EXPECT_FALSE(page_is_ours("", "localhost:2288", "cross-site"));
    EXPECT_FALSE(page_is_ours("", "localhost:2288", "same-site"));
}

TEST(Codes, are_random_and_plain) {
    std::set<std::string> codes;
    for (int k = 0; k < 200; ++k) {
        const std::string code = random_code();
        EXPECT_EQ(code.size(), CODE_CHARACTERS);
        EXPECT_EQ(normal_code(code), code);
        EXPECT_EQ(code.find_first_of("0O1IL2Z5S"), std::string::npos) << code;
        codes.insert(code);
    }
    EXPECT_GE(codes.size(), 198U); // two equal ones of 200 in 14 million: once in 700 runs
    EXPECT_EQ(random_token().size(), TOKEN_CHARACTERS);
    EXPECT_NE(random_token(), random_token());
}

TEST(Codes, of_the_teacher_have_bounds) {
    EXPECT_EQ(normal_code("7b maths"), "7BMATHS");
    EXPECT_EQ(normal_code("ab"), "");
    EXPECT_EQ(normal_code("abc"), "ABC");
    EXPECT_EQ(normal_code(std::string(16, 'a')), std::string(16, 'A'));
    EXPECT_EQ(normal_code(std::string(17, 'a')), "");
    EXPECT_EQ(normal_code("abc\n"), "");
    EXPECT_EQ(normal_code("abc<"), "");
}

TEST(Bucket, lets_a_burst_pass_and_then_the_rate) {
    token_bucket b(10, 20);
    EXPECT_EQ(b.take(20, 100), 0);
    EXPECT_DOUBLE_EQ(b.take(1, 100), 0.1);
    EXPECT_DOUBLE_EQ(b.take(1, 100), 0.2);
    EXPECT_EQ(b.take(1, 101), 0); // ten came back, two were owed
    EXPECT_EQ(b.take(20, 1000), 0);
    EXPECT_GT(b.take(1, 1000), 0); // never more than the burst is saved
}

TEST(Guesses, cost_ever_more_after_the_free_ones) {
    guess_guard g;
    for (int k = 0; k < FREE_GUESSES; ++k) {
        EXPECT_EQ(g.wait(7, k), 0);
        g.wrong(7, k);
    }
    EXPECT_EQ(g.wait(7, 10), 0);
    g.wrong(7, 10);
    EXPECT_EQ(g.wait(7, 10), 2);
    EXPECT_EQ(g.wait(8, 10), 0); // of another address
    g.wrong(7, 20);
    EXPECT_EQ(g.wait(7, 20), 4);
    for (int k = 0; k < 50; ++k) g.wrong(7, 30);
    EXPECT_EQ(g.wait(7, 30), LONGEST_PAUSE_S);
    g.right(7);
    EXPECT_EQ(g.wait(7, 30), 0);
    for (int k = 0; k < 50; ++k) g.wrong(7, 30);
    g.wrong(7, 31 + GUESSES_FORGOTTEN_S);
    EXPECT_EQ(g.wait(7, 31 + GUESSES_FORGOTTEN_S), 0);
}

TEST(Guesses, are_remembered_for_so_many_addresses) {
    guess_guard g;
    for (uint32_t a = 0; a < 3 * GUESSERS; ++a) g.wrong(a, a);
    SUCCEED(); // The sanitizers and the soak test check the memory; here it must only not crash.
    for (int k = 0; k < 10; ++k) g.wrong(5, 3 * GUESSERS);
    EXPECT_GT(g.wait(5, 3 * GUESSERS), 0);
}

TEST(Names, are_what_people_are_called) {
    EXPECT_EQ(clean_name("Ann"), "Ann");
    EXPECT_EQ(clean_name("  Zoë   O'Brien "), "Zoë O'Brien");
    EXPECT_EQ(clean_name("李小龙"), "李小龙");
    EXPECT_EQ(clean_name("<b>\"&'\\"), "<b>\"&'\\"); // kept as it is: whoever displays it must escape it
    EXPECT_EQ(clean_name(std::string(24, 'x')), std::string(24, 'x'));
    EXPECT_FALSE(clean_name(std::string(25, 'x')));
    for (const char* bad : {"", "   ", "a\nb", "a\x1b[31m", "a\x7f", "\xff", "a\xc3", "\xed\xa0\x80", "\xc0\xaf",
                            "a\u202eb", "a\u200bb", "\u2028"}) {
        EXPECT_FALSE(clean_name(bad)) << testing::PrintToString(bad);
    }
    EXPECT_FALSE(clean_name(std::string_view("a\0b", 3)));
    for (const char* invisible : {"\u3164", "\u115f", "\u2800", "\u180e", "\ufe0f", "a\u034fb", "\u200d", "\ufeff"})
        EXPECT_FALSE(clean_name(invisible)) << testing::PrintToString(invisible);
}

TEST(Names, may_join_pictures_and_letters_of_scripts_that_need_it) {
    for (const char* good : {"👩‍🚀", "❤️‍🔥", "ශ්‍රී", "می‌خواهم", "☺️"})
        EXPECT_EQ(clean_name(good), good);
    for (const char* bad : {"A\u200dnn", "Ann\u200d", "\u200dAnn", "👩\u200d", "👩\u200d\u200d🚀", "👩\u200d 🚀"})
        EXPECT_FALSE(clean_name(bad)) << testing::PrintToString(bad);
}

TEST(Texts, are_made_fit_for_a_log) {
    EXPECT_EQ(for_log("plain text"), "plain text");
    EXPECT_EQ(for_log("a\n\x1b[0m\\\xff"), "a\\x0a\\x1b[0m\\x5c\\xff");
    EXPECT_EQ(for_log(std::string(1000, 'x')).size(), 200U);
}

TEST(Texts, are_cut_between_characters) {
    EXPECT_EQ(cut_text("aäb", 2), "a");
    EXPECT_EQ(cut_text("aäb", 3), "aä");
    EXPECT_EQ(cut_text("abc", 3), "abc");
    EXPECT_EQ(valid_utf8("a\xff"
                         "b\xc3\xa4"),
              "a\xEF\xBF\xBD"
              "b\xc3\xa4");
    EXPECT_EQ(to_hex("A\xff"), "41ff");
}

TEST(Texts, queries_and_numbers) {
    EXPECT_EQ(query_value("run=7&x=", "run"), "7");
    EXPECT_EQ(query_value("run=7&x=", "x"), "");
    EXPECT_FALSE(query_value("arun=7", "run"));
    EXPECT_FALSE(query_value("", "run"));
    EXPECT_EQ(decimal("07", 10), 7U);
    for (const char* bad : {"", "-1", "+1", " 1", "1 ", "1x", "11", "99999999999999999999"})
        EXPECT_FALSE(decimal(bad, 10)) << bad;
}

TEST(Paths, lead_to_files_of_the_pages_only) {
    EXPECT_EQ(file_for("/"), "index.html");
    EXPECT_EQ(file_for("/edit"), "edit.html");
    EXPECT_EQ(file_for("/v/1a/x.js"), "v/1a/x.js");
    for (const char* bad : {"", "x", "//", "/../x", "/a/../x", "/a//b", "/.git", "/a/.b", "/a/", "/%2e%2e/x", "/a\\b",
                            "/a b", "/a?b", "/a\nb"}) {
        EXPECT_FALSE(file_for(bad)) << bad;
    }
    EXPECT_FALSE(file_for('/' + std::string(600, 'a')));
    EXPECT_EQ(type_of("a.js"), "text/javascript; charset=utf-8");
    EXPECT_EQ(type_of("a.wasm"), "application/wasm");
    EXPECT_EQ(type_of("a"), "application/octet-stream");
    EXPECT_TRUE(never_changes("/v/1/a.js"));
    EXPECT_FALSE(never_changes("/edit"));
}

TEST(Policy, admits_made_functions_in_workers_only) {
    EXPECT_EQ(content_policy("/edit").find("'unsafe-eval'"), std::string_view::npos);
    EXPECT_NE(content_policy("/v/1/python-worker.js").find("'unsafe-eval'"), std::string_view::npos);
    EXPECT_EQ(content_policy("/edit").find("http"), std::string_view::npos);
    EXPECT_EQ(content_policy("/edit").find("script-src 'self' 'unsafe-inline'"), std::string_view::npos);
}

struct Store : testing::Test {
    std::string folder;
    void SetUp() override {
        std::string name = testing::TempDir() + "kelmora-store-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
    }
    void TearDown() override { ASSERT_EQ(system(("rm -rf '" + folder + "'").c_str()), 0); }
    void put(const std::string& name, const std::string& text) const { std::ofstream(folder + '/' + name) << text; }
};

TEST_F(Store, serves_files_and_sees_changes) {
    put("a.txt", "one");
    file_store files(folder);
    const auto first = files.find("a.txt");
    ASSERT_TRUE(first);
    EXPECT_EQ(*first->bytes, "one");
    EXPECT_EQ(files.find("a.txt")->bytes, first->bytes); // from the cache, not read again
    put("b.txt", "three");
    ASSERT_EQ(rename((folder + "/b.txt").c_str(), (folder + "/a.txt").c_str()), 0);
    const auto second = files.find("a.txt");
    EXPECT_EQ(*second->bytes, "three");
    EXPECT_NE(second->etag, first->etag);
    EXPECT_FALSE(files.find("missing"));
}

TEST_F(Store, stays_inside_its_folder) {
    put("a.txt", "one");
    file_store files(folder);
    ASSERT_EQ(symlink("/etc/passwd", (folder + "/out").c_str()), 0);
    ASSERT_EQ(symlink("a.txt", (folder + "/in").c_str()), 0);
    ASSERT_EQ(system(("mkfifo '" + folder + "/pipe' && mkdir '" + folder + "/sub'").c_str()), 0);
    EXPECT_FALSE(files.find("out"));
    EXPECT_TRUE(files.find("in"));
    EXPECT_FALSE(files.find("pipe"));
    EXPECT_FALSE(files.find("sub"));
    EXPECT_FALSE(files.find("../" + folder.substr(folder.rfind('/') + 1) + "/../../etc/passwd"));
    EXPECT_FALSE(file_store(folder + "/a.txt").usable());
    EXPECT_FALSE(file_store(folder + "/nothing").usable());
    EXPECT_FALSE(file_store("").usable());
}

namespace {

std::string record_of(int tid, const std::string& name, const std::string& x = "1.500000", const char* alive = "true") {
    return "{\"tid\":" + std::to_string(tid) + ",\"time\":12,\"type\":1,\"name\":\"" + name +
           "\",\"team\":2,\"x\":" + x +
           ",\"y\":20100.000000,\"head\":90.000000,\"ttl\":0,\"bx\":0.000000,\"by\":0.000000,\"bttf\":0,\"score\":100,"
           "\"ncoin\":0,"
           "\"alive\":" +
           alive + ",\"firing\":false,\"got_hit\":false,\"collide\":false,\"detected\":false,\"got_msg\":true}";
}

} // namespace

TEST(Turtles, pass_unchanged_when_all_is_well) {
    const std::string list = '[' + record_of(0, "Ann") + ", " + record_of(1, "Bob") + ']';
    EXPECT_EQ(repair_turtles(list), list);
    EXPECT_EQ(repair_turtles("[]"), "[]");
}

TEST(Turtles, names_of_any_bytes_become_valid_text) {
    for (const std::string& name :
         {std::string("a\"b"), std::string("\\"), std::string("\",\"team\":2,\"x\":1"), std::string("\x01\xff\x7f"),
          record_of(9, "x").substr(0, 120), std::string("\"}, {\"tid\":5"), std::string("\"]")}) {
        const json list = json::parse(repair_turtles('[' + record_of(0, name) + ", " + record_of(1, "Bob") + ']'));
        ASSERT_EQ(list.size(), 2U) << name;
        EXPECT_EQ(list[0]["tid"], 0);
        EXPECT_EQ(list[0]["name"], valid_utf8(name));
        EXPECT_EQ(list[1]["name"], "Bob");
    }
}

TEST(Turtles, values_that_are_not_numbers_become_zero) {
    for (const char* x : {"nan", "-nan", "inf", "-inf"}) {
        const json list = json::parse(repair_turtles('[' + record_of(0, "Ann", x) + ']'));
        ASSERT_EQ(list.size(), 1U) << x;
        EXPECT_EQ(list[0]["x"], 0);
    }
}

TEST(Turtles, free_slots_and_parked_ones_are_left_out) {
    const json list =
        json::parse(repair_turtles('[' + record_of(0, "", "20000.000000") + ", " + record_of(1, "Bob", "1.0", "false") +
                                   ", " + record_of(2, "Ann") + ']'));
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0]["name"], "Ann");
}

TEST(Turtles, whatever_comes_the_result_is_a_list) {
    const std::string list = '[' + record_of(0, "Ann") + ", " + record_of(1, "Bob") + ']';
    for (size_t cut = 0; cut <= list.size(); ++cut) {
        EXPECT_TRUE(json::parse(repair_turtles(list.substr(0, cut)), nullptr, false).is_array()) << cut;
    }
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round) {
        std::string broken = list;
        for (int k = 0; k < 3; ++k) broken[random() % broken.size()] = static_cast<char>(random());
        EXPECT_TRUE(json::parse(repair_turtles(broken), nullptr, false).is_array()) << testing::PrintToString(broken);
    }
}

TEST(Starts, the_middle_is_free_when_a_turtle_there_could_move) {
    EXPECT_TRUE(middle_is_free({}));
    EXPECT_TRUE(middle_is_free(std::vector<spot>{{21, 0}, {0, -30}}));
    EXPECT_FALSE(middle_is_free(std::vector<spot>{{100, 0}, {12, 12}}));
    EXPECT_FALSE(middle_is_free(std::vector<spot>{{0, 0}}));
}

TEST(Starts, are_apart_from_everybody) {
    EXPECT_EQ(free_spot({}, 0).x, RING_RADIUS);
    EXPECT_EQ(free_spot({}, 5).x, -RING_RADIUS);
    std::vector<spot> others;
    for (int k = 0; k < 29; ++k) {
        const spot s = free_spot(others, 3);
        for (const spot& o : others) EXPECT_GE(std::hypot(s.x - o.x, s.y - o.y), ELBOW_ROOM) << k;
        EXPECT_LT(std::max(std::abs(s.x), std::abs(s.y)), 246) << k; // inside the field, clear of its edge
        others.push_back(s);
    }
}

TEST(Starts, bodies_are_read_from_the_list_without_the_turtle_itself) {
    const std::string list = '[' + record_of(0, "Ann") + ", " + record_of(1, "Bob") + ", " + record_of(2, "Ann") + ']';
    EXPECT_EQ(other_bodies(list, "Ann").size(), 2U);
    EXPECT_EQ(other_bodies(list, "Zoe").size(), 3U);
    EXPECT_EQ(other_bodies(list, "Ann")[0].x, 1.5);
    EXPECT_TRUE(other_bodies("{}", "Ann").empty());
    EXPECT_TRUE(other_bodies("[1, {}, {\"x\":\"1\",\"y\":2}", "Ann").empty());
    EXPECT_TRUE(other_bodies("[1, {}, {\"x\":\"1\",\"y\":2}]", "Ann").empty());
}

TEST(Archive, names_are_safe_and_unique_and_the_zip_is_one) {
    EXPECT_EQ(safe_file_name("../../etc/passwd"), "_.._.._etc_passwd");
    EXPECT_EQ(safe_file_name("a<b>:\"|?*.py"), "a_b______.py");
    EXPECT_EQ(safe_file_name("Zoë.py"), "Zoë.py");
    EXPECT_EQ(safe_file_name(""), "_");
    EXPECT_EQ(safe_file_name("-rf.py"), "_-rf.py");
    for (const char* device : {"CON.py", "nul .py", "Com1.x.py", "LPT9.js"})
        EXPECT_EQ(safe_file_name(device), std::string("_") + device);
    for (const char* plain : {"Conny.py", "com.py", "com10.py"}) EXPECT_EQ(safe_file_name(plain), plain);
    const auto zip = make_zip({{"Ann.py", "print(1)\n"}, {"ann.py", "x"}, {"Ann.py", ""}});
    ASSERT_TRUE(zip);
    EXPECT_EQ(zip->substr(0, 2), "PK");
    for (const char* name : {"Ann.py", "ann (2).py", "Ann (3).py"})
        EXPECT_NE(zip->find(name), std::string::npos) << name;
    EXPECT_EQ(make_zip({})->size(), 22U);
}

TEST(Qr, is_a_square_of_modules) {
    const std::string svg = qr_svg("http://192.168.7.5:2288/#code=KMPQ7");
    EXPECT_NE(svg.find("<svg"), std::string::npos);
    EXPECT_NE(svg.find("viewBox=\"0 0 37 37\""), std::string::npos); // version 3: 29 modules and the margins
    EXPECT_EQ(qr_svg(std::string(5000, 'x')), "");
    const std::string text = qr_terminal("http://192.168.7.5:2288/#code=KMPQ7", 80, 24);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 17); // 29 + 4 rows, two a line
    EXPECT_EQ(qr_terminal("http://192.168.7.5:2288/#code=KMPQ7", 32, 24), "");
    EXPECT_EQ(qr_terminal("http://192.168.7.5:2288/#code=KMPQ7", 80, 16), "");
}

namespace {

std::string complaint(std::vector<const char*> words, options* out = nullptr) {
    words.insert(words.begin(), "kelmora-class");
    std::vector<char*> argv;
    for (const char* w : words) argv.push_back(const_cast<char*>(w));
    argv.push_back(nullptr);
    options opts;
    std::string error;
    const parsed result =
        parse_options(static_cast<int>(words.size()), argv.data(), out == nullptr ? opts : *out, error);
    return result == parsed::wrong ? error : "";
}

// How a complaint about a value begins.
std::string told(const std::string& option, std::string_view value) {
    return option + ' ' + (value.empty() ? "''" : for_log(value)) + ": ";
}

} // namespace

TEST(Options, are_read) {
    options opts;
    EXPECT_EQ(complaint({"--port", "0", "--fields", "10.0.0.1:2222,:2223,host", "--viewer", "off,:2281", "--canvas",
                         "/a,off", "--turn-minutes", "0.5", "--code", "my-code", "--root", "/x", "--no-qr"},
                        &opts),
              "");
    ASSERT_EQ(opts.fields.size(), 3U);
    EXPECT_EQ(opts.fields[0].host, "10.0.0.1");
    EXPECT_EQ(opts.fields[1].host, "127.0.0.1");
    EXPECT_EQ(opts.fields[1].port, 2223);
    EXPECT_EQ(opts.fields[2].port, 2222);
    ASSERT_EQ(opts.viewers.size(), 3U);
    EXPECT_EQ(opts.viewers[0].port, 0);
    EXPECT_EQ(opts.viewers[1].port, 2281);
    EXPECT_EQ(opts.viewers[2].port, 0);
    EXPECT_EQ(opts.canvases, (std::vector<std::string>{"/a", "", ""}));
    EXPECT_EQ(opts.turn_minutes, 0.5);
    EXPECT_EQ(opts.code, "MYCODE");
    EXPECT_FALSE(opts.show_qr);
}

TEST(Options, have_defaults) {
    options opts;
    EXPECT_EQ(complaint({}, &opts), "");
    EXPECT_EQ(opts.port, 2288);
    ASSERT_EQ(opts.fields.size(), 1U);
    EXPECT_EQ(opts.fields[0].port, 2222);
    EXPECT_EQ(opts.viewers[0].port, 2280);
}

TEST(Options, that_are_wrong_are_told_in_one_line) {
    EXPECT_EQ(complaint({"--prot", "1"}), "unknown option: --prot");
    EXPECT_EQ(complaint({"--port"}), "option without its value: --port");
    EXPECT_EQ(complaint({"extra"}), "unknown argument: extra");
    EXPECT_EQ(complaint({"--port", "70000"}), "--port 70000: a port is a number from 0 to 65535 (0: a free one)");
    EXPECT_EQ(complaint({"--port", "a\nb"}), "--port a\\x0ab: a port is a number from 0 to 65535 (0: a free one)");
    for (const char* bad : {"x", "-1", "nan", "inf", "1e9", "", " 5", "5 ", "0x10", "1440.1", "1,5"})
        EXPECT_NE(complaint({"--turn-minutes", bad}), "") << bad;
    for (const char* bad : {"", ":", "host:", "host:0", "host:x", "a,,b", "host:99999", "a:1,", "a b:1", "[::1]:2222",
                            "::1", "http://host:2222", "host:2222:1", "300.1.1.1", "1.2.3", "-x:1", ".x:1", "a\tb"})
        EXPECT_EQ(complaint({"--fields", bad}), told("--fields", bad) + "fields are HOST:PORT,HOST:PORT,...");
    for (const char* bad : {"", "off,", ":", "host:0", "h\xC3\xB6st:1"})
        EXPECT_EQ(complaint({"--viewer", bad}), told("--viewer", bad) + "viewer addresses are HOST:PORT,off,...");
    for (const char* bad : {"", "ä", "ab", "KMPQ7KMPQ7KMPQ7KM", "a_b", "abc\n"})
        EXPECT_EQ(complaint({"--code", bad}), told("--code", bad) + "a code has 3 to 16 letters and digits");
    for (const char* bad : {"", ",", "a,,b"})
        EXPECT_EQ(complaint({"--canvas", bad}), told("--canvas", bad) + "canvas folders are DIR,off,...");
    EXPECT_EQ(complaint({"--canvas", "a,b"}), "--canvas: more folders than there are fields");
    EXPECT_EQ(complaint({"--viewer", "off,off"}), "--viewer: more addresses than there are fields");
    for (const char* bad : {"", "+1", " 1", "1 ", "65536", "-1", "0x10", "2288/", "99999999999999999999"})
        EXPECT_NE(complaint({"--port", bad}), "") << bad;
    EXPECT_EQ(complaint({"--root", ""}), "--root '': the pages are in a folder");
}

TEST(Options, addresses_and_names_are_checked) {
    for (const char* bad :
         {"", "foo", "localhost", "1.2.3", "1.2.3.4.5", "256.1.1.1", "::", "1.2.3.4 ", "1.2.3.4:80", "0"}) {
        EXPECT_EQ(complaint({"--listen", bad}),
                  told("--listen", bad) + "the server listens on an IPv4 address of this machine (0.0.0.0: on all)");
    }
    EXPECT_EQ(complaint({"--listen", "192.168.7.5"}), "");
    for (const char* bad : {"", "a b", "a:2288", "http://a", "a/", "\x1b[31m", "1.2.3.400", "-a", ".", "\xC3\xA4"}) {
        EXPECT_NE(complaint({"--address", bad}), "") << bad;
        EXPECT_NE(complaint({"--name", bad}), "") << bad;
    }
    EXPECT_NE(complaint({"--name", std::string(254, 'a').c_str()}), "");
    options opts;
    EXPECT_EQ(complaint({"--name", "Pult-3.Schule.Example", "--name", "a_b", "--address", "Pult-3.local"}, &opts), "");
    EXPECT_EQ(opts.names, (std::vector<std::string>{"pult-3.schule.example", "a_b"}));
    EXPECT_EQ(complaint({"--fields", "localhost,field-2.local:3222,10.0.0.7"}), "");
}

TEST(Options, there_are_thirty_fields_at_most) {
    std::string list = ":1";
    for (int n = 2; n <= 30; ++n) list += ",:" + std::to_string(n);
    EXPECT_EQ(complaint({"--fields", list.c_str()}), "");
    list += ",:31";
    EXPECT_NE(complaint({"--fields", list.c_str()}).find(": there are at most 30 fields"), std::string::npos);
}
