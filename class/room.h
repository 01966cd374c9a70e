// The class: its people with names, programs and runs. The only module that knows people; it knows no sockets. Times
// are seconds of a monotonic clock, passed in by the caller. One thread.
#pragma once

#include "class/limits.h"
#include "class/rules.h"
#include "class/seating.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace classroom {

inline constexpr size_t SESSIONS = 300;
inline constexpr double GONE_S = 60;           // without a sign of life until the seat is freed
inline constexpr double BEAT_S = 5;            // how often a page gives a sign
inline constexpr size_t PROGRAM_BYTES = 65536; // text of a program
inline constexpr size_t TITLE_BYTES = 120;
inline constexpr size_t SAID_BYTES = 800;    // of the last output, for the desk
inline constexpr size_t LEFT_PROGRAMS = 300; // of people who have left, for the zip

struct program {
    std::string language; // python, javascript, blocks
    std::string title;
    std::string text;
};

/// Why a run is over.
enum class ending { running, stopped, replaced, ended, removed, turn, seat, field, practice };
[[nodiscard]] std::string_view ending_word(ending e);

struct run {
    uint32_t id = 0; // 0: there was none yet
    ending over = ending::ended;
    bool practice = false; // without a field
    char note = '0';       // passed to the worker with the answer about Stop
    bool kept = false;     // its turtle is on the field, as it left it
};

struct session {
    person_id id = 0;
    std::string token;
    std::string name;
    std::string turtle; // name that the turtle bears on the field now; any bytes
    uint32_t address = 0;
    double seen = 0; // last sign of life
    bool away = false;
    int wish = -1; // field asked for at joining
    std::string doing = "idle";
    std::string said;
    std::optional<program> saved;
    run current;
    token_bucket lines{LINES_A_SECOND, LINES_A_SECOND};
};

/// What must be done about fields and held requests after the room has changed.
struct room_change {
    enum class kind { seated, unseated, ended, left } what; // left: the session is about to be deleted
    person_id who;
    seat where; // of seated and unseated
};

class room {
public:
    room(int fields, double turn_seconds, std::string code) : code_(std::move(code)), seats_(fields, turn_seconds) {}

    // Coming and going.
    [[nodiscard]] bool code_is(std::string_view text) const;
    /// @param name  clean; made unique @return the new session, null when SESSIONS are here and all of them alive
    session* join(std::string_view name, int wish, uint32_t address, double now);
    /// @return the session of a token, null for an unknown one. Counts as a sign of life, which ends an absence.
    session* by_token(std::string_view token, double now);
    session* find(person_id id);
    /// Ends a session; its program is kept for the zip.
    void remove(person_id id, ending why);
    void remove_all(ending why);
    /// @return the person's name now, which may differ from the requested one
    std::string rename(session& s, std::string_view name);
    /// Once or twice a second: frees the seats of absent people, passes seats on.
    void tick(double now);
    [[nodiscard]] std::vector<room_change> take_changes();

    // Runs.
    /// Begins a run, which ends the one before. Without a field when `practice`.
    uint32_t begin_run(session& s, bool practice);
    /// Ends the current run if it is still on.
    void end_run(session& s, ending why);
    /// The run number `id` of the session is on.
    [[nodiscard]] static bool is_running(const session& s, uint32_t id) {
        return s.current.id == id && s.current.over == ending::running;
    }
    /// Why run `id`, which is not on, ended.
    [[nodiscard]] static ending why_over(const session& s, uint32_t id);

    [[nodiscard]] const std::map<person_id, session>& sessions() const { return sessions_; }
    [[nodiscard]] seating& seats() { return seats_; }
    [[nodiscard]] const std::deque<std::pair<std::string, program>>& left_programs() const { return left_; }
    [[nodiscard]] const std::string& code() const { return code_; }
    void set_code(std::string code) { code_ = std::move(code); }

    // The teacher's settings.
    rule_set rules;
    bool paused = false;
    bool apart = false; // runs start at places of their own
    std::optional<program> starter;
    uint32_t starter_version = 0;

private:
    [[nodiscard]] std::string unique_name(std::string_view name, person_id self) const;
    void follow_seats();

    std::string code_;
    seating seats_;
    std::map<person_id, session> sessions_; // ordered: the desk shows people in the order of coming
    std::unordered_map<std::string, person_id> tokens_;
    std::deque<std::pair<std::string, program>> left_;
    std::vector<room_change> changes_;
    person_id last_id_ = 0;
    uint32_t last_run_ = 0;
};

} // namespace classroom
