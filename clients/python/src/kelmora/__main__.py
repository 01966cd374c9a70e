"""`python -m kelmora`: draws a hello and says what it found. `python -m kelmora doctor`: looks at what may be wrong."""
from __future__ import annotations

import sys

from .errors import KelmoraError
from .turtles import Turtle, leave

USAGE = """usage: python -m kelmora          draws a hello on the field and says what it found there
       python -m kelmora doctor   checks the way to the field, step by step
       kelmora-repl               a prompt for first steps
The field is the one at KELMORA_HOST (else this machine) and KELMORA_PORT (else 2222)."""

# The strokes of each letter, in tenths of its height, and how far on the next letter begins.
LETTERS = {
    "h": ([[(0, 10), (0, 0)], [(0, 4), (2, 6), (4, 5), (4, 0)]], 6),
    "e": ([[(0, 3), (4, 3), (4, 5), (2, 6), (0, 4), (0, 2), (2, 0), (4, 1)]], 6),
    "l": ([[(0, 10), (0, 1), (1, 0)]], 3),
    "o": ([[(2, 6), (0, 4), (0, 2), (2, 0), (4, 2), (4, 4), (2, 6)]], 5)}
SIZE = 6.0  # units of a tenth


def draw_hello(turtle: Turtle) -> bool:
    """Writes hello across the field at the turtle's height, with strokes of a pen; False when the field refused some."""
    x, y = -SIZE * sum(LETTERS[letter][1] for letter in "hello") / 2, max(-200.0, min(180.0, turtle.ycor()))
    turtle.pensize(3)
    for letter in "hello":
        strokes, width = LETTERS[letter]
        for stroke in strokes:
            for k, (right, up) in enumerate(stroke):
                place = (x + SIZE * right, y + SIZE * up)
                if not (turtle.goto(place) if k else turtle.teleport(*place)):
                    return False
        x += SIZE * width
    return True


def hello() -> None:
    turtle = Turtle(name="hello", home=False)
    turtle.pencolor("gold")
    drawn = draw_hello(turtle)
    print("There is a field at %s. Its clock shows %d; turtles on it, zombies and doughnuts included: %d."
          % (turtle.field.where, turtle.clock(), turtle.turtles()))
    print("Your turtle has drawn a hello." if drawn else
          "Your turtle could not draw its hello: in battle mode, and while somebody stands closer than 20, the field "
          "lets nobody jump.")
    print("Now try kelmora-repl, or a program:\n\n"
          "    from kelmora import *\n    for _ in range(4):\n        forward(100)\n        left(90)\n")
    leave(turtle)


def main() -> int:
    words = sys.argv[1:]
    if words == ["doctor"]:
        from .doctor import main as doctor
        return doctor()
    if words:
        print(USAGE)
        return 0 if words in (["-h"], ["--help"]) else 2
    try:
        hello()
    except KelmoraError as error:
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
