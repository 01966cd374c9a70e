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

def result_is_dropped() -> bool:
    """Whether the program does nothing with the result of the word that it has called: `forward(5)`, not `if forward(5)`.

    That stands in the instruction behind the call. For rare cases only: it is slow. False where Python does not tell.
    """
    try:
        import opcode  # here, so that the import of the library does not take it
    except ImportError:
        return False
    frame = sys._getframe(1) if hasattr(sys, "_getframe") else None
    while frame is not None and str(frame.f_globals.get("__name__")).partition(".")[0] == "kelmora":
        frame = frame.f_back
    if frame is None:
        return False
    code, place = frame.f_code.co_code, frame.f_lasti + 2
    while place < len(code) and opcode.opname[code[place]] == "CACHE":
        place += 2
    return place < len(code) and opcode.opname[code[place]] == "POP_TOP"


_told: set[str] = set()


def note_once(key: str, text: str) -> None:
    """Gives the note when nothing has been noted under this key before."""
    if key not in _told:
        _told.add(key)
        note(text)
