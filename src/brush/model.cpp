#include "brush/model.h"

#include <cmath>

namespace {

constexpr double FLICK_GROWTH = 1.7;              // style 6 swells as e^(1.7 t)
constexpr double FLICK_PEAK = 2.3396468519259908; // e^0.85, what the swelling reaches at mid-stroke
constexpr double FLICK_FALL = 1.6;                // start of the fall; leaves a small step at mid-stroke
constexpr double LONG_STROKE = 4.0;               // length in widths above which a stroke is waisted

constexpr double NEARLY_LEVEL = 30.0;  // degrees
constexpr double STRAIGHT_UP = 90.0;   // degrees
constexpr double STEEPLY_DOWN = -80.0; // degrees

} // namespace

double thickness(int style, double t) {
    switch (style) {
    case 1:
        return 1.0 - (1.0 - t) * (0.7 * (t + 0.2));
    case 2:
    case 3:
        return 1.0 - std::sqrt(t);
    case 4:
    case 7:
        return 1.0 - t;
    case 5:
        return 1.0 - std::pow(t, 1.5);
    case 6:
        // The fall starts a little below the peak (2.22 against 2.34); the step at mid-stroke is intended.
        return t < 0.5 ? std::exp(FLICK_GROWTH * t) : (1.0 - std::pow(t, 1.3)) * FLICK_PEAK * FLICK_FALL;
    default:
        return 1.0;
    }
}

double vshift(int style, double t) { return style == 6 && t >= 0.5 ? 2.0 * (t - 0.5) : 0.0; }

int strokeStyle(int last, double length, double width, double angle) {
    const bool rightward = 0.0 <= angle && angle < NEARLY_LEVEL;
    if (last == 0) return length / width > LONG_STROKE && rightward ? 1 : 0;
    if (rightward) return 7;
    if (NEARLY_LEVEL <= angle && angle < STRAIGHT_UP) return 2;
    if (angle >= STRAIGHT_UP) return 3;
    if (STEEPLY_DOWN < angle && angle < 0.0) return 4;
    if (angle <= STEEPLY_DOWN) return 5;
    return 0; // not a number
}
