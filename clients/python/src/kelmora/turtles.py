"""The turtle: all its words in one class; and which turtle the words without one mean."""
from __future__ import annotations

from typing import Any, List, Optional, cast

from . import colors, crowd, hooks, looks
from . import transport as transports
from .body import Body, spell
from .clones import Group, Seat
from .compat import ABSENT, NOTED, Compat, absent
from .deeds import Deeds
from .errors import BadValue, KelmoraError
from .link import Field
from .looks import Looks
from .transport import Transport

SCREEN_WORDS = {"window_width", "window_height", "mode", "ontimer", "setworldcoordinates", "textinput", "numinput"}
OFF_FIELD = 2000.0  # a place where a turtle that leaves is in nobody's way


class Turtle(Looks, Deeds, Compat):
    """A turtle on a field, and the connection that drives it; words as in Python's own turtle, and more.

    shape, undobuffersize, visible -- accepted as Python's turtle has them, with a note
    name      -- shown beside the turtle
    host      -- the field's machine; else KELMORA_HOST, else this one
    port      -- the field's port; else KELMORA_PORT, else 2222
    timeout   -- seconds to wait for an answer, else 20
    transport -- another way to the field than TCP
    home      -- whether the turtle first walks to the middle and faces right; else it stays where the field put it
    Raises NoField or NotAdmitted.
    """

    def __init__(self, shape: Optional[str] = None, undobuffersize: Optional[int] = None, visible: bool = True, *,
                 name: Optional[str] = None, host: Optional[str] = None, port: Optional[int] = None,
                 timeout: Optional[float] = None, transport: Optional[Transport] = None,
                 home: Optional[bool] = None) -> None:
        spare = _take_spare() if (host, port, timeout, transport, home) == (None,) * 5 else None
        if spare is not None:
            self.__dict__.update(spare.__dict__)
            crowd.replace(spare, self)
        else:
            super().__init__(Field(transport or transports.connect(host, port, timeout)))
            self._enter(transports.start_at_home if home is None else home)
            crowd.join(self)
        if shape is not None:
            self.shape(shape)
        if not visible:
            self.hideturtle()
        if name is not None:
            self.name(name)

    def _enter(self, home: bool) -> None:
        """The first exchanges, which tell whether the field admits us; then the pen is down."""
        try:
            if home:
                self._field.exchange(["."])
                # The walk ends at the middle up to rounding; the jump from there is safe and ends exactly there.
                at_home = self.home()
                self._field.exchange(["j %s %s" % tuple(map(spell, self._home())), "p d"] if at_home else ["p d"])
                if not at_home:
                    self._stay()
            else:
                self._field.exchange([".", "p d"])
        except KelmoraError:
            self.close()
            raise
        self._down = True

    def _stay(self) -> None:
        """The way to the middle is blocked, or this is a battle: the turtle stays, and somebody should know."""
        why = ("something stands on the way to the middle" if self._obstacle else
               "in battle mode nobody gets to the middle at once")
        self.setheading(0)
        hooks.note("%s, so the turtle starts at (%.0f, %.0f). The operator's key z takes zombies away, and so does "
                   "clearscreen()." % (why, *self.position()))

    def _count_anew(self) -> None:
        """Counts as the program does from now on, and goes home."""
        super()._count_anew()
        down, strict = self._down, self._strict
        self._strict = False  # a way that is blocked is for _stay() to tell
        if down:
            self.penup()
        if not self.home():
            self._stay()
        if down:
            self.pendown()
        self._strict = strict

    def clone(self) -> "Turtle":
        """Another turtle with the same pen, at the same place.

        The two share this one's connection, and its body on the field: whoever steps next first jumps there. Where the
        field refuses jumps (see goto), that raises Blocked.
        """
        self._field.immediate("clone")
        if self._traces:
            raise BadValue("clone() cannot stand between begin_fill() and end_fill(), or begin_poly() and end_poly().")
        if not isinstance(self._field, Seat):
            self._field = cast(Field, Seat(Group(self._field), self, None))
        seat = cast(Seat, self._field)
        copy = self.__class__.__new__(self.__class__)
        copy.__dict__.update(self.__dict__)
        copy._traces, copy._fill, copy._poly = [], None, None
        copy._field = cast(Field, Seat(seat.group, copy, seat.pose()))
        crowd.join(copy)
        return copy

    def getscreen(self) -> "Screen":
        """The field, with the words that Python's turtle gives its screen."""
        return Screen()

    def getturtle(self) -> "Turtle":
        """This turtle."""
        return self

    screen = property(getscreen)
    getpen = getturtle

    def __enter__(self) -> "Turtle":
        return self

    def __exit__(self, *unused: object) -> None:
        self.close()


class Screen:
    """The field, with the words that Python's turtle gives its screen. It needs no turtle before one of them asks."""

    def colormode(self, cmode: Optional[float] = None) -> Any:
        """Sets what the parts of all colours go up to, 1.0 or 255; without it, tells it."""
        if cmode is None:
            return colors.mode
        colors.mode = colors.valid_mode(cmode)
        return None

    def turtles(self) -> list[Body]:
        """The turtles of this program."""
        return crowd.living()

    def done(self) -> None:
        """The end of a program, see Turtle.done."""
        crowd.done()

    def bye(self) -> None:
        """All turtles of this program leave the field."""
        for turtle in crowd.living():
            turtle.field.close()

    def register_shape(self, name: str, shape: Any = None) -> None:
        """Gives a shape a name for shape(): a Shape, or the corners of a polygon."""
        looks.register_shape(name, shape)

    def getshapes(self) -> List[str]:
        """The names of all shapes."""
        return looks.getshapes()

    addshape = register_shape
    mainloop = exitonclick = done

    def __getattr__(self, word: str) -> Any:
        if word in ABSENT:
            raise absent(word)
        if word in NOTED or word in SCREEN_WORDS:
            return getattr(Compat, word).__get__(self)  # these need no field
        return getattr(anyone(), word)


def leave(turtle: Turtle) -> None:
    """Hangs up, and leaves the zombie where it is in nobody's way, if the field lets it go there."""
    try:
        turtle.penup()
        turtle.goto(OFF_FIELD, OFF_FIELD)
    except KelmoraError:
        pass
    turtle.close()


_default: Optional[Turtle] = None  # whom words without a turtle mean
_spare: Optional[Turtle] = None    # made because a word for the ground needed one; the next Turtle() takes it over


def default() -> Turtle:
    """The turtle of the words without one: made when it is first needed, and anew when it has left the field."""
    global _default
    if _default is None or _default.field.closed:
        _default = Turtle()
    return _default


def anyone() -> Turtle:
    """Any turtle of this program, for words that concern the whole field."""
    global _spare
    for turtle in crowd.living():
        if isinstance(turtle, Turtle):
            return turtle
    _spare = Turtle()
    return _spare


def _take_spare() -> Optional[Turtle]:
    global _spare
    spare, _spare = _spare, None
    return None if spare is None or spare.field.closed else spare
