// HTTP/1.1 on the port of the pages, by Boost.Beast: connections with time-outs and bounds, one request at a time each.
// The handler interprets the requests. One thread runs all of it.
#pragma once

#include "class/limits.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace classroom {

namespace net = boost::asio;
namespace http = boost::beast::http;
using tcp = net::ip::tcp;

inline constexpr std::chrono::seconds IDLE_LIMIT{75};    // a connection without a request
inline constexpr std::chrono::seconds REQUEST_LIMIT{10}; // from a request's first byte to its last
inline constexpr std::chrono::seconds WRITE_LIMIT{30};   // without progress of an answer
inline constexpr unsigned HEADER_BYTES = 8192;
inline constexpr size_t BODY_BYTES = 16384;
inline constexpr size_t PROGRAM_BODY_BYTES = 160 * 1024; // a program of 64 KiB as JSON, every second character escaped

/// Seconds of the monotonic clock.
[[nodiscard]] double now_s();

using request_t = http::request<http::string_body>;

struct incoming {
    const request_t& message;
    std::string_view path;  // without the query
    std::string_view query; // what follows "?"
    uint32_t address;       // of the peer, IPv4 in host order
    [[nodiscard]] std::string_view header(std::string_view name) const;
    [[nodiscard]] std::string_view header(http::field name) const;
    [[nodiscard]] bool is_get() const {
        return message.method() == http::verb::get || message.method() == http::verb::head;
    }
    [[nodiscard]] bool is_post() const { return message.method() == http::verb::post; }
    [[nodiscard]] bool is_put() const { return message.method() == http::verb::put; }
};

struct outgoing {
    unsigned status = 200;
    std::string_view type = "application/json"; // of static storage
    std::shared_ptr<const std::string> body;    // null: none
    std::vector<std::pair<http::field, std::string>> headers;
    std::string_view policy; // content security policy when it is not that of pages; of static storage
    bool close = false;
};

[[nodiscard]] outgoing text_answer(unsigned status, std::string body,
                                   std::string_view type = "text/plain; charset=utf-8");

class connection;

/// Answers one request: once, now or later. Dropping it unanswered closes the connection.
class responder {
public:
    explicit responder(std::shared_ptr<connection> c) : connection_(std::move(c)) {}
    responder(responder&&) = default;
    responder& operator=(responder&&) = default;
    responder(const responder&) = delete;
    responder& operator=(const responder&) = delete;
    ~responder();
    void operator()(outgoing answer);

private:
    std::shared_ptr<connection> connection_;
};

using handler_t = std::function<void(const incoming&, responder)>;

class http_server : public std::enable_shared_from_this<http_server> {
public:
    /// @param body_limit  largest body admitted for a path
    http_server(net::io_context& io, handler_t handler, std::function<size_t(std::string_view path)> body_limit);
    /// @param address  IPv4
    /// @return the port that is listened on; 0 when it cannot be, with the reason in `failure`
    int listen(const std::string& address, int port, boost::system::error_code& failure);
    void stop();
    [[nodiscard]] int connections() const { return connections_; }

private:
    friend class connection;
    struct peer {
        int connections = 0;
        token_bucket requests{ADDRESS_REQUESTS_A_SECOND, ADDRESS_REQUESTS_A_SECOND};
    };
    void accept();
    void admit(tcp::socket socket);
    void gone(uint32_t address);

    tcp::acceptor acceptor_;
    net::steady_timer pause_; // after a failed accept
    handler_t handler_;
    std::function<size_t(std::string_view)> body_limit_;
    std::unordered_map<uint32_t, peer> peers_;
    int connections_ = 0;
};

} // namespace classroom
