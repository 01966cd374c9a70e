// The seats of a game: which clients have sent something, who joins and who leaves. Nothing waits for a fixed time: the
// server wakes when bytes arrive, a deadline passes or a signal comes.
#pragma once

#include "field/clients.h"
#include "play/match.h"

#include <array>
#include <cstdint>

using seat_set_t = std::array<bool, MAX_CLIENT>;

inline constexpr int64_t FOR_EVER = -1;

struct arrivals_t {
    seat_set_t ready; // bytes, or an end, can be received from these
    bool newcomer;    // a program wants to join
};

/// Makes SIGINT and SIGTERM end the game in order, at its next look for bytes. Call before any thread is started.
void take_signals();

/// Waits until something arrives from one of the `wanted` slots or, with `newcomers`, a connection request, for at most
/// `patience` ns. A signal ends the wait with an empty result.
[[nodiscard]] arrivals_t wait_for_bytes(const game_t& game, const seat_set_t& wanted, bool newcomers, int64_t patience);

/// SIGINT or SIGTERM has been received.
[[nodiscard]] bool is_stopped();

/// Accepts all waiting connections, in order. For a while after a try that found no descriptor or no memory
/// nobody is admitted.
void admit_newcomers(game_t& game);

/// Executes one line of the client in `slot` and answers it.
void execute_line(game_t& game, int slot, const char* line);

/// The client in `slot` has disconnected: its turtle becomes a zombie, the seat is free.
void leave_seat(game_t& game, int slot);

/// The client in `slot` began with an HTTP request line: neither it nor its turtle stays.
void turn_away(game_t& game, int slot);

/// Drops the clients whose turtles have died.
void drop_the_dead(game_t& game);

[[nodiscard]] bool is_seated(int slot);
