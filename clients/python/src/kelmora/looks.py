"""Shapes as Python's turtle has them. Turtles look like turtles on a shared field: a shape is what stamp() paints."""
from __future__ import annotations

from typing import Any, Dict, List, Optional, Sequence, Tuple

from . import colors, hooks
from .body import LINES, Stroke, number
from .colors import Color
from .errors import BadValue, NotHere
from .painting import Pen
from .shapes import disc, fill_packets, pieces_of, stroke_packets
from .vector import Vec2D

Corners = Tuple[Vec2D, ...]


def corners_of(points: Any) -> Corners:
    """The corners of a polygon; raises BadValue."""
    if not isinstance(points, (tuple, list)) or len(points) < 3:
        raise BadValue("A shape is a polygon of three or more places (x, y), not %.60r." % (points,))
    for point in points:
        if not isinstance(point, (tuple, list)) or len(point) != 2:
            raise BadValue("A corner of a shape is a pair (x, y), not %.60r." % (point,))
    return tuple(Vec2D(number(x), number(y)) for x, y in points)


class Shape:
    """A polygon, or several with a colour each; y leads to where the turtle faces.

    kind -- "polygon", with its corners as data, or "compound", which addcomponent() fills
    """

    def __init__(self, type_: str, data: Any = None) -> None:
        if type_ == "image":
            raise NotHere('There is no Shape("image") on a shared field: begin_fill() and end_fill() paint any shape.')
        if type_ not in ("polygon", "compound"):
            raise BadValue('A shape is a "polygon" or a "compound", not %.40r.' % (type_,))
        self.kind = type_
        self.parts: List[Tuple[Corners, Any, Any]] = []  # corners, colour of the area, colour of the edge; None: the turtle's
        if type_ == "polygon":
            self.parts.append((corners_of(data), None, None))

    def addcomponent(self, poly: Any, fill: Any, outline: Any = None) -> None:
        """Adds a polygon with its colour, and one for its edge if it is another."""
        if self.kind != "compound":
            raise BadValue('addcomponent() is for Shape("compound").')
        fill = colors.from_arguments((fill,), colors.mode)
        self.parts.append((corners_of(poly), fill, fill if outline is None else colors.from_arguments((outline,), colors.mode)))


def _mirrored(half: Sequence[Tuple[float, float]]) -> Shape:
    """A polygon of its right half, from the front to the back, and the same on the left."""
    return Shape("polygon", tuple(half) + tuple((-x, y) for x, y in reversed(half) if x))


shapes: Dict[str, Shape] = {
    "arrow": Shape("polygon", ((-10, 0), (10, 0), (0, 10))),
    "circle": Shape("polygon", disc((0.0, 0.0), 20.0)),
    "classic": Shape("polygon", ((0, 0), (-5, -9), (0, -7), (5, -9))),
    "square": Shape("polygon", ((10, -10), (10, 10), (-10, 10), (-10, -10))),
    "triangle": Shape("polygon", ((10, -5.77), (0, 11.55), (-10, -5.77))),
    # Head, two feet and the shell between them.
    "turtle": _mirrored([(0, 16), (2, 14), (2, 10), (4, 8), (7, 10), (9, 8), (7, 5), (8, 0), (7, -4), (9, -7), (7, -9), (5, -7),
                         (2, -9), (0, -11)]),
}


def register_shape(name: str, shape: Any = None) -> None:
    """Gives a shape a name for shape(): a Shape, or the corners of a polygon."""
    if not isinstance(name, str) or shape is None:
        raise NotHere("There are no pictures as shapes on a shared field: register_shape(name, corners) takes a polygon.")
    shapes[name] = shape if isinstance(shape, Shape) else Shape("polygon", shape)


def getshapes() -> List[str]:
    """The names of all shapes."""
    return sorted(shapes)


class Looks(Pen):
    """The shape that stamp() paints."""

    _shape = "classic"
    _stretch = (1.0, 1.0)  # across and along the way the turtle faces
    _outline = 1.0         # width of the edge
    _tilt = 0.0            # degrees from the way the turtle faces
    _stamps = 0

    def shape(self, name: Optional[str] = None) -> str:
        """Chooses what stamp() paints: "arrow", "circle", "classic", "square", "triangle", "turtle" or a registered shape.

        Turtles themselves look the same all; without a name it tells the one chosen.
        """
        if name is not None:
            if name not in shapes:
                raise BadValue("There is no shape %.40r. Shapes are: %s." % (name, ", ".join(getshapes())))
            hooks.note_once("shape", "shape() chooses what stamp() paints; turtles look like turtles here. team(1) to team(4) "
                                     "give another colour.")
            self._shape = name
        return self._shape

    def shapesize(self, stretch_wid: Optional[float] = None, stretch_len: Optional[float] = None,
                  outline: Optional[float] = None) -> Any:
        """Stretches what stamp() paints, across and along, and sets its edge's width; without them, tells all three."""
        if stretch_wid is stretch_len is outline is None:
            return (*self._stretch, self._outline)
        wide = self._stretch[0] if stretch_wid is None else number(stretch_wid)
        long = number(stretch_len) if stretch_len is not None else wide if stretch_wid is not None else self._stretch[1]
        edge = self._outline if outline is None else number(outline)
        if wide == 0 or long == 0 or edge < 0:
            raise BadValue("shapesize() stretches by other numbers than 0, and an edge is no thinner than 0.")
        hooks.note_once("shapesize", "shapesize() changes what stamp() paints; turtles are equally large here.")
        self._stretch, self._outline = (wide, long), edge
        return None

    def tilt(self, angle: float) -> None:
        """Turns the shape that stamp() paints, to the left of where it was."""
        self.tiltangle(self.tiltangle() + number(angle))

    def tiltangle(self, angle: Optional[float] = None) -> Any:
        """Turns the shape that stamp() paints to this angle from the turtle's heading; without it, tells the angle."""
        if angle is None:
            return self._tilt / self._angle_unit
        hooks.note_once("tilt", "tilt() turns what stamp() paints; turtles face where they walk.")
        self._tilt = number(angle) * self._angle_unit % 360.0
        return None

    def get_shapepoly(self) -> Optional[Corners]:
        """The corners of the shape as it is stretched and turned; None for a compound."""
        shape = shapes[self._shape]
        return self._turned(shape.parts[0][0]) if shape.kind == "polygon" else None

    def _turned(self, corners: Corners) -> Corners:
        wide, long = self._stretch
        return tuple(Vec2D(x * wide, y * long).rotate(self._tilt) for x, y in corners)

    def stamp(self) -> Any:
        """Paints the turtle's shape here, in its two colours; a number for each stamp, False when the field refused.

        The turtle jumps around for that, as for end_fill(), and comes back. A stamp stays, like a line.
        """
        self._field.immediate("stamp")
        here, heading = self._place("stamp"), self._faced("stamp")
        across, ahead = Vec2D(1, 0).rotate(heading - 90), Vec2D(1, 0).rotate(heading)
        packets: List[List[str]] = []
        for corners, fill, outline in shapes[self._shape].parts:
            around = [here + across * x + ahead * y for x, y in self._turned(corners)]
            packets += fill_packets(pieces_of(around), self._fillcolor if fill is None else fill)
            edge: Color = self._color if outline is None else outline
            if self._outline:
                packets += stroke_packets([Stroke(a, b, edge, self._outline, LINES)
                                           for a, b in zip(around, around[1:] + around[:1])])
        if not self._painted(packets, here):
            return False
        self._stamps += 1
        return self._stamps

    def pen(self, pen: Optional[Dict[str, Any]] = None, **pendict: Any) -> Any:
        """Sets what the dictionary or the names say, as pen() has told it; without them, tells all about the pen."""
        values = {**(pen or {}), **pendict}
        known = {"shown": True, "pendown": self._down, "pencolor": self.pencolor(), "fillcolor": self.fillcolor(),
                 "pensize": self._width, "speed": 0, "resizemode": "noresize", "stretchfactor": self._stretch,
                 "shearfactor": 0.0, "outline": self._outline, "tilt": self._tilt}
        if not values:
            return known
        for name in values:
            if name not in known:
                raise BadValue("A pen has no %.40r. It has: %s." % (name, ", ".join(known)))
        if values.get("shearfactor"):
            raise NotHere("There is no shearing of shapes here: register_shape() takes any polygon.")
        if values.get("pendown") is False:
            self.penup()
        if "pencolor" in values:
            self.pencolor(values["pencolor"])
        if "fillcolor" in values:
            self.fillcolor(values["fillcolor"])
        if "pensize" in values:
            self.pensize(values["pensize"])
        if values.get("pendown"):
            self.pendown()
        if "stretchfactor" in values or "outline" in values:
            stretch = values.get("stretchfactor", (None, None))
            self.shapesize(stretch[0], stretch[1], values.get("outline"))
        if "tilt" in values:
            self._tilt = number(values["tilt"]) % 360.0
        for name in ("shown", "speed", "resizemode"):
            if values.get(name, known[name]) != known[name]:
                hooks.note_once("pen " + name, "pen(%s=...) changes nothing: see %s()."
                                % (name, {"shown": "hideturtle"}.get(name, name)))
        return None

    turtlesize = shapesize
    settiltangle = tiltangle
