// Cost of each word of kelmora.hpp: allocations, which are counted, and processor time. A child process plays the
// field. Prints one line for each word, `WORD ALLOCATIONS`, then `measured: ...`.
#include <kelmora.hpp>

#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>

// Every allocation of the process passes here, the C++ library's too.
static unsigned long taken = 0;
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
    ++taken;
    return __libc_malloc(size);
}

// Answers each line as the field would, without applying any rules.
static void play_field(int listener) {
    const int fd = accept(listener, nullptr, nullptr);
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    char in[8192];
    char out[65536];
    char line[1024];
    std::size_t held = 0;
    while (true) {
        const ssize_t n = recv(fd, in, sizeof in, 0);
        if (n <= 0) _exit(0);
        std::size_t filled = 0;
        for (ssize_t k = 0; k < n; ++k) {
            if (in[k] != '\n') {
                if (held < sizeof line - 1) line[held++] = in[k];
                continue;
            }
            line[held] = '\0';
            held = 0;
            const char* values = "";
            if (line[0] == 'q') {
                switch (line[2]) {
                case 'p':
                    values = "-123.456789 98.765432 ";
                    break;
                case 'w':
                    values = "1 0 1 ";
                    break;
                case 'f':
                case 'r':
                    values = "1 2 ";
                    break;
                case 'b':
                    values = "812 a text that is much longer than a short string ";
                    break;
                case 'z':
                    values = line[4] == 'p' ? "1.000000 2.000000 " : "1 ";
                    break;
                default:
                    values = "1 ";
                }
            }
            filled += static_cast<std::size_t>(
                std::snprintf(out + filled, sizeof out - filled, "%sOK @ 123456 %d\n", values, line[0] == 'b' ? 2 : 0));
        }
        if (send(fd, out, filled, MSG_NOSIGNAL) < 0) _exit(0);
    }
}

static double seconds(const timeval& t) { return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6; }

int main() {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in here{};
    here.sin_family = AF_INET;
    here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof here;
    if (bind(listener, reinterpret_cast<sockaddr*>(&here), size) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&here), &size) != 0) {
        std::perror("socket");
        return 1;
    }
    const pid_t field = fork();
    if (field == 0) play_field(listener);
    {
        kelmora::Turtle turtle("127.0.0.1", ntohs(here.sin_port));
        unsigned long heard = 0;
        turtle.on_turtle([&heard] { ++heard; });

        const auto count = [&](const char* word, auto call) {
            const unsigned long before = taken;
            for (int k = 0; k < 100; ++k) call(k);
            std::printf("%s %lu\n", word, taken - before);
        };
        setvbuf(stdout, nullptr, _IONBF, 0);
        count("forward", [&](int k) { turtle.forward(k / 7.0); });
        count("back_with_event", [&](int) { turtle.back(2); });
        count("left", [&](int k) { turtle.left(k); });
        count("setpos", [&](int k) { turtle.setpos(k, -k / 3.0); });
        count("setheading", [&](int k) { turtle.setheading(k * 45.5); });
        count("home", [&](int) { turtle.home(); });
        count("circle", [&](int) { turtle.circle(20, 360, 4); });
        count("pencolor_name", [&](int) { turtle.pencolor("seagreen"); });
        count("pencolor_numbers", [&](int k) { turtle.pencolor(k / 100.0, 0.5, 1); });
        count("pensize", [&](int k) { turtle.pensize(k + 1); });
        count("write", [&](int) { turtle.write("a text that is much longer than a short string"); });
        count("name", [&](int) { turtle.name("a name that is much longer than a short string"); });
        count("position", [&](int) { turtle.position(); });
        count("heading", [&](int) { turtle.heading(); });
        count("score", [&](int) { turtle.score(); });
        count("finder", [&](int) { turtle.finder(50); });
        count("sonar", [&](int) { turtle.sonar(); });
        count("radar", [&](int) { turtle.radar(2); });
        count("message", [&](int) { turtle.message(); });
        count("events", [&](int) { turtle.events(); });
        count("ask", [&](int) { turtle.ask("q b"); });
        count("broadcast", [&](int) { turtle.broadcast("a text that is much longer than a short string"); });
        count("card", [&](int k) { turtle.card(k % 52 + 1, k, k); });
        count("fire", [&](int) { turtle.fire(); });
        count("mute", [&](int) { turtle.mute("seen", "found"); });
        count("batch",
              [&](int) { turtle.batch([&] { turtle.forward(1); }); }); // may allocate: shows that the counter works
        std::printf("heard %d\n", heard >= 100 ? 0 : 1);

        constexpr int COMMANDS = 10000;
        rusage before{};
        rusage after{};
        getrusage(RUSAGE_SELF, &before);
        for (int k = 0; k < COMMANDS; ++k) turtle.forward(k % 10);
        getrusage(RUSAGE_SELF, &after);
        const double user = (seconds(after.ru_utime) - seconds(before.ru_utime)) / COMMANDS * 1e6;
        const double system = (seconds(after.ru_stime) - seconds(before.ru_stime)) / COMMANDS * 1e6;
        std::printf("measured: C++ forward %.2f us user, %.2f us system\n", user, system);
    }
    kill(field, SIGTERM);
    waitpid(field, nullptr, 0);
    return 0;
}
