// The ports of a game without a window, opened before it begins, because a port in use ends the program.
#pragma once

#include "play/match.h"

/// Opens the port for programs and, unless it is off, the one for browsers, which are served from now on; then prints
/// "listening 2222 2280" on standard output. @return false when one is in use, after a line on standard error
[[nodiscard]] bool open_ports(game_t& game);
