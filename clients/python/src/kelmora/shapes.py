"""Areas as pieces that the field can fill, and the packets that paint them.

In the mode for filled shapes the field fills, a frame at a time, the polygon of a turtle's latest points: six of them once
the turtle has made five painted steps, and fewer before. So a shape is cut into convex pieces of six corners at most, and
each piece is a packet of six jumps.
"""
from __future__ import annotations

import math
from typing import Iterator, List, Sequence, Tuple

from .body import BRUSH, LINES, POLYGONS, Stroke, spell
from .colors import Color

Point = Sequence[float]
Piece = List[Tuple[float, float]]  # corners of a convex area, in their order around it

CORNERS = 6        # of the largest polygon that the field fills
THIN = 1e-9        # a slice lower than this shows nothing


def jump_to(point: Point) -> str:
    return "j %s %s" % (spell(round(point[0], 6)), spell(round(point[1], 6)))


def paint_of(color: Color) -> str:
    return "k %s %s %s" % tuple(spell(round(part, 8)) for part in color)


def disc(middle: Point, diameter: float) -> Piece:
    """Corners of a polygon that passes for a disc."""
    count = 4 * max(3, min(12, round(diameter / 5)))
    radius = diameter / 2
    turns = [2 * math.pi * (k + 0.5) / count for k in range(count)]
    return [(middle[0] + radius * math.cos(turn), middle[1] + radius * math.sin(turn)) for turn in turns]


class _Edge:
    """A side of the shape that is not level, from its lower to its upper end."""

    def __init__(self, a: Point, b: Point) -> None:
        (self.x, self.y), (self.x2, self.y2) = (a, b) if a[1] < b[1] else (b, a)
        self.slope = (self.x2 - self.x) / (self.y2 - self.y)

    def at(self, y: float) -> float:
        if y >= self.y2:
            return self.x2
        return self.x + (y - self.y) * self.slope


def _edges(points: Sequence[Point]) -> list[_Edge]:
    ends = list(points[1:]) + [points[0]]
    return [_Edge(a, b) for a, b in zip(points, ends) if abs(a[1] - b[1]) > THIN]


def _levels(edges: list[_Edge]) -> list[float]:
    """Heights of all ends and crossings: between two of them no sides meet."""
    levels = {edge.y for edge in edges} | {edge.y2 for edge in edges}
    edges = sorted(edges, key=lambda edge: edge.y)
    for i, first in enumerate(edges):
        for second in edges[i + 1:]:
            if second.y >= first.y2:
                break
            if first.slope != second.slope:
                y = (second.x - second.y * second.slope - first.x + first.y * first.slope) / (first.slope - second.slope)
                if second.y < y < min(first.y2, second.y2):
                    levels.add(y)
    result: list[float] = []
    for level in sorted(levels):
        if not result or level - result[-1] > THIN:
            result.append(level)
    return result


class _Slab:
    """A convex piece that grows upward: its left and its right side, from the bottom up."""

    def __init__(self, left: _Edge, right: _Edge, low: float, high: float) -> None:
        self.edges = left, right
        self.left = [(left.at(low), low), (left.at(high), high)]
        self.right = [(right.at(low), low), (right.at(high), high)]

    def grow(self, left: _Edge, right: _Edge, high: float) -> bool:
        """Takes in what lies above between the two sides, if it joins on and the whole stays convex and small enough."""
        low = self.left[-1][1]
        grown = []
        for side, old, new, sign in ((self.left, self.edges[0], left, 1), (self.right, self.edges[1], right, -1)):
            corner, end = side[-1], (new.at(high), high)
            if old is new:
                grown.append(side[:-1] + [end])
                continue
            if abs(new.at(low) - corner[0]) > 1e-6:
                return False
            bend = (corner[0] - side[-2][0]) * (end[1] - corner[1]) - (end[0] - corner[0]) * (corner[1] - side[-2][1])
            if bend * sign > 0:
                return False
            grown.append(side + [end])
        if len(_outline(*grown)) > CORNERS:
            return False
        self.left, self.right, self.edges = grown[0], grown[1], (left, right)
        return True

    def piece(self) -> Piece:
        return _outline(self.left, self.right)


def _outline(left: Piece, right: Piece) -> Piece:
    """The corners around, each once."""
    corners: Piece = []
    for corner in right + left[::-1]:
        if not corners or math.dist(corner, corners[-1]) > 1e-7:
            corners.append(corner)
    if len(corners) > 1 and math.dist(corners[0], corners[-1]) <= 1e-7:
        corners.pop()
    return corners


def pieces_of(points: Sequence[Point]) -> list[Piece]:
    """The area that a closed line surrounds, as convex pieces; what it surrounds twice is outside again."""
    edges = _edges(points)
    levels = _levels(edges)
    done: list[Piece] = []
    growing: list[_Slab] = []
    for low, high in zip(levels, levels[1:]):
        middle = (low + high) / 2
        here = sorted((edge for edge in edges if edge.y <= low + THIN and edge.y2 >= high - THIN),
                      key=lambda edge: edge.at(middle))
        slabs = []
        for left, right in zip(here[::2], here[1::2]):
            slab = next((slab for slab in growing if slab.grow(left, right, high)), None)
            if slab is None:
                slab = _Slab(left, right, low, high)
            else:
                growing.remove(slab)
            slabs.append(slab)
        done += [slab.piece() for slab in growing]
        growing = slabs
    done += [slab.piece() for slab in growing]
    return [piece for piece in done if len(piece) > 2]


def fill_packets(pieces: Sequence[Piece], color: Color) -> Iterator[list[str]]:
    """Packets that fill the pieces, the smaller ones first; the pen is then down and in the mode for filled shapes."""
    painted = 0
    for piece in sorted(pieces, key=len):
        if painted == 0:
            start = jump_to(piece[0])
            # `p d` drops older points and colours; the next step is the first of the polygon.
            yield ["p u", start, paint_of(color), POLYGONS, "p d", start]
            painted = 1
        while min(painted + 1, CORNERS - 1) + 1 < len(piece):
            yield [jump_to(piece[0])]
            painted += 1
        corners = [piece[0]] * (CORNERS - len(piece)) + list(piece)
        yield [jump_to(corner) for corner in corners]
        painted += 1


def stroke_packets(strokes: Sequence[Stroke]) -> Iterator[list[str]]:
    """Packets that paint the strokes again; the pen is then down."""
    last = None
    for stroke in strokes:
        packet = []
        if last is None or stroke[2:] != last[2:] or stroke.start != last.end:
            packet = ["p u", jump_to(stroke.start), stroke.way, paint_of(stroke.color), "w " + spell(stroke.width), "p d"]
        packet.append(jump_to(stroke.end))
        yield packet
        last = stroke


def straightened(strokes: Sequence[Stroke]) -> list[Stroke]:
    """The strokes with those that go on in the same direction joined, and without those that lead nowhere."""
    result: list[Stroke] = []
    for stroke in strokes:
        if stroke.start == stroke.end and stroke.way in (LINES, BRUSH):
            continue
        if result and stroke.way == LINES and stroke[2:] == result[-1][2:] and stroke.start == result[-1].end:
            a, b = result[-1].end - result[-1].start, stroke.end - stroke.start
            if abs(a[0] * b[1] - a[1] * b[0]) <= 1e-5 * abs(a) * abs(b) and a * b > 0:
                result[-1] = stroke._replace(start=result[-1].start)
                continue
        result.append(stroke)
    return result
