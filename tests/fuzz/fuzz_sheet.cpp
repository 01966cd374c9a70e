// Fuzzes the run-length decoder of the card sheet. The first byte is the size of the picture in pixels.
#include "cards/sheet.h"

#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    if (size == 0) return 0;
    // Vectors of exactly the given sizes, so that the address sanitizer notices the first byte beyond either end.
    const std::vector<unsigned char> coded(data + 1, data + size);
    std::vector<unsigned char> picture(static_cast<size_t>(data[0]) * PIXEL_BYTES);
    const int written = decode_runs(coded, picture);
    if (written < 0 || written > static_cast<int>(picture.size()) || written % PIXEL_BYTES != 0) abort();
    for (size_t k = static_cast<size_t>(written); k < picture.size(); ++k)
        if (picture[k] != 0) abort(); // bytes that were not decoded are unchanged
    return 0;
}
