"""The painting and the cards as files: contents, when they are written, and that a reader never sees a partial one."""
import json
import os
import tempfile
import time
import unittest

import numpy
from PIL import Image

import harness
from harness import Client, Field, wait_until

OFF_FIELD = "j 3000 3000"


class CanvasFiles(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = holder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def picture(self):
        with Image.open(self.path("canvas.png")) as image:
            self.assertEqual((image.size, image.mode), ((512, 512), "RGB"))
            return numpy.asarray(image).astype(int)

    def cards(self):
        with open(self.path("cards.json")) as file:
            return json.load(file)

    def serial(self, name="canvas.png"):
        """A value that differs for each writing of a file: every one is a new file."""
        status = os.stat(self.path(name))
        return status.st_ino, status.st_mtime_ns

    def wait_files(self):
        wait_until(lambda: set(os.listdir(self.folder)) >= {"canvas.png", "cards.json", "cards.png"}, 20, "the files")

    def test_files_show_what_is_painted_and_which_cards_lie_there(self):
        with Field(["-canvas", self.folder]) as field, Client() as turtle:
            self.wait_files()
            wait_until(lambda: not self.picture().any(), 10, "an empty canvas")
            self.assertEqual(self.cards(), {"sheet": "cards.png", "width": 75, "height": 104, "cards": []})
            turtle.do("h 0 0 0.4", "j -200 -150", "t e", "w 9", "k 1 0.5 0", "p d", "f 300", "t n", "k 0 1 0", "f 90",
                      "u " + "Painted".encode().hex(), "p u", OFF_FIELD)
            turtle.wait_ticks(3)
            shown = field.captured()                        # only the canvas is visible
            wait_until(lambda: (self.picture() == shown).all(), 10, "the picture in the file")
            turtle.do("z 12 -34.5 20", "z 53 10 20.25", "z 1 0 0", "z -1")
            place = {12: (979, 10), 53: (15, 480)}          # columns 87.7 apart from 15 on, rows 117.5 from 10 on
            expected = [{"card": n, "x": x, "y": y, "u": place[n][0], "v": place[n][1]}
                        for n, x, y in ((12, -34.5, 20), (53, 10, 20.25))]
            wait_until(lambda: self.cards()["cards"] == expected, 10, lambda: "the cards, %r" % self.cards())
            self.assertTrue((self.picture() == shown).all())    # cards are not painted
            # The sheet shows what the field shows: card 12 from above, pixel for pixel where it is opaque.
            turtle.do("z -53", "z 12 -100 0")
            turtle.wait_ticks(3)
            field_picture = field.captured()[256 - 104:256, 156:156 + 75]
            with Image.open(self.path("cards.png")) as sheet:
                self.assertEqual((sheet.size, sheet.mode), ((1158, 600), "RGBA"))
                cell = numpy.asarray(sheet)[10:10 + 104, 979:979 + 75].astype(int)
            solid = cell[..., 3] == 255
            self.assertGreater(solid.sum(), 6000)
            self.assertEqual(int((cell[..., :3] != field_picture)[solid].sum()), 0)
            field.key("c")
            wait_until(lambda: (self.picture() == (0, 0, 102)).all(), 10, "the wiped canvas")
            self.assertEqual(sorted(name for name in os.listdir(self.folder) if not name.startswith(".")),
                             ["canvas.png", "cards.json", "cards.png"])

    def test_reader_finds_whole_files_at_most_four_times_a_second(self):
        with Field(["-canvas", self.folder]) as field, Client() as turtle:
            self.wait_files()
            turtle.do("p d", "w 3")
            seen, began = {self.serial()}, time.monotonic()
            while time.monotonic() < began + 3 or len(seen) < 3 and time.monotonic() < began + harness.patience(harness.HANG):
                turtle.do("k 1 %f 0" % (time.monotonic() % 1), "f 3", "t l 7", "z 5 %f 0" % (time.monotonic() % 100))
                seen.add(self.serial())
                with Image.open(self.path("canvas.png")) as image:
                    image.load()                            # raises when anything is missing
                self.assertLessEqual(len(self.cards()["cards"]), 1)
            seconds = time.monotonic() - began
            self.assertLessEqual(len(seen), 4 * seconds + 2)
            self.assertGreaterEqual(len(seen), 3)

    def test_cards_alone_are_written_at_most_four_times_a_second_too(self):
        # A short text, which is written at once however busy the machine is.
        with Field(["-canvas", self.folder]), Client() as turtle:
            self.wait_files()
            seen, began = {self.serial("cards.json")}, time.monotonic()
            while time.monotonic() < began + 3 or len(seen) < 3 and time.monotonic() < began + harness.patience(harness.HANG):
                turtle.do("z 5 %f 0" % (time.monotonic() % 100), "t l 0")
                seen.add(self.serial("cards.json"))
            self.assertLessEqual(len(seen), 4 * (time.monotonic() - began) + 2)
            self.assertGreaterEqual(len(seen), 3)

    def test_nothing_is_written_while_nothing_is_painted(self):
        with Field(["-canvas", self.folder]) as field, Client() as turtle:
            self.wait_files()
            turtle.do("c", "p d", "f 20", "p u", OFF_FIELD)
            turtle.wait_ticks(3)
            shown = field.captured()
            self.assertTrue(shown.any())
            wait_until(lambda: (self.picture() == shown).all(), what="the last state to be written")
            before = [self.serial(name) for name in ("canvas.png", "cards.json")]
            turtle.do("f 20", "b 20", "t l 90")
            turtle.wait_ticks(150)
            self.assertEqual([self.serial(name) for name in ("canvas.png", "cards.json")], before)
            turtle.do("j 0 50", "p d", "f 20")
            wait_until(lambda: self.serial() != before[0], 10, "the next canvas")
            self.assertEqual(self.serial("cards.json"), before[1])

    def test_field_goes_on_when_nothing_can_be_written(self):
        missing = self.path("missing")
        with Field(["-canvas", missing]) as field, Client() as turtle:
            wait_until(lambda: len([line for line in field.said() if line.startswith("canvas: ")]) >= 3, 10, "the failures")
            turtle.do("p d", *["f 3"] * 30)
            turtle.wait_ticks(100)
            # Each file's failure is logged once, until a write has succeeded again.
            self.assertEqual(sorted(line for line in field.said() if line.startswith("canvas: ")),
                             sorted("canvas: cannot write %s/%s: No such file or directory" % (missing, name)
                                    for name in ("canvas.png", "cards.json", "cards.png")))
            os.mkdir(missing)
            turtle.do("b 3")
            wait_until(lambda: os.path.exists(os.path.join(missing, "canvas.png")), 10, "the canvas")

    def test_without_the_option_or_its_folder_nothing_is_written(self):
        for arguments in ([], ["-canvas"], ["-canvasx", self.folder], ["-js", "-canvas"]):
            with Field(arguments, cwd=self.folder) as field, Client() as turtle:
                turtle.do("p d", "f 20")
                turtle.wait_ticks(60)
                self.assertEqual(os.listdir(self.folder), [], arguments)
                self.assertEqual([line for line in field.said() if "canvas" in line and "script" not in line], [])

    def test_folder_named_last_counts_and_help_is_no_folder(self):
        with Field(["-canvas", "/nowhere", "-canvas", self.folder]):
            self.wait_files()
        with Field(["-canvas", "-h"], cwd=self.folder) as field, Client() as turtle:
            turtle.wait_ticks(3)
            self.assertNotIn("options:", field.said())


if __name__ == "__main__":
    harness.main()
