#include "game/marks.h"

namespace {

constexpr int SEGMENTS_HELD_BACK = 3; // a brush stroke needs its neighbours before it can bend

// Counts the newest segment if it has not been painted yet.
bool take_segment(turtle_t& t) {
    if (!has_any(t.flags, TTL_PEN_DOWN) || has_any(t.flags, TTL_SEG_PAINTED)) return false;
    ++t.n_painted;
    t.flags |= TTL_SEG_PAINTED;
    return true;
}

mark_kind_t take_brush_segment(turtle_t& t) {
    if (take_segment(t)) return t.n_painted > SEGMENTS_HELD_BACK ? mark_kind_t::brush : mark_kind_t::none;
    if (!has_any(t.flags, TTL_PEN_LIFTED)) return mark_kind_t::none;
    t.flags &= ~TTL_PEN_LIFTED;
    t.flags |= TTL_SEG_PAINTED;
    return mark_kind_t::brush_end;
}

} // namespace

void leave_mark(int i, mark_t& mark) {
    turtle_t& t = ttl[i];
    mark.in_use = has_any(t.flags, TTL_ALIVE);
    mark.kind = mark_kind_t::none;
    mark.text = false;
    if (!mark.in_use) return;
    if (has_any(t.flags, TTL_BRUSH)) {
        mark.kind = take_brush_segment(t);
    } else if (take_segment(t)) {
        mark.kind = mark_kind_t::pen;
    }
    mark.text = t.message[0] != '\0';
    if (mark.kind != mark_kind_t::none || mark.text) mark.turtle = t;
    t.message[0] = '\0';
}

mark_t leave_mark(int i) {
    mark_t mark{};
    leave_mark(i, mark);
    return mark;
}
