"""Two turtles walk towards each other until they meet. Then one of them says so."""
from kelmora import Turtle

# Each Turtle() is a turtle of its own. The first makes room before the second comes.
ann = Turtle()
ann.name("Ann")
ann.teleport(-170, -90)
ann.pencolor("gold")

ben = Turtle()
ben.name("Ben")
ben.teleport(170, 110)
ben.pencolor("skyblue")

ann.setheading(ann.towards(*ben.position()))
ben.setheading(ben.towards(*ann.position()))

# forward() says False when something is in the way.
while ann.forward(3) and ben.forward(3):
    pass

x, y = ann.position()
ann.penup()
ann.back(90)
ann.write("    Hello, Ben!")
print("They met near", round(x), round(y))
