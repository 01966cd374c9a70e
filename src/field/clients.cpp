#include "field/clients.h"

#include "field/state.h"

#include <atomic>

namespace {

constexpr std::array<client_t, MAX_CLIENT> all_free() {
    std::array<client_t, MAX_CLIENT> table{};
    for (client_t& slot : table) slot.sockfd = slot.turtle_id = -1;
    return table;
}

} // namespace

constinit std::array<client_t, MAX_CLIENT> client_tab = all_free();
int32_t nclient;
std::mutex frame_rendering_mutex;

void free_client_slot(client_t& slot) {
    slot.sockfd = -1;
    slot.turtle_id = -1;
    slot.recv_buf[0] = '\0';
    slot.recv_len = 0;
    slot.frame_cmd_count = 0;
    slot.skipping_line = 0;
    slot.first_line = {};
    slot.send_failed = 0;
    std::atomic_ref(slot.disconnect_request).store(0);
}

void disconnect_client_for(int turtle, int slot) {
    if (slot < 0 || slot >= MAX_CLIENT || client_tab[slot].turtle_id != turtle) return;
    std::atomic_ref(client_tab[slot].disconnect_request).store(1);
}

bool toggle_localhost_mode() {
    const bool only = !signals.accept_only_localhost;
    signals.accept_only_localhost = only;
    return only;
}

void rendering_started() { frame_rendering_mutex.lock(); }

void rendering_is_done() {
    for (client_t& c : client_tab) c.frame_cmd_count = 0;
    frame_rendering_mutex.unlock();
}
