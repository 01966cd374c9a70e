// The canvas: all that turtles have painted, kept from frame to frame in a texture. Window thread.
#pragma once

inline constexpr int WINDOW_SIDE = 512; // pixels; the field's 512 units fill it in top view

extern unsigned char* bg_tex_buffer; // RGBA pixels of the canvas texture at its creation
extern unsigned bg_textures;         // GL name of the canvas texture
// 1: the texture's first row is the top of the window, 0: its bottom. A window's memory begins at its top, so a copy
// that keeps this order moves bytes, where one that turns the picture over has to draw it.
extern int canvas_is_top_down;

/// Makes the texture; what it shows is arbitrary until a frame has cleared it.
void create_canvas();

/// Puts the canvas into the back buffer, pixel for pixel. Leaves both matrices as they were.
void show_canvas();

/// Wipes the texture with GL's clear color. A frame wipes the window as well; this reaches what lies beyond a window
/// that somebody has made smaller. Does nothing where GL has no framebuffer objects.
void wipe_canvas();

/// Takes the canvas over from the back buffer.
void cache_canvas();

/// Copies the canvas out: 512 x 512 pixels of blue, green, red and one byte more, with the row first that
/// canvas_is_top_down tells.
void read_canvas(unsigned char* pixels);

/// Fills what lies beyond the field in a window of width x height pixels, whose lower left square the field is. Nothing
/// in a window of the field's own size, or a smaller one. Sets GL's clear colour.
void fill_beyond_field(int width, int height, float red, float green, float blue);

/// The canvas as the floor of the scene: the square of the field at height 0, seen from above only.
void draw_floor();
