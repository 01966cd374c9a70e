// The field's list of turtles with the names made safe. The field writes a name into its JSON as it is, so a name with
// a quote breaks the list, and one with more can pretend to be another turtle. Pure functions.
#pragma once

#include <string>
#include <string_view>

namespace classroom {

/// A parked turtle stands at x = PARK_X, y = PARK_Y + PARK_STEP * place, out of sight: the turtle of a free seat.
inline constexpr double PARK_X = 20000;
inline constexpr double PARK_Y = 20000;
inline constexpr double PARK_STEP = 100;

/// The list as valid JSON: names escaped, valid UTF-8; numbers that are none become 0; parked turtles and free slots
/// left out. A list that is cut off gives the turtles before the cut; anything else gives "[]".
/// A name may hold any 127 bytes, the text of a whole record too, but not all that follows a name in a record, which is
/// longer than that: so the end of a name is the first place where the rest of a record follows.
[[nodiscard]] std::string repair_turtles(std::string_view list);

/// `text` between double quotes, with all that JSON wants escaped.
[[nodiscard]] std::string json_string(std::string_view text);

} // namespace classroom
