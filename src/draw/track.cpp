#include "draw/track.h"

#include "brush/strokes.h"
#include "draw/canvas.h"
#include "draw/dot.h"
#include "draw/primitives.h"
#include "field/turtles.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr int POLYGON_BACK = 5; // oldest history index that a polygon reaches
static_assert(POLYGON_BACK + 1 < TRACK_MAX, "every vertex has a color one entry older");

// One point of a stroke with its brush width.
struct ink_point_t {
    double x, y, w;
};

ink_point_t ink_at(const turtle_t& t, int k) { return {t.pos[k].x, t.pos[k].y, t.line_width[k + 1]}; }

void emit_vertex(const turtle_t& t, int k) {
    const rgb_t& c = t.color[k + 1];
    set_pen_emission(c.r, c.g, c.b);
    glVertex2d(t.pos[k].x, t.pos[k].y);
}

// A width limited to what GL accepts: widths come from clients unchecked.
float drawable_width(double w, GLenum range) {
    if (!(w > 0.0) || !std::isfinite(w)) return 1.0F;
    std::array<float, 2> limits{1.0F, 1.0F};
    glGetFloatv(range, limits.data());
    return static_cast<float>(std::min(w, static_cast<double>(limits[1])));
}

// What is painted between the points 0 to `oldest` of a track, and `reach` around them.
void note_points(const turtle_t& t, int oldest, double reach) {
    double left = t.pos[0].x, right = left, bottom = t.pos[0].y, top = bottom;
    for (int k = 0; k <= oldest; ++k) {
        const point_t& p = t.pos[k];
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) reach = std::numeric_limits<double>::infinity();
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        bottom = std::min(bottom, p.y);
        top = std::max(top, p.y);
    }
    note_painted(left - reach, bottom - reach, right + reach, top + reach);
}

void fill_recent_polygon(const turtle_t& t) {
    if (t.n_painted <= 1) return;
    note_points(t, std::min(t.n_painted, POLYGON_BACK), 0.0);
    glBegin(GL_POLYGON);
    for (int k = std::min(t.n_painted, POLYGON_BACK); k >= 0; --k) emit_vertex(t, k);
    glEnd();
}

void finish_stroke(const turtle_t& t, int final) {
    const ink_point_t p0 = ink_at(t, 0);
    const ink_point_t p1 = ink_at(t, 1);
    const ink_point_t p2 = ink_at(t, 2);
    const ink_point_t p3 = ink_at(t, 3);
    if (t.n_painted >= 4) {
        const rgb_t& c = t.color[4];
        brushLine3(p3.x, p3.y, p3.w, p2.x, p2.y, p2.w, p1.x, p1.y, p1.w, p0.x, p0.y, p0.w, c.r, c.g, c.b);
    } else if (t.n_painted == 3) {
        const rgb_t& c = t.color[3];
        brushLine2(p2.x, p2.y, p2.w, p1.x, p1.y, p1.w, p0.x, p0.y, p0.w, c.r, c.g, c.b);
    } else {
        const rgb_t& c = t.color[2];
        brushLine(final, p1.x, p1.y, p1.w, p0.x, p0.y, p0.w, c.r, c.g, c.b);
    }
}

void continue_stroke(const turtle_t& t) {
    if (t.n_painted <= 3) return;
    const ink_point_t p1 = ink_at(t, 1);
    const ink_point_t p2 = ink_at(t, 2);
    const ink_point_t p3 = ink_at(t, 3);
    const rgb_t& c = t.color[4];
    if (t.n_painted == 4) {
        drawCurve3(p3.x, p3.y, p3.w, p2.x, p2.y, p2.w, p1.x, p1.y, p1.w, c.r, c.g, c.b);
    } else {
        const ink_point_t p4 = ink_at(t, 4);
        drawCurve4(p4.x, p4.y, p4.w, p3.x, p3.y, p3.w, p2.x, p2.y, p2.w, p1.x, p1.y, p1.w, c.r, c.g, c.b);
    }
}

} // namespace

void set_pen_emission(double r, double g, double b) {
    const std::array<float, 4> emission{color_level(r), color_level(g), color_level(b), 1.0F};
    glMaterialfv(GL_FRONT, GL_EMISSION, emission.data());
}

bool brush_is_wide(const turtle_t& t, int final) {
    // The points for finish_stroke and continue_stroke, each with the width one entry older.
    const int oldest = final != 0 ? std::clamp(t.n_painted, 2, 4) : std::clamp(t.n_painted, 4, 5);
    for (int k = final != 0 ? 1 : 2; k <= oldest; ++k) {
        if (!(std::fabs(t.line_width[k]) <= ORDINARY_WIDTH)) return true;
    }
    return false;
}

void paint_by_brush(const turtle_t& t, int final, double pixels) {
    if (final != 0) {
        finish_stroke(t, final);
    } else {
        continue_stroke(t);
    }
    paint_gathered_dots(brush_is_wide(t, final) ? pixels : std::numeric_limits<double>::infinity());
}

void paint_line_and_fill_area(const turtle_t& t) {
    if (has_any(t.flags, TTL_FILL_POLY)) {
        fill_recent_polygon(t);
    } else if (has_any(t.flags, TTL_POINT_MODE)) {
        const float size = drawable_width(t.line_width[1], GL_ALIASED_POINT_SIZE_RANGE);
        note_points(t, 0, size);
        glPointSize(size);
        glBegin(GL_POINTS);
        emit_vertex(t, 0);
        glEnd();
        glPointSize(1.0F);
    } else {
        const float width = drawable_width(t.line_width[1], GL_ALIASED_LINE_WIDTH_RANGE);
        note_points(t, 1, width);
        glLineWidth(width);
        glBegin(GL_LINES);
        emit_vertex(t, 1);
        emit_vertex(t, 0);
        glEnd();
        glLineWidth(1.0F);
    }
}
