#include "brush/strokes.h"

#include "base/angles.h"
#include "brush/model.h"

#include <algorithm>
#include <cmath>

void (*stamp_dot)(double x, double y, double size, double r, double g, double b) = nullptr;

namespace {

constexpr double DOTS_PER_WIDTH = 20.0;  // dots lie a twentieth of the width apart
constexpr double WIDTH_FLOOR = 0.01;     // field units, added to the width so that a width of 0 has a spacing too
constexpr double DOTS_MAX = 512.0;       // steps of a row; a longer and thinner stroke becomes a dotted line
constexpr double SHORTEST_STROKE = 1.1;  // field units; anything shorter is one dot
constexpr double BEND = 0.25;            // distance of a curve's control point from the joint, in segment lengths
constexpr double NEARLY_STRAIGHT = 0.99; // turn cosine above which a curve takes a midpoint for its control point
constexpr double CURVE3_CORNER = 0.3;    // turn cosines below which a joint stays a corner, per routine
constexpr double CURVE4_CORNER = 0.1;
constexpr double STROKE2_CORNER = 0.5;

struct brush_point_t {
    double x, y, w; // field units
};
struct color_t {
    double r, g, b; // 0 to 1
};
struct vec_t {
    double x, y;
};

vec_t from_to(const brush_point_t& a, const brush_point_t& b) { return {b.x - a.x, b.y - a.y}; }
double length(vec_t d) { return std::sqrt(d.x * d.x + d.y * d.y); }
double angle(vec_t d) { return std::atan2(d.y, d.x) * 180.0 / PI; }
vec_t midpoint(const brush_point_t& a, const brush_point_t& b) { return {(a.x + b.x) / 2.0, (a.y + b.y) / 2.0}; }

// 1 straight on, 0 a right angle, -1 turning back; NaN beside a segment of length zero, so that every comparison with a
// threshold is false.
double turn_cosine(vec_t a, vec_t b) { return (a.x * b.x + a.y * b.y) / (length(a) * length(b)); }

double quadratic(double a, double q, double b, double t) {
    return (1.0 - t) * (1.0 - t) * a + 2.0 * t * (1.0 - t) * q + t * t * b;
}

void dot(double x, double y, double size, const color_t& c) {
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(size)) return;
    if (stamp_dot) stamp_dot(x, y, size, c.r, c.g, c.b);
}
void dot(const brush_point_t& p, const color_t& c) { dot(p.x, p.y, p.w, c); }

// Step of t along a row that covers `len` with the spacing of width `w`. The count is limited while it is a double: a
// huge or NaN length must not be converted.
double row_step(double len, double w) {
    const double count = std::trunc(len / ((std::fabs(w) + WIDTH_FLOOR) / DOTS_PER_WIDTH)) + 1.0;
    if (!(count >= 1.0)) return 1.0;
    return 1.0 / std::min(count, DOTS_MAX);
}

// Calls stamp(t) along a row. t is a running sum on purpose: its rounding decides whether the last dot falls on the end
// of the row or is left out, and that must not change.
template <typename Stamp> void along_row(double len, double w, Stamp stamp) {
    const double dt = row_step(len, w);
    for (double t = 0.0; t <= 1.0; t += dt) stamp(t);
}

// A curved row from a to b with control point q, the width passing through `middle_width`.
void curved_row(const brush_point_t& a, vec_t q, const brush_point_t& b, double middle_width, const color_t& c) {
    along_row(length(from_to(a, b)), a.w, [&](double t) {
        dot(quadratic(a.x, q.x, b.x, t), quadratic(a.y, q.y, b.y, t), quadratic(a.w, middle_width, b.w, t), c);
    });
}

bool heads_upward(int style) { return style == 1 || style == 2 || style == 3; }

void straight(int last, const brush_point_t& p0, const brush_point_t& p1, const color_t& c) {
    const vec_t d = from_to(p0, p1);
    const double len = length(d);
    if (len < SHORTEST_STROKE) {
        dot(p0, c);
        return;
    }
    const int style = strokeStyle(last, len, p0.w, angle(d));
    along_row(len, p0.w, [&](double t) {
        dot(p0.x + d.x * t, p0.y + d.y * t, thickness(style, t) * (t * p1.w + (1.0 - t) * p0.w), c);
    });
}

void arriving(const brush_point_t& p0, const brush_point_t& p1, const brush_point_t& p2, const color_t& c) {
    const vec_t d1 = from_to(p0, p1), d2 = from_to(p1, p2);
    const double k = turn_cosine(d1, d2);
    if (k < CURVE3_CORNER) {
        straight(0, p0, p1, c);
        return;
    }
    const double back = BEND * length(d1) / length(d2);
    const vec_t q = k > NEARLY_STRAIGHT ? midpoint(p0, p1) : vec_t{p1.x - d2.x * back, p1.y - d2.y * back};
    curved_row(p0, q, p1, (p0.w + p1.w) / 2.0, c);
}

void leaving(const brush_point_t& p0, const brush_point_t& p1, const brush_point_t& p2, const color_t& c) {
    const vec_t d1 = from_to(p0, p1), d2 = from_to(p1, p2);
    const double k = turn_cosine(d1, d2);
    if (k < CURVE3_CORNER) {
        straight(0, p1, p2, c);
        return;
    }
    const double ahead = BEND * length(d2) / length(d1);
    // The midpoint is that of the segment before, behind p1: a straight run is inked twice at the joint.
    const vec_t q = k > NEARLY_STRAIGHT ? midpoint(p0, p1) : vec_t{p1.x + d1.x * ahead, p1.y + d1.y * ahead};
    // So is the middle width.
    curved_row(p1, q, p2, (p0.w + p1.w) / 2.0, c);
}

// Where the line through p1 along p2 - p0 meets the line through p2 along p3 - p1; not finite when they are parallel.
vec_t tangents_meet(const brush_point_t& p0, const brush_point_t& p1, const brush_point_t& p2,
                    const brush_point_t& p3) {
    const double s = ((p2.y - p1.y) * (p3.x - p1.x) - (p2.x - p1.x) * (p3.y - p1.y)) /
                     ((p2.y - p0.y) * (p3.x - p1.x) - (p2.x - p0.x) * (p3.y - p1.y));
    return {p1.x + s * (p2.x - p0.x), p1.y + s * (p2.y - p0.y)};
}

void joining(const brush_point_t& p0, const brush_point_t& p1, const brush_point_t& p2, const brush_point_t& p3,
             const color_t& c) {
    const vec_t d1 = from_to(p0, p1), d2 = from_to(p1, p2), d3 = from_to(p2, p3);
    if (turn_cosine(d1, d2) < CURVE4_CORNER) {
        arriving(p1, p2, p3, c);
        return;
    }
    if (turn_cosine(d2, d3) < CURVE4_CORNER) {
        straight(0, p1, p2, c);
        return;
    }
    const vec_t q = turn_cosine(d1, d3) > NEARLY_STRAIGHT ? midpoint(p1, p2) : tangents_meet(p0, p1, p2, p3);
    curved_row(p1, q, p2, (p1.w + p2.w) / 2.0, c);
}

void last_two(const brush_point_t& p0, const brush_point_t& p1, const brush_point_t& p2, const color_t& c) {
    const vec_t d1 = from_to(p0, p1), d2 = from_to(p1, p2);
    const double len1 = length(d1), len2 = length(d2);
    if (len2 < SHORTEST_STROKE) {
        straight(0, p0, p1, c);
        dot(p2, c);
        return;
    }
    if (len1 < SHORTEST_STROKE) {
        dot(p0, c);
        straight(1, p1, p2, c);
        return;
    }
    int style = strokeStyle(1, len2, p1.w, angle(d2));
    if (turn_cosine(d1, d2) < STROKE2_CORNER || heads_upward(style)) {
        straight(0, p0, p1, c);
        straight(1, p1, p2, c);
        return;
    }
    if (style == 4) style = 6; // descending to the right and curved: a flick
    along_row(len1 + len2, p0.w, [&](double t) {
        const double w = quadratic(p0.w, p1.w, p2.w, t);
        dot(quadratic(p0.x, p1.x, p2.x, t), quadratic(p0.y, p1.y, p2.y, t) + w * vshift(style, t),
            w * thickness(style, t), c);
    });
}

void last_three(const brush_point_t& p0, const brush_point_t& p1, const brush_point_t& p2, const brush_point_t& p3,
                const color_t& c) {
    arriving(p0, p1, p2, c);
    const vec_t d2 = from_to(p1, p2), d3 = from_to(p2, p3);
    const double len2 = length(d2), len3 = length(d3);
    if (len3 < SHORTEST_STROKE) {
        leaving(p0, p1, p2, c);
        dot(p3, c);
        return;
    }
    if (len2 < SHORTEST_STROKE) {
        dot(p1, c);
        straight(1, p2, p3, c);
        return;
    }
    if (turn_cosine(d2, d3) < STROKE2_CORNER) {
        leaving(p0, p1, p2, c);
        straight(1, p2, p3, c);
        return;
    }
    if (!heads_upward(strokeStyle(1, len3, p2.w, angle(d3)))) {
        last_two(p1, p2, p3, c);
        return;
    }
    leaving(p0, p1, p2, c);
    // The closing upward stroke starts with the end point's width too, so that only its profile shapes it.
    straight(1, {p2.x, p2.y, p3.w}, p3, c);
}

} // namespace

void brushLine(int last, double x0, double y0, double w0, double x1, double y1, double w1, double r, double g,
               double b) {
    straight(last, {x0, y0, w0}, {x1, y1, w1}, {r, g, b});
}

void drawCurve3(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2, double w2,
                double r, double g, double b) {
    arriving({x0, y0, w0}, {x1, y1, w1}, {x2, y2, w2}, {r, g, b});
}

void drawCurve3asLastStroke(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2,
                            double w2, double r, double g, double b) {
    leaving({x0, y0, w0}, {x1, y1, w1}, {x2, y2, w2}, {r, g, b});
}

void drawCurve4(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2, double w2,
                double x3, double y3, double w3, double r, double g, double b) {
    joining({x0, y0, w0}, {x1, y1, w1}, {x2, y2, w2}, {x3, y3, w3}, {r, g, b});
}

void brushLine2(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2, double w2,
                double r, double g, double b) {
    last_two({x0, y0, w0}, {x1, y1, w1}, {x2, y2, w2}, {r, g, b});
}

void brushLine3(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2, double w2,
                double x3, double y3, double w3, double r, double g, double b) {
    last_three({x0, y0, w0}, {x1, y1, w1}, {x2, y2, w2}, {x3, y3, w3}, {r, g, b});
}
