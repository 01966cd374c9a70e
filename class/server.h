// The class server: effects of requests on the room, the fields and the files. Everything runs on the thread that runs
// `io`; nothing here blocks.
#pragma once

#include "class/field_link.h"
#include "class/field_page.h"
#include "class/http.h"
#include "class/limits.h"
#include "class/options.h"
#include "class/places.h"
#include "class/room.h"
#include "class/static_files.h"

#include <array>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

namespace classroom {

inline constexpr std::chrono::seconds HELD_LIMIT{25}; // a held request; the client then asks again
inline constexpr std::chrono::milliseconds WRONG_CODE_PAUSE{500};
inline constexpr std::chrono::milliseconds TICK{500}; // of seats and turns
inline constexpr std::chrono::seconds FIELD_LOOK{5};  // between two looks whether a field is there
inline constexpr int FIELD_FAILURES = 2;              // in a row; then nobody is seated there while another field is up
inline constexpr double FIELD_TRY_AGAIN_S = 30;       // a field without a page is given another try
inline constexpr std::chrono::seconds PARK_AGAIN{2};  // when a turtle could not leave
inline constexpr int PARK_TRIES = 20;
inline constexpr std::chrono::milliseconds PARTING_LIMIT{1000}; // for the last lines to the fields
inline constexpr double START_GIVEN_S = 0.5;                    // longer than a list of turtles can be old
inline constexpr std::chrono::seconds START_LIMIT{2};           // of a start; then the next one runs, too
inline constexpr size_t PROMPT_BYTES = 2048;
inline constexpr size_t ANSWER_TEXT_BYTES = 4096;

using json = nlohmann::json;

// One place on a field, and its connection, which is kept when the place is free: the field would keep a zombie of a
// turtle whose connection ended.
struct field_place {
    std::shared_ptr<field_link> link;
    spot start{0, 0};      // where its turtle was last put
    double started = -1e9; // and when: a list of turtles may be older
};

struct class_field {
    std::string name; // as the options gave it
    tcp::endpoint address;
    std::shared_ptr<field_page> page;   // null: none
    std::string canvas_folder;          // empty: none
    std::unique_ptr<file_store> canvas; // null: none, or not there yet
    std::array<field_place, PLACES> places;
    // Starts of turtles run one after the other, because each must know where the one before went.
    std::deque<std::function<void(uint32_t turn)>> starts; // those that wait
    std::unique_ptr<net::steady_timer> start_limit;        // of the one that runs
    uint32_t start_turn = 0;                               // its number
    bool starting = false;
    int failures = 0;     // in a row, of checks that it is there
    double failed_at = 0; // the last of them
    [[nodiscard]] bool ok() const { return failures == 0; }
};

// What a session has in progress.
struct held_request {
    responder reply;
    std::unique_ptr<net::steady_timer> limit;
};
struct live_session {
    std::optional<held_request> stop;  // the question whether Stop was pressed, held by a pause
    std::optional<held_request> ask;   // a question of input()
    std::optional<std::string> answer; // to it, when it came before the question or in a pause
    std::optional<responder> lines;    // a request for lines that has not been answered
    std::unique_ptr<net::steady_timer> lines_limit;
    std::vector<std::string> lines_waiting; // held by a pause
    uint32_t lines_serial = 0;              // which request it is: late answers of the field to others are dropped
    unsigned lines_number = 0;              // the client's number of its last request, 0 when it gives none
    std::optional<outgoing> lines_answer;   // to the request with that number, kept in case it did not arrive
};

// One request to the API with what was derived from it.
struct call {
    const incoming& in;
    responder reply;
    session* who = nullptr; // null where no token is asked for
    json body;              // of POST and PUT; an object where the route wants JSON
};

class server : public std::enable_shared_from_this<server> {
public:
    /// @param fields   resolved addresses, one for each of opts.fields; viewers: likewise, nothing where there is none
    server(net::io_context& io, const options& opts, const std::vector<tcp::endpoint>& fields,
           const std::vector<std::optional<tcp::endpoint>>& viewers, const std::string& root);
    /// @return the port, 0 with `failure` when it cannot listen
    int start(const options& opts, boost::system::error_code& failure);
    /// Sends the last lines to the fields, so that no turtle stays in sight, then ends `io`.
    void stop();
    /// After `io` has ended: releases everything that waits for a field.
    void close();

    [[nodiscard]] const std::string& code() const { return room_.code(); }
    [[nodiscard]] std::string address() const { return "http://" + address_ + ':' + std::to_string(port_) + '/'; }
    [[nodiscard]] std::string link() const { return address() + "#code=" + code(); }
    /// The folder of the pages is there, and holds the first of them.
    [[nodiscard]] bool has_pages() { return files_.find("index.html") || files_.find("index.html.gz"); }

private:
    struct route {
        http::verb method;
        std::string_view path;
        enum class need { nothing, token, desk } need;
        enum class body { none, object, text } body;
        void (server::*handle)(call&);
    };
    static const std::vector<route>& routes();

    // server.cpp: entry points, files, fields, seats
    void handle(const incoming& in, responder reply);
    void handle_api(const incoming& in, responder reply);
    void handle_field(const incoming& in, responder reply);
    void handle_canvas(const incoming& in, responder reply, class_field& field, const std::string& name);
    void handle_file(const incoming& in, responder reply);
    [[nodiscard]] bool is_local(const incoming& in) const;
    void every_tick();
    void look_at_fields();
    void settle();
    void judge(int field, bool good);
    void judge_link(int field, field_link::outcome o);
    field_link& link_at(seat where);
    void lose(seat where);
    void enter(person_id who, seat where);
    void park(seat where, int tries = PARK_TRIES);
    void add_given_starts(seat but, std::vector<spot>& others) const;
    void give_start(seat where, spot start);
    void with_bodies(int field, std::string self, std::function<void(std::vector<spot>)> then);
    void start_in_turn(int field, std::function<void(uint32_t turn)> start);
    void next_start(int field);
    void end_start(int field, uint32_t turn);
    void end_held(person_id who);
    void hold(person_id who, std::optional<held_request> live_session::*which, responder reply);
    [[nodiscard]] bool is_held(person_id who) const;

    // api.cpp: requests of pages and workers
    void hello(call& c);
    void join(call& c);
    void leave(call& c);
    void beat(call& c);
    void me(call& c);
    void begin(call& c);
    std::optional<outgoing> refused_run(person_id who, uint32_t run);
    std::optional<outgoing> refused_start(person_id who, uint32_t run, seat where, field_link::outcome o);
    void start_turtle(person_id who, uint32_t run, seat where, std::vector<spot> others,
                      const std::function<void(outgoing)>& reply);
    void lines(call& c);
    void ask_stop(call& c);
    void press_stop(call& c);
    void note(call& c);
    void ask(call& c);
    void answer(call& c);
    void end(call& c);
    void put_program(call& c);
    void get_program(call& c);
    void get_starter(call& c);
    [[nodiscard]] json state_of(const session& s);
    [[nodiscard]] std::optional<outgoing> refused_lines(const std::vector<std::string>& commands) const;
    void forward_lines(person_id who);
    void give_answer(session& s);
    void resume_held();
    void answer_lines(person_id who, outgoing what);

    // desk.cpp: requests of the teacher
    void board(call& c);
    void board_qr(call& c);
    void desk_state(call& c);
    void desk_remove(call& c);
    void desk_rename(call& c);
    void desk_pause(call& c);
    void desk_stop(call& c);
    void desk_rule(call& c);
    void desk_starter(call& c);
    void desk_code(call& c);
    void desk_turns(call& c);
    void desk_start(call& c);
    void desk_field(call& c);
    void desk_program(call& c);
    void desk_programs(call& c);
    session* person_of(const call& c);
    [[nodiscard]] json fields_json(bool for_desk);

    net::io_context& io_;
    room room_;
    std::vector<class_field> fields_;
    std::unordered_map<person_id, live_session> live_;
    guess_guard guesses_;
    file_store files_;
    std::vector<std::string> names_; // of this machine
    std::string address_;
    int port_ = 0;
    std::shared_ptr<http_server> http_;
    net::steady_timer tick_;
    net::steady_timer look_;
    net::steady_timer parting_;
};

// Answers shared by all parts.
[[nodiscard]] outgoing json_answer(unsigned status, const json& value);
[[nodiscard]] outgoing error_answer(unsigned status, std::string_view word, std::string_view message);
[[nodiscard]] outgoing run_over(ending why);
inline constexpr const char* RUN_IS_OVER = "2"; // to the question whether Stop was pressed
[[nodiscard]] inline outgoing nothing() {
    return {.status = 204, .type = {}, .body = nullptr, .headers = {}, .policy = {}};
}
[[nodiscard]] inline outgoing again() { return json_answer(202, {{"again", true}}); }

/// A member that is a text, empty when it is none or not there.
[[nodiscard]] std::string text_in(const json& object, const char* key);
/// A member that is a whole number from 0 to `most`, nothing otherwise.
[[nodiscard]] std::optional<unsigned> number_in(const json& object, const char* key, unsigned most);
[[nodiscard]] json program_json(const program& p);
/// The program in a request; a refusal, with the reason, when it cannot be kept.
[[nodiscard]] std::variant<program, outgoing> program_in(const json& object);

} // namespace classroom
