#include "class/limits.h"

#include <algorithm>
#include <cmath>

namespace classroom {

double token_bucket::take(double n, double now) {
    level_ = std::min(burst_, level_ + (now - last_) * rate_);
    last_ = now;
    level_ -= n;
    return level_ < 0 ? -level_ / rate_ : 0.0;
}

double guess_guard::wait(uint32_t address, double now) const {
    const auto found = seen_.find(address);
    return found == seen_.end() ? 0.0 : std::max(0.0, found->second.not_before - now);
}

void guess_guard::wrong(uint32_t address, double now) {
    if (seen_.size() >= GUESSERS) {
        std::erase_if(seen_, [now](const auto& entry) { return now - entry.second.last > GUESSES_FORGOTTEN_S; });
        if (seen_.size() >= GUESSERS) {
            seen_.erase(std::min_element(seen_.begin(), seen_.end(),
                                         [](const auto& a, const auto& b) { return a.second.last < b.second.last; }));
        }
    }
    guesses& g = seen_[address];
    if (now - g.last > GUESSES_FORGOTTEN_S) g = {};
    ++g.wrong;
    g.last = now;
    if (g.wrong > FREE_GUESSES) {
        g.not_before = now + std::min(LONGEST_PAUSE_S, std::exp2(std::min(g.wrong - FREE_GUESSES, 10)));
    }
}

} // namespace classroom
