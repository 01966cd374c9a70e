#include "class/places.h"

#include "class/seating.h"
#include "src/base/angles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

namespace classroom {

namespace {

constexpr double FULL_TURN = 2 * PI;

bool is_apart(std::span<const spot> others, spot here, double distance) {
    return std::none_of(others.begin(), others.end(),
                        [here, distance](const spot& o) { return std::hypot(o.x - here.x, o.y - here.y) < distance; });
}

} // namespace

std::vector<spot> other_bodies(std::string_view list, std::string_view self) {
    std::vector<spot> bodies;
    const auto turtles = nlohmann::json::parse(list, nullptr, false);
    if (!turtles.is_array()) return bodies;
    bool seen = false;
    for (const auto& t : turtles) {
        if (!t.is_object() || !t.contains("x") || !t["x"].is_number() || !t.contains("y") || !t["y"].is_number())
            continue;
        if (!seen && t.contains("name") && t["name"] == self) {
            seen = true;
            continue;
        }
        bodies.push_back({t["x"].get<double>(), t["y"].get<double>()});
    }
    return bodies;
}

bool middle_is_free(std::span<const spot> others) { return is_apart(others, {0, 0}, CROWDED + 1); }

spot free_spot(std::span<const spot> others, int place) {
    const auto on_ring = [](double radius, int k) {
        return spot{std::round(radius * std::cos(FULL_TURN * k / PLACES)),
                    std::round(radius * std::sin(FULL_TURN * k / PLACES))};
    };
    for (const double radius : {RING_RADIUS, 0.6 * RING_RADIUS, 1.3 * RING_RADIUS}) {
        for (int k = 0; k < PLACES; ++k) {
            const spot here = on_ring(radius, place + k);
            if (is_apart(others, here, ELBOW_ROOM)) return here;
        }
    }
    return on_ring(RING_RADIUS, place);
}

} // namespace classroom
