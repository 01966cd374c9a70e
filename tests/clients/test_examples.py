"""The programs of clients/examples in C++, JavaScript and shell: each runs on the real field, ends by itself, and
leaves the result it is meant to."""
import glob
import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "docs"))
import programs  # noqa: E402
from harness import FieldTest, main, patience, served_connections, wait_until  # noqa: E402

CLIENTS = os.path.join(programs.TOP, "clients")
FOLDER = os.path.join(CLIENTS, "examples")
CARDS_ANSWERS = "no\n2\n1\n3\n"


class Examples(FieldTest):
    """Subclasses give the file ending and how a file becomes a command."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.scratch = tempfile.TemporaryDirectory(prefix="kelmora-examples-")

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()
        super().tearDownClass()

    def left_by(self, name, things="", answers=""):
        """What the example leaves on an empty field."""
        path = os.path.join(FOLDER, name + self.ending)
        command = self.command(path)
        with open(path, encoding="utf-8") as file:
            source = file.read()
        for _ in range(programs.ATTEMPTS):
            programs.prepare(self.field, things)
            ended = subprocess.run(command, input=answers, text=True, capture_output=True, cwd=self.scratch.name,
                                   timeout=patience(programs.TIME_LIMIT), check=False)
            if ended.returncode == 0 or not programs.bad_luck(source, things, ended.stderr):
                break
        self.assertEqual((ended.returncode, ended.stderr), (0, ""), ended.stdout)
        wait_until(lambda: served_connections() == 0, 20, "the program's connections to be closed")
        return programs.Left(ended.stdout, programs.ask_list("turtle"), programs.ask_list("coin"), self.field.captured())

    def near(self, turtle, x, y, reach=1.0):
        self.assertLessEqual(max(abs(turtle["x"] - x), abs(turtle["y"] - y)), reach, turtle)

    # What holds when an example has ended, in every language.

    def check_square(self):
        left = self.left_by("square")
        self.near(left.turtles[0], 0, 0)
        # Four sides of 120, three pixels thick; the turtle covers some of it.
        self.assertTrue(1250 < left.painted(255, 0, 0) < 1500, left.painted(255, 0, 0))

    def check_spiral(self):
        left = self.left_by("spiral")
        self.assertGreater(left.painted(250, 80, 255), 100)     # the first lines
        self.assertGreater(left.painted(10, 200, 255), 1000)    # the last ones

    def check_tree(self):
        left = self.left_by("tree")
        self.near(left.turtles[0], 0, -200)
        self.assertGreater(left.painted(160, 82, 45), 2000)     # sienna
        self.assertGreater(left.painted(50, 205, 50), 1000)     # limegreen

    def check_flowers(self):
        left = self.left_by("flowers")
        for colour in ((255, 99, 71), (218, 112, 214), (0, 191, 255)):
            self.assertGreater(left.painted(*colour), 3000)

    def check_signature(self):
        left = self.left_by("signature")
        self.assertGreater(left.painted(), 10000)
        self.near(left.turtles[0], -210, -170)

    def check_meeting(self):
        left = self.left_by("meeting")
        self.assertIn("They met near", left.out)
        self.assertEqual(len(left.turtles), 2)
        apart = [left.turtles[0][axis] - left.turtles[1][axis] for axis in "xy"]
        self.assertTrue(110 <= abs(complex(*apart)) < 120, apart)  # 20 to 24 apart, then one stepped back by 90

    def check_maze(self):
        left = self.left_by("maze", "maze")
        self.assertEqual(left.out, "I have found the middle!\n")
        # In a cell beside those of the four doughnuts.
        self.assertLess(max(abs(left.turtles[0]["x"]), abs(left.turtles[0]["y"])), 60)

    def check_coins(self):
        left = self.left_by("coins")
        self.assertIn("I have 40 coins", left.out)
        self.assertEqual((left.coins, left.turtles[0]["ncoin"]), ([], 40))

    def check_cards(self):
        left = self.left_by("cards", answers=CARDS_ANSWERS)
        self.assertRegex(left.out, r"Your card is number \d+\n$")
        self.assertGreater(left.painted(), 5000)

    def check_patrol(self):
        left = self.left_by("patrol")
        self.assertEqual(left.out.count("There is a turtle in my way"), 2)     # once in each round
        self.near(left.turtles[1], -120, -120)

    def check_hunter(self):
        left = self.left_by("hunter")
        self.assertIn("No robot is left", left.out)
        self.assertEqual(len(left.turtles), 1)
        self.assertGreater(left.turtles[0]["score"], 100)

    def check_team(self):
        left = self.left_by("team")
        self.assertEqual(left.out.count("A member reads: treasure at"), 2)
        self.assertEqual(sum(turtle["ncoin"] for turtle in left.turtles), 10)
        self.assertEqual(left.coins, [])


class Cpp(Examples):
    ending = ".cpp"

    def command(self, path):
        program = os.path.join(self.scratch.name, os.path.basename(path)[:-4])
        subprocess.run(["c++", "-std=c++17", "-Wall", "-Wextra", "-Werror", "-I", os.path.join(CLIENTS, "cpp"), path,
                        "-o", program], check=True, timeout=600)
        return [program]


class JavaScript(Examples):
    ending = ".mjs"

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # As users install it: packed, into an empty folder. There is no network here.
        folder = cls.scratch.name
        environment = dict(os.environ, npm_config_cache=os.path.join(folder, "cache"), npm_config_update_notifier="false")
        packed = subprocess.run(["npm", "pack", "--silent", "--pack-destination", folder], cwd=os.path.join(CLIENTS, "js"),
                                env=environment, capture_output=True, text=True, check=True, timeout=300)
        subprocess.run(["npm", "install", "--silent", "--offline", "--no-audit", "--no-fund",
                        os.path.join(folder, packed.stdout.split()[-1])], cwd=folder, env=environment, check=True, timeout=300)

    def command(self, path):
        copy = os.path.join(self.scratch.name, os.path.basename(path))
        with open(path, encoding="utf-8") as source, open(copy, "w", encoding="utf-8") as target:
            target.write(source.read())
        return ["node", copy]


class Shell(Examples):
    ending = ".sh"

    def command(self, path):
        return ["bash", path]


# One test for each file; a file without a check fails.
for language in (Cpp, JavaScript, Shell):
    for example in sorted(glob.glob(os.path.join(FOLDER, "*" + language.ending))):
        name = os.path.splitext(os.path.basename(example))[0]
        setattr(language, "test_" + name, getattr(Examples, "check_" + name))


def load_tests(loader, _tests, _pattern):
    """All but the base class; each language must have half of the examples."""
    suite = loader.suiteClass()
    for each in (Cpp, JavaScript, Shell):
        suite.addTests(loader.loadTestsFromTestCase(each))
        assert suite.countTestCases() and len([key for key in vars(each) if key.startswith("test_")]) >= 6, each
    return suite


if __name__ == "__main__":
    main()
