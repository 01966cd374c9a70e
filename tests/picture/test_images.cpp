#include "draw/image.h"

#include <array>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <dirent.h>
#include <png.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "display/capture.h"
#include "field/state.h"
#include "picture/picture.h"

using namespace picture;

namespace {

using bytes = std::vector<unsigned char>;

/// Sets or (with null) removes an environment variable and restores it afterwards.
class environment {
public:
    environment(const char* variable, const char* value) : name(variable) {
        if (const char* old = getenv(variable))
            before = old;
        else
            was_set = false;
        if (value)
            setenv(variable, value, 1);
        else
            unsetenv(variable);
    }
    ~environment() {
        if (was_set)
            setenv(name.c_str(), before.c_str(), 1);
        else
            unsetenv(name.c_str());
    }
    environment(const environment&) = delete;
    environment& operator=(const environment&) = delete;

private:
    std::string name, before;
    bool was_set = true;
};

int open_files() {
    int count = 0;
    DIR* const list = opendir("/proc/self/fd");
    while (readdir(list)) ++count;
    closedir(list);
    return count;
}

bool exists(const std::string& path) {
    struct stat info = {};
    return stat(path.c_str(), &info) == 0;
}

bytes contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return bytes(std::istreambuf_iterator<char>(in), {});
}

/// A new working directory for each test.
class Images : public PictureTest {
protected:
    void SetUp() override {
        PictureTest::SetUp();
        char name[] = "/tmp/kelmora-images-XXXXXX";
        ASSERT_TRUE(mkdtemp(name));
        folder = name;
        ASSERT_TRUE(getcwd(home.data(), home.size()));
        ASSERT_EQ(chdir(name), 0);
        files_before = open_files();
    }
    void TearDown() override {
        EXPECT_EQ(open_files(), files_before);
        EXPECT_EQ(chdir(home.data()), 0);
        std::filesystem::remove_all(folder);
        PictureTest::TearDown();
    }
    void write(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }
    std::string folder;
    std::array<char, 4096> home{};
    int files_before = 0;
};

struct png_file {
    unsigned width = 0, height = 0;
    int depth = 0, colour = 0, interlace = -1;
    std::vector<std::string> chunks; // names, in order, neighbouring IDATs as one
    std::vector<std::pair<std::string, std::string>> texts;
    bytes pixels; // top row first
};

png_file read_png(const std::string& path) {
    png_file found;
    const bytes raw = contents(path);
    if (raw.size() < 8 || png_sig_cmp(raw.data(), 0, 8) != 0) {
        ADD_FAILURE() << path << " is no PNG";
        return found;
    }
    for (size_t k = 8; k + 12 <= raw.size();) {
        const size_t length = size_t{raw[k]} << 24 | size_t{raw[k + 1]} << 16 | size_t{raw[k + 2]} << 8 | raw[k + 3];
        const std::string name(raw.begin() + static_cast<long>(k) + 4, raw.begin() + static_cast<long>(k) + 8);
        if (name != "IDAT" || found.chunks.empty() || found.chunks.back() != name) found.chunks.push_back(name);
        k += length + 12;
    }
    FILE* const file = fopen(path.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    found.width = png_get_image_width(png, info);
    found.height = png_get_image_height(png, info);
    found.depth = png_get_bit_depth(png, info);
    found.colour = png_get_color_type(png, info);
    found.interlace = png_get_interlace_type(png, info);
    png_textp texts = nullptr;
    const int count = png_get_text(png, info, &texts, nullptr);
    for (int k = 0; k < count; ++k) found.texts.emplace_back(texts[k].key, texts[k].text);
    const png_bytepp rows = png_get_rows(png, info);
    for (unsigned r = 0; r < found.height; ++r)
        found.pixels.insert(found.pixels.end(), rows[r], rows[r] + png_get_rowbytes(png, info));
    png_destroy_read_struct(&png, &info, nullptr);
    fclose(file);
    return found;
}

/// Gives every pixel of the window a colour of its own.
void paint_every_pixel() {
    bytes pixels(size_t{SIDE} * SIDE * 3);
    for (size_t k = 0; k < size_t{SIDE} * SIDE; ++k) {
        const size_t x = k % SIDE, y = k / SIDE;
        pixels[k * 3] = static_cast<unsigned char>(x);
        pixels[k * 3 + 1] = static_cast<unsigned char>(y);
        pixels[k * 3 + 2] = static_cast<unsigned char>(x / 256 + y / 256 * 16);
    }
    canvas_view();
    glRasterPos3d(-256.0, -256.0, 0.0);
    glDrawPixels(SIDE, SIDE, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    glFinish();
}

void expect_lower_left_corner(const png_file& png) {
    int wrong = 0;
    for (size_t row = 0; row < png.height; ++row)
        for (size_t x = 0; x < png.width; ++x) {
            const size_t y = png.height - 1 - row;
            const unsigned char* p = &png.pixels[(row * png.width + x) * 3];
            wrong += p[0] != x % 256 || p[1] != y % 256 || p[2] != x / 256 + y / 256 * 16;
        }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Images, capture_is_an_8_bit_rgb_png_with_the_top_row_first) {
    paint_every_pixel();
    saveImageToPNG(512, 512, "a.png");
    const png_file png = read_png("a.png");
    EXPECT_EQ(png.width, 512u);
    EXPECT_EQ(png.height, 512u);
    EXPECT_EQ(png.depth, 8);
    EXPECT_EQ(png.colour, PNG_COLOR_TYPE_RGB);
    EXPECT_EQ(png.interlace, PNG_INTERLACE_NONE);
    ASSERT_EQ(png.pixels.size(), 512u * 512 * 3);
    EXPECT_EQ(png.pixels[1], 255); // the first pixel is the window's row 511
    expect_lower_left_corner(png);
}

TEST_F(Images, capture_of_any_width_is_not_skewed) {
    paint_every_pixel();
    for (const unsigned width : {1u, 2u, 3u, 5u, 101u, 511u}) {
        saveImageToPNG(width, 7, "a.png");
        const png_file png = read_png("a.png");
        ASSERT_EQ(png.width, width);
        ASSERT_EQ(png.height, 7u);
        expect_lower_left_corner(png);
    }
}

TEST_F(Images, capture_says_who_what_where_and_when_in_compressed_entries) {
    const environment user("USER", "jo");
    char host[128] = {};
    gethostname(host, sizeof host - 1);
    const time_t before = time(nullptr);
    saveImageToPNG(512, 512, "a.png");
    const time_t after = time(nullptr);
    const png_file png = read_png("a.png");
    EXPECT_EQ(png.chunks, (std::vector<std::string>{"IHDR", "zTXt", "zTXt", "zTXt", "zTXt", "IDAT", "IEND"}));
    ASSERT_EQ(png.texts.size(), 4u);
    EXPECT_EQ(png.texts[0], (std::pair<std::string, std::string>("Author", "jo")));
    EXPECT_EQ(png.texts[1], (std::pair<std::string, std::string>("Software", "kelmora for Velmark by RQ")));
    EXPECT_EQ(png.texts[2], (std::pair<std::string, std::string>("Source", host)));
    EXPECT_EQ(png.texts[3].first, "Description");
    const std::string& when = png.texts[3].second;
    EXPECT_EQ(when.size(), 24u); // without the line's end
    struct tm parts = {};
    ASSERT_TRUE(strptime(when.c_str(), "%a %b %d %H:%M:%S %Y", &parts));
    parts.tm_isdst = -1;
    const time_t written = mktime(&parts);
    EXPECT_GE(written, before);
    EXPECT_LE(written, after);
}

TEST_F(Images, capture_cuts_the_user_at_31_bytes_and_works_without_one) {
    struct row {
        const char* user;
        std::string author;
    };
    const std::string just(31, 'u'), longer(32, 'v'), huge(100000, 'w');
    for (const row& r : {row{just.c_str(), just}, row{longer.c_str(), std::string(31, 'v')},
                         row{huge.c_str(), std::string(31, 'w')}, row{nullptr, ""}, row{"", ""}}) {
        const environment user("USER", r.user);
        saveImageToPNG(4, 4, "a.png");
        const png_file png = read_png("a.png");
        ASSERT_EQ(png.texts.size(), 4u);
        EXPECT_EQ(png.texts[0].first, "Author");
        EXPECT_EQ(png.texts[0].second, r.author);
    }
}

TEST_F(Images, capture_into_a_missing_folder_is_one_line) {
    testing::internal::CaptureStderr();
    saveImageToPNG(512, 512, "missing/a.png");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "saveImageToPNG: cannot open file:missing/a.png\n");
}

/// Turns compression off, so that a capture is written in many pieces.
void paint_noise() {
    bytes pixels(size_t{SIDE} * SIDE * 3);
    uint32_t state = 1;
    for (unsigned char& sample : pixels) {
        state = state * 1664525u + 1013904223u;
        sample = static_cast<unsigned char>(state >> 24);
    }
    canvas_view();
    glRasterPos3d(-256.0, -256.0, 0.0);
    glDrawPixels(SIDE, SIDE, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
}

// The error arises inside libpng, in the middle of the picture.
TEST_F(Images, capture_onto_a_full_device_is_one_line_and_the_device_stays) {
    paint_noise();
    testing::internal::CaptureStderr();
    saveImageToPNG(512, 512, "/dev/full");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "saveImageToPNG: cannot write file:/dev/full\n");
    EXPECT_TRUE(exists("/dev/full"));
}

TEST_F(Images, small_capture_that_fits_the_buffer_still_notices_a_full_device) {
    testing::internal::CaptureStderr();
    saveImageToPNG(2, 2, "/dev/full");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "saveImageToPNG: cannot write file:/dev/full\n");
}

// The same on a disk: a limit on file sizes fails as a full disk does.
TEST_F(Images, capture_that_outgrows_the_disk_is_one_line_and_leaves_no_file) {
    paint_noise();
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t most : {rlim_t{0}, rlim_t{10000}}) { // fails at the flush, or in the middle
        testing::internal::CaptureStderr();
        rlimit small = before;
        small.rlim_cur = most;
        setrlimit(RLIMIT_FSIZE, &small);
        const unsigned side = most == 0 ? 2 : 512;
        saveImageToPNG(side, side, "a.png");
        setrlimit(RLIMIT_FSIZE, &before);
        // When no file may grow, the line about it cannot be written either.
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(said, most > 0 ? "saveImageToPNG: cannot write file:a.png\n" : "");
        EXPECT_FALSE(exists("a.png"));
    }
    signal(SIGXFSZ, handler);
}

TEST_F(Images, capture_does_not_remove_what_is_not_a_regular_file) {
    write("target", "kept");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    ASSERT_EQ(symlink("target", "link"), 0);
    ASSERT_EQ(symlink("nowhere", "dangling"), 0);
    ASSERT_EQ(mkdir("folder", 0700), 0);
    for (const char* name : {"pipe", "link", "dangling"}) {
        testing::internal::CaptureStderr();
        saveImageToPNG(2, 2, name);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("saveImageToPNG: cannot write file:") + name + "\n");
    }
    // A folder could not be opened anyway.
    testing::internal::CaptureStderr();
    saveImageToPNG(2, 2, "folder");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "saveImageToPNG: cannot open file:folder\n");
    struct stat info = {};
    EXPECT_TRUE(lstat("pipe", &info) == 0 && S_ISFIFO(info.st_mode));
    EXPECT_TRUE(lstat("link", &info) == 0 && S_ISLNK(info.st_mode));
    EXPECT_FALSE(exists("nowhere"));
    EXPECT_TRUE(lstat("target", &info) == 0 && info.st_size == 4);
}

TEST_F(Images, capture_replaces_an_older_file_but_not_its_hard_links) {
    write("a.png", "old");
    ASSERT_EQ(link("a.png", "b.png"), 0);
    saveImageToPNG(2, 2, "a.png");
    EXPECT_EQ(read_png("a.png").width, 2u);
    struct stat info = {};
    EXPECT_TRUE(stat("b.png", &info) == 0 && info.st_size == 3);
}

TEST_F(Images, capture_of_an_impossible_size_is_one_line_and_leaves_no_file) {
    struct size {
        unsigned width, height;
    };
    for (const size& s : {size{0, 0}, size{0, 512}, size{512, 0}, size{0xffffffffu, 1}, size{0x80000000u, 0x80000000u},
                          size{0xffffffffu, 0xffffffffu}}) {
        testing::internal::CaptureStderr();
        saveImageToPNG(s.width, s.height, "a.png");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "saveImageToPNG: cannot write file:a.png\n");
        EXPECT_FALSE(exists("a.png"));
    }
}

// A capture is named by the clock, which is put back afterwards because other pictures depend on it.
class Captures : public Images {
protected:
    void SetUp() override {
        Images::SetUp();
        clock_before = signals.elapsed_time;
    }
    void TearDown() override {
        signals.elapsed_time = clock_before;
        Images::TearDown();
    }
    uint64_t clock_before = 0;
};

TEST_F(Captures, capture_goes_to_the_home_directory_named_by_the_clock) {
    ASSERT_EQ(chdir("/"), 0);
    const environment at_home("HOME", folder.c_str());
    signals.elapsed_time = 12345;
    EXPECT_EQ(field_capture_screen(), 1);
    const png_file png = read_png(folder + "/kelmora-capture-12345.png");
    EXPECT_EQ(png.width, 512u);
    EXPECT_EQ(png.height, 512u);
    signals.elapsed_time = 12346;
    EXPECT_EQ(field_capture_screen(), 1);
    EXPECT_TRUE(exists(folder + "/kelmora-capture-12346.png"));
}

TEST_F(Captures, second_capture_in_a_frame_overwrites_the_first) {
    const environment at_home("HOME", folder.c_str());
    signals.elapsed_time = 7;
    field_capture_screen();
    clear(1.0, 1.0, 1.0);
    field_capture_screen();
    EXPECT_EQ(read_png(folder + "/kelmora-capture-7.png").pixels[0], 255);
}

TEST_F(Captures, capture_without_a_home_goes_to_the_working_directory) {
    signals.elapsed_time = 1;
    const std::string too_long = "/" + std::string(300, 'x');
    uint64_t clock = 0;
    for (const char* value : {static_cast<const char*>(nullptr), "", "/no/such/directory", too_long.c_str()}) {
        const environment at_home("HOME", value);
        signals.elapsed_time = ++clock;
        EXPECT_EQ(field_capture_screen(), 1);
        EXPECT_TRUE(exists("kelmora-capture-" + std::to_string(clock) + ".png"));
    }
}

TEST_F(Captures, home_of_256_bytes_is_used_in_full) {
    // "/./././..." names the same directory however long it is.
    std::string padded = folder;
    while (padded.size() + 2 <= 256) padded += "/.";
    if (padded.size() < 256) padded += "/";
    ASSERT_EQ(padded.size(), 256u);
    ASSERT_EQ(chdir("/"), 0);
    const environment at_home("HOME", padded.c_str());
    signals.elapsed_time = 9;
    EXPECT_EQ(field_capture_screen(), 1);
    EXPECT_TRUE(exists(folder + "/kelmora-capture-9.png"));
}

TEST_F(Captures, refused_capture_still_reports_1) {
    // A file instead of a home directory passes the test for existence, but no capture can be made in it.
    write("occupied", "x");
    const std::string occupied = folder + "/occupied";
    const environment at_home("HOME", occupied.c_str());
    signals.elapsed_time = 3;
    testing::internal::CaptureStderr();
    EXPECT_EQ(field_capture_screen(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "saveImageToPNG: cannot open file:" + occupied + "/kelmora-capture-3.png\n");
}

/// The picture's samples, or none when the file is refused.
struct ppm {
    int width = -7, height = -7;
    bytes samples;
    bool refused = false;
    std::string said;
};

ppm read_ppm(const char* path) {
    ppm p;
    testing::internal::CaptureStdout();
    unsigned char* const image = readPPMToImage(path, &p.width, &p.height);
    p.said = testing::internal::GetCapturedStdout();
    p.refused = !image;
    if (image) p.samples.assign(image, image + p.width * p.height * 3);
    free(image);
    return p;
}

TEST_F(Images, ppm_of_two_pixels_comes_back_turned) {
    write("a.ppm", "P6\n2 1\n255\nabcdef");
    const ppm p = read_ppm("a.ppm");
    ASSERT_FALSE(p.refused);
    EXPECT_EQ(p.width, 2);
    EXPECT_EQ(p.height, 1);
    EXPECT_EQ(p.samples, (bytes{'d', 'e', 'f', 'a', 'b', 'c'}));
    EXPECT_EQ(p.said, "reading:a.ppm width:2 height 1 max:255\n");
}

TEST_F(Images, ppm_is_turned_by_180_degrees) {
    std::string pixels;
    for (int k = 0; k < 18; ++k) pixels += static_cast<char>(k);
    write("a.ppm", "P6\n3 2\n255\n" + pixels);
    const ppm p = read_ppm("a.ppm");
    // Pixel i of six lands at place 5 - i, its three bytes in order.
    EXPECT_EQ(p.samples, (bytes{15, 16, 17, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2}));
}

TEST_F(Images, ppm_comments_behind_the_magic_are_skipped_however_long) {
    for (const std::string& comments : {std::string("# one\n# two\n"), "#" + std::string(1000, 'x') + " 9 9\n#\n"}) {
        write("a.ppm", "P6\n" + comments + "1 1\n255\nabc");
        const ppm p = read_ppm("a.ppm");
        EXPECT_EQ(p.samples, (bytes{'a', 'b', 'c'}));
    }
}

TEST_F(Images, ppm_comment_before_the_maximum_is_taken_for_it) {
    // The comment is read as the maximum line, and the real one as the first samples.
    write("a.ppm", "P6\n1 1\n# late\n255\nabc");
    const ppm p = read_ppm("a.ppm");
    EXPECT_EQ(p.said, "reading:a.ppm width:1 height 1 max:0\n");
    EXPECT_EQ(p.samples, (bytes{'2', '5', '5'}));
}

TEST_F(Images, ppm_maximum_is_reported_and_not_used) {
    write("a.ppm", "P6\n1 1\n65535\nabcdef");
    const ppm p = read_ppm("a.ppm");
    EXPECT_EQ(p.said, "reading:a.ppm width:1 height 1 max:65535\n");
    EXPECT_EQ(p.samples, (bytes{'a', 'b', 'c'}));
}

TEST_F(Images, ppm_that_is_missing_is_one_line) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(read_ppm("missing.ppm").refused);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cannot open file:missing.ppm\n");
}

TEST_F(Images, files_that_are_not_ppm_yield_null_silently) {
    const std::string rows[] = {
        "",                                            // nothing
        "P",                                           // cut magic
        "P3\n1 1\n255\n1 2 3\n",                       // text samples
        "P6",                                          // no size
        "P6\n# only a comment\n",                      //
        "P6\n1\n255\nabc",                             // one number
        "P6\nwide high\n255\nabc",                     //
        "P6\n1 1\n",                                   // no maximum
        "P6\n0 1\n255\nabc",                           // no pixels
        "P6\n1 0\n255\nabc",                           //
        "P6\n-1 -1\n255\nabc",                         //
        "P6\n8193 1\n255\n" + std::string(24579, 'x'), // one wider than allowed, all there
        "P6\n1 8193\n255\n" + std::string(24579, 'x'), //
        "P6\n65536 65536\n255\nabc",                   // the product is 0 in 32 bits
        "P6\n2147483647 2147483647\n255\nabc",         //
        "P6\n4294967297 1\n255\nabc",                  // 1 in 32 bits
        "P6\n99999999999999999999 1\n255\nabc",        // in no integer
    };
    for (const std::string& row : rows) {
        write("a.ppm", row);
        testing::internal::CaptureStderr();
        const ppm p = read_ppm("a.ppm");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_TRUE(p.refused) << row.substr(0, 40);
        EXPECT_EQ(p.said, "");
        EXPECT_EQ(p.width, -7);
        EXPECT_EQ(p.height, -7);
    }
}

TEST_F(Images, ppm_of_the_greatest_width_is_read) {
    write("a.ppm", "P6\n8192 1\n255\n" + std::string(24576, 'x'));
    EXPECT_EQ(read_ppm("a.ppm").samples, bytes(24576, 'x'));
}

TEST_F(Images, ppm_that_is_too_short_reads_as_if_the_rest_were_255) {
    write("a.ppm", "P6\n2 1\n255\nabcd");
    EXPECT_EQ(read_ppm("a.ppm").samples, (bytes{'d', 255, 255, 'a', 'b', 'c'}));
    write("a.ppm", "P6\n2 2\n255\n");
    EXPECT_EQ(read_ppm("a.ppm").samples, bytes(12, 255));
    write("a.ppm", "P6\n8192 1\n255\nx");
    bytes expected(24576, 255);
    expected[24573] = 'x';
    EXPECT_EQ(read_ppm("a.ppm").samples, expected);
}

TEST_F(Images, folder_is_not_a_ppm) { EXPECT_TRUE(read_ppm(".").refused); }

TEST_F(Images, ppm_from_a_pipe_that_ends_early_is_filled_up) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    const char text[] = "P6\n2 1\n255\nabcd";
    ASSERT_EQ(::write(ends[1], text, sizeof text - 1), static_cast<ssize_t>(sizeof text - 1));
    close(ends[1]);
    const ppm p = read_ppm(("/proc/self/fd/" + std::to_string(ends[0])).c_str());
    close(ends[0]);
    EXPECT_EQ(p.samples, (bytes{'d', 255, 255, 'a', 'b', 'c'}));
}

} // namespace
