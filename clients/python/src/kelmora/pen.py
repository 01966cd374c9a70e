"""The words for pen, colours, areas and texts."""
from __future__ import annotations

from typing import Any, Iterable, Optional

from . import colors, hooks
from .body import BRUSH, LINES, POINTS, POLYGONS, RED, Trace, number, spell
from .errors import BadValue, Blocked
from .field import Answer
from .motion import Motion
from .shapes import disc, fill_packets, paint_of, pieces_of, straightened, stroke_packets
from .vector import Vec2D

LONGEST_TEXT = 127  # bytes that the field takes of a text or a name
SMALL_DOT = 4       # up to this size a square cannot be told from a disc

# Widths, in units, of the letters that texts are written with, from the blank on; one hexadecimal digit each.
WIDTHS = [int(digit, 16) for digit in "43577b93445748347777777777337777c989988993787b9a8a88789b9993436737777737733639777746377967643474"]


class Pen(Motion):
    """Pen, colours, areas, texts and the ground."""

    # Up and down

    def penup(self) -> bool:
        """Lifts the pen: steps draw nothing."""
        self._down = False
        return self._do("p u")

    def pendown(self) -> bool:
        """Puts the pen down: steps draw."""
        self._down, self._recolored = True, False
        return self._do("p d")

    def isdown(self) -> bool:
        """Whether the pen is down."""
        return self._down

    def pensize(self, width: Optional[float] = None) -> Any:
        """Sets the width of the pen; without it, tells the width."""
        if width is None:
            return self._width
        if number(width) <= 0:
            raise BadValue("The width of a pen is more than 0, not %g." % width)
        self._width = float(width)
        return self._do("w " + spell(width))

    # Ways to paint

    def lines(self) -> bool:
        """The pen draws lines, as it does at the start."""
        return self._paint_as(LINES)

    def polygons(self) -> bool:
        """Each step fills the polygon of the latest points, six at most. begin_fill() fills any shape."""
        return self._paint_as(POLYGONS)

    def points(self) -> bool:
        """Each step paints a point of the pen's width where it ends."""
        return self._paint_as(POINTS)

    def brush(self) -> bool:
        """The pen is a brush, whose strokes swell and taper as ink does."""
        return self._paint_as(BRUSH)

    def _paint_as(self, way: str) -> bool:
        self._way = way
        return self._do(way)

    # Colours

    def colormode(self, mode: Optional[float] = None) -> Any:
        """Sets what the parts of this turtle's colours go up to, 1.0 or 255; without it, tells it."""
        if mode is None:
            return self._top()
        self._colormode = colors.valid_mode(mode)
        return None

    def _top(self) -> float:
        return colors.mode if self._colormode is None else self._colormode

    def pencolor(self, *color: Any) -> Any:
        """Sets the colour of the pen: a name, "#rrggbb", a triple or three numbers; without it, tells the colour."""
        if not color:
            return colors.to_mode(self._color, self._top())
        self._color = colors.from_arguments(color, self._top())
        self._recolored = True
        return self._do(paint_of(self._color))

    def fillcolor(self, *color: Any) -> Any:
        """Sets the colour that end_fill() fills with; without it, tells the colour."""
        if color:
            self._fillcolor = colors.from_arguments(color, self._top())
        return None if color else colors.to_mode(self._fillcolor, self._top())

    def color(self, *args: Any) -> Any:
        """Sets the colours of pen and filling, one for both or one each; without them, tells both."""
        if not args:
            return self.pencolor(), self.fillcolor()
        pen, fill = ((args[0],), (args[1],)) if len(args) == 2 else (args, args)
        fillcolor = colors.from_arguments(fill, self._top())
        done = self.pencolor(*pen)
        self._fillcolor = fillcolor
        return done

    # Areas

    def begin_fill(self) -> None:
        """From here on the way of the turtle is the edge of an area, which end_fill() fills."""
        if self._fill is not None:
            self._traces.remove(self._fill)
        self._fill = Trace(self._place("begin_fill"))
        self._traces.append(self._fill)

    def end_fill(self) -> bool:
        """Fills the area since begin_fill() and draws the lines at its edge again, on top of it.

        The turtle jumps around for that, one piece of the area a frame, and comes back. What its way surrounds twice stays
        empty. False when something refused a jump; the area is then filled in part.
        """
        self._field.immediate("end_fill")
        trace, self._fill = self._fill, None
        if trace is None:
            return True
        self._traces.remove(trace)
        pieces = pieces_of(trace.points)
        if not pieces:
            return True
        packets = [*fill_packets(pieces, self._fillcolor), *stroke_packets(straightened(trace.strokes))]
        return self._painted(packets, trace.points[-1])

    def filling(self) -> bool:
        """Whether an area has begun and not ended."""
        return self._fill is not None

    def begin_poly(self) -> None:
        """From here on the way of the turtle is remembered."""
        if self._poly in self._traces:
            self._traces.remove(self._poly)  # type: ignore[arg-type]
        self._poly = Trace(self._place("begin_poly"))
        self._traces.append(self._poly)

    def end_poly(self) -> None:
        """The way since begin_poly() is complete."""
        if self._poly in self._traces:
            self._traces.remove(self._poly)  # type: ignore[arg-type]

    def get_poly(self) -> Optional[tuple[Vec2D, ...]]:
        """The places on the way between begin_poly() and end_poly(); None when there was none."""
        return tuple(self._poly.points) if self._poly else None

    def dot(self, size: Optional[float] = None, *color: Any) -> bool:
        """Paints a disc so wide in the pen's colour, or in the one given, whether the pen is up or down."""
        if size is not None and not color and (isinstance(size, (str, tuple))):
            size, color = None, (size,)
        ink = colors.from_arguments(color, self._top()) if color else self._color
        width = max(self._width + 4, self._width * 2) if size is None else number(size)
        if width <= 0:
            raise BadValue("A dot is wider than 0, not %g." % width)
        here = self._place("dot")
        if width > SMALL_DOT:
            return self._painted(fill_packets(pieces_of(disc(here, width)), ink), here)
        return self._painted([["p u", POINTS, paint_of(ink), "w " + spell(width), "p d", "f 0"]], here, moved=False)

    def _painted(self, packets: Iterable[list[str]], back_to: Vec2D, moved: bool = True) -> bool:
        """Sends the packets one by one until something is refused, then puts turtle and pen back as they were."""
        def read(*answers: Answer) -> bool:
            return all(answer.ok for answer in answers)
        done = True
        for packet in packets:
            done = self._say(packet, read)
            if not done:
                break
        end = ["p u"]
        if moved:
            end.append("j %s %s" % (spell(back_to[0]), spell(back_to[1])))
        end += [self._way, paint_of(self._color), "w " + spell(self._width)]
        if self._down:
            end.append("p d")
            self._recolored = False
        done = self._say(end, read) and done
        if not done and self._strict:
            raise Blocked("jump" if moved else "something")
        return done

    # Texts

    def write(self, arg: object, move: bool = False, align: str = "left", font: Optional[Any] = None) -> bool:
        """Writes str(arg) here, in the pen's colour; it stays on the ground like a line.

        move  -- whether the turtle then goes to the text's end
        align -- whether the turtle is at the "left" end, in the "center" or at the "right" end of the text
        font  -- the field has one only: any other is accepted with a note
        At most 127 letters of western Europe's alphabets.
        """
        text = str(arg)
        try:
            letters = text.encode("latin-1")
        except UnicodeEncodeError as error:
            raise BadValue("The field has no letter %r." % text[error.start]) from None
        if not 1 <= len(letters) <= LONGEST_TEXT or not text.isprintable():
            raise BadValue("A text to write is one line of 1 to 127 letters, not %d." % len(letters))
        if align not in ("left", "center", "right"):
            raise BadValue('align is "left", "center" or "right", not %.40r.' % (align,))
        if font is not None:
            hooks.note_once("font", "write() has one font here, of 12 units; font=... is left out.")
        line = "s " + letters.hex()
        wide = text_width(letters)
        aside = {"left": 0, "center": wide // 2, "right": wide}[align]
        if not aside:
            done: bool = self._do(line)
        else:
            done = self._beside(-aside, [line])
        if move:
            return done and self.shift(wide - aside, 0)
        return done

    def _beside(self, dx: int, lines: list[str]) -> bool:
        """Sends the lines from so far aside, with the pen up, and comes back."""
        self._field.immediate("write")

        def read(*answers: Answer) -> bool:
            return all(answer.ok for answer in answers)
        if not self._say(["p u", "g %d 0" % dx], read):
            self._say(["p d"] if self._down else ["."], read)
            return False
        written = self._say(lines, read)
        back = self._say(["g %d 0" % -dx] + (["p d"] if self._down else []), read)
        self._recolored = False
        return bool(written and back)

    # The ground, which everybody shares

    def bgcolor(self, *color: Any) -> Any:
        """Sets the colour of the ground and thereby wipes all painting; without it, tells the last one set here."""
        if not color:
            return colors.to_mode(self._ground, self._top())
        self._ground = colors.from_arguments(color, self._top())
        hooks.note_once("bgcolor", "bgcolor() wipes everybody's painting: all turtles share one ground.")
        return self._do("h" + paint_of(self._ground)[1:])

    def clear(self) -> bool:
        """Wipes all painting, everybody's."""
        hooks.note_once("clear", "clear() and reset() wipe everybody's painting: all turtles share one ground.")
        return self._do("c f")

    def clearscreen(self) -> bool:
        """Wipes all painting and takes the zombies away."""
        return self._do("c a")

    def reset(self) -> bool:
        """Wipes all painting, takes a fresh pen and goes home; False when something stands in the way."""
        self._field.immediate("reset")
        hooks.note_once("clear", "clear() and reset() wipe everybody's painting: all turtles share one ground.")
        self._fresh()
        self._say(["c f", paint_of(RED), "w 1", LINES, "p u"], lambda *answers: None)
        done = self.home()
        self.pendown()
        return done

    def restart(self) -> bool:
        """The field's own fresh start: in the middle at once, pen up and red, score 100, no name, no team.

        Nothing happens in battle mode. Where another turtle stands in the middle, neither of them can move any more.
        """
        self._fresh()
        return self._do("c")

    def _fresh(self) -> None:
        self._forget_pen()
        self._fillcolor = RED
        self._traces.clear()
        self._fill = self._poly = None

    pu = up = penup
    pd = down = pendown
    width = pensize
    resetscreen = reset


def text_width(letters: bytes) -> int:
    """How wide the field writes these letters, in units."""
    return sum(WIDTHS[letter - 32] if 32 <= letter < 32 + len(WIDTHS) else 7 for letter in letters)

