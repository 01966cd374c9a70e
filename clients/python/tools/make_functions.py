#!/usr/bin/env python3
"""Writes src/kelmora/functions.py: every word of a turtle as a function of the module. `--check`: only compares."""
import inspect
import os
import sys
import textwrap
import types

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.join(HERE, "..", "src")
TARGET = os.path.join(SOURCE, "kelmora", "functions.py")

# The package without its __init__, which imports the file that is to be made.
package = types.ModuleType("kelmora")
package.__path__ = [os.path.join(SOURCE, "kelmora")]
sys.modules["kelmora"] = package

from kelmora.compat import ABSENT, NOTED  # noqa: E402
from kelmora.turtles import SCREEN_WORDS, Screen, Turtle  # noqa: E402

# Words for the whole field: they use any turtle of the program, and make one only if there is none.
OF_THE_FIELD = {"bgcolor", "clear", "clearscreen", "battle", "robot", "throw_coin", "card", "take_card", "clear_cards",
                "card_shown", "card_position", "clock", "turtles"}
OF_THE_SCREEN = set(NOTED) - {"speed", "hideturtle", "showturtle"} | {
    "colormode", "done", "mainloop", "exitonclick", "bye"} | SCREEN_WORDS

HEAD = '''"""Every word of a turtle as a function, for programs with one turtle. Made by tools/make_functions.py."""
from __future__ import annotations

from typing import Any, Callable, Dict, Optional

from .compat import REFUSING, TK
from .link import Answer, Batch
from .looks import Corners, Shape, getshapes, register_shape
from .senses import Callback
from .turtles import Screen, Turtle, anyone, default
from .vector import Vec2D
'''


def call_of(signature):
    """The arguments as a call passes them on."""
    words = []
    for parameter in signature.parameters.values():
        mark = {parameter.VAR_POSITIONAL: "*", parameter.VAR_KEYWORD: "**"}.get(parameter.kind, "")
        words.append(mark + parameter.name)
    return ", ".join(words)


def definition(word, method):
    signature = inspect.signature(method)
    signature = signature.replace(parameters=list(signature.parameters.values())[1:])
    whose = "anyone()" if word in OF_THE_FIELD else "Screen()" if word in OF_THE_SCREEN else "default()"
    head = str(signature).replace("'", "")  # annotations are texts; no default is one, but one
    head = head.replace("align: str = left", 'align: str = "left"')
    doc = inspect.cleandoc(method.__doc__)
    if "\n" in doc:
        doc += "\n"
    doc = textwrap.indent('"""' + doc + '"""', "    ").replace("\n\n    \n", "\n\n")
    doc = "\n".join(line.rstrip() for line in doc.split("\n"))
    lead = "" if head.endswith("-> None") else "return "
    return "\n\ndef %s%s:\n%s\n    %s%s.%s(%s)\n" % (word, head, doc, lead, whose, word, call_of(signature))


def text():
    words, aliases, seen = [], [], {}
    for word in dir(Turtle):
        value = inspect.getattr_static(Turtle, word)
        if word.startswith("_") or not inspect.isfunction(value):
            continue
        seen.setdefault(value, []).append(word)
    for value, names in seen.items():
        first = value.__name__
        words.append((first, value))
        aliases += [(name, first) for name in names if name != first]
    body = HEAD + "".join(definition(*pair) for pair in sorted(words))
    body += "\n\n" + "".join("%s = %s\n" % pair for pair in sorted(aliases))
    body += "\n# Words of Python's turtle that are not there: each raises NotHere and names the nearest.\n"
    body += "".join('%s = REFUSING["%s"]\n' % (word, word) for word in sorted(ABSENT))
    body += "\nRawTurtle = RawPen = Pen = Turtle\nTurtleScreen = Screen\naddshape = register_shape\n"
    names = sorted({name for name, _ in words} | {name for name, _ in aliases} | set(ABSENT) |
                   {"RawTurtle", "RawPen", "Pen", "Turtle", "Screen", "TurtleScreen", "Vec2D",
                    "Shape", "TK", "addshape", "getshapes", "register_shape"})
    body += "\n__all__ = [\n" + textwrap.fill(", ".join('"%s"' % name for name in names), 118, initial_indent="    ",
                                              subsequent_indent="    ") + "]\n"
    return body


def main():
    made = text()
    if sys.argv[1:] == ["--check"]:
        with open(TARGET, encoding="utf-8") as file:
            sys.exit(0 if file.read() == made else "functions.py is not up to date: run tools/make_functions.py")
    with open(TARGET, "w", encoding="utf-8") as file:
        file.write(made)


main()
