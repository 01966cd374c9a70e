"""Draws the sheet of playing cards: four suits of thirteen and one odd card, each 75 x 104 pixels."""
import math
import os
import sys

import numpy as np
from PIL import Image, ImageFont

from canvas import Canvas, save_png
from courts import draw_court
from turtle import draw_turtle

HERE = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'images')
FONT = '/usr/share/fonts/truetype/dejavu/DejaVuSerifCondensed-Bold.ttf'
SHEET = (1158, 600)
W, H = 75, 104
SCALE = 6

BLACK, RED, PAPER, RIM = (24, 26, 34), (200, 24, 40), (253, 251, 245), (112, 112, 120)
SUITS = (('spade', BLACK), ('heart', RED), ('club', BLACK), ('diamond', RED))
RANKS = ('A', '2', '3', '4', '5', '6', '7', '8', '9', '10', 'J', 'Q', 'K')


def cell(index):
    """Upper left corner of a card in the sheet."""
    row, column = divmod(index, 13)
    return int(87.7 * column + 15.0), int(117.5 * row + 10.0)


def suit_mask(c, suit, cx, cy, size):
    """A pip centred on a point, `size` pixels high, upright."""
    u = size / 2.0

    def at(points):
        return [(cx + x * u, cy + y * u) for x, y in points]

    def curve(p0, p1, p2, p3, n=24):
        out = []
        for k in range(n + 1):
            t = k / n
            s = 1 - t
            out.append(tuple(s ** 3 * a + 3 * s * s * t * b + 3 * s * t * t * d + t ** 3 * e
                             for a, b, d, e in zip(p0, p1, p2, p3)))
        return out

    def mirrored(right):
        return at(right + [(-x, y) for x, y in reversed(right)])

    foot = curve((0.08, 0.1), (0.1, 0.65), (0.2, 0.88), (0.42, 1.0))
    if suit == 'heart':
        right = curve((0, -0.55), (0.12, -1.12), (0.98, -1.15), (0.96, -0.4)) + \
            curve((0.96, -0.4), (0.94, 0.1), (0.35, 0.45), (0, 1.0))
        return c.polygon(mirrored(right))
    if suit == 'diamond':
        right = curve((0, -1.0), (0.2, -0.6), (0.5, -0.25), (0.78, 0)) + curve((0.78, 0), (0.5, 0.25), (0.2, 0.6), (0, 1.0))
        return c.polygon(mirrored(right))
    if suit == 'spade':
        right = curve((0, -1.0), (0.3, -0.5), (0.92, -0.25), (0.92, 0.25)) + \
            curve((0.92, 0.25), (0.92, 0.78), (0.25, 0.8), (0.06, 0.35))
        return np.maximum(c.polygon(mirrored(right)), c.polygon(mirrored([(0, 0)] + foot)))
    balls = [(0, -0.52, 0.46), (-0.5, 0.2, 0.46), (0.5, 0.2, 0.46), (0, -0.02, 0.28)]
    mask = c.polygon(mirrored([(0, -0.2)] + foot))
    for x, y, r in balls:
        mask = np.maximum(mask, c.disc(cx + x * u, cy + y * u, r * u))
    return mask


def pip_places(n):
    """Traditional places: (column -1..1, height 0 top..1 bottom); pips in the lower half are upside down."""
    middle = {1: [0.5], 2: [0, 1], 3: [0, 0.5, 1], 5: [0.5], 7: [0.25], 8: [0.25, 0.75], 9: [0.5], 10: [1 / 6, 5 / 6]}
    sides = {4: [0, 1], 5: [0, 1], 6: [0, 0.5, 1], 7: [0, 0.5, 1], 8: [0, 0.5, 1], 9: [0, 1 / 3, 2 / 3, 1],
             10: [0, 1 / 3, 2 / 3, 1]}
    return [(0, y) for y in middle.get(n, [])] + [(s, y) for y in sides.get(n, []) for s in (-1, 1)]


def blank():
    c = Canvas(W, H, SCALE)
    c.paint(c.box(0, 0, W, H, 6.5), RIM)
    c.paint(c.box(1, 1, W - 1, H - 1, 5.5), PAPER)
    return c


def add_indices(c, rank, suit, colour):
    """Rank and suit at the upper left, turned round at the lower right."""
    corner = Canvas(W, H, SCALE)
    font = ImageFont.truetype(FONT, int((13.5 if rank != '10' else 11) * SCALE))
    corner.paint(corner.text(8.8, 11.0, rank, font), colour)
    corner.paint(suit_mask(corner, suit, 8.8, 22.3, 8.4), colour)
    c.lay(corner)
    c.lay(corner.half_turn())


def add_pip(c, suit, colour, x, y, size, turned):
    one = Canvas(W, H, SCALE)
    one.paint(suit_mask(one, suit, W - x if turned else x, H - y if turned else y, size), colour)
    c.lay(one.half_turn() if turned else one)


def number_card(n, suit, colour):
    c = blank()
    add_indices(c, RANKS[n - 1], suit, colour)
    if n == 1:
        add_pip(c, suit, colour, W / 2, H / 2, 40, False)
        if suit == 'spade':  # the first card of the pack carries the mark of the house
            draw_turtle(c, W / 2, H / 2 + 2.5, 20, (250, 250, 244), (210, 216, 214), outline=BLACK)
        return c
    size = 15.4 if n < 9 else 14.2
    for column, height in pip_places(n):
        add_pip(c, suit, colour, W / 2 + 13.0 * column, 19 + (H - 38) * height, size, height > 0.5)
    return c


def court_card(rank, suit, colour):
    c = blank()
    draw_court(c, rank, suit, colour, suit_mask)
    add_indices(c, rank, suit, colour)
    return c


def odd_card():
    """Card 53: a turtle that has stopped in the middle of its drawing."""
    c = blank()
    for k in range(5):
        a, b = math.radians(-90 + 144 * k), math.radians(-90 + 144 * (k + 1))
        ends = [(W / 2 + 25.5 * math.cos(t), H / 2 + 25.5 * math.sin(t)) for t in (a, b)]
        c.paint(c.line(ends, 1.6), (230, 176, 50))
    draw_turtle(c, W / 2, H / 2, 42, (112, 196, 84), (52, 140, 76))
    corner = Canvas(W, H, SCALE)
    font = ImageFont.truetype(FONT, int(8 * SCALE))
    for k, letter in enumerate('JOKER'):
        corner.paint(corner.text(8.2, 10 + 7.6 * k, letter, font), (96, 40, 140))
    c.lay(corner)
    c.lay(corner.half_turn())
    return c


def card(index):
    if index == 52:
        return odd_card()
    suit, colour = SUITS[index // 13]
    n = index % 13 + 1
    return number_card(n, suit, colour) if n <= 10 else court_card(RANKS[n - 1], suit, colour)


def main():
    """Draws all cards, or with numbers 0 to 52 as arguments only those, enlarged into the working directory."""
    for index in map(int, sys.argv[1:]):
        Image.fromarray(card(index).pixels()).resize((4 * W, 4 * H), Image.BICUBIC).save(f'card{index}.png')
    if len(sys.argv) > 1:
        return
    sheet = np.zeros((SHEET[1], SHEET[0], 4), dtype=np.uint8)
    for index in range(53):
        x, y = cell(index)
        sheet[y:y + H, x:x + W] = card(index).pixels()
    save_png(os.path.join(HERE, 'gimp_cards_image.png'), sheet)


if __name__ == '__main__':
    main()
