// Shapes and text shared by the renderer: twelve-sided circles and ovals, and stroke text.
// Window thread only. Nothing here sets a color, a material or an enable; the caller's are used and kept.
#pragma once

#include <array>

inline constexpr int RIM_VERTICES = 12;   // one every 30 degrees: cheap, and round enough at field sizes
inline constexpr double TEXT_SCALE = 0.1; // of the font's own size, in which a capital is 100 units high

// Sine and cosine of k * pi/6, k = 0..11; filled on the first circle or oval drawn and never changed.
extern std::array<double, RIM_VERTICES> sine_tab, cosine_tab;
extern int first_call; // 1 until the tables are filled

/// A color component as passed to GL: limited to 0..1; NaN is 0.
[[nodiscard]] float color_level(double v);

/// Fills both tables and clears first_call.
void init_sc_tab();

/// Outline of a circle at height z, field units. A radius of 0 is a point, a negative one mirrors the rim.
void drawCircle(double x, double y, double z, double r);

/// Disc in the plane z = 0; the height is accepted and ignored.
void fillCircle(double x, double y, double z, double r);

/// Outline of an ellipse at height z with half-axes rx and ry along x and y.
void drawOval(double x, double y, double z, double rx, double ry);

/// Filled ellipse in the plane z = 0; the height is accepted and ignored.
void fillOval(double x, double y, double z, double rx, double ry);

/// Draws a terminated text with its baseline starting at (x, y, z), about 10 field units high, facing +z.
/// @param font  ignored: every text is drawn in one stroke font at a tenth of its size, so that it turns and scales
///              with the scene
/// Leaves the current normal at (0, 0, 1). Bytes without a glyph, line breaks included, draw nothing.
/// The caller keeps normal rescaling on, or the scaled normals saturate the lit color.
void drawString(void* font, const char* text, double x, double y, double z);

/// The same for a text field that may lack a terminator: at most `size` bytes are read.
void drawBoundedString(void* font, const char* text, int size, double x, double y, double z);
