"""All turtles of this program, and what they wait for together."""
from __future__ import annotations

import time
from typing import Callable

from . import hooks
from .body import Body
from .errors import Lost

BEAT = 0.02  # seconds between two questions for events

_living: list[Body] = []
_timers: list[tuple[float, Callable[[], object]]] = []


def living() -> list[Body]:
    """Those that have not left the field, the oldest first."""
    _living[:] = [turtle for turtle in _living if not turtle.field.closed]
    return list(_living)


def join(turtle: Body) -> None:
    _living.append(turtle)


def replace(old: Body, new: Body) -> None:
    """The new one has taken over the connection of the old one."""
    _living[_living.index(old)] = new


def count_anew() -> None:
    """All turtles go home and count as the program now counts."""
    for turtle in living():
        turtle._count_anew()


def ontimer(fun: Callable[[], object], t: int = 0) -> None:
    """Calls fun() once, t milliseconds from now, while the program waits in done()."""
    _timers.append((time.monotonic() + t / 1000, fun))


def done() -> None:
    """The end of a program: at once, unless on_hit() and the like or ontimer() wait for something.

    Then their functions are called as things happen, until nothing is left to wait for, all turtles have gone, or Ctrl-C
    is pressed. What was painted stays on the field.
    """
    try:
        while _timers or any(turtle.field.listening for turtle in living()):
            for turtle in living():
                if turtle.field.listening:
                    _ping(turtle)
            for timer in [timer for timer in _timers if timer[0] <= time.monotonic()]:
                _timers.remove(timer)
                timer[1]()
            hooks.sleep(BEAT)
    except KeyboardInterrupt:
        pass


def _ping(turtle: Body) -> None:
    try:
        turtle.field.ask(".")
    except Lost:
        pass  # that one has gone; the others may go on
