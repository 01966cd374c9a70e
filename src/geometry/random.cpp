#include "geometry/random.h"

#include <cstdlib>

double drand() { return static_cast<double>(random()) / 2147483647.0; }
