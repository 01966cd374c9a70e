// kelmora-class: a class in browsers. Reads the options, prints the class's address, and serves until it is ended.
#include "class/options.h"
#include "class/qr.h"
#include "class/server.h"
#include "class/text.h"

#include <algorithm>
#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace classroom;

constexpr int EXIT_FAILED = 1;
constexpr int EXIT_WRONG_OPTION = 2;
constexpr int EXIT_NO_PORT = 3;
constexpr rlim_t DESCRIPTORS = 4096; // connections of browsers, of seats, files

// A folder that holds the pages: that of the build tree, or that of an installation.
std::string find_root() {
    std::array<char, 4096> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size() - 1);
    if (length <= 0) return "";
    const std::string program(path.data(), static_cast<size_t>(length));
    const std::string folder = program.substr(0, program.rfind('/'));
    for (const char* const place : {"/../share/kelmora/class", "/../../web/dist/class", "/../../../web/dist/class"}) {
        if (access((folder + place + "/index.html").c_str(), R_OK) == 0) return folder + place;
    }
    return "";
}

std::optional<tcp::endpoint> resolve(net::io_context& io, const endpoint& e) {
    tcp::resolver resolver(io);
    boost::system::error_code failure;
    const auto found = resolver.resolve(tcp::v4(), e.host, std::to_string(e.port), failure);
    if (failure || found.empty()) return std::nullopt;
    return found.begin()->endpoint();
}

void raise_descriptor_limit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, DESCRIPTORS));
    setrlimit(RLIMIT_NOFILE, &limit);
}

void announce(const server& s, int port, bool show_qr) {
    printf("Class code: %s\nClass address: %s\nDesk: http://localhost:%d/desk\nBoard: http://localhost:%d/board\n",
           s.code().c_str(), s.address().c_str(), port, port);
    winsize window{};
    if (show_qr && isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0) {
        fputs(qr_terminal(s.link(), window.ws_col, window.ws_row).c_str(), stdout);
    }
    fflush(stdout);
}

int wrong(const std::string& what) {
    fprintf(stderr, "kelmora-class: %s\n", what.c_str());
    return EXIT_WRONG_OPTION;
}

bool is_folder(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// A field may make its folder later; a file in its place will never be one. @return what is wrong, empty for nothing
std::string check_canvases(const options& opts) {
    for (const std::string& folder : opts.canvases) {
        if (folder.empty() || is_folder(folder)) continue;
        if (access(folder.c_str(), F_OK) == 0) return "--canvas " + for_log(folder) + ": not a folder";
        fprintf(stderr, "kelmora-class: --canvas %s: no such folder, so there is no painting until it is there\n",
                for_log(folder).c_str());
    }
    return "";
}

int cannot_listen(const options& opts, const boost::system::error_code& failure) {
    const std::string port = std::to_string(opts.port);
    if (failure == net::error::address_in_use) {
        fprintf(stderr, "kelmora-class: port %s is taken: is another class server running?\n", port.c_str());
        return EXIT_NO_PORT;
    }
    if (failure.value() == EADDRNOTAVAIL)
        return wrong("--listen " + opts.listen + ": this machine has no such address");
    if (failure == net::error::access_denied)
        return wrong("--port " + port + ": only the administrator may listen on this port");
    fprintf(stderr, "kelmora-class: cannot listen on %s port %s: %s\n", opts.listen.c_str(), port.c_str(),
            failure.message().c_str());
    return EXIT_FAILED;
}

// Serves until a signal ends it. @return the program's exit code
int serve(int argc, char** argv) {
    options opts;
    std::string error;
    switch (parse_options(argc, argv, opts, error)) {
    case parsed::help:
        fputs(help_text(), stdout);
        return 0;
    case parsed::wrong:
        return wrong(error);
    case parsed::run:
        break;
    }
    signal(SIGPIPE, SIG_IGN);
    raise_descriptor_limit();
    net::io_context io(1);
    std::vector<tcp::endpoint> fields;
    std::vector<std::optional<tcp::endpoint>> viewers;
    for (size_t i = 0; i < opts.fields.size(); ++i) {
        const auto field = resolve(io, opts.fields[i]);
        if (!field) return wrong("--fields: no machine has the name " + for_log(opts.fields[i].host));
        if (std::find(fields.begin(), fields.end(), *field) != fields.end())
            return wrong("--fields: two are the same, " + for_log(opts.fields[i].host) + ':' +
                         std::to_string(opts.fields[i].port));
        fields.push_back(*field);
        viewers.push_back(std::nullopt);
        if (opts.viewers[i].port == 0) continue;
        viewers.back() = resolve(io, opts.viewers[i]);
        if (!viewers.back()) return wrong("--viewer: no machine has the name " + for_log(opts.viewers[i].host));
    }
    if (const std::string bad = check_canvases(opts); !bad.empty()) return wrong(bad);
    if (opts.root.empty()) opts.root = find_root();
    const auto s = std::make_shared<server>(io, opts, fields, viewers, opts.root);
    if (!s->has_pages()) {
        if (!opts.root.empty())
            return wrong("--root " + for_log(opts.root) +
                         (is_folder(opts.root) ? ": holds no pages (no index.html)" : ": no such folder"));
        fputs("kelmora-class: the pages have not been built, so only the API is served\n", stderr);
    }
    boost::system::error_code failure;
    const int port = s->start(opts, failure);
    if (port == 0) return cannot_listen(opts, failure);
    announce(*s, port, opts.show_qr);
    net::signal_set signals(io, SIGINT, SIGTERM, SIGHUP);
    signals.async_wait([&s](const boost::system::error_code& stopped, int) {
        if (!stopped) s->stop();
    });
    io.run();
    s->close();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return serve(argc, argv);
    } catch (const std::exception& e) { // the libraries throw where there is no memory, for example
        fprintf(stderr, "kelmora-class: %s\n", e.what());
        return EXIT_FAILED;
    }
}
