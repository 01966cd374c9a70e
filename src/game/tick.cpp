#include "game/tick.h"

namespace {

// The line to `target`, which is cleared: each find is shown once.
sensor_line_t take_sensor_line(int i, int32_t& target) {
    if (target < 0) return {};
    const sensor_line_t line{.shown = true, .from = ttl[i].pos[0], .to = ttl[target].pos[0]};
    target = -1;
    return line;
}

} // namespace

void begin_tick() {
    update_coin_event();
    refresh_teaminfo();
}

void take_turn(int i, turn_t& turn) {
    turtle_t& t = ttl[i];
    turn.slot = i;
    // Before the in-use test: the beam of a removed turtle flies on.
    turn.fires = has_any(t.flags, TTL_FIRING);
    if (turn.fires) turn.beam = step_beam(i);
    turn.in_use = has_any(t.flags, TTL_ALIVE);
    if (!turn.in_use) return;

    turn.finder = {};
    turn.radar = {};
    if (modes.battle_mode) {
        turn.finder = take_sensor_line(i, t.finder_target);
        turn.radar = take_sensor_line(i, t.radar_target);
    }
    turn.turtle = t;
    turn.dying = step_dying(i);
    turn.explosion = step_fire_wait(i);
    // Also in the tick in which it dies.
    if (has_any(t.flags, TTL_ROBOT)) update_robot(i);
}

turn_t take_turn(int i) {
    turn_t turn{};
    take_turn(i, turn);
    return turn;
}

void tick(tick_view_t& view) {
    begin_tick();
    view.count = ntmax;
    for (int i = 0; i < ntmax; ++i) leave_mark(i, view.marks[i]);
    int place = 0;
    for (int i = 0; i < ntmax; ++i) {
        if (has_any(ttl[i].flags, TTL_OBJECT)) take_turn(i, view.turns[place++]);
    }
    for (int i = 0; i < ntmax; ++i) {
        if (!has_any(ttl[i].flags, TTL_OBJECT)) take_turn(i, view.turns[place++]);
    }
}

void tick() {
    tick_view_t unseen;
    tick(unseen);
}
