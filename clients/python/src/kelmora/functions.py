"""Every word of a turtle as a function, for programs with one turtle. Made by tools/make_functions.py."""
from __future__ import annotations

from typing import Any, Callable, Dict, Optional

from .compat import REFUSING, TK
from .link import Answer, Batch
from .looks import Corners, Shape, getshapes, register_shape
from .senses import Callback
from .turtles import Screen, Turtle, anyone, default
from .vector import Vec2D


def alive() -> bool:
    """Whether the turtle lives."""
    return default().alive()


def ask(line: str) -> Answer:
    """Sends one command of the protocol as it is: Answer(values, ok, clock, events)."""
    return default().ask(line)


def back(distance: float) -> bool:
    """Goes so many units back without turning."""
    return default().back(distance)


def batch() -> Batch:
    """`with batch() as answers:` sends the commands of the block in one packet and gives all their answers."""
    return default().batch()


def battle(on: bool = True) -> bool:
    """Battle mode for everybody, with hard edges and walls; battle(False): drawing again."""
    return anyone().battle(on)


def begin_fill() -> None:
    """From here on the way of the turtle is the edge of an area, which end_fill() fills."""
    default().begin_fill()


def begin_poly() -> None:
    """From here on the way of the turtle is remembered."""
    default().begin_poly()


def bgcolor(*color: Any) -> Any:
    """Sets the colour of the ground and thereby wipes all painting; without it, tells the last one set here."""
    return anyone().bgcolor(*color)


def blocked_by() -> Optional[str]:
    """What was last in the way: "turtle", "doughnut", "stone" or "wall"; None after a step or a turn."""
    return default().blocked_by()


def borrow() -> bool:
    """Borrows ten coins from the bank; False when it has fewer."""
    return default().borrow()


def broadcast(text: str) -> bool:
    """Posts a text on the team's board: at most 128 plain characters but ';'. Turtles without a team share one."""
    return default().broadcast(text)


def brush() -> bool:
    """The pen is a brush, whose strokes swell and taper as ink does."""
    return default().brush()


def card(card: int, x: float, y: float) -> bool:
    """Lays the card, 1 to 53, with its lower left corner at the place, on top of the others."""
    return anyone().card(card, x, y)


def card_position(card: int) -> Vec2D:
    """Where the card, 1 to 52, lies or last lay: its lower left corner."""
    return anyone().card_position(card)


def card_shown(card: int) -> bool:
    """Whether the card, 1 to 52, lies on the field."""
    return anyone().card_shown(card)


def circle(radius: float, extent: Optional[float] = None, steps: Optional[int] = None) -> bool:
    """Goes along a circle whose middle is radius to the left (to the right, when it is negative).

    extent -- the angle of the arc, a whole circle when not given; a negative one goes backwards
    steps  -- so many straight steps: circle(50, steps=3) is a triangle
    Ends with False at a step that is blocked.
    """
    return default().circle(radius, extent, steps)


def clear() -> bool:
    """Wipes all painting, everybody's."""
    return anyone().clear()


def clear_cards() -> bool:
    """Takes all cards off the field."""
    return anyone().clear_cards()


def clearscreen() -> bool:
    """Wipes all painting and takes the zombies away."""
    return anyone().clearscreen()


def clock() -> int:
    """The field's clock, in ticks: about 120 a second while a turtle can move."""
    return anyone().clock()


def clone() -> "Turtle":
    """Another turtle with the same pen, at the same place.

    The two share this one's connection, and its body on the field: whoever steps next first jumps there. Where the
    field refuses jumps (see goto), that raises Blocked.
    """
    return default().clone()


def close() -> None:
    """Leaves the field. The turtle stays there as a zombie until the operator or clearscreen() takes it away."""
    default().close()


def coins() -> int:
    """Coins that the turtle carries."""
    return default().coins()


def coins_near() -> int:
    """Coins within reach."""
    return default().coins_near()


def color(*args: Any) -> Any:
    """Sets the colours of pen and filling, one for both or one each; without them, tells both."""
    return default().color(*args)


def colormode(cmode: Optional[float] = None) -> Any:
    """Sets what the parts of this turtle's colours go up to, 1.0 or 255; without it, tells it."""
    return Screen().colormode(cmode)


def degrees(fullcircle: float = 360.0) -> None:
    """Lets angles be given so that a full turn has this many units."""
    default().degrees(fullcircle)


def delay(*unused: Any, **unused_too: Any) -> Any:
    """delay() changes nothing: the field's clock moves all turtles alike, a step a frame."""
    return Screen().delay(*unused, **unused_too)


def distance(x: Any, y: Any = None) -> float:
    """How far it is from the turtle to the place, or to another turtle."""
    return default().distance(x, y)


def done() -> None:
    """The end of a program: at once, unless on_hit() and the like or ontimer() wait for something.

    Then their functions are called as things happen, until nothing is left to wait for, all turtles have gone, or
    Ctrl-C is pressed. What was painted stays on the field.
    """
    Screen().done()


def dot(size: Optional[float] = None, *color: Any) -> bool:
    """Paints a disc so wide in the pen's colour, or in the one given, whether the pen is up or down."""
    return default().dot(size, *color)


def doughnut() -> bool:
    """Bakes a doughnut somewhere on the field; False after ten, or when there is no room."""
    return default().doughnut()


def drop() -> bool:
    """Drops a coin; False when the turtle carries none."""
    return default().drop()


def end_fill() -> bool:
    """Fills the area since begin_fill() and draws the lines at its edge again, on top of it.

    The turtle jumps around for that, one piece of the area a frame, and comes back. What its way surrounds twice stays
    empty. False when something refused a jump; the area is then filled in part.
    """
    return default().end_fill()


def end_poly() -> None:
    """The way since begin_poly() is complete."""
    default().end_poly()


def events() -> list[str]:
    """Names of what has happened since this was called last, such as ["hit", "coin"]."""
    return default().events()


def fillcolor(*color: Any) -> Any:
    """Sets the colour that end_fill() fills with; without it, tells the colour."""
    return default().fillcolor(*color)


def filling() -> bool:
    """Whether an area has begun and not ended."""
    return default().filling()


def finder(range: Optional[float] = None) -> tuple[str, int]:
    """What a walk straight ahead meets first, and its team.

    range -- how far to look, from now on; 20 at the start
    The first of the result is "nothing", "turtle", "doughnut", "stone" or "wall" (where edges are hard).
    """
    return default().finder(range)


def fire() -> bool:
    """Fires a beam straight ahead for one point of score. One flies at a time: meanwhile this does nothing."""
    return default().fire()


def forward(distance: float) -> bool:
    """Goes so many units forward, all of them or none; a negative distance leads back."""
    return default().forward(distance)


def get_poly() -> Optional[tuple[Vec2D, ...]]:
    """The places on the way between begin_poly() and end_poly(); None when there was none."""
    return default().get_poly()


def get_shapepoly() -> Optional[Corners]:
    """The corners of the shape as it is stretched and turned; None for a compound."""
    return default().get_shapepoly()


def getscreen() -> "Screen":
    """The field, with the words that Python's turtle gives its screen."""
    return default().getscreen()


def getturtle() -> "Turtle":
    """This turtle."""
    return default().getturtle()


def goto(x: Any, y: Any = None) -> bool:
    """Jumps to the place, given as two numbers or a pair, over whatever stands between.

    It draws a line there when the pen is down. Refused in battle mode, while something stands closer than 20, and,
    where the field's edges are hard, to a place outside or near a wall.
    """
    return default().goto(x, y)


def heading() -> float:
    """Which way the turtle faces: 0 is right (east), 90 up, less than 360."""
    return default().heading()


def hideturtle(*unused: Any, **unused_too: Any) -> Any:
    """hideturtle() changes nothing: nobody can hide on a shared field."""
    return default().hideturtle(*unused, **unused_too)


def home() -> bool:
    """Walks to the middle and faces right. False when something is in the way; it then stays where it was."""
    return default().home()


def isdown() -> bool:
    """Whether the pen is down."""
    return default().isdown()


def isvisible() -> bool:
    """True: the turtle is always shown."""
    return default().isvisible()


def left(angle: float) -> bool:
    """Turns left by the angle. In battle mode by 3 degrees at most."""
    return default().left(angle)


def lines() -> bool:
    """The pen draws lines, as it does at the start."""
    return default().lines()


def message() -> tuple[int, str]:
    """The last post on the team's board: when, by the field's clock, and its text; (0, "") when there was none."""
    return default().message()


def mode(mode: Optional[str] = None) -> Optional[str]:
    """"standard": 0 is right and angles grow to the left; "logo": 0 is up and they grow to the right.

    The turtles of the program go home. Without a mode it tells the one in use; "world" is that of setworldcoordinates().
    """
    return Screen().mode(mode)


def mute(*events: str) -> bool:
    """Switches events off, by their names: mute("found", "seen")."""
    return default().mute(*events)


def name(text: str) -> bool:
    """Names the turtle: 1 to 127 bytes of UTF-8."""
    return default().name(text)


def numinput(title: str, prompt: str, default: Optional[float] = None, minval: Optional[float] = None, maxval: Optional[float] = None) -> Optional[float]:
    """Asks in the terminal for a number, until it is one in the range; nothing typed is the default."""
    return Screen().numinput(title, prompt, default, minval, maxval)


def on_coin(function: Callback) -> Callback:
    """Calls function() when a coin has come within reach."""
    return default().on_coin(function)


def on_doughnut(function: Callback) -> Callback:
    """Calls function() when a doughnut is in the way."""
    return default().on_doughnut(function)


def on_found(function: Callback) -> Callback:
    """Calls function() when somebody's finder has found the turtle."""
    return default().on_found(function)


def on_hit(function: Callback) -> Callback:
    """Calls function() when a beam has hit the turtle; None: no more. So do all on_ words for their events."""
    return default().on_hit(function)


def on_message(function: Callback) -> Callback:
    """Calls function() when a message was posted on the team's board."""
    return default().on_message(function)


def on_seen(function: Callback) -> Callback:
    """Calls function() when somebody's radar has seen the turtle."""
    return default().on_seen(function)


def on_stone(function: Callback) -> Callback:
    """Calls function() when a stone is in the way."""
    return default().on_stone(function)


def on_turtle(function: Callback) -> Callback:
    """Calls function() when a turtle is in the way."""
    return default().on_turtle(function)


def on_wall(function: Callback) -> Callback:
    """Calls function() when a wall is in the way."""
    return default().on_wall(function)


def ontimer(fun: Callable[[], object], t: int = 0) -> None:
    """Calls fun() once, t milliseconds from now, while the program waits in done()."""
    Screen().ontimer(fun, t)


def pen(pen: Optional[Dict[str, Any]] = None, **pendict: Any) -> Any:
    """Sets what the dictionary or the names say, as pen() has told it; without them, tells all about the pen."""
    return default().pen(pen, **pendict)


def pencolor(*color: Any) -> Any:
    """Sets the colour of the pen: a name, "#rrggbb", a triple or three numbers; without it, tells the colour,
    by its name if it was given so.
    """
    return default().pencolor(*color)


def pendown() -> bool:
    """Puts the pen down: steps draw."""
    return default().pendown()


def pensize(width: Optional[float] = None) -> Any:
    """Sets the width of the pen; without it, tells the width."""
    return default().pensize(width)


def penup() -> bool:
    """Lifts the pen: steps draw nothing."""
    return default().penup()


def pick() -> bool:
    """Picks up the nearest coin within 20. Where there is none that is no error; coins() counts."""
    return default().pick()


def ping() -> int:
    """Does nothing but bring an answer, and so events; gives the clock."""
    return default().ping()


def points() -> bool:
    """Each step paints a point of the pen's width where it ends."""
    return default().points()


def polygons() -> bool:
    """Each step fills the polygon of the latest points, six at most. begin_fill() fills any shape."""
    return default().polygons()


def position() -> Vec2D:
    """Where the turtle is: (x, y), each from -256 to 256 on the field."""
    return default().position()


def radar(rank: int = 1) -> Optional[tuple[float, int]]:
    """Where the nearest turtle is (or the second nearest, up to 5): bearing and team, None when there is none.

    The bearing is how far to turn left to face it, from -180 to 180, and wrong by up to 20 degrees.
    """
    return default().radar(rank)


def radians() -> None:
    """Lets angles be given in radians."""
    default().radians()


def reset() -> bool:
    """Wipes all painting, takes a fresh pen and goes home; False when something stands in the way."""
    return default().reset()


def resizemode(*unused: Any, **unused_too: Any) -> Any:
    """resizemode() changes nothing: turtles are equally large here."""
    return Screen().resizemode(*unused, **unused_too)


def restart() -> bool:
    """The field's own fresh start: in the middle at once, pen up and red, score 100, no name, no team.

    Nothing happens in battle mode. Where another turtle stands in the middle, neither of them can move any more.
    """
    return default().restart()


def right(angle: float) -> bool:
    """Turns right by the angle. In battle mode by 3 degrees at most."""
    return default().right(angle)


def robot() -> bool:
    """Lets a robot onto the field; False when there is no room."""
    return anyone().robot()


def score() -> int:
    """The score, which is also the energy in battle: 100 at the start; who falls below 0 dies."""
    return default().score()


def screensize(*unused: Any, **unused_too: Any) -> Any:
    """screensize() changes nothing: the field is 512 wide and 512 high."""
    return Screen().screensize(*unused, **unused_too)


def setheading(to_angle: float) -> bool:
    """Faces this way: 0 is right (east), 90 up. In battle mode it turns there by 3 degrees at most."""
    return default().setheading(to_angle)


def setundobuffer(*unused: Any, **unused_too: Any) -> Any:
    """setundobuffer() changes nothing: there is no undo here."""
    return Screen().setundobuffer(*unused, **unused_too)


def setup(*unused: Any, **unused_too: Any) -> Any:
    """setup() changes nothing: the field is 512 wide and 512 high, (0, 0) in its middle."""
    return Screen().setup(*unused, **unused_too)


def setworldcoordinates(llx: float, lly: float, urx: float, ury: float) -> None:
    """From now on this program counts places so that its lower left and upper right corner are those of the field.

    The turtles of the program go home, to its (0, 0). What is painted already stays as it is: so other corners can
    follow only after clear() or reset(). Sizes of dots and pens, and the words for games, count in units of the field.
    """
    Screen().setworldcoordinates(llx, lly, urx, ury)


def setx(x: float) -> bool:
    """Jumps to this x; y stays."""
    return default().setx(x)


def sety(y: float) -> bool:
    """Jumps to this y; x stays."""
    return default().sety(y)


def shape(name: Optional[str] = None) -> str:
    """Chooses what stamp() paints: "arrow", "circle", "classic", "square", "triangle", "turtle" or a registered shape.

    Turtles themselves look the same all; without a name it tells the one chosen.
    """
    return default().shape(name)


def shapesize(stretch_wid: Optional[float] = None, stretch_len: Optional[float] = None, outline: Optional[float] = None) -> Any:
    """Stretches what stamp() paints, across and along, and sets its edge's width; without them, tells all three."""
    return default().shapesize(stretch_wid, stretch_len, outline)


def shift(dx: float, dy: float) -> bool:
    """Jumps by so much in both directions; else as goto."""
    return default().shift(dx, dy)


def showturtle(*unused: Any, **unused_too: Any) -> Any:
    """showturtle() changes nothing: the turtle is always shown."""
    return default().showturtle(*unused, **unused_too)


def sonar() -> tuple[bool, bool, bool]:
    """Whether something is within reach on the left, in front and on the right."""
    return default().sonar()


def speed(*unused: Any, **unused_too: Any) -> Any:
    """speed() changes nothing: the field's clock moves all turtles alike, a step a frame."""
    return default().speed(*unused, **unused_too)


def stamp() -> Any:
    """Paints the turtle's shape here, in its two colours; a number for each stamp, False when the field refused.

    The turtle jumps around for that, as for end_fill(), and comes back. A stamp stays, like a line.
    """
    return default().stamp()


def strict(on: bool = True) -> None:
    """From now on a step that is blocked raises Blocked; strict(False): it gives False again."""
    default().strict(on)


def take_card(card: int) -> bool:
    """Takes the card, 1 to 53, off the field."""
    return anyone().take_card(card)


def team(number: Optional[int] = None) -> Any:
    """Joins team 1, 2, 3 or 4; without a number, tells the team, 0 for none."""
    return default().team(number)


def teleport(x: Any = None, y: Any = None) -> bool:
    """Jumps to the place without drawing, whatever the pen does."""
    return default().teleport(x, y)


def textinput(title: str, prompt: str) -> Optional[str]:
    """Asks in the terminal: the text that is typed, None at its end."""
    return Screen().textinput(title, prompt)


def throw_coin() -> bool:
    """Lets the bank throw a coin somewhere on the field; False when it has none."""
    return anyone().throw_coin()


def tilt(angle: float) -> None:
    """Turns the shape that stamp() paints, to the left of where it was."""
    default().tilt(angle)


def tiltangle(angle: Optional[float] = None) -> Any:
    """Turns the shape that stamp() paints to this angle from the turtle's heading; without it, tells the angle."""
    return default().tiltangle(angle)


def title(*unused: Any, **unused_too: Any) -> Any:
    """title() changes nothing: the window belongs to the field. name() shows a name beside the turtle."""
    return Screen().title(*unused, **unused_too)


def towards(x: Any, y: Any = None) -> float:
    """The heading that leads from the turtle to the place, or to another turtle."""
    return default().towards(x, y)


def tracer(*unused: Any, **unused_too: Any) -> Any:
    """tracer() changes nothing: the field shows each frame. A batch() sends steps with the pen up together."""
    return Screen().tracer(*unused, **unused_too)


def turtles() -> int:
    """Turtles on the field, doughnuts and zombies included."""
    return anyone().turtles()


def unmute(*events: str) -> bool:
    """Switches events on again."""
    return default().unmute(*events)


def update(*unused: Any, **unused_too: Any) -> Any:
    """update() changes nothing: the field shows each frame."""
    return Screen().update(*unused, **unused_too)


def window_height() -> int:
    """512."""
    return Screen().window_height()


def window_width() -> int:
    """512."""
    return Screen().window_width()


def write(arg: object, move: bool = False, align: str = "left", font: Optional[Any] = None) -> bool:
    """Writes str(arg) here, in the pen's colour; it stays on the ground like a line.

    move  -- whether the turtle then goes to the text's end
    align -- whether the turtle is at the "left" end, in the "center" or at the "right" end of the text
    font  -- the field has one only: any other is accepted with a note
    At most 127 letters, digits and signs of ASCII: the field has no others. An empty text leaves nothing.
    """
    return default().write(arg, move, align, font)


def xcor() -> float:
    """The turtle's x."""
    return default().xcor()


def ycor() -> float:
    """The turtle's y."""
    return default().ycor()


backward = back
bk = back
bye = close
down = pendown
exitonclick = done
fd = forward
getpen = getturtle
ht = hideturtle
lt = left
mainloop = done
pd = pendown
pos = position
pu = penup
resetscreen = reset
rt = right
seth = setheading
setpos = goto
setposition = goto
settiltangle = tiltangle
st = showturtle
turtlesize = shapesize
up = penup
width = pensize

# Words of Python's turtle that are not there: each raises NotHere and names the nearest.
ScrolledCanvas = REFUSING["ScrolledCanvas"]
Terminator = REFUSING["Terminator"]
bgpic = REFUSING["bgpic"]
clearstamp = REFUSING["clearstamp"]
clearstamps = REFUSING["clearstamps"]
getcanvas = REFUSING["getcanvas"]
listen = REFUSING["listen"]
onclick = REFUSING["onclick"]
ondrag = REFUSING["ondrag"]
onkey = REFUSING["onkey"]
onkeypress = REFUSING["onkeypress"]
onkeyrelease = REFUSING["onkeyrelease"]
onrelease = REFUSING["onrelease"]
onscreenclick = REFUSING["onscreenclick"]
save = REFUSING["save"]
shapetransform = REFUSING["shapetransform"]
shearfactor = REFUSING["shearfactor"]
undo = REFUSING["undo"]
undobufferentries = REFUSING["undobufferentries"]
write_docstringdict = REFUSING["write_docstringdict"]

RawTurtle = RawPen = Pen = Turtle
TurtleScreen = Screen
addshape = register_shape

__all__ = [
    "Pen", "RawPen", "RawTurtle", "Screen", "ScrolledCanvas", "Shape", "TK", "Terminator", "Turtle", "TurtleScreen",
    "Vec2D", "addshape", "alive", "ask", "back", "backward", "batch", "battle", "begin_fill", "begin_poly", "bgcolor",
    "bgpic", "bk", "blocked_by", "borrow", "broadcast", "brush", "bye", "card", "card_position", "card_shown",
    "circle", "clear", "clear_cards", "clearscreen", "clearstamp", "clearstamps", "clock", "clone", "close", "coins",
    "coins_near", "color", "colormode", "degrees", "delay", "distance", "done", "dot", "doughnut", "down", "drop",
    "end_fill", "end_poly", "events", "exitonclick", "fd", "fillcolor", "filling", "finder", "fire", "forward",
    "get_poly", "get_shapepoly", "getcanvas", "getpen", "getscreen", "getshapes", "getturtle", "goto", "heading",
    "hideturtle", "home", "ht", "isdown", "isvisible", "left", "lines", "listen", "lt", "mainloop", "message", "mode",
    "mute", "name", "numinput", "on_coin", "on_doughnut", "on_found", "on_hit", "on_message", "on_seen", "on_stone",
    "on_turtle", "on_wall", "onclick", "ondrag", "onkey", "onkeypress", "onkeyrelease", "onrelease", "onscreenclick",
    "ontimer", "pd", "pen", "pencolor", "pendown", "pensize", "penup", "pick", "ping", "points", "polygons", "pos",
    "position", "pu", "radar", "radians", "register_shape", "reset", "resetscreen", "resizemode", "restart", "right",
    "robot", "rt", "save", "score", "screensize", "seth", "setheading", "setpos", "setposition", "settiltangle",
    "setundobuffer", "setup", "setworldcoordinates", "setx", "sety", "shape", "shapesize", "shapetransform",
    "shearfactor", "shift", "showturtle", "sonar", "speed", "st", "stamp", "strict", "take_card", "team", "teleport",
    "textinput", "throw_coin", "tilt", "tiltangle", "title", "towards", "tracer", "turtles", "turtlesize", "undo",
    "undobufferentries", "unmute", "up", "update", "width", "window_height", "window_width", "write",
    "write_docstringdict", "xcor", "ycor"]
