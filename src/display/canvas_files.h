// The painting and the cards as files in a folder, for pages and projectors: canvas.png, cards.json, and once
// cards.png, the sheet. Off unless a folder is named. The window thread copies, a thread of this file's own encodes and
// writes; each file is written beside its place and then moved there, so that a reader always finds a whole one.
#pragma once

/// Names the folder. Before start_canvas_files; the text has to stay. Null, as at first: no files.
void set_canvas_folder(const char* folder);

/// Writes the sheet and starts the thread, where a folder is named. Failures are told on standard error, and the field
/// goes on.
void start_canvas_files();

/// Hands over what has changed, when the last time is a quarter of a second ago or more and that has been written.
/// Window thread, in each frame after the canvas was painted, with frame_rendering_mutex held.
/// @param painted  whether this frame has painted on the canvas
void offer_canvas_files(bool painted);
