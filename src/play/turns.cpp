#include "play/turns.h"

#include "base/log.h"
#include "game/pacer.h"
#include "net/framing.h"
#include "play/seats.h"

#include <algorithm>
#include <cerrno>

namespace {

constexpr int64_t MILLISECOND = 1'000'000; // ns

// While programs answer within a moment, a round receives from one seat after the other, and each receive waits: half
// the system calls of a wait for all of them. What the others think meanwhile is not counted, so there is a bound to
// it.
constexpr int64_t BRISK_MOST = 20 * MILLISECOND; // in one turn

constexpr int64_t DOOR_EVERY = MILLISECOND; // between two looks for newcomers

enum class waits_with_t { nothing, line, end, request };

// One seat in one turn.
struct seat_t {
    bool in_turn;
    waits_with_t with;
    int64_t thought; // ns of thinking time used in this turn
    int lines;       // run in this turn
    char line[LINE_MAX_BYTES];
};

std::array<seat_t, MAX_CLIENT> seats;
int64_t brisk_left; // ns of this turn
int64_t next_look;  // for newcomers

seat_t& seat_at(int slot) { return seats[static_cast<size_t>(slot)]; }

bool anybody_in_turn() {
    return std::any_of(seats.begin(), seats.end(), [](const seat_t& s) { return s.in_turn; });
}

void begin_turn() {
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        seat_t& s = seat_at(slot);
        s.in_turn = is_seated(slot);
        s.with = waits_with_t::nothing;
        s.thought = 0;
        s.lines = 0;
    }
    brisk_left = BRISK_MOST;
}

void miss_turn(game_t& game, int slot) {
    seat_at(slot).in_turn = false;
    note_missed_turn(game.ledger, slot);
    log_line("seat %d missed its turn", slot);
}

void look_for_line(int slot) {
    if (take_line(slot, seat_at(slot).line)) seat_at(slot).with = waits_with_t::line;
}

// Receives from the seat, perhaps the rest of its line. Also from a program that takes no replies any more: what it
// sent before it disconnected still runs. Waits for a moment; a stop and continue of this process interrupts that.
void receive_from(int slot) {
    const int got = receive_bytes(slot);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got < 1) {
        seat_at(slot).with = waits_with_t::end;
    } else {
        look_for_line(slot);
        if (is_http_request(slot)) seat_at(slot).with = waits_with_t::request;
    }
}

// Seats that the round waits for. @param[out] patience  ns until the first of them exceeds its time
seat_set_t awaited_seats(const game_t& game, int64_t& patience) {
    seat_set_t awaited{};
    const int64_t limit = int64_t{game.options.turn_limit_ms} * MILLISECOND;
    patience = FOR_EVER;
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        const seat_t& s = seat_at(slot);
        if (!s.in_turn || s.with != waits_with_t::nothing) continue;
        awaited[static_cast<size_t>(slot)] = true;
        if (limit == 0) continue;
        const int64_t left = std::max<int64_t>(0, limit - s.thought);
        patience = patience == FOR_EVER ? left : std::min(patience, left);
    }
    return awaited;
}

bool any_of(const seat_set_t& set) {
    return std::any_of(set.begin(), set.end(), [](bool b) { return b; });
}

// Charges the waiting time to all seats still awaited; those out of time miss the turn.
void charge_time(game_t& game, const seat_set_t& awaited, int64_t waited) {
    const int64_t limit = int64_t{game.options.turn_limit_ms} * MILLISECOND;
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        seat_t& s = seat_at(slot);
        if (!awaited[static_cast<size_t>(slot)]) continue;
        s.thought += waited;
        if (limit > 0 && s.with == waits_with_t::nothing && s.thought >= limit) miss_turn(game, slot);
    }
}

bool is_awaited(int slot) { return seat_at(slot).in_turn && seat_at(slot).with == waits_with_t::nothing; }

// Receives from the awaited seats, the last one first: it was answered last, so the others have mostly spoken when it
// has. Ends at the first that takes longer.
void gather_brisk_ones() {
    int64_t began = monotonic_now();
    for (int slot = MAX_CLIENT; slot-- > 0 && brisk_left > 0;) {
        if (!is_awaited(slot)) continue;
        receive_from(slot);
        const int64_t now = monotonic_now();
        seat_at(slot).thought += now - began;
        brisk_left -= now - began;
        if (is_awaited(slot)) return;
        began = now;
    }
}

// Waits until each seat in its turn has a line or has disconnected. @return false when a signal came first
bool gather_round(game_t& game) {
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        if (is_awaited(slot)) look_for_line(slot);
    }
    gather_brisk_ones();
    int64_t began = monotonic_now();
    for (;;) {
        int64_t patience = 0;
        const seat_set_t awaited = awaited_seats(game, patience);
        if (!any_of(awaited)) return true;
        const arrivals_t arrivals = wait_for_bytes(game, awaited, false, patience);
        if (is_stopped()) return false;
        for (int slot = 0; slot < MAX_CLIENT; ++slot) {
            if (arrivals.ready[static_cast<size_t>(slot)]) receive_from(slot);
        }
        const int64_t now = monotonic_now();
        charge_time(game, awaited, now - began);
        began = now;
    }
}

void run_seat(game_t& game, int slot) {
    seat_t& s = seat_at(slot);
    if (s.with == waits_with_t::end) {
        s.in_turn = false;
        leave_seat(game, slot);
        return;
    }
    if (s.with == waits_with_t::request) {
        s.in_turn = false;
        turn_away(game, slot);
        return;
    }
    s.with = waits_with_t::nothing;
    execute_line(game, slot, s.line);
    ++s.lines;
    if (client_tab[static_cast<size_t>(slot)].frame_cmd_count > 0) {
        s.in_turn = false;
    } else if (s.lines >= TURN_LINES_MAX) {
        miss_turn(game, slot);
    }
}

// At most once in DOOR_EVERY: a turn takes only a few system calls, so one more would show.
void look_for_newcomers(game_t& game) {
    const int64_t now = monotonic_now();
    if (now < next_look) return;
    next_look = now + DOOR_EVERY;
    admit_newcomers(game);
}

} // namespace

bool play_turn(game_t& game) {
    look_for_newcomers(game);
    begin_turn();
    while (anybody_in_turn()) {
        if (!gather_round(game)) return false;
        for (int slot = 0; slot < MAX_CLIENT; ++slot) {
            if (seat_at(slot).in_turn) run_seat(game, slot);
        }
    }
    return true;
}
