// Coins in a turtle's hands, and the doughnuts it makes. Caller holds frame_rendering_mutex.
#pragma once

/// A doughnut at a random free place. @return 0; -1 when the turtle has made DOUGHNUT_QUOTA or no place was found
int turtle_generate_doughnut(int i);
/// Ten coins from the bank. @return 0; -1 when the bank holds fewer
int turtle_borrow_coin(int i);
/// One carried coin onto the field. @return 0; -1 when the turtle carries none or every coin slot is on the field
int turtle_drop_coin(int i);
/// The nearest coin within reach into the turtle's hands; an empty place is no error. @return 0
int turtle_pick_coin(int i);
