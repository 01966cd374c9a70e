#include "play/ledger.h"

#include "field/turtles.h"
#include "play/json.h"

#include <cstring>
#include <vector>

namespace {

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
        if (!other.browser && is_better(rank_of(other), rank_of(p))) ++better;
    }
    return better + 1;
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
}

void note_turned_away(ledger_t& ledger, int slot) {
    if (program_t* const p = program_of(ledger, slot)) p->browser = true;
    ledger.seated[static_cast<size_t>(slot)] = -1;
}

int count_players(int& sides) {
    int players = 0;
    int alone = 0;
    std::array<bool, TEAM_MAX> teams_left{};
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        if (client_tab[static_cast<size_t>(slot)].sockfd < 0 || !owns_turtle(slot)) continue;
        const turtle_t& t = ttl[static_cast<size_t>(client_tab[static_cast<size_t>(slot)].turtle_id)];
        if (!has_any(t.flags, TTL_ALIVE) || has_any(t.flags, TTL_ZOMBIE) || t.dying_count > 0) continue;
        ++players;
        if (t.team > 0 && t.team < TEAM_MAX) {
            teams_left[static_cast<size_t>(t.team)] = true;
        } else {
            ++alone;
        }
    }
    sides = alone;
    for (const bool left : teams_left) sides += left ? 1 : 0;
    return players;
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
    bool any = false;
    for (int k = 0; k < ledger.count; ++k) {
        const program_t& p = ledger.programs[static_cast<size_t>(k)];
        if (p.browser) continue;
        json += any ? ",{\"name\":" : "{\"name\":";
        any = true;
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
