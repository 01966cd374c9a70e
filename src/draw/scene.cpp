#include "draw/scene.h"

#include "draw/bodies.h"
#include "draw/icons.h"
#include "draw/primitives.h"
#include "draw/texts.h"
#include "field/palette.h"
#include "field/state.h"
#include "field/turtles.h"
#include "field/walls.h"

#include <GL/freeglut.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <span>

bool use_reference_path;

namespace {

using color4_t = std::array<float, 4>; // red, green, blue, alpha, 0 to 1

constexpr double WALL_TOP = 15.0;     // heights above the floor, field units
constexpr double BEAM_HEIGHT = 3.0;   // beams, explosions and the glow of the dying
constexpr double BODY_HEIGHT = 5.0;   // also that of the sensor lines
constexpr double LABEL_HEIGHT = 16.0; // above every body
constexpr double BALL_RADIUS = 5.0;   // a beam in flight
constexpr double BURST_RADIUS = 15.0; // explosions and the glow
constexpr double AMBIENT_SHARE = 0.6; // of a body's color: what it throws back of the ambient light

// The solids that turtles and beams are made of, each a display list.
enum class solid_t { head, leg, shell, tail, ball, burst, count };

void draw_solid_itself(solid_t s) {
    switch (s) {
    case solid_t::head:
        glutSolidSphere(2.5, 8, 8);
        break;
    case solid_t::leg:
        glutSolidSphere(2.0, 8, 8);
        break;
    case solid_t::shell:
        glScaled(1.0, 0.7, 0.5);
        glutSolidSphere(10.0, 12, 12);
        break;
    case solid_t::tail:
        glRotated(-90.0, 0.0, 1.0, 0.0);
        glutSolidCone(1.0, 6.0, 8, 4);
        break;
    case solid_t::ball:
        glutSolidSphere(BALL_RADIUS, 16, 16);
        break;
    case solid_t::burst:
        glutSolidSphere(BURST_RADIUS, 16, 16);
        break;
    case solid_t::count:
        break;
    }
}

// Number of the first list; the lists are made when the first solid is drawn.
unsigned solid_lists() {
    static unsigned first = 0;
    if (first != 0) return first;
    constexpr int COUNT = static_cast<int>(solid_t::count);
    first = glGenLists(COUNT);
    for (int k = 0; first != 0 && k < COUNT; ++k) {
        glNewList(first + static_cast<unsigned>(k), GL_COMPILE);
        draw_solid_itself(static_cast<solid_t>(k));
        glEndList();
    }
    return first;
}

void draw_solid_at(solid_t s, double x, double y, double z) {
    const unsigned lists = use_reference_path ? 0 : solid_lists();
    glPushMatrix();
    glTranslated(x, y, z);
    if (lists != 0) {
        glCallList(lists + static_cast<unsigned>(s));
    } else {
        draw_solid_itself(s);
    }
    glPopMatrix();
}

void front_material(GLenum which, const color4_t& c) { glMaterialfv(GL_FRONT, which, c.data()); }

color4_t color4(const rgb_t& c, double share, double alpha) {
    return {static_cast<float>(c.r * share), static_cast<float>(c.g * share), static_cast<float>(c.b * share),
            static_cast<float>(alpha)};
}

// Beams and explosions burn in the same colors.
void set_fire_material(double alpha) {
    front_material(GL_DIFFUSE, color4({1.0, 0.9, 0.5}, 1.0, alpha));
    front_material(GL_AMBIENT, color4({1.0, 0.8, 0.0}, 1.0, alpha));
}

void wall_top_corners(const wall_t& w, std::array<point_t, 6>& p) {
    p = {{{w.x1 - w.ny, w.y1 + w.nx},
          {w.x1 + w.nx, w.y1 + w.ny},
          {w.x2 + w.nx, w.y2 + w.ny},
          {w.x2 + w.ny, w.y2 - w.nx},
          {w.x2 - 2.0 * w.nx, w.y2 - 2.0 * w.ny},
          {w.x1 - 2.0 * w.nx, w.y1 - 2.0 * w.ny}}};
}

void draw_walls_one_by_one() {
    for (int k = 0; k < nwall; ++k) {
        const wall_t& w = walls[k];
        drawStoneWall(w.x1 + w.nx, w.y1 + w.ny, w.x2 + w.nx, w.y2 + w.ny, w.nx, w.ny);
        if (has_any(w.attr, WALL_BACKFACE)) continue;
        std::array<point_t, 6> corners;
        wall_top_corners(w, corners);
        glNormal3d(0.0, 0.0, 1.0);
        glBegin(GL_POLYGON);
        for (const point_t& c : corners) glVertex3d(c.x, c.y, WALL_TOP);
        glEnd();
    }
}

void draw_wall_faces(std::span<const bool, WALL_MAX> wanted) {
    begin_stone_wall_batch();
    for (int k = 0; k < nwall; ++k) {
        if (!wanted[k]) continue;
        const wall_t& w = walls[k];
        stone_wall_in_batch(w.x1 + w.nx, w.y1 + w.ny, w.x2 + w.nx, w.y2 + w.ny, w.nx, w.ny);
    }
    end_stone_wall_batch();
}

// All faces with one texture bind, then all tops: no top shares a depth with a face, so the order does not show.
void draw_walls_in_batches(std::span<const bool, WALL_MAX> wanted) {
    // In the top view a face is a line without width.
    if (modes.bird_view_mode) draw_wall_faces(wanted);

    glNormal3d(0.0, 0.0, 1.0);
    glBegin(GL_TRIANGLES);
    for (int k = 0; k < nwall; ++k) {
        if (!wanted[k] || has_any(walls[k].attr, WALL_BACKFACE)) continue;
        std::array<point_t, 6> corners;
        wall_top_corners(walls[k], corners);
        for (int c = 1; c + 1 < 6; ++c) {
            for (const int corner : {0, c, c + 1}) glVertex3d(corners[corner].x, corners[corner].y, WALL_TOP);
        }
    }
    glEnd();
}

void draw_sensor_line(const sensor_line_t& line, const color4_t& color) {
    if (!line.shown) return;
    glLineWidth(1.0F);
    front_material(GL_AMBIENT_AND_DIFFUSE, color);
    front_material(GL_EMISSION, color);
    glNormal3d(0.0, 0.0, 1.0);
    glBegin(GL_LINES);
    glVertex3d(line.from.x, line.from.y, BODY_HEIGHT);
    glVertex3d(line.to.x, line.to.y, BODY_HEIGHT);
    glEnd();
    front_material(GL_EMISSION, {0.0F, 0.0F, 0.0F, 0.0F});
}

void draw_flying_beam(const beam_view_t& view) {
    set_fire_material(1.0);
    draw_solid_at(solid_t::ball, view.ball.x, view.ball.y, BEAM_HEIGHT);
    if (view.struck != 0) draw_solid_at(solid_t::burst, view.strike.x, view.strike.y, BEAM_HEIGHT);
}

// A label glows in this color; the body's material tints it.
constexpr color4_t LABEL_GLOW{0.7F, 0.7F, 0.7F, 1.0F};

void draw_label(const char* text, int size, double x, double y, float alpha_afterwards) {
    front_material(GL_EMISSION, LABEL_GLOW);
    drawBoundedString(GLUT_BITMAP_HELVETICA_12, text, size, x, y, LABEL_HEIGHT);
    front_material(GL_EMISSION, {0.0F, 0.0F, 0.0F, alpha_afterwards});
}

// Hands each label of a turtle to `draw` as text, size, place and what the emission's alpha is afterwards.
template <typename Draw> void for_each_label(const turtle_t& t, Draw draw) {
    if (has_any(t.flags, TTL_OBJECT)) return;
    if (modes.disp_score) {
        std::array<char, 16> text;
        const int length = snprintf(text.data(), text.size(), "%d", t.score);
        draw(text.data(), length, t.pos[0].x - 12.0, t.pos[0].y + 10.0, 1.0F);
    }
    if (modes.disp_name) draw(t.name, TEXT_BYTES, t.pos[0].x - 12.0, t.pos[0].y - 22.0, 0.0F);
}

// The labels of turtles by themselves, with the material of their bodies.
void gather_labels(const turtle_t& t) {
    const rgb_t c = team_color(t.team);
    const color4_t lit = lit_text_color(LABEL_GLOW, color4(c, AMBIENT_SHARE, 1.0), color4(c, 1.0, 1.0));
    for_each_label(t, [&lit](const char* text, int size, double x, double y, float) {
        gather_text(text, size, x, y, LABEL_HEIGHT, lit);
    });
}

void draw_death(const turn_t& turn) {
    if (turn.turtle.dying_count <= 0) return;
    if (turn.dying.glow != 0) {
        // The icons under a turtle that carries coins turn blending off: the glow turns it on again.
        glEnable(GL_BLEND);
        const color4_t glow{1.0F, 0.2F, 0.0F, 0.8F};
        front_material(GL_AMBIENT_AND_DIFFUSE, glow);
        draw_solid_at(solid_t::burst, turn.dying.at.x, turn.dying.at.y, BEAM_HEIGHT);
    }
    glDisable(GL_BLEND);
}

void draw_explosion(const explosion_view_t& view) {
    if (view.shown == 0) return;
    glEnable(GL_BLEND);
    set_fire_material(view.alpha);
    draw_solid_at(solid_t::burst, view.at.x, view.at.y, BEAM_HEIGHT);
    glDisable(GL_BLEND);
}

struct gait_t {
    double leg, head; // -1 to 1
};

// Neighbouring slots walk out of step.
gait_t gait_of(int slot) {
    const double clock = static_cast<double>(signals.elapsed_time.load());
    return {std::sin(0.3 * slot + clock / 7.0), std::sin(0.3 * slot + clock / 28.0)};
}

// Whether something of the turn is blended, so that what it is drawn over and under must be drawn before and after it.
bool is_blended(const turn_t& turn) {
    if (!turn.in_use) return false;
    const turtle_t& t = turn.turtle;
    return has_any(t.flags, TTL_OBJECT) || t.n_coin > 0 || t.dying_count > 0 || turn.explosion.shown != 0;
}

} // namespace

void draw_walls() {
    static constexpr std::array<bool, WALL_MAX> ALL = [] {
        std::array<bool, WALL_MAX> all{};
        all.fill(true);
        return all;
    }();
    draw_some_walls(ALL);
}

void draw_some_walls(std::span<const bool, WALL_MAX> wanted) {
    const color4_t diffuse{0.5F, 0.5F, 0.3F, 1.0F};
    const color4_t ambient{0.45F, 0.45F, 0.27F, 1.0F};
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse.data());
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, ambient.data());
    if (use_reference_path) {
        draw_walls_one_by_one();
    } else {
        draw_walls_in_batches(wanted);
    }
}

void draw_beam(const turn_t& turn) {
    draw_sensor_line(turn.finder, {1.0F, 0.4F, 0.4F, 1.0F});
    draw_sensor_line(turn.radar, {0.4F, 0.4F, 1.0F, 1.0F});
}

void set_ttl_color(const turtle_t& t) {
    const rgb_t c = team_color(t.team);
    front_material(GL_DIFFUSE, color4(c, 1.0, 1.0));
    front_material(GL_AMBIENT, color4(c, AMBIENT_SHARE, 1.0));
}

void draw_turtle_body(const turtle_t& t, double x, double y, double dir, double leg_phase, double head_phase) {
    if (has_any(t.flags, TTL_OBJECT)) {
        draw_object_icon(kind_of(t.flags), x, y);
        return;
    }
    if (t.n_coin > 0) drawIcon_Coin(ncoin, x, y);

    set_ttl_color(t);
    if (!use_reference_path) {
        const body_t body{x, y, dir, leg_phase, head_phase, team_color(t.team)};
        draw_bodies(std::span(&body, 1), true);
        return;
    }
    glPushMatrix();
    glTranslated(x, y, BODY_HEIGHT);
    glRotated(dir, 0.0, 0.0, 1.0);
    draw_solid_at(solid_t::head, 11.5, 0.0, head_phase);
    draw_solid_at(solid_t::leg, leg_phase - 5.0, 8.0, -2.0);
    draw_solid_at(solid_t::leg, 5.0 - leg_phase, 8.0, -2.0);
    draw_solid_at(solid_t::leg, -5.0 - leg_phase, -8.0, -2.0);
    draw_solid_at(solid_t::leg, leg_phase + 5.0, -8.0, -2.0);
    draw_solid_at(solid_t::shell, 0.0, 0.0, 0.0);
    draw_solid_at(solid_t::tail, -8.0, 0.0, 0.0);
    glPopMatrix();
}

void draw_turtle(const turn_t& turn) {
    if (turn.fires) draw_flying_beam(turn.beam);
    if (!turn.in_use) return;

    const turtle_t& t = turn.turtle;
    if (t.dying_count > 0) glEnable(GL_BLEND);
    const gait_t gait = gait_of(turn.slot);
    draw_beam(turn);
    draw_turtle_body(t, t.pos[0].x, t.pos[0].y, t.dir, gait.leg, gait.head);
    for_each_label(t, draw_label);
    draw_death(turn);
    draw_explosion(turn.explosion);
}

void draw_turtles(std::span<const turn_t> turns) {
    static std::array<body_t, TTL_MAX> bodies;
    size_t count = 0;
    const auto draw_gathered = [&count] {
        draw_bodies(std::span(bodies).first(count), false);
        draw_gathered_texts();
        count = 0;
    };
    for (const turn_t& turn : turns) {
        if (use_reference_path || is_blended(turn) || count == bodies.size()) {
            draw_gathered();
            draw_turtle(turn);
            continue;
        }
        // Opaque things hide each other by their depths, in whatever order they are drawn.
        if (turn.fires) draw_flying_beam(turn.beam);
        if (!turn.in_use) continue;
        const turtle_t& t = turn.turtle;
        const gait_t gait = gait_of(turn.slot);
        bodies[count++] = {t.pos[0].x, t.pos[0].y, t.dir, gait.leg, gait.head, team_color(t.team)};
        draw_beam(turn);
        gather_labels(t);
    }
    draw_gathered();
}
