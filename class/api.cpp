// The API for students' pages and workers, and the routes of the whole API.
#include "class/server.h"

#include "class/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace classroom {

using boost::system::error_code;

namespace {

constexpr unsigned MOST_RUNS = 4000000000U;

std::optional<unsigned> run_number(const call& c) {
    return decimal(query_value(c.in.query, "run").value_or(""), MOST_RUNS);
}

json whole_seconds(std::optional<double> seconds) { return seconds ? json(std::ceil(*seconds)) : json(nullptr); }

bool is_plain_reset(std::string_view line) {
    if (line[0] != 'c' && line[0] != 'C') return false;
    const size_t word = line.find_first_not_of(' ', std::min(line.find(' '), line.size()));
    return word == std::string_view::npos || std::string_view("aAfFhH").find(line[word]) == std::string_view::npos;
}

// The last of several whole lines, without its line feed.
std::string last_line(std::string_view lines) {
    if (lines.ends_with('\n')) lines.remove_suffix(1);
    const size_t before = lines.rfind('\n');
    return std::string(before == std::string_view::npos ? lines : lines.substr(before + 1));
}

// The lines of `text` number k for which keep[k] is set.
std::string select_lines(const std::string& text, const std::vector<bool>& keep) {
    std::string out;
    size_t from = 0;
    for (const bool wanted : keep) {
        const size_t end = text.find('\n', from);
        if (end == std::string::npos) break;
        if (wanted) out.append(text, from, end + 1 - from);
        from = end + 1;
    }
    return out;
}

} // namespace

const std::vector<server::route>& server::routes() {
    using need = enum route::need;
    using body = enum route::body;
    constexpr auto get = http::verb::get;
    constexpr auto post = http::verb::post;
    static const std::vector<route> table = {
        {get, "/api/hello", need::nothing, body::none, &server::hello},
        {post, "/api/join", need::nothing, body::object, &server::join},
        {post, "/api/leave", need::token, body::none, &server::leave},
        {post, "/api/beat", need::token, body::object, &server::beat},
        {get, "/api/me", need::token, body::none, &server::me},
        {post, "/api/run/begin", need::token, body::object, &server::begin},
        {post, "/api/run/lines", need::token, body::text, &server::lines},
        {get, "/api/run/stop", need::token, body::none, &server::ask_stop},
        {post, "/api/run/stop", need::token, body::object, &server::press_stop},
        {post, "/api/run/note", need::token, body::text, &server::note},
        {post, "/api/run/ask", need::token, body::text, &server::ask},
        {post, "/api/run/answer", need::token, body::text, &server::answer},
        {post, "/api/run/end", need::token, body::object, &server::end},
        {http::verb::put, "/api/program", need::token, body::object, &server::put_program},
        {get, "/api/program", need::token, body::none, &server::get_program},
        {get, "/api/starter", need::token, body::none, &server::get_starter},
        {get, "/api/board", need::desk, body::none, &server::board},
        {get, "/api/board/qr.svg", need::desk, body::none, &server::board_qr},
        {get, "/api/desk/state", need::desk, body::none, &server::desk_state},
        {post, "/api/desk/remove", need::desk, body::object, &server::desk_remove},
        {post, "/api/desk/rename", need::desk, body::object, &server::desk_rename},
        {post, "/api/desk/pause", need::desk, body::object, &server::desk_pause},
        {post, "/api/desk/stop", need::desk, body::object, &server::desk_stop},
        {post, "/api/desk/rule", need::desk, body::object, &server::desk_rule},
        {post, "/api/desk/starter", need::desk, body::object, &server::desk_starter},
        {post, "/api/desk/code", need::desk, body::object, &server::desk_code},
        {post, "/api/desk/turns", need::desk, body::object, &server::desk_turns},
        {post, "/api/desk/start", need::desk, body::object, &server::desk_start},
        {post, "/api/desk/field", need::desk, body::object, &server::desk_field},
        {get, "/api/desk/program", need::desk, body::none, &server::desk_program},
        {get, "/api/desk/programs.zip", need::desk, body::none, &server::desk_programs},
    };
    return table;
}

void server::hello(call& c) {
    json fields = json::array();
    for (int i = 0; i < room_.seats().fields(); ++i) {
        fields.push_back({{"places", PLACES}, {"taken", room_.seats().taken(i)}});
    }
    c.reply(json_answer(200, {{"version", "0.1.0"},
                              {"fields", std::move(fields)},
                              {"waiting", room_.seats().waiting()},
                              {"beat_s", BEAT_S},
                              {"gone_s", GONE_S},
                              {"turn_minutes", room_.seats().turn() / 60}}));
}

void server::join(call& c) {
    const double now = now_s();
    const uint32_t address = c.in.address;
    if (const double wait = guesses_.wait(address, now); wait > 0) {
        return c.reply(json_answer(429, {{"error", "slow"},
                                         {"retry_s", std::ceil(wait)},
                                         {"message", "Too many wrong codes. Please wait a little."}}));
    }
    if (!room_.code_is(text_in(c.body, "code"))) {
        guesses_.wrong(address, now);
        auto timer = std::make_shared<net::steady_timer>(io_, WRONG_CODE_PAUSE);
        auto reply = std::make_shared<responder>(std::move(c.reply));
        timer->async_wait(
            [timer, reply](error_code) { (*reply)(error_answer(403, "code", "That is not the class code.")); });
        return;
    }
    guesses_.right(address);
    const auto name = clean_name(text_in(c.body, "name"));
    if (!name) return c.reply(error_answer(400, "name", "A name has 1 to 24 letters."));
    const auto wish = number_in(c.body, "field", 999);
    const session* s = room_.join(*name, wish ? static_cast<int>(*wish) : -1, address, now);
    if (s == nullptr) return c.reply(error_answer(503, "full", "The class is full."));
    printf("%s has joined from %s\n", for_log(s->name).c_str(), net::ip::address_v4(address).to_string().c_str());
    fflush(stdout);
    json state = state_of(*s);
    state["token"] = s->token;
    c.reply(json_answer(200, state));
}

void server::leave(call& c) {
    room_.remove(c.who->id, ending::ended);
    c.reply(nothing());
}

void server::beat(call& c) {
    session& s = *c.who;
    const std::string doing = text_in(c.body, "doing");
    for (const std::string_view known : {"idle", "running", "asking", "error", "practice"}) {
        if (doing == known) s.doing = doing;
    }
    if (c.body.contains("said")) s.said = cut_text(text_in(c.body, "said"), SAID_BYTES);
    c.reply(json_answer(200, state_of(s)));
}

void server::me(call& c) { c.reply(json_answer(200, state_of(*c.who))); }

json server::state_of(const session& s) {
    seating& seats = room_.seats();
    const double now = now_s();
    const auto where = seats.seat_of(s.id);
    const int queue = seats.queue_place(s.id);
    json forbidden = json::array();
    for (size_t i = 0; i < RULES.size(); ++i) {
        if (!room_.rules.allowed[i]) forbidden.push_back(RULES[i].key);
    }
    json state = {{"name", s.name},
                  {"state", where ? "seated" : "waiting"},
                  {"seat", nullptr},
                  {"queue", nullptr},
                  {"paused", room_.paused},
                  {"run", nullptr},
                  {"starter", room_.starter_version},
                  {"forbidden", std::move(forbidden)},
                  {"turn_minutes", seats.turn() / 60}};
    if (where) {
        state["seat"] = {{"field", where->field},
                         {"place", where->place},
                         {"turtle", valid_utf8(s.turtle)},
                         {"turn_left_s", whole_seconds(seats.turn_left(s.id, now))}};
    }
    if (queue > 0) {
        state["queue"] = {
            {"place", queue}, {"of", seats.waiting()}, {"wait_s", whole_seconds(seats.expected_wait(s.id, now))}};
    }
    if (s.current.id != 0) state["run"] = {{"id", s.current.id}, {"over", s.current.over != ending::running}};
    return state;
}

// Resets the turtle and sets its name. Nothing of the run before remains, so there is no zombie either.
void server::begin(call& c) {
    session& s = *c.who;
    if (room_.paused) return c.reply(error_answer(409, "paused", "Your teacher has paused the class."));
    live_.try_emplace(s.id);
    const auto practice = c.body.find("practice");
    if (practice != c.body.end() && practice->is_boolean() && practice->get<bool>()) {
        const uint32_t run = room_.begin_run(s, true);
        live_[s.id].lines_number = 0;
        return c.reply(json_answer(200, {{"run", run}, {"field", nullptr}}));
    }
    const auto where = room_.seats().seat_of(s.id);
    if (!where) return c.reply(error_answer(409, "no_seat", "You have no place on a field yet."));
    // A line tried after a program's end: the turtle stays as that program left it, if there was one and it ended here.
    const auto wish = c.body.find("keep");
    const bool keep = wish != c.body.end() && wish->is_boolean() && wish->get<bool>() && s.current.kept &&
                      (s.current.over == ending::ended || s.current.over == ending::stopped) &&
                      link_at(*where).connected();
    const uint32_t run = room_.begin_run(s, false);
    settle(); // ends what the run before still held
    live_[s.id].answer.reset();
    live_[s.id].lines_answer.reset();
    live_[s.id].lines_number = 0;
    if (keep) {
        return c.reply(json_answer(
            200, {{"run", run}, {"field", where->field}, {"turtle", valid_utf8(s.turtle)}, {"keep", true}}));
    }
    const std::string old_name = valid_utf8(s.turtle);
    s.turtle = s.name;
    // std::function needs a copyable target, which a responder is not.
    auto shared = std::make_shared<responder>(std::move(c.reply));
    // Lines of the run before are carried out first, so that no other start waits for them, nor for a field that does
    // not answer.
    link_at(*where).exchange("q t\n", 1, [=, self = shared_from_this(), who = s.id, at = *where](auto o, const auto&) {
        if (const auto refused = self->refused_start(who, run, at, o)) return (*shared)(*refused);
        self->start_in_turn(at.field, [=](uint32_t turn) {
            const auto reply = [self, shared, at, turn](outgoing what) {
                (*shared)(std::move(what));
                self->end_start(at.field, turn);
            };
            // A run that was replaced while it waited costs the field nothing.
            if (const auto refused = self->refused_run(who, run)) return reply(*refused);
            self->with_bodies(at.field, old_name, [=](const std::vector<spot>& others) {
                self->start_turtle(who, run, at, others, reply);
            });
        });
    });
}

// The refusal for a run that ended, or whose session ended, while it was starting; nothing when it goes on.
std::optional<outgoing> server::refused_run(person_id who, uint32_t run) {
    const session* const s = room_.find(who);
    if (s == nullptr) return run_over(ending::removed);
    if (!room::is_running(*s, run)) return run_over(room::why_over(*s, run));
    return std::nullopt;
}

// The same after an exchange with the field; if that failed, the run ends.
std::optional<outgoing> server::refused_start(person_id who, uint32_t run, seat where, field_link::outcome o) {
    judge_link(where.field, o);
    auto refused = refused_run(who, run);
    if (refused || o == field_link::outcome::ok) return refused;
    room_.end_run(*room_.find(who), ending::field);
    settle();
    if (o == field_link::outcome::busy) return error_answer(409, "busy", "Too many runs have begun at once.");
    if (o == field_link::outcome::silent) return error_answer(504, "field", "The field does not answer.");
    return error_answer(503, "field", "The field is not there, or has no free place for a program.");
}

// `c` puts the turtle into the middle. If another turtle is there, it could neither step nor jump away: then it first
// goes to a place of its own, and gets pen, colour, width, lines and heading as `c` would set them.
void server::start_turtle(person_id who, uint32_t run, seat where, std::vector<spot> others,
                          const std::function<void(outgoing)>& reply) {
    if (const auto refused = refused_run(who, run)) return reply(*refused);
    const session* const s = room_.find(who);
    add_given_starts(where, others);
    const bool through_middle = middle_is_free(others);
    const spot start = through_middle && !room_.apart ? spot{0, 0} : free_spot(others, where.place);
    give_start(where, start);
    std::array<char, 64> jump{};
    snprintf(jump.data(), jump.size(), "j %.0f %.0f\n", start.x, start.y);
    std::string lines = through_middle ? "c\n" : "p u\n";
    if (!through_middle || room_.apart) lines += jump.data();
    if (!through_middle) lines += "l\nk 1 0 0\nw 1\nt e\n";
    lines += "n " + to_hex(s->name) + '\n';
    const auto count = static_cast<size_t>(std::count(lines.begin(), lines.end(), '\n'));
    const auto done = [self = shared_from_this(), reply, who, run, where, start](field_link::outcome o,
                                                                                 const std::string& answers) {
        if (const auto refused = self->refused_start(who, run, where, o)) return reply(*refused);
        reply(json_answer(200, {{"run", run},
                                {"field", where.field},
                                {"turtle", self->room_.find(who)->name},
                                {"start", {start.x, start.y}},
                                {"answer", last_line(answers)}}));
    };
    link_at(where).exchange(std::move(lines), count, done);
}

void server::lines(call& c) {
    session& s = *c.who;
    const auto run = run_number(c);
    if (!run || !room::is_running(s, *run)) return c.reply(run_over(room::why_over(s, run.value_or(0))));
    if (s.current.practice) return c.reply(run_over(ending::practice));
    live_session& live = live_[s.id];
    // A client, or its browser, that got no answer sends the same request again, with the same number: its commands are
    // carried out once.
    const auto number = decimal(query_value(c.in.query, "n").value_or(""), MOST_RUNS);
    if (number && *number == live.lines_number) {
        if (live.lines) {
            responder before = std::exchange(*live.lines, std::move(c.reply));
            return before(again());
        }
        if (live.lines_answer) return c.reply(*live.lines_answer);
    }
    if (number && *number < live.lines_number)
        return c.reply(error_answer(409, "busy", "This request has been answered already."));
    if (live.lines) return c.reply(error_answer(409, "busy", "Another request of this run is under way."));
    std::vector<std::string> commands = split_lines(c.in.message.body(), LINES_A_REQUEST + 1);
    if (commands.size() > LINES_A_REQUEST)
        return c.reply(error_answer(413, "too_big", "At most 256 commands at once."));
    if (auto refused = refused_lines(commands)) return c.reply(std::move(*refused));
    if (commands.empty()) return c.reply(text_answer(200, ""));
    const double wait = s.lines.take(static_cast<double>(commands.size()), now_s());
    live.lines.emplace(std::move(c.reply));
    live.lines_waiting = std::move(commands);
    ++live.lines_serial;
    live.lines_number = number.value_or(0);
    live.lines_answer.reset();
    if (wait <= 0) return forward_lines(s.id);
    live.lines_limit =
        std::make_unique<net::steady_timer>(io_, std::chrono::microseconds(static_cast<int64_t>(wait * 1e6)));
    live.lines_limit->async_wait([self = shared_from_this(), who = s.id](error_code error) {
        if (!error) self->forward_lines(who);
    });
}

// The refusal of the first command that a rule forbids; nothing when all may be sent.
std::optional<outgoing> server::refused_lines(const std::vector<std::string>& commands) const {
    for (size_t i = 0; i < commands.size(); ++i) {
        const int rule = forbidden_by(room_.rules, commands[i]);
        if (rule < 0) continue;
        const auto& r = RULES[static_cast<size_t>(rule)];
        return json_answer(403, {{"error", "forbidden"},
                                 {"command", r.key},
                                 {"what", r.what},
                                 {"index", i},
                                 {"message", "Your teacher has switched this off: " + std::string(r.what) + " (" +
                                                 std::string(r.key) + ")."}});
    }
    return std::nullopt;
}

// Sends the lines in live.lines_waiting, or keeps them while the class is paused.
void server::forward_lines(person_id who) {
    const auto found = live_.find(who);
    session* const s = room_.find(who);
    if (found == live_.end() || s == nullptr || !found->second.lines) return;
    live_session& live = found->second;
    if (live.lines_waiting.empty()) return; // they have been sent already
    const auto where = room_.seats().seat_of(who);
    if (!where || s->current.over != ending::running) return answer_lines(who, run_over(s->current.over));
    if (room_.paused) {
        live.lines_limit = std::make_unique<net::steady_timer>(io_, HELD_LIMIT);
        live.lines_limit->async_wait([self = shared_from_this(), who](error_code error) {
            const auto held = self->live_.find(who);
            if (error || held == self->live_.end() || held->second.lines_waiting.empty()) return;
            self->answer_lines(who, again());
        });
        return;
    }
    live.lines_limit.reset();
    // The rules may have changed while the lines waited.
    if (auto refused = refused_lines(live.lines_waiting)) return answer_lines(who, std::move(*refused));
    std::string out;
    std::vector<bool> keep;
    for (const std::string& line : std::exchange(live.lines_waiting, {})) {
        out += line + '\n';
        keep.push_back(true);
        std::string name;
        if (read_name_command(line, name)) s->turtle = cut_text(name, 127);
        // A reset removes the name, by which the class tells turtles apart, so it is set again.
        if (is_plain_reset(line)) {
            out += "n " + to_hex(s->turtle) + '\n';
            keep.push_back(false);
        }
    }
    const size_t count = keep.size();
    const uint32_t serial = live.lines_serial;
    const auto done = [self = shared_from_this(), who, serial, keep = std::move(keep)](field_link::outcome o,
                                                                                       const std::string& answers) {
        const auto now = self->live_.find(who);
        if (now == self->live_.end() || now->second.lines_serial != serial || !now->second.lines) return;
        if (o == field_link::outcome::ok) {
            const bool all = std::find(keep.begin(), keep.end(), false) == keep.end();
            outgoing answer = text_answer(200, all ? answers : select_lines(answers, keep));
            if (now->second.lines_number != 0) now->second.lines_answer = answer;
            return self->answer_lines(who, std::move(answer));
        }
        const bool silent = o == field_link::outcome::silent;
        self->answer_lines(
            who, error_answer(silent ? 504 : 503, "field",
                              silent ? "The field does not answer." : "The connection to the field is lost."));
        if (session* const s2 = self->room_.find(who); s2 != nullptr) self->room_.end_run(*s2, ending::field);
        self->settle();
    };
    link_at(*where).exchange(std::move(out), count, done);
}

// A pause has ended: answers what it held.
void server::resume_held() {
    std::vector<person_id> waiting;
    for (const auto& [who, live] : live_) {
        if ((live.lines && !live.lines_waiting.empty()) || live.stop || live.ask) waiting.push_back(who);
    }
    for (const person_id who : waiting) {
        session* const s = room_.find(who);
        if (s == nullptr) continue;
        if (auto held = std::exchange(live_[who].stop, std::nullopt))
            held->reply(text_answer(200, std::string(1, s->current.note)));
        give_answer(*s);
        forward_lines(who);
    }
}

void server::answer_lines(person_id who, outgoing what) {
    const auto found = live_.find(who);
    if (found == live_.end() || !found->second.lines) return;
    live_session& live = found->second;
    responder reply = std::move(*live.lines);
    live.lines.reset();
    live.lines_limit.reset();
    live.lines_waiting.clear();
    reply(std::move(what));
}

// Requested ten times a second by every running program: one character instead of JSON. The program does nothing until
// it has the answer, so holding the answer pauses it.
void server::ask_stop(call& c) {
    const session& s = *c.who;
    const auto run = run_number(c);
    if (!run || !room::is_running(s, *run)) return c.reply(text_answer(200, RUN_IS_OVER));
    if (!room_.paused) return c.reply(text_answer(200, std::string(1, s.current.note)));
    if (query_value(c.in.query, "wait") == "0") return c.reply(again());
    hold(s.id, &live_session::stop, std::move(c.reply));
}

void server::press_stop(call& c) {
    const auto run = number_in(c.body, "run", MOST_RUNS);
    if (!run || *run == c.who->current.id) room_.end_run(*c.who, ending::stopped);
    c.reply(json_answer(200, {{"stopped", true}}));
}

void server::note(call& c) {
    session& s = *c.who;
    const auto run = run_number(c);
    if (!run || !room::is_running(s, *run)) return c.reply(run_over(room::why_over(s, run.value_or(0))));
    const std::string& text = c.in.message.body();
    if (text.size() != 1 || text[0] < '0' || text[0] > '9' || text[0] == '2') {
        return c.reply(error_answer(400, "bad", "A note is one digit, and not 2."));
    }
    s.current.note = text[0];
    c.reply(nothing());
}

void server::ask(call& c) {
    session& s = *c.who;
    const auto run = run_number(c);
    if (!run || !room::is_running(s, *run)) return c.reply(run_over(room::why_over(s, run.value_or(0))));
    if (c.in.message.body().size() > PROMPT_BYTES)
        return c.reply(error_answer(413, "too_big", "That question is too long."));
    if (!live_[s.id].answer) {
        s.doing = "asking";
        if (!c.in.message.body().empty()) s.said = cut_text(valid_utf8(c.in.message.body()), SAID_BYTES);
    }
    hold(s.id, &live_session::ask, std::move(c.reply));
    give_answer(s);
}

// Answers the question of input(), if both are there. A pause keeps the answer back: the program would go on with it.
void server::give_answer(session& s) {
    live_session& live = live_[s.id];
    if (!live.ask || !live.answer || room_.paused) return;
    held_request held = *std::exchange(live.ask, std::nullopt);
    const std::string text = *std::exchange(live.answer, std::nullopt);
    s.doing = s.current.practice ? "practice" : "running";
    held.reply(text_answer(200, text));
}

void server::answer(call& c) {
    session& s = *c.who;
    const auto run = run_number(c);
    if (!run || !room::is_running(s, *run)) return c.reply(run_over(room::why_over(s, run.value_or(0))));
    const std::string& text = c.in.message.body();
    if (text.size() > ANSWER_TEXT_BYTES) return c.reply(error_answer(413, "too_big", "That answer is too long."));
    live_session& live = live_[s.id];
    if (live.answer) return c.reply(error_answer(409, "busy", "There is an answer already."));
    live.answer = text;
    give_answer(s);
    c.reply(nothing());
}

void server::end(call& c) {
    session& s = *c.who;
    const auto run = run_number(c);
    if (run && room::is_running(s, *run)) {
        room_.end_run(s, ending::ended);
        if (text_in(c.body, "how") == "error") s.doing = "error";
    }
    c.reply(nothing());
}

void server::put_program(call& c) {
    auto given = program_in(c.body);
    if (auto* const refusal = std::get_if<outgoing>(&given)) return c.reply(std::move(*refusal));
    c.who->saved = std::move(std::get<program>(given));
    c.reply(nothing());
}

void server::get_program(call& c) {
    if (!c.who->saved) return c.reply(error_answer(404, "missing", "No program has been saved yet."));
    c.reply(json_answer(200, program_json(*c.who->saved)));
}

void server::get_starter(call& c) {
    if (!room_.starter) return c.reply(error_answer(404, "missing", "There is no starting program."));
    json value = program_json(*room_.starter);
    value["version"] = room_.starter_version;
    c.reply(json_answer(200, value));
}

} // namespace classroom
