"""The words that move a turtle.

Each gives True when the step was made, else False; after strict() it raises Blocked instead of giving False.
"""
from __future__ import annotations

import math
from typing import Any, Optional

from . import hooks, world
from .body import LINES, Body, number, numbers_in, read_place, spell
from .errors import BadValue, Blocked
from .link import Answer, names_of
from .vector import Vec2D

OBSTACLES = 2 + 4 + 8 + 16       # events that say what is in the way
COMPASS = {0.0: "t e", 90.0: "t n", 180.0: "t w", 270.0: "t s"}
PLAIN = (int, float)             # numbers whose str() the field reads
AT_ONCE = 1e-6                   # nearer than this to a place is there
LONG = 8192                      # longer lines are cut: from some ten times that on graphics draw them wrong
AROUND = 512.0                   # half the side of the square at whose edge they are cut; the field's is 256


# Packets of plain steps and turns by their number: programs take the same ones again and again.
_steps: dict[float, bytes] = {}
_turns: dict[str, dict[float, bytes]] = {"t l ": {}, "t r ": {}}
KEPT = 256                       # packets of a kind


def _kept(packets: dict[float, bytes], command: str, value: float) -> bytes:
    """Makes the packet of a number, and keeps it."""
    if len(packets) >= KEPT:
        packets.clear()
    packet = packets[value] = ("%s%s\n" % (command, value)).encode("ascii")
    return packet


def shortest(angle: float) -> float:
    """The angle in degrees as the shortest turn, above -180 and up to 180."""
    angle = math.fmod(angle, 360.0) + 0.0  # no -0
    return angle - 360.0 if angle > 180.0 else angle + 360.0 if angle <= -180.0 else angle


def crossings(a: Vec2D, b: Vec2D) -> list[float]:
    """Where the line from a (0) to b (1) enters and leaves the square around the field, between 0 and 1: [0, ..., 1]."""
    enter, leave = 0.0, 1.0
    for start, way in zip(a, b - a):
        if way:
            edges = sorted(((-AROUND - start) / way, (AROUND - start) / way))
            enter, leave = max(enter, edges[0]), min(leave, edges[1])
        elif abs(start) > AROUND:
            enter, leave = 1.0, 0.0
    inside = [cut for cut in (enter, leave) if 0 < cut < 1] if enter < leave else []
    return [0.0, *inside, 1.0]


class Motion(Body):
    """Steps, turns and jumps."""

    def forward(self, distance: float) -> bool:
        """Goes so many units forward, all of them or none; a negative distance leads back."""
        field = self._field
        # Nearly all steps go this way. It is short: this and Field.do_packet() are all of a step.
        if (distance.__class__ in PLAIN and -LONG <= distance <= LONG
                and not (self._recolored or self._traces or field.batching or self._world)):
            answer = field.do_packet(_steps.get(distance) or _kept(_steps, "f ", distance))
            if answer is None:
                self._obstacle = None
                return True
            return self._heard(answer)
        return self._walk(distance)

    def back(self, distance: float) -> bool:
        """Goes so many units back without turning."""
        if self._world is not None:
            return self._walk(-number(distance))
        line = "b " + spell(distance)
        return self._move(line) if abs(distance) <= LONG else self._walk_far(-float(distance))

    def left(self, angle: float) -> bool:
        """Turns left by the angle. In battle mode by 3 degrees at most."""
        return self._turn_by("t l ", angle)

    def right(self, angle: float) -> bool:
        """Turns right by the angle. In battle mode by 3 degrees at most."""
        return self._turn_by("t r ", angle)

    def goto(self, x: Any, y: Any = None) -> bool:
        """Jumps to the place, given as two numbers or a pair, over whatever stands between.

        It draws a line there when the pen is down. Refused in battle mode, while something stands closer than 20, and,
        where the field's edges are hard, to a place outside or near a wall.
        """
        x, y = self._on_field(*pair(x, y))
        line = "j %s %s" % (spell(x), spell(y))
        if self._is_far or max(abs(x), abs(y)) > LONG:
            return self._jump_far(Vec2D(float(x), float(y)))
        return self._move(line, jump=True)

    def shift(self, dx: float, dy: float) -> bool:
        """Jumps by so much in both directions; else as goto."""
        if self._world is not None:
            dx, dy = number(dx) * self._world.scales[0], number(dy) * self._world.scales[1]
        return self._shift(dx, dy)

    def _shift(self, dx: float, dy: float) -> bool:
        line = "g %s %s" % (spell(dx), spell(dy))
        if (self._is_far or max(abs(dx), abs(dy)) > LONG) and not self._field.batching:
            return self._jump_far(self._place("shift") + Vec2D(float(dx), float(dy)))
        return self._move(line, jump=True)

    def teleport(self, x: Any = None, y: Any = None) -> bool:
        """Jumps to the place without drawing, whatever the pen does."""
        if x is None or (y is None and not isinstance(x, (tuple, list))):
            numbers = [number(part) for part in (x, y) if part is not None]
            here = self._here("teleport") if len(numbers) < 2 else (0.0, 0.0)
            x, y = here[0] if x is None else x, here[1] if y is None else y
        x, y = self._on_field(*pair(x, y))
        line = "j %s %s" % (spell(x), spell(y))
        self._is_far = max(abs(x), abs(y)) > LONG
        if not self._down:
            return self._move(line, jump=True)
        self._lift_brush()
        self._recolored = False
        return self._move(line, jump=True, before=["p u"], after=["p d"], painting=False)

    def setx(self, x: float) -> bool:
        """Jumps to this x; y stays."""
        x = number(x)
        return self.goto(x, self._here("setx")[1])

    def sety(self, y: float) -> bool:
        """Jumps to this y; x stays."""
        y = number(y)
        return self.goto(self._here("sety")[0], y)

    def setheading(self, to_angle: float) -> bool:
        """Faces this way: 0 is right (east), 90 up. In battle mode it turns there by 3 degrees at most."""
        goal = self._field_heading(to_angle)
        compass = COMPASS.get(goal)
        if compass is not None:
            # In battle mode the field answers this with the turtle's place and does nothing.
            done = self._say([compass], lambda answer: None if answer.values else self._moved(answer))
            if done is not None or self._field.batching:
                return done
        self._field.immediate("setheading")
        heading: float = self._say(["q d"], lambda answer: numbers_in(answer.values, 1)[0])
        return self._turn("t l " + spell(shortest(goal - heading)))

    def home(self) -> bool:
        """Walks to the middle and faces right. False when something is in the way; it then stays where it was."""
        self._field.immediate("home")

        def read(place: Answer, heading: Answer) -> tuple[Vec2D, float]:
            return read_place(place.values), numbers_in(heading.values, 1)[0]
        here, heading = self._say(["q p", "q d"], read)
        goal = self._home()
        way = goal - here
        if abs(way) > AT_ONCE:
            turn = shortest(math.degrees(math.atan2(way[1], way[0])) - heading)
            if not self._move("f " + spell(abs(way)), before=["t l " + spell(turn)]):
                return False
        # In battle mode the field answers this with the turtle's place, and does nothing.
        place = self._say([COMPASS[self._field_heading(0)]], lambda answer: read_place(answer.values) if answer.values else None)
        return place is None or abs(place - goal) < 0.01 and self.setheading(0)

    def circle(self, radius: float, extent: Optional[float] = None, steps: Optional[int] = None) -> bool:
        """Goes along a circle whose middle is radius to the left (to the right, when it is negative).

        extent -- the angle of the arc, a whole circle when not given; a negative one goes backwards
        steps  -- so many straight steps: circle(50, steps=3) is a triangle
        Ends with False at a step that is blocked.
        """
        self._field.immediate("circle")
        radius = number(radius)
        extent = 360.0 if extent is None else number(extent) * self._angle_unit
        if steps is None:
            steps = 1 + int(min(11 + abs(radius) / 6, 59) * abs(extent) / 360)
        steps = int(number(steps))
        if steps < 1:
            raise BadValue("circle() takes at least one step, not %d." % steps)
        return self._around(radius, extent, steps)

    def _around(self, radius: float, extent: float, steps: int) -> bool:
        """Along an arc in straight steps."""
        angle = extent / steps
        length = 2 * radius * math.sin(math.radians(angle / 2))
        if radius < 0:
            angle, length = -angle, -length
        turn = angle / 2
        if self._world is not None:
            for _ in range(steps):
                if not (self._turn_by("t l ", turn / self._angle_unit) and self._walk(length)):
                    return False
                turn = angle
            return self._turn_by("t l ", angle / 2 / self._angle_unit)
        for _ in range(steps):
            if not self._move("f " + spell(length), before=["t l " + spell(turn)]):
                return False
            turn = angle
        return self._turn("t l " + spell(angle / 2))

    def strict(self, on: bool = True) -> None:
        """From now on a step that is blocked raises Blocked; strict(False): it gives False again."""
        self._strict = bool(on)

    def blocked_by(self) -> Optional[str]:
        """What was last in the way: "turtle", "doughnut", "stone" or "wall"; None after a step or a turn."""
        return self._obstacle

    def degrees(self, fullcircle: float = 360.0) -> None:
        """Lets angles be given so that a full turn has this many units."""
        units = number(fullcircle)
        if units == 0:
            raise BadValue("A full turn cannot have 0 units.")
        self._angle_unit = 360.0 / units

    def radians(self) -> None:
        """Lets angles be given in radians."""
        self.degrees(2 * math.pi)

    # Lines too long for the graphics library's coordinates

    def _walk_far(self, distance: float) -> bool:
        """Steps so far; with the pen down in up to three: to the field's edge, over the field, and on from there."""
        if self._field.batching or not self._down:
            self._is_far = True  # or so it may be; the next jump looks
            return self._move("f " + spell(distance))

        def read(place: Answer, heading: Answer) -> tuple[Vec2D, float]:
            return read_place(place.values), math.radians(numbers_in(heading.values, 1)[0])
        here, heading = self._say(["q p", "q d"], read)
        goal = here + Vec2D(distance * math.cos(heading), distance * math.sin(heading))
        self._is_far = max(abs(goal[0]), abs(goal[1])) > LONG
        cuts = crossings(here, goal)
        return all(self._move("f " + spell((b - a) * distance)) for a, b in zip(cuts, cuts[1:]))

    def _jump_far(self, goal: Vec2D) -> bool:
        """Jumps from or to a place so far, as _walk_far."""
        self._is_far = max(abs(goal[0]), abs(goal[1])) > LONG
        if self._field.batching or not self._down:
            return self._move("j %s %s" % (spell(goal[0]), spell(goal[1])), jump=True)
        here = self._place("goto")
        way = goal - here
        stops = [here + way * cut for cut in crossings(here, goal)[1:-1]] + [goal]
        return all(self._move("j %s %s" % (spell(stop[0]), spell(stop[1])), jump=True) for stop in stops)

    # What lies behind

    def _lift_brush(self) -> None:
        """See the pen, which knows how."""

    def _walk(self, distance: Any) -> bool:
        """A step forward of any length, counted as the program counts."""
        if self._world is not None:
            distance = number(distance)
            distance *= self._world.stretch(0.0 if self._world.even else self._faced("forward"))
        line = "f " + spell(distance)
        return self._move(line) if abs(distance) <= LONG else self._walk_far(float(distance))

    def _turn_by(self, command: str, angle: Any) -> Any:
        """A turn to the left or right."""
        field = self._field
        if angle.__class__ in PLAIN and -LONG <= angle <= LONG and self._angle_unit == 1.0 and not (
                field.batching or self._world):
            turns = _turns[command]
            answer = field.do_packet(turns.get(angle) or _kept(turns, command, angle))
            if answer is None:
                self._obstacle = None
                return True
            return self._heard(answer)
        if self._world is None or self._world.even:
            return self._turn(command + (spell(angle) if self._angle_unit == 1.0 else spell(number(angle) * self._angle_unit)))
        degrees = number(angle) * self._angle_unit * (1 if command == "t l " else -1)
        heading = self._faced("left")
        goal = self._world.heading_to_field(self._world.heading_to_program(heading) + degrees)
        return self._turn("t l " + spell(shortest(goal - heading)))

    def _on_field(self, x: Any, y: Any) -> tuple[Any, Any]:
        """A place of the program on the field."""
        return (x, y) if self._world is None else self._world.to_field(number(x), number(y))

    def _home(self) -> Vec2D:
        """The program's (0, 0), on the field."""
        return Vec2D(0.0, 0.0) if self._world is None else self._world.to_field(0.0, 0.0)

    def _here(self, word: str) -> Vec2D:
        """Where the turtle is as the program counts, for a word that cannot do without."""
        return self._counted(self._place(word))

    def _faced(self, word: str) -> float:
        """The turtle's heading on the field, for a word that cannot do without."""
        self._field.immediate(word)
        heading: float = self._say(["q d"], lambda answer: numbers_in(answer.values, 1)[0])
        return heading

    def _place(self, word: str) -> Vec2D:
        """Where the turtle is, for a word that cannot do without."""
        self._field.immediate(word)
        place: Vec2D = self._say(["q p"], lambda answer: read_place(answer.values))
        return place

    def _turn(self, line: str) -> Any:
        return self._field.say([line], self._moved) if self._field.batching else self._at_once(line)

    def _at_once(self, line: str, jump: bool = False) -> bool:
        """A step, jump or turn without anything else in its packet."""
        answer = self._field.do(line)
        if answer is None:
            self._obstacle = None
            return True
        return self._heard(answer, jump)

    def _heard(self, answer: Answer, jump: bool = False) -> bool:
        """What a step, jump or turn returns whose answer tells more than that it was made."""
        try:
            return self._moved(answer, jump)
        finally:
            self._field.settle()

    def _move(self, line: str, jump: bool = False, before: Optional[list[str]] = None,
              after: Optional[list[str]] = None, painting: bool = True) -> Any:
        """One step or jump, with other commands in the same packet; its answer alone decides what is returned."""
        if self._world is not None and self._down and painting:
            world.painted = True
        if not (self._recolored or before or self._traces or self._field.batching):
            return self._at_once(line, jump)
        lines = before or []
        if self._down and painting:
            if self._recolored and self._way == LINES:
                # The field blends a line from the colour of the point before. After `p d` it starts with the pen's own colour.
                lines = lines + ["p d"]
                self._recolored = False
            if self._field.batching:
                self._field.count_line()
        step = len(lines)
        lines = lines + [line] + (after or [])
        if self._traces:
            lines.append("q p")
        pen = (self._color, self._width, self._way) if self._down and painting else None

        def read(*answers: Answer) -> bool:
            done = self._moved(answers[step], jump)
            if done and self._traces:
                place = read_place(answers[-1].values)
                for trace in self._traces:
                    trace.add(place, pen)
            return done
        return self._field.say(lines, read)

    def _moved(self, answer: Answer, jump: bool = False) -> bool:
        """What the answer to a step, jump or turn means."""
        if answer.ok:
            self._obstacle = None  # the field tells anew what is in the way
            return True
        told = names_of(answer.events & OBSTACLES)
        if told:
            self._obstacle = told[-1]
        if self._strict:
            raise Blocked("jump" if jump and not told else self._obstacle or "something")
        # A program for Python's turtle does not look at what forward() gives, and draws something else from here on.
        if (self._down or jump) and not self._field.listening and hooks.result_is_dropped():
            why = "the field refused the jump" if jump and not told else "a %s is in the way" % (self._obstacle or "thing")
            zombies = " The operator's key z takes zombies away, and so does clearscreen()."
            hooks.note_once("blocked", why + ", so the turtle stays, and the word gives False; strict() makes that an error."
                            + ("" if told and told[-1] != "turtle" else zombies))
        return False

    fd = forward
    bk = backward = back
    lt = left
    rt = right
    setpos = setposition = goto
    seth = setheading


def pair(x: Any, y: Any) -> tuple[Any, Any]:
    """Two numbers of two arguments, or of one pair."""
    if y is not None:
        return x, y
    if isinstance(x, (tuple, list)) and len(x) == 2:
        return x[0], x[1]
    number(y if not isinstance(x, (tuple, list)) else x)
    raise AssertionError  # number() has refused it
