#include "field/turtles.h"

#include <algorithm>
#include <iterator>

std::array<turtle_t, TTL_MAX> ttl;
int ntmax;

void init_turtle(int i, int client_id, double x, double y, double dir) {
    if (i < 0 || i >= TTL_MAX) return;
    turtle_t& t = ttl[i];
    t.client_id = client_id;
    t.dir = dir;
    std::fill(std::begin(t.pos), std::end(t.pos), point_t{x, y});
    std::fill(std::begin(t.color), std::end(t.color), rgb_t{1.0, 0.0, 0.0});
    std::fill(std::begin(t.line_width), std::end(t.line_width), 1.0);
    t.dying_count = 0;
    t.fire_wait = 0;
    t.score = 100;
    t.team = 0;
    t.finder_range = 20.0;
    t.n_doughnut = 0;
    coins_gone += t.n_coin; // of the slot's last turtle, or of this one before its reset
    t.n_coin = 0;
    t.n_painted = 0;
    bounded_copy(t.message, "", TEXT_BYTES);
    bounded_copy(t.name, "", TEXT_BYTES);
    t.flags = client_id < 0 ? TTL_ALIVE | TTL_ROBOT : TTL_ALIVE;
    t.event = 0;
    t.event_mask = UINT32_MAX;
    t.radar_target = -1;
    t.finder_target = -1;
}

void make_zombie(int i) {
    if (i < 0 || i >= TTL_MAX) return;
    ttl[i].flags |= TTL_ZOMBIE;
}

void turtle_leave(int i, int client_id) {
    if (i < 0 || i >= TTL_MAX || ttl[i].client_id != client_id) return;
    ttl[i].flags = 0;
    ttl[i].client_id = -1;
}

int turtle_set_team(int i, int team) {
    if (has_any(ttl[i].flags, TTL_ZOMBIE)) return -1;
    if (team >= 1 && team < TEAM_MAX) ttl[i].team = team;
    return 0;
}

int turtle_name(int i, const char* text) {
    if (has_any(ttl[i].flags, TTL_ZOMBIE)) return 1;
    bounded_copy(ttl[i].name, text, TEXT_BYTES);
    return 0;
}

int turtle_enable_event(int i, uint32_t bits) {
    ttl[i].event_mask |= bits;
    return 0;
}

int turtle_disable_event(int i, uint32_t bits) {
    ttl[i].event_mask &= ~bits;
    ttl[i].event &= ~bits;
    return 0;
}

uint32_t turtle_get_and_reset_eventcode(int i) {
    const uint32_t wanted = ttl[i].event & ttl[i].event_mask;
    ttl[i].event = 0;
    return wanted;
}
