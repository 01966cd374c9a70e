#include "turtle/motion.h"

#include "field/turtles.h"
#include "geometry/collision.h"
#include "geometry/segment.h"
#include "turtle/sensors.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

constexpr double BATTLE_STEP = 2.0;     // field units a command
constexpr double BATTLE_TURN = 3.0;     // degrees a command
constexpr double JUMP_CLEARANCE = 10.0; // to the nearest wall at the target

// Moves the turtle to (x, y): the history ages by one entry, current pen colour and width stay.
void move_to(turtle_t& t, double x, double y) {
    std::copy_backward(std::begin(t.pos), std::end(t.pos) - 1, std::end(t.pos));
    std::copy_backward(std::begin(t.color), std::end(t.color) - 1, std::end(t.color));
    std::copy_backward(std::begin(t.line_width), std::end(t.line_width) - 1, std::end(t.line_width));
    t.pos[0] = {x, y};
    t.flags &= ~TTL_SEG_PAINTED;
}

// An event is raised once per episode: the latch says that it was.
void report_once(turtle_t& t, uint32_t latch, uint32_t event) {
    if (has_any(t.flags, latch)) return;
    t.event |= event;
    t.flags |= latch;
}

} // namespace

int turtle_step_forward(int i, double length) {
    turtle_t& t = ttl[i];
    if (has_any(t.flags, TTL_ZOMBIE | TTL_STONE | TTL_DOUGHNUT)) return -1;
    if (modes.battle_mode) {
        if (t.score < 1) return -1;
        length = std::clamp(length, -BATTLE_STEP, BATTLE_STEP);
    }

    double allowed = 0.0;
    int other = -1;
    switch (check_how_far_it_can_go(i, allowed, other, length)) {
    case BLOCKED_BY_TURTLE:
        report_once(t, TTL_LATCH_TURTLE, EVENT_TURTLE);
        return -1;
    case BLOCKED_BY_DOUGHNUT:
        report_once(t, TTL_LATCH_DOUGHNUT, EVENT_DOUGHNUT);
        return -1;
    case BLOCKED_BY_STONE:
        report_once(t, TTL_LATCH_STONE, EVENT_STONE);
        return -1;
    default:
        break;
    }

    t.flags &= ~TTL_LATCH_OBJECTS;
    if (modes.bounded_area_mode) {
        if (is_colliding_to_wall(i, length) != 0) {
            report_once(t, TTL_LATCH_WALL, EVENT_WALL);
            return -1;
        }
        t.flags &= ~TTL_LATCH_WALL;
    }
    move_to(t, t.pos[0].x + length * std::cos(t.dir * PI / 180.0), t.pos[0].y + length * std::sin(t.dir * PI / 180.0));
    return 0;
}

int turtle_jump(int i, double x, double y) {
    turtle_t& t = ttl[i];
    if (modes.battle_mode || has_any(t.flags, TTL_ZOMBIE)) return -1;
    // The crowding test looks at the start: a turtle that is hemmed in cannot jump away.
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
    if (angle != 0.0) t.flags &= ~(TTL_LATCH_OBJECTS | TTL_LATCH_WALL); // NaN too: it is not equal to zero
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
