// Socket options that both servers set on accepted connections.
#pragma once

#include <chrono>

// A silent peer is probed after WATCH_IDLE, then every WATCH_INTERVAL; after WATCH_PROBES without an answer the
// connection ends: 35 s in all.
inline constexpr std::chrono::seconds WATCH_IDLE{20};
inline constexpr std::chrono::seconds WATCH_INTERVAL{5};
inline constexpr int WATCH_PROBES = 3;
inline constexpr std::chrono::seconds WATCH_LIMIT = WATCH_IDLE + WATCH_PROBES * WATCH_INTERVAL;

/// Makes the kernel end a connection whose peer has disappeared: one that does not answer for WATCH_LIMIT, or does not
/// accept data for as long. The bytes that a peer receives do not change.
void watch_peer(int sock);
