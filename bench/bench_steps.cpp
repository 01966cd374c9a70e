// A program of the C++ library that turns on the spot for so many seconds, for bench_headless.py.
//   bench_steps PORT SECONDS       prints: steps, microseconds of processor time a step
#include "../clients/cpp/kelmora.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    kelmora::Options options;
    options.host = "127.0.0.1";
    options.port = atoi(argv[1]);
    kelmora::Turtle turtle(options);
    turtle.penup();
    long steps = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(atoi(argv[2]));
    const std::clock_t began = std::clock();
    while (std::chrono::steady_clock::now() < end) {
        for (int k = 0; k < 100; ++k) turtle.left(1);
        steps += 100;
    }
    printf("%ld %.2f\n", steps, 1e6 * double(std::clock() - began) / CLOCKS_PER_SEC / double(steps));
    return 0;
}
