// Shared by the tests of frames, scenes and tracks: an empty field, the canvas texture, and frames drawn from it.
// Frames are read back from the back buffer.
#pragma once

#include "picture/picture.h"
#include "support.h"

#include "brush/strokes.h"
#include "display/frame.h"
#include "display/window.h"
#include "draw/canvas.h"
#include "draw/dot.h"
#include "draw/scene.h"

#include <array>
#include <cstdint>

namespace picture {

class FieldPicture : public PictureTest {
protected:
    void SetUp() override {
        PictureTest::SetUp();
        reset_tables();
        signals.wipe_requested = true;
        view_fov_angle = 55.0;
        view_rotation_angle = 0.0;
        use_reference_path = false;
        if (bg_textures == 0) prepare_drawing();
        stamp_dot = gather_dot;
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    }

    static shot frame() {
        draw_frame();
        return read_window();
    }

    /// Replaces the canvas with color_at() of every pixel.
    template <class ColorAt> static void put_canvas(ColorAt color_at) {
        std::vector<unsigned char> pixels;
        for (int row = 0; row < SIDE; ++row)
            for (int column = 0; column < SIDE; ++column) {
                const rgb c = color_at(column, row);
                for (const int level : {c.r, c.g, c.b, 255}) pixels.push_back(static_cast<unsigned char>(level));
            }
        glBindTexture(GL_TEXTURE_2D, bg_textures);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, SIDE, SIDE, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        glBindTexture(GL_TEXTURE_2D, 0);
        canvas_is_top_down = 0;
        signals.wipe_requested = false;
    }

    /// A picture in which every pixel differs from its neighbours.
    static rgb noise(int column, int row) { return {(column * 7) & 255, (row * 5) & 255, (column * row) & 255}; }
};

} // namespace picture
