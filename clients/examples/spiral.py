"""A spiral: every line is a little longer than the one before, and its colour changes on the way."""
from kelmora import *

pensize(2)
for step in range(90):
    # Three numbers from 0 to 1: how much red, green and blue is in the colour.
    part = step / 90
    pencolor(1 - part, 0.3 + 0.5 * part, 1)
    forward(5 + 4 * step)
    left(91)
