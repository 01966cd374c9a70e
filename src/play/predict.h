// What a player of a record works out by itself: where a plain step or turn takes a turtle that nothing stops. The
// record tells only where that is wrong. No state; any thread.
#pragma once

#include <string_view>

/// Moves (x, y) and turns `head` (degrees) as the line would if nothing were in the way. Only lines of exactly the
/// forms "f N", "b N", "t l N" and "t r N" count, N being digits with or without a sign and a fraction, at most nine of
/// each; in battle steps are cut to 2 and turns to 3, without score there are none, and no step leads across 246 on
/// either axis, where the field's edge stops a turtle. Others change nothing.
void predict_command(std::string_view line, bool battle, int score, double& x, double& y, double& head);
