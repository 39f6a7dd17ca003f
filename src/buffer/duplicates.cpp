// Duplicates: a destination is checked and loses its pixels, or a record is copied; then it is
// joined to its source, or gets what that has in place of pixels. Who shares with whom is
// sharing.cpp's business.
#include "buffer/block_storage.h"
#include "buffer/buffer_copy.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/layout.h"
#include "buffer/pattern.h"
#include "buffer/records.h"
#include "buffer/sharing.h"
#include "buffer/storage.h"
#include "library/process/owners.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace q32::buffer {
namespace {

// --- records ------------------------------------------------------------------------------------

// Whether the destination is such a buffer as a duplicate of the source would be. Reports.
bool fits(const Record &source, const Record &destination, const site::DuplicateSites &sites) {
    const BUF32INFO &from = source.info;
    const BUF32INFO &to = destination.info;
    if (from.type != to.type)
        return fail(sites.types_differ);
    if (from.width != to.width || from.height != to.height ||
        from.bits_per_pixel != to.bits_per_pixel)
        return fail(sites.sizes_differ);
    return true;
}

// A record with everything that describes the source's pixels and nothing that holds them: no
// storage, bitmap, locks or sharing, in no list. Null after a report.
Record *copy_record(const Record &source, const site::DuplicateSites &sites) {
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

// --- shared pixels ------------------------------------------------------------------------------

// A linear buffer that went through one colour is a tiled one with a single cell: two buffers of
// one type and size may differ in their cells. Sharers find theirs in the source's address table.
bool has_same_cells(const Record &a, const Record &b) {
    return a.info.cell_width == b.info.cell_width && a.info.cell_height == b.info.cell_height;
}

int share_with_existing(Record &source, Record &destination, const site::DuplicateSites &sites) {
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

int duplicate_by_sharing(Record &source, HBUF32 *destination, const site::DuplicateSites &sites) {
    if (*destination != 0)
        return share_with_existing(source, *record_of(*destination), sites);
    Record *const copy = copy_record(source, sites);
    if (copy == nullptr)
        return 0;
    share(*copy, source);
    return link(*copy, destination);
}

// --- colours and patterns -----------------------------------------------------------------------

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
bool copy_pattern(const Record &source, RuntimeBlock &copy) {
    const BUF32PATTERN pattern = pattern_of(source);
    if (pattern.pixels == nullptr)
        return true;
    copy = copy_pattern_pixels(pattern, source.info.bits_per_pixel);
    return copy || fail(site::no_pattern_copy);
}

int make_pattern_duplicate(const Record &source, HBUF32 *destination) {
    GlobalBlock owned(copy_record(source, site::duplicate));
    RuntimeBlock pixels;
    if (!owned || !copy_pattern(source, pixels))
        return 0;
    Record &copy = *static_cast<Record *>(owned.release());
    set_pattern(copy, pattern_of(source), std::move(pixels));
    return link(copy, destination);
}

int give_pattern(const Record &source, Record &destination) {
    RuntimeBlock pixels;
    if (!fits(source, destination, site::duplicate) || &destination == &source ||
        !copy_pattern(source, pixels))
        return 0;
    // A pattern of another height needs another block. One that fits stays: it may be locked.
    if (pattern_block_bytes(destination) !=
        pattern_block_bytes(destination, pattern_of(source).height))
        give_up_pixels(destination);
    free_pattern_copy(destination);
    set_pattern(destination, pattern_of(source), std::move(pixels));
    return 1;
}

} // namespace

int duplicate(Record &source, HBUF32 *destination) {
    return duplicate_by_sharing(source, destination, site::duplicate);
}

int bitmap_duplicate(Record &source, HBUF32 *destination) {
    return duplicate_by_sharing(source, destination, site::bitmap_duplicate);
}

int one_colour_duplicate(Record &source, HBUF32 *destination) {
    if (*destination == 0) {
        Record *const copy = copy_record(source, site::one_colour_duplicate);
        return copy != nullptr ? link(*copy, destination) : 0;
    }
    Record &existing = *record_of(*destination);
    if (!fits(source, existing, site::one_colour_duplicate))
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
