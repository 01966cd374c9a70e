// Bytes to lines: separators, split packets, hostile bytes and over-long lines, over a pair of connected sockets.
#include "net/framing.h"

#include "support.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

// Slot 0 drives turtle 0 and holds one end of the pair; the test is the peer.
struct Framing : FieldTest {
    int peer = -1;
    std::string heard;
    void SetUp() override {
        FieldTest::SetUp();
        put_turtle(0, 0, 0);
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        client_tab[0].sockfd = ends[0];
        client_tab[0].turtle_id = 0;
        nclient = 1;
        peer = ends[1];
        fcntl(peer, F_SETFL, O_NONBLOCK);
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
    }
    void TearDown() override {
        close(peer);
        if (client_tab[0].sockfd >= 0) close(client_tab[0].sockfd);
        for (client_t& c : client_tab) free_client_slot(c);
        nclient = 0;
    }
    // Sends the bytes in pieces of `piece` and serves the slot after each until it has read everything.
    void send_in_pieces(const std::string& bytes, size_t piece) {
        for (size_t at = 0; at < bytes.size(); at += piece) {
            const size_t n = std::min(piece, bytes.size() - at);
            ASSERT_EQ(send(peer, bytes.data() + at, n, 0), static_cast<ssize_t>(n));
            for (size_t left = n; left > 0;) {
                const int got = receive_client_packet(0);
                ASSERT_GT(got, 0);
                ASSERT_LE(got, 512);
                left -= static_cast<size_t>(got);
                try_to_exec(0);
                listen_in();
                ASSERT_GE(client_tab[0].recv_len, 0);
                ASSERT_LE(client_tab[0].recv_len, 512);
                ASSERT_EQ(client_tab[0].recv_buf[client_tab[0].recv_len], 0);
            }
        }
    }
    void listen_in() {
        char buf[4096];
        for (ssize_t n; (n = recv(peer, buf, sizeof buf, 0)) > 0;) heard.append(buf, static_cast<size_t>(n));
    }
    // All replies since the last call.
    std::string replies() {
        listen_in();
        return std::exchange(heard, "");
    }
    std::string talk(const std::string& bytes, size_t piece = 4096) {
        send_in_pieces(bytes, piece);
        return replies();
    }
    static double x() { return ttl[0].pos[0].x; }
};
static const std::string OK_LINE = "OK @ 0 0\n";

TEST_F(Framing, two_commands_in_one_packet_give_two_replies) {
    EXPECT_EQ(talk("f 10;t l 90;"), OK_LINE + OK_LINE);
    EXPECT_EQ(x(), 10);
    EXPECT_EQ(ttl[0].dir, 90);
}

TEST_F(Framing, replies_come_in_order) {
    EXPECT_EQ(talk("f 3\nq p\nbogus?\na\nq d\n"),
              "OK @ 0 0\n3.000000 0.000000 OK @ 0 0\nOK @ 0 0\nERR @ 0 0\n0.000000 OK @ 0 0\n");
}

TEST_F(Framing, command_split_over_packets_runs_once_at_its_end) {
    EXPECT_EQ(talk("f 1"), "");
    EXPECT_EQ(x(), 0);
    EXPECT_EQ(talk("0"), "");
    EXPECT_EQ(talk("\n"), OK_LINE);
    EXPECT_EQ(x(), 10);
    EXPECT_EQ(client_tab[0].recv_len, 0);
}

TEST_F(Framing, tail_of_a_packet_waits_for_its_end) {
    EXPECT_EQ(talk("f 1\nf 2\nf 3"), OK_LINE + OK_LINE);
    EXPECT_EQ(x(), 3);
    EXPECT_EQ(talk("0;f"), OK_LINE);
    EXPECT_EQ(x(), 33);
}

TEST_F(Framing, carriage_returns_are_dropped) {
    EXPECT_EQ(talk("f 10\r\nf 5\r\n"), OK_LINE + OK_LINE);
    EXPECT_EQ(x(), 15);
    EXPECT_EQ(talk("f 1\r0\n"), OK_LINE); // in the middle too
    EXPECT_EQ(x(), 25);
    EXPECT_EQ(talk("f 10\r"), ""); // and end nothing
}

TEST_F(Framing, leading_blanks_are_skipped_and_inner_ones_kept) {
    EXPECT_EQ(talk("   f 10\n"), OK_LINE);
    EXPECT_EQ(x(), 10);
    EXPECT_EQ(talk(" u  two  blanks \n"), OK_LINE);
    EXPECT_STREQ(teams[0].message, "two  blanks ");
}

TEST_F(Framing, empty_lines_get_no_reply) {
    EXPECT_EQ(talk("\n\n;;;\r\n   \n \t \n;\t\r;\x01\x7f\n").size(), OK_LINE.size() + 1); // 0x7f is printable: one ERR
    EXPECT_EQ(talk("\n \n\r\n\t\n;;"), "");
}

TEST_F(Framing, separators_other_than_line_ends_are_dropped_and_end_nothing) {
    const std::string dropped[] = {"\t", "\x01", "\x1f", "\x80", "\xff", "\xe3\x81\x82", std::string(1, '\0')};
    double expected = 0;
    for (const std::string& d : dropped) {
        EXPECT_EQ(talk(d + "f" + d + " 1" + d + "0" + d + "\n"), OK_LINE);
        EXPECT_EQ(x(), expected += 10);
    }
    EXPECT_EQ(talk("f\t10\n"), OK_LINE); // one word: no distance
    EXPECT_EQ(x(), expected);
}

TEST_F(Framing, pieces_of_any_size_give_the_same) {
    const std::string text =
        " f 10;;t l 90\r\nf 5\n\xff\n q\tp\n n 42 6f;a;u hi there\n q p;" + std::string("f\0 1\n", 5) + "   \n.\n";
    std::string whole;
    for (const size_t piece : {4096u, 1u, 2u, 3u, 5u, 7u, 13u}) {
        TearDown();
        SetUp();
        const std::string got = talk(text, piece);
        if (whole.empty()) whole = got;
        EXPECT_EQ(got, whole) << piece;
        EXPECT_STREQ(ttl[0].name, "Bo");
    }
    // f, t, f, qp (no sub-letter: an error), n, a (an error), u, q p, f, and the ping; 255 alone is nothing.
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 10);
}

TEST_F(Framing, all_commands_of_one_packet_run_although_they_pace) {
    EXPECT_EQ(talk("f 1\nf 1\nf 1\n"), OK_LINE + OK_LINE + OK_LINE);
    EXPECT_EQ(client_tab[0].frame_cmd_count, 3u);
}

TEST_F(Framing, receive_reports_closed_and_waiting_peers) {
    EXPECT_LT(receive_client_packet(0), 0); // nothing there: the non-blocking socket returns an error
    send(peer, "abc", 3, 0);
    EXPECT_EQ(receive_client_packet(0), 3);
    EXPECT_STREQ(client_tab[0].recv_buf, "abc");
    EXPECT_EQ(client_tab[0].recv_len, 3);
    send(peer, "de", 2, 0);
    EXPECT_EQ(receive_client_packet(0), 2);
    EXPECT_STREQ(client_tab[0].recv_buf, "abcde");
    shutdown(peer, SHUT_WR);
    EXPECT_EQ(receive_client_packet(0), 0);
    EXPECT_EQ(client_tab[0].recv_len, 5);
}

TEST_F(Framing, packet_that_does_not_fit_is_not_lost) {
    std::string many;
    for (int k = 0; k < 1000; ++k) many += "f 1\n"; // 4000 bytes, read in eight parts
    const std::string got = talk(many);
    EXPECT_EQ(std::count(got.begin(), got.end(), '\n'), 1000);
    EXPECT_EQ(x(), 1000);
}

// "f " and digits: `zeros` zeros, then the digits given.
static std::string step_line(size_t bytes, const std::string& digits) {
    return "f " + std::string(bytes - 2 - digits.size(), '0') + digits;
}

TEST_F(Framing, line_of_511_bytes_is_whole) {
    for (const size_t piece : {4096u, 1u, 100u, 511u, 512u}) {
        ttl[0].pos[0].x = 0;
        EXPECT_EQ(talk(step_line(510, "12") + "\n", piece), OK_LINE);
        EXPECT_EQ(x(), 12);
        EXPECT_EQ(talk(step_line(511, "12") + "\n", piece), OK_LINE);
        EXPECT_EQ(x(), 24);
    }
}

TEST_F(Framing, line_of_512_bytes_runs_once) {
    for (const size_t piece : {4096u, 1u, 100u, 511u, 512u}) {
        ttl[0].pos[0].x = 0;
        EXPECT_EQ(talk(step_line(512, "12") + "\n", piece), OK_LINE);
        EXPECT_TRUE(x() == 1 || x() == 12) << x();
    }
}

TEST_F(Framing, longer_line_keeps_its_first_511_bytes_and_runs_once) {
    for (const size_t piece : {4096u, 1u, 100u, 511u, 512u, 513u})
        for (const size_t more : {2u, 3u, 500u, 511u, 512u, 513u, 1024u, 3000u}) {
            ttl[0].pos[0].x = 0;
            // The 511th byte is the digit 7; all that follows would make the number larger.
            const std::string line = step_line(511, "7") + std::string(more, '9');
            EXPECT_EQ(talk(line + "\n", piece), OK_LINE) << piece << " " << more;
            EXPECT_EQ(x(), 7) << piece << " " << more;
            EXPECT_EQ(talk("f 1;", piece), OK_LINE); // the next line is intact
            EXPECT_EQ(x(), 8);
        }
}

TEST_F(Framing, rest_of_an_over_long_line_ends_at_a_semicolon_too) {
    EXPECT_EQ(talk(step_line(511, "7") + std::string(600, '9') + ";f 1;f 1\n"), OK_LINE + OK_LINE + OK_LINE);
    EXPECT_EQ(x(), 9);
}

TEST_F(Framing, dropped_bytes_cannot_fill_the_buffer) {
    for (const std::string& filler : {std::string(5000, '\n'), std::string(5000, ' '), std::string(5000, '\r'),
                                      std::string(5000, '\xff'), std::string(5000, '\0')}) {
        ttl[0].pos[0].x = 0;
        EXPECT_EQ(talk(filler), "");
        EXPECT_EQ(talk("f 10\n"), OK_LINE);
        EXPECT_EQ(x(), 10);
    }
}

TEST_F(Framing, dropped_bytes_inside_a_line_cannot_block_it) {
    EXPECT_EQ(talk("f 1" + std::string(5000, '\t') + "0\n"), OK_LINE);
    EXPECT_EQ(talk("f 1\n").substr(0, 3), "OK "); // is still served
}

TEST_F(Framing, random_bytes_keep_the_buffer_consistent) {
    srandom(3);
    testing::internal::CaptureStderr();
    for (int k = 0; k < 300; ++k) {
        std::string bytes(static_cast<size_t>(random() % 1500), '\0');
        for (char& c : bytes) {
            c = static_cast<char>(random());
            if (random() % 40 == 0) c = '\n';
        }
        send_in_pieces(bytes, static_cast<size_t>(random() % 700 + 1));
        const std::string got = replies();
        ASSERT_TRUE(got.empty() || got.back() == '\n');
    }
    testing::internal::GetCapturedStderr();
}

TEST_F(Framing, peer_that_does_not_read_is_disconnected_and_never_waited_for) {
    int served = 0;
    for (; served < 100000 && client_tab[0].send_failed == 0; ++served) {
        ASSERT_EQ(send(peer, "f 1\n", 4, 0), 4);
        ASSERT_EQ(receive_client_packet(0), 4);
        try_to_exec(0);
    }
    EXPECT_EQ(client_tab[0].send_failed, 1); // the replies filled the socket's buffer
    EXPECT_EQ(x(), served);                  // the command was executed nevertheless
    EXPECT_LT(receive_client_packet(0), 1);  // which ends the client
    std::string got = replies();
    ASSERT_FALSE(got.empty());
    EXPECT_EQ(got.substr(got.rfind('O')), OK_LINE); // whole lines only
    EXPECT_EQ(recv(peer, got.data(), 1, 0), 0);     // closed
}

TEST_F(Framing, replies_after_a_failed_one_are_dropped) {
    shutdown(client_tab[0].sockfd, SHUT_WR); // no reply can be sent; SIGPIPE must not end the process
    send(peer, "f 1\nf 1\n", 8, 0);
    EXPECT_EQ(receive_client_packet(0), 8);
    try_to_exec(0);
    EXPECT_EQ(x(), 2);
    EXPECT_LT(receive_client_packet(0), 1);
}

TEST_F(Framing, input_that_waits_behind_a_failed_reply_is_never_run) {
    send(peer, "f 1\nf 1\n", 8, 0);
    client_tab[0].send_failed = 1;
    EXPECT_LT(receive_client_packet(0), 1); // although eight bytes wait
    EXPECT_EQ(client_tab[0].recv_len, 0);
    EXPECT_EQ(x(), 0);
}

TEST_F(Framing, peer_that_leaves_in_an_over_long_line_is_noticed) {
    talk("q a" + std::string(600, 'x'));
    EXPECT_EQ(client_tab[0].skipping_line, 1);
    shutdown(peer, SHUT_WR);
    EXPECT_EQ(receive_client_packet(0), 0);
    EXPECT_EQ(replies(), ""); // an unfinished line is not run
}

TEST_F(Framing, echo_sends_back_what_came) {
    send(peer, "hello", 5, 0);
    EXPECT_EQ(read_and_write_back(client_tab[0].sockfd), 5);
    EXPECT_EQ(replies(), "hello");
    const std::string much(3000, 'x');
    send(peer, much.data(), much.size(), 0);
    EXPECT_EQ(read_and_write_back(client_tab[0].sockfd), 2048);
    EXPECT_EQ(read_and_write_back(client_tab[0].sockfd), 952);
    EXPECT_EQ(replies(), much);
    shutdown(peer, SHUT_WR);
    EXPECT_EQ(read_and_write_back(client_tab[0].sockfd), 0);
}
