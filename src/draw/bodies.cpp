#include "draw/bodies.h"

#include "draw/view.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace {

constexpr double PI = 3.141592653589793;
constexpr double BODY_HEIGHT = 5.0; // of the middle of the shell above the floor

enum part_t { HEAD, LEG_1, LEG_2, LEG_3, LEG_4, TRUNK, PARTS };

// A corner of a solid, in the frame of its part: place, and the normal that light falls on.
struct corner_t {
    float x, y, z;
    float nx, ny, nz;
    part_t part;
};

constexpr size_t SMALL_SPHERE_CORNERS = 2 + 7 * 8; // head and legs: 8 slices, 8 stacks
constexpr size_t SHELL_CORNERS = 2 + 11 * 12;      // 12 slices, 12 stacks
constexpr size_t TAIL_CORNERS = 5 * 8;             // 8 slices, 4 stacks; the tip is a ring of corners, too
constexpr size_t BODY_CORNERS = 5 * SMALL_SPHERE_CORNERS + SHELL_CORNERS + TAIL_CORNERS;
constexpr size_t BODY_TRIANGLES = 5 * (2 * 8 + 6 * 16) + 2 * 12 + 10 * 24 + 4 * 16;

using triangle_t = std::array<unsigned short, 3>;

// All bodies have the same corners and triangles; only the places of their parts differ.
struct body_mesh_t {
    std::array<corner_t, BODY_CORNERS> corners;
    std::array<triangle_t, BODY_TRIANGLES> triangles;
    size_t n_corners, n_triangles;

    unsigned short add(const corner_t& c) {
        corners[n_corners] = c;
        return static_cast<unsigned short>(n_corners++);
    }
    void add(unsigned short a, unsigned short b, unsigned short c) { triangles[n_triangles++] = {a, b, c}; }
};

// Two rings of corners, the upper one first, and the triangles between them, seen from outside counter-clockwise. The
// slices run clockwise, as seen from the first ring.
void add_band(body_mesh_t& mesh, unsigned short upper, unsigned short lower, int slices) {
    for (int j = 0; j < slices; ++j) {
        const int next = (j + 1) % slices;
        const auto at = [](unsigned short ring, int k) { return static_cast<unsigned short>(ring + k); };
        mesh.add(at(lower, j), at(upper, j), at(lower, next));
        mesh.add(at(upper, j), at(upper, next), at(lower, next));
    }
}

// A unit sphere, stretched; its poles lie up and down. Normals are shortened to those of its height, as GL rescales.
void add_sphere(body_mesh_t& mesh, part_t part, int slices, int stacks, double rx, double ry, double rz) {
    const auto corner = [&](double x, double y, double z) {
        return mesh.add(corner_t{static_cast<float>(rx * x), static_cast<float>(ry * y), static_cast<float>(rz * z),
                                 static_cast<float>(x * rz / rx), static_cast<float>(y * rz / ry),
                                 static_cast<float>(z), part});
    };
    const unsigned short top = corner(0, 0, 1);
    unsigned short before = 0;
    for (int k = 1; k < stacks; ++k) {
        unsigned short ring = 0;
        for (int j = 0; j < slices; ++j) {
            const double slope = PI * k / stacks, turn = -2.0 * PI * j / slices;
            const unsigned short c =
                corner(std::sin(slope) * std::cos(turn), std::sin(slope) * std::sin(turn), std::cos(slope));
            if (j == 0) ring = c;
        }
        if (k == 1) {
            for (int j = 0; j < slices; ++j) {
                mesh.add(top, static_cast<unsigned short>(ring + (j + 1) % slices),
                         static_cast<unsigned short>(ring + j));
            }
        } else {
            add_band(mesh, before, ring, slices);
        }
        before = ring;
    }
    const unsigned short bottom = corner(0, 0, -1);
    for (int j = 0; j < slices; ++j) {
        mesh.add(bottom, static_cast<unsigned short>(before + j),
                 static_cast<unsigned short>(before + (j + 1) % slices));
    }
}

// A cone that points backwards from (-8, 0, 0). Its foot is inside the shell.
void add_tail(body_mesh_t& mesh) {
    constexpr double ROOT = -8.0, RADIUS = 1.0, LENGTH = 6.0;
    constexpr int SLICES = 8, STACKS = 4;
    const double slant = std::hypot(RADIUS, LENGTH);
    unsigned short before = 0;
    for (int k = 0; k <= STACKS; ++k) {
        const double along = static_cast<double>(k) / STACKS, radius = RADIUS * (1.0 - along);
        unsigned short ring = 0;
        for (int j = 0; j < SLICES; ++j) {
            const double turn = -2.0 * PI * j / SLICES;
            const unsigned short c = mesh.add(
                corner_t{static_cast<float>(ROOT - along * LENGTH), static_cast<float>(radius * std::sin(turn)),
                         static_cast<float>(radius * std::cos(turn)), static_cast<float>(-RADIUS / slant),
                         static_cast<float>(LENGTH / slant * std::sin(turn)),
                         static_cast<float>(LENGTH / slant * std::cos(turn)), TRUNK});
            if (j == 0) ring = c;
        }
        if (k >= 1) add_band(mesh, ring, before, SLICES);
        before = ring;
    }
}

const body_mesh_t& body_mesh() {
    static body_mesh_t mesh;
    if (mesh.n_corners != 0) return mesh;
    add_sphere(mesh, HEAD, 8, 8, 2.5, 2.5, 2.5);
    for (const part_t leg : {LEG_1, LEG_2, LEG_3, LEG_4}) add_sphere(mesh, leg, 8, 8, 2.0, 2.0, 2.0);
    add_sphere(mesh, TRUNK, 12, 12, 10.0, 7.0, 5.0);
    add_tail(mesh);
    return mesh;
}

struct place_t {
    double x, y, z;
};

std::array<place_t, PARTS> places_of_parts(const body_t& b) {
    return {{{11.5, 0.0, b.head},
             {b.leg - 5.0, 8.0, -2.0},
             {5.0 - b.leg, 8.0, -2.0},
             {-5.0 - b.leg, -8.0, -2.0},
             {b.leg + 5.0, -8.0, -2.0},
             {0.0, 0.0, 0.0}}};
}

// What GL is given, and where it will see it.
struct vertex_t {
    float x, y, z;
    float r, g, b;
};
std::array<vertex_t, BODY_CORNERS * TTL_MAX> vertices;
std::array<unsigned short, 3 * BODY_TRIANGLES * TTL_MAX> indices;
static_assert(BODY_CORNERS * TTL_MAX <= 65536);

// Where a corner is seen: in 1/256 of a pixel, to which GL rounds, too.
struct seen_t {
    int x, y;
    bool is_known; // else it lies behind the eye or far outside the window
};
constexpr int PIXEL = 256;
std::array<seen_t, BODY_CORNERS> seen;

seen_t to_steps(const window_point_t& p) {
    constexpr double FAR = 1e4; // pixels
    if (!p.is_before_eye || !(std::abs(p.x) < FAR && std::abs(p.y) < FAR)) return {0, 0, false};
    constexpr double BIAS = 2 * FAR * PIXEL + 0.5; // a positive number is rounded by cutting it
    const auto steps = [](double v) { return static_cast<int>(v * PIXEL + BIAS) - static_cast<int>(BIAS); };
    return {steps(p.x), steps(p.y), true};
}

// The light comes from the eye's side: a face turned to it has its color 1 and 0.2 times its ambient color, 0.6 of it.
constexpr double AMBIENT = 0.2 * 0.6;

void place_body(const body_t& body, const std::array<double, 3>& light, const projection_t& projection, vertex_t* out) {
    const std::array<place_t, PARTS> places = places_of_parts(body);
    const double angle = body.dir * PI / 180.0;
    const double c = std::cos(angle), s = std::sin(angle);
    const std::array<double, 3> l{light[0] * c + light[1] * s, light[1] * c - light[0] * s, light[2]};
    const body_mesh_t& mesh = body_mesh();
    for (size_t k = 0; k < BODY_CORNERS; ++k) {
        const corner_t& v = mesh.corners[k];
        const place_t& at = places[v.part];
        const double x = at.x + v.x, y = at.y + v.y, z = BODY_HEIGHT + at.z + v.z;
        const double field_x = body.x + c * x - s * y, field_y = body.y + s * x + c * y;
        const double bright = AMBIENT + std::max(0.0, v.nx * l[0] + v.ny * l[1] + v.nz * l[2]);
        const auto level = [bright](double share) { return static_cast<float>(std::min(1.0, share * bright)); };
        out[k] = {static_cast<float>(field_x), static_cast<float>(field_y), static_cast<float>(z),
                  level(body.color.r),         level(body.color.g),         level(body.color.b)};
        seen[k] = to_steps(to_window(projection, field_x, field_y, z));
    }
}

// Distances below this, in units of seen_t, may be GL's rounding: such triangles are drawn.
constexpr int MARGIN = 4;

// Distance of a point to the left of the way from a to b, plus at least MARGIN, times the length of the way.
int left_of(const seen_t& a, const seen_t& b, int x, int y) {
    const int dx = b.x - a.x, dy = b.y - a.y;
    return dx * (y - a.y) - dy * (x - a.x) + MARGIN * (std::abs(dx) + std::abs(dy));
}

// Whether a triangle is certain to change nothing: it shows its back, or no middle of a pixel lies in it. Most
// triangles of a body are as small as that.
bool is_invisible(const seen_t& a, const seen_t& b, const seen_t& c) {
    constexpr int LARGE = 16 * PIXEL; // such a triangle is drawn, and no product is greater than an int
    if (!a.is_known || !b.is_known || !c.is_known) return false;
    const auto area = int64_t{b.x - a.x} * (c.y - a.y) - int64_t{b.y - a.y} * (c.x - a.x);
    if (area < -PIXEL * MARGIN) return true;
    const int left = std::min({a.x, b.x, c.x}), right = std::max({a.x, b.x, c.x});
    const int bottom = std::min({a.y, b.y, c.y}), top = std::max({a.y, b.y, c.y});
    if (right - left > LARGE || top - bottom > LARGE) return false;
    // The first middle of a pixel at or after a place, less the margin.
    const auto middle_from = [](int v) { return ((v - MARGIN + PIXEL / 2 - 1) & -PIXEL) + PIXEL / 2; };
    for (int y = middle_from(bottom); y <= top + MARGIN; y += PIXEL) {
        for (int x = middle_from(left); x <= right + MARGIN; x += PIXEL) {
            // The union is negative when any of the three is.
            if ((left_of(a, b, x, y) | left_of(b, c, x, y) | left_of(c, a, x, y)) >= 0) return false;
        }
    }
    return true;
}

} // namespace

void draw_bodies(std::span<const body_t> bodies, bool every_triangle) {
    if (bodies.empty()) return;
    std::array<double, 16> view;
    glGetDoublev(GL_MODELVIEW_MATRIX, view.data());
    const std::array<double, 3> light{view[2], view[6], view[10]}; // towards the eye, in the field's frame
    const projection_t projection = current_projection();
    const body_mesh_t& mesh = body_mesh();
    size_t n_indices = 0, first = 0;
    for (const body_t& body : bodies) {
        place_body(body, light, projection, &vertices[first]);
        for (const triangle_t& t : mesh.triangles) {
            if (!every_triangle && is_invisible(seen[t[0]], seen[t[1]], seen[t[2]])) continue;
            for (const unsigned short k : t) indices[n_indices++] = static_cast<unsigned short>(first + k);
        }
        first += BODY_CORNERS;
    }
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glDisable(GL_LIGHTING);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glVertexPointer(3, GL_FLOAT, sizeof(vertex_t), &vertices[0].x);
    glColorPointer(3, GL_FLOAT, sizeof(vertex_t), &vertices[0].r);
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(n_indices), GL_UNSIGNED_SHORT, indices.data());
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
    glColor3d(1.0, 1.0, 1.0); // arrays leave it undefined
    glEnable(GL_LIGHTING);
    glDisable(GL_CULL_FACE);
}
