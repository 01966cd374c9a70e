// Modes, display toggles and the operations on all turtles at once. Caller holds frame_rendering_mutex.
// Mode changes are logged with one line.
#pragma once

/// Frees every turtle slot, asks the server thread to drop the owning clients (but for the very first call, made at
/// start-up), and resets coins and cards.
void field_kill_all_turtles();
/// Frees the slots of all zombies.
void field_clear_zombie();
/// field_clear_zombie and field_clear.
void field_clear_all_turtles();
/// The painted layer is wiped at the next frame.
void field_clear();
/// Background color, components 0 to 1; wipes the painted layer.
void field_set_color(double r, double g, double b);

/// Display toggles. @return 0
int field_set_disp_help();
int field_unset_disp_help();
int field_toggle_disp_help();
int field_toggle_disp_score();
int field_toggle_disp_name();
int field_toggle_bird_view_mode();
int field_toggle_bounded_area_mode();

/// Set the flag to v (0 or 1). @return 0 when that changed it, 1 when it was so already
int field_set_boundary_mode(int v);
int field_set_disp_name(int v);
int field_set_disp_score(int v);

/// @return 0
int field_set_battle_mode();
int field_unset_battle_mode();
int field_toggle_battle_mode();
int field_set_maze_mode();
int field_unset_maze_mode();
int field_toggle_maze_mode();
int field_toggle_private_mode();
