"""Filled flowers: everything that is walked around between begin_fill and end_fill gets a colour."""
from kelmora import *


def petal(size):
    """Two bends, there and back again."""
    begin_fill()
    for side in range(2):
        circle(size, 70, steps=5)
        left(110)
    end_fill()


def flower(x, y, size, colour):
    teleport(x, y)
    setheading(0)
    # The stem first, so that the petals lie on top of it.
    color("forestgreen")
    pensize(4)
    goto(x, -220)
    teleport(x, y)
    pensize(1)
    color(colour)
    for number in range(6):
        petal(size)
        left(60)
    dot(size / 3, "gold")


flower(-150, 60, 60, "tomato")
flower(0, 130, 80, "orchid")
flower(150, 30, 70, "deepskyblue")
