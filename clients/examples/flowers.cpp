// Filled flowers: everything that is walked around between begin_fill and end_fill gets a colour.
#include <kelmora.hpp>

// Two bends, there and back again.
static void petal(kelmora::Turtle& turtle, double size) {
    turtle.begin_fill();
    for (int side = 0; side < 2; ++side) {
        turtle.circle(size, 70, 5);
        turtle.left(110);
    }
    turtle.end_fill();
}

static void flower(kelmora::Turtle& turtle, double x, double y, double size, const char* color) {
    turtle.teleport(x, y);
    turtle.setheading(0);
    // The stem first, so that the petals lie on top of it.
    turtle.color("forestgreen");
    turtle.pensize(4);
    turtle.go_to(x, -220);
    turtle.teleport(x, y);
    turtle.pensize(1);
    turtle.color(color);
    for (int number = 0; number < 6; ++number) {
        petal(turtle, size);
        turtle.left(60);
    }
    turtle.dot(size / 3, "gold");
}

int main() {
    kelmora::Turtle turtle;
    flower(turtle, -150, 60, 60, "tomato");
    flower(turtle, 0, 130, 80, "orchid");
    flower(turtle, 150, 30, 70, "deepskyblue");
}
