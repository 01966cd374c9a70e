// The command language: one line of text becomes one turtle or field operation. Server thread, lock held.
#pragma once

// Reply selectors: 0 success, negative error, positive a query.
inline constexpr int SEL_POSITION = 1;
inline constexpr int SEL_DIRECTION = 2;
inline constexpr int SEL_TEAM = 3;
inline constexpr int SEL_FINDER = 4;
inline constexpr int SEL_RADAR = 5; // to 9
inline constexpr int SEL_SONAR = 10;
inline constexpr int SEL_ALIVE = 11;
inline constexpr int SEL_SCORE = 12;
inline constexpr int SEL_TIME = 13;
inline constexpr int SEL_N_TURTLE = 14;
inline constexpr int SEL_N_COIN = 15;
inline constexpr int SEL_MY_COIN = 16;
inline constexpr int SEL_TEAM_MSG = 17;
inline constexpr int SEL_CARD_STATE = 1000; // + card number
inline constexpr int SEL_CARD_PLACE = 1100; // + card number

/// Executes one line for the client in slot `slot` (0 to MAX_CLIENT - 1, with a turtle).
/// @return the reply selector: whatever the operation returned, or the query's; -1 for an unknown command
int parse_message_for(int slot, const char* line);
