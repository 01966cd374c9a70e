// Files of the pages: which file a path means, its type, and the file itself, kept in memory between requests.
#pragma once

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace classroom {

inline constexpr size_t FILE_BYTES = size_t{32} << 20;  // larger files are not served
inline constexpr size_t CACHE_BYTES = size_t{96} << 20; // of all files in memory

struct static_file {
    std::shared_ptr<const std::string> bytes;
    std::string etag; // with its quotes; from size and time of change
};

/// Path inside the root for a request's path ("/edit" gives "edit.html"): nothing for one that is no plain path, with
/// empty or dotted parts, or characters that no file of a page has.
[[nodiscard]] std::optional<std::string> file_for(std::string_view path);

/// By the ending of the name; application/octet-stream for an unknown one.
[[nodiscard]] std::string_view type_of(std::string_view name);

/// Files below /v/ never change under their path.
[[nodiscard]] inline bool never_changes(std::string_view path) { return path.starts_with("/v/"); }

/// A student's JavaScript becomes a function in a worker, and a worker is bound by the policy of its own file: so files
/// named *worker.js or *worker.mjs get a policy that permits this, and no page does.
[[nodiscard]] std::string_view content_policy(std::string_view path);

class file_store {
public:
    explicit file_store(const std::string& root);
    /// The root was found and is a folder.
    [[nodiscard]] bool usable() const { return !root_.empty(); }
    /// A regular file of at most FILE_BYTES inside the root; links are followed only while they stay inside.
    [[nodiscard]] std::optional<static_file> find(const std::string& name);

private:
    struct entry {
        static_file file;
        timespec changed;
        size_t size;
    };
    std::string root_; // without links, without a slash at the end
    std::unordered_map<std::string, entry> kept_;
    size_t kept_bytes_ = 0;
};

} // namespace classroom
