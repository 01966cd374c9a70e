"""What lives on a practice field, and the rules by which it moves, sees, carries and fights: a field's own, in small."""
from __future__ import annotations

import math
import random
from typing import Any, Optional

from .colors import Color

RED: Color = (1.0, 0.0, 0.0)
EDGE = 256.0        # half the field's side
RADIUS = 10.0       # of a turtle, against the edge
ABREAST = 20.0      # the least distance of two centres
ROOM = 30           # turtles, robots, doughnuts and zombies together
TRACK = 7           # points that a turtle's track keeps
REACH = 20.0        # of a hand for a coin
BEAM_STEP = 2.0
BEAM_REACH = 10.0
DYING, BLAST = 50, 25    # frames
ROBOT_STEP = 0.15
CODES = {"turtle": 1, "robot": 1, "doughnut": 2}
HIT, TURTLE, DOUGHNUT, WALL, COIN, FOUND, SEEN, MESSAGE = 1, 2, 4, 16, 32, 64, 128, 256
BODY_COLORS = [(0.2, 1.0, 0.1), (0.7, 0.3, 1.0), (0.5, 0.9, 0.9), (0.1, 0.1, 1.0), (0.8, 0.9, 0.0)]


class Coin:
    """A coin on the field."""

    def __init__(self, number: int, x: float, y: float) -> None:
        self.number, self.x, self.y = number, x, y


class Being:
    """A turtle, a robot or a doughnut."""

    def __init__(self, number: int, kind: str) -> None:
        self.number, self.kind = number, kind
        self.zombie = False
        self.mask = 0x1FF
        self.reset(0.0, 0.0, 0.0)

    def reset(self, x: float, y: float, heading: float) -> None:
        """A fresh start at this place."""
        self.x, self.y, self.heading = x, y, heading
        self.color, self.width, self.way, self.down = RED, 1.0, "lines", False
        self.track = [(x, y, RED, 1.0)] * TRACK      # newest first; the first is only completed when a frame paints
        self.fresh = False                            # the newest piece waits to be painted
        self.painted = 0
        self.message = self.name = ""
        self.score, self.team, self.coins, self.doughnuts = 100, 0, 0, 0
        self.range = 20.0
        self.events = self.told = 0                   # told: what is in the way and has been reported
        self.near_coin = False
        self.beam: Optional[tuple[float, float, float]] = None
        self.blast = self.dying = 0
        self.alive = True

    def body_color(self) -> Color:
        return BODY_COLORS[self.team % 5]

    # Motion and painting

    def move_to(self, x: float, y: float) -> None:
        self._keep_pen()
        self.track = [(x, y, self.color, self.width)] + self.track[:-1]
        self.x, self.y, self.fresh = x, y, True

    def go_home(self) -> None:
        self.x = self.y = self.heading = 0.0
        self.track = [(0.0, 0.0, color, width) for _, _, color, width in self.track]

    def pen_down(self) -> None:
        self.down, self.painted = True, 0
        self.track = [(self.x, self.y, self.color, self.width)] * TRACK

    def _keep_pen(self) -> None:
        """The newest point carries the pen as it is now."""
        self.track[0] = (self.x, self.y, self.color, self.width)

    def paint(self, painter: Any) -> None:
        """Paints the newest piece of the track, and the text that waits."""
        self._keep_pen()
        if self.down and self.fresh:
            self.fresh = False
            self.painted += 1
            self._paint_piece(painter)
        if self.message:
            if hasattr(painter, "text"):
                painter.text(self.x, self.y, self.message, self.color)
            self.message = ""

    def _paint_piece(self, painter: Any) -> None:
        track = self.track
        (x, y), (last_x, last_y) = track[0][:2], track[1][:2]
        if self.way == "polygons":
            corners = track[:min(self.painted, 5) + 1][::-1]
            if self.painted > 1 and hasattr(painter, "polygon"):
                painter.polygon([corner[:2] for corner in corners], [track[k + 1][2] for k in range(len(corners))][::-1])
        elif self.way == "points":
            if hasattr(painter, "point"):
                painter.point(x, y, max(1.0, track[1][3]), track[1][2])
        elif hasattr(painter, "line"):
            painter.line(last_x, last_y, x, y, max(1.0, track[1][3]), track[2][2], track[1][2])


class Rules:
    """The rules of a field. A mixin: PracticeField holds the state."""

    beings: list[Being]
    coins: list[Coin]
    cards: dict[int, tuple[float, float, bool]]
    random: random.Random
    battle: bool
    stock: int
    painter: Any
    ground: Color = (0.0, 0.0, 0.0)

    def add(self, kind: str, place: Optional[tuple[float, float]] = None) -> Optional[Being]:
        """A new being, at a free place when none is given; None when there is no room."""
        if len(self.beings) >= ROOM:
            return None
        heading = 0.0
        for _ in range(20):
            if place is not None:
                break
            x, y = ((self.random.random() - 0.5) * 491 for _ in range(2))
            if all(math.hypot(x - other.x, y - other.y) >= ABREAST for other in self.beings):
                place, heading = (x, y), (self.random.random() - 0.5) * 180
        else:
            return None
        taken = {being.number for being in self.beings}
        being = Being(next(number for number in range(ROOM) if number not in taken), kind)
        being.reset(place[0], place[1], heading)
        self.beings.append(being)
        return being

    # Motion

    def ahead(self, being: Being, heading: float, step: float) -> tuple[int, float, Optional[Being]]:
        """Who is met on a step: the code of its kind (0 nobody), the free way until then, and who it is."""
        dx, dy = math.cos(math.radians(heading)), math.sin(math.radians(heading))
        if step < 0:
            dx, dy = -dx, -dy
        best, met = math.inf, None
        for other in self.beings:
            if other is being:
                continue
            along = max(0.0, (other.x - being.x) * dx + (other.y - being.y) * dy)
            gap = math.hypot(being.x + along * dx - other.x, being.y + along * dy - other.y)
            if gap <= ABREAST and along < best:
                best, met, aside = along, other, gap
        if met is not None:
            free = best - math.sqrt(max(0.0, ABREAST ** 2 - aside ** 2))
            if free <= 0 or free <= abs(step):
                return CODES[met.kind], free, met
        return 0, abs(step), None

    def to_edge(self, being: Being, heading: float) -> float:
        """The free way to the field's edge; infinite when it leads away from all of them."""
        ways = []
        for place, direction in ((being.x, math.cos(math.radians(heading))), (being.y, math.sin(math.radians(heading)))):
            if abs(direction) > 1e-12:
                ways.append(((EDGE - RADIUS if direction > 0 else RADIUS - EDGE) - place) / direction)
        return min(ways, default=math.inf)

    def walk(self, being: Being, length: float) -> bool:
        if being.zombie or being.kind == "doughnut":
            return False
        if self.battle:
            if being.score < 1:
                return False
            length = min(2.0, max(-2.0, length))
        code, _, _ = self.ahead(being, being.heading, length)
        if code:
            event = TURTLE if code == 1 else DOUGHNUT
            being.events |= event & ~being.told
            being.told |= event
            return False
        being.told &= WALL
        if self.battle and abs(length) > self.to_edge(being, being.heading + (180 if length < 0 else 0)):
            being.events |= WALL & ~being.told
            being.told |= WALL
            return False
        being.told = 0
        being.move_to(being.x + length * math.cos(math.radians(being.heading)),
                      being.y + length * math.sin(math.radians(being.heading)))
        return True

    def jump(self, being: Being, x: float, y: float) -> bool:
        if self.battle or being.zombie or self.crowded(being):
            return False
        being.move_to(x, y)
        return True

    def crowded(self, being: Being) -> bool:
        return any(math.hypot(other.x - being.x, other.y - being.y) < ABREAST
                   for other in self.beings if other is not being)

    def turn(self, being: Being, angle: float) -> bool:
        if self.battle:
            if being.score < 1:
                return False
            angle = min(3.0, max(-3.0, angle))
        if angle:
            being.told = 0
        being.heading += angle
        return True

    # Senses

    def finder(self, being: Being) -> tuple[int, int]:
        code, free, met = self.ahead(being, being.heading, being.range)
        if self.battle and self.to_edge(being, being.heading) <= (free if met else being.range):
            return 4, 0
        if met is not None:
            met.events |= FOUND
        return code, met.team if met else 0

    def sonar(self, being: Being) -> tuple[int, int, int]:
        left, front, right = (int(self.ahead(being, being.heading + aside, 20.0)[0] != 0
                                  or self.to_edge(being, being.heading + aside) < 10) for aside in (45, 0, -45))
        return left, front, right

    def radar(self, being: Being, rank: int) -> tuple[float, Optional[Being]]:
        noise = (self.random.random() - 0.5) * 40
        others = sorted((other for other in self.beings if other is not being),
                        key=lambda other: math.hypot(other.x - being.x, other.y - being.y))
        if rank >= len(others):
            return noise, None
        seen = others[rank]
        seen.events |= SEEN
        bearing = math.degrees(math.atan2(seen.y - being.y, seen.x - being.x)) - being.heading
        return (bearing + 180) % 360 - 180 + noise, seen

    # Coins and cards

    def coins_near(self, being: Being) -> list[Coin]:
        """Coins within reach, the nearest first."""
        near = [coin for coin in self.coins if math.hypot(coin.x - being.x, coin.y - being.y) <= REACH]
        return sorted(near, key=lambda coin: math.hypot(coin.x - being.x, coin.y - being.y))

    def notice_coins(self) -> None:
        for being in self.beings:
            near = bool(self.coins_near(being)) and being.kind == "turtle"
            if near and not being.near_coin:
                being.events |= COIN
            being.near_coin = near

    def _lay(self, x: float, y: float) -> None:
        coin = Coin(1 + max((coin.number for coin in self.coins), default=-1), x, y)
        self.coins.append(coin)
        self._tell("coin", coin.number, x, y, True)

    def throw_coin(self) -> bool:
        if self.stock < 1:
            return False
        self.stock -= 1
        self._lay((self.random.random() - 0.5) * 492, (self.random.random() - 0.5) * 492)
        return True

    def borrow(self, being: Being) -> bool:
        if self.stock <= 9:
            return False
        self.stock -= 10
        being.coins += 10
        return True

    def drop_coin(self, being: Being) -> bool:
        if being.coins < 1:
            return False
        being.coins -= 1
        self._lay(being.x, being.y)
        return True

    def pick_coin(self, being: Being) -> None:
        near = self.coins_near(being)
        if near:
            self.coins.remove(near[0])
            being.coins += 1
            self._tell("coin", near[0].number, near[0].x, near[0].y, False)

    def lay_card(self, number: int, x: float, y: float, shown: bool) -> None:
        self.cards[number] = (x, y, shown)
        self._tell("card", number, x, y, shown)

    def _tell(self, name: str, *arguments: Any) -> None:
        method = getattr(self.painter, name, None)
        if method is not None:
            method(*arguments)

    # Battle

    def fly_beam(self, being: Being) -> None:
        """A frame of a beam's flight, and what it hits."""
        being.blast = max(0, being.blast - 1)
        if being.beam is None:
            return
        x, y, heading = being.beam
        x, y = x + BEAM_STEP * math.cos(math.radians(heading)), y + BEAM_STEP * math.sin(math.radians(heading))
        being.beam = (x, y, heading)
        if max(abs(x), abs(y)) > EDGE - 5:
            being.beam, being.blast = None, BLAST
        for other in self.beings:
            if other is not being and not other.dying and math.hypot(other.x - x, other.y - y) < BEAM_REACH:
                being.beam = None
                self._hit(being, other)
                return

    def _hit(self, shooter: Being, victim: Being) -> None:
        if victim.kind == "doughnut":
            if math.hypot(victim.x - shooter.x, victim.y - shooter.y) < 40:
                shooter.score += 11
            victim.dying = DYING
            return
        shooter.score += 11
        victim.score -= 30
        victim.events |= HIT
        if victim.score < 0:
            victim.score, victim.dying = 0, DYING
        else:
            shooter.blast = BLAST

    def die(self, being: Being) -> None:
        """A frame of dying."""
        if being.dying:
            being.dying -= 1
            if not being.dying:
                being.alive = False
                self.beings.remove(being)

    def wander(self, being: Being) -> None:
        """A robot's step."""
        at_edge = self.battle and self.to_edge(being, being.heading) < ROBOT_STEP
        if at_edge or max(abs(being.x), abs(being.y)) > EDGE - RADIUS:
            being.heading += (self.random.random() - 0.5) * 100
        elif not self.walk(being, ROBOT_STEP):
            self.turn(being, 180 + (self.random.random() - 0.5) * 10)
        if self.random.random() < 0.002 and being.score > 0 and being.beam is None and not being.blast:
            being.beam, being.score = (being.x, being.y, being.heading), being.score - 1
