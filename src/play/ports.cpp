#include "play/ports.h"

#include "httpd/http_server.h"
#include "net/server.h"

#include <cstdio>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

int port_of(int sock) {
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    getsockname(sock, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

} // namespace

bool open_ports(game_t& game) {
    game.listen_sock = init_socket(game.options.client_port);
    if (game.listen_sock < 0) return false;
    // A peer that disconnects before it is accepted must not block the game.
    fcntl(game.listen_sock, F_SETFL, fcntl(game.listen_sock, F_GETFL) | O_NONBLOCK);
    if (game.options.viewer_port == VIEWER_OFF) return true;
    game.viewer_sock = open_viewer_socket(game.options.viewer_port);
    return game.viewer_sock >= 0;
}

bool serve_ports(const game_t& game) {
    if (game.options.viewer_port == VIEWER_OFF) {
        printf("listening %d off\n", port_of(game.listen_sock));
    } else {
        const int port = port_of(game.viewer_sock);
        if (!serve_viewers(game.viewer_sock)) return false;
        printf("listening %d %d\n", port_of(game.listen_sock), port);
    }
    fflush(stdout);
    return true;
}
