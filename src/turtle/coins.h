// Coins that a turtle carries, and the doughnuts it makes. Caller holds frame_rendering_mutex.
#pragma once

/// Makes a doughnut at a random free place. @return 0; -1 when the turtle has made DOUGHNUT_QUOTA or no place was found
int turtle_generate_doughnut(int i);
/// Borrows ten coins from the bank. @return 0; -1 when the bank holds fewer
int turtle_borrow_coin(int i);
/// Drops one carried coin. @return 0; -1 when the turtle carries none or every coin slot is on the field
int turtle_drop_coin(int i);
/// Picks the nearest coin within reach; none in reach is not an error. @return 0
int turtle_pick_coin(int i);
