#include "draw/paint.h"

#include "draw/primitives.h"
#include "draw/track.h"

#include <GL/freeglut.h>

#include <array>

int field_is_painted;

namespace {

constexpr std::array<float, 4> BLACK{0.0F, 0.0F, 0.0F, 0.0F};

void paint_track(const mark_t& mark) {
    if (mark.kind == mark_kind::none) return;
    if (mark.kind == mark_kind::pen) {
        paint_line_and_fill_area(mark.turtle);
    } else {
        paint_by_brush(mark.turtle, mark.kind == mark_kind::brush_end ? 1 : 0);
    }
    field_is_painted = 1;
}

void print_message(const mark_t& mark) {
    if (!mark.text) return;
    const turtle_t& t = mark.turtle;
    // Brush dots leave their own colour in the material: the text shall show only its emission.
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, BLACK.data());
    set_pen_emission(t.color[0].r, t.color[0].g, t.color[0].b);
    drawBoundedString(GLUT_BITMAP_HELVETICA_12, t.message, TEXT_BYTES, t.pos[0].x, t.pos[0].y, 0.0);
    field_is_painted = 1;
}

} // namespace

void paint_by_turtle(const mark_t& mark) {
    if (!mark.in_use) return;
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, BLACK.data());
    paint_track(mark);
    print_message(mark);
    glMaterialfv(GL_FRONT, GL_EMISSION, BLACK.data());
}
