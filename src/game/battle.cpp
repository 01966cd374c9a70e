#include "game/battle.h"

#include "field/clients.h"
#include "field/coin_map.h"
#include "game/firing.h"
#include "geometry/collision.h"
#include "geometry/random.h"
#include "geometry/segment.h"
#include "turtle/motion.h"
#include "turtle/sensors.h"

#include <array>
#include <cmath>

namespace {

// First slot that a beam of `shooter` at (x, y) hits; -1 without any.
int find_victim(int shooter, double x, double y) {
    for (int j = 0; j < ntmax; ++j) {
        if (j != shooter && is_hit_by_bullet(j, x, y) != 0) return j;
    }
    return -1;
}

void settle_hit(int shooter, int victim) {
    turtle_t& s = ttl[shooter];
    turtle_t& v = ttl[victim];
    s.flags &= ~TTL_FIRING;
    const hit_t hit = kind_of(v.flags).hit;
    if (hit == hit_t::stops) {
        s.fire_wait = FIRE_WAIT_FRAMES;
        return;
    }
    if (hit == hit_t::kills) {
        if (dist_t2t(shooter, victim) < DOUGHNUT_RANGE) s.score += HIT_REWARD;
        start_to_kill(victim);
        return;
    }
    s.score += HIT_REWARD;
    v.score -= HIT_DAMAGE;
    v.event |= EVENT_HIT;
    if (v.score < 0) {
        // The victim's own animation shows its death: no explosion, and the shooter may fire again at once.
        v.score = 0;
        start_to_kill(victim);
    } else {
        s.fire_wait = FIRE_WAIT_FRAMES;
    }
}

} // namespace

void update_coin_event() {
    for (int i = 0; i < TTL_MAX; ++i) {
        turtle_t& t = ttl[i];
        if (!has_any(t.flags, TTL_ALIVE) || has_any(t.flags, TTL_ZOMBIE | TTL_ROBOT | TTL_OBJECT)) continue;
        int nearest = -1;
        if (count_neighbor_coin_in_map(i, nearest) < 1) {
            t.flags &= ~TTL_LATCH_COIN;
        } else if (!has_any(t.flags, TTL_LATCH_COIN)) {
            t.event |= EVENT_COIN;
            t.flags |= TTL_LATCH_COIN;
        }
    }
}

int is_hit_by_bullet(int target, double x, double y) {
    const turtle_t& t = ttl[target];
    if (!has_any(t.flags, TTL_ALIVE) || t.dying_count >= 1) return 0;
    const double dx = t.pos[0].x - x;
    const double dy = t.pos[0].y - y;
    return dx * dx + dy * dy < BEAM_REACH_SQUARED ? 1 : 0;
}

void start_to_kill(int i) {
    if (ttl[i].dying_count == 0) ttl[i].dying_count = DYING_FRAMES;
}

beam_view_t step_beam(int i) {
    turtle_t& t = ttl[i];
    const double x = t.beam_x + BEAM_STEP * std::cos(t.beam_dir * DEG_TO_RAD);
    const double y = t.beam_y + BEAM_STEP * std::sin(t.beam_dir * DEG_TO_RAD);
    const beam_view_t view{.ball = {t.beam_x, t.beam_y}, .struck = is_hitting_wall(x, y), .strike = {x, y}};
    if (view.struck != 0) {
        // The beam stays one step short of the wall, and its explosion is shown there.
        t.fire_wait = FIRE_WAIT_FRAMES;
        t.flags &= ~TTL_FIRING;
    } else {
        t.beam_x = x;
        t.beam_y = y;
    }
    // A beam that has just met a wall may still hit a turtle there.
    const int victim = find_victim(i, x, y);
    if (victim >= 0) settle_hit(i, victim);
    return view;
}

dying_view_t step_dying(int i) {
    turtle_t& t = ttl[i];
    if (t.dying_count <= 0) return {};
    const dying_view_t view{.glow = t.dying_count > GLOW_ABOVE ? 1 : 0, .at = t.pos[0]};
    --t.dying_count;
    if (t.dying_count == 0) {
        t.flags &= ~TTL_ALIVE; // its coins stay in the slot and are lost once the slot is reused
        disconnect_client_for(i, t.client_id);
    }
    return view;
}

explosion_view_t step_fire_wait(int i) {
    turtle_t& t = ttl[i];
    if (t.fire_wait <= 0) return {};
    const explosion_view_t view{
        .shown = 1, .at = {t.beam_x, t.beam_y}, .alpha = static_cast<double>(t.fire_wait) / FIRE_WAIT_FRAMES};
    --t.fire_wait;
    return view;
}

void update_robot(int i) {
    turtle_t& t = ttl[i];
    if (has_any(t.flags, TTL_OBJECT)) return;
    const double dx = ROBOT_STEP * std::cos(t.dir * DEG_TO_RAD);
    const double dy = ROBOT_STEP * std::sin(t.dir * DEG_TO_RAD);
    const double x = t.pos[0].x + dx;
    const double y = t.pos[0].y + dy;
    if (x < Xmin + ROBOT_MARGIN || x > Xmax - ROBOT_MARGIN || y < Ymin + ROBOT_MARGIN || y > Ymax - ROBOT_MARGIN) {
        t.dir += (drand() - 0.5) * 100.0;
    } else if (turtle_step_forward(i, ROBOT_STEP) != 0) {
        // It did not move forward, but steps back nevertheless, which frees it from what it touches.
        t.pos[0].x -= dx;
        t.pos[0].y -= dy;
        turtle_turn(i, 180.0 + (drand() - 0.5) * 10.0);
    }
    if (drand() < ROBOT_FIRE_CHANCE) turtle_fire(i);
}
