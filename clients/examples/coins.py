"""A coin collector: lets the bank throw coins on the field and walks along all of it to pick them up."""
from kelmora import *

COINS = 40
for number in range(COINS):
    throw_coin()


def grab():
    """There may be more than one coin within reach."""
    while coins_near() > 0:
        pick()


# The field calls grab whenever a coin has come within reach (20 units).
on_coin(grab)

pencolor("seagreen")
teleport(-240, -238)
# Rows of 34, not of 40: the field tells of a coin one step after it has come within reach.
way = 10
for row in range(15):
    for step in range(48):
        forward(way)
    if row < 14:
        sety(ycor() + 34)
        grab()  # at the edge the next step may leave a coin behind
    way = -way

print("I have", coins(), "coins")
