// The ports of a game without a window, opened before it begins, because a port in use ends the program.
#pragma once

#include "play/match.h"

/// Opens the port for programs and, unless it is off, the one for browsers. @return false when one is in use, after a
/// line on standard error
[[nodiscard]] bool open_ports(game_t& game);

/// Serves browsers from now on, and prints "listening 2222 2280" on standard output. The field is furnished.
/// @return false when no thread can be started, after a line on standard error
[[nodiscard]] bool serve_ports(const game_t& game);
