// The seats of a game: who waits with bytes, who joins and who goes. Nothing here waits for a fixed time: the server
// wakes when bytes come, a deadline passes or a signal arrives.
#pragma once

#include "field/clients.h"
#include "play/match.h"

#include <array>
#include <cstdint>

using seat_set_t = std::array<bool, MAX_CLIENT>;

inline constexpr int64_t FOR_EVER = -1;

struct arrivals_t {
    seat_set_t ready; // bytes, or an end, can be received from these
    bool newcomer;    // somebody wants to join
};

/// From now on SIGINT and SIGTERM end the game in order; they are taken while the game waits for bytes. Called before
/// any thread is started.
void take_signals();

/// Waits until something arrives from one of the `wanted` slots or, with `newcomers`, at the door, `patience` ns at
/// most. A signal ends the wait with nothing.
[[nodiscard]] arrivals_t wait_for_bytes(const game_t& game, const seat_set_t& wanted, bool newcomers, int64_t patience);

/// SIGINT or SIGTERM has come.
[[nodiscard]] bool is_stopped();

/// Admits all who wait at the door, in their order. For a while after a try that found no descriptor or no memory
/// nobody is admitted.
void admit_newcomers(game_t& game);

/// Runs one line of the client in `slot` and answers it.
void execute_line(game_t& game, int slot, const char* line);

/// The client in `slot` has hung up: its turtle becomes a zombie, the seat is free.
void leave_seat(game_t& game, int slot);

/// The client in `slot` began with an HTTP request line: neither it nor its turtle stays.
void turn_away(game_t& game, int slot);

/// Drops the clients whose turtles have died.
void drop_the_dead(game_t& game);

[[nodiscard]] bool is_seated(int slot);
