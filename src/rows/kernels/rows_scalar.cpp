// The scalar forms of the row conversions, each as its rule says it. Speed is the wide forms'.
#include "rows/kernels/formats.h"
#include "rows/kernels/row_kernels.h"

#include <cstring>

namespace q32::rows {
namespace {

// --- helpers -----------------------------------------------------------------------------------

unsigned load_word(const std::uint8_t *at) {
    return at[0] | unsigned(at[1]) << 8;
}

void store_word(std::uint8_t *at, unsigned word) {
    at[0] = std::uint8_t(word);
    at[1] = std::uint8_t(word >> 8);
}

// Truncation: the top bits of the byte, nothing rounded.
unsigned narrow(unsigned byte, Field field) {
    return byte >> field.lost_bits() << field.place;
}

// The bits below the field are always set: 0 becomes 7 (or 3), never 0. Programs depend on it; do
// not replicate the field's own bits.
std::uint8_t widen(unsigned word, Field field) {
    const unsigned value = (word & unsigned(field.mask())) >> field.place;
    return std::uint8_t(value << field.lost_bits() | 0xFFu >> field.bits);
}

template <class Format>
void rgb888_to_words(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels) {
    for (; pixels > 0; --pixels, destination += 2, source += 3)
        store_word(destination, narrow(source[0], Format::first) |
                                    narrow(source[1], Format::second) |
                                    narrow(source[2], Format::third));
}

template <class Format>
void words_to_rgb888(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels) {
    for (; pixels > 0; --pixels, destination += 3, source += 2) {
        const unsigned word = load_word(source);
        destination[0] = widen(word, Format::first);
        destination[1] = widen(word, Format::second);
        destination[2] = widen(word, Format::third);
    }
}

template <std::size_t channels>
void map_bytes(std::uint8_t *destination, const std::uint8_t *source, const std::uint8_t *tables,
               std::size_t pixels) {
    for (; pixels > 0; --pixels, destination += channels, source += channels)
        for (std::size_t k = 0; k < channels; ++k)
            destination[k] = tables[256 * k + source[k]];
}

// The weight of the entry itself is the low byte, of its successor the rest: a sample with low byte
// 0 gives the next entry, not its own. Required: tables are made for it.
std::uint16_t interpolate(const std::uint8_t *table, std::size_t sample) {
    const std::size_t high = sample >> 8, next = high < 255 ? high + 1 : 255;
    const int low = int(sample & 255);
    return std::uint16_t((table[high] - table[next]) * low + table[next] * 256);
}

template <std::size_t channels>
void map_words(std::uint8_t *destination, const std::uint8_t *source, const std::uint8_t *tables,
               std::size_t pixels) {
    for (; pixels > 0; --pixels, destination += 2 * channels, source += 2 * channels)
        for (std::size_t k = 0; k < channels; ++k) {
            const std::uint16_t mapped =
                interpolate(tables + 256 * k, std::uint16_t(load_word(source + 2 * k)));
            std::memcpy(destination + 2 * k, &mapped, sizeof mapped);
        }
}

// Byte by byte of the destination, each from the two source bytes that it straddles. A byte that
// the source run does not touch is not read; its bits fall to the mask.
void copy_bits(std::uint8_t *destination, std::size_t destination_bit, const std::uint8_t *source,
               std::size_t source_bit, std::size_t bits) {
    if (bits == 0)
        return;
    destination += destination_bit / 8;
    source += source_bit / 8;
    const std::size_t to = destination_bit % 8, from = source_bit % 8;
    const std::size_t destination_bytes = (to + bits + 7) / 8;
    const std::size_t source_bytes = (from + bits + 7) / 8;
    const std::size_t bits_behind = 8 * destination_bytes - to - bits;
    const std::size_t lag = from < to ? 1 : 0; // the first byte straddles the run's beginning

    const auto source_byte = [=](std::size_t index) {
        return index < source_bytes ? unsigned(source[index]) : 0;
    };
    for (std::size_t i = 0; i < destination_bytes; ++i) {
        const unsigned pair = source_byte(i - lag) << 8 | source_byte(i - lag + 1);
        const unsigned value = pair << (from + 8 - to) % 8 >> 8;
        unsigned mask = 0xFF;
        if (i == 0)
            mask &= 0xFFu >> to;
        if (i == destination_bytes - 1)
            mask &= 0xFFu << bits_behind;
        destination[i] = std::uint8_t((value & mask) | (destination[i] & ~mask));
    }
}

// --- scalar forms ------------------------------------------------------------------------------

struct ScalarRows {
    template <std::size_t bytes_per_pixel>
    static void fill(std::uint8_t *destination, const std::uint8_t *pattern, std::size_t pixels) {
        if constexpr (bytes_per_pixel == 1) {
            for (std::size_t i = 0; i < pixels; ++i)
                destination[i] = pattern[0];
        } else {
            // As a number: out of single bytes, vectors are made in memory in 64 bits, one a store.
            std::uint8_t pixel[bytes_per_pixel];
            std::memcpy(pixel, pattern, bytes_per_pixel);
#pragma GCC unroll 4
            for (; pixels > 0; --pixels, destination += bytes_per_pixel)
                std::memcpy(destination, pixel, bytes_per_pixel);
        }
    }

    static void exchange(std::uint8_t *a, std::uint8_t *b, std::size_t bytes) {
        for (std::size_t i = 0; i < bytes; ++i) {
            const std::uint8_t kept = a[i];
            a[i] = b[i];
            b[i] = kept;
        }
    }

    static void invert(std::uint8_t *destination, const std::uint8_t *source, std::size_t bytes) {
        for (std::size_t i = 0; i < bytes; ++i)
            destination[i] = std::uint8_t(255 - source[i]);
    }

    static void copy_rows(std::uint8_t *destination, std::size_t destination_stride,
                          const std::uint8_t *source, std::size_t source_stride,
                          std::size_t row_bytes, std::size_t rows) {
        for (; rows != 0; --rows, destination += destination_stride, source += source_stride)
            std::memcpy(destination, source, row_bytes);
    }

    static void copy_bit_rows(std::uint8_t *destination, std::size_t destination_stride,
                              std::size_t destination_bit, const std::uint8_t *source,
                              std::size_t source_stride, std::size_t source_bit, std::size_t bits,
                              std::size_t rows) {
        for (; rows != 0; --rows, destination += destination_stride, source += source_stride)
            copy_bits(destination, destination_bit, source, source_bit, bits);
    }

    // Pixel 0 is the highest bit of the first byte.
    static void bit_to_byte(std::uint8_t *destination, const std::uint8_t *source,
                            std::size_t pixels, std::uint8_t value) {
        for (std::size_t i = 0; i < pixels; ++i) {
            const int bit = source[i / 8] >> (7 - i % 8) & 1;
            destination[i] = std::uint8_t(bit * value);
        }
    }

    // The bits of the last byte that belong to no pixel are 0. A byte equal to the threshold gives
    // 0.
    static void byte_to_bit(std::uint8_t *destination, const std::uint8_t *source,
                            std::size_t pixels, std::uint8_t threshold) {
        unsigned bits = 0;
        for (std::size_t i = 0; i < pixels; ++i) {
            bits |= unsigned(source[i] > threshold) << (7 - i % 8);
            if (i % 8 == 7 || i == pixels - 1) {
                destination[i / 8] = std::uint8_t(bits);
                bits = 0;
            }
        }
    }

    static constexpr auto rgb888_to_555 = rgb888_to_words<Rgb555>;
    static constexpr auto rgb888_to_565 = rgb888_to_words<Rgb565>;
    static constexpr auto rgb555_to_888 = words_to_rgb888<Rgb555>;
    static constexpr auto rgb565_to_888 = words_to_rgb888<Rgb565>;

    // All bytes of a pixel are read before one is written: both runs may be the same.
    static void swap_red_blue(std::uint8_t *destination, const std::uint8_t *source,
                              std::size_t pixels) {
        for (; pixels > 0; --pixels, destination += 3, source += 3) {
            const std::uint8_t first = source[0], second = source[1], third = source[2];
            destination[0] = third;
            destination[1] = second;
            destination[2] = first;
        }
    }

    static constexpr auto map_8 = map_bytes<1>;
    static constexpr auto map_24 = map_bytes<3>;
    static constexpr auto map_16 = map_words<1>;
    static constexpr auto map_48 = map_words<3>;
};

} // namespace

constinit const RowKernels scalar_row_kernels = row_table<ScalarRows>();

} // namespace q32::rows
