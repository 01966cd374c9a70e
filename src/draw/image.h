// Image files: the rendered frame as a PNG, and a binary PPM as a pixel buffer.
// saveImageToPNG runs on the window thread (it reads the back buffer); readPPMToImage touches no GL.
// A failure is one line on stderr at most and never ends the process; no path keeps a file or memory.
#pragma once

/// Writes the lower-left width x height pixels of the back buffer as an 8-bit RGB PNG, top row first, with the text
/// entries Author, Software, Source (the host) and Description (the time). A file that could not be completed is
/// removed again; what bears the name and is no regular file is left alone.
void saveImageToPNG(unsigned width, unsigned height, const char* path);

// A picture in memory, rows without gaps.
struct raster_t {
    const unsigned char* pixels; // four bytes each
    int width, height;           // pixels, above 0
    bool has_alpha;              // false: the fourth byte means nothing, and the file has none
    bool blue_first;             // blue, green, red; else red, green, blue
    bool bottom_up;              // the first row is the lowest
};

/// Writes a picture as an 8-bit PNG, quickly rather than small. Any thread; no GL.
/// @return whether the file is complete; if not, nothing is left of it
[[nodiscard]] bool write_raster_png(const raster_t& raster, const char* path);

inline constexpr int PPM_MAX_SIDE = 8192; // pixels; a wider or higher picture is refused

/// Reads a binary PPM (P6) of 8-bit samples, turned by 180 degrees: pixel i of the file lands at place N - 1 - i.
/// @param[out] width, height  pixels, 1..PPM_MAX_SIDE; untouched when null is returned
/// @return width * height * 4 bytes from malloc, of which the first width * height * 3 are filled (R, G, B); the
///         caller frees them; samples that the file is too short for are 255. Null when the file cannot be opened, is
///         no P6, or has no sensible size.
[[nodiscard]] unsigned char* readPPMToImage(const char* path, int* width, int* height);
