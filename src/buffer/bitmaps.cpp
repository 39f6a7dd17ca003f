// Bitmap buffers from allocation to release. A buffer over a packed bitmap holds one lock of its
// block from beginning to end.
#include "buffer/bitmaps.h"

#include "buffer/allocation.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/layout.h"
#include "buffer/packed_bitmap.h"
#include "buffer/records.h"
#include "library/process/address_space.h"
#include "library/process/owners.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace q32::buffer {
namespace {

// --- allocation ---------------------------------------------------------------------------------

// Pixels in bitmap layout, and whose they are.
struct BitmapSource {
    Geometry geometry;
    int format_depth;
    HGLOBAL handle; // null for a bare block of pixels
    std::byte *pixels;
    int access_mode; // of the new buffer
};

// Nothing can fail once the row table is there: only then are the pixels touched.
int allocate_over(const BitmapSource &source, HBUF32 *handle) {
    Record *record = make_record(BUF32_DIB, source.geometry);
    if (record == nullptr)
        return fail(site::no_bitmap_record);
    record = lay_out(record);
    if (record == nullptr)
        return 0;
    record->info.data_handle = source.handle;
    record->info.format_depth = source.format_depth;
    record->info.access_mode = source.access_mode;
    record->storage = source.pixels;
    to_buffer_layout(*record);
    return link(*record, handle);
}

std::span<std::byte> memory_of(HGLOBAL block, void *locked) {
    return {static_cast<std::byte *>(locked), GlobalSize(block)};
}

bool is_supported(const PackedHeader &header) {
    return header.compression == compression_none || header.compression == compression_r565;
}

bool holds_all_rows(std::span<const std::byte> block, const PackedHeader &header) {
    const uint32_t row_bytes = packed_bytes(header.width, header.bits_per_pixel);
    return pixel_offset_of_callers_bitmap(header) +
               bytes_of_padded_rows(header.height, row_bytes) <=
           block.size();
}

// 15 for 16-bit pixels under the R565 code, although these have 16 bits. Required: it is how
// programs that call buf32GetInfo tell the two 16-bit formats apart.
int format_depth_of(const PackedHeader &header) {
    const bool is_r565 = header.bits_per_pixel == 16 && header.compression != compression_none;
    return is_r565 ? 15 : header.bits_per_pixel;
}

int allocate_over_packed(HBUF32 *handle, HGLOBAL bitmap, std::span<std::byte> block) {
    const std::optional<PackedHeader> header = read_packed_header(block);
    if (!header || !is_supported(*header))
        return fail(site::not_a_bitmap);
    const Geometry geometry = {header->bits_per_pixel, header->width, header->height};
    if (!are_sides_within_limit(geometry))
        return 0;
    if (!is_valid(geometry) || !holds_all_rows(block, *header))
        return fail(site::not_a_bitmap);
    std::byte *const pixels = block.data() + pixel_offset_of_callers_bitmap(*header);
    return allocate_over({geometry, format_depth_of(*header), bitmap, pixels, BUF32_READ}, handle);
}

// Rows that reach beyond the end of the address space can be nobody's.
bool fits_address_space(const Geometry &geometry, const void *pixels) {
    const uint32_t row_bytes = packed_bytes(geometry.width, geometry.bits_per_pixel);
    return bytes_of_padded_rows(geometry.height, row_bytes) <= room_behind(pixels);
}

int allocate_over_bare(HBUF32 *handle, const Geometry &geometry, void *pixels) {
    if (!are_sides_within_limit(geometry))
        return 0;
    if (handle == nullptr || !is_valid(geometry))
        return fail(site::bad_geometry);
    if (pixels == nullptr || !fits_address_space(geometry, pixels))
        return fail(site::no_extra);
    // Unlike a packed bitmap's buffer, this one begins with access mode 0; buf32GetInfo shows it.
    constexpr int no_access_yet = 0;
    return allocate_over({geometry, geometry.bits_per_pixel, nullptr,
                          static_cast<std::byte *>(pixels), no_access_yet},
                         handle);
}

// --- private copies -----------------------------------------------------------------------------

// What a private copy is made from: the source's block, or a header alone when there is none.
struct Original {
    std::span<const std::byte> block; // all that is copied before the pixels
    uint64_t pixel_offset;            // in the copy
};

// The block is the caller's as well and may have changed since the allocation: of the header only
// the parts that say where the pixels lie are taken from it, and only when they still hold.
std::optional<Original> original_in(std::span<const std::byte> block, const Record &source) {
    std::optional<PackedHeader> header = read_packed_header(block);
    if (!header)
        return std::nullopt;
    header->bits_per_pixel = source.info.bits_per_pixel;
    return Original{block, pixel_offset_of_private_copy(*header)};
}

// Copies an original and the source's pixels, in buffer layout, to where they belong; what lies
// between and behind them becomes zero.
void fill_private_block(std::span<std::byte> memory, const Original &original,
                        const Record &source) {
    const size_t copied = original.block.size();
    std::memcpy(memory.data(), original.block.data(), copied);
    std::memset(memory.data() + copied, 0, memory.size() - copied);
    // Where the two rules for the pixels' place agree, the pixels have come with the block.
    const size_t place = size_t(original.pixel_offset);
    const bool has_come = source.storage == original.block.data() + place && place < copied;
    if (!has_come)
        std::memcpy(memory.data() + place, source.storage, source.info.image_bytes);
}

// Gives the record a moveable block, locked once, that has room for the source's rows in either
// layout.
bool copy_original(Record &record, const Original &original, const Record &source) {
    const uint64_t bytes = std::max<uint64_t>(
        original.block.size(),
        original.pixel_offset + bytes_of_padded_rows(source.info.height, source.row_bytes));
    GlobalBlock block = make_global_block(GMEM_MOVEABLE, bytes);
    if (!block)
        return fail(site::no_private_bitmap);
    auto *const memory = static_cast<std::byte *>(GlobalLock(block.get()));
    if (memory == nullptr)
        return fail(site::no_private_row_table);
    fill_private_block({memory, size_t(bytes)}, original, source);
    record.storage = memory + original.pixel_offset;
    record.info.data_handle = block.release();
    build_row_addresses(record);
    return true;
}

} // namespace

int allocate_bitmap(HBUF32 *handle, HGLOBAL bitmap) {
    if (handle == nullptr)
        return fail(site::bad_geometry);
    *handle = 0;
    void *const memory = bitmap != nullptr ? GlobalLock(bitmap) : nullptr;
    if (memory == nullptr)
        return fail(site::not_a_bitmap);
    ScopeGuard unlock([=] { GlobalUnlock(bitmap); });
    if (!allocate_over_packed(handle, bitmap, memory_of(bitmap, memory)))
        return 0;
    unlock.dismiss();
    return 1;
}

int allocate_bare_bitmap(HBUF32 *handle, const Geometry &geometry, void *pixels) {
    if (handle != nullptr)
        *handle = 0;
    return allocate_over_bare(handle, geometry, pixels);
}

HBUF32 make_for_bitmap_copy(const Record &record, int width, int height) {
    const HBUF32 made = make_tiled(record, width, height);
    if (made == 0)
        fail(site::bitmap_destination_not_made);
    return made;
}

bool copy_bitmap(Record &record, const Record &source) {
    if (source.storage == nullptr)
        return false;
    if (const HGLOBAL handle = source.info.data_handle; handle != nullptr) {
        const LockedBlock locked(handle);
        if (locked.memory() == nullptr)
            return fail(site::no_private_bitmap);
        if (const auto original = original_in(memory_of(handle, locked.memory()), source))
            return copy_original(record, *original, source);
    }
    // A bare block of pixels is nothing that could be given back as a bitmap: the copy gets a
    // header from the record, and a colour table of zeros where the rule wants one.
    std::byte bytes[packed_header_bytes];
    write_packed_header(bytes, source.info.width, source.info.height, source.info.bits_per_pixel);
    return copy_original(record, *original_in(bytes, source), source);
}

void release_bitmap(Record &record) {
    record.storage = nullptr;
    const HGLOBAL block = std::exchange(record.info.data_handle, nullptr);
    if (block == nullptr)
        return;
    // At most as often as a lock count goes: a handle that has become another's ends the loop, too.
    for (int lock = 0; lock < GMEM_LOCKCOUNT && (GlobalFlags(block) & GMEM_LOCKCOUNT) != 0; ++lock)
        GlobalUnlock(block);
    GlobalFree(block);
}

} // namespace q32::buffer
