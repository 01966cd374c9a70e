// A tree: a branch carries two smaller branches, and each of them carries two smaller ones again.
#include <kelmora.hpp>

// Draws a branch with all that grows on it, and comes back to where it began.
static void branch(kelmora::Turtle& turtle, double length) {
    turtle.pensize(length / 8);
    turtle.pencolor(length < 25 ? "limegreen" : "sienna");
    turtle.forward(length);
    if (length > 14) {
        turtle.left(28);
        branch(turtle, length * 0.74);
        turtle.right(53);
        branch(turtle, length * 0.7);
        turtle.left(25);
    }
    turtle.penup();
    turtle.back(length);
    turtle.pendown();
}

int main() {
    kelmora::Turtle turtle;
    turtle.teleport(0, -200);
    turtle.setheading(90);
    branch(turtle, 110);
}
