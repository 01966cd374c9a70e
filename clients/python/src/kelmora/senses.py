"""The words that ask: where the turtle is, what is around it, and what has happened."""
from __future__ import annotations

import math
from typing import Any, Callable, Optional

from .body import Body, number, numbers_in, read_place, spell
from .errors import BadValue
from .link import Answer, Batch
from .motion import pair
from .vector import Vec2D

FOUND = ("nothing", "turtle", "doughnut", "stone", "wall")  # what the finder may meet, by its number
Callback = Optional[Callable[[], object]]


def whole(answer: Answer) -> int:
    return int(answer.values)


def between(low: int, value: Any, high: int, what: str) -> int:
    """The value as a whole number from low to high; raises BadValue."""
    result = number(value)
    if result != int(result) or not low <= result <= high:
        raise BadValue("%s is a whole number from %d to %d, not %g." % (what, low, high, result))
    return int(result)


class Senses(Body):
    """Questions and events."""

    # About itself

    def position(self) -> Vec2D:
        """Where the turtle is: (x, y), each from -256 to 256 on the field."""
        return self._say(["q p"], lambda answer: self._counted(read_place(answer.values)))

    def xcor(self) -> float:
        """The turtle's x."""
        return self._say(["q p"], lambda answer: self._counted(read_place(answer.values))[0])

    def ycor(self) -> float:
        """The turtle's y."""
        return self._say(["q p"], lambda answer: self._counted(read_place(answer.values))[1])

    def heading(self) -> float:
        """Which way the turtle faces: 0 is right (east), 90 up, less than 360."""
        return self._say(["q d"], lambda answer: self._heading(numbers_in(answer.values, 1)[0]))

    def distance(self, x: Any, y: Any = None) -> float:
        """How far it is from the turtle to the place, or to another turtle."""
        x, y = self._goal(x, y)

        def read(answer: Answer) -> float:
            here = self._counted(read_place(answer.values))
            return math.hypot(x - here[0], y - here[1])
        return self._say(["q p"], read)

    def towards(self, x: Any, y: Any = None) -> float:
        """The heading that leads from the turtle to the place, or to another turtle."""
        x, y = self._goal(x, y)

        def read(answer: Answer) -> float:
            here = self._counted(read_place(answer.values))
            return self._angle(math.degrees(math.atan2(y - here[1], x - here[0])))
        return self._say(["q p"], read)

    @staticmethod
    def _goal(x: Any, y: Any) -> tuple[float, float]:
        if y is None and isinstance(x, Senses):
            return x.position()
        x, y = pair(x, y)
        return number(x), number(y)

    def alive(self) -> bool:
        """Whether the turtle lives."""
        return self._say(["q a"], lambda answer: whole(answer) == 1)

    def score(self) -> int:
        """The score, which is also the energy in battle: 100 at the start; who falls below 0 dies."""
        return self._say(["q s"], whole)

    def coins(self) -> int:
        """Coins that the turtle carries."""
        return self._say(["q o"], whole)

    # About what is around it

    def coins_near(self) -> int:
        """Coins within reach."""
        return self._say(["q c"], whole)

    def turtles(self) -> int:
        """Turtles on the field, doughnuts and zombies included."""
        return self._say(["q n"], whole)

    def finder(self, range: Optional[float] = None) -> tuple[str, int]:
        """What a walk straight ahead meets first, and its team.

        range -- how far to look, from now on; 20 at the start
        The first of the result is "nothing", "turtle", "doughnut", "stone" or "wall" (where edges are hard).
        """
        def read(*answers: Answer) -> tuple[str, int]:
            kind, team = answers[-1].values.split()
            if not 0 <= int(kind) < len(FOUND):
                raise ValueError(kind)
            return FOUND[int(kind)], int(team)
        lines = ["q f"] if range is None else ["e " + spell(range), "q f"]
        return self._say(lines, read)

    def sonar(self) -> tuple[bool, bool, bool]:
        """Whether something is within reach on the left, in front and on the right."""
        def read(answer: Answer) -> tuple[bool, ...]:
            left, front, right = answer.values.split()
            return int(left) != 0, int(front) != 0, int(right) != 0
        return self._say(["q w"], read)

    def radar(self, rank: int = 1) -> Optional[tuple[float, int]]:
        """Where the nearest turtle is (or the second nearest, up to 5): bearing and team, None when there is none.

        The bearing is how far to turn left to face it, from -180 to 180, and wrong by up to 20 degrees.
        """
        rank = between(1, rank, 5, "radar()'s rank")

        def read(answer: Answer) -> Optional[tuple[float, int]]:
            bearing, team = answer.values.split()
            if not math.isfinite(float(bearing)):
                raise ValueError(bearing)
            return (float(bearing) / self._angle_unit, int(team)) if answer.ok else None
        return self._say(["q r %d" % rank], read)

    def message(self) -> tuple[int, str]:
        """The last post on the team's board: when, by the field's clock, and its text; (0, "") when there was none."""
        def read(answer: Answer) -> tuple[int, str]:
            time, _, text = answer.values.partition(" ")
            return int(time), text
        return self._say(["q b"], read)

    def card_shown(self, card: int) -> bool:
        """Whether the card, 1 to 52, lies on the field."""
        return self._say(["q z s %d" % between(1, card, 52, "A card")], lambda answer: whole(answer) == 1)

    def card_position(self, card: int) -> Vec2D:
        """Where the card, 1 to 52, lies or last lay: its lower left corner."""
        return self._say(["q z p %d" % between(1, card, 52, "A card")], lambda answer: read_place(answer.values))

    def clock(self) -> int:
        """The field's clock, in ticks: about 120 a second while a turtle can move."""
        return self._say(["q t"], whole)

    def ping(self) -> int:
        """Does nothing but bring an answer, and so events; gives the clock."""
        return self._say(["."], lambda answer: answer.clock)

    def ask(self, line: str) -> Answer:
        """Sends one command of the protocol as it is: Answer(values, ok, clock, events)."""
        return self._field.ask(line)

    def batch(self) -> Batch:
        """`with batch() as answers:` sends the commands of the block in one packet and gives all their answers."""
        return self._field.batch()

    # Events

    def events(self) -> list[str]:
        """Names of what has happened since this was called last, such as ["hit", "coin"]."""
        return self._field.events()

    def on_hit(self, function: Callback) -> Callback:
        """Calls function() when a beam has hit the turtle; None: no more. So do all on_ words for their events."""
        return self._on("hit", function)

    def on_turtle(self, function: Callback) -> Callback:
        """Calls function() when a turtle is in the way."""
        return self._on("turtle", function)

    def on_doughnut(self, function: Callback) -> Callback:
        """Calls function() when a doughnut is in the way."""
        return self._on("doughnut", function)

    def on_stone(self, function: Callback) -> Callback:
        """Calls function() when a stone is in the way."""
        return self._on("stone", function)

    def on_wall(self, function: Callback) -> Callback:
        """Calls function() when a wall is in the way."""
        return self._on("wall", function)

    def on_coin(self, function: Callback) -> Callback:
        """Calls function() when a coin has come within reach."""
        return self._on("coin", function)

    def on_found(self, function: Callback) -> Callback:
        """Calls function() when somebody's finder has found the turtle."""
        return self._on("found", function)

    def on_seen(self, function: Callback) -> Callback:
        """Calls function() when somebody's radar has seen the turtle."""
        return self._on("seen", function)

    def on_message(self, function: Callback) -> Callback:
        """Calls function() when a message was posted on the team's board."""
        return self._on("message", function)

    def _on(self, name: str, function: Callback) -> Callback:
        self._field.on(name, function)
        return function

    pos = position
