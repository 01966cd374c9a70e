#include "display/loop.h"

#include "display/frame.h"
#include "game/pacer.h"

#include <GL/freeglut.h>
#include <GL/glx.h>

#include <cstring>
#include <ctime>
#include <poll.h>

namespace {

// Waits for the drawing to finish, so that no work piles up in the driver.
void draw_unseen_frame() {
    draw_frame();
    glFinish();
}

// Waits until the display server has sent something or `patience` ns have passed. Flushes pending requests.
void wait_for_events(Display* server, int64_t patience) {
    constexpr int64_t NANOSECONDS = 1'000'000'000; // in a second
    // Events read from the connection while a frame waited for an answer do not wake poll.
    if (XEventsQueued(server, QueuedAfterFlush) > 0) return;
    pollfd connection{.fd = ConnectionNumber(server), .events = POLLIN, .revents = 0};
    const timespec limit{.tv_sec = patience / NANOSECONDS, .tv_nsec = patience % NANOSECONDS};
    ppoll(&connection, 1, &limit, nullptr);
}

} // namespace

void let_swaps_not_wait() {
    Display* const server = glXGetCurrentDisplay();
    if (server == nullptr) return;
    const char* const known = glXQueryExtensionsString(server, DefaultScreen(server));
    if (known == nullptr) return;
    const auto find = [](const char* name) { return glXGetProcAddress(reinterpret_cast<const GLubyte*>(name)); };
    if (strstr(known, "GLX_EXT_swap_control") != nullptr) {
        const auto set_interval = reinterpret_cast<PFNGLXSWAPINTERVALEXTPROC>(find("glXSwapIntervalEXT"));
        if (set_interval != nullptr) set_interval(server, glXGetCurrentDrawable(), 0);
    } else if (strstr(known, "GLX_MESA_swap_control") != nullptr) {
        const auto set_interval = reinterpret_cast<PFNGLXSWAPINTERVALMESAPROC>(find("glXSwapIntervalMESA"));
        if (set_interval != nullptr) set_interval(0);
    }
}

int64_t tick_and_draw(int64_t (*tick)()) {
    const uint64_t before = frames_drawn();
    const int64_t period = tick();
    glutMainLoopEvent(); // handles new events, then draws
    if (frames_drawn() == before) draw_unseen_frame();
    return period;
}

void run_loop(int64_t (*tick)()) {
    Display* const server = glXGetCurrentDisplay();
    for (int64_t due = monotonic_now() + BUSY_TICK;;) {
        glutMainLoopEvent();
        const int64_t now = monotonic_now();
        if (now < due) {
            wait_for_events(server, due - now);
        } else {
            due = due_after(due, now, tick_and_draw(tick));
        }
    }
}
