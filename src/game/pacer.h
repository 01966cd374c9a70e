// When the next tick is due. Ticks follow the monotonic clock, which is never set or stepped. A late tick is not made
// up for, but later ones keep the beat: 8 ms are 8.0 ms on average.
#pragma once

#include <cstdint>

inline constexpr int64_t BUSY_TICK = 8'000'000;  // ns between ticks while anything can move
inline constexpr int64_t IDLE_TICK = 80'000'000; // ns on a field where nothing can

/// The monotonic clock in ns, from an arbitrary start. Any thread.
[[nodiscard]] int64_t monotonic_now();

/// BUSY_TICK while a turtle or a robot that is no zombie is on the field, else IDLE_TICK. Caller holds
/// frame_rendering_mutex.
[[nodiscard]] int64_t tick_period();

/// When the tick after the one that was due at `due` and began at `now` is due: one period after `due`. After a tick
/// that was late by a period or more, it is due at once and the beat restarts there, so that never more than one tick
/// is pending.
/// @param due, now  ns of the monotonic clock
/// @param period    ns, above 0
[[nodiscard]] int64_t due_after(int64_t due, int64_t now, int64_t period);
