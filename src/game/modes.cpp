#include "game/modes.h"

#include "base/log.h"
#include "field/cards.h"
#include "field/clients.h"
#include "field/coins.h"
#include "field/state.h"
#include "field/turtles.h"
#include "game/furnish.h"

namespace {

int toggle(bool& flag) {
    flag = !flag;
    return 0;
}

int bring_to(bool flag, int v, int (*toggle_flag)()) {
    if (static_cast<int>(flag) == v) return 1;
    toggle_flag();
    return 0;
}

} // namespace

void field_kill_all_turtles() {
    // Start-up makes the first call, before any client can be connected: it must not touch the client table.
    static bool first_call = true;
    for (int i = 0; i < TTL_MAX; ++i) {
        turtle_t& t = ttl[i];
        if (!first_call && has_any(t.flags, TTL_ALIVE) && t.client_id >= 0) disconnect_client_for(i, t.client_id);
        t.flags = 0;
        t.client_id = -1;
        t.pos[0] = {0.0, 0.0};
    }
    ntmax = 0;
    first_call = false;
    reset_coin();
    reset_card();
}

void field_clear_zombie() {
    for (int i = 0; i < ntmax; ++i) {
        // Its coins stay in the slot and are lost once the slot is reused.
        if (has_any(ttl[i].flags, TTL_ZOMBIE)) ttl[i].flags = 0;
    }
}

void field_clear_all_turtles() {
    field_clear_zombie();
    field_clear();
}

void field_clear() { signals.wipe_requested = true; }

void field_set_color(double r, double g, double b) {
    bgcol[0] = r;
    bgcol[1] = g;
    bgcol[2] = b;
    field_clear();
}

int field_set_disp_help() {
    modes.disp_help = true;
    return 0;
}

int field_unset_disp_help() {
    modes.disp_help = false;
    return 0;
}

int field_toggle_disp_help() { return modes.disp_help ? field_unset_disp_help() : field_set_disp_help(); }
int field_toggle_disp_score() { return toggle(modes.disp_score); }
int field_toggle_disp_name() { return toggle(modes.disp_name); }
int field_toggle_bird_view_mode() { return toggle(modes.bird_view_mode); }
int field_toggle_bounded_area_mode() { return toggle(modes.bounded_area_mode); }

int field_set_boundary_mode(int v) { return bring_to(modes.bounded_area_mode, v, field_toggle_bounded_area_mode); }
int field_set_disp_name(int v) { return bring_to(modes.disp_name, v, field_toggle_disp_name); }
int field_set_disp_score(int v) { return bring_to(modes.disp_score, v, field_toggle_disp_score); }

int field_set_battle_mode() {
    field_set_boundary_mode(1);
    field_set_disp_name(1);
    field_set_disp_score(1);
    modes.battle_mode = true;
    signals.menuitem_need_to_change = true;
    field_clear();
    log_line("entering battle mode...");
    return 0;
}

int field_unset_battle_mode() {
    field_set_boundary_mode(0);
    field_set_disp_name(0);
    field_set_disp_score(0);
    modes.battle_mode = false;
    signals.menuitem_need_to_change = true;
    field_clear();
    log_line("entering turtle graphics mode...");
    return 0;
}

int field_toggle_battle_mode() { return modes.battle_mode ? field_unset_battle_mode() : field_set_battle_mode(); }

int field_set_maze_mode() {
    field_kill_all_turtles();
    reset_wall();
    generate_maze();
    field_set_battle_mode();
    modes.maze_mode = true;
    log_line("entering maze mode...");
    return 0;
}

int field_unset_maze_mode() {
    field_kill_all_turtles();
    reset_wall();
    modes.maze_mode = false;
    log_line("exited from maze mode...");
    return 0;
}

int field_toggle_maze_mode() { return modes.maze_mode ? field_unset_maze_mode() : field_set_maze_mode(); }

int field_toggle_private_mode() {
    signals.private_mode = toggle_localhost_mode();
    signals.menuitem_need_to_change = true;
    if (signals.private_mode) {
        log_line_always("entering private mode...");
    } else {
        log_line_always("entering public mode...");
    }
    return 0;
}
