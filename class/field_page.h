// Fetches a field's own web answers for the class: one connection to it, and copies that are kept for a moment, so that
// thirty browsers cost the field no more than one.
#pragma once

#include "class/http.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace classroom {

inline constexpr double COPY_S = 0.025;                  // how old a copy may be
inline constexpr std::chrono::seconds PAGE_LIMIT{5};     // for one fetch
inline constexpr size_t PAGE_BYTES = size_t{512} * 1024; // of one body
inline constexpr size_t COPIES = 64;
inline constexpr size_t FETCHES_WAITING = 256; // all waiting requests for one field together

class field_page : public std::enable_shared_from_this<field_page> {
public:
    struct copy {
        bool ok = false;
        std::string_view type;
        std::shared_ptr<const std::string> body;
    };
    using done_t = std::function<void(const copy&)>;

    field_page(net::io_context& io, const tcp::endpoint& server) : io_(io), server_(server) {}

    /// @param what  one of the paths that is_allowed admits; `done` is called once, at once when a fresh copy is there
    void fetch(const std::string& what, done_t done);
    /// The same without a cached copy: what the page server answers to a new request.
    void fetch_anew(const std::string& what, done_t done);
    /// After `io` has ended: releases all who wait.
    void forget() {
        copies_.clear();
        queue_.clear();
    }
    /// The last fetch succeeded; true before the first one.
    [[nodiscard]] bool ok() const { return ok_; }

    /// turtle, wall, coin, camera, NAME/camera, img/N: everything the page server answers other than its page.
    [[nodiscard]] static bool is_allowed(std::string_view what);

private:
    using stream_t = boost::beast::basic_stream<tcp>;
    struct entry {
        copy last;
        double at = -1;
        std::vector<done_t> waiting;
    };
    void enqueue(const std::string& what, done_t done);
    void work();
    void send(bool fresh);
    void receive();
    void finish(bool good);

    net::io_context& io_;
    tcp::endpoint server_;
    std::unique_ptr<stream_t> stream_;
    boost::beast::flat_buffer buffer_{PAGE_BYTES + HEADER_BYTES};
    std::optional<http::response_parser<http::string_body>> parser_;
    http::request<http::empty_body> request_;
    std::map<std::string, entry> copies_;
    std::deque<std::string> queue_; // what is to be fetched; the first is under way when busy_
    size_t waiting_ = 0;
    bool busy_ = false;
    bool retried_ = false;
    bool ok_ = true;
};

} // namespace classroom
