"""Drives turtles on a Kelmora field.

    from kelmora import *

    for _ in range(4):
        forward(100)
        left(90)

The words are those of Python's own turtle wherever they mean the same, and more: help(kelmora.Turtle) shows them all.
"""
from __future__ import annotations

from typing import Any

from . import errors, hooks
from .errors import (BadAnswer, BadValue, Blocked, Died, KelmoraError, Lost, NoAnswer, NoField, NotAdmitted, NotANumber,
                     NotHere)
from .link import Answer, Batch, Field
from .functions import *  # noqa: F401,F403
from .functions import __all__ as _words
from .practice import PracticeField, practice
from .transport import SocketTransport, Transport, use
from .turtles import default as _default

__version__ = "0.1.0"
__all__ = _words + ["Answer", "BadAnswer", "BadValue", "Blocked", "Died", "KelmoraError", "Lost", "NoAnswer", "NoField",
                    "NotAdmitted", "NotANumber", "NotHere", "practice", "use"]


def __getattr__(name: str) -> Any:
    """`kelmora.field` is the connection of the turtle that the functions drive."""
    if name == "field":
        return _default().field
    from difflib import get_close_matches
    near = get_close_matches(name, _words, 1)
    raise AttributeError("kelmora has no word %r.%s help(kelmora.Turtle) shows all."
                         % (name, " Did you mean %s?" % near[0] if near else ""))


def _warn_of_names() -> None:
    """Says so when the program that runs is a file named turtle.py: it stands in the way of Python's own turtle."""
    import os
    import sys
    path = getattr(sys.modules.get("__main__"), "__file__", None)
    if path and os.path.basename(path) == "turtle.py":
        hooks.note("your file is named turtle.py, so `import turtle` finds it instead of Python's own turtle. Give it "
                   "another name, and delete the folder __pycache__ beside it.")


_warn_of_names()
