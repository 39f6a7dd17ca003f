// zlib, fed with pieces.
#include "inflater.h"

#include <algorithm>
#include <new>
#include <utility>

namespace apps {

Inflater::Inflater(std::function<std::span<const uint8_t>()> next_piece)
    : next_piece_(std::move(next_piece)) {
    if (inflateInit(&stream_) != Z_OK)
        throw std::bad_alloc();
}

Inflater::~Inflater() {
    inflateEnd(&stream_);
}

void Inflater::read(uint8_t *bytes, size_t count) {
    constexpr size_t most_at_once = 1 << 30; // zlib counts in 32 bits
    while (count > 0) {
        const size_t now = std::min(count, most_at_once);
        stream_.next_out = bytes;
        stream_.avail_out = static_cast<uInt>(now);
        while (stream_.avail_out > 0)
            unpack();
        bytes += now;
        count -= now;
    }
}

void Inflater::unpack() {
    if (stream_.avail_in == 0) {
        const std::span<const uint8_t> piece = next_piece_();
        if (piece.empty())
            throw DamagedData();
        stream_.next_in = const_cast<Bytef *>(piece.data()); // only read
        stream_.avail_in = static_cast<uInt>(piece.size());
    }
    const int status = inflate(&stream_, Z_NO_FLUSH);
    const bool is_done = status == Z_STREAM_END && stream_.avail_out == 0;
    if (status != Z_OK && !is_done)
        throw DamagedData();
}

std::vector<uint8_t> inflated(std::span<const uint8_t> packed, size_t most) {
    constexpr size_t piece_bytes = 1 << 14;
    z_stream stream = {};
    if (inflateInit(&stream) != Z_OK)
        throw std::bad_alloc();
    stream.next_in = const_cast<Bytef *>(packed.data()); // only read
    stream.avail_in = static_cast<uInt>(packed.size());
    std::vector<uint8_t> bytes;
    int status = Z_OK;
    while (status == Z_OK && bytes.size() <= most) {
        const size_t begin = bytes.size();
        bytes.resize(begin + piece_bytes);
        stream.next_out = &bytes[begin];
        stream.avail_out = piece_bytes;
        status = inflate(&stream, Z_NO_FLUSH);
        bytes.resize(begin + piece_bytes - stream.avail_out);
    }
    inflateEnd(&stream);
    if (status != Z_STREAM_END || bytes.size() > most)
        bytes.clear();
    return bytes;
}

} // namespace apps
