#include "net/command.h"

#include "field/cards.h"
#include "field/clients.h"
#include "field/turtles.h"
#include "game/firing.h"
#include "game/furnish.h"
#include "game/modes.h"
#include "net/hex.h"
#include "turtle/coins.h"
#include "turtle/lifecycle.h"
#include "turtle/motion.h"
#include "turtle/pen.h"

#include <array>
#include <cctype>
#include <cstdlib>

namespace {

constexpr int WORD_MAX = 512; // bytes of a word with its terminator; a longer word is cut

// One line, split into its words. Missing words are empty and read as 0.
struct word_list_t {
    char w[4][WORD_MAX]; // the command word and up to three arguments
    const char* rest;    // what follows the command word, with its leading blanks

    // First character of word k in lower case; NUL for a missing word.
    [[nodiscard]] char letter(int k) const { return static_cast<char>(tolower(static_cast<unsigned char>(w[k][0]))); }
    [[nodiscard]] double number(int k) const { return atof(w[k]); }
    // Integers saturate as a long and are then cut to 32 bits.
    [[nodiscard]] int32_t integer(int k) const { return static_cast<int32_t>(strtol(w[k], nullptr, 10)); }
};

bool is_space(char c) { return isspace(static_cast<unsigned char>(c)) != 0; }

const char* skip_spaces(const char* p) {
    while (is_space(*p)) ++p;
    return p;
}

// Copies the next word to `word` and returns what follows it, the separating blank first.
const char* take_word(const char* p, char* word) {
    p = skip_spaces(p);
    int length = 0;
    for (; *p != '\0' && !is_space(*p); ++p) {
        if (length < WORD_MAX - 1) word[length++] = *p;
    }
    word[length] = '\0';
    return p;
}

void split(const char* line, word_list_t& out) {
    const char* p = take_word(line, out.w[0]);
    out.rest = p;
    for (int k = 1; k < 4; ++k) p = take_word(p, out.w[k]);
}

// The sender of the line, and its words.
struct request_t {
    client_t& client;
    int slot;
    int turtle;
    word_list_t words;

    // After a pacing command the client's further input waits for the next frame.
    void pace() const { ++client.frame_cmd_count; }
};

int do_forward(const request_t& r) {
    r.pace();
    return turtle_step_forward(r.turtle, r.words.number(1));
}

int do_backward(const request_t& r) {
    r.pace();
    return turtle_step_forward(r.turtle, -r.words.number(1));
}

// Whatever was cleared, the line continues as a forward step by its argument: "c 10" resets and then steps 10.
int do_clear(const request_t& r) {
    switch (r.words.letter(1)) {
    case 'a':
        field_clear_all_turtles();
        break;
    case 'f':
        field_clear();
        break;
    case 'h':
        turtle_home(r.turtle);
        break;
    default:
        turtle_reset(r.turtle, r.slot);
        break;
    }
    return do_forward(r);
}

int do_relative_jump(const request_t& r) {
    r.pace();
    return turtle_rjump(r.turtle, r.words.number(1), r.words.number(2));
}

int do_jump(const request_t& r) {
    r.pace();
    return turtle_jump(r.turtle, r.words.number(1), r.words.number(2));
}

int do_turn(const request_t& r) {
    r.pace();
    switch (r.words.letter(1)) {
    case 'l':
        return turtle_turn(r.turtle, r.words.number(2));
    case 'r':
        return turtle_turn(r.turtle, -r.words.number(2));
    case 'e':
        return turtle_head(r.turtle, 1);
    case 'n':
        return turtle_head(r.turtle, 2);
    case 'w':
        return turtle_head(r.turtle, 3);
    case 's':
        return turtle_head(r.turtle, 4);
    default:
        return -1;
    }
}

int do_pen(const request_t& r) {
    r.pace();
    switch (r.words.letter(1)) {
    case 'd':
    case '+':
        return turtle_pen_down(r.turtle);
    case 'u':
    case '-':
        return turtle_pen_up(r.turtle);
    default:
        return 0;
    }
}

int do_line_mode(const request_t& r) {
    r.pace();
    const int plain =
        turtle_unset_brush(r.turtle) + turtle_unset_fill_poly(r.turtle) + turtle_unset_point_mode(r.turtle);
    switch (r.words.letter(1)) {
    case 's':
    case '+':
        return turtle_set_fill_poly(r.turtle);
    case 'b':
        return turtle_set_brush(r.turtle);
    case 'p':
        return turtle_set_point_mode(r.turtle);
    default:
        return plain;
    }
}

int do_line_width(const request_t& r) { return turtle_line_width(r.turtle, r.words.number(1)); }

int do_pen_color(const request_t& r) {
    return turtle_set_color(r.turtle, r.words.number(1), r.words.number(2), r.words.number(3));
}

int do_field_color(const request_t& r) {
    r.pace();
    field_set_color(r.words.number(1), r.words.number(2), r.words.number(3));
    field_clear();
    return 0;
}

int do_print(const request_t& r) {
    r.pace();
    char text[HEX_STEPS + 1];
    convert_hex2str(r.words.rest, text);
    return turtle_print_string(r.turtle, text);
}

int do_name(const request_t& r) {
    char text[HEX_STEPS + 1];
    convert_hex2str(r.words.rest, text);
    return turtle_name(r.turtle, text);
}

int do_broadcast(const request_t& r) { return turtle_broadcast_message(r.turtle, skip_spaces(r.words.rest)); }

int do_team(const request_t& r) {
    turtle_set_team(r.turtle, r.words.integer(1));
    return 0;
}

int do_finder_range(const request_t& r) { return turtle_finder_range(r.turtle, r.words.number(1)); }

int do_coin(const request_t& r) {
    const char what = r.words.letter(1);
    if (what == 'b') return turtle_borrow_coin(r.turtle);
    r.pace();
    switch (what) {
    case 's':
    case '+':
        return turtle_drop_coin(r.turtle);
    case 'x':
        return field_scatter_coin(1);
    default:
        return turtle_pick_coin(r.turtle);
    }
}

int do_doughnut(const request_t& r) { return turtle_generate_doughnut(r.turtle); }

int do_fire(const request_t& r) { return turtle_fire(r.turtle); }

int do_event(const request_t& r) {
    const uint32_t bits = static_cast<uint32_t>(r.words.integer(2));
    switch (r.words.letter(1)) {
    case '+':
        return turtle_enable_event(r.turtle, bits);
    case '-':
        return turtle_disable_event(r.turtle, bits);
    default:
        return 0;
    }
}

int do_card(const request_t& r) {
    const int card = r.words.integer(1);
    if (card != 0) {
        field_set_card(card, r.words.number(2), r.words.number(3));
    } else {
        field_clear_all_cards();
    }
    return 0;
}

// The result is the new robot's index, which thereby selects the query that the reply answers.
int do_robot(const request_t&) { return generate_turtle(-1, TTL_ROBOT); }

int do_battle(const request_t& r) {
    switch (r.words.letter(1)) {
    case 'u':
    case '-':
        field_unset_battle_mode();
        break;
    default:
        field_set_battle_mode();
        break;
    }
    return 0;
}

int do_ping(const request_t&) { return 0; }

int radar_selector(const char* rank) {
    if (rank[0] == '\0') return SEL_RADAR;
    return rank[0] >= '1' && rank[0] <= '5' ? SEL_RADAR + (rank[0] - '1') : -1;
}

int card_selector(const word_list_t& w) {
    const int64_t card = w.integer(3);
    int64_t selector = 0;
    if (w.letter(2) == 's') selector = SEL_CARD_STATE + card;
    if (w.letter(2) == 'p') selector = SEL_CARD_PLACE + card;
    return static_cast<int32_t>(selector); // a huge card number wraps
}

int do_query(const request_t& r) {
    switch (const char letter = r.words.letter(1)) {
    case 'r':
        return radar_selector(r.words.w[2]);
    case 'z':
        return card_selector(r.words);
    default:
        return selector_of_question(letter);
    }
}

struct command_t {
    char letter;
    int (*execute)(const request_t&);
};

constexpr std::array<command_t, 25> COMMANDS = {{
    {'f', do_forward},      {'b', do_backward}, {'c', do_clear},     {'g', do_relative_jump}, {'j', do_jump},
    {'t', do_turn},         {'p', do_pen},      {'l', do_line_mode}, {'w', do_line_width},    {'k', do_pen_color},
    {'h', do_field_color},  {'s', do_print},    {'n', do_name},      {'u', do_broadcast},     {'i', do_team},
    {'e', do_finder_range}, {'o', do_coin},     {'d', do_doughnut},  {'x', do_fire},          {'y', do_event},
    {'z', do_card},         {'r', do_robot},    {'!', do_battle},    {'.', do_ping},          {'q', do_query},
}};

} // namespace

int parse_message_for(int slot, const char* line) {
    request_t r = {.client = client_tab[slot], .slot = slot, .turtle = client_tab[slot].turtle_id, .words = {}};
    split(line, r.words);
    const char letter = r.words.letter(0);
    for (const command_t& c : COMMANDS) {
        if (c.letter == letter) return c.execute(r);
    }
    return -1;
}
