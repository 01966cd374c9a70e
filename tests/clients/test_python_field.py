"""The Python library on the real field: drawing, blocking, admission, and how programs end."""
import math
import os
import socket
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(os.path.dirname(HERE))
SOURCE = os.path.join(TOP, "clients", "python", "src")
sys.path[:0] = [SOURCE, os.path.join(TOP, "tests", "wire")]

import kelmora  # noqa: E402
from harness import FieldTest, main, pixel, served_connections, wait_until  # noqa: E402
from kelmora import hooks  # noqa: E402
from kelmora.transport import SocketTransport  # noqa: E402

LIMIT = 600
WHITE, BLACK, RED, BLUE, YELLOW = (255, 255, 255), (0, 0, 0), (255, 0, 0), (0, 0, 255), (255, 255, 0)
hooks.note = lambda text: None


class LibraryTest(FieldTest):
    """One field; each test starts on a white field with its own turtle in the middle."""

    def clean(self):
        """An empty field in drawing mode, nothing painted."""
        self.field.key("K")
        self.field.settle()
        wait_until(lambda: served_connections() == 0, 20, "all clients to be dropped")

    def turtle(self, **options):
        made = kelmora.Turtle(timeout=LIMIT, **options)
        self.addCleanup(made.close)
        return made

    def alone(self):
        self.clean()
        turtle = self.turtle()
        turtle.battle(False)
        turtle.bgcolor("white")
        return turtle

    def picture(self, *turtles):
        """The painting, with the turtles moved away."""
        for turtle in turtles:
            turtle.penup()
            turtle.goto(1000, 1000)
        return self.field.captured()

    def color_at(self, picture, x, y):
        column, row = pixel(x, y)
        return tuple(picture[row][column])


class Drawing(LibraryTest):
    def test_starts_in_the_middle_with_the_pen_down(self):
        turtle = self.alone()
        self.assertEqual((turtle.position(), turtle.heading(), turtle.isdown()), ((0, 0), 0, True))

    def test_a_square_is_whole(self):
        turtle = self.alone()
        for _ in range(4):
            for _ in range(10):
                self.assertTrue(turtle.forward(10))
            turtle.left(90)
        self.assertLess(abs(turtle.position()), 1e-3)
        picture = self.picture(turtle)
        for k in range(101):
            for x, y in ((k, 0), (100, k), (k, 100), (0, k)):
                near = [self.color_at(picture, x + dx, y + dy) for dx in (-1, 0) for dy in (-1, 0)]
                self.assertIn(RED, near, (x, y))

    def test_a_line_has_one_colour(self):
        turtle = self.alone()
        turtle.pensize(3)
        turtle.forward(50)
        turtle.pencolor("blue")
        turtle.forward(50)
        picture = self.picture(turtle)
        self.assertEqual({self.color_at(picture, x, 0) for x in range(2, 48)}, {RED})
        self.assertEqual({self.color_at(picture, x, 0) for x in range(52, 98)}, {BLUE})

    def test_a_filled_star_and_a_hole(self):
        turtle = self.alone()
        turtle.color("blue", "yellow")
        turtle.begin_fill()
        for _ in range(5):
            turtle.forward(150)
            turtle.right(144)
        self.assertTrue(turtle.end_fill())
        self.assertLess(abs(turtle.position()), 1e-3)
        turtle.teleport(-200, 0)
        turtle.begin_fill()
        for side in (80, 40):
            for _ in range(4):
                turtle.forward(side)
                turtle.left(90)
            turtle.teleport(turtle.xcor() + 20, 20)
            turtle.goto(turtle.position())
        turtle.end_fill()
        picture = self.picture(turtle)
        self.assertEqual(self.color_at(picture, 20, -6), YELLOW)       # a point of the star
        self.assertEqual(self.color_at(picture, 75, -25), WHITE)       # its middle, surrounded twice
        self.assertEqual(self.color_at(picture, 20, 30), WHITE)        # outside
        self.assertIn(BLUE, [self.color_at(picture, 60, y) for y in (-1, 0)])  # its edge is on top

    def test_a_disc_is_round_and_filled(self):
        turtle = self.alone()
        self.assertTrue(turtle.dot(60, "blue"))
        self.assertTrue(turtle.isdown())
        picture = self.picture(turtle)
        for angle in range(0, 360, 15):
            x, y = math.cos(math.radians(angle)), math.sin(math.radians(angle))
            self.assertEqual(self.color_at(picture, round(27 * x), round(27 * y)), BLUE)
            self.assertEqual(self.color_at(picture, round(32 * x), round(32 * y)), WHITE)

    def test_a_brush_stroke_is_finished_before_its_colour_changes(self):
        turtle = self.alone()
        turtle.teleport(-150, 0)
        turtle.pensize(6)
        turtle.pencolor("blue")
        turtle.brush()
        for _ in range(10):
            turtle.forward(10)
        turtle.pencolor("red")
        for _ in range(10):
            turtle.forward(10)
        turtle.lines()
        picture = self.picture(turtle)
        seen = [{tuple(picture[row][column]) for row in range(246, 266)} for column in (pixel(-120, 0)[0], pixel(20, 0)[0])]
        self.assertTrue(any(blue > 150 and red < 100 for red, _, blue in seen[0]), seen[0])
        self.assertFalse(any(red > 150 and blue < 100 for red, _, blue in seen[0]), seen[0])
        self.assertTrue(any(red > 150 and blue < 100 for red, _, blue in seen[1]), seen[1])
        self.assertFalse(any(blue > 150 and red < 100 for red, _, blue in seen[1]), seen[1])

    def test_a_very_long_line_goes_where_a_short_one_would(self):
        pictures = []
        for length in (400, 1e9):
            turtle = self.alone()
            turtle.teleport(-100, -50)
            turtle.setheading(17)
            self.assertTrue(turtle.forward(length))
            pictures.append(self.picture(turtle))
        self.assertTrue((pictures[0] == pictures[1]).all())
        self.assertGreater((pictures[0] != 255).any(axis=2).sum(), 200)

    def test_texts_stand_where_they_are_told_to(self):
        for align, low, high in (("left", 0, 80), ("center", -40, 40), ("right", -80, 0)):
            turtle = self.alone()
            turtle.pencolor("black")
            self.assertTrue(turtle.write("Kelmora", align=align))
            self.assertLess(abs(turtle.position()), 1e-3)
            picture = self.picture(turtle)
            columns = (picture[:, :, 0] < 128).any(axis=0).nonzero()[0] - 256
            self.assertTrue(low - 4 <= columns[0] and columns[-1] <= high + 4, (align, columns[0], columns[-1]))

    def test_a_hello(self):
        self.clean()
        made = subprocess.run([sys.executable, "-B", "-m", "kelmora"], env={**os.environ, "PYTHONPATH": SOURCE}, text=True,
                              capture_output=True, timeout=LIMIT)
        self.assertEqual((made.returncode, made.stderr), (0, ""))
        self.assertIn("There is a field at localhost:2222", made.stdout)
        self.assertGreater((self.field.captured()[:, :, 2] == 0).sum(), 100)


class Answers(LibraryTest):
    def test_every_question(self):
        turtle = self.alone()
        self.assertEqual((turtle.score(), turtle.alive(), turtle.team(), turtle.coins(), turtle.turtles()), (100, True, 0, 0, 1))
        self.assertTrue(turtle.team(2))
        self.assertEqual(turtle.team(), 2)
        self.assertTrue(turtle.borrow() and turtle.drop())
        self.assertEqual((turtle.coins(), turtle.coins_near()), (9, 1))
        self.assertIn("coin", turtle.events())
        self.assertTrue(turtle.card(7, 100, 100) and turtle.card_shown(7))
        self.assertEqual(turtle.card_position(7), (100, 100))
        self.assertTrue(turtle.take_card(7) and not turtle.card_shown(7) and turtle.clear_cards())
        self.assertEqual(turtle.message(), (0, ""))
        self.assertTrue(turtle.broadcast("hello, team"))
        self.assertEqual(turtle.message()[1], "hello, team")
        self.assertEqual(turtle.finder(), ("nothing", 0))
        self.assertEqual(turtle.sonar(), (False, False, False))
        self.assertIsNone(turtle.radar())
        self.assertLessEqual(turtle.clock(), turtle.ping())
        self.assertTrue(turtle.name("Ann \u00e9") and turtle.mute("seen") and turtle.unmute("seen"))
        self.assertAlmostEqual(turtle.distance(30, 40), 50)
        self.assertAlmostEqual(turtle.towards(0, -5), 270)
        self.assertTrue(turtle.doughnut() and turtle.robot() and turtle.throw_coin())
        self.assertEqual(turtle.turtles(), 3)

    def test_a_turtle_in_the_way(self):
        turtle = self.alone()
        turtle.teleport(-100, 0)
        other = self.turtle(home=False)
        self.assertTrue(other.teleport(0, 0) and other.setheading(0))  # a walk could meet the first one
        self.assertTrue(turtle.forward(60))
        noticed = []
        turtle.on_turtle(lambda: noticed.append(turtle.xcor()))
        steps = 0
        while steps < 20 and turtle.forward(2):
            steps += 1
        self.assertEqual((steps, turtle.blocked_by(), noticed), (9, "turtle", [-22]))  # a step that ends in touch is blocked
        turtle.strict()
        with self.assertRaises(kelmora.Blocked) as caught:
            turtle.forward(2)
        self.assertEqual(caught.exception.by, "turtle")
        with self.assertRaises(kelmora.Blocked) as caught:
            other.strict() or other.left(180) and other.forward(5)
        self.assertEqual(turtle.finder(50)[0], "turtle")
        self.assertIn("found", other.events())

    def test_the_middle_is_taken(self):
        first = self.alone()
        noted = []
        note, hooks.note = hooks.note, noted.append
        try:
            second = self.turtle()
        finally:
            hooks.note = note
        self.assertGreaterEqual(second.distance(first), 20)
        self.assertEqual((second.heading(), second.isdown(), len(noted)), (0, True, 1))

    def test_headings_hold_in_battle_too(self):
        turtle = self.alone()
        for angle in (0, 90, 180, 270, 33, -45, 359.5, 720):
            turtle.setheading(angle)
            self.assertAlmostEqual(turtle.heading(), angle % 360, places=4)
        turtle.teleport(100, 0)
        turtle.battle()
        self.addCleanup(turtle.battle, False)
        turtle.setheading(90)
        self.assertAlmostEqual(turtle.heading(), 3, places=4)
        self.assertFalse(turtle.home())
        self.assertFalse(turtle.goto(0, 0))

    def test_a_batch_is_one_packet(self):
        turtle = self.alone()
        turtle.penup()
        spans = []
        for _ in range(10):
            with turtle.field.batch() as answers:
                for _ in range(2):
                    for _ in range(9):
                        turtle.forward(1)
                    turtle.clock()
            self.assertEqual(len(answers), 20)
            spans.append(answers[19] - answers[9])
        # The clock may tick while a packet is carried out, but not in each of ten; two packets are always a frame apart.
        self.assertEqual(min(spans), 0, spans)
        self.assertAlmostEqual(turtle.xcor(), 180, places=4)


class Admission(LibraryTest):
    def test_ten_places_and_private_mode(self):
        self.clean()
        turtles = [self.turtle(home=False) for _ in range(10)]
        with self.assertRaisesRegex(kelmora.NotAdmitted, "ten places"):
            self.turtle(home=False)
        turtles[0].close()
        wait_until(lambda: served_connections() == 9, 20, "a place")
        with self.assertRaisesRegex(kelmora.NotAdmitted, "private"):
            self.turtle(transport=SocketTransport("127.0.0.1", 2222, LIMIT, source="127.0.0.2"), home=False)
        self.turtle(home=False)

    def test_the_operator_removes_all(self):
        turtle = self.alone()
        self.field.key("K")
        with self.assertRaises(kelmora.Lost) as caught:
            while True:
                turtle.forward(0.1)
        self.assertIs(type(caught.exception), kelmora.Lost)
        with self.assertRaises(kelmora.Lost):
            turtle.forward(1)

    def test_a_turtle_dies(self):
        victim = self.alone()
        shooter = self.turtle(home=False)
        shooter.penup()
        shooter.teleport(-60, 0)
        shooter.setheading(0)
        hits = []
        victim.on_hit(lambda: hits.append(victim.score()))
        with self.assertRaises(kelmora.Died):
            while True:
                known = len(hits)

                def hit_after_firing():
                    shooter.fire()                          # nothing while the last beam or its explosion is there
                    victim.ping()
                    return len(hits) > known
                wait_until(hit_after_firing, what="a hit")
        # Half a second after the fourth hit the turtle is gone: it may not learn of that one.
        self.assertEqual(hits[:3], [70, 40, 10])
        self.assertIn(hits[3:], ([0], []))

    def test_the_doctor(self):
        self.clean()
        made = self.doctor()
        self.assertRegex(made.stdout, r"ok +mode +private")
        for what in ("files", "address", "port", "places", "clock", "page"):
            self.assertRegex(made.stdout, r"ok +%s " % what)
        self.field.key("at")
        try:
            self.field.wait_line("entering public mode...", seconds=20)
            self.assertRegex(self.doctor().stdout, r"ok +mode +public")
        finally:
            self.field.key("at")
        self.clean()
        turtles = [self.turtle(home=False) for _ in range(10)]
        made = self.doctor()
        self.assertRegex(made.stdout, r"LOOK +places .*ten places")
        self.assertEqual((made.returncode, len(turtles)), (1, 10))

    def doctor(self):
        return subprocess.run([sys.executable, "-B", "-m", "kelmora", "doctor"], env={**os.environ, "PYTHONPATH": SOURCE}, text=True,
                              capture_output=True, timeout=LIMIT)


class Cost(LibraryTest):
    def test_a_step(self):
        """Processor time of a step, compared with that of a bare exchange on a socket, which grows with load as
        well."""
        turtle = self.alone()
        with socket.create_connection(("127.0.0.1", 2222)) as bare:
            bare.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

            def exchange():
                bare.send(b"t l 1\n")
                bare.recv(4096)
            costs = {exchange: [], turtle.left: []}
            for _ in range(300):
                for call, arguments in ((exchange, ()), (turtle.left, (1,))):
                    began = time.process_time_ns()
                    call(*arguments)
                    costs[call].append((time.process_time_ns() - began) / 1000)
        library, plain = statistics.median(costs[turtle.left]), statistics.median(costs[exchange])
        print("measured: on the field a step costs %.0f us of processor time, a bare exchange %.0f us" % (library, plain))
        self.assertLessEqual(library, max(60, 2.5 * plain))

    def test_ten_programs_keep_up_with_the_window(self):
        """Ten Python programs, each a process: steps per frame. Prints what a free machine reaches."""
        self.clean()
        program = ("import sys, kelmora\n"
                   "turtle = kelmora.Turtle(home=False, timeout=%d)\n"
                   "turtle.penup()\n"
                   "print('here', flush=True)\n"
                   "sys.stdin.readline()\n"
                   "first = turtle.ping()\n"
                   "for _ in range(300): turtle.left(1)\n"
                   "print(turtle.ping() - first, flush=True)\n" % LIMIT)
        made = [subprocess.Popen([sys.executable, "-B", "-c", program], env={**os.environ, "PYTHONPATH": SOURCE}, text=True,
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE) for _ in range(10)]
        try:
            for process in made:
                self.assertEqual(process.stdout.readline(), "here\n")
            for process in made:
                process.stdin.write("go\n")
                process.stdin.flush()
            ticks = [int(process.stdout.readline()) for process in made]
        finally:
            for process in made:
                process.kill()
                process.wait()
                process.stdin.close()
                process.stdout.close()
        print("measured: ten programs, 300 steps each: %.2f ticks of the field's clock a step" % (statistics.mean(ticks) / 300))
        self.assertTrue(all(count >= 290 for count in ticks), ticks)  # at most one step per frame


del LibraryTest, FieldTest
if __name__ == "__main__":
    main()
