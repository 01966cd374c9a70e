#include "brush/ink.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double EDGE = 256.0; // field units from the centre of the window to its edges

// Length of the part of a dot that lies in the window, along one axis; 0 or less when none does.
double inside(double centre, double size) {
    return std::min(centre + size / 2.0, EDGE) - std::max(centre - size / 2.0, -EDGE);
}

double pixels_of(const ink_dot_t& d) { return inside(d.x, d.size) * inside(d.y, d.size); }

bool is_outside(const ink_dot_t& d) { return inside(d.x, d.size) <= 0.0 || inside(d.y, d.size) <= 0.0; }

bool covers_window(const ink_dot_t& d) {
    return std::hypot(std::fabs(d.x) + EDGE, std::fabs(d.y) + EDGE) <= d.size / 2.0 * SOLID_SHARE;
}

} // namespace

ink_t bound_ink(std::span<ink_dot_t> dots, double pixels) {
    const auto end = std::remove_if(dots.begin(), dots.end(), is_outside);
    dots = dots.first(static_cast<size_t>(end - dots.begin()));
    if (std::count_if(dots.begin(), dots.end(), covers_window) >= SOLID_LAYERS) return {.count = 0, .fills_all = true};
    double wanted = 0.0;
    for (const ink_dot_t& d : dots) wanted += pixels_of(d);
    if (!(wanted > pixels)) return {.count = static_cast<int>(dots.size()), .fills_all = false};
    // A stride beyond the row leaves only its last dot.
    const double most = static_cast<double>(dots.size());
    const size_t stride = static_cast<size_t>(std::ceil(std::min(wanted / std::max(pixels, 1.0), most)));
    size_t left = 0;
    // Counted from the end, where a widening stroke is widest.
    for (size_t k = (dots.size() - 1) % stride; k < dots.size(); k += stride) dots[left++] = dots[k];
    return {.count = static_cast<int>(left), .fills_all = false};
}
