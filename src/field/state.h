// Tables and flags that every turtle shares: teams, coins, cards, bounds, modes, display flags, clock.
// Commands, frames, menu and key handlers hold frame_rendering_mutex; HTTP threads read without it.
// What threads share outside that lock are the atomics of `signals`.
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
    uint32_t message_time; // signals.elapsed_time of the last broadcast, cut to 32 bits
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
extern int32_t stock_of_coin; // the bank; scattering several coins may take it below zero
// Coins lost since the last reset: a reused slot and a reset turtle start with none, and the coins carried before do
// not go back to the bank. Bank, field, carried coins and these add up to COIN_MAX.
extern int32_t coins_gone;
extern std::array<card_t, CARD_MAX> cards;
extern std::array<int32_t, CARD_MAX> card_list; // stacking order of card indices, most recently placed first

extern char copyright[]; // banner line and help screen

extern double Xmin, Xmax, Ymin, Ymax; // the field's edges, field units

extern std::array<double, 3> bgcol; // the background color, 0 to 1, not clamped

// How the field is played and shown. Guarded by frame_rendering_mutex.
struct modes_t {
    bool battle_mode;       // turtles fight; else they draw
    bool maze_mode;         // new turtles start in the maze's entrance
    bool bounded_area_mode; // walls stop steps
    bool bird_view_mode;    // the tilted camera; else straight from above
    bool disp_help, disp_score, disp_name;
};
extern modes_t modes;

// The variables that threads share without the lock.
struct signals_t {
    // The painted layer must be wiped. Set by holders of the lock, and by keys; reset by the frame, under the lock.
    std::atomic<bool> wipe_requested{false};
    // Only 127.0.0.1 may connect. The first is for browsers, the second for programs; each is read at each accept. A
    // stale value admits or refuses one connection late.
    std::atomic<bool> private_mode{true}, accept_only_localhost{true};
    std::atomic<bool> menuitem_need_to_change{false}; // the timer rewrites the window's title, at most a tick late
    std::atomic<bool> capture_screen{false};          // the next frame writes a PNG
    std::atomic<bool> socket_error_occurred{false};   // a server could not open its port; never cleared
    std::atomic<uint64_t> elapsed_time{0};            // timer ticks; written by one thread only, read by all
};
extern signals_t signals;

extern char window_title[256]; // "Kelmora @ host", written once at start-up

extern double view_fov_angle;      // degrees, 15 to 60; window thread only
extern double view_rotation_angle; // degrees, -180 to 180; window thread only

/// Numbers the five teams and empties their messages, times and flags.
void init_teaminfo();

/// Clears the flags word of every team; once per frame.
void refresh_teaminfo();

/// A server could not open its port: from now on every frame shows the warning. Any thread.
void field_set_socket_error();

/// Length of a text field that may lack a terminator: at most `size` bytes are read. Null counts as empty.
[[nodiscard]] int bounded_length(const char* text, int size);

/// Copies at most `size` bytes of `text` and fills the rest of the field with zeros; a text of `size` bytes or more
/// leaves no terminator in it.
void bounded_copy(char* field, const char* text, int size);
