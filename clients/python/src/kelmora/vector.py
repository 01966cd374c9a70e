"""A place or a direction: a pair of numbers that can be added, as in Python's turtle."""
from __future__ import annotations

import math
from typing import Any, Tuple


class Vec2D(Tuple[float, float]):
    """A pair (x, y)."""
    __slots__ = ()

    def __new__(cls, x: float, y: float) -> "Vec2D":
        return tuple.__new__(cls, (x, y))

    def __add__(self, other: Any) -> "Vec2D":
        return Vec2D(self[0] + other[0], self[1] + other[1])

    def __sub__(self, other: Any) -> "Vec2D":
        return Vec2D(self[0] - other[0], self[1] - other[1])

    def __mul__(self, other: Any) -> Any:
        """The scalar product with another pair, or this pair so many times as long."""
        if isinstance(other, Vec2D):
            return self[0] * other[0] + self[1] * other[1]
        return Vec2D(self[0] * other, self[1] * other)

    def __rmul__(self, other: Any) -> Any:
        if isinstance(other, (int, float)):
            return Vec2D(self[0] * other, self[1] * other)
        return NotImplemented

    def __neg__(self) -> "Vec2D":
        return Vec2D(-self[0], -self[1])

    def __abs__(self) -> float:
        """The length."""
        return math.hypot(self[0], self[1])

    def rotate(self, angle: float) -> "Vec2D":
        """The pair turned left by the angle, in degrees."""
        c, s = math.cos(math.radians(angle)), math.sin(math.radians(angle))
        return Vec2D(self[0] * c - self[1] * s, self[0] * s + self[1] * c)

    def __getnewargs__(self) -> Any:
        return self[0], self[1]

    def __repr__(self) -> str:
        return "(%.2f,%.2f)" % (self[0], self[1])
