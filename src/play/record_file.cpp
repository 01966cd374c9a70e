#include "play/record_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <zlib.h>

namespace {

using nlohmann::json;

constexpr size_t CHUNK_BYTES = 1 << 16;
constexpr int DEPTH_MOST = 16; // of objects and lists in each other; a line of a record has 5

// Parses a line. Without a limit on its depth a tree could be too deep for functions that call themselves.
json parse_json(const std::string& line) {
    int depth = 0;
    bool in_text = false;
    for (size_t k = 0; k < line.size(); ++k) {
        const char c = line[k];
        if (in_text && c == '\\') {
            ++k;
        } else if (c == '"') {
            in_text = !in_text;
        } else if (!in_text && (c == '[' || c == '{')) {
            if (++depth > DEPTH_MOST) return json(json::value_t::discarded);
        } else if (!in_text && (c == ']' || c == '}')) {
            --depth;
        }
    }
    return json::parse(line, nullptr, false);
}

const json* find(const json& object, const char* name) {
    if (!object.is_object()) return nullptr;
    const auto at = object.find(name);
    return at == object.end() ? nullptr : &*at;
}

bool read_integer(const json& object, const char* name, int64_t least, int64_t most, int64_t& number) {
    const json* const value = find(object, name);
    if (value == nullptr || !value->is_number_integer()) return false;
    number = value->get<int64_t>();
    return number >= least && number <= most;
}

bool read_string(const json& object, const char* name, std::string& text) {
    const json* const value = find(object, name);
    if (value == nullptr || !value->is_string()) return false;
    text = value->get<std::string>();
    return true;
}

bool read_strings(const json& object, const char* name, std::vector<std::string>& texts) {
    const json* const value = find(object, name);
    if (value == nullptr) return true;
    if (!value->is_array()) return false;
    for (const json& text : *value) {
        if (!text.is_string()) return false;
        texts.push_back(text.get<std::string>());
    }
    return true;
}

// Moves all complete lines out of `rest`, of which the first `searched` bytes hold no line feed.
void add_lines(record_file_t& record, std::string& rest, size_t searched) {
    size_t start = 0;
    for (size_t end = rest.find('\n', searched); end != std::string::npos; end = rest.find('\n', start)) {
        record.lines.emplace_back(rest, start, end - start);
        start = end + 1;
    }
    rest.erase(0, start);
}

// Unpacks all members. Of a truncated or damaged member everything before the damage is kept.
void unpack(FILE* file, record_file_t& record) {
    z_stream stream = {};
    if (inflateInit2(&stream, 15 + 16) != Z_OK) return;
    std::vector<unsigned char> in(CHUNK_BYTES);
    std::vector<unsigned char> out(CHUNK_BYTES);
    std::string rest;
    size_t total = 0;
    bool inside = false;
    bool head_found = false;
    record.whole = true;
    for (;;) {
        if (stream.avail_in == 0) {
            stream.next_in = in.data();
            stream.avail_in = static_cast<uInt>(fread(in.data(), 1, in.size(), file));
            if (stream.avail_in == 0) break;
        }
        stream.next_out = out.data();
        stream.avail_out = static_cast<uInt>(out.size());
        const int status = inflate(&stream, Z_NO_FLUSH);
        const size_t got = out.size() - stream.avail_out;
        const size_t searched = rest.size();
        rest.append(reinterpret_cast<const char*>(out.data()), got);
        add_lines(record, rest, searched);
        total += got;
        inside = status != Z_STREAM_END;
        if (status == Z_STREAM_END) {
            inflateReset(&stream);
        } else if (status != Z_OK && status != Z_BUF_ERROR) {
            record.trouble = "the file is damaged";
            break;
        }
        record_head_t head;
        if (!head_found && !record.lines.empty()) {
            head_found = parse_head(record.lines[0], head);
            if (!head_found) break; // not a record: the rest may be of any size
        }
        if (total > RECORD_BYTES_MOST || record.lines.size() > RECORD_LINES_MOST || rest.size() > LINE_BYTES_MOST) {
            record.trouble = "the record is too long to be read whole";
            break;
        }
    }
    if (record.trouble.empty() && (inside || !rest.empty())) record.trouble = "the file was cut off";
    record.whole = record.trouble.empty();
    inflateEnd(&stream);
}

size_t letter_index(char letter) { return record_letters().find(letter); }

// The token at `at`: a listed text or one in quotes. @return false when it is neither
bool take_token(const std::string& commands, size_t& at, const std::vector<std::string>& listed, std::string& text) {
    const std::string_view rest = std::string_view(commands).substr(at);
    if (rest.starts_with(RECORD_OPENING)) {
        const size_t end = rest.find(RECORD_CLOSING);
        if (end == std::string_view::npos) return false;
        text = rest.substr(RECORD_OPENING.size(), end - RECORD_OPENING.size());
        at += end + RECORD_CLOSING.size();
        return true;
    }
    const size_t index = rest.empty() ? std::string_view::npos : letter_index(rest[0]);
    if (index >= listed.size()) return false;
    text = listed[index];
    ++at;
    return true;
}

} // namespace

bool read_record(const char* path, record_file_t& record) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(strcmp(path, "-") == 0 ? fdopen(0, "rb") : fopen(path, "rbe"),
                                                     fclose);
    if (file == nullptr) {
        fprintf(stderr, "cannot read %s: %s\n", path, strerror(errno));
        return false;
    }
    record = {};
    unpack(file.get(), record);
    record_head_t head;
    if (!record.lines.empty() && parse_head(record.lines[0], head)) return true;
    fprintf(stderr, "%s is no record of a game\n", path);
    return false;
}

bool parse_head(const std::string& line, record_head_t& head) {
    const json parsed = parse_json(line);
    int64_t version = 0, seed = 0, n_stones = 0, n_coins = 0;
    std::string mode, order;
    if (!read_integer(parsed, "kelmora_record", RECORD_VERSION, RECORD_VERSION, version) ||
        !read_integer(parsed, "seed", 0, UINT32_MAX, seed) ||
        !read_integer(parsed, "stones", 0, STONES_MOST, n_stones) ||
        !read_integer(parsed, "coins", 0, COIN_MAX, n_coins) || !read_string(parsed, "mode", mode) ||
        !read_string(parsed, "order", order) || !read_string(parsed, "pace", head.pace) ||
        !read_string(parsed, "build", head.build) || !mode_of_name(mode.c_str(), head.setting.mode)) {
        return false;
    }
    head.setting.seed = static_cast<uint32_t>(seed);
    head.setting.stones = static_cast<int>(n_stones);
    head.setting.coins = static_cast<int>(n_coins);
    head.order = order == "rounds" ? command_order_t::rounds : command_order_t::blocks;
    const json* const anonymous = find(parsed, "anonymous");
    head.anonymous = anonymous != nullptr && anonymous->is_boolean() && anonymous->get<bool>();
    return order == "rounds" || order == "blocks" || order == "none";
}

bool parse_line(const std::string& line, record_line_t& parsed) {
    const json object = parse_json(line);
    int64_t tick = 0;
    if (!read_integer(object, "t", 0, INT64_MAX, tick)) return false;
    parsed = {};
    parsed.tick = static_cast<uint64_t>(tick);
    const json* const full = find(object, "full");
    parsed.full = full != nullptr && full->is_object();
    if (find(object, "a") != nullptr && !read_string(object, "a", parsed.after)) return false;
    if (find(object, "c") != nullptr && !read_string(object, "c", parsed.commands)) return false;
    const json* const end = find(object, "end");
    if (end != nullptr && end->is_object()) parsed.end = end->dump(-1, ' ', false, json::error_handler_t::replace);
    return read_strings(object, "d", parsed.texts);
}

bool parse_commands(const std::string& commands, command_order_t order, const std::vector<std::string>& listed,
                    std::vector<std::vector<seat_text_t>>& out) {
    out.clear();
    size_t at = 0;
    for (int place = 0; at < commands.size(); ++place) {
        int seat = place % MAX_CLIENT;
        if (out.empty() || (order == command_order_t::rounds && seat == 0)) out.emplace_back();
        if (order == command_order_t::blocks) {
            const char seat_digit = commands[at++];
            if (seat_digit == RECORD_NEXT_TICK) {
                out.emplace_back();
                continue;
            }
            seat = seat_digit - '0';
        } else if (commands[at] == RECORD_NO_COMMAND) {
            ++at;
            continue;
        }
        std::string text;
        if (seat < 0 || seat >= MAX_CLIENT || !take_token(commands, at, listed, text)) return false;
        out.back().push_back({.seat = seat, .text = text});
    }
    return true;
}
