"""Starts kelmora-headless on free ports and talks to it. Every wait ends on a condition and has a deadline that only
bounds a hang; whatever was started is ended by its process id. HEADLESS names the program, REPLAY the player of records.
Run inside scripts/in-namespace."""
import gzip
import json
import os
import random
import signal
import socket
import subprocess
import tempfile
import threading
import unittest
import zlib

TREE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "build", "release")
PROGRAM = os.environ.get("HEADLESS", os.path.join(TREE, "kelmora-headless"))
REPLAY = os.environ.get("REPLAY", os.path.join(TREE, "kelmora-replay"))
HANG = 300.0  # seconds after which something must have hung
REPORTS = ("AddressSanitizer", "ThreadSanitizer", "LeakSanitizer", "runtime error:", "broken invariant")


class Closed(Exception):
    """The field ended the connection."""


class Program:
    """One connection to the field, as a program has it."""

    def __init__(self, port):
        self.sock = socket.create_connection(("127.0.0.1", port), timeout=HANG)
        self.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.pending = b""

    def send(self, *lines):
        self.sock.sendall("".join(line + "\n" for line in lines).encode("latin-1"))

    def answer(self):
        while b"\n" not in self.pending:
            try:
                piece = self.sock.recv(65536)
            except ConnectionError as error:
                raise Closed(str(error)) from error
            if not piece:
                raise Closed("end of stream")
            self.pending += piece
        line, self.pending = self.pending.split(b"\n", 1)
        return line.decode("latin-1")

    def ask(self, *lines):
        """Sends the lines in one packet and returns the last answer."""
        try:
            self.send(*lines)
        except ConnectionError as error:
            raise Closed(str(error)) from error
        for _ in lines:
            answer = self.answer()
        return answer

    def clock(self, line="."):
        return int(self.ask(line).split(" @ ")[1].split()[0])

    def has_answer(self, seconds):
        """Whether an answer comes within that many seconds."""
        if b"\n" in self.pending:
            return True
        self.sock.settimeout(seconds)
        try:
            self.pending += self.sock.recv(65536)
        except socket.timeout:
            return False
        finally:
            self.sock.settimeout(HANG)
        return True

    def send_for_ever(self, line="q p"):
        """Until the connection ends; somebody else has to read."""
        try:
            while True:
                self.send(*[line] * 1000)
        except OSError:
            pass

    def read_for_ever(self, until=float("inf")):
        """So many bytes, or until the connection ends."""
        try:
            while until > 0 and (piece := self.sock.recv(65536)):
                until -= len(piece)
        except OSError:
            pass

    def hang_up(self):
        self.sock.close()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.sock.close()


class Game:
    """The running program."""

    def __init__(self, *options, viewer=False, env=None):
        self.folder = tempfile.TemporaryDirectory(prefix="kelmora-headless-")
        self.results_file = os.path.join(self.folder.name, "results.json")
        self.record_file = os.path.join(self.folder.name, "game.gz")
        self.log = open(os.path.join(self.folder.name, "log"), "w+b")
        command = [PROGRAM, "-p", "0", "-w", "0" if viewer else "off", "-o", self.results_file, *map(str, options)]
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=self.log,
                                        env=dict(os.environ, **(env or {})))
        try:
            words = self.process.stdout.readline().decode().split()
            if words[:1] != ["listening"]:
                raise AssertionError("the first line is %r" % words)
            self.port = int(words[1])
            self.viewer_port = int(words[2]) if viewer else None
        except BaseException:
            self.stop()
            raise

    def join(self):
        return Program(self.port)

    def said(self):
        self.log.flush()
        with open(self.log.name, "rb") as log:
            return log.read().decode("latin-1")

    def results(self):
        """Waits for the end of the game. @return its results"""
        self.wait()
        with open(self.results_file, encoding="utf-8") as file:
            return json.load(file)

    def wait(self, code=0):
        found = self.process.wait(timeout=HANG)
        if found != code or any(report in self.said() for report in REPORTS):
            raise AssertionError("exit code %d, and it said\n%s" % (found, self.said()[-4000:]))

    def record(self):
        with open(self.record_file, "rb") as file:
            return file.read()

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(timeout=HANG)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process.stdout.close()
        self.log.close()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.stop()
        self.folder.cleanup()


def record_option(folder):
    return os.path.join(folder, "game.gz")


def lines_of(record):
    """All lines of a record, parsed."""
    return [json.loads(line) for line in gzip.decompress(record).splitlines()]


def members_of(record):
    """The members of a record, each unpacked; the last one as far as it is complete."""
    members = []
    while record:
        unpacker = zlib.decompressobj(31)
        members.append(unpacker.decompress(record))
        record = unpacker.unused_data if unpacker.eof else b""
    return members


def replay(*arguments):
    return subprocess.run([REPLAY, *map(str, arguments)], capture_output=True, text=True, timeout=HANG)


def fight(program, seed, sleepy=0.0):
    """Seeks the nearest turtle, walks and shoots until the field closes the connection. Decides by the answers
    alone."""
    dice, naps = random.Random(seed), random.Random()  # naps must not affect the program
    pause = threading.Event()
    try:
        program.ask("n " + ("Fighter%d" % seed).encode().hex())
        while True:
            if sleepy and naps.random() < 0.02:
                pause.wait(sleepy * naps.random())
            bearing = program.ask("q r").split(" ")
            angle = float(bearing[0]) if "OK" in bearing else 90.0
            if abs(angle) < 8 and dice.random() < 0.3:
                program.ask("x")
            if abs(angle) > 15:
                program.ask("t l 3" if angle > 0 else "t r 3")
            else:
                program.ask("f 2")
    except Closed:
        pass
    finally:
        program.hang_up()


def play(game, players, run):
    """Lets the programs join one after the other, then plays each in its own thread until all have ended."""
    programs = [game.join() for _ in range(players)]
    threads = [threading.Thread(target=run, args=(program, seat)) for seat, program in enumerate(programs)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(HANG)
        if thread.is_alive():
            raise AssertionError("a program hangs")


class GameTest(unittest.TestCase):
    def game(self, *options, **more):
        made = Game(*options, **more)
        self.addCleanup(made.__exit__)
        return made

    def recorded(self, *options, **more):
        """A game that writes a record."""
        folder = tempfile.TemporaryDirectory(prefix="kelmora-record-")
        self.addCleanup(folder.cleanup)
        made = self.game("-r", record_option(folder.name), *options, **more)
        made.record_file = record_option(folder.name)
        return made

    def knock(self, game):
        """A browser at the port for programs, which the server turns away."""
        browser = game.join()
        browser.sock.sendall(b"GET / HTTP/1.1\r\nHost: x\r\n\r\n")
        with self.assertRaises(Closed):
            browser.answer()
        browser.hang_up()


def main():
    unittest.main(verbosity=2)
