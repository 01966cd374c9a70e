// A hunter: finds robots by radar, aims, and fires until none is left.
#include <kelmora.hpp>

#include <cstdio>

// In battle mode a turtle turns at most 3 degrees at a time.
static void turn(kelmora::Turtle& turtle, double angle) {
    while (std::abs(angle) > 0.5) {
        const double part = std::clamp(angle, -3.0, 3.0);
        turtle.left(part);
        angle -= part;
    }
}

// Where the nearest turtle is. The radar is off by up to 20 degrees, so look often and take the mean.
static std::optional<double> look(kelmora::Turtle& turtle) {
    double sum = 0;
    for (int number = 0; number < 8; ++number) {
        const std::optional<kelmora::Seen> seen = turtle.radar();
        if (!seen) return std::nullopt;
        sum += seen->bearing;
    }
    return sum / 8;
}

int main() {
    kelmora::Turtle turtle;
    turtle.name("hunter");
    for (int number = 0; number < 3; ++number) turtle.robot();
    turtle.battle();

    while (turtle.turtles() > 1) { // this one is one of them
        const std::optional<double> bearing = look(turtle);
        if (!bearing) break;
        turn(turtle, *bearing);
        const kelmora::Found found = turtle.finder(70);
        if (found.what == "turtle") {
            turtle.fire();
        } else if (found.what == "nothing") {
            for (int step = 0; step < 10; ++step) turtle.forward(2);
        } else { // a wall: away from it
            turn(turtle, 90);
            turtle.forward(2);
        }
    }
    std::printf("No robot is left. My score is %d\n", turtle.score());
}
