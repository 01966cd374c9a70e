"""A window manager that enlarges the window to the whole screen: the field is its lower left square, the rest
background."""
import os
import subprocess
import unittest

import numpy

import harness
from harness import Client, Display, Field, wait_until

SIDE = harness.FIELD_SIZE


class LargeWindow(unittest.TestCase):
    def setUp(self):
        display = Display.get()
        self.manager = subprocess.Popen(["matchbox-window-manager", "-use_titlebar", "no"],
                                        env=dict(os.environ, **display.environment, HOME=display.home), stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(self.end_manager)

    def end_manager(self):
        self.manager.terminate()
        self.manager.wait(timeout=harness.patience(harness.HANG))

    def assertSquareAndBackground(self, field, turtle, colour, square_is_still=True):
        """The picture of the whole window once it shows a current frame."""
        def good(shown):
            self.assertGreater(shown.shape[0], SIDE)
            self.assertGreater(shown.shape[1], SIDE)
            rest = numpy.ones(shown.shape[:2], bool)
            rest[-SIDE:, :SIDE] = False
            beyond = (numpy.abs(shown - colour).max(axis=2) > 1)[rest]
            if beyond.any():
                return False
            return not square_is_still or (shown[-SIDE:, :SIDE] == captured).all()
        turtle.wait_ticks(3)
        captured = field.captured()
        self.assertEqual(captured.shape, (SIDE, SIDE, 3))
        field.wait_picture(good, 15, "the field in its square and the background beside it")
        return captured

    def test_rest_of_the_window_is_background(self):
        with Field() as field, Client() as turtle:
            def is_large():
                shown = field.picture()
                return shown.shape[0] > SIDE and shown.shape[1] > SIDE
            wait_until(is_large, 20, "the window manager to enlarge the window")
            turtle.do("h 0.2 0 0.4", "j -200 -200", "t e", "w 30", "k 0 1 0", "p d", "f 380", "p u", "j 3000 3000")
            colour = (51, 0, 102)
            drawn = self.assertSquareAndBackground(field, turtle, colour)
            self.assertGreater(int((drawn == (0, 255, 0)).all(axis=2).sum()), 10000)
            field.key("3")                                  # bird's-eye view
            self.assertSquareAndBackground(field, turtle, colour)
            field.key("3")
            field.key("exclam")                             # battle mode draws tiles, which begin inside the square
            turtle.wait_ticks(3)
            battle = self.assertSquareAndBackground(field, turtle, colour)
            self.assertFalse((battle == drawn).all())
            turtle.do("h 0 0.2 0")
            self.assertSquareAndBackground(field, turtle, (0, 51, 0))
            # A turtle that walks, and lines that end beyond the square, leave nothing there.
            field.key("exclam")
            turtle.do("c", "w 60", "k 1 0 0", "j 200 200", "p d", "f 10", "j 256 256", "j 256 -256", "t n", "f 5")
            self.assertSquareAndBackground(field, turtle, (0, 51, 0), square_is_still=False)


if __name__ == "__main__":
    harness.main()
