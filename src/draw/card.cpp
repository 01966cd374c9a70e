#include "draw/card.h"

#include <new>

#include <GL/gl.h>

#include "cards/sheet.h"

std::array<unsigned char*, CARD_MAX> card_text_image;
std::array<unsigned, CARD_MAX> card_textures;
std::array<int, CARD_MAX> card_tex_initialized;

void init_card_tex(int c) {
    const size_t k = static_cast<size_t>(c);
    if (!card_text_image[k]) card_text_image[k] = new (std::nothrow) unsigned char[CARD_BYTES];
    if (!card_text_image[k]) return; // tried again when the card is drawn next
    crop_card_image(c, card_text_image[k]);
    glGenTextures(1, &card_textures[k]);
    glBindTexture(GL_TEXTURE_2D, card_textures[k]);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, CARD_WIDTH, CARD_HEIGHT, 0, GL_RGBA, GL_UNSIGNED_BYTE, card_text_image[k]);
    glBindTexture(GL_TEXTURE_2D, 0);
    card_tex_initialized[k] = 1;
}

void draw_Card(double x, double y, double depth, int c) {
    const size_t k = static_cast<size_t>(c);
    if (!card_tex_initialized[k]) init_card_tex(c);
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glEnable(GL_BLEND);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, card_textures[k]);
    glColor3d(1.0, 1.0, 1.0);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glBegin(GL_QUADS);
    glNormal3d(0.0, 0.0, 1.0);
    glTexCoord2d(0.0, 0.0);
    glVertex3d(x, y, depth);
    glTexCoord2d(1.0, 0.0);
    glVertex3d(x + CARD_WIDTH, y, depth);
    glTexCoord2d(1.0, 1.0);
    glVertex3d(x + CARD_WIDTH, y + CARD_HEIGHT, depth);
    glTexCoord2d(0.0, 1.0);
    glVertex3d(x, y + CARD_HEIGHT, depth);
    glEnd();
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);
}
