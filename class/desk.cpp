// The teacher's desk and the board: this machine only.
#include "class/server.h"

#include "class/archive.h"
#include "class/codes.h"
#include "class/qr.h"
#include "class/text.h"

#include <algorithm>
#include <utility>

namespace classroom {

namespace {

struct action {
    std::string_view name;
    std::string_view command;
    std::string_view what;
};
constexpr std::array<action, 8> ACTIONS = {{
    {"painting", "c f", "Wipe the painting"},
    {"zombies", "c a", "Take the zombies away (this wipes the painting, too)"},
    {"cards", "z 0", "Take all cards away"},
    {"coin", "o x", "Throw a coin on the field"},
    {"robot", "r", "Let a robot in"},
    {"battle", "!", "Battle mode"},
    {"drawing", "! -", "Back to drawing"},
    {"ground", "h 1 1 1", "White ground (this wipes the painting)"},
}};

struct beyond {
    std::string_view key;
    std::string_view what;
};
constexpr std::array<beyond, 8> OUT_OF_REACH = {{
    {"K", "Remove all turtles"},
    {"z", "Take the zombies away and keep the painting"},
    {"M", "Put up a maze, or take it down"},
    {"b", "Have the field's edge and the walls stop turtles"},
    {"o", "Scatter stones"},
    {"3", "Bird's-eye view"},
    {"p", "Take a picture of the window"},
    {"@", "Public or private mode; the class needs no public mode"},
}};

std::string_view suffix_of(const program& p) { return p.language == "javascript" ? ".js" : ".py"; }

json empty_object() { return json::object(); }

} // namespace

session* server::person_of(const call& c) {
    const auto id = number_in(c.body, "id", UINT32_MAX);
    return id ? room_.find(*id) : nullptr;
}

json server::fields_json(bool for_desk) {
    json list = json::array();
    for (size_t i = 0; i < fields_.size(); ++i) {
        const class_field& f = fields_[i];
        json entry = {
            {"n", i}, {"places", PLACES}, {"taken", room_.seats().taken(static_cast<int>(i))}, {"ok", f.ok()}};
        if (for_desk) {
            entry["address"] = f.name;
            entry["canvas"] = !f.canvas_folder.empty();
        }
        list.push_back(std::move(entry));
    }
    return list;
}

void server::board(call& c) {
    json who = json::array();
    for (const auto& [id, s] : room_.sessions()) {
        if (s.away) continue;
        const auto where = room_.seats().seat_of(id);
        who.push_back({{"name", s.name},
                       {"state", where ? "seated" : "waiting"},
                       {"field", where ? json(where->field) : json(nullptr)},
                       {"doing", s.doing}});
    }
    c.reply(json_answer(200, {{"address", address()},
                              {"link", link()},
                              {"code", code()},
                              {"paused", room_.paused},
                              {"fields", fields_json(false)},
                              {"who", std::move(who)},
                              {"waiting", room_.seats().waiting()}}));
}

void server::board_qr(call& c) {
    const std::string picture = qr_svg(link());
    if (picture.empty()) return c.reply(error_answer(404, "missing", "The address is too long for a QR code."));
    c.reply(text_answer(200, picture, "image/svg+xml"));
}

void server::desk_state(call& c) {
    const double now = now_s();
    json sessions = json::array();
    for (const auto& [id, s] : room_.sessions()) {
        const auto where = room_.seats().seat_of(id);
        const int queue = room_.seats().queue_place(id);
        json saved = nullptr;
        if (s.saved)
            saved = {{"language", s.saved->language}, {"title", s.saved->title}, {"bytes", s.saved->text.size()}};
        sessions.push_back({{"id", id},
                            {"name", s.name},
                            {"state", s.away  ? "away"
                                      : where ? "seated"
                                              : "waiting"},
                            {"field", where ? json(where->field) : json(nullptr)},
                            {"place", where ? json(where->place) : json(nullptr)},
                            {"queue", queue > 0 ? json(queue) : json(nullptr)},
                            {"doing", s.doing},
                            {"said", s.said},
                            {"run", s.current.over == ending::running},
                            {"held", is_held(id)},
                            {"seen_s", static_cast<int>(now - s.seen)},
                            {"program", std::move(saved)}});
    }
    json rules = json::array();
    for (size_t i = 0; i < RULES.size(); ++i) {
        rules.push_back({{"key", RULES[i].key}, {"what", RULES[i].what}, {"allowed", room_.rules.allowed[i]}});
    }
    json actions = json::array();
    for (const action& a : ACTIONS) actions.push_back({{"do", a.name}, {"what", a.what}, {"command", a.command}});
    json out_of_reach = json::array();
    for (const beyond& b : OUT_OF_REACH) out_of_reach.push_back({{"key", b.key}, {"what", b.what}});
    json starter = nullptr;
    if (room_.starter) {
        starter = program_json(*room_.starter);
        starter["version"] = room_.starter_version;
    }
    c.reply(json_answer(200, {{"code", code()},
                              {"address", address()},
                              {"link", link()},
                              {"paused", room_.paused},
                              {"turn_minutes", room_.seats().turn() / 60},
                              {"start", room_.apart ? "apart" : "middle"},
                              {"waiting", room_.seats().waiting()},
                              {"fields", fields_json(true)},
                              {"sessions", std::move(sessions)},
                              {"rules", std::move(rules)},
                              {"actions", std::move(actions)},
                              {"out_of_reach", std::move(out_of_reach)},
                              {"starter", std::move(starter)}}));
}

void server::desk_remove(call& c) {
    const session* s = person_of(c);
    if (s == nullptr) return c.reply(error_answer(404, "missing", "Nobody here has that number."));
    room_.remove(s->id, ending::removed);
    c.reply(json_answer(200, empty_object()));
}

void server::desk_rename(call& c) {
    session* s = person_of(c);
    if (s == nullptr) return c.reply(error_answer(404, "missing", "Nobody here has that number."));
    const auto name = clean_name(text_in(c.body, "name"));
    if (!name) return c.reply(error_answer(400, "name", "A name has 1 to 24 letters."));
    room_.rename(*s, *name);
    const auto where = room_.seats().seat_of(s->id);
    if (where && link_at(*where).connected()) {
        link_at(*where).exchange("n " + to_hex(s->name) + '\n', 1, [](field_link::outcome, const std::string&) {});
    }
    c.reply(json_answer(200, {{"name", s->name}}));
}

void server::desk_pause(call& c) {
    const auto paused = c.body.find("paused");
    if (paused == c.body.end() || !paused->is_boolean())
        return c.reply(error_answer(400, "bad", "paused is true or false."));
    room_.paused = paused->get<bool>();
    if (!room_.paused) resume_held();
    c.reply(json_answer(200, empty_object()));
}

void server::desk_stop(call& c) {
    const auto all = c.body.find("all");
    if (all != c.body.end() && all->is_boolean() && all->get<bool>()) {
        for (const auto& [id, s] : room_.sessions()) room_.end_run(*room_.find(id), ending::stopped);
        return c.reply(json_answer(200, empty_object()));
    }
    session* s = person_of(c);
    if (s == nullptr) return c.reply(error_answer(404, "missing", "Nobody here has that number."));
    room_.end_run(*s, ending::stopped);
    c.reply(json_answer(200, empty_object()));
}

void server::desk_rule(call& c) {
    const int rule = find_rule(text_in(c.body, "key"));
    const auto allowed = c.body.find("allowed");
    if (rule < 0) return c.reply(error_answer(404, "missing", "There is no such rule."));
    if (allowed == c.body.end() || !allowed->is_boolean())
        return c.reply(error_answer(400, "bad", "allowed is true or false."));
    room_.rules.allowed[static_cast<size_t>(rule)] = allowed->get<bool>();
    c.reply(json_answer(200, empty_object()));
}

void server::desk_starter(call& c) {
    auto given = program_in(c.body);
    if (auto* const refusal = std::get_if<outgoing>(&given)) return c.reply(std::move(*refusal));
    auto& p = std::get<program>(given);
    ++room_.starter_version;
    room_.starter.reset();
    if (!p.text.empty()) room_.starter = std::move(p);
    c.reply(json_answer(200, {{"version", room_.starter_version}}));
}

void server::desk_code(call& c) {
    const std::string wish = text_in(c.body, "code");
    const bool is_text = !c.body.contains("code") || c.body["code"].is_string();
    const std::string chosen = !is_text ? "" : wish.empty() ? random_code() : normal_code(wish);
    if (chosen.empty()) return c.reply(error_answer(400, "bad", "A code has 3 to 16 letters and digits."));
    room_.set_code(chosen);
    const auto all = c.body.find("all");
    if (all != c.body.end() && all->is_boolean() && all->get<bool>()) room_.remove_all(ending::removed);
    c.reply(json_answer(200, {{"code", code()}}));
}

void server::desk_turns(call& c) {
    const auto minutes = c.body.find("minutes");
    const double value = minutes != c.body.end() && minutes->is_number() ? minutes->get<double>() : -1;
    if (!(value >= 0 && value <= 1440)) return c.reply(error_answer(400, "bad", "Turns have 0 to 1440 minutes."));
    room_.seats().set_turn(value * 60);
    c.reply(json_answer(200, empty_object()));
}

void server::desk_start(call& c) {
    const std::string start = text_in(c.body, "start");
    if (start != "middle" && start != "apart")
        return c.reply(error_answer(400, "bad", "Runs start in the middle or apart."));
    room_.apart = start == "apart";
    c.reply(json_answer(200, empty_object()));
}

// Commands use a connection that exists; otherwise one is made, and its turtle is parked out of sight again.
void server::desk_field(call& c) {
    const std::string name = text_in(c.body, "do");
    const auto* const found =
        std::find_if(ACTIONS.begin(), ACTIONS.end(), [&name](const action& a) { return a.name == name; });
    if (found == ACTIONS.end()) return c.reply(error_answer(404, "missing", "There is no such action."));
    const auto one = number_in(c.body, "field", 999);
    if ((c.body.contains("field") && !c.body["field"].is_null() && !one) || (one && *one >= fields_.size())) {
        return c.reply(error_answer(404, "missing", "There is no such field."));
    }
    struct outcome_of_all {
        explicit outcome_of_all(responder r) : reply(std::move(r)) {}
        responder reply;
        json done = json::array();
        json failed = json::array();
        size_t open = 1;
        void one_less() {
            if (--open == 0) reply(json_answer(200, {{"done", std::move(done)}, {"failed", std::move(failed)}}));
        }
    };
    auto all = std::make_shared<outcome_of_all>(std::move(c.reply));
    for (size_t i = 0; i < fields_.size(); ++i) {
        if (one && *one != i) continue;
        int place = 0;
        while (place < PLACES && !fields_[i].places[static_cast<size_t>(place)].link->connected()) ++place;
        const bool stands = place < PLACES;
        const seat where = {static_cast<int>(i), stands ? place : 0};
        ++all->open;
        const auto done = [all, i](field_link::outcome o, const std::string&) {
            if (o == field_link::outcome::ok) {
                all->done.push_back(i);
            } else {
                all->failed.push_back({{"field", i}, {"message", "The field is not there, or has no free place."}});
            }
            all->one_less();
        };
        link_at(where).exchange(std::string(found->command) + '\n', 1, done);
        if (!stands) park(where);
    }
    all->one_less();
}

void server::desk_program(call& c) {
    const auto id = decimal(query_value(c.in.query, "id").value_or(""), UINT32_MAX);
    const session* s = id ? room_.find(*id) : nullptr;
    if (s == nullptr || !s->saved) return c.reply(error_answer(404, "missing", "There is no such program."));
    c.reply(json_answer(200, program_json(*s->saved)));
}

void server::desk_programs(call& c) {
    std::vector<file_in_archive> files;
    for (const auto& [name, p] : room_.left_programs()) files.push_back({name + std::string(suffix_of(p)), p.text});
    for (const auto& [id, s] : room_.sessions()) {
        if (s.saved) files.push_back({s.name + std::string(suffix_of(*s.saved)), s.saved->text});
    }
    auto zip = make_zip(files);
    if (!zip) return c.reply(error_answer(500, "missing", "The zip file could not be made."));
    outgoing answer = text_answer(200, std::move(*zip), "application/zip");
    answer.headers = {{http::field::content_disposition, "attachment; filename=\"programs.zip\""}};
    c.reply(std::move(answer));
}

} // namespace classroom
