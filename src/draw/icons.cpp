#include "draw/icons.h"

#include <cmath>
#include <cstring>

#include <GL/gl.h>

#include "field/state.h"
#include "images.h"

namespace {

static_assert(sizeof background_image200x200 > TILE_SIDE * TILE_SIDE * 3,
              "an image carries one NUL byte behind its pixels");

// Slot of the kind's icon; -1 without one.
constexpr int slot_of(const kind_info_t& kind) {
    for (int slot = 0; kind.object && slot < OBJ_TEXTURES; ++slot) {
        if (ICONS[static_cast<size_t>(slot)].object == kind.flag) return slot;
    }
    return -1;
}

constexpr bool every_object_has_an_icon() {
    for (const kind_info_t& kind : KINDS) {
        if (kind.object && slot_of(kind) < 0) return false;
    }
    return true;
}
static_assert(every_object_has_an_icon());

// An icon is 19 units wide and sits one unit off its place, towards the lower left.
constexpr double ICON_BEFORE = 10.0;
constexpr double ICON_AFTER = 9.0;
constexpr double COIN_BOTTOM = 1.0; // coins lie from here ...
constexpr double COIN_RANGE = 1.5;  // ... up to just under this much higher

constexpr double WALL_HEIGHT = 15.0;
constexpr double TEXELS_PER_REPEAT = ICON_SIDE; // one texel is one field unit

constexpr double FIELD_EDGE = 256.0;

void begin_icons(int slot) {
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glEnable(GL_BLEND);
    glEnable(GL_TEXTURE_2D);
    bind_obj_tex(slot);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
}

void end_icons() {
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);
}

// One corner of an icon, 0 lower left, counter-clockwise.
void icon_corner(int corner, double x, double y, double z) {
    const bool right = corner == 1 || corner == 2;
    const bool top = corner >= 2;
    glTexCoord2d(right ? 1.0 : 0.0, top ? 1.0 : 0.0);
    glVertex3d(right ? x + ICON_AFTER : x - ICON_BEFORE, top ? y + ICON_AFTER : y - ICON_BEFORE, z);
}

void icon_quad(double x, double y, double z) {
    glBegin(GL_QUADS);
    glNormal3d(0.0, 0.0, 1.0);
    for (int corner = 0; corner < 4; ++corner) icon_corner(corner, x, y, z);
    glEnd();
}

double coin_height(int n) { return COIN_BOTTOM + static_cast<double>(n) / (ncoin + 1) * COIN_RANGE; }

// A single quad is split along the diagonal 0-2, batched quads along the other one. A batch consists of the triangles
// of a single quad, so that its pixels are the same.
constexpr std::array<int, 6> QUAD_AS_TRIANGLES = {0, 1, 2, 0, 2, 3};

void begin_stone_walls() {
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glEnable(GL_TEXTURE_2D);
    bind_obj_tex(TEX_STONE);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
}

void end_stone_walls() {
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_CULL_FACE);
}

struct wall_face_t {
    double x1, y1, x2, y2;
    double repeats; // of the texture along the wall
};

wall_face_t make_face(double x1, double y1, double x2, double y2) {
    const double dx = x2 - x1, dy = y2 - y1;
    return {x1, y1, x2, y2, std::sqrt(dx * dx + dy * dy) / TEXELS_PER_REPEAT};
}

// One corner of a wall face: foot and top of its first end, top and foot of its second.
void wall_corner(int corner, const wall_face_t& w) {
    const bool second = corner >= 2;
    const bool top = corner == 1 || corner == 2;
    glTexCoord2d(second ? w.repeats : 0.0, top ? WALL_HEIGHT / TEXELS_PER_REPEAT : 0.0);
    glVertex3d(second ? w.x2 : w.x1, second ? w.y2 : w.y1, top ? WALL_HEIGHT : 0.0);
}

} // namespace

std::array<unsigned, OBJ_TEXTURES> obj_textures;
std::array<int, OBJ_TEXTURES> obj_tex_initialized;
std::array<std::array<unsigned char, ICON_BYTES>, OBJ_TEXTURES> obj_text_image;

void flip32x32icon(const unsigned char* source, unsigned char* destination) {
    constexpr int ROW = ICON_SIDE * 4;
    for (int row = 0; row < ICON_SIDE; ++row)
        memcpy(destination + (ICON_SIDE - 1 - row) * ROW, source + row * ROW, ROW);
}

void init_obj_tex(int slot, const unsigned char* image) {
    const size_t s = static_cast<size_t>(slot);
    flip32x32icon(image, obj_text_image[s].data());
    glGenTextures(1, &obj_textures[s]);
    glBindTexture(GL_TEXTURE_2D, obj_textures[s]);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, ICON_SIDE, ICON_SIDE, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 obj_text_image[s].data());
    glBindTexture(GL_TEXTURE_2D, 0);
    obj_tex_initialized[s] = 1;
}

void bind_obj_tex(int slot) {
    const size_t s = static_cast<size_t>(slot);
    if (!obj_tex_initialized[s]) init_obj_tex(slot, ICONS[s].image.data());
    glBindTexture(GL_TEXTURE_2D, obj_textures[s]);
}

void draw_object_icon(const kind_info_t& kind, double x, double y) {
    const int slot = slot_of(kind);
    if (slot < 0) return;
    begin_icons(slot);
    glColor3d(1.0, 1.0, 1.0);
    icon_quad(x, y, ICONS[static_cast<size_t>(slot)].height);
    end_icons();
}

void drawIcon_Doughnut(double x, double y) { draw_object_icon(kind_of(TTL_DOUGHNUT), x, y); }

void drawIcon_Stone(double x, double y) { draw_object_icon(kind_of(TTL_STONE), x, y); }

void drawIcon_Coin(int n, double x, double y) {
    begin_icons(TEX_COIN);
    icon_quad(x, y, coin_height(n));
    end_icons();
}

void begin_coin_batch() {
    begin_icons(TEX_COIN);
    glBegin(GL_TRIANGLES);
    glNormal3d(0.0, 0.0, 1.0);
}

void coin_in_batch(int n, double x, double y) {
    const double z = coin_height(n);
    for (const int corner : QUAD_AS_TRIANGLES) icon_corner(corner, x, y, z);
}

void end_coin_batch() {
    glEnd();
    end_icons();
}

void drawStoneWall(double x1, double y1, double x2, double y2, double nx, double ny) {
    begin_stone_walls();
    const wall_face_t face = make_face(x1, y1, x2, y2);
    glBegin(GL_QUADS);
    glNormal3d(nx, ny, 0.0);
    for (int corner = 0; corner < 4; ++corner) wall_corner(corner, face);
    glEnd();
    end_stone_walls();
}

void begin_stone_wall_batch() {
    begin_stone_walls();
    glBegin(GL_TRIANGLES);
}

void stone_wall_in_batch(double x1, double y1, double x2, double y2, double nx, double ny) {
    const wall_face_t face = make_face(x1, y1, x2, y2);
    glNormal3d(nx, ny, 0.0);
    for (const int corner : QUAD_AS_TRIANGLES) wall_corner(corner, face);
}

void end_stone_wall_batch() {
    glEnd();
    end_stone_walls();
}

void drawBackground() {
    // Texturing would color the tile's pixels too; lighting does not touch them.
    glDisable(GL_TEXTURE_2D);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    for (double y = -FIELD_EDGE; y <= FIELD_EDGE; y += TILE_SIDE) {
        for (double x = -FIELD_EDGE; x <= FIELD_EDGE; x += TILE_SIDE) {
            glRasterPos3d(x, y, 0.0);
            glDrawPixels(TILE_SIDE, TILE_SIDE, GL_RGB, GL_UNSIGNED_BYTE, background_image200x200);
        }
    }
}
