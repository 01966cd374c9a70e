#include "display/window.h"

#include "brush/strokes.h"
#include "display/canvas_files.h"
#include "display/frame.h"
#include "display/loop.h"
#include "draw/canvas.h"
#include "draw/dot.h"
#include "draw/scenery.h"
#include "field/clients.h"
#include "field/kinds.h"
#include "field/state.h"
#include "game/furnish.h"
#include "game/invariants.h"
#include "game/modes.h"
#include "game/pacer.h"
#include "httpd/http_server.h"
#include "net/server.h"

#include <GL/freeglut.h>

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <mutex>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

constexpr int CLIENT_PORT = 2222;
constexpr int VIEWER_PORT = 2280;
constexpr double FOV_STEP = 5.0, FOV_LEAST = 15.0, FOV_MOST = 60.0; // degrees
constexpr double ROTATION_STEP = 2.5;                               // degrees

// Runs an operation on the shared tables with the lock held.
template <typename Operation> void locked(Operation operation) {
    const std::lock_guard guard(frame_rendering_mutex);
    operation();
}

// The software renderer allocates and frees megabytes in each frame. Keeping that memory costs nothing; returning it to
// the system would cost about a thousand page faults in the next frame.
void keep_freed_memory() {
    constexpr int MOST_KEPT = 64 << 20;      // bytes
    constexpr int LARGEST_ON_HEAP = 8 << 20; // bytes; larger blocks are mapped one by one
    mallopt(M_TRIM_THRESHOLD, MOST_KEPT);
    mallopt(M_MMAP_THRESHOLD, LARGEST_ON_HEAP);
}

// The other threads run until the process exits, so nothing they use has a destructor.
[[noreturn]] void leave() { exit(0); }

void zoom_view(double step) {
    view_fov_angle += step;
    if (view_fov_angle < FOV_LEAST) view_fov_angle = FOV_LEAST;
    if (view_fov_angle > FOV_MOST) view_fov_angle = FOV_MOST;
}

void turn_view(double step) {
    view_rotation_angle += step;
    if (view_rotation_angle < -180.0) view_rotation_angle += 360.0;
    if (view_rotation_angle > 180.0) view_rotation_angle -= 360.0;
}

// Capital letters scatter as their small ones do.
void scatter_by_key(unsigned char key) {
    for (const kind_info_t& kind : KINDS) {
        if (kind.key != 0 && tolower(key) == kind.key) locked([&kind] { scatter_objects(kind.flag, 1); });
    }
}

void format_title(std::array<char, 300>& title) {
    snprintf(title.data(), title.size(), signals.private_mode ? "Private %s" : "Public %s", window_title);
}

} // namespace

void write_window_title() {
    std::array<char, 256> host{};
    if (gethostname(host.data(), host.size() - 1) == 0) {
        // A host name that does not fit is cut.
        snprintf(window_title, sizeof window_title, "Kelmora @ %.240s", host.data());
    } else {
        snprintf(window_title, sizeof window_title, "Kelmora @ ???");
    }
}

void create_menu() {
    struct entry_t {
        const char* label;
        int value;
    };
    // Value 0 does nothing: the entry is only a line. No entry has value 6.
    static constexpr std::array<entry_t, 9> ENTRIES{{
        {"Clear Field", 1},
        {"Erase Zombie", 2},
        {"Toggle Graphics/Battle Mode", 3},
        {"Toggle Private/Public Mode", 4},
        {"Capture Screen", 5},
        {"- - - - - - - - -", 0},
        {"About Kelmora", 7},
        {"Kill All Turtles", 8},
        {"Exit", 9},
    }};
    glutCreateMenu(menufunc);
    for (const entry_t& e : ENTRIES) glutAddMenuEntry(e.label, e.value);
    glutAttachMenu(GLUT_RIGHT_BUTTON);
}

void prepare_drawing() {
    keep_freed_memory();
    create_canvas();

    // A distant light straight from above.
    static constexpr std::array<float, 4> WHITE{1.0F, 1.0F, 1.0F, 1.0F};
    static constexpr std::array<float, 4> FROM_ABOVE{0.0F, 0.0F, 256.0F, 0.0F};
    glLightfv(GL_LIGHT0, GL_DIFFUSE, WHITE.data());
    glLightfv(GL_LIGHT0, GL_POSITION, FROM_ABOVE.data());
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    // Texts and shells are scaled: without this their normals would be scaled, too, and colors saturate.
    glEnable(GL_RESCALE_NORMAL);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    stamp_dot = gather_dot;
    glViewport(0, 0, WINDOW_SIDE, WINDOW_SIDE);
}

void do_without_driver_threads() { setenv("LP_NUM_THREADS", "0", 0); }

void field_start(int argc, char** argv) {
    do_without_driver_threads();
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_RGB | GLUT_DOUBLE | GLUT_DEPTH);
    glutInitWindowSize(WINDOW_SIDE, WINDOW_SIDE);
    glutInitWindowPosition(0, 10);
    write_window_title();
    std::array<char, 300> title;
    format_title(title);
    glutCreateWindow(title.data());
#ifdef __SANITIZE_ADDRESS__
    // The GL driver is unloaded before the sanitizer's own check, which could then not tell the driver's leaks from
    // ours.
    atexit([] { __lsan_do_leak_check(); });
#endif
    glClearColor(static_cast<float>(bgcol[0]), static_cast<float>(bgcol[1]), static_cast<float>(bgcol[2]), 1.0F);
    glutDisplayFunc(display);
    glutKeyboardFunc(keyboardfunc);
    create_menu();
    glutReshapeFunc(reshapefunc);
    prepare_drawing();
    let_swaps_not_wait();

    // No other thread runs yet.
    field_kill_all_turtles();
    reset_wall();
    init_teaminfo();
    watch_invariants();
    signals.wipe_requested = true;
    signals.menuitem_need_to_change = false;
    start_canvas_files();
    start_tcp_server(CLIENT_PORT);
    start_httpd(VIEWER_PORT);

    run_loop(on_tick);
}

void menufunc(int value) {
    switch (value) {
    case 1:
        field_clear();
        break;
    case 2:
        locked(field_clear_zombie);
        break;
    case 3:
        locked(field_toggle_battle_mode);
        break;
    case 4:
        locked(field_toggle_private_mode);
        break;
    case 5:
        signals.capture_screen = true;
        break;
    case 7:
        locked(field_set_disp_help);
        break;
    case 8:
        locked(field_kill_all_turtles);
        break;
    case 9:
        leave();
    default:
        break;
    }
    glutPostRedisplay();
}

void keyboardfunc(unsigned char key, int /*x*/, int /*y*/) {
    switch (key) {
    case 27: // Esc
        locked(field_unset_disp_help);
        break;
    case '!':
        locked(field_toggle_battle_mode);
        break;
    case '+':
    case ';':
        zoom_view(-FOV_STEP);
        break;
    case '-':
    case '=':
        zoom_view(FOV_STEP);
        break;
    case ',':
    case '<':
        turn_view(-ROTATION_STEP);
        break;
    case '.':
    case '>':
        turn_view(ROTATION_STEP);
        break;
    case '3':
        locked(field_toggle_bird_view_mode);
        break;
    case '@':
        locked(field_toggle_private_mode);
        break;
    case 'B':
    case 'b':
        locked(field_toggle_bounded_area_mode);
        break;
    case 'C':
    case 'c':
        field_clear();
        break;
    case 'H':
    case 'h':
        locked(field_toggle_disp_help);
        break;
    case 'K': // capital only: it disconnects all clients
        locked(field_kill_all_turtles);
        break;
    case 'M':
        locked(field_toggle_maze_mode);
        break;
    case 'N':
    case 'n':
        locked(field_toggle_disp_name);
        break;
    case 'P':
    case 'p':
        signals.capture_screen = true;
        break;
    case 'Q':
        leave();
    case 'S':
    case 's':
        locked(field_toggle_disp_score);
        break;
    case 'Z':
    case 'z':
        locked(field_clear_zombie);
        break;
    default:
        scatter_by_key(key);
        break;
    }
}

int64_t on_tick() {
    ++signals.elapsed_time;
    int64_t period = 0;
    locked([&period] { period = tick_period(); });
    glutPostRedisplay();
    if (signals.menuitem_need_to_change) change_menuitem();
    return period;
}

void reshapefunc(int width, int height) {
    set_window_size(width, height);
    forget_scenery(); // what was outside a smaller window has not been cached
    glutReshapeWindow(WINDOW_SIDE, WINDOW_SIDE);
    glutPostRedisplay();
}

void change_menuitem() {
    // Cleared first, so that a concurrent toggle is shown at the next tick instead of being lost.
    signals.menuitem_need_to_change = false;
    std::array<char, 300> title;
    format_title(title);
    glutSetWindowTitle(title.data());
}
