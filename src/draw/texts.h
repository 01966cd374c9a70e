// Many texts as one array of lines, instead of a call for each glyph. Window thread.
#pragma once

#include <array>

using text_color_t = std::array<float, 4>; // red, green, blue, alpha; 0 to 1

/// The lit color of a text: emission, and of the front material what the light from the eye's side and the ambient
/// light make of it, on a surface that faces up in the field. By GL's current model-view matrix.
[[nodiscard]] text_color_t lit_text_color(const text_color_t& emission, const text_color_t& ambient,
                                          const text_color_t& diffuse);

/// Gathers a text, placed as drawBoundedString places it, until draw_gathered_texts.
void gather_text(const char* text, int size, double x, double y, double z, const text_color_t& color);

/// Draws what was gathered as drawBoundedString would, one text after the other, but for rounding, and forgets it.
/// Leaves lighting on.
void draw_gathered_texts();
