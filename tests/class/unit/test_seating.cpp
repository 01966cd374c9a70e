// Places, the queue and turns. One field has ten places; times are seconds.
#include "class/seating.h"

#include <gtest/gtest.h>

using classroom::PLACES;
using classroom::seat;
using classroom::seating;

namespace {

constexpr double MINUTE = 60;

void fill(seating& s, int people, double now) {
    for (int k = 1; k <= people; ++k) s.arrive(static_cast<uint32_t>(k), -1, now);
}

} // namespace

TEST(Seating, gives_free_places_in_order_and_tells_of_it) {
    seating s(1, 0);
    s.arrive(5, -1, 0);
    s.arrive(6, -1, 0);
    EXPECT_EQ(s.seat_of(5), (seat{0, 0}));
    EXPECT_EQ(s.seat_of(6), (seat{0, 1}));
    EXPECT_EQ(s.at({0, 1}), 6U);
    EXPECT_EQ(s.taken(0), 2);
    const auto changes = s.take_changes();
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].who, 5U);
    EXPECT_TRUE(changes[0].seated);
    EXPECT_TRUE(s.take_changes().empty());
}

TEST(Seating, nobody_sits_twice) {
    seating s(1, 0);
    s.arrive(5, -1, 0);
    s.arrive(5, -1, 1);
    EXPECT_EQ(s.taken(0), 1);
    fill(s, 11, 2); // 5 sits already: 1 to 4 and 6 to 10 fill the field
    EXPECT_EQ(s.queue_place(11), 1);
    s.arrive(11, -1, 3);
    EXPECT_EQ(s.waiting(), 1);
}

TEST(Seating, the_emptiest_field_is_next_unless_one_is_wished_for) {
    seating s(3, 0);
    s.arrive(1, -1, 0);
    s.arrive(2, -1, 0);
    s.arrive(3, -1, 0);
    EXPECT_EQ(s.seat_of(2)->field, 1);
    EXPECT_EQ(s.seat_of(3)->field, 2);
    s.arrive(4, 2, 0);
    EXPECT_EQ(s.seat_of(4)->field, 2);
    s.arrive(5, 77, 0); // no such field
    EXPECT_EQ(s.seat_of(5)->field, 0);
}

TEST(Seating, a_closed_field_is_left_while_another_is_open) {
    seating s(2, 0);
    fill(s, 3, 0); // 1 and 3 on field 0
    s.set_open(0, false);
    s.arrive(4, 0, 1); // although it wishes for that field
    EXPECT_EQ(s.seat_of(4)->field, 1);
    EXPECT_EQ(s.taken(0), 2);
    s.tick(2);
    EXPECT_EQ(s.taken(0), 0);
    EXPECT_EQ(s.taken(1), 4);
    fill(s, 12, 3);
    EXPECT_EQ(s.waiting(), 2);
    s.set_open(0, true);
    s.tick(4);
    EXPECT_EQ(s.waiting(), 0);
    EXPECT_EQ(s.taken(0), 2);
    // Without an open field everybody stays, and newcomers sit down.
    s.set_open(0, false);
    s.set_open(1, false);
    s.tick(5);
    s.arrive(13, -1, 6);
    EXPECT_EQ(s.taken(0) + s.taken(1), 13);
}

TEST(Seating, a_field_that_is_tried_again_and_again_does_not_stop_the_turns_of_the_other) {
    seating s(2, 600);
    s.set_open(1, false);
    s.tick(0);
    fill(s, 12, 1); // ten on field 0, then 11 and 12 wait
    for (int second = 30; second <= 900; second += 30) {
        s.set_open(1, true);
        s.tick(second);
        s.set_open(1, false);
        s.tick(second + 2);
    }
    EXPECT_EQ(s.seat_of(11).value_or(seat{1, 0}).field, 0);
    EXPECT_EQ(s.seat_of(12).value_or(seat{1, 0}).field, 0);
}

TEST(Seating, a_field_that_is_tried_again_in_vain_costs_nobody_a_place_in_the_queue) {
    seating s(2, 0);
    s.set_open(0, false);
    s.tick(0);
    fill(s, 14, 1); // ten on field 1, then 11 to 14 wait
    EXPECT_EQ(s.queue_place(11), 1);
    s.set_open(0, true);
    s.tick(2);
    EXPECT_EQ(s.taken(0), 4);
    s.arrive(15, -1, 2);
    s.set_open(0, false);
    s.arrive(16, -1, 3);
    s.tick(3);
    EXPECT_EQ(s.queue_place(11), 1);
    EXPECT_EQ(s.queue_place(14), 4);
    EXPECT_EQ(s.queue_place(16), 6);
}

TEST(Seating, the_eleventh_waits_and_moves_up) {
    seating s(1, 0);
    fill(s, 12, 0);
    EXPECT_EQ(s.queue_place(11), 1);
    EXPECT_EQ(s.queue_place(12), 2);
    EXPECT_FALSE(s.seat_of(11));
    EXPECT_FALSE(s.expected_wait(11, 0)); // unknown without turns
    s.leave(3);
    s.tick(1);
    EXPECT_EQ(s.seat_of(11), (seat{0, 2}));
    EXPECT_EQ(s.queue_place(12), 1);
    s.leave(12);
    EXPECT_EQ(s.waiting(), 0);
}

TEST(Seating, without_turns_a_place_is_kept_for_ever) {
    seating s(1, 0);
    fill(s, 11, 0);
    s.tick(1e6);
    EXPECT_EQ(s.queue_place(11), 1);
    EXPECT_FALSE(s.turn_left(1, 1e6));
}

TEST(Seating, without_people_waiting_a_turn_does_not_end) {
    seating s(1, 10 * MINUTE);
    fill(s, 10, 0);
    s.tick(60 * MINUTE);
    EXPECT_TRUE(s.seat_of(1));
    EXPECT_FALSE(s.turn_left(1, 60 * MINUTE));
}

TEST(Seating, the_longest_seated_hands_on_after_a_turn) {
    seating s(1, 10 * MINUTE);
    fill(s, 10, 0);
    s.arrive(11, -1, 2 * MINUTE);
    EXPECT_EQ(*s.turn_left(1, 2 * MINUTE), 8 * MINUTE);
    EXPECT_FALSE(s.turn_left(2, 2 * MINUTE)); // one waits, so one place is claimed
    EXPECT_EQ(*s.expected_wait(11, 2 * MINUTE), 8 * MINUTE);
    s.tick(10 * MINUTE - 1);
    EXPECT_EQ(s.queue_place(11), 1);
    s.tick(10 * MINUTE);
    EXPECT_EQ(s.seat_of(11), (seat{0, 0}));
    EXPECT_EQ(s.queue_place(1), 1);
}

TEST(Seating, who_handed_on_is_not_back_at_once) {
    seating s(1, 10 * MINUTE);
    fill(s, 11, 0);
    s.tick(10 * MINUTE); // all ten turns are over, one waits: one place changes hands
    EXPECT_TRUE(s.seat_of(11));
    s.tick(10 * MINUTE + 1);
    EXPECT_EQ(s.queue_place(1), 1);
    EXPECT_TRUE(s.seat_of(2));
    // Ten places, one waits: each place is claimed once in a turn, so a minute apart.
    EXPECT_EQ(*s.expected_wait(1, 10 * MINUTE), MINUTE);
    s.tick(11 * MINUTE);
    EXPECT_TRUE(s.seat_of(1));
    EXPECT_EQ(s.queue_place(2), 1);
}

TEST(Seating, a_second_round_of_waiting_takes_a_turn_more) {
    seating s(1, 10 * MINUTE);
    fill(s, 25, 0);
    EXPECT_EQ(*s.expected_wait(11, 0), 10 * MINUTE);
    EXPECT_EQ(*s.expected_wait(20, 0), 10 * MINUTE);
    EXPECT_EQ(*s.expected_wait(21, 0), 20 * MINUTE);
    s.tick(10 * MINUTE);
    for (uint32_t who = 11; who <= 20; ++who) EXPECT_TRUE(s.seat_of(who)) << who;
    EXPECT_EQ(s.queue_place(21), 1);
    EXPECT_EQ(s.queue_place(1), 6);
    s.tick(20 * MINUTE);
    EXPECT_TRUE(s.seat_of(25));
    EXPECT_TRUE(s.seat_of(5));
    EXPECT_FALSE(s.seat_of(6));
}

TEST(Seating, everybody_gets_the_same_time_in_the_long_run) {
    seating s(1, 60);
    fill(s, 15, 0);
    std::array<int, 16> seconds{};
    constexpr int hours = 4;
    for (int now = 0; now < hours * 3600; ++now) {
        s.tick(now);
        EXPECT_EQ(s.taken(0), PLACES);
        for (uint32_t who = 1; who <= 15; ++who) seconds[who] += s.seat_of(who) ? 1 : 0;
    }
    // Each gets ten fifteenths of the time, within two turns.
    for (int who = 1; who <= 15; ++who)
        EXPECT_NEAR(seconds[static_cast<size_t>(who)], hours * 3600 * 10 / 15, 120) << who;
}
