// Fuzzes the PPM reader on files in memory.
#include "draw/image.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    const int file = memfd_create("picture", 0);
    if (file < 0 || write(file, data, size) != static_cast<ssize_t>(size)) abort();
    char path[64];
    snprintf(path, sizeof path, "/proc/self/fd/%d", file);

    int width = -1, height = -1;
    unsigned char* const picture = readPPMToImage(path, &width, &height);
    if (picture != nullptr) {
        if (width < 1 || width > PPM_MAX_SIDE || height < 1 || height > PPM_MAX_SIDE) abort();
        // All samples are readable, in a very large picture only some at its end. The first pixel is the file's last.
        const size_t samples = static_cast<size_t>(width) * static_cast<size_t>(height) * 3;
        if (samples >= size + 3 && (picture[0] & picture[1] & picture[2]) != 255) abort();
        unsigned sum = picture[samples - 1];
        for (size_t k = 0; k < samples && k < 100000; ++k) sum += picture[k];
        volatile unsigned read = sum;
        (void)read;
    } else if (width != -1 || height != -1) {
        abort(); // refused, but the sizes were written
    }
    free(picture);
    close(file);
    return 0;
}
