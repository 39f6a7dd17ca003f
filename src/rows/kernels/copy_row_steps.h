// Rows of bytes between two strides. All rows have one length: how they are moved is decided once,
// and every row then takes the same few moves, the last of which ends with the row and may cover
// bytes twice.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/operations.h"

#include <cstring>

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

// Moves of one size, which load everything before they store anything.
template <class Number>
struct MoveNumber {
    static constexpr size_t bytes = sizeof(Number);
    Number held;

    void load(const uint8_t *from) { std::memcpy(&held, from, sizeof held); }
    void store(uint8_t *to) const { std::memcpy(to, &held, sizeof held); }
};

template <class V, int count>
struct MoveVectors {
    static constexpr size_t bytes = count * sizeof(V);
    V held[count];

    void load(const uint8_t *from) {
        for (int i = 0; i < count; ++i)
            held[i] = simd::load<V>(from + i * sizeof(V));
    }
    void store(uint8_t *to) const {
        for (int i = 0; i < count; ++i)
            simd::store(to + i * sizeof(V), held[i]);
    }
};

// A row of one to two moves: its beginning and its end.
template <class Move>
void copy_in_two(const StridedRows &all) {
    const size_t last = all.row_bytes - Move::bytes;
    all.copy_each([=](uint8_t *to, const uint8_t *from) {
        Move begin, end;
        begin.load(from);
        end.load(from + last);
        begin.store(to);
        end.store(to + last);
    });
}

// A row of at least one move.
template <class Move>
void copy_in_moves(const StridedRows &all) {
    const size_t last = all.row_bytes - Move::bytes;
    all.copy_each([=](uint8_t *to, const uint8_t *from) {
        Move move;
        for (size_t done = 0; done < last; done += Move::bytes) {
            move.load(from + done);
            move.store(to + done);
        }
        move.load(from + last);
        move.store(to + last);
    });
}

template <class V>
void copy_strided_rows(uint8_t *destination, size_t destination_stride, const uint8_t *source,
                       size_t source_stride, size_t bytes, size_t rows) {
    constexpr size_t long_row = 4096; // from here on the runtime's own copy is as good
    const StridedRows all{destination, destination_stride, source, source_stride, bytes, rows};
    if (all.is_one_block())
        std::memcpy(all.destination, all.source, bytes * all.rows);
    else if (bytes >= long_row)
        all.copy_each([=](uint8_t *to, const uint8_t *from) { std::memcpy(to, from, bytes); });
    else if (bytes > 4 * sizeof(V))
        copy_in_moves<MoveVectors<V, 4>>(all);
    else if (bytes >= 2 * sizeof(V))
        copy_in_two<MoveVectors<V, 2>>(all);
    else if (bytes >= sizeof(V))
        copy_in_two<MoveVectors<V, 1>>(all);
    else if (bytes >= sizeof(V16))
        copy_in_two<MoveVectors<V16, 1>>(all);
    else if (bytes >= 8)
        copy_in_two<MoveNumber<std::uint64_t>>(all);
    else if (bytes >= 4)
        copy_in_two<MoveNumber<std::uint32_t>>(all);
    else if (bytes >= 2)
        copy_in_two<MoveNumber<std::uint16_t>>(all);
    else if (bytes == 1)
        copy_in_two<MoveNumber<uint8_t>>(all);
}

} // namespace
} // namespace q32::rows
