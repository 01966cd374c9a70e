#include "class/seating.h"

#include <algorithm>
#include <utility>

namespace classroom {

void seating::arrive(person_id who, int wish, double now) {
    if (seat_of(who) || queue_place(who) != 0) return;
    queue_.push_back({who, wish, now});
    fill(now);
}

void seating::leave(person_id who) {
    std::erase_if(queue_, [who](const waiter& w) { return w.who == who; });
    for (size_t i = 0; i < places_.size(); ++i) {
        if (places_[i].who != who) continue;
        places_[i] = {};
        changes_.push_back({who, seat_at(i), false});
    }
}

void seating::tick(double now) {
    leave_closed();
    fill(now);
    if (turn_ <= 0) return;
    // The k-th oldest holder is matched with the k-th in the queue. A holder who hands on goes to the end of the queue,
    // so this round's numbers are fixed before it begins.
    const std::vector<size_t> holders = by_age();
    std::vector<size_t> over;
    const size_t pairs = std::min(holders.size(), queue_.size());
    for (size_t k = 0; k < pairs; ++k) {
        if (handed_on_at(holders[k], queue_[k]) > now) break;
        over.push_back(holders[k]);
    }
    for (const size_t i : over) {
        const person_id who = places_[i].who;
        leave(who);
        const waiter next = queue_.front();
        queue_.pop_front();
        put(i, next, now);
        queue_.push_back({who, seat_at(i).field, now});
    }
}

std::vector<seat_change> seating::take_changes() { return std::exchange(changes_, {}); }

std::optional<seat> seating::seat_of(person_id who) const {
    const auto found = std::find_if(places_.begin(), places_.end(), [who](const holder& h) { return h.who == who; });
    if (who == 0 || found == places_.end()) return std::nullopt;
    return seat_at(static_cast<size_t>(found - places_.begin()));
}

int seating::queue_place(person_id who) const {
    const auto found = std::find_if(queue_.begin(), queue_.end(), [who](const waiter& w) { return w.who == who; });
    return found == queue_.end() ? 0 : static_cast<int>(found - queue_.begin()) + 1;
}

int seating::taken(int field) const {
    const auto first = places_.begin() + static_cast<std::ptrdiff_t>(field) * PLACES;
    return static_cast<int>(std::count_if(first, first + PLACES, [](const holder& h) { return h.who != 0; }));
}

std::optional<double> seating::turn_left(person_id who, double now) const {
    if (turn_ <= 0) return std::nullopt;
    const std::vector<size_t> holders = by_age();
    for (size_t k = 0; k < std::min(holders.size(), queue_.size()); ++k) {
        if (places_[holders[k]].who == who) return std::max(0.0, handed_on_at(holders[k], queue_[k]) - now);
    }
    return std::nullopt;
}

std::optional<double> seating::expected_wait(person_id who, double now) const {
    const int place = queue_place(who);
    const std::vector<size_t> holders = by_age();
    if (place == 0 || turn_ <= 0 || holders.empty()) return std::nullopt;
    const size_t k = static_cast<size_t>(place) - 1;
    const size_t rounds = k / holders.size(); // whole rounds of turns before this one
    const size_t holder_rank = k % holders.size();
    const double first = handed_on_at(holders[holder_rank], queue_[holder_rank]);
    return std::max(0.0, first - now) + static_cast<double>(rounds) * turn_;
}

// Places of the field are given: it is open, or none is.
bool seating::is_in_use(int field) const {
    return is_open(field) || std::find(open_.begin(), open_.end(), true) == open_.end();
}

// They come before those who wait, in the order of their places, and have waited since they first did: a field that is
// tried again and fails must cost nobody a place in the queue or the time of waiting.
void seating::leave_closed() {
    for (size_t i = places_.size(); i-- > 0;) {
        const person_id who = places_[i].who;
        if (who == 0 || is_in_use(seat_at(i).field)) continue;
        const double asked = places_[i].asked;
        leave(who);
        queue_.push_front({who, -1, asked});
    }
}

// A free place of the preferred field, else of the emptiest one. @return index in places_, -1 when all are taken
int seating::free_place(int wish) const {
    int best = -1;
    for (int f = 0; f < fields(); ++f) {
        if (taken(f) == PLACES || !is_in_use(f)) continue;
        if (f == wish) {
            best = f;
            break;
        }
        if (best < 0 || taken(f) < taken(best)) best = f;
    }
    if (best < 0) return -1;
    for (int p = 0;; ++p) {
        const size_t i = index({best, p});
        if (places_[i].who == 0) return static_cast<int>(i);
    }
}

// Indices of the taken places, longest held first.
std::vector<size_t> seating::by_age() const {
    std::vector<size_t> order;
    for (size_t i = 0; i < places_.size(); ++i) {
        if (places_[i].who != 0) order.push_back(i);
    }
    std::stable_sort(order.begin(), order.end(),
                     [this](size_t a, size_t b) { return places_[a].since < places_[b].since; });
    return order;
}

// When a place is handed on: its holder has had a turn, and the person who claims it has waited for a fair share of
// one. In the long run S seats and q waiting give each person turn * q / S of waiting for each turn of sitting; an
// earlier claim would push people out and back in at once.
double seating::handed_on_at(size_t holder_index, const waiter& claimant) const {
    int places = 0;
    for (int f = 0; f < fields(); ++f) places += is_in_use(f) ? PLACES : 0;
    const double share = static_cast<double>(queue_.size()) / places;
    return std::max(places_[holder_index].since + turn_, claimant.since + turn_ * std::min(1.0, share));
}

void seating::put(size_t place, const waiter& next, double now) {
    places_[place] = {next.who, now, next.since};
    changes_.push_back({next.who, seat_at(place), true});
}

void seating::fill(double now) {
    while (!queue_.empty()) {
        const int place = free_place(queue_.front().wish);
        if (place < 0) return;
        put(static_cast<size_t>(place), queue_.front(), now);
        queue_.pop_front();
    }
}

} // namespace classroom
