#include "net/reply.h"

#include "field/clients.h"
#include "field/queries.h"
#include "field/state.h"
#include "field/turtles.h"
#include "net/command.h"
#include "turtle/queries.h"
#include "turtle/sensors.h"

#include <cinttypes>
#include <cstdio>
#include <sys/socket.h>

namespace {

// Each answers its query: writes the value text (cut at VALUE_MAX) and returns the query's status. The text is
// written for a failed query too, with zeros where it gave no value.

int answer_integer(char* text, int (*query)(int, int&), int turtle) {
    int n = 0;
    const int status = query(turtle, n);
    snprintf(text, VALUE_MAX, "%d", n);
    return status;
}

int answer_position(char* text, int turtle) {
    double x = 0.0;
    double y = 0.0;
    const int status = qt_position(turtle, x, y);
    snprintf(text, VALUE_MAX, "%f %f", x, y);
    return status;
}

int answer_direction(char* text, int turtle) {
    double dir = 0.0;
    const int status = qt_direction(turtle, dir);
    snprintf(text, VALUE_MAX, "%f", dir);
    return status;
}

int answer_finder(char* text, int turtle) {
    int code = 0;
    int team = 0;
    const int status = qt_finder(turtle, code, team);
    snprintf(text, VALUE_MAX, "%d %d", code, team);
    return status;
}

int answer_radar(char* text, int turtle, int rank) {
    double angle = 0.0;
    int team = 0;
    const int status = qt_angular_rader(turtle, rank, angle, team);
    snprintf(text, VALUE_MAX, "%f %d", angle, team);
    return status;
}

int answer_sonar(char* text, int turtle) {
    int left = 0;
    int front = 0;
    int right = 0;
    const int status = qt_sonar(turtle, left, front, right);
    snprintf(text, VALUE_MAX, "%d %d %d", left, front, right);
    return status;
}

int answer_time(char* text) {
    uint64_t t = 0;
    const int status = qf_elapsed_time(t);
    snprintf(text, VALUE_MAX, "%" PRIu64, t);
    return status;
}

int answer_n_turtle(char* text) {
    int n = 0;
    const int status = qf_n_turtle(n);
    snprintf(text, VALUE_MAX, "%d", n);
    return status;
}

int answer_team_msg(char* text, int turtle) {
    uint32_t time = 0;
    char message[TEXT_BYTES] = "";
    const int status = qt_team_msg(turtle, time, message);
    snprintf(text, VALUE_MAX, "%u %.*s", time, TEXT_BYTES, message);
    return status;
}

int answer_card_state(char* text, int card) {
    int shown = 0;
    const int status = qf_stat_card(card, shown);
    snprintf(text, VALUE_MAX, "%d", shown);
    return status;
}

int answer_card_place(char* text, int card) {
    double x = 0.0;
    double y = 0.0;
    const int status = qf_pos_card(card, x, y);
    snprintf(text, VALUE_MAX, "%f %f", x, y);
    return status;
}

// Answers the query that `selector` stands for; no query leaves the text empty and succeeds.
int answer_query(char* text, int turtle, int selector) {
    text[0] = '\0';
    if (selector >= SEL_RADAR && selector < SEL_RADAR + RADAR_RANKS) {
        return answer_radar(text, turtle, selector - SEL_RADAR);
    }
    if (selector > SEL_CARD_STATE && selector <= SEL_CARD_STATE + CARD_MAX) {
        return answer_card_state(text, selector - SEL_CARD_STATE);
    }
    if (selector > SEL_CARD_PLACE && selector <= SEL_CARD_PLACE + CARD_MAX) {
        return answer_card_place(text, selector - SEL_CARD_PLACE);
    }
    switch (selector) {
    case SEL_POSITION:
        return answer_position(text, turtle);
    case SEL_DIRECTION:
        return answer_direction(text, turtle);
    case SEL_TEAM:
        return answer_integer(text, qt_my_team, turtle);
    case SEL_FINDER:
        return answer_finder(text, turtle);
    case SEL_SONAR:
        return answer_sonar(text, turtle);
    case SEL_ALIVE:
        return answer_integer(text, qt_alive, turtle);
    case SEL_SCORE:
        return answer_integer(text, qt_score, turtle);
    case SEL_TIME:
        return answer_time(text);
    case SEL_N_TURTLE:
        return answer_n_turtle(text);
    case SEL_N_COIN:
        return answer_integer(text, qt_n_coin, turtle);
    case SEL_MY_COIN:
        return answer_integer(text, qt_my_coin, turtle);
    case SEL_TEAM_MSG:
        return answer_team_msg(text, turtle);
    default:
        return 0;
    }
}

} // namespace

int format_reply(int slot, int selector, char* out) {
    const int turtle = client_tab[slot].turtle_id;
    // Fetched before the query runs: what a sensor changes in its own turtle's events belongs to the next reply.
    const uint32_t event = turtle_get_and_reset_eventcode(turtle);
    char value[VALUE_MAX];
    const int status = answer_query(value, turtle, selector);
    return snprintf(out, REPLY_MAX, "%s%s%s @ %" PRIu64 " %u\n", value, value[0] != '\0' ? " " : "",
                    selector >= 0 && status >= 0 ? "OK" : "ERR", signals.elapsed_time.load(), event);
}

void answer_back(int slot, int selector) {
    client_t& c = client_tab[slot];
    char line[REPLY_MAX];
    const int length = format_reply(slot, selector, line);
    if (c.send_failed != 0) return;
    if (send(c.sockfd, line, static_cast<size_t>(length), MSG_DONTWAIT | MSG_NOSIGNAL) == length) return;
    // The peer has gone or does not read. Half a line may be out, so nothing more may follow it.
    c.send_failed = 1;
    shutdown(c.sockfd, SHUT_RDWR);
}
