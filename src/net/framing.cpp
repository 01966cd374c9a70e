#include "net/framing.h"

#include "field/clients.h"
#include "game/invariants.h"
#include "net/command.h"
#include "net/reply.h"
#include "net/request_line.h"

#include <cstring>
#include <sys/socket.h>

namespace {

bool ends_line(char b) { return b == '\n' || b == ';'; }

// A line consists of printable bytes; control characters and bytes from 128 are dropped without ending it.
bool belongs_to_line(char b) { return static_cast<signed char>(b) >= ' ' && b != ';'; }

bool is_told(const first_line_t& line) {
    return line.state == first_line_state::command || line.state == first_line_state::http_request;
}

// Examines the bytes received of the connection's first line, dropping bytes that are not part of a line. A line that
// fills the buffer while still undecided is cut like any other, but not one that would be several commands.
// @return whether lines may be executed
bool first_line_is_command(client_t& c) {
    first_line_t& line = c.first_line;
    int kept = line.looked_at;
    bool several = memchr(c.recv_buf, ';', static_cast<size_t>(kept)) != nullptr;
    for (int p = line.looked_at; p < c.recv_len; ++p) {
        const char b = c.recv_buf[p];
        if (!is_told(line)) {
            read_first_line(line, b);
            const bool dropped = !belongs_to_line(b) && !ends_line(b);
            if (dropped || line.state == first_line_state::nothing_yet) continue;
            several = several || b == ';';
        }
        c.recv_buf[kept++] = b;
    }
    c.recv_len = kept;
    c.recv_buf[kept] = '\0';
    if (!is_told(line) && kept == RECV_MAX) {
        if (several) line.state = first_line_state::http_request;
        c.recv_buf[--c.recv_len] = '\0'; // room for the byte that will end the line
        c.skipping_line = 1;
    }
    line.looked_at = c.recv_len;
    return line.state == first_line_state::command;
}

// Drops the rest of an over-long line up to its end. The end itself is put into the buffer, which completes the line.
int receive_rest_of_long_line(client_t& c) {
    char packet[RECV_MAX];
    ssize_t n = recv(c.sockfd, packet, sizeof packet, MSG_PEEK);
    if (n <= 0) return static_cast<int>(n);
    ssize_t end = 0;
    while (end < n && !ends_line(packet[end])) read_first_line(c.first_line, packet[end++]);
    if (end < n) {
        c.recv_buf[c.recv_len++] = packet[end];
        c.recv_buf[c.recv_len] = '\0';
        c.skipping_line = 0;
        n = end + 1;
    }
    return static_cast<int>(recv(c.sockfd, packet, static_cast<size_t>(n), 0));
}

// Keeps the unfinished line at the start of the buffer, without bytes that would be dropped from it anyway, so that
// separators alone can never fill the buffer. A line that fills it is cut.
void keep_unfinished_line(client_t& c) {
    int kept = 0;
    for (int p = 0; p < c.recv_len; ++p) {
        const char b = c.recv_buf[p];
        if (!belongs_to_line(b) || (b == ' ' && kept == 0)) continue;
        c.recv_buf[kept++] = b;
    }
    if (kept == RECV_MAX) {
        --kept; // room for the byte that will end the line
        c.skipping_line = 1;
    }
    c.recv_len = kept;
    c.recv_buf[kept] = '\0';
}

} // namespace

int receive_bytes(int slot) {
    client_t& c = client_tab[slot];
    if (c.skipping_line != 0) return receive_rest_of_long_line(c);
    char packet[RECV_MAX];
    const ssize_t n = recv(c.sockfd, packet, static_cast<size_t>(RECV_MAX - c.recv_len), 0);
    if (n > 0) {
        memcpy(c.recv_buf + c.recv_len, packet, static_cast<size_t>(n));
        c.recv_len += static_cast<int32_t>(n);
        c.recv_buf[c.recv_len] = '\0';
    }
    return static_cast<int>(n);
}

int receive_client_packet(int slot) { return client_tab[slot].send_failed != 0 ? 0 : receive_bytes(slot); }

bool take_line(int slot, char* line) {
    client_t& c = client_tab[slot];
    if (c.first_line.state != first_line_state::command && !first_line_is_command(c)) return false;
    int length = 0;
    for (int p = 0; p < c.recv_len; ++p) {
        const char b = c.recv_buf[p];
        if (belongs_to_line(b)) {
            if (b == ' ' && length == 0) continue;
            if (length < LINE_MAX_BYTES - 1) line[length++] = b;
        } else if (ends_line(b) && length > 0) {
            line[length] = '\0';
            c.recv_len -= p + 1;
            memmove(c.recv_buf, c.recv_buf + p + 1, static_cast<size_t>(c.recv_len) + 1);
            return true;
        }
    }
    keep_unfinished_line(c);
    return false;
}

bool is_first_line_told(int slot) {
    client_t& c = client_tab[slot];
    if (!is_told(c.first_line)) first_line_is_command(c);
    return is_told(c.first_line);
}

bool is_http_request(int slot) { return client_tab[slot].first_line.state == first_line_state::http_request; }

void try_to_exec(int slot) {
    char line[LINE_MAX_BYTES];
    while (take_line(slot, line)) {
        answer_back(slot, parse_message_for(slot, line));
        check_invariants();
    }
}

int read_and_write_back(int sock) {
    char packet[2048];
    const ssize_t n = recv(sock, packet, sizeof packet, 0);
    if (n > 0) send(sock, packet, static_cast<size_t>(n), MSG_NOSIGNAL);
    return static_cast<int>(n);
}
