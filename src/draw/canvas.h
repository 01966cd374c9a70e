// The canvas: everything that turtles have painted, kept in a texture. Window thread.
#pragma once

#include "draw/tiles.h"

inline constexpr int WINDOW_SIDE = 512; // pixels; the field's 512 units fill it in top view
static_assert(WINDOW_SIDE == TILE_PIXELS * TILES_A_SIDE);

extern unsigned char* bg_tex_buffer; // RGBA pixels of the canvas texture at its creation
extern unsigned bg_textures;         // GL name of the canvas texture
// 1: the texture's first row is the top of the window, 0: its bottom. Window memory begins at the top, so with 1 a copy
// only moves bytes, while one that turns the picture over must be drawn.
extern int canvas_is_top_down;

/// Makes the texture; its content is undefined until a frame has cleared it.
void create_canvas();

/// Puts the canvas into the back buffer, pixel for pixel. Leaves both matrices as they were.
void show_canvas();

/// Wipes the texture with GL's clear color. A frame wipes the window as well; this also reaches the part outside a
/// window that is smaller than the field. Does nothing without framebuffer objects.
void wipe_canvas();

// Where this frame has painted on the canvas; cleared when a frame begins.
extern tiles_t painted_tiles;

/// Marks a rectangle of the canvas as painted on, field units, and two pixels around it.
void note_painted(double left, double bottom, double right, double top);

/// Copies the painted_tiles of the back buffer to the canvas; all of it where that is no dearer or where the texture
/// has the other order of rows, and then painted_tiles becomes all of it, too.
void cache_canvas();

/// Copies tiles of the back buffer into the color picture of a framebuffer object of the window's size, and such a
/// picture to the window. The object keeps the top row first. Matrices and state are left alone.
void copy_from_window(unsigned frame, const tiles_t& tiles);
void copy_to_window(unsigned frame);

/// Copies the canvas to memory: 512 x 512 pixels of blue, green, red and one unused byte; canvas_is_top_down gives the
/// order of rows.
void read_canvas(unsigned char* pixels);

/// Fills the part of a width x height window outside its lower left square, the field, with the background. Does
/// nothing in a window of the field's size or smaller. Sets GL's clear color.
void fill_beyond_field(int width, int height, float red, float green, float blue);

/// The canvas as the floor of the scene: the square of the field at height 0, seen from above only.
void draw_floor();
