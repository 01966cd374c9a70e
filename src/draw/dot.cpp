#include "draw/dot.h"

#include "brush/ink.h"
#include "draw/canvas.h"
#include "draw/icons.h"
#include "draw/primitives.h"
#include "draw/scene.h"
#include "images.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <GL/gl.h>
#include <limits>
#include <span>

namespace {

constexpr double SMALLEST_DOT = 0.01; // field units; tapers end in dots of this size
constexpr double LARGEST_DOT = 1e6;   // field units: much larger squares lose halves in GL's clipping
constexpr double DOT_HEIGHT = 0.1;    // just above the canvas
constexpr double HALF_WINDOW = 256.0; // field units

using color_t = std::array<GLfloat, 4>;

// The longest mark is three rows of 513 dots and a single dot.
constexpr size_t DOTS_HELD = 2048;
std::array<ink_dot_t, DOTS_HELD> held;
size_t n_held;
color_t held_color;

color_t dot_color(double r, double g, double b) { return {color_level(r), color_level(g), color_level(b), 1.0F}; }

void set_dot_material(const color_t& color) {
    glMaterialfv(GL_FRONT, GL_EMISSION, color.data());
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, color.data());
}

void begin_dots(const color_t& color) {
    if (!obj_tex_initialized[TEX_BRUSH_DOT]) init_obj_tex(TEX_BRUSH_DOT, ten_image32x32);
    glEnable(GL_BLEND);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, obj_textures[TEX_BRUSH_DOT]);
    set_dot_material(color);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
}

void end_dots() {
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
}

// One corner of a dot, 0 lower left, clockwise.
void dot_corner(int corner, const ink_dot_t& dot) {
    const bool right = corner >= 2;
    const bool top = corner == 1 || corner == 2;
    const double h = dot.size / 2.0;
    glTexCoord2d(right ? 1.0 : 0.0, top ? 1.0 : 0.0);
    glVertex3d(right ? dot.x + h : dot.x - h, top ? dot.y + h : dot.y - h, DOT_HEIGHT);
}

// The result of many layers of solid ink: the dots' lit color without their texture.
void fill_window() {
    set_dot_material(held_color);
    glNormal3d(0.0, 0.0, 1.0);
    glRectd(-HALF_WINDOW, -HALF_WINDOW, HALF_WINDOW, HALF_WINDOW);
}

// As quads, not as triangles, which round differently where the middle of a pixel falls between two texels.
void paint_batch(std::span<const ink_dot_t> dots) {
    if (dots.empty()) return;
    begin_dots(held_color);
    glBegin(GL_QUADS);
    glNormal3d(0.0, 0.0, 1.0);
    for (const ink_dot_t& dot : dots) {
        for (int corner = 0; corner < 4; ++corner) dot_corner(corner, dot);
    }
    glEnd();
    end_dots();
}

bool reaches_over_the_edge(const ink_dot_t& dot) {
    const double reach = dot.size / 2.0;
    return !(std::fabs(dot.x) + reach < HALF_WINDOW && std::fabs(dot.y) + reach < HALF_WINDOW);
}

// A dot that must be clipped takes another path through the driver, and so does everything drawn with it, which then
// rounds differently: each such dot is painted by itself.
void paint_dots(std::span<const ink_dot_t> dots) {
    while (!dots.empty()) {
        const auto edge = std::find_if(dots.begin(), dots.end(), reaches_over_the_edge);
        const auto count = static_cast<size_t>(edge - dots.begin());
        paint_batch(dots.first(count));
        if (edge != dots.end()) paint_batch(dots.subspan(count, 1));
        dots = dots.subspan(std::min(count + 1, dots.size()));
    }
}

} // namespace

void paint_Ten(double x, double y, double size, double r, double g, double b) {
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(size)) return;
    const ink_dot_t dot{x, y, std::clamp(size, SMALLEST_DOT, LARGEST_DOT)};
    begin_dots(dot_color(r, g, b));
    glBegin(GL_QUADS);
    glNormal3d(0.0, 0.0, 1.0); // light from above, whatever was drawn before
    for (int corner = 0; corner < 4; ++corner) dot_corner(corner, dot);
    glEnd();
    end_dots();
}

void gather_dot(double x, double y, double size, double r, double g, double b) {
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(size)) return;
    const color_t color = dot_color(r, g, b);
    if (n_held == DOTS_HELD || (n_held > 0 && color != held_color)) {
        paint_gathered_dots(std::numeric_limits<double>::infinity());
    }
    held_color = color;
    held[n_held++] = {x, y, std::clamp(size, SMALLEST_DOT, LARGEST_DOT)};
}

void paint_gathered_dots(double pixels) {
    const std::span<ink_dot_t> dots(held.data(), n_held);
    n_held = 0;
    for (const ink_dot_t& d : dots) {
        const double h = d.size / 2.0;
        note_painted(d.x - h, d.y - h, d.x + h, d.y + h);
    }
    if (use_reference_path) {
        const color_t& c = held_color;
        for (const ink_dot_t& d : dots) paint_Ten(d.x, d.y, d.size, c[0], c[1], c[2]);
        return;
    }
    const ink_t ink = bound_ink(dots, pixels);
    if (ink.fills_all) {
        fill_window();
    } else {
        paint_dots(dots.first(static_cast<size_t>(ink.count)));
    }
}
