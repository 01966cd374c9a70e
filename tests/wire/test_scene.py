"""The objects on the field as seen in the program's window: bodies, beams, walls, coins, cards, help, views."""
import json
import math
import signal
import time
import urllib.request

import numpy

import harness
from harness import FieldTest, HALF, VIEWER_PORT, pixel

OFF_FIELD = "j 3000 3000"
BLACK = (0, 0, 0)


def near(picture, colour, tolerance):
    """Mask of the pixels within the tolerance of a colour."""
    return (abs(picture - numpy.array(colour)) <= tolerance).all(axis=2)


def extent(mask):
    """Left, bottom, right and top field units of the mask: the outer edges of its pixels."""
    rows, columns = mask.any(axis=1).nonzero()[0], mask.any(axis=0).nonzero()[0]
    return columns[0] - HALF, HALF - 1 - rows[-1], columns[-1] + 1 - HALF, HALF - rows[0]


def at(picture, x, y):
    """Colour of the pixel whose lower left corner is the field point."""
    column, row = pixel(x, y)
    return picture[row, column]


class Scene(FieldTest):
    def setUp(self):
        self.turtle = self.fresh()
        self.turtle.do("c")

    def step_until(self, good, what):
        """Takes pictures tick by tick until one is good, and returns it. The field stands still meanwhile, because a
        picture may take longer than what is looked for; without a client it ticks every 80 ms."""
        kept = []

        def look():
            self.field.process.send_signal(signal.SIGCONT)
            time.sleep(0.05)                                # for a tick that is due, and its frame
            self.field.process.send_signal(signal.SIGSTOP)
            kept[:] = [self.field.picture()]
            return good(kept[0])
        try:
            harness.wait_until(look, 240, what)
        finally:
            self.field.process.send_signal(signal.SIGCONT)
        return kept[0]

    def shown(self):
        """A frame drawn after everything so far, painted segments included."""
        return self.field.captured()

    def test_body_has_its_teams_colour_at_the_top_of_the_shell(self):
        self.turtle.do("j 0 0", "t e")
        # Lit from straight above: all of the colour plus, from the ambient light, a fifth of 0.6 of it. A fresh turtle
        # has no team, which is number 0.
        for team, colour in ((0, (0.2, 1.0, 0.1)), (1, (0.7, 0.3, 1.0)), (2, (0.5, 0.9, 0.9)), (3, (0.1, 0.1, 1.0)),
                             (4, (0.8, 0.9, 0.0))):
            self.turtle.do("i %d" % team)
            expected = [min(255, round(255 * 1.12 * c)) for c in colour]
            shown = at(self.shown(), 0, 0)
            # The facets around the top of the shell are tilted a little: up to a sixteenth darker than level ones.
            self.assertTrue((abs(shown - expected) <= 16).all(), (team, shown, expected))

    def test_beam_flies_as_a_ball_along_the_heading(self):
        # East along y = 0 from the left: 2 units a frame, two seconds of flight. The field is in graphics mode.
        ball = []

        def look(picture):
            lit = near(picture, (255, 255, 128), 60)
            lit[:HALF - 20] = False                         # its turtle's body is green, and far above
            ball[:] = extent(lit) if lit.any() else ()
            return ball
        for _ in range(10):                                 # on a loaded machine it may land before a picture is taken
            self.turtle.do("j -225 0", "t e")
            landed = self.turtle.ask("x").clock + 250
            self.turtle.do("j 0 200")
            self.field.wait_picture(lambda p: look(p) or self.turtle.ask(".").clock > landed, what="the ball or its end")
            if ball:
                break
        self.assertTrue(ball, "ten shots and no ball")
        # A sphere of radius 5; its rim is darker than the tolerance allows.
        left, bottom, right, top = first = list(ball)
        self.assertTrue(-5 <= bottom <= -2 and 2 <= top <= 5 and 4 <= right - left <= 10, first)
        self.field.wait_picture(lambda p: not look(p) or ball[0] > first[0], 10, "the ball farther right")
        if ball:
            self.assertEqual((ball[1], ball[3]), (bottom, top))
        self.field.wait_picture(lambda p: not look(p), 20, "the end of the flight")

    def test_beam_explodes_one_step_short_of_the_edge_and_fades(self):
        # From x = 200 in steps of 2; within 5 of the edge at 256 is first 252, so that the explosion stays at 250.
        self.turtle.do("j 200 100", "t e")
        self.turtle.ask("x")
        self.turtle.do("j 0 -200")
        self.field.process.send_signal(signal.SIGSTOP)      # from here on step by step
        self.turtle.close()
        seen = []

        def look(picture):
            lit = picture.any(axis=2)
            lit[HALF:] = False
            # The flying ball is 10 high, the explosion 30.
            if lit.any() and extent(lit)[3] - extent(lit)[1] > 20:
                seen.append(extent(lit))
            return seen
        self.step_until(look, "the burst")
        left, bottom, right, top = seen[0]
        # In its first frame there is another one at 252.
        self.assertTrue(235 <= left <= 239 and right >= 252, seen)
        self.assertTrue(85 <= bottom <= 88 and 112 <= top <= 115, seen)
        self.step_until(lambda p: not p[:HALF].any(), "the end of the explosion")

    def test_dying_zombie_glows_red_and_is_gone(self):
        shooter, victim = self.turtle, self.client()
        shooter.do("j 0 200")
        victim.do("j 0 0")
        shooter.do("j -30 0", "t e")
        for score in ("70", "40", "10"):
            shooter.ask("x")
            harness.wait_until(lambda: victim.ask("q s").values == score, 10, "a hit")
            shooter.wait_ticks(40)                          # the pause after a hit
        # With both clients gone nothing on the field can move: a tick takes 80 ms, but the beam still flies.
        start = self.field.mark()
        victim.close()
        harness.wait_until(lambda: any(line.startswith("closing") for line in self.field.said(start)), 10, "a zombie")
        shooter.ask("x")
        self.field.process.send_signal(signal.SIGSTOP)      # from here on step by step
        shooter.close()
        beside = (0, 12)                                    # outside the body, inside the glow of radius 15

        def glows(picture):
            red, green, blue = at(picture, *beside)
            return red > 60 and green < red / 2 and blue == 0
        picture = self.step_until(glows, "the glow")
        left, bottom, right, top = extent(near(picture, (255, 61, 0), 255) & (picture[:, :, 0] > 2 * picture[:, :, 1]))
        self.assertTrue(-15 <= left <= -12 and 12 <= right <= 15 and -15 <= bottom <= -12 and 12 <= top <= 15,
                        (left, bottom, right, top))
        self.step_until(lambda p: not glows(p) and at(p, 0, 0).any(), "the body without the glow")
        picture = self.step_until(lambda p: not at(p, 0, 0).any(), "the zombie to be gone")
        self.assertTrue(at(picture, -30, 0).any())          # the other one stays
        with self.client() as last:
            self.assertEqual(last.ask("q n").values, "2")

    def test_walls_show_their_tops_in_battle_mode_only(self):
        self.field.key("M")
        self.field.settle()
        # A maze closes all connections.
        with harness.client_in_maze() as turtle:
            with urllib.request.urlopen("http://127.0.0.1:%d/wall" % VIEWER_PORT, timeout=harness.patience(harness.HANG)) as answer:
                walls = json.loads(answer.read())
            # 0.5 and a fifth of 0.45, 0.3 and a fifth of 0.27: the colour of the top, which lies between 1 in front of
            # the line and 2 behind it.
            top = (150, 150, 90)

            def tops(picture):
                hits = 0
                for wall in walls:
                    x = (wall["x1"] + wall["x2"]) / 2 - 0.5 * wall["nx"]
                    y = (wall["y1"] + wall["y2"]) / 2 - 0.5 * wall["ny"]
                    if max(abs(x), abs(y)) < 255:
                        hits += (abs(at(picture, math.floor(x), math.floor(y)) - top) <= 2).all()
                return int(hits)
            inner = sum(max(abs(w["x1"] + w["x2"]), abs(w["y1"] + w["y2"])) < 500 for w in walls)
            self.assertGreater(inner, 50)
            battle = self.shown()
            # A turtle in its corner or a doughnut in the middle may cover one.
            self.assertGreaterEqual(tops(battle), inner - 8)
            turtle.do("! u")
            plain = self.shown()
            self.assertEqual(tops(plain), 0)
        self.field.key("M")
        self.field.settle()
        with self.client() as turtle:
            turtle.do("! u")

    def test_battle_background_repeats_every_200_units_and_comes_back_after_a_wipe(self):
        self.turtle.do("j -200 0", "!")

        def floor():
            """The floor to the right of the turtle and its labels, without the walls around the field."""
            return self.shown()[20:-20, HALF - 150:-20]
        try:
            clean = floor()
            self.assertGreater(int(clean.any(axis=2).sum()), 0.9 * clean.shape[0] * clean.shape[1])
            self.assertEqual(int((clean[:, :-200] != clean[:, 200:]).sum()), 0)
            self.assertEqual(int((clean[:-200] != clean[200:]).sum()), 0)
            self.turtle.do("k 1 1 1", "s " + "painted all over the background".encode().hex())
            self.assertGreater(int((floor() != clean).any(axis=2).sum()), 100)
            self.field.key("c")
            self.field.settle()
            self.assertEqual(int((floor() != clean).sum()), 0)
        finally:
            self.turtle.do("! u")
        self.assertFalse(floor().any())

    def test_coins_lie_where_they_were_dropped(self):
        self.turtle.do("o b", "j 100 50", "o s", "j -100 -50", "o s", OFF_FIELD)
        picture = self.shown().any(axis=2)
        for x, y in ((100, 50), (-100, -50)):
            column, row = pixel(x, y)
            around = numpy.zeros_like(picture)
            around[row - 15:row + 16, column - 15:column + 16] = True
            left, bottom, right, top = extent(picture & around)
            # From -10 to +9 around the place, less the transparent rim of the image.
            self.assertTrue(x - 10 <= left <= x - 8 and x + 7 <= right <= x + 9, (left, right))
            self.assertTrue(y - 10 <= bottom <= y - 8 and y + 7 <= top <= y + 9, (bottom, top))
            picture = picture & ~around
        self.assertFalse(picture.any())

    def test_every_card_is_75_by_104_from_its_lower_left_corner(self):
        self.turtle.do(OFF_FIELD, "z 0")
        faces = set()
        for first in range(1, 54, 12):
            numbers = range(first, min(first + 12, 54))
            places = [(-250 + 80 * (k % 6), 40 - 120 * (k // 6)) for k in range(len(numbers))]
            self.turtle.do("z 0", *["z %d %d %d" % (n, x, y) for n, (x, y) in zip(numbers, places)])
            picture = self.shown()
            for n, (x, y) in zip(numbers, places):
                column, row = pixel(x, y)
                face = picture[row - 103:row + 1, column:column + 75].copy()
                self.assertTrue(face[[0, -1], 37].any() and face[52, [0, -1]].any(), n)     # reaches all four sides
                self.assertEqual(face[[0, 0, -1, -1], [0, -1, 0, -1]].sum(), 0)             # its corners are round
                picture[row - 103:row + 1, column:column + 75] = 0
                faces.add(face.tobytes())
            self.assertFalse(picture.any())
        self.assertEqual(len(faces), 53)
        self.turtle.do("z 0")
        self.assertFalse(self.shown().any())

    def test_card_placed_last_covers_the_others_and_a_hidden_one_is_gone(self):
        self.turtle.do(OFF_FIELD, "z 0", "z 20 0 0")
        alone = self.shown()
        self.turtle.do("z 7 10 0")
        covered = self.shown()
        self.assertGreater(int((alone != covered).any(axis=2).sum()), 75 * 30)
        self.turtle.do("z 20 0 0")
        both = self.shown()
        column, row = pixel(0, 0)
        self.assertTrue((both[row - 98:row - 5, column:column + 75] == alone[row - 98:row - 5, column:column + 75]).all())
        self.turtle.do("z -7")
        self.assertEqual(int((self.shown() != alone).sum()), 0)
        self.turtle.do("z -20")
        self.assertFalse(self.shown().any())

    def test_turtle_covers_cards_and_coins(self):
        self.turtle.do("z 0", "o b", "j 0 0")
        top = at(self.shown(), 0, 0)
        self.turtle.do("o s", "z 20 -37 -52")
        self.assertTrue((abs(at(self.shown(), 0, 0) - top) <= 8).all())     # the head nods; the shell hardly changes
        self.turtle.do("z 0")

    def test_help_shows_each_of_its_lines_on_a_dimmed_panel(self):
        self.turtle.do(OFF_FIELD)
        self.assertFalse(self.shown().any())
        self.field.key("h")
        try:
            picture = self.field.wait_picture(lambda p: p.any(), 10, "the help")
        finally:
            self.field.key("Escape")
            self.field.settle()
        self.assertEqual(extent(picture.any(axis=2)), (-205, -205, 205, 205))   # 204.8 covers the last pixel's centre
        # 1, 0.2 + 0.2 + 0.04 and half of that, and a tenth of the dark panel behind it.
        red = (235, 107, 56)
        ink = near(picture, red, 12)
        lines = [(-168.96, 163.84), (-168.96, 128.0), (-102.4, -61.1), (-102.4, -194.56)]
        lines += [(-140.8, y) for y in (102.4, 75.15, 47.9, 20.65, -6.6, -33.85, -88.35, -115.6, -142.85, -170.1)]
        for x, y in lines:
            column, row = pixel(math.floor(x), math.floor(y))
            band = ink[row - 12:row + 5]
            columns = band.any(axis=0).nonzero()[0]
            self.assertTrue(0 <= columns[0] - column <= 6, (x, y, columns[0] - column))
            self.assertGreater(int(band.sum()), 20)
            ink[row - 12:row + 5] = False
        self.assertFalse(ink.any())
        self.assertLess(picture[~near(picture, red, 12)].max(), 200)

    def test_tilted_view_puts_the_fields_corners_where_the_camera_sees_them(self):
        self.turtle.do("k 1 1 1", "l s", "j -256 -256", "p d", "j 256 -256", "j 256 256", "j -256 256", "p u", "l", OFF_FIELD)
        self.assertTrue(self.shown().all())
        self.field.key("3")
        self.field.settle()
        try:
            left, bottom, right, top = extent(near(self.shown(), (255, 255, 255), 1))
        finally:
            self.field.key("3")
            self.field.settle()
        # The eye is 512 south of and 512 above the centre, the field of view 55 degrees: tan 27.5 deg = 0.520567. The
        # near edge is (256 + 512) / sqrt 2 = 543.06 away and 181.02 below the middle, the far one 905.10 away and as
        # much above. In units of 256: 256 / (543.06 * 0.520567) = 0.90554, 181.02 / 282.70 = 0.64032, 181.02 / 471.17 =
        # 0.38419.
        self.assertTrue(abs(left + 231.8) <= 1 and abs(right - 231.8) <= 1, (left, right))
        self.assertTrue(abs(bottom + 163.9) <= 1 and abs(top - 98.4) <= 1, (bottom, top))

    def test_objects_at_nan_places_are_not_drawn(self):
        for value in ("nan", "inf", "-inf", "1e300", "-1e39"):
            self.turtle.do("z 0", "z 3 %s 0" % value, "z 4 0 %s" % value, OFF_FIELD)
            self.assertFalse(self.shown().any(), value)
        self.turtle.do("z 0")


if __name__ == "__main__":
    harness.main()
