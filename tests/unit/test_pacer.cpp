// When ticks are due: on the beat, without catching up, and by the monotonic clock.
#include "game/pacer.h"
#include "support.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

constexpr int64_t MS = 1'000'000;

} // namespace

TEST(Pacer, tick_on_time_is_followed_one_period_later) { EXPECT_EQ(due_after(100 * MS, 100 * MS, 8 * MS), 108 * MS); }

TEST(Pacer, tick_a_little_late_does_not_shift_the_beat) {
    EXPECT_EQ(due_after(100 * MS, 107 * MS, 8 * MS), 108 * MS);
    EXPECT_EQ(due_after(100 * MS, 108 * MS - 1, 8 * MS), 108 * MS);
}

TEST(Pacer, tick_a_period_late_starts_the_beat_anew_and_owes_nothing) {
    EXPECT_EQ(due_after(100 * MS, 108 * MS, 8 * MS), 108 * MS);
    EXPECT_EQ(due_after(100 * MS, 5000 * MS, 8 * MS), 5000 * MS);
}

TEST(Pacer, second_of_prompt_ticks_holds_125_of_them) {
    int64_t due = 0;
    int ticks = 0;
    // Each begins 60 us late, which a wait in whole milliseconds would round up to 9 ms.
    while (due < 1000 * MS) {
        due = due_after(due, due + MS * 6 / 100, BUSY_TICK);
        ++ticks;
    }
    EXPECT_EQ(ticks, 125);
}

TEST(Pacer, long_and_short_frames_keep_the_beat_when_they_do_on_average) {
    // Frames of 3 and of 12 ms alternate: 7.5 ms on average, so the beat is kept, and every tick comes within its
    // period.
    int64_t due = 0, now = 0;
    for (int tick = 0; tick < 1000; ++tick) {
        now = std::max(now, due);
        EXPECT_GE(now, tick * 8 * MS);
        EXPECT_LT(now, (tick + 1) * 8 * MS);
        due = due_after(due, now, BUSY_TICK);
        now += (tick % 2 == 0 ? 3 : 12) * MS;
    }
}

TEST(Pacer, frames_longer_than_the_period_follow_one_another_at_once) {
    int64_t due = 0, now = 0;
    for (int tick = 0; tick < 100; ++tick) {
        now = std::max(now, due);
        due = due_after(due, now, BUSY_TICK);
        now += 20 * MS;
    }
    EXPECT_EQ(now, 100 * 20 * MS);
}

TEST(Pacer, busy_while_anything_can_move) {
    reset_tables();
    EXPECT_EQ(tick_period(), 80 * MS);
    put_object(0, TTL_STONE, 0, 0);
    put_object(1, TTL_DOUGHNUT, 50, 0);
    put_turtle(2, 100, 0).flags |= TTL_ZOMBIE;
    EXPECT_EQ(tick_period(), 80 * MS);
    put_turtle(3, 150, 0, 0, -1);
    EXPECT_EQ(tick_period(), 8 * MS);
}

TEST(Pacer, clock_never_runs_backwards) {
    const int64_t first = monotonic_now();
    EXPECT_GT(first, 0);
    EXPECT_GE(monotonic_now(), first);
}
