#include "net/questions.h"

#include "field/queries.h"
#include "field/state.h"
#include "turtle/queries.h"
#include "turtle/sensors.h"

#include <array>
#include <cinttypes>
#include <cstdio>

namespace {

// Each writes the value text of a question and returns its status; `k` is the offset from the first selector of the
// question's range. The text is also written for a failed question, with zeros for missing values.

template <int (*QUESTION)(int, int&)> int answer_integer(char* text, int turtle, int /*k*/) {
    int n = 0;
    const int status = QUESTION(turtle, n);
    snprintf(text, VALUE_MAX, "%d", n);
    return status;
}

int answer_position(char* text, int turtle, int /*k*/) {
    double x = 0.0;
    double y = 0.0;
    const int status = qt_position(turtle, x, y);
    snprintf(text, VALUE_MAX, "%f %f", x, y);
    return status;
}

int answer_direction(char* text, int turtle, int /*k*/) {
    double dir = 0.0;
    const int status = qt_direction(turtle, dir);
    snprintf(text, VALUE_MAX, "%f", dir);
    return status;
}

int answer_finder(char* text, int turtle, int /*k*/) {
    int code = 0;
    int team = 0;
    const int status = qt_finder(turtle, code, team);
    snprintf(text, VALUE_MAX, "%d %d", code, team);
    return status;
}

int answer_radar(char* text, int turtle, int k) {
    double angle = 0.0;
    int team = 0;
    const int status = qt_angular_rader(turtle, k, angle, team);
    snprintf(text, VALUE_MAX, "%f %d", angle, team);
    return status;
}

int answer_sonar(char* text, int turtle, int /*k*/) {
    int left = 0;
    int front = 0;
    int right = 0;
    const int status = qt_sonar(turtle, left, front, right);
    snprintf(text, VALUE_MAX, "%d %d %d", left, front, right);
    return status;
}

int answer_time(char* text, int /*turtle*/, int /*k*/) {
    uint64_t t = 0;
    const int status = qf_elapsed_time(t);
    snprintf(text, VALUE_MAX, "%" PRIu64, t);
    return status;
}

int answer_n_turtle(char* text, int /*turtle*/, int /*k*/) {
    int n = 0;
    const int status = qf_n_turtle(n);
    snprintf(text, VALUE_MAX, "%d", n);
    return status;
}

int answer_team_msg(char* text, int turtle, int /*k*/) {
    uint32_t time = 0;
    char message[TEXT_BYTES] = "";
    const int status = qt_team_msg(turtle, time, message);
    snprintf(text, VALUE_MAX, "%u %.*s", time, TEXT_BYTES, message);
    return status;
}

int answer_card_state(char* text, int /*turtle*/, int k) {
    int shown = 0;
    const int status = qf_stat_card(k, shown);
    snprintf(text, VALUE_MAX, "%d", shown);
    return status;
}

int answer_card_place(char* text, int /*turtle*/, int k) {
    double x = 0.0;
    double y = 0.0;
    const int status = qf_pos_card(k, x, y);
    snprintf(text, VALUE_MAX, "%f %f", x, y);
    return status;
}

struct question_t {
    char letter;
    int selector; // the first of its range
    int last;     // the last
    int (*answer)(char* text, int turtle, int k);
};

// Card selectors count from the base of their range, card 1 first; the base itself selects nothing.
constexpr std::array<question_t, 15> QUESTIONS = {{
    {'p', SEL_POSITION, SEL_POSITION, answer_position},
    {'d', SEL_DIRECTION, SEL_DIRECTION, answer_direction},
    {'m', SEL_TEAM, SEL_TEAM, answer_integer<qt_my_team>},
    {'f', SEL_FINDER, SEL_FINDER, answer_finder},
    {'r', SEL_RADAR, SEL_RADAR + RADAR_RANKS - 1, answer_radar},
    {'w', SEL_SONAR, SEL_SONAR, answer_sonar},
    {'a', SEL_ALIVE, SEL_ALIVE, answer_integer<qt_alive>},
    {'s', SEL_SCORE, SEL_SCORE, answer_integer<qt_score>},
    {'t', SEL_TIME, SEL_TIME, answer_time},
    {'n', SEL_N_TURTLE, SEL_N_TURTLE, answer_n_turtle},
    {'c', SEL_N_COIN, SEL_N_COIN, answer_integer<qt_n_coin>},
    {'o', SEL_MY_COIN, SEL_MY_COIN, answer_integer<qt_my_coin>},
    {'b', SEL_TEAM_MSG, SEL_TEAM_MSG, answer_team_msg},
    {'z', SEL_CARD_STATE, SEL_CARD_STATE + CARD_MAX, answer_card_state},
    {'z', SEL_CARD_PLACE, SEL_CARD_PLACE + CARD_MAX, answer_card_place},
}};

} // namespace

int selector_of_question(char letter) {
    for (const question_t& q : QUESTIONS) {
        if (q.letter == letter) return q.selector;
    }
    return -1;
}

int answer_question(int selector, int turtle, char* text) {
    text[0] = '\0';
    if (selector == SEL_CARD_STATE || selector == SEL_CARD_PLACE) return 0; // the bases of two ranges
    for (const question_t& q : QUESTIONS) {
        if (selector >= q.selector && selector <= q.last) return q.answer(text, turtle, selector - q.selector);
    }
    return 0;
}
