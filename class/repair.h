// The field's list of turtles with names made safe. The field writes a name into its JSON unescaped, so a name with a
// quote breaks the list, and a longer one can imitate another turtle. Pure functions.
#pragma once

#include <string>
#include <string_view>

namespace classroom {

/// A parked turtle, that of a free seat, is out of sight at x = PARK_X, y = PARK_Y + PARK_STEP * place.
inline constexpr double PARK_X = 20000;
inline constexpr double PARK_Y = 20000;
inline constexpr double PARK_STEP = 100;

/// The list as valid JSON: names escaped, valid UTF-8; values that are not numbers become 0; parked turtles and free
/// slots left out. A truncated list gives the turtles before the cut; anything else gives "[]".
/// A name may hold any 127 bytes, even the start of another record, but not the whole text that follows a name, which
/// is longer: so a name ends at the first place where the rest of a record follows.
[[nodiscard]] std::string repair_turtles(std::string_view list);

/// `text` in double quotes, escaped as JSON requires.
[[nodiscard]] std::string json_string(std::string_view text);

} // namespace classroom
