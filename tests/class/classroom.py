"""Runs the real class server with the real field, and talks to its API as pages and workers do.

Every wait has a deadline and ends on a condition; what is started here is ended by its process id. KELMORA_CLASS names
the server. Run inside scripts/in-namespace: 192.168.77.1 stands for the school's network.
"""
import contextlib
import http.client
import json
import os
import socket
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "wire"))
from harness import Field, patience, wait_until  # noqa: E402

SERVER = os.environ.get("KELMORA_CLASS", "")
LAN = "192.168.77.1"
CODE = "KMPQ7"


def add_lan_address():
    """Adds a LAN address to the namespace's loopback interface."""
    shown = subprocess.run(["ip", "addr", "show", "lo"], capture_output=True, text=True, timeout=30).stdout
    if LAN not in shown:
        subprocess.run(["ip", "addr", "add", LAN + "/24", "dev", "lo"], check=True, timeout=30)


class Answer:
    def __init__(self, status, headers, body):
        self.status, self.headers, self.body = status, headers, body

    @property
    def text(self):
        return self.body.decode()

    @property
    def json(self):
        return json.loads(self.body)

    def __repr__(self):
        return "%d %r" % (self.status, self.body[:300])


class Browser:
    """One keep-alive connection. `host` goes into the Host header."""

    def __init__(self, port, host=LAN, peer=None, source=None):
        self.port, self.host = port, host
        peer = peer or ("127.0.0.1" if host == "localhost" else host)
        self.connection = http.client.HTTPConnection(peer, port, timeout=patience(60),
                                                     source_address=(source, 0) if source else None)
        self.token = None

    def ask(self, method, path, body=None, headers=None):
        self.send(method, path, body, headers)
        return self.receive()

    def send(self, method, path, body=None, headers=None):
        """Sends a request, whose answer receive() returns."""
        sent = {"Host": "%s:%d" % (self.host, self.port)}
        if method != "GET":
            sent["Kelmora"] = "1"
        if self.token:
            sent["Kelmora-Token"] = self.token
        sent.update(headers or {})
        sent = {name: value for name, value in sent.items() if value is not None}
        if isinstance(body, (dict, list)):
            body = json.dumps(body)
        self.connection.request(method, path, body=body.encode() if isinstance(body, str) else body, headers=sent)

    def receive(self):
        response = self.connection.getresponse()
        return Answer(response.status, response.headers, response.read())

    def get(self, path, **headers):
        return self.ask("GET", path, headers=headers)

    def post(self, path, body=None, headers=None):
        return self.ask("POST", path, body if body is not None else "", headers)

    def close(self):
        self.connection.close()


class Student(Browser):
    """A student who has joined."""

    def __init__(self, room, name="Ann", **options):
        super().__init__(room.port, **options)
        self.workers = contextlib.ExitStack()
        try:
            self.join(name)
        except BaseException:
            self.close()
            raise

    def join(self, name):
        joined = self.post("/api/join", {"code": CODE, "name": name})
        if joined.status != 200:
            raise AssertionError(joined)
        self.state = joined.json
        self.token, self.name, self.run = self.state["token"], self.state["name"], 0

    def begin(self, **wishes):
        answer = self.post("/api/run/begin", {"language": "python", **wishes})
        if answer.status != 200:
            raise AssertionError(answer)
        self.run = answer.json["run"]
        return answer.json

    def begin_in_the_middle(self):
        """Begins when nobody stands in the middle and nobody has just started there."""
        wait_until(lambda: self.begin()["start"] == [0, 0], 20, "the middle to be free")

    def lines(self, text, run=None):
        return self.post("/api/run/lines?run=%d" % (run or self.run), text)

    def do(self, *lines):
        """Sends all lines at once and returns their answers, all of which must be good."""
        answer = self.lines("\n".join(lines))
        if answer.status != 200:
            raise AssertionError(answer)
        answers = answer.text.splitlines()
        if len(answers) != len(lines) or not all("OK @" in line for line in answers):
            raise AssertionError("%r was answered %r" % (lines, answers))
        return answers

    def position(self):
        x, y = self.do("q p")[0].split()[:2]
        return float(x), float(y)

    def me(self):
        return self.get("/api/me").json

    def worker(self):
        """A second connection of the same student, like a worker's."""
        other = self.workers.enter_context(contextlib.closing(Browser(self.port, host=self.host)))
        other.token = self.token
        return other

    def close(self):
        self.workers.close()
        super().close()


class Classroom:
    """The running server."""

    def __init__(self, *options, fields=None, root=None, names=("pages",), env=None):
        self.scratch = tempfile.TemporaryDirectory(prefix="kelmora-class-")
        self.root = root or self.make_pages()
        self.options = ["--port", "0", "--code", CODE, "--root", self.root, "--address", LAN, *options]
        self.process, self.port, self.said = None, 0, []
        self.browsers = contextlib.ExitStack()

    def make_pages(self):
        for name in ("index", "edit", "watch", "board", "desk"):
            with open(os.path.join(self.scratch.name, name + ".html"), "w") as page:
                page.write("<!doctype html><title>%s</title>\n" % name)
        return self.scratch.name

    def __enter__(self):
        add_lan_address()
        self.process = subprocess.Popen([SERVER, *self.options], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT)
        self.reader = threading.Thread(target=self.collect, daemon=True)
        self.reader.start()
        try:
            board = wait_until(lambda: self.line("Board: ") or self.ended(), 60, lambda: "the server to start: %r" % self.said)
            self.port = int(board.split(":")[-1].split("/")[0])
        except BaseException:
            self.stop()
            raise
        return self

    def ended(self):
        if self.process.poll() is not None:
            raise AssertionError("the server ended with %d: %r" % (self.process.returncode, self.said))

    def __exit__(self, kind, *unused):
        code = self.stop()
        if kind is None and code != 0:
            raise AssertionError("the server ended with %d: %r" % (code, self.said))

    def stop(self):
        self.browsers.close()
        if self.process.poll() is None:
            self.process.terminate()
        try:
            code = self.process.wait(timeout=patience(30))
        except subprocess.TimeoutExpired:
            self.process.kill()
            code = self.process.wait()
        self.reader.join(timeout=10)
        self.process.stdout.close()
        self.scratch.cleanup()
        return code

    def collect(self):
        for raw in self.process.stdout:
            self.said.append(raw.decode("latin-1").rstrip("\n"))

    def line(self, start):
        return next((line for line in list(self.said) if line.startswith(start)), None)

    def browser(self, **options):
        return self.browsers.enter_context(contextlib.closing(Browser(self.port, **options)))

    def student(self, name="Ann", **options):
        """A student who has joined; raises when the server refuses."""
        return self.browsers.enter_context(contextlib.closing(Student(self, name, **options)))

    def gather(self, *names):
        """Students who stand at known places of their own, ten at most. The field puts new turtles anywhere, also in
        the middle and in the way of others, so each steps aside before the next one comes; nobody else may be there."""
        people = []
        for name in names:
            someone = self.student(name)
            people.append(someone)
            someone.begin()
            someone.do("j %d -230" % (50 * len(people) - 275))
        return people

    def teacher(self):
        return self.browser(host="localhost")

    def desk(self):
        return self.teacher().get("/api/desk/state").json

    def processor_seconds(self):
        with open("/proc/%d/stat" % self.process.pid) as stat:
            words = stat.read().rsplit(")", 1)[1].split()
        return (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")

    def resident_kib(self):
        with open("/proc/%d/status" % self.process.pid) as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))


def instrumented():
    """True when the server is built with a sanitizer, which needs memory of its own."""
    return "san.so" in subprocess.run(["ldd", SERVER], capture_output=True, text=True, timeout=30).stdout


def raw_connection(room, address=LAN):
    sock = socket.create_connection((address, room.port), timeout=patience(60))
    return sock


def in_thread(work):
    """Runs work() in a thread; .result() returns its value."""
    class Task(threading.Thread):
        def __init__(self):
            super().__init__(daemon=True)
            self.value, self.error = None, None
            self.start()

        def run(self):
            try:
                self.value = work()
            except BaseException as error:  # re-raised by result()
                self.error = error

        def result(self, seconds=60):
            self.join(patience(seconds))
            if self.is_alive():
                raise AssertionError("still not done")
            if self.error:
                raise self.error
            return self.value
    return Task()


__all__ = ["Answer", "Browser", "Classroom", "CODE", "Field", "LAN", "Student", "add_lan_address", "in_thread", "instrumented", "patience",
           "raw_connection", "time", "wait_until"]
