// The coins at the start of a game. Caller holds frame_rendering_mutex.
#pragma once

/// All coins back to the bank, none carried, the coin map empty.
void reset_coin();
