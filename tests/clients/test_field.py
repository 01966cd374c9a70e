"""The same small program in C++, JavaScript and shell on the real field: results must be the same in each language."""
import math
import os
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "wire"))
from harness import CLIENT_PORT, FieldTest, main, patience, pixel  # noqa: E402

import agents  # noqa: E402

MILLISECONDS = int(patience(30) * 1000)
scratch = tempfile.TemporaryDirectory(prefix="kelmora-field-")


def tearDownModule():
    scratch.cleanup()


def agent_cpp():
    program = os.path.join(scratch.name, "agent")
    if not os.path.exists(program):
        subprocess.run(["c++", "-std=c++17", "-I", os.path.join(agents.ROOT, "clients", "cpp"),
                        os.path.join(agents.HERE, "agents", "agent.cpp"), "-o", program], check=True, timeout=600)
    return agents.Agent([program])


def agent_js():
    return agents.Agent(["node", os.path.join(agents.HERE, "agents", "agent.mjs")],
                        {"KELMORA_JS": os.path.join(agents.ROOT, "clients", "js", "kelmora.js")})


def agent_shell():
    return agents.Agent(["bash", os.path.join(agents.HERE, "agents", "agent.sh")],
                        {"KELMORA_SH": os.path.join(agents.ROOT, "clients", "shell", "kelmora.sh")})


LANGUAGES = {"cpp": agent_cpp, "js": agent_js, "shell": agent_shell}


class Program:
    """A program in one of the languages; its words return what they return there, or raise Failed."""

    def __init__(self, language):
        self.agent = LANGUAGES[language]()

    class Failed(Exception):
        pass

    def batch(self, *calls):
        """What the calls of a batch have returned."""
        return self.ask("batch\t%d" % len(calls), *[agents.call_line({"call": word, "args": args}) for word, *args in calls])

    def ask(self, *requests):
        self.agent.ask(requests)
        answer = self.agent.answer()
        if "raises" in answer or answer.get("status", 0) == 2:
            raise self.Failed(answer.get("kind") or answer["raises"]["kind"])
        if "status" not in answer:
            return answer["returns"]
        words = answer["printed"].split()
        if not words:
            return answer["status"] == 0
        values = [float(word) if word.replace(".", "").replace("-", "").isdigit() else {"yes": True, "no": False}.get(word, word)
                  for word in words]
        return values if len(values) > 1 else values[0]

    def connect(self):
        return self.ask("connect\t%d\t%d" % (CLIENT_PORT, MILLISECONDS))

    def __getattr__(self, word):
        return lambda *arguments: self.ask(agents.call_line({"call": word, "args": list(arguments)}))


class RealField(FieldTest):
    """Each check runs in each language, on a field with one more client."""

    def in_language(self, language, check, others=1):
        made = self.fresh(others)
        program = Program(language)
        self.addCleanup(program.agent.close)
        check(self, program, made)

    def near(self, found, wanted):
        for a, b in zip(found, wanted, strict=True):
            self.assertAlmostEqual(a, b, places=5)

    def check_walking(self, turtle, other):
        other.do("j -240 -240")
        turtle.connect()
        self.assertTrue(turtle.teleport(10, 20))
        self.assertTrue(turtle.setheading(30))
        self.assertTrue(turtle.forward(100))
        self.near(turtle.position(), (10 + 100 * math.cos(math.radians(30)), 70))
        self.assertTrue(turtle.right(75.5))
        self.near([turtle.heading()], [314.5])
        self.assertTrue(turtle.setx(-50))
        self.assertTrue(turtle.shift(0.5, -0.25))
        self.near(turtle.position(), (-49.5, 69.75))
        self.assertTrue(turtle.home())
        self.near(turtle.position(), (0, 0))
        self.near([turtle.heading()], [0])

    def check_somebody_in_the_way(self, turtle, other):
        other.do("j 0 0")
        turtle.connect()
        turtle.teleport(-60, 0)
        turtle.setheading(0)
        self.assertEqual(turtle.finder(100), ["turtle", 0])
        self.assertIs(turtle.forward(60), False)
        self.assertEqual(turtle.blocked_by(), "turtle")
        self.near(turtle.position(), (-60, 0))
        self.assertTrue(turtle.forward(39))                 # 20 between the centres is the minimum
        other.do("j -21 15")
        self.assertIs(turtle.teleport(100, 100), False)     # no jump while another turtle is this close

    def check_coins_cards_and_teams(self, turtle, other):
        other.do("j -240 -240")
        turtle.connect()
        turtle.teleport(0, 0)
        self.assertEqual(turtle.coins(), 0)
        self.assertTrue(turtle.borrow())
        self.assertTrue(turtle.drop())
        self.assertEqual((turtle.coins(), turtle.coins_near()), (9, 1))
        self.assertTrue(turtle.pick())
        self.assertEqual((turtle.coins(), turtle.coins_near()), (10, 0))
        self.assertTrue(turtle.card(7, 12.5, -30))
        self.assertIs(turtle.card_shown(7), True)
        self.near(turtle.card_position(7), (12.5, -30))
        self.assertTrue(turtle.clear_cards())
        self.assertIs(turtle.card_shown(7), False)
        self.assertTrue(turtle.team(3))
        self.assertEqual(turtle.team(), 3)
        other.do("i 3", "u over")
        self.assertEqual(turtle.message()[1], "over")
        self.assertEqual(turtle.turtles(), 2)

    def check_drawing(self, turtle, other):
        """A filled square with an edge of another colour, a star, a dot, a circle that ends where it began, bearings, strict mode."""
        other.do("j -240 -240")
        turtle.connect()
        turtle.battle(False)
        turtle.bgcolor("white")
        turtle.teleport(10, -100)
        turtle.setheading(0)
        turtle.pensize(3)
        turtle.color("blue", "yellow")
        turtle.begin_fill()
        self.assertIs(turtle.filling(), True)
        for _ in range(4):
            self.assertTrue(turtle.forward(80))
            self.assertTrue(turtle.left(90))
        self.assertTrue(turtle.end_fill())
        self.assertTrue(turtle.teleport(-200, -100))
        self.assertTrue(turtle.begin_fill() in (True, None))
        for _ in range(5):  # a star with its tips at (-200, -100), (-100, -100), (-181, -159), (-150, -64) and (-119, -159)
            self.assertTrue(turtle.forward(100))
            self.assertTrue(turtle.right(144))
        self.assertTrue(turtle.end_fill())
        self.assertTrue(turtle.teleport(-60, 60))
        self.assertTrue(turtle.dot(40, "red"))
        self.assertTrue(turtle.teleport(100, 100))
        self.assertTrue(turtle.circle(30))
        self.near([*turtle.position(), turtle.heading()], [100, 100, 0])
        self.near([turtle.distance(130, 140)], [50])
        self.near([turtle.towards(100, -5)], [270])
        self.near(turtle.batch(("penup",), ("left", 30), ("forward", 10), ("heading",), ("pick",)), [True, True, True, 30, True])
        self.assertTrue(turtle.goto(1000, 1000))
        picture = self.field.captured()
        for x, y, color in ((50, -60, (255, 255, 0)), (10, -60, (0, 0, 255)), (50, -20, (0, 0, 255)), (50, -110, (255, 255, 255)),
                            (-150, -80, (255, 255, 0)), (-185, -104, (255, 255, 0)), (-115, -104, (255, 255, 0)),
                            (-175, -150, (255, 255, 0)), (-125, -150, (255, 255, 0)), (-150, -150, (255, 255, 255)),
                            (-150, -112, (255, 255, 255)), (-190, -130, (255, 255, 255)), (-110, -130, (255, 255, 255)),
                            (-60, 60, (255, 0, 0)), (-48, 70, (255, 0, 0)), (-84, 60, (255, 255, 255)), (100, 130, (255, 255, 255)),
                            (100, 100, (0, 0, 255)), (130, 130, (0, 0, 255))):
            column, row = pixel(x, y)
            near = [tuple(picture[row + dy][column + dx]) for dx in (-1, 0, 1) for dy in (-1, 0, 1)]
            self.assertIn(color, near, (x, y))
        other.do("j 1100 1000")
        self.assertTrue(turtle.setheading(0))
        turtle.strict()
        with self.assertRaisesRegex(Program.Failed, "blocked"):
            turtle.forward(95)

    def check_dying(self, turtle, shooter):
        """Four hits of 30 points take more than the 100 of the start."""
        shooter.do("j 0 0", "t e")
        turtle.connect()
        turtle.teleport(60, 0)
        end = time.monotonic() + patience(120)
        while True:
            shooter.do("x")
            try:
                turtle.ping()
            except Program.Failed as error:
                self.assertEqual(str(error), "died")
                break
            self.assertLess(time.monotonic(), end)
        with self.assertRaisesRegex(Program.Failed, "lost"):
            turtle.ping()

    def check_all_places_taken(self, turtle, _others):
        with self.assertRaisesRegex(Program.Failed, "not_admitted"):
            turtle.connect()


def test_of(language, check):
    others = 10 if check == "check_all_places_taken" else 1
    return lambda self: self.in_language(language, getattr(RealField, check), others)


for name in [name for name in vars(RealField) if name.startswith("check_")]:
    for language in LANGUAGES:
        setattr(RealField, name.replace("check", "test_" + language), test_of(language, name))


if __name__ == "__main__":
    main()
