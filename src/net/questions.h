// The table of questions: letter, reply selector and answer of each.
// Server thread, lock held.
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

inline constexpr int VALUE_MAX = 512; // bytes of value text; longer is cut

/// The selector of the question with that letter, the first of its range; -1 when there is none.
[[nodiscard]] int selector_of_question(char letter);

/// Writes the value text for `selector`, cut at VALUE_MAX; empty when it selects no question.
/// @return the question's status: 0, or -1 when it failed, in which case the text holds zeros; 0 when none is selected
int answer_question(int selector, int turtle, char* text);
