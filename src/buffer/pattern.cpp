// A pattern's copy and its pixels.
#include "buffer/pattern.h"

#include "buffer/cells.h"
#include "buffer/colour_fill.h"
#include "buffer/entries.h"
#include "rows/rows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace q32::buffer {
namespace {

// What a pattern without pixels is: one pixel of zeros, enough for every depth.
constexpr std::byte zeros[8] = {};
constexpr BUF32PATTERN blank = {1, 1, zeros};

uint64_t pattern_bytes(const BUF32PATTERN &pattern, int bits_per_pixel) {
    return uint64_t(packed_bytes(pattern.width, bits_per_pixel)) * pattern.height;
}

// --- runs of bits -------------------------------------------------------------------------------

// Bit 0 is the highest of the first byte; bits around the destination stay as they are. The runs
// may share a byte, but no bit.
void copy_bits(std::byte *destination, size_t destination_bit, const std::byte *source,
               size_t source_bit, size_t bits) {
    rows::kernels().copy_bit_rows(reinterpret_cast<uint8_t *>(destination), 0, destination_bit,
                                  reinterpret_cast<const uint8_t *>(source), 0, source_bit, bits,
                                  1);
}

// Repeats the first unit_bits of a run until total_bits are filled: what is there doubles with
// every turn.
void repeat_bits(std::byte *row, size_t first_bit, size_t unit_bits, size_t total_bits) {
    for (size_t done = unit_bits; done < total_bits;) {
        const size_t next = std::min(done, total_bits - done);
        copy_bits(row, first_bit + done, row, first_bit, next);
        done += next;
    }
}

// --- rows of pixels -----------------------------------------------------------------------------

// The repeated pattern as rows of bits that begin at one column of the image.
class PatternRows {
public:
    PatternRows(const BUF32PATTERN &pattern, int bits_per_pixel, uint32_t pixel_bits, int left)
        : pattern_(pattern), row_bytes_(packed_bytes(pattern.width, bits_per_pixel)),
          period_(pattern.width * pixel_bits), phase_(uint32_t(left % pattern.width) * pixel_bits) {
    }

    // What lies from the first column to the end of the pattern's row, then what lies before it,
    // and these again and again.
    void render(int y, std::byte *row, size_t first_bit, size_t bits) const {
        const std::byte *const source = row_of_pattern(y);
        const size_t to_end = std::min(period_ - phase_, bits);
        copy_bits(row, first_bit, source, phase_, to_end);
        copy_bits(row, first_bit + to_end, source, 0, std::min(phase_, bits - to_end));
        if (first_bit % 8 == 0 && bits % 8 == 0 && period_ % 8 == 0)
            repeat_bytes(row + first_bit / 8, period_ / 8, bits / 8);
        else
            repeat_bits(row, first_bit, period_, bits);
    }

private:
    const std::byte *row_of_pattern(int y) const {
        return static_cast<const std::byte *>(pattern_.pixels) +
               size_t(y % pattern_.height) * row_bytes_;
    }

    const BUF32PATTERN &pattern_;
    size_t row_bytes_;
    size_t period_; // bits
    size_t phase_;  // bits
};

// Fills rows up to count by those at the start, of which so many are ready.
void repeat_rows(const PlainRows &rows, size_t bits, size_t ready, size_t count) {
    const bool nothing_between = rows.first_bit == 0 && bits == 8 * rows.stride;
    if (nothing_between) {
        repeat_bytes(rows.memory, ready * rows.stride, count * rows.stride);
        return;
    }
    for (size_t row = ready; row < count; ++row)
        copy_bits(rows.memory + row * rows.stride, rows.first_bit,
                  rows.memory + (row - ready) * rows.stride, rows.first_bit, bits);
}

// --- rows of stored bytes -----------------------------------------------------------------------

// A row of the image as buf32Line knows it, at depths beyond 8 bits that fill no whole bytes: rows
// of cells end to end, in each of which the pixels take fewer bytes than there are. The rest is
// zero.
class StoredRows {
public:
    explicit StoredRows(const Record &record)
        : record_(record), pattern_(pattern_of(record)),
          pattern_row_bytes_(packed_bytes(pattern_.width, record.info.bits_per_pixel)) {}

    void render(int y, std::byte *row, size_t first_bit, size_t begin, size_t end) const {
        for (size_t bit = begin; bit < end;) {
            const size_t next = std::min(8 - bit % 8, end - bit);
            const std::byte stored = byte_at(uint32_t(bit / 8), y);
            copy_bits(row, first_bit + bit - begin, &stored, bit % 8, next);
            bit += next;
        }
    }

private:
    std::byte byte_at(uint32_t index, int y) const {
        const BUF32INFO &info = record_.info;
        const uint32_t pixel_bytes = uint32_t(info.bytes_per_pixel);
        const int column = int(index / record_.cell_row_bytes);
        const uint32_t in_cell = index % record_.cell_row_bytes;
        const int x_in_cell = int(in_cell / pixel_bytes);
        const int x = column * info.cell_width + x_in_cell;
        if (x_in_cell >= info.cell_width || x >= info.width || pattern_.pixels == nullptr)
            return {};
        return static_cast<const std::byte *>(
            pattern_.pixels)[size_t(y % pattern_.height) * pattern_row_bytes_ +
                             uint32_t(x % pattern_.width) * pixel_bytes + in_cell % pixel_bytes];
    }

    const Record &record_;
    const BUF32PATTERN pattern_;
    size_t pattern_row_bytes_;
};

void render_stored(const Record &record, const Area &area, const PlainRows &rows) {
    const StoredRows stored(record);
    for (int row = 0; row < area.height(); ++row)
        stored.render(area.top + row, rows.memory + size_t(row) * rows.stride, rows.first_bit,
                      size_t(area.left) * rows.pixel_bits, size_t(area.right) * rows.pixel_bits);
}

// The bits that fill the last byte of rows that end with the image.
void clear_padding(const Area &area, const PlainRows &rows) {
    const size_t end = rows.first_bit + size_t(area.width()) * rows.pixel_bits;
    for (int row = 0; row < area.height(); ++row)
        copy_bits(rows.memory + size_t(row) * rows.stride, end, zeros, 0, (8 - end % 8) % 8);
}

// --- areas as they are stored -------------------------------------------------------------------

// Rows of an area, one behind the other. What its pixels leave of a row is zero, whatever the
// memory held before.
void render_rows(const Record &record, const Area &area, uint32_t row_bytes, std::byte *memory) {
    const uint32_t pixel_bits = unit_bits(record.info);
    if (uint32_t(area.width()) * pixel_bits != row_bytes * 8)
        std::memset(memory, 0, size_t(area.height()) * row_bytes);
    read_pattern(record, area, {memory, row_bytes, 0, pixel_bits});
}

} // namespace

bool is_usable(const BUF32PATTERN *pattern) {
    return pattern != nullptr && pattern->width != 0 && pattern->height != 0 &&
           pattern->pixels != nullptr;
}

RuntimeBlock copy_pattern_pixels(const BUF32PATTERN &pattern, int bits_per_pixel) {
    const uint64_t bytes = pattern_bytes(pattern, bits_per_pixel);
    RuntimeBlock copy(bytes <= SIZE_MAX ? std::malloc(size_t(bytes)) : nullptr);
    if (copy)
        std::memcpy(copy.get(), pattern.pixels, size_t(bytes));
    return copy;
}

void set_pattern(Record &record, const BUF32PATTERN &pattern, RuntimeBlock copy) {
    record.info.colour[0] = pattern.width | uint32_t(pattern.height) << 16;
    record.info.colour[1] = reinterpret_cast<uintptr_t>(copy.release());
}

BUF32PATTERN pattern_of(const Record &record) {
    return {uint16_t(record.info.colour[0]), uint16_t(record.info.colour[0] >> 16),
            reinterpret_cast<const void *>(record.info.colour[1])};
}

void free_pattern_copy(Record &record) {
    std::free(const_cast<void *>(pattern_of(record).pixels));
    record.info.colour[1] = 0;
}

size_t pattern_block_bytes(const Record &record, int pattern_height) {
    return std::max(record.info.cell_bytes, bytes_of_rows(pattern_height, record.row_bytes));
}

size_t pattern_block_bytes(const Record &record) {
    return pattern_block_bytes(record, pattern_of(record).height);
}

void render_pattern(const BUF32PATTERN &pattern, int bits_per_pixel, const Area &area,
                    const PlainRows &rows) {
    if (pattern.pixels == nullptr)
        return render_pattern(blank, bits_per_pixel, area, rows);
    if (area.is_empty())
        return;
    const size_t bits = size_t(area.width()) * rows.pixel_bits;
    const PatternRows pattern_rows(pattern, bits_per_pixel, rows.pixel_bits, area.left);
    const int different = std::min<int>(area.height(), pattern.height);
    for (int row = 0; row < different; ++row)
        pattern_rows.render(area.top + row, rows.memory + size_t(row) * rows.stride, rows.first_bit,
                            bits);
    repeat_rows(rows, bits, size_t(different), size_t(area.height()));
}

bool read_pattern(const Record &record, const Area &area, const PlainRows &rows) {
    if (rows.pixel_bits == unit_bits(record.info))
        render_pattern(pattern_of(record), record.info.bits_per_pixel, area, rows);
    else
        render_stored(record, area, rows);
    if (rows.with_padding && area.right == record.info.width)
        clear_padding(area, rows);
    return true;
}

void render_block(Record &record) {
    const Area area = {0, 0, record.info.width, pattern_of(record).height};
    render_rows(record, area, record.row_bytes, record.storage);
}

void render_cell(const Record &record, int index, std::byte *memory) {
    const BUF32CELL cell = describe_cell(record, index);
    render_rows(record, area_of(cell.x, cell.y, cell.width, cell.height), uint32_t(cell.row_bytes),
                memory);
}

} // namespace q32::buffer
