"""A team that talks: three turtles search for a treasure. Who finds it tells the others, and all of them come."""
from random import randint

from kelmora import Turtle

# The treasure: ten coins in one place.
pirate = Turtle()
pirate.borrow()
pirate.teleport(randint(-200, 200), randint(40, 200))
for number in range(10):
    pirate.drop()
pirate.teleport(246, -246)

# The team. Each begins on the lower edge and searches a third of the field.
team = []
for number in range(3):
    member = Turtle()
    member.team(2)
    member.penup()
    member.goto(-240 + 165 * number, -230)
    member.setheading(90)
    member.pendown()
    member.pencolor(("gold", "skyblue", "orchid")[number])
    team.append(member)


def search(member):
    """One step up or down, and to the right at the end of a lane."""
    member.forward(10)
    if abs(member.ycor()) > 235:
        up = member.ycor() > 0
        member.setheading(0)
        member.forward(33)
        member.setheading(270 if up else 90)
        member.forward(20)


# Everybody searches until the first one has a coin within reach.
finder = None
while finder is None:
    for member in team:
        search(member)
        if member.coins_near() > 0:
            finder = member
            break

x, y = finder.position()
finder.broadcast(f"treasure at {x:.0f} {y:.0f}")

# The others read the board and come, each as far as there is room.
for member in team:
    if member is not finder:
        time, text = member.message()
        print("A member reads:", text)
        words = text.split()
        member.setheading(member.towards(float(words[2]), float(words[3])))
        while member.distance(float(words[2]), float(words[3])) > 30 and member.forward(5):
            pass

while finder.coins_near() > 0:
    finder.pick()
finder.write(f"       {finder.coins()} coins!")
print("We have", finder.coins(), "coins")
