// The transform of Arai, Agui and Nakajima, which leaves each coefficient with a factor of its own,
// and the codes.
#include "jpeg_blocks.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <numbers>

namespace apps {
namespace {

using Block = std::array<float, 64>;

// All columns at once, which compilers turn into vectors.
void transform_columns(Block &b) {
    for (size_t x = 0; x < 8; ++x) {
        const float s07 = b[x] + b[56 + x], d07 = b[x] - b[56 + x];
        const float s16 = b[8 + x] + b[48 + x], d16 = b[8 + x] - b[48 + x];
        const float s25 = b[16 + x] + b[40 + x], d25 = b[16 + x] - b[40 + x];
        const float s34 = b[24 + x] + b[32 + x], d34 = b[24 + x] - b[32 + x];

        const float even_s = s07 + s34, even_d = s07 - s34;
        const float odd_s = s16 + s25, odd_d = s16 - s25;
        b[x] = even_s + odd_s;
        b[32 + x] = even_s - odd_s;
        const float turned = (odd_d + even_d) * 0.707106781f;
        b[16 + x] = even_d + turned;
        b[48 + x] = even_d - turned;

        const float t0 = d34 + d25, t1 = d25 + d16, t2 = d16 + d07;
        const float z5 = (t0 - t2) * 0.382683433f;
        const float z2 = 0.541196100f * t0 + z5, z4 = 1.306562965f * t2 + z5;
        const float z3 = t1 * 0.707106781f;
        const float z11 = d07 + z3, z13 = d07 - z3;
        b[40 + x] = z13 + z2;
        b[24 + x] = z13 - z2;
        b[8 + x] = z11 + z4;
        b[56 + x] = z11 - z4;
    }
}

void exchange_rows_and_columns(Block &block) {
    for (size_t y = 0; y < 8; ++y)
        for (size_t x = 0; x < y; ++x)
            std::swap(block[y * 8 + x], block[x * 8 + y]);
}

// The usual scale of qualities: 50 takes the steps as they stand, 100 makes all of them 1.
int step_at(int quality, int step) {
    const int percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
    return std::clamp((step * percent + 50) / 100, 1, 255);
}

} // namespace

void JpegBits::put(uint32_t value, int count) {
    waiting_ = waiting_ << count | value;
    count_ += count;
    while (count_ >= 8) {
        count_ -= 8;
        const auto byte = static_cast<uint8_t>(waiting_ >> count_);
        bytes_.push_back(byte);
        if (byte == 0xff)
            bytes_.push_back(0);
    }
}

void JpegBits::fill_byte() {
    if (count_ > 0)
        put((1u << (8 - count_)) - 1, 8 - count_);
}

JpegBlocks::JpegBlocks(Kind kind, int quality)
    : means_(code_from(jpeg_mean_codes[kind])), details_(code_from(jpeg_detail_codes[kind])) {
    // What the transform leaves to do, by row and by column: 1 for the first, else the square root
    // of 2 times a cosine.
    std::array<double, 8> scale;
    for (size_t i = 0; i < 8; ++i)
        scale[i] =
            i == 0 ? 1 : std::sqrt(2.0) * std::cos(static_cast<double>(i) * std::numbers::pi / 16);
    for (size_t i = 0; i < 64; ++i) {
        const size_t at = jpeg_order[i];
        const int step = step_at(quality, jpeg_steps[kind][at]);
        steps_[i] = static_cast<uint8_t>(step);
        factors_[at] = static_cast<float>(1 / (step * scale[at / 8] * scale[at % 8] * 8));
    }
}

JpegBlocks::Code JpegBlocks::code_from(const JpegCode &code) {
    Code made = {};
    uint16_t bits = 0;
    size_t symbol = 0;
    for (size_t length = 1; length <= 16; ++length, bits = static_cast<uint16_t>(bits << 1))
        for (int i = 0; i < code.counts[length - 1]; ++i, ++bits, ++symbol) {
            made.bits[code.symbols[symbol]] = bits;
            made.length[code.symbols[symbol]] = static_cast<uint8_t>(length);
        }
    return made;
}

// A number behind run zeros: how many bits it has, and these, of a negative one less 1.
void JpegBlocks::put_value(JpegBits &bits, const Code &code, int run, int value) {
    const int count = std::bit_width(static_cast<unsigned>(std::abs(value)));
    const int symbol = run << 4 | count;
    bits.put(code.bits[symbol], code.length[symbol]);
    if (count > 0)
        bits.put(static_cast<uint32_t>(value < 0 ? value - 1 : value) & ((1u << count) - 1), count);
}

void JpegBlocks::put(const std::array<float, 64> &samples, int &mean, JpegBits &bits) const {
    Block block = samples;
    transform_columns(block);
    exchange_rows_and_columns(block);
    transform_columns(block);
    exchange_rows_and_columns(block);
    std::array<int, 64> values;
    for (size_t i = 0; i < 64; ++i) {
        constexpr float away_from_0 = 16384.5; // makes cutting off rounding
        values[i] = static_cast<int>(block[i] * factors_[i] + away_from_0) - 16384;
    }

    put_value(bits, means_, 0, values[0] - mean);
    mean = values[0];
    constexpr int end_of_block = 0x00, sixteen_zeros = 0xf0;
    int run = 0;
    for (size_t i = 1; i < 64; ++i) {
        const int value = values[jpeg_order[i]];
        if (value == 0) {
            ++run;
            continue;
        }
        for (; run >= 16; run -= 16)
            bits.put(details_.bits[sixteen_zeros], details_.length[sixteen_zeros]);
        put_value(bits, details_, run, value);
        run = 0;
    }
    if (run > 0)
        bits.put(details_.bits[end_of_block], details_.length[end_of_block]);
}

} // namespace apps
