"""The log of the running program: floods are limited, a slow trickle is not, and an unread log blocks nobody."""
import os
import re
import time
import unittest
import urllib.request

import harness
from harness import Client, Field, FieldTest, patience, wait_until

RATE = 20  # lines of a kind in a second
BATTLE = "entering battle mode..."


def left_out(lines, example):
    """Number of lines like the example that the log reports as left out."""
    told = [re.fullmatch(r"(\d+) more lines left out like: (.*)", line) for line in lines]
    return sum(int(found[1]) for found in told if found and found[2] == example)


class Flood(FieldTest):
    def test_flood_is_limited_and_counted_and_nothing_is_lost_below_the_limit(self):
        turtle = self.fresh()
        start, began = self.field.mark(), time.monotonic()
        asked = 0
        while time.monotonic() < began + 3:
            asked += len(turtle.ask_all(["!"] * 200))
        span = time.monotonic() - began
        wait_until(lambda: (lambda said: said.count(BATTLE) + left_out(said, BATTLE) == asked)(self.field.said(start)), 10,
                   lambda: "lines and counts to be %d, in %r" % (asked, self.field.said(start)))
        said = self.field.said(start)
        self.assertLessEqual(said.count(BATTLE), RATE * (int(span) + 1))
        self.assertGreaterEqual(said.count(BATTLE), RATE)
        self.assertLessEqual(len(said) - said.count(BATTLE), span + 2)      # one report a second
        # Slower than the limit: every line is there.
        turtle.wait_ticks(150)
        start = self.field.mark()
        for _ in range(40):
            asked = time.monotonic()
            turtle.do("!")
            time.sleep(max(0, asked + 1 / RATE + 0.005 - time.monotonic()))  # the rate is what is tested
        self.field.wait_line(BATTLE, start, count=40)
        self.assertEqual(self.field.said(start), [BATTLE] * 40)

    def test_kinds_are_limited_separately(self):
        turtle = self.fresh()
        turtle.ask_all(["!"] * 100)
        start = self.field.mark()
        turtle.do("! u")
        self.field.wait_line("entering turtle graphics mode...", start)


class Unread(unittest.TestCase):
    def test_unread_log_blocks_nobody_and_is_kept(self):
        with Field(log_unread=True) as field, Client() as turtle:
            fill(field.process.stderr.fileno())
            turtle.do("!", "! u", "t l 1")
            with Client() as other:
                other.do("t l 1")
            with urllib.request.urlopen("http://127.0.0.1:%d/camera" % harness.VIEWER_PORT, timeout=patience(harness.HANG)) as page:
                self.assertTrue(page.read())
            turtle.ask_all(["!"] * 100)
            turtle.wait_ticks(30)
            field.read_log()
            field.wait_line(BATTLE, count=RATE)
            modes = [line for line in field.said() if line.startswith("entering")]
            self.assertEqual(modes[:3], [BATTLE, "entering turtle graphics mode...", BATTLE])
            self.assertTrue([line for line in field.said() if line.startswith("http connected from ")])


def fill(pipe):
    """Fills a pipe whose reading end this process holds."""
    with open("/proc/self/fd/%d" % pipe, "wb", buffering=0, opener=lambda path, flags: os.open(path, os.O_WRONLY |
              os.O_NONBLOCK)) as end:
        while end.write(b"\n" * 4096):
            pass


if __name__ == "__main__":
    harness.main()
