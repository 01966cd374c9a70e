// How a turtle paints and what it shows. Only the record is set here; painting reads it at the next tick.
// Caller holds frame_rendering_mutex. Only the operations that say so refuse a zombie.
#pragma once

/// Pen down: the track history collapses onto the current point, so that the next segment starts here. @return 0
int turtle_pen_down(int i);
/// Pen up; a pen that was down is marked for the brush to finish its stroke. @return 0
int turtle_pen_up(int i);
/// Pen color, components stored as given. @return 0; -1 for a zombie
int turtle_set_color(int i, double r, double g, double b);
/// Pen width in field units, stored as given. @return 0
int turtle_line_width(int i, double width);
/// The three painting modes. @return 0
int turtle_set_fill_poly(int i);
int turtle_unset_fill_poly(int i);
int turtle_set_point_mode(int i);
int turtle_unset_point_mode(int i);
int turtle_set_brush(int i);
int turtle_unset_brush(int i);
/// Text to print beside the turtle at the next frame. @return 0; -1 for a zombie or 128 bytes and more
int turtle_print_string(int i, const char* text);
/// Range of the finder in field units. @return 0; 1 for a zombie
int turtle_finder_range(int i, double range);
/// Posts at most 128 bytes to the turtle's team (0 is a team, too) and notifies every other live member.
/// @return 0; -1 when the team refuses in this frame
int turtle_broadcast_message(int i, const char* text);
