"""A painter for practice fields that keeps what is painted, and writes it as SVG."""
from __future__ import annotations

import math
from html import escape
from typing import Any, Sequence

SIDE = 512


def hexadecimal(color: Sequence[float]) -> str:
    return "#%02x%02x%02x" % tuple(round(255 * min(1.0, max(0.0, part))) for part in color)


def place(x: float, y: float) -> str:
    """A field's place in the picture, whose y grows downward."""
    return "%g,%g" % (round(x + SIDE / 2, 2), round(SIDE / 2 - y, 2))


class Picture:
    """A picture that grows piece by piece. Places are in field units, colours triples from 0 to 1."""

    def __init__(self) -> None:
        self.pieces: list[str] = []      # complete, in their order
        self._polyline: list[str] = []   # the latest one, whose corners still come: its start, then corner by corner
        self.ground: Sequence[float] = (0.0, 0.0, 0.0)
        self._turtles: dict[int, tuple[Any, ...]] = {}
        self._coins: dict[int, tuple[float, float]] = {}
        self._cards: dict[int, tuple[float, float]] = {}
        self._line_end: Any = None  # end and look of the latest line, which the next may go on from

    def wipe(self, color: Sequence[float]) -> None:
        """The whole ground in one colour."""
        self.pieces.clear()
        self._polyline.clear()
        self.ground, self._line_end = color, None

    def line(self, x0: float, y0: float, x1: float, y1: float, width: float, color0: Any, color1: Any) -> None:
        """A line from its old end to its new one; the colour runs from color0 to color1 (here: is color1)."""
        if (x0, y0) == (x1, y1):
            return  # shows nothing
        look = (width, hexadecimal(color1))
        if self._line_end != (x0, y0, look):
            self._finish_line()
            self._polyline.append('<polyline fill="none" stroke="%s" stroke-width="%g" points="%s'
                                  % (look[1], width, place(x0, y0)))
        self._polyline.append(place(x1, y1))
        self._line_end = (x1, y1, look)

    def _finish_line(self) -> None:
        """The latest polyline is complete."""
        self.pieces += self._latest_line()
        self._polyline.clear()

    def _latest_line(self) -> list[str]:
        """The latest polyline, if there is one; put together here only, as with each corner it would take ever longer."""
        return [" ".join(self._polyline) + '"/>'] if self._polyline else []

    def polygon(self, points: Sequence[Any], colors: Sequence[Any]) -> None:
        """A filled polygon; the colours are those of its corners (here: the last counts)."""
        if len(set(points)) > 2:
            self._add('<polygon shape-rendering="crispEdges" fill="%s" points="%s"/>'
                      % (hexadecimal(colors[-1]), " ".join(place(*point) for point in points)))

    def point(self, x: float, y: float, size: float, color: Any) -> None:
        """A square point."""
        self._add('<rect x="%g" y="%g" width="%g" height="%g" fill="%s"/>'
                  % (x + SIDE / 2 - size / 2, SIDE / 2 - y - size / 2, size, size, hexadecimal(color)))

    def text(self, x: float, y: float, text: str, color: Any) -> None:
        """A text that begins here."""
        left, low = place(x, y).split(",")
        self._add('<text x="%s" y="%s" font-family="sans-serif" font-size="12" fill="%s">%s</text>'
                  % (left, low, hexadecimal(color), escape("".join(c for c in text if c.isprintable()))))

    def turtle(self, number: int, x: float, y: float, heading: float, color: Any, name: str) -> None:
        """Where a turtle now stands; by its number it is told from others."""
        self._turtles[number] = (x, y, heading, color, name)

    def gone(self, number: int) -> None:
        """The turtle of this number has left."""
        self._turtles.pop(number, None)

    def coin(self, number: int, x: float, y: float, shown: bool) -> None:
        """A coin lies here, or does so no more."""
        self._coins.pop(number, None)
        if shown:
            self._coins[number] = (x, y)

    def card(self, number: int, x: float, y: float, shown: bool) -> None:
        """A card lies here on top of the others, or does so no more."""
        self._cards.pop(number, None)
        if shown:
            self._cards[number] = (x, y)

    def frame(self) -> None:
        """A frame is complete."""

    def _add(self, piece: str) -> None:
        self._finish_line()
        self.pieces.append(piece)
        self._line_end = None

    def svg(self) -> str:
        """The whole picture."""
        shown = ['<g transform="translate(%s)"><circle r="8" fill="#d4af37"/></g>' % place(*coin)
                 for coin in self._coins.values()]
        shown += ['<g transform="translate(%s)"><rect y="-104" width="75" height="104" rx="5" fill="#fff" stroke="#000"/>'
                  '<text x="8" y="-84" font-size="16">%d</text></g>' % (place(*lying), number)
                  for number, lying in self._cards.items()]
        shown += [self._turtle_at(*pose) for pose in self._turtles.values()]
        return ('<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d" viewBox="0 0 %d %d">\n'
                '<rect width="100%%" height="100%%" fill="%s"/>\n%s\n</svg>\n'
                % (SIDE, SIDE, SIDE, SIDE, hexadecimal(self.ground), "\n".join(self.pieces + self._latest_line() + shown)))

    @staticmethod
    def _turtle_at(x: float, y: float, heading: float, color: Any, name: str) -> str:
        """A doughnut, or a turtle's shell with head and feet."""
        fill = hexadecimal(color)
        if name == "doughnut":
            body = '<circle r="7" fill="none" stroke="#c98a4b" stroke-width="6"/>'
        else:
            feet = "".join('<circle cx="%g" cy="%g" r="2.5"/>' % (7 * math.cos(turn), 7 * math.sin(turn))
                           for turn in (0.8, 2.3, 4, 5.5))
            body = ('<g fill="%s" transform="rotate(%g)"><circle cx="10" r="3.5"/>%s'
                    '<ellipse rx="8.5" ry="6.5" stroke="#053"/></g>' % (fill, -heading % 360, feet))
            if name:
                body += '<text x="12" y="-8" font-size="10" fill="%s">%s</text>' % (fill, escape(name))
        return '<g transform="translate(%s)">%s</g>' % (place(x, y), body)
