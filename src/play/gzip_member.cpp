#include "play/gzip_member.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <zlib.h>

namespace {

constexpr int RAW_WINDOW = -15; // deflate without a header of its own, the largest window
constexpr int MOST_MEMORY = 9;
constexpr size_t LENGTH_AT = 16; // where the extra field holds the length

void put_little_endian(std::string& out, size_t at, uint32_t word, int bytes) {
    for (int k = 0; k < bytes; ++k) out[at + static_cast<size_t>(k)] = static_cast<char>(word >> (8 * k) & 0xFFU);
}

void append_word(std::string& out, uint32_t word) {
    out.append(4, '\0');
    put_little_endian(out, out.size() - 4, word, 4);
}

} // namespace

void add_gzip_member(std::string& out, std::string_view text, uint32_t tick) {
    const size_t start = out.size();
    // Magic, deflate, an extra field; no time; best compression; unknown system; 12 bytes of extra field, of which "KM"
    // has 8.
    constexpr std::array<unsigned char, 16> HEADER{0x1F, 0x8B, 8, 4, 0, 0, 0, 0, 2, 255, 12, 0, 'K', 'M', 8, 0};
    out.append(reinterpret_cast<const char*>(HEADER.data()), HEADER.size());
    append_word(out, 0); // the length, filled in later
    append_word(out, tick);

    z_stream stream = {};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, RAW_WINDOW, MOST_MEMORY, Z_DEFAULT_STRATEGY) != Z_OK) {
        fputs("no memory to pack the record\n", stderr);
        abort();
    }
    const size_t body = out.size();
    out.resize(body + deflateBound(&stream, text.size()));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data() + body);
    stream.avail_out = static_cast<uInt>(out.size() - body);
    deflate(&stream, Z_FINISH); // the bound guarantees enough room
    out.resize(body + stream.total_out);
    deflateEnd(&stream);

    append_word(out, static_cast<uint32_t>(
                         crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size()))));
    append_word(out, static_cast<uint32_t>(text.size()));
    put_little_endian(out, start + LENGTH_AT, static_cast<uint32_t>(out.size() - start), 4);
}
