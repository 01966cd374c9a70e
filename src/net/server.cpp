#include "net/server.h"

#include "base/log.h"
#include "base/socket.h"
#include "field/clients.h"
#include "field/state.h"
#include "field/turtles.h"
#include "net/framing.h"
#include "turtle/lifecycle.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int BACKLOG = 10;
constexpr int POLL_MICROSECONDS = 5000;

constexpr std::chrono::milliseconds ACCEPT_PAUSE{100}; // after an accept that found no descriptor or memory

using steady = std::chrono::steady_clock;

int32_t server_socket = -1;     // written once, before the thread starts
steady::time_point next_accept; // no accept before then; server thread only

// Closes the descriptor unless it was released to a table.
struct fd_guard_t {
    int fd;
    explicit fd_guard_t(int f) : fd(f) {}
    fd_guard_t(const fd_guard_t&) = delete;
    fd_guard_t& operator=(const fd_guard_t&) = delete;
    ~fd_guard_t() {
        if (fd >= 0) close(fd);
    }
    int release() {
        const int f = fd;
        fd = -1;
        return f;
    }
};

// Waits until a socket of `set` is readable, 5 ms at most. @return the number of readable ones; 0 or less: none
int wait_readable(fd_set& set, int highest) {
    timeval wait = {.tv_sec = 0, .tv_usec = POLL_MICROSECONDS};
    return select(highest + 1, &set, nullptr, nullptr, &wait);
}

int first_free_client_slot() {
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        if (client_tab[slot].sockfd < 0) return slot;
    }
    return -1;
}

void* server_thread_func(void*) {
    pthread_detach(pthread_self());
    signal(SIGPIPE, SIG_IGN); // a write to a closed client must not end the process
    while (server_socket >= 1) {
        check_connection(server_socket);
        check_client_status();
    }
    return nullptr;
}

} // namespace

int init_socket(int port) {
    fd_guard_t sock(socket(PF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP));
    if (sock.fd < 0 || sock.fd >= FD_SETSIZE) { // select cannot wait for such a descriptor
        log_line("init_socket(): cannot open TCP socket");
        return -1;
    }
    const int on = 1;
    setsockopt(sock.fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);

    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(static_cast<uint16_t>(port));
    if (bind(sock.fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        log_line("init_socket(): cannot bind to port %d", port);
        return -1;
    }
    if (listen(sock.fd, BACKLOG) < 0) {
        log_line("init_socket(): listen() failure for port %d", port);
        return -1;
    }
    for (client_t& slot : client_tab) free_client_slot(slot);
    nclient = 0;
    return sock.release();
}

void start_tcp_server(int port) {
    server_socket = init_socket(static_cast<uint16_t>(port));
    if (server_socket < 0) {
        field_set_socket_error();
        return;
    }
    pthread_t thread = {};
    if (pthread_create(&thread, nullptr, server_thread_func, nullptr) != 0) {
        log_line("start_tcp_server(): cannot start the server thread");
        field_set_socket_error();
    }
}

int64_t accept_pause() {
    const steady::time_point now = steady::now();
    return now < next_accept ? std::chrono::nanoseconds(next_accept - now).count() : 0;
}

int accept_connection(int listen_sock) {
    sockaddr_in peer = {};
    socklen_t size = sizeof peer;
    fd_guard_t sock(accept4(listen_sock, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_CLOEXEC));
    if (sock.fd < 0) {
        // The client stays in the queue, and accept would be tried again at once, for ever.
        const bool short_of_something = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
        if (short_of_something) next_accept = steady::now() + ACCEPT_PAUSE;
        log_line("accept_connection(): accept() failure");
        return -1;
    }
    if (nclient >= MAX_CLIENT) {
        log_line("accept_connection(): reaches MAX_CLIENT");
        return -1;
    }
    // The log prints ports in network byte order.
    char address[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &peer.sin_addr, address, sizeof address);
    if (signals.accept_only_localhost && peer.sin_addr.s_addr != htonl(INADDR_LOOPBACK)) {
        log_line("accept_connection(): reject connection from %s %d", address, peer.sin_port);
        return -1;
    }
    if (sock.fd >= FD_SETSIZE) {
        log_line("accept_connection(): too many open files");
        return -1;
    }
    log_line("handling client from %s %d", address, peer.sin_port);

    const int on = 1;
    setsockopt(sock.fd, IPPROTO_TCP, TCP_NODELAY, &on,
               sizeof on); // no wait for acknowledgements
    watch_peer(sock.fd);
    const int slot = first_free_client_slot();
    if (slot < 0) return -1;

    // A frame may be in progress: the new turtle must not appear, nor the slot be filled, in the middle of it.
    const std::lock_guard lock(frame_rendering_mutex);
    const int turtle = generate_turtle(slot, 0);
    if (turtle < 0) return -1;
    client_t& c = client_tab[slot];
    free_client_slot(c);
    c.sockfd = sock.release();
    c.peer_addr = {.ip = peer.sin_addr.s_addr, .port = peer.sin_port};
    c.turtle_id = turtle;
    ++nclient;
    return c.sockfd;
}

int check_connection(int listen_sock) {
    fd_set set;
    FD_ZERO(&set);
    if (accept_pause() > 0) { // connected clients are still served
        wait_readable(set, -1);
        return 0;
    }
    FD_SET(listen_sock, &set);
    if (wait_readable(set, listen_sock) > 0 && FD_ISSET(listen_sock, &set)) accept_connection(listen_sock);
    return 0;
}

int check_client_status() {
    fd_set set;
    FD_ZERO(&set);
    int highest = -1;
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        client_t& c = client_tab[slot];
        if (c.sockfd <= 0) continue;
        if (std::atomic_ref(c.disconnect_request).load() != 0) {
            const std::lock_guard lock(frame_rendering_mutex);
            disconnect_client(slot);
            continue;
        }
        FD_SET(c.sockfd, &set);
        highest = std::max(highest, c.sockfd);
    }
    if (wait_readable(set, highest) <= 0) return 0;

    const std::lock_guard lock(frame_rendering_mutex);
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        const client_t& c = client_tab[slot];
        if (c.sockfd < 0 || !FD_ISSET(c.sockfd, &set) || c.frame_cmd_count != 0) continue;
        if (receive_client_packet(slot) < 1) {
            // The remaining slots are served in the next pass.
            make_zombie(c.turtle_id);
            disconnect_client(slot);
            return 0;
        }
        try_to_exec(slot);
        turn_away_http(slot);
    }
    return 0;
}

bool turn_away_http(int slot) {
    if (!is_http_request(slot)) return false;
    const client_t& c = client_tab[slot];
    char address[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &c.peer_addr.ip, address, sizeof address);
    log_line("turning away an HTTP request from %s %d", address, c.peer_addr.port);
    turtle_leave(c.turtle_id, slot);
    disconnect_client(slot);
    return true;
}

void disconnect_client(int slot) {
    if (slot < 0 || slot >= MAX_CLIENT || client_tab[slot].sockfd < 0) return;
    client_t& c = client_tab[slot];
    char address[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &c.peer_addr.ip, address, sizeof address);
    // The log prints ports in network byte order.
    log_line("closing connection from %s %d", address, c.peer_addr.port);
    close(c.sockfd);
    free_client_slot(c);
    --nclient;
}
