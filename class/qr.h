// QR codes, drawn by libqrencode: as a picture for the board and as characters for a terminal.
#pragma once

#include <string>

namespace classroom {

/// An SVG picture, black on white with the required margin; empty when the text is too long for a code.
[[nodiscard]] std::string qr_svg(const std::string& text);

/// Lines of half-block characters that set both colours, so that they read the same on dark and light terminals; empty
/// when wider than `columns` or taller than `rows`.
[[nodiscard]] std::string qr_terminal(const std::string& text, int columns, int rows);

} // namespace classroom
