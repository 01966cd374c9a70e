#include "class/options.h"

#include "class/codes.h"
#include "class/text.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <getopt.h>
#include <string_view>

namespace classroom {

namespace {

constexpr size_t FIELDS = 30; // one class has three
constexpr double LONGEST_TURN_MINUTES = 24 * 60;

enum option_value {
    PORT = 256,
    LISTEN,
    FIELD_LIST,
    VIEWER_LIST,
    CANVAS_LIST,
    TURN,
    CODE,
    ROOT,
    NAME,
    ADDRESS,
    NO_QR,
    HELP
};

constexpr std::array<option, 13> LONG_OPTIONS = {{{"port", required_argument, nullptr, PORT},
                                                  {"listen", required_argument, nullptr, LISTEN},
                                                  {"fields", required_argument, nullptr, FIELD_LIST},
                                                  {"viewer", required_argument, nullptr, VIEWER_LIST},
                                                  {"canvas", required_argument, nullptr, CANVAS_LIST},
                                                  {"turn-minutes", required_argument, nullptr, TURN},
                                                  {"code", required_argument, nullptr, CODE},
                                                  {"root", required_argument, nullptr, ROOT},
                                                  {"name", required_argument, nullptr, NAME},
                                                  {"address", required_argument, nullptr, ADDRESS},
                                                  {"no-qr", no_argument, nullptr, NO_QR},
                                                  {"help", no_argument, nullptr, HELP},
                                                  {nullptr, 0, nullptr, 0}}};

std::vector<std::string> split_list(std::string_view list) {
    std::vector<std::string> parts;
    while (true) {
        const size_t comma = list.find(',');
        parts.emplace_back(list.substr(0, comma));
        if (comma == std::string_view::npos) return parts;
        list.remove_prefix(comma + 1);
    }
}

// "HOST:PORT", "HOST" or ":PORT"; what is missing is 127.0.0.1 and `port`.
bool read_endpoint(std::string_view text, int port, endpoint& out) {
    const size_t colon = text.rfind(':');
    out = {std::string(text.substr(0, colon)), port};
    if (out.host.empty()) out.host = "127.0.0.1";
    if (colon == std::string_view::npos) return !text.empty();
    const auto number = decimal(text.substr(colon + 1), 65535);
    out.port = static_cast<int>(number.value_or(0));
    return number && *number > 0;
}

bool read_endpoints(const char* list, int port, bool may_be_off, std::vector<endpoint>& out) {
    out.clear();
    for (const std::string& part : split_list(list)) {
        endpoint e;
        if (may_be_off && part == "off") {
            e = {"", 0};
        } else if (!read_endpoint(part, port, e)) {
            return false;
        }
        out.push_back(e);
    }
    return out.size() <= FIELDS;
}

// @return what is wrong with the value, empty when it was taken
std::string take(int which, const char* value, options& out) {
    switch (which) {
    case PORT: {
        const auto number = decimal(value, 65535);
        if (!number) return "a port is a number from 0 to 65535 (0: a free one)";
        out.port = static_cast<int>(*number);
        break;
    }
    case LISTEN:
        out.listen = value;
        break;
    case FIELD_LIST:
        if (!read_endpoints(value, 2222, false, out.fields)) return "fields are HOST:PORT,HOST:PORT,... (at most 30)";
        break;
    case VIEWER_LIST:
        if (!read_endpoints(value, 2280, true, out.viewers)) return "viewer addresses are HOST:PORT,off,...";
        break;
    case CANVAS_LIST:
        out.canvases = split_list(value);
        for (std::string& folder : out.canvases) folder = folder == "off" ? "" : folder;
        break;
    case TURN: {
        char* end = nullptr;
        out.turn_minutes = strtod(value, &end);
        if (end == value || *end != '\0' || !(out.turn_minutes >= 0 && out.turn_minutes <= LONGEST_TURN_MINUTES)) {
            return "turns have 0 to 1440 minutes (0: no turns)";
        }
        break;
    }
    case CODE:
        out.code = normal_code(value);
        if (out.code.empty()) return "a code has 3 to 16 letters and digits";
        break;
    case ROOT:
        out.root = value;
        break;
    case NAME:
        out.names.push_back(lower(value));
        break;
    case ADDRESS:
        out.address = value;
        break;
    case NO_QR:
        out.show_qr = false;
        break;
    default:
        break;
    }
    return "";
}

} // namespace

parsed parse_options(int argc, char** argv, options& out, std::string& error) {
    opterr = 0;
    optind = 0; // starts getopt anew, also when it has run before
    int index = 0;
    for (int which = 0; (which = getopt_long(argc, argv, "+:h", LONG_OPTIONS.data(), &index)) != -1;) {
        if (which == 'h' || which == HELP) return parsed::help;
        if (which == '?' || which == ':') {
            const char* const name = optind > 0 && optind <= argc ? argv[optind - 1] : "";
            error = std::string(which == ':' ? "option without its value: " : "unknown option: ") + for_log(name);
            return parsed::wrong;
        }
        const std::string wrong = take(which, optarg, out);
        if (!wrong.empty()) {
            error = std::string("--") + LONG_OPTIONS[static_cast<size_t>(index)].name + ' ' + for_log(optarg) + ": " +
                    wrong;
            return parsed::wrong;
        }
    }
    if (optind < argc) {
        error = "unknown argument: " + for_log(argv[optind]);
        return parsed::wrong;
    }
    if (out.fields.empty()) out.fields.push_back({"127.0.0.1", 2222});
    if (out.viewers.empty()) {
        for (const endpoint& f : out.fields) out.viewers.push_back({f.host, 2280});
    }
    if (out.canvases.size() > out.fields.size() || out.viewers.size() > out.fields.size()) {
        error = "more viewer addresses or canvas folders than fields";
        return parsed::wrong;
    }
    out.viewers.resize(out.fields.size());
    out.canvases.resize(out.fields.size());
    return parsed::run;
}

const char* help_text() {
    return "usage: kelmora-class [option...]\n"
           "A class in a browser: serves the pages and hands a place on a field to each of those who join.\n"
           "  --port N             port of the pages (2288; 0 takes a free one)\n"
           "  --listen ADDRESS     address to listen on (0.0.0.0: all)\n"
           "  --fields LIST        fields, HOST:PORT,HOST:PORT,... (127.0.0.1:2222); ten places each\n"
           "  --viewer LIST        their pages for browsers, in the same order, HOST:PORT or off (port 2280 of each "
           "field)\n"
           "  --canvas LIST        folders into which the fields write their painting, in the same order, DIR or off\n"
           "  --turn-minutes N     length of a turn when people wait for a place (10; 0: no turns)\n"
           "  --code CODE          class code (a new one at each start)\n"
           "  --root DIR           folder of the pages (beside the program)\n"
           "  --address ADDRESS    address of this machine for the board (found by itself)\n"
           "  --name NAME          one more name that browsers may know this machine by\n"
           "  --no-qr              no QR code on the terminal\n"
           "  -h, --help           this text\n"
           "The desk is at http://localhost:2288/desk, the board at http://localhost:2288/board, on this machine "
           "only.\n";
}

} // namespace classroom
