// The painting and the cards as files in a folder, for pages and projectors: canvas.png, cards.json, and once
// cards.png, the sheet. Off unless a folder is named. The window thread copies; a thread of this file encodes and
// writes. Each file is written under a temporary name and renamed, so that readers always find a complete one.
#pragma once

/// Names the folder. Call before start_canvas_files; the text must stay valid. Null, the default: no files.
void set_canvas_folder(const char* folder);

/// Writes the sheet and starts the thread, if a folder is named. Failures are logged, and the field goes on.
void start_canvas_files();

/// Hands over changes when the last ones have been written and are a quarter of a second old or more.
/// Window thread, in each frame after the canvas was painted, with frame_rendering_mutex held.
/// @param painted  whether this frame has painted on the canvas
void offer_canvas_files(bool painted);
