"""The pages of a class in real browsers: the real class server, the real field, an address that is not loopback.

Run inside scripts/in-namespace after scripts/web-build. KELMORA and KELMORA_CLASS name the programs; BROWSERS may name
the browsers, separated by blanks; the default is Chromium and Firefox.
"""
import json
import os
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.join(HERE, "..", "..")
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, "..", "class"))
from browsers import Chromium, Firefox, WebKit  # noqa: E402
from classroom import CODE, LAN, Classroom, Field  # noqa: E402
from harness import wait_until  # noqa: E402
from pupil import FIND, Pupil  # noqa: E402

SPIN = "x = 41\nprint('spinning')\nwhile True:\n    pass\n"
SQUARE = "from kelmora import *\nfor side in range(4):\n    forward(60)\n    left(90)\nforward(30)\nprint('A square!')\n"
# Programs that go on after the interrupt of Stop. Python does not catch one that comes at the start of a round of a loop
# with which a try block begins, so here another statement comes first.
STUBBORN = {
    "input()": "while True:\n    try:\n        n = int(input('How many? '))\n        break\n    except:\n        print('caught')\n",
    "a turtle": "from kelmora import *\ndef turn():\n    try: left(90)\n    except: pass\n"
                "while True:\n    try: forward(5)\n    except:\n        print('caught')\n        turn()\n",
    "a function": "def main():\n    while True:\n        try:\n            n = 0\n            while True: n += 1\n"
                  "        except: print('caught')\nmain()\n",
    "sleep()": "import time\nwhile True:\n    try:\n        while True: time.sleep(1)\n    except: print('caught')\n",
    "asyncio": "import asyncio\nasync def main():\n    while True:\n        try:\n            n = 0\n            await asyncio.sleep(1)\n"
               "        except: print('caught')\nasyncio.run(main())\n",
    "KeyboardInterrupt": "while True:\n    try:\n        n = 0\n        while True: n += 1\n"
                         "    except (KeyboardInterrupt, ValueError): print('caught')\n",
}

# Programs, and words of what they show.
NATIVE = [
    ("def total(n):\n    return 0 if n == 0 else n + total(n - 1)\nprint(total(900))\n", "405450"),
    # Each level of this one takes a piece of the browser's own stack, whose end would end the interpreter.
    ("import functools\n\n@functools.lru_cache(None)\ndef fib(n):\n    return n if n < 2 else fib(n - 1) + fib(n - 2)\n\n"
     "print(fib(120))\nprint(fib(5000))\n", "Line 5"),
    ("class Thing:\n    def __getattr__(self, name):\n        return self.other\n\nThing().colour\n", "RecursionError"),
    ("help(len)\nprint(__doc__)\n", "Return the number of items in a container.\n\nNone"),
    ("import asyncio\n\nasync def wait(n):\n    await asyncio.sleep(n / 50)\n    print('waited', n)\n\nasync def main():\n"
     "    await asyncio.gather(wait(2), wait(1))\n\nasyncio.run(main())\n", "waited 1\nwaited 2"),
    ("import sys\nprint(int(sys.stdin.readline()) + 1)\n", "13"),
    # What a program leaves behind does not reach the next one.
    ("import math\nmath.pi = 3\n\nclass Loud:\n    def __del__(self):\n        print('bye from Loud')\n\nlast = Loud()\nprint('left')\n", "left"),
    ("import math\nprint(math.pi > 3)\n", "True"),
]


class Pages:
    """The tests of one browser, which is started once for all of them."""
    make_browser = None

    @classmethod
    def setUpClass(cls):
        cls.field = Field().__enter__()
        cls.addClassCleanup(cls.field.stop)
        cls.browser = cls.make_browser()
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        self.field.key("K")
        self.field.settle()
        self.room = self.enterContext(Classroom(root=os.path.join(ROOT, "web", "dist", "class")))
        self.origin = "http://%s:%d" % (LAN, self.room.port)
        self.browser.fresh(origins=[self.origin])
        self.pupil = Pupil(self.browser, self.origin)

    def on_field(self, name="Ann"):
        return next((t for t in self.room.browser().get("/field/0/turtle").json if t["name"] == name and t["alive"]), None)

    def test_a_lesson(self):
        """Join, write, run, stop, input, sleep, errors, rules: one lesson in one test, because starting takes
        longest."""
        ann = self.pupil
        self.assertFalse(bool(ann.open("/")))
        self.assertFalse(ann.run("return isSecureContext;"))
        ann.join("WRONG", "Ann")
        ann.see("That is not the class code")
        ann.sit_down(CODE.lower(), "Ann")
        for name in ("Program", "Run", "Stop", "Output", "Input", "Speed", "Language", "Share", "Save", "Open"):
            self.assertTrue(ann.is_there(name), name)

        with self.subTest("a program moves the turtle on the field"):
            ann.start(SQUARE)
            ann.says("A square!")
            ann.finished()
            at = self.on_field()
            self.assertAlmostEqual(at["x"], 30, places=3)
            self.assertAlmostEqual(at["y"], 0, places=3)

        with self.subTest("a second run starts anew, and leaves one turtle"):
            ann.start("from kelmora import *\nprint('at', position())\n")
            self.assertIn("at (0", ann.finished())
            turtles = [t for t in self.room.browser().get("/field/0/turtle").json if t["alive"]]
            self.assertEqual([t["name"] for t in turtles], ["Ann"])

        with self.subTest("stop keeps the variables"):
            ann.start(SPIN)
            ann.says("spinning")
            took = ann.stop_ms()
            print("\n%s: Stop took %.0f ms" % (self.browser.name, took), file=sys.stderr)
            ann.says("the variables are kept")
            ann.answer("x + 1")
            ann.says("42")
            ann.ready()

        with self.subTest("a line tried after a program has its turtle, input() and Stop"):
            ann.start("from kelmora import *\nforward(20)\n")
            ann.finished()
            ann.answer("forward(25); print('at', round(xcor()))")
            ann.says("at 45")
            ann.ready()
            ann.answer("for i in range(2): print('n', i + int(input('? ')))")
            for number in (4, 5):
                ann.wait("document.body.dataset.state === 'asking'", "the question")
                ann.answer(str(number))
                ann.says("n %d" % (number + (number == 5)))
            ann.ready()
            ann.answer("while True: pass")
            ann.wait("document.body.dataset.state === 'running'", "the line to run")
            ann.press("Stop")
            ann.says("the variables are kept")
            ann.ready()

        with self.subTest("a word without its brackets is told"):
            ann.start("from kelmora import *\nforward\nprint('x')\n")
            self.assertIn("forward alone does nothing", ann.finished())

        with self.subTest("input in place"):
            ann.start("name = input('Who? ')\nprint('Hello', name)\n")
            ann.wait("document.body.dataset.state === 'asking'", "the question")
            ann.answer("Zoë")
            self.assertIn("Hello Zoë", ann.finished())

        with self.subTest("stop while it asks"):
            ann.start("input('? ')\n")
            ann.wait("document.body.dataset.state === 'asking'", "the question")
            ann.press("Stop")
            self.assertIn("stopped", ann.finished())

        with self.subTest("sleep waits, and Stop ends it"):
            ann.start("import time\nb = time.monotonic()\ntime.sleep(0.6)\nprint(time.monotonic() - b >= 0.6)\ntime.sleep(600)\n")
            ann.says("True")
            ann.press("Stop")
            self.assertIn("stopped", ann.finished())

        with self.subTest("an error marks its line and gives advice"):
            ann.start("from kelmora import *\nforward(5)\nfoward(20)\n")
            said = ann.finished()
            self.assertIn("Line 3", said)
            self.assertIn("NameError", said)
            self.assertIn("Did you mean forward", said)
            self.assertEqual(ann.run("return document.querySelector('.cm-error-line').innerText;"), "foward(20)")
            self.assertNotIn("kelmora_runner", said)

        with self.subTest("an error of the syntax, too"):
            ann.start("for i in range(3)\n    print(i)\n")
            said = ann.finished()
            self.assertIn("Line 1", said)
            self.assertIn("colon", said)

        with self.subTest("a rule that forbids becomes an error at its line"):
            ann.start("from kelmora import *\nforward(5)\nclearscreen()\n")
            said = ann.finished()
            self.assertIn("Line 3", said)
            self.assertIn("switched this command off", said)

        with self.subTest("step by step marks the line; full speed goes on without"):
            ann.fill("Speed", "1")
            ann.start("from kelmora import *\nfor i in range(150):\n    left(1)\nprint('through')\n")
            ann.wait("document.querySelector('.cm-run-line')", "the line to be marked")
            ann.fill("Speed", "0")
            ann.says("through")
            ann.finished()

        with self.subTest("Python is as it is natively: recursion, help, asyncio, standard input"):
            for program, words in NATIVE:
                ann.start(program)
                if "stdin" in program:
                    ann.wait("document.body.dataset.state === 'asking'", "a question")
                    ann.answer("12")
                said = ann.finished()
                self.assertIn(words, said)
                self.assertNotIn("given up", said)
                self.assertNotIn("bye from Loud", said)

        with self.subTest("output without an end does not drown the page"):
            ann.start("i = 0\nwhile True:\n    i += 1\n    print('line', i)\n")
            # Any of them: what is shown is the end, and that changes fast.
            ann.wait(r"/line \d{4}/.test(document.querySelector('[role=log]').innerText)", "a thousand lines")
            # A screen reader is spared them, but not what comes after.
            ann.wait("document.querySelector('[role=log]').getAttribute('aria-live') === 'off'", "the output not to be read out")
            ann.press("Stop")
            ann.finished()
            self.assertEqual(ann.run("return document.querySelector('[role=log]').getAttribute('aria-live');"), "polite")
            self.assertLess(ann.run("return document.querySelector('[role=log]').innerText.length;"), 200000)

        with self.subTest("JavaScript runs, says its line, and stops"):
            ann.fill("Language", "javascript")
            ann.ready()
            ann.start("forward(40); left(90);\nprint('at', Math.round(position()[0]));\n")
            self.assertIn("at 40", ann.finished())
            ann.start("let a = 1;\nnowhere(a);\n")
            self.assertIn("Line 2", ann.finished())
            ann.start("let a = 1;\nif (a > 0 {\n}\n")
            self.assertIn("Line 2", ann.finished())
            ann.start("print('spinning');\nfor (;;) {}\n")
            ann.says("spinning")
            ann.press("Stop")
            self.assertIn("stopped", ann.finished())

        with self.subTest("blocks write Python"):
            ann.fill("Language", "blocks")
            ann.wait("document.querySelector('.blocklyDraggable')", "the blocks")
            self.assertIn("forward(100)", ann.run("return kelmora.editor.text();"))
            ann.press("Run")  # empties the output at once
            ann.says("finished")

    def test_stop_of_programs_that_catch_everything(self):
        ann = self.pupil
        ann.sit_down(CODE, "Ann")
        ann.run("kelmora.links.python.patience = 600000;")  # so that a busy machine does not lose the variables
        for where in ("field", "practice"):
            ann.run("document.getElementById('tab-%s').click();" % where)
            for name, program in STUBBORN.items():
                with self.subTest(name, where=where):
                    ann.start("x = 41\nprint('begun')\n" + program)
                    ann.says("begun")
                    if name == "input()":
                        ann.wait("document.body.dataset.state === 'asking'", "the question")
                    ann.press("Stop")
                    ann.says("the variables are kept")
                    self.assertLessEqual(ann.finished().count("caught"), 2 if name == "asyncio" else 1)  # it cancels tasks, too
                    ann.answer("x + 1")
                    ann.says("42")
                    ann.ready()
        ann.run("document.getElementById('tab-field').click();")
        with self.subTest("JavaScript"):
            ann.fill("Language", "javascript")
            ann.ready()
            program = "print('begun');\nwhile (true) { try { forward(5); } catch { } }\n"
            ann.start(program)
            ann.says("begun")
            ann.press("Stop")
            ann.says("\u2014 stopped \u2014")
            ann.ready()
            ann.start(program)
            ann.says("begun")
            number = next(s["id"] for s in self.room.desk()["sessions"] if s["name"] == "Ann")
            self.room.teacher().post("/api/desk/stop", {"id": number})
            ann.says("stopped by your teacher")
            ann.ready()

    def test_reload_and_two_tabs(self):
        ann = self.pupil
        ann.sit_down(CODE, "Ann")
        ann.start("import time\nprint('begun')\ntime.sleep(600)\n")
        ann.says("begun")
        ann.open("/edit")  # leaves the page in the middle of a run
        ann.ready()
        ann.wait("kelmora.session.state && kelmora.session.state.seat", "the seat again")
        self.assertEqual(ann.run("return kelmora.session.state.name;"), "Ann")
        self.assertIn("time.sleep(600)", ann.run("return kelmora.editor.text();"))
        ann.start("import time\nprint('again')\ntime.sleep(600)\n")
        ann.says("again")
        if self.browser.name == "webkit":
            return
        self.browser.tab("second")
        ann.open("/edit")
        ann.ready()
        ann.wait("kelmora.session.state && kelmora.session.state.seat", "the same session")
        ann.start("print('here')\n")
        self.assertIn("here", ann.finished())
        self.browser.tab("first")
        ann.says("another run of yours has begun")

    def test_desk_and_board(self):
        teacher = Pupil(self.browser, "http://localhost:%d" % self.room.port)
        ann = self.room.student("Ann")
        ann.ask("PUT", "/api/program", {"language": "python", "title": "Mine", "text": "print(7)"})
        teacher.open("/board")
        teacher.see(CODE)
        teacher.see("%s:%d" % (LAN, self.room.port))
        teacher.wait("[...document.querySelectorAll('.who .name')].some((e) => e.innerText === 'Ann')", "Ann on the board")
        for k in range(29):
            self.room.student("Child %d" % k)
        teacher.wait("document.querySelectorAll('.who .name').length === 30", "thirty on the board")
        self.assertTrue(teacher.run("return document.documentElement.scrollWidth <= innerWidth;"))
        self.assertTrue(teacher.run("const p = document.querySelector('.people'); return p.scrollHeight <= p.clientHeight;"))
        teacher.wait("document.querySelector('img.qr').naturalWidth > 0", "the QR code")
        teacher.open("/desk")
        teacher.wait("document.querySelectorAll('tbody tr').length === 30", "thirty at the desk")
        teacher.see("queue, 20.")
        teacher.press("Program of Ann")
        teacher.see("print(7)")
        teacher.press("Close")
        teacher.press("Pause all")
        wait_until(lambda: ann.me()["paused"], 60, "the pause")
        teacher.wait("[...document.querySelectorAll('button')].some((b) => b.innerText === 'Go on')", "the way back")
        teacher.press("Go on")
        wait_until(lambda: not ann.me()["paused"], 60, "the end of the pause")
        teacher.run("[...document.querySelectorAll('.check')].find((l) => l.innerText.includes('wipe the painting')).querySelector('input').click();")
        wait_until(lambda: "c a" not in ann.me()["forbidden"], 60, "the rule to change")
        teacher.fill("Its name", "Start here")
        teacher.run(FIND + "const e = document.querySelector('textarea'); e.value = 'print(1)'; e.dispatchEvent(new Event('input'));")
        teacher.press("Give to everybody")
        wait_until(lambda: ann.me()["starter"] > 0, 60, "the starting program")
        self.assertEqual(ann.get("/api/starter").json["text"], "print(1)")
        teacher.press("Rename %s" % "Ann" if teacher.is_there("Rename Ann") else "Correct the name of Ann")
        teacher.run("const d = document.querySelector('dialog'); d.querySelector('input').value = 'Anna'; d.querySelector('.main').click();")
        wait_until(lambda: ann.me()["name"] == "Anna", 60, "the new name")
        teacher.see("Anna")
        teacher.press("Remove Anna")
        teacher.run("document.querySelector('dialog .main').click();")
        wait_until(lambda: ann.get("/api/me").status == 401, 60, "Anna to be out")
        self.told_when_stopped_and_removed(teacher)
        # From another address the desk is refused.
        ann = Pupil(self.browser, self.origin)
        ann.open("/desk")
        ann.see("localhost")
        self.assertFalse(ann.is_there("Pause all"))

    def told_when_stopped_and_removed(self, teacher):
        """The desk stops one child's program, then removes the child: its page says so."""
        for student in self.room.desk()["sessions"]:
            self.room.teacher().post("/api/desk/remove", {"id": student["id"]})
        bea = self.pupil
        bea.sit_down(CODE, "Bea")
        program = "from kelmora import *\nprint('begun')\nwhile True:\n    left(1)\n"
        number = next(s["id"] for s in self.room.desk()["sessions"] if s["name"] == "Bea")
        for action, words in (("stop", "stopped by your teacher"), ("remove", "ended by your teacher")):
            bea.start(program)
            bea.says("begun")
            self.room.teacher().post("/api/desk/" + action, {"id": number})
            bea.says(words)
            bea.ready()
        bea.see("You are no longer in the class")
        self.assertTrue(bea.is_there("Join"))

    def test_starting_program_and_waiting_pupil(self):
        """Ten have seats; the eleventh practises meanwhile, and finds the teacher's program in the editor."""
        for i in range(10):
            self.room.student("Pupil %d" % i)
        teacher = self.room.teacher()
        self.assertEqual(teacher.post("/api/desk/starter", {"language": "python", "title": "Go", "text": "print('from the desk')\n"}).status, 200)
        eve = self.pupil
        eve.sit_down(CODE, "Eve")
        eve.see("place 1 in the queue")
        eve.wait("kelmora.editor.text().includes('from the desk')", "the teacher's program")
        eve.ready()
        eve.start("from kelmora import *\npensize(9)\nforward(120)\nprint(input('well? '))\n")
        eve.wait("document.body.dataset.state === 'asking'", "the question")
        eve.answer("yes")
        self.assertIn("yes", eve.finished())
        self.assertTrue(self.red_at(eve, 60, 0))
        self.assertIsNone(self.on_field("Eve"))
        eve.run("document.getElementById('tab-practice').click();")
        first = self.room.desk()["sessions"][0]
        self.room.teacher().post("/api/desk/remove", {"id": first["id"]})
        eve.see("You have a place on the field now")
        eve.start("from kelmora import *\nforward(40)\nprint('there')\n")
        self.assertIn("there", eve.finished())
        self.assertIsNotNone(self.on_field("Eve"))

    @staticmethod
    def red_at(pupil, x, y):
        """Whether the practice canvas is red at a place of the field."""
        return pupil.run("const c = kelmora.practice.canvas; const p = c.getContext('2d').getImageData((%d + 256) * c.width / 512, "
                         "(256 - %d) * c.height / 512, 1, 1).data; return p[0] > 200 && p[1] < 60;" % (x, y))

    def test_practice_without_joining(self):
        eve = self.pupil
        eve.open("/edit")
        eve.ready()
        eve.start("from kelmora import *\npensize(9)\nforward(100)\nprint(position())\n")
        self.assertIn("(100", eve.finished())
        self.assertTrue(self.red_at(eve, 50, 0))
        eve.start(SPIN)
        eve.says("spinning")
        eve.press("Stop")
        self.assertIn("stopped", eve.finished())
        eve.start("input('who? ')\n")
        self.assertIn("after joining the class", eve.finished())

    def check_german_lessons(self):
        """From the editor to a German lesson, and one of its programs back into the editor."""
        ann = self.pupil
        ann.press("Lernen")
        ann.wait("document.querySelectorAll('.learn li').length > 20", "lessons and examples")
        ann.see("Ein Baum")
        ann.press("3. Zahlen mit Namen")
        ann.see("Darum geht es:")
        self.assertEqual(ann.run("return document.querySelector('.learn img').closest('[lang]').lang;"), "de")
        loaded = ann.run("return performance.getEntriesByType('resource').map((one) => one.name).filter((name) => name.includes('/learn.'));")
        self.assertEqual([name.rpartition("/")[2] for name in loaded], ["learn.de.json"])
        ann.press("Im Editor öffnen")
        ann.wait("kelmora.editor.text().includes('laenge = 5')", "the lesson's program in the editor")

    def test_share_and_german(self):
        ann = self.pupil
        ann.open("/edit")
        ann.ready()
        ann.write("print('shared')\n")
        ann.press("Share")
        link = ann.wait("document.querySelector('dialog input') && document.querySelector('dialog input').value", "the link")
        self.assertTrue(link.startswith(self.origin + "/edit#p="), link)
        ann.run("localStorage.clear(); localStorage.setItem('kelmora.language', '\"de\"');")
        ann.open("about:blank" if link.startswith("/") else "/watch")
        self.browser.open(link)
        ann.ready()
        self.assertEqual(ann.run("return kelmora.editor.text();"), "print('shared')\n")
        self.assertEqual(ann.run("return document.documentElement.lang;"), "de")
        self.assertTrue(ann.is_there("Ausgabe"))
        self.assertEqual(ann.run("return kelmora.editor.view.state.phrase('Find');"), "Suchen")
        ann.press("Start")
        self.assertIn("shared", ann.finished())
        ann.write("for i in range(3)\n    pass\n")
        ann.press("Start")
        self.assertIn("Doppelpunkt", ann.finished())
        self.check_german_lessons()
        ann.open("about:blank" if link.startswith("/") else "/watch")
        self.browser.open(link[:-9])  # an address that was cut
        ann.see("Wurde die Adresse abgeschnitten?")
        self.browser.open(self.origin + "/#code=%E0%A4%A")
        ann.wait("document.querySelector('form')", "the form, in spite of a spoilt address")


class InChromium(Pages, unittest.TestCase):
    make_browser = Chromium

    def test_a_pause_holds_practice_programs(self):
        """A program on the practice canvas stands still as long as the pause lasts; Stop works in it."""
        ann = self.pupil
        teacher = self.room.teacher()
        count = r"Number((/n (\d+)\n[^\n]*$/.exec(kelmora.session.said) || [0, 0])[1])"

        def one():
            return self.room.desk()["sessions"][0]

        def pause(paused=True):
            self.assertEqual(teacher.post("/api/desk/pause", {"paused": paused}).status, 200)

        def stands_still(ms=500):
            """Returns where the program stands after so long a time."""
            wait_until(lambda: one()["held"], 60, "the program to be held")
            ann.wait("document.querySelector('.status').innerText === 'Paused'", "the page to say so")
            ann.see("Paused by your teacher")
            # The page's last sign of life may be from before the run.
            wait_until(lambda: (one()["doing"], one()["run"]) == ("practice", True), 60, "the desk to say that it practises")
            reads = "const read = async (ms) => { const first = %s; await new Promise((done) => setTimeout(done, ms)); return [first, %s]; };" % (count, count)
            wait_until(lambda: (lambda pair: pair[0] == pair[1])(ann.run(reads + "return read(500);")), 60, "the last output to arrive")
            first, last = ann.run(reads + "return read(%d);" % ms)
            self.assertEqual(first, last)
            return last

        def goes_on(since):
            pause(False)
            ann.wait("%s > %d" % (count, since), "the program to go on")
            ann.wait("document.querySelector('.status').innerText === 'Running'", "the page to say so")

        ann.sit_down(CODE, "Ann")
        ann.run("document.getElementById('tab-practice').click();")
        with self.subTest("a program that computes and prints"):
            ann.start("i = 0\nwhile True:\n    i += 1\n    if i % 2000 == 0:\n        print('n', i // 2000)\n")
            ann.wait(count + " > 1", "the program to count")
            pause()
            goes_on(stands_still(5000))  # longer than it waits for an answer about Stop otherwise
            pause()
            wait_until(lambda: one()["held"], 60, "the program to be held")
            took = ann.stop_ms()
            print("\n%s: Stop in a pause took %.0f ms" % (self.browser.name, took), file=sys.stderr)
            ann.says("the variables are kept")
            ann.answer("i")  # may not begin now, nor may another run
            ann.says("has paused the class")
            ann.press("Run")
            ann.says("has paused the class")
            ann.ready()
            self.assertFalse(one()["run"])
            pause(False)
            ann.answer("print('still', i > 1000)")
            ann.says("still True")
            ann.ready()
        with self.subTest("a turtle on the practice canvas"):
            ann.start("from kelmora import *\nn = 0\nwhile True:\n    left(1)\n    n += 1\n    print('n', n)\n")
            ann.wait(count + " > 1", "the turtle to move")
            pause()
            goes_on(stands_still())
            ann.press("Stop")
            ann.says("the variables are kept")
            ann.ready()
        with self.subTest("the answer of input() waits for the end of the pause"):
            ann.start("print('got', input('? '))\n")
            ann.wait("document.body.dataset.state === 'asking'", "the question")
            pause()
            ann.answer("seven")
            wait_until(lambda: one()["held"], 60, "the answer to be held")
            self.assertNotIn("got", ann.output())
            pause(False)
            self.assertIn("got seven", ann.finished())
        with self.subTest("JavaScript: the turtle's words, and output"):
            ann.fill("Language", "javascript")
            ann.ready()
            for program in ("for (let n = 1; ; n++) { left(1); print('n', n); }", "for (let n = 1; ; n++) print('n', n);"):
                ann.start(program)
                ann.wait(count + " > 1", "the program to count")
                pause()
                stands_still()
                ann.press("Stop")
                ann.says("stopped")
                ann.ready()
                pause(False)

    def test_keyboard_alone(self):
        """From the address to a running program without a pointer."""
        self.browser.fresh()
        ann = self.pupil
        ann.open("/")
        ann.wait("document.activeElement && document.activeElement.id === 'code'", "the code to have the focus")
        self.browser.order("type", text=CODE)
        self.browser.order("key", keys=["Tab"])
        self.browser.order("type", text="Kay")
        self.browser.order("key", keys=["Enter"])
        ann.wait("location.pathname === '/edit'", "the editor")
        ann.ready()
        ann.run(FIND + "named('Program').focus();")
        self.browser.order("key", keys=["Control+a"])
        self.browser.order("type", text="print(6 * 7)")
        self.browser.order("key", keys=["Control+Enter"])
        ann.says("42")
        ann.ready()
        self.browser.order("key", keys=["Control+a", "Delete"])
        self.browser.order("type", text="while True: pass")
        self.browser.order("key", keys=["Control+Enter"])
        ann.wait("document.body.dataset.state === 'running'", "the program to run")
        self.browser.order("key", keys=["Control+."])
        ann.says("stopped")
        # Tab alone indents in the editor; Escape and then Tab leaves it.
        ann.run(FIND + "named('Program').focus();")
        self.browser.order("key", keys=["Escape", "Tab"])
        self.assertFalse(ann.run("return document.activeElement.closest('.cm-editor') !== null;"))
        self.check_focus()

    def focus(self):
        """The accessible name of what has the keyboard's focus; '' when nothing has it."""
        return self.pupil.run(FIND + "const e = document.activeElement; return e === null || e === document.body ? '' : nameOf(e);")

    def check_focus(self):
        """A button that its own press switches off, a closed dialog and a list that is shown anew keep the focus."""
        ann = self.pupil
        ann.write("print(1)\nwhile True: pass\n")
        ann.run(FIND + "named('Run').focus();")
        self.browser.order("key", keys=["Enter"])
        ann.wait("document.body.dataset.state === 'running'", "the program to run")
        self.assertTrue(ann.run(FIND + "return named('Run').disabled;"))
        ann.run(FIND + "named('Stop').focus();")
        self.browser.order("key", keys=["Enter"])
        ann.ready()
        self.assertTrue(ann.run(FIND + "return named('Stop').disabled;"))
        self.assertEqual(self.focus(), "Run")
        ann.write("print(2)\n")
        self.browser.order("key", keys=["Enter"])
        ann.says("finished")
        ann.ready()
        self.assertEqual(self.focus(), "Run")
        ann.write("input('? ')\n")
        self.browser.order("key", keys=["Enter"])
        ann.wait("document.body.dataset.state === 'asking'", "the question")
        self.assertEqual(self.focus(), "Input")
        ann.press("Stop")
        ann.ready()
        ann.run(FIND + "named('Share').focus();")
        self.browser.order("key", keys=["Enter"])
        ann.wait("document.querySelector('dialog[open]')", "the dialog")
        self.browser.order("key", keys=["Escape"])
        self.assertEqual(self.focus(), "Share")
        ann.run("kelmora.editor.focus();")
        self.browser.order("key", keys=["F1"])
        self.assertEqual(self.focus(), "Search the help")
        self.browser.order("key", keys=["Escape"])
        self.assertEqual(self.focus(), "Program")
        ann.run(FIND + "named('Deutsch').focus();")
        self.browser.order("key", keys=["Enter"])
        ann.wait("document.documentElement.lang === 'de' && document.activeElement.innerText === 'English'", "the focus on the other language")
        # Every change of the class shows its row anew; Kay is the third.
        for name in ("Ben", "Eve"):
            self.room.student(name)
        teacher = self.pupil = Pupil(self.browser, "http://localhost:%d" % self.room.port)
        self.browser.fresh()
        teacher.open("/desk")
        teacher.wait("document.querySelectorAll('tbody th').length === 3", "three at the desk")
        teacher.run(FIND + "named('Rename Ben').focus();")
        self.browser.order("key", keys=["Enter", "Control+a", "A", "d", "a", "Enter"])
        teacher.see("Ada")
        self.assertEqual(self.focus(), "Rename Ada")
        teacher.run(FIND + "named('Remove Ada').focus();")
        self.browser.order("key", keys=["Enter", "Tab", "Enter"])
        teacher.wait("document.querySelectorAll('tbody th').length === 2", "two at the desk")
        self.assertEqual(self.focus(), "Remove Eve")

    def test_blocks_by_keyboard_alone(self):
        self.browser.fresh(locale="de-DE")
        ann = self.pupil
        ann.open("/edit")
        ann.ready()
        ann.fill("Sprache", "blocks")
        ann.wait("document.querySelector('.blocklyDraggable')", "the blocks")

        def press(*keys):
            self.browser.order("key", keys=keys)

        def program(*lines):
            text = "from kelmora import *\n\n" + "".join(line + "\n" for line in lines)
            ann.wait("kelmora.editor.text().trim() === %s" % json.dumps(text.strip()), "the program %r" % text)

        ann.run(FIND + "named('Sprache').focus();")
        press("Tab", "Tab", "Tab", "ArrowDown", "ArrowDown", "ArrowDown")  # groups, the first of them, the blocks' own area
        self.assertIn("drehe links", ann.run("return document.activeElement.getAttribute('aria-label');"))
        moving = "document.querySelector('.blocklyDragging')"
        named = "(document.activeElement.getAttribute('aria-label') || document.activeElement.innerText || '').includes('%s')"

        def key(pressed, then):
            """Each key acts on what the key before has done, and Blockly takes its time for that."""
            press(pressed)
            ann.wait(then, "what %s does" % pressed)

        key("m", moving)
        ann.see("Verschiebe mit den Pfeiltasten")
        press("ArrowUp")
        key("Enter", "!" + moving)
        program("for count in range(4):", "    left(90)", "    forward(100)")
        key("m", moving)
        press("ArrowDown")
        key("Escape", "!" + moving)
        key("t", named % "Bewegen")
        key("ArrowDown", named % "Zeichnen")
        key("ArrowRight", named % "Stiftfarbe")
        key("Enter", moving)  # the first block of the second group
        key("Enter", "!" + moving)
        ann.wait("kelmora.editor.text().includes('pencolor')", "the new block")
        press("Delete")
        program("for count in range(4):", "    left(90)", "    forward(100)")
        # The same keys run and stop a program as in text.
        ann.wait("document.activeElement.closest('.block-editor')", "the focus among the blocks")
        press("Control+Enter")
        ann.says("fertig")
        self.assertFalse(ann.run("return Boolean(document.querySelector('.blocklyContextMenu'));"))

    def test_rules_for_accessible_pages(self):
        """Contrast, names, roles, sizes and the like, in light and dark."""
        self.browser.fresh()
        ann = self.pupil
        teacher = Pupil(self.browser, "http://localhost:%d" % self.room.port)

        def look_over(state):
            for look in ("light", "dark"):
                self.browser.order("look", look=look)
                with self.subTest(state, look=look):
                    self.assertEqual(self.browser.order("faults"), [])
        ann.join("WRONG", "Ann")
        ann.see("That is not the class code")
        look_over("join")
        ann.sit_down(CODE, "Ann")
        ann.start("from kelmora import *\nfoward(50)\n")
        ann.says("Did you mean")
        ann.press("Help")
        look_over("an error and the help")
        ann.run("document.querySelector('.panel:not([hidden]) button').click();")
        ann.fill("Language", "blocks")
        ann.wait("document.querySelector('.blocklyDraggable')", "the blocks")
        ann.press("Share")
        ann.wait("document.querySelector('dialog[open]')", "the dialog")
        look_over("blocks and a dialog")
        ann.open("/watch?eyes=Ann")
        ann.wait("document.querySelector('.field canvas') && document.querySelector('.scores .who')", "the field")
        look_over("watch")
        teacher.open("/board")
        teacher.wait("document.querySelector('.who .name')", "Ann on the board")
        look_over("board")
        teacher.open("/desk")
        teacher.wait("document.querySelector('tbody th')", "Ann at the desk")
        teacher.press("Pause all")
        teacher.wait("[...document.querySelectorAll('button')].some((b) => b.innerText === 'Go on')", "the pause")
        look_over("desk")

    def test_nothing_leaves_the_machine(self):
        self.browser.fresh()
        ann = self.pupil
        for path in ("/", "/edit", "/watch"):
            ann.open(path)
            ann.wait("document.querySelector('main')", "the page")
        ann.open("/edit")
        ann.ready()
        self.assertEqual(self.browser.order("asked"), [self.origin])
        self.assertEqual(self.browser.order("errors"), [])
        # The second visit loads nothing large: all of it is cached.
        weight = ann.run("return performance.getEntriesByType('resource').reduce((sum, one) => sum + one.transferSize, 0);")
        self.assertLess(weight, 200000)

    def test_phone_upright(self):
        """Nothing is wider than the window, and all controls can be reached."""
        self.browser.fresh(width=360, height=740)
        ann = self.pupil
        for path in ("/", "/edit", "/watch"):
            ann.open(path)
            ann.wait("document.querySelector('main')", "the page")
            self.assertLessEqual(ann.run("return document.documentElement.scrollWidth;"), 360, path)
            self.browser.order("size", width=320, height=256)  # a window of 1280 x 1024 enlarged four times
            self.assertLessEqual(ann.run("return document.documentElement.scrollWidth;"), 320, path)
            if path == "/edit":
                for name in ("Learn", "Save", "Open", "Deutsch", "Run", "Language", "Input"):
                    box = ann.run(FIND + "const b = named(%s).getBoundingClientRect(); return [b.left, b.right];" % json.dumps(name))
                    self.assertTrue(0 <= box[0] and box[1] <= 320, (name, box))
            self.browser.order("size", width=360, height=740)
        ann.open("/edit")
        ann.ready()
        for name in ("Run", "Stop", "Program", "Output", "Language", "Speed"):
            box = ann.run(FIND + "const b = named(%s).getBoundingClientRect(); return [b.left, b.right];" % json.dumps(name))
            self.assertTrue(0 <= box[0] and box[1] <= 361, (name, box))
        # After Run the field, the marked line and the error with its advice are seen at once, without scrolling.
        ann.start("from kelmora import *\nforward(5)\nfoward(20)\n")
        ann.finished()
        for what, least in ((".cm-error-line", 15), (".practice canvas", 150), (".advice", 20)):
            box = ann.run("const b = document.querySelector('%s').getBoundingClientRect(); return [b.top, b.bottom];" % what)
            self.assertTrue(0 <= box[0] and box[1] <= 740 and box[1] - box[0] >= least, (what, box))
        self.assertLessEqual(ann.run("return document.documentElement.scrollHeight;"), 740)
        # A lesson covers all of it. What is opened from there is seen, with a finger for a pointer, too.
        ann.run("globalThis.matchMedia = (query) => ({ matches: query.includes('coarse') });")
        ann.press("Learn")
        ann.wait("document.querySelector('.learn li')", "the lessons")
        ann.press("1. The first square")
        ann.press("Open in the editor")
        ann.wait("kelmora.editor.text().startsWith('from kelmora import *\\n\\nforward(100)') && !document.querySelector('.panel:not([hidden])')",
                 "the lesson's program in sight")


class InFirefox(Pages, unittest.TestCase):
    make_browser = Firefox


class InWebKit(Pages, unittest.TestCase):
    make_browser = WebKit
    test_desk_and_board = test_starting_program_and_waiting_pupil = test_share_and_german = None


def load_tests(loader, _tests, _pattern):
    wanted = os.environ.get("BROWSERS", "chromium firefox").split()
    kinds = {"chromium": InChromium, "firefox": InFirefox, "webkit": InWebKit}
    return unittest.TestSuite(loader.loadTestsFromTestCase(kinds[name]) for name in wanted)


if __name__ == "__main__":
    unittest.main(verbosity=2)
