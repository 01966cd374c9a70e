"""A drawing made over TCP and read back from the window: each pixel in its place, and a canvas that stays as it is."""
import math

import numpy

import harness
from harness import FieldTest, HALF, FIELD_SIZE, pixel

GREEN, YELLOW, BLUE = (0, 255, 0), (255, 255, 0), (0, 0, 255)


def mask(picture, colour):
    return (picture == colour).all(axis=2)


def inside(points, x, y):
    """Which of the points (arrays x, y) lie inside the polygon, by counting crossings."""
    hit = numpy.zeros(x.shape, dtype=bool)
    for (x1, y1), (x2, y2) in zip(points, points[1:] + points[:1]):
        if y1 == y2:
            continue
        crosses = (y1 > y) != (y2 > y)
        hit ^= crosses & (x < x1 + (y - y1) * (x2 - x1) / (y2 - y1))
    return hit


def edge_distance(points, x, y):
    best = numpy.full(x.shape, numpy.inf)
    for (x1, y1), (x2, y2) in zip(points, points[1:] + points[:1]):
        dx, dy = x2 - x1, y2 - y1
        along = numpy.clip(((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy), 0, 1)
        best = numpy.minimum(best, numpy.hypot(x - x1 - along * dx, y - y1 - along * dy))
    return best


# Centres of all pixels in field units; row 0 is the top.
CENTRE_X, CENTRE_Y = numpy.meshgrid(numpy.arange(FIELD_SIZE) - HALF + 0.5, HALF - 0.5 - numpy.arange(FIELD_SIZE))


class Drawing(FieldTest):
    SIDE = (-200.5, 40.5, 120)                              # the square's lower left corner and its side
    STAR = (100.0, 90.0, 90.0, 40.0)                        # centre, outer and inner radius
    ROW = [(x, -150) for x in range(-240, 241, 24)]

    def setUp(self):
        self.turtle = self.fresh()
        self.turtle.do("c", "e 0")

    def square(self):
        x, y, side = self.SIDE
        self.turtle.do("k 0 1 0", "w 1", "j %s %s" % (x, y), "t e", "p d")
        for _ in range(4):
            self.turtle.do("f %d" % side, "t l 90")
        self.turtle.do("p u")

    def star_points(self):
        cx, cy, outer, inner = self.STAR
        return [(cx + r * math.cos(math.radians(90 + 36 * k)), cy + r * math.sin(math.radians(90 + 36 * k)))
                for k, r in enumerate([outer, inner] * 5)]

    def star(self):
        """Ten triangles around the centre. Pen down and its still frame put the centre twice into the polygon."""
        points = self.star_points()
        self.turtle.do("k 1 1 0", "l s")
        for k, point in enumerate(points):
            self.turtle.do("j %.9f %.9f" % self.STAR[:2], "p d", "j %.9f %.9f" % point,
                           "j %.9f %.9f" % points[(k + 1) % 10], "p u")
        self.turtle.do("l")

    def row(self):
        self.turtle.do("k 0 0 1", "w 4", "l p", "j %d %d" % (self.ROW[0][0] - 24, self.ROW[0][1]), "p d")
        for point in self.ROW:
            self.turtle.do("j %d %d" % point)
        self.turtle.do("p u", "l", "j 3000 3000")

    def assertSquare(self, picture):
        """Four lines through pixel centres: one pixel wide, complete, and nothing beside them."""
        x, y, side = self.SIDE
        left, bottom = pixel(math.floor(x), math.floor(y))
        right, top = left + side, bottom - side
        found = mask(picture, GREEN)
        expected = numpy.zeros_like(found)
        expected[[bottom, top], left:right + 1] = True
        expected[top:bottom + 1, [left, right]] = True
        # The rasterisation rules may omit a segment's last pixel; the next segment starts there, up to rounding.
        wrong = numpy.argwhere(found != expected)
        corners = {(r, c) for r in (top, bottom) for c in (left, right)}
        self.assertTrue(all(tuple(where) in corners for where in wrong), wrong[:10])

    def assertStar(self, picture):
        """Every pixel more than one unit inside is filled, none more than one unit outside."""
        points = self.star_points()
        found = mask(picture, YELLOW)
        clear = edge_distance(points, CENTRE_X, CENTRE_Y) > 1.0
        shape = inside(points, CENTRE_X, CENTRE_Y)
        self.assertGreater(int((shape & clear).sum()), 7000)    # the star's area is about 10000
        self.assertTrue(found[shape & clear].all())
        self.assertFalse(found[~shape & clear].any())

    def assertRow(self, picture):
        """Points of width 4 at whole coordinates cover two pixels either side, exactly."""
        found = mask(picture, BLUE)
        expected = numpy.zeros_like(found)
        for x, y in self.ROW:
            column, row = x + HALF, HALF - y                # the boundary between rows, counted from the top
            expected[row - 2:row + 2, column - 2:column + 2] = True
        self.assertTrue((found == expected).all(), numpy.argwhere(found != expected)[:10])

    def test_square_star_and_points_stay_bit_for_bit(self):
        self.square()
        self.star()
        self.row()
        self.turtle.wait_ticks(3)
        before = self.field.picture()
        self.assertSquare(before)
        self.assertStar(before)
        self.assertRow(before)
        colours = sum(mask(before, colour).sum() for colour in (GREEN, YELLOW, BLUE))
        self.assertEqual(int(before.any(axis=2).sum()), int(colours))   # no other paint anywhere
        self.turtle.wait_ticks(500)
        after = self.field.picture()
        self.assertEqual(int((before != after).sum()), 0)

    def test_line_blends_from_the_older_colour_to_the_newer(self):
        # Position k goes with colour k + 1. Pen down makes the whole history red; the step puts blue at entries 0 and
        # 1, red stays at entry 2, which colours the segment's older end. The next segment has blue at both ends.
        self.turtle.do("k 1 0 0", "w 3", "j -128 0", "p d", "k 0 0 1", "f 100", "f 100", "p u", "j 3000 3000")
        self.turtle.wait_ticks(3)
        row = self.field.picture()[HALF - 2:HALF + 2].max(axis=0)
        self.assertGreater(row[HALF - 126, 0], 240)
        self.assertLess(row[HALF - 126, 2], 15)
        middle = row[HALF - 78]                             # half of each, within a few pixels' share of 2.55
        self.assertTrue(abs(middle[0] - 127) < 10 and abs(middle[2] - 127) < 10, middle)
        self.assertTrue((row[HALF - 26:HALF + 70] == BLUE).all())

    def test_pen_up_paints_nothing(self):
        self.turtle.do("f 100", "p d", "p u", "f 50", "t l 50", "g 10 10", "j 3000 3000")
        self.turtle.wait_ticks(3)
        self.assertFalse(self.field.picture().any())

    def test_printed_text_stays_beside_the_turtle(self):
        self.turtle.do("k 1 1 0", "j -50 0", "s " + "Kelmora".encode().hex(), "j 3000 3000")
        self.turtle.wait_ticks(3)
        ink = self.field.picture().any(axis=2)
        rows, columns = ink.any(axis=1).nonzero()[0], ink.any(axis=0).nonzero()[0]
        # The stroke font is 119.05 units tall and descends 33.33, scaled by a tenth: within 13 above and 4 below the
        # line.
        self.assertGreater(ink.sum(), 60)
        self.assertTrue(HALF - 1 - 13 <= rows.min() and rows.max() <= HALF - 1 + 4, (rows.min(), rows.max()))
        self.assertTrue(HALF - 51 <= columns.min() <= HALF - 45, columns.min())

    def test_clearing_by_command_wipes_the_canvas(self):
        for command in ("c f", "c a", "h 0 0 0"):
            self.turtle.do("j -50 0", "w 5", "p d", "f 100", "p u", "j 3000 3000")
            self.turtle.wait_ticks(3)
            self.assertTrue(self.field.picture().any())
            self.turtle.do(command)
            self.turtle.wait_ticks(3)
            self.assertFalse(self.field.picture().any(), command)

    def test_brush_holds_three_segments_back(self):
        # The jump left a segment to paint, so the still frame after pen down counts as the first; then two steps.
        body = (slice(HALF - 8, HALF + 8), slice(HALF - 100, HALF - 82))
        self.turtle.do("w 8", "j -100 0", "l b", "p d", "f 20", "f 20")
        self.turtle.wait_ticks(3)
        self.assertFalse(self.field.picture()[body].any())
        self.turtle.do("f 20", "p u", "j 3000 3000")
        self.turtle.wait_ticks(3)
        ink = self.field.picture().any(axis=2)
        self.assertGreater(int(ink[HALF - 8:HALF + 8, HALF - 104:HALF - 36].sum()), 100)


if __name__ == "__main__":
    harness.main()
