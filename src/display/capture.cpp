#include "display/capture.h"

#include <cstdio>
#include <cstdlib>

#include <sys/stat.h>

#include "draw/image.h"
#include "field/state.h"

namespace {

constexpr int HOME_BYTES = 256;        // of the variable's value that are used
constexpr unsigned CAPTURE_SIDE = 512; // pixels, the window

} // namespace

int field_capture_screen() {
    char home[HOME_BYTES + 1] = {};
    bounded_copy(home, getenv("HOME"), HOME_BYTES);
    const long clock = static_cast<long>(signals.elapsed_time.load());
    struct stat info = {};
    char path[HOME_BYTES + 64];
    if (stat(home, &info) != 0)
        snprintf(path, sizeof path, "kelmora-capture-%ld.png", clock);
    else
        snprintf(path, sizeof path, "%s/kelmora-capture-%ld.png", home, clock);
    saveImageToPNG(CAPTURE_SIDE, CAPTURE_SIDE, path);
    return 1;
}
