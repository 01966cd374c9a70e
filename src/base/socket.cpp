#include "base/socket.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace {

void set_option(int sock, int level, int option, int value) { setsockopt(sock, level, option, &value, sizeof value); }

} // namespace

void watch_peer(int sock) {
    set_option(sock, SOL_SOCKET, SO_KEEPALIVE, 1);
    set_option(sock, IPPROTO_TCP, TCP_KEEPIDLE, static_cast<int>(WATCH_IDLE.count()));
    set_option(sock, IPPROTO_TCP, TCP_KEEPINTVL, static_cast<int>(WATCH_INTERVAL.count()));
    set_option(sock, IPPROTO_TCP, TCP_KEEPCNT, WATCH_PROBES);
    set_option(sock, IPPROTO_TCP, TCP_USER_TIMEOUT, static_cast<int>(std::chrono::milliseconds(WATCH_LIMIT).count()));
}
