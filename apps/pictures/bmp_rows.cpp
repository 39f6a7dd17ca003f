// The header, and rows in the order that it tells.
#include "bmp_rows.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace apps {
namespace {

template <typename T>
T field(const uint8_t *header, size_t at) {
    T value;
    std::memcpy(&value, header + at, sizeof value);
    return value;
}

} // namespace

std::unique_ptr<BmpRows> BmpRows::open(ReadAt file) {
    std::unique_ptr<BmpRows> rows(new BmpRows(std::move(file)));
    return rows->read_header() ? std::move(rows) : nullptr;
}

BmpRows::BmpRows(ReadAt file) : file_(std::move(file)) {}

// False: the codec shall see to it.
bool BmpRows::read_header() {
    constexpr uint32_t least_header_bytes = 40, uncompressed = 0;
    constexpr int32_t most = INT32_MAX / 4;
    uint8_t header[54];
    if (file_(0, header, sizeof header) != sizeof header || header[0] != 'B' || header[1] != 'M')
        return false;
    if (field<uint32_t>(header, 14) < least_header_bytes || field<uint16_t>(header, 28) != 24 ||
        field<uint32_t>(header, 30) != uncompressed)
        return false;
    pixels_begin_ = field<uint32_t>(header, 10);
    const auto width = field<int32_t>(header, 18), height = field<int32_t>(header, 22);
    if (width < 1 || width > most || height == 0 || height < -most || height > most)
        return false;
    bits_ = 24;
    width_ = width;
    height_ = std::abs(height);
    top_first_ = height < 0;
    row_bytes_ = static_cast<size_t>(width) * 3;
    stride_ = (row_bytes_ + 3) / 4 * 4;
    return true;
}

void BmpRows::read_rows(int count, uint8_t *pixels) {
    const int first = top_first_ ? rows_read_ : height_ - rows_read_ - count;
    band_.resize(stride_ * static_cast<size_t>(count));
    const uint64_t begin = pixels_begin_ + uint64_t{stride_} * static_cast<uint64_t>(first);
    if (file_(begin, band_.data(), band_.size()) != band_.size())
        throw DamagedData();
    for (int i = 0; i < count; ++i, pixels += row_bytes_)
        std::memcpy(pixels, &band_[stride_ * static_cast<size_t>(top_first_ ? i : count - 1 - i)],
                    row_bytes_);
    rows_read_ += count;
}

} // namespace apps
