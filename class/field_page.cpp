#include "class/field_page.h"

#include "class/repair.h"
#include "class/text.h"

#include <algorithm>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <utility>

namespace classroom {

using boost::system::error_code;

namespace {

std::string_view type_for(std::string_view what) { return what.starts_with("img/") ? "image/png" : "application/json"; }

bool is_word_character(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '$' || c == '~' ||
           c == '-' || c == '_';
}

} // namespace

bool field_page::is_allowed(std::string_view what) {
    if (what == "turtle" || what == "wall" || what == "coin" || what == "camera") return true;
    if (what.starts_with("img/")) return decimal(what.substr(4), 99).has_value();
    const size_t slash = what.find('/');
    return slash != std::string_view::npos && slash > 0 && slash <= 100 && what.substr(slash) == "/camera" &&
           std::all_of(what.begin(), what.begin() + static_cast<std::ptrdiff_t>(slash), is_word_character);
}

void field_page::fetch(const std::string& what, done_t done) {
    if (copies_.size() >= COPIES) {
        std::erase_if(copies_, [](const auto& e) { return e.second.waiting.empty(); });
    }
    entry& e = copies_[what];
    const bool fresh = e.last.ok && (what.starts_with("img/") || now_s() - e.at < COPY_S);
    if (fresh) return done(e.last);
    enqueue(what, std::move(done));
}

void field_page::fetch_anew(const std::string& what, done_t done) {
    const auto found = copies_.find(what);
    if (found == copies_.end() || found->second.waiting.empty()) return enqueue(what, std::move(done));
    // A fetch is under way, and may have been answered already.
    enqueue(what,
            [self = shared_from_this(), what, done = std::move(done)](const copy&) { self->enqueue(what, done); });
}

void field_page::enqueue(const std::string& what, done_t done) {
    // The list of turtles, which starts and all views need, goes first: questions of one browser cannot keep it back.
    const bool first = what == "turtle";
    if (waiting_ >= FETCHES_WAITING && !first) return done({});
    entry& e = copies_[what];
    ++waiting_;
    e.waiting.push_back(std::move(done));
    if (e.waiting.size() == 1) queue_.insert(first ? queue_.begin() + (busy_ ? 1 : 0) : queue_.end(), what);
    if (!busy_) work();
}

void field_page::work() {
    if (queue_.empty()) return;
    busy_ = true;
    retried_ = false;
    if (stream_) return send(false);
    send(true);
}

void field_page::send(bool fresh) {
    if (fresh) {
        buffer_.clear();
        stream_ = std::make_unique<stream_t>(io_);
        stream_->expires_after(PAGE_LIMIT);
        stream_->async_connect(server_, [self = shared_from_this()](error_code error) {
            if (error) return self->finish(false);
            error_code ignored;
            self->stream_->socket().set_option(tcp::no_delay(true), ignored);
            self->retried_ = true; // on a new connection a retry would be pointless
            self->send(false);
        });
        return;
    }
    request_ = {http::verb::get, '/' + queue_.front(), 11};
    request_.set(http::field::host, "localhost");
    stream_->expires_after(PAGE_LIMIT);
    http::async_write(*stream_, request_, [self = shared_from_this()](error_code error, size_t) {
        if (error) return self->finish(false);
        self->receive();
    });
}

void field_page::receive() {
    parser_.emplace();
    parser_->body_limit(PAGE_BYTES);
    http::async_read(*stream_, buffer_, *parser_, [self = shared_from_this()](error_code error, size_t) {
        self->finish(!error && self->parser_->get().result() == http::status::ok);
    });
}

void field_page::finish(bool good) {
    if (!good) {
        stream_.reset();
        // The page server closes connections after a minute: that is not yet a failure.
        if (!std::exchange(retried_, true)) return send(true);
    }
    ok_ = good;
    const std::string what = std::move(queue_.front());
    queue_.pop_front();
    entry& e = copies_[what];
    e.last = {};
    if (good) {
        std::string body = std::move(parser_->get().body());
        if (what == "turtle") body = repair_turtles(body);
        e.last = {true, type_for(what), std::make_shared<const std::string>(std::move(body))};
        e.at = now_s();
        if (!parser_->get().keep_alive()) stream_.reset();
    }
    parser_.reset();
    busy_ = false;
    const copy last = e.last;
    const std::vector<done_t> waiting = std::exchange(e.waiting, {});
    waiting_ -= waiting.size();
    for (const done_t& done : waiting) done(last);
    if (!busy_) work();
}

} // namespace classroom
