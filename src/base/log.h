// The log: lines on standard error. Any thread may write one, holding any lock, because nothing here waits for the
// reader. Lines of the same text are of one kind. Of each kind at most LOG_RATE lines go out in any second; the others
// are counted, and then one line says how many were left out. Below that rate nothing is lost. Lines that differ only
// in their values, such as those about connections, are of different kinds. Of all lines of one format at most
// LOG_FORMAT_RATE go out in a second: a whole room that comes or goes at once is logged in full. What a reader has not
// taken yet is kept, up to LOG_BACKLOG bytes. A thread writes it, and the counts, when it can; it runs only while there
// is something left to write.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>

inline constexpr int LOG_RATE = 20;              // lines of a kind in any second
inline constexpr int LOG_FORMAT_RATE = 300;      // lines of a format in a second: more than all places for connections
inline constexpr size_t LOG_LINE_MAX = 4096;     // bytes of a line with its newline; the rest is cut
inline constexpr size_t LOG_BACKLOG = 64 * 1024; // bytes that wait for the reader
inline constexpr std::chrono::seconds LOG_SECOND{1};

/// Writes one line to standard error, in the format of printf, a literal; the newline is added here.
[[gnu::format(printf, 1, 2)]] void log_line(const char* format, ...);

/// The same without the limits: for what only the person at the machine can cause.
[[gnu::format(printf, 1, 2)]] void log_line_always(const char* format, ...);

/// Tells at once of what was left out and begins anew with counting, so that a test does not meet the limits of
/// another.
void log_forget();

// When the last lines of a kind went out. Zero-initialised: none yet.
struct log_rate_t {
    std::array<std::chrono::steady_clock::time_point, LOG_RATE> sent; // a ring
    int count;                                                        // of entries in use
    int next;                                                         // the oldest entry once all are in use
};

/// Whether one more line may go out now; if so, it is noted. @param now  not before that of any earlier call
[[nodiscard]] bool log_rate_admits(log_rate_t& rate, std::chrono::steady_clock::time_point now);
