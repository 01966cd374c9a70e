// The rules a second time: a deliberately plain computation of motion, walls, bodies, sensors, coins, firing and
// events, written on its own and by other formulas, predicts the whole field after each of many random commands.
// Bounded in time; KELMORA_MODEL_SECONDS=N runs it longer. A failure names its seed and its command.
// What lies within rounding of a limit is not compared: the exact limits have tests of their own.

#include "geometry/furnish.h"
#include "net/command.h"
#include "net/reply.h"
#include "support.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <vector>

namespace {

constexpr double HAIR = 1e-7; // nearer than this to a limit, either outcome is right

struct world {
    std::array<turtle_t, TTL_MAX> t;
    std::array<coin_t, COIN_MAX> coin;
    int n_turtles, n_coins, bank;
};

world snapshot() { return {ttl, coins, ntmax, ncoin, stock_of_coin}; }

struct model {
    world w;
    bool close_call = false;
    int selector = 0;
    std::string value; // expected value text
    double noisy = 0;  // the radar's angle, compared as a number
    bool has_noisy = false;

    bool below(double a, double b) { // a < b, noting a close call
        if (std::abs(a - b) < HAIR) close_call = true;
        return a < b;
    }

    // Travel of a disc of 10 to a face: by its distance from the wall's line, else to an end by the offset beside it.
    double to_face(double px, double py, double degrees, const wall_t& f) {
        const double vx = std::cos(degrees * M_PI / 180), vy = std::sin(degrees * M_PI / 180);
        const double n = std::hypot(f.nx, f.ny), nx = f.nx / n, ny = f.ny / n;
        const double approach = -(nx * vx + ny * vy);
        if (std::abs(approach) < 1e-12) return FLT_MAX; // along the face
        if (approach <= 0) return FLT_MAX;
        const double height = (px - f.x1) * nx + (py - f.y1) * ny;
        const double travel = (height - 10) / approach;
        const double tx = px + travel * vx - 10 * nx, ty = py + travel * vy - 10 * ny;
        const double length = std::hypot(f.x2 - f.x1, f.y2 - f.y1);
        const double along = ((tx - f.x1) * (f.x2 - f.x1) + (ty - f.y1) * (f.y2 - f.y1)) / length;
        if (below(0, height) && !below(along, 0) && !below(length, along)) return travel;
        double best = FLT_MAX;
        const double ends[2][2] = {{f.x1, f.y1}, {f.x2, f.y2}};
        for (const auto& e : ends) {
            const double ahead = (e[0] - px) * vx + (e[1] - py) * vy;
            const double beside = std::abs((e[0] - px) * vy - (e[1] - py) * vx);
            if (!below(beside, 10)) continue;
            const double half_chord = std::sqrt(100 - beside * beside);
            const double in = ahead - half_chord, out = ahead + half_chord;
            if (below(0, in))
                best = std::min(best, in);
            else if (below(0, out))
                best = std::min(best, out);
        }
        return best;
    }
    // Collisions look only at walls that a step of `reach` could touch: a face whose line the disc overlaps beyond the
    // wall's end counts for the sensors but not for motion.
    double to_any_face(int i, double degrees, double reach = FLT_MAX) {
        const point_t p = w.t[i].pos[0];
        double best = FLT_MAX;
        for (int k = 0; k < nwall; ++k) {
            const wall_t& f = walls[k];
            const double half = std::hypot(f.x2 - f.x1, f.y2 - f.y1) / 2;
            if (!below(std::hypot(p.x - (f.x1 + f.x2) / 2, p.y - (f.y1 + f.y2) / 2), reach + half + 10)) continue;
            best = std::min(best, to_face(p.x, p.y, degrees, f));
        }
        return best;
    }

    // 0 free, 1 turtle, 2 doughnut, 3 stone.
    int body(int i, double degrees, double step, double& allowed, int& other) {
        const double sign = step < 0 ? -1 : 1;
        const double vx = sign * std::cos(degrees * M_PI / 180), vy = sign * std::sin(degrees * M_PI / 180);
        const bool no_direction = std::abs(step) < std::sqrt(1e-5);
        double nearest = FLT_MAX, contact = 0;
        other = -1;
        for (int k = 0; k < w.n_turtles; ++k) {
            if (k == i || !(w.t[k].flags & 1)) continue;
            const double qx = w.t[k].pos[0].x - w.t[i].pos[0].x, qy = w.t[k].pos[0].y - w.t[i].pos[0].y;
            double ahead = qx * vx + qy * vy, beside = std::abs(qx * vy - qy * vx);
            if (no_direction) {
                ahead = 0;
                beside = std::hypot(qx, qy);
            } else if (below(ahead, 0))
                continue;
            if (below(20, beside)) continue;
            if (nearest < FLT_MAX && !no_direction && std::abs(ahead - nearest) < HAIR) close_call = true;
            if (ahead >= nearest) continue;
            nearest = ahead;
            contact = ahead - std::sqrt(std::max(0.0, 400 - beside * beside));
            other = k;
        }
        allowed = step;
        if (other < 0) return 0;
        if (!no_direction && !below(contact, 0) && below(std::abs(step), contact)) return 0;
        allowed = contact;
        const uint32_t f = w.t[other].flags;
        return f & 0x400 ? 3 : f & 0x800 ? 2 : 1;
    }

    static void shift(turtle_t& t) {
        for (int k = 6; k >= 1; --k) {
            t.pos[k] = t.pos[k - 1];
            t.color[k] = t.color[k - 1];
            t.line_width[k] = t.line_width[k - 1];
        }
        t.flags &= ~0x1000u;
    }
    static void once(turtle_t& t, uint32_t latch, uint32_t event) {
        if (!(t.flags & latch)) t.event |= event;
        t.flags |= latch;
    }

    int step(int i, double d) {
        turtle_t& t = w.t[i];
        if (t.flags & 0xD00) return -1;
        if (battle_mode) {
            if (t.score < 1) return -1;
            d = d > 2 ? 2 : d < -2 ? -2 : d;
        }
        double allowed;
        int other;
        const int code = body(i, t.dir, d, allowed, other);
        if (code > 0) {
            once(t, 0x8000u << code, 1u << code);
            return -1;
        }
        t.flags &= ~0x70000u;
        if (bounded_area_mode) {
            if (below(to_any_face(i, d < 0 ? t.dir + 180 : t.dir, std::abs(d)), std::abs(d))) {
                once(t, 0x80000, 0x10);
                return -1;
            }
            t.flags &= ~0x80000u;
        }
        shift(t);
        t.pos[0].x = t.pos[1].x + d * std::cos(t.dir * M_PI / 180);
        t.pos[0].y = t.pos[1].y + d * std::sin(t.dir * M_PI / 180);
        return 0;
    }

    int jump(int i, double x, double y) {
        turtle_t& t = w.t[i];
        if (battle_mode || t.flags & 0x100) return -1;
        for (int k = 0; k < w.n_turtles; ++k)
            if (k != i && w.t[k].flags & 1 &&
                below(std::hypot(w.t[k].pos[0].x - t.pos[0].x, w.t[k].pos[0].y - t.pos[0].y), 20))
                return -1;
        if (bounded_area_mode) {
            if (std::max(std::abs(x), std::abs(y)) > 256) return -1;
            for (int k = 0; k < nwall; ++k) {
                const wall_t& f = walls[k]; // all walls of this field are upright or level
                const double gx = std::max({std::min(f.x1, f.x2) - x, 0.0, x - std::max(f.x1, f.x2)});
                const double gy = std::max({std::min(f.y1, f.y2) - y, 0.0, y - std::max(f.y1, f.y2)});
                if (below(std::hypot(gx, gy), 10)) return -1;
            }
        }
        shift(t);
        t.pos[0] = {x, y};
        return 0;
    }

    int turn(int i, double a) {
        turtle_t& t = w.t[i];
        if (battle_mode && t.score < 1) return -1;
        if (battle_mode) a = a > 3 ? 3 : a < -3 ? -3 : a;
        if (t.flags & 0x100) return -1;
        if (a != 0) t.flags &= ~0xF0000u;
        t.dir += a;
        return 0;
    }

    void finder(int i) {
        turtle_t& t = w.t[i];
        t.event &= ~0x40u;
        double allowed;
        int other, code = 0, team = 0;
        const double range = t.finder_range;
        const int hit = body(i, t.dir, range, allowed, other);
        const double wall = bounded_area_mode ? to_any_face(i, range < 0 ? t.dir + 180 : t.dir) : FLT_MAX;
        if (hit == 0 && below(range, wall))
            code = 0;
        else if (below(allowed, wall)) {
            code = hit;
            if (other >= 0) {
                w.t[other].event |= 0x40;
                t.finder_target = other;
                team = w.t[other].team;
            }
        } else
            code = 4;
        value = std::to_string(code) + " " + std::to_string(team);
    }

    void sonar(int i) {
        for (const double off : {45.0, 0.0, -45.0}) {
            double allowed;
            int other;
            const bool near = body(i, w.t[i].dir + off, 20, allowed, other) != 0;
            const bool wall = below(to_any_face(i, w.t[i].dir + off), 10);
            value += std::string(value.empty() ? "" : " ") + (near || wall ? "1" : "0");
        }
    }

    int radar(int i, int rank) {
        turtle_t& t = w.t[i];
        t.event &= ~0x80u;
        std::vector<std::pair<double, int>> seen;
        for (int k = 0; k < w.n_turtles; ++k) {
            if (k == i || !(w.t[k].flags & 1)) continue;
            const double dx = w.t[k].pos[0].x - t.pos[0].x, dy = w.t[k].pos[0].y - t.pos[0].y;
            seen.emplace_back(dx * dx + dy * dy, k);
        }
        std::sort(seen.begin(), seen.end()); // equal distances: lower index first
        int team = 0, status = -1;
        double relative = 0;
        if (rank < static_cast<int>(seen.size())) {
            turtle_t& o = w.t[static_cast<size_t>(seen[static_cast<size_t>(rank)].second)];
            team = o.team;
            o.event |= 0x80;
            t.radar_target = seen[static_cast<size_t>(rank)].second;
            status = 0;
            relative =
                std::remainder(std::atan2(o.pos[0].y - t.pos[0].y, o.pos[0].x - t.pos[0].x) * 180 / M_PI - t.dir, 360);
            if (180 - std::abs(relative) < HAIR) close_call = true;
        }
        noisy = relative + (replay() - 0.5) * 40;
        has_noisy = true;
        value = std::to_string(team);
        return status;
    }

    // Coins nearer than 20, nearest first; coins in one place in the order in which they were laid.
    std::vector<int> reachable(int i) {
        std::vector<int> found;
        const point_t p = w.t[i].pos[0];
        auto d2 = [&](int k) {
            return (w.coin[k].x - p.x) * (w.coin[k].x - p.x) + (w.coin[k].y - p.y) * (w.coin[k].y - p.y);
        };
        for (int k = 0; k < COIN_MAX; ++k)
            if (w.coin[k].flags & ON_FIELD && below(d2(k), 400)) found.push_back(k);
        std::sort(found.begin(), found.end(),
                  [&](int a, int b) { return d2(a) != d2(b) ? d2(a) < d2(b) : w.coin[a].ord < w.coin[b].ord; });
        return found;
    }
    int lying() const {
        return static_cast<int>(
            std::count_if(w.coin.begin(), w.coin.end(), [](const coin_t& c) { return (c.flags & ON_FIELD) != 0; }));
    }
    void lay(int k, double x, double y) {
        const int rank = lying(); // ranks are dense
        w.coin[k].x = x;
        w.coin[k].y = y;
        w.coin[k].ord = rank;
        w.coin[k].flags |= ON_FIELD;
        w.n_coins = std::max(w.n_coins, k + 1);
    }
    int empty_slot() const {
        for (int k = 0; k < COIN_MAX; ++k)
            if (!(w.coin[k].flags & ON_FIELD)) return k;
        return -1;
    }
    int drop(int i) {
        const int slot = empty_slot();
        if (w.t[i].n_coin < 1 || slot < 0) return -1;
        lay(slot, w.t[i].pos[0].x, w.t[i].pos[0].y);
        --w.t[i].n_coin;
        return 0;
    }
    int pick(int i) {
        const std::vector<int> found = reachable(i);
        if (found.empty()) return 0;
        coin_t& c = w.coin[found[0]];
        for (coin_t& o : w.coin)
            if (o.flags & ON_FIELD && o.ord > c.ord) --o.ord;
        c.ord = -1;
        c.flags &= ~ON_FIELD;
        ++w.t[i].n_coin;
        return 0;
    }
    int borrow(int i) {
        if (w.bank < 10) return -1;
        w.bank -= 10;
        w.t[i].n_coin += 10;
        return 0;
    }
    int scatter() {
        if (w.bank < 1) return -1;
        const int slot = empty_slot();
        if (slot < 0) return 0;
        const double x = (replay() - 0.5) * 492.0, y = (replay() - 0.5) * 492.0;
        lay(slot, x, y);
        --w.bank;
        return 0;
    }
    int fire(int i) {
        turtle_t& t = w.t[i];
        if (!(t.flags & 1) || t.flags & 0x100 || t.score < 1) return -1;
        if (t.flags & 0x80 || t.fire_wait != 0) return 0;
        t.beam_dir = t.dir;
        t.beam_x = t.pos[0].x;
        t.beam_y = t.pos[0].y;
        t.flags |= 0x80;
        --t.score;
        return 0;
    }
};

struct Model : FieldTest {
    std::mt19937_64 dice;
    double in(double a, double b) { return std::uniform_real_distribution<double>(a, b)(dice); }
    int pick(int n) { return static_cast<int>(dice() % static_cast<uint64_t>(n)); }

    static std::string text(const char* format, double a, double b = 0) {
        char line[128];
        snprintf(line, sizeof line, format, a, b);
        return line;
    }

    void furnish(unsigned seed) {
        reset_tables(seed);
        dice.seed(seed);
        reset_wall();
        if (seed % 3 == 0)
            for (int k = 0; k < 40; ++k) {
                const bool upright = pick(2) == 0;
                gen_wall(1 + pick(15), 1 + pick(15), upright ? 0 : 1, upright ? 1 : 0);
            }
        const int n = 2 + pick(12);
        for (int i = 0; i < n; ++i) {
            const int kind = pick(6);
            if (kind == 0 && i > 0)
                put_object(i, TTL_STONE, in(-120, 120), in(-120, 120));
            else if (kind == 1 && i > 0)
                put_object(i, TTL_DOUGHNUT, in(-120, 120), in(-120, 120));
            else
                put_turtle(i, in(-120, 120), in(-120, 120), in(-400, 400));
            ttl[static_cast<size_t>(i)].team = pick(5);
        }
        client_tab[0].sockfd = 1000;
    }

    // One random command: its line, and what the model makes of it.
    std::string command(model& m, int i) {
        double a, b;
        switch (pick(20)) {
        case 0:
        case 1:
        case 2:
        case 3:
            a = pick(10) == 0 ? 0.0 : in(-25, 40);
            m.selector = m.step(i, a);
            return text("f %.17g", a);
        case 4:
            a = in(-25, 25);
            m.selector = m.step(i, -a);
            return text("b %.17g", a);
        case 5:
        case 6:
            a = pick(10) == 0 ? 0.0 : in(-120, 120);
            m.selector = m.turn(i, a);
            return text("t l %.17g", a);
        case 7:
            a = in(-20, 20);
            m.selector = m.turn(i, -a);
            return text("t r %.17g", a);
        case 8:
            a = in(-300, 300), b = in(-300, 300);
            m.selector = m.jump(i, a, b);
            return text("j %.17g %.17g", a, b);
        case 9:
            a = in(-60, 60), b = in(-60, 60);
            m.selector = m.jump(i, m.w.t[i].pos[0].x + a, m.w.t[i].pos[0].y + b);
            return text("g %.17g %.17g", a, b);
        case 10:
            a = in(-10, 80);
            m.selector = m.w.t[i].flags & 0x100 ? 1 : 0;
            if (m.selector == 0) m.w.t[i].finder_range = a;
            return text("e %.17g", a);
        case 11:
        case 12:
            m.selector = SEL_FINDER;
            return "q f";
        case 13:
            m.selector = SEL_SONAR;
            return "q w";
        case 14: {
            const int rank = pick(5);
            m.selector = SEL_RADAR + rank;
            return text("q r %g", rank + 1);
        }
        case 15:
            m.selector = m.drop(i);
            return "o s";
        case 16:
            m.selector = m.pick(i);
            return "o";
        case 17:
            if (pick(2) == 0) {
                m.selector = m.borrow(i);
                return "o b";
            }
            m.selector = m.scatter();
            return "o x";
        case 18:
            m.selector = SEL_N_COIN;
            return "q c";
        default:
            m.selector = m.fire(i);
            return "x";
        }
    }

    // What the reply does: the events go out, then the query runs.
    static std::string reply(model& m, int i) {
        turtle_t& t = m.w.t[static_cast<size_t>(i)];
        const uint32_t event = t.event & t.event_mask;
        t.event = 0;
        int status = 0;
        if (m.selector == SEL_POSITION) m.value = text("%f %f", t.pos[0].x, t.pos[0].y);
        if (m.selector == SEL_FINDER) m.finder(i);
        if (m.selector == SEL_SONAR) m.sonar(i);
        if (m.selector >= SEL_RADAR && m.selector < SEL_RADAR + 5) status = m.radar(i, m.selector - SEL_RADAR);
        if (m.selector == SEL_N_COIN) m.value = std::to_string(m.reachable(i).size());
        return m.value + (m.value.empty() ? "" : " ") + (m.selector >= 0 && status >= 0 ? "OK" : "ERR") + " @ 0 " +
               std::to_string(event) + "\n";
    }

    static void expect_same(const world& want, const world& got) {
        ASSERT_EQ(got.n_turtles, want.n_turtles);
        ASSERT_EQ(got.n_coins, want.n_coins);
        ASSERT_EQ(got.bank, want.bank);
        for (size_t i = 0; i < TTL_MAX; ++i) {
            const turtle_t &a = want.t[i], &b = got.t[i];
            for (int k = 0; k < TRACK_MAX; ++k) {
                ASSERT_NEAR(b.pos[k].x, a.pos[k].x, 1e-6) << i;
                ASSERT_NEAR(b.pos[k].y, a.pos[k].y, 1e-6) << i;
            }
            ASSERT_NEAR(b.dir, a.dir, 1e-6) << i;
            ASSERT_EQ(b.flags, a.flags) << i;
            ASSERT_EQ(b.event, a.event) << i;
            ASSERT_EQ(b.score, a.score) << i;
            ASSERT_EQ(b.n_coin, a.n_coin) << i;
            ASSERT_EQ(b.finder_range, a.finder_range) << i;
            ASSERT_EQ(b.finder_target, a.finder_target) << i;
            ASSERT_EQ(b.radar_target, a.radar_target) << i;
            ASSERT_EQ(b.beam_dir, a.beam_dir) << i;
            ASSERT_EQ(b.beam_x, a.beam_x) << i;
            ASSERT_EQ(b.beam_y, a.beam_y) << i;
        }
        for (size_t k = 0; k < COIN_MAX; ++k) {
            ASSERT_EQ(got.coin[k].flags, want.coin[k].flags) << k;
            ASSERT_EQ(got.coin[k].ord, want.coin[k].ord) << k;
            if (!(want.coin[k].flags & ON_FIELD)) continue;
            ASSERT_EQ(got.coin[k].x, want.coin[k].x) << k;
            ASSERT_EQ(got.coin[k].y, want.coin[k].y) << k;
        }
    }

    void one_command() {
        battle_mode = pick(60) == 0 ? 1 - battle_mode : battle_mode.load();
        if (pick(60) == 0) bounded_area_mode = 1 - bounded_area_mode;
        const int i = pick(ntmax);
        turtle_t& t = ttl[static_cast<size_t>(i)];
        if (pick(200) == 0) t.flags ^= TTL_ZOMBIE;
        if (pick(50) == 0) t.event_mask = static_cast<uint32_t>(dice());
        if (pick(20) == 0) t.flags &= ~TTL_FIRING;
        if (pick(20) == 0) t.fire_wait = pick(2);
        if (pick(20) == 0) t.score = pick(3);
        client_tab[0].turtle_id = i;

        const unsigned stream = static_cast<unsigned>(dice());
        model m{.w = snapshot(), .value = {}};
        srandom(stream);
        const std::string line = command(m, i);
        const std::string expected = reply(m, i);
        const long next = random();

        SCOPED_TRACE("turtle " + std::to_string(i) + ": " + line);
        srandom(stream);
        char out[REPLY_MAX];
        const int selector = parse_message_for(0, line.c_str());
        const int length = format_reply(0, selector, out);
        const bool same_stream = random() == next;
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
    long compared = 0;
};

} // namespace

TEST_F(Model, plain_computation_predicts_every_random_command) {
    const char* wanted = getenv("KELMORA_MODEL_SECONDS");
    const double seconds = wanted != nullptr ? std::clamp(atof(wanted), 0.1, 3600.0) : 1.5;
    const auto start = std::chrono::steady_clock::now();
    auto spent = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); };
    long tried = 0;
    for (unsigned seed = 1; spent() < seconds; ++seed) {
        furnish(seed);
        SCOPED_TRACE("seed " + std::to_string(seed));
        for (int k = 0; k < 500 && spent() < seconds; ++k) {
            ++tried;
            one_command();
            if (HasFatalFailure()) return;
        }
    }
    RecordProperty("commands", std::to_string(compared));
    EXPECT_GT(tried, 100);
    EXPECT_GT(compared, tried / 2); // close calls are rare
}
