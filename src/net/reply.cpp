#include "net/reply.h"

#include "field/clients.h"
#include "field/state.h"
#include "field/turtles.h"
#include "net/questions.h"

#include <cinttypes>
#include <cstdio>
#include <sys/socket.h>

int format_reply(int slot, int selector, char* out) {
    const int turtle = client_tab[slot].turtle_id;
    // Fetched before the query runs: a sensor's changes to its own turtle's events belong to the next reply.
    const uint32_t event = turtle_get_and_reset_eventcode(turtle);
    char value[VALUE_MAX];
    const int status = answer_question(selector, turtle, value);
    return snprintf(out, REPLY_MAX, "%s%s%s @ %" PRIu64 " %u\n", value, value[0] != '\0' ? " " : "",
                    selector >= 0 && status >= 0 ? "OK" : "ERR", signals.elapsed_time.load(), event);
}

void answer_back(int slot, int selector) {
    client_t& c = client_tab[slot];
    char line[REPLY_MAX];
    const int length = format_reply(slot, selector, line);
    if (c.send_failed != 0) return;
    if (send(c.sockfd, line, static_cast<size_t>(length), MSG_DONTWAIT | MSG_NOSIGNAL) == length) return;
    // The peer has closed or does not read. Part of a line may have been sent, so nothing more may follow.
    c.send_failed = 1;
    shutdown(c.sockfd, SHUT_RDWR);
}
