// Who has which place, who waits, and for how long: places on fields, a queue, turns. Knows people by number only.
// Times are seconds of a monotonic clock, passed in by the caller.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace classroom {

inline constexpr int PLACES = 10; // programs that one field admits

using person_id = uint32_t; // 0 is nobody

struct seat {
    int field;
    int place; // 0 to PLACES - 1
    bool operator==(const seat&) const = default;
};

/// A place changed hands: `who` got it, or left it (then `seated` is false).
struct seat_change {
    person_id who;
    seat where;
    bool seated;
};

class seating {
public:
    /// @param turn  seconds after which a place is handed on when people wait; 0: never
    seating(int fields, double turn)
        : places_(static_cast<size_t>(fields) * PLACES), open_(static_cast<size_t>(fields), true), turn_(turn) {}

    /// Requests a place; does nothing for someone who has one or waits. `wish` is a preferred field, -1 for none.
    /// Places are given in changes(), at the latest at the next tick.
    void arrive(person_id who, int wish, double now);
    /// Gives up the place, or the wait.
    void leave(person_id who);
    /// Fills free places from the queue and hands on those whose turn is over.
    void tick(double now);
    /// A field that does not answer is closed: while another one is open nobody gets a place there, and at the next
    /// tick those who have one are moved.
    void set_open(int field, bool open) { open_[static_cast<size_t>(field)] = open; }
    [[nodiscard]] bool is_open(int field) const { return open_[static_cast<size_t>(field)]; }
    /// What happened since the last call, in order.
    [[nodiscard]] std::vector<seat_change> take_changes();

    [[nodiscard]] std::optional<seat> seat_of(person_id who) const;
    [[nodiscard]] person_id at(seat s) const { return places_[index(s)].who; }
    /// 1 for the first in the queue, 0 for someone who is not in it.
    [[nodiscard]] int queue_place(person_id who) const;
    [[nodiscard]] int waiting() const { return static_cast<int>(queue_.size()); }
    [[nodiscard]] int taken(int field) const;
    /// Seconds until the person must hand the place on; nothing while nobody claims it.
    [[nodiscard]] std::optional<double> turn_left(person_id who, double now) const;
    /// Expected waiting time in seconds; nothing without turns, or for someone who does not wait.
    [[nodiscard]] std::optional<double> expected_wait(person_id who, double now) const;
    [[nodiscard]] double turn() const { return turn_; }
    void set_turn(double seconds) { turn_ = seconds; }
    [[nodiscard]] int fields() const { return static_cast<int>(places_.size()) / PLACES; }

private:
    struct holder {
        person_id who = 0;
        double since = 0;
        double asked = 0; // when the wait for it began
    };
    struct waiter {
        person_id who;
        int wish;
        double since;
    };
    [[nodiscard]] static size_t index(seat s) {
        return static_cast<size_t>(s.field) * PLACES + static_cast<size_t>(s.place);
    }
    [[nodiscard]] static seat seat_at(size_t i) { return {static_cast<int>(i) / PLACES, static_cast<int>(i) % PLACES}; }
    [[nodiscard]] bool is_in_use(int field) const;
    void leave_closed();
    [[nodiscard]] int free_place(int wish) const;
    [[nodiscard]] std::vector<size_t> by_age() const;
    [[nodiscard]] double handed_on_at(size_t holder_index, const waiter& claimant) const;
    void put(size_t place, const waiter& next, double now);
    void fill(double now);

    std::vector<holder> places_;
    std::vector<bool> open_; // by field
    std::deque<waiter> queue_;
    std::vector<seat_change> changes_;
    double turn_;
};

} // namespace classroom
