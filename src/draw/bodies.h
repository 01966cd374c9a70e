// The bodies of turtles, as one array of triangles. Window thread.
#pragma once

#include "field/turtles.h"

#include <span>

struct body_t {
    double x, y;      // field units
    double dir;       // degrees
    double leg, head; // -1 to 1: the position in the gait
    rgb_t color;      // of the shell; 0 to 1
};

/// Draws bodies as their solids would be drawn one by one, but for rounding: lit from the eye's side, culled, with the
/// current matrices as the view of the field. Leaves lighting on and culling off.
/// @param bodies  TTL_MAX at most
/// @param every_triangle  false: those that reach no middle of a pixel are left out, which changes no picture
void draw_bodies(std::span<const body_t> bodies, bool every_triangle);
