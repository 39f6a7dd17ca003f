// Walks the cells that an area meets, and moves the rows of each by a kernel.
#include "buffer/pixels.h"

#include "buffer/types.h"
#include "rows/rows.h"

#include <algorithm>
#include <xmmintrin.h>

namespace q32::buffer {
namespace {

uint8_t *kernel_bytes(std::byte *memory) {
    return reinterpret_cast<uint8_t *>(memory);
}

// --- rows of bits -------------------------------------------------------------------------------

// Equal rows of bits, stride bytes apart.
struct BitRows {
    std::byte *memory; // first row
    size_t stride;
    size_t first_bit;

    bool is_at_byte() const { return first_bit % 8 == 0; }
    std::byte *first_byte() const { return memory + first_bit / 8; }
};

void copy_bit_rows(const BitRows &to, const BitRows &from, size_t bits, size_t rows) {
    const rows::RowKernels &kernels = rows::kernels();
    if (to.is_at_byte() && from.is_at_byte() && bits % 8 == 0) {
        kernels.copy_rows(kernel_bytes(to.first_byte()), to.stride, kernel_bytes(from.first_byte()),
                          from.stride, bits / 8, rows);
        return;
    }
    kernels.copy_bit_rows(kernel_bytes(to.memory), to.stride, to.first_bit,
                          kernel_bytes(from.memory), from.stride, from.first_bit, bits, rows);
}

// --- cells --------------------------------------------------------------------------------------

// How many bits of a row belong to the pixels left to right - 1 of the image.
size_t run_bits(const Record &record, const PlainRows &rows, int left, int right) {
    const size_t bits = size_t(right - left) * rows.pixel_bits;
    if (!rows.with_padding || right != record.info.width)
        return bits;
    const size_t end_in_byte = (size_t(left) * rows.pixel_bits + bits) % 8;
    return bits + (8 - end_in_byte) % 8;
}

// The part of an area that lies in one cell.
struct Piece {
    BitRows cell, plain;
    size_t bits; // of a row
    size_t rows;
};

// Where a cell lies.
using CellAddress = std::byte *(const Record &owner, int index);

std::byte *cell_in_table(const Record &owner, int index) {
    return owner.cell_address[index];
}

std::byte *block_for_all(const Record &owner, int) {
    return owner.storage;
}

// Calls visit for each piece of an area, band by band and left to right. False, and no further, at
// a cell without storage.
template <CellAddress cell_of, typename Visit>
bool each_piece(const Record &owner, const Area &area, const PlainRows &rows, const Visit &visit) {
    const BUF32INFO &info = owner.info;
    const int first_column = cell_number(area.left, info.cell_width);
    int band = cell_number(area.top, info.cell_height);
    int y_in_cell = area.top - band * info.cell_height;
    std::byte *plain_row = rows.memory;
    for (int y = area.top; y < area.bottom; ++band, y_in_cell = 0) {
        const int height = std::min(info.cell_height - y_in_cell, area.bottom - y);
        int column = first_column;
        int x_in_cell = area.left - column * info.cell_width;
        size_t plain_bit = rows.first_bit;
        for (int x = area.left; x < area.right; ++column, x_in_cell = 0) {
            std::byte *const cell = cell_of(owner, band * info.cell_columns + column);
            if (cell == nullptr)
                return false;
            const int right = std::min(x - x_in_cell + info.cell_width, area.right);
            const uint32_t row_bytes = column == info.cell_columns - 1 ? owner.last_column_row_bytes
                                                                       : owner.cell_row_bytes;
            const size_t bits = run_bits(owner, rows, x, right);
            visit(Piece{{cell + size_t(y_in_cell) * row_bytes, row_bytes,
                         size_t(x_in_cell) * rows.pixel_bits},
                        {plain_row, rows.stride, plain_bit},
                        bits,
                        size_t(height)});
            plain_bit += bits;
            x = right;
        }
        plain_row += size_t(height) * rows.stride;
        y += height;
    }
    return true;
}

template <Direction direction>
void move_rows(const Piece &piece) {
    if constexpr (direction == Direction::to_memory)
        copy_bit_rows(piece.plain, piece.cell, piece.bits, piece.rows);
    else
        copy_bit_rows(piece.cell, piece.plain, piece.bits, piece.rows);
}

// --- prefetching --------------------------------------------------------------------------------

// Addresses beyond the storage are harmless: a prefetch of them does nothing. GCC takes a function
// that only prefetches for one without an effect and drops its calls: such functions are inlined
// always, and the result of a walk that does nothing else is looked at.

constexpr size_t cache_line = 64, page = 4096;

const char *prefetched(const std::byte *address) {
    return reinterpret_cast<const char *>(address);
}

// The rows of a cell lie one behind the other: a caller who walks the image row by row finds the
// pieces of coming rows in the cache. Into its second level: the pieces of a whole image row ahead
// would push the row at hand out of the first.
[[gnu::always_inline]] inline void prefetch_coming_row(const Piece &piece) {
    constexpr size_t rows_ahead = 4;
    const std::byte *const ahead = piece.cell.first_byte() + rows_ahead * piece.cell.stride;
    for (size_t offset = 0; offset < piece.bits / 8; offset += cache_line)
        _mm_prefetch(prefetched(ahead + offset), _MM_HINT_T1);
}

// Within a page the processor sees by itself what comes next, but it finds one page after the
// other: this has it look for all of them at once.
[[gnu::always_inline]] inline void prefetch_pages(const Piece &piece) {
    const size_t rows_apart = std::max<size_t>(page / piece.cell.stride, 1);
    for (size_t row = 0; row < piece.rows; row += rows_apart)
        _mm_prefetch(prefetched(piece.cell.first_byte() + row * piece.cell.stride), _MM_HINT_T0);
}

[[gnu::always_inline]] inline void prefetch_all(const Piece &piece) {
    for (size_t row = 0; row < piece.rows; ++row) {
        const std::byte *const begin = piece.cell.first_byte() + row * piece.cell.stride;
        for (size_t offset = 0; offset < piece.bits / 8 + cache_line; offset += cache_line)
            _mm_prefetch(prefetched(begin + offset), _MM_HINT_T1);
    }
}

// Rows that begin and end in a cache line each, or in the same: all that is waited for is asked for
// before the first is moved.
[[gnu::always_inline]] inline void prefetch_few_rows(const std::byte *first, size_t stride,
                                                     size_t row_bytes, size_t rows) {
    constexpr size_t fewest_rows = 5;
    if (rows < fewest_rows)
        return;
    for (size_t row = 0; row != rows; ++row, first += stride) {
        _mm_prefetch(prefetched(first), _MM_HINT_T0);
        _mm_prefetch(prefetched(first + row_bytes - 1), _MM_HINT_T0);
    }
}

// Rows that are written are not read before: nothing but this tells the processor of them. A few
// at a time are moved while as many more are fetched into its second cache. In long rows it soon
// finds out by itself.
bool is_fetched_ahead(const Piece &piece) {
    constexpr size_t fewest_rows = 32, longest_row = 1024;
    return piece.rows >= fewest_rows && piece.bits / 8 <= longest_row;
}

template <Direction direction>
void move_rows_with_next(const Piece &piece) {
    constexpr size_t at_once = 8;
    Piece part = piece;
    for (size_t left = piece.rows; left != 0; left -= part.rows) {
        part.rows = std::min(left, at_once);
        Piece next = part;
        next.cell.memory += part.rows * part.cell.stride;
        next.rows = std::min(left - part.rows, at_once);
        prefetch_all(next);
        move_rows<direction>(part);
        part.cell.memory = next.cell.memory;
        part.plain.memory += part.rows * part.plain.stride;
    }
}

// --- areas --------------------------------------------------------------------------------------

// Whether it may be a small rectangle that lies in several cells.
bool is_small(const Area &area) {
    return area.width() <= SmallRectangle::largest_side &&
           area.height() <= SmallRectangle::largest_side;
}

template <Direction direction, CellAddress cell_of>
bool move_area(const Record &owner, const Area &area, const PlainRows &rows) {
    if (area.is_empty())
        return true;
    if (area.height() == 1)
        return each_piece<cell_of>(owner, area, rows, [](const Piece &piece) {
            prefetch_coming_row(piece);
            move_rows<direction>(piece);
        });
    constexpr int many_rows = 32;
    const auto prefetch = [](const Piece &piece) __attribute__((always_inline)) {
        prefetch_pages(piece);
    };
    const auto prefetch_small = [](const Piece &piece) __attribute__((always_inline)) {
        prefetch_few_rows(piece.cell.first_byte(), piece.cell.stride, piece.bits / 8, piece.rows);
    };
    if (area.height() >= many_rows) {
        if (!each_piece<cell_of>(owner, area, rows, prefetch))
            return false;
    } else if (is_small(area)) {
        if (!each_piece<cell_of>(owner, area, rows, prefetch_small))
            return false;
    }
    return each_piece<cell_of>(owner, area, rows, [](const Piece &piece) {
        if (direction == Direction::to_buffer && is_fetched_ahead(piece))
            move_rows_with_next<direction>(piece);
        else
            move_rows<direction>(piece);
    });
}

} // namespace

SmallRectangle::SmallRectangle(const BUF32INFO &info, int x, int y, int width, int height) {
    constexpr unsigned most = largest_side;
    if (unsigned(width) - 1 >= most || unsigned(height) - 1 >= most || info.bits_per_pixel < 8 ||
        x < 0 || y < 0 || x > info.width - width || y > info.height - height)
        return;
    column_ = cell_number(x, info.cell_width);
    band_ = cell_number(y, info.cell_height);
    x_in_cell_ = x - column_ * info.cell_width;
    y_in_cell_ = y - band_ * info.cell_height;
    if (x_in_cell_ > info.cell_width - width || y_in_cell_ > info.cell_height - height)
        return;
    pixel_bytes_ = size_t(info.bytes_per_pixel);
    row_bytes_ = size_t(width) * pixel_bytes_;
    height_ = height;
}

SmallRectangle::CellRows SmallRectangle::rows_in(const Record &owner) const {
    std::byte *const cell = owner.cell_address[band_ * owner.info.cell_columns + column_];
    if (cell == nullptr)
        return {};
    const size_t stride =
        column_ == owner.info.cell_columns - 1 ? owner.last_column_row_bytes : owner.cell_row_bytes;
    return {cell + size_t(y_in_cell_) * stride + size_t(x_in_cell_) * pixel_bytes_, stride};
}

// One shape for both directions.
template <Direction direction>
bool SmallRectangle::move(const Record &owner, std::byte *memory) const {
    const CellRows rows = rows_in(owner);
    if (rows.first == nullptr)
        return false;
    prefetch_few_rows(rows.first, rows.stride, row_bytes_, size_t(height_));
    const auto &copy_rows = *rows::kernels().copy_rows;
    if constexpr (direction == Direction::to_memory)
        copy_rows(kernel_bytes(memory), row_bytes_, kernel_bytes(rows.first), rows.stride,
                  row_bytes_, size_t(height_));
    else
        copy_rows(kernel_bytes(rows.first), rows.stride, kernel_bytes(memory), row_bytes_,
                  row_bytes_, size_t(height_));
    return true;
}

bool SmallRectangle::write_to(Record &record, const std::byte *memory) const {
    return move<Direction::to_buffer>(record, const_cast<std::byte *>(memory));
}

bool SmallRectangle::read_from(const Record &record, std::byte *memory) const {
    return move<Direction::to_memory>(record.owner(), memory);
}

bool read_cells(const Record &record, const Area &area, const PlainRows &rows) {
    return move_area<Direction::to_memory, cell_in_table>(record.owner(), area, rows);
}

bool read_block(const Record &record, const Area &area, const PlainRows &rows) {
    return move_area<Direction::to_memory, block_for_all>(record, area, rows);
}

bool read_packed_rows(const Record &record, std::byte *pixels, const Area &area,
                      const PlainRows &rows) {
    if (pixels == nullptr)
        return false;
    if (area.is_empty())
        return true;
    copy_bit_rows({rows.memory, rows.stride, rows.first_bit},
                  {pixels + size_t(area.top) * record.row_bytes, record.row_bytes,
                   size_t(area.left) * rows.pixel_bits},
                  run_bits(record, rows, area.left, area.right), size_t(area.height()));
    return true;
}

bool prefetch_pixels(const Record &record, const Area &area) {
    const auto prefetch = [](const Piece &piece) __attribute__((always_inline)) {
        prefetch_all(piece);
    };
    return type_of(record).has_cells &&
           each_piece<cell_in_table>(record.owner(), area, {nullptr, 0, 0, unit_bits(record.info)},
                                     prefetch);
}

bool write_pixels(Record &record, const Area &area, const PlainRows &rows) {
    return type_of(record).has_cells &&
           move_area<Direction::to_buffer, cell_in_table>(record, area, rows);
}

} // namespace q32::buffer
