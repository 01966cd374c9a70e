// Angles: degrees in interfaces, radians in computations.
#pragma once

inline constexpr double PI = 3.141592653589793;
inline constexpr double DEG_TO_RAD = PI / 180.0;
