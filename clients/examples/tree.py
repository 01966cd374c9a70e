"""A tree: a branch carries two smaller branches, and each of them carries two smaller ones again."""
from kelmora import *


def branch(length):
    """Draws a branch with all that grows on it, and comes back to where it began."""
    pensize(length / 8)
    if length < 25:
        pencolor("limegreen")
    else:
        pencolor("sienna")
    forward(length)
    if length > 14:
        left(28)
        branch(length * 0.74)
        right(53)
        branch(length * 0.7)
        left(25)
    penup()
    back(length)
    pendown()


teleport(0, -200)
setheading(90)
branch(110)
