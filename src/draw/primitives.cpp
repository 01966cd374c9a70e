#include "draw/primitives.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <GL/freeglut.h>

#include "field/state.h"

namespace {

constexpr double STEP = 0.5235987755982988; // pi/6
constexpr double TURN = 6.283185307179586;  // 2 pi; twelve steps add up to a little more

constexpr int FONT_GLYPHS = 128; // the stroke font has nothing beyond ASCII

void outline(double x, double y, double z, double rx, double ry) {
    if (first_call) init_sc_tab();
    glBegin(GL_LINE_LOOP);
    for (size_t k = 0; k < sine_tab.size(); ++k) glVertex3d(x + rx * cosine_tab[k], y + ry * sine_tab[k], z);
    glEnd();
}

void fill(double x, double y, double rx, double ry) {
    if (first_call) init_sc_tab();
    glBegin(GL_TRIANGLE_FAN);
    glVertex2d(x, y);
    for (size_t k = 0; k < sine_tab.size(); ++k) glVertex2d(x + rx * cosine_tab[k], y + ry * sine_tab[k]);
    glVertex2d(x + rx * cosine_tab[0], y + ry * sine_tab[0]);
    glEnd();
}

// Display list of the first glyph; 0 until the first text. A list replays the strokes and the advance much faster than
// the font's own immediate calls and changes no other state.
GLuint glyph_lists = 0;

void compile_glyphs() {
    glyph_lists = glGenLists(FONT_GLYPHS);
    if (!glyph_lists) return;
    for (int c = 0; c < FONT_GLYPHS; ++c) {
        glNewList(glyph_lists + static_cast<GLuint>(c), GL_COMPILE);
        glutStrokeCharacter(GLUT_STROKE_ROMAN, c);
        glEndList();
    }
}

void draw_bytes(const char* text, int length, double x, double y, double z) {
    if (!glyph_lists) compile_glyphs();
    glPushMatrix();
    glTranslated(x, y, z);
    glScaled(TEXT_SCALE, TEXT_SCALE, TEXT_SCALE);
    // Without this the lit color of a text would depend on the normal of the last surface drawn.
    glNormal3d(0.0, 0.0, 1.0);
    for (int k = 0; k < length; ++k) {
        const unsigned char c = static_cast<unsigned char>(text[k]);
        if (c >= FONT_GLYPHS) continue;
        if (glyph_lists)
            glCallList(glyph_lists + c);
        else
            glutStrokeCharacter(GLUT_STROKE_ROMAN, c);
    }
    glPopMatrix();
}

} // namespace

std::array<double, RIM_VERTICES> sine_tab, cosine_tab;
int first_call = 1;

float color_level(double v) { return v > 0.0 ? static_cast<float>(std::min(v, 1.0)) : 0.0F; }

void init_sc_tab() {
    double angle = 0.0;
    for (size_t k = 0; k < sine_tab.size() && angle < TURN; ++k) {
        sine_tab[k] = std::sin(angle);
        cosine_tab[k] = std::cos(angle);
        angle += STEP;
    }
    first_call = 0;
}

void drawCircle(double x, double y, double z, double r) { outline(x, y, z, r, r); }

void fillCircle(double x, double y, double, double r) { fill(x, y, r, r); }

void drawOval(double x, double y, double z, double rx, double ry) { outline(x, y, z, rx, ry); }

void fillOval(double x, double y, double, double rx, double ry) { fill(x, y, rx, ry); }

void drawString(void*, const char* text, double x, double y, double z) {
    if (!text) return;
    draw_bytes(text, static_cast<int>(strlen(text)), x, y, z);
}

void drawBoundedString(void*, const char* text, int size, double x, double y, double z) {
    draw_bytes(text, bounded_length(text, size), x, y, z);
}
