// Duplicates. Who shares with whom is sharing.cpp's business; a bitmap's own part is in
// bitmap_entries.cpp.
#include "buffer/duplicates.h"

#include "buffer/buffer_copy.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/layout.h"
#include "buffer/one_colour.h"
#include "buffer/pattern.h"
#include "buffer/records.h"
#include "buffer/sharing.h"
#include "buffer/storage.h"
#include "library/process/owners.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace q32::buffer {
namespace {

constexpr DuplicateSites ordinary_sites = {
    .types_differ = site::duplicate_types_differ,
    .sizes_differ = site::duplicate_sizes_differ,
    .no_record = site::no_duplicate_record,
    .no_layout = site::no_duplicate_layout,
};

constexpr DuplicateSites one_colour_sites = {
    .types_differ = site::one_colour_types_differ,
    .sizes_differ = site::one_colour_sizes_differ,
    .no_record = site::no_one_colour_duplicate,
    .no_layout = site::no_one_colour_duplicate,
};

// A linear buffer that went through one colour is a tiled one with a single cell: two buffers of
// one type and size may differ in their cells. Sharers find theirs in the source's address table.
bool has_same_cells(const Record &a, const Record &b) {
    return a.info.cell_width == b.info.cell_width && a.info.cell_height == b.info.cell_height;
}

int share_with_existing(Record &source, Record &destination, const DuplicateSites &sites) {
    if (!fits(source, destination, sites))
        return 0;
    if (!has_same_cells(source, destination))
        return copy_area(source, area_of(source), destination, 0, 0);
    // Itself, its source, or a sharer of the same source: refused without a report, and before
    // anything is done to the destination.
    if (&source.owner() == &destination.owner())
        return 0;
    // Its pixels are lost to it, not to those who share them.
    if (!prepare_for_writing(destination))
        return 0;
    share(destination, source);
    return 1;
}

// Byte 0 of the colour stays the destination's own. Required: a caller who duplicates (10, 20, 30)
// into an existing buffer of (1, 2, 3) gets (1, 20, 30), and under 9 bits no change at all.
void copy_colour_but_for_its_first_byte(const Record &source, Record &destination) {
    const uint32_t bytes = packed_bytes(1, source.info.bits_per_pixel);
    const auto *const from = reinterpret_cast<const std::byte *>(source.info.colour);
    auto *const to = reinterpret_cast<std::byte *>(destination.info.colour);
    std::copy(from + 1, from + bytes, to + 1);
    if (destination.storage != nullptr)
        fill_block(destination);
}

// Of a pattern buffer that has lost its pattern's pixels the duplicate has none either.
bool copy_pattern(const Record &source, PatternCopy &copy) {
    const BUF32PATTERN pattern = pattern_of(source);
    if (pattern.pixels == nullptr)
        return true;
    copy.reset(copy_pattern_pixels(pattern, source.info.bits_per_pixel));
    return copy || fail(site::no_pattern_copy);
}

int make_pattern_duplicate(const Record &source, HBUF32 *destination) {
    GlobalBlock owned(copy_record(source, ordinary_sites));
    PatternCopy pixels;
    if (!owned || !copy_pattern(source, pixels))
        return 0;
    Record &copy = *static_cast<Record *>(owned.release());
    set_pattern(copy, pattern_of(source), pixels.release());
    return link(copy, destination);
}

int give_pattern(const Record &source, Record &destination) {
    PatternCopy pixels;
    if (!fits(source, destination, ordinary_sites) || &destination == &source ||
        !copy_pattern(source, pixels))
        return 0;
    // A pattern of another height needs another block. One that fits stays: it may be locked.
    if (pattern_block_bytes(destination) !=
        pattern_block_bytes(destination, pattern_of(source).height)) {
        release_storage(destination);
        destination.cell_address[0] = nullptr;
    }
    free_pattern_copy(destination);
    set_pattern(destination, pattern_of(source), pixels.release());
    return 1;
}

} // namespace

bool fits(const Record &source, const Record &destination, const DuplicateSites &sites) {
    const BUF32INFO &from = source.info;
    const BUF32INFO &to = destination.info;
    if (from.type != to.type)
        return fail(sites.types_differ);
    if (from.width != to.width || from.height != to.height ||
        from.bits_per_pixel != to.bits_per_pixel)
        return fail(sites.sizes_differ);
    return true;
}

Record *copy_record(const Record &source, const DuplicateSites &sites) {
    Record *copy = global_alloc<Record>(GMEM_ZEROINIT, sizeof(Record));
    if (copy == nullptr) {
        fail(sites.no_record);
        return nullptr;
    }
    std::memcpy(static_cast<void *>(copy), &source, offsetof(Record, cell_address));
    copy->info.data_handle = nullptr;
    copy->info.lock_count = 0;
    copy->info.access_mode = 0;
    forget_storage(*copy);
    copy->previous = copy->next = nullptr;
    share_nothing(*copy);
    // With the source's cells as they are: see has_same_cells.
    copy = make_room_for_addresses(copy);
    if (copy == nullptr)
        fail(sites.no_layout);
    return copy;
}

int duplicate_by_sharing(Record &source, HBUF32 *destination, const DuplicateSites &sites) {
    if (*destination != 0)
        return share_with_existing(source, *record_of(*destination), sites);
    Record *const copy = copy_record(source, sites);
    if (copy == nullptr)
        return 0;
    share(*copy, source);
    return link(*copy, destination);
}

int duplicate(Record &source, HBUF32 *destination) {
    return duplicate_by_sharing(source, destination, ordinary_sites);
}

int one_colour_duplicate(Record &source, HBUF32 *destination) {
    if (*destination == 0) {
        Record *const copy = copy_record(source, one_colour_sites);
        return copy != nullptr ? link(*copy, destination) : 0;
    }
    Record &existing = *record_of(*destination);
    if (!fits(source, existing, one_colour_sites))
        return 0;
    if (&existing != &source)
        copy_colour_but_for_its_first_byte(source, existing);
    return 1;
}

int pattern_duplicate(Record &source, HBUF32 *destination) {
    return *destination == 0 ? make_pattern_duplicate(source, destination)
                             : give_pattern(source, *record_of(*destination));
}

} // namespace q32::buffer
