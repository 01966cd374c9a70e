#include "draw/overlays.h"

#include <array>
#include <cstring>

#include <GL/freeglut.h>

#include "draw/icons.h"
#include "draw/primitives.h"
#include "draw/scene.h"
#include "draw/texts.h"
#include "field/state.h"

namespace {

using color_t = std::array<GLfloat, 4>;

constexpr color_t WARNING_RED = {1.0F, 0.1F, 0.0F, 1.0F};
constexpr color_t PANEL_GREY = {0.3F, 0.3F, 0.3F, 0.9F};
constexpr color_t HELP_RED = {1.0F, 0.2F, 0.1F, 0.9F};
constexpr color_t NO_GLOW = {0.0F, 0.0F, 0.0F, 1.0F};

// High above turtles and tracks.
constexpr double PANEL_HEIGHT = 30.0;
constexpr double PANEL_HALF = 204.8;   // 0.4 of the field's width
constexpr double PANEL_REPEATS = 15.0; // of the stone pattern, each way

void set_glow(const color_t& c) { glMaterialfv(GL_FRONT, GL_EMISSION, c.data()); }

void set_glow_and_color(const color_t& c) {
    set_glow(c);
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, c.data());
}

void draw_panel() {
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    set_glow_and_color(PANEL_GREY);
    glEnable(GL_TEXTURE_2D);
    bind_obj_tex(TEX_STONE);
    glColor3d(1.0, 1.0, 1.0);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glBegin(GL_QUADS);
    glNormal3d(0.0, 0.0, 1.0);
    glTexCoord2d(0.0, 0.0);
    glVertex3d(-PANEL_HALF, -PANEL_HALF, PANEL_HEIGHT);
    glTexCoord2d(PANEL_REPEATS, 0.0);
    glVertex3d(PANEL_HALF, -PANEL_HALF, PANEL_HEIGHT);
    glTexCoord2d(PANEL_REPEATS, PANEL_REPEATS);
    glVertex3d(PANEL_HALF, PANEL_HALF, PANEL_HEIGHT);
    glTexCoord2d(0.0, PANEL_REPEATS);
    glVertex3d(-PANEL_HALF, PANEL_HALF, PANEL_HEIGHT);
    glEnd();
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_CULL_FACE);
}

struct help_line_t {
    double x, y, z;
    const char* text;
};

// The title, the banner, and the keys of the keyboard handler, 27.25 units apart; continuation lines are indented.
constexpr std::array<help_line_t, 14> HELP_LINES = {{
    {-168.96, 163.84, 32.0, "Kelmora"},
    {-168.96, 128.0, 35.0, copyright},
    {-140.8, 102.4, 35.0, "c  clear screen"},
    {-140.8, 75.15, 35.0, "z  erase zombie"},
    {-140.8, 47.9, 35.0, "!  toggle graphics/battle mode"},
    {-140.8, 20.65, 35.0, "@  toggle public/private mode"},
    {-140.8, -6.6, 35.0, "p  capture screen"},
    {-140.8, -33.85, 35.0, "3  toggle birds-eye view mode"},
    {-102.4, -61.1, 35.0, "+ - zoom  < > rotate"},
    {-140.8, -88.35, 35.0, "M  toggle maze mode"},
    {-140.8, -115.6, 35.0, "h  help (show this screen)"},
    {-140.8, -142.85, 35.0, "K  kill all turtles"},
    {-140.8, -170.1, 35.0, "Q  exit"},
    {-102.4, -194.56, 35.0, "Press ESC to dismiss this screen"},
}};

void draw_help_texts() {
    set_glow_and_color(HELP_RED);
    for (const help_line_t& line : HELP_LINES) drawString(GLUT_BITMAP_9_BY_15, line.text, line.x, line.y, line.z);
    set_glow(NO_GLOW);
}

void draw_help_texts_at_once() {
    const text_color_t lit = lit_text_color(HELP_RED, HELP_RED, HELP_RED);
    for (const help_line_t& line : HELP_LINES) {
        gather_text(line.text, static_cast<int>(strlen(line.text)), line.x, line.y, line.z, lit);
    }
    draw_gathered_texts();
}

// The help screen, with the depth test on, over a finished scene.
void draw_help_over_scene() {
    glEnable(GL_BLEND);
    // Nothing is as high as the panel: it needs no depths.
    glDisable(GL_DEPTH_TEST);
    draw_panel();
    set_glow(NO_GLOW);
    // Where the strokes of a text cross, only the first is blended.
    glEnable(GL_DEPTH_TEST);
    if (modes.bird_view_mode) {
        // An alpha of 0.9 lies halfway between two of 255. In perspective the last bit of a corner decides which one a
        // pixel gets, so that only the same calls give the same pixels.
        draw_help_texts();
    } else {
        draw_help_texts_at_once();
    }
    glDisable(GL_BLEND);
}

} // namespace

void drawWarning() {
    constexpr double LEFT = -230.4, HEIGHT = 30.0;
    set_glow_and_color(WARNING_RED);
    drawString(GLUT_BITMAP_HELVETICA_18, "COMMUNICATION ERROR !", LEFT, 128.0, HEIGHT);
    drawString(GLUT_BITMAP_HELVETICA_12, "TCP communication ports cannot be opened because they are already in use.",
               LEFT, 102.4, HEIGHT);
    drawString(GLUT_BITMAP_HELVETICA_12, "It seems another Kelmora is running on this computer.", LEFT, 76.8, HEIGHT);
    drawString(GLUT_BITMAP_HELVETICA_12,
               "Quit this program by pressing Q and check the running programs in background.", LEFT, 51.2, HEIGHT);
    set_glow(NO_GLOW);
}

void drawHelp() {
    glEnable(GL_BLEND);
    draw_panel();
    draw_help_texts();
    glDisable(GL_BLEND);
}

void draw_overlays() {
    if (modes.disp_help) {
        // The warning lies as high as the panel, which hides it by its depths.
        if (use_reference_path || signals.socket_error_occurred) {
            drawHelp();
        } else {
            draw_help_over_scene();
        }
    }
    if (signals.socket_error_occurred) drawWarning();
}
