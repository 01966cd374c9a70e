#include "class/server.h"

#include "class/codes.h"
#include "class/guards.h"
#include "class/repair.h"
#include "class/text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <unistd.h>
#include <utility>

namespace classroom {

using boost::system::error_code;

namespace {

constexpr std::string_view API = "/api/";
constexpr std::string_view FIELD = "/field/";
constexpr std::string_view DESK_TEXT = "The desk and the board open on the teacher's machine only:\n";

// The address by which others reach this machine: the first that is not loopback, private ones first.
std::string own_address() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return "127.0.0.1";
    std::string best = "127.0.0.1";
    int best_rank = 0;
    for (const ifaddrs* i = list; i != nullptr; i = i->ifa_next) {
        if (i->ifa_addr == nullptr || i->ifa_addr->sa_family != AF_INET) continue;
        const uint32_t a = ntohl(reinterpret_cast<const sockaddr_in*>(i->ifa_addr)->sin_addr.s_addr);
        const bool is_private = a >> 24 == 10 || a >> 20 == 0xAC1 || a >> 16 == 0xC0A8;
        const int rank = a >> 24 == 127 ? 0 : a >> 16 == 0xA9FE ? 1 : is_private ? 3 : 2;
        if (rank <= best_rank) continue;
        best = net::ip::address_v4(a).to_string();
        best_rank = rank;
    }
    freeifaddrs(list);
    return best;
}

std::vector<std::string> own_names(const options& opts) {
    std::vector<std::string> names = opts.names;
    std::array<char, 256> host{};
    if (gethostname(host.data(), host.size() - 1) == 0 && host[0] != '\0') {
        const std::string name = lower(host.data());
        names.push_back(name);
        names.push_back(name.substr(0, name.find('.')) + ".local");
    }
    if (!opts.address.empty()) names.push_back(lower(opts.address));
    return names;
}

size_t body_limit(std::string_view path) {
    return path == "/api/program" || path == "/api/desk/starter" ? PROGRAM_BODY_BYTES : BODY_BYTES;
}

bool has_etag(const incoming& in, const std::string& etag) {
    return in.header(http::field::if_none_match).find(etag) != std::string_view::npos;
}

// Reads an object of plain members, as all bodies of the API are: what is nested ends the reading at once, however deep
// or long it is. Called by the library's parser; false ends the parsing.
struct flat_reader {
    static constexpr size_t MEMBERS = 32;
    json& object; // null at first
    std::string name;

    bool put(json value) {
        if (!object.is_object() || object.size() >= MEMBERS) return false;
        object[name] = std::move(value);
        return true;
    }
    bool null() { return put(nullptr); }
    bool boolean(bool value) { return put(value); }
    bool number_integer(int64_t value) { return put(value); }
    bool number_unsigned(uint64_t value) { return put(value); }
    bool number_float(double value, const std::string&) { return put(value); }
    bool string(std::string& value) { return put(std::move(value)); }
    bool binary(std::vector<uint8_t>&) { return false; }
    bool start_object(size_t) {
        if (object.is_object()) return false;
        object = json::object();
        return true;
    }
    bool key(std::string& value) {
        name = std::move(value);
        return true;
    }
    bool end_object() { return true; }
    bool start_array(size_t) { return false; }
    bool end_array() { return false; }
    bool parse_error(size_t, const std::string&, const std::exception&) { return false; }
};

std::optional<json> object_in(const std::string& body) {
    if (body.empty()) return json::object();
    json object;
    flat_reader reader{object, {}};
    if (!json::sax_parse(body, &reader)) return std::nullopt;
    return object;
}

outgoing file_answer(const incoming& in, const static_file& file, std::string_view name) {
    outgoing answer;
    answer.type = type_of(name);
    answer.headers = {
        {http::field::etag, file.etag},
        {http::field::cache_control, never_changes(in.path) ? "public, max-age=31536000, immutable" : "no-cache"}};
    if (has_etag(in, file.etag)) {
        answer.status = 304;
    } else {
        answer.body = file.bytes;
    }
    return answer;
}

// Parks the turtle without pen and name. Jumps from where it is, because others might be in the middle.
std::string parking_lines(int place) {
    std::array<char, 64> line{};
    snprintf(line.data(), line.size(), "p u\nn\nj %.0f %.0f\n", PARK_X, PARK_Y + PARK_STEP * place);
    return line.data();
}
constexpr size_t PARKING_ANSWERS = 3;

std::string jump_line(spot to) {
    std::array<char, 64> line{};
    snprintf(line.data(), line.size(), "j %.0f %.0f\n", to.x, to.y);
    return line.data();
}

} // namespace

outgoing json_answer(unsigned status, const json& value) {
    return text_answer(status, value.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

outgoing error_answer(unsigned status, std::string_view word, std::string_view message) {
    return json_answer(status, {{"error", word}, {"message", message}});
}

outgoing run_over(ending why) {
    return json_answer(410, {{"error", "run_over"}, {"reason", ending_word(why)}, {"message", "This run is over."}});
}

std::string text_in(const json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

std::optional<unsigned> number_in(const json& object, const char* key, unsigned most) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number_unsigned()) return std::nullopt;
    const auto value = found->get<uint64_t>();
    if (value > most) return std::nullopt;
    return static_cast<unsigned>(value);
}

json program_json(const program& p) { return {{"language", p.language}, {"title", p.title}, {"text", p.text}}; }

std::variant<program, outgoing> program_in(const json& object) {
    for (const char* const key : {"language", "title", "text"}) {
        const auto found = object.find(key);
        if (found != object.end() && !found->is_string())
            return error_answer(400, "bad", "A program's language, title and text are texts.");
    }
    program p = {text_in(object, "language"), cut_text(text_in(object, "title"), TITLE_BYTES), text_in(object, "text")};
    if (p.language.empty()) p.language = "python";
    if (p.language != "python" && p.language != "javascript" && p.language != "blocks")
        return error_answer(400, "bad", "A program is written in python, javascript or blocks.");
    if (p.text.size() > PROGRAM_BYTES) return error_answer(413, "too_big", "A program has at most 64 KiB.");
    return p;
}

server::server(net::io_context& io, const options& opts, const std::vector<tcp::endpoint>& fields,
               const std::vector<std::optional<tcp::endpoint>>& viewers, const std::string& root)
    : io_(io),
      room_(static_cast<int>(fields.size()), opts.turn_minutes * 60, opts.code.empty() ? random_code() : opts.code),
      fields_(fields.size()), files_(root), names_(own_names(opts)),
      address_(opts.address.empty() ? own_address() : opts.address), tick_(io), look_(io), parting_(io) {
    for (size_t i = 0; i < fields.size(); ++i) {
        class_field& f = fields_[i];
        f.name = opts.fields[i].host + ':' + std::to_string(opts.fields[i].port);
        f.address = fields[i];
        f.canvas_folder = opts.canvases[i];
        if (viewers[i]) f.page = std::make_shared<field_page>(io, *viewers[i]);
        f.start_limit = std::make_unique<net::steady_timer>(io);
        for (int p = 0; p < PLACES; ++p) {
            const auto link = std::make_shared<field_link>(io, f.address);
            link->when_lost([this, where = seat{static_cast<int>(i), p}] { lose(where); });
            f.places[static_cast<size_t>(p)].link = link;
        }
    }
}

int server::start(const options& opts, error_code& failure) {
    http_ = std::make_shared<http_server>(
        io_, [this](const incoming& in, responder reply) { handle(in, std::move(reply)); }, body_limit);
    port_ = http_->listen(opts.listen, opts.port, failure);
    if (port_ == 0) return 0;
    every_tick();
    look_at_fields();
    return port_;
}

void server::stop() {
    http_->stop();
    tick_.cancel();
    look_.cancel();
    auto open = std::make_shared<int>(1);
    const auto done = [this, open](field_link::outcome, const std::string&) {
        if (--*open == 0) io_.stop();
    };
    for (class_field& f : fields_) {
        for (int p = 0; p < PLACES; ++p) {
            field_link& link = *f.places[static_cast<size_t>(p)].link;
            if (!link.connected()) continue;
            ++*open;
            link.exchange(parking_lines(p), PARKING_ANSWERS, done);
        }
    }
    parting_.expires_after(PARTING_LIMIT);
    parting_.async_wait([this](error_code) { io_.stop(); });
    done(field_link::outcome::ok, "");
}

void server::close() {
    for (class_field& f : fields_) {
        for (field_place& p : f.places) {
            p.link->when_lost({});
            p.link->close();
        }
        if (f.page) f.page->forget();
        f.starts.clear();
        f.start_limit->cancel();
    }
    live_.clear();
}

bool server::is_local(const incoming& in) const {
    return in.address == INADDR_LOOPBACK && host_is_local(in.header(http::field::host));
}

void server::handle(const incoming& in, responder reply) {
    if (in.message.count(http::field::host) != 1 || !host_is_ours(in.header(http::field::host), names_)) {
        return reply(error_answer(421, "host", "This server is not known by that name."));
    }
    if (in.path.starts_with(API)) return handle_api(in, std::move(reply));
    if (!in.is_get()) return reply(error_answer(405, "bad", "Pages can only be fetched."));
    if (in.path.starts_with(FIELD)) return handle_field(in, std::move(reply));
    handle_file(in, std::move(reply));
}

void server::handle_api(const incoming& in, responder reply) {
    const size_t origins = in.message.count(http::field::origin);
    const std::string_view origin = in.header(http::field::origin);
    const bool ours = origins <= 1 && (origins == 0 || !origin.empty()) &&
                      page_is_ours(origin, in.header(http::field::host), in.header("Sec-Fetch-Site"));
    if (!ours) return reply(error_answer(403, "origin", "Another site may not ask this."));
    if (!in.is_get() && in.header("Kelmora") != "1")
        return reply(error_answer(403, "header", "The header Kelmora: 1 is missing."));
    const auto method = in.message.method() == http::verb::head ? http::verb::get : in.message.method();
    const route* found = nullptr;
    std::string methods;
    for (const route& r : routes()) {
        if (r.path != in.path) continue;
        if (r.method == method) found = &r;
        methods += (methods.empty() ? "" : ", ") + std::string(http::to_string(r.method));
    }
    if (found == nullptr && !methods.empty()) {
        outgoing answer = error_answer(405, "bad", "This address takes other methods: " + methods + '.');
        answer.headers = {{http::field::allow, methods}};
        return reply(std::move(answer));
    }
    if (found == nullptr) return reply(error_answer(404, "missing", "There is nothing under this address."));
    if (found->need == route::need::desk && !is_local(in)) {
        return reply(error_answer(403, "desk", "Only the teacher's machine may ask this, under the name localhost."));
    }
    call c = {.in = in, .reply = std::move(reply), .who = nullptr, .body = nullptr};
    if (found->need == route::need::token) {
        c.who = room_.by_token(in.header("Kelmora-Token"), now_s());
        if (c.who == nullptr)
            return c.reply(error_answer(401, "token", "You are not in this class, or no longer. Please join."));
    }
    if (found->body == route::body::object) {
        auto object = object_in(in.message.body());
        if (!object) return c.reply(error_answer(400, "bad", "The body is no JSON object of plain members."));
        c.body = std::move(*object);
    }
    (this->*found->handle)(c);
    settle();
}

void server::handle_field(const incoming& in, responder reply) {
    const std::string_view rest = in.path.substr(FIELD.size());
    const size_t slash = rest.find('/');
    const auto number = decimal(rest.substr(0, slash), 999);
    if (slash == std::string_view::npos || !number || *number >= fields_.size()) {
        return reply(error_answer(404, "missing", "There is no such field."));
    }
    class_field& field = fields_[*number];
    const std::string what(rest.substr(slash + 1));
    if (what.ends_with(".png") || what.ends_with(".json")) return handle_canvas(in, std::move(reply), field, what);
    if (!field.page || !field_page::is_allowed(what))
        return reply(error_answer(404, "missing", "The field has no such page."));
    // std::function needs a copyable target, which a responder is not.
    auto shared = std::make_shared<responder>(std::move(reply));
    field.page->fetch(what, [shared](const field_page::copy& copy) {
        if (!copy.ok) return (*shared)(error_answer(502, "field", "The field does not answer."));
        outgoing answer;
        answer.type = copy.type;
        answer.body = copy.body;
        answer.headers = {{http::field::cache_control, copy.type == "image/png" ? "max-age=3600" : "no-cache"}};
        (*shared)(std::move(answer));
    });
}

void server::handle_canvas(const incoming& in, responder reply, class_field& field, const std::string& name) {
    const auto file = file_for('/' + name);
    if (!field.canvas_folder.empty() && (!field.canvas || !field.canvas->usable())) {
        field.canvas = std::make_unique<file_store>(field.canvas_folder);
    }
    if (!field.canvas || !file || file->find('/') != std::string::npos) {
        return reply(error_answer(404, "missing", "The field writes no such file."));
    }
    const auto found = field.canvas->find(*file);
    if (!found) return reply(error_answer(404, "missing", "The field has not written this file yet."));
    reply(file_answer(in, *found, *file));
}

void server::handle_file(const incoming& in, responder reply) {
    const auto name = file_for(in.path);
    const bool of_desk = name && (name->starts_with("desk.html") || name->starts_with("board.html"));
    if (of_desk && !is_local(in)) {
        const std::string here = "http://localhost:" + std::to_string(port_);
        return reply(text_answer(403, std::string(DESK_TEXT) + here + "/desk\n" + here + "/board\n"));
    }
    if (!files_.usable())
        return reply(text_answer(503, "The pages have not been built: scripts/web-build makes them.\n"));
    if (!name) return reply(text_answer(404, "There is no such page.\n"));
    const bool takes_gzip = in.header(http::field::accept_encoding).find("gzip") != std::string_view::npos;
    const auto packed = files_.find(*name + ".gz");
    const auto plain = takes_gzip && packed ? std::nullopt : files_.find(*name);
    if (!plain && !packed) return reply(text_answer(404, "There is no such page.\n"));
    if (!plain && !takes_gzip) return reply(text_answer(406, "This file is there in compressed form only.\n"));
    outgoing answer = file_answer(in, plain ? *plain : *packed, *name);
    if (!plain && answer.status == 200) answer.headers.emplace_back(http::field::content_encoding, "gzip");
    if (packed) answer.headers.emplace_back(http::field::vary, "Accept-Encoding");
    answer.policy = content_policy(in.path);
    reply(std::move(answer));
}

void server::every_tick() {
    room_.tick(now_s());
    settle();
    tick_.expires_after(TICK);
    tick_.async_wait([self = shared_from_this()](error_code error) {
        if (!error) self->every_tick();
    });
}

// A successful fetch shows that a field with a page is up; one without a page is judged by its connections.
void server::look_at_fields() {
    for (int i = 0; i < room_.seats().fields(); ++i) {
        class_field& f = fields_[static_cast<size_t>(i)];
        if (f.page) {
            f.page->fetch("turtle",
                          [self = shared_from_this(), i](const field_page::copy& copy) { self->judge(i, copy.ok); });
        } else if (f.failures >= FIELD_FAILURES && now_s() - f.failed_at > FIELD_TRY_AGAIN_S) {
            f.failures = FIELD_FAILURES - 1;
            room_.seats().set_open(i, true);
        }
    }
    look_.expires_after(FIELD_LOOK);
    look_.async_wait([self = shared_from_this()](error_code error) {
        if (!error) self->look_at_fields();
    });
}

// Takes note of a check that a field is there.
void server::judge(int field, bool good) {
    class_field& f = fields_[static_cast<size_t>(field)];
    f.failures = good ? 0 : f.failures + 1;
    if (!good) f.failed_at = now_s();
    room_.seats().set_open(field, f.failures < FIELD_FAILURES);
}

// A field without a page is judged by its connections; that one of ours is busy says nothing about it.
void server::judge_link(int field, field_link::outcome o) {
    if (fields_[static_cast<size_t>(field)].page || o == field_link::outcome::busy) return;
    judge(field, o == field_link::outcome::ok);
}

// Makes the fields and the held requests follow changes in the room.
void server::settle() {
    for (const room_change& change : room_.take_changes()) {
        switch (change.what) {
        case room_change::kind::seated:
            enter(change.who, change.where);
            break;
        case room_change::kind::unseated:
            park(change.where);
            break;
        case room_change::kind::ended:
            end_held(change.who);
            break;
        case room_change::kind::left:
            end_held(change.who);
            live_.erase(change.who);
            break;
        }
    }
}

field_link& server::link_at(seat where) {
    return *fields_[static_cast<size_t>(where.field)].places[static_cast<size_t>(where.place)].link;
}

// The connection of a place has ended, and its turtle with it: a run that went on would drive another turtle.
void server::lose(seat where) {
    session* const s = room_.find(room_.seats().at(where));
    if (s == nullptr) return;
    s->current.kept = false;
    if (s->current.practice) return;
    room_.end_run(*s, ending::field);
    settle();
}

// Bodies on the field except the turtle `self`; none when the field has no page.
void server::with_bodies(int field, std::string self, std::function<void(std::vector<spot>)> then) {
    const auto& page = fields_[static_cast<size_t>(field)].page;
    if (!page) return then({});
    page->fetch_anew("turtle", [self = std::move(self), then = std::move(then)](const field_page::copy& copy) {
        then(copy.ok ? other_bodies(*copy.body, self) : std::vector<spot>());
    });
}

// Turtles that have just been moved may not be in the list of turtles yet.
void server::add_given_starts(seat but, std::vector<spot>& others) const {
    const auto& places = fields_[static_cast<size_t>(but.field)].places;
    for (int p = 0; p < PLACES; ++p) {
        const field_place& place = places[static_cast<size_t>(p)];
        if (p != but.place && now_s() - place.started < START_GIVEN_S) others.push_back(place.start);
    }
}

// Runs `start` after all earlier ones. It calls end_start with the number of its turn when it is done; after
// START_LIMIT the next one runs in any case.
void server::start_in_turn(int field, std::function<void(uint32_t turn)> start) {
    class_field& f = fields_[static_cast<size_t>(field)];
    f.starts.push_back(std::move(start));
    if (!f.starting) next_start(field);
}

void server::next_start(int field) {
    class_field& f = fields_[static_cast<size_t>(field)];
    f.start_limit->cancel();
    f.starting = !f.starts.empty();
    if (!f.starting) return;
    const uint32_t turn = ++f.start_turn;
    f.start_limit->expires_after(START_LIMIT);
    f.start_limit->async_wait([self = shared_from_this(), field, turn](error_code error) {
        if (!error) self->end_start(field, turn);
    });
    net::post(io_, [start = std::move(f.starts.front()), turn] { start(turn); });
    f.starts.pop_front();
}

// Does nothing when the turn is over already.
void server::end_start(int field, uint32_t turn) {
    const class_field& f = fields_[static_cast<size_t>(field)];
    if (f.starting && f.start_turn == turn) next_start(field);
}

void server::give_start(seat where, spot start) {
    field_place& place = fields_[static_cast<size_t>(where.field)].places[static_cast<size_t>(where.place)];
    place.start = start;
    place.started = now_s();
}

// The turtle appears as soon as its student has a seat: a parked one returns to a free place, a new one stays where the
// field has put it.
void server::enter(person_id who, seat where) {
    with_bodies(where.field, "", [self = shared_from_this(), who, where](std::vector<spot> others) {
        const session* s = self->room_.find(who);
        if (s == nullptr || self->room_.seats().at(where) != who) return;
        field_link& link = self->link_at(where);
        std::string lines = "n " + to_hex(s->name) + '\n';
        size_t count = 1;
        if (link.connected()) {
            self->add_given_starts(where, others);
            const spot start = free_spot(others, where.place);
            self->give_start(where, start);
            lines = "p u\n" + lines + jump_line(start);
            count = 3;
        }
        link.exchange(std::move(lines), count, [self, field = where.field](field_link::outcome o, const std::string&) {
            self->judge_link(field, o);
        });
    });
}

// Repeated while it fails and the place is free: a turtle in a crowd cannot jump, nor can one in battle mode.
void server::park(seat where, int tries) {
    field_link& link = link_at(where);
    if (!link.connected() || room_.seats().at(where) != 0) return;
    link.exchange(parking_lines(where.place), PARKING_ANSWERS,
                  [self = shared_from_this(), where, tries](field_link::outcome o, const std::string& answers) {
                      const bool stays = o == field_link::outcome::ok && answers.rfind("ERR @") != std::string::npos;
                      if (!stays || tries <= 1) return;
                      auto timer = std::make_shared<net::steady_timer>(self->io_, PARK_AGAIN);
                      timer->async_wait([self, where, tries, timer](error_code error) {
                          if (!error) self->park(where, tries - 1);
                      });
                  });
}

void server::end_held(person_id who) {
    const auto found = live_.find(who);
    if (found == live_.end()) return;
    live_session& live = found->second;
    const session* s = room_.find(who);
    // While another run is on already, that one has replaced it.
    const ending why = s == nullptr                         ? ending::removed
                       : s->current.over == ending::running ? ending::replaced
                                                            : s->current.over;
    live.answer.reset();
    if (auto held = std::exchange(live.stop, std::nullopt)) held->reply(text_answer(200, RUN_IS_OVER));
    if (auto held = std::exchange(live.ask, std::nullopt)) held->reply(run_over(why));
    answer_lines(who, run_over(why));
}

// Keeps a request until something answers it. After HELD_LIMIT, and when the same is asked again, it is told to ask
// again.
void server::hold(person_id who, std::optional<held_request> live_session::*which, responder reply) {
    std::optional<held_request>& place = live_[who].*which;
    if (auto before = std::exchange(place, std::nullopt)) before->reply(again());
    place.emplace(held_request{std::move(reply), std::make_unique<net::steady_timer>(io_, HELD_LIMIT)});
    place->limit->async_wait([self = shared_from_this(), who, which](error_code error) {
        const auto found = self->live_.find(who);
        if (error || found == self->live_.end()) return;
        if (auto held = std::exchange(found->second.*which, std::nullopt)) held->reply(again());
    });
}

// A pause holds the person's program: its commands, its question about Stop, or the answer that its input() waits for.
bool server::is_held(person_id who) const {
    const auto found = live_.find(who);
    if (!room_.paused || found == live_.end()) return false;
    const live_session& live = found->second;
    return live.lines || live.stop || (live.ask && live.answer);
}

} // namespace classroom
