// Two turtles walk towards each other until they meet. Then one of them says so.
#include <kelmora.hpp>

#include <cstdio>

int main() {
    // Each Turtle is a turtle of its own.
    kelmora::Turtle ann;
    ann.name("Ann");
    ann.teleport(-170, -90);
    ann.pencolor("gold");

    kelmora::Turtle ben;
    ben.name("Ben");
    ben.teleport(170, 110);
    ben.pencolor("skyblue");

    ann.setheading(ann.towards(ben.position()));
    ben.setheading(ben.towards(ann.position()));

    // forward says false when something is in the way.
    while (ann.forward(3) && ben.forward(3)) {
    }

    const kelmora::Point place = ann.position();
    ann.penup();
    ann.back(90);
    ann.write("    Hello, Ben!");
    std::printf("They met near %.0f %.0f\n", place.x, place.y);
}
