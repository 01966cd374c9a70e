"""The operator's keys and menu, and the clock that drives the field."""
import os
import time
import unittest

import numpy

import harness
from harness import Client, Field, FieldTest, wait_until

OFF_FIELD = "j 3000 3000"


def paint_pattern(turtle):
    """Paints something asymmetric and moves the turtle out of sight."""
    turtle.do("c", "w 9", "k 0 1 0", "p d", "f 200", "k 0 0 1", "t n", "f 90", "k 1 0 0", "t w", "f 40", "p u", OFF_FIELD)
    turtle.wait_ticks(3)


class Keys(FieldTest):
    def setUp(self):
        self.turtle = self.fresh()
        self.turtle.do("c")

    def shown(self):
        """The picture after everything so far has been drawn."""
        self.turtle.wait_ticks(3)
        return self.field.picture()

    def after(self, *keys):
        self.field.key(*keys)
        return self.shown()

    def assertSame(self, one, two):
        self.assertEqual(int((one != two).sum()), 0)

    def assertDifferent(self, one, two, least=50):
        self.assertGreater(int((one != two).any(axis=2).sum()), least)

    def test_lower_case_k_m_and_q_do_nothing(self):
        start = self.field.mark()
        self.field.key("k", "m", "q")
        self.field.settle()
        self.assertEqual(self.turtle.ask("q a").values, "1")
        self.assertEqual([line for line in self.field.said(start) if "maze" in line or "closing" in line], [])

    def test_unlisted_keys_do_nothing(self):
        paint_pattern(self.turtle)
        before = self.shown()
        start = self.field.mark()
        self.field.key("a", "d", "x", "1", "2", "4", "space", "Return", "Tab", "braceleft", "asciitilde", "F1", "Left",
                       "Delete", "parenleft", "slash", "D", "colon", "quotedbl", "numbersign")
        self.field.settle()
        self.assertSame(self.shown(), before)
        self.assertEqual(len(self.field.said(start)), 2)

    def test_bang_toggles_battle_mode(self):
        start = self.field.mark()
        self.field.key("exclam", "exclam")
        self.field.settle()
        self.assertEqual(self.field.said(start)[:2], ["entering battle mode...", "entering turtle graphics mode..."])

    def test_at_toggles_private_mode(self):
        start = self.field.mark()
        self.field.settle()
        self.assertEqual(self.field.said(start), ["entering public mode...", "entering private mode..."])

    def test_zoom_stops_at_fifteen_and_sixty_degrees(self):
        paint_pattern(self.turtle)
        flat = self.shown()
        normal = self.after("3")
        self.assertDifferent(normal, flat)
        widest = self.after("minus")
        self.assertDifferent(widest, normal)
        self.assertSame(self.after("equal", "minus"), widest)
        # 60 to 15 degrees: nine steps of 5.
        nearly = self.after(*["plus"] * 8)
        closest = self.after("semicolon")
        self.assertDifferent(closest, nearly)
        self.assertSame(self.after("plus", "semicolon", "plus"), closest)
        self.assertSame(self.after(*["minus"] * 8), normal)
        self.assertSame(self.after("3"), flat)

    def test_eight_presses_from_the_start_reach_the_closest_zoom(self):
        paint_pattern(self.turtle)
        self.after("3")
        closest = self.after(*["plus"] * 8)
        self.assertSame(self.after("plus"), closest)
        self.after(*["minus"] * 8)
        self.after("3")

    def test_rotation_wraps_after_a_full_turn(self):
        paint_pattern(self.turtle)
        start = self.after("3")
        once = self.after("period")
        self.assertDifferent(once, start)
        self.assertSame(self.after("less"), start)
        self.assertSame(self.after("greater"), once)
        half = self.after(*["period"] * 71)                 # 72 * 2.5 = 180 degrees, which stays
        self.assertDifferent(half, start)
        self.assertSame(self.after("period", "comma"), half)    # past the wrap and back: -177.5, then -180
        self.assertSame(self.after(*["greater"] * 72), start)   # 144 steps of 2.5: exactly once around
        back = self.after(*["comma"] * 73)                  # -182.5 becomes 177.5
        self.assertSame(self.after(*["less"] * 71), start)
        self.assertDifferent(back, half)
        self.after("3")

    def test_bounded_area_key_lets_walls_stop_turtles(self):
        self.assertEqual(self.turtle.ask("j 300 0").status, "OK")
        self.turtle.do("j 240 0")
        for key in ("b", "B"):
            self.field.key("b")
            self.field.settle()
            self.assertEqual(self.turtle.ask("j 300 0").status, "ERR")
            blocked = self.turtle.ask("f 10")               # 16 to the wall, less the radius 10: 6 are free
            self.assertEqual((blocked.status, blocked.event), ("ERR", harness.EVENT_WALL))
            self.assertEqual(self.turtle.ask("f 10").event, 0)
            self.turtle.do("f 6", "b 6")
            self.field.key(key)
            self.field.settle()
            self.turtle.do("f 10", "b 10")

    def test_clear_key_wipes_the_painting(self):
        for key in ("c", "C"):
            paint_pattern(self.turtle)
            self.assertTrue(self.shown().any())
            self.assertFalse(self.after(key).any())

    def test_background_colour_fills_the_field(self):
        self.turtle.do("h 0.2 0.4 1", OFF_FIELD)
        self.field.wait_picture(lambda p: (p == (51, 102, 255)).all(), 10, "a plain blue field")

    def test_help_is_shown_and_dismissed(self):
        self.turtle.do(OFF_FIELD)
        for keys in (("h", "H"), ("H", "Escape"), ("h", "Escape")):
            self.field.key(keys[0])
            # The panel covers the middle 410 pixels; it is dark stone, so most of its pixels are not black.
            self.field.wait_picture(lambda p: p[80:430, 80:430].any(axis=2).mean() > 0.5, 10, "the help panel")
            self.field.key(keys[1])
            self.field.wait_picture(lambda p: not p.any(), 10, "an empty field")
        self.assertFalse(self.after("Escape").any())        # Esc only closes

    def test_names_and_scores_are_toggled(self):
        # Legs and head move with the clock, so the labels are looked for beside the body: the score starts 12 left of
        # and 10 above the centre, the name 22 below it.
        self.turtle.do("n " + "Name".encode().hex(), "j 0 0")
        name_rows, score_rows = slice(255 + 15, 255 + 30), slice(255 - 24, 255 - 11)
        columns = slice(240, 300)

        def lit(rows):
            return lambda p: p[rows, columns].any()
        self.assertFalse(self.shown()[name_rows, columns].any())
        self.field.key("n")
        self.field.wait_picture(lit(name_rows), 10, "the name")
        self.field.key("N")
        self.field.wait_picture(lambda p: not p[name_rows, columns].any(), 10, "no name")
        self.field.key("s")
        self.field.wait_picture(lit(score_rows), 10, "the score")
        self.field.key("S")
        self.field.wait_picture(lambda p: not p[score_rows, columns].any(), 10, "no score")

    def test_stone_key_adds_a_stone_that_is_no_turtle(self):
        self.assertEqual(self.turtle.ask("q r").status, "ERR")
        for key, rank in (("o", "1"), ("O", "2")):
            self.field.key(key)
            self.field.settle()
            self.assertEqual(self.turtle.ask("q r " + rank).status, "OK")
        self.assertEqual(self.turtle.ask("q n").values, "1")

    def test_zombie_key_erases_zombies(self):
        for key in ("z", "Z"):
            start = self.field.mark()
            self.client().close()
            wait_until(lambda: any(line.startswith("closing") for line in self.field.said(start)), 10, "a zombie")
            self.assertEqual(self.turtle.ask("q n").values, "2")
            self.field.key(key)
            self.field.settle()
            self.assertEqual(self.turtle.ask("q n").values, "1")

    def test_capture_keys_write_one_file_each(self):
        home = self.field.display.home

        def captures():
            return [name for name in os.listdir(home) if name.startswith("kelmora-capture-")]
        count = len(captures())
        for key in ("p", "P"):
            self.field.key(key)
            self.turtle.wait_ticks(5)
            count += 1
            self.assertEqual(len(captures()), count)

    def test_window_opens_at_the_left_edge_ten_below_the_top(self):
        geometry = self.field.xdotool("getwindowgeometry", self.field.window)
        self.assertIn("Position: 0,10 ", geometry)
        self.assertIn("Geometry: 512x512", geometry)

    def test_window_keeps_its_size(self):
        self.field.xdotool("windowsize", self.field.window, 640, 600)
        wait_until(lambda: "Geometry: 512x512" in self.field.xdotool("getwindowgeometry", self.field.window), 10,
                   "the window to snap back")
        self.field.xdotool("windowsize", self.field.window, 100, 50)
        wait_until(lambda: "Geometry: 512x512" in self.field.xdotool("getwindowgeometry", self.field.window), 10,
                   "the window to snap back")
        self.assertEqual(self.shown().shape, (512, 512, 3))


class Menu(FieldTest):
    def setUp(self):
        self.turtle = self.fresh()
        self.turtle.do("c")

    def test_first_entry_clears_the_field(self):
        paint_pattern(self.turtle)
        self.assertTrue(self.field.picture().any())
        self.field.choose(1)
        self.field.wait_picture(lambda p: not p.any(), 10, "an empty field")
        self.assertEqual(self.turtle.ask("q a").values, "1")

    def test_second_entry_erases_zombies(self):
        start = self.field.mark()
        self.client().close()
        wait_until(lambda: any(line.startswith("closing") for line in self.field.said(start)), 10, "a zombie")
        self.assertEqual(self.turtle.ask("q n").values, "2")
        self.field.choose(2)
        wait_until(lambda: self.turtle.ask("q n").values == "1", 10, "the zombie to go")

    def test_third_and_fourth_entry_toggle_modes(self):
        start = self.field.mark()
        self.field.choose(3)
        self.field.wait_line("entering battle mode...", start)
        self.field.choose(3)
        self.field.wait_line("entering turtle graphics mode...", start)
        self.field.choose(4)
        self.field.wait_line("entering public mode...", start)
        wait_until(lambda: self.field.title().startswith("Public Kelmora @ "), 10, self.field.title)
        self.field.choose(4)
        self.field.wait_line("entering private mode...", start)
        self.assertEqual(len(self.field.said(start)), 4)

    def test_fifth_entry_captures(self):
        home = self.field.display.home
        before = set(os.listdir(home))
        self.field.choose(5)
        wait_until(lambda: any(n.startswith("kelmora-capture-") for n in set(os.listdir(home)) - before), 10, "a capture")

    def test_sixth_entry_does_nothing(self):
        paint_pattern(self.turtle)
        before, start = self.field.picture(), self.field.mark()
        self.field.choose(6)
        self.turtle.wait_ticks(3)
        self.field.wait_picture(lambda p: (p == before).all(), 10, "the same picture")
        self.assertEqual(self.field.said(start), [])

    def test_seventh_entry_opens_the_help_and_never_closes_it(self):
        self.turtle.do(OFF_FIELD)
        self.turtle.wait_ticks(3)
        for _ in range(2):
            self.field.choose(7)
            self.field.wait_picture(lambda p: p[80:430, 80:430].any(axis=2).mean() > 0.5, 10, "the help panel")
        self.field.key("Escape")
        self.field.wait_picture(lambda p: not p.any(), 10, "an empty field")

    def test_eighth_entry_kills_all(self):
        self.field.choose(8)
        self.assertTrue(self.turtle.wait_closed())


class Exit(unittest.TestCase):
    def test_ninth_entry_ends_with_status_zero(self):
        with Field() as field:
            field.choose(9)
            self.assertEqual(field.wait_exit(), 0)


class Clock(unittest.TestCase):
    """The field ticks every 8 ms while a turtle can move and every 80 ms otherwise."""
    SPAN = 3.0                                              # seconds of measurement

    def test_busy_field_ticks_about_every_eight_milliseconds(self):
        with Field(), Client() as turtle:
            turtle.wait_ticks(30)                           # the first frames compile shaders

            def rate():
                began, first = time.monotonic(), turtle.ask("q t").clock
                time.sleep(self.SPAN)                       # the span measured
                last, ended = turtle.ask("q t").clock, time.monotonic()
                self.assertLessEqual(last - first, (ended - began) / 0.008 + 2)
                return (last - first) / (ended - began)
            # 125 a second on an idle machine; a loaded one gets fewer, for a while.
            wait_until(lambda: rate() >= 50 / max(harness.slow, 1.0), 120, "50 ticks a second")

    def test_field_without_movers_ticks_ten_times_less(self):
        with Field() as field:
            start = field.mark()
            turtle = Client()
            turtle.wait_ticks(30)
            times, first = [time.monotonic()], turtle.ask("q t").clock
            turtle.close()
            wait_until(lambda: any(line.startswith("closing") for line in field.said(start)), what="a zombie")
            times.append(time.monotonic())
            field.key("o")                                  # a stone does not move either
            time.sleep(self.SPAN)                           # the span measured
            times.append(time.monotonic())
            with Client() as other:
                last = other.ask("q t").clock
            times.append(time.monotonic())
        before, between, after = (later - sooner for sooner, later in zip(times, times[1:]))
        # Twelve and a half a second; ten times as many before and after, while a client is there.
        self.assertLessEqual(last - first, between / 0.08 + (before + after) / 0.008 + 4)
        self.assertGreaterEqual(last - first, 6 * between / max(harness.slow, 1.0))


if __name__ == "__main__":
    harness.main()
