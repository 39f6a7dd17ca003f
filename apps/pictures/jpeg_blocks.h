// Blocks of 8 x 8 samples as JPEG has them: transformed, rounded to steps, in Huffman codes.
#pragma once

#include "jpeg_tables.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace apps {

// The coded data of a picture. Bytes of 255 are followed by a 0 in it.
class JpegBits {
public:
    void put(uint32_t value, int count);
    // The rest of the last byte is ones.
    void fill_byte();

    std::span<const uint8_t> bytes() const { return bytes_; }
    void clear() { bytes_.clear(); }

private:
    std::vector<uint8_t> bytes_;
    uint64_t waiting_ = 0; // the last bits, the newest lowest
    int count_ = 0;
};

// One kind of blocks, of brightness or of colour, at a quality.
class JpegBlocks {
public:
    enum Kind { brightness, colour };
    JpegBlocks(Kind kind, int quality);

    // In the order of files.
    const std::array<uint8_t, 64> &steps() const { return steps_; }

    // Samples less 128, row by row; mean: of the channel's block before, becomes this one's.
    void put(const std::array<float, 64> &samples, int &mean, JpegBits &bits) const;

private:
    struct Code {
        uint16_t bits[256];
        uint8_t length[256];
    };
    static Code code_from(const JpegCode &code);
    static void put_value(JpegBits &bits, const Code &code, int run, int value);

    std::array<uint8_t, 64> steps_;
    std::array<float, 64> factors_; // what makes a transformed sample one in steps
    Code means_, details_;
};

} // namespace apps
