"""The turtle seen from above that the viewer icons and the odd card share."""
import numpy as np

from canvas import mix


def shade(colour, t):
    """Darker for t < 0, lighter for t > 0, -1..1."""
    return mix(colour, (0, 0, 0), -t) if t < 0 else mix(colour, (255, 255, 255), t)


def draw_turtle(c, cx, cy, size, body, shell, outline=(20, 24, 20)):
    """Head up, centred; size is the length from nose to tail in pixels."""
    u = size / 64.0

    def oval(x, y, rx, ry, degrees=0.0, grow=0.0):
        return c.oval(cx + x * u, cy + y * u, (rx + grow) * u, (ry + grow) * u, degrees)

    limbs = [(-18, -13, 11, 6, 35), (18, -13, 11, 6, -35), (-16, 16, 9, 5.5, -40), (16, 16, 9, 5.5, 40)]
    for grow, colour in ((2.0, outline), (0.0, body)):
        c.paint(c.polygon([(cx + x * u, cy + y * u) for x, y in ((-4 - grow, 22), (4 + grow, 22), (0, 31 + grow))]), colour)
        for x, y, rx, ry, turn in limbs:
            c.paint(oval(x, y, rx, ry, turn, grow), colour)
        c.paint(oval(0, -22, 7.5, 9, 0, grow), colour)
    for x, y, rx, ry, turn in limbs:
        c.paint(oval(x * 0.96, y - 1.5, rx * 0.6, ry * 0.45, turn), shade(body, 0.35))
    c.paint(oval(0, -24.5, 4.5, 4.5), shade(body, 0.3))
    for side in (-1, 1):
        c.paint(oval(side * 4.2, -25, 2.1, 2.4), (255, 255, 255))
        c.paint(oval(side * 4.2, -25.8, 1.25, 1.4), (10, 10, 20))
    c.paint(oval(0, 3, 18, 20, 0, 2.0), outline)
    reach = c.reach(cx - 4 * u, cy - 3 * u, 26 * u, 28 * u)
    c.paint(oval(0, 3, 18, 20), mix(shade(shell, 0.3), shade(shell, -0.45), np.clip(reach, 0, 1)))
    # Scutes: a hexagon in the middle, seams from its corners to the rim.
    seam = shade(shell, -0.6)
    inside = oval(0, 3, 18, 20)
    corners = [(0, -8), (8.5, -3), (8.5, 9), (0, 14), (-8.5, 9), (-8.5, -3)]
    rim = [(0, -20), (19, -9), (19, 15), (0, 26), (-19, 15), (-19, -9)]
    for (x, y), (far_x, far_y) in zip(corners, rim):
        c.paint(inside * c.line([(cx + x * u, cy + y * u), (cx + far_x * u, cy + far_y * u)], 1.6 * u), seam)
    hexagon = [(cx + x * u, cy + y * u) for x, y in corners]
    c.paint(c.line(hexagon + hexagon[:1], 1.8 * u), seam)
    c.paint(oval(-4, -3.5, 3.2, 2.2, -30), (255, 255, 255), 0.55)
