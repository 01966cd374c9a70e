#include "base/log.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using steady = std::chrono::steady_clock;

constexpr int FORMAT_MAX = 64;                     // formats counted separately; all further ones share the last entry
constexpr int KIND_MAX = 64;                       // kinds counted separately: the most recent ones
constexpr size_t EXAMPLE_MAX = 256;                // bytes of an example line quoted with a count
constexpr timespec PAUSE = {0, 100 * 1000 * 1000}; // between two attempts of the writing thread

// Suppressed lines, with an example of their kind.
struct left_out_t {
    uint64_t count; // not yet reported
    steady::time_point since;
    std::array<char, EXAMPLE_MAX> example; // terminated
};

struct format_t {
    const char* format;        // null = a free place
    steady::time_point second; // start of the counted second
    int sent;                  // lines in that second
    left_out_t left_out;
};

struct kind_t {
    size_t hash; // of the whole text
    steady::time_point last;
    log_rate_t rate;
    left_out_t left_out;
};

// All below is guarded by log_mutex.
std::mutex log_mutex;
bool silent = false;
std::array<format_t, FORMAT_MAX> formats;
std::array<kind_t, KIND_MAX> kinds;
std::array<char, LOG_BACKLOG> backlog;
size_t backlog_bytes;
uint64_t unread;   // lines dropped because the backlog was full
bool attended;     // the writing thread is running
bool told_at_exit; // tell_at_exit is registered

// Reopens standard error non-blocking, so that a write to a pipe or a terminal never waits for the reader: O_NONBLOCK
// belongs to the open file, which other programs may share. @return STDERR_FILENO when it cannot be reopened
int open_stderr_without_waits() {
    struct stat info = {};
    if (fstat(STDERR_FILENO, &info) != 0 || !(S_ISFIFO(info.st_mode) || S_ISCHR(info.st_mode))) return STDERR_FILENO;
    const int fd = open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    return fd >= 0 ? fd : STDERR_FILENO;
}

void drop_front(size_t count) {
    backlog_bytes -= count;
    memmove(backlog.data(), backlog.data() + count, backlog_bytes);
}

// Writes as much of the backlog as the reader has room for.
void drain() {
    if (backlog_bytes == 0) return;
    const int fd = open_stderr_without_waits();
    pollfd room = {.fd = fd, .events = POLLOUT, .revents = 0};
    while (backlog_bytes > 0 && poll(&room, 1, 0) == 1) {
        // A pipe with any room takes that many bytes.
        const ssize_t written = write(fd, backlog.data(), std::min<size_t>(backlog_bytes, PIPE_BUF));
        if (written < 0 && (errno == EAGAIN || errno == EINTR)) break;
        // Any other error is permanent: drop the backlog.
        drop_front(written > 0 ? static_cast<size_t>(written) : backlog_bytes);
    }
    if (fd != STDERR_FILENO) close(fd);
}

// Appends a line to the backlog.
void append(std::string_view text) {
    const size_t length = std::min(text.size(), LOG_LINE_MAX - 1) + 1;
    if (backlog_bytes + length > LOG_BACKLOG) drain();
    if (backlog_bytes + length > LOG_BACKLOG) {
        ++unread;
        return;
    }
    memcpy(backlog.data() + backlog_bytes, text.data(), length - 1);
    backlog_bytes += length;
    backlog[backlog_bytes - 1] = '\n';
}

[[gnu::format(printf, 2, 0)]] std::string_view print(std::array<char, LOG_LINE_MAX>& line, const char* format,
                                                     va_list values) {
    const int wanted = vsnprintf(line.data(), line.size(), format, values);
    return {line.data(), std::min(static_cast<size_t>(std::max(wanted, 0)), line.size() - 1)};
}

[[gnu::format(printf, 1, 2)]] void append_printed(const char* format, ...) {
    std::array<char, LOG_LINE_MAX> line;
    va_list values;
    va_start(values, format);
    append(print(line, format, values));
    va_end(values);
}

void leave_out(left_out_t& left_out, steady::time_point now) {
    if (left_out.count++ == 0) left_out.since = now;
}

void keep_example(left_out_t& left_out, std::string_view text) {
    const size_t kept = text.copy(left_out.example.data(), EXAMPLE_MAX - 1);
    left_out.example[kept] = '\0';
}

void tell(left_out_t& left_out) {
    if (left_out.count == 0) return;
    append_printed("%llu more lines left out like: %s", static_cast<unsigned long long>(left_out.count),
                   left_out.example.data());
    left_out.count = 0;
}

// Reports lines suppressed a second ago or earlier, or all. @return whether some remain to be reported
bool tell_left_out(steady::time_point now, bool all) {
    bool waiting = false;
    const auto look_at = [&](left_out_t& left_out) {
        if (all || now - left_out.since >= LOG_SECOND) tell(left_out);
        waiting = waiting || left_out.count > 0;
    };
    for (format_t& format : formats) look_at(format.left_out);
    for (kind_t& kind : kinds) look_at(kind.left_out);
    // Only once there is room for the report.
    if (unread > 0 && backlog_bytes < LOG_BACKLOG / 2) {
        append_printed("%llu more lines left out: nobody read the log", static_cast<unsigned long long>(unread));
        unread = 0;
    }
    return waiting || unread > 0;
}

// Writes until nothing is left.
void* attend(void*) {
    for (;;) {
        {
            const std::lock_guard lock(log_mutex);
            const bool waiting = tell_left_out(steady::now(), false);
            drain();
            if (!waiting && backlog_bytes == 0) {
                attended = false;
                return nullptr;
            }
        }
        nanosleep(&PAUSE, nullptr);
    }
}

void tell_at_exit() {
    const std::lock_guard lock(log_mutex);
    tell_left_out(steady::now(), true);
    drain();
}

// If no thread can be started, the next logged line tries again.
void see_to_the_rest() {
    if (!told_at_exit) told_at_exit = atexit(tell_at_exit) == 0;
    if (attended) return;
    pthread_t thread = {};
    attended = pthread_create(&thread, nullptr, attend, nullptr) == 0;
    if (attended) pthread_detach(thread);
}

format_t& format_record(const char* format) {
    for (format_t& record : formats) {
        if (record.format == nullptr) record.format = format;
        if (record.format == format || strcmp(record.format, format) == 0) return record;
    }
    return formats.back();
}

// The entry of a text; a new text replaces the least recently used entry.
kind_t& kind_record(std::string_view text) {
    const size_t hash = std::hash<std::string_view>{}(text);
    kind_t* oldest = &kinds.front();
    for (kind_t& kind : kinds) {
        if (kind.rate.count > 0 && kind.hash == hash) return kind;
        if (kind.last < oldest->last) oldest = &kind;
    }
    tell(oldest->left_out);
    *oldest = {};
    oldest->hash = hash;
    keep_example(oldest->left_out, text);
    return *oldest;
}

} // namespace

bool log_rate_admits(log_rate_t& rate, steady::time_point now) {
    auto& oldest = rate.sent[static_cast<size_t>(rate.next)];
    if (rate.count == LOG_RATE && now - oldest < LOG_SECOND) return false;
    oldest = now;
    rate.next = (rate.next + 1) % LOG_RATE;
    rate.count = std::min(rate.count + 1, LOG_RATE);
    return true;
}

void log_nothing() {
    const std::lock_guard lock(log_mutex);
    silent = true;
}

void log_line(const char* format, ...) {
    const std::lock_guard lock(log_mutex);
    if (silent) return;
    const auto now = steady::now();
    format_t& all = format_record(format);
    if (now - all.second >= LOG_SECOND) {
        all.second = now;
        all.sent = 0;
    }
    if (all.sent < LOG_FORMAT_RATE) {
        std::array<char, LOG_LINE_MAX> line;
        va_list values;
        va_start(values, format);
        const std::string_view text = print(line, format, values);
        va_end(values);
        kind_t& kind = kind_record(text);
        kind.last = now;
        if (log_rate_admits(kind.rate, now)) {
            append(text);
            if (++all.sent == LOG_FORMAT_RATE) keep_example(all.left_out, text);
        } else {
            leave_out(kind.left_out, now);
        }
    } else {
        leave_out(all.left_out, now);
    }
    const bool waiting = tell_left_out(now, false);
    drain();
    if (waiting || backlog_bytes > 0) see_to_the_rest();
}

void log_forget() {
    const std::lock_guard lock(log_mutex);
    tell_left_out(steady::now(), true);
    drain();
    formats = {};
    kinds = {};
}

void log_line_always(const char* format, ...) {
    const std::lock_guard lock(log_mutex);
    std::array<char, LOG_LINE_MAX> line;
    va_list values;
    va_start(values, format);
    append(print(line, format, values));
    va_end(values);
    drain();
    if (backlog_bytes > 0) see_to_the_rest();
}
