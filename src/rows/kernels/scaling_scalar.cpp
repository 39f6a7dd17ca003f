// The scalar forms of scaling by whole factors, each as its rule says it. Speed is the wide forms'.
#include "rows/kernels/scaling_scalar.h"

namespace q32::rows {
namespace {

// --- helpers -----------------------------------------------------------------------------------

// Bits one behind the other, from the highest of the first byte on.
class BitWriter {
public:
    explicit BitWriter(std::uint8_t *destination) : at_(destination) {}

    void put(unsigned bit) {
        held_ = held_ << 1 | bit;
        if (++count_ == 8) {
            *at_++ = std::uint8_t(held_);
            held_ = count_ = 0;
        }
    }
    // Stores a last byte that is not full, its low bits clear.
    void finish() {
        if (count_ != 0)
            *at_ = std::uint8_t(held_ << (8 - count_));
    }

private:
    std::uint8_t *at_;
    unsigned held_ = 0, count_ = 0;
};

unsigned bit_at(const std::uint8_t *source, std::size_t index) {
    return source[index / 8] >> (7 - index % 8) & 1;
}

template <std::size_t bytes>
void copy_pixel(std::uint8_t *destination, const std::uint8_t *source) {
    for (std::size_t i = 0; i < bytes; ++i)
        destination[i] = source[i];
}

template <std::size_t bytes>
void enlarge(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
             std::size_t factor) {
    for (; pixels > 0; --pixels, source += bytes)
        for (std::size_t i = 0; i < factor; ++i, destination += bytes)
            copy_pixel<bytes>(destination, source);
}

template <std::size_t bytes>
void reduce(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
            std::size_t factor) {
    for (std::size_t first = 0; first < pixels; first += factor, destination += bytes)
        copy_pixel<bytes>(destination, source + bytes * first);
}

} // namespace

// --- scalar forms ------------------------------------------------------------------------------

void enlarge_bits(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
                  std::size_t factor) {
    BitWriter bits(destination);
    for (std::size_t pixel = 0; pixel < pixels; ++pixel)
        for (std::size_t i = 0; i < factor; ++i)
            bits.put(bit_at(source, pixel));
    bits.finish();
}

void reduce_bits(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
                 std::size_t factor) {
    BitWriter bits(destination);
    for (std::size_t first = 0; first < pixels; first += factor)
        bits.put(bit_at(source, first));
    bits.finish();
}

void enlarge_1(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
               std::size_t factor) {
    enlarge<1>(destination, source, pixels, factor);
}

void enlarge_2(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
               std::size_t factor) {
    enlarge<2>(destination, source, pixels, factor);
}

void enlarge_3(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
               std::size_t factor) {
    enlarge<3>(destination, source, pixels, factor);
}

void enlarge_4(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
               std::size_t factor) {
    enlarge<4>(destination, source, pixels, factor);
}

void enlarge_3_swapped(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
                       std::size_t factor) {
    for (; pixels > 0; --pixels, source += 3)
        for (std::size_t i = 0; i < factor; ++i, destination += 3) {
            destination[0] = source[2];
            destination[1] = source[1];
            destination[2] = source[0];
        }
}

void reduce_1(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
              std::size_t factor) {
    reduce<1>(destination, source, pixels, factor);
}

void reduce_2(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
              std::size_t factor) {
    reduce<2>(destination, source, pixels, factor);
}

void reduce_3(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
              std::size_t factor) {
    reduce<3>(destination, source, pixels, factor);
}

void reduce_4(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
              std::size_t factor) {
    reduce<4>(destination, source, pixels, factor);
}

// Quirk: a pixel is mixed of two, the third byte from the first of its group, the others from the
// last. Callers see colours that no source pixel has; required. Do not take one pixel for all.
void reduce_3_swapped(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
                      std::size_t factor) {
    for (std::size_t group = 0; group < pixels; group += factor, destination += 3) {
        const std::uint8_t *const first = source + 3 * group;
        const std::uint8_t *const last = first + 3 * (factor - 1);
        destination[0] = last[2];
        destination[1] = last[1];
        destination[2] = first[0];
    }
}

// --- entry table -------------------------------------------------------------------------------

constinit const ScalingKernels scalar_scaling_kernels = {
    .enlarge_bits = enlarge_bits,
    .enlarge = {enlarge_1, enlarge_2, enlarge_3, enlarge_4, enlarge_3_swapped},
    .reduce_bits = reduce_bits,
    .reduce = {reduce_1, reduce_2, reduce_3, reduce_4, reduce_3_swapped},
};

} // namespace q32::rows
