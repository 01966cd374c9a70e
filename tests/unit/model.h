// The rules computed a second time, independently and by other formulas: what a command and a frame do to the field.
// Works on a copy of the tables and draws from the same random stream by `replay`. Values within rounding of a limit
// are counted as close calls, which the test does not compare; the exact limits have tests of their own.
#pragma once

#include "field/kinds.h"
#include "net/command.h"
#include "support.h"

#include <algorithm>
#include <cfloat>
#include <string>
#include <vector>

inline constexpr double HAIR = 1e-7; // nearer than this to a limit, either outcome is right

struct world {
    std::array<turtle_t, TTL_MAX> t;
    std::array<coin_t, COIN_MAX> coin;
    std::array<card_t, CARD_MAX> card;
    std::array<int32_t, CARD_MAX> stack;
    std::array<teaminfo_t, TEAM_MAX> team;
    std::array<double, 3> background;
    int n_turtles, n_coins, bank, gone;
    int battle, bounded, maze, names, scores, cleared, title;
    uint64_t clock;
    uint32_t leaving; // bit k: client slot k is asked to leave
};

inline world snapshot() {
    world w{.t = ttl,
            .coin = coins,
            .card = cards,
            .stack = card_list,
            .team = teams,
            .background = {bgcol[0], bgcol[1], bgcol[2]},
            .n_turtles = ntmax,
            .n_coins = ncoin,
            .bank = stock_of_coin,
            .gone = coins_gone,
            .battle = modes.battle_mode,
            .bounded = modes.bounded_area_mode,
            .maze = modes.maze_mode,
            .names = modes.disp_name,
            .scores = modes.disp_score,
            .cleared = signals.wipe_requested,
            .title = signals.menuitem_need_to_change,
            .clock = signals.elapsed_time,
            .leaving = 0};
    for (int k = 0; k < MAX_CLIENT; ++k)
        if (client_tab[k].disconnect_request != 0) w.leaving |= 1u << k;
    return w;
}

struct model {
    world w;
    bool close_call = false;
    int selector = 0;
    bool paced = false;
    std::string value; // expected value text
    double noisy = 0;  // the radar's angle, compared as a number
    bool has_noisy = false;

    bool below(double a, double b) { // a < b; counts a close call
        if (std::abs(a - b) < HAIR) close_call = true;
        return a < b;
    }

    // Travel of a disc of 10 to a face: by its distance from the wall's line, else to an end by the offset beside it.
    double to_face(double px, double py, double degrees, const wall_t& f) {
        const double vx = std::cos(degrees * M_PI / 180), vy = std::sin(degrees * M_PI / 180);
        const double n = std::hypot(f.nx, f.ny), nx = f.nx / n, ny = f.ny / n;
        const double approach = -(nx * vx + ny * vy);
        if (std::abs(approach) < 1e-12) { // along the face, but for a rounding of the sine
            if (approach > 0) close_call = true;
            return FLT_MAX;
        }
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
    // Motion looks only at walls that a step of `reach` could touch: a face whose line the disc overlaps beyond the
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

    // This field's walls are vertical or horizontal, so this is the distance to a box without width.
    static double to_nearest_wall(double x, double y) {
        double best = FLT_MAX;
        for (int k = 0; k < nwall; ++k) {
            const wall_t& f = walls[static_cast<size_t>(k)];
            const double gx = std::max({std::min(f.x1, f.x2) - x, 0.0, x - std::max(f.x1, f.x2)});
            const double gy = std::max({std::min(f.y1, f.y2) - y, 0.0, y - std::max(f.y1, f.y2)});
            best = std::min(best, std::hypot(gx, gy));
        }
        return best;
    }
    double to_nearest_body(double x, double y) const {
        double best = FLT_MAX;
        for (int k = 0; k < w.n_turtles; ++k)
            if (w.t[k].flags & TTL_ALIVE) best = std::min(best, std::hypot(w.t[k].pos[0].x - x, w.t[k].pos[0].y - y));
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
            if (k == i || !(w.t[k].flags & TTL_ALIVE)) continue;
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
        return f & TTL_STONE ? 3 : f & TTL_DOUGHNUT ? 2 : 1;
    }

    static void shift(turtle_t& t) {
        for (int k = 6; k >= 1; --k) {
            t.pos[k] = t.pos[k - 1];
            t.color[k] = t.color[k - 1];
            t.line_width[k] = t.line_width[k - 1];
        }
        t.flags &= ~TTL_SEG_PAINTED;
    }
    static void once(turtle_t& t, uint32_t latch, uint32_t event) {
        if (!(t.flags & latch)) t.event |= event;
        t.flags |= latch;
    }

    int step(int i, double d) {
        turtle_t& t = w.t[i];
        if (t.flags & (TTL_ZOMBIE | TTL_OBJECT)) return -1;
        if (w.battle) {
            if (t.score < 1) return -1;
            d = d > 2 ? 2 : d < -2 ? -2 : d;
        }
        double allowed;
        int other;
        const int code = body(i, t.dir, d, allowed, other);
        if (code > 0) {
            once(t, TTL_LATCH_TURTLE << (code - 1), EVENT_TURTLE << (code - 1));
            return -1;
        }
        t.flags &= ~TTL_LATCH_OBJECTS;
        if (w.bounded) {
            if (below(to_any_face(i, d < 0 ? t.dir + 180 : t.dir, std::abs(d)), std::abs(d))) {
                once(t, TTL_LATCH_WALL, EVENT_WALL);
                return -1;
            }
            t.flags &= ~TTL_LATCH_WALL;
        }
        shift(t);
        t.pos[0].x = t.pos[1].x + d * std::cos(t.dir * M_PI / 180);
        t.pos[0].y = t.pos[1].y + d * std::sin(t.dir * M_PI / 180);
        return 0;
    }

    int jump(int i, double x, double y) {
        turtle_t& t = w.t[i];
        if (w.battle || t.flags & TTL_ZOMBIE) return -1;
        for (int k = 0; k < w.n_turtles; ++k)
            if (k != i && w.t[k].flags & TTL_ALIVE &&
                below(std::hypot(w.t[k].pos[0].x - t.pos[0].x, w.t[k].pos[0].y - t.pos[0].y), 20))
                return -1;
        if (w.bounded) {
            if (std::max(std::abs(x), std::abs(y)) > 256) return -1;
            if (below(to_nearest_wall(x, y), 10)) return -1;
        }
        shift(t);
        t.pos[0] = {x, y};
        return 0;
    }

    int turn(int i, double a) {
        turtle_t& t = w.t[i];
        if (w.battle && t.score < 1) return -1;
        if (w.battle) a = a > 3 ? 3 : a < -3 ? -3 : a;
        if (t.flags & TTL_ZOMBIE) return -1;
        if (a != 0) t.flags &= ~(TTL_LATCH_OBJECTS | TTL_LATCH_WALL);
        t.dir += a;
        return 0;
    }

    void finder(int i) {
        turtle_t& t = w.t[i];
        t.event &= ~EVENT_FOUND;
        double allowed;
        int other, code = 0, team = 0;
        const double range = t.finder_range;
        const int hit = body(i, t.dir, range, allowed, other);
        const double wall = w.bounded ? to_any_face(i, range < 0 ? t.dir + 180 : t.dir) : FLT_MAX;
        if (hit == 0 && below(range, wall))
            code = 0;
        else if (below(allowed, wall)) {
            code = hit;
            if (other >= 0) {
                w.t[other].event |= EVENT_FOUND;
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
        t.event &= ~EVENT_SEEN;
        std::vector<std::pair<double, int>> seen;
        for (int k = 0; k < w.n_turtles; ++k) {
            if (k == i || !(w.t[k].flags & TTL_ALIVE)) continue;
            const double dx = w.t[k].pos[0].x - t.pos[0].x, dy = w.t[k].pos[0].y - t.pos[0].y;
            seen.emplace_back(dx * dx + dy * dy, k);
        }
        std::sort(seen.begin(), seen.end()); // equal distances: lower index first
        int team = 0, status = -1;
        double relative = 0;
        if (rank < static_cast<int>(seen.size())) {
            turtle_t& o = w.t[static_cast<size_t>(seen[static_cast<size_t>(rank)].second)];
            team = o.team;
            o.event |= EVENT_SEEN;
            t.radar_target = seen[static_cast<size_t>(rank)].second;
            status = 0;
            relative =
                std::remainder(std::atan2(o.pos[0].y - t.pos[0].y, o.pos[0].x - t.pos[0].x) * 180 / M_PI - t.dir, 360);
            if (180 - std::abs(relative) < HAIR) close_call = true;
        }
        if (!(t.flags & TTL_ALIVE)) {
            value = "0.000000 " + std::to_string(team);
            return -1;
        }
        noisy = relative + (replay() - 0.5) * 40;
        has_noisy = true;
        value = std::to_string(team);
        return status;
    }

    // Coins nearer than 20, nearest first; coins in one place in the order of placement.
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
        if (!(t.flags & TTL_ALIVE) || t.flags & TTL_ZOMBIE || t.score < 1) return -1;
        if (t.flags & TTL_FIRING || t.fire_wait != 0) return 0;
        t.beam_dir = t.dir;
        t.beam_x = t.pos[0].x;
        t.beam_y = t.pos[0].y;
        t.flags |= TTL_FIRING;
        --t.score;
        return 0;
    }

    // Life and place.

    void fresh(int i, int client, double x, double y, double dir) {
        turtle_t& t = w.t[i];
        w.gone += t.n_coin;
        const turtle_t old = t;
        t = {};
        t.beam_dir = old.beam_dir;
        t.beam_x = old.beam_x;
        t.beam_y = old.beam_y;
        t.client_id = client;
        t.dir = dir;
        for (int k = 0; k < 7; ++k) {
            t.pos[k] = {x, y};
            t.color[k] = {1, 0, 0};
            t.line_width[k] = 1;
        }
        t.score = 100;
        t.finder_range = 20;
        t.flags = client < 0 ? TTL_ALIVE | TTL_ROBOT : TTL_ALIVE;
        t.event_mask = 0xFFFFFFFF;
        t.radar_target = t.finder_target = -1;
    }
    int generate(int client, uint32_t extra) {
        int slot = 0;
        while (slot < 30 && w.t[slot].flags & TTL_ALIVE) ++slot;
        if (slot == 30) return -1;
        const bool corner = w.maze && !(extra & TTL_DOUGHNUT);
        const double room = corner ? 10 : 20;
        for (int draw = 1; draw <= 21; ++draw) {
            const double first = replay(), second = replay();
            const double x = corner ? -256 + first * 32 : (first - 0.5) * 491;
            const double y = corner ? -256 + second * 32 : (second - 0.5) * 491;
            const double body = to_nearest_body(x, y), wall = to_nearest_wall(x, y);
            if (below(body, room) || below(wall, room)) continue;
            if (draw == 21) return -1;
            fresh(slot, client, x, y, corner ? 0 : (replay() - 0.5) * 180);
            w.t[slot].flags |= extra;
            w.n_turtles = std::max(w.n_turtles, slot + 1);
            return slot;
        }
        return -1;
    }
    int doughnut(int i) {
        if (w.t[i].n_doughnut >= 10 || generate(-1, TTL_DOUGHNUT) < 0) return -1;
        ++w.t[i].n_doughnut;
        return 0;
    }
    // "c" and its sub-letters: always ends in a step, by the number in the second word.
    int clear(int i, int slot, char what, double number) {
        turtle_t& t = w.t[i];
        if (what == 'a')
            for (int k = 0; k < w.n_turtles; ++k)
                if (w.t[k].flags & TTL_ZOMBIE) w.t[k].flags = 0;
        if (what == 'a' || what == 'f')
            w.cleared = 1;
        else if (what == 'h') {
            if (!w.battle && !(t.flags & TTL_ZOMBIE)) {
                for (int k = 0; k < 6; ++k) t.pos[k] = {0, 0};
                t.dir = 0;
            }
        } else if (!w.battle && !(t.flags & TTL_ZOMBIE) && t.client_id == slot)
            fresh(i, slot, 0, 0, 0);
        return step(i, number);
    }
    int head(int i, char to) {
        const std::string order = "enws";
        if (order.find(to) == std::string::npos) return -1;
        if (w.battle || w.t[i].flags & TTL_ZOMBIE) return 1;
        w.t[i].dir = to == 'e' ? 0 : to == 'n' ? 90 : to == 'w' ? 180 : -90;
        return 0;
    }

    // Pen, texts, teams.

    int pen(int i, char how) {
        turtle_t& t = w.t[i];
        if (how == 'd') {
            t.flags |= TTL_PEN_DOWN;
            t.n_painted = 0;
            for (int k = 1; k < 7; ++k) {
                t.pos[k] = t.pos[0];
                t.color[k] = t.color[0];
                t.line_width[k] = t.line_width[0];
            }
        } else if (how == 'u' && t.flags & TTL_PEN_DOWN)
            t.flags = (t.flags & ~TTL_PEN_DOWN) | TTL_PEN_LIFTED;
        return 0;
    }
    int lines(int i, char how) {
        uint32_t& f = w.t[i].flags;
        f &= ~(TTL_BRUSH | TTL_FILL_POLY | TTL_POINT_MODE);
        f |= how == 's' ? TTL_FILL_POLY : how == 'b' ? TTL_BRUSH : how == 'p' ? TTL_POINT_MODE : 0;
        return 0;
    }
    int colour(int i, double r, double g, double b) {
        if (w.t[i].flags & TTL_ZOMBIE) return -1;
        w.t[i].color[0] = {r, g, b};
        return 0;
    }
    // 128 bytes of the text, the rest of them zero.
    static void fill(char* field, const std::string& text) {
        for (size_t k = 0; k < 128; ++k) field[k] = k < text.size() ? text[k] : '\0';
    }
    int print(int i, const std::string& text) {
        if (w.t[i].flags & TTL_ZOMBIE || text.size() >= 128) return -1;
        fill(w.t[i].message, text);
        return 0;
    }
    int name(int i, const std::string& text) {
        if (w.t[i].flags & TTL_ZOMBIE) return 1;
        fill(w.t[i].name, text);
        return 0;
    }
    int broadcast(int i, const std::string& text) {
        teaminfo_t& board = w.team[w.t[i].team];
        if (board.flags & TEAM_REFUSES) return -1;
        fill(board.message, text);
        board.message_time = static_cast<uint32_t>(w.clock);
        for (int k = 0; k < w.n_turtles; ++k)
            if (k != i && w.t[k].flags & TTL_ALIVE && w.t[k].team == w.t[i].team) w.t[k].event |= EVENT_MESSAGE;
        return 0;
    }
    void join(int i, int team) {
        if (!(w.t[i].flags & TTL_ZOMBIE) && team >= 1 && team <= 4) w.t[i].team = team;
    }

    // Cards and modes.

    void card(int n, double x, double y) {
        if (n == 0)
            for (int k = 0; k < 53; ++k) {
                w.card[k].flags = 0;
                w.stack[k] = k;
            }
        if (n <= -1 && n >= -53) w.card[-n - 1].flags = 0;
        if (n < 1 || n > 53) return;
        w.card[n - 1].flags = ON_FIELD;
        w.card[n - 1].x = x;
        w.card[n - 1].y = y;
        std::vector<int32_t> order{n - 1};
        for (const int32_t c : w.stack)
            if (c != n - 1) order.push_back(c);
        std::copy(order.begin(), order.end(), w.stack.begin());
    }
    void fight(int on) {
        w.battle = w.bounded = w.names = w.scores = on;
        w.cleared = w.title = 1;
    }
    int count(uint32_t without) const {
        int n = 0;
        for (int k = 0; k < w.n_turtles; ++k) n += w.t[k].flags & TTL_ALIVE && !(w.t[k].flags & without);
        return n;
    }

    // What happens in a frame.

    void notice_coins() {
        for (int i = 0; i < 30; ++i) {
            turtle_t& t = w.t[i];
            if (!(t.flags & TTL_ALIVE) || t.flags & (TTL_ZOMBIE | TTL_ROBOT | TTL_OBJECT)) continue;
            if (reachable(i).empty())
                t.flags &= ~TTL_LATCH_COIN;
            else
                once(t, TTL_LATCH_COIN, EVENT_COIN);
        }
    }
    void kill(int i) {
        if (w.t[i].dying_count == 0) w.t[i].dying_count = 50;
    }
    void fly(int i) {
        turtle_t& t = w.t[i];
        const double x = t.beam_x + 2 * std::cos(t.beam_dir * M_PI / 180);
        const double y = t.beam_y + 2 * std::sin(t.beam_dir * M_PI / 180);
        if (below(256, std::max(std::abs(x), std::abs(y))) || below(to_nearest_wall(x, y), 5)) {
            t.fire_wait = 25;
            t.flags &= ~TTL_FIRING;
        } else {
            t.beam_x = x;
            t.beam_y = y;
        }
        for (int k = 0; k < w.n_turtles; ++k) {
            turtle_t& v = w.t[k];
            if (k == i || !(v.flags & TTL_ALIVE) || v.dying_count > 0) continue;
            if (!below(std::hypot(v.pos[0].x - x, v.pos[0].y - y), 10)) continue;
            t.flags &= ~TTL_FIRING;
            if (v.flags & TTL_STONE)
                t.fire_wait = 25;
            else if (v.flags & TTL_DOUGHNUT) {
                if (t.flags & TTL_ALIVE && below(std::hypot(v.pos[0].x - t.pos[0].x, v.pos[0].y - t.pos[0].y), 40))
                    t.score += 11;
                kill(k);
            } else {
                t.score += 11;
                v.score -= 30;
                v.event |= EVENT_HIT;
                if (v.score < 0) {
                    v.score = 0;
                    kill(k);
                } else
                    t.fire_wait = 25;
            }
            return;
        }
    }
    void wander(int i) {
        turtle_t& t = w.t[i];
        if (t.flags & TTL_DOUGHNUT) return;
        const double dx = 0.15 * std::cos(t.dir * M_PI / 180), dy = 0.15 * std::sin(t.dir * M_PI / 180);
        const double x = t.pos[0].x + dx, y = t.pos[0].y + dy;
        if (below(246, std::abs(x)) || below(246, std::abs(y)))
            t.dir += (replay() - 0.5) * 100;
        else if (step(i, 0.15) != 0) {
            t.pos[0].x -= dx;
            t.pos[0].y -= dy;
            turn(i, 180 + (replay() - 0.5) * 10);
        }
        if (replay() < 0.002) fire(i);
    }
    void live(int i) {
        turtle_t& t = w.t[i];
        if (t.flags & TTL_FIRING) fly(i);
        if (!(t.flags & TTL_ALIVE)) return;
        if (w.battle) t.finder_target = t.radar_target = -1; // a find is shown once
        if (t.dying_count > 0 && --t.dying_count == 0) {
            t.flags &= ~TTL_ALIVE;
            if (t.client_id >= 0 && client_tab[t.client_id].turtle_id == i) w.leaving |= 1u << t.client_id;
        }
        if (t.fire_wait > 0) --t.fire_wait;
        if (t.flags & TTL_ROBOT) wander(i);
    }

    // Counts what goes onto the canvas and drops it.
    void paint(turtle_t& t) {
        if (!(t.flags & TTL_ALIVE)) return;
        t.message[0] = '\0';
        const bool segment = (t.flags & TTL_PEN_DOWN) != 0 && (t.flags & TTL_SEG_PAINTED) == 0;
        if (segment) {
            t.n_painted += 1;
            t.flags |= TTL_SEG_PAINTED;
        } else if ((t.flags & TTL_BRUSH) != 0 && (t.flags & TTL_PEN_LIFTED) != 0) {
            t.flags = (t.flags & ~TTL_PEN_LIFTED) | TTL_SEG_PAINTED;
        }
    }

    void frame() {
        notice_coins();
        for (teaminfo_t& team : w.team) team.flags = 0;
        for (int i = 0; i < w.n_turtles; ++i) paint(w.t[i]);
        for (int i = 0; i < w.n_turtles; ++i)
            if (w.t[i].flags & TTL_OBJECT) live(i);
        for (int i = 0; i < w.n_turtles; ++i)
            if (!(w.t[i].flags & TTL_OBJECT)) live(i);
    }
};
