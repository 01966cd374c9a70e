// The table of kinds, and the palette.
#include "field/kinds.h"

#include "field/palette.h"
#include "support.h"
#include "turtle/motion.h"

#include <cstring>
#include <set>

namespace {

TEST(Kinds, flags_determine_the_kind_whatever_other_bits_are_set) {
    EXPECT_EQ(kind_of(TTL_ALIVE | TTL_PEN_DOWN | TTL_ZOMBIE).kind, kind_t::turtle);
    EXPECT_EQ(kind_of(TTL_ALIVE | TTL_ROBOT).kind, kind_t::robot);
    EXPECT_EQ(kind_of(TTL_ALIVE | TTL_ROBOT | TTL_DOUGHNUT).kind, kind_t::doughnut); // ownerless ones are robots, too
    EXPECT_EQ(kind_of(TTL_ALIVE | TTL_STONE).kind, kind_t::stone);
}

TEST(Kinds, codes_events_and_latches_are_those_of_the_protocol) {
    EXPECT_EQ(kind_of(0).blocked_by, 1U);
    EXPECT_EQ(kind_of(TTL_ROBOT).event, 0x2U);
    EXPECT_EQ(kind_of(TTL_DOUGHNUT).blocked_by, 2U);
    EXPECT_EQ(kind_of(TTL_DOUGHNUT).event, 0x4U);
    EXPECT_EQ(kind_of(TTL_DOUGHNUT).json_type, 2);
    EXPECT_EQ(kind_of(TTL_STONE).blocked_by, 3U);
    EXPECT_EQ(kind_of(TTL_STONE).event, 0x8U);
    EXPECT_EQ(kind_of(TTL_STONE).json_type, 3);
    EXPECT_EQ(EVENTS_BLOCKED, 0x1EU);
    EXPECT_EQ(TTL_LATCH_OBJECTS, 0x70000U);
}

// FINDER_WALL and EVENT_WALL are taken, too, though a wall is no row of the table.
TEST(Kinds, objects_share_no_bit_code_type_or_key) {
    std::set<uint32_t> flags, codes{BLOCKED_BY_NOTHING, BLOCKED_BY_TURTLE, FINDER_WALL};
    std::set<uint32_t> events{EVENT_TURTLE, EVENT_WALL}, latches{TTL_LATCH_TURTLE, TTL_LATCH_WALL, TTL_LATCH_COIN};
    std::set<int> types{kind_of(0).json_type};
    std::set<char> keys;
    std::set<std::string> names{"turtle", "robot"};
    for (const kind_info_t& kind : KINDS) {
        if (!kind.object) continue;
        EXPECT_TRUE(flags.insert(kind.flag).second) << kind.name;
        EXPECT_TRUE(codes.insert(kind.blocked_by).second) << kind.name;
        EXPECT_TRUE(events.insert(kind.event).second) << kind.name;
        EXPECT_TRUE(latches.insert(kind.latch).second) << kind.name;
        EXPECT_TRUE(types.insert(kind.json_type).second) << kind.name;
        EXPECT_TRUE(names.insert(kind.name).second) << kind.name;
        EXPECT_TRUE(kind.key == 0 || keys.insert(kind.key).second) << kind.name;
    }
    EXPECT_EQ(TTL_OBJECT, TTL_DOUGHNUT | TTL_STONE);
}

class StepEnd : public testing::Test {
protected:
    void SetUp() override { reset_tables(); }
};

TEST_F(StepEnd, says_why_a_turtle_did_not_move) {
    put_turtle(0, 0, 0);
    EXPECT_EQ(try_step(0, 1), step_end_t::moved);
    put_turtle(1, 25, 0);
    EXPECT_EQ(try_step(0, 10), step_end_t::turtle); // contact 4 ahead
    ttl[1].flags |= TTL_STONE;
    EXPECT_EQ(try_step(0, 10), step_end_t::stone);
    ttl[1].flags = TTL_ALIVE | TTL_DOUGHNUT;
    EXPECT_EQ(try_step(0, 10), step_end_t::doughnut);
    EXPECT_EQ(try_step(1, 10), step_end_t::cannot_move);
    ttl[1].flags = 0;
    modes.bounded_area_mode = true;
    setup_wall(0, 12, -50, 12, 50, -1, 0); // contact at x = 2
    EXPECT_EQ(try_step(0, 1), step_end_t::moved);
    EXPECT_EQ(try_step(0, 1), step_end_t::wall);
    modes.battle_mode = true;
    ttl[0].score = 0;
    EXPECT_EQ(try_step(0, 1), step_end_t::no_points);
    ttl[0].flags |= TTL_ZOMBIE;
    EXPECT_EQ(try_step(0, 1), step_end_t::cannot_move);
}

TEST_F(StepEnd, has_a_text_of_its_own_for_each_end) {
    std::set<std::string> texts;
    for (const step_end_t end : {step_end_t::moved, step_end_t::cannot_move, step_end_t::no_points, step_end_t::turtle,
                                 step_end_t::doughnut, step_end_t::stone, step_end_t::wall}) {
        texts.insert(step_end_text(end));
    }
    EXPECT_EQ(texts.size(), 7U);
}

} // namespace
