#include "play/options.h"

#include "field/clients.h"
#include "field/state.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>

namespace {

constexpr int64_t TURN_LIMIT_MOST = 24 * 3600 * 1000; // ms, a day

constexpr char HELP[] = "usage: kelmora-headless [option...]\n"
                        "Runs the field without a window: the same rules, protocol and web addresses.\n"
                        "\n"
                        "  -p, --port N          port for programs (2222); 0 takes a free one\n"
                        "  -w, --viewer-port N   port for browsers (2280); 0 takes a free one, off serves none\n"
                        "  -m, --mode MODE       drawing, battle or maze (drawing)\n"
                        "      --stones N        stones on the field (0)\n"
                        "      --coins N         coins on the field (0)\n"
                        "  -s, --seed N          same seed, same field; else the second of the start\n"
                        "      --pace PACE       real (8 ms a tick), free (no pause) or turns (lock-step) (real)\n"
                        "      --turn-limit MS   turns: who thinks longer misses the turn (1000); 0 waits for ever\n"
                        "  -n, --start N         the clock stands until N programs have joined (turns: 1, else 0)\n"
                        "  -t, --ticks N         the game ends after N ticks\n"
                        "      --until-one       the game ends when one player, or one team, is left\n"
                        "  -o, --results FILE    the results as JSON; - is standard output\n"
                        "  -r, --record FILE     a record for kelmora-replay; - is standard output\n"
                        "      --anonymous       no names in the record\n"
                        "      --public          admits programs and browsers of other machines\n"
                        "  -js URLS              scripts of the page for browsers, separated by ;\n"
                        "  -h, --help            this text\n"
                        "\n"
                        "The first line on standard output says the ports: listening 2222 2280\n";

enum long_only_t { STONES = 256, COINS, PACE, TURN_LIMIT, UNTIL_ONE, ANONYMOUS, PUBLIC, SCRIPTS };

constexpr char SHORT_OPTIONS[] = "p:w:m:s:n:t:o:r:h";

constexpr option LONG_OPTIONS[] = {
    {"port", required_argument, nullptr, 'p'},
    {"viewer-port", required_argument, nullptr, 'w'},
    {"mode", required_argument, nullptr, 'm'},
    {"stones", required_argument, nullptr, STONES},
    {"coins", required_argument, nullptr, COINS},
    {"seed", required_argument, nullptr, 's'},
    {"pace", required_argument, nullptr, PACE},
    {"turn-limit", required_argument, nullptr, TURN_LIMIT},
    {"start", required_argument, nullptr, 'n'},
    {"ticks", required_argument, nullptr, 't'},
    {"until-one", no_argument, nullptr, UNTIL_ONE},
    {"results", required_argument, nullptr, 'o'},
    {"record", required_argument, nullptr, 'r'},
    {"anonymous", no_argument, nullptr, ANONYMOUS},
    {"public", no_argument, nullptr, PUBLIC},
    {"js", required_argument, nullptr, SCRIPTS},
    {"help", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
};

// Parses a whole number from `least` to `most` with nothing before or after it; otherwise one line on standard error.
bool read_number(const char* what, const char* text, int64_t least, int64_t most, int64_t& number) {
    char* end = nullptr;
    errno = 0;
    const long long value = strtoll(text, &end, 10);
    const bool digits_only = *text >= '0' && *text <= '9' && *end == '\0';
    if (digits_only && errno == 0 && value >= least && value <= most) {
        number = value;
        return true;
    }
    fprintf(stderr, "kelmora-headless: %s wants a number from %lld to %lld, not '%s'\n", what,
            static_cast<long long>(least), static_cast<long long>(most), text);
    return false;
}

bool read_int(const char* what, const char* text, int least, int most, int& number) {
    int64_t value = 0;
    if (!read_number(what, text, least, most, value)) return false;
    number = static_cast<int>(value);
    return true;
}

bool read_pace(const char* text, pace_kind_t& pace) {
    if (strcmp(text, "real") == 0) {
        pace = pace_kind_t::real;
    } else if (strcmp(text, "free") == 0) {
        pace = pace_kind_t::free;
    } else if (strcmp(text, "turns") == 0) {
        pace = pace_kind_t::turns;
    } else {
        fprintf(stderr, "kelmora-headless: --pace is real, free or turns, not '%s'\n", text);
        return false;
    }
    return true;
}

bool read_mode(const char* text, field_mode_t& mode) {
    if (mode_of_name(text, mode)) return true;
    fprintf(stderr, "kelmora-headless: --mode is drawing, battle or maze, not '%s'\n", text);
    return false;
}

bool read_file(const char* what, const char* text, const char*& file) {
    if (text[0] == '\0') {
        fprintf(stderr, "kelmora-headless: %s wants the name of a file\n", what);
        return false;
    }
    file = text;
    return true;
}

// @return whether the option's value is valid
bool take_option(int key, options_t& o) {
    int64_t number = 0;
    switch (key) {
    case 'p':
        return read_int("--port", optarg, 0, 65535, o.client_port);
    case 'w':
        if (strcmp(optarg, "off") == 0) {
            o.viewer_port = VIEWER_OFF;
            return true;
        }
        return read_int("--viewer-port, unless it is off,", optarg, 0, 65535, o.viewer_port);
    case 'm':
        return read_mode(optarg, o.setting.mode);
    case STONES:
        return read_int("--stones", optarg, 0, STONES_MOST, o.setting.stones);
    case COINS:
        return read_int("--coins", optarg, 0, COIN_MAX, o.setting.coins);
    case 's':
        if (!read_number("--seed", optarg, 0, UINT32_MAX, number)) return false;
        o.setting.seed = static_cast<uint32_t>(number);
        o.seed_given = true;
        return true;
    case PACE:
        return read_pace(optarg, o.pace);
    case TURN_LIMIT:
        return read_int("--turn-limit", optarg, 0, TURN_LIMIT_MOST, o.turn_limit_ms);
    case 'n':
        return read_int("--start", optarg, 0, MAX_CLIENT, o.start);
    case 't':
        if (!read_number("--ticks", optarg, 1, INT64_MAX, number)) return false;
        o.ticks = static_cast<uint64_t>(number);
        return true;
    case UNTIL_ONE:
        o.until_one = true;
        return true;
    case 'o':
        return read_file("--results", optarg, o.results);
    case 'r':
        return read_file("--record", optarg, o.record);
    case ANONYMOUS:
        o.anonymous = true;
        return true;
    case PUBLIC:
        o.admit_all = true;
        return true;
    case SCRIPTS:
        o.scripts = optarg;
        return true;
    default:
        return false; // getopt has printed the reason
    }
}

bool is_stdout(const char* file) { return file != nullptr && strcmp(file, "-") == 0; }

} // namespace

const char* options_help() { return HELP; }

parse_result_t parse_options(int argc, char** argv, options_t& options) {
    optind = 0; // restart getopt at the first argument
    int key = 0;
    // -js is a long option with one dash, as the program with the window has it.
    while ((key = getopt_long_only(argc, argv, SHORT_OPTIONS, LONG_OPTIONS, nullptr)) != -1) {
        if (key == 'h') return parse_result_t::help;
        if (!take_option(key, options)) return parse_result_t::wrong;
    }
    if (optind < argc) {
        fprintf(stderr, "kelmora-headless: unexpected argument '%s'\n", argv[optind]);
        return parse_result_t::wrong;
    }
    if (is_stdout(options.results) && is_stdout(options.record)) {
        fputs("kelmora-headless: results and record cannot both go to standard output\n", stderr);
        return parse_result_t::wrong;
    }
    if (options.start < 0) options.start = options.pace == pace_kind_t::turns ? 1 : 0;
    return parse_result_t::run;
}
