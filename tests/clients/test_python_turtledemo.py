"""Python's own turtledemo on the field, with only the import changed: which programs run, and whether they draw the
same.

The programs come from Debian's python3-examples; none is copied here. Each runs on Python's turtle (with Tk, on
the virtual display) and on the field; the two pictures are compared. KELMORA_DEMOS names the programs to run instead of
those that take less than a minute or two; KELMORA_DEMOS=all runs every one.
"""
import glob
import os
import subprocess
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "wire"))

import numpy  # noqa: E402
from harness import Display, Field, patience  # noqa: E402
from PIL import Image  # noqa: E402

RUNNER = os.path.join(HERE, "turtledemo.py")
LIMIT = 800           # seconds for one program; the longest draws 19000 lines, one a frame
LONG = {"chaos", "clock", "fractalcurves", "forest", "penrose", "planet_and_moon", "rosette"}
# What only the field or only Tk has: windows, mice and keys, turtles that look otherwise, undo, a picture that zooms,
# more turtles than there are places, and two of them at one spot.
NOT_FOR_A_FIELD = {"chaos", "clock", "colormixer", "forest", "minimal_hanoi", "nim", "paint", "penrose", "planet_and_moon", "rosette",
                   "round_dance", "sorting_animate", "two_canvases"}
CELL = 8              # pixels; side of the cells in which colours are compared
REACH = 2             # pixels by which a line may be displaced


def programs():
    folders = glob.glob("/usr/lib/python3.*/turtledemo")
    if not folders:
        raise AssertionError("install Debian's python3-examples")
    return {os.path.basename(path)[:-3]: path for path in sorted(glob.glob(folders[0] + "/*.py")) if "__" not in path}


def spread(ink):
    """The marked pixels and all within REACH of them."""
    grown = ink.copy()
    for dy in range(-REACH, REACH + 1):
        for dx in range(-REACH, REACH + 1):
            grown |= numpy.roll(numpy.roll(ink, dy, 0), dx, 1)
    return grown


def likeness(ours, theirs):
    """The share of each picture's painted pixels that the other has painted nearby, and how far coarse colours differ
    (of 255)."""
    grounds = [picture[2, 2] for picture in (ours, theirs)]
    inks = [(numpy.abs(picture - ground).max(axis=2) > 60) for picture, ground in zip((ours, theirs), grounds)]
    covered = [(inks[k] & spread(inks[1 - k])).sum() / max(1, inks[k].sum()) for k in (0, 1)]
    coarse = [picture.reshape(512 // CELL, CELL, 512 // CELL, CELL, 3).mean(axis=(1, 3)) for picture in (ours, theirs)]
    return min(covered), numpy.abs(coarse[0] - coarse[1]).mean()


class Turtledemo(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.display = Display.get()
        cls.environment = {**os.environ, **cls.display.environment}

    def on_tk(self, path):
        """The middle 512 x 512 pixels of the drawing by Python's turtle."""
        process = subprocess.Popen([sys.executable, "-B", RUNNER, "tk", path], env=self.environment, text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        try:
            lines = []
            while not lines or lines[-1] not in ("ran\n", ""):
                lines.append(process.stdout.readline())
            self.assertEqual(lines[-1], "ran\n", "".join(lines))
            x, y = map(int, lines[-2].split()[1:])
            file = os.path.join(self.display.scratch, "tk.png")
            subprocess.run(["import", "-silent", "-window", "root", "-crop", "512x512+%d+%d" % (x - 256, y - 256), "+repage", file],
                           env=self.environment, check=True, timeout=60)
            with Image.open(file) as image:
                return numpy.asarray(image.convert("RGB")).astype(int)
        finally:
            process.stdin.close()
            process.terminate()
            process.wait(timeout=60)
            process.stdout.close()

    def on_field(self, field, path):
        """The program's last line and the picture of a field of its own."""
        made = subprocess.run([sys.executable, "-B", RUNNER, "kelmora", path], text=True, stdin=subprocess.DEVNULL, timeout=patience(LIMIT),
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        last = (made.stdout.strip().splitlines() or [""])[-1]
        return last, field.captured()

    def test_programs(self):
        found = programs()
        wanted = os.environ.get("KELMORA_DEMOS", "").replace(",", " ").split()
        chosen = [name for name in found if name in wanted or wanted == ["all"] or not wanted and name not in LONG]
        results, bad = [], []
        for name in chosen:
            with Field() as field:
                last, ours = self.on_field(field, found[name])
            if last != "ran":
                results.append((name, "does not run: " + last))
                if name not in NOT_FOR_A_FIELD:
                    bad.append(name)
                continue
            covered, colors = likeness(ours, self.on_tk(found[name]))
            alike = covered > 0.93 and colors < 12
            results.append((name, "%s: %.1f %% of each picture's lines are in the other; colours differ by %.1f of 255"
                            % ("drawn alike" if alike else "drawn differently", 100 * covered, colors)))
            if os.environ.get("KELMORA_DEMO_PICTURES"):
                Image.fromarray(ours.astype("uint8")).save(os.path.join(os.environ["KELMORA_DEMO_PICTURES"], name + ".png"))
            if not alike and name not in NOT_FOR_A_FIELD:
                bad.append(name)
        for name, result in results:
            print("measured: turtledemo %s %s" % (name, result))
        ran = sum("drawn alike" in result for _, result in results)
        print("measured: of %d programs of turtledemo %d run with the import changed and draw the same; %d were not tried"
              % (len(found), ran, len(found) - len(chosen)))
        self.assertEqual(bad, [])
        self.assertGreaterEqual(ran, 5 if not wanted else 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
