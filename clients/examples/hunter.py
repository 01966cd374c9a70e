"""A hunter: finds robots by radar, aims, and fires until none is left."""
from kelmora import *

name("hunter")
for number in range(3):
    robot()
battle()


def turn(angle):
    """In battle mode a turtle turns at most 3 degrees at a time."""
    while abs(angle) > 0.5:
        step = max(-3, min(3, angle))
        left(step)
        angle -= step


def look():
    """Where the nearest turtle is. The radar is off by up to 20 degrees, so look often and take the mean."""
    total = 0
    for number in range(8):
        seen = radar()
        if seen is None:
            return None
        total += seen[0]
    return total / 8


while turtles() > 1:            # I am one of them
    angle = look()
    if angle is None:
        break
    turn(angle)
    what, team = finder(70)
    if what == "turtle":
        fire()
    elif what == "nothing":
        for step in range(10):
            forward(2)
    else:                       # a wall: away from it
        turn(90)
        forward(2)

print("No robot is left. My score is", score())
