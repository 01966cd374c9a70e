#include "draw/dot.h"

#include "draw/icons.h"
#include "draw/primitives.h"
#include "images.h"

#include <algorithm>
#include <cmath>
#include <GL/gl.h>

static constexpr double SMALLEST_DOT = 0.01; // field units: a taper ends in a hair, never in nothing
static constexpr double LARGEST_DOT = 1e6;   // field units: GL's clipping loses halves of squares that are much larger
static constexpr double DOT_HEIGHT = 0.1;    // just above the canvas

void paint_Ten(double x, double y, double size, double r, double g, double b) {
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(size)) return;
    if (!obj_tex_initialized[TEX_BRUSH_DOT]) init_obj_tex(TEX_BRUSH_DOT, ten_image32x32);

    const GLfloat colour[4] = {color_level(r), color_level(g), color_level(b), 1.0f};
    const double h = std::clamp(size, SMALLEST_DOT, LARGEST_DOT) / 2.0;

    glEnable(GL_BLEND);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, obj_textures[TEX_BRUSH_DOT]);
    glMaterialfv(GL_FRONT, GL_EMISSION, colour);
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, colour);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glBegin(GL_QUADS);
    glNormal3d(0.0, 0.0, 1.0); // the light falls on the paper from above, whatever was drawn before
    glTexCoord2d(0.0, 0.0);
    glVertex3d(x - h, y - h, DOT_HEIGHT);
    glTexCoord2d(0.0, 1.0);
    glVertex3d(x - h, y + h, DOT_HEIGHT);
    glTexCoord2d(1.0, 1.0);
    glVertex3d(x + h, y + h, DOT_HEIGHT);
    glTexCoord2d(1.0, 0.0);
    glVertex3d(x + h, y - h, DOT_HEIGHT);
    glEnd();
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
}
