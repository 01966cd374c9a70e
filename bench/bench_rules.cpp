// What the rules cost without a picture, in a maze with 26 turtles and its four doughnuts: queries that ask the walls,
// compared with a scan of every wall in the same run, and one tick. Prints google-benchmark's table; see --help.
#include "field/clients.h"
#include "game/furnish.h"
#include "game/invariants.h"
#include "game/modes.h"
#include "game/tick.h"
#include "geometry/collision.h"
#include "geometry/random.h"
#include "turtle/coins.h"
#include "turtle/lifecycle.h"
#include "turtle/motion.h"
#include "turtle/sensors.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

namespace {

void furnish_maze(int robots) {
    srandom(1);
    field_kill_all_turtles();
    reset_wall();
    generate_maze();
    field_set_battle_mode();
    modes.maze_mode = 1;
    for (int k = 0; k < robots; ++k) {
        const int i = 4 + k; // after the doughnuts
        init_turtle(i, -1, (k % 6) * 64.0 - 176.0, (k / 6) * 64.0 - 112.0, 17.0 * k);
        ntmax = i + 1;
    }
}

// A doughnut where every place is too near to a wall: 21 random places.
void doughnut_in_a_full_maze(benchmark::State& state) {
    furnish_maze(10);
    for (auto _ : state) {
        ttl[5].n_doughnut = 0;
        benchmark::DoNotOptimize(turtle_generate_doughnut(5));
    }
}
BENCHMARK(doughnut_in_a_full_maze);

// The same places, each compared with all walls.
void doughnut_by_a_scan_of_every_wall(benchmark::State& state) {
    furnish_maze(10);
    for (auto _ : state) {
        for (int draw = 0; draw < 21; ++draw) {
            const double x = (drand() - 0.5) * 491.0;
            const double y = (drand() - 0.5) * 491.0;
            benchmark::DoNotOptimize(dist_to_nn_from(-1, x, y) >= 20.0 && dist_to_wall_from(x, y) >= 20.0);
        }
    }
}
BENCHMARK(doughnut_by_a_scan_of_every_wall);

void sonar(benchmark::State& state) {
    furnish_maze(10);
    int left = 0, front = 0, right = 0, i = 4;
    for (auto _ : state) {
        benchmark::DoNotOptimize(qt_sonar(i, left, front, right));
        i = i == 13 ? 4 : i + 1;
    }
}
BENCHMARK(sonar);

void sonar_by_a_scan_of_every_wall(benchmark::State& state) {
    furnish_maze(10);
    double left = 0, front = 0, right = 0;
    int i = 4;
    for (auto _ : state) {
        distance_to_walls_3dir(i, left, front, right);
        benchmark::DoNotOptimize(front);
        i = i == 13 ? 4 : i + 1;
    }
}
BENCHMARK(sonar_by_a_scan_of_every_wall);

void finder(benchmark::State& state) {
    furnish_maze(10);
    int code = 0, team = 0, i = 4;
    for (auto _ : state) {
        benchmark::DoNotOptimize(qt_finder(i, code, team));
        i = i == 13 ? 4 : i + 1;
    }
}
BENCHMARK(finder);

void step(benchmark::State& state) {
    furnish_maze(10);
    double length = 0.5;
    for (auto _ : state) {
        if (turtle_step_forward(5, length) != 0) length = -length;
    }
}
BENCHMARK(step);

void tick_of_robots(benchmark::State& state) {
    furnish_maze(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        tick();
        for (int i = 4; i < ntmax; ++i) { // no turtle dies, so that each tick has the same robots
            ttl[i].score = 100;
            ttl[i].dying_count = 0;
        }
    }
}
BENCHMARK(tick_of_robots)->Arg(1)->Arg(10)->Arg(26);

} // namespace

int main(int argc, char** argv) {
    if (freopen("/dev/null", "w", stderr) == nullptr) return 1; // the modes log their changes there
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
