// The only random source of the program: the C library's random(), seeded once by main.
// Called with frame_rendering_mutex held (commands, frames, handlers), so that the stream has one order.
#pragma once

/// Uniform double in [0, 1], both ends included: random() / 2147483647.0.
[[nodiscard]] double drand();
