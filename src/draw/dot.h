// One dot of ink: a small textured square, of which strokes are rows. Window thread.
#pragma once

/// Draws the dot image, tinted (r, g, b) and opaque but for the image's own alpha, as a square of side `size` (limited
/// to 0.01..1e6) centred at (x, y), field units, at height 0.1. Nothing when place or size is not finite. Components of
/// the color are limited to 0..1, NaN is 0. Makes the dot's texture at the first call. Blending is on
/// while it draws, with the blend function in force; blending and 2-D texturing are off afterwards, and the front
/// material keeps the dot's color.
void paint_Ten(double x, double y, double size, double r, double g, double b);

/// Keeps a dot of a stroke, to be painted with the others of it. The dots of one stroke have one color.
void gather_dot(double x, double y, double size, double r, double g, double b);

/// Paints all dots that were gathered, in their order, as paint_Ten would, and forgets them. Where they would fill more
/// than `pixels` of the window they stand wider apart (brush/ink); infinite: dot for dot.
void paint_gathered_dots(double pixels);
