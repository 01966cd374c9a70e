#include "class/qr.h"

#include <memory>
#include <qrencode.h>

namespace classroom {

namespace {

constexpr int MARGIN = 4; // modules; required by readers

using code_ptr = std::unique_ptr<QRcode, decltype(&QRcode_free)>;

code_ptr encode(const std::string& text) {
    return {QRcode_encodeString8bit(text.c_str(), 0, QR_ECLEVEL_M), QRcode_free};
}

// Whether the module is dark; the margin is light.
bool dark(const QRcode& code, int x, int y) {
    if (x < 0 || y < 0 || x >= code.width || y >= code.width) return false;
    return (code.data[y * code.width + x] & 1) != 0;
}

} // namespace

std::string qr_svg(const std::string& text) {
    const code_ptr code = encode(text);
    if (!code) return "";
    const int side = code->width + 2 * MARGIN;
    const std::string size = std::to_string(side);
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + size + ' ' + size +
                      "\" shape-rendering=\"crispEdges\"><path fill=\"#fff\" d=\"M0 0h" + size + "v" + size +
                      "H0z\"/><path d=\"";
    for (int y = 0; y < code->width; ++y) {
        for (int x = 0; x < code->width; ++x) {
            if (!dark(*code, x, y)) continue;
            int length = 1;
            while (dark(*code, x + length, y)) ++length;
            svg += 'M' + std::to_string(x + MARGIN) + ' ' + std::to_string(y + MARGIN) + 'h' + std::to_string(length) +
                   "v1h-" + std::to_string(length) + 'z';
            x += length;
        }
    }
    return svg + "\"/></svg>\n";
}

std::string qr_terminal(const std::string& text, int columns, int rows) {
    const code_ptr code = encode(text);
    constexpr int margin = 2;
    if (!code || code->width + 2 * margin > columns || (code->width + 2 * margin + 1) / 2 > rows) return "";
    std::string out;
    for (int y = -margin; y < code->width + margin; y += 2) {
        out += "\x1b[30;107m"; // black on bright white
        for (int x = -margin; x < code->width + margin; ++x) {
            const bool upper = dark(*code, x, y);
            const bool under = dark(*code, x, y + 1);
            out += upper && under ? "\u2588" : upper ? "\u2580" : under ? "\u2584" : " ";
        }
        out += "\x1b[0m\n";
    }
    return out;
}

} // namespace classroom
