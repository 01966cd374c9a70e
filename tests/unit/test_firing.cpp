// Firing a beam: who may fire, what it costs, and where the beam starts.
#include "game/firing.h"

#include "support.h"

using Firing = FieldTest;

TEST_F(Firing, beam_starts_at_the_turtle_and_costs_a_point) {
    put_turtle(0, 3, 4, 56).pos[1] = {-7, -8}; // where it came from does not matter
    EXPECT_EQ(turtle_fire(0), 0);
    EXPECT_EQ(ttl[0].beam_dir, 56);
    EXPECT_EQ(ttl[0].beam_x, 3);
    EXPECT_EQ(ttl[0].beam_y, 4);
    EXPECT_EQ(ttl[0].flags, TTL_ALIVE | TTL_FIRING);
    EXPECT_EQ(ttl[0].score, 99);
    EXPECT_EQ(ttl[0].fire_wait, 0);
}

TEST_F(Firing, mode_does_not_matter) {
    for (const int mode : {0, 1}) {
        modes.battle_mode = mode;
        put_turtle(0, 0, 0);
        EXPECT_EQ(turtle_fire(0), 0);
        EXPECT_TRUE(has_any(ttl[0].flags, TTL_FIRING));
    }
}

TEST_F(Firing, second_fire_has_no_effect_and_no_error) {
    put_turtle(0, 0, 0);
    turtle_fire(0);
    ttl[0].dir = 90;
    EXPECT_EQ(turtle_fire(0), 0);
    EXPECT_EQ(ttl[0].score, 99);
    EXPECT_EQ(ttl[0].beam_dir, 0);
}

TEST_F(Firing, firing_during_the_pause_has_no_effect_and_no_error) {
    for (const int wait : {25, 1, -1}) {
        put_turtle(0, 0, 0).fire_wait = wait;
        EXPECT_EQ(turtle_fire(0), 0);
        EXPECT_EQ(ttl[0].score, 100);
        EXPECT_EQ(ttl[0].flags, TTL_ALIVE);
    }
}

TEST_F(Firing, last_point_may_be_fired_but_no_more) {
    put_turtle(0, 0, 0).score = 1;
    EXPECT_EQ(turtle_fire(0), 0);
    EXPECT_EQ(ttl[0].score, 0);
    EXPECT_EQ(turtle_fire(0), -1); // refused before the beam in flight is looked at
    ttl[0].flags = TTL_ALIVE;
    EXPECT_EQ(turtle_fire(0), -1);
    ttl[0].score = -3;
    EXPECT_EQ(turtle_fire(0), -1);
}

TEST_F(Firing, free_slot_and_zombie_are_refused) {
    put_turtle(0, 0, 0).flags = 0;
    EXPECT_EQ(turtle_fire(0), -1);
    put_turtle(0, 0, 0).flags |= TTL_ZOMBIE | TTL_FIRING;
    EXPECT_EQ(turtle_fire(0), -1);
    EXPECT_EQ(ttl[0].score, 100);
}
