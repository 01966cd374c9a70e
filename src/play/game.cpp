#include "play/game.h"

#include "base/log.h"
#include "game/invariants.h"
#include "game/pacer.h"
#include "net/framing.h"
#include "play/seats.h"
#include "play/turns.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr char WHY_TICKS[] = "ticks";       // --ticks have passed
constexpr char WHY_ONE_LEFT[] = "one left"; // --until-one
constexpr char WHY_STOPPED[] = "stopped";   // by a signal

constexpr std::array<const char*, 3> PACE_NAMES{"real", "free", "turns"};

constexpr int64_t FIRST_LINE_MOST = 20'000'000; // ns

bool anybody_seated() {
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        if (is_seated(slot)) return true;
    }
    return false;
}

void write_record(game_t& game) {
    std::string& out = game.recorder->out;
    if (!game.record_failed && !out.empty()) {
        game.record_failed =
            fwrite(out.data(), 1, out.size(), game.record_file) != out.size() || fflush(game.record_file) != 0;
        if (game.record_failed) log_line("kelmora-headless: cannot write the record: %s", strerror(errno));
    }
    out.clear();
}

bool is_one_left(game_t& game) {
    if (have_two_played(game.ledger)) game.several_seen = true;
    return game.several_seen && count_sides() <= 1;
}

void look_for_the_end(game_t& game) {
    if (is_stopped()) {
        game.why = WHY_STOPPED;
    } else if (game.options.until_one && is_one_left(game)) {
        game.why = WHY_ONE_LEFT;
    } else if (game.options.ticks > 0 && signals.elapsed_time >= game.options.ticks) {
        game.why = WHY_TICKS;
    }
}

void step_game(game_t& game) {
    static tick_view_t view;
    rendering_started();
    ++signals.elapsed_time;
    tick(view);
    check_invariants();
    rendering_is_done();
    note_state(game.ledger);
    if (game.recorder != nullptr) {
        record_tick(*game.recorder, view);
        write_record(game);
    }
    drop_the_dead(game);
    look_for_the_end(game);
}

void run_lines(game_t& game, int slot) {
    char line[LINE_MAX_BYTES];
    while (take_line(slot, line)) execute_line(game, slot, line);
    if (is_http_request(slot)) turn_away(game, slot); // nothing of it was executed
}

// Serves the clients like the window's server: each that has sent no paced command since the last tick gets one
// receive, and all complete lines run.
void serve_ready(game_t& game, const seat_set_t& ready) {
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        if (!ready[static_cast<size_t>(slot)] || !is_seated(slot)) continue;
        if (receive_client_packet(slot) < 1) {
            leave_seat(game, slot);
            continue;
        }
        run_lines(game, slot);
    }
}

void serve(game_t& game, int64_t patience) {
    seat_set_t wanted{};
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        wanted[static_cast<size_t>(slot)] =
            is_seated(slot) && client_tab[static_cast<size_t>(slot)].frame_cmd_count == 0;
    }
    const arrivals_t arrivals = wait_for_bytes(game, wanted, true, patience);
    serve_ready(game, arrivals.ready);
    if (arrivals.newcomer) admit_newcomers(game);
}

// Seats of which it is not known yet whether a browser sits there.
seat_set_t unknown_seats(const seat_set_t& ended) {
    seat_set_t unknown{};
    for (int slot = 0; slot < MAX_CLIENT; ++slot) {
        const auto seat = static_cast<size_t>(slot);
        unknown[seat] = is_seated(slot) && !ended[seat] && !is_first_line_told(slot);
    }
    return unknown;
}

// Browsers do not count, so first lines are looked at. When all are there, those that are silent have a moment to show
// what they are.
void wait_for_start(game_t& game) {
    seat_set_t ended{};
    int64_t moment_ends = FOR_EVER;
    while (game.options.start > 0 && !is_stopped()) {
        const bool all_here = game.joined >= game.options.start;
        const seat_set_t unknown = unknown_seats(ended);
        const int64_t now = monotonic_now();
        if (!all_here) {
            moment_ends = FOR_EVER;
        } else if (moment_ends == FOR_EVER) {
            moment_ends = now + FIRST_LINE_MOST;
        }
        const bool any_unknown = std::find(unknown.begin(), unknown.end(), true) != unknown.end();
        if (all_here && (!any_unknown || now >= moment_ends)) return;
        const arrivals_t arrivals = wait_for_bytes(game, unknown, !all_here, all_here ? moment_ends - now : FOR_EVER);
        for (int slot = 0; slot < MAX_CLIENT; ++slot) {
            if (!arrivals.ready[static_cast<size_t>(slot)]) continue;
            if (receive_bytes(slot) < 1) ended[static_cast<size_t>(slot)] = true;
            if (is_first_line_told(slot) && is_http_request(slot)) turn_away(game, slot);
        }
        if (arrivals.newcomer) admit_newcomers(game);
    }
}

// What came meanwhile; no poll tells of it any more.
void run_first_lines(game_t& game) {
    for (int slot = 0; slot < MAX_CLIENT && game.why == nullptr; ++slot) {
        if (is_seated(slot)) run_lines(game, slot);
    }
}

void play_real(game_t& game) {
    run_first_lines(game);
    int64_t due = monotonic_now() + tick_period();
    while (game.why == nullptr) {
        const int64_t now = monotonic_now();
        if (now < due) {
            serve(game, due - now);
            look_for_the_end(game);
            continue;
        }
        due = due_after(due, now, tick_period());
        step_game(game);
    }
}

void play_free(game_t& game) {
    run_first_lines(game);
    while (game.why == nullptr) {
        serve(game, 0);
        step_game(game);
    }
}

void play_in_turns(game_t& game) {
    while (game.why == nullptr) {
        // Without programs there are no turns; only a clock with an end goes on.
        if (!anybody_seated() && game.options.ticks == 0) {
            if (wait_for_bytes(game, {}, true, FOR_EVER).newcomer) admit_newcomers(game);
            look_for_the_end(game);
            continue;
        }
        if (!play_turn(game)) {
            look_for_the_end(game);
            continue;
        }
        step_game(game);
    }
}

} // namespace

void start_record(game_t& game) {
    const bool turns = game.options.pace == pace_kind_t::turns;
    open_record(*game.recorder, game.options.setting, PACE_NAMES[static_cast<size_t>(game.options.pace)],
                turns ? command_order_t::rounds : command_order_t::blocks, game.options.anonymous);
    write_record(game);
}

void play(game_t& game) {
    wait_for_start(game);
    look_for_the_end(game);
    switch (game.options.pace) {
    case pace_kind_t::real:
        play_real(game);
        break;
    case pace_kind_t::free:
        play_free(game);
        break;
    case pace_kind_t::turns:
        play_in_turns(game);
        break;
    }
}

bool finish(game_t& game, FILE* results) {
    note_state(game.ledger);
    bool written = true;
    if (game.recorder != nullptr) {
        close_record(*game.recorder,
                     results_json(game.ledger, game.options.setting, game.why, !game.options.anonymous));
        write_record(game);
        written = fclose(game.record_file) == 0 && !game.record_failed;
    }
    if (results != nullptr) {
        const std::string json = results_json(game.ledger, game.options.setting, game.why, true) + "\n";
        const bool whole = fwrite(json.data(), 1, json.size(), results) == json.size();
        if (fclose(results) != 0 || !whole) {
            log_line("kelmora-headless: cannot write the results: %s", strerror(errno));
            written = false;
        }
    }
    return written;
}
