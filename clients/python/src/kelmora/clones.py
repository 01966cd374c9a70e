"""Turtles that share a connection: what clone() makes.

The field gives each connection one turtle, and no two turtles stand on one spot. So a turtle and its clones take turns in
one body: the one that steps next first jumps to where it was, with its own heading and pen. What changes heading or pen
only is remembered until then.
"""
from __future__ import annotations

from typing import Any, List, Optional

from .body import BRUSH, Body, numbers_in, read_place, spell
from .errors import BadValue, Blocked, lost
from .link import Answer, Batch, Field, Reader
from .motion import COMPASS, shortest
from .shapes import paint_of
from .vector import Vec2D

FACES = {line: degrees for degrees, line in COMPASS.items()}


class Pose:
    """Where a turtle stands and faces."""

    def __init__(self, place: Vec2D, heading: float) -> None:
        self.place, self.heading = place, heading


class Group:
    """Those who share a connection, and who of them is in the body."""

    def __init__(self, field: Field) -> None:
        self.field = field
        self.seats: List["Seat"] = []
        self.holder: Optional["Seat"] = None


class Seat:
    """One turtle's share in a connection; has the methods of a Field that a turtle uses."""

    def __init__(self, group: Group, turtle: Body, pose: Optional[Pose]) -> None:
        """pose -- where the turtle is; None for the one that is in the body"""
        self.group, self.turtle = group, turtle
        self._pose = pose or Pose(Vec2D(0.0, 0.0), 0.0)
        self._left = False
        group.seats.append(self)
        if pose is None:
            group.holder = self

    def __getattr__(self, name: str) -> Any:
        return getattr(self.group.field, name)

    def pose(self) -> Pose:
        """Where the turtle stands and faces."""
        if self.group.holder is self:
            def read(place: Answer, heading: Answer) -> Pose:
                return Pose(read_place(place.values), numbers_in(heading.values, 1)[0])
            self._pose = self.group.field.say(["q p", "q d"], read)
        return Pose(self._pose.place, self._pose.heading)

    @property
    def closed(self) -> bool:
        return self._left or self.group.field.closed

    def close(self) -> None:
        """Leaves; the connection ends with the last one."""
        self._left = True
        if all(seat._left for seat in self.group.seats):
            self.group.field.close()

    def _in_body(self) -> bool:
        """Whether this turtle is the one on the field; raises Lost when it has left."""
        if self._left:
            raise lost(self.group.field.where, died=False)
        return self.group.holder is self

    def do(self, line: str) -> Optional[Answer]:
        if self._in_body():
            return self.group.field.do(line)
        if self._remembered(line) is not None:
            return None
        answer = self.exchange([line])[-1]
        return None if answer.ok and not answer.events else answer

    def do_packet(self, packet: bytes) -> Optional[Answer]:
        return self.do(packet[:-1].decode("ascii"))

    def say(self, lines: List[str], read: Reader) -> Any:
        if self._in_body():
            return self.group.field.say(lines, read)
        answers = [self._remembered(line) for line in lines] if all(map(self._is_private, lines)) else []
        if answers:
            return read(*answers)
        before = self._take_over()
        return self.group.field.say(before + lines, lambda *answers: read(*answers[len(before):]))

    def exchange(self, lines: List[str]) -> List[Answer]:
        before = [] if self._in_body() else self._take_over()
        return self.group.field.exchange(before + lines)[len(before):]

    def ask(self, line: str) -> Answer:
        if not self._in_body():
            self.exchange(["."])
        return self.group.field.ask(line)

    def batch(self) -> Batch:
        if not self._in_body():
            self.exchange(["."])
        return self.group.field.batch()

    @staticmethod
    def _is_private(line: str) -> bool:
        """Whether the command concerns nothing but heading and pen, or asks for what is remembered."""
        return line[:2] in ("p ", "k ", "w ", "t ") or line in ("l", "l s", "l p", "l b", "q p", "q d")

    def _remembered(self, line: str) -> Optional[Answer]:
        """The answer to such a command; None for another one."""
        if not self._is_private(line):
            return None
        values, pose = "", self._pose
        if line in FACES:
            pose.heading = FACES[line]
        elif line[:2] == "t ":
            pose.heading += float(line[4:]) * (1 if line[2] == "l" else -1)
        elif line == "q p":
            values = "%.17g %.17g" % pose.place
        elif line == "q d":
            values = "%.17g" % pose.heading
        return Answer(values, True, self.group.field.clock, 0)

    def _take_over(self) -> List[str]:
        """Brings the body to where this turtle is. Returns the commands that give it heading and pen, to go before others."""
        if self.group.field.batching:
            raise BadValue("A turtle and its clone cannot both speak in one batch.")
        field, holder, turtle = self.group.field, self.group.holder, self.turtle
        assert holder is not None
        former = holder.pose()
        down = ["p d"] if holder.turtle._down else []
        if down and holder.turtle._way == BRUSH:
            field.exchange(["p u"])  # finishes the stroke
        jumped = field.exchange(["p u", "j %s %s" % (spell(self._pose.place[0]), spell(self._pose.place[1]))])[1].ok
        if not jumped:
            field.exchange(down or ["."])
            raise Blocked("jump")
        self.group.holder = self
        turtle._recolored = False
        pen = [turtle._way, paint_of(turtle._color), "w " + spell(turtle._width)] + (["p d"] if turtle._down else [])
        return ["t l " + spell(shortest(self._pose.heading - former.heading))] + pen
