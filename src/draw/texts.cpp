#include "draw/texts.h"

#include "draw/primitives.h"
#include "field/state.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace {

constexpr int GLYPHS = 128;          // the stroke font has nothing beyond ASCII
constexpr size_t STROKES_MAX = 4096; // of all glyphs; there are about 1,500

// A straight stroke, in units of the font.
struct stroke_t {
    float x1, y1, x2, y2;
};

struct glyph_t {
    uint16_t first, count; // in strokes
    float advance;
};

struct font_t {
    bool is_read;
    std::array<glyph_t, GLYPHS> glyphs;
    std::array<stroke_t, STROKES_MAX> strokes;
};
font_t font;

// Feedback gives places in the window. With these matrices they are those of the font, moved by half a viewport.
constexpr GLsizei VIEWPORT = 512;
constexpr double HALF = VIEWPORT / 2.0;

std::span<const stroke_t> read_strokes(int c, std::span<stroke_t> room) {
    static std::array<GLfloat, 4096> values;
    glFeedbackBuffer(static_cast<GLsizei>(values.size()), GL_2D, values.data());
    glRenderMode(GL_FEEDBACK);
    glPushMatrix();
    glutStrokeCharacter(GLUT_STROKE_ROMAN, c);
    glPopMatrix();
    const GLint used = glRenderMode(GL_RENDER);
    constexpr int LINE_VALUES = 5; // a token and two places
    size_t count = 0;
    const auto place = [](GLfloat v) { return static_cast<float>(static_cast<double>(v) - HALF); };
    for (int k = 0; k + LINE_VALUES <= used && count < room.size(); k += LINE_VALUES) {
        const GLfloat* v = &values[static_cast<size_t>(k)];
        if (v[0] != static_cast<GLfloat>(GL_LINE_TOKEN) && v[0] != static_cast<GLfloat>(GL_LINE_RESET_TOKEN)) break;
        room[count++] = {place(v[1]), place(v[2]), place(v[3]), place(v[4])};
    }
    return room.first(count);
}

// What the font's own calls draw.
void read_font() {
    glPushAttrib(GL_VIEWPORT_BIT | GL_TRANSFORM_BIT);
    glViewport(0, 0, VIEWPORT, VIEWPORT);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glScaled(1.0 / HALF, 1.0 / HALF, 1.0);
    size_t first = 0;
    for (int c = 0; c < GLYPHS; ++c) {
        const size_t count = read_strokes(c, std::span(font.strokes).subspan(first)).size();
        font.glyphs[static_cast<size_t>(c)] = {static_cast<uint16_t>(first), static_cast<uint16_t>(count),
                                               glutStrokeWidthf(GLUT_STROKE_ROMAN, c)};
        first += count;
    }
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glPopAttrib();
    font.is_read = true;
}

struct vertex_t {
    float x, y, z;
    text_color_t color;
};
constexpr size_t VERTICES_MAX = 16384; // thirty labels have about 6,000; a fuller array is drawn before its time
std::array<vertex_t, VERTICES_MAX> vertices;
size_t n_vertices;

} // namespace

text_color_t lit_text_color(const text_color_t& emission, const text_color_t& ambient, const text_color_t& diffuse) {
    constexpr double AMBIENT_LIGHT = 0.2; // GL's own; the lamp has none
    std::array<double, 16> view;
    glGetDoublev(GL_MODELVIEW_MATRIX, view.data());
    const double towards_eye = std::max(0.0, view[10]);
    text_color_t lit;
    for (size_t k = 0; k < 3; ++k) {
        lit[k] = static_cast<float>(
            std::clamp(emission[k] + AMBIENT_LIGHT * ambient[k] + towards_eye * diffuse[k], 0.0, 1.0));
    }
    lit[3] = diffuse[3];
    return lit;
}

void gather_text(const char* text, int size, double x, double y, double z, const text_color_t& color) {
    if (!font.is_read) read_font();
    const auto coordinate = [](double v) { return static_cast<float>(v); };
    double start = x; // of the next glyph
    for (const char byte : std::span(text, static_cast<size_t>(bounded_length(text, size)))) {
        const unsigned char c = static_cast<unsigned char>(byte);
        if (c >= GLYPHS) continue;
        const glyph_t& glyph = font.glyphs[c];
        if (n_vertices + 2 * size_t{glyph.count} > vertices.size()) draw_gathered_texts();
        for (const stroke_t& s : std::span(font.strokes).subspan(glyph.first, glyph.count)) {
            vertices[n_vertices++] = {coordinate(start + TEXT_SCALE * static_cast<double>(s.x1)),
                                      coordinate(y + TEXT_SCALE * static_cast<double>(s.y1)), coordinate(z), color};
            vertices[n_vertices++] = {coordinate(start + TEXT_SCALE * static_cast<double>(s.x2)),
                                      coordinate(y + TEXT_SCALE * static_cast<double>(s.y2)), coordinate(z), color};
        }
        start += TEXT_SCALE * static_cast<double>(glyph.advance);
    }
}

void draw_gathered_texts() {
    if (n_vertices == 0) return;
    glDisable(GL_LIGHTING);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glVertexPointer(3, GL_FLOAT, sizeof(vertex_t), &vertices[0].x);
    glColorPointer(4, GL_FLOAT, sizeof(vertex_t), vertices[0].color.data());
    glDrawArrays(GL_LINES, 0, static_cast<GLsizei>(n_vertices));
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
    glColor3d(1.0, 1.0, 1.0); // arrays leave it undefined
    glEnable(GL_LIGHTING);
    n_vertices = 0;
}
