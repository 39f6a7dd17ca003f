// Reads a buffer's record the way programs of the family do: by field number, at the field's fixed
// place behind the handle. Knows nothing of the library's own declarations of the record.
#pragma once

#include <q32base/buffers.h>

#include <cstdint>
#include <cstring>

namespace q32::test {

// Field numbers of the record, counted from 1. Every field is a 32-bit word, except the name of the
// swap file, which is 260 characters, and the operation table, which is sixteen words.
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

constexpr uint32_t field_offset(int field) {
    constexpr uint32_t name_words = 260 / 4;
    const uint32_t words = uint32_t(field) - 1 + (field > field_file_name ? name_words - 1 : 0);
    return words * 4;
}
static_assert(field_offset(field_file) == 388);
static_assert(field_offset(field_operations) == 408);
static_assert(field_offset(field_cell_address) == 500);

inline uint32_t word(HBUF32 buffer, int field) {
    uint32_t value;
    std::memcpy(&value, reinterpret_cast<const void *>(buffer + field_offset(field)), 4);
    return value;
}

// Changes a field, for states of a record that no export leads to.
inline void set_word(HBUF32 buffer, int field, uint32_t value) {
    std::memcpy(reinterpret_cast<void *>(buffer + field_offset(field)), &value, 4);
}

inline const char *swap_file_of(HBUF32 buffer) {
    return reinterpret_cast<const char *>(buffer + field_offset(field_file_name));
}

inline uint32_t cell_address_word(HBUF32 buffer, int cell) {
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
