// Making, listing and freeing of buffer records.
#include "buffer/records.h"

#include "buffer/failures.h"
#include "buffer/types.h"
#include "library/process/owners.h"

namespace q32::buffer {

bool are_sides_within_limit(const Geometry &geometry) {
    if (geometry.width > Q32_MAX_SIDE)
        return fail(site::too_wide);
    if (geometry.height > Q32_MAX_SIDE)
        return fail(site::too_high);
    return true;
}

bool is_valid(const Geometry &geometry) {
    constexpr int most_bits_per_pixel = 64;
    return geometry.width >= 1 && geometry.height >= 1 && geometry.bits_per_pixel >= 1 &&
           geometry.bits_per_pixel <= most_bits_per_pixel;
}

Record *make_record(uint32_t type, const Geometry &geometry) {
    Record *const record = global_alloc<Record>(GMEM_ZEROINIT, sizeof(Record));
    if (record == nullptr)
        return nullptr;
    BUF32INFO &info = record->info;
    info.type = type;
    info.bits_per_pixel = geometry.bits_per_pixel;
    info.bytes_per_pixel = geometry.bits_per_pixel / 8;
    info.width = geometry.width;
    info.height = geometry.height;
    // Always the height, whatever the caller's extra argument says: a buffer never grows beyond its
    // allocated height. Programs count on buf32ReAlloc refusing more.
    info.capacity_rows = geometry.height;
    record->row_bytes = packed_bytes(geometry.width, geometry.bits_per_pixel);
    info.image_bytes = bytes_of_rows(geometry.height, record->row_bytes);
    info.reserved_bytes = bytes_of_rows(info.capacity_rows, record->row_bytes);
    info.one_colour = record->is_one_colour() ? 1 : 0;
    info.access_mode = BUF32_READ;
    record->record_entry = no_record_entry;
    record->sharing.self = record;
    record->operations = *type_of(type).operations;
    return record;
}

int link(Record &record, HBUF32 *handle) {
    append_to_list(record);
    *handle = handle_of(record);
    return 1;
}

int free_record(Record &record) {
    if (record.is_freed())
        return fail(site::already_freed);
    remove_from_list(record);
    record.info.type = freed_type;
    GlobalFree(&record);
    return 1;
}

} // namespace q32::buffer
