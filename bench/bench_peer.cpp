// The two ends of a line exchange, for bench_headless.py.
//   bench_peer bot PORT LINE...    sends the lines in turn, each after an answer, until the other end closes; fd:N for
//                                  PORT: on a connection that it has been given as descriptor N
//   bench_peer echo N              waits for N bots on a free port, which it prints, and answers each line with one of
//                                  a reply's length: the cost of the exchange without any computation
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr char REPLY[] = "-99.770101 -168.747290 OK @ 149 0\n";
constexpr long ECHO_LINES = 400000; // answered before the echo server ends

void no_delay(int sock) {
    const int on = 1;
    setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int connect_to(int port) {
    const int sock = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    return connect(sock, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? sock : -1;
}

int bot(int sock, const std::vector<std::string>& lines) {
    if (sock < 0) return 1;
    no_delay(sock);
    std::array<char, 4096> answer{};
    for (;;) {
        for (const std::string& line : lines) {
            if (send(sock, line.data(), line.size(), MSG_NOSIGNAL) < 0) return 0;
            do {
                const ssize_t got = recv(sock, answer.data(), answer.size() - 1, 0);
                if (got <= 0) return 0;
                answer[static_cast<size_t>(got)] = '\0';
            } while (strchr(answer.data(), '\n') == nullptr);
        }
    }
}

int echo(int bots) {
    const int door = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(door, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(door, 10) != 0) return 1;
    getsockname(door, reinterpret_cast<sockaddr*>(&address), &size);
    printf("listening %d\n", ntohs(address.sin_port));
    fflush(stdout);
    std::vector<pollfd> peers;
    for (int k = 0; k < bots; ++k) {
        const int sock = accept(door, nullptr, nullptr);
        no_delay(sock);
        peers.push_back({.fd = sock, .events = POLLIN, .revents = 0});
    }
    std::array<char, 4096> line{};
    for (long answered = 0; answered < ECHO_LINES;) {
        poll(peers.data(), peers.size(), -1);
        for (const pollfd& peer : peers) {
            if (peer.revents == 0) continue;
            if (recv(peer.fd, line.data(), line.size(), 0) <= 0) return 0;
            send(peer.fd, REPLY, sizeof REPLY - 1, MSG_NOSIGNAL);
            ++answered;
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && strcmp(argv[1], "echo") == 0) return echo(atoi(argv[2]));
    if (argc < 4 || strcmp(argv[1], "bot") != 0) return 2;
    std::vector<std::string> lines;
    for (int k = 3; k < argc; ++k) lines.push_back(std::string(argv[k]) + "\n");
    const bool is_given = strncmp(argv[2], "fd:", 3) == 0;
    return bot(is_given ? atoi(argv[2] + 3) : connect_to(atoi(argv[2])), lines);
}
