#include "draw/paint.h"

#include "draw/primitives.h"
#include "draw/track.h"
#include "field/turtles.h"

#include <GL/freeglut.h>

#include <array>

int field_is_painted;

namespace {

constexpr int SEGMENTS_HELD_BACK = 3; // a brush stroke needs its neighbours before it can bend
constexpr std::array<float, 4> BLACK{0.0F, 0.0F, 0.0F, 0.0F};

void paint_with_pen(int i) {
    turtle_t& t = ttl[i];
    if (!has_any(t.flags, TTL_PEN_DOWN) || has_any(t.flags, TTL_SEG_PAINTED)) return;
    ++t.n_painted;
    paint_line_and_fill_area(i);
    t.flags |= TTL_SEG_PAINTED;
    field_is_painted = 1;
}

void paint_with_brush(int i) {
    turtle_t& t = ttl[i];
    if (has_any(t.flags, TTL_PEN_DOWN) && !has_any(t.flags, TTL_SEG_PAINTED)) {
        ++t.n_painted;
        if (t.n_painted > SEGMENTS_HELD_BACK) {
            paint_by_brush(i, 0);
            field_is_painted = 1;
        }
        t.flags |= TTL_SEG_PAINTED;
    } else if (has_any(t.flags, TTL_PEN_LIFTED)) {
        paint_by_brush(i, 1);
        t.flags &= ~TTL_PEN_LIFTED;
        t.flags |= TTL_SEG_PAINTED;
        field_is_painted = 1;
    }
}

void print_message(turtle_t& t) {
    if (t.message[0] == '\0') return;
    // Brush dots leave their own colour in the material: the text shall show only its emission.
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, BLACK.data());
    set_pen_emission(t.color[0].r, t.color[0].g, t.color[0].b);
    drawBoundedString(GLUT_BITMAP_HELVETICA_12, t.message, TEXT_BYTES, t.pos[0].x, t.pos[0].y, 0.0);
    t.message[0] = '\0';
    field_is_painted = 1;
}

} // namespace

void paint_by_turtle(int i) {
    turtle_t& t = ttl[i];
    if (!has_any(t.flags, TTL_ALIVE)) return;
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, BLACK.data());
    if (has_any(t.flags, TTL_BRUSH)) {
        paint_with_brush(i);
    } else {
        paint_with_pen(i);
    }
    print_message(t);
    glMaterialfv(GL_FRONT, GL_EMISSION, BLACK.data());
}
