// All programs of a class as one zip file, made by libzip in memory.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace classroom {

struct file_in_archive {
    std::string name; // as given; made unique and safe
    std::string text;
};

/// A name that is a plain file name on every system: letters, digits, " -_." and everything beyond ASCII stay, others
/// become "_"; no leading dot, never empty.
[[nodiscard]] std::string safe_file_name(const std::string& name);

/// @return the bytes of the zip, nothing when the library fails (logged on standard error)
[[nodiscard]] std::optional<std::string> make_zip(const std::vector<file_in_archive>& files);

} // namespace classroom
