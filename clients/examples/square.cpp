// A square: four times forward and left.
#include <kelmora.hpp>

int main() {
    kelmora::Turtle turtle;
    turtle.teleport(0, 0); // a turtle begins somewhere: to the middle, without a line
    turtle.setheading(0);  // it faces east now
    turtle.pensize(3);
    for (int side = 0; side < 4; ++side) {
        turtle.forward(120);
        turtle.left(90);
    }
}
