"""Where another program that runs this library, such as a page in a browser, puts its own ways in.

Assign to these names; they are looked up at each use.
"""
from __future__ import annotations

import sys
import time
from typing import Callable, Optional


def _print_note(text: str) -> None:
    print("kelmora: " + text, file=sys.stderr)


sleep: Callable[[float], object] = time.sleep    # all of the library's own waiting, in seconds
check: Optional[Callable[[], object]] = None     # called before each exchange; may raise KeyboardInterrupt
note: Callable[[str], object] = _print_note      # notes for whoever wrote the program

_told: set[str] = set()


def note_once(key: str, text: str) -> None:
    """Gives the note when nothing has been noted under this key before."""
    if key not in _told:
        _told.add(key)
        note(text)
