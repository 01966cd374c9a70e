#include "display/canvas_files.h"

#include "base/log.h"
#include "cards/layout.h"
#include "cards/sheet.h"
#include "draw/canvas.h"
#include "draw/image.h"
#include "game/pacer.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int64_t LEAST_PAUSE = 250'000'000; // ns between two copies: four a second
constexpr int WRITER_NICENESS = 10;          // frames and programs have priority

const char* canvas_folder;

// Owner of `job`: the window thread while it is free, the writer while it is handed over. Nothing here has a
// destructor, because the writer runs until the process exits.
enum : uint32_t { JOB_FREE, JOB_HANDED_OVER };
std::atomic<uint32_t> job_state;

struct job_t {
    bool canvas, cards; // what has changed
    bool canvas_bottom_up;
    std::array<unsigned char, size_t{WINDOW_SIDE} * WINDOW_SIDE * 4> pixels;
    card_layout_t layout;
};
job_t job;

// Window thread only.
bool canvas_is_due, cards_are_due;
int64_t last_hand_over;
card_layout_t last_layout;

struct file_names_t {
    char final[PATH_MAX], partial[PATH_MAX];
};

bool name_files(const char* name, file_names_t& names) {
    const int a = snprintf(names.final, sizeof names.final, "%s/%s", canvas_folder, name);
    const int b = snprintf(names.partial, sizeof names.partial, "%s/.%s.tmp", canvas_folder, name);
    return a > 0 && b > 0 && a < PATH_MAX && b < PATH_MAX;
}

bool write_text(const char* path, const char* text, size_t length) {
    FILE* const file = fopen(path, "wb");
    if (file == nullptr) return false;
    const bool written = fwrite(text, 1, length, file) == length;
    const bool closed = fclose(file) == 0; // a full disk may be reported only here
    if (!written || !closed) unlink(path);
    return written && closed;
}

// Calls `write` with a temporary name and renames the file to `name`. A failure is logged once, until a write succeeds
// again.
template <typename Write> void put_file(const char* name, bool& failed, Write write) {
    file_names_t names;
    const bool done = name_files(name, names) && write(names.partial) && rename(names.partial, names.final) == 0;
    if (!done && !failed) log_line("canvas: cannot write %s/%s: %s", canvas_folder, name, strerror(errno));
    failed = !done;
}

void put_canvas() {
    static bool failed;
    put_file("canvas.png", failed, [](const char* path) {
        return write_raster_png({.pixels = job.pixels.data(),
                                 .width = WINDOW_SIDE,
                                 .height = WINDOW_SIDE,
                                 .has_alpha = false,
                                 .blue_first = true,
                                 .bottom_up = job.canvas_bottom_up},
                                path);
    });
}

void put_cards() {
    static bool failed;
    static std::array<char, CARDS_JSON_BYTES> text;
    const int length = write_cards_json(job.layout, text);
    put_file("cards.json", failed,
             [length](const char* path) { return write_text(path, text.data(), static_cast<size_t>(length)); });
}

void put_sheet() {
    prepare_image();
    if (cards_image_is_ready == 0) return;
    static bool failed;
    put_file("cards.png", failed, [](const char* path) {
        return write_raster_png({.pixels = cards_image,
                                 .width = SHEET_WIDTH,
                                 .height = SHEET_HEIGHT,
                                 .has_alpha = true,
                                 .blue_first = false,
                                 .bottom_up = false},
                                path);
    });
}

// The job belongs to this thread from JOB_HANDED_OVER until it sets JOB_FREE.
void* write_for_ever(void* /*unused*/) {
    setpriority(PRIO_PROCESS, 0, WRITER_NICENESS); // of this thread: Linux has one for each
    for (;;) {
        job_state.wait(JOB_FREE, std::memory_order_acquire);
        if (job.canvas) put_canvas();
        if (job.cards) put_cards();
        job_state.store(JOB_FREE, std::memory_order_release);
    }
    return nullptr;
}

} // namespace

void set_canvas_folder(const char* folder) { canvas_folder = folder; }

void start_canvas_files() {
    if (canvas_folder == nullptr) return;
    put_sheet();
    canvas_is_due = cards_are_due = true;
    last_hand_over = monotonic_now() - LEAST_PAUSE;
    pthread_t writer;
    if (pthread_create(&writer, nullptr, write_for_ever, nullptr) != 0) {
        log_line("canvas: cannot start the thread that writes");
        canvas_folder = nullptr;
        return;
    }
    pthread_detach(writer);
}

void offer_canvas_files(bool painted) {
    if (canvas_folder == nullptr) return;
    canvas_is_due = canvas_is_due || painted;
    const int64_t now = monotonic_now();
    if (now - last_hand_over < LEAST_PAUSE || job_state.load(std::memory_order_acquire) != JOB_FREE) return;
    const card_layout_t layout{.cards = cards, .order = card_list};
    cards_are_due = cards_are_due || !shows_the_same(layout, last_layout);
    if (!canvas_is_due && !cards_are_due) return;
    job.canvas = canvas_is_due;
    job.cards = cards_are_due;
    if (job.canvas) {
        read_canvas(job.pixels.data());
        job.canvas_bottom_up = canvas_is_top_down == 0;
    }
    job.layout = last_layout = layout;
    canvas_is_due = cards_are_due = false;
    last_hand_over = now;
    job_state.store(JOB_HANDED_OVER, std::memory_order_release);
    job_state.notify_one();
}
