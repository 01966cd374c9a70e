#include "display/frame.h"

#include "display/canvas_files.h"
#include "display/capture.h"
#include "draw/canvas.h"
#include "draw/icons.h"
#include "draw/overlays.h"
#include "draw/paint.h"
#include "draw/primitives.h"
#include "draw/scene.h"
#include "draw/scenery.h"
#include "field/clients.h"
#include "field/turtles.h"
#include "game/invariants.h"
#include "game/tick.h"

#include <GL/freeglut.h>

#include <span>

namespace {

uint64_t frame_count;
int window_width = WINDOW_SIDE, window_height = WINDOW_SIDE;

constexpr double HALF_FIELD = 256.0;
constexpr double EYE_DISTANCE = 512.0; // above the field, and in bird's-eye view also south of it
constexpr double NEAR_PLANE = 409.6;
constexpr double TOP_VIEW_FAR = 614.4;
constexpr double BIRD_VIEW_FAR = 1024.0;
constexpr double TOP_VIEW_FLOOR_DEPTH = (EYE_DISTANCE - NEAR_PLANE) / (TOP_VIEW_FAR - NEAR_PLANE); // 0 near, 1 far

void look_at_canvas() {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluOrtho2D(-HALF_FIELD, HALF_FIELD, -HALF_FIELD, HALF_FIELD);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

// A clean canvas in the back buffer and in its texture.
void wipe() {
    glClearColor(color_level(bgcol[0]), color_level(bgcol[1]), color_level(bgcol[2]), 1.0F);
    wipe_canvas();
    glClear(GL_COLOR_BUFFER_BIT);
    if (modes.battle_mode) drawBackground();
    mark_all_tiles(painted_tiles);
    field_is_painted = 1;
}

void set_camera() {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    if (modes.bird_view_mode) {
        gluPerspective(view_fov_angle, 1.0, NEAR_PLANE, BIRD_VIEW_FAR);
    } else {
        glOrtho(-HALF_FIELD, HALF_FIELD, -HALF_FIELD, HALF_FIELD, NEAR_PLANE, TOP_VIEW_FAR);
    }
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    if (modes.bird_view_mode) {
        gluLookAt(0.0, -EYE_DISTANCE, EYE_DISTANCE, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0);
        glRotated(view_rotation_angle, 0.0, 0.0, 1.0);
    } else {
        gluLookAt(0.0, 0.0, EYE_DISTANCE, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0);
    }
}

// The floor and everything on it, in an empty depth buffer.
void draw_floor_and_scenery() {
    glEnable(GL_DEPTH_TEST);
    if (!use_reference_path && !modes.bird_view_mode) {
        // In the top view the canvas covers the window as the floor, pixel for pixel, and is there already.
        glClearDepth(TOP_VIEW_FLOOR_DEPTH);
        glClear(GL_DEPTH_BUFFER_BIT);
        glClearDepth(1.0);
    } else {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        draw_floor();
    }
    draw_scenery();
}

// Turns the canvas in the back buffer into a scene without its turtles.
void begin_scene() {
    set_camera();
    const bool unchanged = scenery_is_unchanged();
    if (unchanged && show_kept_scene(modes.bird_view_mode ? 1.0 : TOP_VIEW_FLOOR_DEPTH)) return;
    draw_floor_and_scenery();
    if (unchanged) keep_scene();
}

// Done before the tables are read: puts the last frame's canvas into the back buffer.
void begin_picture() {
    field_is_painted = 0;
    clear_tiles(painted_tiles);
    glDisable(GL_DEPTH_TEST); // painting is flat, whatever the depth buffer holds
    look_at_canvas();
    if (!signals.wipe_requested) show_canvas();
}

void draw_picture(const tick_view_t& view) {
    // Before painting, so that lines sent in one packet after a wipe are painted on the clean canvas. Exchange, so that
    // a concurrent wipe request is not lost.
    if (signals.wipe_requested.exchange(false)) wipe();
    paint_marks(std::span(view.marks).first(static_cast<size_t>(view.count)));
    if (field_is_painted != 0) cache_canvas();

    begin_scene();
    // Software GL rasterises one half of the scene while this thread prepares the next.
    if (!use_reference_path) glFlush();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    draw_turtles(std::span(view.turns).first(static_cast<size_t>(view.count)));
    if (!use_reference_path) glFlush();
    draw_overlays();
    glDisable(GL_DEPTH_TEST);
    // Last, because tiles, wide lines and earlier contents extend beyond the edge.
    fill_beyond_field(window_width, window_height, color_level(bgcol[0]), color_level(bgcol[1]), color_level(bgcol[2]));
}

} // namespace

uint64_t frames_drawn() { return frame_count; }

void set_window_size(int width, int height) {
    window_width = width;
    window_height = height;
}

void draw_tick(const tick_view_t& view) {
    begin_picture();
    draw_picture(view);
}

void draw_frame() {
    static tick_view_t view;
    begin_picture();
    rendering_started();
    tick(view);
    draw_picture(view);
    offer_canvas_files(field_is_painted != 0);
    if (signals.capture_screen) {
        glFinish();
        field_capture_screen();
        signals.capture_screen = false;
    }
    check_invariants();
    ++frame_count;
    rendering_is_done();
}

void display() {
    draw_frame();
    glutSwapBuffers();
}
