#include "turtle/queries.h"

#include "field/coin_map.h"
#include "field/turtles.h"

#include <cstring>

int qt_position(int i, double& x, double& y) {
    const bool alive = has_any(ttl[i].flags, TTL_ALIVE);
    x = alive ? ttl[i].pos[0].x : 0.0;
    y = alive ? ttl[i].pos[0].y : 0.0;
    return alive ? 0 : -1;
}

int qt_direction(int i, double& dir) {
    const bool alive = has_any(ttl[i].flags, TTL_ALIVE);
    dir = alive ? ttl[i].dir : 0.0;
    return alive ? 0 : -1;
}

int qt_alive(int i, int& alive) {
    alive = has_any(ttl[i].flags, TTL_ALIVE) ? 1 : 0;
    return 0;
}

int qt_score(int i, int& score) {
    score = has_any(ttl[i].flags, TTL_ALIVE) ? ttl[i].score : 0;
    return 0;
}

int qt_my_team(int i, int& team) {
    team = ttl[i].team;
    return 0;
}

int qt_team_msg(int i, uint32_t& time, char* text) {
    const teaminfo_t& board = teams[ttl[i].team];
    time = board.message_time;
    memcpy(text, board.message, TEXT_BYTES);
    return 0;
}

int qt_n_coin(int i, int& n) {
    int nearest = -1;
    n = count_neighbor_coin_in_map(i, nearest);
    return 0;
}

int qt_my_coin(int i, int& n) {
    n = ttl[i].n_coin;
    return 0;
}
