"""The command line, the banners, the window's title, start-up in unusual environments, and the random placement of
turtles."""
import math
import os
import socket
import subprocess
import tempfile
import unittest
import urllib.request

import harness
from harness import Client, Field, needs_window, wait_until
from model import Model

HELP = ["options:", ' -js "URL1;URL2;..."']


def run(*arguments, argv0=None, env=None):
    """Runs the program to its end without a display; returns its status and its lines."""
    environment = dict(os.environ)
    environment.pop("DISPLAY", None)
    environment.update(env or {})
    done = subprocess.run([argv0 or harness.PROGRAM] + list(arguments), executable=harness.PROGRAM, env=environment,
                          capture_output=True, text=True, timeout=harness.patience(60))
    return done.returncode, done.stdout, done.stderr.split("\n")


@needs_window
class Options(unittest.TestCase):
    def assertHelp(self, result, scripts=()):
        status, out, lines = result
        self.assertEqual((status, out), (0, ""))
        self.assertRegex(lines[0], r"^Kelmora: .+$")
        self.assertRegex(lines[1], r"^starting kelmora build on [A-Z][a-z]{2} [ 123]\d \d{4}$")
        self.assertEqual(lines[2:], ["script: " + script for script in scripts] + HELP + [""])

    def test_help_is_printed_without_a_display(self):
        self.assertHelp(run("-h"))

    def test_help_is_matched_by_two_bytes(self):
        self.assertHelp(run("-hello"))
        self.assertHelp(run("-hx", "-js", "a"))

    def test_options_are_scanned_in_order_past_unknown_ones(self):
        self.assertHelp(run("-js", "a;b", "-h"), ("a", "b"))
        self.assertHelp(run("-js", "a", "-js", "c d", "-h"), ("a", "c", "d"))
        self.assertHelp(run("-jsx", "a", "-h"), ("a",))
        self.assertHelp(run("", "-", "--help", "-j", "x" * 5000, "-h"))

    def test_program_name_is_examined_like_an_option(self):
        self.assertHelp(run(argv0="-hx"))
        self.assertHelp(run("whatever", "-h", argv0="-js"), ("whatever",))


class Start(unittest.TestCase):
    @needs_window
    def test_banners_come_first(self):
        with Field() as field:
            self.assertRegex(field.said()[0], r"^Kelmora: .+$")
            self.assertRegex(field.said()[1], r"^starting kelmora build on [A-Z][a-z]{2} [ 123]\d \d{4}$")
            self.assertNotIn("options:", field.said())

    @needs_window
    def test_script_option_swallows_what_looks_like_help(self):
        for arguments, argv0 in ((["-js", "-h"], None), (["-js"], None), (["-jsfoo", "-help"], None), (["-h"], "-js")):
            with Field(arguments, argv0=argv0) as field:
                self.assertNotIn("options:", field.said())
                with Client() as turtle:
                    self.assertEqual(turtle.ask("q a").values, "1")

    @needs_window
    def test_script_option_without_a_value_leaves_the_default_scripts(self):
        with Field(["-js"]) as field:
            page = urllib.request.urlopen("http://127.0.0.1:%d/" % harness.VIEWER_PORT, timeout=harness.patience(harness.HANG))
            self.assertIn('src="http://localhost:2281/kelmora/script/kelmora.js"', page.read().decode())
            self.assertEqual([line for line in field.said() if line.startswith("script: ")], [])

    @needs_window
    def test_title_names_the_mode_and_the_host(self):
        with Field() as field:
            host = socket.gethostname()
            self.assertEqual(field.title(), "Private Kelmora @ " + host)
            field.key("at")
            wait_until(lambda: field.title() == "Public Kelmora @ " + host, 10, field.title)
            field.key("at")
            wait_until(lambda: field.title() == "Private Kelmora @ " + host, 10, field.title)

    @needs_window
    def test_second_program_warns_and_leaves_the_first_alone(self):
        with Field() as first, Client() as turtle:
            with Field(servers=False) as second:
                second.wait_line("init_socket(): cannot bind to port 2222")
                self.assertEqual(turtle.ask("q a").values, "1")
            turtle.do("f 1")
            self.assertNotIn("init_socket(): cannot bind to port 2222", first.said())

    @needs_window
    def test_missing_and_over_long_environment_is_survived(self):
        # HOME as long as one environment string may be; a capture reads both HOME and USER.
        long = "/" + "h" * 100000
        for env, without in (({}, ("HOME", "USER")), ({"HOME": long, "USER": long}, ()), ({"HOME": "", "USER": ""}, ())):
            with tempfile.TemporaryDirectory() as cwd:
                with Field(env=env, without=without, cwd=cwd) as field:
                    field.key("p")
                    field.settle()
                    with Client() as turtle:
                        turtle.wait_ticks(3)
                        captures = os.listdir(cwd)
                        self.assertEqual(len([name for name in captures if name.startswith("kelmora-capture-")]), 1, captures)

    def test_closed_standard_streams_are_taken_by_no_socket(self):
        for closed in ((0,), (1,), (2,), (0, 1, 2)):
            with self.subTest(closed=closed), Field(closed=closed) as field:
                for number in closed:
                    self.assertEqual(os.readlink("/proc/%d/fd/%d" % (field.process.pid, number)), "/dev/null")
                with Client() as turtle, Client() as other:
                    turtle.ask_all(["!", "! u"] * 5)        # each of these is logged
                    other.close()
                    with urllib.request.urlopen("http://127.0.0.1:2280/camera", timeout=harness.patience(harness.HANG)) as answer:
                        self.assertTrue(answer.read().endswith(b"}"))
                    self.assertEqual(turtle.ask("q a").values, "1")
                    self.assertEqual(turtle.pending, b"")

    @needs_window
    def test_quit_key_ends_with_status_zero(self):
        with Field() as field, Client() as turtle:
            turtle.do("p d", "f 10")
            field.key("Q", last=True)
            self.assertEqual(field.wait_exit(), 0)


class Placement(unittest.TestCase):
    """The random stream is the C library's, seeded with the second of the start, and drawn from in a fixed order."""

    def play(self, field):
        """The events on the field as a list of names and numbers; the model computes the same list."""
        seen = []
        clients = []
        try:
            def arrive():
                clients.append(Client())
                seen.append(("turtle",) + clients[-1].position() + tuple(clients[-1].numbers("q d")))
            for _ in range(3):
                arrive()
            clients[0].do("o x")
            arrive()
            clients[1].do("d")
            arrive()
            field.key("o")
            field.settle()
            arrive()
            angle = clients[0].numbers("q r 2")[0]
            seen.append(("radar", angle))
            arrive()
            clients[0].ask("c")                             # resets without drawing a number
            field.key("M")                                  # disconnects all, builds a maze
            field.wait_line("entering maze mode...")
            wait_until(lambda: harness.served_connections() == 0, 10, "all clients to be dropped")
            for _ in range(4):
                try:
                    arrive()
                except harness.Closed:
                    seen.append(("turtle", None))
            field.key("M")
            field.wait_line("exited from maze mode...")
            wait_until(lambda: harness.served_connections() == 0, 10, "all clients to be dropped")
            arrive()
        finally:
            for client in clients:
                client.close()
        return seen

    def recompute(self, second):
        model = Model(second)
        seen = []

        def arrive():
            seen.append(("turtle",) + model.generate())
        for _ in range(3):
            arrive()
        model.scatter_coin()
        arrive()
        model.generate(free=True)
        arrive()
        model.scatter_stone()
        arrive()
        seen.append(("radar", model.radar(0, 1)))
        arrive()
        model.kill_all()
        model.maze()
        for _ in range(4):
            arrive()
        model.kill_all()
        model.clear_walls()
        arrive()
        return seen

    def assertAsPredicted(self, seen, seconds):
        nearest = None
        for second in seconds:
            predicted = self.recompute(second)
            if all(same(a, b) for a, b in zip(seen, predicted)) and len(seen) == len(predicted):
                return
            if nearest is None or same(seen[0], predicted[0]):
                nearest = predicted
        self.fail("no start second predicts this:\n%s\n%s" % (seen, nearest))

    @unittest.skipIf(harness.WINDOW, "the window has no options for it")
    def test_every_place_follows_from_the_seed_that_is_given(self):
        # Without an operator's keys there are two games: one with a stone that lay there first, one in a maze.
        for seed in (0, 5, 1_700_000_000, (1 << 32) - 1):
            with self.subTest(seed=seed):
                model = Model(seed)
                model.scatter_stone()
                expected = [("turtle",) + model.generate() for _ in range(3)]
                model.scatter_coin()
                expected.append(("turtle",) + model.generate())
                model.generate(free=True)
                expected.append(("turtle",) + model.generate())
                # The first of the bodies is the stone.
                expected.append(("radar", model.radar(1, 1)))
                model.kill_all()
                with Field(["-s", str(seed), "--stones", "1"]) as field:
                    seen = self.visit(field, 3)
                self.assertSame(seen, expected)
                model = Model(seed)
                model.maze()
                expected = [("turtle",) + model.generate() for _ in range(4)]
                with Field(["-s", str(seed), "-m", "maze"]) as field:
                    self.assertSame(self.visit(field, 4, more=False), expected)

    def visit(self, field, count, more=True):
        """Where newcomers stand; with more, what they draw out of the same random stream meanwhile."""
        seen, clients = [], []

        def arrive():
            try:
                client = Client()
            except harness.Closed:
                seen.append(("turtle", None))
                return
            clients.append(client)
            self.addCleanup(client.close)
            seen.append(("turtle",) + client.position() + tuple(client.numbers("q d")))
        for _ in range(count):
            arrive()
        if more:
            clients[0].do("o x")
            arrive()
            clients[1].do("d")
            arrive()
            seen.append(("radar", clients[0].numbers("q r 2")[0]))
        return seen

    def assertSame(self, seen, expected):
        self.assertEqual(len(seen), len(expected))
        for one, other in zip(seen, expected):
            self.assertTrue(same(one, other), (seen, expected))

    @needs_window
    def test_every_place_follows_from_the_second_of_the_start(self):
        with Field() as field:
            seen = self.play(field)
            self.assertAsPredicted(seen, range(field.earliest_second, field.latest_second + 1))

    @needs_window
    @unittest.skipIf(harness.PROGRAM and harness.instrumented(), "a sanitizer wants to be the first library loaded")
    def test_start_in_a_chosen_second_gives_the_same_field_again(self):
        second = 1_700_000_000
        for _ in range(2):
            with Field(start_second=second) as field:
                seen = self.play(field)
                # The clock moves on while the program is loaded.
                self.assertAsPredicted(seen, range(second, second + 2 + field.latest_second - field.earliest_second))


def same(a, b):
    """Equal up to the six decimals of a reply."""
    if a[0] != b[0] or len(a) != len(b):
        return False
    return all(x == y or (x is not None and y is not None and math.isclose(x, y, abs_tol=1.1e-6))
               for x, y in zip(a[1:], b[1:]))


if __name__ == "__main__":
    harness.main()
