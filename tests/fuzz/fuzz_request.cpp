// Fuzzes the web server's input: the bytes of one connection, and the list of scripts that the operator may name. The
// first byte chooses how many turtles, walls and coins the answers contain, and whether the rest is a script list.
#include "field/coins.h"
#include "field/state.h"
#include "field/turtles.h"
#include "game/furnish.h"
#include "game/modes.h"
#include "httpd/content.h"
#include "httpd/http_server.h"
#include "turtle/lifecycle.h"

#include <cstdlib>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int REQUESTS_MAX = 20; // per input

// Names, scores and places that are hard to print.
void furnish(unsigned char kind) {
    srandom(kind);
    field_kill_all_turtles();
    reset_wall();
    if ((kind & 1) != 0) generate_maze();
    if ((kind & 2) != 0) field_scatter_coin(20);
    for (int n = 0; n < (kind >> 2 & 7); ++n) {
        const int i = generate_turtle(-1, 0);
        if (i < 0) break;
        for (int k = 0; k < TEXT_BYTES; ++k) ttl[i].name[k] = static_cast<char>(random());
        if (n == 1) ttl[i].pos[0] = {1e308, -1e308};
        if (n == 2) ttl[i].dir = 0.0 / static_cast<double>(ttl[i].n_painted);
    }
}

void read_all(int sock) {
    char bytes[16384];
    while (recv(sock, bytes, sizeof bytes, MSG_DONTWAIT) > 0) {
    }
}

void serve(const unsigned char* data, size_t size) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return;
    if (size > 0) (void)!send(ends[1], data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    shutdown(ends[1], SHUT_WR);
    for (int n = 0; n < REQUESTS_MAX && handle_request(ends[0]) > 0; ++n) read_all(ends[1]);
    close(ends[0]);
    close(ends[1]);
}

void name_scripts(const std::string& list) {
    set_jscript_src(list.c_str());
    char* const page = generate_html();
    if (page != nullptr && bounded_length(page, HTML_MAX + 1) > HTML_MAX) abort();
    free(page);
    set_jscript_src(" "); // the defaults again
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    if (size == 0) return 0;
    if ((data[0] & 0x80) != 0) {
        name_scripts({reinterpret_cast<const char*>(data + 1), size - 1});
        return 0;
    }
    furnish(data[0]);
    serve(data + 1, size - 1);
    return 0;
}
