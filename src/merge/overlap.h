// Whether the order of pixels shows. Rows are merged from top to bottom and their pixels from left
// to right, each from what memory then holds. Kernels take many pixels at once, which nobody sees
// as long as what is written for one of them is not read for another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace q32::merge {

inline constexpr std::size_t any_number = std::numeric_limits<std::size_t>::max();

// Memory that is gone through row by row.
struct Rows {
    const std::uint8_t *first = nullptr;
    std::size_t row_bytes = 0;
    std::size_t stride = 0; // from row to row
    std::size_t count = 1;

    std::uintptr_t begin() const { return reinterpret_cast<std::uintptr_t>(first); }
    std::uintptr_t end() const { return begin() + (count - 1) * stride + row_bytes; }

    bool follow_on_each_other() const { return stride == row_bytes; }
    bool operator==(const Rows &) const = default;
};

// Whether something may be read after it has been written for another pixel. What lies between the
// rows counts as theirs: parts of one image that lie beside each other seem to overlap.
inline bool overlaps(const Rows &written, const Rows &read) {
    const bool pixel_for_pixel = written == read;
    return !pixel_for_pixel && written.begin() < read.end() && read.begin() < written.end();
}

// How many pixels from these places on lie clear of what is read for them; 0 where the first has
// bytes of its own read. The steps go from pixel to pixel; read_step 0: one byte is read for all.
inline std::size_t pixels_apart(const std::uint8_t *written, std::size_t written_step,
                                const std::uint8_t *read, std::size_t read_step) {
    if (read >= written)
        return std::size_t(read - written) / written_step;
    return read_step == 0 ? any_number : std::size_t(written - read) / read_step;
}

// Whether what is read never falls behind what is written: read from left to right, it is still as
// it was.
inline bool stays_ahead(const std::uint8_t *written, std::size_t written_step,
                        const std::uint8_t *read, std::size_t read_step) {
    return read >= written && read_step >= written_step;
}

} // namespace q32::merge
