// Replies: each selector's value text, the status word, clock and events, and values too long for their buffer.
#include "net/reply.h"

#include "net/command.h"
#include "support.h"
#include "turtle/pen.h"

// Slot 2 drives turtle 1.
struct Reply : FieldTest {
    void SetUp() override {
        FieldTest::SetUp();
        put_turtle(1, 10, -4.5, 33.25, 2);
        client_tab[2].sockfd = 1000;
        client_tab[2].turtle_id = 1;
        signals.elapsed_time = 1532;
    }
    static std::string reply(int selector) {
        char out[REPLY_MAX + 1];
        for (char& c : out) c = '#';
        const int n = format_reply(2, selector, out);
        EXPECT_GT(n, 0);
        EXPECT_LT(n, REPLY_MAX);
        EXPECT_EQ(out[REPLY_MAX], '#');
        return {out, static_cast<size_t>(n)};
    }
};

TEST_F(Reply, success_and_error_carry_the_status_word_alone) {
    EXPECT_EQ(reply(0), "OK @ 1532 0\n");
    EXPECT_EQ(reply(-1), "ERR @ 1532 0\n");
    EXPECT_EQ(reply(-2147483647 - 1), "ERR @ 1532 0\n");
}

TEST_F(Reply, selectors_without_a_query_are_plain_successes) {
    for (const int selector : {18, 19, 29, 999, 1000, 1054, 1099, 1100, 1154, 2000, 2147483647})
        EXPECT_EQ(reply(selector), "OK @ 1532 0\n") << selector;
}

TEST_F(Reply, turtle_queries_give_their_values) {
    turtle_t& t = ttl[1];
    t.team = 4;
    t.score = -12;
    t.n_coin = 7;
    EXPECT_EQ(reply(1), "10.000000 -4.500000 OK @ 1532 0\n");
    EXPECT_EQ(reply(2), "33.250000 OK @ 1532 0\n");
    EXPECT_EQ(reply(3), "4 OK @ 1532 0\n");
    EXPECT_EQ(reply(4), "0 0 OK @ 1532 0\n");
    EXPECT_EQ(reply(10), "0 0 0 OK @ 1532 0\n");
    EXPECT_EQ(reply(11), "1 OK @ 1532 0\n");
    EXPECT_EQ(reply(12), "-12 OK @ 1532 0\n");
    EXPECT_EQ(reply(13), "1532 OK @ 1532 0\n");
    EXPECT_EQ(reply(14), "1 OK @ 1532 0\n");
    EXPECT_EQ(reply(15), "0 OK @ 1532 0\n");
    EXPECT_EQ(reply(16), "7 OK @ 1532 0\n");
}

TEST_F(Reply, finder_and_sonar_report_what_is_ahead) {
    ttl[1].dir = 0;
    put_object(0, TTL_STONE, 35, -4.5).team = 3; // 25 ahead
    EXPECT_EQ(reply(4), "3 3 OK @ 1532 0\n");
    EXPECT_EQ(reply(10), "1 1 1 OK @ 1532 0\n"); // 17.7 beside both slanting paths
    ttl[0].pos[0] = {10, 25.5};                  // 30 to the left: only the slanting path meets it, 21.2 beside: free
    EXPECT_EQ(reply(10), "0 0 0 OK @ 1532 0\n");
    ttl[0].pos[0] = {10 + 25 * std::sqrt(0.5), -4.5 - 25 * std::sqrt(0.5)};
    EXPECT_EQ(reply(10), "0 1 1 OK @ 1532 0\n"); // left, front, right
}

TEST_F(Reply, radar_selectors_are_ranks) {
    ttl[1].pos[0] = {0, 0};
    ttl[1].dir = 0;
    put_turtle(2, 50, 0).team = 2;
    put_turtle(0, 0, 80).team = 3;
    srandom(9);
    const double noise0 = (replay() - 0.5) * 40, noise1 = (replay() - 0.5) * 40, noise2 = (replay() - 0.5) * 40;
    srandom(9);
    char expected[100];
    snprintf(expected, sizeof expected, "%f 2 OK @ 1532 0\n", noise0);
    EXPECT_EQ(reply(5), expected);
    snprintf(expected, sizeof expected, "%f 3 OK @ 1532 0\n", 90 + noise1);
    EXPECT_EQ(reply(6), expected);
    snprintf(expected, sizeof expected, "%f 0 ERR @ 1532 0\n", noise2); // values before an error too
    EXPECT_EQ(reply(7), expected);
    for (const int selector : {8, 9}) EXPECT_NE(reply(selector).find(" 0 ERR @"), std::string::npos);
}

TEST_F(Reply, coins_in_reach_are_counted) {
    for (int k = 0; k < 2; ++k) {
        coins[static_cast<size_t>(k)].x = 10;
        coins[static_cast<size_t>(k)].y = 5;
        coins[static_cast<size_t>(k)].flags = ON_FIELD;
        add_coin_to_map(k);
    }
    EXPECT_EQ(reply(15), "2 OK @ 1532 0\n");
}

TEST_F(Reply, team_that_never_broadcast_gives_two_blanks) {
    EXPECT_EQ(reply(17), "0  OK @ 1532 0\n");
    turtle_broadcast_message(1, "to all; of you");
    EXPECT_EQ(reply(17), "1532 to all; of you OK @ 1532 0\n");
}

TEST_F(Reply, longest_team_message_comes_whole_and_no_byte_more) {
    for (char& c : teams[0].message) c = '#'; // bytes after the 128 must not leak
    turtle_broadcast_message(1, std::string(128, 'm').c_str());
    EXPECT_EQ(reply(17), "1532 " + std::string(128, 'm') + " OK @ 1532 0\n");
    turtle_broadcast_message(1, std::string(500, 'n').c_str());
    EXPECT_EQ(reply(17), "1532 " + std::string(128, 'n') + " OK @ 1532 0\n");
    turtle_broadcast_message(1, std::string(127, 'o').c_str());
    EXPECT_EQ(reply(17), "1532 " + std::string(127, 'o') + " OK @ 1532 0\n");
}

TEST_F(Reply, message_time_is_an_unsigned_32_bit_number) {
    teams[0].message_time = 4294967295u;
    EXPECT_EQ(reply(17), "4294967295  OK @ 1532 0\n");
}

TEST_F(Reply, cards_52_are_answered_and_53_gives_a_value_and_an_error) {
    field_set_card(1, 1.5, -2);
    field_set_card(53, 9, 9);
    EXPECT_EQ(reply(1001), "1 OK @ 1532 0\n");
    EXPECT_EQ(reply(1052), "0 OK @ 1532 0\n");
    EXPECT_EQ(reply(1053), "0 ERR @ 1532 0\n");
    EXPECT_EQ(reply(1101), "1.500000 -2.000000 OK @ 1532 0\n");
    EXPECT_EQ(reply(1152), "0.000000 0.000000 OK @ 1532 0\n");
    EXPECT_EQ(reply(1153), "0.000000 0.000000 ERR @ 1532 0\n");
}

TEST_F(Reply, event_is_reported_once_with_whatever_reply_comes_next) {
    ttl[1].event = EVENT_TURTLE | EVENT_MESSAGE;
    EXPECT_EQ(reply(-1), "ERR @ 1532 258\n");
    EXPECT_EQ(reply(0), "OK @ 1532 0\n");
    ttl[1].event = 0xffffffff;
    EXPECT_EQ(reply(13), "1532 OK @ 1532 4294967295\n"); // unsigned
}

TEST_F(Reply, unwanted_events_are_discarded_by_the_reply) {
    ttl[1].event_mask = EVENT_STONE;
    ttl[1].event = EVENT_STONE | EVENT_WALL;
    EXPECT_EQ(reply(0), "OK @ 1532 8\n");
    ttl[1].event_mask = 0xffffffff;
    EXPECT_EQ(reply(0), "OK @ 1532 0\n");
}

TEST_F(Reply, events_are_fetched_before_the_query_runs) {
    // The radar clears its asker's mark, but the reply has fetched it already.
    ttl[1].event = EVENT_SEEN | EVENT_FOUND;
    EXPECT_NE(reply(5).find("ERR @ 1532 192\n"), std::string::npos);
}

TEST_F(Reply, clock_is_printed_with_64_bits) {
    signals.elapsed_time = 18446744073709551615ull;
    EXPECT_EQ(reply(0), "OK @ 18446744073709551615 0\n");
    EXPECT_EQ(reply(13), "18446744073709551615 OK @ 18446744073709551615 0\n");
}

TEST_F(Reply, query_that_fails_still_gives_its_values) {
    ttl[1].flags = 0;
    EXPECT_EQ(reply(1), "0.000000 0.000000 ERR @ 1532 0\n");
    EXPECT_EQ(reply(2), "0.000000 ERR @ 1532 0\n");
    EXPECT_EQ(reply(11), "0 OK @ 1532 0\n");
    EXPECT_EQ(reply(12), "0 OK @ 1532 0\n");
}

TEST_F(Reply, value_too_long_is_cut_and_the_rest_follows) {
    ttl[1].event = 3;
    ttl[1].pos[0] = {-1e308, -1e308}; // 317 characters each
    const std::string r = reply(1);
    ASSERT_GT(r.size(), 512u);
    EXPECT_EQ(r.substr(0, 4), "-100");
    EXPECT_EQ(r[317], ' ');
    EXPECT_EQ(r.substr(318, 4), "-100");
    EXPECT_EQ(r.substr(r.size() - 12), "OK @ 1532 3\n");
    EXPECT_EQ(r.find('\n'), r.size() - 1);
}

TEST_F(Reply, nan_and_infinity_are_printed) {
    ttl[1].pos[0] = {INF, -INF};
    EXPECT_EQ(reply(1), "inf -inf OK @ 1532 0\n");
    ttl[1].dir = -INF;
    EXPECT_EQ(reply(2), "-inf OK @ 1532 0\n");
}
