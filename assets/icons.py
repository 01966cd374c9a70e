"""Draws every picture but the card sheet: object icons, brush dot, battle ground, viewer icons."""
import math
import os

import numpy as np

from canvas import Canvas, mix, noise, save_png, save_png_fitting, smooth
from turtle import draw_turtle, shade

HERE = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'images')


def target(name):
    return os.path.join(HERE, name + '.png')


def star(cx, cy, outer, inner, turn=-90.0, points=5):
    out = []
    for k in range(2 * points):
        a = math.radians(turn + 180.0 * k / points)
        r = inner if k % 2 else outer
        out.append((cx + r * math.cos(a), cy + r * math.sin(a)))
    return out


# Object icons are shown 19 pixels wide without smoothing, so 13 of the 32 texels of a row are left out. Therefore: large
# shapes, no line thinner than 2 texels, soft shading instead of detail.
def doughnut():
    c = Canvas(32, 32)
    reach = np.hypot(c.x - 16, c.y - 16)
    angle = np.arctan2(c.y - 16, c.x - 16)
    ring = ((reach <= 15.6) & (reach >= 3.6)).astype(float)
    c.paint(ring, (96, 52, 20))
    bulge = 1 - np.abs(reach - 9.6) / 6
    light = smooth(-18, 18, (16 - c.x) + (16 - c.y))
    dough = mix(mix((150, 88, 36), (222, 158, 84), light), (240, 190, 120), np.clip(bulge - 0.6, 0, 1) * 0.6)
    c.paint(((reach <= 14.6) & (reach >= 4.6)).astype(float), dough)
    wave = 0.7 * np.sin(6 * angle + 0.6) + 0.4 * np.sin(3 * angle)
    icing = ((reach <= 12.9 + wave) & (reach >= 5.6 + 0.3 * np.sin(5 * angle))).astype(float)
    c.paint(icing, mix((206, 70, 128), (255, 158, 196), light))
    c.paint(icing * ((np.abs(reach - 8.6) < 1.0) & (np.abs(angle + 2.3) < 0.75)), (255, 226, 238))
    sprinkles = [(0.2, 9.3, (255, 240, 120)), (1.15, 9.8, (120, 220, 255)), (2.2, 9.2, (255, 255, 255)),
                 (3.0, 9.6, (140, 240, 140)), (-0.75, 9.4, (255, 255, 255)), (-1.5, 10.6, (120, 220, 255))]
    for a, r, colour in sprinkles:
        x, y = 16 + r * math.cos(a), 16 + r * math.sin(a)
        c.paint(c.oval(x, y, 1.9, 1.2, math.degrees(a) * 2 + 40), colour)
    return c.pixels()


def coin():
    c = Canvas(32, 32)
    light = smooth(-20, 20, (16 - c.x) + (16 - c.y))
    c.paint(c.disc(16, 16, 15.6), (104, 62, 6))
    c.paint(c.disc(16, 16, 14.2), mix((206, 138, 20), (255, 232, 120), light))
    c.paint(c.disc(16, 16, 11.2), mix((236, 178, 44), (176, 108, 12), light))
    c.paint(c.disc(16, 16, 10.2), mix((226, 160, 30), (255, 214, 74), light))
    c.paint(c.polygon(star(16.8, 17.6, 8.8, 4.0)), (150, 90, 8))
    c.paint(c.polygon(star(16, 16.6, 8.8, 4.0)), mix((255, 224, 110), (255, 250, 205), light))
    return c.pixels()


def stone():
    """Two courses of blocks in running bond that continue over all four edges. A wall shows the lower 15 rows: exactly
    one course and the joint below it. Low contrast, because the help panel's thin letters are drawn on it."""
    size = 32
    rows, cols = np.mgrid[0:size, 0:size]
    out = np.zeros((size, size, 3))
    rough = 0.6 * noise(size, 8, 3) + 0.4 * noise(size, 16, 4)
    blocks = [(0, 6, 18, 4), (0, 24, 14, -7), (16, 0, 15, -3), (16, 15, 17, 6)]  # top row, left column, width, tint
    for top, left, width, tint in blocks:
        x, y = (cols - left) % size, rows - top
        here = (x < width) & (y >= 0) & (y < 16)
        # Light from the upper left: bright upper and left rims, dark right rim, the joint right and below.
        level = 124 + 0.8 * tint + 9 * rough
        level = np.where((y < 2) | (x < 2), level + 16, level)
        level = np.where((y >= 12) | (x >= width - 4), level - 14, level)
        level = np.where((y >= 14) | (x >= width - 2), 74 + 5 * rough, level)
        tinted = level[..., None] * np.array([1.0, 0.98, 0.94])
        out = np.where(here[..., None], tinted, out)
    return np.dstack([np.clip(np.round(out), 0, 255), np.full((size, size), 255)]).astype(np.uint8)


def dot():
    """White ink. A stroke has twenty dots for each of its widths: its core is solid, and the low alpha of the dots' edges
    adds up to a rim about a tenth of the stroke wide, like ink on paper. A single dot has a softer rim."""
    c = Canvas(32, 32)
    reach = np.hypot(c.x - 16, c.y - 16) / 16
    c.paint(0.95 * (1 - smooth(0.5, 1.0, reach)), (255, 255, 255))
    out = c.pixels()
    out[..., :3] = 255  # also where nothing is: no dark fringe whatever the filter
    return out


def ground():
    """Worn flagstones, dark and low in contrast so that every team's colour, text and coins stand out."""
    size, n = 200, 5
    draw = np.random.RandomState(11)
    centres = [((i + 0.5 + draw.uniform(-0.3, 0.3)) * size / n, (j + 0.5 + draw.uniform(-0.3, 0.3)) * size / n,
                draw.uniform(-1, 1), draw.uniform(-1, 1)) for i in range(n) for j in range(n)]
    ys, xs = np.mgrid[0:size, 0:size] + 0.5
    xs, ys = xs + 2.0 * noise(size, 20, 5), ys + 2.0 * noise(size, 20, 6)  # uneven edges
    near = np.full((size, size), 1e9)
    second = near.copy()
    shade_of, warm_of = np.zeros((size, size)), np.zeros((size, size))
    for cx, cy, level, warm in centres:
        dx = (xs - cx + size / 2) % size - size / 2
        dy = (ys - cy + size / 2) % size - size / 2
        d = np.hypot(dx, dy)
        closer = d < near
        second = np.where(closer, near, np.minimum(second, d))
        shade_of, warm_of = np.where(closer, level, shade_of), np.where(closer, warm, warm_of)
        near = np.where(closer, d, near)
    gap = second - near
    rough = 0.5 * noise(size, 10, 7) + 0.3 * noise(size, 40, 8) + 0.4 * noise(size, 100, 9)
    level = 37 + 2.5 * shade_of + 3.0 * rough
    level = level * (0.5 + 0.5 * smooth(0.8, 4.5, gap)) + 2.0 * smooth(3, 6, gap) * (1 - smooth(6, 10, gap))
    warm = warm_of * 1.5
    out = np.dstack([level + warm, level + 1, level - warm + 1])
    return np.clip(np.round(out), 0, 255).astype(np.uint8)


TEAMS = [((0.2, 1.0, 0.1), 4240), ((0.7, 0.3, 1.0), 4896), ((0.5, 0.9, 0.9), 3326), ((0.1, 0.1, 1.0), 4181),
         ((0.8, 0.9, 0.0), 3319)]


def emblem(colour):
    c = Canvas(64, 64)
    body = tuple(255 * v for v in colour)
    draw_turtle(c, 32, 32, 62, body, shade(body, -0.15))
    return c.pixels()


def small_coin():
    c = Canvas(32, 32)
    c.paint(c.disc(16, 16, 15), (120, 74, 8))
    c.paint(c.disc(16, 16, 13), (255, 204, 60))
    c.paint(c.polygon(star(16, 16.6, 9, 4.0)), (160, 100, 10))
    return c.pixels()


def small_star():
    c = Canvas(32, 32)
    c.paint(c.polygon(star(16, 17, 16, 7.4)), (110, 20, 30))
    c.paint(c.polygon(star(16, 17, 13, 6.0)), (255, 90, 90))
    return c.pixels()


def logo():
    c = Canvas(64, 64)
    c.paint(c.box(1, 1, 63, 63, 12), (16, 26, 34))
    c.paint(c.box(3, 3, 61, 61, 10), mix((24, 74, 84), (10, 26, 44), np.clip(c.y / 64, 0, 1)))
    for k in range(5):
        a, b = math.radians(-90 + 144 * k), math.radians(-90 + 144 * (k + 1))
        p = (32 + 27 * math.cos(a), 34 + 27 * math.sin(a))
        q = (32 + 27 * math.cos(b), 34 + 27 * math.sin(b))
        c.paint(c.line([p, q], 2.2), (255, 214, 74))
    draw_turtle(c, 32, 33, 44, (96, 214, 84), (58, 150, 70))
    return c.pixels()


def main():
    os.makedirs(HERE, exist_ok=True)
    for name, picture in (('doughnut_image32x32', doughnut()), ('stone_image32x32', stone()),
                          ('coin_image32x32', coin()), ('ten_image32x32', dot()),
                          ('background_image200x200', ground())):
        save_png(target(name), picture)
    for k, (colour, length) in enumerate(TEAMS):
        print('png_img%d' % k, save_png_fitting(target('png_img%d' % k), emblem(colour), length), 'colours')
    for name, picture, length in (('png_img5', small_coin(), 481), ('png_img6', small_star(), 691),
                                  ('png_img7', logo(), 11961)):
        print(name, save_png_fitting(target(name), picture, length), 'colours')


if __name__ == '__main__':
    main()
