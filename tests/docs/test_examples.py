"""Every Python program of clients/examples: it runs, ends by itself, and leaves the result it is meant to."""
import glob
import os
import re
import subprocess
import unittest

import programs
from harness import FieldTest, main

FOLDER = os.path.join(programs.TOP, "clients", "examples")


def source_of(name):
    with open(os.path.join(FOLDER, name + ".py"), encoding="utf-8") as file:
        return file.read()


class Examples(FieldTest):
    def run_example(self, name, things="", answers=""):
        left = programs.run(self.field, source_of(name), things, answers)
        # A second turtle may find the first one on its way to the middle, and in a maze none gets there at once; the
        # library says so.
        noted = r"^(kelmora: (.*so the turtle starts at|a (turtle|doughnut|stone|wall) is in the way,) .*\n)*$"
        in_the_way = len(left.turtles) > 1 or things == "maze" or "robot(" in source_of(name)  # those may be shot by now
        self.assertRegex(left.errors, noted if in_the_way else r"^$")
        return left

    def assert_near(self, turtle, x, y, reach=1.0):
        self.assertLessEqual(max(abs(turtle["x"] - x), abs(turtle["y"] - y)), reach, turtle)

    def test_square(self):
        left = self.run_example("square")
        self.assert_near(left.turtles[0], 0, 0)
        # Four sides of 120, three pixels thick; the turtle covers some of it.
        self.assertTrue(1250 < left.painted(255, 0, 0) < 1500, left.painted(255, 0, 0))

    def test_spiral(self):
        # The first line is reddish, the last one bluish.
        left = self.run_example("spiral")
        self.assertGreater(left.painted(250, 80, 255), 100)
        self.assertGreater(left.painted(10, 200, 255), 1000)

    def test_tree(self):
        left = self.run_example("tree")
        self.assert_near(left.turtles[0], 0, -200)
        self.assertGreater(left.painted(160, 82, 45), 2000)     # sienna
        self.assertGreater(left.painted(50, 205, 50), 1000)     # limegreen

    def test_flowers(self):
        left = self.run_example("flowers")
        for colour in ((255, 99, 71), (218, 112, 214), (0, 191, 255)):
            self.assertGreater(left.painted(*colour), 3000)

    def test_signature(self):
        # Three letters and a line, at least 10 wide where the brush swells.
        left = self.run_example("signature")
        self.assertGreater(left.painted(), 10000)
        self.assert_near(left.turtles[0], -210, -170)

    def test_meeting(self):
        left = self.run_example("meeting")
        self.assertIn("They met near", left.out)
        self.assertEqual(len(left.turtles), 2)
        apart = [left.turtles[0][axis] - left.turtles[1][axis] for axis in "xy"]
        self.assertTrue(110 <= abs(complex(*apart)) < 120, apart)  # 20 to 24 apart, then one has stepped back by 90

    def test_maze(self):
        left = self.run_example("maze", "maze")
        self.assertEqual(left.out, "I have found the middle!\n")
        # In a cell beside those of the four doughnuts.
        self.assertLess(max(abs(left.turtles[0]["x"]), abs(left.turtles[0]["y"])), 60)

    def test_coins(self):
        left = self.run_example("coins")
        self.assertEqual((left.coins, left.turtles[0]["ncoin"]), ([], 40))

    def test_cards(self):
        """The trick works for a card of each column."""
        for answers in ("1\n1\n1\n", "no\n2\n1\n3\n", "3\n2\n2\n"):
            with self.subTest(answers=answers):
                left = self.run_example("cards", answers=answers)
                self.assertRegex(left.out, r"Your card is number \d+\n$")
                self.assertGreater(left.painted(), 5000)

    def test_the_card_is_the_right_one(self):
        """Collecting the columns in this order brings any card to the middle of the deck."""
        for wanted in range(21):
            deck = list(range(21))
            for _ in range(3):
                columns = [deck[0::3], deck[1::3], deck[2::3]]
                middle = columns.pop(next(k for k in range(3) if wanted in columns[k]))
                deck = columns[0] + middle + columns[1]
            self.assertEqual(deck[10], wanted)

    def test_patrol(self):
        left = self.run_example("patrol")
        self.assertEqual(left.out.count("There is a turtle in my way"), 2)     # once in each round
        self.assert_near(left.turtles[1], -120, -120)

    def test_hunter(self):
        left = self.run_example("hunter")
        self.assertIn("No robot is left", left.out)
        self.assertEqual(len(left.turtles), 1)
        self.assertGreater(left.turtles[0]["score"], 100)

    def test_team(self):
        left = self.run_example("team")
        self.assertEqual(left.out.count("A member reads: treasure at"), 2)
        self.assertEqual(sum(turtle["ncoin"] for turtle in left.turtles), 10)
        self.assertEqual(left.coins, [])


class Readme(unittest.TestCase):
    def test_python_of_the_clone_knows_the_package(self):
        environment = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
        found = subprocess.run([os.path.join(programs.TOP, "scripts", "python"), "-B", "-c",
                                "import kelmora; print(kelmora.__file__)"], env=environment, capture_output=True, text=True,
                               timeout=60, check=True).stdout.strip()
        self.assertEqual(os.path.dirname(os.path.realpath(found)),
                         os.path.join(programs.TOP, "clients", "python", "src", "kelmora"))

    def test_every_example_is_shown_with_its_picture_and_tested(self):
        with open(os.path.join(FOLDER, "README.md"), encoding="utf-8") as file:
            text = file.read()
        names = {os.path.basename(path)[:-3] for path in glob.glob(os.path.join(FOLDER, "*.py"))}
        self.assertEqual(len(names), 12)
        self.assertEqual(set(re.findall(r"\((\w+)\.py\)", text)), names)
        # Examples in other languages have their links.
        self.assertEqual(set(re.findall(r"\((\w+\.\w+)\)", text)), set(os.listdir(FOLDER)) - {"README.md"})
        self.assertEqual(set(re.findall(r"pictures/examples/(\w+)\.png", text)), names)
        self.assertLessEqual({"test_" + name for name in names}, set(dir(Examples)))


if __name__ == "__main__":
    main()
