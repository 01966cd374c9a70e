// The plain queries about one's own turtle. Caller holds frame_rendering_mutex; indices are not checked.
#pragma once

#include <cstdint>

/// @return 0; -1 with (0, 0) when the turtle is not alive
int qt_position(int i, double& x, double& y);
/// Heading in degrees as stored, not wrapped. @return 0; -1 with 0 when the turtle is not alive
int qt_direction(int i, double& dir);
/// 1 alive, 0 not. @return 0
int qt_alive(int i, int& alive);
/// Points, 0 when not alive. @return 0
int qt_score(int i, int& score);
/// Team, 0 = none. @return 0
int qt_my_team(int i, int& team);
/// Last message of the turtle's team, TEXT_BYTES bytes that may lack a terminator, and the time when it was posted.
/// @return 0
int qt_team_msg(int i, uint32_t& time, char* text);
/// Coins within reach. @return 0
int qt_n_coin(int i, int& n);
/// Coins carried. @return 0
int qt_my_coin(int i, int& n);
