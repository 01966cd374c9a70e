// Image files: the rendered frame as a PNG, and a binary PPM as a pixel buffer.
// saveImageToPNG runs on the window thread (it reads the back buffer); readPPMToImage touches no GL.
// A failure is at most one line on stderr and never ends the process; no path leaks a file or memory.
#pragma once

/// Writes the lower-left width x height pixels of the back buffer as an 8-bit RGB PNG, top row first, with the text
/// entries Author, Software, Source (the host) and Description (the time). An incomplete file is removed again; an
/// existing file of this name that is not a regular one is not touched.
void saveImageToPNG(unsigned width, unsigned height, const char* path);

// A picture in memory, rows without gaps.
struct raster_t {
    const unsigned char* pixels; // four bytes each
    int width, height;           // pixels, above 0
    bool has_alpha;              // false: the fourth byte is unused, and the file has no alpha
    bool blue_first;             // blue, green, red; else red, green, blue
    bool bottom_up;              // the first row is the lowest
};

/// Writes a picture as an 8-bit PNG, with fast rather than strong compression. Any thread; no GL.
/// @return whether the file is complete; if not, it has been removed
[[nodiscard]] bool write_raster_png(const raster_t& raster, const char* path);

inline constexpr int PPM_MAX_SIDE = 8192; // pixels; a wider or higher picture is refused

/// Reads a binary PPM (P6) of 8-bit samples, turned by 180 degrees: pixel i of the file lands at place N - 1 - i.
/// @param[out] width, height  pixels, 1..PPM_MAX_SIDE; untouched when null is returned
/// @return width * height * 4 bytes from malloc, of which the first width * height * 3 are filled (R, G, B); the caller
/// frees them; samples missing at the end of the file are 255. Null when the file cannot be opened, is not a P6, or has
/// no valid size.
[[nodiscard]] unsigned char* readPPMToImage(const char* path, int* width, int* height);
