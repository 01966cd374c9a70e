// One frame: the painted canvas is brought up to date, then the scene is drawn over it. A frame is also one step of the
// simulation: beams, deaths, robots and coin events advance once per call. Window thread.
#pragma once

/// Everything of one frame but showing it: the picture stands in the back buffer. Holds frame_rendering_mutex from
/// before the first table is read until the frame is finished, so that commands run between frames only.
void draw_frame();

/// GLUT display callback: draws a frame and shows it.
void display();
