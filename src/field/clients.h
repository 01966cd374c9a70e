// The client table, and the lock that the frame and the server thread hold in turn.
// frame_rendering_mutex guards every table of the field: the window thread holds it for a whole frame, the server
// thread for a whole pass of commands. Slots are filled and freed by the server thread with the lock held.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <type_traits>

inline constexpr int MAX_CLIENT = 10;
inline constexpr int RECV_MAX = 512; // bytes of input that a slot can hold unexecuted

// An IPv4 address as the socket gave it, network byte order.
struct peer_addr_t {
    uint32_t ip;
    uint16_t port;
};

// What a connection's first line is, as far as known: see net/request_line.
enum class first_line_state : uint8_t {
    nothing_yet, // but separators
    method,      // this and the next: still possibly an HTTP request line
    before_target,
    path, // a target that begins with "/"
    target,
    before_protocol,
    protocol,
    before_version,
    version,
    after_version,
    command,      // not an HTTP request line: lines are commands from now on
    http_request, // an HTTP request line: nothing is executed
};

struct first_line_t {
    first_line_state state;
    uint8_t position;  // in the method word or in "HTTP/"
    uint16_t methods;  // bits of the method words that are possible still
    int32_t looked_at; // bytes of recv_buf that have been read already
};

struct client_t {
    int32_t sockfd;              // connected socket; -1 = free
    peer_addr_t peer_addr;       // who connected
    int32_t turtle_id;           // index in ttl; -1 = none
    char recv_buf[RECV_MAX + 1]; // text not executed yet, terminated
    int32_t recv_len;            // bytes held in recv_buf
    uint32_t frame_cmd_count;    // pacing commands executed since the last frame was finished
    uint32_t disconnect_request; // set by either thread through std::atomic_ref; a stale read closes one pass late
    int32_t skipping_line;       // 1 while the rest of an over-long line is being dropped; server thread only
    first_line_t first_line;     // server thread only
    int32_t send_failed;         // 1 once a reply could not be sent: the next receive disconnects the client
};
static_assert(std::is_trivially_copyable_v<client_t>);

extern std::array<client_t, MAX_CLIENT> client_tab;
extern int32_t nclient; // occupied slots; server thread only
extern std::mutex frame_rendering_mutex;

/// Puts a slot into its free state without closing anything.
void free_client_slot(client_t& slot);

/// Asks the server thread to close slot `slot` if it still drives turtle `turtle`. Caller holds the lock.
void disconnect_client_for(int turtle, int slot);

/// Toggles between "127.0.0.1 only" (true) and "everybody" (false). @return the new value
bool toggle_localhost_mode();

/// Start of a frame: locks frame_rendering_mutex; rendering_is_done unlocks it.
void rendering_started();

/// End of a frame: every client may send pacing commands again; unlocks the mutex that rendering_started locked.
void rendering_is_done();
