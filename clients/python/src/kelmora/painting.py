"""The words for pen, colours, areas and texts."""
from __future__ import annotations

from typing import Any, Iterable, Optional

from . import colors, hooks, world
from .body import BRUSH, LINES, POINTS, POLYGONS, RED, Trace, number, spell
from .errors import BadValue, Blocked
from .link import Answer
from .motion import Motion
from .shapes import disc, fill_packets, paint_of, pieces_of, straightened, stroke_packets
from .vector import Vec2D

LONGEST_TEXT = 127  # bytes that the field takes of a text or a name
SMALL_DOT = 4       # up to this size a square cannot be told from a disc

# Widths of the letters that texts are written with, from the blank on, in tenths of a unit.
WIDTHS = [105, 27, 51, 79, 76, 97, 102, 14, 47, 48, 59, 97, 26, 101, 26, 82, 77, 67, 78, 77, 80, 78, 74, 77, 78, 74, 26, 26,
          82, 97, 82, 74, 74, 80, 84, 84, 85, 78, 79, 90, 89, 21, 60, 79, 71, 97, 89, 89, 86, 88, 82, 81, 72, 89, 82, 101,
          72, 80, 74, 46, 78, 46, 90, 104, 84, 67, 70, 69, 70, 69, 39, 71, 71, 29, 36, 63, 19, 124, 71, 72, 71, 71, 49, 62,
          39, 71, 61, 80, 56, 66, 62, 42, 24, 41, 91]


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
        self._lift_brush()
        self._way = way
        if not self._down:
            return self._do(way)
        self._recolored = False
        return self._say([way, "p d"], all_done)  # the pen put down anew leaves older points out

    def _lift_brush(self) -> None:
        """Finishes a stroke of the brush, which runs behind the turtle: the field does that in a frame with the pen up."""
        if self._down and self._way == BRUSH:
            self._do("p u")

    # Colours

    def colormode(self, cmode: Optional[float] = None) -> Any:
        """Sets what the parts of this turtle's colours go up to, 1.0 or 255; without it, tells it."""
        if cmode is None:
            return self._top()
        self._colormode = colors.valid_mode(cmode)
        return None

    def _top(self) -> float:
        return colors.mode if self._colormode is None else self._colormode

    def pencolor(self, *color: Any) -> Any:
        """Sets the colour of the pen: a name, "#rrggbb", a triple or three numbers; without it, tells the colour,
        by its name if it was given so."""
        if not color:
            return colors.to_mode(self._color, self._top())
        self._color = colors.from_arguments(color, self._top())
        line = paint_of(self._color)
        if self._down and self._way == BRUSH:
            self._lift_brush()  # a stroke has one colour
            return self._say([line, "p d"], all_done)
        self._recolored = True
        return self._do(line)

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
        # An edge in the area's colour need not be painted again, unless it is wider than the part of it that the area covers.
        edge = [stroke for stroke in straightened(trace.strokes) if stroke.color != self._fillcolor or stroke.width > 1]
        packets = [*fill_packets(pieces, self._fillcolor), *stroke_packets(edge)]
        return self._painted(packets, trace.points[-1])

    def filling(self) -> bool:
        """Whether an area has begun and not ended."""
        return self._fill is not None

    def begin_poly(self) -> None:
        """From here on the way of the turtle is remembered."""
        if self._poly in self._traces:
            self._traces.remove(self._poly)
        self._poly = Trace(self._place("begin_poly"))
        self._traces.append(self._poly)

    def end_poly(self) -> None:
        """The way since begin_poly() is complete."""
        if self._poly in self._traces:
            self._traces.remove(self._poly)

    def get_poly(self) -> Optional[tuple[Vec2D, ...]]:
        """The places on the way between begin_poly() and end_poly(); None when there was none."""
        return tuple(map(self._counted, self._poly.points)) if self._poly else None

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
        self._lift_brush()
        world.painted = True
        done = True
        for packet in packets:
            done = self._say(packet, all_done)
            if not done:
                break
        end = ["p u"]
        if moved:
            end.append("j %s %s" % (spell(back_to[0]), spell(back_to[1])))
        end += [self._way, paint_of(self._color), "w " + spell(self._width)]
        if self._down:
            end.append("p d")
            self._recolored = False
        done = self._say(end, all_done) and done
        if not done and self._strict:
            raise Blocked("jump" if moved else "something")
        return done

    # Texts

    def write(self, arg: object, move: bool = False, align: str = "left", font: Optional[Any] = None) -> bool:
        """Writes str(arg) here, in the pen's colour; it stays on the ground like a line.

        move  -- whether the turtle then goes to the text's end
        align -- whether the turtle is at the "left" end, in the "center" or at the "right" end of the text
        font  -- the field has one only: any other is accepted with a note
        At most 127 letters, digits and signs of ASCII: the field has no others. An empty text leaves nothing.
        """
        text = str(arg)
        if not text:
            return True
        strange = next((letter for letter in text if not " " <= letter <= "~"), None)
        if strange is not None:
            raise BadValue("The field cannot write %r: it has plain letters, digits and signs alone." % strange)
        if len(text) > LONGEST_TEXT:
            raise BadValue("A text to write has at most 127 letters, not %d." % len(text))
        if align not in ("left", "center", "right"):
            raise BadValue('align is "left", "center" or "right", not %.40r.' % (align,))
        if font is not None:
            hooks.note_once("font", "write() has one font here, 10 units high; font=... is left out.")
        world.painted = True
        line = "s " + text.encode("ascii").hex()
        wide = text_width(text)
        aside = {"left": 0.0, "center": wide / 2, "right": wide}[align]
        done = self._beside(-aside, line) if aside else self._do(line)
        return done and self._shift(wide - aside, 0) if move else done

    def _beside(self, dx: float, line: str) -> bool:
        """Sends the line from so far aside, and comes back; nothing is drawn on the way."""
        self._field.immediate("write")
        self._lift_brush()
        pen = ["p d"] if self._down else []
        self._recolored = False
        if not self._say(["p u", "g %s 0" % spell(dx)], all_done):
            self._say(pen or ["."], all_done)
            return False
        written = self._do(line)
        return self._say(["g %s 0" % spell(-dx)] + pen, all_done) and written

    # The ground, which everybody shares

    def bgcolor(self, *color: Any) -> Any:
        """Sets the colour of the ground and thereby wipes all painting; without it, tells the last one set here."""
        if not color:
            return colors.to_mode(self._ground, self._top())
        self._ground = colors.from_arguments(color, self._top())
        world.painted = False
        hooks.note_once("bgcolor", "bgcolor() wipes everybody's painting: all turtles share one ground.")
        return self._do("h" + paint_of(self._ground)[1:])

    def clear(self) -> bool:
        """Wipes all painting, everybody's."""
        world.painted = False
        hooks.note_once("clear", "clear() and reset() wipe everybody's painting: all turtles share one ground.")
        return self._do("c f")

    def clearscreen(self) -> bool:
        """Wipes all painting and takes the zombies away."""
        world.painted = False
        return self._do("c a")

    def reset(self) -> bool:
        """Wipes all painting, takes a fresh pen and goes home; False when something stands in the way."""
        self._field.immediate("reset")
        world.painted = False
        hooks.note_once("clear", "clear() and reset() wipe everybody's painting: all turtles share one ground.")
        self._fresh()
        self._say(["c f", paint_of(RED), "w 1", LINES, "p u"], lambda *answers: None)
        done = self.home()
        if not done and self._obstacle:
            self.setheading(0)  # it has turned towards the middle
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


def all_done(*answers: Answer) -> bool:
    return all(answer.ok for answer in answers)


def text_width(text: str) -> float:
    """How wide the field writes a text in ASCII, in units."""
    return sum(WIDTHS[ord(letter) - 32] for letter in text) / 10
