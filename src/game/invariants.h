// Invariants of the tables between two commands and after every tick, checked in debug builds (cmake option
// KELMORA_CHECKS). In release builds the calls are empty.
// Caller holds frame_rendering_mutex. Tables set up by hand in tests need not be consistent, so nothing is checked
// before watch_invariants.
#pragma once

#ifdef KELMORA_CHECKS
inline constexpr bool CHECKED_BUILD = true;
#else
inline constexpr bool CHECKED_BUILD = false;
#endif

/// The first broken invariant of the tables of turtles, coins, cards, clients and walls, as a statement of what should
/// hold; null when all hold. O(coins + cells of the coin map).
[[nodiscard]] const char* first_broken_invariant();

/// Turns check_invariants on. Called once the tables have been reset at start-up.
void watch_invariants();

/// Aborts the process with a line on standard error when an invariant is broken.
void abort_if_broken();

/// After each command and each frame.
inline void check_invariants() {
    if constexpr (CHECKED_BUILD) abort_if_broken();
}
