// A game without a window: its players, its output, and its end. The game's thread only, which alone changes the
// tables; HTTP threads read them as usual.
#pragma once

#include "play/match.h"

#include <cstdio>

/// Plays until the game ends: waits for the programs of --start, then runs the clock at its pace. Sets `game.why`.
void play(game_t& game);

/// Writes the end of the record and the results. @return false when something could not be written, after a line on
/// standard error
bool finish(game_t& game, FILE* results);

/// Opens the record: its head and first state. The field is furnished.
void start_record(game_t& game);
