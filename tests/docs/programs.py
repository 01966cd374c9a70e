"""Runs the programs of the examples and lessons, each on an empty field, and reports what they leave there.

A program runs in its own process, as a reader would start it: with the library of clients/python and nothing else.
Run inside scripts/in-namespace, as all that uses tests/wire/harness.py.
"""
import json
import math
import os
import re
import subprocess
import sys
import tempfile
import urllib.request

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "wire"))
import harness  # noqa: E402
from harness import VIEWER_PORT, client_in_maze, patience, served_connections, wait_until  # noqa: E402

harness.slow = max(harness.slow, 4)  # deadlines here only bound a hang, on a busy machine too

TOP = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
LIBRARY = os.environ.get("KELMORA_PYTHON") or os.path.join(TOP, "clients", "python", "src")
TIME_LIMIT = 200  # seconds for one program, four times as long at least (see above); only bounds a hang
BODY = 14         # pixels around a turtle that the turtle itself may cover


def ask_list(kind):
    """One of the lists for browsers."""
    with urllib.request.urlopen(f"http://127.0.0.1:{VIEWER_PORT}/{kind}", timeout=patience(harness.HANG)) as answer:
        return json.load(answer)


class Left:
    """What a program leaves behind."""

    def __init__(self, out, turtles, coins, picture):
        self.out = out                                   # what it printed
        self.turtles = [each for each in turtles if each["type"] == 1 and each["alive"]]
        self.doughnuts = [each for each in turtles if each["type"] == 2 and each["alive"]]
        self.coins = coins                               # on the field
        self.picture = picture                           # pixels [row from the top, column, colour]

    def apart(self, thing):
        """Distance of a thing from the program's first turtle, centre to centre."""
        return math.hypot(thing["x"] - self.turtles[0]["x"], thing["y"] - self.turtles[0]["y"])

    def painted(self, *colour):
        """Number of pixels that are not black; with a colour (three parts, 0 to 255) of those near it."""
        if colour:
            return int((abs(self.picture - list(colour)).max(axis=2) < 48).sum())
        return int((self.picture.max(axis=2) > 24).sum())


def prepare(field, things=""):
    """Empties the field and prepares what the words name: maze, bounded, stones N, names."""
    with client_in_maze() as client:                    # there may be one
        client.do("! u", "h 0 0 0")
    if len(ask_list("wall")) > 4:
        field.key("M")
    field.key("K")
    field.settle()
    wait_until(lambda: served_connections() == 0, 20, "all programs to be gone")
    words = things.split()
    while words:
        word = words.pop(0)
        if word == "stones":
            for _ in range(int(words.pop(0))):
                field.key("o")
        else:
            field.key({"maze": "M", "bounded": "b", "names": "n", "bird": "3"}[word])
    field.settle()


ATTEMPTS = 6


def bad_luck(source, things, errors):
    """Whether a program ended early because of what the field left to chance: robots shot its turtle, a quarter of all
    hunts end so, or none of the places that were tried at a maze's entrance was far enough from the walls."""
    shot = "robot(" in source and re.search("has died|connection to the field.*has ended", errors)
    return bool(shot) or things == "maze" and "hung up at once" in errors


def run(field, source, things="", answers="", seconds=TIME_LIMIT):
    """Runs a program's text, with bad luck more than once. Fails when it does not end in time or ends with an error;
    returns what it left."""
    prepare(field, things)
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "program.py")
        with open(path, "w", encoding="utf-8") as file:
            file.write(source)
        environment = dict(os.environ, PYTHONPATH=LIBRARY, PYTHONDONTWRITEBYTECODE="1")
        for _ in range(ATTEMPTS):
            try:
                ended = subprocess.run([sys.executable, path], input=answers, text=True, capture_output=True, cwd=folder,
                                       env=environment, timeout=patience(seconds), check=False)
            except subprocess.TimeoutExpired as late:
                raise AssertionError(f"did not end in time; printed {late.stdout!r} {late.stderr!r}") from late
            if ended.returncode == 0 or not bad_luck(source, things, ended.stderr):
                break
            prepare(field, things)
    if ended.returncode != 0:
        raise AssertionError(f"ended with {ended.returncode}:\n{ended.stdout}{ended.stderr}")
    wait_until(lambda: served_connections() == 0, 20, "the program's connections to be closed")
    left = Left(ended.stdout, ask_list("turtle"), ask_list("coin"), field.captured())
    left.errors = ended.stderr
    return left


FENCE = re.compile(r"((?:^<!--[^\n]*-->\n)*)^```python\n(.*?)^```$", re.MULTILINE | re.DOTALL)
NOTE = re.compile(r"^<!-- (\w+): (.*) -->$", re.MULTILINE)


class Block:
    """A program in a document, with the notes above it as comments: `<!-- KIND: TEXT -->`.

    ends     a Python condition that holds when the program has ended; see names()
    picture  the picture that it paints, beside the document
    shot     a picture taken during a run, beside the document; FILE when CONDITION says when to take it
    field    what it needs on the field: maze, bounded, stones N, names
    answers  what the reader types, with / between lines
    """

    def __init__(self, document, line, source, notes):
        self.document, self.line, self.source, self.notes = document, line, source, dict(notes)
        unknown = set(self.notes) - {"ends", "picture", "shot", "field", "answers"}
        if unknown:
            raise ValueError(f"{document}:{line}: {unknown}")

    def run(self, field):
        return run(field, self.source, self.notes.get("field", ""), self.notes.get("answers", "").replace("/", "\n"))


def blocks_of(path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    blocks = [Block(path, text.count("\n", 0, found.start(2)), found[2], NOTE.findall(found[1]))
              for found in FENCE.finditer(text)]
    if len(blocks) != text.count("```python"):
        raise ValueError(f"{path}: a block of Python that does not begin and end at the edge")
    return blocks


def names(left):
    """The names that an `ends` note can use, of the program's first turtle and of the field."""
    first = left.turtles[0] if left.turtles else {}
    return {"left": left, "out": left.out, "painted": left.painted, "near": lambda a, b, reach=1: abs(a - b) <= reach,
            "turtles": left.turtles, "doughnuts": left.doughnuts, "coins": left.coins,
            "x": first.get("x"), "y": first.get("y"), "heading": first.get("head", 0) % 360,
            "score": first.get("score"), "carried": first.get("ncoin")}
