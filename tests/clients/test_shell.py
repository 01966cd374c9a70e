"""The shell library: vectors, hostile servers, and its own features."""
import math
import os
import random
import re
import socket
import subprocess
import time
import unittest

import agents
from agents import OK

LIBRARY = os.path.join(agents.ROOT, "clients", "shell", "kelmora.sh")

# Cases of the vectors that need a form of their own in the shell.
OWN = [
    {"name": "colours in between", "steps": [
        {"call": "pencolor", "args": ["gray50"], "exchanges": [{"send": ["k 0.50196078 0.50196078 0.50196078"], "answer": [OK]}]}]},
    {"name": "a heading that is nearly a full turn", "steps": [
        {"call": "heading", "exchanges": [{"send": ["q d"], "answer": ["-0.250000 " + OK]}], "returns": 359.75}]},
    {"name": "any line", "steps": [
        {"call": "ask", "args": ["q z p 53"], "exchanges": [
            {"send": ["q z p 53"], "answer": ["0.000000 0.000000 ERR @ 10 3"]}], "returns": [0, 0, "ERR", 10, 3]},
        {"call": "ask", "args": ["f 1;f 2"], "raises": {"kind": "bad_value"}},
        {"call": "ask", "args": [""], "raises": {"kind": "bad_value"}}]},
    {"name": "words that other languages have alone", "steps": [
        {"call": word, "raises": {"kind": "not_here"}} for word in ("practice", "clone", "stamp", "undo", "done", "ontimer")]},
    {"name": "sizes that cannot be calculated with", "steps": [
        {"call": "circle", "args": args, "raises": {"kind": kind}} for args, kind in (
            ([1e6], "bad_value"), ([10, 1e5], "bad_value"), ([10, 360, 0], "bad_value"), ([10, 360, 2.5], "bad_value"),
            ([10, 360, 3, 4], "not_a_number"), ([], "not_a_number"), (["far"], "not_a_number"))] + [
        {"call": "dot", "args": ["1e9"], "raises": {"kind": "bad_value"}},
        {"call": "towards", "args": ["1e30", 0], "raises": {"kind": "bad_value"}},
        {"call": "distance", "args": [1], "raises": {"kind": "not_a_number"}}]},
    {"name": "a place that is too far to be calculated with", "steps": [
        {"call": "towards", "args": [0, 0], "exchanges": [{"send": ["q p"], "answer": ["1%s.000000 0.000000 " % ("0" * 30) + OK]}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "an area too large to be calculated with", "steps": [
        {"call": "begin_fill", "exchanges": [{"send": ["q p"], "answer": ["0.000000 0.000000 " + OK]}]},
        {"call": "forward", "args": [20000], "exchanges": [{"send": ["f 20000", "q p"], "answer": [OK, "20000.000000 0.000000 " + OK]}],
         "returns": True},
        {"call": "end_fill", "raises": {"kind": "bad_value"}},
        {"call": "filling", "returns": False}]},
    {"name": "what cannot stand in a batch", "steps": [
        {"batch": [{"call": "penup"}, {"call": word, "args": args}], "raises": {"kind": kind}} for word, args, kind in (
            ("setheading", [30], "bad_value"), ("home", [], "bad_value"), ("circle", [10], "bad_value"), ("end_fill", [], "bad_value"),
            ("begin_fill", [], "bad_value"), ("dot", [], "bad_value"), ("reset", [], "bad_value"), ("close", [], "bad_value"),
            ("batch", [], "bad_value"), ("sideways", [1], "bad_value"), ("forward", ["far"], "not_a_number"))] + [
        {"call": "isdown", "returns": True}]},
    {"name": "texts in a batch keep their blanks", "steps": [
        {"batch": [{"call": "write", "args": ["a  *"]}, {"call": "isdown"}, {"call": "penup"}, {"call": "isdown"}],
         "exchanges": [{"send": ["s 6120202a", "p u"], "answer": [OK, OK]}], "returns": [True, True, True, False]}]},
    {"name": "a batch in strict mode", "steps": [
        {"call": "strict"},
        {"batch": [{"call": "forward", "args": [1]}, {"call": "left", "args": [1]}],
         "exchanges": [{"send": ["f 1", "t l 1"], "answer": ["ERR @ 10 8", OK]}], "raises": {"kind": "blocked"}}]},
    {"name": "events of a batch", "steps": [
        {"call": "on_turtle", "args": ["$callback"]},
        {"batch": [{"call": "forward", "args": [1]}, {"call": "forward", "args": [1]}],
         "exchanges": [{"send": ["f 1", "f 1"], "answer": ["ERR @ 10 2", "OK @ 10 0"]}], "returns": [False, True], "callbacks": ["turtle"]}]},
    {"name": "garbage in a batch", "steps": [
        {"batch": [{"call": "position"}, {"call": "heading"}], "exchanges": [{"send": ["q p", "q d"], "answer": ["1 2 3 " + OK, "0 " + OK]}],
         "raises": {"kind": "bad_answer"}},
        {"call": "forward", "args": [1], "raises": {"kind": "lost"}}]},
    {"name": "an area of two corners is none", "steps": [
        {"call": "begin_fill", "exchanges": [{"send": ["q p"], "answer": ["0.000000 0.000000 " + OK]}]},
        {"call": "teleport", "args": [40, 0], "exchanges": [{"send": ["p u", "j 40 0", "p d", "q p"], "answer": [
            OK, OK, OK, "40.000000 0.000000 " + OK]}], "returns": True},
        {"call": "end_fill", "returns": True}]},
    {"name": "numbers that are none", "steps": [
        {"call": word, "args": args, "raises": {"kind": "not_a_number"}}
        for word in ["forward", "pensize"] for args in (["1e999"], ["0x10"], ["nan"], ["1;q p"], ["1 2"], [".", "-"], ["$(date)"])]},
]


def sides(points):
    return zip(points, points[1:] + points[:1])


def inside(points, x, y):
    """1 when the place is surrounded an odd number of times, else 0."""
    return sum((y1 > y) != (y2 > y) and x < x1 + (y - y1) * (x2 - x1) / (y2 - y1) for (x1, y1), (x2, y2) in sides(points)) % 2


def near_edge(points, x, y):
    """Whether rounding to hundred-thousandths may decide on which side of an edge the place is."""
    for (x1, y1), (x2, y2) in sides(points):
        dx, dy = x2 - x1, y2 - y1
        along = min(1, max(0, ((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy))) if dx or dy else 0
        if math.hypot(x1 + along * dx - x, y1 + along * dy - y) < 0.01:
            return True
    return False


class Shell(agents.Language):
    name = "shell"

    @classmethod
    def start(cls):
        return agents.Agent(["bash", os.path.join(agents.HERE, "agents", "agent.sh")], {"KELMORA_SH": LIBRARY})

    @classmethod
    def cases(cls):
        return super().cases() + OWN

    def exchange(self, requests, exchanges):
        return self.translated(super().exchange(requests, exchanges))

    def translated(self, answer):
        """A status translated to what other languages return or raise."""
        if answer.get("status", 0) < 2:
            return answer
        return {"raises": {"kind": answer["kind"], "by": answer["by"]}, "callbacks": answer["callbacks"]}

    def check(self, step, answer):
        self.batch = "batch" in step
        super().check(step, self.translated(answer))

    def returned(self, answer, wanted):
        """Whether status and output say what other languages return."""
        if self.batch:  # a line for each of its words
            lines = answer["printed"].split("\n") if wanted else []
            return answer["status"] == (1 if False in wanted or None in wanted else 0) and len(lines) == len(wanted) and all(
                agents.same_words(line, self.spelled(value)) for line, value in zip(lines, wanted))
        if isinstance(wanted, bool) or wanted is None:
            return answer["status"] == (0 if wanted is True else 1) and answer["printed"] == ""
        return answer["status"] == 0 and agents.same_words(answer["printed"].strip(), self.spelled(wanted).strip())

    def spelled(self, value):
        """A value as the library prints it."""
        if isinstance(value, list):
            return " ".join(str(int(word)) if isinstance(word, bool) else self.spelled(word) for word in value)
        return {True: "yes", False: "no", None: "no"}[value] if isinstance(value, bool) or value is None else str(value)

    def bash(self, script, **environment):
        return subprocess.run(["bash", "-c", '. "$KELMORA_SH"\n' + script], capture_output=True, text=True, timeout=300,
                              env=dict(os.environ, KELMORA_SH=LIBRARY, **environment))

    def test_a_subshell_that_found_the_end_tells_the_script(self):
        """After a time-out in $(...) a late answer must not be taken for the next word's answer."""
        self.server.drop()
        script = subprocess.Popen(
            ["bash", "-c", '. "$KELMORA_SH"; K_TIMEOUT=2; k_connect 127.0.0.1 "$PORT"; x=$(k_score); echo "$?"; '
             'k_forward 1; echo "$? $K_ERROR"'], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            env=dict(os.environ, KELMORA_SH=LIBRARY, PORT=str(self.server.port)))
        self.server.accept()
        self.server.serve({"send": [".", "p d"], "answer": [OK, OK]})
        self.server.serve({"send": ["q s"]})
        printed, told = script.communicate(timeout=300)
        self.assertEqual(printed.split("\n")[:2], ["2", "2 lost"], told)

    def lines(self, script, arguments):
        """What a script prints that reads the arguments of its command from a line each."""
        found = subprocess.run(["bash", "-c", '. "$KELMORA_SH"; while read -r -a a; do %s; done' % script], text=True, timeout=300,
                               capture_output=True, env=dict(os.environ, KELMORA_SH=LIBRARY),
                               input="".join(" ".join(map(str, words)) + "\n" for words in arguments), check=True)
        self.assertEqual(found.stderr, "")
        return found.stdout.splitlines()

    def test_arithmetic(self):
        """Sines, directions, lengths and decimal numbers against those of Python."""
        chance = random.Random(3)
        angles = [chance.randrange(-10 ** 12, 10 ** 12) for _ in range(100)] + [k * 15 * 10 ** 9 for k in range(-24, 25)]
        for angle, sine in zip(angles, self.lines('_k_sine "${a[0]}"; echo "$REPLY"', [[angle] for angle in angles]), strict=True):
            self.assertAlmostEqual(int(sine) / 1e9, math.sin(math.radians(angle / 1e9)), delta=2e-8)
        ways = [[int(chance.uniform(-1, 1) * 10 ** chance.randrange(1, 17)) for _ in range(2)] for _ in range(150)]
        ways += [[x * 10 ** 7, y * 10 ** 7] for x in (-1, 0, 1) for y in (-1, 0, 1)]
        told = self.lines('_k_direction "${a[@]}"; d=$REPLY; _k_length "${a[@]}"; echo "$d $REPLY"', ways)
        for (dx, dy), line in zip(ways, told, strict=True):
            direction, length = map(int, line.split())
            off = (direction / 1e9 - math.degrees(math.atan2(dy, dx)) + 180) % 360 - 180
            self.assertAlmostEqual(off, 0, delta=1e-6 if math.hypot(dx, dy) > 10 else 10, msg=(dx, dy))
            self.assertAlmostEqual(length, math.hypot(dx, dy), delta=1 + math.hypot(dx, dy) * 1e-8)
        numbers = ["1", "-2.5", ".5", "5.", "1e3", "1.23456789e2", "12e-3", "-0.0000004", "0.0000005", "1e-9", "123456789012", "0012.50",
                   "-00", "+7", "1E+2", "-1.5e-2", "0e99", "0.1234565"]
        for text, line in zip(numbers, self.lines('_k_fixed "${a[0]}"; n=$REPLY; _k_decimal "$n"; echo "$n $REPLY"', [[n] for n in numbers]),
                              strict=True):
            millionths, decimal = line.split()
            self.assertEqual(int(millionths), math.copysign(int(abs(float(text)) * 1e6 + 0.5), float(text)), text)
            self.assertRegex(decimal, r"^(0|-?(0\.\d*[1-9]|[1-9]\d*(\.\d*[1-9])?))$")
            self.assertAlmostEqual(float(decimal), int(millionths) / 1e6, places=9)
        self.assertEqual(self.lines('_k_fixed "${a[0]}" || echo "too large"', [["1e40"], ["1e12"], ["1e13"]]), ["too large"] * 3)

    def test_areas(self):
        """Each point of an area is in one piece, and each piece is convex and has six corners at most."""
        chance = random.Random(5)
        shapes = [[(0, 0), (100, 0), (100, 100), (50, 20), (0, 100)],
                  [(100 * math.sin(k * 4 * math.pi / 5), 100 * math.cos(k * 4 * math.pi / 5)) for k in range(5)],
                  [(90 * math.cos(k * math.pi / 30), 90 * math.sin(k * math.pi / 30)) for k in range(60)],
                  [(-100, -100), (100, -100), (100, 100), (-100, 100), (-100, -100), (-50, -50), (50, -50), (50, 50), (-50, 50), (-50, -50)],
                  [(-9999, -9999), (9999, -9999), (0, 9999)], [(0, 0), (10, 0), (20, 0)], [(5, 5)]]
        shapes += [[(chance.uniform(-100, 100), chance.uniform(-100, 100)) for _ in range(chance.randrange(3, 12))] for _ in range(15)]
        shapes += [[(chance.randrange(-5, 6) * 20, chance.randrange(-5, 6) * 20) for _ in range(chance.randrange(3, 9))] for _ in range(15)]
        corners = [[round(part * 1e5) for corner in shape for part in corner] for shape in shapes]
        told = self.lines('K_TRACE_X=() K_TRACE_Y=(); for ((i = 0; i < ${#a[@]}; i += 2)); do K_TRACE_X+=("${a[i]}") '
                          'K_TRACE_Y+=("${a[i + 1]}"); done; _k_pieces; IFS=,; echo "${K_PIECES[*]}"; unset IFS', corners)
        for shape, line in zip(shapes, told, strict=True):
            pieces = [list(zip(numbers[::2], numbers[1::2])) for numbers in
                      [[int(word) / 1e5 for word in piece.split()] for piece in line.split(",") if piece]]
            for piece in pieces:
                self.assertTrue(3 <= len(piece) <= 6, piece)
                for a, b, c in zip(piece, piece[1:] + piece[:1], piece[2:] + piece[:2]):
                    bend = (b[0] - a[0]) * (c[1] - b[1]) - (c[0] - b[0]) * (b[1] - a[1])
                    self.assertGreater(bend, -0.02 * (1 + math.dist(a, b) + math.dist(b, c)), piece)
            reach = max(abs(part) for corner in shape for part in corner) * 1.1
            for _ in range(100):
                x, y = chance.uniform(-reach, reach), chance.uniform(-reach, reach)
                if not near_edge(shape, x, y):
                    self.assertEqual(sum(inside(piece, x, y) for piece in pieces), inside(shape, x, y), (shape, x, y))
        self.assertEqual([len(re.findall("[^,]+", line)) for line in told[-32:-30]], [0, 0])

    def test_zeroes_have_no_sign(self):
        self.assertEqual(self.lines('K_VALUES=("${a[*]}"); _k_values 3; echo "$REPLY"', [["-0.000000", "-10.000000", "-0.000000"]]),
                         ["0.000000 -10.000000 0.000000"])

    def test_the_readme_names_every_word(self):
        with open(os.path.join(os.path.dirname(LIBRARY), "README.md"), encoding="utf-8") as file:
            text = file.read()
        self.assertEqual({word for word in self.agent.words() - set(agents.ALIASES) if "`k_%s" % word not in text}, set())

    def test_whatever_the_script_makes_of_ifs(self):
        """Words split and join by blanks, also while the script does otherwise."""
        self.server.drop()
        script = subprocess.Popen(
            ["bash", "-c", '. "$KELMORA_SH"; k_connect 127.0.0.1 "$PORT" || exit; IFS=:,.; k_position; k_pencolor "sky blue"; '
             "k_write a b; k_batch 'left 10' position"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            env=dict(os.environ, KELMORA_SH=LIBRARY, PORT=str(self.server.port)))
        self.server.accept()
        place = "10.500000 -2.000000 " + OK
        for lines, answers in (([".", "p d"], [OK, OK]), (["q p"], [place]), (["k 0.52941176 0.80784314 0.92156863"], [OK]),
                               (["s 612062"], [OK]), (["t l 10", "q p"], [OK, place])):
            self.server.serve({"send": lines, "answer": answers})
        printed, told = script.communicate(timeout=300)
        self.assertEqual((printed, told), ("10.500000 -2.000000\nyes\n10.500000 -2.000000\n", ""))

    def test_nobody_listens(self):
        with socket.create_server(("127.0.0.1", 0)) as other:
            port = other.getsockname()[1]
        found = self.bash('k_connect; echo "$? $K_ERROR"', KELMORA_HOST="localhost", KELMORA_PORT=str(port))
        self.assertEqual(found.stdout, "2 no_field\n")
        self.assertIn("No field answers at localhost:%d" % port, found.stderr)

    def test_a_machine_that_never_answers(self):
        """A listener with a full queue drops connections, like a machine that is switched off."""
        with socket.socket() as deaf:
            deaf.bind(("127.0.0.1", 0))
            deaf.listen(0)
            waiting = []
            for _ in range(4):
                waiting.append(socket.socket())
                waiting[-1].setblocking(False)
                waiting[-1].connect_ex(deaf.getsockname())
            began = time.monotonic()
            found = self.bash('trap "echo mine" ALRM; K_CONNECT_TIMEOUT=1; k_connect 127.0.0.1 "$PORT"; '
                              'echo "$? $K_ERROR"; trap -p ALRM', PORT=str(deaf.getsockname()[1]))
            for sock in waiting:
                sock.close()
        self.assertEqual(found.stdout, "2 no_field\ntrap -- 'echo mine' SIGALRM\n")
        self.assertLess(time.monotonic() - began, 60)

    def test_malformed_addresses(self):
        for port in ("0", "65536", "22x", "-1", "$(date)"):
            self.assertEqual(self.bash('k_connect localhost "$P"; echo "$K_ERROR"', P=port).stdout, "bad_value\n")
        self.assertEqual(self.bash('k_connect "a/b"; echo "$K_ERROR"').stdout, "bad_value\n")

    def test_before_connecting(self):
        found = self.bash('set -eu; k_forward 1 || echo "$? $K_ERROR"')
        self.assertEqual(found.stdout, "2 lost\n")
        self.assertIn("k_connect comes first", found.stderr)

    def test_no_other_program_is_needed(self):
        """With an empty PATH every word that needs no field still works."""
        found = subprocess.run(["/bin/bash", "-c", '. "$KELMORA_SH"; k_connect 127.0.0.1 1; k_colormode'], timeout=300,
                               capture_output=True, text=True, env={"PATH": "", "KELMORA_SH": LIBRARY})
        self.assertEqual(found.stdout, "1\n")
        self.assertNotIn("not found", found.stderr)


if __name__ == "__main__":
    unittest.main()
