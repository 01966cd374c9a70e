"""Vectors of clients/vectors.json and hostile servers, for the libraries in languages other than Python.

Each language has an agent, a small program in that language that calls the library's words on request. This side plays
the field: it reads what the library sends, answers as the vectors say, and compares what the agent reports.

To the agent, one line each, its parts separated by tabs: `connect PORT MILLISECONDS`, `call WORD ARGUMENT...` or
`batch N` with N lines `call` after it. An argument is a letter and a text: n number, b 0 or 1, s text in hexadecimal
digits, l list of numbers, c callback and the name it records, z nothing. From the agent, one line of JSON each:
`{"returns": ..., "callbacks": [...]}` or `{"raises": {"kind": ..., "by": ...}, "callbacks": [...]}`.

Everything waits with a deadline, listens on loopback only, and is ended by its process id.
"""
import json
import os
import re
import select
import socket
import struct
import subprocess
import sys
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
PATIENCE = int(os.environ.get("KELMORA_PATIENCE", "180"))        # seconds; only bounds a hang
SHORT = 2000        # milliseconds that a library waits for a server that is silent; the start must fit in, too
LONG = 60000

with open(os.path.join(ROOT, "clients", "vectors.json"), encoding="utf-8") as vectors:
    VECTORS = json.load(vectors)

ALIASES = {"fd": "forward", "bk": "back", "backward": "back", "lt": "left", "rt": "right", "setpos": "goto",
           "setposition": "goto", "seth": "setheading", "pu": "penup", "up": "penup", "pd": "pendown", "down": "pendown",
           "width": "pensize", "pos": "position", "bye": "close"}

OK = "OK @ 10 0"

# Vectors that each library tests by itself: servers that drip, flood or never close.
HOSTILE = [
    {"name": "bytes that drip in do not stretch the time-out", "slow": True, "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "drip": "O"}], "raises": {"kind": "no_answer"}}]},
    {"name": "a flood without a line", "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "raw": "A" * 200000}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "a line that is too long", "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "raw": "A" * 1100 + " OK @ 1 0\n"}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "a line of a megabyte", "steps": [
        {"call": "position", "exchanges": [{"send": ["q p"], "raw": "1" * 1000000 + " 2 OK @ 1 0\n"}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "zero bytes", "steps": [
        {"call": "position", "exchanges": [{"send": ["q p"], "bytes": b"\0" * 500 + b"\n"}], "raises": {"kind": "bad_answer"}}]},
    {"name": "a zero byte among the values", "in": ["cpp", "js"], "steps": [  # bash leaves such bytes out
        {"call": "position", "exchanges": [{"send": ["q p"], "bytes": b"1.5\0 2.5 OK @ 10 0\n"}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "zero bytes without end", "in": ["cpp", "js"], "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "bytes": b"\0" * 200000}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "zero bytes without end, in bash", "in": ["shell"], "slow": True, "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "bytes": b"\0" * 200000}],
         "raises": {"kind": "no_answer"}}]},
    {"name": "two answers to one command", "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "raw": "OK @ 10 0\nOK @ 11 0\n"}], "returns": True},
        {"call": "position", "raises": {"kind": "bad_answer"}},
        {"call": "position", "raises": {"kind": "lost"}}]},
    {"name": "answers that nobody asked for", "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "raw": "OK @ 10 0\n" * 20000}], "returns": True},
        {"call": "forward", "args": [1], "raises": {"kind": "bad_answer"}},
        {"call": "forward", "args": [1], "raises": {"kind": "lost"}}]},
    {"name": "half an answer that nobody asked for", "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "raw": "OK @ 10 0\nOK @"}], "returns": True},
        {"call": "position", "raises": {"kind": "bad_answer"}}]},
    {"name": "a reset in the middle of an answer", "steps": [
        {"call": "position", "exchanges": [{"send": ["q p"], "raw": "1.5 2.", "then": "reset"}], "raises": {"kind": "lost"}},
        {"call": "forward", "args": [1], "raises": {"kind": "lost"}}]},
    {"name": "the longest line", "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "raw": "A" * 1000 + " OK @ 1 0\n"}],
         "returns": True}]},
    {"name": "bytes of all kinds", "steps": [
        {"call": "position", "exchanges": [{"send": ["q p"], "bytes": bytes(k for k in range(256) if k != 10) + b"\n"}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "an answer in single bytes", "steps": [
        {"call": "position", "exchanges": [{"send": ["q p"], "crumbs": "1.500000 -2.000000 OK @ 10 0\n"}],
         "returns": [1.5, -2]}]},
    {"name": "a clock without end", "steps": [
        {"call": "forward", "args": [1], "exchanges": [{"send": ["f 1"], "answer": ["OK @ %s 0" % ("9" * 40)]}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "a place that is no number", "steps": [
        {"call": "position", "exchanges": [{"send": ["q p"], "answer": ["nan inf " + OK]}],
         "raises": {"kind": "bad_answer"}}]},
    {"name": "a thing that the finder does not know", "steps": [
        {"call": "finder", "exchanges": [{"send": ["q f"], "answer": ["9 0 " + OK]}], "raises": {"kind": "bad_answer"}}]},
    {"name": "silence at the start", "slow": True, "hello": [{"send": [".", "p d"], "then": "silence"}], "steps": [
        {"call": "connect", "raises": {"kind": "no_answer"}}]},
    {"name": "another server than a field", "hello": [{"send": [".", "p d"], "raw": "220 ready\r\n"}], "steps": [
        {"call": "connect", "raises": {"kind": "bad_answer"}}]},
    {"name": "only the first of two answers", "hello": [{"send": [".", "p d"], "answer": [OK], "then": "close"}],
     "steps": [{"call": "connect", "raises": {"kind": "lost"}}]},
]

ALIAS_CASES = [
    {"name": "alias " + alias, "steps": [
        {"call": alias, "args": args, "exchanges": [{"send": [line], "answer": [answer]}]}]}
    for alias, args, line, answer in [
        ("fd", [5], "f 5", OK), ("bk", [5], "b 5", OK), ("backward", [5], "b 5", OK), ("lt", [5], "t l 5", OK),
        ("rt", [5], "t r 5", OK), ("setpos", [1, 2], "j 1 2", OK), ("setposition", [1, 2], "j 1 2", OK),
        ("seth", [90], "t n", OK), ("pu", [], "p u", OK), ("up", [], "p u", OK), ("pd", [], "p d", OK),
        ("down", [], "p d", OK), ("width", [3], "w 3", OK), ("pos", [], "q p", "1.000000 2.000000 " + OK)]
] + [{"name": "alias bye", "steps": [{"call": "bye"}, {"call": "forward", "args": [1], "raises": {"kind": "lost"}}]}]


def same_words(line, wanted):
    """Whether two lines are the same: word by word, numbers by value, hexadecimal digits in either case."""
    words, others = line.split(" "), wanted.split(" ")
    return len(words) == len(others) and all(map(same_word, words, others))


def same_word(word, other):
    if word == other or (re.fullmatch("[0-9a-fA-F]{2,}", word) and word.lower() == other.lower()):
        return True
    try:
        return close(float(word), float(other))
    except ValueError:
        return False


def close(a, b):
    return abs(a - b) <= 1e-6 * max(1.0, abs(a), abs(b))


def same_value(value, wanted):
    if isinstance(wanted, bool) or wanted is None or isinstance(wanted, str):
        return type(value) is type(wanted) and value == wanted
    if isinstance(wanted, (int, float)):
        return isinstance(value, (int, float)) and not isinstance(value, bool) and close(value, wanted)
    return isinstance(value, list) and len(value) == len(wanted) and all(map(same_value, value, wanted))


def encode(argument):
    """An argument of a vector as the agent reads it."""
    if argument is None:
        return "z"
    if isinstance(argument, bool):
        return "b%d" % argument
    if isinstance(argument, (int, float)):
        return "n%r" % argument
    if isinstance(argument, list):
        return "l" + ",".join(map(str, argument))
    return "s" + argument.encode().hex()


def call_line(step):
    word = step["call"]
    arguments = ["c" + word[3:] if argument == "$callback" else encode(argument) for argument in step.get("args", [])]
    return "\t".join(["call", word, *arguments])


class Server:
    """The scripted field: one connection at a time."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.listener.settimeout(PATIENCE)
        self.port = self.listener.getsockname()[1]
        self.sock = None
        self.pending = b""

    def accept(self):
        self.drop()
        self.sock = self.listener.accept()[0]
        self.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.sock.settimeout(PATIENCE)
        self.pending = b""

    def drop(self):
        if self.sock:
            self.sock.close()
        self.sock = None

    def close(self):
        self.drop()
        self.listener.close()

    def read_lines(self, count):
        while self.pending.count(b"\n") < count:
            piece = self.sock.recv(65536)
            if not piece:
                raise AssertionError("the library hung up, after %r" % self.pending)
            # On loopback what was sent at once comes at once; two packets would be carried out in two frames.
            if self.pending:
                raise AssertionError("more than one packet: %r, and later %r" % (self.pending, piece))
            self.pending += piece
        *lines, self.pending = self.pending.split(b"\n", count)
        return [line.decode("ascii") for line in lines]

    def serve(self, exchange):
        lines = self.read_lines(len(exchange["send"]))
        for line, wanted in zip(lines, exchange["send"]):
            if not same_words(line, wanted):
                raise AssertionError("sent %r, not %r" % (lines, exchange["send"]))
        more = self.pending or self.surplus()  # nothing, too, when the library has hung up already
        if more:
            raise AssertionError("more than one packet: %r and %r" % (lines, more))
        text = exchange.get("raw") or "".join(line + "\n" for line in exchange.get("answer", []))
        try:
            self.sock.sendall(exchange.get("bytes") or text.encode("latin-1"))
            for crumb in exchange.get("crumbs", ""):
                self.sock.sendall(crumb.encode())
        except ConnectionError:
            pass  # the library has closed the connection
        then = exchange.get("then")
        if then == "reset":
            self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        if then in ("close", "reset"):
            self.drop()

    def drip(self, text, until):
        """Sends the text repeatedly, a little at a time, until the condition holds."""
        end = time.monotonic() + PATIENCE
        while not until():
            if time.monotonic() > end:
                raise AssertionError("the library waits on while bytes drip in")
            try:
                self.sock.sendall(text.encode())
            except OSError:
                pass

    def surplus(self):
        """What the library sent beyond the exchanges."""
        if self.sock is None or not select.select([self.sock], [], [], 0)[0]:
            return self.pending
        try:
            return self.pending + self.sock.recv(65536)
        except ConnectionError:
            return self.pending


class Agent:
    """The program that calls the library."""

    def __init__(self, command, environment=None):
        self.command = command
        self.environment = dict(os.environ, **(environment or {}))
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, env=self.environment)
        self.pending = b""

    def ask(self, lines):
        self.process.stdin.write("".join(line + "\n" for line in lines).encode())
        self.process.stdin.flush()

    def has_answered(self, seconds=0.05):
        return b"\n" in self.pending or bool(select.select([self.process.stdout], [], [], seconds)[0])

    def answer(self):
        end = time.monotonic() + PATIENCE
        while b"\n" not in self.pending:
            if not select.select([self.process.stdout], [], [], max(0, end - time.monotonic()))[0]:
                raise AssertionError("the library hangs")
            piece = os.read(self.process.stdout.fileno(), 65536)
            if not piece:
                raise AssertionError("the agent has ended with code %s" % self.process.wait(timeout=PATIENCE))
            self.pending += piece
        line, self.pending = self.pending.split(b"\n", 1)
        return json.loads(line)

    def words(self):
        """All words of the library."""
        listing = subprocess.run([*self.command, "--words"], env=self.environment, capture_output=True, text=True,
                                 timeout=PATIENCE, check=True)
        return set(listing.stdout.split())

    def close(self):
        self.process.stdin.close()
        try:
            self.process.wait(timeout=5)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait(timeout=PATIENCE)
        self.process.stdout.close()


class Language(unittest.TestCase):
    """Base of a language's test: name, command() and, if needed, other ways to compare."""
    name = ""
    unknown = set()      # words of Python's library that this language lacks

    @classmethod
    def start(cls):
        raise NotImplementedError

    @classmethod
    def setUpClass(cls):
        cls.server = Server()
        cls.agent = cls.start()

    @classmethod
    def tearDownClass(cls):
        cls.agent.close()
        cls.server.close()

    @classmethod
    def cases(cls):
        return [case for case in VECTORS["cases"] + HOSTILE + ALIAS_CASES if cls.name in case.get("in", [cls.name])]

    def returned(self, answer, wanted):
        return same_value(answer.get("returns"), wanted)

    def exchange(self, requests, exchanges):
        self.agent.ask(requests)
        for exchange in exchanges:
            self.server.serve(exchange)
            if "drip" in exchange:
                self.server.drip(exchange["drip"], self.agent.has_answered)
        return self.agent.answer()

    def check(self, step, answer):
        if "raises" in step:
            self.assertIn("raises", answer)
            for member, value in step["raises"].items():
                self.assertEqual(answer["raises"].get(member), value, answer)
        else:
            self.assertNotIn("raises", answer)
        if "returns" in step:
            self.assertTrue(self.returned(answer, step["returns"]), "%s, not %r" % (answer, step["returns"]))
        if "callbacks" in step:
            self.assertEqual(answer["callbacks"], step["callbacks"])
        if not step.get("exchanges") or "then" not in step["exchanges"][-1]:
            self.assertEqual(self.server.surplus(), b"")

    def run_case(self, case):
        text = json.dumps([{k: v for k, v in e.items() if k != "bytes"} for s in case["steps"] for e in s.get("exchanges", [])]
                          + case.get("hello", []))
        patience = SHORT if case.get("slow") or '"silence"' in text else LONG
        self.agent.ask(["connect\t%d\t%d" % (self.server.port, patience)])
        self.server.accept()
        for exchange in case.get("hello", VECTORS["hello"]):
            self.server.serve(exchange)
        connected = self.agent.answer()
        steps = case["steps"]
        if steps and steps[0].get("call") == "connect":
            self.check(dict(steps[0], exchanges=[{"then": "any"}]), connected)
            steps = steps[1:]
        else:
            self.assertNotIn("raises", connected)
        for step in steps:
            if "batch" in step:
                requests = ["batch\t%d" % len(step["batch"]), *map(call_line, step["batch"])]
            else:
                requests = [call_line(step)]
            try:
                self.check(step, self.exchange(requests, step.get("exchanges", [])))
            except (AssertionError, OSError) as error:
                raise AssertionError("%s%r: %s" % (step.get("call", "batch"), step.get("args", []), error)) from error

    def test_vectors(self):
        ran = 0
        for case in self.cases():
            with self.subTest(case=case["name"]):
                try:
                    self.run_case(case)
                    ran += 1
                except (AssertionError, OSError):
                    # Further output of the agent belongs to this case.
                    self.server.drop()
                    self.agent.close()
                    type(self).agent = self.start()
                    raise
        print("%s: %d cases" % (self.name, ran), file=sys.stderr)
        self.assertGreater(ran, 40)

    def test_every_word_has_a_case(self):
        called = {word for case in self.cases() for step in case["steps"]
                  for word in [step.get("call"), *[inner["call"] for inner in step.get("batch", [])]]}
        called |= {"batch"} if any("batch" in step for case in self.cases() for step in case["steps"]) else set()
        self.assertEqual(self.agent.words() - called - self.unknown, set())
