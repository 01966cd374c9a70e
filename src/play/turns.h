// Lock-step: a turn ends when every program has ended its own with a paced command, has left, or has missed the turn.
#pragma once

#include "play/match.h"

/// Lets newcomers in and runs the commands of one turn, in rounds: when each program that is still in its turn has a
/// line waiting, one line of each runs, in the order of the seats. So the outcome depends on what the programs send and
/// not on when. A program that has thought for longer than --turn-limit in this turn, or has sent TURN_LINES_MAX lines
/// without ending it, misses the turn. Time in which a program's line waits for the others does not count.
/// @return false when a signal came first
[[nodiscard]] bool play_turn(game_t& game);
