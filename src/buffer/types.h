// What a buffer type is beside its operations: a row for each type, which the code asks wherever
// types differ. A further type is one more row.
#pragma once

#include "buffer/allocation.h"
#include "buffer/failures.h"
#include "buffer/pixels.h"
#include "buffer/record.h"
#include "buffer/sharing.h"
#include "buffer/storage.h"

#include <array>
#include <bit>

namespace q32::buffer {

// Where storage for all pixels of a buffer comes from.
enum class Storage {
    by_policy,   // memory or a swap file, as the settings say
    memory_only, // and fails where there is none
    file,        // save for small buffers
    callers,     // the pixels are the caller's; the library has no storage of its own for them
};

// What a row says with functions; entries.h declares those of special types by these.
namespace trait {

using HasExtra = bool(const void *extra);
using Allocate = int(Record *record, const void *extra, HBUF32 *handle);
using MakeAlike = HBUF32(const Record &record, int width, int height);
using Read = bool(const Record &record, const Area &area, const PlainRows &rows);

} // namespace trait

// What a row does not say is as in ordinary buffers.
struct BufferType {
    uint32_t type;
    const Operations *operations;

    // --- allocation -----------------------------------------------------------------------------

    // The whole allocation, for types whose geometry comes with the extra argument. Null: it comes
    // from the caller, and what follows applies.
    int (*allocate_over)(HBUF32 *handle, HGLOBAL extra) = nullptr;

    // Whether buf32Alloc's extra argument is what the type needs.
    trait::HasExtra *has_extra = [](const void *) { return true; };

    // Makes a buffer of a fresh record, which it takes over, and stores the handle.
    trait::Allocate *allocate = allocate_ordinary;

    // A buffer for copies of this one's pixels; 0 after a report.
    trait::MakeAlike *make_alike = make_tiled;

    // --- pixels ---------------------------------------------------------------------------------

    Storage storage_kind = Storage::by_policy;

    // Copies an area inside the image into the rows, for read_pixels.
    trait::Read *read = read_cells;

    // Whether they lie in the cells of the address table: only these are written where they lie.
    bool has_cells = true;
    bool has_address_per_row = false; // and not per cell

    // Reading without a lock of its own leaves no other trace than the access mode.
    bool is_read_without_lock = false;

    // What record.storage, block or not, counts as in the memory in use.
    size_t (*memory_bytes)(const Record &record) = [](const Record &record) {
        return record.info.reserved_bytes;
    };

    // Gives a sharer without storage its own copy of the source's pixels. Reports and returns false
    // when there is no memory.
    bool (*copy_from_source)(Record &sharer, const Record &source) = copy_to_own_storage;

    // --- release --------------------------------------------------------------------------------

    // What the record holds beside its pixels.
    void (*release_extra)(Record &record) = [](Record &) {};
    void (*release_pixels)(Record &record) = release_storage;
    bool is_freed_under_lock = false;

    // --- what callers are told ------------------------------------------------------------------

    // buf32PointAddr: the address, and the report where that is null.
    entry::PointAddress *address = [](Record &, int, int) -> void * { return nullptr; };
    const FailureSite *no_address = &site::no_point_for_type;

    // buf32GetInfo says BUF32_TILED: programs take the buffer for an ordinary one.
    bool is_told_as_tiled = false;
};

// The row of each value that has one bit, at the bit's number and 1; of no bit, first.
extern const std::array<const BufferType *, 33> types_by_bit;
const BufferType &type_of_bits(uint32_t type);

inline const BufferType &type_of(uint32_t type) {
    const bool has_at_most_one_bit = (type & (type - 1)) == 0;
    return has_at_most_one_bit ? *types_by_bit[std::bit_width(type)] : type_of_bits(type);
}
inline const BufferType &type_of(const Record &record) {
    return type_of(record.info.type);
}

// Copies the pixels of an area that lies inside the image into the rows; bits of the rows around
// them stay as they are. Every type can be read, from where its row says. False when the buffer has
// no pixels to read.
inline bool read_pixels(const Record &record, const Area &area, const PlainRows &rows) {
    return type_of(record).read(record, area, rows);
}

inline bool has_callers_pixels(const Record &record) {
    return type_of(record).storage_kind == Storage::callers;
}

} // namespace q32::buffer
