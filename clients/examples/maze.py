"""Finds the middle of the maze with the sonar. The operator puts the maze up with the key M.

A maze brings battle mode: a turtle walks at most 2 and turns at most 3 degrees at a time, so longer ways are made of
many small steps.
"""
from kelmora import *

CELL = 32               # a cell of the maze is 32 wide
EAST, NORTH, WEST, SOUTH = 0, 90, 180, 270
AHEAD = {EAST: (1, 0), NORTH: (0, 1), WEST: (-1, 0), SOUTH: (0, -1)}


def face(direction):
    """Turns on the spot, the shorter way round."""
    turn = (direction - heading() + 180) % 360 - 180
    with batch():                   # sent all at once, they take no longer than one of them
        while abs(turn) > 0.001:
            step = max(-3, min(3, turn))
            left(step)
            turn -= step


def walk(length):
    """Walks so far, and says whether nothing was in the way."""
    while length > 0:
        if not forward(min(2, length)):
            return False
        length -= 2
    return True


def to_the_middle_of_the_cell():
    """A newcomer stands anywhere in the first cell."""
    x, y = position()
    for direction, way in ((EAST, -240 - x), (NORTH, -240 - y)):
        face(direction if way > 0 else direction + 180)
        walk(abs(way))


def explore(cell, seen):
    """Goes on from this cell; comes back to it, unless the middle has been found. Says whether it has."""
    seen.add(cell)
    x, y = position()
    # The directions towards the middle of the field first.
    for direction in sorted(AHEAD, key=lambda d: AHEAD[d][0] * x + AHEAD[d][1] * y):
        neighbour = (cell[0] + AHEAD[direction][0], cell[1] + AHEAD[direction][1])
        if neighbour in seen:
            continue
        face(direction)
        if finder(20)[0] == "doughnut":
            return True             # four doughnuts stand in the middle
        left_side, front, right_side = sonar()
        if front:
            continue                # a wall
        walk(CELL)
        if explore(neighbour, seen):
            return True
        face(direction + 180)       # a dead end: back again
        walk(CELL)
    return False


pencolor("gold")
pensize(3)
to_the_middle_of_the_cell()
if explore((0, 0), set()):
    print("I have found the middle!")
else:
    print("There is no way to the middle.")
