"""Words of Python's turtle that a shared field takes in its own way: some with a note, some not at all.

Nothing is left out in silence: a word that cannot mean anything here raises NotHere and names what comes nearest.
"""
from __future__ import annotations

import math
from typing import Any, Callable, Optional

from . import crowd, hooks, world
from .body import Body, number
from .errors import BadValue, NotHere

# Words that do not change the picture, each with its note.
NOTED = {
    "speed": "speed() changes nothing: the field's clock moves all turtles alike, a step a frame.",
    "delay": "delay() changes nothing: the field's clock moves all turtles alike, a step a frame.",
    "tracer": "tracer() changes nothing: the field shows each frame. A batch() sends steps with the pen up together.",
    "update": "update() changes nothing: the field shows each frame.",
    "resizemode": "resizemode() changes nothing: turtles are equally large here.",
    "hideturtle": "hideturtle() changes nothing: nobody can hide on a shared field.",
    "showturtle": "showturtle() changes nothing: the turtle is always shown.",
    "setundobuffer": "setundobuffer() changes nothing: there is no undo here.",
    "title": "title() changes nothing: the window belongs to the field. name() shows a name beside the turtle.",
    "setup": "setup() changes nothing: the field is 512 wide and 512 high, (0, 0) in its middle.",
    "screensize": "screensize() changes nothing: the field is 512 wide and 512 high.",
}

# Words that do not exist here, each with the nearest one.
ABSENT = {
    "clearstamp": "a stamp is paint, and clear() wipes all painting",
    "clearstamps": "a stamp is paint, and clear() wipes all painting",
    "undo": "pencolor() in the ground's colour paints over a line; clear() wipes all",
    "undobufferentries": "clear() wipes all painting",
    "onclick": "on_hit(), on_coin() and the like call a function at an event",
    "onrelease": "on_hit(), on_coin() and the like call a function at an event",
    "ondrag": "on_hit(), on_coin() and the like call a function at an event",
    "onscreenclick": "on_hit(), on_coin() and the like call a function at an event",
    "onkey": "input() takes what is typed; the keys of the field's window are its operator's",
    "onkeypress": "input() takes what is typed; the keys of the field's window are its operator's",
    "onkeyrelease": "input() takes what is typed; the keys of the field's window are its operator's",
    "listen": "events() tells what has happened on the field; input() takes what is typed",
    "bgpic": "bgcolor() colours the ground",
    "shearfactor": "register_shape() takes any polygon, and shapesize() stretches it",
    "shapetransform": "register_shape() takes any polygon, and shapesize() and tilt() stretch and turn it",
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


class _NoTk:
    """What programs for Python's turtle find under the name TK."""

    def __getattr__(self, word: str) -> Any:
        raise NotHere("There is no Tk on a shared field: its window belongs to the operator.")


TK = _NoTk()


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

    # Units and modes

    def mode(self, mode: Optional[str] = None) -> Optional[str]:
        """"standard": 0 is right and angles grow to the left; "logo": 0 is up and they grow to the right.

        The turtles of the program go home. Without a mode it tells the one in use; "world" is that of setworldcoordinates().
        """
        if mode is None:
            return "world" if world.current is not None else "logo" if world.logo else "standard"
        if mode == "world":
            raise BadValue('setworldcoordinates() says how to count; mode("world") alone does not.')
        if mode not in ("standard", "logo"):
            raise BadValue('A mode is "standard" or "logo", not %.40r.' % (mode,))
        world.current, world.logo, world.painted = None, mode == "logo", False
        crowd.count_anew()
        return None

    def setworldcoordinates(self, llx: float, lly: float, urx: float, ury: float) -> None:
        """From now on this program counts places so that its lower left and upper right corner are those of the field.

        The turtles of the program go home, to its (0, 0). What is painted already stays as it is: so other corners can
        follow only after clear() or reset(). Sizes of dots and pens, and the words for games, count in units of the field.
        """
        corners = number(llx), number(lly), number(urx), number(ury)
        if corners[0] == corners[2] or corners[1] == corners[3]:
            raise BadValue("The two corners of a world differ in both directions.")
        new = world.World(*corners)
        if not all(map(math.isfinite, new.scales)) or 0 in new.scales:
            raise BadValue("These corners are too far apart, or too close.")
        if world.current is not None and world.current.corners == corners:
            return
        if world.current is not None and world.painted:
            raise NotHere("The field cannot zoom what is painted already: clear() or reset() first, then "
                          "setworldcoordinates() again.")
        world.current, world.logo, world.painted = new, False, False
        crowd.count_anew()

    # Questions to the user

    def textinput(self, title: str, prompt: str) -> Optional[str]:
        """Asks in the terminal: the text that is typed, None at its end."""
        try:
            return input("%s: %s " % (title, prompt))
        except EOFError:
            return None

    def numinput(self, title: str, prompt: str, default: Optional[float] = None, minval: Optional[float] = None,
                 maxval: Optional[float] = None) -> Optional[float]:
        """Asks in the terminal for a number, until it is one in the range; nothing typed is the default."""
        while True:
            text = self.textinput(title, prompt)
            if text is None or not text.strip():
                return None if default is None else float(default)
            try:
                value = number(float(text))
            except ValueError:
                print("That is no number. Please try again.")
                continue
            if (minval is None or value >= minval) and (maxval is None or value <= maxval):
                return value
            bounds = ["at least %g" % minval] if minval is not None else []
            bounds += ["at most %g" % maxval] if maxval is not None else []
            print("The number has to be %s. Please try again." % " and ".join(bounds))

    # The end of a program

    def ontimer(self, fun: Callable[[], object], t: int = 0) -> None:
        """Calls fun() once, t milliseconds from now, while the program waits in done()."""
        crowd.ontimer(fun, t)

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


# One by one instead of by __getattr__(), which would slow down every access to a turtle's own names.
for _word in ABSENT:
    setattr(Compat, _word, _Absent(_word))
