// Where the taps of columns lie in cells, and how they are moved.
#include "resample/gathered_taps.h"

#include <cstring>
#include <new>

namespace q32::resample {
namespace {

// Of so many bytes or a few more: what one load and one store move.
constexpr std::size_t bytes_of_move(std::size_t bytes) {
    return bytes <= 2 ? bytes : bytes <= 4 ? 4 : bytes <= 8 ? 8 : 16;
}

template <std::size_t bytes>
void move(std::uint8_t *to, const std::uint8_t *from) {
    struct Held {
        std::uint8_t all[bytes_of_move(bytes)];
    } held;
    std::memcpy(&held, from, sizeof held);
    std::memcpy(to, &held, sizeof held);
}

} // namespace

std::size_t GatheredTaps::bytes(std::size_t columns, const Taps &taps) {
    return sizeof(GatheredTaps) + columns * (sizeof(Stretch) + sizeof(std::uint32_t)) +
           columns * std::size_t(taps.count) * sizeof(Place);
}

template <int taps, int pixel_bytes>
void GatheredTaps::take(std::uint8_t *destination, const GatheredTaps &gathered,
                        const CellRows &rows) {
    constexpr int column_bytes = taps * pixel_bytes;
    const std::uint32_t *const offset = gathered.offset_;
    const Place *place = gathered.place_;
    std::size_t x = 0;
    for (const Stretch *stretch = gathered.stretch_, *const end = stretch + gathered.stretches_;
         stretch != end; ++stretch) {
        const std::uint8_t *const row = rows.row_of_cell(stretch->cell, stretch->row_bytes);
        for (const std::size_t together = stretch->end_together; x < together; ++x)
            move<column_bytes>(destination + x * column_bytes, row + offset[x]);
        for (const std::size_t all = stretch->end; x < all; ++x)
            for (int tap = 0; tap < taps; ++tap, ++place)
                std::memcpy(destination + x * column_bytes + tap * pixel_bytes,
                            rows.row_of_cell(place->cell, place->row_bytes) + place->offset,
                            pixel_bytes);
    }
}

GatheredTaps *GatheredTaps::make(void *memory, const Positions &columns, const Taps &taps,
                                 const CellGrid &grid) {
    auto &made = *new (memory) GatheredTaps;
    made.stretch_ = reinterpret_cast<Stretch *>(&made + 1);
    made.place_ = reinterpret_cast<Place *>(made.stretch_ + columns.count);
    made.offset_ =
        reinterpret_cast<std::uint32_t *>(made.place_ + columns.count * std::size_t(taps.count));
    constexpr Take *takes[2][3] = {{take<1, 1>, take<2, 1>, take<4, 1>},
                                   {take<1, 3>, take<2, 3>, take<4, 3>}};
    made.take_ = takes[taps.pixel_bytes / 3][taps.count / 2];

    const auto bytes = [&](int pixels) { return std::size_t(pixels) * unsigned(taps.pixel_bytes); };
    const std::size_t moved = bytes_of_move(bytes(taps.count));
    Stretch *stretch = made.stretch_ - 1;
    Place *place = made.place_;
    bool is_stretch_closed = true;
    for (std::size_t x = 0; x < columns.count; ++x) {
        const int first = columns.index[x] + taps.first, last = first + taps.count - 1;
        const int cell = grid.column_of(grid.cut(first));
        const std::size_t row_bytes = grid.row_bytes_of(cell);
        const std::size_t offset = bytes(first - grid.first_pixel(cell));
        // A move of a few bytes more must not reach beyond the cell's row, nor behind the last
        // column.
        const bool is_together = first >= 0 && last < grid.image_width &&
                                 grid.column_of(last) == cell && offset + moved <= row_bytes &&
                                 (x + 1 < columns.count || moved == bytes(taps.count));
        if (is_together && (is_stretch_closed || stretch->cell != cell)) {
            *++stretch = {cell, row_bytes, x, x};
            is_stretch_closed = false;
        } else if (!is_together && x == 0) {
            *++stretch = {cell, row_bytes, 0, 0};
        }
        stretch->end = x + 1;
        if (is_together) {
            made.offset_[x] = std::uint32_t(offset);
            stretch->end_together = x + 1;
            continue;
        }
        is_stretch_closed = true;
        for (int tap = first; tap <= last; ++tap) {
            const int pixel = grid.cut(tap), column = grid.column_of(pixel);
            *place++ = {column, grid.row_bytes_of(column), bytes(pixel - grid.first_pixel(column))};
        }
    }
    made.stretches_ = std::size_t(stretch + 1 - made.stretch_);
    return &made;
}

} // namespace q32::resample
