// The plainest image there is: one number per pixel. And blocks of plain memory, read and written
// one pixel at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace q32::test {

// Rows of pixels in plain memory, as rectangles are laid out: whole bytes per pixel from 8 bits on,
// else packed with the leftmost pixel highest.
class Block {
public:
    Block(int bits, int width, int height)
        : bits_(bits), row_bytes_(bits < 8 ? (size_t(width) * size_t(bits) + 7) / 8
                                           : size_t(width) * size_t(bits / 8)),
          bytes_(row_bytes_ * size_t(height)) {}

    std::vector<uint8_t> &bytes() { return bytes_; }
    const std::vector<uint8_t> &bytes() const { return bytes_; }

    uint64_t pixel(int x, int y) const { return read(row(y), x, bits_); }
    void set_pixel(int x, int y, uint64_t value) {
        uint8_t *const to = bytes_.data() + size_t(y) * row_bytes_;
        if (bits_ >= 8) {
            std::memcpy(to + size_t(x) * size_t(bits_ / 8), &value, size_t(bits_ / 8));
            return;
        }
        for (int bit = 0; bit < bits_; ++bit) {
            const int at = x * bits_ + bit;
            const auto mask = uint8_t(0x80 >> at % 8);
            const bool on = (value >> (bits_ - 1 - bit) & 1) != 0;
            to[at / 8] = uint8_t(on ? to[at / 8] | mask : to[at / 8] & ~mask);
        }
    }

    static uint64_t read(const uint8_t *row, int x, int bits) {
        uint64_t value = 0;
        if (bits >= 8)
            std::memcpy(&value, row + size_t(x) * size_t(bits / 8), size_t(bits / 8));
        else
            for (int at = x * bits; at < (x + 1) * bits; ++at)
                value = value << 1 | (row[at / 8] >> (7 - at % 8) & 1);
        return value;
    }

private:
    const uint8_t *row(int y) const { return bytes_.data() + size_t(y) * row_bytes_; }

    int bits_;
    size_t row_bytes_;
    std::vector<uint8_t> bytes_;
};

// A pixel at place x of rows that hold the colour's bytes over and over; under 8 bits the one byte.
inline uint64_t colour_pixel(const uint8_t *colour, int x, int bits) {
    if (bits >= 8)
        return Block::read(colour, 0, bits);
    uint64_t value = 0;
    for (int at = x * bits; at < (x + 1) * bits; ++at)
        value = value << 1 | (colour[0] >> (7 - at % 8) & 1);
    return value;
}

struct Image {
    int width = 0, height = 0;
    std::vector<uint64_t> pixels;

    Image() = default;
    Image(int width_in, int height_in)
        : width(width_in), height(height_in), pixels(size_t(width_in) * size_t(height_in)) {}

    bool contains(int64_t x, int64_t y) const {
        return x >= 0 && y >= 0 && x < width && y < height;
    }
    uint64_t &at(int x, int y) { return pixels[size_t(y) * size_t(width) + size_t(x)]; }
    uint64_t at(int x, int y) const { return pixels[size_t(y) * size_t(width) + size_t(x)]; }

    template <class Value>
    void paint(Value value) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                at(x, y) = value(x, y);
    }
    void set_rows(int rows) {
        height = rows;
        pixels.resize(size_t(width) * size_t(rows));
    }
    bool operator==(const Image &) const = default;
};

} // namespace q32::test
