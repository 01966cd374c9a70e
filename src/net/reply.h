// Replies: one line for every executed command, with the query's values, status, clock and events.
// Server thread, lock held.
#pragma once

#include "net/questions.h"

inline constexpr int REPLY_MAX = VALUE_MAX + 64;

/// Writes the reply to `selector` for slot `slot` into `out` (REPLY_MAX bytes) and fetches the turtle's events.
/// @return its length
int format_reply(int slot, int selector, char* out);

/// format_reply, sent in one call that never blocks. A client that does not read its replies is shut down: its next
/// receive ends it.
void answer_back(int slot, int selector);
