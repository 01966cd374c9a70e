#include "game/pacer.h"

#include "field/queries.h"

#include <ctime>

int64_t monotonic_now() {
    constexpr int64_t NANOSECONDS = 1'000'000'000; // in a second
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * NANOSECONDS + now.tv_nsec;
}

int64_t tick_period() {
    int moving = 0;
    qf_n_moving_obj(moving);
    return moving != 0 ? BUSY_TICK : IDLE_TICK;
}

int64_t due_after(int64_t due, int64_t now, int64_t period) { return now - due < period ? due + period : now; }
