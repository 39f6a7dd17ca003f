// Copies from buffer to buffer: by sharing where a destination is to show the whole source, by
// strips of plain memory otherwise.
#include "buffer/buffer_copy.h"

#include "buffer/allocation.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/pixels.h"
#include "buffer/types.h"
#include "library/process/owners.h"

#include <algorithm>

namespace q32::buffer {
namespace {

// --- strips -------------------------------------------------------------------------------------

// As many of so many rows as there is memory for, found by halving. Null when it is not one.
GlobalBlock allocate_strip(size_t row_bytes, int *rows) {
    for (; *rows > 0; *rows /= 2)
        if (auto strip = make_global_block(GMEM_FIXED, uint64_t(row_bytes) * uint64_t(*rows)))
            return strip;
    return {};
}

// A strip's rows are moved a few at a time, through the same few pages of it: they stay in the
// cache, and the rest of a large strip is never touched. A source that may be the memory that is
// written, however, is read before: a caller may have put the pixels of two buffers in one place.
int rows_at_a_time(const Record &source, const Record &destination, size_t row_bytes) {
    constexpr size_t window_bytes = 128 * 1024;
    if (&source == &destination || has_callers_pixels(source) || has_callers_pixels(destination))
        return Q32_MAX_SIDE;
    return int(std::max<size_t>(window_bytes / row_bytes, 1));
}

// One strip's area of the source to (x, y) of the destination. Entries are taken from the tables
// anew each time: the first rows written may change the destination's type.
bool copy_strip(Record &source, const Area &area, Record &destination, int x, int y,
                int rows_at_once, void *strip) {
    const int width = area.width();
    for (int done = 0; done < area.height(); done += rows_at_once) {
        // Rows below the destination are excess, unless the strip begins there.
        if (done > 0 && y + done >= destination.info.height)
            break;
        const int rows = std::min(rows_at_once, area.height() - done);
        if (!source.operations.get_memory(source, area.left, area.top + done, width, rows, strip))
            return false;
        if (!destination.operations.merge_memory(destination, x, y + done, width, rows, strip))
            return false;
    }
    return true;
}

// --- rectangles ---------------------------------------------------------------------------------

// How much of a rectangle's right and bottom the copy still reads when the destination's edge cuts
// it off.
enum class Excess { dropped, read };

// Copies what source and destination have of a wanted area, moved by (dx, dy). Nothing is a
// success.
int copy_visible(Record &source, const Area &wanted, Record &destination, int dx, int dy,
                 Excess excess) {
    const Area held = intersect(wanted, area_of(source));
    if (held.is_empty())
        return 1;
    const Area visible = intersect(moved(held, dx, dy), area_of(destination));
    if (visible.is_empty())
        return 1;
    // A move that was cut to the range of int has left the destination: dx and dy are exact here.
    Area part = moved(visible, -dx, -dy);
    if (excess == Excess::read) {
        part.right = held.right;
        part.bottom = held.bottom;
    }
    return copy_area(source, part, destination, visible.left, visible.top);
}

int merge(Record &source, const Area &wanted, Record &destination, int x, int y, Excess excess) {
    return copy_visible(source, wanted, destination, saturating_subtract(x, wanted.left),
                        saturating_subtract(y, wanted.top), excess);
}

// --- destinations -------------------------------------------------------------------------------

bool is_whole(const Record &source, int x, int y, int width, int height) {
    return x == 0 && y == 0 && width == source.info.width && height == source.info.height;
}

bool have_one_type_and_size(const Record &a, const Record &b) {
    return a.info.type == b.info.type && a.info.width == b.info.width &&
           a.info.height == b.info.height;
}

bool are_alike(const Record &a, const Record &b) {
    return have_one_type_and_size(a, b) && a.info.bits_per_pixel == b.info.bits_per_pixel;
}

// Copies the wanted area to (0, 0) of the destination.
int copy_to_origin(Record &source, const Area &wanted, HBUF32 destination) {
    return copy_visible(source, wanted, *record_of(destination),
                        saturating_subtract(0, wanted.left), saturating_subtract(0, wanted.top),
                        Excess::dropped);
}

// The same by a duplicate where the whole source is wanted and the destination is of its kind. A
// destination that reads the source's pixels already is refused as a duplicate, and needs nothing.
template <bool is_of_its_kind(const Record &, const Record &)>
int duplicate_or_copy_to_origin(Record &source, const Area &wanted, HBUF32 destination) {
    Record &record = *record_of(destination);
    if (wanted == area_of(source) && is_of_its_kind(source, record)) {
        if (source.operations.duplicate(source, &destination) || &record.owner() == &source.owner())
            return 1;
    }
    return copy_to_origin(source, wanted, destination);
}

using CopyToOrigin = int(Record &source, const Area &wanted, HBUF32 destination);

int copy_to_new(Record &source, int x, int y, int width, int height, HBUF32 *destination,
                CopyToOrigin *copy) {
    const HBUF32 made = type_of(source).make_alike(source, width, height);
    if (made == 0)
        return 0;
    ScopeGuard free_made([&] { free_buffer(*record_of(made)); });
    if (!copy(source, area_of(x, y, width, height), made))
        return 0;
    free_made.dismiss();
    *destination = made;
    return 1;
}

} // namespace

int copy_area(Record &source, const Area &area, Record &destination, int x, int y) {
    if (source.info.bits_per_pixel != destination.info.bits_per_pixel)
        return fail(site::depths_differ);
    int strip_rows = area.height();
    const size_t row_bytes = rectangle_row_bytes(source.info, area.width());
    const GlobalBlock strip = allocate_strip(row_bytes, &strip_rows);
    if (!strip)
        return fail(site::no_strip);

    const int rows_at_once = rows_at_a_time(source, destination, row_bytes);
    for (int done = 0; done < area.height(); done += strip_rows) {
        const int top = area.top + done;
        const Area part{area.left, top, area.right, std::min(top + strip_rows, area.bottom)};
        if (!copy_strip(source, part, destination, x, y + done, rows_at_once, strip.get()))
            return 0;
    }
    return 1;
}

int get_buffer(Record &source, int x, int y, int width, int height, HBUF32 *destination) {
    if (*destination != 0)
        return duplicate_or_copy_to_origin<are_alike>(source, area_of(x, y, width, height),
                                                      *destination);
    if (is_whole(source, x, y, width, height) && source.operations.duplicate(source, destination))
        return 1;
    return copy_to_new(source, x, y, width, height, destination, copy_to_origin);
}

// Asymmetric on purpose: the destination's left and top edge cut what is read from the source, its
// right and bottom edge do not, and merging drops the excess. A caller short of memory can tell:
// the strip is as wide and high as the uncut rectangle, and when it had to be halved, a strip
// wholly below the destination fails the call with 3200, 1, 3, 14. Programs know it so.
int merge_buffer(Record &source, int x, int y, int width, int height, Record &destination,
                 int destination_x, int destination_y) {
    return merge(source, area_of(x, y, width, height), destination, destination_x, destination_y,
                 Excess::read);
}

// Never a duplicate: a bitmap's pixels are its caller's, who may take them back.
int bitmap_get_buffer(Record &source, int x, int y, int width, int height, HBUF32 *destination) {
    if (*destination != 0)
        return copy_to_origin(source, area_of(x, y, width, height), *destination);
    return copy_to_new(source, x, y, width, height, destination, copy_to_origin);
}

// A new destination is made first and then takes the colour as an existing one does. Depths are not
// compared before the duplicate is tried. Required: where they differ, a caller sees two reports,
// the duplicate's (3200, 0, 2, 8) and the copy's.
int one_colour_get_buffer(Record &source, int x, int y, int width, int height,
                          HBUF32 *destination) {
    constexpr CopyToOrigin *copy = duplicate_or_copy_to_origin<have_one_type_and_size>;
    if (*destination != 0)
        return copy(source, area_of(x, y, width, height), *destination);
    return copy_to_new(source, x, y, width, height, destination, copy);
}

// Unlike merge_buffer: all four edges of the destination cut what is read.
int one_colour_merge_buffer(Record &source, int x, int y, int width, int height,
                            Record &destination, int destination_x, int destination_y) {
    return merge(source, area_of(x, y, width, height), destination, destination_x, destination_y,
                 Excess::dropped);
}

} // namespace q32::buffer
