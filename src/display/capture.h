// Screen capture: the finished frame as a PNG in the operator's home directory.
// Window thread, inside the frame, before the buffers are swapped.
#pragma once

/// Writes the frame to kelmora-capture-CLOCK.png, CLOCK being signals.elapsed_time: in $HOME when that exists, else in
/// the working directory. Always 1; a failure is a line on stderr.
int field_capture_screen();
