// The log: lines on standard error. Any thread may write one, holding any lock, because nothing here waits for the
// reader. Lines of the same text are of one kind. Of each kind at most LOG_RATE lines are written in any second;
// further ones are counted, and one line then reports how many were suppressed. Below that rate nothing is lost. Lines
// that differ in their values, such as those about connections, are of different kinds. Of all lines of one format at
// most LOG_FORMAT_RATE are written in a second, enough for all clients to connect or disconnect at once. Lines that the
// reader has not taken yet are kept, up to LOG_BACKLOG bytes. A thread writes them and the counts when it can; it runs
// only while something is left to write.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>

inline constexpr int LOG_RATE = 20;              // lines of a kind in any second
inline constexpr int LOG_FORMAT_RATE = 300;      // lines of a format in a second: more than there are connections
inline constexpr size_t LOG_LINE_MAX = 4096;     // bytes of a line with its newline; the rest is cut
inline constexpr size_t LOG_BACKLOG = 64 * 1024; // bytes that wait for the reader
inline constexpr std::chrono::seconds LOG_SECOND{1};

/// Writes one line to standard error; `format` is a literal for printf, the newline is added here.
[[gnu::format(printf, 1, 2)]] void log_line(const char* format, ...);

/// The same without limits: for lines that only the operator can cause.
[[gnu::format(printf, 1, 2)]] void log_line_always(const char* format, ...);

/// From now on log_line writes nothing: for a program that only plays a game again.
void log_nothing();

/// Reports all suppressed lines at once and restarts counting, so that tests do not affect each other.
void log_forget();

// When the last lines of a kind went out. Zero-initialised: none yet.
struct log_rate_t {
    std::array<std::chrono::steady_clock::time_point, LOG_RATE> sent; // a ring
    int count;                                                        // of entries in use
    int next;                                                         // the oldest entry once all are in use
};

/// Whether one more line may be written now; if so, it is counted. @param now  not earlier than in any previous call
[[nodiscard]] bool log_rate_admits(log_rate_t& rate, std::chrono::steady_clock::time_point now);
