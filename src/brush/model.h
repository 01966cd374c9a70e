// Stroke profiles of the ink brush: which one a stroke gets, how wide it is at each point and where it bends away.
// Pure functions of their arguments: any thread, no lock.
// A stroke's parameter t runs from 0 at its start to 1 at its end.
#pragma once

/// Width factor of a stroke at t.
/// @param style  1 waisted; 2 and 3 sharp taper; 4 and 7 linear taper; 5 slow taper; 6 flick, swelling to 2.34 at
///               mid-stroke; any other value is uniform
/// @param t      0 to 1
/// @return 1.0 for full width, 0 where the stroke ends in a point
[[nodiscard]] double thickness(int style, double t);

/// Sideways offset of a stroke at t towards +y, as a fraction of its current width: 0 but for the second half of
/// style 6, where it rises from 0 to 1.
[[nodiscard]] double vshift(int style, double t);

/// Profile of a stroke.
/// @param last    not 0 for the stroke with which the brush leaves the paper; 0 inside a track
/// @param length  field units; asked only inside a track
/// @param width   brush width at the start, field units; asked only inside a track
/// @param angle   direction in degrees, above -180 to 180, 0 along +x, 90 along +y
/// @return inside a track 1 for a long (more than 4 widths) stroke to the right, less than 30 degrees upward, else 0;
///         for a last stroke 7 (right), 2 (steeper up), 3 (up to the left), 4 (down to the right), 5 (straight down
///         and down to the left); 0 for NaN
[[nodiscard]] int strokeStyle(int last, double length, double width, double angle);
