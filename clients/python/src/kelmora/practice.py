"""A field inside the program: for trying out without one, and for tests.

It takes the protocol's lines and answers them as a field does, one frame for each packet that moves or paints. What is
painted goes to a painter; without one, it is kept and can be saved as a picture.
"""
from __future__ import annotations

import math
import random
from typing import Any, Callable, Optional

from . import hooks
from .beings import MESSAGE, Being, Coin, Rules
from .errors import BadValue
from .picture import Picture
from .transport import use

PLACES = 10      # programs at a time
BANK = 300       # coins at the start
COMMAND = 511    # characters of a line that count
WAYS = {"s": "polygons", "+": "polygons", "b": "brush", "p": "points"}
BEARINGS = {"e": 0.0, "n": 90.0, "w": 180.0, "s": -90.0}


def leading_number(word: str) -> float:
    """The number that a word begins with, 0 when there is none."""
    for end in range(len(word), 0, -1):
        try:
            value = float(word[:end])
        except ValueError:
            continue
        return value if math.isfinite(value) else 0.0
    return 0.0


def decoded(digits: str) -> str:
    """The text of pairs of hexadecimal digits, 127 at most."""
    digits = "".join(digit if digit in "0123456789abcdefABCDEF" else "" for digit in digits)
    return bytes.fromhex(digits[:len(digits) // 2 * 2])[:127].replace(b"\0", b"").decode("utf-8", "replace")


class PracticeTransport:
    """One turtle's connection to a practice field."""

    where = "the practice field"

    def __init__(self, field: "PracticeField", being: Optional[Being]) -> None:
        self._field, self._being = field, being
        self._answers: list[str] = []

    def send(self, lines: str) -> None:
        if self._being is None or not self._being.alive:
            raise EOFError
        self._answers += self._field.packet(self._being, lines)

    def receive(self) -> str:
        if not self._answers:
            raise EOFError
        return self._answers.pop(0)

    def close(self) -> None:
        if self._being is not None:
            self._field.hang_up(self._being)
            self._being = None


class PracticeField(Rules):
    """A field without a window."""

    def __init__(self, painter: Any = None, pace: float = 0.0, seed: Optional[int] = None) -> None:
        """
        painter -- has any of the methods of Picture; what it lacks is left out
        pace    -- seconds that a frame takes
        seed    -- of chance: places, robots, the radar's noise
        """
        self.painter = Picture() if painter is None else painter
        self.pace = pace
        self.clock = 0
        self.random = random.Random(seed)
        self.battle = False
        self.stock = BANK
        self.coins: list[Coin] = []
        self.cards: dict[int, tuple[float, float, bool]] = {}
        self.boards = [(0, "")] * 5
        self.beings: list[Being] = []
        self._paced = False
        self._shown: dict[int, Any] = {}

    def transport(self) -> PracticeTransport:
        """The connection of a new turtle; without one when the field is full."""
        programs = [being for being in self.beings if being.kind == "turtle" and not being.zombie]
        if len(programs) >= PLACES:
            return PracticeTransport(self, None)
        being = self.add("turtle", None if self.beings else (0.0, 0.0))
        self._show()
        return PracticeTransport(self, being)

    def svg(self) -> Any:
        """The picture, as SVG; only without a painter of your own."""
        self._show()
        return self.painter.svg()

    def save(self, path: str) -> None:
        """Writes the picture to a file whose name ends in .svg; only without a painter of your own."""
        if not str(path).lower().endswith(".svg"):
            raise BadValue("A practice field saves pictures as SVG: give a name that ends in .svg, not %.80r. Browsers "
                           "show such a file, and drawing programs make any other kind of it." % (path,))
        with open(path, "w", encoding="utf-8") as file:
            file.write(self.svg())

    # Lines

    def packet(self, being: Being, lines: str) -> list[str]:
        """Carries out the commands of a packet, draws a frame if one of them asks for that, and gives the answers."""
        self._paced = False
        answers = []
        for line in lines.replace(";", "\n").split("\n"):
            line = "".join(letter for letter in line if " " <= letter <= "~")[:COMMAND].strip()
            if line and being.alive:
                values, ok = self._carry_out(being, line)
                events, being.events = being.events & being.mask, 0
                status = (values + " " if values else "") + ("OK" if ok else "ERR")
                answers.append("%s @ %d %d" % (status, self.clock, events))
        if self._paced:
            self.frame()
        return answers

    def _carry_out(self, being: Being, line: str) -> tuple[str, bool]:
        """One command: the values of its answer, and whether it was done."""
        words = line.split()
        letter = words[0][0].lower()
        words = (words + [""] * 4)[1:4]
        if letter == "q":
            return self._question(being, words)
        command = COMMANDS.get(letter)
        if command is None:
            return "", False
        if letter in PACED:
            self._paced = True
        rest = line.partition(" ")[2] if letter in "sn" else line.partition(" ")[2].lstrip()
        result = command(self, being, words, rest)
        return "", result is not False

    def _question(self, being: Being, words: list[str]) -> tuple[str, bool]:
        answer = QUESTIONS.get(words[0][:1].lower())
        return ("", False) if answer is None else answer(self, being, words)

    def hang_up(self, being: Being) -> None:
        being.zombie = True

    # Frames

    def frame(self) -> None:
        """Everything moves on by one frame, and what is new is painted."""
        self.clock += 1
        self.notice_coins()
        for being in list(self.beings):
            being.paint(self.painter)
        for being in list(self.beings):
            self.fly_beam(being)
            self.die(being)
            if being.kind == "robot":
                self.wander(being)
        self._show()
        call(self.painter, "frame")
        if self.pace > 0:
            hooks.sleep(self.pace)

    def _show(self) -> None:
        """Tells the painter who stands where, as far as that has changed."""
        for being in self.beings:
            name = being.name or ("" if being.kind == "turtle" else being.kind)
            pose = (being.x, being.y, being.heading, being.body_color(), name)
            if self._shown.get(being.number) != pose:
                self._shown[being.number] = pose
                call(self.painter, "turtle", being.number, *pose)
        for number in [number for number in self._shown if all(being.number != number for being in self.beings)]:
            del self._shown[number]
            call(self.painter, "gone", number)


def call(painter: Any, name: str, *arguments: Any) -> None:
    """The painter's method of this name, when it has one."""
    method = getattr(painter, name, None)
    if method is not None:
        method(*arguments)


# Commands: each takes the field, the turtle, the words after the first and the rest of the line; False means ERR.

def step(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    return field.walk(being, leading_number(words[0]))


def step_back(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    return field.walk(being, -leading_number(words[0]))


def clear(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    what = words[0][:1].lower()
    if what in ("a", "f") and what:
        if what == "a":
            field.beings = [other for other in field.beings if not other.zombie]
        call(field.painter, "wipe", field.ground)
    elif not field.battle and not being.zombie:
        being.go_home() if what == "h" else being.reset(0.0, 0.0, 0.0)
    return step(field, being, words, rest)


def shift(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    return field.jump(being, being.x + leading_number(words[0]), being.y + leading_number(words[1]))


def jump(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    return field.jump(being, leading_number(words[0]), leading_number(words[1]))


def turn(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    way, angle = words[0][:1].lower(), leading_number(words[1])
    if way in ("l", "r"):
        return field.turn(being, angle if way == "l" else -angle)
    if way not in BEARINGS or not way:
        return False
    if not field.battle:
        being.heading = BEARINGS[way]
    return True


def pen(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    if words[0][:1].lower() in ("d", "+") and words[0]:
        being.pen_down()
    elif words[0][:1].lower() in ("u", "-") and words[0]:
        being.down = False


def way_of_pen(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    being.way = WAYS.get(words[0][:1].lower(), "lines")


def width(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    being.width = leading_number(words[0])


def color(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    being.color = color_of(words)


def ground(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    field.ground = color_of(words)
    call(field.painter, "wipe", field.ground)


def color_of(words: Any) -> tuple[float, float, float]:
    red, green, blue = (min(1.0, max(0.0, leading_number(word))) for word in words)
    return red, green, blue


def write(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    being.message = decoded(rest)


def name(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    being.name = decoded(rest)


def post(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    field.boards[being.team] = (field.clock, rest[:128])
    for other in field.beings:
        if other is not being and other.team == being.team:
            other.events |= MESSAGE


def team(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    number = int(leading_number(words[0]))
    being.team = number if 1 <= number <= 4 else being.team


def finder_range(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    being.range = leading_number(words[0])


def coin(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    what = words[0][:1].lower()
    if what == "b":
        return field.borrow(being)
    field._paced = True
    if what == "x":
        return field.throw_coin()
    if what in ("s", "+") and what:
        return field.drop_coin(being)
    field.pick_coin(being)
    return True


def doughnut(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    if being.doughnuts > 9 or field.add("doughnut") is None:
        return False
    being.doughnuts += 1
    return True


def robot(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    return field.add("robot") is not None


def fire(field: PracticeField, being: Being, words: Any, rest: str) -> bool:
    if being.score < 1:
        return False
    if being.beam is None and being.blast == 0:
        being.beam = (being.x, being.y, being.heading)
        being.score -= 1
    return True


def battle(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    field.battle = words[0][:1].lower() not in ("u", "-") or not words[0]
    call(field.painter, "wipe", field.ground)


def event_mask(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    bits = int(leading_number(words[1])) & 0x1FF
    if words[0][:1] == "+":
        being.mask |= bits
    elif words[0][:1] == "-":
        being.mask &= ~bits
        being.events &= ~bits


def card(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    number = int(leading_number(words[0]))
    if number == 0:
        for shown in [shown for shown, lying in field.cards.items() if lying[2]]:
            field.lay_card(shown, *field.cards[shown][:2], False)
    elif 1 <= number <= 53:
        field.lay_card(number, leading_number(words[1]), leading_number(words[2]), True)
    elif -53 <= number <= -1:
        x, y, _ = field.cards.get(-number, (0.0, 0.0, False))
        field.lay_card(-number, x, y, False)


def nothing(field: PracticeField, being: Being, words: Any, rest: str) -> None:
    pass


PACED = set("fbcgjtplhs")
COMMANDS: dict[str, Callable[..., Any]] = {
    "f": step, "b": step_back, "c": clear, "g": shift, "j": jump, "t": turn, "p": pen, "l": way_of_pen, "w": width,
    "k": color, "h": ground, "s": write, "n": name, "u": post, "i": team, "e": finder_range, "o": coin, "d": doughnut,
    "x": fire, "y": event_mask, "z": card, "r": robot, "!": battle, ".": nothing}


# Questions: each returns the values and whether the status is OK.

def nearest(field: PracticeField, being: Being, words: Any) -> tuple[str, bool]:
    rank = "12345".find(words[1][:1]) if words[1] else 0
    if rank < 0:
        return "", False
    bearing, seen = field.radar(being, rank)
    return "%f %d" % (bearing, seen.team if seen else 0), seen is not None


def card_question(field: PracticeField, being: Being, words: Any) -> tuple[str, bool]:
    what, number = words[1][:1].lower(), int(leading_number(words[2]))
    if what not in ("s", "p") or not what or number == 0:
        return "", True
    x, y, shown = field.cards.get(number, (0.0, 0.0, False))
    return ("%d" % shown if what == "s" else "%f %f" % (x, y)), 1 <= number <= 52


QUESTIONS: dict[str, Callable[..., tuple[str, bool]]] = {
    "p": lambda field, being, words: ("%f %f" % (being.x, being.y), True),
    "d": lambda field, being, words: ("%f" % being.heading, True),
    "m": lambda field, being, words: ("%d" % being.team, True),
    "f": lambda field, being, words: ("%d %d" % field.finder(being), True),
    "r": nearest,
    "w": lambda field, being, words: ("%d %d %d" % field.sonar(being), True),
    "a": lambda field, being, words: ("%d" % being.alive, True),
    "s": lambda field, being, words: ("%d" % being.score, True),
    "t": lambda field, being, words: ("%d" % field.clock, True),
    "n": lambda field, being, words: ("%d" % len(field.beings), True),
    "c": lambda field, being, words: ("%d" % len(field.coins_near(being)), True),
    "o": lambda field, being, words: ("%d" % being.coins, True),
    "b": lambda field, being, words: ("%d %s" % field.boards[being.team], True),
    "z": card_question}


def practice(painter: Any = None, pace: float = 0.0, seed: Optional[int] = None) -> PracticeField:
    """From now on turtles draw on a field inside this program; save("picture.svg") shows what they have drawn.

    painter -- gets what is painted, piece by piece; has any of the methods of kelmora.picture.Picture
    pace    -- seconds that a step takes, 0 for as fast as can be
    seed    -- makes chance repeat itself
    use() goes back to the real field.
    """
    field = PracticeField(painter, pace, seed)
    use(field.transport)
    return field
