#include "play/ledger.h"

#include "field/turtles.h"
#include "game/pacer.h"
#include "play/json.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int64_t SILENT_MOST = 1'000'000'000; // ns; a browser sends its request at once

// The program in `slot`; null when it is not listed.
program_t* program_of(ledger_t& ledger, int slot) {
    const int32_t k = ledger.seated[static_cast<size_t>(slot)];
    return k < 0 ? nullptr : &ledger.programs[static_cast<size_t>(k)];
}

bool owns_turtle(int slot) {
    const client_t& c = client_tab[static_cast<size_t>(slot)];
    return c.turtle_id >= 0 && ttl[static_cast<size_t>(c.turtle_id)].client_id == slot;
}

// The sort key of places, better ones first.
struct rank_t {
    bool plays;
    int64_t until; // tick of its death or departure
    int32_t score;
};

rank_t rank_of(const program_t& p) {
    if (p.death >= 0) return {.plays = false, .until = p.death, .score = p.score};
    return {.plays = p.left < 0, .until = p.left, .score = p.score};
}

bool is_better(const rank_t& a, const rank_t& b) {
    if (a.plays != b.plays) return a.plays;
    if (!a.plays && a.until != b.until) return a.until > b.until;
    return a.score > b.score;
}

int place_of(const ledger_t& ledger, const program_t& p) {
    int better = 0;
    for (int k = 0; k < ledger.count; ++k) {
        const program_t& other = ledger.programs[static_cast<size_t>(k)];
        if (is_better(rank_of(other), rank_of(p))) ++better;
    }
    return better + 1;
}

// Teams, and programs without a team, of which `counts(turtle, slot)` says that they count.
template <typename counts_t> int sides_among(const counts_t& counts) {
    int sides = 0;
    std::array<bool, TEAM_MAX> teams_seen{};
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        if (client_tab[static_cast<size_t>(slot)].sockfd < 0 || !owns_turtle(slot)) continue;
        const turtle_t& t = ttl[static_cast<size_t>(client_tab[static_cast<size_t>(slot)].turtle_id)];
        if (!counts(t, slot)) continue;
        const bool has_team = t.team > 0 && t.team < TEAM_MAX;
        if (!has_team || !teams_seen[static_cast<size_t>(t.team)]) ++sides;
        if (has_team) teams_seen[static_cast<size_t>(t.team)] = true;
    }
    return sides;
}

void add_field(std::string& json, const char* name, int64_t number) {
    json += ",\"";
    json += name;
    json += "\":";
    add_json_integer(json, number);
}

} // namespace

void open_ledger(ledger_t& ledger) {
    ledger.count = 0;
    ledger.unlisted = 0;
    ledger.seated.fill(-1);
}

void note_join(ledger_t& ledger, int slot) {
    const auto seat = static_cast<size_t>(slot);
    ledger.seated[seat] = -1;
    if (ledger.count >= PROGRAMS_MAX) {
        ++ledger.unlisted;
        return;
    }
    program_t& p = ledger.programs[static_cast<size_t>(ledger.count)];
    p = {};
    p.seat = slot;
    p.turtle = client_tab[seat].turtle_id;
    p.death = p.left = -1;
    p.since = monotonic_now();
    p.score = ttl[static_cast<size_t>(p.turtle)].score;
    ledger.seated[seat] = ledger.count++;
}

void note_command(ledger_t& ledger, int slot) {
    if (program_t* p = program_of(ledger, slot)) ++p->commands;
}

void note_missed_turn(ledger_t& ledger, int slot) {
    if (program_t* p = program_of(ledger, slot)) ++p->missed_turns;
}

void note_state(ledger_t& ledger) {
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        program_t* const p = program_of(ledger, slot);
        if (p == nullptr || !owns_turtle(slot)) continue;
        // A turtle that died in this tick left its record in the free slot.
        const turtle_t& t = ttl[static_cast<size_t>(p->turtle)];
        p->score = t.score;
        p->team = t.team;
        p->coins = t.n_coin;
        memcpy(p->name, t.name, sizeof p->name);
        if (p->death < 0 && (t.dying_count > 0 || !has_any(t.flags, TTL_ALIVE))) {
            p->death = static_cast<int64_t>(signals.elapsed_time.load());
        }
    }
}

void note_leave(ledger_t& ledger, int slot, bool hung_up) {
    program_t* const p = program_of(ledger, slot);
    if (p != nullptr && hung_up) p->left = static_cast<int64_t>(signals.elapsed_time.load());
    ledger.seated[static_cast<size_t>(slot)] = -1;
    for (const int32_t other : ledger.seated) {
        if (other >= 0) ledger.programs[static_cast<size_t>(other)].left_behind = true;
    }
}

void note_turned_away(ledger_t& ledger, int slot) {
    int32_t& seat = ledger.seated[static_cast<size_t>(slot)];
    if (seat < 0) { // it came when the list was full
        --ledger.unlisted;
        return;
    }
    const auto at = ledger.programs.begin() + seat;
    std::copy(at + 1, ledger.programs.begin() + ledger.count, at);
    --ledger.count;
    for (int32_t& other : ledger.seated) other -= other > seat ? 1 : 0;
    seat = -1;
}

int count_sides() {
    return sides_among([](const turtle_t& t, int) {
        return has_any(t.flags, TTL_ALIVE) && !has_any(t.flags, TTL_ZOMBIE) && t.dying_count == 0;
    });
}

bool have_two_played(const ledger_t& ledger, int leaves) {
    bool left_behind = false;
    const int sides = sides_among([&](const turtle_t& t, int slot) {
        const int32_t k = ledger.seated[static_cast<size_t>(slot)];
        if (k < 0) return true;
        const program_t& p = ledger.programs[static_cast<size_t>(k)];
        const bool proven = slot == leaves || t.dying_count > 0 || p.commands > 0 || p.missed_turns > 0 ||
                            monotonic_now() - p.since > SILENT_MOST;
        left_behind = left_behind || (proven && p.left_behind);
        return proven;
    });
    return sides > 1 || left_behind;
}

std::string results_json(const ledger_t& ledger, const setting_t& setting, const char* why, bool names) {
    std::string json = "{\"seed\":";
    add_json_integer(json, setting.seed);
    json += ",\"mode\":";
    add_json_string(json, mode_name(setting.mode));
    add_field(json, "ticks", static_cast<int64_t>(signals.elapsed_time.load()));
    json += ",\"why\":";
    add_json_string(json, why);
    json += ",\"programs\":[";
    for (int k = 0; k < ledger.count; ++k) {
        const program_t& p = ledger.programs[static_cast<size_t>(k)];
        json += k > 0 ? ",{\"name\":" : "{\"name\":";
        const auto length = static_cast<size_t>(bounded_length(p.name, TEXT_BYTES));
        add_json_string(json, names ? std::string_view(p.name, length) : std::string_view());
        add_field(json, "team", p.team);
        add_field(json, "seat", p.seat);
        add_field(json, "score", p.score);
        add_field(json, "coins", p.coins);
        add_field(json, "place", place_of(ledger, p));
        json += ",\"death\":";
        if (p.death >= 0) {
            add_json_integer(json, p.death);
        } else {
            json += "null";
        }
        add_field(json, "commands", p.commands);
        add_field(json, "missed_turns", p.missed_turns);
        json += '}';
    }
    json += ']';
    if (ledger.unlisted > 0) add_field(json, "unlisted", ledger.unlisted);
    json += '}';
    return json;
}
