"""The court cards: figures of plain geometric shapes, the same above and below, joined along a slanted sash.
Kings wear a high crown and a beard and hold a sword, queens a pearl diadem and a flower, jacks a feathered cap and a spear.
Each suit has its own colours."""
import math

import numpy as np
from PIL import Image, ImageFilter

from canvas import Canvas, mix

W, H = 75, 104
LEFT, TOP, RIGHT, BOTTOM = 16.5, 9.0, 58.5, 95.0  # the frame
MIDDLE = 37.5
INK, GOLD, PALE_GOLD, SKIN, WHITE = (30, 28, 44), (232, 176, 44), (255, 226, 130), (250, 220, 186), (252, 250, 244)
GROUND = (253, 244, 220)

# robe, panel down the front, sash, hair of king, queen and jack
DRESS = {
    'spade': ((42, 70, 152), (186, 36, 52), (232, 176, 44), ((74, 66, 72), (60, 44, 40), (84, 60, 44))),
    'heart': ((190, 30, 46), (38, 82, 138), (232, 176, 44), ((196, 140, 70), (226, 172, 70), (190, 118, 48))),
    'club': ((28, 112, 88), (214, 148, 34), (178, 38, 52), ((98, 66, 44), (120, 62, 32), (70, 48, 40))),
    'diamond': ((204, 92, 28), (96, 46, 122), (40, 110, 130), ((232, 226, 214), (206, 92, 38), (226, 170, 80))),
}


def outlined(c, mask, colour, ink=INK):
    """A shape with an ink outline."""
    wide = Image.fromarray((mask > 0).astype(np.uint8)).filter(ImageFilter.MaxFilter(2 * (c.scale // 2) - 1))
    c.paint(np.asarray(wide, dtype=float), ink)
    c.paint(mask, colour)


def lit(c, colour):
    """The colour, a little lighter to the left and darker to the right."""
    t = np.clip((c.x - LEFT) / (RIGHT - LEFT), 0, 1)
    return mix(mix(colour, (255, 255, 255), 0.16), mix(colour, (0, 0, 0), 0.22), t)


def mirrored(points):
    return points + [(2 * MIDDLE - x, y) for x, y in reversed(points)]


def robe(c, rank, suit):
    cloth, panel, _, _ = DRESS[suit]
    outlined(c, c.polygon(mirrored([(MIDDLE, 37), (30, 37.5), (21.5, 42), (17, 50), (15, 75), (MIDDLE, 75)])), lit(c, cloth))
    # Pattern of the cloth: lozenges of pale gold in slanting rows.
    shoulders = c.polygon(mirrored([(MIDDLE, 38), (29.8, 38.4), (22.4, 42.6), (18, 50), (16, 75), (MIDDLE, 75)]))
    u, v = (c.x - MIDDLE) / 5.6, (c.y - 40) / 7.4
    row = np.floor(v + 0.5)
    du = (u + 0.5 * (row % 2)) % 1 - 0.5
    dv = v - row
    c.paint(shoulders * (np.abs(du) * 1.7 + np.abs(dv) * 1.7 < 0.42), PALE_GOLD, 0.85)
    outlined(c, c.polygon(mirrored([(MIDDLE, 37), (32.2, 37), (31.2, 75), (MIDDLE, 75)])), lit(c, panel))
    if rank == 'K':  # ermine
        outlined(c, c.polygon(mirrored([(MIDDLE, 40.5), (30.5, 36), (22.5, 40.5), (21, 46), (29, 44.5), (MIDDLE, 48.5)])), WHITE)
        for x, y in ((25.4, 42.6), (30, 41), (34, 44.2), (MIDDLE, 44.6)):
            for at in {x, 2 * MIDDLE - x}:
                c.paint(c.oval(at, y, 0.75, 1.15), INK)
    elif rank == 'Q':  # lace and a necklace
        outlined(c, c.polygon(mirrored([(MIDDLE, 45), (31, 36), (26.5, 38.5), (30, 44.5)])), WHITE)
        c.paint(c.polygon(mirrored([(MIDDLE, 43), (33.2, 36.6), (MIDDLE, 36.6)])), SKIN)
        for k in range(-3, 4):
            outlined(c, c.disc(MIDDLE + 1.9 * k, 41.4 - 0.42 * k * k, 0.62), PALE_GOLD)
        for y in (49, 54):
            outlined(c, c.disc(MIDDLE, y, 1.5), GOLD)
    else:  # a striped ruff and buttons
        for k in range(-3, 4):
            outlined(c, c.oval(MIDDLE + 3.1 * k, 38.6 - 0.12 * k * k, 2.0, 2.7, 9 * k), WHITE if k % 2 else GOLD)
        for y in (44.5, 49, 53.5):
            outlined(c, c.disc(MIDDLE, y, 1.15), PALE_GOLD)


def head(c, rank, suit):
    hair = DRESS[suit][3]['KQJ'.index(rank)]
    if rank == 'K':
        outlined(c, c.box(29.6, 19, 45.4, 35, 4), hair)
        outlined(c, c.polygon(mirrored([(MIDDLE, 42.5), (34, 41), (31.2, 36), (30.6, 28), (MIDDLE, 28)])), hair)
        outlined(c, c.oval(MIDDLE, 27, 5.9, 7.4), SKIN)
        beard = c.oval(MIDDLE, 32.6, 6.2, 6.4) * (c.y > 30.2) * (np.hypot((c.x - MIDDLE) / 1.9, (c.y - 33.0) / 0.9) > 1)
        c.paint(beard, hair)
        for side in (-1, 1):  # moustache
            c.paint(c.oval(MIDDLE + side * 2.4, 31.1, 2.7, 1.1, side * 14), mix(hair, INK, 0.35))
        c.paint(c.oval(MIDDLE, 33.0, 1.7, 0.8), (190, 56, 56))
    elif rank == 'Q':
        for side in (-1, 1):
            outlined(c, c.oval(MIDDLE + side * 6.4, 31, 3.6, 8.6, side * -12), hair)
        outlined(c, c.oval(MIDDLE, 24.5, 8.2, 8.6), hair)
        outlined(c, c.polygon(mirrored([(MIDDLE, 40), (35.2, 38.6), (35.4, 32), (MIDDLE, 32)])), SKIN)
        outlined(c, c.oval(MIDDLE, 27.4, 5.5, 7.3), SKIN)
        c.paint(c.oval(MIDDLE, 21.4, 5.6, 3.2) * (c.y < 22.8), hair)
        for side in (-1, 1):
            c.paint(c.oval(MIDDLE + side * 3.4, 30.2, 1.4, 1.0), (244, 160, 140), 0.7)
        c.paint(c.oval(MIDDLE, 31.6, 1.6, 0.85), (200, 40, 60))
    else:
        outlined(c, c.box(29.2, 19, 45.8, 34.6, 4.5), hair)
        outlined(c, c.oval(MIDDLE, 27.2, 5.6, 7.4), SKIN)
        c.paint(c.box(31.8, 19, 43.2, 23, 1), hair)
        c.paint(c.oval(MIDDLE, 31.8, 1.7, 0.7), (196, 70, 60))
    for side in (-1, 1):
        c.paint(c.oval(MIDDLE + side * 2.5, 26.4, 1.5, 0.95), WHITE)
        c.paint(c.disc(MIDDLE + side * 2.4, 26.4, 0.85), INK)
        c.paint(c.line([(MIDDLE + side * 1.2, 24.6), (MIDDLE + side * 3.9, 24.3)], 0.7), mix(hair, INK, 0.5))
    c.paint(c.line([(MIDDLE, 26.6), (MIDDLE + 0.9, 29.2), (MIDDLE - 0.1, 29.4)], 0.6), (176, 112, 78))


def headdress(c, rank, suit):
    cloth, panel, _, _ = DRESS[suit]
    if rank == 'K':
        points = [(29.4, 21), (28.2, 12.6), (32.4, 16.2), (34.2, 11.4), (36.2, 15.6), (MIDDLE, 10.4)]
        outlined(c, c.polygon(mirrored(points)), GOLD)
        c.paint(c.box(29.6, 18.2, 45.4, 20.6), PALE_GOLD)
        for x, colour in ((31.8, cloth), (MIDDLE, panel), (43.2, cloth)):
            outlined(c, c.oval(x, 19.4, 1.1, 0.9), colour)
        for x, y in ((28.2, 12.6), (34.2, 11.6), (40.8, 11.6), (46.8, 12.6)):
            outlined(c, c.disc(x, y, 0.85), WHITE)
    elif rank == 'Q':
        points = [(30.2, 20.6), (29.2, 15.2), (32.2, 17.4), (34.2, 13.6), (35.8, 16.6), (MIDDLE, 12.2)]
        outlined(c, c.polygon(mirrored(points)), GOLD)
        c.paint(c.box(30.4, 18.8, 44.6, 20.2), panel)
        for x, y in ((29.2, 15.0), (34.2, 13.6), (MIDDLE, 12.4), (40.8, 13.6), (45.8, 15.0)):
            outlined(c, c.disc(x, y, 0.95), WHITE)
    else:
        outlined(c, c.oval(46.8, 15.6, 2.4, 7.6, 38), WHITE)  # feather
        c.paint(c.line([(43.6, 19.6), (50, 11.4)], 0.6), (150, 150, 164))
        outlined(c, c.polygon([(28.4, 20.6), (29.6, 14.6), (36, 12), (44.6, 13.8), (46.6, 20.6)]), lit(c, cloth))
        outlined(c, c.box(28.0, 18.4, 47.0, 21.2, 1.2), panel)
        outlined(c, c.disc(43.4, 19.0, 1.7), GOLD)


def implement(c, rank, suit):
    """What the hand at the right holds."""
    cloth, panel, sash, _ = DRESS[suit]
    if rank == 'K':
        blade = [(52.4, 44), (52.4, 16), (53.5, 12.6), (54.6, 16), (54.6, 44)]
        outlined(c, c.polygon(blade), (196, 206, 220))
        c.paint(c.line([(53.5, 16), (53.5, 40)], 0.5), WHITE)
        outlined(c, c.box(50, 38.4, 57, 40.2, 0.8), GOLD)
    elif rank == 'Q':
        c.paint(c.line([(52.2, 45), (53.2, 31)], 1.3), (36, 110, 60))
        outlined(c, c.oval(50.6, 37.4, 2.6, 1.2, 30), (70, 158, 84))
        for k in range(5):
            a = math.radians(90 + 72 * k)
            outlined(c, c.disc(53 + 2.9 * math.cos(a), 28 + 2.9 * math.sin(a), 2.1), mix(sash, WHITE, 0.25))
        outlined(c, c.disc(53, 28, 1.8), PALE_GOLD)
    else:
        c.paint(c.line([(53.6, 48), (53.6, 24)], 1.8), INK)
        c.paint(c.line([(53.6, 48), (53.6, 24)], 1.0), (150, 98, 50))
        outlined(c, c.polygon([(53.6, 14.5), (56.2, 21.4), (53.6, 25), (51, 21.4)]), (196, 206, 220))
        c.paint(c.line([(53.6, 17), (53.6, 23)], 0.5), WHITE)
    outlined(c, c.oval(53.2, 43.6, 2.7, 2.2), SKIN)
    outlined(c, c.polygon([(51, 45.6), (56.4, 45.2), (57.8, 50), (50.6, 50.4)]), lit(c, mix(cloth, WHITE, 0.25)))


def draw_court(c, rank, suit, colour, suit_mask):
    """Frame and figure on a blank card; the corners stay free for the indices."""
    sash = DRESS[suit][2]
    half = Canvas(W, H, c.scale)
    half.paint(half.box(LEFT, TOP, RIGHT, BOTTOM), GROUND)
    for k in range(24):  # faint rays behind the figure
        a, b = math.radians(15 * k), math.radians(15 * k + 7.5)
        ray = half.polygon([(MIDDLE, 26), (MIDDLE + 90 * math.cos(a), 26 + 90 * math.sin(a)),
                            (MIDDLE + 90 * math.cos(b), 26 + 90 * math.sin(b))])
        half.paint(ray * half.box(LEFT, TOP, RIGHT, BOTTOM), mix(GROUND, GOLD, 0.22))
    robe(half, rank, suit)
    head(half, rank, suit)
    headdress(half, rank, suit)
    implement(half, rank, suit)
    half.paint(suit_mask(half, suit, 22.6, 16.6, 9.4), colour)

    inside = c.box(LEFT + 0.8, TOP + 0.8, RIGHT - 0.8, BOTTOM - 0.8, 1)
    slant = c.y - H / 2 + 0.36 * (c.x - W / 2)
    c.paint(c.box(LEFT, TOP, RIGHT, BOTTOM, 1.8), mix(INK, colour, 0.5))
    c.lay(half, inside * (slant < 0))
    c.lay(half.half_turn(), inside * (slant >= 0))
    c.paint(inside * (np.abs(slant) < 3.9), INK)
    c.paint(inside * (np.abs(slant) < 3.1), lit(c, sash))
    along = ((c.x - W / 2) / 5.0 + 0.5) % 1 - 0.5
    c.paint(inside * (np.abs(along) * 2.4 + np.abs(slant) / 2.4 < 0.9), WHITE)
    c.paint(inside * (np.abs(along) * 2.4 + np.abs(slant) / 2.4 < 0.45), colour)
