// Lock-step: a turn ends when every program has ended its own with a paced command, has left, or has missed it.
#pragma once

#include "play/match.h"

/// Runs the commands of one turn, in rounds: when each program that is still in its turn has a line waiting, one line
/// of each runs, in the order of the seats. So what happens depends on what the programs send and not on when. A
/// program whose thinking has taken longer than --turn-limit in this turn, or that has sent TURN_LINES_MAX lines
/// without ending it, misses the turn. Time in which a program's line waits for the others is not its own.
/// @return false when a signal came first
[[nodiscard]] bool play_turn(game_t& game);
