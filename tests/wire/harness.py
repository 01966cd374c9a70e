"""Starts the real program on a virtual display of its own and talks to it over real sockets.

Every wait has a deadline and ends on a condition. Everything started here is ended by its process id, and a program
that died or printed a sanitizer report fails the test that used it. KELMORA names the program, KELMORA_SLOW
stretches all deadlines (default: derived from the time the program takes to start). When
KELMORA is kelmora-headless, the tests that press keys or look at pixels are skipped (`needs_window`), and an empty field
is a new process.
Run inside scripts/in-namespace: the ports are fixed, and 127.0.0.2 stands for another host.
"""
import atexit
import collections
import os
import re
import secrets
import select
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import numpy
from PIL import Image

PROGRAM = os.environ.get("KELMORA", "")
WINDOW = os.path.basename(PROGRAM) != "kelmora-headless"
CLIENT_PORT = 2222
VIEWER_PORT = 2280
HANG = 60.0               # seconds; no deadline of a wait is shorter, as a loaded machine may stall for long
FIELD_SIZE = 512          # pixels, also field units
HALF = FIELD_SIZE // 2
MAX_CLIENT = 10
EVENT_TURTLE, EVENT_DOUGHNUT, EVENT_STONE, EVENT_WALL, EVENT_COIN = 0x2, 0x4, 0x8, 0x10, 0x20
EVENT_HIT, EVENT_FINDER, EVENT_RADAR, EVENT_MESSAGE = 0x1, 0x40, 0x80, 0x100
REPORTS = ("AddressSanitizer", "ThreadSanitizer", "LeakSanitizer", "runtime error:", "Assertion ", "terminate called")

slow = float(os.environ.get("KELMORA_SLOW", "0"))


def needs_window(test):
    """Marks a test, or a class of them, that presses keys, picks from the menu or looks at pixels."""
    return unittest.skipUnless(WINDOW, "needs the window")(test)


def patience(seconds):
    """A deadline of that many seconds on an ordinary build, stretched on a slow one."""
    return seconds * max(slow, 1.0)


def wait_until(condition, seconds=HANG, what="condition", pause=0.01):
    """Polls until the condition returns something true, and returns that. The deadline only bounds a hang: less than
    HANG is raised to it."""
    end = time.monotonic() + patience(max(seconds, HANG))
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError("waited in vain for " + (what() if callable(what) else what))
        time.sleep(pause)


def instrumented():
    """True when the program is built with the address or the thread sanitizer."""
    return bool(sanitizer_library())


def sanitizer_library():
    listing = subprocess.run(["ldd", PROGRAM], capture_output=True, text=True, timeout=30).stdout
    found = re.search(r"=> (\S*lib[at]san\S*)", listing)
    return found.group(1) if found else ""


def build_name():
    """Which of the tested builds the program is."""
    library = sanitizer_library()
    return "thread sanitizer" if "tsan" in library else "address sanitizer" if library else "plain"


def swap16(port):
    """The port as logged: the stored network-order field, read as a host-order number."""
    return struct.unpack("=H", struct.pack("!H", port))[0]


TcpSocket = collections.namedtuple("TcpSocket", "state unread unsent local peer")


def tcp_sockets(expression, listening=False):
    """The TCP sockets of this network namespace that match an expression of ss(8), without closed ones."""
    kind = ["listening"] if listening else ["established", "state", "close-wait"]
    listing = subprocess.run(["ss", "-Hnt", "state", *kind, expression], capture_output=True, text=True, check=True,
                             timeout=patience(60)).stdout
    # When only one state is listed, its column is missing.
    rows = [(["LISTEN"] if listening else []) + line.split() for line in listing.splitlines()]
    return [TcpSocket(row[0], int(row[1]), int(row[2]), row[3], row[4]) for row in rows]


def is_listening(port):
    return bool(tcp_sockets("sport = :%d" % port, listening=True))


def served_connections():
    """Connections to the client port that the field has not closed on its side."""
    return len(tcp_sockets("sport = :%d" % CLIENT_PORT))


class NoDisplay:
    """What a field without a window has instead of a display: a folder."""
    environment = {}

    def __init__(self):
        self.scratch = self.home = tempfile.mkdtemp(prefix="kelmora-wire-")
        atexit.register(shutil.rmtree, self.scratch, True)


class Display:
    """One virtual display for the whole test process."""
    current = None

    def __init__(self):
        self.scratch = tempfile.mkdtemp(prefix="kelmora-wire-")
        read_end, write_end = os.pipe()
        self.log = open(os.path.join(self.scratch, "xvfb.log"), "wb")
        # Only a program that can read this file gets access, not every user of the machine. The server accepts the
        # cookie whatever display the entry names; programs look for the number, which is not known yet.
        self.authority = os.path.join(self.scratch, "authority")
        cookie = secrets.token_hex(16)
        with open(self.authority, "xb"):
            pass                                            # xauth prints a note about a missing file
        self.authorize(":0", cookie)
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-auth", self.authority, "-screen", "0", "1024x768x24",
             "-nolisten", "tcp", "-noreset"],
            pass_fds=[write_end], stdout=self.log, stderr=self.log)
        os.close(write_end)
        number = b""
        with os.fdopen(read_end, "rb", buffering=0) as pipe:
            while not number.endswith(b"\n"):
                piece = pipe.read(16)
                if not piece:
                    raise RuntimeError("Xvfb did not start, see " + self.log.name)
                number += piece
        self.name = ":" + number.decode().strip()
        self.authorize(self.name, cookie)
        self.environment = {"DISPLAY": self.name, "XAUTHORITY": self.authority}
        self.home = os.path.join(self.scratch, "home")
        os.mkdir(self.home)
        atexit.register(self.close)

    def authorize(self, name, cookie):
        subprocess.run(["xauth", "-q", "-f", self.authority, "source", "-"], input="add %s . %s\n" % (name, cookie),
                       text=True, check=True, timeout=60)

    @classmethod
    def get(cls):
        if cls.current is None:
            cls.current = cls() if WINDOW else NoDisplay()
        return cls.current

    def close(self):
        self.process.terminate()
        self.process.wait(timeout=HANG)
        self.log.close()
        shutil.rmtree(self.scratch, ignore_errors=True)


Reply = collections.namedtuple("Reply", "text values status clock event")
REPLY = re.compile(r"^(?:(.*) )?(OK|ERR) @ (\d+) (\d+)$", re.DOTALL)


def parse_reply(line):
    found = REPLY.match(line)
    if not found:
        raise AssertionError("not a reply: %r" % line)
    values = found.group(1) or ""
    return Reply(line, values, found.group(2), int(found.group(3)), int(found.group(4)))


class Closed(Exception):
    """The field ended the connection."""


class Client:
    """One connection to the field. Close it with close(), abort() or by leaving the `with` block."""

    def __init__(self, source="127.0.0.1", receive_buffer=0, greet=True):
        self.sock = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        if receive_buffer:
            self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.sock.settimeout(patience(HANG))
        self.pending = b""
        try:
            self.sock.bind((source, 0))
            self.sock.connect(("127.0.0.1", CLIENT_PORT))
            self.port = self.sock.getsockname()[1]
            if greet:
                self.ask(".")
        except BaseException:
            self.sock.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.close()

    def send(self, data):
        self.sock.sendall(data.encode("latin-1") if isinstance(data, str) else data)

    def read_line(self, seconds=HANG):
        end = time.monotonic() + patience(seconds)
        while b"\n" not in self.pending:
            left = end - time.monotonic()
            if left <= 0:
                raise AssertionError("no reply, so far %r" % self.pending)
            self.sock.settimeout(left)
            try:
                piece = self.sock.recv(65536)
            except socket.timeout:
                continue
            except ConnectionError as error:
                raise Closed(str(error)) from error
            if not piece:
                raise Closed("end of stream, left over %r" % self.pending)
            self.pending += piece
        line, self.pending = self.pending.split(b"\n", 1)
        return line.decode("latin-1")

    def reply(self, seconds=HANG):
        return parse_reply(self.read_line(seconds))

    def ask(self, line):
        """Sends one line and returns its reply."""
        try:
            self.send(line + "\n" if isinstance(line, str) else line + b"\n")
        except ConnectionError as error:
            raise Closed(str(error)) from error
        return self.reply()

    def ask_all(self, lines):
        """Sends all lines in one packet and returns their replies."""
        lines = list(lines)
        try:
            self.send("".join(line + "\n" for line in lines))
        except ConnectionError as error:
            raise Closed(str(error)) from error
        return [self.reply() for _ in lines]

    def do(self, *lines):
        """Sends each line in its own packet; every one must succeed."""
        for line in lines:
            answer = self.ask(line)
            if answer.status != "OK":
                raise AssertionError("%r was answered %r" % (line, answer.text))
        return answer

    def numbers(self, line):
        return [float(word) for word in self.ask(line).values.split()]

    def position(self):
        return tuple(self.numbers("q p"))

    def wait_ticks(self, count):
        """Waits for that many ticks of the field's clock."""
        start = self.ask(".").clock
        return wait_until(lambda: self.ask(".").clock >= start + count, 5 + count * 0.1, "%d ticks" % count, 0.002)

    def wait_closed(self, seconds=HANG):
        """Reads and discards until the field has closed the connection; like wait_until, for HANG at least."""
        end = time.monotonic() + patience(max(seconds, HANG))
        while True:
            self.sock.settimeout(max(0.01, end - time.monotonic()))
            try:
                if not self.sock.recv(65536):
                    return True
            except socket.timeout:
                raise AssertionError("the field did not end the connection") from None
            except ConnectionError:
                return True

    def abort(self):
        """Disconnects with a reset instead of an orderly close."""
        self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.sock.close()

    def close(self):
        self.sock.close()


MENU_GREY = 178  # of freeglut's menus
HEADLESS_OPTIONS = ["--pace", "real"]


class Field:
    """The running program, from start to end of its process."""

    def __init__(self, args=(), env=None, without=(), start_second=None, cwd=None, argv0=None, servers=True,
                 inherited=(), log_unread=False, closed=()):
        self.args, self.argv0, self.inherited = list(args), argv0, list(inherited)
        self.servers = servers
        self.closed = closed                                # standard streams that are closed at the start
        self.log_unread = log_unread                        # until read_log() is called
        self.display = Display.get()
        self.cwd = cwd or self.display.scratch
        self.environment = dict(os.environ, **self.display.environment, LIBGL_ALWAYS_SOFTWARE="1",
                                HOME=self.display.home,
                                MESA_SHADER_CACHE_DIR=os.path.join(self.display.scratch, "shaders"))
        suppressions = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tsan.supp")
        if os.path.exists(suppressions):
            self.environment.setdefault("TSAN_OPTIONS", "suppressions=" + os.path.abspath(suppressions))
        if start_second is not None:
            # With "@" the clock moves on from the given time; without it the program would wait for ever.
            self.environment.update(
                LD_PRELOAD="/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1", TZ="UTC",
                FAKETIME=time.strftime("@%Y-%m-%d %H:%M:%S", time.gmtime(start_second)),
                FAKETIME_DONT_FAKE_MONOTONIC="1")
        self.environment.update(env or {})
        for name in without:
            self.environment.pop(name, None)
        self.lines, self.news = [], threading.Lock()        # news guards the lines and the reading of more
        self.rest, self.log_ended = b"", False
        self.process, self.window, self.ended = None, None, False

    def __enter__(self):
        try:
            return self.start()
        except BaseException:
            self.stop()
            raise

    def __exit__(self, kind, *unused):
        trouble = self.stop()
        if trouble and kind is None:
            raise AssertionError(trouble)
        if trouble:
            print(trouble, file=sys.stderr)

    def start(self):
        global slow
        if not PROGRAM:
            raise RuntimeError("set KELMORA to the program")
        if is_listening(CLIENT_PORT) and self.servers:
            raise RuntimeError("port %d is taken: run this inside scripts/in-namespace" % CLIENT_PORT)
        others = set(self.windows()) if WINDOW else set()
        # A capture is named by the field's clock, which restarts: remove older ones, so that no new one has the name of
        # an old one.
        for name in captures_in(self.display.home):
            os.unlink(os.path.join(self.display.home, name))
        self.earliest_second = int(time.time())
        began = time.monotonic()
        self.process = subprocess.Popen([self.argv0 or PROGRAM] + ([] if WINDOW else HEADLESS_OPTIONS) + self.args, executable=PROGRAM,
                                        env=self.environment, cwd=self.cwd, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                        pass_fds=self.inherited, preexec_fn=self.close_streams if self.closed else None)
        self.rest, self.log_ended = b"", False
        self.reader = threading.Thread(target=self.collect, daemon=True)
        if not self.log_unread:
            self.reader.start()
        wait_until(lambda: self.is_up(others), 120, lambda: "the field to start; it said %r" % self.lines)
        if "KELMORA_SLOW" not in os.environ:
            slow = max(slow, time.monotonic() - began, 10.0 if instrumented() else 1.0)
        self.latest_second = int(time.time())
        return self

    def close_streams(self):
        for number in self.closed:
            os.close(number)

    def windows(self):
        """Visible windows of all fields on the display, including other programs'."""
        return self.xdotool("search", "--onlyvisible", "--name", "Kelmora @", check=False).split()

    def is_up(self, others):
        """Whether the program serves and shows a new window, not one of `others`."""
        if self.process.poll() is not None:
            raise AssertionError("the program ended with %d; it said %r" % (self.process.returncode, self.lines))
        if self.servers and not is_listening(CLIENT_PORT):
            return False
        if not WINDOW:
            return is_listening(VIEWER_PORT)
        self.window = next((window for window in self.windows() if window not in others), None)
        return self.window is not None

    def collect(self):
        """Takes the log as it comes, until its end, so that the program never finds it full."""
        log = self.process.stderr.fileno()
        while True:
            readable(log, None)
            with self.news:
                if not self.take():
                    return

    def take(self):
        """Takes what the program has written so far; self.news is held. Returns False at the end of the log."""
        if self.log_ended or self.log_unread:
            return not self.log_ended
        log = self.process.stderr.fileno()
        while readable(log, 0):
            piece = os.read(log, 65536)
            *whole, self.rest = (self.rest + piece).split(b"\n")
            if not piece:
                self.log_ended = True
                whole, self.rest = [self.rest] if self.rest else [], b""
            self.lines += [line.decode("latin-1") for line in whole]
            if not piece:
                return False
        return True

    # Standard error and output.

    def read_log(self):
        """Starts to read the log of a program started with `log_unread`."""
        self.log_unread = False
        self.reader.start()

    def mark(self):
        """A position in the log to search from: behind all that the program has written."""
        with self.news:
            self.take()
            return len(self.lines)

    def said(self, start=0):
        with self.news:
            self.take()
            return self.lines[start:]

    def wait_line(self, text, start=0, seconds=HANG, count=1):
        """Waits until the log holds exactly this line `count` times after the mark."""
        wait_until(lambda: self.said(start).count(text) >= count, seconds,
                   lambda: "the line %r in %r" % (text, self.said(start)))

    # The window.

    def xdotool(self, *words, check=True):
        result = subprocess.run(["xdotool"] + [str(word) for word in words], env=self.environment_of_tools(),
                                capture_output=True, text=True, timeout=patience(60))
        if check and result.returncode:
            raise AssertionError("xdotool %r: %s" % (words, result.stderr))
        return result.stdout

    def environment_of_tools(self):
        return dict(os.environ, **self.display.environment, HOME=self.display.home)

    def title(self):
        return self.xdotool("getwindowname", self.window).rstrip("\n")

    def key(self, *names, last=False):
        """Presses keys (X names) in the window. The events are in the program's queue when this returns.

                With `last` the window may close before the key is released.
        """
        if not WINDOW:
            raise AssertionError("no window takes the keys %r: this test needs_window" % (names,))
        self.xdotool("key", "--window", self.window, "--delay", "2", *names, check=not last)

    def settle(self):
        """Waits until all earlier key presses have been handled: presses two keys that cancel each other and are
        logged."""
        if not WINDOW:
            return
        start = self.mark()
        self.key("at", "at")
        wait_until(lambda: len([line for line in self.said(start) if re.match("entering p(rivate|ublic) mode", line)]) >= 2,
                   10, "two changes of private mode")

    def empty(self):
        """Drops all clients and turtles: the operator's key, or a new process where there is no operator."""
        if WINDOW:
            self.key("K")
            self.settle()
            return
        trouble = self.stop()
        if trouble:
            raise AssertionError(trouble)
        self.start()

    def menus(self):
        """Visible windows other than the field's own (a menu is one)."""
        found = self.xdotool("search", "--onlyvisible", "--name", ".*", check=False).split()
        return [window for window in found if window != self.window]

    def choose(self, entry):
        """Picks entry number `entry` (from 1) of the pop-up menu with the right mouse button."""
        before = set(self.menus())
        self.xdotool("mousemove", "--window", self.window, 100, 100, "mousedown", 3)
        wait_until(lambda: set(self.menus()) - before, 10, "the menu")
        menu = min(set(self.menus()) - before)
        self.xdotool("mousemove_relative", 20, 25 * (entry - 1) + 14)
        wait_until(lambda: self.is_marked(menu), 10, "the entry to be marked")
        self.xdotool("mouseup", 3)
        if self.process.poll() is None and entry != 9:
            wait_until(lambda: not set(self.menus()) - before, 10, "the menu to close")

    def is_marked(self, menu):
        """Whether the menu highlights, with a white background, the entry under the pointer, which a release picks."""
        def row(*words):
            return int(re.search(r"^Y=(-?\d+)$", self.xdotool(*words), re.M)[1])
        y = row("getmouselocation", "--shell") - row("getwindowgeometry", "--shell", menu)
        ground = self.picture(menu)[y]
        return (ground == 255).all(axis=1).any() and not (ground == MENU_GREY).any()

    def picture(self, window=None):
        """Pixels of the field's window or another: array[row from the top, column, red green blue]."""
        if not WINDOW:
            raise AssertionError("no window to look at: this test needs_window")
        path = os.path.join(self.display.scratch, "window.png")
        subprocess.run(["import", "-silent", "-window", window or self.window, path], env=self.environment_of_tools(),
                       check=True, timeout=patience(60), capture_output=True)
        with Image.open(path) as image:
            return numpy.asarray(image.convert("RGB")).astype(int)

    def wait_picture(self, good, seconds=10.0, what="the expected picture"):
        """Waits for a picture that meets the condition and returns it."""
        kept = []

        def look():
            kept[:] = [self.picture()]
            return good(kept[0])
        wait_until(look, seconds, what)
        return kept[0]

    def capture(self):
        """Presses the capture key and returns the path of the one new file once it is complete."""
        home = self.environment["HOME"]
        before = captures_in(home)
        self.key("p")
        path = os.path.join(home, wait_until(lambda: captures_in(home) - before, 10, "a capture").pop())

        def is_whole():
            with open(path, "rb") as file:
                return file.read().endswith(b"IEND\xaeB`\x82")
        wait_until(is_whole, 10, "the capture to be complete")
        return path

    def captured(self):
        """The next frame's pixels like picture(), but from the program itself: never of an older frame."""
        path = self.capture()
        try:
            with Image.open(path) as image:
                return numpy.asarray(image.convert("RGB")).astype(int)
        finally:
            os.unlink(path)

    # The end.

    def wait_exit(self, seconds=HANG):
        """Waits for the program to end by itself and returns its exit status."""
        self.process.wait(timeout=patience(seconds))
        self.ended = True
        return self.process.returncode

    def stop(self):
        """Ends the program; returns a text when it had crashed or a sanitizer has reported, else nothing."""
        if self.process is None:
            return ""
        trouble = ""
        if self.process.poll() is None and self.window and instrumented():
            # The operator's way to quit, at which the address sanitizer checks for leaks.
            self.key("Q", last=True)
            try:
                self.wait_exit()
            except subprocess.TimeoutExpired:
                trouble = "the program did not end at the key Q"
        status = self.process.poll()
        if status is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(timeout=patience(HANG))
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait(timeout=20)
                trouble += " the program did not end when asked to"
            if not WINDOW and self.process.returncode != 0:
                trouble += " the program ended with status %d when asked to" % self.process.returncode
        elif not self.ended or status != 0:
            trouble = "the program ended by itself with status %d" % status
        if self.log_unread:
            self.read_log()
        self.reader.join(timeout=patience(HANG))
        said = self.said()
        self.process.stderr.close()
        self.process, self.log_ended = None, True
        if any(report in line for line in said for report in REPORTS):
            trouble += " a report on standard error"
        return trouble and trouble + ":\n" + "\n".join(said[-200:])


def readable(descriptor, milliseconds):
    """Whether something can be read, or the end has come, within that time; None: however long it takes."""
    waiting = select.poll()
    waiting.register(descriptor, select.POLLIN)
    return bool(waiting.poll(milliseconds))


def captures_in(folder):
    """File names of the screen captures in a folder."""
    return {name for name in os.listdir(folder) if re.fullmatch(r"kelmora-capture-\d+\.png", name)}


def pixel(x, y):
    """Column and row (from the top) of the pixel whose lower left corner is the field point."""
    return x + HALF, HALF - 1 - y


def apart(*clients):
    """Moves the clients off the field, each to a place of its own. A newcomer stands at a random place, and whoever
    jumps near to it cannot jump away again: so all leave before the first one goes to its place."""
    for number, client in enumerate(clients):
        client.do("j 3000 %d" % (3000 + 100 * number))


def client_in_maze():
    """A new client in a maze. All of the twenty places that the field tries there may be too near to a wall, about one
    time in a thousand; the field then closes the connection, and the next one gets twenty others."""
    for _ in range(10):
        try:
            return Client()
        except Closed:
            continue
    raise AssertionError("ten clients found no place in the maze")


class FieldTest(unittest.TestCase):
    """One program for all tests of a class; the tests must undo what they change. `client()` gives a fresh turtle at
    the side."""
    field_options = {}

    @classmethod
    def setUpClass(cls):
        cls.field = Field(**cls.field_options)
        cls.field.__enter__()

    @classmethod
    def tearDownClass(cls):
        cls.field.__exit__(None)

    def client(self, **options):
        made = Client(**options)
        self.addCleanup(made.close)
        return made

    def fresh(self, count=1):
        """An empty field in graphics mode, black and with all coins in the bank, with that many new clients."""
        # Connections are accepted in order: when this one is answered or refused, no earlier one still waits.
        with Client(greet=False) as last:
            try:
                last.ask(".")
            except Closed:
                pass
        self.field.empty()
        wait_until(lambda: served_connections() == 0, 10, "all clients to be dropped")
        made = [self.client() for _ in range(count)]
        made[0].do("! u", "h 0 0 0")
        # Newcomers appear at random places; one that is too near to another turtle cannot jump away.
        places = [complex(*map(float, client.ask("q p").values.split())) for client in made]
        if any(abs(places[i] - places[j]) <= 20 for i in range(count) for j in range(i)):
            return self.fresh(count)
        return made[0] if count == 1 else made

    def nobody(self):
        """An empty field in graphics mode, without even a zombie."""
        if not WINDOW:
            self.field.empty()
            return
        self.fresh().close()
        wait_until(lambda: served_connections() == 0, 10, "an empty field")
        self.field.key("z")
        self.field.settle()


def main():
    unittest.main(verbosity=2)
