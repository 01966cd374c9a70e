// Build step: reads the committed PNG files and writes images.h and images.cpp, the arrays compiled into the program.
// Runs on the machine that builds, single thread; never part of the program itself.
// Every array's size is fixed by the code that uses it: a picture of another size or form stops the build.

#include <png.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

using bytes_t = std::vector<unsigned char>;

namespace {

constexpr size_t CARDS_CODED = 824136; // bytes behind the sheet's header; shorter codings are split up to it
constexpr size_t PIXEL = 4;            // bytes of one RGBA pixel
constexpr size_t COUNT_MAX = 127;      // most pixels that one count byte covers, as literals or as a run
constexpr unsigned RUN_BIT = 0x80;     // set in the count byte of a run

enum class form { rgba, rgb, file, cards };

struct picture_t {
    std::string array; // name of the array; with ".png" added also that of the file
    form kind;
    unsigned width;  // pixels
    unsigned height; // pixels
    size_t size;     // bytes of the finished array
};

// rgba and rgb: samples, top row first, then one NUL. file: the PNG itself. cards: header and run-length code.
const picture_t PICTURES[] = {
    {"background_image200x200", form::rgb, 200, 200, 200 * 200 * 3 + 1},
    {"gimp_cards_image", form::cards, 1158, 600, 12 + CARDS_CODED},
    {"png_img0", form::file, 64, 64, 4240},
    {"png_img1", form::file, 64, 64, 4896},
    {"png_img2", form::file, 64, 64, 3326},
    {"png_img3", form::file, 64, 64, 4181},
    {"png_img4", form::file, 64, 64, 3319},
    {"png_img5", form::file, 32, 32, 481},
    {"png_img6", form::file, 32, 32, 691},
    {"png_img7", form::file, 64, 64, 11961},
};

// A stretch of pixels under one count byte.
struct stretch_t {
    size_t first;  // index of its first pixel
    size_t length; // pixels, 1..COUNT_MAX
    bool run;      // one pixel repeated, else literals
};

struct file_closer {
    FILE* f;
    explicit file_closer(FILE* opened) : f(opened) {}
    ~file_closer() {
        if (f) fclose(f);
    }
    file_closer(const file_closer&) = delete;
    file_closer& operator=(const file_closer&) = delete;
};

} // namespace

/// The pictures of the table, and one for every icon NAME_image32x32.png in the folder.
static std::vector<picture_t> list_pictures(const std::string& folder) {
    std::vector<picture_t> pictures(std::begin(PICTURES), std::end(PICTURES));
    std::error_code failed;
    for (const auto& file : std::filesystem::directory_iterator(folder, failed)) {
        if (!file.path().filename().string().ends_with("_image32x32.png")) continue;
        pictures.push_back({file.path().stem().string(), form::rgba, 32, 32, 32 * 32 * 4 + 1});
    }
    // Whatever the order in the folder, every build writes the same files.
    std::sort(pictures.begin(), pictures.end(), [](const auto& a, const auto& b) { return a.array < b.array; });
    return pictures;
}

static bool read_file(const std::string& path, bytes_t& out) {
    const file_closer in(fopen(path.c_str(), "rb"));
    if (!in.f) return false;
    unsigned char block[4096];
    size_t n = 0;
    while ((n = fread(block, 1, sizeof block, in.f)) > 0) out.insert(out.end(), block, block + n);
    return !ferror(in.f);
}

/// Pixels of the PNG at `path`, top row first, 3 or 4 bytes each; false when it cannot be read or has another size.
static bool read_pixels(const std::string& path, const picture_t& p, bytes_t& out) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
    if (image.width != p.width || image.height != p.height) {
        png_image_free(&image);
        return false;
    }
    image.format = p.kind == form::rgb ? PNG_FORMAT_RGB : PNG_FORMAT_RGBA;
    out.resize(PNG_IMAGE_SIZE(image));
    return png_image_finish_read(&image, nullptr, out.data(), 0, nullptr) != 0;
}

static bool same_pixel(const bytes_t& pixels, size_t a, size_t b) {
    return memcmp(&pixels[a * PIXEL], &pixels[b * PIXEL], PIXEL) == 0;
}

/// Shortest stretches: equal neighbours become a run, all else literals.
static std::vector<stretch_t> find_stretches(const bytes_t& pixels) {
    std::vector<stretch_t> found;
    const size_t total = pixels.size() / PIXEL;
    for (size_t i = 0; i < total;) {
        size_t n = 1;
        while (n < COUNT_MAX && i + n < total && same_pixel(pixels, i, i + n)) ++n;
        const bool extends_literals = n == 1 && !found.empty() && !found.back().run && found.back().length < COUNT_MAX;
        if (extends_literals)
            ++found.back().length;
        else
            found.push_back({i, n, n > 1});
        i += n;
    }
    return found;
}

static size_t coded_size(const std::vector<stretch_t>& stretches) {
    size_t size = 0;
    for (const stretch_t& s : stretches) size += 1 + PIXEL * (s.run ? 1 : s.length);
    return size;
}

/// Makes the code exactly `size` bytes long by cutting stretches in two: a cut costs 5 bytes in a run (one more count
/// and pixel) and 1 byte in literals (one more count).
/// @return false when the code is longer already or has too few places to cut
static bool stretch_to(std::vector<stretch_t>& stretches, size_t size) {
    const size_t shortest = coded_size(stretches);
    if (shortest > size) return false;
    size_t run_cuts = (size - shortest) / (1 + PIXEL);
    size_t literal_cuts = (size - shortest) % (1 + PIXEL);
    std::vector<stretch_t> cut;
    for (stretch_t s : stretches) {
        size_t& cuts = s.run ? run_cuts : literal_cuts;
        for (; cuts > 0 && s.length > 1; --cuts) {
            cut.push_back({s.first, 1, s.run});
            ++s.first;
            --s.length;
        }
        cut.push_back(s);
    }
    stretches.swap(cut);
    return run_cuts == 0 && literal_cuts == 0;
}

static void append_little_endian(bytes_t& out, unsigned value) {
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<unsigned char>(value >> shift));
}

/// Header (width, height, bytes per pixel) and run-length code of the sheet, exactly p.size bytes; false when it does
/// not fit.
static bool code_cards(const picture_t& p, const bytes_t& pixels, bytes_t& out) {
    std::vector<stretch_t> stretches = find_stretches(pixels);
    const size_t shortest = coded_size(stretches);
    if (!stretch_to(stretches, CARDS_CODED)) {
        fprintf(stderr, "embed: %s takes %zu bytes, allowed are %zu\n", p.array.c_str(), shortest, CARDS_CODED);
        return false;
    }
    append_little_endian(out, p.width);
    append_little_endian(out, p.height);
    append_little_endian(out, PIXEL);
    for (const stretch_t& s : stretches) {
        out.push_back(static_cast<unsigned char>(s.length | (s.run ? RUN_BIT : 0)));
        const unsigned char* first = &pixels[s.first * PIXEL];
        out.insert(out.end(), first, first + PIXEL * (s.run ? 1 : s.length));
    }
    return true;
}

/// The finished array of one picture, its last byte included.
static bool load(const std::string& folder, const picture_t& p, bytes_t& out) {
    const std::string path = folder + "/" + p.array + ".png";
    bytes_t pixels;
    if (p.kind == form::file ? !read_file(path, out) : !read_pixels(path, p, pixels)) {
        fprintf(stderr, "embed: %s: not a readable picture of %u x %u pixels\n", path.c_str(), p.width, p.height);
        return false;
    }
    if (p.kind == form::cards && !code_cards(p, pixels, out)) return false;
    if (p.kind == form::rgba || p.kind == form::rgb) {
        out.swap(pixels);
        out.push_back(0);
    }
    if (out.size() != p.size) {
        fprintf(stderr, "embed: %s: %zu bytes, expected %zu\n", path.c_str(), out.size(), p.size);
        return false;
    }
    return true;
}

/// Writes one definition. An array that ends in a NUL is written as string literals, which supply that NUL and compile
/// many times faster than a list of numbers; the few small ones that do not are written as a list.
static void write_array(FILE* f, const picture_t& p, const bytes_t& data) {
    constexpr size_t PER_LINE = 32;
    const bool literal = data.back() == 0;
    const size_t written = literal ? data.size() - 1 : data.size();
    fprintf(f, "const unsigned char %s[%zu] = {", p.array.c_str(), data.size());
    for (size_t i = 0; i < written; ++i) {
        const bool line_starts = i % PER_LINE == 0;
        const bool line_ends = i % PER_LINE == PER_LINE - 1 || i + 1 == written;
        if (line_starts) fputs(literal ? "\n\"" : "\n", f);
        fprintf(f, literal ? "\\%03o" : "%u,", static_cast<unsigned>(data[i]));
        if (line_ends && literal) fputc('"', f);
    }
    fputs("};\n", f);
}

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: embed FOLDER_OF_IMAGES FOLDER_FOR_SOURCES\n");
        return 2;
    }
    const std::string out = argv[2];
    const file_closer header(fopen((out + "/images.h").c_str(), "w"));
    const file_closer source(fopen((out + "/images.cpp").c_str(), "w"));
    if (!header.f || !source.f) {
        fprintf(stderr, "embed: cannot write to %s\n", argv[2]);
        return 1;
    }
    fputs("// Written by the build from the pictures in assets/images; see assets/README.md.\n#pragma once\n\n",
          header.f);
    fputs("#include \"images.h\"\n\n", source.f);
    for (const picture_t& p : list_pictures(argv[1])) {
        bytes_t data;
        if (!load(argv[1], p, data)) return 1;
        fprintf(header.f, "extern const unsigned char %s[%zu];\n", p.array.c_str(), p.size);
        write_array(source.f, p, data);
    }
    if (fflush(header.f) != 0 || fflush(source.f) != 0 || ferror(header.f) || ferror(source.f)) {
        fprintf(stderr, "embed: cannot write to %s\n", argv[2]);
        return 1;
    }
    return 0;
}
