// Limits on one peer's requests and on its guesses of the code. Times are seconds of a monotonic clock, passed in by
// the caller; no clock is read here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace classroom {

inline constexpr double LINES_A_SECOND = 2000;            // of one student; an ordinary program sends about 120
inline constexpr double REQUESTS_A_SECOND = 400;          // of one connection
inline constexpr double ADDRESS_REQUESTS_A_SECOND = 3000; // of all connections of one address
inline constexpr size_t BYTES_AS_A_REQUEST = 8192;        // each so many of a body count as one more request
inline constexpr int CONNECTIONS = 2048;                  // in all
inline constexpr int ADDRESS_CONNECTIONS = 256;           // of one address
inline constexpr int FREE_GUESSES = 5;                    // wrong codes that cost only half a second each
// Between two guesses, however many were wrong. Short, because a whole class may share one address: who knows the code
// must not be kept out by who does not. All codes take two years at this rate.
inline constexpr double LONGEST_PAUSE_S = 5;
inline constexpr double GUESSES_FORGOTTEN_S = 600;
inline constexpr size_t GUESSERS = 4096; // addresses remembered

/// Token bucket: `rate` things a second, `burst` of them at once.
class token_bucket {
public:
    token_bucket(double rate, double burst) : rate_(rate), burst_(burst), level_(burst) {}
    /// Takes n (1 or more), on credit if needed. @return seconds to wait before going on, 0 for none
    double take(double n, double now);

private:
    double rate_;
    double burst_;
    double level_;
    double last_ = 0;
};

/// Slows down guessing: after FREE_GUESSES wrong codes each further one costs a pause that doubles.
class guess_guard {
public:
    /// @return seconds until the address may try again, 0 when it may now
    [[nodiscard]] double wait(uint32_t address, double now) const;
    void wrong(uint32_t address, double now);
    void right(uint32_t address) { seen_.erase(address); }

private:
    struct guesses {
        int wrong = 0;
        double last = 0;
        double not_before = 0;
    };
    std::unordered_map<uint32_t, guesses> seen_;
};

} // namespace classroom
