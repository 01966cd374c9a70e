"""A square: four times forward and left."""
from kelmora import *

pensize(3)
for side in range(4):
    forward(120)
    left(90)
