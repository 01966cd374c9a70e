"""Words of Python's turtle that a shared field takes in its own way: some with a note, some not at all.

Nothing is left out in silence: a word that cannot mean anything here raises NotHere and names what comes nearest.
"""
from __future__ import annotations

from typing import Any, Callable, Optional

from . import crowd, hooks
from .body import Body
from .errors import NotHere

# Words that change nothing of the picture: what the note says.
NOTED = {
    "speed": "speed() changes nothing: the field's clock moves all turtles alike, a step a frame.",
    "delay": "delay() changes nothing: the field's clock moves all turtles alike, a step a frame.",
    "tracer": "tracer() changes nothing: the field shows each frame. A batch() sends steps with the pen up together.",
    "update": "update() changes nothing: the field shows each frame.",
    "shape": "shape() changes nothing: turtles look like turtles here. team(1) to team(4) give another colour.",
    "shapesize": "shapesize() changes nothing: turtles are equally large here.",
    "resizemode": "resizemode() changes nothing: turtles are equally large here.",
    "hideturtle": "hideturtle() changes nothing: nobody can hide on a shared field.",
    "showturtle": "showturtle() changes nothing: the turtle is always shown.",
    "setundobuffer": "setundobuffer() changes nothing: there is no undo here.",
    "title": "title() changes nothing: the window belongs to the field. name() shows a name beside the turtle.",
    "setup": "setup() changes nothing: the field is 512 wide and 512 high, (0, 0) in its middle.",
    "screensize": "screensize() changes nothing: the field is 512 wide and 512 high.",
}

# Words that are not there: what comes nearest.
ABSENT = {
    "stamp": "dot() or begin_fill() paint a mark",
    "clearstamp": "clear() wipes all painting",
    "clearstamps": "clear() wipes all painting",
    "pen": "penup(), pencolor() and pensize() set one thing each",
    "undo": "pencolor() in the ground's colour paints over a line; clear() wipes all",
    "undobufferentries": "clear() wipes all painting",
    "clone": "Turtle() makes another turtle, at a place of its own",
    "onclick": "on_hit(), on_coin() and the like call a function at an event",
    "onrelease": "on_hit(), on_coin() and the like call a function at an event",
    "ondrag": "on_hit(), on_coin() and the like call a function at an event",
    "onscreenclick": "on_hit(), on_coin() and the like call a function at an event",
    "onkey": "input() takes what is typed; the keys of the field's window are its operator's",
    "onkeypress": "input() takes what is typed; the keys of the field's window are its operator's",
    "onkeyrelease": "input() takes what is typed; the keys of the field's window are its operator's",
    "listen": "events() tells what has happened on the field; input() takes what is typed",
    "textinput": "input() asks in the terminal",
    "numinput": "float(input()) asks in the terminal",
    "bgpic": "bgcolor() colours the ground",
    "register_shape": "begin_fill() and end_fill() paint any shape",
    "addshape": "begin_fill() and end_fill() paint any shape",
    "get_shapepoly": "get_poly() gives the way between begin_poly() and end_poly()",
    "getshapes": "the field has one shape of turtle",
    "Shape": "begin_fill() and end_fill() paint any shape",
    "tilt": "left() and right() turn the turtle",
    "tiltangle": "heading() tells where the turtle faces",
    "settiltangle": "setheading() turns the turtle",
    "shearfactor": "the field has one shape of turtle",
    "shapetransform": "the field has one shape of turtle",
    "setworldcoordinates": "the field goes from -256 to 256 both ways: multiply before goto()",
    "getcanvas": "clear() and bgcolor() are for the ground; there is no canvas of Tk here",
    "write_docstringdict": "help(kelmora.Turtle) shows all words",
    "ScrolledCanvas": "Turtle() is all that is needed; there is no canvas of Tk here",
    "Terminator": "KelmoraError is the base of all errors here",
    "save": "the operator takes a picture with the key p; practice().save(...) saves one without a field",
}


def _noted(word: str, result: Any = None) -> Callable[..., Any]:
    """A word that is accepted with a note, once."""
    def accepted(self: Any, *unused: Any, **unused_too: Any) -> Any:
        hooks.note_once(word, NOTED[word])
        return result
    accepted.__name__, accepted.__doc__ = word, NOTED[word]
    return accepted


def absent(word: str) -> NotHere:
    return NotHere("There is no %s() on a shared field: %s." % (word, ABSENT[word]))


def _absent(word: str) -> Callable[..., Any]:
    """A word that raises when it is called."""
    def refused(*unused: Any, **unused_too: Any) -> Any:
        raise absent(word)
    refused.__name__, refused.__doc__ = word, "Not here: %s." % ABSENT[word]
    return refused


REFUSING = {word: _absent(word) for word in ABSENT}  # as functions, for the module


class _Absent:
    """A word that raises as soon as a turtle is asked for it, so that hasattr() says no."""

    def __init__(self, word: str) -> None:
        self.word = word

    def __get__(self, turtle: object, kind: object = None) -> Any:
        if turtle is None:
            return self
        raise absent(self.word)


class Compat(Body):
    """What programs for Python's turtle say beside moving and drawing."""

    speed = _noted("speed", 0)
    delay = _noted("delay", 0)
    tracer = _noted("tracer", 1)
    update = _noted("update")
    shape = _noted("shape", "turtle")
    shapesize = turtlesize = _noted("shapesize", (1.0, 1.0, 1))
    resizemode = _noted("resizemode", "noresize")
    hideturtle = ht = _noted("hideturtle")
    showturtle = st = _noted("showturtle")
    setundobuffer = _noted("setundobuffer")
    title = _noted("title")
    setup = _noted("setup")
    screensize = _noted("screensize", (512, 512))

    def isvisible(self) -> bool:
        """True: the turtle is always shown."""
        return True

    def window_width(self) -> int:
        """512."""
        return 512

    def window_height(self) -> int:
        """512."""
        return 512

    def mode(self, mode: Optional[str] = None) -> Optional[str]:
        """"standard" alone: 0 is right, and angles grow to the left."""
        if mode not in (None, "standard"):
            raise NotHere('mode(%.20r) is not there: headings are as in mode("standard"), 0 right and 90 up.' % (mode,))
        return None if mode else "standard"

    # The end of a program

    def ontimer(self, function: Callable[[], object], t: int = 0) -> None:
        """Calls function() once, t milliseconds from now, while the program waits in done()."""
        crowd.ontimer(function, t)

    def done(self) -> None:
        """The end of a program: at once, unless on_hit() and the like or ontimer() wait for something.

        Then their functions are called as things happen, until nothing is left to wait for, all turtles have gone, or
        Ctrl-C is pressed. What was painted stays on the field.
        """
        crowd.done()

    def close(self) -> None:
        """Leaves the field. The turtle stays there as a zombie until the operator or clearscreen() takes it away."""
        self._field.close()

    mainloop = exitonclick = done
    bye = close


# One by one, not by __getattr__(): a class that has one pays for it with each look at a turtle's own names.
for _word in ABSENT:
    setattr(Compat, _word, _Absent(_word))
