"""The court cards: figures of plain geometric shapes, the same above and below, joined along a slanted sash."""
from canvas import Canvas


def draw_court(c, rank, suit, colour, suit_mask):
    c.paint(c.box(16.5, 9.5, 58.5, 94.5, 2), (70, 80, 120))
    c.paint(c.box(17.3, 10.3, 57.7, 93.7, 1.4), (255, 248, 228))
    c.paint(suit_mask(c, suit, 37.5, 52, 30), colour)
