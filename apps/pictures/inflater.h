// Data that was compressed by deflate, as a zlib stream holds it, unpacked piece by piece.
#pragma once

#include "row_file.h"

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace apps {

class Inflater {
public:
    // next_piece gives the compressed data in turn, each piece valid until the next; an empty one
    // is the end.
    explicit Inflater(std::function<std::span<const uint8_t>()> next_piece);
    ~Inflater();
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    // The next bytes. Throws DamagedData for data that nothing was compressed to, or that ends
    // too early.
    void read(uint8_t *bytes, size_t count);

private:
    void unpack();

    std::function<std::span<const uint8_t>()> next_piece_;
    z_stream stream_ = {};
};

// A whole zlib stream; empty for one that is damaged, or unpacks to more than most bytes.
std::vector<uint8_t> inflated(std::span<const uint8_t> packed, size_t most);

} // namespace apps
