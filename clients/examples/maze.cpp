// Finds the middle of the maze with the sonar. The operator puts the maze up with the key M.
//
// A maze brings battle mode: a turtle walks at most 2 and turns at most 3 degrees at a time, so longer ways are made of
// many small steps.
#include <kelmora.hpp>

#include <cstdio>
#include <set>

static constexpr double CELL = 32; // a cell of the maze is 32 wide

using Cell = std::pair<int, int>; // so many cells to the east and to the north of the first one

// The four directions: the heading, and the way to the next cell.
struct Direction {
    double heading;
    int east;
    int north;
};
static constexpr Direction DIRECTIONS[] = {{0, 1, 0}, {90, 0, 1}, {180, -1, 0}, {270, 0, -1}};

// Turns on the spot, the shorter way round.
static void face(kelmora::Turtle& turtle, double heading) {
    double turn = std::remainder(heading - turtle.heading(), 360);
    turtle.batch([&] { // sent all at once, the turns take no longer than one of them
        while (std::abs(turn) > 0.001) {
            const double part = std::clamp(turn, -3.0, 3.0);
            turtle.left(part);
            turn -= part;
        }
    });
}

static void walk(kelmora::Turtle& turtle, double length) {
    while (length > 0 && turtle.forward(std::min(2.0, length))) length -= 2;
}

// Goes on from this cell; comes back to it, unless the middle has been found. Says whether it has.
static bool explore(kelmora::Turtle& turtle, Cell cell, std::set<Cell>& seen) {
    seen.insert(cell);
    const kelmora::Point here = turtle.position();
    // The directions towards the middle of the field first.
    std::vector<Direction> ways(std::begin(DIRECTIONS), std::end(DIRECTIONS));
    const auto away = [&](const Direction& d) { return d.east * here.x + d.north * here.y; };
    std::sort(ways.begin(), ways.end(), [&](const Direction& a, const Direction& b) { return away(a) < away(b); });
    for (const Direction& way : ways) {
        const Cell next = {cell.first + way.east, cell.second + way.north};
        if (seen.count(next) > 0) continue;
        face(turtle, way.heading);
        if (turtle.finder(20).what == "doughnut") return true; // four doughnuts stand in the middle
        if (turtle.sonar().front) continue;                    // a wall
        walk(turtle, CELL);
        if (explore(turtle, next, seen)) return true;
        face(turtle, way.heading + 180); // a dead end: back again
        walk(turtle, CELL);
    }
    return false;
}

int main() {
    kelmora::Turtle turtle;
    turtle.pencolor("gold");
    turtle.pensize(3);
    // A newcomer stands anywhere in the first cell: to the middle of it.
    const kelmora::Point start = turtle.position();
    face(turtle, start.x < -240 ? 0 : 180);
    walk(turtle, std::abs(-240 - start.x));
    face(turtle, start.y < -240 ? 90 : 270);
    walk(turtle, std::abs(-240 - start.y));

    std::set<Cell> seen;
    if (explore(turtle, {0, 0}, seen))
        std::puts("I have found the middle!");
    else
        std::puts("There is no way to the middle.");
}
