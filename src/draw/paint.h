// Painting into the canvas: decides per turtle and frame what of its track is still to be painted, and prints its
// pending text. Window thread, inside the frame, while the projection is the flat field.
#pragma once

// 1 when this frame wiped the canvas or painted on it: then the canvas is copied back into its texture.
extern int field_is_painted;

/// Paints the newest segment of turtle `i` once, finishes a lifted brush stroke once, and prints its message once.
/// In brush mode the first three segments after pen down are held back. Leaves the front material black, ambient,
/// diffuse and emission, with alpha 0. A slot that is not in use is left alone, material and all.
void paint_by_turtle(int i);
