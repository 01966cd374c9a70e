#include "turtle/motion.h"

#ifdef KELMORA_LOG_STEPS
#include "base/log.h"
#endif
#include "field/kinds.h"
#include "field/turtles.h"
#include "geometry/collision.h"
#include "geometry/segment.h"
#include "turtle/sensors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace {

constexpr double BATTLE_STEP = 2.0;     // field units a command
constexpr double BATTLE_TURN = 3.0;     // degrees a command
constexpr double JUMP_CLEARANCE = 10.0; // to the nearest wall at the target

// Moves the turtle to (x, y): the history shifts by one entry, pen color and width stay current.
void move_to(turtle_t& t, double x, double y) {
    std::copy_backward(std::begin(t.pos), std::end(t.pos) - 1, std::end(t.pos));
    std::copy_backward(std::begin(t.color), std::end(t.color) - 1, std::end(t.color));
    std::copy_backward(std::begin(t.line_width), std::end(t.line_width) - 1, std::end(t.line_width));
    t.pos[0] = {x, y};
    t.flags &= ~TTL_SEG_PAINTED;
}

// An event is raised once per episode: the latch marks it as reported.
void report_once(turtle_t& t, uint32_t latch, uint32_t event) {
    if (has_any(t.flags, latch)) return;
    t.event |= event;
    t.flags |= latch;
}

} // namespace

step_end_t try_step(int i, double length) {
    turtle_t& t = ttl[i];
    if (has_any(t.flags, TTL_ZOMBIE | TTL_OBJECT)) return step_end_t::cannot_move;
    if (modes.battle_mode) {
        if (t.score < 1) return step_end_t::no_points;
        length = std::clamp(length, -BATTLE_STEP, BATTLE_STEP);
    }

    const way_t way = way_ahead(pose_of(i), i, length);
    for (const kind_info_t& kind : KINDS) {
        if (kind.blocked_by != way.code) continue;
        report_once(t, kind.latch, kind.event);
        return kind.step_end;
    }

    t.flags &= ~TTL_LATCH_OBJECTS;
    if (modes.bounded_area_mode) {
        if (is_wall_in_step(pose_of(i), length)) {
            report_once(t, TTL_LATCH_WALL, EVENT_WALL);
            return step_end_t::wall;
        }
        t.flags &= ~TTL_LATCH_WALL;
    }
    move_to(t, t.pos[0].x + length * std::cos(t.dir * PI / 180.0), t.pos[0].y + length * std::sin(t.dir * PI / 180.0));
    return step_end_t::moved;
}

const char* step_end_text(step_end_t end) {
    if (end == step_end_t::moved) return "moved";
    if (end == step_end_t::cannot_move) return "zombies and objects do not move";
    if (end == step_end_t::no_points) return "no points left";
    if (end == step_end_t::wall) return "a wall is in the way";
    for (const kind_info_t& kind : KINDS) {
        if (kind.step_end == end) return kind.in_way;
    }
    return "?";
}

int turtle_step_forward(int i, double length) {
    const step_end_t end = try_step(i, length);
#ifdef KELMORA_LOG_STEPS
    log_line("turtle %d, step of %g: %s", i, length, step_end_text(end));
#endif
    return end == step_end_t::moved ? 0 : -1;
}

int turtle_jump(int i, double x, double y) {
    turtle_t& t = ttl[i];
    if (modes.battle_mode || has_any(t.flags, TTL_ZOMBIE)) return -1;
    // Only the start is tested for crowding: a turtle with another one too close cannot jump away.
    if (dist_to_nn(i) < BODY_GAP) return -1;
    if (modes.bounded_area_mode) {
        if (!(x >= Xmin && x <= Xmax && y >= Ymin && y <= Ymax)) return -1;
        if (is_wall_within(x, y, JUMP_CLEARANCE)) return -1;
    }
    move_to(t, x, y);
    return 0;
}

int turtle_rjump(int i, double dx, double dy) { return turtle_jump(i, ttl[i].pos[0].x + dx, ttl[i].pos[0].y + dy); }

int turtle_turn(int i, double angle) {
    turtle_t& t = ttl[i];
    if (modes.battle_mode) {
        if (t.score < 1) return -1;
        angle = std::clamp(angle, -BATTLE_TURN, BATTLE_TURN);
    }
    if (has_any(t.flags, TTL_ZOMBIE)) return -1;
    if (angle != 0.0) t.flags &= ~(TTL_LATCH_OBJECTS | TTL_LATCH_WALL); // NaN too, which is not equal to zero
    t.dir += angle;
    return 0;
}

int turtle_head(int i, int code) {
    turtle_t& t = ttl[i];
    if (modes.battle_mode || has_any(t.flags, TTL_ZOMBIE)) return 1;
    switch (code) {
    case 1:
        t.dir = 0.0;
        break;
    case 2:
        t.dir = 90.0;
        break;
    case 3:
        t.dir = 180.0;
        break;
    case 4:
        t.dir = -90.0;
        break;
    default:
        break;
    }
    return 0;
}
