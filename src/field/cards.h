// Playing cards on the field. Caller holds frame_rendering_mutex.
#pragma once

/// Takes all cards away and puts the stacking order back to 0, 1, ..., 52.
void reset_card();
void field_clear_all_cards();

/// Places card n (1 to 53) with its lower-left corner at (x, y) on top of all, or hides card -n (-53 to -1); any other
/// n does nothing.
void field_set_card(int n, double x, double y);
