// kelmora.hpp: drives a turtle on a Kelmora field. One header, C++17, POSIX sockets, nothing to link.
//
//     #include <kelmora.hpp>
//     int main() {
//         kelmora::Turtle turtle; // on the field of this machine, or where KELMORA_HOST and KELMORA_PORT say
//         for (int i = 0; i < 4; ++i) {
//             turtle.forward(50);
//             turtle.left(90);
//         }
//     }
//
// A turtle belongs to one thread at a time. Errors are thrown as a kelmora::Error. A command allocates nothing: the
// turtle keeps buffers for its line and its answer.
#pragma once

#if __cplusplus < 201703L
#error "kelmora.hpp needs C++17: compile with -std=c++17 or later"
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace kelmora {

// ------------------------------------------------------------------------------------------------------ errors

/// Base of all errors; what() says in plain words what is wrong and what to do.
class Error : public std::runtime_error {
    using std::runtime_error::runtime_error;
};
/// Nothing listens at that address, there is no such machine, or it does not answer.
class NoField : public Error {
    using Error::Error;
};
/// The field hung up before its first answer: it is private and you are not on its machine, or its places are taken.
class NotAdmitted : public Error {
    using Error::Error;
};
/// The turtle was hit, and the connection ended: its score fell below 0.
class Died : public Error {
    using Error::Error;
};
/// The connection ended, or had ended before.
class Lost : public Error {
    using Error::Error;
};
/// No answer within the time-out.
class NoAnswer : public Error {
    using Error::Error;
};
/// The field sent something that is no answer to the command.
class BadAnswer : public Error {
    using Error::Error;
};
/// An argument is not a finite number. Nothing was sent.
class NotANumber : public Error {
    using Error::Error;
};
/// An argument is out of its range. Nothing was sent.
class BadValue : public Error {
    using Error::Error;
};
/// Thrown in strict mode when a step, a turn or a jump was refused.
class Blocked : public Error {
public:
    Blocked(const std::string& text, std::string_view by) : Error(text), by_(by) {}
    /// "turtle", "doughnut", "stone", "wall"; "jump" for a jump that is not allowed here; else "something".
    [[nodiscard]] std::string_view by() const { return by_; }

private:
    std::string_view by_;
};

// ------------------------------------------------------------------------------------------------------ values

/// A place on the field: -256 to 256 on both axes, (0, 0) in the middle.
struct Point {
    double x = 0;
    double y = 0;
};

/// A colour, each part from 0 to 1 (to 255 after colormode(255)).
struct Color {
    double r = 0;
    double g = 0;
    double b = 0;
};

/// A text stored inside the value, so that nothing is allocated. Use it as a std::string_view.
class Text {
public:
    static constexpr std::size_t CAPACITY = 1024;
    Text() = default;
    /// Keeps the first CAPACITY bytes.
    Text(std::string_view text) : size_(std::min(text.size(), CAPACITY)) {
        std::memcpy(bytes_.data(), text.data(), size_);
    }
    [[nodiscard]] std::string_view view() const { return {bytes_.data(), size_}; }
    operator std::string_view() const { return view(); }
    [[nodiscard]] std::string str() const { return std::string(view()); }
    [[nodiscard]] bool empty() const { return size_ == 0; }

private:
    std::array<char, CAPACITY> bytes_;
    std::size_t size_ = 0;
};

/// What an answer says: `values OK @ clock events`.
struct Answer {
    Text values;              ///< what stood before OK or ERR; empty for most commands
    bool ok = false;          ///< OK, or ERR
    std::uint64_t clock = 0;  ///< ticks of the field
    std::uint32_t events = 0; ///< sum of the events since the answer before
};

/// What the finder or the radar says.
struct Found {
    std::string_view what = "nothing"; ///< "nothing" "turtle" "doughnut" "stone" "wall"
    int team = 0;                      ///< 0 = none
};
struct Seen {
    double bearing = 0; ///< degrees from the heading, left is positive; off by up to 20 either way
    int team = 0;
};
/// True where something is within reach.
struct Sonar {
    bool left = false;
    bool front = false;
    bool right = false;
};
/// The team's board: clock of the last post, and its text.
struct Message {
    std::uint64_t time = 0;
    Text text;
};

/// The events by name; the k-th name stands for the number 2^k.
inline constexpr std::array<std::string_view, 9> EVENT_NAMES = {"hit",  "turtle", "doughnut", "stone",  "wall",
                                                                "coin", "found",  "seen",     "message"};

/// Names of events, in the order of their numbers: a range of std::string_view.
class Events {
public:
    Events() = default;
    explicit Events(std::uint32_t bits) {
        for (std::size_t k = 0; k < EVENT_NAMES.size(); ++k) {
            if ((bits >> k & 1U) != 0) names_[size_++] = EVENT_NAMES[k];
        }
    }
    [[nodiscard]] const std::string_view* begin() const { return names_.data(); }
    [[nodiscard]] const std::string_view* end() const { return names_.data() + size_; }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] bool has(std::string_view name) const { return std::find(begin(), end(), name) != end(); }

private:
    std::array<std::string_view, EVENT_NAMES.size()> names_{};
    std::size_t size_ = 0;
};

/// What one word of a batch would have returned.
using Value =
    std::variant<std::monostate, bool, double, Point, Found, std::optional<Seen>, Sonar, Message, Events, Answer>;

/// A colour as an argument: a name ("red"), "#ff0000", "#f00", or three numbers.
class Paint {
public:
    Paint(const char* name) : name_(name), named_(true) {}
    Paint(std::string_view name) : name_(name), named_(true) {}
    Paint(const std::string& name) : name_(name), named_(true) {}
    Paint(double r, double g, double b) : parts_{r, g, b} {}
    Paint(Color parts) : parts_(parts) {}
    /// The colour with parts from 0 to 1; numbers are taken as parts of `mode`. Throws NotANumber or BadValue.
    [[nodiscard]] inline Color color(double mode) const;

private:
    std::string_view name_;
    bool named_ = false;
    Color parts_;
};

// ------------------------------------------------------------------------------------------------------ colours

namespace detail {

struct NamedColor {
    std::string_view name;
    std::uint32_t rgb;
};

// The colour names of CSS, in alphabetical order; Tk has the same ones.
// clang-format off
inline constexpr std::array<NamedColor, 148> COLORS = {{
    {"aliceblue", 0xf0f8ff}, {"antiquewhite", 0xfaebd7}, {"aqua", 0x00ffff}, {"aquamarine", 0x7fffd4},
    {"azure", 0xf0ffff}, {"beige", 0xf5f5dc}, {"bisque", 0xffe4c4}, {"black", 0x000000}, {"blanchedalmond", 0xffebcd},
    {"blue", 0x0000ff}, {"blueviolet", 0x8a2be2}, {"brown", 0xa52a2a}, {"burlywood", 0xdeb887},
    {"cadetblue", 0x5f9ea0}, {"chartreuse", 0x7fff00}, {"chocolate", 0xd2691e}, {"coral", 0xff7f50},
    {"cornflowerblue", 0x6495ed}, {"cornsilk", 0xfff8dc}, {"crimson", 0xdc143c}, {"cyan", 0x00ffff},
    {"darkblue", 0x00008b}, {"darkcyan", 0x008b8b}, {"darkgoldenrod", 0xb8860b}, {"darkgray", 0xa9a9a9},
    {"darkgreen", 0x006400}, {"darkgrey", 0xa9a9a9}, {"darkkhaki", 0xbdb76b}, {"darkmagenta", 0x8b008b},
    {"darkolivegreen", 0x556b2f}, {"darkorange", 0xff8c00}, {"darkorchid", 0x9932cc}, {"darkred", 0x8b0000},
    {"darksalmon", 0xe9967a}, {"darkseagreen", 0x8fbc8f}, {"darkslateblue", 0x483d8b}, {"darkslategray", 0x2f4f4f},
    {"darkslategrey", 0x2f4f4f}, {"darkturquoise", 0x00ced1}, {"darkviolet", 0x9400d3}, {"deeppink", 0xff1493},
    {"deepskyblue", 0x00bfff}, {"dimgray", 0x696969}, {"dimgrey", 0x696969}, {"dodgerblue", 0x1e90ff},
    {"firebrick", 0xb22222}, {"floralwhite", 0xfffaf0}, {"forestgreen", 0x228b22}, {"fuchsia", 0xff00ff},
    {"gainsboro", 0xdcdcdc}, {"ghostwhite", 0xf8f8ff}, {"gold", 0xffd700}, {"goldenrod", 0xdaa520},
    {"gray", 0x808080}, {"green", 0x008000}, {"greenyellow", 0xadff2f}, {"grey", 0x808080}, {"honeydew", 0xf0fff0},
    {"hotpink", 0xff69b4}, {"indianred", 0xcd5c5c}, {"indigo", 0x4b0082}, {"ivory", 0xfffff0}, {"khaki", 0xf0e68c},
    {"lavender", 0xe6e6fa}, {"lavenderblush", 0xfff0f5}, {"lawngreen", 0x7cfc00}, {"lemonchiffon", 0xfffacd},
    {"lightblue", 0xadd8e6}, {"lightcoral", 0xf08080}, {"lightcyan", 0xe0ffff}, {"lightgoldenrodyellow", 0xfafad2},
    {"lightgray", 0xd3d3d3}, {"lightgreen", 0x90ee90}, {"lightgrey", 0xd3d3d3}, {"lightpink", 0xffb6c1},
    {"lightsalmon", 0xffa07a}, {"lightseagreen", 0x20b2aa}, {"lightskyblue", 0x87cefa}, {"lightslategray", 0x778899},
    {"lightslategrey", 0x778899}, {"lightsteelblue", 0xb0c4de}, {"lightyellow", 0xffffe0}, {"lime", 0x00ff00},
    {"limegreen", 0x32cd32}, {"linen", 0xfaf0e6}, {"magenta", 0xff00ff}, {"maroon", 0x800000},
    {"mediumaquamarine", 0x66cdaa}, {"mediumblue", 0x0000cd}, {"mediumorchid", 0xba55d3}, {"mediumpurple", 0x9370db},
    {"mediumseagreen", 0x3cb371}, {"mediumslateblue", 0x7b68ee}, {"mediumspringgreen", 0x00fa9a},
    {"mediumturquoise", 0x48d1cc}, {"mediumvioletred", 0xc71585}, {"midnightblue", 0x191970}, {"mintcream", 0xf5fffa},
    {"mistyrose", 0xffe4e1}, {"moccasin", 0xffe4b5}, {"navajowhite", 0xffdead}, {"navy", 0x000080},
    {"oldlace", 0xfdf5e6}, {"olive", 0x808000}, {"olivedrab", 0x6b8e23}, {"orange", 0xffa500},
    {"orangered", 0xff4500}, {"orchid", 0xda70d6}, {"palegoldenrod", 0xeee8aa}, {"palegreen", 0x98fb98},
    {"paleturquoise", 0xafeeee}, {"palevioletred", 0xdb7093}, {"papayawhip", 0xffefd5}, {"peachpuff", 0xffdab9},
    {"peru", 0xcd853f}, {"pink", 0xffc0cb}, {"plum", 0xdda0dd}, {"powderblue", 0xb0e0e6}, {"purple", 0x800080},
    {"rebeccapurple", 0x663399}, {"red", 0xff0000}, {"rosybrown", 0xbc8f8f}, {"royalblue", 0x4169e1},
    {"saddlebrown", 0x8b4513}, {"salmon", 0xfa8072}, {"sandybrown", 0xf4a460}, {"seagreen", 0x2e8b57},
    {"seashell", 0xfff5ee}, {"sienna", 0xa0522d}, {"silver", 0xc0c0c0}, {"skyblue", 0x87ceeb},
    {"slateblue", 0x6a5acd}, {"slategray", 0x708090}, {"slategrey", 0x708090}, {"snow", 0xfffafa},
    {"springgreen", 0x00ff7f}, {"steelblue", 0x4682b4}, {"tan", 0xd2b48c}, {"teal", 0x008080}, {"thistle", 0xd8bfd8},
    {"tomato", 0xff6347}, {"turquoise", 0x40e0d0}, {"violet", 0xee82ee}, {"wheat", 0xf5deb3}, {"white", 0xffffff},
    {"whitesmoke", 0xf5f5f5}, {"yellow", 0xffff00}, {"yellowgreen", 0x9acd32},
}};
// clang-format on

[[noreturn]] inline void no_such_color(std::string_view name) {
    throw BadValue("There is no colour \"" + std::string(name) +
                   "\": use a name like red, or #rrggbb, or three numbers");
}

// A colour's number 0xrrggbb: by its name, in large or small letters, with blanks or without, by its digits, or gray0
// (black) to gray100 (white).
inline std::uint32_t color_number(std::string_view given) {
    std::array<char, 24> letters; // no name is longer
    std::size_t size = 0;
    for (const char c : given) {
        if (c == ' ') continue;
        if (size == letters.size()) no_such_color(given);
        letters[size++] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    const std::string_view name(letters.data(), size);
    const auto number_in = [&](std::size_t from, int base) { // negative when the rest of the name is no number
        std::int32_t number = 0;
        const char* const begin = name.data() + from;
        const char* const last = name.data() + name.size();
        const auto [end, error] = std::from_chars(begin, last, number, base);
        return error == std::errc() && end == last ? number : -1;
    };
    if (!name.empty() && name.front() == '#') {
        const auto number = number_in(1, 16);
        if ((name.size() != 4 && name.size() != 7) || number < 0) no_such_color(given);
        const auto digits = static_cast<std::uint32_t>(number);
        if (name.size() == 7) return digits;
        return (digits >> 8U & 15U) * 0x110000U + (digits >> 4U & 15U) * 0x1100U + (digits & 15U) * 0x11U;
    }
    const auto before = [](const NamedColor& color, std::string_view wanted) { return color.name < wanted; };
    const auto* const found = std::lower_bound(COLORS.begin(), COLORS.end(), name, before);
    if (found != COLORS.end() && found->name == name) return found->rgb;
    if (name.substr(0, 4) == "gray" || name.substr(0, 4) == "grey") {
        const auto percent = number_in(4, 10);
        if (percent >= 0 && percent <= 100) return static_cast<std::uint32_t>(percent * 2.55 + 0.5) * 0x10101U;
    }
    no_such_color(given);
}

} // namespace detail

inline Color Paint::color(double mode) const {
    if (named_) {
        const std::uint32_t rgb = detail::color_number(name_);
        return {(rgb >> 16U & 255U) / 255.0, (rgb >> 8U & 255U) / 255.0, (rgb & 255U) / 255.0};
    }
    for (const double part : {parts_.r, parts_.g, parts_.b}) {
        if (!std::isfinite(part)) throw NotANumber("A part of the colour is no number");
        if (part < 0 || part > mode) {
            throw BadValue(mode == 1 ? "The parts of a colour are numbers from 0 to 1 (or call colormode(255))"
                                     : "The parts of a colour are numbers from 0 to 255 (or call colormode(1))");
        }
    }
    return {parts_.r / mode, parts_.g / mode, parts_.b / mode};
}

// --------------------------------------------------------------------------------------------------- transport

/// Carries lines to a field and back. A program can derive its own and give it to Turtle.
class Transport {
public:
    /// Thrown by send() and receive(): the field has hung up.
    struct Closed : std::runtime_error {
        using std::runtime_error::runtime_error;
    };
    /// Thrown by receive(): nothing came in time.
    struct Silent : std::runtime_error {
        using std::runtime_error::runtime_error;
    };
    /// Thrown by receive(): the line is too long.
    struct TooLong : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    Transport() = default;
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;
    virtual ~Transport() = default;

    /// Sends one or more whole lines, each with its line feed, as one packet.
    virtual void send(std::string_view lines) = 0;
    /// Waits for the next line. What it returns, without the line feed, stays valid until the next call.
    virtual std::string_view receive() = 0;
    /// Whether more has been read than the lines returned so far. Asked before a packet goes out, when no answer is
    /// due. Bytes that the system still holds do not count: asking for them would take a system call a packet.
    [[nodiscard]] virtual bool has_more() const { return false; }
    /// Where the field is, for messages.
    [[nodiscard]] virtual std::string where() const { return "the field"; }
};

/// Where the field is, and how long to wait for it.
struct Options {
    std::string host; ///< empty: KELMORA_HOST, else this machine
    int port = 0;     ///< 0: KELMORA_PORT, else 2222
    std::chrono::milliseconds connect_timeout{5000};
    std::chrono::milliseconds timeout{20000}; ///< for each answer, from the first byte waited for to the last
};

/// Lines over TCP.
class TcpTransport final : public Transport {
public:
    /// An answer of the field is shorter; a longer line is refused.
    static constexpr std::size_t LONGEST_LINE = 1024;

    /// Connects. Throws NoField, or BadValue for a port that is none.
    explicit TcpTransport(const Options& options = {}) : timeout_(options.timeout) {
        std::string host = options.host.empty() ? environment("KELMORA_HOST") : options.host;
        if (host.empty()) host = "localhost";
        const std::string port = options.port != 0 ? std::to_string(options.port) : environment("KELMORA_PORT");
        const int number = port_number(port.empty() ? std::to_string(2222) : port);
        where_ = host + ":" + std::to_string(number);
        connect_to(host, std::to_string(number), options.connect_timeout);
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        set_waits(timeout_);
    }
    ~TcpTransport() override {
        if (socket_ >= 0) ::close(socket_);
    }

    void send(std::string_view lines) override {
        while (!lines.empty()) {
            const ssize_t n = ::send(socket_, lines.data(), lines.size(), MSG_NOSIGNAL);
            if (n >= 0) {
                lines.remove_prefix(static_cast<std::size_t>(n));
            } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
                throw Silent("the field takes nothing more");
            } else if (errno != EINTR) {
                throw Closed(std::generic_category().message(errno));
            }
        }
    }

    // The deadline is for the whole line, so bytes that come one by one do not extend it. The clock is only read if the
    // line was not complete at once.
    std::string_view receive() override {
        std::size_t seen = 0; // bytes without a line feed
        bool waited = false;
        clock::time_point deadline;
        while (true) {
            const char* const start = in_.data() + begin_;
            const std::size_t held = end_ - begin_;
            if (const void* found = held > seen ? std::memchr(start + seen, '\n', held - seen) : nullptr) {
                const auto length = static_cast<std::size_t>(static_cast<const char*>(found) - start);
                if (length > LONGEST_LINE) break;
                begin_ += length + 1;
                return {start, length};
            }
            seen = held;
            if (held > LONGEST_LINE) break;
            if (held == 0) {
                begin_ = end_ = 0;
            } else if (begin_ > 0 && in_.size() - end_ < LONGEST_LINE) {
                std::memmove(in_.data(), start, held);
                begin_ = 0;
                end_ = held;
            }
            if (held > 0 && !waited) {
                deadline = clock::now() + timeout_;
                waited = true;
            }
            if (waited) wait_for_bytes(deadline);
            const ssize_t n = ::recv(socket_, in_.data() + end_, in_.size() - end_, 0);
            if (n > 0) {
                end_ += static_cast<std::size_t>(n);
            } else if (n == 0) {
                throw Closed(held > 0 ? "it hung up in the middle of a line" : "it hung up");
            } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
                throw Silent("no answer");
            } else if (errno == EINTR && !waited) {
                deadline = clock::now() + timeout_;
                waited = true;
            } else if (errno != EINTR) {
                throw Closed(std::generic_category().message(errno));
            }
        }
        throw TooLong("a line of more than 1024 bytes");
    }

    [[nodiscard]] bool has_more() const override { return begin_ < end_; }
    [[nodiscard]] std::string where() const override { return where_; }

private:
    using clock = std::chrono::steady_clock;

    static std::string environment(const char* name) {
        const char* value = std::getenv(name);
        return value == nullptr ? std::string() : std::string(value);
    }

    static int port_number(const std::string& text) {
        int number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > 65535) {
            throw BadValue("\"" + text + "\" is no port: a port is a number from 1 to 65535, the field's is 2222");
        }
        return number;
    }

    // Tries every address of the host, those of IPv4 first: a private field knows its own machine as 127.0.0.1 only.
    void connect_to(const std::string& host, const std::string& port, std::chrono::milliseconds timeout) {
        addrinfo hints{};
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        hints.ai_flags = AI_NUMERICSERV;
        addrinfo* found = nullptr;
        if (const int code = getaddrinfo(host.c_str(), port.c_str(), &hints, &found); code != 0) {
            throw NoField("There is no machine called " + host + " (" + gai_strerror(code) +
                          "). Look at KELMORA_HOST, or at the name in your program.");
        }
        const std::unique_ptr<addrinfo, void (*)(addrinfo*)> addresses(found, freeaddrinfo);
        const auto deadline = clock::now() + timeout;
        int error = 0;
        for (const bool four : {true, false}) {
            for (const addrinfo* a = found; a != nullptr && socket_ < 0; a = a->ai_next) {
                if ((a->ai_family == AF_INET) == four) error = try_address(*a, deadline);
            }
        }
        if (socket_ < 0) {
            throw NoField("No field answers at " + where_ + " (" + std::generic_category().message(error) +
                          "). Is it running? Is the address right?");
        }
    }

    // Leaves the connected socket in socket_, or returns the error number.
    int try_address(const addrinfo& a, clock::time_point deadline) {
        const int fd = ::socket(a.ai_family, a.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, a.ai_protocol);
        if (fd < 0) return errno;
        int error = ::connect(fd, a.ai_addr, a.ai_addrlen) == 0 ? 0 : errno;
        if (error == EINPROGRESS) {
            error = ETIMEDOUT;
            pollfd waiting = {fd, POLLOUT, 0};
            if (wait(waiting, deadline)) {
                socklen_t size = sizeof error;
                if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
            }
        }
        if (error == 0) {
            fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
            socket_ = fd;
        } else {
            ::close(fd);
        }
        return error;
    }

    // True when the socket is ready before the deadline.
    static bool wait(pollfd& waiting, clock::time_point deadline) {
        while (true) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - clock::now()).count() + 1;
            const int n = left <= 0 ? 0 : ::poll(&waiting, 1, static_cast<int>(std::min<long long>(left, 1000000)));
            if (n > 0) return true;
            if (left <= 0 || (n < 0 && errno != EINTR)) return false;
        }
    }
    void wait_for_bytes(clock::time_point deadline) {
        pollfd waiting = {socket_, POLLIN, 0};
        if (!wait(waiting, deadline)) throw Silent("half an answer");
    }

    void set_waits(std::chrono::milliseconds timeout) {
        timeval t{};
        t.tv_sec = static_cast<decltype(t.tv_sec)>(timeout.count() / 1000);
        t.tv_usec = static_cast<decltype(t.tv_usec)>(timeout.count() % 1000 * 1000);
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &t, sizeof t);
        setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &t, sizeof t);
    }

    int socket_ = -1;
    std::chrono::milliseconds timeout_;
    std::string where_;
    std::array<char, 4 * LONGEST_LINE> in_{};
    std::size_t begin_ = 0; // in_[begin_, end_) has been received and not handed out
    std::size_t end_ = 0;
};

// ------------------------------------------------------------------------------------------------------- areas

namespace detail {

// How the pen paints, by the field's command for it.
enum class Way : std::uint8_t { lines, polygons, points, brush };
inline constexpr std::array<std::string_view, 4> WAYS = {"l", "l s", "l p", "l b"};

struct Stroke {
    Point start;
    Point end;
    Color color;
    double width = 1;
    Way way = Way::lines;
};
// The way of a turtle while an area is being made.
struct Trace {
    std::vector<Point> points;
    std::vector<Stroke> strokes;
};
using Piece = std::vector<Point>; // corners of a convex area, in their order around it
using Packet = std::vector<std::string>;

// In the mode for filled shapes the field fills, a frame at a time, the polygon of a turtle's latest points: six of
// them once the turtle has made five painted steps, and fewer before. So a shape is cut into convex pieces of six
// corners at most, and each piece is a packet of six jumps.
inline constexpr std::size_t CORNERS = 6;
inline constexpr double THIN = 1e-9; // a slice lower than this shows nothing

inline double distance(Point a, Point b) { return std::hypot(a.x - b.x, a.y - b.y); }
inline bool same(Point a, Point b) { return a.x == b.x && a.y == b.y; }

inline std::string with_numbers(std::string_view word, std::initializer_list<double> numbers) {
    std::string line(word);
    for (const double number : numbers) {
        constexpr double MOST = 1e15; // digits behind the point mean nothing above
        const double rounded = std::abs(number) < MOST / 1e8 ? std::round(number * 1e8) / 1e8 : number;
        std::array<char, 32> digits;
        line.push_back(' ');
        line.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), rounded + 0.0).ptr);
    }
    return line;
}
inline std::string jump_to(Point p) { return with_numbers("j", {p.x, p.y}); }
inline std::string paint_of(Color c) { return with_numbers("k", {c.r, c.g, c.b}); }

/// Corners of a polygon that looks like a disc.
inline Piece disc(Point middle, double diameter) {
    constexpr double PI = 3.14159265358979323846;
    const int count = 4 * static_cast<int>(std::clamp(std::round(diameter / 5), 3.0, 12.0));
    Piece corners;
    for (int k = 0; k < count; ++k) {
        const double turn = 2 * PI * (k + 0.5) / count;
        corners.push_back({middle.x + diameter / 2 * std::cos(turn), middle.y + diameter / 2 * std::sin(turn)});
    }
    return corners;
}

// A side of the shape that is not level, from its lower to its upper end.
struct Edge {
    Point low;
    Point high;
    double slope = 0;
    [[nodiscard]] double at(double y) const { return y >= high.y ? high.x : low.x + (y - low.y) * slope; }
};

inline std::vector<Edge> edges_of(const std::vector<Point>& points) {
    std::vector<Edge> edges;
    for (std::size_t k = 0; k < points.size(); ++k) {
        Point a = points[k];
        Point b = points[(k + 1) % points.size()];
        if (std::abs(a.y - b.y) <= THIN) continue;
        if (b.y < a.y) std::swap(a, b);
        edges.push_back({a, b, (b.x - a.x) / (b.y - a.y)});
    }
    return edges;
}

// Heights of all ends and crossings: between two of them no sides meet.
inline std::vector<double> levels_of(std::vector<Edge> edges) {
    std::vector<double> all;
    for (const Edge& edge : edges) all.insert(all.end(), {edge.low.y, edge.high.y});
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.low.y < b.low.y; });
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const Edge& a = edges[i];
        for (std::size_t j = i + 1; j < edges.size() && edges[j].low.y < a.high.y; ++j) {
            const Edge& b = edges[j];
            if (a.slope == b.slope) continue;
            const double y = (b.low.x - b.low.y * b.slope - a.low.x + a.low.y * a.slope) / (a.slope - b.slope);
            if (b.low.y < y && y < std::min(a.high.y, b.high.y)) all.push_back(y);
        }
    }
    std::sort(all.begin(), all.end());
    std::vector<double> levels;
    for (const double level : all) {
        if (levels.empty() || level - levels.back() > THIN) levels.push_back(level);
    }
    return levels;
}

// The corners around, each once.
inline Piece outline(const Piece& left, const Piece& right) {
    Piece corners;
    const auto add = [&](Point corner) {
        if (corners.empty() || distance(corner, corners.back()) > 1e-7) corners.push_back(corner);
    };
    std::for_each(right.begin(), right.end(), add);
    std::for_each(left.rbegin(), left.rend(), add);
    if (corners.size() > 1 && distance(corners.front(), corners.back()) <= 1e-7) corners.pop_back();
    return corners;
}

// A convex piece that grows upward: its left and its right side, from the bottom up.
struct Slab {
    std::array<const Edge*, 2> edges;
    std::array<Piece, 2> sides;

    Slab(const Edge* left, const Edge* right, double low, double high) : edges{left, right} {
        for (std::size_t k = 0; k < 2; ++k) sides[k] = {{edges[k]->at(low), low}, {edges[k]->at(high), high}};
    }
    // Adds what lies above between two sides, if it adjoins and the whole stays convex and small enough.
    bool grow(const Edge* left, const Edge* right, double high) {
        const std::array<const Edge*, 2> next = {left, right};
        std::array<Piece, 2> grown = sides;
        for (std::size_t k = 0; k < 2; ++k) {
            const Point end = {next[k]->at(high), high};
            const Point corner = sides[k].back();
            if (edges[k] == next[k]) {
                grown[k].back() = end;
                continue;
            }
            const Point before = sides[k][sides[k].size() - 2];
            if (std::abs(next[k]->at(corner.y) - corner.x) > 1e-6) return false;
            const double bend = (corner.x - before.x) * (end.y - corner.y) - (end.x - corner.x) * (corner.y - before.y);
            if (k == 0 ? bend > 0 : bend < 0) return false;
            grown[k].push_back(end);
        }
        if (outline(grown[0], grown[1]).size() > CORNERS) return false;
        sides = grown;
        edges = next;
        return true;
    }
};

/// The area inside a closed line, as convex pieces; what the line surrounds twice counts as outside.
inline std::vector<Piece> pieces_of(const std::vector<Point>& points) {
    const std::vector<Edge> edges = edges_of(points);
    const std::vector<double> levels = levels_of(edges);
    std::vector<Slab> done;
    std::vector<Slab> growing;
    for (std::size_t k = 0; k + 1 < levels.size(); ++k) {
        const double low = levels[k];
        const double high = levels[k + 1];
        std::vector<const Edge*> here;
        for (const Edge& edge : edges) {
            if (edge.low.y <= low + THIN && edge.high.y >= high - THIN) here.push_back(&edge);
        }
        std::stable_sort(here.begin(), here.end(), [middle = (low + high) / 2](const Edge* a, const Edge* b) {
            return a->at(middle) < b->at(middle);
        });
        std::vector<Slab> slabs;
        for (std::size_t i = 0; i + 1 < here.size(); i += 2) {
            const auto found = std::find_if(growing.begin(), growing.end(),
                                            [&](Slab& slab) { return slab.grow(here[i], here[i + 1], high); });
            if (found == growing.end()) {
                slabs.emplace_back(here[i], here[i + 1], low, high);
            } else {
                slabs.push_back(*found);
                growing.erase(found);
            }
        }
        done.insert(done.end(), growing.begin(), growing.end());
        growing = std::move(slabs);
    }
    done.insert(done.end(), growing.begin(), growing.end());
    std::vector<Piece> pieces;
    for (const Slab& slab : done) {
        if (Piece piece = outline(slab.sides[0], slab.sides[1]); piece.size() > 2) pieces.push_back(std::move(piece));
    }
    return pieces;
}

/// Packets that fill the pieces, the smaller ones first; the pen is then down and in the mode for filled shapes.
inline std::vector<Packet> fill_packets(std::vector<Piece> pieces, Color color) {
    std::stable_sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) { return a.size() < b.size(); });
    std::vector<Packet> packets;
    std::size_t painted = 0;
    for (const Piece& piece : pieces) {
        const std::string start = jump_to(piece.front());
        if (painted == 0) {
            // `p d` drops older points and colours; the next step is the first of the polygon.
            packets.push_back({"p u", start, paint_of(color), "l s", "p d", start});
            painted = 1;
        }
        for (; std::min(painted + 1, CORNERS - 1) + 1 < piece.size(); ++painted) packets.push_back({start});
        Packet corners(CORNERS - std::min(piece.size(), CORNERS), start);
        for (const Point corner : piece) corners.push_back(jump_to(corner));
        packets.push_back(std::move(corners));
        ++painted;
    }
    return packets;
}

inline bool same_ink(const Stroke& a, const Stroke& b) {
    return a.color.r == b.color.r && a.color.g == b.color.g && a.color.b == b.color.b && a.width == b.width &&
           a.way == b.way;
}

/// Packets that paint the strokes again, those that go on in the same direction as one; the pen is then down.
inline std::vector<Packet> stroke_packets(const std::vector<Stroke>& strokes) {
    std::vector<Stroke> straight;
    for (const Stroke& stroke : strokes) {
        if (same(stroke.start, stroke.end) && (stroke.way == Way::lines || stroke.way == Way::brush)) continue;
        if (!straight.empty() && stroke.way == Way::lines && same_ink(stroke, straight.back()) &&
            same(stroke.start, straight.back().end)) {
            const Stroke& last = straight.back();
            const Point a = {last.end.x - last.start.x, last.end.y - last.start.y};
            const Point b = {stroke.end.x - stroke.start.x, stroke.end.y - stroke.start.y};
            const double lengths = std::hypot(a.x, a.y) * std::hypot(b.x, b.y);
            if (std::abs(a.x * b.y - a.y * b.x) <= 1e-5 * lengths && a.x * b.x + a.y * b.y > 0) {
                straight.back().end = stroke.end;
                continue;
            }
        }
        straight.push_back(stroke);
    }
    std::vector<Packet> packets;
    const Stroke* last = nullptr;
    for (const Stroke& stroke : straight) {
        Packet packet;
        if (last == nullptr || !same_ink(stroke, *last) || !same(stroke.start, last->end)) {
            packet = {"p u",
                      jump_to(stroke.start),
                      std::string(WAYS[static_cast<std::size_t>(stroke.way)]),
                      paint_of(stroke.color),
                      with_numbers("w", {stroke.width}),
                      "p d"};
        }
        packet.push_back(jump_to(stroke.end));
        packets.push_back(std::move(packet));
        last = &stroke;
    }
    return packets;
}

} // namespace detail

// ------------------------------------------------------------------------------------------------------ turtle

/// One connection to the field and its turtle, with the pen down. The destructor hangs up.
///
/// Units are field units and degrees; 0 degrees points east, left turns are positive. Words that return a bool return
/// false when something is in the way or the field refuses; none of them throws for that, but in strict() mode.
/// Every word that talks to the field may throw Died, Lost, NoAnswer and BadAnswer, after which the connection is over;
/// every word that takes numbers throws NotANumber for one that is not finite, and has then sent nothing.
class Turtle {
public:
    using Callback = std::function<void()>;

    /// Connects to the field of KELMORA_HOST and KELMORA_PORT, else to this machine's. Throws NoField or NotAdmitted.
    Turtle() : Turtle(Options{}) {}
    explicit Turtle(const std::string& host, int port = 0) : Turtle(Options{host, port}) {}
    explicit Turtle(const Options& options) : Turtle(std::make_unique<TcpTransport>(options)) {}
    /// Uses your own transport.
    explicit Turtle(std::unique_ptr<Transport> transport) : transport_(std::move(transport)) {
        packet_.reserve(PACKET_BYTES);
        due_.reserve(DUE_EVENTS);
        line(".");
        line("p d");
        run<bool>(Kind::done);
    }
    Turtle(const Turtle&) = delete;
    Turtle& operator=(const Turtle&) = delete;
    ~Turtle() = default;

    // ------------------------------------------------------------------------------------------------ motion

    /// Goes `distance` forward (backward when it is negative), all of it or nothing. A line is drawn when the pen is
    /// down. Returns once the field has done it; the next word that moves waits for the next frame.
    bool forward(double distance) { return step("f", distance); }
    bool fd(double distance) { return forward(distance); }
    /// Goes backward.
    bool back(double distance) { return step("b", distance); }
    bool bk(double distance) { return back(distance); }
    bool backward(double distance) { return back(distance); }
    /// Turns left by `angle` degrees. In battle mode a turn is at most 3 degrees, and a step at most 2.
    bool left(double angle) {
        check(angle);
        line("t l", angle);
        return run<bool>(Kind::turn);
    }
    bool lt(double angle) { return left(angle); }
    /// Turns right.
    bool right(double angle) {
        check(angle);
        line("t r", angle);
        return run<bool>(Kind::turn);
    }
    bool rt(double angle) { return right(angle); }
    /// Jumps to a point; a line is drawn when the pen is down. Refused in battle mode, and while another turtle, a
    /// doughnut or a stone is closer than 20. (`goto` is a keyword of this language.)
    bool setpos(double x, double y) { return jump("j", x, y); }
    bool setpos(Point p) { return setpos(p.x, p.y); }
    bool setposition(double x, double y) { return setpos(x, y); }
    bool go_to(double x, double y) { return setpos(x, y); }
    bool go_to(Point p) { return setpos(p); }
    /// Jumps by (dx, dy).
    bool shift(double dx, double dy) { return jump("g", dx, dy); }
    /// Jumps to another x, or y.
    bool setx(double x) {
        check(x);
        not_in_batch("setx");
        return setpos(x, position().y);
    }
    bool sety(double y) {
        check(y);
        not_in_batch("sety");
        return setpos(position().x, y);
    }
    /// Turns to a heading.
    bool setheading(double angle) {
        check(angle);
        const double wrapped = wrap(angle);
        for (std::size_t quarter = 0; quarter < COMPASS.size(); ++quarter) {
            if (wrapped != 90.0 * static_cast<double>(quarter)) continue;
            line(COMPASS[quarter]);
            const bool done = run<bool>(Kind::face);
            if (batching_ || !refused_) return done;
        }
        not_in_batch("setheading to this angle");
        return left(half_turn(wrapped - heading()));
    }
    bool seth(double angle) { return setheading(angle); }
    /// Walks to the middle of the field and faces east; false when something is in the way.
    bool home() {
        not_in_batch("home");
        Point here;
        double facing = 0;
        line("q p");
        line("q d");
        exchange([&](std::size_t k, const Raw& raw) {
            if (k == 0)
                here = decode_point(raw);
            else
                facing = decode_number(raw);
        });
        deliver();
        const double way = std::hypot(here.x, here.y);
        if (way >= 1e-6) {
            const double turn = half_turn(std::atan2(-here.y, -here.x) * DEGREES - facing);
            check(turn, way);
            line("t l", turn);
            color_rule();
            line("f", way);
            if (!run_step(Kind::move, lines_in_word() - 1)) return false;
        }
        line("t e");
        return run<bool>(Kind::face);
    }
    /// Draws a circle whose middle is `radius` left of the turtle (right when it is negative), or the arc of `extent`
    /// degrees of it, as a polygon of `steps` sides (0: enough to look round). False when something is in the way.
    bool circle(double radius, double extent = 360, int steps = 0) {
        check(radius, extent);
        not_in_batch("circle");
        if (steps < 0 || steps > 100000) throw BadValue("circle: steps must be from 1 to 100000");
        if (steps == 0) {
            const double sides = std::min(11 + std::abs(radius) / 6, 59.0) * std::abs(extent) / 360;
            if (sides > 100000) throw BadValue("circle: that is too many rounds for one circle");
            steps = 1 + static_cast<int>(sides);
        }
        double angle = extent / steps;
        double side = 2 * radius * std::sin(angle / DEGREES / 2);
        if (radius < 0) {
            angle = -angle;
            side = -side;
        }
        check(side);
        for (int k = 0; k < steps; ++k) {
            line("t l", k == 0 ? angle / 2 : angle);
            color_rule();
            line("f", side);
            if (!run_step(Kind::move, lines_in_word() - 1)) return false;
        }
        return left(angle / 2);
    }
    /// Jumps without drawing.
    bool teleport(double x, double y) {
        check(x, y);
        lift_brush();
        if (pen_.down) line("p u");
        const std::size_t jump_line = lines_in_word();
        line("j", x, y);
        if (pen_.down) line("p d");
        pen_.recolored = false;
        return run_step(Kind::jump, jump_line, false);
    }

    // --------------------------------------------------------------------------------------------------- pen

    bool penup() {
        pen_.down = false;
        line("p u");
        return run<bool>(Kind::done);
    }
    bool pu() { return penup(); }
    bool up() { return penup(); }
    bool pendown() {
        pen_.down = true;
        pen_.recolored = false;
        line("p d");
        return run<bool>(Kind::done);
    }
    bool pd() { return pendown(); }
    bool down() { return pendown(); }
    [[nodiscard]] bool isdown() const { return pen_.down; }
    /// Width of the pen, in pixels.
    bool pensize(double width) {
        check(width);
        if (width <= 0) throw BadValue("pensize: a pen is wider than 0");
        pen_.width = width;
        line("w", width);
        return run<bool>(Kind::done);
    }
    [[nodiscard]] double pensize() const { return pen_.width; }
    bool width(double width) { return pensize(width); }
    [[nodiscard]] double width() const { return pen_.width; }
    /// Colour of the pen: pencolor("red"), pencolor("#ff0000"), pencolor(1, 0, 0).
    bool pencolor(const Paint& paint) {
        pen_.color = paint.color(mode_);
        return send_pen();
    }
    bool pencolor(double r, double g, double b) { return pencolor(Paint(r, g, b)); }
    [[nodiscard]] Color pencolor() const { return in_mode(pen_.color); }
    void fillcolor(const Paint& paint) { pen_.fill = paint.color(mode_); }
    void fillcolor(double r, double g, double b) { fillcolor(Paint(r, g, b)); }
    [[nodiscard]] Color fillcolor() const { return in_mode(pen_.fill); }
    /// Colours of the pen and of filled shapes.
    bool color(const Paint& both) { return color(both, both); }
    bool color(double r, double g, double b) { return color(Paint(r, g, b)); }
    bool color(const Paint& pen, const Paint& fill) {
        const Color filling = fill.color(mode_);
        pen_.color = pen.color(mode_);
        pen_.fill = filling;
        return send_pen();
    }
    [[nodiscard]] std::pair<Color, Color> color() const { return {pencolor(), fillcolor()}; }
    /// Whether three numbers are parts from 0 to 1 (the start) or from 0 to 255.
    void colormode(double mode) {
        if (mode != 1 && mode != 255) throw BadValue("colormode is 1 or 255");
        mode_ = mode;
    }
    [[nodiscard]] double colormode() const { return mode_; }
    /// How the pen paints: lines; a filled polygon of the latest six points; points; strokes of a brush.
    bool lines() { return way(Way::lines); }
    bool polygons() { return way(Way::polygons); }
    bool points() { return way(Way::points); }
    bool brush() { return way(Way::brush); }
    /// From here on the way of the turtle is the edge of an area, which end_fill() fills. No steps in batches
    /// meanwhile.
    void begin_fill() {
        not_in_batch("begin_fill");
        const Point here = position();
        trace_ = std::make_unique<detail::Trace>();
        trace_->points.push_back(here);
    }
    /// Fills the area since begin_fill() and draws the lines at its edge again, on top of it. The turtle jumps around
    /// for that, one piece of the area a frame, and comes back; false when something refused a jump. What its way
    /// surrounds twice stays empty.
    bool end_fill() {
        not_in_batch("end_fill");
        const std::unique_ptr<detail::Trace> trace = std::move(trace_);
        if (!trace) return true;
        std::vector<detail::Packet> packets = detail::fill_packets(detail::pieces_of(trace->points), pen_.fill);
        if (packets.empty()) return true;
        for (detail::Packet& packet : detail::stroke_packets(trace->strokes)) packets.push_back(std::move(packet));
        return painted(packets, &trace->points.back());
    }
    [[nodiscard]] bool filling() const { return trace_ != nullptr; }
    /// Paints a disc of this width, in the pen's colour or the given one, whether the pen is up or down.
    bool dot() { return dot(std::max(pen_.width + 4, pen_.width * 2)); }
    bool dot(double size) { return dot_in(size, pen_.color); }
    bool dot(double size, const Paint& paint) { return dot_in(size, paint.color(mode_)); }
    /// Writes a text beside the turtle: 1 to 127 plain letters; the field has no others.
    bool write(std::string_view text) {
        const auto plain = [](char c) { return c >= ' ' && c <= '~'; };
        if (text.empty() || text.size() > TEXT_BYTES || !std::all_of(text.begin(), text.end(), plain)) {
            throw BadValue("write: 1 to 127 plain letters; the field has no others");
        }
        hex_line("s", text);
        return run<bool>(Kind::done);
    }
    /// Colour of the ground. Wipes everybody's painting.
    bool bgcolor(const Paint& paint) {
        ground_ = paint.color(mode_);
        line("h", ground_.r, ground_.g, ground_.b);
        return run<bool>(Kind::done);
    }
    bool bgcolor(double r, double g, double b) { return bgcolor(Paint(r, g, b)); }
    /// The ground's colour that was set last, black at the start.
    [[nodiscard]] Color bgcolor() const { return in_mode(ground_); }
    /// Wipes everybody's painting; clearscreen() takes the zombies away, too.
    bool clear() {
        line("c f");
        return run<bool>(Kind::done);
    }
    bool clearscreen() {
        line("c a");
        return run<bool>(Kind::done);
    }
    /// Wipes the painting, walks home, and takes a red pen of width 1 for lines.
    bool reset() {
        not_in_batch("reset");
        for (const char* command : {"c f", "k 1 0 0", "w 1", "l", "p u"}) line(command);
        run<bool>(Kind::done);
        fresh_pen();
        const bool at_home = home();
        pendown();
        return at_home;
    }
    /// A fresh turtle in the middle: pen up, red, width 1, no name, no team, score 100. Not in battle mode.
    bool restart() {
        line("c");
        const bool done = run<bool>(Kind::done);
        fresh_pen();
        return done;
    }

    // ------------------------------------------------------------------------------------------------ asking

    Point position() {
        line("q p");
        return run<Point>(Kind::position);
    }
    Point pos() { return position(); }
    double xcor() {
        line("q p");
        return run<double>(Kind::x);
    }
    double ycor() {
        line("q p");
        return run<double>(Kind::y);
    }
    /// Degrees, 0 or more and below 360.
    double heading() {
        line("q d");
        return run<double>(Kind::heading);
    }
    double distance(double x, double y) {
        check(x, y);
        line("q p");
        return run<double>(Kind::distance, LAST, {x, y});
    }
    double distance(Point p) { return distance(p.x, p.y); }
    double distance(Turtle& other) { return distance(other.position()); }
    /// The heading from here to a point, 0 or more and below 360.
    double towards(double x, double y) {
        check(x, y);
        line("q p");
        return run<double>(Kind::towards, LAST, {x, y});
    }
    double towards(Point p) { return towards(p.x, p.y); }
    double towards(Turtle& other) { return towards(other.position()); }
    int score() { return count("q s"); }
    bool alive() {
        line("q a");
        return run<bool>(Kind::flag);
    }
    /// 0 = none.
    int team() { return count("q m"); }
    /// Ticks of the field.
    std::uint64_t clock() {
        line("q t");
        return static_cast<std::uint64_t>(run<double>(Kind::ticks));
    }
    /// Turtles on the field, doughnuts and zombies included, stones not.
    int turtles() { return count("q n"); }
    /// Coins that the turtle carries.
    int coins() { return count("q o"); }
    /// Coins within 20.
    int coins_near() { return count("q c"); }
    Message message() {
        line("q b");
        return run<Message>(Kind::message);
    }
    /// What a walk straight ahead would meet first within the finder's range (20 at the start).
    Found finder() {
        line("q f");
        return run<Found>(Kind::finder);
    }
    /// Sets the range, and looks.
    Found finder(double range) {
        check(range);
        line("e", range);
        line("q f");
        return run<Found>(Kind::finder);
    }
    Sonar sonar() {
        line("q w");
        return run<Sonar>(Kind::sonar);
    }
    /// The k-th nearest of all others, 1 to 5; nothing when there are not so many.
    std::optional<Seen> radar(int k = 1) {
        if (k < 1 || k > 5) throw BadValue("radar: from 1, the nearest, to 5");
        line("q r", k);
        return run<std::optional<Seen>>(Kind::radar);
    }
    /// Cards 1 to 52.
    bool card_shown(int n) {
        check_card(n, 52);
        line("q z s", n);
        return run<bool>(Kind::flag);
    }
    Point card_position(int n) {
        check_card(n, 52);
        line("q z p", n);
        return run<Point>(Kind::position);
    }
    /// Only asks for an answer, which also tells of events. Returns the field's clock.
    std::uint64_t ping() {
        line(".");
        return static_cast<std::uint64_t>(run<double>(Kind::ping));
    }
    /// What has happened since the last call of events().
    Events events() {
        line(".");
        return run<Events>(Kind::events);
    }
    /// Sends any line and returns its answer.
    Answer ask(std::string_view text) {
        if (text.size() > LONGEST_COMMAND || text.find_first_not_of(' ') == std::string_view::npos) {
            throw BadValue("ask: a line has 1 to 511 characters");
        }
        for (const char c : text) {
            if (c < ' ' || c > '~' || c == ';') throw BadValue("ask: one line, of printable letters without \";\"");
        }
        line(text);
        return run<Answer>(Kind::answer);
    }

    // ------------------------------------------------------------------------------------------------- doing

    /// The turtle's name, as UTF-8, at most 127 bytes.
    bool name(std::string_view text) {
        if (text.size() > TEXT_BYTES || text.find('\0') != std::string_view::npos) {
            throw BadValue("name: at most 127 bytes, none of them 0");
        }
        hex_line("n", text);
        return run<bool>(Kind::done);
    }
    /// Joins team 1, 2, 3 or 4.
    bool team(int n) {
        if (n < 1 || n > 4) throw BadValue("team: 1, 2, 3 or 4");
        line("i", n);
        return run<bool>(Kind::done);
    }
    /// Posts a text on the team's board: 1 to 128 printable letters without marks and without ";".
    bool broadcast(std::string_view text) {
        if (text.empty() || text.size() > BOARD_BYTES) throw BadValue("broadcast: 1 to 128 letters");
        if (text.front() == ' ') throw BadValue("broadcast: the text begins with a blank");
        for (const char c : text) {
            if (c < ' ' || c > '~' || c == ';') throw BadValue("broadcast: plain letters only, and no \";\"");
        }
        line("u");
        packet_.back() = ' ';
        packet_.append(text);
        packet_.push_back('\n');
        return run<bool>(Kind::done);
    }
    /// Picks up the nearest coin within 20; drops one; borrows ten from the bank; lets the bank throw one.
    bool pick() { return command("o"); }
    bool drop() { return command("o s"); }
    bool borrow() { return command("o b"); }
    bool throw_coin() { return command("o x"); }
    /// Bakes a doughnut at a random place, ten at most.
    bool doughnut() { return command("d"); }
    /// Fires a beam straight ahead; costs one point of score.
    bool fire() { return command("x"); }
    /// Lets a robot enter the field.
    bool robot() { return command("r"); }
    /// Lays card n, 1 to 53, at a point, on top of the others.
    bool card(int n, double x, double y) {
        check_card(n, 53);
        check(x, y);
        line("z", n, x, y);
        return run<bool>(Kind::done);
    }
    bool take_card(int n) {
        check_card(n, 53);
        line("z", -n);
        return run<bool>(Kind::done);
    }
    bool clear_cards() { return command("z 0"); }
    /// Battle for everybody, or back to drawing.
    bool battle(bool on = true) { return command(on ? "!" : "! -"); }

    // ------------------------------------------------------------------------------------------------ events

    /// Switches events off, or on again, by name: mute("found", "seen").
    template <class... Names> bool mute(const Names&... names) {
        line("y -", static_cast<int>(event_sum({std::string_view(names)...})));
        return run<bool>(Kind::done);
    }
    template <class... Names> bool unmute(const Names&... names) {
        line("y +", static_cast<int>(event_sum({std::string_view(names)...})));
        return run<bool>(Kind::done);
    }
    /// The function is called once an answer has told of the event, before the word returns; nullptr takes it away.
    /// It may use the turtle; events that come meanwhile are told after it.
    void on_hit(Callback f) { set_callback(0, std::move(f)); }
    void on_turtle(Callback f) { set_callback(1, std::move(f)); }
    void on_doughnut(Callback f) { set_callback(2, std::move(f)); }
    void on_stone(Callback f) { set_callback(3, std::move(f)); }
    void on_wall(Callback f) { set_callback(4, std::move(f)); }
    void on_coin(Callback f) { set_callback(5, std::move(f)); }
    void on_found(Callback f) { set_callback(6, std::move(f)); }
    void on_seen(Callback f) { set_callback(7, std::move(f)); }
    void on_message(Callback f) { set_callback(8, std::move(f)); }

    // ------------------------------------------------------------------------------------- ways of working

    /// What stopped the last step that was refused: "turtle", "doughnut", "stone" or "wall"; nothing once a step or a
    /// turn was done.
    [[nodiscard]] std::optional<std::string_view> blocked_by() const {
        if (blocker_ == 0) return std::nullopt;
        return name_of(blocker_);
    }
    /// Makes steps, turns and jumps that are refused throw Blocked.
    void strict(bool on = true) { strict_ = on; }

    /// Runs `words`, in which the words send nothing and return empty values; then sends all their lines as one packet
    /// and returns what they would have returned. Throws BadValue for a word that needs an answer on its way, or for
    /// more than 1000 lines; nothing has been sent then. In strict mode the first refusal is thrown once all are done.
    /// The painting may have gaps, because a frame paints one piece.
    template <class Words> std::vector<Value> batch(Words&& words) {
        if (batching_) throw BadValue("batch: a batch in a batch");
        queries_.clear();
        const Pen pen = pen_;
        const Color ground = ground_;
        batching_ = true;
        try {
            std::forward<Words>(words)();
        } catch (...) {
            batching_ = false;
            pen_ = pen;
            ground_ = ground;
            forget_packet();
            throw;
        }
        batching_ = false;
        std::vector<Value> results(queries_.size());
        if (queries_.empty()) return results;
        std::size_t word = 0;
        std::size_t first = 0;    // line of the word
        std::string_view stopped; // by what, first of all
        exchange([&](std::size_t k, const Raw& raw) {
            if (k == first + queries_[word].lines) {
                first = k;
                ++word;
            }
            if (k - first != queries_[word].result) return;
            results[word] = decode_value(queries_[word], raw);
            if (is_motion(queries_[word].kind) && !std::get<bool>(results[word]) && stopped.empty())
                stopped = stopped_by_;
        });
        deliver();
        if (strict_ && !stopped.empty()) throw blocked(stopped);
        return results;
    }

    /// Hangs up. The turtle stays on the field as a zombie.
    void close() {
        transport_.reset();
        ending_ = "the program has hung up";
    }
    void bye() { close(); }

private:
    static constexpr double DEGREES = 57.295779513082320876798; // in a radian
    static constexpr std::size_t TEXT_BYTES = 127;
    static constexpr std::size_t BOARD_BYTES = 128;
    static constexpr std::size_t LONGEST_COMMAND = 511;
    static constexpr std::size_t LONGEST_BATCH = 1000; // lines; so many answers fit the socket's buffers
    static constexpr std::size_t PACKET_BYTES = 2048;
    static constexpr std::size_t DUE_EVENTS = 64;
    static constexpr std::uint32_t EVENT_BITS = (1U << EVENT_NAMES.size()) - 1;
    static constexpr std::uint32_t BLOCKING = 2U | 4U | 8U | 16U; // turtle, doughnut, stone, wall
    static constexpr std::array<std::string_view, 4> COMPASS = {"t e", "t n", "t w", "t s"};

    using Way = detail::Way;

    // What the answer to a word means.
    enum class Kind : std::uint8_t {
        done,
        move,
        turn,
        face,
        jump,
        flag, // bool
        x,
        y,
        heading,
        distance,
        towards,
        number,
        ticks,
        ping, // double
        position,
        message,
        finder,
        sonar,
        radar,
        events,
        answer,
    };

    // An answer as it lies in the transport's buffer.
    struct Raw {
        std::string_view values;
        bool ok = false;
        std::uint64_t clock = 0;
        std::uint32_t events = 0;
    };

    // A word that was sent, or waits in a batch.
    struct Query {
        Kind kind = Kind::done;
        std::size_t lines = 1;
        std::size_t result = 0; // which of its lines brings the result
        Point target;
    };

    // ------------------------------------------------------------------------------------------------- lines

    [[nodiscard]] std::size_t lines_in_word() const { return lines_ - word_begin_; }

    template <class... Numbers> void line(std::string_view word, Numbers... numbers) {
        packet_.append(word);
        (append(numbers), ...);
        packet_.push_back('\n');
        ++lines_;
    }
    void append(int number) {
        std::array<char, 16> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        packet_.push_back(' ');
        packet_.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
    }
    void append(double number) {
        constexpr double EXACT = 9007199254740992.0; // 2^53: whole numbers below are written without an exponent
        std::array<char, 32> digits;
        char* end = nullptr;
        if (std::abs(number) < EXACT && number == std::floor(number)) {
            end = std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<std::int64_t>(number)).ptr;
        } else {
            end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        }
        packet_.push_back(' ');
        packet_.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
    }
    void hex_line(std::string_view word, std::string_view bytes) {
        constexpr std::string_view DIGITS = "0123456789abcdef";
        packet_.append(word);
        packet_.push_back(' ');
        for (const char c : bytes) {
            const auto byte = static_cast<unsigned char>(c);
            packet_.push_back(DIGITS[byte >> 4U]);
            packet_.push_back(DIGITS[byte & 15U]);
        }
        packet_.push_back('\n');
        ++lines_;
    }
    void forget_packet() {
        packet_.clear();
        lines_ = 0;
        word_begin_ = 0;
    }

    // The field blends a line from the colour before to the new one; after `p d` the line has one colour.
    void color_rule() {
        if (!pen_.recolored || !pen_.down || pen_.way != Way::lines) return;
        line("p d");
        pen_.recolored = false;
    }

    // ------------------------------------------------------------------------------------------------ checks

    template <class... Numbers> static void check(Numbers... numbers) {
        if (!(std::isfinite(numbers) && ...)) {
            throw NotANumber("That is no number that a turtle can use: it is infinite, or the result of 0/0");
        }
    }
    static void check_card(int n, int most) {
        if (n < 1 || n > most) throw BadValue("There is no such card: from 1 to " + std::to_string(most));
    }
    void not_in_batch(const char* word) const {
        if (!batching_) return;
        throw BadValue(std::string(word) + " needs an answer on its way and cannot be part of a batch");
    }
    static std::uint32_t event_sum(std::initializer_list<std::string_view> names) {
        std::uint32_t sum = 0;
        for (const std::string_view name : names) {
            const auto* const found = std::find(EVENT_NAMES.begin(), EVENT_NAMES.end(), name);
            if (found == EVENT_NAMES.end()) throw BadValue("There is no event called " + std::string(name));
            sum |= 1U << static_cast<std::size_t>(found - EVENT_NAMES.begin());
        }
        return sum;
    }
    /// To 0 or more and below 360.
    static double wrap(double angle) {
        const double rest = std::fmod(angle, 360);
        const double wrapped = rest < 0 ? rest + 360 : rest;
        return wrapped < 360 ? wrapped + 0.0 : 0; // no -0
    }
    /// To more than -180 and at most 180.
    static double half_turn(double angle) {
        const double wrapped = wrap(angle);
        return wrapped > 180 ? wrapped - 360 : wrapped;
    }

    // ----------------------------------------------------------------------------------------------- families

    bool step(std::string_view word, double distance) {
        check(distance);
        color_rule();
        line(word, distance);
        return run_step(Kind::move, lines_in_word() - 1);
    }
    bool jump(std::string_view word, double x, double y) {
        check(x, y);
        color_rule();
        line(word, x, y);
        return run_step(Kind::jump, lines_in_word() - 1);
    }
    // Runs a step, whose line is number `result` of the word. While an area is being made, asks where it has led.
    bool run_step(Kind kind, std::size_t result, bool painting = true) {
        if (!trace_) return run<bool>(kind, result);
        not_in_batch("a step while an area is being made");
        line("q p");
        const std::size_t lines = lines_;
        const Query query{kind, lines, result, {}};
        bool done = false;
        Point end;
        exchange([&](std::size_t k, const Raw& raw) {
            if (k == result) done = decode_bool(query, raw);
            if (k + 1 == lines) end = decode_point(raw);
        });
        if (done) {
            if (pen_.down && painting) {
                trace_->strokes.push_back({trace_->points.back(), end, pen_.color, pen_.width, pen_.way});
            }
            trace_->points.push_back(end);
        }
        return told(kind, done);
    }
    // Sends the packets until something is refused, then puts pen and turtle back as they were.
    bool painted(const std::vector<detail::Packet>& packets, const Point* back_to) {
        bool done = true;
        for (const detail::Packet& packet : packets) {
            done = all_done(packet);
            if (!done) break;
        }
        detail::Packet end = {"p u"};
        if (back_to != nullptr) end.push_back(detail::jump_to(*back_to));
        end.emplace_back(detail::WAYS[static_cast<std::size_t>(pen_.way)]);
        end.push_back(detail::paint_of(pen_.color));
        end.push_back(detail::with_numbers("w", {pen_.width}));
        if (pen_.down) {
            end.emplace_back("p d");
            pen_.recolored = false;
        }
        done = all_done(end) && done;
        deliver();
        if (strict_ && !done) throw blocked(back_to != nullptr ? "jump" : "something");
        return done;
    }
    bool all_done(const detail::Packet& packet) {
        for (const std::string& command : packet) line(command);
        bool done = true;
        exchange([&](std::size_t, const Raw& raw) { done = done && raw.ok; });
        return done;
    }
    bool dot_in(double size, Color ink) {
        check(size);
        not_in_batch("dot");
        if (size <= 0) throw BadValue("dot: a dot is wider than 0");
        const Point here = position();
        constexpr double SMALL = 4; // up to this size a square cannot be told from a disc
        if (size > SMALL) return painted(detail::fill_packets(detail::pieces_of(detail::disc(here, size)), ink), &here);
        return painted({{"p u", "l p", detail::paint_of(ink), detail::with_numbers("w", {size}), "p d", "f 0"}},
                       nullptr);
    }

    bool command(std::string_view word) {
        line(word);
        return run<bool>(Kind::done);
    }
    int count(std::string_view word) {
        line(word);
        return static_cast<int>(run<double>(Kind::number));
    }
    // Finishes a stroke of the brush, which runs behind the turtle: the field does that in a frame with the pen up.
    void lift_brush() {
        if (!pen_.down || pen_.way != Way::brush) return;
        line("p u");
        if (!batching_) run<bool>(Kind::done);
    }
    bool way(Way way) {
        lift_brush();
        pen_.way = way;
        line(detail::WAYS[static_cast<std::size_t>(way)]);
        if (pen_.down) line("p d"); // leaves older points out
        pen_.recolored = pen_.recolored && !pen_.down;
        return run<bool>(Kind::done);
    }
    bool send_pen() {
        const bool stroke = pen_.down && pen_.way == Way::brush; // which has one colour
        lift_brush();
        line("k", pen_.color.r, pen_.color.g, pen_.color.b);
        if (stroke)
            line("p d");
        else
            pen_.recolored = pen_.down;
        return run<bool>(Kind::done);
    }
    [[nodiscard]] Color in_mode(Color c) const { return {c.r * mode_, c.g * mode_, c.b * mode_}; }
    void fresh_pen() {
        pen_ = Pen();
        pen_.down = false;
        trace_.reset();
    }

    // ----------------------------------------------------------------------------------------------- exchange

    static constexpr std::size_t LAST = std::numeric_limits<std::size_t>::max();

    // Sends the word whose lines were added since the last one and returns what its answers mean; in a batch it only
    // takes note of the word. `result` is the line that brings the result.
    template <class T> T run(Kind kind, std::size_t result = LAST, Point target = {}) {
        const std::size_t lines = lines_in_word();
        const Query query{kind, lines, result == LAST ? lines - 1 : result, target};
        if (batching_) {
            if (lines_ > LONGEST_BATCH) throw BadValue("batch: at most 1000 lines in a batch");
            word_begin_ = lines_;
            queries_.push_back(query);
            return T();
        }
        T value{};
        exchange([&](std::size_t k, const Raw& raw) {
            if (k == query.result) value = decode<T>(query, raw);
        });
        if constexpr (std::is_same_v<T, bool>) return told(kind, value);
        deliver();
        return value;
    }

    // Calls the callbacks of what has happened; hands `done` back, or throws Blocked for it.
    bool told(Kind kind, bool done) {
        if (due_.empty() && done) return true;
        const bool refused = refused_;
        const std::string_view by = stopped_by_;
        deliver();
        refused_ = refused;
        if (strict_ && !done && is_motion(kind)) throw blocked(by);
        return done;
    }

    // Sends the packet and hands the k-th answer to take(k, answer), for each of its lines.
    template <class Take> void exchange(Take&& take) {
        const std::size_t lines = lines_;
        if (!transport_) {
            forget_packet();
            throw Lost("There is no connection to the field any more: " + ending_);
        }
        if (transport_->has_more()) { // whatever comes next would be taken for the answer to something else
            forget_packet();
            bad_answer("an answer that nobody asked for");
        }
        try {
            transport_->send(packet_);
            forget_packet();
            for (std::size_t k = 0; k < lines; ++k) {
                const Raw raw = parse(transport_->receive());
                note(raw);
                take(k, raw);
            }
        } catch (const Transport::Closed& end) {
            hung_up(end.what());
        } catch (const Transport::Silent&) {
            end_with("the field did not answer in time");
            throw NoAnswer("The field does not answer. Does its window still move? Is the network still there?");
        } catch (const Transport::TooLong& e) {
            bad_answer(e.what());
        } catch (const Error& e) {
            if (transport_) end_with(e.what());
            throw;
        } catch (const std::exception& e) { // what a transport of another program throws
            hung_up(e.what());
        }
    }

    void end_with(std::string_view why) {
        transport_.reset();
        forget_packet();
        due_.clear();
        ending_ = why;
    }
    [[noreturn]] void hung_up(const std::string& how) {
        const std::string where = transport_->where();
        end_with("it ended earlier (" + how + ")");
        if (!admitted_) {
            throw NotAdmitted(
                "The field at " + where +
                " hung up at once. Either it is private, and then your program must run on its machine and "
                "connect to 127.0.0.1 (the key @ in its window makes it public), or its ten places are taken.");
        }
        if (hit_) throw Died("The turtle has died: it was hit too often. Start the program again for a new one.");
        throw Lost("The connection to the field has ended: " + how +
                   ". The field was closed, or somebody has removed all turtles.");
    }
    [[noreturn]] void bad_answer(std::string_view line) {
        std::string shown;
        for (const char c : line.substr(0, 60)) shown.push_back(c >= ' ' && c <= '~' ? c : '?');
        const std::string where = transport_->where();
        end_with("what came was no answer of a field");
        throw BadAnswer("This is no answer of a field: \"" + shown + "\". Is " + where + " the right address?");
    }

    template <class Number> static bool read(std::string_view text, Number& number) {
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        return error == std::errc() && end == text.data() + text.size();
    }

    // `[values ]OK|ERR @ clock events`; the last " @ " counts, as values may hold one.
    Raw parse(std::string_view line) {
        constexpr std::string_view MARK = " @ ";
        Raw raw;
        const std::size_t mark = line.rfind(MARK);
        if (mark == std::string_view::npos) bad_answer(line);
        const std::string_view numbers = line.substr(mark + MARK.size());
        const std::size_t blank = numbers.find(' ');
        if (blank == std::string_view::npos || !read(numbers.substr(0, blank), raw.clock) ||
            !read(numbers.substr(blank + 1), raw.events)) {
            bad_answer(line);
        }
        std::string_view head = line.substr(0, mark);
        for (const std::string_view status : {std::string_view("OK"), std::string_view("ERR")}) {
            if (head.size() < status.size() || head.substr(head.size() - status.size()) != status) continue;
            head.remove_suffix(status.size());
            if (!head.empty() && head.back() != ' ') bad_answer(line);
            if (!head.empty()) head.remove_suffix(1);
            raw.values = head;
            raw.ok = status == "OK";
            return raw;
        }
        bad_answer(line);
    }

    void note(const Raw& raw) {
        admitted_ = true;
        refused_ = !raw.values.empty();
        latest_ = raw.events;
        if (raw.events == 0) return;
        happened_ |= raw.events;
        if ((raw.events & 1U) != 0) hit_ = true;
        if ((raw.events & BLOCKING) != 0) blocker_ = raw.events & BLOCKING;
        due_.push_back(raw.events & EVENT_BITS);
    }

    // Calls the callbacks of what has happened, each event once, in the order of the answers. A callback may use the
    // turtle: what its answers tell waits in line.
    void deliver() {
        if (due_.empty() || delivering_) return;
        struct Guard {
            Turtle& turtle;
            explicit Guard(Turtle& t) : turtle(t) { turtle.delivering_ = true; }
            Guard(const Guard&) = delete;
            Guard& operator=(const Guard&) = delete;
            ~Guard() { turtle.delivering_ = false; }
        } const guard(*this);
        for (std::size_t next = 0; next < due_.size(); ++next) {
            for (std::size_t k = 0; k < callbacks_.size() && next < due_.size(); ++k) {
                if ((due_[next] >> k & 1U) == 0) continue;
                due_[next] &= ~(1U << k);
                const std::shared_ptr<const Callback> callback = callbacks_[k]; // it may replace itself
                if (callback) (*callback)();
            }
        }
        due_.clear();
    }
    void set_callback(std::size_t k, Callback f) {
        callbacks_[k] = f ? std::make_shared<const Callback>(std::move(f)) : nullptr;
    }

    static std::string_view name_of(std::uint32_t blocking) {
        for (std::size_t k = EVENT_NAMES.size(); k > 0; --k) {
            if ((blocking >> (k - 1) & 1U) != 0) return EVENT_NAMES[k - 1];
        }
        return "something";
    }
    static bool is_motion(Kind kind) { return kind == Kind::move || kind == Kind::turn || kind == Kind::jump; }
    static Blocked blocked(std::string_view by) {
        std::string text = "The turtle could not do that: ";
        if (by == "jump") {
            text += "somebody is too close for a jump, or it is battle.";
        } else if (by == "something") {
            text += "something is in the way, or it has no score left.";
        } else {
            text += "a " + std::string(by) + " is in the way.";
        }
        return {text, by};
    }

    // ------------------------------------------------------------------------------------------------ decoding

    template <std::size_t N> std::array<double, N> numbers(const Raw& raw) {
        std::array<double, N> found{};
        std::string_view rest = raw.values;
        for (std::size_t k = 0; k < N; ++k) {
            const std::size_t blank = rest.find(' ');
            if ((k + 1 < N) != (blank != std::string_view::npos) || !read(rest.substr(0, blank), found[k]) ||
                !std::isfinite(found[k])) {
                bad_answer(raw.values);
            }
            rest.remove_prefix(k + 1 < N ? blank + 1 : rest.size());
        }
        return found;
    }
    int whole(double number, const Raw& raw) {
        if (!(std::abs(number) <= 2147483647.0) || number != std::floor(number)) bad_answer(raw.values);
        return static_cast<int>(number);
    }
    Point decode_point(const Raw& raw) {
        const auto [x, y] = numbers<2>(raw);
        return {x, y};
    }
    double decode_number(const Raw& raw) { return numbers<1>(raw)[0]; }

    bool decode_bool(const Query& query, const Raw& raw) {
        if (query.kind == Kind::flag) return decode_number(raw) != 0;
        if (query.kind == Kind::done) return raw.ok;
        const bool done = raw.ok && !(query.kind == Kind::face && refused_);
        if (done) {
            blocker_ = 0;
        } else {
            const bool now = (latest_ & BLOCKING) != 0;
            stopped_by_ = query.kind == Kind::jump && !now ? "jump" : name_of(blocker_);
        }
        return done;
    }
    double decode_double(const Query& query, const Raw& raw) {
        switch (query.kind) {
        case Kind::x:
            return decode_point(raw).x;
        case Kind::y:
            return decode_point(raw).y;
        case Kind::heading:
            return wrap(decode_number(raw));
        case Kind::distance: {
            const Point here = decode_point(raw);
            return std::hypot(query.target.x - here.x, query.target.y - here.y);
        }
        case Kind::towards: {
            const Point here = decode_point(raw);
            return wrap(std::atan2(query.target.y - here.y, query.target.x - here.x) * DEGREES);
        }
        case Kind::ping:
            return static_cast<double>(raw.clock);
        case Kind::ticks: {
            const double ticks = decode_number(raw);
            if (!(ticks >= 0 && ticks < 9e18)) bad_answer(raw.values);
            return ticks;
        }
        default:
            return whole(decode_number(raw), raw);
        }
    }
    Message decode_message(const Raw& raw) {
        Message message;
        const std::size_t blank = raw.values.find(' ');
        if (blank == std::string_view::npos || !read(raw.values.substr(0, blank), message.time)) bad_answer(raw.values);
        message.text = Text(raw.values.substr(blank + 1));
        return message;
    }
    Found decode_found(const Raw& raw) {
        constexpr std::array<std::string_view, 5> THINGS = {"nothing", "turtle", "doughnut", "stone", "wall"};
        const auto [code, team] = numbers<2>(raw);
        const int thing = whole(code, raw);
        if (thing < 0 || thing >= static_cast<int>(THINGS.size())) bad_answer(raw.values);
        return {THINGS[static_cast<std::size_t>(thing)], whole(team, raw)};
    }
    Sonar decode_sonar(const Raw& raw) {
        const auto [left, front, right] = numbers<3>(raw);
        return {left != 0, front != 0, right != 0};
    }
    std::optional<Seen> decode_radar(const Raw& raw) {
        if (!raw.ok) return std::nullopt;
        const auto [bearing, team] = numbers<2>(raw);
        return Seen{bearing, whole(team, raw)};
    }
    Events take_events() { return Events(std::exchange(happened_, 0U)); }

    template <class T> T decode(const Query& query, const Raw& raw) {
        if constexpr (std::is_same_v<T, bool>)
            return decode_bool(query, raw);
        else if constexpr (std::is_same_v<T, double>)
            return decode_double(query, raw);
        else if constexpr (std::is_same_v<T, Point>)
            return decode_point(raw);
        else if constexpr (std::is_same_v<T, Message>)
            return decode_message(raw);
        else if constexpr (std::is_same_v<T, Found>)
            return decode_found(raw);
        else if constexpr (std::is_same_v<T, Sonar>)
            return decode_sonar(raw);
        else if constexpr (std::is_same_v<T, std::optional<Seen>>)
            return decode_radar(raw);
        else if constexpr (std::is_same_v<T, Events>)
            return take_events();
        else
            return Answer{Text(raw.values), raw.ok, raw.clock, raw.events};
    }
    Value decode_value(const Query& query, const Raw& raw) {
        switch (query.kind) {
        case Kind::done:
        case Kind::move:
        case Kind::turn:
        case Kind::face:
        case Kind::jump:
        case Kind::flag:
            return decode<bool>(query, raw);
        case Kind::position:
            return decode<Point>(query, raw);
        case Kind::message:
            return decode<Message>(query, raw);
        case Kind::finder:
            return decode<Found>(query, raw);
        case Kind::sonar:
            return decode<Sonar>(query, raw);
        case Kind::radar:
            return decode<std::optional<Seen>>(query, raw);
        case Kind::events:
            return decode<Events>(query, raw);
        case Kind::answer:
            return decode<Answer>(query, raw);
        default:
            return decode<double>(query, raw);
        }
    }

    // The state of the pen, which the library knows without asking.
    struct Pen {
        bool down = true;
        bool recolored = false; // since the last piece of line
        Way way = Way::lines;
        Color color = {1, 0, 0};
        Color fill = {1, 0, 0};
        double width = 1;
    };

    std::unique_ptr<Transport> transport_;
    std::string ending_;             // why there is no transport any more
    std::string packet_;             // lines that wait to be sent
    std::size_t lines_ = 0;          // in packet_
    std::size_t word_begin_ = 0;     // the first of them that belongs to the word that is being made
    std::vector<Query> queries_;     // words of the batch that is being made
    std::vector<std::uint32_t> due_; // events for the callbacks, in the order of the answers
    std::array<std::shared_ptr<const Callback>, EVENT_NAMES.size()> callbacks_;
    Pen pen_;
    std::unique_ptr<detail::Trace> trace_; // while an area is being made
    Color ground_;
    double mode_ = 1;
    std::uint32_t happened_ = 0; // since events() was asked last
    std::uint32_t latest_ = 0;   // events of the latest answer
    std::uint32_t blocker_ = 0;  // the latest event of something in the way, since the last step or turn that was done
    std::string_view stopped_by_ = "something";
    bool refused_ = false;  // the latest answer of a command had values: it was refused without an ERR
    bool admitted_ = false; // an answer has come
    bool hit_ = false;
    bool strict_ = false;
    bool batching_ = false;
    bool delivering_ = false;
};

} // namespace kelmora
