#include "turtle/pen.h"

#include "field/turtles.h"

#include <algorithm>
#include <iterator>

namespace {

int set_mode(int i, uint32_t mode) {
    ttl[i].flags |= mode;
    return 0;
}

int clear_mode(int i, uint32_t mode) {
    ttl[i].flags &= ~mode;
    return 0;
}

} // namespace

int turtle_pen_down(int i) {
    turtle_t& t = ttl[i];
    t.flags |= TTL_PEN_DOWN;
    t.n_painted = 0;
    std::fill(std::begin(t.pos) + 1, std::end(t.pos), t.pos[0]);
    std::fill(std::begin(t.color) + 1, std::end(t.color), t.color[0]);
    std::fill(std::begin(t.line_width) + 1, std::end(t.line_width), t.line_width[0]);
    return 0;
}

int turtle_pen_up(int i) {
    turtle_t& t = ttl[i];
    if (!has_any(t.flags, TTL_PEN_DOWN)) return 0;
    t.flags &= ~TTL_PEN_DOWN;
    t.flags |= TTL_PEN_LIFTED;
    return 0;
}

int turtle_set_color(int i, double r, double g, double b) {
    if (has_any(ttl[i].flags, TTL_ZOMBIE)) return -1;
    ttl[i].color[0] = {r, g, b};
    return 0;
}

int turtle_line_width(int i, double width) {
    ttl[i].line_width[0] = width;
    return 0;
}

int turtle_set_fill_poly(int i) { return set_mode(i, TTL_FILL_POLY); }
int turtle_unset_fill_poly(int i) { return clear_mode(i, TTL_FILL_POLY); }
int turtle_set_point_mode(int i) { return set_mode(i, TTL_POINT_MODE); }
int turtle_unset_point_mode(int i) { return clear_mode(i, TTL_POINT_MODE); }
int turtle_set_brush(int i) { return set_mode(i, TTL_BRUSH); }
int turtle_unset_brush(int i) { return clear_mode(i, TTL_BRUSH); }

int turtle_print_string(int i, const char* text) {
    if (has_any(ttl[i].flags, TTL_ZOMBIE)) return -1;
    if (bounded_length(text, TEXT_BYTES) >= TEXT_BYTES) return -1;
    bounded_copy(ttl[i].message, text, TEXT_BYTES);
    return 0;
}

int turtle_finder_range(int i, double range) {
    if (has_any(ttl[i].flags, TTL_ZOMBIE)) return 1;
    ttl[i].finder_range = range;
    return 0;
}

int turtle_broadcast_message(int i, const char* text) {
    const int team = ttl[i].team;
    teaminfo_t& board = teams[team];
    if (has_any(board.flags, TEAM_REFUSES)) return -1;
    bounded_copy(board.message, text, TEXT_BYTES);
    board.message_time = static_cast<uint32_t>(signals.elapsed_time.load());
    for (int k = 0; k < ntmax; ++k) {
        if (k != i && has_any(ttl[k].flags, TTL_ALIVE) && ttl[k].team == team) ttl[k].event |= EVENT_MESSAGE;
    }
    return 0;
}
