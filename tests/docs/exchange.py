"""Reads the exchanges of a document and replays them on the real program.

An exchange is a fenced block of the kind `exchange`. Text after "  #" is ignored. Its lines:

    NAME> LINE      a turtle's program sends the line; without a name it is Ann's. The lines below are the answers, one
                    for each command of the line, and none for an empty line.
    browser> GET /X a browser asks for /X. The first line below is "200 TYPE" or "200 TYPE, N bytes", the further ones are
                    the body, which is broken into lines for readers only.
    browser> GET /X HTTP/1.1
                    a browser sends this line, and those of the kind below it; the answer stands there whole.
    * HAPPENING     another event, see HAPPENINGS.

What differs from run to run stands in angle brackets: <clock>, <number>, <A..B> for a number in this range, <text>.
Run inside scripts/in-namespace, as all that uses tests/wire/harness.py.
"""
import json
import os
import re
import socket
import sys
import urllib.request

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "wire"))
import harness  # noqa: E402
from harness import Client, Closed, served_connections, wait_until  # noqa: E402

harness.slow = max(harness.slow, 4)  # deadlines here only bound a hang, on a busy machine too

FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
SENT = re.compile(r"^(\w*)>(?: (.*))?$")
HOLE = re.compile(r"<(clock|number|text|-?[\d.]+\.\.-?[\d.]+)>")
NUMBER = r"-?\d+(?:\.\d+)?"


class Step:
    """One event and the lines below it."""

    def __init__(self, line, number):
        self.line, self.number = line, number  # as written; its line in the document
        self.below = []


class Exchange:
    """One block of a document."""

    def __init__(self, text, first_line):
        self.first_line = first_line
        self.steps = []
        for number, raw in enumerate(text.splitlines(), first_line):
            line = re.sub(r" {2,}# .*$", "", raw).rstrip()
            if line.startswith("* ") or SENT.match(line):
                self.steps.append(Step(line, number))
            elif line and self.steps:
                self.steps[-1].below.append(line)
            elif line:
                raise ValueError(f"line {number} answers nothing: {raw}")

    def sent(self):
        """All commands that turtles send in this block."""
        lines = [SENT.match(step.line) for step in self.steps]
        return [command.strip() for found in lines if found and found[1] != "browser"
                for command in (found[2] or "").split(";") if command.strip()]


def exchanges_of(path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    return [Exchange(found[2], text.count("\n", 0, found.start(2)) + 1)
            for found in FENCE.finditer(text) if found[1] == "exchange"]


def compare(expected, actual):
    """Raises AssertionError when they do not match; quotes only the start of long texts."""
    if not matches(expected, actual):
        raise AssertionError(f"expected {expected[:2000]}\nanswered {actual[:2000]}")


def matches(expected, actual):
    """Whether the text matches; a hole accepts what its name says."""
    pattern, ranges, at = "", [], 0
    for hole in HOLE.finditer(expected):
        pattern += re.escape(expected[at:hole.start()])
        at = hole.end()
        if hole[1] == "text":
            pattern += r"(?:.*?)"
        elif hole[1] == "clock":
            pattern += r"\d+"
        else:
            pattern += f"({NUMBER})"
            ends = hole[1].split("..")
            ranges.append((float(ends[0]), float(ends[1])) if len(ends) == 2 else (-float("inf"), float("inf")))
    found = re.fullmatch(pattern + re.escape(expected[at:]), actual, re.DOTALL)
    return bool(found) and all(low <= float(value) <= high for value, (low, high) in zip(found.groups(), ranges))


class Replay:
    """One exchange on a field of its own: `field` is running and empty."""

    def __init__(self, field, ann, add_cleanup):
        self.field, self.add_cleanup = field, add_cleanup
        self.turtles = {"Ann": ann}
        self.browser = None
        self.bodies = []  # of every body that was JSON: its address and text

    def run(self, exchange):
        """Raises AssertionError with the document's line number when the program behaves differently."""
        steps = list(exchange.steps)
        while steps:
            step = steps.pop(0)
            try:
                sent = SENT.match(step.line)
                if not sent:
                    self.happen(step.line[2:])
                elif sent[1] == "browser" and (sent[2] or "").endswith(" HTTP/1.1"):
                    request = [step]
                    while not request[-1].below and steps and steps[0].line.startswith("browser>"):
                        request.append(steps.pop(0))
                    self.ask_raw([SENT.match(each.line)[2] or "" for each in request], request[-1].below)
                elif sent[1] == "browser":
                    self.ask_web(sent[2], step.below)
                else:
                    self.ask(sent[1] or "Ann", sent[2] or "", step.below)
            except (AssertionError, Closed, OSError, EOFError) as error:
                raise AssertionError(f"line {step.number}: {step.line}\n{error}") from error

    def ask(self, name, line, expected):
        count = len([command for command in line.split(";") if command.strip()])
        if count != len(expected):
            raise AssertionError(f"{count} commands, and {len(expected)} answers below")
        turtle = self.turtles[name]
        turtle.send(line + "\n")
        for want in expected:
            compare(want, turtle.read_line())

    # Other events.

    def happen(self, text):
        for pattern, action in HAPPENINGS:
            found = re.fullmatch(pattern, text)
            if found:
                return action(self, *found.groups())
        raise AssertionError(f"nobody knows how to let this happen: {text}")

    def add(self, name, source="127.0.0.1", greet=True):
        turtle = Client(source=source, greet=greet)
        self.add_cleanup(turtle.close)
        self.turtles[name] = turtle
        return turtle

    def stand(self, name, x, y, heading):
        turtle = self.turtles.get(name) or self.add(name)
        # A newcomer's place is random and may be too close to another turtle to jump away from; the program then says
        # so.
        turtle.do(f"j {x} {y}", f"t {heading or 'e'}", ".")

    def stand_before(self, name, distance, kind):
        """Puts a stone or doughnut on the field, which lands in a random place, and the turtle beside it."""
        turtle = self.turtles[name]
        if kind == "stone":
            thing = wait_until(self.try_stone, 30, "a stone")
        else:
            turtle.do("d")
            thing = next(each for each in self.ask_list("turtle") if each["type"] == 2 and each["alive"])
        turtle.do(f"j {thing['x'] - float(distance)} {thing['y']}", "t e", ".")

    def try_stone(self):
        self.field.key("o")
        self.field.settle()
        return next((each for each in self.ask_list("turtle") if each["type"] == 3 and each["alive"]), None)

    @staticmethod
    def ask_list(kind):
        """A list of the page, which leaves the turtles' events alone."""
        with urllib.request.urlopen(f"http://127.0.0.1:{harness.VIEWER_PORT}/{kind}", timeout=harness.patience(harness.HANG)) as answer:
            return json.load(answer)

    def press(self, key):
        start = self.field.mark()
        if key == "@":
            # settle() below presses this key twice; the document's one press comes first.
            self.field.key("at")
            wait_until(lambda: any(re.match("entering p(rivate|ublic) mode", line) for line in self.field.said(start)))
            return
        self.field.key(key)
        self.field.settle()

    def ticks(self, count):
        goal = self.ask_list("turtle")[0]["time"] + int(count)
        wait_until(lambda: self.ask_list("turtle")[0]["time"] >= goal, 30, f"{count} ticks")

    def hit(self, shooter, victim, times):
        """Fires until that many shots have hit, by the victim's score."""
        for _ in range({"once": 1, "twice": 2, "three times": 3}[times]):
            before = self.listed(victim)["score"]

            def hit_or_fire():
                # A shot costs a point, so the next one waits until it is known where the last one has landed.
                if self.listed(shooter)["firing"]:
                    return False
                if self.listed(victim)["score"] != before:
                    return True
                self.turtles[shooter].do("x")
                return False
            wait_until(hit_or_fire, what="a hit")

    def listed(self, name):
        """What the page's list says of a turtle."""
        return self.ask_list("turtle")[list(self.turtles).index(name)]

    def exhaust(self, name):
        """Three hits by a turtle that then leaves, and shots at the edge until no score is left."""
        turtle = self.turtles[name]
        self.stand("Zoe", 60, 0, "w")
        self.hit("Zoe", name, "three times")
        turtle.do("j 244 0", "t e")
        wait_until(lambda: turtle.ask("x").status == "ERR", 60, "the score to be used up")
        turtle.do("j 0 0", "t e")

    def hang_up(self, name):
        before = served_connections()
        self.turtles[name].close()
        wait_until(lambda: served_connections() < before, 20, "the field to notice")

    def borrow_all(self, name):
        for _ in range(30):
            self.turtles[name].do("o b")

    def bake(self, name, count):
        """A doughnut without a free place is not counted, so a few more tries may be needed."""
        done = 0
        while done < count:
            done += self.turtles[name].ask("d").status == "OK"

    def fill(self):
        for name, count in (("Ann", 10), ("Xia", 10), ("Yul", 7)):
            if name != "Ann":
                self.add(name)
            self.bake(name, count)

    def wait_end(self, name):
        self.turtles[name].wait_closed()
        self.turtles[name].close()

    def more_programs(self):
        for k in range(9):
            self.add(f"more{k}")

    def connect(self, name, source=None):
        # A client that will be turned away must not be greeted; one that is admitted answers the document's own line.
        self.add(name, source or "127.0.0.1", greet=False)

    # browsers

    def ask_web(self, request, expected):
        method, target = request.split(" ")
        head, body = self.raw_request(f"{method} {target} HTTP/1.1\r\nConnection: close\r\n\r\n", method == "HEAD")
        kind = re.search(r"^Content-Type: (.*?)\r?$", head, re.MULTILINE)[1]
        summary = f"{head.split(' ')[1]} {kind}"
        if expected[0] != summary and expected[0] != f"{summary}, {len(body)} bytes":
            raise AssertionError(f"expected {expected[0]}\nanswered {summary}, {len(body)} bytes")
        if kind == "application/json":
            self.bodies.append((target, body.decode("latin-1")))
        if len(expected) > 1:
            want = "".join(line.lstrip() for line in expected[1:])
            compare(want, body.decode("latin-1"))

    def ask_raw(self, lines, expected):
        head, body = self.raw_request("".join(line + "\r\n" for line in lines), lines[0].startswith("HEAD"), keep=True)
        if not expected:
            if head or body:
                raise AssertionError(f"expected no answer\nanswered {head}{body}")
            return
        got = (head + "\r\n\r\n" + body.decode("latin-1")).replace("\r\n", "\n").rstrip("\n")
        # The blank line between head and body is not written in the document.
        got = got.replace("\n\n", "\n", 1)
        compare("\n".join(expected), got)

    def raw_request(self, text, head_only, keep=False):
        if self.browser is None:
            self.browser = socket.create_connection(("127.0.0.1", harness.VIEWER_PORT), timeout=harness.patience(30))
            self.add_cleanup(self.browser.close)
        sock = self.browser
        sock.sendall(text.encode("latin-1"))
        data = b""
        while b"\r\n\r\n" not in data:
            piece = sock.recv(65536)
            if not piece:
                self.browser = None
                if data:
                    raise AssertionError(f"half an answer: {data!r}")
                return "", b""
            data += piece
        head, body = data.split(b"\r\n\r\n", 1)
        length = re.search(rb"Content-Length: (\d+)", head)
        while length and not head_only and len(body) < int(length[1]):
            piece = sock.recv(65536)
            if not piece:
                raise AssertionError("half a body")
            body += piece
        if not keep:
            self.wait_browser_end()
        return head.decode("latin-1"), body

    def wait_browser_end(self):
        if self.browser is not None and self.browser.recv(1):
            raise AssertionError("more than one answer")
        self.browser = None


HAPPENINGS = [
    (r"(\w+) stands at (\S+) (\S+), facing (east|north|west|south)", Replay.stand),
    (r"(\w+) stands (\d+) west of a (stone|doughnut), facing it", Replay.stand_before),
    (r"the operator presses (\S+)", Replay.press),
    (r"(\d+) ticks pass", Replay.ticks),
    (r"(\w+) hits (\w+) (once|twice|three times)", Replay.hit),
    (r"(\w+)'s score falls to 0", Replay.exhaust),
    (r"(\w+) hangs up", Replay.hang_up),
    (r"(\w+) borrows all that the bank has", Replay.borrow_all),
    (r"(\w+) bakes nine doughnuts more", lambda replay, name: replay.bake(name, 9)),
    (r"doughnuts fill the field", Replay.fill),
    (r"(\w+) is disconnected", Replay.wait_end),
    (r"nine more programs connect", Replay.more_programs),
    (r"(\w+) connects(?: from (\S+))?", Replay.connect),
    (r"the browser is disconnected", Replay.wait_browser_end),
]
