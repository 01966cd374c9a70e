// The window: start-up of the field, pop-up menu, keys, and the loop whose ticks are the clock of the simulation.
// Every callback runs on the window thread; handlers that change shared tables hold frame_rendering_mutex.
#pragma once

#include <cstdint>

/// Opens the window, resets the field, starts both servers and runs the event loop. Does not return.
/// @param argc, argv  the program's own, unchanged
[[noreturn]] void field_start(int argc, char** argv);

/// Makes Mesa's software renderer draw in the calling thread, unless LP_NUM_THREADS is set already. Its worker threads
/// sometimes unlock a fence that the window thread has already freed (it checks without a lock whether all are done),
/// which writes four zero bytes into memory that is no longer theirs (seen in 22.3.6). Other drivers ignore the
/// variable. Call before GLUT is initialised and while this is the only thread.
void do_without_driver_threads();

/// The steps of field_start that need only the GL context: canvas texture, light, blending, viewport.
void prepare_drawing();

/// Fills window_title with "Kelmora @ " and the host's name, cut where it does not fit, or "???" where it has none.
void write_window_title();

/// Creates the pop-up menu and attaches it to the right mouse button.
void create_menu();

/// GLUT callbacks. A menu value or key without a meaning changes nothing.
void menufunc(int value);
void keyboardfunc(unsigned char key, int x, int y);
/// Puts the window back to its fixed size.
void reshapefunc(int width, int height);

/// One tick: advances signals.elapsed_time, asks for a frame, and updates the title when needed.
/// @return after how many ns the next one is due: 8 ms while anything can move, else 80 ms
[[nodiscard]] int64_t on_tick();

/// Titles the window after signals.private_mode and clears signals.menuitem_need_to_change.
void change_menuitem();
