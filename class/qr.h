// QR codes, drawn by libqrencode: as a picture for the board and as characters for a terminal.
#pragma once

#include <string>

namespace classroom {

/// An SVG picture, black on white with the margin that readers need; empty when the text is too long for a code.
[[nodiscard]] std::string qr_svg(const std::string& text);

/// Half blocks in lines of text, light on dark terminals and dark on light ones alike (it sets both colours); empty
/// when it would be wider than `columns` or taller than `rows`.
[[nodiscard]] std::string qr_terminal(const std::string& text, int columns, int rows);

} // namespace classroom
