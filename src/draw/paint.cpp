#include "draw/paint.h"

#include "draw/canvas.h"
#include "draw/primitives.h"
#include "draw/track.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <array>
#include <cstddef>

int field_is_painted;

namespace {

constexpr std::array<float, 4> BLACK{0.0F, 0.0F, 0.0F, 0.0F};

// No glyph is larger, as a text is drawn; field units. The widest is m: it advances by 12.4.
constexpr double GLYPH_WIDTH = 12.5, GLYPH_DEPTH = 4.0, GLYPH_HEIGHT = 13.0;

int final_flag(const mark_t& mark) { return mark.kind == mark_kind_t::brush_end ? 1 : 0; }

bool is_wide_stroke(const mark_t& mark) {
    return mark.in_use && (mark.kind == mark_kind_t::brush || mark.kind == mark_kind_t::brush_end) &&
           brush_is_wide(mark.turtle, final_flag(mark));
}

void paint_track(const mark_t& mark, double pixels) {
    if (mark.kind == mark_kind_t::none) return;
    if (mark.kind == mark_kind_t::pen) {
        paint_line_and_fill_area(mark.turtle);
    } else {
        paint_by_brush(mark.turtle, final_flag(mark), pixels);
    }
    field_is_painted = 1;
}

void print_message(const mark_t& mark) {
    if (!mark.text) return;
    const turtle_t& t = mark.turtle;
    // Brush dots leave their own color in the material; text must show only its emission.
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, BLACK.data());
    set_pen_emission(t.color[0].r, t.color[0].g, t.color[0].b);
    const point_t& at = t.pos[0];
    drawBoundedString(GLUT_BITMAP_HELVETICA_12, t.message, TEXT_BYTES, at.x, at.y, 0.0);
    note_painted(at.x - GLYPH_WIDTH, at.y - GLYPH_DEPTH, at.x + GLYPH_WIDTH * bounded_length(t.message, TEXT_BYTES),
                 at.y + GLYPH_HEIGHT);
    field_is_painted = 1;
}

} // namespace

void paint_by_turtle(const mark_t& mark, double pixels) {
    if (!mark.in_use) return;
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, BLACK.data());
    paint_track(mark, pixels);
    print_message(mark);
    glMaterialfv(GL_FRONT, GL_EMISSION, BLACK.data());
}

void paint_marks(std::span<const mark_t> marks) {
    const auto wide = std::count_if(marks.begin(), marks.end(), is_wide_stroke);
    const double share = FRAME_INK / static_cast<double>(std::max<ptrdiff_t>(wide, 1));
    for (const mark_t& mark : marks) paint_by_turtle(mark, share);
}
