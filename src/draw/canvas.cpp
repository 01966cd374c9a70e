#include "draw/canvas.h"

#include "draw/scene.h"

#include <GL/freeglut.h>

#include <array>
#include <cstdlib>
#include <span>

unsigned char* bg_tex_buffer;
unsigned bg_textures;
int canvas_is_top_down;
tiles_t painted_tiles;

namespace {

constexpr double HALF_FIELD = 256.0;
constexpr size_t CANVAS_BYTES = size_t{WINDOW_SIDE} * WINDOW_SIDE * 4;

unsigned canvas_frame; // framebuffer object with the texture; 0 without support: the canvas is then drawn and read back

void draw_canvas_quad() {
    const double bottom = canvas_is_top_down != 0 ? 1.0 : 0.0;
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, bg_textures);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glBegin(GL_QUADS);
    glTexCoord2d(0.0, bottom);
    glVertex2d(-HALF_FIELD, -HALF_FIELD);
    glTexCoord2d(1.0, bottom);
    glVertex2d(HALF_FIELD, -HALF_FIELD);
    glTexCoord2d(1.0, 1.0 - bottom);
    glVertex2d(HALF_FIELD, HALF_FIELD);
    glTexCoord2d(0.0, 1.0 - bottom);
    glVertex2d(-HALF_FIELD, HALF_FIELD);
    glEnd();
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
}

} // namespace

void create_canvas() {
    bg_tex_buffer = static_cast<unsigned char*>(malloc(CANVAS_BYTES));
    glGenTextures(1, &bg_textures);
    glBindTexture(GL_TEXTURE_2D, bg_textures);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    // Blue first, as in window memory, so that copies between the two need no conversion.
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, WINDOW_SIDE, WINDOW_SIDE, 0, GL_BGRA, GL_UNSIGNED_BYTE, bg_tex_buffer);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D, 0);
    canvas_is_top_down = 0;
    canvas_frame = 0;
    if (glutExtensionSupported("GL_ARB_framebuffer_object") == 0) return;
    glGenFramebuffers(1, &canvas_frame);
    glBindFramebuffer(GL_FRAMEBUFFER, canvas_frame);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, bg_textures, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

void show_canvas() {
    if (canvas_is_top_down == 0 || canvas_frame == 0 || use_reference_path) {
        draw_canvas_quad();
        return;
    }
    copy_to_window(canvas_frame);
}

void copy_to_window(unsigned frame) {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, frame);
    glBlitFramebuffer(0, WINDOW_SIDE, WINDOW_SIDE, 0, 0, 0, WINDOW_SIDE, WINDOW_SIDE, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
}

void copy_from_window(unsigned frame, const tiles_t& tiles) {
    static std::array<rectangle_t, RECTANGLES_MAX> rectangles;
    const int count = rectangles_of(tiles, rectangles);
    glReadBuffer(GL_BACK);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, frame);
    for (const rectangle_t& r : std::span(rectangles).first(static_cast<size_t>(count))) {
        glBlitFramebuffer(r.left, r.bottom, r.right, r.top, r.left, WINDOW_SIDE - r.bottom, r.right,
                          WINDOW_SIDE - r.top, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    }
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
}

void note_painted(double left, double bottom, double right, double top) {
    constexpr double AROUND = 2.0; // what rounding moves by
    mark_tiles(painted_tiles, left + HALF_FIELD - AROUND, bottom + HALF_FIELD - AROUND, right + HALF_FIELD + AROUND,
               top + HALF_FIELD + AROUND);
}

void wipe_canvas() {
    if (canvas_frame == 0) return;
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, canvas_frame);
    glClear(GL_COLOR_BUFFER_BIT);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
}

void cache_canvas() {
    if (canvas_frame == 0 || use_reference_path) {
        glReadBuffer(GL_BACK);
        glBindTexture(GL_TEXTURE_2D, bg_textures);
        glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, WINDOW_SIDE, WINDOW_SIDE);
        glBindTexture(GL_TEXTURE_2D, 0);
        canvas_is_top_down = 0;
        mark_all_tiles(painted_tiles);
        return;
    }
    if (canvas_is_top_down == 0 || !is_worth_picking_out(painted_tiles)) mark_all_tiles(painted_tiles);
    copy_from_window(canvas_frame, painted_tiles);
    canvas_is_top_down = 1;
}

void read_canvas(unsigned char* pixels) {
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glBindTexture(GL_TEXTURE_2D, bg_textures);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_BGRA, GL_UNSIGNED_BYTE, pixels);
    glBindTexture(GL_TEXTURE_2D, 0);
}

void fill_beyond_field(int width, int height, float red, float green, float blue) {
    if (width <= WINDOW_SIDE && height <= WINDOW_SIDE) return;
    glClearColor(red, green, blue, 1.0F);
    glEnable(GL_SCISSOR_TEST);
    if (width > WINDOW_SIDE) {
        glScissor(WINDOW_SIDE, 0, width - WINDOW_SIDE, height);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    if (height > WINDOW_SIDE) {
        glScissor(0, WINDOW_SIDE, width, height - WINDOW_SIDE);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    glDisable(GL_SCISSOR_TEST);
}

void draw_floor() {
    glEnable(GL_CULL_FACE);
    glNormal3d(0.0, 0.0, 1.0);
    draw_canvas_quad();
    glDisable(GL_CULL_FACE);
}
