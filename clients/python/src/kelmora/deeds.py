"""The words that do something else than move and draw: names, teams, coins, doughnuts, cards, and battle."""
from __future__ import annotations

from typing import Any, Optional

from .body import spell
from .errors import BadValue
from .link import EVENTS
from .painting import LONGEST_TEXT
from .senses import Senses, between, whole

LONGEST_MESSAGE = 128


class Deeds(Senses):
    """Deeds: True when the field has carried them out, else False."""

    def name(self, text: str) -> bool:
        """Names the turtle: 1 to 127 bytes of UTF-8."""
        letters = str(text).encode("utf-8", "surrogatepass")
        if not 1 <= len(letters) <= LONGEST_TEXT or 0 in letters:
            raise BadValue("A name has 1 to 127 letters (those with marks count twice or more), not %d." % len(letters))
        return self._do("n " + letters.hex())

    # Teams

    def team(self, number: Optional[int] = None) -> Any:
        """Joins team 1, 2, 3 or 4; without a number, tells the team, 0 for none."""
        if number is None:
            return self._say(["q m"], whole)
        return self._do("i %d" % between(1, number, 4, "A team"))

    def broadcast(self, text: str) -> bool:
        """Posts a text on the team's board: at most 128 plain characters but ';'. Turtles without a team share one."""
        text = str(text)
        plain = text.isascii() and text.isprintable() and ";" not in text and not text.startswith(" ")
        if not plain or not 1 <= len(text) <= LONGEST_MESSAGE:
            raise BadValue("A message is one line of 1 to 128 plain letters, digits and signs but ';', and begins with "
                           "no blank, not %.140r." % text)
        return self._do("u " + text)

    # Coins and doughnuts

    def pick(self) -> bool:
        """Picks up the nearest coin within 20. Where there is none that is no error; coins() counts."""
        return self._do("o")

    def drop(self) -> bool:
        """Drops a coin; False when the turtle carries none."""
        return self._do("o s")

    def borrow(self) -> bool:
        """Borrows ten coins from the bank; False when it has fewer."""
        return self._do("o b")

    def throw_coin(self) -> bool:
        """Lets the bank throw a coin somewhere on the field; False when it has none."""
        return self._do("o x")

    def doughnut(self) -> bool:
        """Bakes a doughnut somewhere on the field; False after ten, or when there is no room."""
        return self._do("d")

    # Cards

    def card(self, card: int, x: float, y: float) -> bool:
        """Lays the card, 1 to 53, with its lower left corner at the place, on top of the others."""
        return self._do("z %d %s %s" % (between(1, card, 53, "A card"), spell(x), spell(y)))

    def take_card(self, card: int) -> bool:
        """Takes the card, 1 to 53, off the field."""
        return self._do("z -%d" % between(1, card, 53, "A card"))

    def clear_cards(self) -> bool:
        """Takes all cards off the field."""
        return self._do("z 0")

    # Battle

    def battle(self, on: bool = True) -> bool:
        """Battle mode for everybody, with hard edges and walls; battle(False): drawing again."""
        return self._do("!" if on else "! -")

    def fire(self) -> bool:
        """Fires a beam straight ahead for one point of score. One flies at a time: meanwhile this does nothing."""
        return self._do("x")

    def robot(self) -> bool:
        """Lets a robot onto the field; False when there is no room."""
        return self._do("r")

    def mute(self, *events: str) -> bool:
        """Switches events off, by their names: mute("found", "seen")."""
        return self._do("y - %d" % sum_of(events))

    def unmute(self, *events: str) -> bool:
        """Switches events on again."""
        return self._do("y + %d" % sum_of(events))


def sum_of(names: tuple[str, ...]) -> int:
    """The sum of the events of these names; raises BadValue."""
    numbers = {name: bit for bit, name in EVENTS.items()}
    for name in names:
        if name not in numbers:
            raise BadValue("There is no event %.40r. Events are: %s." % (name, ", ".join(numbers)))
    return sum(numbers[name] for name in set(names))
