// Rows of bytes between two strides. All rows have one length: how they are moved is decided once,
// and every row then takes the same few moves, the last of which ends with the row and may cover
// bytes twice.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/scalar.h"
#include "rows/kernels/vectors.h"

namespace q32::rows {
namespace {

struct StridedRows {
    uint8_t *destination;
    size_t destination_stride;
    const uint8_t *source;
    size_t source_stride;
    size_t row_bytes;
    size_t rows;

    bool is_one_block() const {
        return destination_stride == row_bytes && source_stride == row_bytes;
    }

    template <class CopyRow>
    void copy_each(CopyRow copy_row) const {
        uint8_t *to = destination;
        const uint8_t *from = source;
        for (size_t left = rows; left != 0; --left) {
            copy_row(to, from);
            to += destination_stride;
            from += source_stride;
        }
    }
};

// A row of one to two units: its first unit and its last.
template <class Unit>
void copy_in_two(const StridedRows &all) {
    const size_t last = all.row_bytes - sizeof(Unit);
    all.copy_each([=](uint8_t *to, const uint8_t *from) {
        Unit begin, end;
        std::memcpy(&begin, from, sizeof begin);
        std::memcpy(&end, from + last, sizeof end);
        std::memcpy(to, &begin, sizeof begin);
        std::memcpy(to + last, &end, sizeof end);
    });
}

template <class V>
struct TwoVectors {
    V first, second;
};

template <class V>
struct FourVectors {
    V first, second, third, fourth;
};

// A row of at least one block.
template <class Block>
void copy_in_blocks(const StridedRows &all) {
    const size_t last = all.row_bytes - sizeof(Block);
    all.copy_each([=](uint8_t *to, const uint8_t *from) {
        Block block;
        for (size_t done = 0; done < last; done += sizeof block) {
            std::memcpy(&block, from + done, sizeof block);
            std::memcpy(to + done, &block, sizeof block);
        }
        std::memcpy(&block, from + last, sizeof block);
        std::memcpy(to + last, &block, sizeof block);
    });
}

template <class V>
void copy_strided_rows(const StridedRows &all) {
    constexpr size_t long_row = 4096; // from here on the runtime's own copy is as good
    const size_t bytes = all.row_bytes;
    if (all.is_one_block())
        std::memcpy(all.destination, all.source, bytes * all.rows);
    else if (bytes >= long_row)
        all.copy_each([=](uint8_t *to, const uint8_t *from) { std::memcpy(to, from, bytes); });
    else if (bytes > 4 * sizeof(V))
        copy_in_blocks<FourVectors<V>>(all);
    else if (bytes >= 2 * sizeof(V))
        copy_in_two<TwoVectors<V>>(all);
    else if (bytes >= sizeof(V))
        copy_in_two<V>(all);
    else if (bytes >= sizeof(V16))
        copy_in_two<V16>(all);
    else if (bytes >= 8)
        copy_in_two<std::uint64_t>(all);
    else if (bytes >= 4)
        copy_in_two<std::uint32_t>(all);
    else if (bytes >= 2)
        copy_in_two<std::uint16_t>(all);
    else if (bytes == 1)
        copy_in_two<uint8_t>(all);
}

} // namespace
} // namespace q32::rows
