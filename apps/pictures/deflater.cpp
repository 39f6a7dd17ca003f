// zlib, emptied piece by piece.
#include "deflater.h"

#include <algorithm>
#include <new>
#include <utility>

namespace apps {

Deflater::Deflater(int level, int strategy, size_t piece_bytes,
                   std::function<void(std::span<const uint8_t>)> take_piece)
    : take_piece_(std::move(take_piece)), piece_(piece_bytes) {
    constexpr int window_bits = 15, most_memory = 9;
    if (deflateInit2(&stream_, level, Z_DEFLATED, window_bits, most_memory, strategy) != Z_OK)
        throw std::bad_alloc();
    stream_.next_out = piece_.data();
    stream_.avail_out = static_cast<uInt>(piece_.size());
}

Deflater::~Deflater() {
    deflateEnd(&stream_);
}

void Deflater::write(std::span<const uint8_t> bytes) {
    constexpr size_t most_at_once = 1 << 30; // zlib counts in 32 bits
    while (!bytes.empty()) {
        const std::span<const uint8_t> now = bytes.first(std::min(bytes.size(), most_at_once));
        stream_.next_in = const_cast<Bytef *>(now.data()); // only read
        stream_.avail_in = static_cast<uInt>(now.size());
        pack(Z_NO_FLUSH);
        bytes = bytes.subspan(now.size());
    }
}

void Deflater::finish() {
    pack(Z_FINISH);
    const size_t left = piece_.size() - stream_.avail_out;
    if (left > 0)
        take_piece_(std::span(piece_).first(left));
}

// Takes all that there is to read. Room that is left over means that nothing is kept back.
void Deflater::pack(int flush) {
    for (;;) {
        deflate(&stream_, flush);
        if (stream_.avail_out > 0)
            return;
        take_piece_(piece_);
        stream_.next_out = piece_.data();
        stream_.avail_out = static_cast<uInt>(piece_.size());
    }
}

std::vector<uint8_t> deflated(std::span<const uint8_t> bytes, int level) {
    constexpr size_t piece_bytes = 16384;
    std::vector<uint8_t> all;
    Deflater deflater(level, Z_DEFAULT_STRATEGY, piece_bytes,
                      [&all](std::span<const uint8_t> piece) {
                          all.insert(all.end(), piece.begin(), piece.end());
                      });
    deflater.write(bytes);
    deflater.finish();
    return all;
}

} // namespace apps
