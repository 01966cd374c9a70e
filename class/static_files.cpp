#include "class/static_files.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace classroom {

namespace {

constexpr size_t PATH_BYTES = 512;

struct page {
    std::string_view path;
    std::string_view file;
};
constexpr std::array<page, 6> PAGES = {{{"/", "index.html"},
                                        {"/edit", "edit.html"},
                                        {"/watch", "watch.html"},
                                        {"/board", "board.html"},
                                        {"/desk", "desk.html"},
                                        {"/favicon.ico", "favicon.ico"}}};

struct type {
    std::string_view ending;
    std::string_view name;
};
constexpr std::array<type, 22> TYPES = {{{".html", "text/html; charset=utf-8"},
                                         {".js", "text/javascript; charset=utf-8"},
                                         {".mjs", "text/javascript; charset=utf-8"},
                                         {".css", "text/css; charset=utf-8"},
                                         {".json", "application/json"},
                                         {".map", "application/json"},
                                         {".wasm", "application/wasm"},
                                         {".svg", "image/svg+xml"},
                                         {".png", "image/png"},
                                         {".jpg", "image/jpeg"},
                                         {".ico", "image/x-icon"},
                                         {".webp", "image/webp"},
                                         {".woff2", "font/woff2"},
                                         {".txt", "text/plain; charset=utf-8"},
                                         {".md", "text/plain; charset=utf-8"},
                                         {".py", "text/plain; charset=utf-8"},
                                         {".xml", "application/xml"},
                                         {".zip", "application/zip"},
                                         {".whl", "application/zip"},
                                         {".gz", "application/gzip"},
                                         {".mp3", "audio/mpeg"},
                                         {".ogg", "audio/ogg"}}};

bool is_plain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           c == '.' || c == '/' || c == '+' || c == '~' || c == '@';
}

struct fd_guard {
    int fd;
    explicit fd_guard(int f) : fd(f) {}
    fd_guard(const fd_guard&) = delete;
    fd_guard& operator=(const fd_guard&) = delete;
    ~fd_guard() {
        if (fd >= 0) close(fd);
    }
};

std::string real_path(const std::string& path) {
    std::array<char, PATH_MAX> buffer{};
    return realpath(path.c_str(), buffer.data()) == nullptr ? "" : buffer.data();
}

bool same_time(const timespec& a, const timespec& b) { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

} // namespace

std::optional<std::string> file_for(std::string_view path) {
    for (const page& p : PAGES) {
        if (p.path == path) return std::string(p.file);
    }
    if (path.size() < 2 || path.size() > PATH_BYTES || path[0] != '/' || path.back() == '/') return std::nullopt;
    for (size_t i = 0; i < path.size(); ++i) {
        if (!is_plain(path[i])) return std::nullopt;
        if (path[i] == '/' && (path[i + 1] == '/' || path[i + 1] == '.')) return std::nullopt;
    }
    return std::string(path.substr(1));
}

std::string_view type_of(std::string_view name) {
    for (const type& t : TYPES) {
        if (name.ends_with(t.ending)) return t.name;
    }
    return "application/octet-stream";
}

std::string_view content_policy(std::string_view path) {
    if (path.ends_with("worker.js") || path.ends_with("worker.mjs")) {
        return "default-src 'none'; script-src 'self' 'unsafe-eval' 'wasm-unsafe-eval' blob:; connect-src 'self'";
    }
    return "default-src 'none'; script-src 'self' 'wasm-unsafe-eval'; style-src 'self' 'unsafe-inline'; "
           "img-src 'self' data: blob:; media-src 'self' data:; font-src 'self' data:; connect-src 'self'; "
           "worker-src 'self' blob:; frame-src 'self'; frame-ancestors 'self'; form-action 'self'; base-uri 'none'";
}

file_store::file_store(const std::string& root) : root_(real_path(root)) {
    struct stat info {};
    if (root_.empty() || stat(root_.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) root_.clear();
}

std::optional<static_file> file_store::find(const std::string& name) {
    if (root_.empty()) return std::nullopt;
    const std::string path = real_path(root_ + '/' + name);
    if (!path.starts_with(root_ + '/')) return std::nullopt;
    const fd_guard file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    struct stat info {};
    if (file.fd < 0 || fstat(file.fd, &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    const auto size = static_cast<size_t>(info.st_size);
    if (size > FILE_BYTES) return std::nullopt;
    const auto found = kept_.find(path);
    if (found != kept_.end()) {
        if (found->second.size == size && same_time(found->second.changed, info.st_mtim)) return found->second.file;
        kept_bytes_ -= found->second.size;
        kept_.erase(found);
    }
    auto bytes = std::make_shared<std::string>(size, '\0');
    size_t done = 0;
    while (done < size) {
        const ssize_t n = read(file.fd, bytes->data() + done, size - done);
        if (n <= 0) return std::nullopt; // it was truncated meanwhile: the next request reads it again
        done += static_cast<size_t>(n);
    }
    const std::string etag = '"' + std::to_string(size) + '-' + std::to_string(info.st_mtim.tv_sec) + '-' +
                             std::to_string(info.st_mtim.tv_nsec) + '"';
    if (kept_bytes_ + size > CACHE_BYTES) {
        kept_.clear();
        kept_bytes_ = 0;
    }
    kept_bytes_ += size;
    static_file result = {std::move(bytes), etag};
    kept_[path] = {result, info.st_mtim, size};
    return result;
}

} // namespace classroom
