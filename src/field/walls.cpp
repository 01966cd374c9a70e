#include "field/walls.h"

std::array<wall_t, WALL_MAX> walls;
int nwall;
