"""How Stop ends programs in the page's Python: the runner under this machine's Python, with a stand-in for the worker.

Stop is pressed a little after the program has printed "go", in computing time, so that it is in its loop by then however
busy the machine is. From then on it is interrupted every few milliseconds, as by reading the interrupt buffer in a page.
"""
import asyncio
import builtins
import faulthandler
import json
import os
import signal
import sys
import time
import types
import unittest
from unittest import mock

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
TICK = 0.005  # seconds of computing between two interrupts
TICKS = 4  # from "go" to Stop
HANG = 300  # seconds; only bounds a hang


class Host(types.ModuleType):
    """What the worker offers to the runner."""

    def __init__(self):
        super().__init__("kelmora_host")
        self.pace = 0  # lines a second
        self.interrupts = True
        self.begin(None)

    def begin(self, reason):
        self.running = True
        self.pressed = False
        self.left = None  # ticks until Stop is pressed; None: not yet
        self.said = ""
        self.last = ""  # what was said after Stop
        self.asked = 0  # times after Stop
        self.reason = reason

    def out(self, text, _is_error):
        self.said += text
        self.last += text if self.pressed else ""
        if text == "go" and self.left is None:
            self.left = TICKS

    def ask(self, _prompt):
        self.asked += self.pressed
        if self.pressed and self.reason != "stopped":
            return json.dumps({"ended": self.reason})
        return json.dumps({"answer": None if self.pressed else "many"})

    def lines(self, _text):
        self.pressed = True  # Stop comes while the turtle is about to join
        return json.dumps({"ended": "stopped"})

    def wait(self, _ms):
        return self.pressed

    def stopped(self):
        return self.pressed

    def speed(self):
        return self.pace

    def over(self):
        self.running = False

    def bound(self, _is_running):
        pass

    def flush(self):
        pass

    def line(self, _number):
        pass

    def draw(self, _what):
        pass


host = sys.modules["kelmora_host"] = Host()
sys.path[:0] = [os.path.join(ROOT, "web", "src", "edit"), os.path.join(ROOT, "clients", "python", "src")]
if not hasattr(asyncio.events, "_BaseDefaultEventLoopPolicy"):  # its name before Python 3.14
    asyncio.events._BaseDefaultEventLoopPolicy = asyncio.events.BaseDefaultEventLoopPolicy
import runner  # noqa: E402

PROMPT = runner.LAST_WORDS


def tick(_signal, _frame):
    if host.left:
        host.left -= 1
        host.pressed = host.left == 0
    if host.running and host.pressed and host.interrupts:
        signal.raise_signal(signal.SIGINT)


class Stop(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # Not runner.set_up(), which also changes the page's files.
        cls.enterClassContext(mock.patch.object(builtins, "input", runner._input))
        cls.enterClassContext(mock.patch.object(time, "sleep", runner._sleep))
        cls.addClassCleanup(signal.signal, signal.SIGINT, signal.getsignal(signal.SIGINT))
        cls.addClassCleanup(signal.signal, signal.SIGVTALRM, signal.signal(signal.SIGVTALRM, tick))

    def setUp(self):
        faulthandler.dump_traceback_later(HANG, exit=True, file=sys.__stderr__)
        self.addCleanup(faulthandler.cancel_dump_traceback_later)
        signal.setitimer(signal.ITIMER_VIRTUAL, TICK, TICK)
        self.addCleanup(signal.setitimer, signal.ITIMER_VIRTUAL, 0)
        self.addCleanup(setattr, runner, "LAST_WORDS", PROMPT)
        self.addCleanup(setattr, host, "pace", 0)

    def run_it(self, source, tried=False, reason="stopped", practice=True):
        host.begin(reason)
        return json.loads(runner.try_line(source) if tried else runner.run(source, practice))

    def assert_stopped(self, ended, reason="stopped"):
        self.assertEqual(ended, {"how": "stopped", "reason": reason}, host.said[-300:])

    # How often a handler that catches everything is called at most, usually by the first interrupt only.

    CATCH_ALL = {
        "a loop of its own": (1, """
            while True:
                try:
                    while True: sum(range(100))
                except:
                    print('caught')
            """),
        "functions in functions": (1, """
            def inner():
                try: sum(range(100))
                except BaseException: print('caught')
            def outer():
                try:
                    while True: inner()
                except: print('caught')
            while True:
                try: outer()
                except (ValueError, BaseException): print('caught')
            """),
        "KeyboardInterrupt alone": (1, """
            while True:
                try:
                    while True: sum(range(100))
                except ValueError:
                    pass
                except KeyboardInterrupt:
                    print('caught')
            """),
        "another name for it": (1, """
            everything = BaseException
            while True:
                try:
                    while True: sum(range(100))
                except everything:
                    print('caught')
            """),
        "input()": (1, """
            while True:
                try:
                    n = int(input('How many? '))
                    break
                except:
                    print('caught')
            """),
        "sleep()": (1, """
            import time
            while True:
                try:
                    while True: time.sleep(1)
                except:
                    print('caught')
            """),
        "a turtle": (1, """
            from kelmora import *
            def turn():
                try: left(90)
                except: pass
            while True:
                try: forward(5)
                except:
                    print('caught')
                    turn()
            """),
        "a generator": (2,  # the second time when the generator itself is ended
            """
            def numbers():
                while True:
                    try: yield sum(range(100))
                    except: print('caught')
            for n in numbers():
                try: n += 1
                except: print('caught')
            """),
        "a class": (1, """
            class Game:
                while True:
                    try:
                        while True: sum(range(100))
                    except:
                        print('caught')
            """),
        "finally": (0, """
            try:
                while True: sum(range(100))
            finally:
                while True: sum(range(100))
            """),
    }

    def test_exception_whose_text_fails(self):
        ended = self.run_it("class E(Exception):\n    def __str__(self): pass\nraise E\n")
        self.assertEqual(ended["how"], "error")
        self.assertEqual((ended["error"]["kind"], ended["error"]["line"]), ("E", 3))
        self.assertIn("str() failed", ended["error"]["message"])

    def test_programs_that_catch_everything(self):
        for name, (most, source) in self.CATCH_ALL.items():
            lines = source.splitlines()
            source = "x = 42\nprint('go')\n" + "\n".join(line[12:] for line in lines)
            with self.subTest(name):
                self.assert_stopped(self.run_it(source))
                self.assertLessEqual(host.last.count("caught"), most)
                self.assertLessEqual(host.asked, 1)
                self.assertEqual(runner._globals["x"], 42)
            with self.subTest(name + ", step by step"):
                host.pace = 1000
                self.assert_stopped(self.run_it(source))
                self.assertLessEqual(host.last.count("caught"), most)
                host.pace = 0

    def test_the_first_reason_is_told(self):
        host.interrupts = False
        self.addCleanup(setattr, host, "interrupts", True)
        source = "print('go')\nwhile True:\n    try: input()\n    except: print('caught')\n"
        self.assert_stopped(self.run_it(source, reason="removed"), "removed")
        self.assertEqual(host.last, "caught\n")

    def test_while_the_turtle_joins(self):
        host.interrupts = False
        self.addCleanup(setattr, host, "interrupts", True)
        source = "from kelmora import *\nwhile True:\n    try: forward(5)\n    except: left(90)\n"
        self.assert_stopped(self.run_it(source, practice=False))

    def test_a_tried_line(self):
        self.run_it("x = 1\n")
        self.assert_stopped(self.run_it("while True:\n    try:\n        x = 2; print('' if x > 2 else 'go')\n    except: pass\n", tried=True))
        self.assertEqual(self.run_it("x\n", tried=True)["how"], "done")
        self.assertEqual(host.said, "2\n")

    # What has always held for Ctrl-C holds for the first interrupt. (Python itself does not catch one that comes at the
    # start of a round of a loop with which a try block begins.)

    def test_a_program_that_says_bye_ends_by_itself(self):
        runner.LAST_WORDS = HANG
        for wait in ("while True: x += 1", "import time; time.sleep(500)", "while True: input('? ')"):
            for host.pace in (0, 1000):
                with self.subTest(wait, pace=host.pace):
                    ended = self.run_it("print('go')\ntry:\n    try:\n        x = 0\n        %s\n    finally:\n        print('inner')\n"
                                        "except KeyboardInterrupt as e:\n    print(repr(e), sum(range(99999)))\n    print('bye')\n" % wait)
                    self.assertEqual(ended["how"], "done", host.said)
                    self.assertIn("inner\nKeyboardInterrupt() 4999850001\nbye\n", host.said)

    def test_an_interrupt_that_is_raised_again_is_seen_by_all_handlers(self):
        runner.LAST_WORDS = HANG
        ended = self.run_it("print('go')\ntry:\n    try:\n        x = 0\n        while True: x += 1\n    except:\n        print('one')\n        raise\n"
                            "except BaseException:\n    print('two')\n")
        self.assertEqual(ended["how"], "done")
        self.assertIn("one\ntwo\n", host.said)

    def test_without_stop_nothing_changes(self):
        source = ("try:\n    raise KeyboardInterrupt\nexcept KeyboardInterrupt:\n    print('own')\n"
                  "for i in range(3):\n    try:\n        [][i]\n    except IndexError as e:\n        print(e)\n    else:\n        print('no')\n"
                  "try:\n    int('x')\nexcept:\n    print('bare')\n"
                  "try:\n    1 / 0\nexcept ValueError:\n    pass\n")
        ended = self.run_it(source)
        self.assertEqual(host.said, "own\n" + "list index out of range\n" * 3 + "bare\n")
        self.assertEqual((ended["how"], ended["error"]["kind"], ended["error"]["line"]), ("error", "ZeroDivisionError", 17))

    def test_stepping_marks_the_program_s_own_lines(self):
        seen = []
        self.addCleanup(setattr, host, "line", host.line)
        host.line, host.pace = seen.append, 100000
        self.run_it("try:\n    x = 1\n    1 / 0\nexcept ValueError:\n    pass\nexcept ZeroDivisionError:\n    x = 2\ntry:\n    int('x')\n"
                    "except:\n    x = 3\n")
        self.assertEqual(seen, [1, 2, 3, 4, 6, 7, 8, 9, 10, 11])


if __name__ == "__main__":
    unittest.main(verbosity=2)
