"""Runs one program at a time inside the page's Python worker.

`host` is the worker's side: out(text, is_error), ask(prompt), wait(ms), line(n), speed(), lines(text), draw(json),
bound(is_running), which says how much of the browser's stack may be used.
An exception of a program is returned by run() as JSON; nothing printed here is shown to students.
"""
import ast
import asyncio
import builtins
import collections
import io
import json
import linecache
import math
import os
import random
import signal
import sys
import time
import traceback

import kelmora_host as host

PROGRAM = "program.py"
FULL_SPEED = 0  # lines a second; 0 is without a brake
PRACTICE_PACE = 1 / 60  # seconds between two frames of the practice field, so that one can watch
RECURSION_LIMIT = 1000  # as natively; a function that calls itself takes none of the browser's own stack
MOST_FRAMES = 8  # of a traceback that is shown: a recursion without an end has a thousand
LAST_WORDS = 0.3  # seconds that a program may go on for after it has caught the interrupt

_globals = {}
_untouched = {}  # modules with all their names as they were before any program, which may have set math.pi
_over = None  # why the run is over, in the class server's word; None while it goes on
_over_since = 0.0


class _Stream(io.TextIOBase):
    encoding = "utf-8"

    def isatty(self):
        return False


class _Output(_Stream):
    """Standard output or error: text goes to the page at once."""

    def __init__(self, is_error):
        super().__init__()
        self._is_error = is_error

    def writable(self):
        return True

    def write(self, text):
        if not isinstance(text, str):
            raise TypeError(f"write() argument must be str, not {type(text).__name__}")
        host.out(text, self._is_error)
        return len(text)


class _Input(_Stream):
    """Standard input: each line is asked for at the page. An empty line is the end for those who read on to the end."""

    def readable(self):
        return True

    def readline(self, size=-1):
        return _input() + "\n"

    def __next__(self):
        line = self.readline()
        if line == "\n":
            raise StopIteration
        return line

    def read(self, size=-1):
        return "".join(self)


class StillRunning(BaseException):
    """Ends a program that has caught the KeyboardInterrupt and goes on. Its handlers let it pass; see _let_pass()."""


def _end(reason="stopped"):
    """Ends the program: as Ctrl-C does, which it may catch, and if it has done so, by what it does not catch."""
    global _over, _over_since
    if _over is not None:
        raise StillRunning
    _over, _over_since = reason, time.monotonic()
    raise KeyboardInterrupt


def _interrupted(_signal, _frame):
    """Called between two instructions, again and again once Stop was pressed."""
    if _over is None or time.monotonic() - _over_since >= LAST_WORDS:
        _end()


def _let_pass(tree):
    """Puts `except StillRunning: raise` before the handlers of each try statement, as `except:` would catch it, too."""
    for node in ast.walk(tree):
        if isinstance(node, ast.Try) and node.handlers:
            first = ast.ExceptHandler(type=ast.Name(id=_STILL_RUNNING, ctx=ast.Load()), body=[ast.Raise()])
            for part in ast.walk(first):
                ast.copy_location(part, node.handlers[0])
            node.handlers.insert(0, first)


_STILL_RUNNING = "<StillRunning>"  # a name that no program can use for something else
setattr(builtins, _STILL_RUNNING, StillRunning)


class ClassError(Exception):
    """The class server refused something; `told` is its answer, `word` its error word."""

    def __init__(self, told):
        super().__init__(told.get("message", ""))
        self.told = told


def answer_of(text):
    """The worker's answer; raises the exception it stands for."""
    told = json.loads(text)
    if "ended" in told:
        _end(told["ended"])
    if "refused" in told:
        refused = told["refused"]
        if refused.get("word") == "field":
            raise EOFError(refused.get("message", ""))
        if refused.get("word") == "offline":
            raise OSError(refused.get("message", ""))
        raise ClassError(refused)
    return told["answer"]


def _input(prompt=""):
    answer = answer_of(host.ask(str(prompt)))
    if answer is None:
        _end()
    return answer


def _sleep(seconds):
    if isinstance(seconds, (str, bytes)) or not hasattr(seconds, "__float__") and not hasattr(seconds, "__index__"):
        raise TypeError(f"sleep() wants a number of seconds, not {seconds!r}")
    wanted = float(seconds)
    if wanted != wanted:
        raise ValueError("Invalid value NaN (not a number)")
    if wanted < 0:
        raise ValueError("sleep length must be non-negative")
    host.flush()
    # By difference, as a program would measure it: where the clock counts whole milliseconds, a sum is rounded to too little.
    began = time.monotonic()
    while True:
        left = wanted - (time.monotonic() - began)
        if left <= 0:
            return
        if _over is not None or host.wait(min(left, 0.05) * 1000):
            _end()


_system = os.system


def _clear_or_system(command):
    """Wipes the output for the commands that clear a terminal."""
    if command in ("clear", "cls"):
        host.out("\x1b[2J", False)
        return 0
    return _system(command)


class _EventLoop(asyncio.base_events.BaseEventLoop):
    """What asyncio.run() uses: it blocks, as natively, while the browser's own loop would run on. It watches no files."""

    used = []  # by this run

    def __init__(self):
        super().__init__()
        self._selector = self
        self.used.append(self)

    def select(self, timeout):
        """Waits for the next timer; for ever, until Stop is pressed, when there is none."""
        while timeout is None:
            _sleep(60)
        _sleep(timeout)
        return []

    def _process_events(self, event_list):
        pass

    def _write_to_self(self):
        pass


class _EventLoops(asyncio.events._BaseDefaultEventLoopPolicy):
    _loop_factory = _EventLoop


def _end_tasks():
    """Ends what is left of a stopped run's tasks, which could catch being thrown away and go on in the next run."""
    for task in [task for loop in _EventLoop.used for task in asyncio.all_tasks(loop)]:
        task._log_destroy_pending = False
        try:
            task.get_coro().throw(StillRunning)
        except BaseException:
            pass
    _EventLoop.used.clear()


def _use_own_event_loop():
    asyncio.run = asyncio.runners.run
    asyncio.events._set_event_loop_policy(_EventLoops())
    asyncio._set_running_loop(None)


class _SeatTransport:
    """Sends a turtle's lines to its place on the field through the class server."""

    where = "the class"

    def __init__(self):
        self._answers = collections.deque()

    def send(self, lines):
        self._answers.extend(answer_of(host.lines(lines)).splitlines())

    def receive(self):
        if not self._answers:
            raise EOFError("the field did not answer every command")
        return self._answers.popleft()

    def close(self):
        self._answers.clear()


class _Painter:
    """Records what the practice field paints, and passes it to the page frame by frame."""

    def __init__(self):
        self._acts = []

    def frame(self):
        if self._acts:
            host.draw(json.dumps(self._acts))
            self._acts.clear()


def _note(name):
    def act(self, *arguments):
        self._acts.append((name, *arguments))
    return act


for _name in ("wipe", "line", "polygon", "point", "text", "turtle", "gone", "coin", "card"):
    setattr(_Painter, _name, _note(_name))


def _check():
    brake()
    if host.stopped():
        _end()


def _fresh_kelmora(practice):
    """Imports the package again, so that no turtle of the last program remains, and sets where its field is."""
    for name in [name for name in sys.modules if name == "turtle" or name.split(".")[0] == "kelmora"]:
        del sys.modules[name]
    import kelmora
    from kelmora import hooks

    hooks.sleep = _sleep
    hooks.check = _check
    sys.modules["turtle"] = kelmora  # lessons for Python's own turtle run unchanged
    if practice:
        painter = _Painter()
        kelmora.practice(painter=painter, pace=PRACTICE_PACE)
        return painter
    seats = []

    def seat():
        _check()
        if seats:
            raise RuntimeError("In the class everybody has one turtle on the field. On the practice canvas there may be more.")
        seats.append(_SeatTransport())
        return seats[0]

    kelmora.use(seat)
    return None


def _trace(frame, event, _arg):
    if frame.f_code.co_filename != PROGRAM:
        return None
    if event == "line":
        speed = host.speed()
        if speed == FULL_SPEED or _over is not None:
            sys.settrace(None)
            return None
        host.line(frame.f_lineno)
        _sleep(1 / speed)
    return _trace


def brake():
    """Called with every command to a turtle: starts stepping when the speed was lowered during a run."""
    if host.speed() != FULL_SPEED and sys.gettrace() is None:
        frame = sys._getframe(1)
        while frame is not None:
            if frame.f_code.co_filename == PROGRAM:
                frame.f_trace = _trace
            frame = frame.f_back
        sys.settrace(_trace)


def _frames_of(error):
    return [f for f in traceback.extract_tb(error.__traceback__) if f.filename == PROGRAM]


def _text_of(error):
    """The exception's own text; what Python prints when the program's __str__() fails."""
    try:
        return str(error)
    except Exception:
        return "<exception str() failed>"


def _describe(error):
    """What the page shows and marks: kind, message, line (from 1), columns (from 0), the lines that led there."""
    told = {"kind": type(error).__name__, "message": _text_of(error), "line": None, "column": None, "end": None,
            "through": [], "bases": [base.__name__ for base in type(error).__mro__]}
    if isinstance(error, SyntaxError) and error.filename == PROGRAM:
        told["message"] = error.msg
        told["line"] = error.lineno
        told["column"] = max((error.offset or 1) - 1, 0)
        if error.end_lineno == error.lineno and (error.end_offset or 0) > (error.offset or 0):
            told["end"] = error.end_offset - 1
        return told
    if isinstance(error, ClassError):
        told["refused"] = error.told
        return _with_place(told, error)
    # "Did you mean" is added when a traceback is printed, and is not part of the exception.
    try:
        last = traceback.TracebackException.from_exception(error)
        told["message"] = "".join(last.format_exception_only()).strip().split(": ", 1)[-1] if _text_of(error) else ""
    except Exception:
        pass
    return _with_place(told, error)


def _with_place(told, error):
    frames = _frames_of(error)
    if frames:
        last = frames[-1]
        told["line"] = last.lineno
        if last.end_lineno == last.lineno:
            told["column"], told["end"] = last.colno, last.end_colno
        lines = [f.lineno for f in frames[:-1]]
        told["through"] = [n for i, n in enumerate(lines) if i == 0 or n != lines[i - 1]][-MOST_FRAMES:]
    return told


def _finish(error, idle):
    for name, stream in _streams.items():
        setattr(sys, name, stream)
    if error is None:
        return json.dumps({"how": "done", "idle": idle})
    if isinstance(error, (KeyboardInterrupt, StillRunning)):
        return json.dumps({"how": "stopped", "reason": _over or "stopped"})
    if isinstance(error, SystemExit):
        code = error.code
        if isinstance(code, str):
            sys.stderr.write(code + "\n")
        return json.dumps({"how": "done"})
    return json.dumps({"how": "error", "error": _describe(error)})


_painter = None  # of the practice canvas; lines that are tried later are painted by it, too
_streams = {"stdout": _Output(False), "stderr": _Output(True), "stdin": _Input()}


def _forget_modules(before):
    """Unloads modules, so that a program opened under a module's name does not stay loaded for the next."""
    for name in [name for name in sys.modules if name not in before]:
        module = sys.modules[name]
        if getattr(module, "__file__", None) == PROGRAM:
            del sys.modules[name]


def run(source, practice):
    """Runs a program from the start in an empty namespace; returns the JSON text of how it ended."""
    sys.stdout = sys.stderr = io.StringIO()  # what objects of the last program print as they go is not this one's
    _globals.clear()
    for module, names in _untouched.items():
        vars(module).update(names)
    _globals.update({"__name__": "__main__", "__doc__": None, "__builtins__": builtins, "__file__": PROGRAM})
    random.seed()  # the last program may have chosen its numbers
    sys.setrecursionlimit(RECURSION_LIMIT)
    if "decimal" in sys.modules:
        sys.modules["decimal"].setcontext(sys.modules["decimal"].Context())
    return _execute(source, "exec", lambda: _fresh_kelmora(practice))


def try_line(source):
    """Runs one more statement in the namespace of the last program; an expression's value is shown."""
    if not _globals:
        _globals.update({"__name__": "__main__", "__builtins__": builtins})
    return _execute(source, "single")


def _execute(source, mode, prepare=None):
    global _painter, _over
    _over = None
    signal.signal(signal.SIGINT, _interrupted)
    sys.stdout, sys.stderr, sys.stdin = _streams["stdout"], _streams["stderr"], _streams["stdin"]
    linecache.cache[PROGRAM] = (len(source), None, source.splitlines(True), PROGRAM)
    before = set(sys.modules)
    error = None
    idle = []
    try:
        if prepare:
            _painter = None
            _painter = prepare()
        if mode == "single":
            source += "\n"  # that ends a loop written in one line
        host.bound(False)
        tree = compile(source, PROGRAM, mode, ast.PyCF_ONLY_AST)
        idle = _idle_words(tree)
        _let_pass(tree)
        code = compile(tree, PROGRAM, mode)
        host.bound(True)
        if host.speed() != FULL_SPEED:
            sys.settrace(_trace)
        try:
            exec(code, _globals)
        finally:
            _end_tasks()
        host.over()
    except BaseException as caught:  # also SystemExit and KeyboardInterrupt
        host.over()
        error = caught
    sys.settrace(None)
    if _painter is not None:
        _painter.frame()  # what the last commands have painted
    _forget_modules(before)
    idle = [] if mode == "single" else [told for told in idle if callable(_globals.get(told["word"]))]
    return _finish(error, idle[:3])


def _idle_words(tree):
    """Names that stand alone as a statement, as when the brackets of a call were forgotten."""
    return [{"line": node.lineno, "word": node.value.id} for node in ast.walk(tree)
            if isinstance(node, ast.Expr) and isinstance(node.value, ast.Name)]


def set_up():
    builtins.input = _input
    time.sleep = _sleep
    _untouched.update((module, dict(vars(module))) for module in (builtins, math, random, time))
    random.seed()  # the snapshot holds one random state for all
    os.system = _clear_or_system
    os.unlink("/dev/tty")  # so that getpass() asks at the page
    _use_own_event_loop()
    _fresh_kelmora(False)  # compiled once, so that the first run need not
