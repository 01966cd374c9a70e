#include "draw/view.h"

#include <GL/gl.h>

#include <cstddef>

projection_t current_projection() {
    std::array<double, 16> p, v;
    glGetDoublev(GL_PROJECTION_MATRIX, p.data());
    glGetDoublev(GL_MODELVIEW_MATRIX, v.data());
    projection_t product{};
    for (std::size_t column = 0; column < 4; ++column) {
        for (std::size_t row = 0; row < 4; ++row) {
            for (std::size_t k = 0; k < 4; ++k) product.m[4 * column + row] += p[4 * k + row] * v[4 * column + k];
        }
    }
    return product;
}
