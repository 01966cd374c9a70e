#include "game/firing.h"

#include "field/turtles.h"

int turtle_fire(int i) {
    turtle_t& t = ttl[i];
    if (!has_any(t.flags, TTL_ALIVE) || has_any(t.flags, TTL_ZOMBIE) || t.score < 1) return -1;
    if (has_any(t.flags, TTL_FIRING) || t.fire_wait != 0) return 0;
    t.beam_dir = t.dir;
    t.beam_x = t.pos[0].x;
    t.beam_y = t.pos[0].y;
    t.flags |= TTL_FIRING;
    --t.score;
    return 0;
}
