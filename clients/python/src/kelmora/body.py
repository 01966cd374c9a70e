"""What all words of a turtle stand on: its connection, what it knows of its pen, and how numbers are spelled."""
from __future__ import annotations

import math
from typing import Any, NamedTuple, Optional

from . import world
from .colors import Color, named
from .errors import NotANumber
from .link import Field, Reader
from .vector import Vec2D

RED = named("red")         # the field's pen for a fresh turtle
LONGEST_WHOLE = 10 ** 15   # whole numbers below this are their own shortest digits
LINES, POLYGONS, POINTS, BRUSH = "l", "l s", "l p", "l b"  # the commands of the four ways to paint


def number(value: Any) -> float:
    """The value as a finite float; raises NotANumber."""
    if not isinstance(value, (str, bytes)):
        try:
            result = float(value)
        except (TypeError, ValueError, OverflowError):
            pass
        else:
            if math.isfinite(result):
                return result
    hint = " A text is no number: float(...) makes one of it." if isinstance(value, str) else ""
    raise NotANumber("A finite number is needed here, not %.60r.%s" % (value, hint))


def spell(value: Any) -> str:
    """The number as it travels: its shortest digits, no point behind a whole one; raises NotANumber."""
    if type(value) is int and -LONGEST_WHOLE < value < LONGEST_WHOLE:
        return str(value)
    digits = repr(number(value))
    return digits[:-2] if digits.endswith(".0") else digits


def numbers_in(values: str, count: int) -> list[float]:
    """The so many finite numbers of an answer; raises ValueError when it holds anything else."""
    found = [float(word) for word in values.split()]
    if len(found) != count or not all(map(math.isfinite, found)):
        raise ValueError(values)
    return found


def read_place(values: str) -> Vec2D:
    """The place in an answer. Adding 0.0 makes a 0 of a -0, which looks odd."""
    x, y = numbers_in(values, 2)
    return Vec2D(x + 0.0, y + 0.0)


class Stroke(NamedTuple):
    """One painted step."""
    start: Vec2D
    end: Vec2D
    color: Color
    width: float
    way: str  # LINES, POLYGONS, POINTS or BRUSH


class Trace:
    """Where a turtle goes while somebody wants to know it: between begin_fill() and end_fill(), for one."""

    def __init__(self, start: Vec2D) -> None:
        self.points = [start]
        self.strokes: list[Stroke] = []

    def add(self, end: Vec2D, pen: Optional[tuple[Color, float, str]]) -> None:
        """A step has led here; pen: with what it painted, None when the pen was up."""
        if pen is not None:
            self.strokes.append(Stroke(self.points[-1], end, *pen))
        self.points.append(end)


class Body:
    """A turtle's connection and what the library keeps of its pen."""

    def __init__(self, field: Field) -> None:
        self._field = field
        self._strict = False
        self._obstacle: Optional[str] = None      # what the field last said is in the way
        self._angle_unit = 1.0                    # degrees in a unit of angle
        self._world = world.current               # None: places are the field's own
        self._logo = world.logo                   # headings from the top, clockwise
        self._traces: list[Trace] = []            # all that are kept now
        self._fill: Optional[Trace] = None
        self._poly: Optional[Trace] = None
        self._colormode: Optional[float] = None   # None: that of the whole program
        self._ground = named("black")
        self._fillcolor = RED
        self._forget_pen()

    def _forget_pen(self) -> None:
        """The pen is as the field gives it to a fresh turtle."""
        self._down = False
        self._color = RED
        self._width = 1.0
        self._way = LINES
        self._is_far = False     # far outside the field, so that a line from here to the field has to be cut
        self._recolored = False  # the colour has changed since the last step with the pen down

    def _say(self, lines: list[str], read: Reader) -> Any:
        return self._field.say(lines, read)

    def _do(self, line: str) -> Any:
        """A command that nothing refuses but a rule: True when it was carried out, else False."""
        if self._field.batching:
            return self._field.say([line], lambda answer: answer.ok)
        answer = self._field.do(line)
        if answer is None:
            return True
        self._field.settle()
        return answer.ok

    # Places and headings as the program counts them

    def _count_anew(self) -> None:
        """Counts as the program does from now on; a turtle then goes home."""
        self._world, self._logo = world.current, world.logo

    def _counted(self, place: Vec2D) -> Vec2D:
        """A place of the field."""
        return place if self._world is None else self._world.to_program(place)

    def _angle(self, degrees: float) -> float:
        """A direction in the program's picture, in degrees from the right, as a heading: up to a full turn, in its units."""
        return (90.0 - degrees if self._logo else degrees) % 360.0 / self._angle_unit

    def _heading(self, degrees: float) -> float:
        """A heading of the field."""
        return self._angle(degrees if self._world is None else self._world.heading_to_program(degrees))

    def _field_heading(self, angle: Any) -> float:
        """The heading on the field that the program's angle means, from 0 up to 360."""
        degrees = number(angle) * self._angle_unit
        degrees = 90.0 - degrees if self._logo else degrees
        goal = math.fmod(degrees if self._world is None else self._world.heading_to_field(degrees), 360.0)
        return goal + 360.0 if goal < 0.0 else goal

    @property
    def field(self) -> Field:
        """The connection: batch(), ask(), events() and clock."""
        return self._field
