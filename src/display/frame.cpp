#include "display/frame.h"

#include "cards/card.h"
#include "display/battle.h"
#include "display/capture.h"
#include "display/paint.h"
#include "display/scene.h"
#include "draw/icons.h"
#include "draw/overlays.h"
#include "draw/primitives.h"
#include "field/invariants.h"
#include "net/client_table.h"
#include "turtle/turtle.h"

#include <GL/freeglut.h>

unsigned bg_textures;
std::array<int, COIN_MAX> coin_list;

namespace {

constexpr double HALF_FIELD = 256.0;
constexpr double EYE_DISTANCE = 512.0; // above the field, and in bird's-eye view also south of it
constexpr double NEAR_PLANE = 409.6;
constexpr double TOP_VIEW_FAR = 614.4;
constexpr double BIRD_VIEW_FAR = 1024.0;
constexpr double TOP_VIEW_FLOOR_DEPTH = (EYE_DISTANCE - NEAR_PLANE) / (TOP_VIEW_FAR - NEAR_PLANE); // 0 near, 1 far

void set_flat_projection(double low, double high) {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluOrtho2D(low, high, low, high);
    glMatrixMode(GL_MODELVIEW);
}

void bind_canvas() {
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, bg_textures);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
}

void unbind_canvas() {
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
}

// The canvas texture on the square from `low` to `high`.
void draw_canvas_quad(double low, double high) {
    glBegin(GL_QUADS);
    glTexCoord2d(0.0, 0.0);
    glVertex2d(low, low);
    glTexCoord2d(1.0, 0.0);
    glVertex2d(high, low);
    glTexCoord2d(1.0, 1.0);
    glVertex2d(high, high);
    glTexCoord2d(0.0, 1.0);
    glVertex2d(low, high);
    glEnd();
}

// Puts the canvas of the last frame into the back buffer, pixel for pixel, or a clean one.
void prepare_canvas() {
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    set_flat_projection(-HALF_FIELD, HALF_FIELD);
    // Taken and set in one go: a wish to clear that comes in while this one is served is not lost.
    if (field_cleared.exchange(1) == 0) {
        glClearColor(color_level(bgcol[0]), color_level(bgcol[1]), color_level(bgcol[2]), 1.0F);
        glClear(GL_COLOR_BUFFER_BIT);
        if (battle_mode != 0) drawBackground();
        field_is_painted = 1;
    } else {
        set_flat_projection(0.0, 1.0);
        bind_canvas();
        draw_canvas_quad(0.0, 1.0);
        unbind_canvas();
        set_flat_projection(-HALF_FIELD, HALF_FIELD);
    }
}

void keep_canvas() {
    glBindTexture(GL_TEXTURE_2D, bg_textures);
    glReadBuffer(GL_BACK);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (draw_plainly != 0) {
        glCopyTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 0, 0, WINDOW_SIDE, WINDOW_SIDE, 0);
    } else {
        // Into the store that is there: a new one would be a megabyte of fresh pages in each frame.
        glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, WINDOW_SIDE, WINDOW_SIDE);
    }
    glBindTexture(GL_TEXTURE_2D, 0);
}

void set_camera() {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    if (bird_view_mode != 0) {
        gluPerspective(view_fov_angle, 1.0, NEAR_PLANE, BIRD_VIEW_FAR);
    } else {
        glOrtho(-HALF_FIELD, HALF_FIELD, -HALF_FIELD, HALF_FIELD, NEAR_PLANE, TOP_VIEW_FAR);
    }
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    if (bird_view_mode != 0) {
        gluLookAt(0.0, -EYE_DISTANCE, EYE_DISTANCE, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0);
        glRotated(view_rotation_angle, 0.0, 0.0, 1.0);
    } else {
        gluLookAt(0.0, 0.0, EYE_DISTANCE, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0);
    }
}

void draw_floor() {
    glEnable(GL_CULL_FACE);
    bind_canvas();
    glNormal3d(0.0, 0.0, 1.0);
    draw_canvas_quad(-HALF_FIELD, HALF_FIELD);
    unbind_canvas();
    glDisable(GL_CULL_FACE);
}

// Clears what painting left and lays the canvas down as the floor of the scene.
void begin_scene() {
    glEnable(GL_DEPTH_TEST);
    if (draw_plainly == 0 && bird_view_mode == 0) {
        // From above the floor covers the window with the canvas, pixel for pixel, and there it is already.
        glClearDepth(TOP_VIEW_FLOOR_DEPTH);
        glClear(GL_DEPTH_BUFFER_BIT);
        glClearDepth(1.0);
        set_camera();
        return;
    }
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    set_camera();
    draw_floor();
}

// Coins in the order in which they were laid: the newest lies on top.
void draw_coins() {
    coin_list.fill(-1);
    for (int k = 0; k < ncoin; ++k) {
        const coin_t& c = coins[k];
        if (has_any(c.flags, ON_FIELD) && c.ord >= 0 && c.ord < COIN_MAX) coin_list[c.ord] = k;
    }
    if (draw_plainly == 0) begin_coin_batch();
    for (int rank = 0; rank < ncoin; ++rank) {
        const int k = coin_list[rank];
        if (k < 0) continue;
        if (draw_plainly != 0) {
            drawIcon_Coin(rank, coins[k].x, coins[k].y);
        } else {
            coin_in_batch(rank, coins[k].x, coins[k].y);
        }
    }
    if (draw_plainly == 0) end_coin_batch();
}

// The card placed last lies highest.
void draw_cards() {
    for (int k = 0; k < CARD_MAX; ++k) {
        const int c = card_list[k];
        if (c < 0 || c >= CARD_MAX || !has_any(cards[c].flags, ON_FIELD)) continue;
        draw_Card(cards[c].x, cards[c].y, static_cast<double>(CARD_MAX - k) / CARD_MAX, c);
    }
}

// Two passes: doughnuts and stones lie under the turtles.
void draw_turtles() {
    for (int i = 0; i < ntmax; ++i) {
        if (has_any(ttl[i].flags, TTL_OBJECT)) draw_turtle(i);
    }
    for (int i = 0; i < ntmax; ++i) {
        if (!has_any(ttl[i].flags, TTL_OBJECT)) draw_turtle(i);
    }
}

} // namespace

void draw_frame() {
    field_is_painted = 0;
    prepare_canvas();

    rendering_started();
    // A command may have asked for a wipe since. What the same packet goes on to draw belongs on the clean canvas: it
    // is painted in this frame, and a wipe in the next one would take it away.
    if (field_cleared == 0) prepare_canvas();
    update_coin_event();
    refresh_teaminfo();
    for (int i = 0; i < ntmax; ++i) paint_by_turtle(i);
    if (field_is_painted != 0) keep_canvas();

    begin_scene();
    if (battle_mode != 0) draw_walls();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    draw_coins();
    draw_cards();
    // Software GL rasters one half of the scene while this thread prepares the next.
    if (draw_plainly == 0) glFlush();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    draw_turtles();
    if (draw_plainly == 0) glFlush();
    if (disp_help != 0) drawHelp();
    if (socket_error_occurred != 0) drawWarning();
    glDisable(GL_DEPTH_TEST);

    if (capture_screen != 0) {
        glFinish();
        field_capture_screen();
        capture_screen = 0;
    }
    check_invariants();
    rendering_is_done();
}

void display() {
    draw_frame();
    glutSwapBuffers();
}
