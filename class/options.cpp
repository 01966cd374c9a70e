#include "class/options.h"

#include "class/codes.h"
#include "class/text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <getopt.h>
#include <netinet/in.h>
#include <string_view>

namespace classroom {

namespace {

constexpr size_t FIELDS = 30; // one class has three
constexpr double LONGEST_TURN_MINUTES = 24 * 60;
constexpr size_t HOST_BYTES = 253; // of a name in the DNS

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

bool is_ipv4(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

// An IPv4 address or a name. Whether there is such a machine is another question.
bool is_host(const std::string& text) {
    const auto fits = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
               c == '.';
    };
    if (text.empty() || text.size() > HOST_BYTES || text.front() == '-' || text.front() == '.') return false;
    if (text.find_first_not_of("0123456789.") == std::string::npos) return is_ipv4(text);
    return std::all_of(text.begin(), text.end(), fits);
}

// "HOST:PORT", "HOST" or ":PORT"; what is missing is 127.0.0.1 and `port`.
bool read_endpoint(std::string_view text, int port, endpoint& out) {
    const size_t colon = text.rfind(':');
    out = {std::string(text.substr(0, colon)), port};
    if (text.empty()) return false;
    if (out.host.empty()) out.host = "127.0.0.1";
    if (!is_host(out.host)) return false;
    if (colon == std::string_view::npos) return true;
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
    return true;
}

// "5", "0.5"; nothing else that stands for a number.
bool read_minutes(std::string_view text, double& out) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
    return error == std::errc() && end == text.data() + text.size() && out >= 0 && out <= LONGEST_TURN_MINUTES;
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
        if (!is_ipv4(out.listen)) return "the server listens on an IPv4 address of this machine (0.0.0.0: on all)";
        break;
    case FIELD_LIST:
        if (!read_endpoints(value, 2222, false, out.fields)) return "fields are HOST:PORT,HOST:PORT,...";
        if (out.fields.size() > FIELDS) return "there are at most 30 fields";
        break;
    case VIEWER_LIST:
        if (!read_endpoints(value, 2280, true, out.viewers)) return "viewer addresses are HOST:PORT,off,...";
        break;
    case CANVAS_LIST:
        out.canvases = split_list(value);
        for (std::string& folder : out.canvases) {
            if (folder.empty()) return "canvas folders are DIR,off,...";
            if (folder == "off") folder.clear();
        }
        break;
    case TURN:
        if (!read_minutes(value, out.turn_minutes)) return "turns have 0 to 1440 minutes (0: no turns)";
        break;
    case CODE:
        out.code = normal_code(value);
        if (out.code.empty()) return "a code has 3 to 16 letters and digits";
        break;
    case ROOT:
        out.root = value;
        if (out.root.empty()) return "the pages are in a folder";
        break;
    case NAME:
        out.names.push_back(lower(value));
        if (!is_host(value)) return "a machine's name has letters, digits, dots and hyphens, and no port";
        break;
    case ADDRESS:
        out.address = value;
        if (!is_host(out.address)) return "this machine's address is an IPv4 address or a name, without a port";
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
            error = std::string("--") + LONG_OPTIONS[static_cast<size_t>(index)].name + ' ' +
                    (*optarg == '\0' ? "''" : for_log(optarg)) + ": " + wrong;
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
    if (out.viewers.size() > out.fields.size() || out.canvases.size() > out.fields.size()) {
        error = out.viewers.size() > out.fields.size() ? "--viewer: more addresses than there are fields"
                                                       : "--canvas: more folders than there are fields";
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
