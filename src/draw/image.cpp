#include "draw/image.h"

#include <algorithm>
#include <climits>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>

#include <fcntl.h>
#include <GL/gl.h>
#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/log.h"
#include "field/state.h"

namespace {

struct file_closer_t {
    void operator()(FILE* file) const { fclose(file); }
};
using file_guard = std::unique_ptr<FILE, file_closer_t>;

struct heap_freer_t {
    void operator()(unsigned char* bytes) const { free(bytes); }
};
using bytes_guard = std::unique_ptr<unsigned char, heap_freer_t>;

constexpr int CHANNELS = 3; // red, green, blue

// The text entries of a capture.
struct capture_notes_t {
    char author[32];
    char host[128];
    char when[32];
};

// The picture as read from GL, bottom row first, and its rows from the top down.
struct capture_pixels_t {
    std::unique_ptr<unsigned char[]> bytes;
    std::unique_ptr<png_bytep[]> rows;
};

capture_notes_t take_notes() {
    capture_notes_t notes = {};
    const char* user = getenv("USER");
    if (user) bounded_copy(notes.author, user, sizeof notes.author - 1);
    // A host name that was cut need not be terminated.
    if (gethostname(notes.host, sizeof notes.host) != 0) notes.host[0] = '\0';
    notes.host[sizeof notes.host - 1] = '\0';
    const time_t now = time(nullptr);
    if (!ctime_r(&now, notes.when)) notes.when[0] = '\0';
    notes.when[strcspn(notes.when, "\n")] = '\0';
    return notes;
}

// GL starts each row at a multiple of four bytes (its default packing).
size_t packed_row(size_t width) { return (width * CHANNELS + 3) / 4 * 4; }

// False when the size is beyond what GL can read or memory can hold.
bool read_back_buffer(unsigned width, unsigned height, capture_pixels_t& pixels) {
    GLint limit[2] = {};
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, limit);
    if (width == 0 || height == 0 || width > static_cast<unsigned>(std::max(limit[0], 0)) ||
        height > static_cast<unsigned>(std::max(limit[1], 0)))
        return false;
    pixels.bytes.reset(new (std::nothrow) unsigned char[size_t{width} * height * 4]());
    pixels.rows.reset(new (std::nothrow) png_bytep[height]);
    if (!pixels.bytes || !pixels.rows) return false;
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), GL_RGB, GL_UNSIGNED_BYTE,
                 pixels.bytes.get());
    for (size_t r = 0; r < height; ++r) pixels.rows[r] = pixels.bytes.get() + (height - 1 - r) * packed_row(width);
    return true;
}

// libpng calls these instead of printing its own messages; the caller prints the one line about a failure.
void fail_quietly(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void warn_quietly(png_structp, png_const_charp) {}

void attach_notes(png_structp png, png_infop info, capture_notes_t& notes) {
    char author_key[] = "Author", software_key[] = "Software", source_key[] = "Source", time_key[] = "Description";
    char software[] = "kelmora for Velmark by RQ";
    png_text texts[4] = {};
    const auto fill = [](png_text& entry, char* key, char* text) {
        entry.compression = PNG_TEXT_COMPRESSION_zTXt;
        entry.key = key;
        entry.text = text;
        entry.text_length = strlen(text);
    };
    fill(texts[0], author_key, notes.author);
    fill(texts[1], software_key, software);
    fill(texts[2], source_key, notes.host);
    fill(texts[3], time_key, notes.when);
    png_set_text(png, info, texts, 4); // copies them
}

// An error inside libpng returns to the setjmp; nothing with a destructor lives in this function or in what it calls
// below libpng, so no destructor is skipped.
bool encode(png_structp png, png_infop info, FILE* file, unsigned width, unsigned height, capture_notes_t& notes,
            png_bytep* rows) {
    if (setjmp(png_jmpbuf(png))) return false;
    attach_notes(png, info, notes);
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, rows);
    png_write_end(png, info);
    return true;
}

// Creates a regular file, replacing one of the same name. Anything else with this name is not touched: opening a pipe
// would wait for its reader, a device would take the data, a link leads elsewhere.
// @return null when it cannot be created
file_guard create_file(const char* path) {
    struct stat info = {};
    if (lstat(path, &info) == 0 && S_ISREG(info.st_mode)) unlink(path);
    const int fd = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) return nullptr;
    file_guard file(fdopen(fd, "wb"));
    if (!file) close(fd);
    return file;
}

// Whether there is something with this name that could be opened and is not: a pipe, a device, a link.
bool is_refused(const char* path) {
    struct stat info = {};
    return lstat(path, &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode);
}

// Removes a partial file.
void discard(file_guard file, const char* path) {
    file.reset();
    unlink(path);
}

// As encode above.
bool encode_raster(png_structp png, png_infop info, FILE* file, const raster_t& raster) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_init_io(png, file);
    png_set_compression_level(png, 1);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE); // the picture consists of plain areas
    png_set_IHDR(png, info, static_cast<png_uint_32>(raster.width), static_cast<png_uint_32>(raster.height), 8,
                 raster.has_alpha ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    if (!raster.has_alpha) png_set_filler(png, 0, PNG_FILLER_AFTER); // drops the fourth bytes
    if (raster.blue_first) png_set_bgr(png);
    const size_t row_bytes = static_cast<size_t>(raster.width) * 4;
    for (int row = 0; row < raster.height; ++row) {
        const int from = raster.bottom_up ? raster.height - 1 - row : row;
        png_write_row(png, raster.pixels + static_cast<size_t>(from) * row_bytes);
    }
    png_write_end(png, info);
    return true;
}

constexpr int PPM_LINE = 256;       // bytes of a header line that are used
constexpr int MISSING_SAMPLE = 255; // value of samples beyond the end of the file

// One header line; what does not fit is skipped. False at the end of the file.
bool read_line(FILE* file, char (&line)[PPM_LINE]) {
    if (!fgets(line, PPM_LINE, file)) return false;
    if (strchr(line, '\n') || strlen(line) < PPM_LINE - 1) return true;
    for (int c = getc(file); c != EOF && c != '\n'; c = getc(file)) {
    }
    return true;
}

// Scans a decimal number and advances past it; false (and `value` unchanged) without one that fits.
bool scan_number(const char*& text, int& value) {
    char* end = nullptr;
    const long number = strtol(text, &end, 10);
    if (end == text || number < INT_MIN || number > INT_MAX) return false;
    text = end;
    value = static_cast<int>(number);
    return true;
}

bool side_is_sensible(int side) { return side >= 1 && side <= PPM_MAX_SIDE; }

} // namespace

void saveImageToPNG(unsigned width, unsigned height, const char* path) {
    file_guard file = create_file(path);
    if (!file) {
        if (is_refused(path)) {
            log_line("saveImageToPNG: cannot write file:%s", path);
        } else {
            log_line("saveImageToPNG: cannot open file:%s", path);
        }
        return;
    }
    // libpng accepts only the version string of the headers it was built with.
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail_quietly, warn_quietly);
    if (!png) {
        log_line("saveImageToPNG: cannot create png_ptr");
        discard(std::move(file), path);
        return;
    }
    png_infop info = png_create_info_struct(png);
    capture_notes_t notes = take_notes();
    capture_pixels_t pixels;
    const bool encoded = info && read_back_buffer(width, height, pixels) &&
                         encode(png, info, file.get(), width, height, notes, pixels.rows.get());
    png_destroy_write_struct(&png, &info);
    // The last bytes reach the disk only here, so a full disk may be reported only here.
    const bool flushed = encoded && fflush(file.get()) == 0;
    if (flushed) return;
    log_line("saveImageToPNG: cannot write file:%s", path);
    discard(std::move(file), path);
}

bool write_raster_png(const raster_t& raster, const char* path) {
    file_guard file = create_file(path);
    if (!file) return false;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail_quietly, warn_quietly);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool encoded = info && encode_raster(png, info, file.get(), raster);
    png_destroy_write_struct(&png, &info);
    if (encoded && fflush(file.get()) == 0) return true;
    discard(std::move(file), path);
    return false;
}

unsigned char* readPPMToImage(const char* path, int* width, int* height) {
    const file_guard file(fopen(path, "r"));
    if (!file) {
        log_line("cannot open file:%s", path);
        return nullptr;
    }
    char line[PPM_LINE] = {};
    if (!read_line(file.get(), line) || line[0] != 'P' || line[1] != '6') return nullptr;
    do {
        if (!read_line(file.get(), line)) return nullptr;
    } while (line[0] == '#');
    const char* sizes = line;
    int w = 0, h = 0;
    if (!scan_number(sizes, w) || !scan_number(sizes, h)) return nullptr;
    if (!side_is_sensible(w) || !side_is_sensible(h)) return nullptr;

    // The maximum is only reported: samples are read as single bytes whatever it is.
    int maximum = 0;
    if (!read_line(file.get(), line)) return nullptr;
    const char* rest = line;
    if (!scan_number(rest, maximum)) maximum = 0;

    const size_t count = static_cast<size_t>(w) * static_cast<size_t>(h);
    bytes_guard image(static_cast<unsigned char*>(malloc(count * 4)));
    if (!image) return nullptr;
    *width = w;
    *height = h;
    printf("reading:%s width:%d height %d max:%d\n", path, w, h, maximum);
    fflush(stdout);
    const size_t there = fread(image.get(), 1, count * CHANNELS, file.get());
    memset(image.get() + there, MISSING_SAMPLE, count * CHANNELS - there);
    for (size_t i = 0, k = count - 1; i < k; ++i, --k) {
        std::swap_ranges(image.get() + i * CHANNELS, image.get() + (i + 1) * CHANNELS, image.get() + k * CHANNELS);
    }
    return image.release();
}
