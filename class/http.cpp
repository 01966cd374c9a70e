#include "class/http.h"

#include "class/static_files.h"
#include "class/text.h"

#include <algorithm>
#include <boost/asio/error.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/serializer.hpp>
#include <boost/beast/http/span_body.hpp>
#include <boost/beast/http/write.hpp>
#include <cstdio>
#include <optional>

namespace classroom {

namespace beast = boost::beast;
using boost::system::error_code;

namespace {

constexpr std::chrono::milliseconds ACCEPT_PAUSE{100}; // when no descriptor is left, for example
constexpr std::chrono::seconds DRAIN_LIMIT{2};         // after an answer that ends the connection
constexpr size_t DRAIN_BYTES = 256 * 1024;
constexpr size_t READ_BYTES = 4096;
constexpr size_t WRITE_BYTES = 16384; // at once, before others have their turn

std::string_view view(beast::string_view s) { return {s.data(), s.size()}; }

// The target as a path with its query. A client may also name the server in front of it, if by the same name as in
// Host.
std::string_view target_of(const request_t& message) {
    const std::string_view target = view(message.target());
    constexpr std::string_view scheme = "http://";
    if (!same_word(target.substr(0, scheme.size()), scheme)) return target;
    const size_t path = std::min(target.find('/', scheme.size()), target.size());
    const std::string_view name = target.substr(scheme.size(), path - scheme.size());
    return path < target.size() && same_word(name, view(message[http::field::host])) ? target.substr(path) : target;
}

} // namespace

double now_s() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

std::string_view incoming::header(std::string_view name) const {
    return view(message[beast::string_view(name.data(), name.size())]);
}
std::string_view incoming::header(http::field name) const { return view(message[name]); }

outgoing text_answer(unsigned status, std::string body, std::string_view type) {
    outgoing answer;
    answer.status = status;
    answer.type = type;
    answer.body = std::make_shared<const std::string>(std::move(body));
    return answer;
}

// One connection: waits for a request's first byte, reads it within a time limit, waits if the peer asks too often,
// passes it to the handler, writes the answer, and so on.
class connection : public std::enable_shared_from_this<connection> {
public:
    connection(std::shared_ptr<http_server> server, tcp::socket socket, uint32_t address)
        : server_(std::move(server)), stream_(std::move(socket)), timer_(stream_.get_executor()), address_(address) {}
    connection(const connection&) = delete;
    connection& operator=(const connection&) = delete;
    ~connection() { server_->gone(address_); }

    void start() { wait_for_request(); }

    void answer(outgoing what) {
        if (answered_) return;
        answered_ = true;
        answer_ = std::move(what);
        write();
    }

    // The request will not be answered.
    void forget() {
        if (!answered_) close();
    }

private:
    using stream_t = beast::basic_stream<tcp>;
    using body_t = http::span_body<const char>;

    void wait_for_request() {
        parser_.emplace();
        parser_->header_limit(HEADER_BYTES);
        parser_->body_limit(PROGRAM_BODY_BYTES);
        if (buffer_.size() > 0) return read_header();
        stream_.expires_after(IDLE_LIMIT);
        stream_.async_read_some(buffer_.prepare(READ_BYTES), [self = shared_from_this()](error_code error, size_t n) {
            if (error) return self->close();
            self->buffer_.commit(n);
            self->read_header();
        });
    }

    void read_header() {
        stream_.expires_after(REQUEST_LIMIT);
        http::async_read_header(stream_, buffer_, *parser_, [self = shared_from_this()](error_code error, size_t) {
            if (error) return self->refuse(error);
            self->read_body();
        });
    }

    void read_body() {
        // Of a body in another coding the end would not be known.
        if (parser_->get().count(http::field::transfer_encoding) != 0 && !parser_->chunked())
            return refuse(http::error::bad_transfer_encoding);
        const std::string_view target = target_of(parser_->get());
        const size_t limit = server_->body_limit_(target.substr(0, target.find('?')));
        const auto length = parser_->content_length();
        if (length && *length > limit) return refuse(http::error::body_limit);
        parser_->body_limit(limit);
        if (parser_->is_done()) return pace();
        http::async_read(stream_, buffer_, *parser_, [self = shared_from_this()](error_code error, size_t) {
            if (error) return self->refuse(error);
            self->pace();
        });
    }

    // A malformed or oversized request is answered if possible, and ends the connection.
    void refuse(error_code error) {
        const bool too_big = error == http::error::body_limit || error == http::error::header_limit;
        if (!too_big && (error == beast::error::timeout ||
                         error.category() != http::make_error_code(http::error::bad_method).category() ||
                         error == http::error::end_of_stream || error == http::error::partial_message)) {
            return close();
        }
        answered_ = false;
        outgoing what =
            text_answer(too_big ? 413 : 400,
                        too_big ? R"({"error":"too_big","message":"That is too much at once."})"
                                : R"({"error":"bad","message":"This is no request that the server knows."})",
                        "application/json");
        what.close = true;
        answer(std::move(what));
    }

    void pace() {
        stream_.expires_never();
        const double now = now_s();
        const size_t blocks = parser_->get().body().size() / BYTES_AS_A_REQUEST;
        const auto cost = static_cast<double>(1 + blocks);
        double wait = requests_.take(cost, now);
        const auto peer = server_->peers_.find(address_);
        if (peer != server_->peers_.end()) wait = std::max(wait, peer->second.requests.take(cost, now));
        if (wait <= 0) return handle();
        timer_.expires_after(std::chrono::microseconds(static_cast<int64_t>(wait * 1e6)));
        timer_.async_wait([self = shared_from_this()](error_code error) {
            if (!error) self->handle();
        });
    }

    void handle() {
        answered_ = false;
        const request_t& message = parser_->get();
        const std::string_view target = target_of(message);
        const size_t question = target.find('?');
        const incoming request = {message, target.substr(0, question),
                                  question == std::string_view::npos ? std::string_view() : target.substr(question + 1),
                                  address_};
        server_->handler_(request, responder(shared_from_this()));
    }

    void write() {
        const bool head = parser_->is_header_done() && parser_->get().method() == http::verb::head;
        const size_t size = answer_.body ? answer_.body->size() : 0;
        keep_alive_ = !answer_.close && parser_->is_done() && parser_->get().keep_alive();
        const char* const data = size == 0 || head ? nullptr : answer_.body->data();
        message_.emplace(static_cast<http::status>(answer_.status), 11,
                         body_t::value_type(data, data == nullptr ? 0 : size));
        http::response<body_t>& m = *message_;
        const bool bare = answer_.status == 204 || answer_.status == 304;
        if (!bare) {
            m.set(http::field::content_type, beast::string_view(answer_.type.data(), answer_.type.size()));
            m.content_length(size);
        }
        bool caching = false;
        for (auto& [field, value] : answer_.headers) {
            m.set(field, value);
            caching = caching || field == http::field::cache_control;
        }
        if (!caching) m.set(http::field::cache_control, "no-store");
        const std::string_view policy = answer_.policy.empty() ? content_policy("/") : answer_.policy;
        m.set("Content-Security-Policy", beast::string_view(policy.data(), policy.size()));
        m.set("X-Content-Type-Options", "nosniff");
        m.set("Referrer-Policy", "no-referrer");
        m.set("Cross-Origin-Resource-Policy", "same-origin");
        m.keep_alive(keep_alive_);
        serializer_.emplace(m);
        serializer_->limit(WRITE_BYTES); // so that large files on many connections hold no small answer up
        write_some();
    }

    // The time limit applies to each piece that the peer takes, so a slow network may take long for a large file.
    void write_some() {
        stream_.expires_after(WRITE_LIMIT);
        http::async_write_some(stream_, *serializer_, [self = shared_from_this()](error_code error, size_t) {
            if (error) return self->close();
            if (!self->serializer_->is_done()) return self->write_some();
            self->written();
        });
    }

    void written() {
        serializer_.reset();
        message_.reset();
        answer_ = {};
        if (keep_alive_) return wait_for_request();
        error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
        stream_.expires_after(DRAIN_LIMIT);
        drain(0);
    }

    // Reads what the peer still sends: closing with unread bytes would discard the answer.
    void drain(size_t taken) {
        if (taken > DRAIN_BYTES) return close();
        buffer_.clear();
        stream_.async_read_some(buffer_.prepare(READ_BYTES),
                                [self = shared_from_this(), taken](error_code error, size_t n) {
                                    if (error) return self->close();
                                    self->drain(taken + n);
                                });
    }

    void close() {
        answered_ = true;
        error_code ignored;
        stream_.socket().close(ignored);
    }

    std::shared_ptr<http_server> server_;
    stream_t stream_;
    net::steady_timer timer_;
    beast::flat_buffer buffer_{HEADER_BYTES + PROGRAM_BODY_BYTES};
    std::optional<http::request_parser<http::string_body>> parser_;
    std::optional<http::response<body_t>> message_;
    std::optional<http::response_serializer<body_t>> serializer_;
    outgoing answer_;
    token_bucket requests_{REQUESTS_A_SECOND, REQUESTS_A_SECOND};
    uint32_t address_;
    bool answered_ = true;
    bool keep_alive_ = false;
};

responder::~responder() {
    if (connection_) connection_->forget();
}

void responder::operator()(outgoing answer) {
    if (const auto c = std::exchange(connection_, nullptr)) c->answer(std::move(answer));
}

http_server::http_server(net::io_context& io, handler_t handler, std::function<size_t(std::string_view)> body_limit)
    : acceptor_(io), pause_(io), handler_(std::move(handler)), body_limit_(std::move(body_limit)) {}

int http_server::listen(const std::string& address, int port, error_code& failure) {
    const auto ip = net::ip::make_address_v4(address, failure);
    const tcp::endpoint here(ip, static_cast<unsigned short>(port));
    if (!failure) acceptor_.open(here.protocol(), failure);
    if (!failure) acceptor_.set_option(net::socket_base::reuse_address(true), failure);
    if (!failure) acceptor_.bind(here, failure);
    if (!failure) acceptor_.listen(256, failure);
    if (failure) return 0;
    accept();
    return acceptor_.local_endpoint(failure).port();
}

void http_server::stop() {
    error_code ignored;
    acceptor_.close(ignored);
    pause_.cancel();
}

void http_server::accept() {
    acceptor_.async_accept([self = shared_from_this()](error_code error, tcp::socket socket) {
        if (!self->acceptor_.is_open()) return;
        if (!error) {
            self->admit(std::move(socket));
            return self->accept();
        }
        self->pause_.expires_after(ACCEPT_PAUSE);
        self->pause_.async_wait([self](error_code stopped) {
            if (!stopped) self->accept();
        });
    });
}

void http_server::admit(tcp::socket socket) {
    error_code failure;
    const auto remote = socket.remote_endpoint(failure);
    if (failure || !remote.address().is_v4()) return;
    const uint32_t address = remote.address().to_v4().to_uint();
    if (connections_ >= CONNECTIONS) return;
    peer& p = peers_[address];
    if (p.connections >= ADDRESS_CONNECTIONS) return;
    ++p.connections;
    ++connections_;
    socket.set_option(tcp::no_delay(true), failure);
    std::make_shared<connection>(shared_from_this(), std::move(socket), address)->start();
}

void http_server::gone(uint32_t address) {
    --connections_;
    const auto found = peers_.find(address);
    if (found != peers_.end() && --found->second.connections == 0) peers_.erase(found);
}

} // namespace classroom
