// Finding a slot and a place: new turtles, placed objects, reset and home. Caller holds frame_rendering_mutex.
#pragma once

#include <cstdint>

/// A new turtle for client slot `client_id` (-1: ownerless) at a random free place, in the lowest free slot.
/// In maze mode everything but an object starts in the maze's entrance corner, heading 0.
/// @param extra_flags  TTL_* bits that the new turtle gets besides its own
/// @return its index; -1 when no slot is free or none of 20 random places was (a 21st is drawn but never taken)
int generate_turtle(int client_id, uint32_t extra_flags);

/// Places an ownerless object. @param flags  the TTL_* bit of its kind
/// @return 0; -1 when no slot is free or a live turtle stands at 20 or less
int set_object_at(uint32_t flags, double x, double y);

/// A fresh turtle at the centre, if `client_id` owns it. @return 0; 1 in battle mode or for a zombie
int turtle_reset(int i, int client_id);

/// Back to the centre, heading 0; the oldest point of the track stays. @return 0; 1 in battle mode or for a zombie
int turtle_home(int i);
