#include "field/walls.h"

std::array<wall_t, WALL_MAX> walls;
int nwall;

void setup_wall(uint32_t attr, double x1, double y1, double x2, double y2, double nx, double ny) {
    if (nwall >= WALL_MAX) return;
    walls[nwall] = {.x1 = x1, .y1 = y1, .x2 = x2, .y2 = y2, .nx = nx, .ny = ny, .attr = attr};
    ++nwall;
}
