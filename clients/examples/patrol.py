"""A patrol: walks round a square, looks ahead, and goes round whatever stands in the way."""
from kelmora import Turtle

visitor = Turtle()
visitor.name("visitor")
visitor.teleport(0, -120)

guard = Turtle()
guard.name("guard")
guard.teleport(-120, -120)
guard.setheading(0)
guard.pencolor("skyblue")
guard.pensize(2)


def go_round():
    """A bend round the thing ahead: out, past it and back to the old line."""
    guard.left(90)
    guard.forward(30)
    guard.write("    Make way!")
    guard.right(90)
    for step in range(40):
        guard.forward(2)
    guard.right(90)
    guard.forward(30)
    guard.left(90)


for round_number in range(2):
    for side in range(4):
        walked = 0
        while walked < 240:
            what, team = guard.finder(20)   # looks 20 ahead
            if what == "nothing":
                guard.forward(4)
                walked += 4
            else:
                print("There is a", what, "in my way")
                go_round()
                walked += 80
        guard.left(90)
