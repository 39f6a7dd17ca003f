// The exports that merge out of and into buffers: check, clip, lock, and merge the pieces that lie
// inside one cell of each buffer involved.
#include "geometry/system_rect.h"
#include "library/process/address_space.h"
#include "library/process/bytes.h"
#include "merge/cell_walk.h"
#include "merge/layers.h"
#include "merge/placement.h"

#include <q32base/merge.h>

#include <algorithm>

namespace q32::merge {
namespace {

// --- formats -------------------------------------------------------------------------------------

struct Format {
    int width, height; // pixels
    int bytes_per_pixel;

    Area area() const { return {0, 0, width, height}; }
};

// False when the handle is no live buffer.
bool read_format(HBUF32 buffer, Format *format) {
    return buf32GetWHU(buffer, &format->width, &format->height, &format->bytes_per_pixel);
}

// Locks take every handle for a buffer: one of a buffer that is gone has to be found out before.
bool is_live(HBUF32 buffer) {
    return buf32GetWHU(buffer, nullptr, nullptr, nullptr);
}

// --- sources ------------------------------------------------------------------------------------

// What all pieces of a call have in common.
struct Job {
    HBUF32 mask; // or 0
    HBUF32 overlay;
    int bytes_per_pixel;
    LayersMerge layers_merge;

    bool has_mask() const { return mask != 0; }
};

// Overlay and mask, locked in this order and unlocked in it as well.
struct SourceLocks {
    BufferLock mask, overlay; // the last member goes first

    bool lock(const Job &job) {
        return overlay.lock(job.overlay, BUF32_READ) &&
               (!job.has_mask() || (is_live(job.mask) && mask.lock(job.mask, BUF32_READ)));
    }
};

// A cell of the overlay and the mask's of the same index, likewise.
struct SourceCell {
    CellLock mask, overlay;

    bool lock(const Job &job, int index) {
        return overlay.lock(job.overlay, index) && (!job.has_mask() || mask.lock(job.mask, index));
    }

    // With a mask, the overlay's cell is unlocked twice and the mask's not at all. Required:
    // programs that reckon with it would end up with buffers that they cannot free. A caller sees
    // the overlay's lock count fall short by one (an unlock at 0 is reported), and the mask's stay
    // up by one.
    void unlock_unmerged(const Job &job) {
        overlay.unlock();
        if (job.has_mask()) {
            buf32CellUnlock(job.overlay, overlay.index());
            mask.leave_locked();
        }
    }
};

// --- pieces -------------------------------------------------------------------------------------

// Merges into rows, in coordinates of the overlay, what of them comes from one cell. Masks are
// taken as they are: one whose cell does not hold the piece, because it is smaller or divided in
// another way, is found out here.
bool merge_piece(Job &job, const SourceCell &source, const PixelRows<uint8_t> &rows,
                 const Area &piece) {
    constexpr int mask_bytes = 1;
    if (job.has_mask() && !source.mask.holds(piece, mask_bytes))
        return false;
    return job.layers_merge.merge({.base = rows,
                                   .mask = source.mask.rows(mask_bytes),
                                   .overlay = source.overlay.rows(job.bytes_per_pixel)},
                                  piece);
}

// --- into a buffer ------------------------------------------------------------------------------

bool merge_into_cell(Job &job, const PixelRows<uint8_t> &rows, const Area &part) {
    return each_cell(job.overlay, part, [&](int index) {
        SourceCell source;
        return source.lock(job, index) &&
               merge_piece(job, source, rows, intersect(source.overlay.area(), part));
    });
}

bool merge_into_buffer(Job &job, HBUF32 destination, const Placement &placement) {
    // Unlocked after the sources.
    BufferLock destination_lock;
    SourceLocks source_locks;
    if (!destination_lock.lock(destination, BUF32_WRITE_3) || !source_locks.lock(job))
        return false;
    const Point to_overlay = placement.overlay.corner() - placement.destination.corner();
    return each_cell(destination, placement.destination, [&](int index) {
        CellLock cell;
        if (!cell.lock(destination, index))
            return false;
        PixelRows<uint8_t> rows = cell.rows(job.bytes_per_pixel);
        rows.left += to_overlay.x;
        rows.top += to_overlay.y;
        const Area part = intersect(cell.area(), placement.destination);
        return merge_into_cell(job, rows, moved(part, to_overlay));
    });
}

// --- into plain memory --------------------------------------------------------------------------

// Whether the address space has room for an image as far as an area's last pixel. Where it has not,
// the image cannot be the caller's, and nothing is touched.
bool has_room(const uint8_t *image, const Format &format, const Area &area) {
    const uint64_t pixels =
        uint64_t(unsigned(area.bottom - 1)) * unsigned(format.width) + unsigned(area.right);
    return pixels <= room_behind(image) / unsigned(std::max(format.bytes_per_pixel, 1));
}

// All cells of the placed rectangle are visited, those beyond the image too.
bool merge_into_image(Job &job, uint8_t *image, const Format &format, const Placement &placement) {
    SourceLocks locks;
    if (!has_room(image, format, placement.destination) || !locks.lock(job))
        return false;
    const Point corner = placement.overlay.corner() - placement.destination.corner();
    const size_t stride = size_t(format.width) * size_t(format.bytes_per_pixel);
    const PixelRows<uint8_t> rows = {image, corner.x, corner.y, stride, format.bytes_per_pixel};
    const Area landing = landing_part(placement);
    return each_cell(job.overlay, placement.overlay, [&](int index) {
        SourceCell source;
        if (!source.lock(job, index))
            return false;
        const Area piece = intersect(source.overlay.area(), landing);
        if (piece.is_empty()) {
            source.unlock_unmerged(job);
            return true;
        }
        return merge_piece(job, source, rows, piece);
    });
}

} // namespace
} // namespace q32::merge

using namespace q32::merge;
using q32::as_area;
using q32::bytes;

int Q32_CALL i32MergeBufToBuf(HBUF32 destination, int x, int y, HBUF32 mask, HBUF32 overlay,
                              const RECT *rectangle, int mode, int transparency) {
    if (destination == 0 || overlay == 0 || rectangle == nullptr)
        return 0;
    Format to, from;
    if (!read_format(destination, &to) || !read_format(overlay, &from))
        return 0;
    if (to.bytes_per_pixel == 0 || to.bytes_per_pixel != from.bytes_per_pixel)
        return 0;
    const Placement placement = cut(place(as_area(*rectangle), from.area(), x, y), to.area());
    if (placement.outcome != Outcome::placed)
        return placement.outcome == Outcome::nothing_left;
    Job job = {mask, overlay, from.bytes_per_pixel, LayersMerge(mode, transparency)};
    return merge_into_buffer(job, destination, placement);
}

int Q32_CALL i32MergeRamToBuf(HBUF32 destination, int x, int y, const void *, const void *overlay,
                              const RECT *rectangle, int overlay_width, int overlay_height, int,
                              int) {
    if (destination == 0 || overlay == nullptr || rectangle == nullptr)
        return 0;
    const Placement placement =
        place(as_area(*rectangle), {0, 0, overlay_width, overlay_height}, x, y);
    if (placement.outcome != Outcome::placed)
        return placement.outcome == Outcome::nothing_left;
    // Refuses the very buffers that could be merged into. Required: programs fall back on a way of
    // their own when they get 0. A caller sees every call with pixels to merge fail.
    Format to;
    if (!read_format(destination, &to) || to.bytes_per_pixel != 0)
        return 0;
    // Pixels that share a byte cannot be merged into.
    return cut(placement, to.area()).outcome == Outcome::nothing_left;
}

int Q32_CALL i32MergeBufToRam(void *image, int x, int y, int width, int height, int bytes_per_pixel,
                              HBUF32 mask, HBUF32 overlay, const RECT *rectangle, int mode,
                              int transparency) {
    if (image == nullptr || overlay == 0 || rectangle == nullptr)
        return 0;
    Format from;
    if (!read_format(overlay, &from) || from.bytes_per_pixel != bytes_per_pixel)
        return 0;
    const Format to = {width, height, bytes_per_pixel};
    const Placement placement = cut(place(as_area(*rectangle), from.area(), x, y), to.area());
    if (placement.outcome != Outcome::placed)
        return placement.outcome == Outcome::nothing_left;
    Job job = {mask, overlay, bytes_per_pixel, LayersMerge(mode, transparency)};
    return merge_into_image(job, bytes(image), to, placement);
}
