// Random commands and frames compared with the independent rules in model.h, which predict the whole field and the
// answer after each. Bounded in time; KELMORA_MODEL_SECONDS=N runs it longer, KELMORA_MODEL_SEED=N begins at another
// seed. A failure names its seed and its command.

#include "model.h"

#include "game/furnish.h"
#include "game/invariants.h"
#include "game/tick.h"
#include "net/reply.h"
#include "turtle/sensors.h"

#include <chrono>
#include <cstring>
#include <iterator>
#include <random>

namespace {

struct Model : FieldTest {
    std::mt19937_64 dice;
    double in(double a, double b) { return std::uniform_real_distribution<double>(a, b)(dice); }
    int pick(int n) { return static_cast<int>(dice() % static_cast<uint64_t>(n)); }

    static std::string text(const char* format, double a, double b = 0) {
        char line[128];
        snprintf(line, sizeof line, format, a, b);
        return line;
    }

    static std::string hex(const std::string& bytes) {
        std::string digits;
        for (const char c : bytes) {
            char pair[3];
            snprintf(pair, sizeof pair, "%02x", static_cast<unsigned char>(c));
            digits += pair;
        }
        return digits;
    }
    std::string words(int longest) {
        std::string made;
        for (int k = pick(longest + 1); k > 0; --k) made += static_cast<char>('!' + pick('9' - '!' + 1));
        return made;
    }

    void furnish(unsigned seed) {
        reset_tables(seed);
        dice.seed(seed);
        reset_wall();
        if (seed % 4 == 0)
            for (int k = 0; k < 40; ++k) {
                const bool upright = pick(2) == 0;
                gen_wall(1 + pick(15), 1 + pick(15), upright ? 0 : 1, upright ? 1 : 0);
            }
        if (seed % 4 == 1) {
            generate_maze();
            modes.maze_mode = 1;
        }
        const int from = ntmax, n = from + 2 + pick(12);
        for (int i = from; i < n; ++i) {
            const int kind = i == from ? 5 : pick(6);
            if (kind == 0)
                put_object(i, TTL_STONE, in(-120, 120), in(-120, 120));
            else if (kind == 1)
                put_object(i, TTL_DOUGHNUT, in(-120, 120), in(-120, 120));
            else
                put_turtle(i, in(-120, 120), in(-120, 120), in(-400, 400), kind == 2 ? -1 : kind == 3 ? 1 : 0);
            // The maze's entrance, made narrow: newcomers need many draws for a place there, or find none.
            if (modes.maze_mode != 0 && pick(4) == 0)
                ttl[static_cast<size_t>(i)].pos[0] = {in(-256, -220), in(-256, -220)};
            ttl[static_cast<size_t>(i)].team = pick(5);
        }
        client_tab[0].sockfd = 1000;
        client_tab[1].sockfd = 1001;
        nclient = 2;
    }

    std::string motion(model& m, int i) {
        double a, b;
        switch (pick(9)) {
        case 0:
        case 1:
        case 2:
            a = pick(10) == 0 ? 0.0 : in(-25, 40);
            m.selector = m.step(i, a);
            return text("f %.17g", a);
        case 3:
            a = in(-25, 25);
            m.selector = m.step(i, -a);
            return text("b %.17g", a);
        case 4:
        case 5:
            a = pick(10) == 0 ? 0.0 : in(-120, 120);
            m.selector = m.turn(i, a);
            return text("t l %.17g", a);
        case 6:
            a = in(-20, 20);
            m.selector = m.turn(i, -a);
            return text("t r %.17g", a);
        case 7:
            a = in(-300, 300), b = in(-300, 300);
            m.selector = m.jump(i, a, b);
            return text("j %.17g %.17g", a, b);
        default:
            a = in(-60, 60), b = in(-60, 60);
            m.selector = m.jump(i, m.w.t[i].pos[0].x + a, m.w.t[i].pos[0].y + b);
            return text("g %.17g %.17g", a, b);
        }
    }

    std::string question(model& m) {
        static constexpr struct {
            const char* line;
            int selector;
        } QUESTIONS[] = {{"q p", 1},   {"q d", 2},   {"q m", 3},    {"q f", 4},   {"q f", 4},    {"q r", 5},
                         {"q r 2", 6}, {"q r 3", 7}, {"q r 4", 8},  {"q r 5", 9}, {"q w", 10},   {"q w", 10},
                         {"q a", 11},  {"q s", 12},  {"q t", 13},   {"q n", 14},  {"q c", 15},   {"q c", 15},
                         {"q o", 16},  {"q b", 17},  {"q r 6", -1}, {"q x", -1},  {"q z x 1", 0}};
        if (pick(6) == 0) {
            const int k = pick(56);
            const bool state = pick(2) == 0;
            m.selector = (state ? SEL_CARD_STATE : SEL_CARD_PLACE) + k;
            return text(state ? "q z s %g" : "q z p %g", k);
        }
        const auto& q = QUESTIONS[pick(static_cast<int>(std::size(QUESTIONS)))];
        m.selector = q.selector;
        return q.line;
    }

    std::string coin(model& m, int i) {
        switch (pick(5)) {
        case 0:
            m.selector = m.drop(i);
            m.paced = true;
            return "o s";
        case 1:
        case 2:
            m.selector = m.pick(i);
            m.paced = true;
            return "o";
        case 3:
            m.selector = m.borrow(i);
            return "o b";
        default:
            m.selector = m.scatter();
            m.paced = true;
            return "o x";
        }
    }

    // Pen, colours, texts, teams, cards, modes, newcomers.
    std::string other(model& m, int i, int slot) {
        const bool zombie = (m.w.t[i].flags & TTL_ZOMBIE) != 0;
        switch (pick(20)) {
        case 0: {
            const char how = "dux"[pick(3)];
            m.paced = true;
            m.selector = m.pen(i, how);
            return std::string("p ") + how;
        }
        case 1: {
            const char how = "sbp-"[pick(4)];
            m.paced = true;
            m.selector = m.lines(i, how);
            return std::string("l ") + how;
        }
        case 2: {
            const double a = in(-3, 20);
            m.w.t[i].line_width[0] = a;
            return text("w %.17g", a);
        }
        case 3: {
            const double a = in(-1, 2), b = in(0, 1);
            m.selector = m.colour(i, a, b, 0);
            return text("k %.17g %.17g", a, b);
        }
        case 4: {
            const double a = in(0, 1), b = in(0, 1);
            m.w.background = {a, b, 0};
            m.w.cleared = 1;
            m.paced = true;
            return text("h %.17g %.17g", a, b);
        }
        // The blank between letter and digits takes one of the decoder's 128 steps.
        case 5: {
            const std::string bytes = words(140);
            m.selector = m.print(i, bytes.substr(0, 127));
            m.paced = true;
            return "s " + hex(bytes);
        }
        case 6: {
            const std::string bytes = words(140);
            m.selector = m.name(i, bytes.substr(0, 127));
            return "n " + hex(bytes);
        }
        case 7:
        case 8: {
            const std::string bytes = words(140);
            m.selector = m.broadcast(i, bytes);
            return "u " + bytes;
        }
        case 9: {
            const int team = pick(9) - 2;
            m.join(i, team);
            return text("i %g", team);
        }
        case 10: {
            const double a = in(-10, 80);
            m.selector = zombie ? 1 : 0;
            if (!zombie) m.w.t[i].finder_range = a;
            return text("e %.17g", a);
        }
        case 11: {
            const uint32_t bits = static_cast<uint32_t>(pick(0x200));
            m.w.t[i].event_mask |= bits;
            return text("y + %g", bits);
        }
        case 12: {
            const uint32_t bits = static_cast<uint32_t>(pick(0x200));
            m.w.t[i].event_mask &= ~bits;
            m.w.t[i].event &= ~bits;
            return text("y - %g", bits);
        }
        case 13:
        case 14: {
            const int n = pick(20) == 0 ? 0 : pick(112) - 55;
            const double a = in(-200, 200);
            m.card(n, a, 7);
            return text("z %g %.17g 7", n, a);
        }
        case 15: {
            const int on = pick(2);
            m.fight(on);
            return on != 0 ? "!" : "! u";
        }
        case 16: {
            const char what = "afhr5"[pick(5)];
            m.selector = m.clear(i, slot, what, what == '5' ? 5 : 0);
            m.paced = true;
            return std::string("c ") + what;
        }
        case 17: {
            const char to = "enwsx"[pick(5)];
            m.selector = m.head(i, to);
            m.paced = true;
            return std::string("t ") + to;
        }
        case 18:
            m.selector = m.doughnut(i);
            return "d";
        default:
            m.selector = m.generate(-1, TTL_ROBOT);
            return "r";
        }
    }

    // One random command: its line, and the model's prediction.
    std::string command(model& m, int i, int slot) {
        switch (pick(10)) {
        case 0:
        case 1:
        case 2:
            m.paced = true;
            return motion(m, i);
        case 3:
        case 4:
        case 5:
            return question(m);
        case 6:
            return coin(m, i);
        case 7:
            m.selector = m.fire(i);
            return "x";
        default:
            return other(m, i, slot);
        }
    }

    // The reply's effects: the events are fetched, then the query runs.
    static std::string reply(model& m, int i) {
        turtle_t& t = m.w.t[static_cast<size_t>(i)];
        const uint32_t event = t.event & t.event_mask;
        t.event = 0;
        const bool lives = (t.flags & TTL_ALIVE) != 0;
        const int s = m.selector;
        int status = 0;
        if (s == SEL_POSITION) {
            m.value = lives ? text("%f %f", t.pos[0].x, t.pos[0].y) : "0.000000 0.000000";
            status = lives ? 0 : -1;
        }
        if (s == SEL_DIRECTION) {
            m.value = text("%f", lives ? t.dir : 0);
            status = lives ? 0 : -1;
        }
        if (s == SEL_TEAM) m.value = std::to_string(t.team);
        if (s == SEL_FINDER) m.finder(i);
        if (s >= SEL_RADAR && s < SEL_RADAR + RADAR_RANKS) status = m.radar(i, s - SEL_RADAR);
        if (s == SEL_SONAR) m.sonar(i);
        if (s == SEL_ALIVE) m.value = lives ? "1" : "0";
        if (s == SEL_SCORE) m.value = std::to_string(lives ? t.score : 0);
        if (s == SEL_TIME) m.value = std::to_string(m.w.clock);
        if (s == SEL_N_TURTLE) m.value = std::to_string(m.count(TTL_STONE));
        if (s == SEL_N_COIN) m.value = std::to_string(m.reachable(i).size());
        if (s == SEL_MY_COIN) m.value = std::to_string(t.n_coin);
        if (s == SEL_TEAM_MSG) {
            const teaminfo_t& board = m.w.team[static_cast<size_t>(t.team)];
            m.value = std::to_string(board.message_time) + " " +
                      std::string(board.message, std::find(board.message, board.message + 128, '\0'));
        }
        const int k = s % 100;
        if ((s >= 1001 && s <= 1053) || (s >= 1101 && s <= 1153)) {
            const card_t& c = m.w.card[static_cast<size_t>(k - 1)];
            const bool known = k <= 52;
            if (s < 1100)
                m.value = known && c.flags != 0 ? "1" : "0";
            else
                m.value = text("%f %f", known ? c.x : 0, known ? c.y : 0);
            status = known ? 0 : -1;
        }
        return m.value + (m.value.empty() ? "" : " ") + (s >= 0 && status >= 0 ? "OK" : "ERR") + " @ " +
               std::to_string(m.w.clock) + " " + std::to_string(event) + "\n";
    }

    static void expect_same(const world& want, const world& got) {
        ASSERT_EQ(got.n_turtles, want.n_turtles);
        ASSERT_EQ(got.n_coins, want.n_coins);
        ASSERT_EQ(got.bank, want.bank);
        ASSERT_EQ(got.gone, want.gone);
        ASSERT_EQ(got.battle, want.battle);
        ASSERT_EQ(got.bounded, want.bounded);
        ASSERT_EQ(got.maze, want.maze);
        ASSERT_EQ(got.names, want.names);
        ASSERT_EQ(got.scores, want.scores);
        ASSERT_EQ(got.cleared, want.cleared);
        ASSERT_EQ(got.title, want.title);
        ASSERT_EQ(got.leaving, want.leaving);
        ASSERT_EQ(got.background, want.background);
        ASSERT_EQ(got.stack, want.stack);
        for (size_t k = 0; k < CARD_MAX; ++k) {
            ASSERT_EQ(got.card[k].flags, want.card[k].flags) << k;
            ASSERT_EQ(got.card[k].x, want.card[k].x) << k;
            ASSERT_EQ(got.card[k].y, want.card[k].y) << k;
        }
        for (size_t k = 0; k < TEAM_MAX; ++k) {
            ASSERT_EQ(got.team[k].flags, want.team[k].flags) << k;
            ASSERT_EQ(got.team[k].message_time, want.team[k].message_time) << k;
            ASSERT_EQ(memcmp(got.team[k].message, want.team[k].message, sizeof want.team[k].message), 0) << k;
        }
        for (size_t i = 0; i < TTL_MAX; ++i) {
            const turtle_t &a = want.t[i], &b = got.t[i];
            for (int k = 0; k < TRACK_MAX; ++k) {
                ASSERT_NEAR(b.pos[k].x, a.pos[k].x, 1e-6) << i;
                ASSERT_NEAR(b.pos[k].y, a.pos[k].y, 1e-6) << i;
                ASSERT_EQ(b.color[k].r, a.color[k].r) << i;
                ASSERT_EQ(b.color[k].g, a.color[k].g) << i;
                ASSERT_EQ(b.color[k].b, a.color[k].b) << i;
                ASSERT_EQ(b.line_width[k], a.line_width[k]) << i;
            }
            ASSERT_NEAR(b.dir, a.dir, 1e-6) << i;
            ASSERT_EQ(b.flags, a.flags) << i;
            ASSERT_EQ(b.event, a.event) << i;
            ASSERT_EQ(b.event_mask, a.event_mask) << i;
            ASSERT_EQ(b.client_id, a.client_id) << i;
            ASSERT_EQ(b.team, a.team) << i;
            ASSERT_EQ(b.dying_count, a.dying_count) << i;
            ASSERT_EQ(b.fire_wait, a.fire_wait) << i;
            ASSERT_EQ(b.n_doughnut, a.n_doughnut) << i;
            ASSERT_EQ(b.n_painted, a.n_painted) << i;
            ASSERT_EQ(memcmp(b.name, a.name, sizeof a.name), 0) << i;
            ASSERT_EQ(memcmp(b.message, a.message, sizeof a.message), 0) << i;
            ASSERT_EQ(b.score, a.score) << i;
            ASSERT_EQ(b.n_coin, a.n_coin) << i;
            ASSERT_EQ(b.finder_range, a.finder_range) << i;
            ASSERT_EQ(b.finder_target, a.finder_target) << i;
            ASSERT_EQ(b.radar_target, a.radar_target) << i;
            ASSERT_EQ(b.beam_dir, a.beam_dir) << i;
            ASSERT_NEAR(b.beam_x, a.beam_x, 1e-6) << i;
            ASSERT_NEAR(b.beam_y, a.beam_y, 1e-6) << i;
        }
        for (size_t k = 0; k < COIN_MAX; ++k) {
            ASSERT_EQ(got.coin[k].flags, want.coin[k].flags) << k;
            ASSERT_EQ(got.coin[k].ord, want.coin[k].ord) << k;
            if (!(want.coin[k].flags & ON_FIELD)) continue;
            ASSERT_EQ(got.coin[k].x, want.coin[k].x) << k;
            ASSERT_EQ(got.coin[k].y, want.coin[k].y) << k;
        }
    }

    // Changes that the test makes on its own, so that rare states occur.
    void stir(int i) {
        turtle_t& t = ttl[static_cast<size_t>(i)];
        if (pick(60) == 0) modes.battle_mode = 1 - modes.battle_mode;
        if (pick(60) == 0) modes.bounded_area_mode = 1 - modes.bounded_area_mode;
        if (pick(200) == 0) t.flags ^= TTL_ZOMBIE;
        if (pick(50) == 0) t.event_mask = static_cast<uint32_t>(dice());
        if (pick(20) == 0) t.flags &= ~TTL_FIRING;
        if (pick(20) == 0) t.fire_wait = pick(2);
        if (pick(20) == 0) t.score = pick(3);
        if (pick(20) == 0) teams[static_cast<size_t>(t.team)].flags = TEAM_REFUSES;
        if (pick(20) == 0) signals.elapsed_time = dice() >> pick(60);
        signals.wipe_requested = pick(2) == 0;
        signals.menuitem_need_to_change = 0;
        for (client_t& c : client_tab) {
            c.disconnect_request = 0;
            c.frame_cmd_count = 0;
        }
    }

    void one_frame() {
        stir(pick(ntmax));
        const unsigned stream = static_cast<unsigned>(dice());
        model m{.w = snapshot(), .value = {}};
        srandom(stream);
        m.frame();
        const long next = random();

        SCOPED_TRACE("a frame");
        srandom(stream);
        tick();
        const bool same_stream = random() == next;
        if (m.close_call) return;
        ASSERT_TRUE(same_stream) << "another number of draws";
        expect_same(m.w, snapshot());
        ++frames;
    }

    void one_command() {
        const int i = pick(ntmax);
        stir(i);
        const int slot = ttl[static_cast<size_t>(i)].client_id == 1 ? 1 : 0;
        client_t& client = client_tab[static_cast<size_t>(slot)];
        client.turtle_id = i;

        const unsigned stream = static_cast<unsigned>(dice());
        model m{.w = snapshot(), .value = {}};
        srandom(stream);
        std::string line = command(m, i, slot);
        const std::string expected = reply(m, i);
        const long next = random();
        if (pick(4) == 0) line[0] = static_cast<char>(toupper(line[0]));

        SCOPED_TRACE("turtle " + std::to_string(i) + ": " + line);
        srandom(stream);
        char out[REPLY_MAX];
        const int selector = parse_message_for(slot, line.c_str());
        const int length = format_reply(slot, selector, out);
        const bool same_stream = random() == next;
        ASSERT_EQ(client.frame_cmd_count, m.paced ? 1 : 0);
        if (m.close_call) return;
        ASSERT_TRUE(same_stream) << "another number of draws";
        ASSERT_EQ(selector, m.selector);
        std::string got(out, static_cast<size_t>(length));
        if (m.has_noisy) {
            ASSERT_NEAR(strtod(out, nullptr), m.noisy, 1e-5);
            got = got.substr(got.find(' ') + 1);
        }
        ASSERT_EQ(got, expected);
        expect_same(m.w, snapshot());
        ++compared;
    }
    long compared = 0, frames = 0;
};

double number_from(const char* variable, double otherwise, double most) {
    const char* text = getenv(variable);
    return text != nullptr ? std::clamp(atof(text), 0.1, most) : otherwise;
}

} // namespace

TEST_F(Model, plain_computation_predicts_every_random_command_and_frame) {
    const double seconds = number_from("KELMORA_MODEL_SECONDS", 3.0, 3600.0);
    const unsigned first = static_cast<unsigned>(number_from("KELMORA_MODEL_SEED", 1, 1e9));
    const auto start = std::chrono::steady_clock::now();
    auto spent = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); };
    long tried = 0;
    unsigned seed = first;
    for (; spent() < seconds; ++seed) {
        furnish(seed);
        SCOPED_TRACE("seed " + std::to_string(seed));
        for (int k = 0; k < 500 && spent() < seconds; ++k) {
            ++tried;
            if (pick(4) == 0)
                one_frame();
            else
                one_command();
            if (HasFatalFailure()) return;
            ASSERT_STREQ(first_broken_invariant(), nullptr) << "step " << k;
        }
    }
    printf("seeds %u to %u: %ld commands and %ld frames compared, %ld close calls\n", first, seed - 1, compared, frames,
           tried - compared - frames);
    EXPECT_GT(tried, 100);
    EXPECT_GT(compared + frames, tried / 2); // close calls are rare
}
