// The buffer record: every fact about one buffer, in the order and at the offsets that programs of
// the family rely on. The record's address is the handle.
#pragma once

#include "buffer/operations.h"
#include "geometry/area.h"

#include <q32base/buffers.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace q32::buffer {

struct Record;

inline constexpr uint32_t freed_type = 0xFFFFFFFF;
inline constexpr uint32_t no_record_entry = 0xFFFFFFFF;
inline constexpr uint32_t share_marker = 64;
inline constexpr int max_path = 260;
inline constexpr int largest_cell_side = 128; // pixels

// Node in a source's chain of sharers. It lies inside the sharing buffer's record.
struct SharingNode {
    uint32_t marker;       // share_marker while this buffer reads another's storage
    Record *source;        // the buffer whose storage is shared
    Record *self;          // the record that this node lies in
    SharingNode *previous; // in the source's chain
    SharingNode *next;
};

struct Record {
    BUF32INFO info; // what buf32GetInfo copies out

    size_t last_column_cell_bytes;  // cell height x last-column row bytes
    size_t last_row_cell_bytes;     // cell row bytes x last row height
    size_t corner_cell_bytes;       // last-column row bytes x last row height
    uint32_t cell_row_bytes;        // bytes of one row of a full cell
    uint32_t last_column_row_bytes; // bytes of one row of a last-column cell
    uint32_t row_bytes;             // bytes of one image row

    HANDLE mapping;           // of a swap file, else null
    std::byte *storage;       // memory or mapped view, else null
    char file_name[max_path]; // of the swap file
    HANDLE file;              // open swap file, else null
    uint32_t record_entry;    // of the swap file in the process's record file

    Record *previous; // in the list of live buffers
    Record *next;
    uint32_t unused;

    Operations operations;

    SharingNode *first_sharer; // chain of the buffers that share this one's storage
    SharingNode *last_sharer;
    SharingNode sharing; // this buffer's own place in its source's chain

    std::byte *cell_address[1]; // as many as the layout needs: one per cell, or per row of a bitmap

    bool is_duplicate() const { return sharing.marker == share_marker; }
    bool is_freed() const { return info.type == freed_type; }
    bool is_file_backed() const { return file != nullptr; }

    // Bits of the type, which count in all values, also in those that are no BUF32_ one.
    bool is_one_colour() const { return (info.type & BUF32_ONE_COLOUR) != 0; }
    bool is_linear() const { return (info.type & 0x1E) != 0; }
    bool has_changeable_height() const {
        return (info.type & (BUF32_LINEAR_MEMORY | BUF32_LINEAR_SHRINK)) != 0;
    }

    // The record whose storage this buffer reads.
    Record &owner() { return is_duplicate() ? *sharing.source : *this; }
    const Record &owner() const { return is_duplicate() ? *sharing.source : *this; }
};

// Of the 32-bit edition and of the 64-bit one.
constexpr bool lies_at(size_t offset, size_t in_32_bits, size_t in_64_bits) {
    return offset == (sizeof(void *) == 4 ? in_32_bits : in_64_bits);
}
static_assert(lies_at(offsetof(Record, last_column_cell_bytes), 24 * 4, 136));
static_assert(lies_at(offsetof(Record, row_bytes), 29 * 4, 168));
static_assert(lies_at(offsetof(Record, storage), 31 * 4, 184));
static_assert(lies_at(offsetof(Record, file_name), 32 * 4, 192));
static_assert(lies_at(offsetof(Record, file), 388, 456));
static_assert(lies_at(offsetof(Record, record_entry), 392, 464));
static_assert(lies_at(offsetof(Record, previous), 396, 472));
static_assert(lies_at(offsetof(Record, operations), 408, 496));
static_assert(lies_at(offsetof(Record, first_sharer), 472, 624));
static_assert(lies_at(offsetof(Record, sharing), 480, 640));
static_assert(lies_at(offsetof(Record, cell_address), 500, 680));

inline Record *record_of(HBUF32 handle) {
    return reinterpret_cast<Record *>(handle);
}
inline HBUF32 handle_of(const Record &record) {
    return reinterpret_cast<HBUF32>(&record);
}

// Which cell of a row or column of cells a pixel of the image lies in. A side is largest_cell_side
// or reaches to the image's end; a division takes longer than a small rectangle's pixels.
inline int cell_number(int at, int side) {
    if (at < side)
        return 0;
    return side == largest_cell_side ? int(unsigned(at) / unsigned(largest_cell_side)) : at / side;
}

// For outputs that a caller may leave out.
template <typename T>
void store(T *output, std::type_identity_t<T> value) {
    if (output != nullptr)
        *output = value;
}

// What a buffer's image covers.
using q32::area_of;
inline Area area_of(const Record &record) {
    return {0, 0, record.info.width, record.info.height};
}

// Bytes of count pixels, packed to the byte.
constexpr uint32_t packed_bytes(int count, int bits_per_pixel) {
    return (uint32_t(count) * uint32_t(bits_per_pixel) + 7) / 8;
}

// rows x row_bytes; SIZE_MAX when that needs more bits than a size has: no storage can hold it.
inline constexpr size_t too_many_bytes = SIZE_MAX;
constexpr size_t bytes_of_rows(int rows, uint32_t row_bytes) {
    const uint64_t bytes = uint64_t(uint32_t(rows)) * row_bytes;
    return bytes < too_many_bytes ? size_t(bytes) : too_many_bytes;
}

} // namespace q32::buffer
