"""A window that is not visible, and a system clock that is changed: field, programs and captures go on."""
import os
import tempfile
import unittest

import harness
from harness import Client, Field, wait_until

FAKETIME = "/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1"
BLUE = (0, 0, 255)


def blue_pixels(picture):
    return int((picture == BLUE).all(axis=2).sum())


class Hidden(harness.FieldTest):
    def walk_and_draw(self, turtle):
        """Steps that each wait for a frame, and a blue line 40 long and 4 wide that a capture then shows."""
        turtle.do("p u", "j -20 0", "t e", "k 0 0 1", "w 4", "p d")
        for _ in range(40):
            turtle.do("f 1")
        turtle.do("p u", "j 0 200")
        turtle.wait_ticks(2)
        pixels = blue_pixels(self.field.captured())
        self.assertGreaterEqual(pixels, 150)
        self.assertLessEqual(pixels, 175)

    def test_minimised_field_goes_on(self):
        turtle = self.fresh()
        self.field.xdotool("windowunmap", "--sync", self.field.window)
        self.addCleanup(self.field.xdotool, "windowmap", "--sync", self.field.window)
        self.assertNotIn(self.field.window, self.field.windows())
        self.walk_and_draw(turtle)
        self.field.key("exclam", "exclam")              # keys are handled, and their frames wipe the painting
        turtle.wait_ticks(3)
        self.assertEqual(blue_pixels(self.field.captured()), 0)
        self.walk_and_draw(turtle)
        self.field.xdotool("windowmap", "--sync", self.field.window)
        self.field.wait_picture(lambda p: blue_pixels(p) >= 150, 10, "what was painted in the dark")

    def test_covered_field_goes_on(self):
        turtle = self.fresh()
        # Another field opens its window in the very same place.
        with Field(servers=False):
            wait_until(lambda: self.field.window in self.field.windows(), 10, "the covered window to be there still")
            for _ in range(3):
                self.walk_and_draw(turtle)
                self.field.key("c")
                turtle.wait_ticks(2)
        self.field.wait_picture(lambda p: not p[256:].any(), 10, "a field without painting")

    def test_window_may_come_and_go(self):
        turtle = self.fresh()
        for _ in range(10):
            self.field.xdotool("windowunmap", self.field.window)
            turtle.do("f 1", "b 1", "f 1", "b 1")
            self.field.xdotool("windowmap", self.field.window)
            turtle.do("f 1", "b 1", "f 1", "b 1")
        wait_until(lambda: self.field.window in self.field.windows(), 10, "the window")


@unittest.skipIf(harness.PROGRAM and harness.instrumented(), "a sanitizer wants to be the first library loaded")
class SetClock(unittest.TestCase):
    def test_field_ticks_on_whatever_the_system_clock_says(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "offset")

            def set_clock(offset):
                with open(path + ".new", "w") as file:
                    file.write(offset + "\n")
                os.replace(path + ".new", path)
            set_clock("+0")
            with Field(env={"LD_PRELOAD": FAKETIME, "FAKETIME_TIMESTAMP_FILE": path, "FAKETIME_NO_CACHE": "1",
                            "FAKETIME_DONT_FAKE_MONOTONIC": "1"}) as field, Client() as turtle:
                for offset in ("-10", "-3600", "+86400", "-86400", "+0"):
                    set_clock(offset)
                    turtle.wait_ticks(60)               # each reply is the clock's at that moment
                    for _ in range(10):
                        turtle.do("f 1", "b 1")
                # The program does see the changed clock: it stamps its captures.
                set_clock("-86400")
                turtle.wait_ticks(3)
                self.assertTrue(field.captured().shape == (512, 512, 3))


class Driver(unittest.TestCase):
    """Mesa's software renderer draws in the window's own thread unless the user sets otherwise."""

    def threads(self, **options):
        with Field(**options) as field, Client() as turtle:
            turtle.wait_ticks(5)
            folder = "/proc/%d/task" % field.process.pid
            names = []
            for thread in os.listdir(folder):
                try:
                    with open(os.path.join(folder, thread, "comm")) as file:
                        names.append(file.read().strip())
                except (FileNotFoundError, ProcessLookupError):     # it has ended meanwhile
                    pass
        return [name for name in names if name.startswith("llvmpipe")]

    def test_driver_has_no_threads_that_draw(self):
        self.assertEqual(self.threads(without=["LP_NUM_THREADS"]), [])

    def test_setting_of_the_user_wins(self):
        self.assertEqual(len(self.threads(env={"LP_NUM_THREADS": "2"})), 2)


if __name__ == "__main__":
    harness.main()
