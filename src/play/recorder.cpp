#include "play/recorder.h"

#include "field/kinds.h"
#include "field/walls.h"
#include "geometry/segment.h"
#include "play/gzip_member.h"
#include "play/json.h"
#include "play/predict.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <gnu/libc-version.h>

namespace {

constexpr double PLACE_MOST = 99999.0; // field units; places farther out are recorded as this
constexpr double QUARTERS = 4.0;       // places are corrected in quarters of a field unit
constexpr uint64_t HASH_EVERY = 20;    // ticks
constexpr int NO_KIND = -1;

// One character represents a listed text.
constexpr std::string_view LETTERS =
    "!#$%&'()*+,-/0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[]^_`abcdefghijklmnopqrstuvwxyz"
    "{|}~";

constexpr char JOINED[] = "+", LEFT[] = "-", DROPPED[] = "=", TURNED_AWAY[] = "~";
constexpr char NOTHING_CHANGED[] = "?"; // a question, or a word that is no command

int kind_number(const turtle_t& t) { return static_cast<int>(kind_of(t.flags).kind); }

double bounded(double v) { return std::isfinite(v) ? std::clamp(v, -PLACE_MOST, PLACE_MOST) : 0.0; }
int64_t hundredths(double v) { return std::llround(bounded(v) * 100.0); }
double told_value(double v) { return static_cast<double>(hundredths(v)) / 100.0; }
double heading_of(const turtle_t& t) { return std::isfinite(t.dir) ? std::fmod(t.dir, 360.0) : 0.0; }
int64_t quarters(double v) { return std::llround(bounded(v) * QUARTERS); }
int64_t whole(double v) { return std::llround(bounded(v)); }

// The difference of two headings, -180 to 180.
double heading_difference(double a, double b) { return std::remainder(a - b, 360.0); }

uint32_t color_part(double v) { return static_cast<uint32_t>(std::lround(v > 0.0 ? std::min(v, 1.0) * 255.0 : 0.0)); }
uint32_t color_of(double r, double g, double b) { return color_part(r) << 16U | color_part(g) << 8U | color_part(b); }

void add_color(std::string& json, uint32_t color) {
    char text[16];
    snprintf(text, sizeof text, "\"%06x\"", color & 0xFFFFFFU);
    json += text;
}

void add_numbers(std::string& json, std::initializer_list<int64_t> numbers) {
    char before = '[';
    for (const int64_t n : numbers) {
        json += before;
        add_json_integer(json, n);
        before = ',';
    }
    json += ']';
}

// Starts a line's list at its first entry, and separates further ones.
void add_entry(std::string& json, bool& any, const char* name) {
    json += any ? "," : name;
    any = true;
}

std::string_view name_of(const turtle_t& t) {
    return {t.name, static_cast<size_t>(bounded_length(t.name, TEXT_BYTES))};
}

// A 12-bit hash of the exact state of all tables that the rules read: a player does not need it, but a replay of the
// game finds out where it differs. Names and texts are left out, because no rule reads them.
struct hash_t {
    uint64_t value = 1469598103934665603U; // FNV-1a, over words instead of bytes

    void add(uint64_t word) {
        value = (value ^ word) * 1099511628211U;
        value ^= value >> 29U;
    }
    void add(double number) {
        uint64_t word = 0;
        memcpy(&word, &number, sizeof word);
        add(word);
    }
};

void add_turtle(hash_t& hash, const turtle_t& t) {
    hash.add(uint64_t{t.flags});
    hash.add(t.dir);
    for (const point_t& p : t.pos) {
        hash.add(p.x);
        hash.add(p.y);
    }
    hash.add(t.beam_dir);
    hash.add(t.beam_x);
    hash.add(t.beam_y);
    hash.add(t.finder_range);
    for (const int32_t word : {t.client_id, t.dying_count, t.fire_wait, t.score, t.team, t.n_doughnut, t.n_coin}) {
        hash.add(static_cast<uint64_t>(static_cast<uint32_t>(word)));
    }
}

unsigned state_hash() {
    hash_t hash;
    hash.add(signals.elapsed_time.load());
    for (int i = 0; i < ntmax; ++i) add_turtle(hash, ttl[static_cast<size_t>(i)]);
    for (int k = 0; k < ncoin; ++k) {
        const coin_t& c = coins[static_cast<size_t>(k)];
        if (!has_any(c.flags, ON_FIELD)) continue;
        hash.add(c.x);
        hash.add(c.y);
        hash.add(static_cast<uint64_t>(c.ord));
    }
    for (const card_t& c : cards) {
        if (!has_any(c.flags, ON_FIELD)) continue;
        hash.add(c.x);
        hash.add(c.y);
    }
    hash.add(static_cast<uint64_t>(static_cast<uint32_t>(stock_of_coin)));
    return static_cast<unsigned>((hash.value ^ hash.value >> 32U) & 0xFFFU);
}

void add_hash(std::string& json) {
    char text[16];
    snprintf(text, sizeof text, ",\"h\":\"%03x\"", state_hash());
    json += text;
}

// ---- commands

bool changes_nothing(std::string_view line) {
    const char letter = static_cast<char>(tolower(static_cast<unsigned char>(line.empty() ? '.' : line[0])));
    if (letter == 'q') {
        const size_t end = line.find(' ');
        const size_t word = end == std::string_view::npos ? end : line.find_first_not_of(' ', end);
        // The finder and the radar draw random numbers or leave a mark in the turtle they found.
        return word == std::string_view::npos || strchr("fFrR", line[word]) == nullptr;
    }
    return strchr("fbcgjtplwkhsnuieodxyzr!", letter) == nullptr;
}

void add_to_text(std::string& text, std::string_view line) {
    if (!text.empty()) text += ';';
    text += line;
}

void add_line(recorder_t& r, int slot, std::string_view line) {
    if (r.order == command_order_t::rounds) {
        seat_commands_t& seat = r.by_seat[static_cast<size_t>(slot)];
        add_to_text(seat.text, line);
        ++seat.lines;
    } else if (!r.blocks.empty() && r.blocks.back().first == slot) {
        add_to_text(r.blocks.back().second, line);
    } else {
        r.blocks.emplace_back(slot, line);
    }
}

// Joins come before all rounds of their tick. When browsers were turned away among them, each has a round of its own,
// from the second on: a join in the first comes before it.
void tell_arrivals(recorder_t& r) {
    if (r.begun) return;
    r.begun = true;
    const auto is_away = [](const auto& arrival) { return arrival.second == TURNED_AWAY; };
    const bool in_rounds =
        r.order == command_order_t::rounds && std::any_of(r.arrivals.begin(), r.arrivals.end(), is_away);
    const auto leave_free = [&](int slot, int rounds) {
        while (r.by_seat[static_cast<size_t>(slot)].lines < rounds) add_line(r, slot, RECORD_FREE_ROUND);
    };
    int round = in_rounds ? 1 : 0;
    for (const auto& [slot, what] : r.arrivals) {
        if (in_rounds) leave_free(slot, round++);
        add_line(r, slot, what);
    }
    for (const auto& [slot, what] : r.arrivals) leave_free(slot, round);
    r.arrivals.clear();
}

void add_arrival(recorder_t& r, int slot, std::string_view what) {
    if (r.begun) {
        add_line(r, slot, what);
    } else {
        r.arrivals.emplace_back(slot, what);
    }
}

// Appends `text` in its recorded form: one character for a text seen before in this member, else the text itself.
void add_token(recorder_t& r, std::string& commands, const std::string& text) {
    const auto [at, is_new] = r.texts.try_emplace(text, -1);
    if (!is_new && at->second < 0 && r.texts_listed < static_cast<int>(LETTERS.size())) {
        at->second = r.texts_listed++;
        r.new_texts += r.new_texts.empty() ? "" : ",";
        add_json_string(r.new_texts, text);
    }
    if (at->second >= 0) {
        commands += LETTERS[static_cast<size_t>(at->second)];
        return;
    }
    commands += RECORD_OPENING;
    commands += text;
    commands += RECORD_CLOSING;
}

// Questions and free places after the last relevant command need no place in a round.
void cut_questions(std::string& text) {
    const size_t last = text.find_last_not_of(";?_");
    // "_" or "?" may end a line that is longer than that.
    const size_t end = last == std::string::npos ? 0 : text.find(';', last);
    if (end != std::string::npos) text.resize(end);
}

std::string commands_of_tick(recorder_t& r) {
    std::string commands;
    if (r.order == command_order_t::rounds) {
        for (seat_commands_t& seat : r.by_seat) {
            cut_questions(seat.text);
            if (seat.text.empty()) {
                commands += RECORD_NO_COMMAND;
            } else {
                add_token(r, commands, seat.text);
            }
            seat.text.clear();
            seat.lines = 0;
        }
        return commands;
    }
    for (const auto& [slot, text] : r.blocks) {
        commands += static_cast<char>('0' + slot);
        add_token(r, commands, text);
    }
    r.blocks.clear();
    return commands;
}

bool has_commands(const std::string& commands) {
    return commands.find_first_not_of(RECORD_NO_COMMAND) != std::string::npos;
}

void end_tick_of_commands(recorder_t& r) {
    tell_arrivals(r);
    r.ticks.push_back(commands_of_tick(r));
    r.any_command = r.any_command || has_commands(r.ticks.back());
}

void tell_commands(recorder_t& r, std::string& json) {
    if (!r.new_texts.empty()) json += ",\"d\":[" + r.new_texts + "]";
    if (r.any_command) {
        std::string commands;
        for (size_t k = 0; k < r.ticks.size(); ++k) {
            if (k > 0 && r.order == command_order_t::blocks) commands += RECORD_NEXT_TICK;
            commands += r.ticks[k];
        }
        json += ",\"c\":";
        add_json_string(json, commands);
    }
    if (!r.after.empty()) {
        json += ",\"a\":";
        add_json_string(json, r.after);
    }
    r.new_texts.clear();
    r.ticks.clear();
    r.after.clear();
    r.any_command = false;
}

// ---- painting

void paint_to(recorder_t& r, int i, point_t from, point_t to) {
    told_t& told = r.told[static_cast<size_t>(i)];
    const int64_t x0 = quarters(from.x), y0 = quarters(from.y), x = quarters(to.x), y = quarters(to.y);
    r.painted += r.painted.empty() ? "" : ",";
    if (static_cast<double>(x0) == told.drawn_to.x && static_cast<double>(y0) == told.drawn_to.y) {
        add_numbers(r.painted, {i, x, y});
    } else {
        add_numbers(r.painted, {i, x0, y0, x, y});
    }
    told.drawn_to = {static_cast<double>(x), static_cast<double>(y)};
    ++r.pieces;
}

void tell_pen(recorder_t& r, int i, const rgb_t& color, double width) {
    told_t& told = r.told[static_cast<size_t>(i)];
    const uint32_t pen = color_of(color.r, color.g, color.b);
    const auto wide =
        static_cast<int32_t>(hundredths(width > 0.0 ? width : 1.0)); // widths invalid for GL are drawn as 1
    if (pen == told.pen && wide == told.width) return;
    told.pen = pen;
    told.width = wide;
    r.painted += r.painted.empty() ? "[" : ",[";
    add_json_integer(r.painted, i);
    r.painted += ',';
    add_color(r.painted, pen);
    r.painted += ',';
    add_json_integer(r.painted, wide);
    r.painted += ']';
}

// Each segment is a plain line, whatever brush drew it. A brush is some segments late, so its mark refers to older
// ones.
void record_mark(recorder_t& r, int i, const mark_t& mark) {
    if (mark.kind == mark_kind_t::none) return;
    const turtle_t& t = mark.turtle;
    int from = 1, to = 0;
    if (mark.kind == mark_kind_t::brush) {
        from = t.n_painted == 4 ? 4 : 2;
        to = 1;
    } else if (mark.kind == mark_kind_t::brush_end) {
        from = std::clamp(t.n_painted, 1, 4) < 4 ? std::clamp(t.n_painted, 1, 4) : 1;
    } else if (has_any(t.flags, TTL_POINT_MODE) && !has_any(t.flags, TTL_FILL_POLY)) {
        from = 0; // a point is a line of length 0
    }
    tell_pen(r, i, t.color[to + 1], t.line_width[to + 1]);
    if (from == to) paint_to(r, i, t.pos[0], t.pos[0]);
    for (int k = from; k > to; --k) paint_to(r, i, t.pos[k], t.pos[k - 1]);
}

// ---- turtles

void tell_name(recorder_t& r, told_t& told, const turtle_t& t, std::string& json) {
    told.name = r.anonymous ? std::string_view() : name_of(t);
    json += "\"name\":";
    add_json_string(json, told.name);
}

void add_field(std::string& json, const char* name, int64_t number) {
    json += json.back() == '{' ? "\"" : ",\"";
    json += name;
    json += "\":";
    add_json_integer(json, number);
}

int32_t seat_of(const turtle_t& t) { return kind_of(t.flags).kind == kind_t::turtle ? t.client_id : -1; }

// The complete record of a turtle, from which both sides then compute the same.
void tell_turtle(recorder_t& r, int i, std::string& json) {
    const turtle_t& t = ttl[static_cast<size_t>(i)];
    told_t& told = r.told[static_cast<size_t>(i)];
    told.shown = true;
    told.kind = kind_number(t);
    told.seat = seat_of(t);
    told.x = told_value(t.pos[0].x);
    told.y = told_value(t.pos[0].y);
    told.head = told_value(heading_of(t));
    told.score = t.score;
    told.team = t.team;
    told.coins = t.n_coin;
    told.dying = t.dying_count > 0;
    told.zombie = has_any(t.flags, TTL_ZOMBIE);
    json += "{\"kind\":\"";
    json += kind_of(t.flags).name;
    json += "\",";
    tell_name(r, told, t, json);
    json += ",\"x\":";
    add_json_hundredths(json, hundredths(t.pos[0].x));
    json += ",\"y\":";
    add_json_hundredths(json, hundredths(t.pos[0].y));
    json += ",\"head\":";
    add_json_hundredths(json, hundredths(heading_of(t)));
    add_field(json, "score", t.score);
    if (told.seat >= 0) add_field(json, "seat", told.seat);
    if (t.team != 0) add_field(json, "team", t.team);
    if (t.n_coin != 0) add_field(json, "coins", t.n_coin);
    if (t.dying_count > 0) add_field(json, "dying", t.dying_count);
    if (told.zombie) json += ",\"zombie\":true";
    json += '}';
}

void tell_number(std::string& json, const char* name, int32_t& told, int32_t now) {
    if (told == now) return;
    told = now;
    add_field(json, name, now);
}

// Changes other than the place, as an object; empty when there are none.
std::string changed_fields(recorder_t& r, int i) {
    const turtle_t& t = ttl[static_cast<size_t>(i)];
    told_t& told = r.told[static_cast<size_t>(i)];
    std::string json = "{";
    if (!r.anonymous && told.name != name_of(t)) tell_name(r, told, t, json);
    tell_number(json, "score", told.score, t.score);
    tell_number(json, "team", told.team, t.team);
    tell_number(json, "coins", told.coins, t.n_coin);
    if (told.dying != (t.dying_count > 0)) {
        told.dying = t.dying_count > 0;
        add_field(json, "dying", t.dying_count);
    }
    if (told.zombie != has_any(t.flags, TTL_ZOMBIE)) {
        told.zombie = !told.zombie;
        json += json.back() == '{' ? "\"zombie\":" : ",\"zombie\":";
        json += told.zombie ? "true" : "false";
    }
    if (json.size() == 1) return {};
    return json + "}";
}

// A used slot that the player does not know, or knows as another turtle's.
bool is_new(const recorder_t& r, int i) {
    const turtle_t& t = ttl[static_cast<size_t>(i)];
    const told_t& told = r.told[static_cast<size_t>(i)];
    return !told.shown || told.kind != kind_number(t) || told.seat != seat_of(t);
}

bool is_used(int i) { return i < ntmax && has_any(ttl[static_cast<size_t>(i)].flags, TTL_ALIVE); }

void tell_gone(recorder_t& r, std::string& json) {
    bool any = false;
    for (int i = 0; i < TTL_MAX; ++i) {
        told_t& told = r.told[static_cast<size_t>(i)];
        if (!told.shown || is_used(i)) continue;
        told.shown = false;
        add_entry(json, any, ",\"gone\":[");
        add_json_integer(json, i);
    }
    if (any) json += ']';
}

void tell_changes(recorder_t& r, std::string& json) {
    bool any = false;
    for (int i = 0; i < ntmax; ++i) {
        if (!is_used(i) || is_new(r, i)) continue;
        const std::string fields = changed_fields(r, i);
        if (fields.empty()) continue;
        add_entry(json, any, ",\"set\":[");
        json += '[';
        add_json_integer(json, i);
        json += ',' + fields + ']';
    }
    if (any) json += ']';
}

// Corrections where the player's place or heading is wrong.
void tell_moves(recorder_t& r, std::string& json) {
    bool any = false;
    for (int i = 0; i < ntmax; ++i) {
        if (!is_used(i) || is_new(r, i)) continue;
        const turtle_t& t = ttl[static_cast<size_t>(i)];
        told_t& told = r.told[static_cast<size_t>(i)];
        const int64_t dx = std::llround((bounded(t.pos[0].x) - told.x) * QUARTERS);
        const int64_t dy = std::llround((bounded(t.pos[0].y) - told.y) * QUARTERS);
        const int64_t turned = std::llround(heading_difference(heading_of(t), told.head));
        if (dx == 0 && dy == 0 && turned == 0) continue;
        told.x += static_cast<double>(dx) / QUARTERS;
        told.y += static_cast<double>(dy) / QUARTERS;
        told.head += static_cast<double>(turned);
        add_entry(json, any, ",\"m\":[");
        add_numbers(json, {i, dx, dy, turned});
    }
    if (any) json += ']';
}

void tell_new(recorder_t& r, std::string& json) {
    bool any = false;
    for (int i = 0; i < ntmax; ++i) {
        if (!is_used(i) || !is_new(r, i)) continue;
        add_entry(json, any, ",\"new\":[");
        json += '[';
        add_json_integer(json, i);
        json += ',';
        tell_turtle(r, i, json);
        json += ']';
    }
    if (any) json += ']';
}

// Beams fired and ended. One that flew for less than a line's ticks shows only its end.
void tell_beams(recorder_t& r, std::string& json) {
    constexpr int FRESH = FIRE_WAIT_FRAMES - static_cast<int>(STATE_EVERY);
    std::string ends;
    bool any = false;
    bool any_end = false;
    for (int i = 0; i < ntmax; ++i) {
        const turtle_t& t = ttl[static_cast<size_t>(i)];
        told_t& told = r.told[static_cast<size_t>(i)];
        const bool firing = has_any(t.flags, TTL_FIRING);
        if (firing && !told.firing) {
            add_entry(json, any, ",\"b\":[");
            add_numbers(json, {i, whole(t.beam_x), whole(t.beam_y), whole(std::remainder(t.beam_dir, 360.0))});
        } else if (!firing && (told.firing || t.fire_wait >= FRESH)) {
            add_entry(ends, any_end, ",\"hit\":[");
            add_numbers(ends, {i, whole(t.beam_x), whole(t.beam_y)});
        }
        told.firing = firing;
    }
    if (any) json += ']';
    if (any_end) json += ends + "]";
}

void tell_coins(recorder_t& r, std::string& json) {
    bool any = false;
    for (int k = 0; k < COIN_MAX; ++k) {
        const auto coin = static_cast<size_t>(k);
        const bool lies = k < ncoin && has_any(coins[coin].flags, ON_FIELD);
        const point_t place{static_cast<double>(whole(coins[coin].x)), static_cast<double>(whole(coins[coin].y))};
        const bool moved = lies && (place.x != r.coin_place[coin].x || place.y != r.coin_place[coin].y);
        if (lies == r.coin_told[coin] && !moved) continue;
        r.coin_told[coin] = lies;
        r.coin_place[coin] = place;
        add_entry(json, any, ",\"coin\":[");
        if (lies) {
            add_numbers(json, {k, static_cast<int64_t>(place.x), static_cast<int64_t>(place.y)});
        } else {
            add_numbers(json, {k});
        }
    }
    if (any) json += ']';
}

uint32_t ground_color() { return color_of(bgcol[0], bgcol[1], bgcol[2]); }

void tell_painting(recorder_t& r, std::string& json) {
    if (r.wipe_pending) {
        json += ",\"wipe\":";
        add_color(json, ground_color());
    }
    if (!r.painted.empty()) json += ",\"p\":[" + r.painted + "]";
    r.wipe_pending = false;
    r.painted.clear();
}

void begin_line(std::string& json) {
    json += "{\"t\":";
    add_json_integer(json, static_cast<int64_t>(signals.elapsed_time.load()));
}

void add_text(recorder_t& r, const std::string& line) { (r.packed ? r.member : r.out) += line + "\n"; }

void end_line(recorder_t& r, std::string& json) {
    // Rare enough to be cheap: most differences show in the changes themselves.
    if (signals.elapsed_time % HASH_EVERY == 0 || json.find("\"full\"") != std::string::npos) add_hash(json);
    add_text(r, json + "}");
}

// The line for the ticks since the one before. Nothing when nothing has happened.
void add_changes(recorder_t& r) {
    std::string json;
    begin_line(json);
    const size_t empty = json.size();
    tell_commands(r, json);
    tell_painting(r, json);
    tell_gone(r, json);
    tell_changes(r, json);
    tell_moves(r, json);
    tell_new(r, json);
    tell_beams(r, json);
    tell_coins(r, json);
    if (modes.battle_mode != r.battle_told) {
        r.battle_told = !r.battle_told;
        json += r.battle_told ? ",\"battle\":true" : ",\"battle\":false";
    }
    if (json.size() == empty) return;
    end_line(r, json);
}

void add_full_turtles(recorder_t& r, std::string& json) {
    json += ",\"turtles\":[";
    const size_t empty = json.size();
    for (int i = 0; i < TTL_MAX; ++i) {
        told_t& told = r.told[static_cast<size_t>(i)];
        told.shown = false;
        if (!is_used(i)) continue;
        json += json.size() == empty ? "[" : ",[";
        add_json_integer(json, i);
        json += ',';
        tell_turtle(r, i, json);
        json += ']';
    }
    json += "],\"pens\":[";
    bool any = false;
    for (int i = 0; i < TTL_MAX; ++i) {
        const told_t& told = r.told[static_cast<size_t>(i)];
        if (told.width == 0) continue;
        add_entry(json, any, "");
        json += '[';
        add_json_integer(json, i);
        json += ',';
        add_color(json, told.pen);
        for (const double n : {static_cast<double>(told.width), told.drawn_to.x, told.drawn_to.y}) {
            json += ',';
            add_json_integer(json, static_cast<int64_t>(n));
        }
        json += ']';
    }
    json += ']';
}

void add_full_coins(recorder_t& r, std::string& json) {
    json += ",\"coins\":[";
    bool any = false;
    for (size_t k = 0; k < COIN_MAX; ++k) {
        if (!r.coin_told[k]) continue;
        add_entry(json, any, "");
        add_numbers(json, {static_cast<int64_t>(k), static_cast<int64_t>(r.coin_place[k].x),
                           static_cast<int64_t>(r.coin_place[k].y)});
    }
    json += ']';
}

// A full state ends its member, and with it the list of texts.
void add_full_state(recorder_t& r, std::string_view results) {
    std::string json;
    begin_line(json);
    json += r.battle_told ? ",\"full\":{\"battle\":true,\"ground\":" : ",\"full\":{\"battle\":false,\"ground\":";
    add_color(json, ground_color());
    add_field(json, "wiped", static_cast<int64_t>(r.wiped));
    add_field(json, "pieces", r.pieces);
    add_full_turtles(r, json);
    add_full_coins(r, json);
    json += '}';
    if (!results.empty()) {
        json += ",\"end\":";
        json += results;
    }
    end_line(r, json);
    if (r.packed) add_gzip_member(r.out, r.member, static_cast<uint32_t>(signals.elapsed_time.load()));
    r.member.clear();
    r.texts.clear();
    r.texts_listed = 0;
}

void add_walls(std::string& json) {
    json += ",\"walls\":[";
    bool any = false;
    for (int k = 0; k < nwall; ++k) {
        const wall_t& w = walls[static_cast<size_t>(k)];
        if (has_any(w.attr, WALL_BACKFACE)) continue;
        add_entry(json, any, "");
        add_numbers(json, {whole(w.x1), whole(w.y1), whole(w.x2), whole(w.y2), whole(w.nx), whole(w.ny)});
    }
    json += ']';
}

} // namespace

std::string_view record_letters() { return LETTERS; }

std::string build_name() {
    return std::string("kelmora " KELMORA_VERSION ", g++ " __VERSION__ ", glibc ") + gnu_get_libc_version();
}

void open_record(recorder_t& r, const setting_t& setting, const char* pace, command_order_t order, bool anonymous,
                 bool packed) {
    r = {};
    r.order = order;
    r.anonymous = anonymous;
    r.packed = packed;
    r.battle_told = modes.battle_mode;
    for (told_t& told : r.told) told.kind = NO_KIND;
    signals.wipe_requested = false; // the canvas starts clean
    std::string json = "{\"kelmora_record\":";
    add_json_integer(json, RECORD_VERSION);
    json += ",\"build\":";
    add_json_string(json, build_name());
    add_field(json, "seed", setting.seed);
    json += ",\"mode\":";
    add_json_string(json, mode_name(setting.mode));
    add_field(json, "stones", setting.stones);
    add_field(json, "coins", setting.coins);
    json += ",\"pace\":";
    add_json_string(json, pace);
    json += order == command_order_t::rounds ? ",\"order\":\"rounds\"" : ",\"order\":\"blocks\"";
    json += anonymous ? ",\"anonymous\":true" : ",\"anonymous\":false";
    add_field(json, "tick_ms", 8);
    add_walls(json);
    add_text(r, json + "}");
    std::string unused;
    tell_coins(r, unused); // the full state contains them
    add_full_state(r, {});
}

void record_join(recorder_t& r, int slot) { add_arrival(r, slot, JOINED); }

void record_leave(recorder_t& r, int slot) {
    tell_arrivals(r);
    add_line(r, slot, LEFT);
}

void record_drop(recorder_t& r, int slot) { add_line(r, slot, DROPPED); }

void record_turned_away(recorder_t& r, int slot) { add_arrival(r, slot, TURNED_AWAY); }

void record_command(recorder_t& r, int slot, std::string_view line) {
    tell_arrivals(r);
    if (changes_nothing(line)) {
        // In rounds an empty entry keeps the others' lines in place.
        if (r.order == command_order_t::rounds) add_line(r, slot, NOTHING_CHANGED);
        return;
    }
    const bool tells_text = strchr("nNsSuU", line[0]) != nullptr;
    add_line(r, slot, r.anonymous && tells_text ? line.substr(0, 1) : line);
    for (told_t& told : r.told) {
        if (told.shown && told.seat == slot && !told.zombie) {
            predict_command(line, r.battle_told, told.score, told.x, told.y, told.head);
        }
    }
}

void record_tick(recorder_t& r, const tick_view_t& view) {
    end_tick_of_commands(r);
    if (signals.wipe_requested.exchange(false)) {
        r.wipe_pending = true;
        r.wiped = signals.elapsed_time;
        r.pieces = 0;
        r.painted.clear();
        for (told_t& told : r.told) { // pens are recorded again, for readers that start at the full state
            told.width = 0;
            told.drawn_to = {0.0, 0.0};
        }
    }
    for (int i = 0; i < view.count; ++i) record_mark(r, i, view.marks[static_cast<size_t>(i)]);
    if (signals.elapsed_time % STATE_EVERY == 0) add_changes(r);
    if (signals.elapsed_time % FULL_STATE_EVERY == 0) add_full_state(r, {});
}

void close_record(recorder_t& r, std::string_view results) {
    tell_arrivals(r);
    r.after = commands_of_tick(r);
    if (!has_commands(r.after)) r.after.clear();
    add_changes(r);
    add_full_state(r, results);
}
