// Cost of a frame on a full field: 30 turtles with names and scores, a full maze, 300 coins, 53 cards, 30 new segments
// and the help screen, in both views, without the timer. For comparison the frame of an empty field, and the same field
// by the reference path, with a coin that moves before every frame, and without the help screen. One CSV line each, in
// ms: median, 99th percentile and minimum of wall time, and the processor time of all threads per frame, which load
// affects least. usage: kelmora_bench_frame [frames per row, 10 to 100000; default 200] [scene; default all] [top |
// bird]

#include "display/frame.h"
#include "display/window.h"
#include "draw/bodies.h"
#include "draw/canvas.h"
#include "draw/scene.h"
#include "field/cards.h"
#include "field/coins.h"
#include "field/palette.h"
#include "field/state.h"
#include "field/turtles.h"
#include "field/walls.h"
#include "game/furnish.h"
#include "game/modes.h"
#include "geometry/collision.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

namespace {

constexpr int WARM_UP = 30; // frames in which the driver compiles its shaders

struct row_t {
    const char* name;
    int full;  // 1: everything; 0: only canvas and floor
    int plain; // 1: by the reference path
    int help;  // 1: with the help screen
    int bird;  // 1: bird's-eye view
    int floor; // 1: only the triangles of the bodies as one array, which no full frame can do without
    int paint; // 1: each turtle paints a new segment in every frame
    int stir;  // 1: a coin moves in every frame, so that no picture of the scenery can be cached
};

void furnish_fully() {
    srandom(1);
    field_kill_all_turtles();
    reset_wall();
    generate_maze();
    field_scatter_coin(COIN_MAX);
    for (int k = 1; k <= CARD_MAX; ++k) field_set_card(k, 8.0 * k - 256.0, 40.0 * (k % 8) - 180.0);
    for (int i = 0; i < TTL_MAX; ++i) {
        const int column = i % 6;
        const int line = i / 6;
        init_turtle(i, 0, 80.0 * column - 200.0, 90.0 * line - 180.0, 12.0 * i);
        ttl[i].team = i % TEAM_MAX;
        ttl[i].flags |= TTL_PEN_DOWN;
        ttl[i].line_width[1] = 3.0;
        bounded_copy(ttl[i].name, "turtle", TEXT_BYTES);
    }
    ntmax = TTL_MAX;
}

void empty_the_field() {
    field_kill_all_turtles();
    nwall = 0;
}

// Every turtle has moved a little since the last frame.
void move_all(int frame) {
    for (int i = 0; i < ntmax; ++i) {
        turtle_t& t = ttl[i];
        t.pos[1] = t.pos[0];
        t.pos[0].x += std::cos(0.1 * frame + i);
        t.pos[0].y += std::sin(0.1 * frame + i);
        t.flags &= ~TTL_SEG_PAINTED;
    }
}

// The bodies and nothing else, with the camera of the frame before.
void draw_bodies_only() {
    static std::array<body_t, TTL_MAX> bodies;
    for (int i = 0; i < TTL_MAX; ++i) {
        const turtle_t& t = ttl[i];
        bodies[i] = {t.pos[0].x, t.pos[0].y, t.dir, std::sin(0.3 * i), std::cos(0.3 * i), team_color(t.team)};
    }
    glEnable(GL_DEPTH_TEST);
    glClear(GL_DEPTH_BUFFER_BIT);
    draw_bodies(bodies, false);
    glDisable(GL_DEPTH_TEST);
    glutSwapBuffers();
}

double milliseconds_of_a_frame(int frame, const row_t& row) {
    move_all(frame);
    if (row.stir != 0) coins[0].x = 100.3 + std::cos(0.1 * frame);
    ++signals.elapsed_time;
    const auto begin = std::chrono::steady_clock::now();
    if (row.floor != 0 && frame > 0) {
        draw_bodies_only();
    } else {
        display();
    }
    glFinish();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

// Of all threads, the driver's included.
double processor_milliseconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return 1e3 * static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_nsec);
}

// @return milliseconds of processor time a frame
double measure(const row_t& row, int frames) {
    if (row.full != 0) {
        furnish_fully();
    } else {
        empty_the_field();
    }
    modes.battle_mode = modes.disp_name = modes.disp_score = row.full;
    for (turtle_t& t : ttl) {
        if (row.paint == 0) t.flags &= ~TTL_PEN_DOWN;
    }
    modes.disp_help = row.help;
    modes.bird_view_mode = row.bird;
    use_reference_path = row.plain;
    field_clear();
    for (int k = 0; k < WARM_UP; ++k) milliseconds_of_a_frame(k, row);
    std::vector<double> times;
    const double work_before = processor_milliseconds();
    for (int k = 1; k <= frames; ++k) times.push_back(milliseconds_of_a_frame(k, row));
    const double work = (processor_milliseconds() - work_before) / frames;
    std::sort(times.begin(), times.end());
    const auto share = [&times](double part) {
        return times[static_cast<size_t>(part * static_cast<double>(times.size() - 1))];
    };
    printf("%s,%s,%d,%.3f,%.3f,%.3f,%.3f\n", row.name, row.bird != 0 ? "bird" : "top", frames, share(0.5), share(0.99),
           times.front(), work);
    fflush(stdout);
    return work;
}

} // namespace

int main(int argc, char** argv) {
    do_without_driver_threads(); // as the program does; a setting of LP_NUM_THREADS is kept
    glutInit(&argc, argv);
    const int frames = argc > 1 ? std::clamp(atoi(argv[1]), 10, 100000) : 200;
    glutInitDisplayMode(GLUT_RGB | GLUT_DOUBLE | GLUT_DEPTH);
    glutInitWindowSize(WINDOW_SIDE, WINDOW_SIDE);
    glutCreateWindow("frame benchmark");
    glutDisplayFunc([] {});
    for (int k = 0; k < 3; ++k) glutMainLoopEvent(); // until the window is mapped
    prepare_drawing();
    init_teaminfo();
    printf("scene,view,frames,median_ms,p99_ms,min_ms,cpu_ms\n");
    for (const int bird : {0, 1}) {
        const std::array<row_t, 7> rows{{{"empty", 0, 0, 0, bird, 0, 0, 0},
                                         {"full", 1, 0, 1, bird, 0, 1, 0},
                                         {"full_plain", 1, 1, 1, bird, 0, 1, 0},
                                         {"full_stirred", 1, 0, 1, bird, 0, 1, 1},
                                         {"full_without_help", 1, 0, 0, bird, 0, 1, 0},
                                         {"bodies_only", 1, 0, 0, bird, 1, 0, 0},
                                         {"full_pens_up", 1, 0, 0, bird, 0, 0, 0}}};
        std::array<double, rows.size()> work{};
        for (size_t k = 0; k < rows.size(); ++k) {
            if (argc > 2 && strcmp(argv[2], rows[k].name) != 0) continue;
            if (argc > 3 && strcmp(argv[3], bird != 0 ? "bird" : "top") != 0) continue;
            work[k] = measure(rows[k], frames);
        }
        if (argc > 2) continue;
        printf("# times the emptiest: full without help %.1f, with pens up %.1f, its bodies alone %.1f; help adds %.2f "
               "ms\n",
               work[4] / work[0], work[6] / work[0], work[5] / work[0], work[1] - work[4]);
    }
    return 0;
}
