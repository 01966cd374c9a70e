#include "play/setting.h"

#include "field/clients.h"
#include "field/coins.h"
#include "field/state.h"
#include "field/walls.h"
#include "game/furnish.h"
#include "game/invariants.h"
#include "game/modes.h"

#include <array>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::array<const char*, 3> MODE_NAMES{"drawing", "battle", "maze"};

} // namespace

const char* mode_name(field_mode_t mode) { return MODE_NAMES[static_cast<size_t>(mode)]; }

bool mode_of_name(const char* name, field_mode_t& mode) {
    for (size_t k = 0; k < MODE_NAMES.size(); ++k) {
        if (strcmp(name, MODE_NAMES[k]) != 0) continue;
        mode = static_cast<field_mode_t>(k);
        return true;
    }
    return false;
}

void furnish_field(const setting_t& setting) {
    srandom(setting.seed);
    for (client_t& slot : client_tab) free_client_slot(slot);
    nclient = 0;
    signals.elapsed_time = 0;
    field_kill_all_turtles();
    reset_wall();
    init_teaminfo();
    watch_invariants();
    if (setting.mode == field_mode_t::battle) field_set_battle_mode();
    if (setting.mode == field_mode_t::maze) field_set_maze_mode();
    scatter_stone(setting.stones);
    if (setting.coins > 0) field_scatter_coin(setting.coins);
}
