// One connection to a field: one turtle. Exchanges of lines and their answers, one after the other.
#pragma once

#include "class/http.h"

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace classroom {

inline constexpr std::chrono::seconds CONNECT_LIMIT{5};
inline constexpr std::chrono::seconds FIELD_ANSWER_LIMIT{20}; // for one exchange, from when it is its turn
inline constexpr size_t EXCHANGES_WAITING = 16;               // on one connection
inline constexpr size_t ANSWER_BYTES = 512;                   // of one line; the field writes no longer ones

class field_link : public std::enable_shared_from_this<field_link> {
public:
    enum class outcome { ok, silent, lost, busy };
    /// @param answers  as many lines as were asked for, each with its line feed; complete only when the outcome is ok
    using done_t = std::function<void(outcome, std::string answers)>;

    field_link(net::io_context& io, const tcp::endpoint& field) : socket_(io), timer_(io), field_(field) {}

    /// The connection exists or is being made.
    [[nodiscard]] bool connected() const { return socket_.is_open(); }
    /// Sends `lines`, each of which ends with a line feed and causes one answer, `count` in all (1 or more); connects
    /// first if needed. `done` is called once, later.
    void exchange(std::string lines, size_t count, done_t done);
    /// Ends the connection; exchanges under way end as lost.
    void close();
    /// `lost` is called each time a connection that existed has ended, whoever ended it; empty: nothing is.
    void when_lost(std::function<void()> lost) { lost_ = std::move(lost); }

private:
    struct order {
        std::string lines;
        size_t count;
        done_t done;
    };
    void connect();
    void read();
    void send_next();
    void take_answers();
    void fail(outcome o);
    void start_timer(std::chrono::seconds limit, outcome o);

    tcp::socket socket_;
    net::steady_timer timer_;
    tcp::endpoint field_;
    std::function<void()> lost_;
    std::deque<order> orders_;
    std::array<char, 4096> piece_{};
    std::string answers_;
    size_t lines_ = 0;        // whole ones in answers_
    uint32_t generation_ = 0; // of the connection: callbacks of earlier ones are void
    bool ready_ = false;      // connected, not only connecting
    bool sending_ = false;    // the first order has been sent
};

} // namespace classroom
