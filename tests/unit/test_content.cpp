// Bodies of the web viewer's responses, byte for byte.
#include "field/state.h"
#include "field/turtles.h"
#include "field/walls.h"
#include "httpd/content.h"

#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <vector>

namespace {

// How many more allocations with new succeed on this thread; -1 = all.
thread_local int news_left = -1;

} // namespace

// All allocations of the test program go through these; memory runs out only where a test says so. Not inlined: the
// compiler would take the pair of free and new for a mistake.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (news_left == 0) throw std::bad_alloc();
    if (news_left > 0) --news_left;
    void* const memory = malloc(size > 0 ? size : 1);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { free(memory); }

namespace {

struct body_t {
    int32_t kind = 0;
    int32_t owned = -1;
    std::string text;
};

body_t take(http_content_t* content) {
    if (content == nullptr) return {};
    body_t body{content->mime_kind, content->owns_data,
                std::string(reinterpret_cast<const char*>(content->data), static_cast<size_t>(content->length))};
    free_container(content);
    return body;
}

std::string fetch(const std::string& target) { return take(generate_content(target.c_str())).text; }

std::string page() {
    char* text = generate_html();
    std::string result = text;
    free(text);
    return result;
}

std::string tag(const std::string& url) { return "<script type=\"text/javascript\" src=\"" + url + "\"></script>\r\n"; }

size_t times(const std::string& text, const std::string& part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++n;
    return n;
}

const std::string OVERVIEW = "{\"x0\":0.000000,\"y0\":0.000000,\"z0\":450.000000,"
                             "\"x1\":0.000000,\"y1\":0.000000,\"z1\":0.000000}";

class Content : public ::testing::Test {
protected:
    void SetUp() override {
        ttl.fill(turtle_t{});
        ntmax = 0;
        walls.fill(wall_t{});
        nwall = 0;
        coins.fill(coin_t{});
        ncoin = 0;
        signals.elapsed_time = 0;
        scripts(";");
    }
    void TearDown() override {
        scripts(";");
        ntmax = nwall = ncoin = 0;
        signals.elapsed_time = 0;
    }

    static void place(int i, const char* name, double x, double y, double dir) {
        ttl[i].flags = TTL_ALIVE;
        bounded_copy(ttl[i].name, name, TEXT_BYTES);
        ttl[i].pos[0] = {x, y};
        ttl[i].dir = dir;
        if (ntmax <= i) ntmax = i + 1;
    }

    static std::string scripts(const char* text) {
        ::testing::internal::CaptureStderr();
        set_jscript_src(text);
        return ::testing::internal::GetCapturedStderr();
    }
};

TEST_F(Content, empty_field_gives_empty_lists) {
    EXPECT_EQ(fetch("turtle"), "[]");
    EXPECT_EQ(fetch("wall"), "[]");
    EXPECT_EQ(fetch("coin"), "[]");
    EXPECT_EQ(fetch("camera"), OVERVIEW);
}

TEST_F(Content, bodies_say_their_kind_and_owner) {
    EXPECT_EQ(take(generate_content("turtle")).kind, 4);
    EXPECT_EQ(take(generate_content("wall")).kind, 4);
    EXPECT_EQ(take(generate_content("coin")).kind, 4);
    EXPECT_EQ(take(generate_content("camera")).kind, 4);
    EXPECT_EQ(take(generate_content("")).kind, 1);
    EXPECT_EQ(take(generate_content("img/0")).kind, 2);
    EXPECT_EQ(take(generate_content("turtle")).owned, 1);
    EXPECT_EQ(take(generate_content("")).owned, 1);
    EXPECT_EQ(take(generate_content("img/0")).owned, 0);
}

TEST_F(Content, turtle_object_has_every_member_in_order) {
    place(0, "ann", 1.5, -2.25, -450.0);
    turtle_t& t = ttl[0];
    t.flags |= TTL_FIRING;
    t.team = 3;
    t.dying_count = 49;
    t.beam_x = 7;
    t.beam_y = -8;
    t.fire_wait = 25;
    t.score = -4;
    t.n_coin = 10;
    t.event = EVENT_HIT | EVENT_WALL | EVENT_SEEN | EVENT_MESSAGE;
    signals.elapsed_time = 0x1FFFFFFFFull; // 32 bits of it are shown: 4294967295
    // -450 leaves -90 beyond one full turn backwards.
    EXPECT_EQ(fetch("turtle"),
              "[{\"tid\":0,\"time\":4294967295,\"type\":1,\"name\":\"ann\",\"team\":3,\"x\":1.500000,\"y\":-2.250000,"
              "\"head\":-90.000000,\"ttl\":49,\"bx\":7.000000,\"by\":-8.000000,\"bttf\":25,\"score\":-4,\"ncoin\":10,"
              "\"alive\":true,\"firing\":true,\"got_hit\":true,\"collide\":true,\"detected\":true,\"got_msg\":true}]");
}

TEST_F(Content, freed_slot_is_listed_as_not_alive) {
    place(1, "b", 0, 0, 0);
    ttl[1].flags = 0;
    const std::string json = fetch("turtle");
    EXPECT_EQ(times(json, "\"alive\":false"), 2u);
    EXPECT_NE(json.find("}, {\"tid\":1,"), std::string::npos);
}

TEST_F(Content, doughnut_is_type_2_and_stone_type_3) {
    place(0, "", 0, 0, 0);
    place(1, "", 0, 0, 0);
    place(2, "", 0, 0, 0);
    ttl[0].flags |= TTL_DOUGHNUT;
    ttl[1].flags |= TTL_STONE;
    ttl[2].flags |= TTL_OBJECT; // the doughnut's bit is tested first
    const std::string json = fetch("turtle");
    EXPECT_NE(json.find("\"tid\":0,\"time\":0,\"type\":2,"), std::string::npos);
    EXPECT_NE(json.find("\"tid\":1,\"time\":0,\"type\":3,"), std::string::npos);
    EXPECT_NE(json.find("\"tid\":2,\"time\":0,\"type\":2,"), std::string::npos);
}

TEST_F(Content, each_event_bit_raises_its_own_flag) {
    place(0, "", 0, 0, 0);
    const struct {
        uint32_t bit;
        const char* key;
    } rows[] = {
        {EVENT_HIT, "got_hit"},   {EVENT_TURTLE, "collide"},  {EVENT_DOUGHNUT, "collide"},
        {EVENT_STONE, "collide"}, {EVENT_WALL, "collide"},    {EVENT_FOUND, "detected"},
        {EVENT_SEEN, "detected"}, {EVENT_MESSAGE, "got_msg"}, {EVENT_COIN, "none"},
    };
    for (const auto& row : rows) {
        ttl[0].event = row.bit;
        ttl[0].event_mask = 0; // the page shows pending events whether wanted or not
        const std::string json = fetch("turtle");
        for (const char* key : {"got_hit", "collide", "detected", "got_msg"}) {
            const std::string want = std::string("\"") + key + "\":" + (strcmp(key, row.key) == 0 ? "true" : "false");
            EXPECT_NE(json.find(want), std::string::npos) << want << " for bit " << row.bit;
        }
        EXPECT_EQ(ttl[0].event, row.bit) << "reading must not reset the events";
    }
}

TEST_F(Content, name_is_written_unescaped) {
    place(0, "a\"b\\<c>", 0, 0, 0);
    EXPECT_NE(fetch("turtle").find("\"name\":\"a\"b\\<c>\",\"team\""), std::string::npos);
}

TEST_F(Content, name_without_terminator_ends_with_its_field) {
    place(0, "", 0, 0, 0);
    memset(ttl[0].name, 'n', TEXT_BYTES);
    const std::string full(TEXT_BYTES, 'n');
    EXPECT_NE(fetch("turtle").find("\"name\":\"" + full + "\",\"team\":0,"), std::string::npos);
    EXPECT_EQ(find_turtle_by_name(full.c_str()), 0);
    EXPECT_EQ(find_turtle_by_name((full + "n").c_str()), -1);
}

TEST_F(Content, extreme_coordinates_keep_every_list_whole) {
    // A double of the largest magnitude is written with 309 digits before the point.
    for (int i = 0; i < TTL_MAX; ++i) {
        place(i, "", -DBL_MAX, -DBL_MAX, 0);
        ttl[i].beam_x = ttl[i].beam_y = -DBL_MAX;
    }
    std::string json = fetch("turtle");
    EXPECT_EQ(times(json, "\"tid\":"), static_cast<size_t>(TTL_MAX));
    EXPECT_EQ(json.substr(json.size() - 2), "}]");

    walls.fill({1e300, 1e300, 1e300, 1e300, 1e300, 1e300, 0});
    nwall = WALL_MAX;
    json = fetch("wall");
    EXPECT_EQ(times(json, "\"x1\":"), static_cast<size_t>(WALL_MAX));
    EXPECT_EQ(json.substr(json.size() - 2), "}]");

    for (coin_t& c : coins) c = {0, -DBL_MAX, -DBL_MAX, INT_MIN, nullptr, ON_FIELD};
    ncoin = COIN_MAX;
    json = fetch("coin");
    EXPECT_EQ(times(json, "\"ord\":-2147483648}"), static_cast<size_t>(COIN_MAX));
    EXPECT_EQ(json.substr(json.size() - 2), "}]");

    json = fetch("$0/camera");
    EXPECT_EQ(times(json, "\"z1\":10.000000}"), 1u);
    EXPECT_GT(json.size(), 4 * 309u);
}

TEST_F(Content, numbers_are_written_as_printf_writes_them) {
    // Ties at the seventh digit that a double holds exactly (odd multiples of 2^-7), results that round to zero,
    // infinities, and random bit patterns.
    std::vector<double> numbers = {0.0,        -0.0,      5e-7,      4.9999e-7, -4e-7,    0.0078125,         0.0234375,
                                   -1.0078125, 1e15,      1e22,      0.1,       -256.0,   DBL_MIN,           DBL_MAX,
                                   INFINITY,   -INFINITY, 1e100,     1.0 / 3,   123456.5, 999999999999.9999, 1e12,
                                   -1e-9,      9.9e-10,   0.9999995, 2.5e-6,    NAN,      -DBL_MIN,          -DBL_MAX};
    srandom(1);
    for (int n = 0; n < 20000; ++n) {
        const auto low = static_cast<uint64_t>(random());
        const uint64_t bits = static_cast<uint64_t>(random()) << 33 | low << 2;
        numbers.push_back(std::bit_cast<double>(bits));
        numbers.push_back(static_cast<double>(random() % 1000000) / 1953.125 - 256);
    }
    for (const double number : numbers) {
        char want[400];
        snprintf(want, sizeof want, "{\"x\":%lf,\"y\":0.000000,\"ord\":7}", number);
        coins[0] = {0, number, 0, 7, nullptr, ON_FIELD};
        ncoin = 1;
        ASSERT_EQ(fetch("coin"), std::string("[") + want + "]");
    }
}

TEST_F(Content, counts_beyond_the_tables_are_cut) {
    ntmax = nwall = ncoin = INT_MAX;
    for (coin_t& c : coins) c.flags = ON_FIELD;
    EXPECT_EQ(times(fetch("turtle"), "\"tid\":"), static_cast<size_t>(TTL_MAX));
    EXPECT_EQ(times(fetch("wall"), "\"x1\":"), static_cast<size_t>(WALL_MAX));
    EXPECT_EQ(times(fetch("coin"), "\"ord\":"), static_cast<size_t>(COIN_MAX));
    EXPECT_EQ(fetch("$30/camera"), OVERVIEW);
    ntmax = nwall = ncoin = -1;
    EXPECT_EQ(fetch("turtle"), "[]");
    EXPECT_EQ(fetch("wall"), "[]");
    EXPECT_EQ(fetch("coin"), "[]");
}

TEST_F(Content, back_faces_are_hidden) {
    walls[0] = {9, 9, 9, 9, 9, 9, WALL_BACKFACE};
    walls[1] = {1, 2, 3, 4, 0, -1, 0};
    walls[2] = {9, 9, 9, 9, 9, 9, WALL_BACKFACE | 1};
    walls[3] = {-5, 6.5, 7, 8, 1, 0, 0xFFEFFFFF}; // every bit but the back face's
    nwall = 4;
    EXPECT_EQ(fetch("wall"),
              "[{\"x1\":1.000000,\"y1\":2.000000,\"x2\":3.000000,\"y2\":4.000000,\"nx\":0.000000,\"ny\":-1.000000},"
              "{\"x1\":-5.000000,\"y1\":6.500000,\"x2\":7.000000,\"y2\":8.000000,\"nx\":1.000000,\"ny\":0.000000}]");
}

TEST_F(Content, only_coins_on_the_field_are_listed) {
    coins[0] = {0, 1, 2, -1, nullptr, 0};
    coins[1] = {1, 3, -4.5, 0, nullptr, ON_FIELD};
    coins[2] = {2, 5, 6, 1, nullptr, ON_FIELD};
    coins[3] = {3, 7, 8, 2, nullptr, ON_FIELD}; // beyond ncoin
    ncoin = 3;
    EXPECT_EQ(fetch("coin"), "[{\"x\":3.000000,\"y\":-4.500000,\"ord\":0},{\"x\":5.000000,\"y\":6.000000,\"ord\":1}]");
}

TEST_F(Content, last_segment_chooses_the_body_without_regard_to_case) {
    for (const char* target : {"turtle", "TURTLE", "game/turtle", "x/y/TurTle", "turtle/", "//turtle//", "img/turtle"})
        EXPECT_EQ(fetch(target), "[]") << target;
    const std::string html = page();
    for (const char* target :
         {"", "/", "///", "turtle?x=1", "turtles", "index.html", "img", "5", "turtle/x", "images/5", "img/5/x"})
        EXPECT_EQ(fetch(target), html) << target;
}

TEST_F(Content, img_segment_gives_icons) {
    const size_t lengths[] = {4240, 4896, 3326, 4181, 3319, 481, 691, 11961};
    for (int n = 0; n < 8; ++n) EXPECT_EQ(fetch("img/" + std::to_string(n)).size(), lengths[n]) << n;
    const std::string last = fetch("img/7");
    EXPECT_EQ(last.substr(0, 4), "\x89PNG");
    EXPECT_EQ(fetch("img/99"), last);
    EXPECT_EQ(fetch("img/-1"), last);
    EXPECT_EQ(fetch("img/4294967296"), last); // no wrap to 0
    EXPECT_EQ(fetch("img/99999999999999999999999"), last);
    EXPECT_EQ(fetch("img/abc"), fetch("img/0"));
    EXPECT_EQ(fetch("x/IMG/5"), fetch("img/5"));
}

TEST_F(Content, only_1024_bytes_of_the_target_are_read) {
    // "x/" 508 times and "turtle" 1022 bytes in: at 1016 + 6 the word still fits; at 1020 + 4 it is cut to "turt".
    std::string lead;
    for (int i = 0; i < 508; ++i) lead += "x/";
    EXPECT_EQ(fetch(lead + "turtle"), "[]");
    EXPECT_EQ(fetch(lead + "a/b/turtle"), page());
    // The cut may also expose a word.
    EXPECT_EQ(fetch(lead + "x/turtle" + "zzz"), fetch("turtle"));
}

TEST_F(Content, camera_stands_at_the_turtle_and_looks_ahead) {
    place(0, "alice", 10, 20, 0);
    EXPECT_EQ(fetch("alice/camera"), "{\"x0\":10.000000,\"y0\":20.000000,\"z0\":10.000000,"
                                     "\"x1\":110.000000,\"y1\":20.000000,\"z1\":10.000000}");
    ttl[0].dir = 360 + 90; // a quarter turn: 100 ahead along +y
    EXPECT_EQ(fetch("ALICE/camera"), "{\"x0\":10.000000,\"y0\":20.000000,\"z0\":10.000000,"
                                     "\"x1\":10.000000,\"y1\":120.000000,\"z1\":10.000000}");
    EXPECT_EQ(fetch("alice/x/Camera"), fetch("alice/camera"));
    EXPECT_EQ(fetch("x/alice/camera"), OVERVIEW);
    EXPECT_EQ(fetch("bob/camera"), OVERVIEW);
}

TEST_F(Content, turtle_named_camera_has_the_plain_camera) {
    place(0, "Camera", 1, 0, 0);
    EXPECT_EQ(fetch("camera").substr(0, 14), "{\"x0\":1.000000");
}

TEST_F(Content, camera_of_a_freed_slot_keeps_its_place) {
    place(0, "", 3, 0, 0);
    ttl[0].flags = 0;
    EXPECT_EQ(take(generate_json_for_camera(0)).text.substr(0, 14), "{\"x0\":3.000000");
    EXPECT_EQ(take(generate_json_for_camera(1)).text, OVERVIEW);
    EXPECT_EQ(take(generate_json_for_camera(-1)).text, OVERVIEW);
}

TEST_F(Content, turtle_is_found_by_number) {
    for (int i = 0; i < 8; ++i) place(i, "", 0, 0, 0);
    ttl[5].flags = TTL_ZOMBIE; // not in use
    EXPECT_EQ(find_turtle_by_name("$0"), 0);
    EXPECT_EQ(find_turtle_by_name("$07"), 7);
    EXPECT_EQ(find_turtle_by_name("~7"), 7);
    EXPECT_EQ(find_turtle_by_name("$8"), -1);
    EXPECT_EQ(find_turtle_by_name("$5"), -1);
    EXPECT_EQ(find_turtle_by_name("$4294967296"), -1);           // 2^32 is not slot 0
    EXPECT_EQ(find_turtle_by_name("$18446744073709551616"), -1); // nor 2^64
    EXPECT_EQ(find_turtle_by_name("$-1"), -1);
    ttl[8].flags = TTL_ALIVE; // beyond the counter
    EXPECT_EQ(find_turtle_by_name("$8"), -1);
    ntmax = TTL_MAX;
    EXPECT_EQ(find_turtle_by_name("$30"), -1); // one past the table
}

TEST_F(Content, turtle_is_found_by_its_name_in_the_lowest_slot) {
    place(0, "free", 0, 0, 0);
    ttl[0].flags = 0;
    place(1, "$x", 0, 0, 0);
    place(2, "Free", 0, 0, 0);
    place(3, "freE", 0, 0, 0);
    place(4, "", 0, 0, 0);
    place(5, "$", 0, 0, 0);
    EXPECT_EQ(find_turtle_by_name("FREE"), 2);
    EXPECT_EQ(find_turtle_by_name("$x"), 1);
    EXPECT_EQ(find_turtle_by_name("$"), 5);
    EXPECT_EQ(find_turtle_by_name("fre"), -1);
    EXPECT_EQ(find_turtle_by_name("frees"), -1);
    EXPECT_EQ(find_turtle_by_name(""), -1);
    EXPECT_EQ(find_turtle_by_name(nullptr), -1);
    EXPECT_EQ(fetch("$x/camera"), fetch("$1/camera"));
    ntmax = 2; // slots beyond the counter are not searched
    EXPECT_EQ(find_turtle_by_name("free"), -1);
}

TEST_F(Content, decimal_number_is_digits_only) {
    for (const char* yes : {"0", "007", "123456789012345678901234567890"}) EXPECT_EQ(is_dec_number(yes), 1) << yes;
    for (const char* no : {"", " 1", "1 ", "-1", "+1", "1.0", "0x1", "a", "\xb2"})
        EXPECT_EQ(is_dec_number(no), 0) << no;
}

TEST_F(Content, page_loads_the_default_scripts_in_order) {
    const std::string want_head =
        "<html><head><title>Kelmora</title><meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/>\r\n"
        "<style>\r\n"
        "canvas { width: 100%; height: 100%; background-color: #002040; } \r\n"
        "a:link { color: #90ffff; text-decoration: none; } \r\n"
        "a:visited { color: #90ffff; text-decoration: none; } \r\n"
        "a:hover { color: #90ffff; text-decoration: underline; } \r\n"
        "</style>\r\n" +
        tag("http://localhost:2281/kelmora/script/kelmora.js") +
        tag("http://localhost:2281/kelmora/script/three.min.js") +
        "</head><body onload=\"webGLStart();\" style=\"background-color: #002040; margin:0; \">\r\n";
    const std::string html = page();
    EXPECT_EQ(html.substr(0, want_head.size()), want_head);
}

TEST_F(Content, page_has_30_score_boxes_with_their_uneven_blanks) {
    std::string want = "</head><body onload=\"webGLStart();\" style=\"background-color: #002040; margin:0; \">\r\n";
    for (int i = 0; i < 29; ++i) {
        const bool before = i == 2 || i == 6; // the blank stands before the equals sign
        const bool after = i < 10 && !before;
        want += std::string("<div id") + (before ? " =" : "=") + (after ? " " : "") + "\"score" + std::to_string(i) +
                "\"></div>" + (i % 4 == 3 ? "\r\n" : "");
    }
    want += "<div id=\"score29\"><br/><div id=\"result\"></div></body></html>\n";
    const std::string html = page();
    ASSERT_GT(html.size(), want.size());
    EXPECT_EQ(html.substr(html.size() - want.size()), want);
}

TEST_F(Content, script_option_is_split_at_blanks_semicolons_and_quotes) {
    EXPECT_EQ(scripts("a.js;b.js c.js"), "script: a.js\nscript: b.js\nscript: c.js\n");
    EXPECT_EQ(n_jscript, 3);
    EXPECT_NE(page().find("</style>\r\n" + tag("a.js") + tag("b.js") + tag("c.js") + "</head>"), std::string::npos);
    EXPECT_EQ(scripts("\"x.js\"; ;y.js\""), "script: x.js\nscript: y.js\n"); // a later list replaces the earlier one
    EXPECT_EQ(n_jscript, 2);
    EXPECT_EQ(scripts("a\tb"), "script: a\tb\n"); // a tab is no separator
}

TEST_F(Content, eleventh_script_is_ignored) {
    scripts("0;1;2;3;4;5;6;7;8;9;10");
    EXPECT_EQ(n_jscript, 10);
    EXPECT_STREQ(msg_jscript_srcp[9], "9");
}

TEST_F(Content, empty_script_option_changes_nothing) {
    scripts("mine.js");
    EXPECT_EQ(scripts(""), "");
    EXPECT_EQ(scripts(nullptr), "");
    EXPECT_EQ(n_jscript, 1);
    EXPECT_NE(page().find(tag("mine.js")), std::string::npos);
}

TEST_F(Content, separators_alone_leave_the_default_scripts) {
    scripts("mine.js");
    EXPECT_EQ(scripts(" ;\""), "");
    EXPECT_EQ(n_jscript, 0);
    EXPECT_NE(page().find(tag("http://localhost:2281/kelmora/script/kelmora.js")), std::string::npos);
}

TEST_F(Content, only_2048_bytes_of_the_script_option_are_read) {
    scripts((std::string(2046, 'u') + ";abc").c_str());
    ASSERT_EQ(n_jscript, 2);
    EXPECT_STREQ(msg_jscript_srcp[1], "a");
}

TEST_F(Content, page_takes_tags_and_ending_only_while_they_fit) {
    // Without tags the page is the two templates; one tag may fill it up to its limit of 3265 characters exactly.
    const size_t both = page().size() - tag("http://localhost:2281/kelmora/script/kelmora.js").size() -
                        tag("http://localhost:2281/kelmora/script/three.min.js").size();
    const size_t body = page().size() - page().find("</head>");
    const size_t head = both - body;
    const size_t room = 3265 - both - tag("").size();
    scripts(std::string(room, 'u').c_str());
    EXPECT_EQ(page().size(), 3265u);
    scripts(std::string(room + 1, 'u').c_str()); // the tag fits, the ending no longer does
    EXPECT_EQ(page().size(), head + tag("").size() + room + 1);
    EXPECT_EQ(page().find("</head>"), std::string::npos);
}

TEST_F(Content, first_tag_that_does_not_fit_ends_the_tags) {
    // The option's 2048 bytes never fill the page up, so the list is written here directly.
    const std::string head = page().substr(0, page().find("<script"));
    const std::string first(1500, 'a');
    const std::string second(2000, 'b');
    msg_jscript_srcp[0] = strdup(first.c_str());
    msg_jscript_srcp[1] = strdup(second.c_str());
    msg_jscript_srcp[2] = strdup("small");
    n_jscript = 3;
    const std::string html = page();
    EXPECT_EQ(html.substr(0, head.size() + tag(first).size() + 7), head + tag(first) + "</head>");
    EXPECT_EQ(html.find("small"), std::string::npos);
}

TEST_F(Content, tag_may_end_with_the_last_character_of_the_page) {
    const std::string head = page().substr(0, page().find("<script"));
    const std::string body = page().substr(page().find("</head>"));
    const std::string longest(3265 - head.size() - tag("").size(), 'a');
    msg_jscript_srcp[0] = strdup(longest.c_str());
    n_jscript = 1;
    EXPECT_EQ(page(), head + tag(longest));
    free(msg_jscript_srcp[0]);
    msg_jscript_srcp[0] = strdup((longest + "a").c_str());
    EXPECT_EQ(page(), head + body);
}

TEST_F(Content, without_memory_there_is_no_content) {
    // Numbers of 300 digits make every text grow, so that memory runs out at the start or in the middle.
    for (int i = 0; i < TTL_MAX; ++i) init_turtle(i, 0, 1e300, -1e300, 0);
    ntmax = TTL_MAX;
    walls.fill({1e300, 1e300, 1e300, 1e300, 1e300, 1e300, 0});
    nwall = WALL_MAX;
    http_content_t* (*const makers[])() = {
        [] { return generate_content(""); },
        [] { return generate_content("camera"); },
        generate_json_for_turtle,
        generate_json_for_wall,
        generate_json_for_coin,
    };
    const int least_grown[] = {1, 1, 2, 2, 1}; // allocations that each needs
    for (size_t k = 0; k < std::size(makers); ++k) {
        for (int left = 0; left < least_grown[k]; ++left) {
            news_left = left;
            http_content_t* const content = makers[k]();
            news_left = -1;
            EXPECT_EQ(content, nullptr) << k << " " << left;
            free_container(content);
        }
        http_content_t* const content = makers[k]();
        EXPECT_NE(content, nullptr) << k;
        free_container(content);
    }
}

} // namespace
