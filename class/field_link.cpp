#include "class/field_link.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <utility>

namespace classroom {

using boost::system::error_code;

void field_link::exchange(std::string lines, size_t count, done_t done) {
    if (orders_.size() >= EXCHANGES_WAITING) {
        net::post(socket_.get_executor(), [done = std::move(done)] { done(outcome::busy, ""); });
        return;
    }
    orders_.push_back({std::move(lines), count, std::move(done)});
    if (!connected()) return connect();
    send_next();
}

void field_link::close() { fail(outcome::lost); }

void field_link::connect() {
    error_code failure;
    socket_.open(tcp::v4(), failure);
    const uint32_t mine = ++generation_;
    if (failure) {
        // Posted: the caller does not expect a callback before it has returned.
        net::post(socket_.get_executor(), [self = shared_from_this()] { self->fail(outcome::lost); });
        return;
    }
    start_timer(CONNECT_LIMIT, outcome::lost);
    socket_.async_connect(field_, [self = shared_from_this(), mine](error_code error) {
        if (mine != self->generation_) return;
        if (error) return self->fail(outcome::lost);
        error_code ignored;
        self->socket_.set_option(tcp::no_delay(true), ignored);
        self->ready_ = true;
        self->timer_.cancel();
        self->read();
        self->send_next();
    });
}

// Reads all the time, also between exchanges, so that the end of a connection is noticed at once.
void field_link::read() {
    socket_.async_read_some(net::buffer(piece_), [self = shared_from_this(), mine = generation_](error_code error,
                                                                                                 size_t n) {
        if (mine != self->generation_) return;
        if (error) return self->fail(outcome::lost);
        // More answers than requested: the peer is not a field.
        if (!self->sending_) return self->fail(outcome::lost);
        self->lines_ += static_cast<size_t>(std::count(self->piece_.data(), self->piece_.data() + n, '\n'));
        self->answers_.append(self->piece_.data(), n);
        const size_t count = self->orders_.front().count;
        const bool whole = self->lines_ == count && self->answers_.back() == '\n';
        // Neither is a field's: more answers than commands, and longer ones.
        if (self->lines_ > count || (self->lines_ == count && !whole) || self->answers_.size() > count * ANSWER_BYTES) {
            return self->fail(outcome::lost);
        }
        if (whole) self->take_answers();
        if (mine == self->generation_) self->read();
    });
}

void field_link::take_answers() {
    const order done = std::move(orders_.front());
    orders_.pop_front();
    sending_ = false;
    lines_ = 0;
    timer_.cancel();
    const std::string answers = std::exchange(answers_, {});
    send_next();
    done.done(outcome::ok, answers);
}

void field_link::send_next() {
    if (!ready_ || sending_ || orders_.empty()) return;
    sending_ = true;
    start_timer(FIELD_ANSWER_LIMIT, outcome::silent);
    // The order may be answered and removed before the write completes, so the write owns its bytes.
    auto lines = std::make_shared<const std::string>(std::move(orders_.front().lines));
    net::async_write(socket_, net::buffer(*lines),
                     [self = shared_from_this(), lines, mine = generation_](error_code error, size_t) {
                         if (mine == self->generation_ && error) self->fail(outcome::lost);
                     });
}

void field_link::start_timer(std::chrono::seconds limit, outcome o) {
    timer_.expires_after(limit);
    timer_.async_wait([self = shared_from_this(), mine = generation_, o](error_code error) {
        if (!error && mine == self->generation_) self->fail(o);
    });
}

void field_link::fail(outcome o) {
    const uint32_t mine = ++generation_;
    const bool existed = std::exchange(ready_, false);
    sending_ = false;
    lines_ = 0;
    answers_.clear();
    timer_.cancel();
    error_code ignored;
    socket_.close(ignored);
    for (order& x : std::exchange(orders_, {})) x.done(o, "");
    if (existed && lost_ && mine == generation_) lost_();
}

} // namespace classroom
