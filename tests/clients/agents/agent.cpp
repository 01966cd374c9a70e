// Calls the words of kelmora.hpp on request from standard input and reports as JSON what they return, raise and call
// back. Requests and answers: tests/clients/agents.py.
#include <kelmora.hpp>

#include <cstdio>
#include <iostream>
#include <map>

namespace {

using kelmora::Turtle;

// One argument: a letter for its kind, then its text.
struct Argument {
    char kind = 'z';
    std::string text;
    [[nodiscard]] double number() const { return std::stod(text); }
    [[nodiscard]] int whole() const { return std::stoi(text); }
    [[nodiscard]] bool flag() const { return text == "1"; }
};
using Arguments = std::vector<Argument>;

std::string from_hex(const std::string& digits) {
    std::string bytes;
    for (std::size_t k = 0; k + 1 < digits.size(); k += 2) {
        bytes.push_back(static_cast<char>(std::stoi(digits.substr(k, 2), nullptr, 16)));
    }
    return bytes;
}

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> words(1);
    for (const char c : line) {
        if (c == '\t')
            words.emplace_back();
        else
            words.back().push_back(c);
    }
    return words;
}

Arguments arguments_of(const std::vector<std::string>& words) {
    Arguments found;
    for (std::size_t k = 2; k < words.size(); ++k) {
        const std::string text = words[k].substr(1);
        found.push_back({words[k][0], words[k][0] == 's' ? from_hex(text) : text});
    }
    return found;
}

std::string json(bool b) { return b ? "true" : "false"; }
std::string json(double d) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", d);
    return text;
}
std::string json(int n) { return std::to_string(n); }
std::string json(std::uint64_t n) { return std::to_string(n); }
std::string json(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned char>(c));
        quoted += escaped;
    }
    return quoted + "\"";
}
std::string json(kelmora::Color c);
template <class... Parts> std::string list(const Parts&... parts) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + json(parts)), ...);
    return "[" + text + "]";
}
std::string json(std::monostate) { return "null"; }
std::string json(kelmora::Point p) { return list(p.x, p.y); }
std::string json(kelmora::Color c) { return list(c.r, c.g, c.b); }
std::string json(const kelmora::Found& f) { return list(f.what, f.team); }
std::string json(const kelmora::Sonar& s) { return list(s.left, s.front, s.right); }
std::string json(const kelmora::Message& m) { return list(m.time, m.text.view()); }
std::string json(const kelmora::Answer& a) {
    return list(a.values.view(), a.ok, a.clock, static_cast<std::uint64_t>(a.events));
}
std::string json(const std::optional<kelmora::Seen>& s) { return s ? list(s->bearing, s->team) : "null"; }
std::string json(const kelmora::Events& events) {
    std::string text;
    for (const std::string_view name : events) text += (text.empty() ? "" : ", ") + json(name);
    return "[" + text + "]";
}

std::vector<std::string> called; // by events

kelmora::Paint paint_of(const Arguments& a) {
    if (a.size() == 3) return {a[0].number(), a[1].number(), a[2].number()};
    return {a.at(0).text};
}

using Word = std::string (*)(Turtle&, const Arguments&);
using Setter = void (Turtle::*)(Turtle::Callback);

template <Setter set> std::string on(Turtle& t, const Arguments& a) {
    if (a.at(0).kind == 'z') {
        (t.*set)(nullptr);
    } else {
        const std::string name = a.at(0).text;
        (t.*set)([name] { called.push_back(name); });
    }
    return "null";
}

const std::map<std::string, Word>& words() {
    static const std::map<std::string, Word> table = {
#define TEXT(name, call)                                                                                               \
    {                                                                                                                  \
        name, [](Turtle& t, const Arguments& a) -> std::string {                                                       \
            (void)a;                                                                                                   \
            return call;                                                                                               \
        }                                                                                                              \
    }
#define WORD(name, call)                                                                                               \
    {                                                                                                                  \
        name, [](Turtle& t, const Arguments& a) -> std::string {                                                       \
            (void)a;                                                                                                   \
            return json(call);                                                                                         \
        }                                                                                                              \
    }
#define QUIET(name, call)                                                                                              \
    {                                                                                                                  \
        name, [](Turtle& t, const Arguments& a) -> std::string {                                                       \
            (void)a;                                                                                                   \
            call;                                                                                                      \
            return "null";                                                                                             \
        }                                                                                                              \
    }
        WORD("forward", t.forward(a.at(0).number())),
        WORD("back", t.back(a.at(0).number())),
        WORD("left", t.left(a.at(0).number())),
        WORD("right", t.right(a.at(0).number())),
        WORD("goto", t.go_to(a.at(0).number(), a.at(1).number())),
        WORD("shift", t.shift(a.at(0).number(), a.at(1).number())),
        WORD("setx", t.setx(a.at(0).number())),
        WORD("sety", t.sety(a.at(0).number())),
        WORD("setheading", t.setheading(a.at(0).number())),
        WORD("home", t.home()),
        WORD("circle", a.size() == 1   ? t.circle(a[0].number())
                       : a.size() == 2 ? t.circle(a[0].number(), a[1].number())
                                       : t.circle(a.at(0).number(), a.at(1).number(), a.at(2).whole())),
        WORD("teleport", t.teleport(a.at(0).number(), a.at(1).number())),
        WORD("penup", t.penup()),
        WORD("pendown", t.pendown()),
        WORD("isdown", t.isdown()),
        TEXT("pensize", a.empty() ? json(t.pensize()) : json(t.pensize(a[0].number()))),
        TEXT("pencolor", a.empty() ? json(t.pencolor()) : json(t.pencolor(paint_of(a)))),
        TEXT("fillcolor", a.empty() ? json(t.fillcolor()) : (t.fillcolor(paint_of(a)), "null")),
        TEXT("color", a.empty()       ? list(t.color().first, t.color().second)
                      : a.size() == 2 ? json(t.color(a[0].text, a[1].text))
                                      : json(t.color(paint_of(a)))),
        TEXT("colormode", a.empty() ? json(t.colormode()) : (t.colormode(a[0].number()), "null")),
        TEXT("bgcolor", a.empty() ? json(t.bgcolor()) : json(t.bgcolor(paint_of(a)))),
        TEXT("team", a.empty() ? json(t.team()) : json(t.team(a[0].whole()))),
        TEXT("mute", json(a.size() == 1 ? t.mute(a[0].text) : t.mute(a.at(0).text, a.at(1).text))),
        TEXT("unmute", json(a.size() == 1 ? t.unmute(a[0].text) : t.unmute(a.at(0).text, a.at(1).text))),
        {"on_hit", on<&Turtle::on_hit>},
        {"on_turtle", on<&Turtle::on_turtle>},
        {"on_doughnut", on<&Turtle::on_doughnut>},
        {"on_stone", on<&Turtle::on_stone>},
        {"on_wall", on<&Turtle::on_wall>},
        {"on_coin", on<&Turtle::on_coin>},
        {"on_found", on<&Turtle::on_found>},
        {"on_seen", on<&Turtle::on_seen>},
        {"on_message", on<&Turtle::on_message>},
        WORD("lines", t.lines()),
        WORD("polygons", t.polygons()),
        WORD("points", t.points()),
        WORD("brush", t.brush()),
        WORD("write", t.write(a.at(0).text)),
        WORD("clear", t.clear()),
        WORD("clearscreen", t.clearscreen()),
        WORD("reset", t.reset()),
        WORD("restart", t.restart()),
        WORD("position", t.position()),
        WORD("xcor", t.xcor()),
        WORD("ycor", t.ycor()),
        WORD("heading", t.heading()),
        WORD("distance", t.distance(a.at(0).number(), a.at(1).number())),
        WORD("towards", t.towards(a.at(0).number(), a.at(1).number())),
        WORD("score", t.score()),
        WORD("alive", t.alive()),
        WORD("clock", t.clock()),
        WORD("turtles", t.turtles()),
        WORD("coins", t.coins()),
        WORD("coins_near", t.coins_near()),
        WORD("message", t.message()),
        WORD("finder", a.empty() ? t.finder() : t.finder(a[0].number())),
        WORD("sonar", t.sonar()),
        WORD("radar", a.empty() ? t.radar() : t.radar(a[0].whole())),
        WORD("card_shown", t.card_shown(a.at(0).whole())),
        WORD("card_position", t.card_position(a.at(0).whole())),
        WORD("ping", t.ping()),
        WORD("events", t.events()),
        WORD("ask", t.ask(a.at(0).text)),
        WORD("name", t.name(a.at(0).text)),
        WORD("broadcast", t.broadcast(a.at(0).text)),
        WORD("pick", t.pick()),
        WORD("drop", t.drop()),
        WORD("borrow", t.borrow()),
        WORD("throw_coin", t.throw_coin()),
        WORD("doughnut", t.doughnut()),
        WORD("fire", t.fire()),
        WORD("robot", t.robot()),
        WORD("card", t.card(a.at(0).whole(), a.at(1).number(), a.at(2).number())),
        WORD("take_card", t.take_card(a.at(0).whole())),
        WORD("clear_cards", t.clear_cards()),
        WORD("battle", a.empty() ? t.battle() : t.battle(a[0].flag())),
        QUIET("strict", a.empty() ? t.strict() : t.strict(a[0].flag())),
        QUIET("close", t.close()),
        QUIET("bye", t.bye()),
        WORD("fd", t.fd(a.at(0).number())),
        WORD("bk", t.bk(a.at(0).number())),
        WORD("backward", t.backward(a.at(0).number())),
        WORD("lt", t.lt(a.at(0).number())),
        WORD("rt", t.rt(a.at(0).number())),
        WORD("setpos", t.setpos(a.at(0).number(), a.at(1).number())),
        WORD("setposition", t.setposition(a.at(0).number(), a.at(1).number())),
        WORD("seth", t.seth(a.at(0).number())),
        WORD("pu", t.pu()),
        WORD("up", t.up()),
        WORD("pd", t.pd()),
        WORD("down", t.down()),
        TEXT("width", a.empty() ? json(t.width()) : json(t.width(a[0].number()))),
        WORD("pos", t.pos()),
        TEXT("blocked_by", t.blocked_by() ? json(*t.blocked_by()) : "null"),
        QUIET("begin_fill", t.begin_fill()),
        WORD("end_fill", t.end_fill()),
        WORD("filling", t.filling()),
        WORD("dot", a.empty()       ? t.dot()
                    : a.size() == 1 ? t.dot(a[0].number())
                                    : t.dot(a.at(0).number(), a.at(1).text)),
#undef TEXT
#undef QUIET
#undef WORD
    };
    return table;
}

std::string call(Turtle& turtle, const std::string& request) {
    const std::vector<std::string> parts = split(request);
    const auto found = words().find(parts.at(1));
    if (found == words().end()) throw std::out_of_range("no such word: " + parts[1]);
    return found->second(turtle, arguments_of(parts));
}

std::string batch(Turtle& turtle, int count) {
    std::vector<std::string> requests(static_cast<std::size_t>(count));
    for (std::string& request : requests) std::getline(std::cin, request);
    const std::vector<kelmora::Value> results = turtle.batch([&] {
        for (const std::string& request : requests) call(turtle, request);
    });
    std::string text;
    for (const kelmora::Value& value : results) {
        text += (text.empty() ? "" : ", ") + std::visit([](const auto& v) { return json(v); }, value);
    }
    return "[" + text + "]";
}

std::string raised(const std::string& kind, const std::exception& e, const std::string& more = "") {
    return R"("raises": {"kind": ")" + kind + R"(", "text": )" + json(std::string_view(e.what())) + more + "}";
}

// What the request does, as members of a JSON object.
std::string outcome(std::unique_ptr<Turtle>& turtle, const std::string& request) {
    using namespace kelmora;
    const std::vector<std::string> parts = split(request);
    try {
        if (parts[0] == "connect") {
            Options options;
            options.host = "127.0.0.1";
            options.port = std::stoi(parts.at(1));
            options.timeout = std::chrono::milliseconds(std::stoi(parts.at(2)));
            turtle.reset();
            turtle = std::make_unique<Turtle>(options);
            return R"("returns": null)";
        }
        if (parts[0] == "batch") return R"("returns": )" + batch(*turtle, std::stoi(parts.at(1)));
        return R"("returns": )" + call(*turtle, request);
    } catch (const NoField& e) {
        return raised("no_field", e);
    } catch (const NotAdmitted& e) {
        return raised("not_admitted", e);
    } catch (const Died& e) {
        return raised("died", e);
    } catch (const Lost& e) {
        return raised("lost", e);
    } catch (const NoAnswer& e) {
        return raised("no_answer", e);
    } catch (const BadAnswer& e) {
        return raised("bad_answer", e);
    } catch (const NotANumber& e) {
        return raised("not_a_number", e);
    } catch (const BadValue& e) {
        return raised("bad_value", e);
    } catch (const Blocked& e) {
        return raised("blocked", e, R"(, "by": )" + json(e.by()));
    } catch (const std::exception& e) {
        return raised("agent", e);
    }
}

} // namespace

int main(int argc, char**) {
    if (argc > 1) { // which words there are
        for (const auto& [name, word] : words()) std::cout << name << '\n';
        return 0;
    }
    std::unique_ptr<Turtle> turtle;
    std::string request;
    while (std::getline(std::cin, request)) {
        called.clear();
        std::string answer = "{" + outcome(turtle, request) + R"(, "callbacks": [)";
        for (std::size_t k = 0; k < called.size(); ++k)
            answer += (k > 0 ? ", " : "") + json(std::string_view(called[k]));
        std::cout << answer << "]}" << std::endl;
    }
    return 0;
}
