// What the geometry of a buffer must be, computed from its size alone in 64 bits, as plainly as the
// definitions read; and a plain image to hold beside a buffer.
#pragma once

#include <q32base/buffers.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace q32::test {

struct Geometry {
    int64_t width, height, bits;
    bool linear;

    Geometry(int width_in, int height_in, int bits_in, uint32_t type)
        : width(width_in), height(height_in), bits(bits_in), linear((type & 0x1E) != 0) {}

    static int64_t divide_up(int64_t value, int64_t by) { return (value + by - 1) / by; }
    int64_t bytes(int64_t pixels) const { return divide_up(pixels * bits, 8); }
    // Byte counts that need more bits than a size has show as all ones.
    static size_t shown(int64_t value) {
        return uint64_t(value) >= SIZE_MAX ? SIZE_MAX : size_t(value);
    }

    int64_t bytes_per_pixel() const { return bits / 8; }
    // Rectangles move whole bytes per pixel from 8 bits on: one byte at 12 bits.
    int64_t unit_bits() const { return bits < 8 ? bits : bytes_per_pixel() * 8; }
    size_t unit_bytes() const { return size_t(std::max<int64_t>(bytes_per_pixel(), 1)); }
    // Whether units lie side by side: every depth but those between whole bytes.
    bool is_dense() const { return unit_bits() == bits; }
    int64_t row_bytes() const { return bytes(width); }
    int64_t image_bytes() const { return height * row_bytes(); }
    int64_t cell_width() const { return linear ? width : std::min<int64_t>(width, 128); }
    int64_t cell_height() const { return linear ? height : std::min<int64_t>(height, 128); }
    int64_t columns() const { return divide_up(width, cell_width()); }
    int64_t bands() const { return divide_up(height, cell_height()); }
    int64_t cell_count() const { return columns() * bands(); }
    int64_t last_column_width() const { return width - (columns() - 1) * cell_width(); }
    int64_t last_row_height() const { return height - (bands() - 1) * cell_height(); }
    int64_t cell_row_bytes() const { return bytes(cell_width()); }
    int64_t last_column_row_bytes() const { return bytes(last_column_width()); }
    int64_t cell_bytes() const { return cell_height() * cell_row_bytes(); }
    int64_t last_column_cell_bytes() const { return cell_height() * last_column_row_bytes(); }
    int64_t last_row_cell_bytes() const { return cell_row_bytes() * last_row_height(); }
    int64_t corner_cell_bytes() const { return last_column_row_bytes() * last_row_height(); }
    int64_t band_bytes() const { return (columns() - 1) * cell_bytes() + last_column_cell_bytes(); }
    int64_t block_bytes() const { return std::max(row_bytes(), cell_bytes()); }

    // One cell, by its index.
    int64_t column_of(int64_t cell) const { return cell % columns(); }
    int64_t band_of(int64_t cell) const { return cell / columns(); }
    int64_t cell_x(int64_t cell) const { return column_of(cell) * cell_width(); }
    int64_t cell_y(int64_t cell) const { return band_of(cell) * cell_height(); }
    int64_t width_of(int64_t cell) const {
        return column_of(cell) == columns() - 1 ? last_column_width() : cell_width();
    }
    int64_t height_of(int64_t cell) const {
        return band_of(cell) == bands() - 1 ? last_row_height() : cell_height();
    }
    int64_t row_bytes_of(int64_t cell) const { return bytes(width_of(cell)); }
    int64_t bytes_of(int64_t cell) const { return height_of(cell) * row_bytes_of(cell); }

    // Where a cell begins in the storage: after all cells of the bands above and of its own band to
    // the left.
    int64_t offset_of(int64_t cell) const {
        return band_of(cell) * band_bytes() +
               column_of(cell) *
                   (band_of(cell) == bands() - 1 ? last_row_cell_bytes() : cell_bytes());
    }

    // Where the byte that holds a pixel lies in the storage.
    int64_t pixel_offset(int64_t x, int64_t y) const {
        const int64_t cell = (y / cell_height()) * columns() + x / cell_width();
        return offset_of(cell) + (y % cell_height()) * row_bytes_of(cell) +
               (x % cell_width()) * bits / 8;
    }

    BUF32CELL description(int cell) const {
        return BUF32CELL{cell,
                         int32_t(cell_x(cell)),
                         int32_t(cell_y(cell)),
                         int32_t(width_of(cell)),
                         int32_t(height_of(cell)),
                         int32_t(bits),
                         int32_t(bytes_per_pixel()),
                         int32_t(row_bytes_of(cell)),
                         size_t(bytes_of(cell)),
                         int32_t(width_of(cell) * height_of(cell))};
    }
};

// An image in plain memory: rows packed to the byte, top row first.
class PlainImage {
public:
    explicit PlainImage(const Geometry &geometry)
        : row_bytes_(size_t(geometry.row_bytes())), rows_(size_t(geometry.height)),
          bytes_(row_bytes_ * rows_) {}

    size_t row_bytes() const { return row_bytes_; }
    size_t rows() const { return rows_; }
    uint8_t *row(size_t y) { return bytes_.data() + y * row_bytes_; }
    const uint8_t *row(size_t y) const { return bytes_.data() + y * row_bytes_; }
    std::vector<uint8_t> &bytes() { return bytes_; }
    const std::vector<uint8_t> &bytes() const { return bytes_; }

    void set_rows(size_t rows) {
        rows_ = rows;
        bytes_.resize(row_bytes_ * rows);
    }

private:
    size_t row_bytes_, rows_;
    std::vector<uint8_t> bytes_;
};

// The same pixels as they must lie in a buffer's storage: cell by cell.
inline std::vector<uint8_t> storage_of(const PlainImage &image, const Geometry &geometry) {
    std::vector<uint8_t> storage(size_t(geometry.image_bytes()));
    for (int64_t cell = 0; cell < geometry.cell_count(); ++cell) {
        uint8_t *to = storage.data() + geometry.offset_of(cell);
        for (int64_t y = 0; y < geometry.height_of(cell); ++y) {
            const uint8_t *from = image.row(size_t(geometry.cell_y(cell) + y)) +
                                  geometry.cell_x(cell) * geometry.bits / 8;
            std::memcpy(to, from, size_t(geometry.row_bytes_of(cell)));
            to += geometry.row_bytes_of(cell);
        }
    }
    return storage;
}

} // namespace q32::test
