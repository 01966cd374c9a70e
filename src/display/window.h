// The window: start-up of the field, pop-up menu, keys, and the loop whose ticks are the clock of the simulation.
// Every callback runs on the window thread; handlers that change shared tables hold frame_rendering_mutex.
#pragma once

#include <cstdint>

/// Opens the window, resets the field, starts both servers and runs the event loop. Does not return.
/// @param argc, argv  the program's own, unchanged
[[noreturn]] void field_start(int argc, char** argv);

/// The steps of field_start that need the GL context and nothing else: canvas texture, light, blending, viewport.
void prepare_drawing();

/// Fills window_title with "Kelmora @ " and the host's name, cut where it does not fit, or "???" where it has none.
void write_window_title();

/// Makes the pop-up menu and hangs it on the right mouse button.
void create_menu();

/// GLUT callbacks. A menu value or key without a meaning changes nothing.
void menufunc(int value);
void keyboardfunc(unsigned char key, int x, int y);
/// Puts the window back to its fixed size.
void reshapefunc(int width, int height);

/// One tick: advances elapsed_time, asks for a frame, and titles the window when that is due.
/// @return after how many ns the next one is due: 8 ms while anything can move, else 80 ms
[[nodiscard]] int64_t on_tick();

/// Titles the window after private_mode and clears menuitem_need_to_change.
void change_menuitem();
