// The web viewer's server. The accepting thread and the connection threads share nothing but http_connections and the
// field's own words; every socket is closed by the thread that owns it, on every path.
#include "httpd/http_server.h"

#include "base/descriptors.h"
#include "base/log.h"
#include "base/socket.h"
#include "field/state.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <strings.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

int httpsock = -1;
std::atomic<int> http_connections{0};

namespace {

using steady = std::chrono::steady_clock;

constexpr char SERVER_LINE[] = "Server: Kelmora/0.1\r\n";
constexpr char NOT_FOUND_PAGE[] =
    "<html><head><title>404 Not Found</title></head><body><h2>404 Not Found</h2><h3>The document requested was not "
    "found.</h3></body></html>\n";
constexpr char CONNECTION_HEADER[] = "Connection:";
constexpr char CLOSE_HEADER[] = "Connection: close";

// One browser is answered at a time, however many ask, so that together they use at most one processor. A thread that
// waits for its peer lets others go on meanwhile.
std::mutex turn_mutex;
thread_local bool has_turn;

void take_turn() {
    turn_mutex.lock();
    has_turn = true;
}

void leave_turn() {
    has_turn = false;
    turn_mutex.unlock();
}

// How long a send on this socket may wait without any progress, as for poll.
int patience_of(int sock) {
    timeval patience{};
    socklen_t size = sizeof patience;
    if (getsockopt(sock, SOL_SOCKET, SO_SNDTIMEO, &patience, &size) != 0) return 0;
    if (patience.tv_sec == 0 && patience.tv_usec == 0) return -1; // for ever
    return static_cast<int>(patience.tv_sec * 1000 + patience.tv_usec / 1000);
}

// Sends with one call, and with more only when the peer's buffer is full. @return `length`, or less than 0
ssize_t send_all(int sock, const void* data, size_t length, int flags) {
    const char* const bytes = static_cast<const char*>(data);
    for (size_t done = 0; done < length;) {
        const ssize_t sent = send(sock, bytes + done, length - done, flags | MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            done += static_cast<size_t>(sent);
            continue;
        }
        if (errno == EINTR) continue;
        if (errno != EAGAIN) return -1;
        const bool had_turn = has_turn;
        if (had_turn) leave_turn();
        pollfd room{.fd = sock, .events = POLLOUT, .revents = 0};
        const int ready = poll(&room, 1, patience_of(sock));
        if (had_turn) take_turn();
        if (ready == 0) return -1;
    }
    return static_cast<ssize_t>(length);
}

// Starts a thread whose argument is a malloc'ed int. @return 0; otherwise the argument is freed
int start_thread(void* (*body)(void*), int value) {
    int* const arg = static_cast<int*>(malloc(sizeof(int)));
    if (arg == nullptr) return -1;
    *arg = value;
    pthread_t thread;
    if (pthread_create(&thread, nullptr, body, arg) == 0) return 0;
    free(arg);
    return -1;
}

int take_argument(void* arg) {
    const int value = *static_cast<int*>(arg);
    free(arg);
    return value;
}

// A response is several small sends: without the first option each would wait for the peer's delayed acknowledgement.
// Without the second a peer that never reads would block its thread for ever.
void set_connection_options(int sock) {
    const int on = 1;
    setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    timeval patience{};
    patience.tv_sec = SEND_PATIENCE.count();
    setsockopt(sock, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    watch_peer(sock);
}

// How many connections are allowed, so that accepting one more never fails for lack of a descriptor.
int connection_limit() { return std::clamp(free_descriptors() - DESCRIPTORS_KEPT, 1, HTTP_CONNECTION_MAX); }

// Accepts one connection and passes it to a thread; closes it when there are `most` already. @return 0 to go on; -1 to
// end the accepting thread
int accept_viewer(int most) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    const int sock = accept(httpsock, reinterpret_cast<sockaddr*>(&peer), &size);
    if (sock < 0) {
        log_line("cannot accept connection");
        return -1;
    }
    char address[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &peer.sin_addr, address, sizeof address);
    if (signals.private_mode && peer.sin_addr.s_addr != htonl(INADDR_LOOPBACK)) {
        // The log prints ports in network byte order.
        log_line("accept_connection(): reject connection from %s %d", address, peer.sin_port);
        close(sock);
        return -1;
    }
    if (http_connections.load() >= most) {
        log_line("httpd: too many connections, closing the one from %s", address);
        close(sock);
        return 0;
    }
    log_line("http connected from %s %d", address, sock);
    set_connection_options(sock);
    ++http_connections;
    if (start_thread(handle_connection, sock) == 0) return 0;
    --http_connections;
    log_line("error creating new thread for handle_connection()");
    close(sock);
    return -1;
}

// Lowers the priority of this thread and of those it starts below the field and the programs. On Linux each thread has
// its own nice value.
void yield_to_the_field() {
    const int others = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid())); // of the main thread
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), others + BROWSER_NICE);
}

void accept_viewers() {
    yield_to_the_field();
    const int most = connection_limit();
    while (accept_viewer(most) == 0) {
    }
}

// The accepting thread for a socket that is already listening, passed in `arg` as httpd's port is.
void* accepting_thread(void* arg) {
    httpsock = take_argument(arg);
    pthread_detach(pthread_self());
    accept_viewers();
    return nullptr;
}

// Sends one header line. @return whether all of it was sent
bool send_line(int sock, const char* text, bool more_follows = true) {
    return send_data(sock, text, more_follows) == static_cast<int>(strlen(text));
}

bool send_length_line(int sock, int length) {
    char line[64];
    snprintf(line, sizeof line, "Content-Length: %d\r\n", length);
    return send_line(sock, line);
}

int send_not_found(int sock, int method, int keep_alive) {
    bool sent = send_line(sock, "HTTP/1.1 404 Not Found\r\n") && send_line(sock, SERVER_LINE);
    if (method == METHOD_GET)
        sent = sent && send_line(sock, "Content-Type: text/html; charset=iso-8859-1\r\n") &&
               send_length_line(sock, sizeof NOT_FOUND_PAGE - 1) && send_line(sock, "\r\n") &&
               send_line(sock, NOT_FOUND_PAGE);
    // After a page this line is beyond the declared length.
    sent = sent && send_line(sock, "\r\n", false);
    return sent ? keep_alive : -1;
}

// Sends the body in pieces. @return whether all of it was sent
bool send_body(int sock, const unsigned char* data, int length) {
    for (int done = 0; done < length;) {
        const int piece = std::min(length - done, BODY_PIECE_BYTES);
        const int more = done + piece < length ? MSG_MORE : 0;
        if (send_all(sock, data + done, static_cast<size_t>(piece), more) < 0) {
            log_line("error sending data to client");
            return false;
        }
        done += piece;
    }
    return true;
}

} // namespace

int open_viewer_socket(int port) {
    const int sock = socket(AF_INET, SOCK_STREAM, 0);
    if (sock < 0) {
        log_line("cannot create socket");
        return -1;
    }
    const int on = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(static_cast<uint16_t>(port));
    const bool bound = bind(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (bound && listen(sock, HTTP_BACKLOG) == 0) return sock;
    log_line("httpd(): cannot %s port %d", bound ? "listen to" : "bind to", port);
    field_set_socket_error();
    close(sock);
    return -1;
}

void start_httpd(int port) {
    if (start_thread(httpd, port) == 0) return;
    log_line("start_httpd(): cannot create thread");
    field_set_socket_error();
}

bool serve_viewers(int sock) {
    if (start_thread(accepting_thread, sock) == 0) return true;
    log_line("serve_viewers(): cannot create thread");
    return false;
}

void* httpd(void* arg) {
    const int port = take_argument(arg);
    pthread_detach(pthread_self());
    const int sock = open_viewer_socket(port);
    if (sock < 0) return nullptr;
    httpsock = sock;
    log_line("httpd: listening for connections on port %d...", port);
    accept_viewers();
    return nullptr;
}

void* handle_connection(void* arg) {
    const int sock = take_argument(arg);
    signal(SIGPIPE, SIG_IGN);
    pthread_detach(pthread_self());
    serve_requests(sock, IDLE_BUDGET);
    shutdown(sock, SHUT_RDWR); // may fail when the peer has closed; the socket is closed anyway
    if (close(sock) < 0) log_line("error closing client socket");
    --http_connections;
    return nullptr;
}

void serve_requests(int sock, std::chrono::nanoseconds idle_budget) {
    std::chrono::nanoseconds left = idle_budget;
    do {
        pollfd waiting{.fd = sock, .events = POLLIN, .revents = 0};
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timespec timeout{.tv_sec = seconds.count(), .tv_nsec = (left - seconds).count()};
        const auto before = steady::now();
        if (ppoll(&waiting, 1, &timeout, nullptr) < 1 || (waiting.revents & POLLNVAL) != 0) return;
        const std::chrono::nanoseconds waited = steady::now() - before;
        left = std::max(left - waited, std::chrono::nanoseconds::zero());
    } while (handle_request(sock) > 0);
}

int handle_request(int sock) {
    char packet[REQUEST_MAX + 1];
    const int received = static_cast<int>(recv(sock, packet, REQUEST_MAX, 0));
    if (received <= 0) return received;
    packet[received] = '\0';

    // A line ends at a line feed. Only one header matters; the last of several counts.
    const char* request_line = nullptr;
    const char* connection = "";
    int start = 0;
    for (int i = 0; i < received; ++i) {
        if (packet[i] != '\n') continue;
        packet[i] = '\0';
        if (i >= 2 && packet[i - 1] == '\r') packet[i - 1] = '\0';
        const char* const line = packet + start;
        if (request_line == nullptr)
            request_line = line;
        else if (strncmp(line, CONNECTION_HEADER, sizeof CONNECTION_HEADER - 1) == 0)
            connection = line;
        start = i + 1;
    }
    if (request_line == nullptr) return -1;

    const int keep_alive = strncmp(connection, CLOSE_HEADER, sizeof CLOSE_HEADER - 1) == 0 ? -1 : 1;
    const int method = get_method(request_line);
    if (method == METHOD_UNKNOWN) return -1;
    take_turn();
    http_content_t* const content = match_request(request_line);
    const int result = send_response(sock, method, content, keep_alive);
    free_container(content);
    leave_turn();
    return result;
}

int send_response(int sock, int method, const http_content_t* content, int keep_alive) {
    if (content == nullptr) return send_not_found(sock, method, keep_alive);
    const bool with_body = method == METHOD_GET;
    char type_line[64];
    snprintf(type_line, sizeof type_line, "Content-Type: %s\r\n", get_mimetype(content->mime_kind));
    // All but the last send may be delayed (MSG_MORE), so that a response needs few packets.
    const bool sent = send_line(sock, "HTTP/1.1 200 OK\r\n") && send_line(sock, type_line) &&
                      (!with_body || send_length_line(sock, content->length)) &&
                      send_line(sock, "Connection: Keep-Alive\r\n") && send_line(sock, SERVER_LINE) &&
                      send_line(sock, "\r\n", with_body) &&
                      (!with_body || send_body(sock, content->data, content->length));
    return sent ? keep_alive : -1;
}

int send_data(int sock, const char* text, bool more_follows) {
    const int result = static_cast<int>(send_all(sock, text, strlen(text), more_follows ? MSG_MORE : 0));
    if (result < 0) log_line("error sending data to client");
    return result;
}

int get_method(const char* line) {
    if (strnlen(line, 3) < 3) return METHOD_UNKNOWN;
    if (strncasecmp(line, "GET", 3) == 0) return METHOD_GET;
    if (strncasecmp(line, "HEAD", 4) == 0) return METHOD_HEAD;
    return METHOD_UNKNOWN;
}

const char* get_mimetype(int32_t kind) {
    switch (kind) {
    case MIME_HTML:
        return "text/html";
    case MIME_PNG:
        return "image/png";
    case MIME_CSS:
        return "text/css";
    case MIME_JSON:
        return "application/json";
    default:
        return "text/plain";
    }
}

http_content_t* match_request(const char* line) {
    char target[TARGET_SCAN_MAX + 1];
    int length = 0;
    bool inside = false;
    for (int i = 0; i < TARGET_SCAN_MAX && line[i] != '\0'; ++i) {
        if (inside) target[length++] = line[i];
        if (line[i] != ' ') continue;
        if (inside) break;
        inside = true;
    }
    if (length > 0 && target[length - 1] == ' ') --length;
    target[length] = '\0';
    return generate_content(target[0] == '/' ? target + 1 : target);
}
