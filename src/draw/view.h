// Where points of the field lie in the window, by GL's current matrices. Window thread.
#pragma once

#include <array>

// From the field to clip coordinates: projection times model-view matrix, column by column.
struct projection_t {
    std::array<double, 16> m;
};

/// A point of the window in pixels from its lower left corner.
struct window_point_t {
    double x, y;
    bool is_before_eye; // else x and y have no meaning; false also for what is no number
};

[[nodiscard]] projection_t current_projection();

/// Where (x, y, z) lies. Clip coordinates divided by w, from -1..1 to the 512 pixels of the field's square.
[[nodiscard]] inline window_point_t to_window(const projection_t& p, double x, double y, double z) {
    constexpr double HALF = 256.0;
    const auto& m = p.m;
    const double w = m[3] * x + m[7] * y + m[11] * z + m[15];
    return {((m[0] * x + m[4] * y + m[8] * z + m[12]) / w + 1.0) * HALF,
            ((m[1] * x + m[5] * y + m[9] * z + m[13]) / w + 1.0) * HALF, w > 0.0};
}
