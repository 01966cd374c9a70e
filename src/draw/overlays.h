// The help and the warning screen, drawn over the finished scene in field coordinates.
// Window thread only; normal rescaling is on and the blend function is set, as in the whole frame.
#pragma once

/// A stone panel that lists the keys, visible from above only. Leaves blending, culling and texturing off, and the
/// front emission at (0, 0, 0, 1); the ambient and diffuse color stays orange red.
void drawHelp();

/// Four red lines: the ports could not be opened. Leaves the front emission at (0, 0, 0, 1); the ambient and diffuse
/// color stays red.
void drawWarning();

/// Draws those overlays over a finished scene, with the depth test on, that the modes and signals ask for: as drawHelp
/// and drawWarning would, but for rounding, and faster.
void draw_overlays();
