#include "play/again.h"

#include "field/turtles.h"
#include "game/tick.h"
#include "net/command.h"
#include "net/reply.h"
#include "play/seats.h"
#include "turtle/lifecycle.h"

#include <algorithm>

namespace {

constexpr int NO_SOCKET = 1 << 20; // placeholder for a connection; nothing is ever sent

constexpr std::string_view END_FIELD = ",\"end\":";
constexpr std::string_view HASH_FIELD = ",\"h\":\"";

struct again_t {
    command_order_t order;
    recorder_t recorder;
    size_t compared; // bytes of recorder.out that were compared
};

client_t& client_at(int slot) { return client_tab[static_cast<size_t>(slot)]; }

bool join(again_t& a, int slot) {
    client_t& c = client_at(slot);
    if (c.sockfd >= 0) return false;
    const int turtle = generate_turtle(slot, 0);
    if (turtle < 0) return false;
    free_client_slot(c);
    c.sockfd = NO_SOCKET;
    c.turtle_id = turtle;
    ++nclient;
    record_join(a.recorder, slot);
    return true;
}

void vacate(int slot) {
    free_client_slot(client_at(slot));
    --nclient;
}

// @return false when the record contains something impossible
bool run(again_t& a, int slot, const std::string& line) {
    if (line == RECORD_FREE_ROUND) return true;
    if (line == "+") return join(a, slot);
    if (!is_seated(slot)) return false;
    if (line == "-") {
        record_leave(a.recorder, slot);
        make_zombie(client_at(slot).turtle_id);
        vacate(slot);
    } else if (line == "=") {
        record_drop(a.recorder, slot);
        vacate(slot);
    } else if (line == "~") {
        record_turned_away(a.recorder, slot);
        turtle_leave(client_at(slot).turtle_id, slot);
        vacate(slot);
    } else {
        record_command(a.recorder, slot, line);
        char reply[REPLY_MAX];
        format_reply(slot, parse_message_for(slot, line.c_str()), reply); // a query may draw random numbers
    }
    return true;
}

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = text.find(';'); end != std::string::npos; end = text.find(';', start)) {
        lines.emplace_back(text, start, end - start);
        start = end + 1;
    }
    lines.emplace_back(text, start);
    return lines;
}

// First all drops, then all joins, then one line of each in turn: the order of the game.
bool run_rounds(again_t& a, const std::vector<seat_text_t>& texts) {
    std::vector<std::vector<std::string>> lines;
    lines.reserve(texts.size());
    for (const seat_text_t& t : texts) lines.push_back(split(t.text));
    std::vector<size_t> next(lines.size(), 0);
    for (const char* first : {"=", "+"}) {
        for (size_t k = 0; k < lines.size(); ++k) {
            if (next[k] >= lines[k].size() || lines[k][next[k]] != first) continue;
            if (!run(a, texts[k].seat, lines[k][next[k]++])) return false;
        }
    }
    for (bool any = true; any;) {
        any = false;
        for (size_t k = 0; k < lines.size(); ++k) {
            if (next[k] >= lines[k].size()) continue;
            any = true;
            if (!run(a, texts[k].seat, lines[k][next[k]++])) return false;
        }
    }
    return true;
}

bool run_blocks(again_t& a, const std::vector<seat_text_t>& texts) {
    for (const seat_text_t& t : texts) {
        for (const std::string& line : split(t.text)) {
            if (!run(a, t.seat, line)) return false;
        }
    }
    return true;
}

void step(again_t& a) {
    static tick_view_t view;
    rendering_started();
    ++signals.elapsed_time;
    tick(view);
    rendering_is_done();
    record_tick(a.recorder, view);
}

// A head tells the build before the seed: other builds may play the same game.
bool is_same_from_seed(const std::string& mine, const std::string& theirs) {
    const size_t at = mine.find("\"seed\""), there = theirs.find("\"seed\"");
    if (at == std::string::npos || there == std::string::npos) return false;
    return mine.compare(at, std::string::npos, theirs, there) == 0;
}

// The line without the results, which depend on more than the game.
std::string without_end(const std::string& line) {
    const size_t end = line.find(END_FIELD);
    const size_t hash = line.rfind(HASH_FIELD);
    if (end == std::string::npos || hash == std::string::npos || hash < end) return line;
    return line.substr(0, end) + line.substr(hash);
}

// The next line that this game has produced; empty when there is none.
std::string next_line(again_t& a) {
    const std::string& out = a.recorder.out;
    const size_t end = out.find('\n', a.compared);
    if (end == std::string::npos) return {};
    std::string line = out.substr(a.compared, end - a.compared);
    a.compared = end + 1;
    if (a.compared > size_t{1} << 20) {
        a.recorder.out.erase(0, a.compared);
        a.compared = 0;
    }
    return line;
}

verdict_t differs(uint64_t tick, const char* what) {
    return {.same = false, .tick = tick, .trouble = what, .other_build = false};
}

bool run_tick(again_t& a, const std::vector<seat_text_t>& texts) {
    return a.order == command_order_t::rounds ? run_rounds(a, texts) : run_blocks(a, texts);
}

// Plays up to the line's tick. @return the fault of the record; null when there is none
const char* play_to(again_t& a, const record_line_t& line, const std::vector<std::string>& listed) {
    static constexpr char IMPOSSIBLE[] = "a program did what it cannot do here";
    const uint64_t now = signals.elapsed_time;
    if (line.tick < now || line.tick - now > FULL_STATE_EVERY)
        return "the ticks of the record do not follow each other";
    std::vector<std::vector<seat_text_t>> ticks, after;
    if (!parse_commands(line.commands, a.order, listed, ticks) || !parse_commands(line.after, a.order, listed, after)) {
        return "the commands make no sense";
    }
    if (ticks.size() > line.tick - now) return "the record has more commands than ticks";
    while (signals.elapsed_time < line.tick) {
        const uint64_t left = line.tick - signals.elapsed_time;
        if (left <= ticks.size() && !run_tick(a, ticks[ticks.size() - left])) return IMPOSSIBLE;
        step(a);
    }
    for (const std::vector<seat_text_t>& texts : after) {
        if (!run_tick(a, texts)) return IMPOSSIBLE;
    }
    return nullptr;
}

} // namespace

verdict_t play_again(const record_file_t& record) {
    static again_t a;
    record_head_t head;
    if (record.lines.empty() || !parse_head(record.lines[0], head)) return differs(0, "this is no record");
    if (head.pace != "real" && head.pace != "free" && head.pace != "turns") return differs(0, "it tells no commands");
    a = {};
    a.order = head.order;
    furnish_field(head.setting);
    open_record(a.recorder, head.setting, head.pace.c_str(), head.order, head.anonymous, false);
    verdict_t verdict{.same = true, .tick = 0, .trouble = {}, .other_build = head.build != build_name()};

    std::vector<std::string> listed;
    for (size_t k = 0; k < record.lines.size(); ++k) {
        const std::string& line = record.lines[k];
        record_line_t parsed{};
        if (k > 0 && !parse_line(line, parsed)) return differs(verdict.tick, "a line of the record makes no sense");
        listed.insert(listed.end(), parsed.texts.begin(), parsed.texts.end());
        if (const char* const trouble = play_to(a, parsed, listed)) return differs(verdict.tick, trouble);
        std::string mine = next_line(a);
        if (mine.empty()) { // an end between two lines of changes
            close_record(a.recorder, {});
            mine = next_line(a);
        }
        const bool is_head = k == 0 && is_same_from_seed(mine, line);
        if (mine != without_end(line) && !is_head) {
            record_line_t made{};
            verdict.same = false;
            verdict.tick = parse_line(mine, made) ? std::min(made.tick, parsed.tick) : parsed.tick;
            verdict.trouble = parsed.full ? "the full state differs" : "the changes differ";
            return verdict;
        }
        verdict.tick = parsed.tick;
        if (parsed.full) listed.clear();
    }
    return verdict;
}
