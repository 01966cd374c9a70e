// What both servers ask of the connections that they accept.
#pragma once

#include <chrono>

// A peer that is silent is asked after WATCH_IDLE, then every WATCH_INTERVAL; after WATCH_PROBES without an answer it
// is gone: 35 s in all.
inline constexpr std::chrono::seconds WATCH_IDLE{20};
inline constexpr std::chrono::seconds WATCH_INTERVAL{5};
inline constexpr int WATCH_PROBES = 3;
inline constexpr std::chrono::seconds WATCH_LIMIT = WATCH_IDLE + WATCH_PROBES * WATCH_INTERVAL;

/// Has the kernel end a connection whose peer vanished without a word: one that does not answer for WATCH_LIMIT, or
/// that does not take for as long what was sent to it. Nothing that the peer reads changes.
void watch_peer(int sock);
