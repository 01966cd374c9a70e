// The bank and the coins on the field. Caller holds frame_rendering_mutex.
#pragma once

/// All coins back to the bank, none carried, the coin map empty.
void reset_coin();

/// Lays up to `n` coins at random places (x, then y), ranks above all others; one at least, as the count is tested
/// after a coin was placed. @return 0, also when slots ran out; -1 when the bank was empty before
int field_scatter_coin(int n);
