// The scalar forms of scaling by whole factors, each as its rule says it. Speed is the wide forms'.
#include "rows/kernels/each_row.h"
#include "rows/kernels/scaling_table.h"

#include <cstring>

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

// --- scalar forms ------------------------------------------------------------------------------

struct ScalarRow {
    static void enlarge_bits(std::uint8_t *destination, const std::uint8_t *source,
                             std::size_t pixels, std::size_t factor) {
        BitWriter bits(destination);
        for (std::size_t pixel = 0; pixel < pixels; ++pixel)
            for (std::size_t i = 0; i < factor; ++i)
                bits.put(bit_at(source, pixel));
        bits.finish();
    }

    static void reduce_bits(std::uint8_t *destination, const std::uint8_t *source,
                            std::size_t pixels, std::size_t factor) {
        BitWriter bits(destination);
        for (std::size_t first = 0; first < pixels; first += factor)
            bits.put(bit_at(source, first));
        bits.finish();
    }

    template <class Pixel>
    static void enlarge(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
                        std::size_t factor) {
        for (; pixels > 0; --pixels, source += Pixel::bytes)
            if constexpr (Pixel::bytes > 1 && Pixel::in_pixel(0) == 0) {
                // As a number, as in the scalar form of fill.
                std::uint8_t pixel[Pixel::bytes];
                std::memcpy(pixel, source, Pixel::bytes);
                for (std::size_t i = 0; i < factor; ++i, destination += Pixel::bytes)
                    std::memcpy(destination, pixel, Pixel::bytes);
            } else {
                for (std::size_t i = 0; i < factor; ++i, destination += Pixel::bytes)
                    for (std::size_t k = 0; k < Pixel::bytes; ++k)
                        destination[k] = source[Pixel::in_pixel(k)];
            }
    }

    template <class Pixel>
    static void reduce(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
                       std::size_t factor) {
        for (std::size_t group = 0; group < pixels; group += factor, destination += Pixel::bytes)
            for (std::size_t k = 0; k < Pixel::bytes; ++k)
                destination[k] = source[Pixel::bytes * group + Pixel::in_group(k, factor)];
    }
};

template <auto scale_row>
void each(const ScaledRows &all) {
    each_row(all, [&](std::uint8_t *destination, const std::uint8_t *source) {
        scale_row(destination, source, all.pixels, all.factor);
    });
}

template <auto scale_row>
RowScaling *each_by(std::size_t) {
    return each<scale_row>;
}

struct ScalarScaling {
    static constexpr auto enlarge_bits = each_by<ScalarRow::enlarge_bits>;
    static constexpr auto reduce_bits = each_by<ScalarRow::reduce_bits>;
    template <class Pixel, PixelKind>
    static constexpr auto enlarge = each_by<ScalarRow::enlarge<Pixel>>;
    template <class Pixel, PixelKind>
    static constexpr auto reduce = each_by<ScalarRow::reduce<Pixel>>;
};

} // namespace

constinit const ScalingKernels scalar_scaling_kernels = scaling_table<ScalarScaling>();

} // namespace q32::rows
