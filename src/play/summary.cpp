#include "play/summary.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

constexpr double TICKS_A_MINUTE = 7500.0; // 8 ms each

int64_t integer_of(const json& object, const char* name) {
    const auto at = object.find(name);
    return at != object.end() && at->is_number_integer() ? at->get<int64_t>() : 0;
}

std::string text_of(const json& object, const char* name) {
    const auto at = object.find(name);
    return at != object.end() && at->is_string() ? at->get<std::string>() : std::string();
}

// A name that is safe to print on a terminal: without control characters.
std::string printable(std::string name) {
    for (char& c : name) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    }
    return name.empty() ? "-" : name;
}

void print_programs(const std::string& end, FILE* out) {
    const json results = json::parse(end, nullptr, false);
    if (!results.is_object()) return;
    fprintf(out, "ended: %s\n", printable(text_of(results, "why")).c_str());
    const auto programs = results.find("programs");
    if (programs == results.end() || !programs->is_array()) return;
    fprintf(out, "%5s %5s %-24s %4s %6s %5s %8s %8s %6s\n", "place", "seat", "name", "team", "score", "coins", "death",
            "commands", "missed");
    for (const json& p : *programs) {
        if (!p.is_object()) continue;
        const auto death = p.find("death");
        const std::string died =
            death != p.end() && death->is_number_integer() ? std::to_string(death->get<int64_t>()) : "-";
        fprintf(out, "%5lld %5lld %-24s %4lld %6lld %5lld %8s %8lld %6lld\n",
                static_cast<long long>(integer_of(p, "place")), static_cast<long long>(integer_of(p, "seat")),
                printable(text_of(p, "name")).c_str(), static_cast<long long>(integer_of(p, "team")),
                static_cast<long long>(integer_of(p, "score")), static_cast<long long>(integer_of(p, "coins")),
                died.c_str(), static_cast<long long>(integer_of(p, "commands")),
                static_cast<long long>(integer_of(p, "missed_turns")));
    }
}

} // namespace

bool print_summary(const record_file_t& record, FILE* out) {
    record_head_t head;
    if (!parse_head(record.lines[0], head)) return false;
    uint64_t tick = 0;
    size_t full_states = 0;
    std::string end;
    for (size_t k = 1; k < record.lines.size(); ++k) {
        record_line_t line{};
        if (!parse_line(record.lines[k], line) || line.tick < tick) {
            fprintf(stderr, "line %zu of the record makes no sense\n", k + 1);
            return false;
        }
        tick = line.tick;
        full_states += line.full ? 1 : 0;
        if (!line.end.empty()) end = line.end;
    }
    fprintf(out, "build: %s\n", printable(head.build).c_str());
    fprintf(out, "game:  %s, seed %u, %d stones, %d coins, pace %s%s\n", mode_name(head.setting.mode),
            head.setting.seed, head.setting.stones, head.setting.coins, printable(head.pace).c_str(),
            head.anonymous ? ", without names" : "");
    fprintf(out, "ticks: %llu, %.1f minutes of the window's time; %zu lines, %zu full states\n",
            static_cast<unsigned long long>(tick), static_cast<double>(tick) / TICKS_A_MINUTE, record.lines.size(),
            full_states);
    if (end.empty()) {
        fputs("ended: not in this record\n", out);
    } else {
        print_programs(end, out);
    }
    return true;
}
