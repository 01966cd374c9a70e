#include "field/state.h"

#include <cstring>

std::array<teaminfo_t, TEAM_MAX> teams;
std::array<coin_t, COIN_MAX> coins;
int ncoin;
int32_t stock_of_coin = COIN_MAX;
int32_t coins_gone;
std::array<card_t, CARD_MAX> cards;
std::array<int32_t, CARD_MAX> card_list;

char copyright[] = "(C) 2026 the Kelmora founders, MIT licence";

double Xmin = -256.0, Xmax = 256.0, Ymin = -256.0, Ymax = 256.0;
std::array<double, 3> bgcol;
modes_t modes;
signals_t signals;
char window_title[256];

double view_fov_angle = 55.0;
double view_rotation_angle = 0.0;

void init_teaminfo() {
    for (int k = 0; k < TEAM_MAX; ++k) {
        teams[k] = {};
        teams[k].number = static_cast<uint32_t>(k);
    }
}

void refresh_teaminfo() {
    for (teaminfo_t& team : teams) team.flags = 0;
}

void field_set_socket_error() { signals.socket_error_occurred = true; }

int bounded_length(const char* text, int size) {
    return text == nullptr || size <= 0 ? 0 : static_cast<int>(strnlen(text, static_cast<size_t>(size)));
}

void bounded_copy(char* field, const char* text, int size) {
    const int length = bounded_length(text, size);
    if (length > 0) memcpy(field, text, static_cast<size_t>(length));
    if (length < size) memset(field + length, 0, static_cast<size_t>(size - length));
}
