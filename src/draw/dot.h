// Dots of ink: small textured squares that make up strokes. Window thread.
#pragma once

/// Draws the dot image, tinted (r, g, b) and opaque but for the image's own alpha, as a square of side `size` (limited
/// to 0.01..1e6) centred at (x, y), field units, at height 0.1. Nothing when place or size is not finite. Components of
/// the color are limited to 0..1, NaN is 0. Makes the dot's texture at the first call. Blending is on
/// while it draws, with the blend function in force; blending and 2-D texturing are off afterwards, and the front
/// material keeps the dot's color.
void paint_Ten(double x, double y, double size, double r, double g, double b);

/// Collects a dot of a stroke, to be painted with the others of that stroke. The dots of one stroke have one color.
void gather_dot(double x, double y, double size, double r, double g, double b);

/// Paints all collected dots in order, as paint_Ten would, and clears the collection. When they would fill more than
/// `pixels` pixels of the window they are thinned out (brush/ink); infinite: every dot.
void paint_gathered_dots(double pixels);
