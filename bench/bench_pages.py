"""What a pupil waits for, in real browsers: the real pages, class server and field, with an address that is not loopback.

For each browser: megabytes that it gets at the first visit and at the second; seconds from opening the editor to ready, from
pressing Run to the first movement, and, on a second visit where Run is pressed as soon as it is there, from opening the
editor to the first movement; milliseconds from Stop to ready for `while True: pass`, the variables kept; steps a second of
a Python program in the page and of the same program outside, in turns; seconds from a stroke to its picture on the page.
Each but the first is a median of three rounds.
Run inside scripts/in-namespace after scripts/web-build (for webkit: scripts/with-display, too); KELMORA and KELMORA_CLASS
name the programs. usage: bench_pages.py [BROWSER...]; chromium and firefox without any.
"""
import contextlib
import os
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.realpath(os.path.join(HERE, ".."))
for folder in ("web", "class", "wire"):
    sys.path.insert(0, os.path.join(ROOT, "tests", folder))
from browsers import Chromium, Firefox, WebKit  # noqa: E402
from classroom import CODE, LAN, Classroom, Field  # noqa: E402
from harness import Client, wait_until  # noqa: E402
from pupil import Pupil  # noqa: E402

ROUNDS = 3
MOVE = "from kelmora import *\nforward(40)\n"
SPIN = "x = 41\nprint('spinning')\nwhile True:\n    pass\n"
STEPS = """from kelmora import *
import time
penup()
steps = 0
began = time.monotonic()
while time.monotonic() - began < 5:
    forward(1)
    back(1)
    steps += 2
print('rate', steps / (time.monotonic() - began))
"""


class Counter:
    """Stands between the browser and the class server under an address of its own, and counts what the browser gets."""

    def __init__(self, port):
        self.server, self.bytes = port, 0
        self.listener = socket.create_server((LAN, 0), backlog=100)
        self.origin = "http://%s:%d" % self.listener.getsockname()[:2]
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                browser, _ = self.listener.accept()
            except OSError:
                return
            server = socket.create_connection((LAN, self.server))
            for one, other in ((browser, server), (server, browser)):
                threading.Thread(target=self.pump, args=(one, other, one is server), daemon=True).start()

    def pump(self, one, other, counts):
        with contextlib.suppress(OSError):
            while True:
                piece = one.recv(65536)
                if not piece:
                    break
                if counts:
                    self.bytes += len(piece)
                other.sendall(piece)
        with contextlib.suppress(OSError):
            other.shutdown(socket.SHUT_WR)

    def close(self):
        self.listener.close()


def weigh(kind, browser, room):
    """Megabytes of joining and a first run, and of opening the editor again."""
    counter = Counter(room.port)
    pupil = Pupil(browser, counter.origin)
    pupil.sit_down(CODE, "Bea")
    pupil.start(MOVE)
    pupil.finished()
    first, counter.bytes = counter.bytes, 0
    pupil.open("/edit")
    pupil.ready()
    tell(kind, {"first visit, MB": [first / 1e6], "second visit, MB": [counter.bytes / 1e6]})
    pupil.run("fetch('/api/leave', { method: 'POST', headers: { Kelmora: '1', 'Kelmora-Token': localStorage.getItem('kelmora-token') } });")
    pupil.browser.open("about:blank")
    counter.close()


def moved(room, name):
    """Waits until the pupil's turtle has gone forward."""
    other = room.browser()
    wait_until(lambda: any(t["name"] == name and t["x"] > 5 for t in other.get("/field/0/turtle").json), 120, "the turtle to move", 0.01)


def time_of(act):
    began = time.monotonic()
    act()
    return time.monotonic() - began


def rate_in(text):
    return float(text.split("rate ")[1].split()[0])


def stop_ms(ann):
    ann.start(SPIN)
    ann.says("spinning")
    took = ann.stop_ms()
    ann.says("the variables are kept")
    ann.answer("x + 1")
    ann.says("42")
    ann.ready()
    return took


def stroke_seconds(ann, number):
    """From the field's answer to a step to the page's picture of it."""
    y = 240 - 25 * number  # beyond the places where turtles start
    with Client() as painter:
        painter.do("p u", "j -240 %d" % y, "t e", "w 12", "k 0 1 0", "p d")
        ann.run("window.seen = new Promise((done) => { const look = () => { const { canvas } = kelmora.field.scene;"
                "const side = Math.min(canvas.width, canvas.height) / 512;"
                "const p = canvas.getContext('2d').getImageData(canvas.width / 2 - 220 * side, canvas.height / 2 - %d * side, 1, 1).data;"
                "if (p[1] > 150 && p[0] < 100 && p[2] < 100) done(Date.now() / 1000); else setTimeout(look, 5); }; look(); });" % y)
        painter.do("f 40")
        drawn = time.time()
        return ann.run("return await window.seen;") - drawn


def tell(kind, rows):
    """Writes what was measured; gives an empty table for what comes next."""
    for what, values in rows.items():
        print("%s,\"%s\",%.2f (%s)" % (kind.name, what, statistics.median(values), " ".join("%.2f" % v for v in values)), flush=True)
    return {}


def measure(kind, room):
    origin = "http://%s:%d" % (LAN, room.port)
    browser = kind()
    try:
        browser.fresh(origins=[origin] if kind is not Firefox else [])
        ann = Pupil(browser, origin)
        weigh(kind, browser, room)
        ann.sit_down(CODE, kind.name)  # those of the browsers before may still be there
        ann.start(MOVE)
        ann.finished()
        rows = {"ready, s": [], "Run to movement, s": [], "opened to movement, s": []}
        for _ in range(ROUNDS):
            rows["ready, s"].append(time_of(lambda: (ann.open("/edit"), ann.ready())))
            ann.start("print(1)\n")  # back in the middle
            ann.finished()
            ann.write(MOVE)
            rows["Run to movement, s"].append(time_of(lambda: (ann.press("Run"), moved(room, kind.name))))
            ann.finished()
            ann.start("print(1)\n")
            ann.finished()
            ann.write(MOVE)
            ann.open("/")  # which lets the editor keep the program

            def visit():
                ann.open("/edit")
                ann.wait("globalThis.kelmora && kelmora.session.state && kelmora.session.state.seat && kelmora.editor.text().includes('40')", "the seat")
                ann.press("Run")
                moved(room, kind.name)
            rows["opened to movement, s"].append(time_of(visit))
            ann.finished()
        rows["Stop, ms"] = [stop_ms(ann) for _ in range(ROUNDS)]
        rows = tell(kind, rows)
        ratios, rows["steps/s in the page"], rows["steps/s outside"] = [], [], []
        for _ in range(ROUNDS):
            ann.start(STEPS)
            ann.says("rate ")
            rows["steps/s in the page"].append(rate_in(ann.finished()))
            outside = subprocess.run([sys.executable, "-B", "-c", STEPS], capture_output=True, text=True, check=True, timeout=120,
                                     env=dict(os.environ, PYTHONPATH=os.path.join(ROOT, "clients", "python", "src")))
            rows["steps/s outside"].append(rate_in(outside.stdout))
            ratios.append(rows["steps/s in the page"][-1] / rows["steps/s outside"][-1])
        rows["ratio"] = ratios
        if kind is not WebKit:
            ann.run("document.getElementById('tab-field').click();")
            rows["stroke to page, s"] = [stroke_seconds(ann, k) for k in range(ROUNDS)]
        tell(kind, rows)
    finally:
        browser.close()


def main():
    kinds = {kind.name: kind for kind in (Chromium, Firefox, WebKit)}
    for name in sys.argv[1:] or ["chromium", "firefox"]:
        with tempfile.TemporaryDirectory() as folder, Field(args=["-canvas", folder]), \
                Classroom("--canvas", folder, root=os.path.join(ROOT, "web", "dist", "class")) as room:
            measure(kinds[name], room)


if __name__ == "__main__":
    main()
