// Shared by the picture tests: the state a window starts with, the cameras, pixels and vertices read back.
// One window of 512 x 512 is opened by main.cpp before the tests run; every test draws into its back buffer.
// In the top view one field unit is one pixel: the field point (x, y) is the lower left corner of pixel (x, y) + 256.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <ostream>
#include <vector>

#include <GL/freeglut.h>
#include <gtest/gtest.h>

namespace picture {

inline constexpr int SIDE = 512; // pixels, and field units

struct rgb {
    int r, g, b; // 0..255
    bool operator==(const rgb&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const rgb& c) {
    return out << '(' << c.r << ", " << c.g << ", " << c.b << ')';
}

/// Largest difference of a channel.
inline int difference(const rgb& a, const rgb& b) {
    return std::max(std::abs(a.r - b.r), std::max(std::abs(a.g - b.g), std::abs(a.b - b.b)));
}

/// Puts back the state that the program's window starts with.
inline void start_state() {
    for (const GLenum capability : {GL_TEXTURE_2D, GL_BLEND, GL_CULL_FACE, GL_DEPTH_TEST, GL_COLOR_MATERIAL, GL_FOG,
                                    GL_LINE_SMOOTH, GL_POINT_SMOOTH, GL_SCISSOR_TEST, GL_ALPHA_TEST, GL_DITHER})
        glDisable(capability);
    glViewport(0, 0, SIDE, SIDE);
    glBindTexture(GL_TEXTURE_2D, 0);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadBuffer(GL_BACK);
    glDrawBuffer(GL_BACK);
    glLineWidth(1.0F);
    glPointSize(1.0F);
    glColor4d(1.0, 1.0, 1.0, 1.0);
    glNormal3d(0.0, 0.0, 1.0);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    const GLfloat position[] = {0.0F, 0.0F, 256.0F, 0.0F};
    const GLfloat white[] = {1.0F, 1.0F, 1.0F, 1.0F};
    glLightfv(GL_LIGHT0, GL_POSITION, position);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glEnable(GL_RESCALE_NORMAL);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    const GLfloat grey_ambient[] = {0.2F, 0.2F, 0.2F, 1.0F};
    const GLfloat grey_diffuse[] = {0.8F, 0.8F, 0.8F, 1.0F};
    const GLfloat black[] = {0.0F, 0.0F, 0.0F, 1.0F};
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, grey_ambient);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, grey_diffuse);
    glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, black);
}

inline void clear(double red, double green, double blue) {
    glClearColor(static_cast<GLfloat>(red), static_cast<GLfloat>(green), static_cast<GLfloat>(blue), 1.0F);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

/// The camera of the paint canvas: flat, without depth.
inline void canvas_view() {
    glDisable(GL_DEPTH_TEST);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluOrtho2D(-256.0, 256.0, -256.0, 256.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

inline constexpr double EYE = 512.0, NEAR_PLANE = 409.6, FAR_PLANE = 614.4, FAR_BIRD = 1024.0;

/// The camera of the scene seen from above.
inline void top_view() {
    glEnable(GL_DEPTH_TEST);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-256.0, 256.0, -256.0, 256.0, NEAR_PLANE, FAR_PLANE);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0.0, 0.0, EYE, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0);
}

/// The tilted camera; both angles in degrees.
inline void bird_view(double field_of_view, double rotation) {
    glEnable(GL_DEPTH_TEST);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(field_of_view, 1.0, NEAR_PLANE, FAR_BIRD);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0.0, -EYE, EYE, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0);
    glRotated(rotation, 0.0, 0.0, 1.0);
}

/// The back buffer, bottom row first.
struct shot {
    std::vector<unsigned char> bytes;
    [[nodiscard]] rgb at(int column, int row) const {
        const size_t k = (static_cast<size_t>(row) * SIDE + static_cast<size_t>(column)) * 3;
        return {bytes[k], bytes[k + 1], bytes[k + 2]};
    }
    /// The pixel whose lower left corner is the field point, in the top view.
    [[nodiscard]] rgb on_field(int x, int y) const { return at(x + SIDE / 2, y + SIDE / 2); }
};

inline shot read_window() {
    shot s{std::vector<unsigned char>(size_t{SIDE} * SIDE * 3)};
    glReadBuffer(GL_BACK);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, SIDE, SIDE, GL_RGB, GL_UNSIGNED_BYTE, s.bytes.data());
    return s;
}

/// How many pixels have a channel that differs by more than the tolerance.
inline int differing_pixels(const shot& a, const shot& b, int tolerance) {
    int count = 0;
    for (int row = 0; row < SIDE; ++row)
        for (int column = 0; column < SIDE; ++column)
            count += difference(a.at(column, row), b.at(column, row)) > tolerance;
    return count;
}

/// How many pixels are within the tolerance of a colour.
inline int pixels_of(const shot& s, const rgb& colour, int tolerance) {
    int count = 0;
    for (int row = 0; row < SIDE; ++row)
        for (int column = 0; column < SIDE; ++column) count += difference(s.at(column, row), colour) <= tolerance;
    return count;
}

/// Columns and rows that differ from a colour by more than the tolerance; empty when right < left.
struct box {
    int left = SIDE, bottom = SIDE, right = -1, top = -1;
};

inline box ink(const shot& s, const rgb& paper, int tolerance) {
    box b;
    for (int row = 0; row < SIDE; ++row)
        for (int column = 0; column < SIDE; ++column)
            if (difference(s.at(column, row), paper) > tolerance) {
                b.left = std::min(b.left, column);
                b.right = std::max(b.right, column);
                b.bottom = std::min(b.bottom, row);
                b.top = std::max(b.top, row);
            }
    return b;
}

/// A vertex as GL processed it, in field units of the top view; colours as lit, 0 to 1.
struct vertex {
    double x, y, z;
    double red, green, blue, alpha;
    double s, t;
};

/// A line (2 vertices), point (1) or polygon (3 or more); GL may cut a polygon into triangles.
struct piece {
    int kind; // GL_LINE_TOKEN, GL_LINE_RESET_TOKEN, GL_POINT_TOKEN, GL_POLYGON_TOKEN
    std::vector<vertex> vertices;
};

/// Heights pass through a depth range of 204.8 in single precision, places through 512 pixels.
inline constexpr double VERTEX_TOLERANCE = 1e-3;

/// The primitives that `draw` hands to GL, less those culled or clipped, with the top view's camera. Nothing is
/// painted.
inline std::vector<piece> vertices_of(const std::function<void()>& draw) {
    std::vector<GLfloat> buffer(1 << 20);
    glFeedbackBuffer(static_cast<GLsizei>(buffer.size()), GL_3D_COLOR_TEXTURE, buffer.data());
    glRenderMode(GL_FEEDBACK);
    draw();
    const GLint used = glRenderMode(GL_RENDER);
    std::vector<piece> pieces;
    if (used < 0) {
        ADD_FAILURE() << "more vertices than the buffer holds";
        return pieces;
    }
    const size_t end = static_cast<size_t>(used);
    for (size_t k = 0; k < end;) {
        piece p{static_cast<int>(buffer[k++]), {}};
        int count = 1;
        if (p.kind == GL_POLYGON_TOKEN)
            count = static_cast<int>(buffer[k++]);
        else if (p.kind == GL_LINE_TOKEN || p.kind == GL_LINE_RESET_TOKEN)
            count = 2;
        else if (p.kind == GL_PASS_THROUGH_TOKEN) {
            ++k;
            continue;
        }
        for (; count > 0; --count, k += 11) {
            const GLfloat* f = &buffer[k];
            p.vertices.push_back({f[0] - SIDE / 2, f[1] - SIDE / 2, EYE - NEAR_PLANE - f[2] * (FAR_PLANE - NEAR_PLANE),
                                  f[3], f[4], f[5], f[6], f[7], f[8]});
        }
        pieces.push_back(p);
    }
    return pieces;
}

/// The polygons' vertices one after another.
inline std::vector<vertex> flat(const std::vector<piece>& pieces) {
    std::vector<vertex> all;
    for (const piece& p : pieces) all.insert(all.end(), p.vertices.begin(), p.vertices.end());
    return all;
}

inline bool is_at(const vertex& v, double x, double y, double z) {
    return std::abs(v.x - x) < VERTEX_TOLERANCE && std::abs(v.y - y) < VERTEX_TOLERANCE &&
           std::abs(v.z - z) < VERTEX_TOLERANCE;
}

/// The vertex at a place, whichever piece it belongs to; null when there is none.
inline const vertex* find_vertex(const std::vector<vertex>& all, double x, double y, double z) {
    for (const vertex& v : all)
        if (is_at(v, x, y, z)) return &v;
    return nullptr;
}

/// Texturing, blending and culling off, no texture bound, matrix stacks empty, no GL error.
inline void expect_tidy_state() {
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_FALSE(glIsEnabled(GL_CULL_FACE));
    GLint number = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &number);
    EXPECT_EQ(number, 0);
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &number);
    EXPECT_EQ(number, 1);
    GLfloat width = 0.0F;
    glGetFloatv(GL_LINE_WIDTH, &width);
    EXPECT_EQ(width, 1.0F);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

/// A colour of the front material: GL_EMISSION, GL_AMBIENT, GL_DIFFUSE.
inline std::vector<float> front_material(GLenum which) {
    std::vector<float> colour(4);
    glGetMaterialfv(GL_FRONT, which, colour.data());
    return colour;
}

/// Number of existing textures; GL gives out small names.
inline int number_of_textures() {
    int count = 0;
    for (unsigned name = 1; name < 1000; ++name) count += glIsTexture(name);
    return count;
}

/// Deletes all textures, so that the next drawing makes them again.
template <class Names, class Flags> void forget_textures(Names& names, Flags& are_made) {
    for (size_t k = 0; k < names.size(); ++k)
        if (are_made[k]) glDeleteTextures(1, &names[k]);
    are_made.fill(0);
}

/// Each test starts from a black window in the top view and the window's start state, and must not raise a GL error.
class PictureTest : public testing::Test {
protected:
    void SetUp() override {
        while (glGetError() != GL_NO_ERROR) {
        }
        start_state();
        clear(0.0, 0.0, 0.0);
        top_view();
    }
    void TearDown() override { EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)); }
};

} // namespace picture
