// Students of the class: names, tokens, runs, going away and coming back. Times are seconds.
#include "class/room.h"

#include <gtest/gtest.h>
#include <set>

using namespace classroom;

namespace {

room make_room(double turn = 0) { return {1, turn, "ABC34"}; }

int count(room& r, room_change::kind what) {
    int n = 0;
    for (const room_change& c : r.take_changes()) n += c.what == what ? 1 : 0;
    return n;
}

} // namespace

TEST(Room, the_code_is_compared_as_people_write_it) {
    const room r = make_room();
    EXPECT_TRUE(r.code_is("ABC34"));
    EXPECT_TRUE(r.code_is(" abc-34 "));
    EXPECT_FALSE(r.code_is("ABC35"));
    EXPECT_FALSE(r.code_is("ABC3"));
    EXPECT_FALSE(r.code_is("ABC344"));
    EXPECT_FALSE(r.code_is(""));
}

TEST(Room, names_are_unique_in_whatever_case) {
    room r = make_room();
    EXPECT_EQ(r.join("Ann", -1, 0, 0)->name, "Ann");
    EXPECT_EQ(r.join("ann", -1, 0, 0)->name, "ann 2");
    session* third = r.join("Bob", -1, 0, 0);
    EXPECT_EQ(r.rename(*third, "ANN"), "ANN 3");
    EXPECT_EQ(r.rename(*third, "Bob"), "Bob");
    EXPECT_EQ(r.rename(*third, "bob"), "bob"); // a student may keep their own name
}

TEST(Room, tokens_are_different_and_tell_people_apart) {
    room r = make_room();
    std::set<std::string> tokens;
    for (int k = 0; k < 50; ++k) tokens.insert(r.join("Ann", -1, 0, 0)->token);
    EXPECT_EQ(tokens.size(), 50U);
    for (const std::string& t : tokens) EXPECT_EQ(r.by_token(t, 1)->token, t);
    EXPECT_EQ(r.by_token("", 1), nullptr);
    EXPECT_EQ(r.by_token(std::string(32, '0'), 1), nullptr);
}

TEST(Room, a_seat_is_free_after_a_minute_without_a_sign) {
    room r = make_room();
    session* s = r.join("Ann", -1, 0, 0);
    const std::string token = s->token;
    const person_id id = s->id;
    EXPECT_EQ(count(r, room_change::kind::seated), 1);
    r.tick(GONE_S - 0.1);
    EXPECT_TRUE(r.seats().seat_of(id));
    r.by_token(token, GONE_S - 0.1);
    r.tick(2 * GONE_S - 0.2);
    EXPECT_TRUE(r.seats().seat_of(id));
    r.tick(2 * GONE_S);
    EXPECT_FALSE(r.seats().seat_of(id));
    EXPECT_TRUE(r.find(id)->away);
    EXPECT_EQ(count(r, room_change::kind::unseated), 1);
    // Back after an hour, with the same token and name.
    EXPECT_EQ(r.by_token(token, 3600)->name, "Ann");
    EXPECT_FALSE(r.find(id)->away);
    EXPECT_TRUE(r.seats().seat_of(id));
}

TEST(Room, who_comes_back_to_a_full_class_waits) {
    room r = make_room();
    const std::string token = r.join("Ann", -1, 0, 0)->token;
    r.tick(100);
    for (int k = 0; k < PLACES; ++k) ASSERT_NE(r.join("Bob", -1, 0, 100), nullptr);
    const session* s = r.by_token(token, 110);
    EXPECT_EQ(r.seats().queue_place(s->id), 1);
}

TEST(Room, a_new_run_ends_the_one_before) {
    room r = make_room();
    session& s = *r.join("Ann", -1, 0, 0);
    const uint32_t first = r.begin_run(s, false);
    EXPECT_TRUE(room::is_running(s, first));
    const uint32_t second = r.begin_run(s, false);
    EXPECT_FALSE(room::is_running(s, first));
    EXPECT_TRUE(room::is_running(s, second));
    EXPECT_EQ(room::why_over(s, first), ending::replaced);
    r.end_run(s, ending::stopped);
    r.end_run(s, ending::ended); // it is over already
    EXPECT_EQ(room::why_over(s, second), ending::stopped);
    EXPECT_EQ(s.doing, "idle");
}

TEST(Room, a_run_ends_with_the_turn_and_with_the_seat) {
    room r = make_room(600);
    session& s = *r.join("Ann", -1, 0, 0);
    const uint32_t run = r.begin_run(s, false);
    for (int k = 0; k < PLACES; ++k) r.join("Bob", -1, 0, 0);
    for (double now = 0; now <= 600; now += 10) {
        for (const auto& [id, x] : r.sessions()) r.by_token(x.token, now);
        r.tick(now);
    }
    EXPECT_EQ(room::why_over(s, run), ending::turn);

    room other = make_room();
    session& t = *other.join("Ann", -1, 0, 0);
    const uint32_t away = other.begin_run(t, false);
    other.tick(GONE_S);
    EXPECT_EQ(room::why_over(t, away), ending::seat);
}

TEST(Room, a_practice_run_needs_no_seat_and_survives_losing_one) {
    room r = make_room();
    for (int k = 0; k < PLACES; ++k) r.join("Bob", -1, 0, 0);
    session& s = *r.join("Ann", -1, 0, 0);
    EXPECT_FALSE(r.seats().seat_of(s.id));
    const uint32_t run = r.begin_run(s, true);
    EXPECT_TRUE(room::is_running(s, run));
}

TEST(Room, is_full_of_living_people_only) {
    room r = make_room();
    std::string first;
    for (size_t k = 0; k < SESSIONS; ++k) {
        const session* s = r.join("x", -1, 0, 0);
        ASSERT_NE(s, nullptr);
        if (first.empty()) first = s->token;
    }
    EXPECT_EQ(r.join("one more", -1, 0, 1), nullptr);
    for (const auto& [id, s] : r.sessions()) {
        if (s.token != first) r.by_token(s.token, GONE_S);
    }
    r.tick(GONE_S);
    EXPECT_NE(r.join("one more", -1, 0, GONE_S), nullptr);
    EXPECT_EQ(r.by_token(first, GONE_S), nullptr);
    EXPECT_EQ(r.sessions().size(), SESSIONS);
}

TEST(Room, programs_of_those_who_left_are_kept_and_bounded) {
    room r = make_room();
    for (size_t k = 0; k < LEFT_PROGRAMS + 5; ++k) {
        session* s = r.join("x", -1, 0, 0);
        s->saved = program{"python", "", std::to_string(k)};
        r.remove(s->id, ending::removed);
    }
    ASSERT_EQ(r.left_programs().size(), LEFT_PROGRAMS);
    EXPECT_EQ(r.left_programs().front().second.text, "5");
    EXPECT_EQ(r.sessions().size(), 0U);
}
