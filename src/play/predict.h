// Predictions of a record's reader: the effect of a plain step or turn without obstacles. The record contains only
// corrections. No state; any thread.
#pragma once

#include <string_view>

/// Moves (x, y) and turns `head` (degrees) as the line would without obstacles. Only lines of exactly the forms "f N",
/// "b N", "t l N" and "t r N" count, where N is digits with or without a sign and a fraction, at most nine of each; in
/// battle steps are cut to 2 and turns to 3, without score there are none, and no step crosses 246 on either axis,
/// where the field's edge stops a turtle. Other lines change nothing.
void predict_command(std::string_view line, bool battle, int score, double& x, double& y, double& head);
