// The command language: one line of text becomes one turtle or field operation. Server thread, lock held.
#pragma once

#include "net/questions.h" // the reply selectors

/// Executes one line for the client in slot `slot` (0 to MAX_CLIENT - 1, with a turtle).
/// @return the reply selector: the operation's result, or the query's selector; -1 for an unknown command
int parse_message_for(int slot, const char* line);
