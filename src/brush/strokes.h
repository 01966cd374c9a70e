// Brush marks: short runs of track points turned into dense rows of dots, each as wide as the brush is there.
// Window thread; nothing is kept between calls. No OpenGL here: every dot leaves through stamp_dot, so a test records
// the dots of a stroke without a window.
// A row has at most 513 dots however long it is; a dot whose place or size is not finite is left out.
#pragma once

// The only output of strokes: draws a dot of side `size` centred at (x, y), field units, in color (r, g, b), 0 to 1.
// display/window points it at gather_dot before the first frame; tests point it at their recorder. Null: strokes draw
// nothing. Sizes come straight from the profile and may be 0 or negative; the receiver raises them to its minimum.
extern void (*stamp_dot)(double x, double y, double size, double r, double g, double b);

// A track point is given as x, y (field units) and w (brush width there, field units); then comes the color.
// A curve beside a segment of length zero may have no dots at all; it never draws away from its points.

/// p0 to p1, straight, with the profile that strokeStyle(last, ...) chooses; one dot at p0 when shorter than 1.1.
void brushLine(int last, double x0, double y0, double w0, double x1, double y1, double w1, double r, double g,
               double b);

/// p0 to p1, bent so that it arrives in the direction of p1 to p2; straight before a turn sharper than 72.5 degrees.
/// w2 is not used.
void drawCurve3(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2, double w2,
                double r, double g, double b);

/// p1 to p2, bent so that it leaves in the direction of p0 to p1; straight after a turn sharper than 72.5 degrees.
/// After a run that is nearly straight its first dots step back over the end of p0 to p1.
void drawCurve3asLastStroke(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2,
                            double w2, double r, double g, double b);

/// p1 to p2, tangent to p0-p2 at p1 and to p1-p3 at p2; with a corner (84 degrees and more) at p1 bent towards p3
/// only, with one at p2 straight. w0 and w3 are not used.
void drawCurve4(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2, double w2,
                double x3, double y3, double w3, double r, double g, double b);

/// The last two segments of a track: one tapered curve with p1 as its control point, or two straight strokes when it
/// turns by more than 60 degrees or ends upward.
void brushLine2(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2, double w2,
                double r, double g, double b);

/// The last three segments of a track, when the brush is lifted.
void brushLine3(double x0, double y0, double w0, double x1, double y1, double w1, double x2, double y2, double w2,
                double x3, double y3, double w3, double r, double g, double b);
