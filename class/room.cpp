#include "class/room.h"

#include "class/codes.h"
#include "class/text.h"

#include <algorithm>
#include <utility>

namespace classroom {

std::string_view ending_word(ending e) {
    switch (e) {
    case ending::running:
        return "running";
    case ending::stopped:
        return "stopped";
    case ending::replaced:
        return "replaced";
    case ending::ended:
        return "ended";
    case ending::removed:
        return "removed";
    case ending::turn:
        return "turn";
    case ending::seat:
        return "seat";
    case ending::field:
        return "field";
    case ending::practice:
        return "practice";
    }
    return "ended";
}

bool room::code_is(std::string_view text) const { return equal_secret(normal_code(text), code_); }

session* room::join(std::string_view name, int wish, uint32_t address, double now) {
    if (sessions_.size() >= SESSIONS) {
        // The one away longest is removed to make room.
        person_id oldest = 0;
        double seen = now;
        for (const auto& [id, s] : sessions_) {
            if (s.away && s.seen < seen) {
                oldest = id;
                seen = s.seen;
            }
        }
        if (oldest == 0) return nullptr;
        remove(oldest, ending::removed);
    }
    const person_id id = ++last_id_;
    session& s = sessions_[id];
    s.id = id;
    s.token = random_token();
    s.name = unique_name(name, id);
    s.turtle = s.name;
    s.address = address;
    s.seen = now;
    s.wish = wish;
    tokens_[s.token] = id;
    seats_.arrive(id, wish, now);
    follow_seats();
    return &s;
}

session* room::by_token(std::string_view token, double now) {
    if (token.size() != TOKEN_CHARACTERS) return nullptr;
    const auto found = tokens_.find(std::string(token));
    if (found == tokens_.end()) return nullptr;
    session& s = sessions_.at(found->second);
    s.seen = now;
    if (s.away) {
        s.away = false;
        seats_.arrive(s.id, s.wish, now);
        follow_seats();
    }
    return &s;
}

session* room::find(person_id id) {
    const auto found = sessions_.find(id);
    return found == sessions_.end() ? nullptr : &found->second;
}

void room::remove(person_id id, ending why) {
    session* s = find(id);
    if (s == nullptr) return;
    end_run(*s, why);
    seats_.leave(id);
    follow_seats();
    changes_.push_back({room_change::kind::left, id, {}});
    if (s->saved) {
        left_.emplace_back(s->name, std::move(*s->saved));
        if (left_.size() > LEFT_PROGRAMS) left_.pop_front();
    }
    tokens_.erase(s->token);
    sessions_.erase(id);
}

void room::remove_all(ending why) {
    while (!sessions_.empty()) remove(sessions_.begin()->first, why);
}

std::string room::rename(session& s, std::string_view name) {
    s.name = unique_name(name, s.id);
    s.turtle = s.name;
    return s.name;
}

void room::tick(double now) {
    for (auto& [id, s] : sessions_) {
        if (s.away || now - s.seen < GONE_S) continue;
        s.away = true;
        s.doing = "idle";
        end_run(s, ending::seat);
        seats_.leave(id);
    }
    seats_.tick(now);
    follow_seats();
}

std::vector<room_change> room::take_changes() { return std::exchange(changes_, {}); }

uint32_t room::begin_run(session& s, bool practice) {
    end_run(s, ending::replaced);
    s.current = {.id = ++last_run_, .over = ending::running, .practice = practice, .kept = !practice};
    s.doing = practice ? "practice" : "running";
    return s.current.id;
}

void room::end_run(session& s, ending why) {
    if (s.current.over != ending::running) return;
    s.current.over = why;
    if (s.doing == "running" || s.doing == "asking" || s.doing == "practice") s.doing = "idle";
    changes_.push_back({room_change::kind::ended, s.id, {}});
}

ending room::why_over(const session& s, uint32_t id) { return s.current.id == id ? s.current.over : ending::replaced; }

std::string room::unique_name(std::string_view name, person_id self) const {
    const auto taken = [this, self](const std::string& wish) {
        return std::any_of(sessions_.begin(), sessions_.end(), [&](const auto& entry) {
            return entry.first != self && lower(entry.second.name) == lower(wish);
        });
    };
    std::string wish(name);
    for (int n = 2; taken(wish); ++n) wish = std::string(name) + ' ' + std::to_string(n);
    return wish;
}

// Reports each place that changed hands; whoever loses one in the middle of a run loses the run as well.
void room::follow_seats() {
    for (const seat_change& c : seats_.take_changes()) {
        session* s = find(c.who);
        if (!c.seated && s != nullptr) s->current.kept = false;
        if (!c.seated && s != nullptr && !s->current.practice) {
            const bool lost = !seats_.is_open(c.where.field);
            end_run(*s, s->away ? ending::seat : lost ? ending::field : ending::turn);
        }
        changes_.push_back({c.seated ? room_change::kind::seated : room_change::kind::unseated, c.who, c.where});
    }
}

} // namespace classroom
