"""How a program counts places and headings when it does not count as the field does: setworldcoordinates() and mode()."""
from __future__ import annotations

import math
from typing import Any, Optional

from .vector import Vec2D

SIDE = 512.0   # of the field, whose middle is (0, 0)


class World:
    """Places of a program, from its own lower left to its own upper right corner, on the whole field."""

    def __init__(self, llx: float, lly: float, urx: float, ury: float) -> None:
        """The corners of the field as the program counts them; they differ in both directions."""
        self.corners = (llx, lly, urx, ury)
        self.scales = SIDE / (urx - llx), SIDE / (ury - lly)
        self.even = self.scales[0] == self.scales[1] > 0  # angles are the field's then

    def to_field(self, x: float, y: float) -> Vec2D:
        """The place on the field."""
        llx, lly = self.corners[:2]
        return Vec2D((x - llx) * self.scales[0] - SIDE / 2, (y - lly) * self.scales[1] - SIDE / 2)

    def to_program(self, place: Any) -> Vec2D:
        """The place as the program counts it."""
        llx, lly = self.corners[:2]
        return Vec2D((place[0] + SIDE / 2) / self.scales[0] + llx, (place[1] + SIDE / 2) / self.scales[1] + lly)

    def heading_to_field(self, degrees: float) -> float:
        """The heading on the field, where one of the program leads."""
        turn = math.radians(degrees)
        return round(math.degrees(math.atan2(math.sin(turn) * self.scales[1], math.cos(turn) * self.scales[0])), 9)

    def heading_to_program(self, degrees: float) -> float:
        """The heading in the program's own picture."""
        turn = math.radians(degrees)
        return round(math.degrees(math.atan2(math.sin(turn) / self.scales[1], math.cos(turn) / self.scales[0])), 9)

    def stretch(self, degrees: float) -> float:
        """How long on the field a unit of the program is in this direction of the field."""
        if self.even:
            return self.scales[0]
        turn = math.radians(degrees)
        return 1 / math.hypot(math.cos(turn) / self.scales[0], math.sin(turn) / self.scales[1])


# For the whole program; each turtle keeps the one that applies to it.
current: Optional[World] = None
logo = False      # headings from the top clockwise, as in mode("logo")
painted = False   # whether anything has been painted in the current world
