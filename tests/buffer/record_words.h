// Reads a buffer's record the way programs of the family do: by field number, at the field's fixed
// place behind the handle. Knows nothing of the library's own declarations of the record.
#pragma once

#include "tests/frame/edition.h"

#include <q32base/buffers.h>

#include <cstdint>
#include <cstring>

namespace q32::test {

// Field numbers of the record, counted from 1. Every field is a word, except the name of the swap
// file, which is 260 characters, and the operation table, which is sixteen words. Words have 32
// bits; in the 64-bit edition those that are addresses, handles or bytes of pixels have 64.
enum Field : int {
    field_type = 1,
    field_data_handle,
    field_bits_per_pixel,
    field_bytes_per_pixel,
    field_width,
    field_height,
    field_capacity_rows,
    field_image_bytes,
    field_reserved_bytes,
    field_format_depth,
    field_one_colour,
    field_colour,
    field_external_data,
    field_cell_count,
    field_cell_columns,
    field_cell_rows,
    field_cell_width,
    field_cell_height,
    field_last_column_width,
    field_last_row_height,
    field_band_bytes,
    field_cell_bytes,
    field_lock_count,
    field_access_mode,
    field_last_column_cell_bytes,
    field_last_row_cell_bytes,
    field_corner_cell_bytes,
    field_cell_row_bytes,
    field_last_column_row_bytes,
    field_row_bytes,
    field_mapping,
    field_storage,
    field_file_name,
    field_file,
    field_record_entry,
    field_previous,
    field_next,
    field_unused,
    field_operations, // to 54
    field_first_sharer = 55,
    field_last_sharer,
    field_share_marker,
    field_source,
    field_self,
    field_previous_sharer,
    field_next_sharer,
    field_cell_address, // and following
};

// Entries of the operation table, counted from 0.
enum Entry {
    entry_lock,
    entry_cell_lock,
    entry_cell_unlock,
    entry_line,
    entry_point_address,
    entry_unlock,
    entry_fill_one_colour,
    entry_duplicate,
    entry_get_buffer,
    entry_merge_buffer,
    entry_get_memory,
    entry_get_memory_with_background,
    entry_merge_memory,
    entry_empty,
    entry_line_span,
    entry_fill_pattern,
};

inline constexpr int info_words = 24;

constexpr bool is_wide(int field) {
    switch (field) {
    case field_data_handle:
    case field_image_bytes:
    case field_reserved_bytes:
    case field_colour:
    case field_external_data:
    case field_band_bytes:
    case field_cell_bytes:
    case field_last_column_cell_bytes:
    case field_last_row_cell_bytes:
    case field_corner_cell_bytes:
    case field_mapping:
    case field_storage:
    case field_file:
    case field_previous:
    case field_next:
        return true;
    default:
        return field >= field_operations && field != field_share_marker;
    }
}

constexpr size_t field_bytes(int field) {
    return field == field_file_name ? 260 : is_wide(field) ? sizeof(uintptr_t) : 4;
}

// Each field lies behind the one before it, at a multiple of its own size.
constexpr size_t field_offset(int field) {
    size_t offset = 0;
    for (int earlier = 1; earlier <= field; ++earlier) {
        const size_t alignment = earlier == field_file_name ? 1 : field_bytes(earlier);
        offset = (offset + alignment - 1) / alignment * alignment;
        if (earlier < field)
            offset += field_bytes(earlier);
    }
    return offset;
}
using frame::is_64_bit;
static_assert(field_offset(field_image_bytes) == (is_64_bit ? 40 : 28));
static_assert(field_offset(field_cell_count) == (is_64_bit ? 80 : 52));
static_assert(field_offset(field_lock_count) == (is_64_bit ? 128 : 88));
static_assert(field_offset(field_storage) == (is_64_bit ? 184 : 124));
static_assert(field_offset(field_file) == (is_64_bit ? 456 : 388));
static_assert(field_offset(field_operations) == (is_64_bit ? 496 : 408));
static_assert(field_offset(field_share_marker) == (is_64_bit ? 640 : 480));
static_assert(field_offset(field_cell_address) == (is_64_bit ? 680 : 500));

// Of the name its first word.
inline uintptr_t word(HBUF32 buffer, int field) {
    uintptr_t value = 0;
    std::memcpy(&value, reinterpret_cast<const void *>(buffer + field_offset(field)),
                field == field_file_name ? 4 : field_bytes(field));
    return value;
}

// Changes a field, for states of a record that no export leads to.
inline void set_word(HBUF32 buffer, int field, uintptr_t value) {
    std::memcpy(reinterpret_cast<void *>(buffer + field_offset(field)), &value, field_bytes(field));
}

// What two descriptions of cells say; in 64 bits there is padding behind it.
inline bool same_cell(const BUF32CELL &a, const BUF32CELL &b) {
    return a.index == b.index && a.x == b.x && a.y == b.y && a.width == b.width &&
           a.height == b.height && a.bits_per_pixel == b.bits_per_pixel &&
           a.bytes_per_pixel == b.bytes_per_pixel && a.row_bytes == b.row_bytes &&
           a.bytes == b.bytes && a.pixels == b.pixels;
}

inline const char *swap_file_of(HBUF32 buffer) {
    return reinterpret_cast<const char *>(buffer + field_offset(field_file_name));
}

inline uintptr_t cell_address_word(HBUF32 buffer, int cell) {
    return word(buffer, field_cell_address + cell);
}

constexpr int field_of(Entry entry) {
    return int(field_operations) + int(entry);
}

// An entry of the operation table as a function.
template <typename Function>
Function *entry_of(HBUF32 buffer, Entry entry) {
    return reinterpret_cast<Function *>(word(buffer, field_of(entry)));
}

} // namespace q32::test
