#include "play/predict.h"

#include "geometry/segment.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

constexpr double BATTLE_STEP = 2.0;   // field units
constexpr double BATTLE_TURN = 3.0;   // degrees
constexpr double BATTLE_EDGE = 246.0; // field units: a turtle there touches the field's edge, which is solid in battle
constexpr size_t DIGITS_MOST = 9;

// Length of the number at the start of `text`.
size_t count_digits(std::string_view text) {
    const size_t end = text.find_first_not_of("0123456789");
    return end == std::string_view::npos ? text.size() : end;
}

bool is_plain_number(std::string_view text) {
    if (!text.empty() && text[0] == '-') text.remove_prefix(1);
    const size_t whole = count_digits(text);
    if (whole == 0 || whole > DIGITS_MOST) return false;
    text.remove_prefix(whole);
    if (text.empty()) return true;
    if (text[0] != '.') return false;
    text.remove_prefix(1);
    return !text.empty() && count_digits(text) == text.size() && text.size() <= DIGITS_MOST;
}

double number_of(std::string_view text) {
    double value = 0.0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

bool leaves_edge(double from, double to) { return (to > BATTLE_EDGE && to > from) || (to < -BATTLE_EDGE && to < from); }

} // namespace

void predict_command(std::string_view line, bool battle, int score, double& x, double& y, double& head) {
    if (battle && score < 1) return;
    if ((line.starts_with("f ") || line.starts_with("b ")) && is_plain_number(line.substr(2))) {
        double step = number_of(line.substr(2));
        if (line[0] == 'b') step = -step;
        if (battle) step = std::clamp(step, -BATTLE_STEP, BATTLE_STEP);
        const double to_x = x + step * std::cos(head * PI / 180.0);
        const double to_y = y + step * std::sin(head * PI / 180.0);
        if (battle && (leaves_edge(x, to_x) || leaves_edge(y, to_y))) return;
        x = to_x;
        y = to_y;
    } else if ((line.starts_with("t l ") || line.starts_with("t r ")) && is_plain_number(line.substr(4))) {
        double angle = number_of(line.substr(4));
        if (line[2] == 'r') angle = -angle;
        if (battle) angle = std::clamp(angle, -BATTLE_TURN, BATTLE_TURN);
        head += angle;
    }
}
