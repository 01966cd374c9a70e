"""Every program in the lessons, the front page and the protocol: it runs, ends by itself, and meets the notes above
it."""
import glob
import os
import re
import sys
import unittest

import numpy
from PIL import Image

import programs
from harness import FieldTest, main

README = os.path.join(programs.TOP, "README.md")
PROTOCOL = os.path.join(programs.TOP, "docs", "protocol.md")
LESSONS = sorted(glob.glob(os.path.join(programs.TOP, "docs", "lessons", "*.md")))
STRAY_PIXELS = 40  # may differ beyond a pixel's neighbours: drivers draw line ends differently


def missing(wanted, seen):
    """Number of pixels of `wanted` that `seen` lacks, both there and beside it, in about this colour."""
    near = numpy.zeros(wanted.shape[:2], bool)
    padded = numpy.pad(seen, ((1, 1), (1, 1), (0, 0)), mode="edge")
    height, width = wanted.shape[:2]
    for dy in range(3):
        for dx in range(3):
            near |= abs(padded[dy:dy + height, dx:dx + width] - wanted).max(axis=2) < 64
    return ~near


def differences(left, path):
    """Number of pixels where the painting differs from the picture, turtles left out."""
    with Image.open(path) as image:
        wanted = numpy.asarray(image.convert("RGB")).astype(int)
    different = missing(wanted, left.picture) | missing(left.picture, wanted)
    for turtle in left.turtles:
        column, row = round(turtle["x"]) + 256, 255 - round(turtle["y"])
        reach = programs.BODY
        different[max(row - reach, 0):row + reach + 1, max(column - reach, 0):column + reach + 1] = False
    return int(different.sum())


class Lessons(FieldTest):
    def test_programs(self):
        count = 0
        for path in LESSONS + [README, PROTOCOL]:
            for block in programs.blocks_of(path):
                with self.subTest(page=os.path.basename(path), line=block.line):
                    self.check(block)
                    count += 1
        self.assertGreater(count, 40)

    def check(self, block):
        self.assertTrue({"ends", "picture"} & set(block.notes), "says neither how it ends nor what it paints")
        left = block.run(self.field)
        # Whatever chance puts in a turtle's way is told once, and so is a place in the middle that is taken.
        in_the_way = len(left.turtles) > 1 or re.search(r"\b(doughnut|robot|battle)\(", block.source)
        noted = r"^(kelmora: (.*so the turtle starts at|a (turtle|doughnut|stone|wall) is in the way,) .*\n)*$"
        self.assertRegex(left.errors, noted if in_the_way else r"^$")
        if "ends" in block.notes:
            self.assertTrue(eval(block.notes["ends"], programs.names(left)),  # pylint: disable=eval-used
                            f"{block.notes['ends']}\nprinted {left.out!r}, left {left.turtles}, "
                            f"{left.painted()} pixels, red {left.painted(255, 0, 0)}")
        if "picture" in block.notes:
            picture = os.path.join(os.path.dirname(block.document), block.notes["picture"])
            self.assertLessEqual(differences(left, picture), STRAY_PIXELS, picture)

    def test_a_program_that_is_not_as_its_page_says_is_noticed(self):
        page = LESSONS[0]
        good = programs.blocks_of(next(path for path in LESSONS if "01-" in path))[0]
        for source, notes in ((good.source.replace("left(90)", "left(91)"), good.notes.items()),
                              (good.source, [("ends", "x > 50")]),
                              (good.source + "1 / 0\n", [("ends", "True")]),
                              (good.source, [])):
            with self.subTest(notes=notes), self.assertRaises(AssertionError):
                self.check(programs.Block(good.document, 1, source, notes))
        with self.assertRaises(ValueError):
            programs.Block(page, 1, "", [("end", "True")])


class Pages(unittest.TestCase):
    """The chapters are complete, and their words exist."""

    def test_ten_chapters_with_three_exercises_and_solutions(self):
        chapters = [path for path in LESSONS if re.match(r"\d\d-", os.path.basename(path))]
        self.assertEqual(len(chapters), 10)
        for path in chapters:
            with open(path, encoding="utf-8") as file:
                text = file.read()
            exercises, solutions = re.search(r"^## Exercises$(.*)^## Solutions$(.*)", text, re.M | re.S).groups()
            with self.subTest(os.path.basename(path)):
                self.assertEqual(re.findall(r"^(\d)\. ", exercises, re.M), ["1", "2", "3"])
                self.assertEqual(re.findall(r"^(\d)\. ", solutions, re.M), ["1", "2", "3"])
                self.assertEqual(solutions.count("```python"), 3)
                self.assertIn("**The idea:**", text)
                self.assertRegex(text, r"!\[[^\]]+\]\(\.\./pictures/lessons/")

    def test_every_word_in_the_list_is_a_word_of_the_library(self):
        sys.path.insert(0, programs.LIBRARY)
        import kelmora
        with open(os.path.join(programs.TOP, "docs", "lessons", "words.md"), encoding="utf-8") as file:
            rows = [line.split("|")[1] for line in file if line.startswith("| `")]
        words = {word for row in rows for word in re.findall(r"`(\w+)\(", row)}
        self.assertGreater(len(words), 60)
        for word in words:
            with self.subTest(word):
                self.assertTrue(callable(getattr(kelmora, word, None)))
        # And the other way round: what the chapters use is explained there.
        used = {word for path in LESSONS for block in programs.blocks_of(path)
                for word in re.findall(r"\b([a-zA-Z_]+)\(", block.source) if word in kelmora.__all__}
        self.assertGreater(len(used), 40)
        self.assertEqual(used - words, set())


if __name__ == "__main__":
    main()
