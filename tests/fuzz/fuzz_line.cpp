// Fuzzes the whole path of client bytes: receive, framing, commands, replies, with frames, disconnects and the operator
// in between. Client ends are socket pairs; everything runs on one thread, in the order in which the program's threads
// would take turns. The invariants of the tables are checked after each step.
// Input: text that one of three clients sends, with these bytes taken as events (\n, \r, \t and all others are sent):
//   01 a frame               05 battle mode on or off     0b stones are scattered
//   02 the next client       06 the maze on or off        0c boundary on or off
//   03 this client vanishes  07 all turtles are killed    0e somebody connects
//   04 end of a packet       08 zombies are cleared       0f a viewer asks for everything
//   10 this client stops or starts to read its replies
#include "brush/strokes.h"
#include "field/cards.h"
#include "field/clients.h"
#include "field/coin_map.h"
#include "field/coins.h"
#include "field/state.h"
#include "field/turtles.h"
#include "field/walls.h"
#include "game/furnish.h"
#include "game/invariants.h"
#include "game/modes.h"
#include "game/tick.h"
#include "geometry/collision.h"
#include "httpd/content.h"
#include "net/server.h"
#include "turtle/lifecycle.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <string>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

// Polls like the server, but without waiting: nothing arrives meanwhile.
extern "C" int select(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval*) {
    const timespec at_once = {};
    return pselect(count, readable, writable, failed, &at_once, nullptr);
}

namespace {

constexpr int PEERS = 3;
constexpr int FRAMES_MAX = 120; // per input, so that one made of frames alone takes no longer than others

struct peer_t {
    int sock = -1; // the client's end; -1 = gone
    bool reads = true;
    std::string packet; // not sent yet
};
peer_t peers[PEERS];

void demand(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "broken: %s\n", what);
    abort();
}

void start_field() {
    stamp_dot = [](double x, double y, double size, double, double, double) {
        demand(std::isfinite(x) && std::isfinite(y) && std::isfinite(size), "a dot has a place and a size");
    };
    srandom(1);
    modes.battle_mode = 0;
    modes.maze_mode = modes.bounded_area_mode = modes.bird_view_mode = 0;
    modes.disp_help = modes.disp_score = modes.disp_name = 0;
    signals.elapsed_time = 0;
    for (client_t& c : client_tab) {
        c = {};
        free_client_slot(c);
    }
    nclient = 0;
    field_kill_all_turtles();
    for (turtle_t& t : ttl) {
        t = {};
        t.client_id = -1;
    }
    ntmax = 0;
    reset_wall();
    init_teaminfo();
    watch_invariants();
}

// Does for a socket pair what accept_connection does for a new socket.
void connect_peer(peer_t& p) {
    int ends[2];
    if (p.sock >= 0 || nclient >= MAX_CLIENT || socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return;
    const int little = 4096; // small buffers: a peer that does not read is noticed soon
    setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &little, sizeof little);
    int slot = 0;
    while (client_tab[slot].sockfd >= 0) ++slot;
    const int turtle = generate_turtle(slot, 0);
    if (turtle < 0) {
        close(ends[0]);
        close(ends[1]);
        return;
    }
    client_t& c = client_tab[slot];
    free_client_slot(c);
    c.sockfd = ends[0];
    c.turtle_id = turtle;
    ++nclient;
    p.sock = ends[1];
    p.reads = true;
}

void vanish(peer_t& p) {
    if (p.sock >= 0) close(p.sock);
    p.sock = -1;
    p.packet.clear();
}

// Replies are whole lines of printable text.
void read_replies(peer_t& p) {
    char text[8192];
    char last = '\n';
    for (;;) {
        const ssize_t n = recv(p.sock, text, sizeof text, MSG_DONTWAIT);
        if (n == 0) vanish(p);
        if (n <= 0) break;
        for (ssize_t k = 0; k < n; ++k) demand(text[k] != '\0', "a reply holds no NUL");
        last = text[n - 1];
    }
    demand(last == '\n', "a reply ends with a line feed");
}

bool somebody_waits() {
    for (const client_t& c : client_tab) {
        if (c.sockfd < 0 || c.frame_cmd_count != 0) continue;
        pollfd waiting = {.fd = c.sockfd, .events = POLLIN, .revents = 0};
        if (c.disconnect_request != 0 || poll(&waiting, 1, 0) > 0) return true;
    }
    return false;
}

// One pass of the server thread, if it has work.
void serve() {
    for (peer_t& p : peers) {
        if (p.sock < 0 || p.packet.empty()) continue;
        const ssize_t sent = send(p.sock, p.packet.data(), p.packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent > 0) p.packet.erase(0, static_cast<size_t>(sent));
    }
    if (somebody_waits()) check_client_status();
    for (peer_t& p : peers)
        if (p.sock >= 0 && p.reads) read_replies(p);
    check_invariants();
}

// Strokes from what a tick leaves on the canvas, whatever the pen's mode.
void paint(const mark_t& mark) {
    const auto& p = mark.turtle.pos;
    const auto& w = mark.turtle.line_width;
    if (mark.kind == mark_kind_t::brush_end) {
        brushLine3(p[3].x, p[3].y, w[4], p[2].x, p[2].y, w[3], p[1].x, p[1].y, w[2], p[0].x, p[0].y, w[1], 1, 0, 0);
    } else if (mark.kind != mark_kind_t::none) {
        drawCurve4(p[4].x, p[4].y, w[5], p[3].x, p[3].y, w[4], p[2].x, p[2].y, w[3], p[1].x, p[1].y, w[2], 1, 0, 0);
    }
}

void frame() {
    static tick_view_t view;
    signals.elapsed_time = signals.elapsed_time + 1;
    rendering_started();
    tick(view);
    for (int i = 0; i < view.count; ++i) paint(view.marks[i]);
    rendering_is_done();
    check_invariants();
}

void view_everything() {
    free_container(generate_json_for_turtle());
    free_container(generate_json_for_wall());
    free_container(generate_json_for_coin());
    for (int i = -1; i <= ntmax; ++i) free_container(generate_json_for_camera(i));
}

// @return false when the byte is none of the events
bool event(unsigned char b, int& current, int& frames) {
    switch (b) {
    case 0x01:
        serve();
        if (++frames <= FRAMES_MAX) frame();
        break;
    case 0x02:
        current = (current + 1) % PEERS;
        break;
    case 0x03:
        vanish(peers[current]);
        break;
    case 0x04:
        serve();
        break;
    case 0x05:
        field_toggle_battle_mode();
        break;
    case 0x06:
        field_toggle_maze_mode();
        break;
    case 0x07:
        field_kill_all_turtles();
        break;
    case 0x08:
        field_clear_zombie();
        break;
    case 0x0b:
        scatter_stone(3);
        break;
    case 0x0c:
        field_toggle_bounded_area_mode();
        break;
    case 0x0e:
        connect_peer(peers[current]);
        break;
    case 0x0f:
        view_everything();
        break;
    case 0x10:
        peers[current].reads = !peers[current].reads;
        break;
    default:
        return false;
    }
    check_invariants();
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    start_field();
    for (peer_t& p : peers) connect_peer(p);
    int current = 0, frames = 0;
    for (size_t k = 0; k < size; ++k) {
        if (!event(data[k], current, frames)) peers[current].packet += static_cast<char>(data[k]);
    }
    serve();
    frame();
    serve();
    for (peer_t& p : peers) vanish(p);
    // A closed client is noticed, one per pass, only when all its input is read. A line that nearly fills the buffer
    // leaves room for a byte or two per pass, and the bytes that follow are dropped.
    rendering_started();
    rendering_is_done();
    const int passes = 40 + static_cast<int>(size);
    for (int pass = 0; pass <= passes && nclient > 0; ++pass) {
        check_client_status();
        frame();
    }
    demand(nclient == 0, "a client that vanished leaves its slot");
    return 0;
}
