// Firing a beam; ticks move it. Caller holds frame_rendering_mutex.
#pragma once

/// Starts a beam at the turtle's place and heading, for one point; allowed in every mode.
/// @return 0 fired, or silently not because a beam is in flight or the pause after the last one lasts;
///         -1 not alive, a zombie, or without points
int turtle_fire(int i);
