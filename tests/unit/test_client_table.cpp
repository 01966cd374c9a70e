// The client table: free slots, closing, requests to close, private mode, and the handshake with the frame.
#include "field/clients.h"

#include "net/server.h"
#include "support.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using ClientTable = FieldTest;

static void expect_free(const client_t& c) {
    EXPECT_EQ(c.sockfd, -1);
    EXPECT_EQ(c.turtle_id, -1);
    EXPECT_EQ(c.recv_buf[0], 0);
    EXPECT_EQ(c.recv_len, 0);
    EXPECT_EQ(c.frame_cmd_count, 0u);
    EXPECT_EQ(c.disconnect_request, 0u);
    EXPECT_EQ(c.skipping_line, 0);
    EXPECT_EQ(c.send_failed, 0);
}

static void occupy(client_t& c, int fd, int turtle) {
    c.sockfd = fd;
    c.turtle_id = turtle;
    c.recv_buf[0] = 'x';
    c.recv_buf[1] = 0;
    c.recv_len = 1;
    c.frame_cmd_count = 4;
    c.disconnect_request = 1;
    c.skipping_line = 1;
    c.send_failed = 1;
    c.peer_addr.port = 0x1234; // as stored: network order
    c.peer_addr.ip = htonl(0x7f000001);
}

TEST_F(ClientTable, ten_slots_of_512_bytes) {
    EXPECT_EQ(client_tab.size(), 10u);
    EXPECT_EQ(RECV_MAX, 512);
    EXPECT_EQ(sizeof client_tab[0].recv_buf, 513u);
}

TEST_F(ClientTable, freeing_puts_every_field_into_its_free_state) {
    occupy(client_tab[4], 12345, 6);
    free_client_slot(client_tab[4]);
    expect_free(client_tab[4]);
}

TEST_F(ClientTable, disconnecting_closes_logs_and_frees) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    put_turtle(6, 1, 2, 0, 4);
    occupy(client_tab[4], ends[0], 6);
    nclient = 3;
    testing::internal::CaptureStderr();
    disconnect_client(4);
    // The port is printed as it is stored, unconverted: 0x1234.
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "closing connection from 127.0.0.1 4660\n");
    expect_free(client_tab[4]);
    EXPECT_EQ(nclient, 2);
    char byte;
    EXPECT_EQ(recv(ends[1], &byte, 1, MSG_DONTWAIT), 0); // closed
    EXPECT_EQ(ttl[6].flags, TTL_ALIVE);                  // the turtle is not touched
    close(ends[1]);
}

TEST_F(ClientTable, disconnecting_a_free_slot_or_none_does_nothing) {
    nclient = 3;
    testing::internal::CaptureStderr();
    for (const int slot : {0, 9, -1, 10, 2147483647, -2147483647 - 1}) disconnect_client(slot);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(nclient, 3);
}

TEST_F(ClientTable, request_marks_only_the_slot_that_still_drives_the_turtle) {
    client_tab[4].sockfd = 1000;
    client_tab[4].turtle_id = 6;
    disconnect_client_for(5, 4);
    EXPECT_EQ(client_tab[4].disconnect_request, 0u);
    disconnect_client_for(6, -1);
    disconnect_client_for(6, 3);
    for (const client_t& c : client_tab) EXPECT_EQ(c.disconnect_request, 0u);
    disconnect_client_for(6, 4);
    EXPECT_EQ(client_tab[4].disconnect_request, 1u);
    EXPECT_EQ(client_tab[4].sockfd, 1000); // marked, not closed
}

TEST_F(ClientTable, toggle_of_private_mode_returns_the_new_state) {
    EXPECT_EQ(toggle_localhost_mode(), 0);
    EXPECT_EQ(signals.accept_only_localhost, 0);
    EXPECT_EQ(toggle_localhost_mode(), 1);
    EXPECT_EQ(signals.accept_only_localhost, 1);
}

TEST_F(ClientTable, end_of_a_frame_clears_all_pacing_counts) {
    for (client_t& c : client_tab) c.frame_cmd_count = 7;
    rendering_started();
    for (const client_t& c : client_tab) EXPECT_EQ(c.frame_cmd_count, 7u);
    rendering_is_done();
    for (const client_t& c : client_tab) EXPECT_EQ(c.frame_cmd_count, 0u);
}

TEST_F(ClientTable, frame_holds_the_lock_from_start_to_end) {
    auto free_elsewhere = [] {
        bool got = false;
        std::thread([&] {
            got = frame_rendering_mutex.try_lock();
            if (got) frame_rendering_mutex.unlock();
        }).join();
        return got;
    };
    EXPECT_TRUE(free_elsewhere());
    rendering_started();
    EXPECT_FALSE(free_elsewhere());
    rendering_is_done();
    EXPECT_TRUE(free_elsewhere());
}
