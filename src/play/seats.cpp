#include "play/seats.h"

#include "field/turtles.h"
#include "game/invariants.h"
#include "net/command.h"
#include "net/framing.h"
#include "net/reply.h"
#include "net/server.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace {

constexpr int64_t SECOND = 1'000'000'000; // ns

bool stop_requested = false;
int stop_fd = -1; // readable from the first SIGINT or SIGTERM on, so that no wait can miss it

int slot_of_socket(int sock) {
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        if (client_tab[static_cast<size_t>(slot)].sockfd == sock) return slot;
    }
    return -1;
}

// A receive waits no longer than this, in whole ticks of the system's timer.
void set_moment(int sock) {
    const timeval moment{.tv_sec = 0, .tv_usec = 1000};
    setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &moment, sizeof moment);
}

// `fds` has room for one more. A signal ends the wait also when something else is ready at any time.
bool wait_on(pollfd* fds, nfds_t count, int64_t patience) {
    if (stop_requested) return false;
    fds[count] = {.fd = stop_fd, .events = POLLIN, .revents = 0};
    const timespec timeout{.tv_sec = patience / SECOND, .tv_nsec = patience % SECOND};
    if (ppoll(fds, count + 1, patience < 0 ? nullptr : &timeout, nullptr) < 1) return false;
    stop_requested = fds[count].revents != 0;
    return !stop_requested;
}

} // namespace

void take_signals() {
    signal(SIGPIPE, SIG_IGN);
    sigset_t stops;
    sigemptyset(&stops);
    sigaddset(&stops, SIGINT);
    sigaddset(&stops, SIGTERM);
    stop_fd = signalfd(-1, &stops, SFD_CLOEXEC);
    // Blocked in all threads, which inherit it. Without a descriptor they end the program at once.
    if (stop_fd >= 0) pthread_sigmask(SIG_BLOCK, &stops, nullptr);
}

bool is_stopped() { return stop_requested; }

bool is_seated(int slot) { return client_tab[static_cast<size_t>(slot)].sockfd >= 0; }

arrivals_t wait_for_bytes(const game_t& game, const seat_set_t& wanted, bool newcomers, int64_t patience) {
    if (const int64_t pause = newcomers ? accept_pause() : 0; pause > 0) {
        newcomers = false;
        patience = patience < 0 ? pause : std::min(patience, pause);
    }
    std::array<pollfd, MAX_CLIENT + 2> fds{}; // clients, listening socket, stop_fd
    std::array<int, MAX_CLIENT> slots{};
    nfds_t count = 0;
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        if (!wanted[static_cast<size_t>(slot)]) continue;
        slots[count] = slot;
        fds[count++] = {.fd = client_tab[static_cast<size_t>(slot)].sockfd, .events = POLLIN, .revents = 0};
    }
    const nfds_t clients = count;
    if (newcomers) fds[count++] = {.fd = game.listen_sock, .events = POLLIN, .revents = 0};

    arrivals_t arrivals{};
    if (!wait_on(fds.data(), count, patience)) return arrivals;
    for (nfds_t k = 0; k < clients; ++k) arrivals.ready[static_cast<size_t>(slots[k])] = fds[k].revents != 0;
    arrivals.newcomer = newcomers && fds[clients].revents != 0;
    return arrivals;
}

void admit_newcomers(game_t& game) {
    std::array<pollfd, 2> door{{{.fd = game.listen_sock, .events = POLLIN, .revents = 0}, {}}};
    while (accept_pause() == 0 && wait_on(door.data(), 1, 0)) {
        const int sock = accept_connection(game.listen_sock);
        const int slot = sock < 0 ? -1 : slot_of_socket(sock);
        if (slot < 0) continue;
        set_moment(sock);
        ++game.joined;
        note_join(game.ledger, slot);
        if (game.recorder != nullptr) record_join(*game.recorder, slot);
    }
}

void execute_line(game_t& game, int slot, const char* line) {
    note_command(game.ledger, slot);
    if (game.recorder != nullptr) record_command(*game.recorder, slot, line);
    answer_back(slot, parse_message_for(slot, line));
    check_invariants();
}

void leave_seat(game_t& game, int slot) {
    note_state(game.ledger);
    // A program that leaves in silence has been a side, too.
    if (have_two_played(game.ledger, slot)) game.several_seen = true;
    note_leave(game.ledger, slot, true);
    if (game.recorder != nullptr) record_leave(*game.recorder, slot);
    make_zombie(client_tab[static_cast<size_t>(slot)].turtle_id);
    disconnect_client(slot);
}

void turn_away(game_t& game, int slot) {
    --game.joined;
    note_turned_away(game.ledger, slot);
    if (game.recorder != nullptr) record_turned_away(*game.recorder, slot);
    turn_away_http(slot);
}

void drop_the_dead(game_t& game) {
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        client_t& c = client_tab[static_cast<size_t>(slot)];
        if (c.sockfd < 0 || std::atomic_ref(c.disconnect_request).load() == 0) continue;
        note_leave(game.ledger, slot, false);
        if (game.recorder != nullptr) record_drop(*game.recorder, slot);
        disconnect_client(slot);
    }
}
