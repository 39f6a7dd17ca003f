// Data that is compressed by deflate into a zlib stream, piece by piece.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace apps {

class Deflater {
public:
    // take_piece gets the compressed data in turn, in pieces of piece_bytes but the last.
    // level: 0, not at all, to 9. strategy: Z_FILTERED for differences, which are mostly small.
    Deflater(int level, int strategy, size_t piece_bytes,
             std::function<void(std::span<const uint8_t>)> take_piece);
    ~Deflater();
    Deflater(const Deflater &) = delete;
    Deflater &operator=(const Deflater &) = delete;

    void write(std::span<const uint8_t> bytes);
    void finish();

private:
    void pack(int flush);

    std::function<void(std::span<const uint8_t>)> take_piece_;
    std::vector<uint8_t> piece_;
    z_stream stream_ = {};
};

// All at once.
std::vector<uint8_t> deflated(std::span<const uint8_t> bytes, int level);

} // namespace apps
