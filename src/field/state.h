// Tables and flags that every turtle shares: teams, coins, cards, bounds, modes, display flags, clock.
// Commands, frames, menu and key handlers hold frame_rendering_mutex; HTTP threads read without it.
// A word that is touched outside that lock is a std::atomic; its comment says what a stale read costs.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <type_traits>

inline constexpr int TEAM_MAX = 5;     // teams 0 to 4; team 0 is the board of those without a team
inline constexpr int COIN_MAX = 300;   // coins that exist
inline constexpr int CARD_MAX = 53;    // four suits of 13 and one further card
inline constexpr int TEXT_BYTES = 128; // bytes of a name, a message or a team message; may lack a terminator

inline constexpr uint32_t ON_FIELD = 0x1000000; // coin_t::flags, card_t::flags: it lies on the field

struct teaminfo_t {
    uint32_t number;       // its index
    char message[260];     // last broadcast, at most TEXT_BYTES of it; may lack a terminator there
    uint32_t message_time; // elapsed_time of the last broadcast, cut to 32 bits
    uint32_t flags;        // TEAM_REFUSES; cleared once per frame
};
inline constexpr uint32_t TEAM_REFUSES = 0x1; // teaminfo_t::flags: no further broadcast in this frame

struct coin_t {
    int32_t number; // its index
    double x, y;    // field units
    int32_t ord;    // rank by placement among the coins on the field, 0 oldest, dense; -1 off the field
    coin_t* next;   // next coin in the same cell of the coin map; null at the end and off the field
    uint32_t flags; // ON_FIELD
};

struct card_t {
    uint32_t index; // card number - 1
    double x, y;    // lower-left corner, field units
    uint32_t flags; // ON_FIELD
};
static_assert(std::is_trivially_copyable_v<teaminfo_t> && std::is_trivially_copyable_v<coin_t> &&
              std::is_trivially_copyable_v<card_t>);

extern std::array<teaminfo_t, TEAM_MAX> teams;
extern std::array<coin_t, COIN_MAX> coins;
extern int ncoin;             // one past the highest coin slot filled since the last reset
extern int32_t stock_of_coin; // the bank; a scatter of several coins may take it below zero
// Coins that went with a turtle since the last reset: a slot that is used again, and a turtle that is reset, starts
// with none, and what it carried does not go back to the bank. Bank, field, hands and these make up COIN_MAX.
extern int32_t coins_gone;
extern std::array<card_t, CARD_MAX> cards;
extern std::array<int32_t, CARD_MAX> card_list; // stacking order of card indices, most recently placed first

extern char copyright[]; // banner line and help screen

extern double Xmin, Xmax, Ymin, Ymax; // the field's edges, field units

// The background colour, 0 to 1. The frame reads it before it takes the lock; a stale read costs nothing because the
// command that changes it clears field_cleared afterwards.
extern std::array<std::atomic<double>, 3> bgcol;

// 0: the painted layer must be wiped at the next frame, which sets it to 1 again.
extern std::atomic<int32_t> field_cleared;
// Read by the frame before it takes the lock (which background to wipe to); the mode change clears field_cleared.
extern std::atomic<int32_t> battle_mode;
extern int32_t maze_mode, bounded_area_mode, bird_view_mode;
extern int32_t disp_help, disp_score, disp_name;
// Read by the HTTP thread at each accept: a stale value admits or refuses one viewer late.
extern std::atomic<int32_t> private_mode;
extern std::atomic<int32_t> menuitem_need_to_change; // the timer rewrites the window's title, at most a tick late
extern std::atomic<int32_t> capture_screen;          // the next frame writes a PNG
extern std::atomic<int32_t> socket_error_occurred;   // a server could not open its port; never cleared
extern std::atomic<uint64_t> elapsed_time;           // timer ticks; written by the window thread only
extern char window_title[256];                       // "Kelmora @ host", written once at start-up

extern double view_fov_angle;      // degrees, 15 to 60; window thread only
extern double view_rotation_angle; // degrees, -180 to 180; window thread only

/// Numbers the five teams and empties their messages, times and flags.
void init_teaminfo();

/// Clears the flags word of every team; once per frame.
void refresh_teaminfo();

/// A server could not open its port: from now on every frame shows the warning. Any thread.
void field_set_socket_error();

/// Length of a text field that may lack a terminator: at most `size` bytes are looked at. Null counts as empty.
[[nodiscard]] int bounded_length(const char* text, int size);

/// Copies at most `size` bytes of `text` and fills the rest of the field with zeros; a text of `size` bytes or more
/// leaves no terminator in it.
void bounded_copy(char* field, const char* text, int size);
