"""The Python library without a field: numbers, shapes, words, errors, hostile servers, practice, packages."""
import ast
import io
import math
import os
import random
import re
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import unittest.mock
import zipfile
from contextlib import redirect_stdout

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(os.path.dirname(HERE))
LIBRARY = os.path.join(TOP, "clients", "python")
sys.path.insert(0, os.path.join(LIBRARY, "src"))

import kelmora  # noqa: E402
from kelmora import body, compat, crowd, hooks, link, motion, repl, shapes  # noqa: E402
from kelmora import transport as transports  # noqa: E402

LIMIT = 600  # seconds that bound a hang


def run_python(code, *arguments, **environment):
    """A separate Python process: its exit code and output."""
    env = {**os.environ, "PYTHONPATH": os.path.join(LIBRARY, "src"), "PYTHONDONTWRITEBYTECODE": "1", **environment}
    made = subprocess.run([sys.executable, *(["-c", code] if code else []), *arguments], env=env, timeout=LIMIT,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return made.returncode, made.stdout


class Echo:
    """A transport that accepts everything, answers OK and keeps the packets."""
    where = "nowhere"

    def __init__(self, answers=()):
        self.packets, self.answers, self.waiting = [], list(answers), []

    def send(self, lines):
        self.packets.append(lines)
        for _ in range(lines.count("\n")):
            self.waiting.append(self.answers.pop(0) if self.answers else "OK @ 1 0")

    def receive(self):
        return self.waiting.pop(0)

    def close(self):
        pass


def quiet_turtle(answers=()):
    """A turtle on an Echo that has already been greeted."""
    echo = Echo(["OK @ 1 0", "OK @ 1 0", *answers])
    turtle = kelmora.Turtle(transport=echo, home=False)
    echo.packets.clear()
    return turtle, echo


class Numbers(unittest.TestCase):
    def test_are_spelled_short(self):
        for value, text in ((50, "50"), (50.0, "50"), (-2.5, "-2.5"), (0.1, "0.1"), (True, "1"), (10 ** 16, "1e+16"), (1e-7, "1e-07")):
            self.assertEqual(body.spell(value), text)

    def test_what_is_not_a_number_is_refused(self):
        for value in ("50", b"5", None, float("nan"), float("inf"), 10 ** 400, 1j, [1], (1, 2), object(), lambda: 1):
            with self.assertRaises(kelmora.NotANumber, msg=repr(value)):
                body.spell(value)
        with self.assertRaises(TypeError):
            body.number("x")
        with self.assertRaises(ValueError):
            body.number("x")
        self.assertIn("float(", str(self.refusal("5")))

    def refusal(self, value):
        try:
            body.number(value)
        except kelmora.NotANumber as error:
            return error

    def test_no_word_sends_what_is_not_a_number(self):
        turtle, echo = quiet_turtle()
        for word, arguments in (("forward", ("x",)), ("back", (None,)), ("left", ("90",)), ("goto", (1, "y")), ("goto", (1,)),
                                ("shift", (1, math.nan)), ("setx", ("a",)), ("setheading", (math.inf,)), ("circle", ("r",)),
                                ("pensize", ("thick",)), ("dot", (math.nan,)), ("card", (1, 2, "x")), ("finder", ("far",)),
                                ("radar", ("x",)), ("team", ("red",)), ("distance", ("x", 1)), ("teleport", (None, "x"))):
            with self.assertRaises((kelmora.NotANumber, kelmora.BadValue), msg=word):
                getattr(turtle, word)(*arguments)
        self.assertEqual([packet for packet in echo.packets if packet not in ("q p\n",)], [])

    def test_packets_that_are_kept_are_those_that_are_made(self):
        turtle, echo = quiet_turtle(["OK @ 5 0"] * 5000)
        numbers = [1, 1.0, True, 0, -0.0, 0.1, -2.5, 1e-7, 8192, -8192, *range(300), 1]
        for word, line in ((turtle.forward, "f"), (turtle.left, "t l"), (turtle.right, "t r")):
            echo.packets.clear()
            for value in numbers:
                word(value)
            sent = [packet.split("\n")[0].rsplit(" ", 1) for packet in echo.packets]
            self.assertEqual([(name, float(value)) for name, value in sent if name == line], [(line, float(value)) for value in numbers])
        self.assertTrue(all(len(kept) <= motion.KEPT for kept in (motion._steps, *motion._turns.values())))

    def test_shortest_turns(self):
        for angle, turn in ((0, 0), (180, 180), (-180, 180), (181, -179), (-181, 179), (720, 0), (-90, -90), (450, 90)):
            self.assertAlmostEqual(motion.shortest(angle), turn)


class Shapes(unittest.TestCase):
    """Areas cut into pieces, checked point by point against the parity of crossings."""

    def inside(self, points, x, y):
        odd = False
        for (x1, y1), (x2, y2) in zip(points, points[1:] + points[:1]):
            if (y1 > y) != (y2 > y) and x < x1 + (y - y1) * (x2 - x1) / (y2 - y1):
                odd = not odd
        return odd

    def edge_distance(self, points, x, y):
        return min(self.to_segment(a, b, x, y) for a, b in zip(points, points[1:] + points[:1]))

    def to_segment(self, a, b, x, y):
        dx, dy = b[0] - a[0], b[1] - a[1]
        along = ((x - a[0]) * dx + (y - a[1]) * dy) / (dx * dx + dy * dy) if dx or dy else 0
        along = min(1, max(0, along))
        return math.hypot(a[0] + along * dx - x, a[1] + along * dy - y)

    def check(self, points):
        pieces = shapes.pieces_of(points)
        for piece in pieces:
            self.assertTrue(3 <= len(piece) <= 6)
            bends = [self.bend(*corners) for corners in zip(piece, piece[1:] + piece[:1], piece[2:] + piece[:2])]
            self.assertTrue(min(bends) > -1e-3, (piece, bends))  # counter-clockwise and convex
        chance = random.Random(len(points))
        for _ in range(300):
            x, y = chance.uniform(-110, 110), chance.uniform(-110, 110)
            if self.edge_distance(points, x, y) > 1e-3:
                covers = sum(self.inside(piece, x, y) for piece in pieces)
                self.assertEqual(covers, int(self.inside(points, x, y)), (points, x, y))
        return pieces

    def bend(self, a, b, c):
        return (b[0] - a[0]) * (c[1] - b[1]) - (c[0] - b[0]) * (b[1] - a[1])

    def test_simple_ones(self):
        self.assertEqual(len(self.check([(0, 0), (100, 0), (100, 100), (0, 100)])), 1)
        self.assertEqual(len(self.check([(0, 0), (100, 0), (50, 80)])), 1)
        self.assertEqual(len(self.check([(-50, 0), (0, -60), (50, 0), (0, 60)])), 1)
        hexagon = [(80 * math.cos(k * math.pi / 3), 80 * math.sin(k * math.pi / 3)) for k in range(6)]
        self.assertEqual(len(self.check(hexagon)), 1)

    def test_a_circle_takes_a_quarter_of_its_corners(self):
        circle = [(90 * math.cos(k * math.pi / 30), 90 * math.sin(k * math.pi / 30)) for k in range(60)]
        self.assertLessEqual(len(self.check(circle)), 16)

    def test_concave_and_crossing_ones(self):
        self.check([(0, 0), (100, 0), (100, 100), (50, 20), (0, 100)])
        star = [(100 * math.sin(k * 4 * math.pi / 5), 100 * math.cos(k * 4 * math.pi / 5)) for k in range(5)]
        self.check(star)
        self.check([(0, 0), (100, 100), (100, 0), (0, 100)])
        self.check([(-100, -100), (100, -100), (100, 100), (-100, 100), (-100, -100),
                    (-50, -50), (50, -50), (50, 50), (-50, 50), (-50, -50)])

    def test_random_ones(self):
        for seed in range(60):
            chance = random.Random(seed)
            self.check([(chance.uniform(-100, 100), chance.uniform(-100, 100)) for _ in range(chance.randrange(3, 14))])
            self.check([(chance.randrange(-5, 6) * 20, chance.randrange(-5, 6) * 20) for _ in range(chance.randrange(3, 10))])

    def test_nothing_to_fill(self):
        for points in ([(0, 0)], [(0, 0), (10, 0)], [(0, 0), (10, 0), (20, 0)], [(5, 5)] * 4, [(0, 0), (10, 10), (0, 0)]):
            self.assertEqual(shapes.pieces_of(points), [])

    def test_the_field_fills_what_the_packets_say(self):
        """The practice field fills as the real one does: over the latest six points, fewer in the first frames."""
        class Area:
            def __init__(self):
                self.painted = []

            def polygon(self, points, given):
                self.painted.append((points, given))

            def line(self, *unused):
                raise AssertionError("a line")
        for points in ([(0, 0), (60, 0), (60, 60), (0, 60)],
                       [(100 * math.sin(k * 4 * math.pi / 5), 100 * math.cos(k * 4 * math.pi / 5)) for k in range(5)],
                       [(90 * math.cos(k * math.pi / 30), 90 * math.sin(k * math.pi / 30)) for k in range(60)]):
            area = Area()
            practice = kelmora.PracticeField(area)
            line = practice.transport()
            for packet in shapes.fill_packets(shapes.pieces_of(points), (0.0, 0.5, 1.0)):
                line.send("\n".join(packet) + "\n")
            self.assertTrue(all(color == (0.0, 0.5, 1.0) for _, given in area.painted for color in given))
            chance = random.Random(1)
            for _ in range(500):
                x, y = chance.uniform(-110, 110), chance.uniform(-110, 110)
                if self.edge_distance(points, x, y) > 0.01:
                    covered = any(self.inside(list(piece), x, y) for piece, _ in area.painted)
                    self.assertEqual(covered, self.inside(points, x, y))


class Words(unittest.TestCase):
    def setUp(self):
        self.notes = []
        self.note, hooks.note = hooks.note, self.notes.append
        hooks._told.clear()

    def tearDown(self):
        hooks.note = self.note
        kelmora.Screen().bye()

    def test_every_word_of_pythons_turtle_is_there_or_says_what_is_nearest(self):
        import turtle  # Python's own; needs tkinter but no display
        missing = set(turtle.__all__) - set(kelmora.__all__)
        self.assertEqual(missing, set())
        methods = {name for name in dir(turtle.Turtle) if not name.startswith("_")} - {
            "DEFAULT_ANGLEOFFSET", "DEFAULT_ANGLEORIENT", "DEFAULT_MODE", "START_ORIENTATION", "screens"}
        for name in methods:
            try:
                getattr(kelmora.Turtle(transport=Echo(), home=False), name)
            except kelmora.NotHere:
                pass

    def test_what_is_not_there_names_the_nearest(self):
        turtle, echo = quiet_turtle()
        for name, nearest in compat.ABSENT.items():
            with self.assertRaises(kelmora.NotHere) as caught:
                getattr(kelmora, name)(1, 2, x=3)
            self.assertIn(nearest, str(caught.exception))
            self.assertFalse(hasattr(turtle, name))
            with self.assertRaisesRegex(kelmora.NotHere, re.escape(nearest)):
                getattr(turtle, name)
        self.assertEqual(echo.packets, [])
        with self.assertRaisesRegex(AttributeError, "frobnicate"):
            turtle.frobnicate()

    def test_what_changes_nothing_says_so_once(self):
        turtle, echo = quiet_turtle()
        for name in compat.NOTED:
            self.notes.clear()
            getattr(turtle, name)(1)
            getattr(turtle, name)()
            self.assertEqual(self.notes, [compat.NOTED[name]])
        self.assertEqual(echo.packets, [])

    def test_a_step_that_is_not_made_says_so_once(self):
        """A program for Python's turtle does not look at what forward() gives."""
        answers = ["ERR @ 5 2", "ERR @ 5 0", "ERR @ 5 8"]
        turtle, _ = quiet_turtle(answers)
        for _ in answers:
            turtle.forward(5)
        self.assertEqual(len(self.notes), 1)
        self.assertRegex(self.notes[0], "a turtle is in the way.*False.*zombies")
        hooks._told.clear()
        turtle, _ = quiet_turtle(["ERR @ 5 8"])
        turtle.forward(5)
        self.assertRegex(self.notes[1], "a stone is in the way.*strict\\(\\) makes that an error\\.$")
        hooks._told.clear()
        turtle, _ = quiet_turtle(["OK @ 5 0", "ERR @ 5 2", "ERR @ 5 0"])
        turtle.penup()
        turtle.forward(5)  # nothing is missing in the picture
        self.assertEqual(len(self.notes), 2)
        turtle.goto(5, 5)
        self.assertIn("refused the jump", self.notes[2])
        hooks._told.clear()
        turtle, _ = quiet_turtle(["ERR @ 5 2"] * 8)  # a program that looks at the result needs no note
        if not turtle.forward(5):
            steps = [turtle.forward(5), turtle.back(5) or turtle.circle(5)]
            self.assertEqual((steps, turtle.goto(5, 5)), ([False, False], False))
            while turtle.shift(5, 5):
                pass
        self.assertEqual(len(self.notes), 3)

    def test_names_of_arguments_and_an_empty_text(self):
        """As programs for Python's turtle have them."""
        screen = kelmora.Screen()
        for where in (screen, kelmora):
            where.ontimer(fun=self.notes.append, t=0)
            where.colormode(cmode=1.0)
        crowd._timers.clear()
        turtle, echo = quiet_turtle(["OK @ 5 0"] * 2)
        self.assertTrue(turtle.write(""))
        self.assertTrue(turtle.write("", True, align="center"))
        self.assertEqual(echo.packets, [])

    def test_a_word_that_is_not_there_names_the_nearest(self):
        with self.assertRaisesRegex(AttributeError, "foward.*Did you mean forward"):
            kelmora.foward

    def test_aliases(self):
        for names in ("forward fd", "back bk backward", "left lt", "right rt", "goto setpos setposition", "setheading seth",
                      "penup pu up", "pendown pd down", "pensize width", "position pos", "done mainloop exitonclick"):
            first, *others = (getattr(kelmora.Turtle, name) for name in names.split())
            self.assertTrue(all(other is first for other in others), names)
            first, *others = (getattr(kelmora, name) for name in names.split())
            self.assertTrue(all(other is first for other in others), names)

    def test_functions_are_up_to_date(self):
        made = subprocess.run([sys.executable, os.path.join(LIBRARY, "tools", "make_functions.py"), "--check"],
                              capture_output=True, text=True, timeout=LIMIT)
        self.assertEqual(made.returncode, 0, made.stderr)

    def test_types_hold(self):
        made = subprocess.run(["mypy", "--config-file", os.path.join(LIBRARY, "pyproject.toml"), "--cache-dir=/dev/null",
                               os.path.join(LIBRARY, "src", "kelmora")], capture_output=True, text=True, timeout=LIMIT, cwd=LIBRARY)
        self.assertEqual(made.returncode, 0, made.stdout + made.stderr)

    def test_nothing_newer_than_python_3_9(self):
        folder = os.path.join(LIBRARY, "src", "kelmora")
        for name in sorted(os.listdir(folder)):
            if name.endswith(".py"):
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    ast.parse(file.read(), name, feature_version=(3, 9))

    def test_the_import_takes_nothing_that_a_browser_lacks(self):
        code, said = run_python("import sys, kelmora; kelmora.practice(); kelmora.forward(5)\n"
                                "print([name for name in ('socket', '_socket', 'threading', 'readline', 'tkinter', 'select', 'subprocess',"
                                " 'multiprocessing', 'ssl') if name in sys.modules])")
        self.assertEqual((code, said.strip()), (0, "[]"))

    def test_angles_in_other_units(self):
        turtle, echo = quiet_turtle()
        turtle.radians()
        turtle.left(math.pi / 2)
        turtle.degrees(400)
        turtle.right(100)
        self.assertEqual(echo.packets, ["t l 90\n", "t r 90\n"])
        echo.answers = ["180.000000 OK @ 1 0"]
        self.assertAlmostEqual(turtle.heading(), 200)

    def test_questions_in_the_terminal(self):
        turtle, echo = quiet_turtle()
        typed = io.StringIO("\nabc\n0\n99\n6\n\n")
        with unittest.mock.patch("sys.stdin", typed), redirect_stdout(io.StringIO()) as said:
            self.assertEqual(turtle.textinput("Name", "Who?"), "")
            self.assertEqual(turtle.numinput("Sides", "How many?", minval=3, maxval=12), 6)
            self.assertEqual(turtle.numinput("Sides", "How many?", 4), 4)
            self.assertIsNone(turtle.numinput("Sides", "How many?"))
            self.assertIsNone(turtle.textinput("Name", "Who?"))
        self.assertIn("at least 3", said.getvalue())
        self.assertEqual(echo.packets, [])

    def test_shapes_can_be_registered(self):
        screen = kelmora.Screen()
        screen.register_shape("dart", ((0, 10), (5, -5), (-5, -5)))
        two = kelmora.Shape("compound")
        two.addcomponent(((0, 0), (10, 0), (10, 10)), "red", "black")
        kelmora.addshape("two", two)
        self.assertTrue({"arrow", "circle", "classic", "dart", "square", "triangle", "turtle", "two"} <= set(screen.getshapes()))
        turtle, echo = quiet_turtle(["0 0 OK @ 1 0", "90 OK @ 1 0"])
        turtle.shape("two")
        self.assertIsNone(turtle.get_shapepoly())
        turtle.stamp()
        self.assertIn("k 1 0 0", echo.packets[2])
        self.assertTrue(any("k 0 0 0" in packet.split("\n") for packet in echo.packets[3:]))
        for name, shape in (("cat.gif", None), ("cat", None)):
            with self.assertRaises(kelmora.NotHere):
                screen.register_shape(name, shape)
        for bad in (3, (1, 2), ((0, 0), (1, 1)), ((0, 0), (1, 1), 5), ((0, 0), (1, 1), ("x", 2)), "abc"):
            with self.assertRaises((kelmora.BadValue, kelmora.NotANumber), msg=repr(bad)):
                screen.register_shape("bad", bad)
        with self.assertRaises(kelmora.BadValue):
            kelmora.Shape("cloud")
        with self.assertRaises(kelmora.NotHere):
            kelmora.TK.Tk()

    def test_ways_are_remembered(self):
        turtle, _ = quiet_turtle(["0 0 OK @ 1 0", "OK @ 1 0", "10 0 OK @ 1 0", "ERR @ 1 8", "10 0 OK @ 1 0"])
        turtle.begin_poly()
        turtle.forward(10)
        turtle.forward(10)
        turtle.end_poly()
        self.assertEqual(turtle.get_poly(), ((0, 0), (10, 0)))

    def test_a_program_ends_unless_it_waits(self):
        turtle, echo = quiet_turtle()
        turtle.done()
        self.assertEqual(echo.packets, [])
        beats = []
        turtle.on_coin(lambda: (beats.append("coin"), turtle.on_coin(None)))
        echo.answers = ["OK @ 1 0", "OK @ 2 32"]
        turtle.ontimer(lambda: beats.append("timer"), 1)
        turtle.done()
        self.assertEqual(sorted(beats), ["coin", "timer"])

    def test_events_that_come_while_a_callback_runs_wait(self):
        turtle, _ = quiet_turtle(["OK @ 1 1", "OK @ 2 34"])
        order = []

        def hit():
            order.append("hit begins")
            turtle.ping()
            order.append("hit ends")
        turtle.on_hit(hit)
        turtle.on_coin(lambda: order.append("coin"))
        turtle.on_turtle(lambda: order.append("turtle"))
        turtle.forward(1)
        self.assertEqual(order, ["hit begins", "hit ends", "turtle", "coin"])

    def test_two_lines_in_a_batch_are_noted(self):
        turtle, echo = quiet_turtle()
        with turtle.batch() as answers:
            turtle.forward(1)
            turtle.forward(1)
        self.assertEqual((len(self.notes), list(answers), len(echo.packets)), (1, [True, True], 1))

    def test_an_error_in_a_batch_sends_nothing(self):
        turtle, echo = quiet_turtle()
        with self.assertRaises(ZeroDivisionError):
            with turtle.batch():
                turtle.forward(1)
                1 / 0
        self.assertEqual(echo.packets, [])
        self.assertTrue(turtle.forward(1))

    def test_twenty_commands_are_one_packet(self):
        turtle, echo = quiet_turtle()
        turtle.penup()
        echo.packets.clear()
        with turtle.field.batch() as answers:
            for _ in range(20):
                turtle.forward(2)
        self.assertEqual((echo.packets, list(answers)), (["f 2\n" * 20], [True] * 20))

    def test_screen_words_and_the_first_turtle_share_a_place(self):
        made = []

        def factory():
            made.append(Echo(["OK @ 1 0", "0 0 OK @ 1 0", "0 OK @ 1 0"]))
            return made[-1]
        kelmora.use(factory)
        try:
            screen = kelmora.Screen()
            screen.title("x")
            screen.setup(600, 600)
            screen.tracer(0)
            self.assertEqual((screen.window_width(), len(made)), (512, 0))
            screen.bgcolor("white")
            first = kelmora.Turtle("turtle")
            self.assertEqual(len(made), 1)
            second = kelmora.Turtle()
            self.assertEqual(len(made), 2)
            self.assertIn(first, screen.turtles())
            screen.bye()
            self.assertTrue(first.field.closed and second.field.closed)
            with self.assertRaises(kelmora.NotHere):
                screen.onkey(print, "a")
        finally:
            kelmora.use(None)

    def test_the_field_of_the_functions(self):
        kelmora.use(lambda: Echo(["OK @ 1 0", "0 0 OK @ 1 0", "0 OK @ 1 0"]))
        try:
            with kelmora.field.batch() as answers:
                kelmora.forward(1)
                kelmora.ping()
            self.assertEqual(answers, [True, 1])
            kelmora.close()
        finally:
            kelmora.use(None)
        with self.assertRaisesRegex(AttributeError, "no word 'frobnicate'"):
            kelmora.frobnicate

    def test_the_way_home_is_blocked(self):
        echo = Echo(["OK @ 1 0", "100 0 OK @ 1 0", "0 OK @ 1 0", "OK @ 1 0", "ERR @ 1 2", "OK @ 1 0", "OK @ 1 0", "100 0 OK @ 1 0"])
        turtle = kelmora.Turtle(transport=echo)
        self.assertEqual(len(self.notes), 1)
        self.assertRegex(self.notes[0], r"something stands .*\(100, 0\)")
        self.assertEqual(echo.packets[-3:], ["p d\n", "t e\n", "q p\n"])
        turtle.close()


class Interrupted(unittest.TestCase):
    def test_answers_that_were_not_read_do_not_answer_the_next_question(self):
        turtle, echo = quiet_turtle()
        receive, told = turtle.field._next, []

        def interrupted():
            if not told:
                told.append(1)
                raise KeyboardInterrupt
            return receive()
        turtle.field._next = interrupted
        echo.answers = ["OK @ 1 1", "7.000000 8.000000 OK @ 2 0"]
        with self.assertRaises(KeyboardInterrupt):
            turtle.forward(5)
        self.assertEqual(turtle.position(), (7, 8))
        self.assertEqual(turtle.events(), ["hit"])

    def test_the_check_of_a_page_stops_before_anything_is_sent(self):
        turtle, echo = quiet_turtle()

        def stop():
            raise KeyboardInterrupt
        hooks.check = stop
        try:
            for call in (lambda: turtle.forward(1), turtle.position, lambda: turtle.pencolor("red")):
                with self.assertRaises(KeyboardInterrupt):
                    call()
        finally:
            hooks.check = None
        self.assertEqual(echo.packets, [])
        self.assertTrue(turtle.forward(1))


class Hostile(unittest.TestCase):
    """Servers that are no field: the library raises and never hangs."""

    def serve(self, behave):
        """Starts a server thread that treats its first connection so; returns its port."""
        listener = socket.create_server(("127.0.0.1", 0))
        listener.settimeout(LIMIT)
        self.addCleanup(listener.close)

        def run():
            try:
                connection, _ = listener.accept()
                with connection:
                    connection.settimeout(LIMIT)
                    behave(connection)
            except OSError:
                pass  # the client has closed
        thread = threading.Thread(target=run, daemon=True)
        thread.start()
        self.addCleanup(thread.join, LIMIT)
        return listener.getsockname()[1]

    def connect(self, behave, timeout=2):  # the start must fit in, too
        turtle = kelmora.Turtle(host="127.0.0.1", port=self.serve(behave), timeout=timeout, home=False)
        self.addCleanup(turtle.close)
        return turtle

    @staticmethod
    def greet(connection):
        connection.recv(4096)
        connection.sendall(b"OK @ 1 0\nOK @ 1 0\n")

    def test_a_drip_of_bytes_ends_with_the_time_out(self):
        def drip(connection):
            self.greet(connection)
            connection.recv(4096)
            while True:
                connection.sendall(b"1")
                time.sleep(0.05)
        turtle = self.connect(drip)
        began = time.monotonic()
        with self.assertRaises(kelmora.NoAnswer):
            turtle.position()
        self.assertLess(time.monotonic() - began, 60)

    def test_a_line_without_an_end(self):
        def flood(connection):
            self.greet(connection)
            connection.recv(4096)
            while True:
                connection.sendall(b"x" * 65536)
        with self.assertRaises(kelmora.BadAnswer):
            self.connect(flood, 30).position()

    def test_answers_without_a_question(self):
        def chatter(connection):
            self.greet(connection)
            while True:
                connection.sendall(b"nonsense\n" * 100)
        with self.assertRaises(kelmora.BadAnswer):
            turtle = self.connect(chatter, 30)
            for _ in range(100):
                turtle.forward(1)

    def test_a_flood_of_answers_without_a_question(self):
        """Each is well made, so that it could pass for the answer to whatever is asked next."""
        def flood(connection):
            self.greet(connection)
            connection.recv(4096)
            while True:
                connection.sendall(b"OK @ 10 0\n" * 1000)
        turtle = self.connect(flood, 30)
        self.assertTrue(turtle.forward(1))
        with self.assertRaises(kelmora.BadAnswer):
            turtle.forward(1)
        with self.assertRaises(kelmora.Lost):
            turtle.forward(1)

    def test_silence_from_the_start(self):
        with self.assertRaises(kelmora.NoAnswer):
            self.connect(lambda connection: connection.recv(1) and connection.recv(65536) and time.sleep(2), 0.5)

    def test_a_server_that_does_not_read(self):
        def deaf(connection):
            self.greet(connection)
            done.wait(LIMIT)
        done = threading.Event()
        turtle = self.connect(deaf)
        self.addCleanup(done.set)
        with self.assertRaises(kelmora.NoAnswer):
            with turtle.batch():
                for _ in range(400000):
                    turtle.broadcast("x" * 120)

    def test_another_kind_of_server(self):
        for greeting in (b"SSH-2.0-OpenSSH_9.2p1\r\n", b"HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n", b"\0" * 100 + b"\n",
                         b"220 mail ESMTP\r\n", "ключ\n".encode(), b"OK\n", b"OK @\n", b"OK @ 1\n", b"OK @ -1 0\n", b"OK @ 1 0 0\n",
                         b"FINE @ 1 0\n", b"OK @ 1_0 0\n", "OK @ \u00b2 0\n".encode("latin-1"), b"1 2OK @ 1 0\n", b"\n", b" @  \n"):
            with self.assertRaises(kelmora.BadAnswer, msg=greeting):
                self.connect(lambda connection: (connection.sendall(greeting), connection.recv(65536)), 30)

    def test_values_of_any_kind(self):
        turtle_words = ("position", "xcor", "heading", "score", "alive", "team", "finder", "sonar", "radar", "message", "coins",
                        "coins_near", "turtles", "clock", "card_shown", "card_position", "events", "ping")
        values = ("", "x", "1", "1 2", "nan nan", "inf 1", "1e999 0", "1 2 3", "-1", "99", "-7 0", "1.5", "0x10", "1 nan", "a b c", "  ")
        for value in values:
            for word in turtle_words:
                turtle, _ = quiet_turtle(["%s OK @ 5 0" % value])
                try:
                    getattr(turtle, word)(*([1] if word.startswith("card") else []))
                except kelmora.BadAnswer:
                    self.assertTrue(turtle.field.closed)
        for value in ("nan", "inf", "1e999", "x", ""):
            with self.assertRaises(kelmora.BadAnswer):
                quiet_turtle(["%s 1 OK @ 5 0" % value])[0].position()

    def test_noise(self):
        """Random bytes instead of answers."""
        for seed in range(40):
            noise = random.Random(seed).randbytes(300) + b"\n"

            def make_noise(connection):
                self.greet(connection)
                connection.recv(4096)
                connection.sendall(noise)
            with self.assertRaises(kelmora.KelmoraError, msg=seed):
                turtle = self.connect(make_noise, 30)
                for _ in range(10):
                    turtle.score()

    def test_lines_that_no_field_sends(self):
        for bad in (b"1" * 1000000 + b" 2 OK @ 1 0\n", b"\0" * 500 + b"\n", b"1.5\0 2.5 OK @ 10 0\n", b"\0" * 200000,
                    bytes(k for k in range(256) if k != 10) + b"\n"):
            def answer(connection):
                self.greet(connection)
                connection.recv(4096)
                connection.sendall(bad)
                connection.recv(4096)
            with self.assertRaises(kelmora.BadAnswer, msg=bad[:40]):
                self.connect(answer, 30).position()

    def test_two_answers_to_one_command(self):
        def answer(connection):
            self.greet(connection)
            connection.recv(4096)
            connection.sendall(b"OK @ 10 0\nOK @ 11 0\n")
            connection.recv(4096)
        turtle = self.connect(answer, 30)
        self.assertTrue(turtle.forward(1))
        with self.assertRaises(kelmora.BadAnswer):
            turtle.position()

    def test_a_reset_in_the_middle_of_an_answer(self):
        def answer(connection):
            self.greet(connection)
            connection.recv(4096)
            connection.sendall(b"1.5 2.")
            time.sleep(0.05)  # a reset would overtake it
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        turtle = self.connect(answer, 30)
        for call in (turtle.position, turtle.position, lambda: turtle.forward(1)):
            with self.assertRaises(kelmora.Lost):
                call()

    def test_nobody_there(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            port = listener.getsockname()[1]
        with self.assertRaisesRegex(kelmora.NoField, "127.0.0.1:%d" % port):
            kelmora.Turtle(host="127.0.0.1", port=port)
        with self.assertRaises(ConnectionError):
            kelmora.Turtle(host="127.0.0.1", port=port)
        for host in ("no.such.host.invalid", "\u00e9" * 300, "a..b"):
            with self.assertRaises(kelmora.NoField):
                kelmora.Turtle(host=host, port=port)

    def test_the_address_comes_from_the_environment(self):
        with unittest.mock.patch.dict(os.environ, {"KELMORA_HOST": "there", "KELMORA_PORT": "2345"}):
            self.assertEqual(transports.address(), ("there", 2345))
            self.assertEqual(transports.address("here", 1), ("here", 1))
        for port in ("x", "0", "65536", "-1", "22.5"):
            with unittest.mock.patch.dict(os.environ, {"KELMORA_PORT": port}):
                with self.assertRaisesRegex(kelmora.BadValue, "KELMORA_PORT"):
                    transports.address()
        with unittest.mock.patch.dict(os.environ, {"KELMORA_HOST": " ", "KELMORA_PORT": ""}):
            self.assertEqual(transports.address(), ("localhost", 2222))


class Cost(unittest.TestCase):
    def test_a_step_costs_60_microseconds_at_most(self):
        """Against a server in another process that answers at once."""
        server = subprocess.Popen(
            [sys.executable, "-c", "import socket\n"
             "listener = socket.create_server(('127.0.0.1', 0))\n"
             "print(listener.getsockname()[1], flush=True)\n"
             "connection, _ = listener.accept()\n"
             "connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)\n"
             "while True:\n"
             "    data = connection.recv(4096)\n"
             "    if not data: break\n"
             "    connection.sendall(b'OK @ 1532 0\\n' * data.count(b'\\n'))\n"], stdout=subprocess.PIPE, text=True)
        try:
            turtle = kelmora.Turtle(host="127.0.0.1", port=int(server.stdout.readline()), home=False, timeout=LIMIT)
            began = os.times()
            for _ in range(6000):
                turtle.forward(0.5)
            ended = os.times()
            turtle.close()
        finally:
            server.kill()
            server.wait()
            server.stdout.close()
        user, system = ((getattr(ended, name) - getattr(began, name)) / 6000 * 1e6 for name in ("user", "system"))
        print("measured: a forward costs %.1f us of processor time, %.1f user and %.1f system (6000 steps)"
              % (user + system, user, system))
        self.assertLessEqual(user + system, 60)


class Practice(unittest.TestCase):
    def setUp(self):
        self.note, hooks.note = hooks.note, lambda text: None
        kelmora.Screen().bye()
        self.field = kelmora.practice(seed=1)
        self.turtle = kelmora.Turtle()

    def tearDown(self):
        hooks.note = self.note
        kelmora.Screen().bye()
        kelmora.use(None)

    def test_a_square_comes_back(self):
        for _ in range(4):
            self.turtle.forward(100)
            self.turtle.left(90)
        self.assertAlmostEqual(abs(self.turtle.position()), 0)
        self.assertEqual(self.field.svg().count("<polyline"), 1)
        self.assertIn('points="256,256 356,256 356,156 256,156 256,256"', self.field.svg())

    def test_a_circle_comes_back(self):
        self.turtle.circle(50)
        self.assertLess(abs(self.turtle.position()), 1e-4)
        self.assertAlmostEqual(self.turtle.heading() % 360, 0, places=4)
        self.turtle.circle(-30, 90)
        self.assertAlmostEqual(self.turtle.xcor(), 30, places=4)
        self.assertAlmostEqual(self.turtle.ycor(), -30, places=4)
        self.turtle.circle(40, steps=3)
        with self.assertRaises(kelmora.BadValue):
            self.turtle.circle(40, steps=0)

    def test_pictures_hold_no_foreign_markup(self):
        self.turtle.name('<script>"&')
        self.turtle.write("<b>&")
        import xml.dom.minidom
        text = self.field.svg()
        xml.dom.minidom.parseString(text)
        self.assertNotIn("<script>", text)

    def test_pictures_are_saved_as_what_their_name_says(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "picture.SVG")
            self.field.save(path)
            with open(path, encoding="utf-8") as file:
                self.assertEqual(file.read(), self.field.svg())
            for name in ("picture.png", "picture", "svg", ""):
                with self.assertRaisesRegex(kelmora.BadValue, "ends in .svg"):
                    self.field.save(os.path.join(folder, name))
            self.assertEqual(os.listdir(folder), ["picture.SVG"])

    def test_a_long_line_takes_time_in_proportion(self):
        """A line of 100,000 corners, which to copy with each corner takes longer than this by far."""
        from kelmora.picture import Picture
        picture = Picture()
        began = time.process_time()
        for k in range(100000):
            picture.line(k % 500, k // 500, (k + 1) % 500, (k + 1) // 500, 1.0, (1, 0, 0), (1, 0, 0))
        text = picture.svg()
        self.assertLess(time.process_time() - began, 5)  # 0.3 on a quiet machine
        self.assertEqual((text.count("<polyline"), text.count(",")), (1, 100001))
        picture.line(100000 % 500, 200, 7, 7, 1.0, (1, 0, 0), (1, 0, 0))
        picture.line(7, 7, 8, 8, 1.0, (0, 0, 1), (0, 0, 1))
        text = picture.svg()
        self.assertEqual((text.count("<polyline"), text.count(",")), (2, 100004))

    def test_turtles_block_each_other(self):
        other = kelmora.Turtle(home=False)
        self.assertTrue(other.setheading(other.towards(self.turtle)))
        self.assertFalse(other.forward(other.distance(self.turtle)))
        self.assertEqual(other.blocked_by(), "turtle")
        self.assertEqual(other.finder(500), ("turtle", 0))
        self.assertIn("found", self.turtle.events())
        other.strict()
        with self.assertRaises(kelmora.Blocked):
            other.forward(other.distance(self.turtle))

    def test_clones_take_turns(self):
        first = self.turtle
        first.left(90)
        clones = [first]
        for _ in range(3):  # more turtles than places would be, and all at one spot
            clones += [turtle.clone() for turtle in clones]
        self.assertEqual((len(clones), len(self.field.beings)), (8, 1))
        for number, turtle in enumerate(clones):
            turtle.right(45 * number)
            turtle.color("blue" if number % 2 else "green")
        for length in (10, 20):
            for turtle in clones:
                self.assertTrue(turtle.forward(length))
        for number, turtle in enumerate(clones):
            self.assertAlmostEqual(turtle.distance(0, 0), 30, places=4)
            self.assertAlmostEqual(turtle.towards(0, 0), (270 - 45 * number) % 360, places=3)
            self.assertAlmostEqual(turtle.heading(), (90 - 45 * number) % 360, places=4)
        self.assertEqual(self.field.svg().count('stroke="#0000ff"'), 8)
        clones[3].penup()
        clones[3].home()
        clones[2].forward(1)
        self.assertAlmostEqual(abs(clones[3].position()), 0, places=4)
        self.assertFalse(clones[3].isdown())
        with clones[4].batch() as answers:
            clones[4].penup()
            clones[4].position()
            with self.assertRaises(kelmora.BadValue):
                clones[5].forward(3)
        self.assertAlmostEqual(abs(answers[1]), 30, places=4)
        clones[5].begin_fill()
        with self.assertRaises(kelmora.BadValue):
            clones[5].clone()
        first.battle()
        with self.assertRaises(kelmora.Blocked):
            clones[6].forward(1)
        first.battle(False)
        for turtle in clones[:-1]:
            turtle.close()
        self.assertTrue(clones[-1].forward(1))
        self.assertIn(clones[-1], kelmora.Screen().turtles())
        self.assertNotIn(first, kelmora.Screen().turtles())
        with self.assertRaises(kelmora.Lost):
            first.forward(1)
        clones[-1].close()
        self.assertEqual(len(self.field.beings), 1)
        self.assertTrue(self.field.beings[0].zombie)

    def test_a_world_of_other_proportions(self):
        screen = self.turtle.getscreen()
        try:
            screen.setworldcoordinates(-1, -2, 9, 3)
            turtle = self.turtle
            turtle.left(45)
            turtle.forward(2 ** 0.5)
            for got, wanted in zip(turtle.position(), (1, 1)):
                self.assertAlmostEqual(got, wanted, places=4)
            self.assertAlmostEqual(turtle.heading(), 45, places=4)
            turtle.circle(1)
            self.assertAlmostEqual(turtle.distance(1, 1), 0, places=3)
            turtle.begin_poly()
            turtle.goto(3, 2)
            turtle.end_poly()
            self.assertAlmostEqual(abs(turtle.get_poly()[1] - (3, 2)), 0, places=4)
            second = kelmora.Turtle()
            self.assertAlmostEqual(abs(second.position()), 0, places=4)
            turtle.teleport(5)
            self.assertAlmostEqual(abs(turtle.position() - (5, 2)), 0, places=4)
            turtle.clear()
            second.teleport(8, 2)
            screen.setworldcoordinates(10, 10, 0, 0)  # mirrored both ways
            turtle.goto(1, 1)
            turtle.setheading(0)
            turtle.forward(2)
            self.assertAlmostEqual(abs(turtle.position() - (3, 1)), 0, places=4)
            self.assertAlmostEqual(turtle.heading() % 360, 0, places=4)
            for paint in (lambda: turtle.dot(1), lambda: turtle.write("here")):
                turtle.clear()
                turtle.penup()
                paint()
                with self.assertRaises(kelmora.NotHere):
                    screen.setworldcoordinates(0, 0, 5, 5)
            turtle.clear()
        finally:
            screen.mode("standard")
        self.assertEqual(self.turtle.mode(), "standard")

    def test_ten_places(self):
        turtles = [kelmora.Turtle(home=False) for _ in range(9)]
        with self.assertRaises(kelmora.NotAdmitted):
            kelmora.Turtle(home=False)
        turtles[0].close()
        kelmora.Turtle(home=False)

    def test_coins_cards_teams(self):
        turtle = self.turtle
        self.assertTrue(turtle.borrow() and turtle.drop() and turtle.coins() == 9)
        self.assertEqual(turtle.coins_near(), 1)
        turtle.forward(1)
        self.assertIn("coin", turtle.events())
        self.assertTrue(turtle.pick() and turtle.coins() == 10)
        turtle.card(5, 10, 20)
        self.assertEqual((turtle.card_shown(5), turtle.card_position(5)), (True, (10, 20)))
        turtle.take_card(5)
        self.assertFalse(turtle.card_shown(5))
        mate = kelmora.Turtle(home=False)
        turtle.team(3)
        mate.team(3)
        turtle.broadcast("to the gate")
        self.assertIn("message", mate.events())
        self.assertEqual(mate.message()[1], "to the gate")
        self.assertEqual(turtle.radar()[1], 3)
        self.assertIsNone(turtle.radar(3))
        self.assertTrue(all(turtle.doughnut() for _ in range(10)))
        self.assertFalse(turtle.doughnut())

    def test_battle_to_the_end(self):
        victim = kelmora.Turtle(home=False)
        self.turtle.setheading(self.turtle.towards(victim))
        for _ in range(4):
            self.assertTrue(self.turtle.fire())
            for _ in range(400):
                self.turtle.penup()
        with self.assertRaises(kelmora.Lost):
            victim.ping()
        self.assertEqual(self.turtle.score(), 100 + 4 * 10)
        self.turtle.battle()
        self.turtle.setheading(0)
        before = self.turtle.xcor()
        self.turtle.forward(50)
        self.assertAlmostEqual(abs(self.turtle.xcor() - before), 2, delta=1.9)
        self.turtle.battle(False)

    def test_edges_are_hard_in_battle(self):
        self.turtle.battle()
        steps = 0
        while self.turtle.forward(2):
            steps += 1
            self.assertLess(steps, 1000)
        self.assertEqual(self.turtle.blocked_by(), "wall")
        self.assertLessEqual(self.turtle.xcor(), 246)

    def test_any_line_is_answered_once(self):
        chance = random.Random(7)
        letters = "fbcgjtplwkhsnuieodxyzr!.q +-0123456789.eabu"
        line = self.field.transport()
        for _ in range(3000):
            text = "".join(chance.choice(letters) for _ in range(chance.randrange(1, 20)))
            if not text.strip() or text[0] == " ":
                continue
            line.send(text + "\n")
            self.assertIsNotNone(link.parse(line.receive()), text)

    def test_a_painter_gets_what_is_painted_and_who_stands_where(self):
        told = []

        class Painter:
            def __getattr__(self, name):
                return lambda *arguments: told.append((name, arguments))
        kelmora.practice(Painter(), seed=1)
        turtle = kelmora.Turtle(name="Ann")
        turtle.forward(10)
        turtle.bgcolor("white")
        turtle.doughnut()
        turtle.forward(1)
        names = [name for name, _ in told]
        for name in ("turtle", "line", "frame", "wipe"):
            self.assertIn(name, names)
        self.assertIn(("line", (0.0, 0.0, 10.0, 0.0, 1.0, (1.0, 0.0, 0.0), (1.0, 0.0, 0.0))), told)
        poses = [arguments for name, arguments in told if name == "turtle" and arguments[5] == "Ann"]
        self.assertEqual(poses[-1][1:4], (11.0, 0.0, 0.0))
        self.assertTrue(any(arguments[5] == "doughnut" for name, arguments in told if name == "turtle"))

    def test_waiting_goes_through_the_hook(self):
        waits = []
        sleep, hooks.sleep = hooks.sleep, waits.append
        try:
            kelmora.practice(pace=0.25)
            kelmora.Turtle().forward(1)
        finally:
            hooks.sleep = sleep
        self.assertTrue(waits and set(waits) == {0.25})


class Programs(unittest.TestCase):
    def prompt(self, *lines):
        made = subprocess.run([sys.executable, "-m", "kelmora.repl", "--practice"], input="\n".join(lines) + "\n", text=True,
                              capture_output=True, timeout=LIMIT, env={**os.environ, "PYTHONPATH": os.path.join(LIBRARY, "src")})
        self.assertEqual([line for line in made.stderr.splitlines() if not line.startswith("kelmora: ")], [])
        return made.stdout.splitlines()

    def test_the_prompt(self):
        said = self.prompt("fd 50", "repeat 4 forward 20, left 90", "position", "sonar", "team 2", "team", "quit")
        self.assertEqual(said, ["50, 0", "Nothing is close by.", "2"])

    def test_the_prompt_forgives(self):
        said = self.prompt("forward", "forward far", "farward 3", "color nocolour", "repeat x forward 3", "repeat 3", "save", "help nonsense",
                           "forward 1 2 3", "", "goto 10 20", "position")
        self.assertEqual(said[-1], "10, 20")
        self.assertIn("forward needs: forward DISTANCE. For example: forward 50", said)
        self.assertTrue(any("number" in line for line in said) and any("no colour" in line for line in said))

    def test_the_prompt_explains_and_completes_each_word(self):
        prompt = repl.Prompt.__new__(repl.Prompt)
        for word, (needs, example) in repl.WORDS.items():
            with redirect_stdout(io.StringIO()) as out:
                prompt.do_help(word)
            self.assertIn(example, out.getvalue())
            self.assertGreater(len(out.getvalue().splitlines()), 2, word)
            self.assertTrue(callable(getattr(kelmora.Turtle, word)))
            self.assertIn(word + " ", prompt.completenames(word[:3]))
        self.assertEqual(prompt.completedefault("sky", "color sky"), ["skyblue"])
        self.assertIn("forward ", prompt.completedefault("forw", "repeat 4 left 90, forw"))
        self.assertIn("forward ", prompt.completedefault("forw", "help forw"))

    def test_every_example_of_the_prompt_works(self):
        said = self.prompt(*[example for _, example in repl.WORDS.values()])
        self.assertFalse([line for line in said if "needs:" in line or "no word" in line])

    def test_without_a_field(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            port = str(listener.getsockname()[1])
        for arguments in (["-m", "kelmora"], ["-m", "kelmora.repl"]):
            code, said = run_python("", *arguments, KELMORA_PORT=port)
            self.assertEqual(code, 1)
            self.assertIn("No field answers", said)
            self.assertNotIn("Traceback", said)
        code, said = run_python("", "-m", "kelmora", "doctor", KELMORA_PORT=port)
        self.assertEqual(code, 1)
        self.assertRegex(said, r"LOOK +port ")
        self.assertRegex(said, r"LOOK +page ")
        code, said = run_python("", "-m", "kelmora", "doctor", KELMORA_PORT="no")
        self.assertEqual(code, 1)
        self.assertRegex(said, r"LOOK +address .*KELMORA_PORT")
        self.assertEqual(run_python("", "-m", "kelmora", "--help")[0], 0)
        self.assertEqual(run_python("", "-m", "kelmora", "nonsense")[0], 2)


class Documents(unittest.TestCase):
    def test_every_program_of_the_readme_runs(self):
        with open(os.path.join(LIBRARY, "README.md"), encoding="utf-8") as file:
            programs = re.findall(r"^```python\n(.*?)^```$", file.read(), re.M | re.S)
        self.assertGreaterEqual(len(programs), 5)
        begin = "import kelmora\nif %r: kelmora.practice(seed=1)\n"
        with tempfile.TemporaryDirectory() as folder:
            for program in programs:
                path = os.path.join(folder, "program.py")
                with open(path, "w", encoding="utf-8") as file:
                    file.write(begin % ("practice(" not in program) + program)
                made = subprocess.run([sys.executable, "-B", path], cwd=folder, capture_output=True, text=True, timeout=LIMIT,
                                      env={**os.environ, "PYTHONPATH": os.path.join(LIBRARY, "src")})
                self.assertEqual(made.returncode, 0, program + made.stdout + made.stderr)
                for comment in re.findall(r"^print\(.*# (\[.*)$", program, re.M):
                    self.assertIn(comment, made.stdout)

    def test_the_readme_names_every_word(self):
        with open(os.path.join(LIBRARY, "README.md"), encoding="utf-8") as file:
            text = file.read()
        words = {word for word in dir(kelmora.Turtle) if not word.startswith("_") and callable(getattr(kelmora.Turtle, word))}
        left = {word for word in words - set(compat.NOTED) if "`%s`" % word not in text}
        self.assertEqual(left, {"ht", "st", "isvisible", "getscreen", "getturtle", "getpen", "window_width", "window_height", "resetscreen"})


class Packages(unittest.TestCase):
    """Wheel and Debian package, built and installed without a network (the test's namespace has none)."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="kelmora-python-")
        cls.addClassCleanup(cls.folder.cleanup)
        made = subprocess.run([os.path.join(LIBRARY, "tools", "make_packages"), cls.folder.name], capture_output=True, text=True,
                              timeout=LIMIT)
        if made.returncode:
            raise AssertionError(made.stderr)
        cls.wheel, cls.deb = made.stdout.split()

    def path(self, *names):
        return os.path.join(self.folder.name, *names)

    def run_in(self, folder, *command):
        env = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
        return subprocess.run(command, cwd=folder, env=env, capture_output=True, text=True, timeout=LIMIT, stdin=subprocess.DEVNULL)

    def test_the_wheel_is_the_same_each_time(self):
        second = self.path("second")
        subprocess.run([os.path.join(LIBRARY, "tools", "make_packages"), second], check=True, capture_output=True, timeout=LIMIT)
        with open(self.wheel, "rb") as a, open(os.path.join(second, os.path.basename(self.wheel)), "rb") as b:
            self.assertEqual(a.read(), b.read())
        with zipfile.ZipFile(self.wheel) as wheel:
            self.assertIn("kelmora/py.typed", wheel.namelist())

    def test_the_version_is_the_fields(self):
        with open(os.path.join(TOP, "CMakeLists.txt"), encoding="utf-8") as file:
            self.assertEqual(kelmora.__version__, re.search(r"project\(kelmora VERSION (\S+)", file.read())[1])

    def test_installs_into_an_empty_environment_and_guards_its_name(self):
        subprocess.run(["/usr/bin/python3", "-m", "venv", self.path("venv")], check=True, capture_output=True, timeout=LIMIT)
        python = self.path("venv", "bin", "python")
        made = self.run_in(self.folder.name, python, "-m", "pip", "install", "--no-index", "--disable-pip-version-check", self.wheel)
        self.assertEqual(made.returncode, 0, made.stdout + made.stderr)
        made = self.run_in(self.folder.name, python, "-c", "import kelmora; kelmora.practice(); kelmora.forward(5); print(kelmora.pos())")
        self.assertEqual((made.stdout, made.stderr), ("(5.00,0.00)\n", ""))
        made = self.run_in(self.folder.name, self.path("venv", "bin", "kelmora-repl"), "--help")
        self.assertEqual(made.returncode, 0, made.stderr)
        for name, text, expected in (
                ("kelmora.py", "from kelmora import *\nforward(100)\n", "file is named kelmora.py"),
                ("turtle.py", "import turtle\nturtle.forward(100)\n", "file is named turtle.py"),
                ("turtle.py", "from kelmora import *\n", "your file is named turtle.py")):
            folder = tempfile.mkdtemp(dir=self.folder.name)
            with open(os.path.join(folder, name), "w") as file:
                file.write(text)
            made = self.run_in(folder, python, name)
            self.assertIn(expected, made.stderr)
        made = self.run_in(self.beside(), python, "program.py")
        self.assertIn("a file named kelmora.py beside", made.stderr)
        made = self.run_in(self.beside(), python, "-m", "kelmora", "doctor")
        self.assertIn("a file named kelmora.py beside", made.stderr)
        made = self.run_in(self.folder.name, python, "-m", "pip", "uninstall", "-y", "kelmora")
        self.assertEqual(made.returncode, 0, made.stdout + made.stderr)
        made = self.run_in(self.folder.name, python, "-c", "print('quiet')")
        self.assertEqual((made.stdout, made.stderr), ("quiet\n", ""))

    def beside(self):
        folder = tempfile.mkdtemp(dir=self.folder.name)
        for name in ("kelmora.py", "program.py"):
            with open(os.path.join(folder, name), "w") as file:
                file.write("import kelmora\n")
        return folder

    def test_pip_builds_it_from_the_sources(self):
        """Like `pip install clients/python`: in its own build environment, without downloads."""
        subprocess.run(["/usr/bin/python3", "-m", "venv", self.path("from_sources")], check=True, capture_output=True, timeout=LIMIT)
        made = self.run_in(self.folder.name, self.path("from_sources", "bin", "python"), "-m", "pip", "install", "--no-index",
                           "--disable-pip-version-check", LIBRARY)
        self.assertEqual(made.returncode, 0, made.stdout + made.stderr)

    def test_the_debian_package(self):
        out = self.path("deb")
        subprocess.run(["dpkg-deb", "--extract", self.deb, out], check=True, capture_output=True, timeout=LIMIT)
        made = subprocess.run(["/usr/bin/python3", "-B", "-c", "import kelmora; print(kelmora.__file__)"], capture_output=True, text=True,
                              timeout=LIMIT, env={**os.environ, "PYTHONPATH": os.path.join(out, "usr/lib/python3/dist-packages")})
        self.assertTrue(made.stdout.startswith(out), made.stderr)
        self.assertTrue(os.access(os.path.join(out, "usr/bin/kelmora-repl"), os.X_OK))
        for name in ("doc/python3-kelmora/copyright", "doc/python3-kelmora/changelog.gz", "man/man1/kelmora-repl.1.gz"):
            self.assertTrue(os.path.exists(os.path.join(out, "usr/share", name)), name)

    def test_dpkg_installs_and_removes_the_debian_package(self):
        """Into a root of its own. It is not configured there: that runs programs which such a root does not have."""
        root = self.path("root")
        for folder in ("info", "updates"):
            os.makedirs(os.path.join(root, "var/lib/dpkg", folder))
        with open(os.path.join(root, "var/lib/dpkg/status"), "w"):
            pass
        dpkg = ["dpkg", "--root=" + root, "--force-not-root", "--log=/dev/null"]
        made = self.run_in(self.folder.name, *dpkg, "--unpack", self.deb)
        self.assertEqual(made.returncode, 0, made.stderr)
        listed = self.run_in(self.folder.name, *dpkg, "-L", "python3-kelmora").stdout.splitlines()
        self.assertIn("/usr/bin/kelmora-repl", listed)
        self.assertTrue(all(os.path.lexists(root + name) for name in listed))
        program = "import sys; sys.path.insert(0, %r)\n" % os.path.join(root, "usr/lib/python3/dist-packages") + (
            "import kelmora; kelmora.practice(); kelmora.forward(5); print(kelmora.pos(), kelmora.__file__)")
        made = self.run_in(self.folder.name, "/usr/bin/python3", "-B", "-I", "-c", program)
        self.assertTrue(made.stdout.startswith("(5.00,0.00) " + root), made.stdout + made.stderr)
        made = self.run_in(self.folder.name, *dpkg, "--purge", "python3-kelmora")
        self.assertEqual(made.returncode, 0, made.stderr)
        left = [os.path.join(folder, name) for folder, _, names in os.walk(root) for name in names]
        self.assertEqual([name for name in left if "/var/lib/dpkg/" not in name], [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
