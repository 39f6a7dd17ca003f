// The rows that a program brings: where they begin, and how they become 24-bit ones.
#pragma once

#include "display/kernels/show_kernels.h"
#include "library/process/owners.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace q32::display {

struct Picture {
    const std::uint8_t *image;
    int first_column;
    int stride; // may be negative
};

// What paths take: rows as the program brings them, or 24-bit pixels in the order RGB.
enum class SourceForm { as_they_are, colours };

using Widening = void(std::uint8_t *rgb, const std::uint8_t *source, const ColourEntries &entries,
                      std::size_t pixels);

class SourceRows {
public:
    // The palette gives the colours of 8-bit pixels; null: they are greys. False when there is no
    // memory.
    bool set_up(int depth, SourceForm form, HPALETTE palette, std::size_t width);

    // A row from its first column on, good until the next one. A row of bits begins within its
    // first byte, at first_bit.
    const std::uint8_t *row(const Picture &picture, std::int64_t index);
    int first_bit(const Picture &picture) const {
        return depth_ == 1 ? picture.first_column & 7 : 0;
    }

private:
    int depth_ = 0;
    std::size_t width_ = 0;
    Widening *widen_ = nullptr; // null: rows are taken as they are
    GlobalBlock widened_;
    ColourEntries entries_; // of 8-bit pixels
};

} // namespace q32::display
