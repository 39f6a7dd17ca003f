// The header, the greys of pictures without colours, and where each row goes.
#include "bmp_encoder.h"

#include "bytes.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace apps {
namespace {

constexpr size_t file_header_bytes = 14, header_bytes = 40;

// From black to white; blue, green, red and a byte of nothing each.
Bytes greys(size_t count) {
    Bytes table;
    for (size_t i = 0; i < count; ++i) {
        const auto grey = static_cast<uint8_t>(i * 255 / (count - 1));
        put(table, Bytes{grey, grey, grey, 0});
    }
    return table;
}

uint32_t per_metre(double per_inch) {
    return static_cast<uint32_t>(std::clamp(std::round(per_inch / 0.0254), 1.0, 2e9));
}

} // namespace

BmpEncoder::BmpEncoder(ByteSink &sink, const PictureToWrite &picture)
    : sink_(sink), row_bytes_(static_cast<size_t>(row_bytes_of(picture.rows, picture.width))),
      row_((row_bytes_ + 3) / 4 * 4), rows_left_(static_cast<uint64_t>(picture.height)) {
    const size_t bits = static_cast<size_t>(row_bytes_of(picture.rows, 8));
    const Bytes table = bits <= 8 ? greys(size_t{1} << bits) : Bytes();
    pixels_at_ = file_header_bytes + header_bytes + table.size();
    const uint64_t pixel_bytes = row_.size() * rows_left_;

    Bytes header;
    put(header, "BM");
    put_little_endian(header, pixels_at_ + pixel_bytes);
    put_little_endian(header, 0);
    put_little_endian(header, pixels_at_);
    put_little_endian(header, header_bytes);
    put_little_endian(header, static_cast<uint64_t>(picture.width));
    put_little_endian(header, static_cast<uint64_t>(picture.height)); // above 0: from the bottom
    put_little_endian(header, 1, 2);                                  // plane
    put_little_endian(header, bits, 2);
    put_little_endian(header, 0); // not packed
    put_little_endian(header, pixel_bytes);
    const auto &resolution = picture.facts.resolution;
    put_little_endian(header, resolution ? per_metre(resolution->x) : 0);
    put_little_endian(header, resolution ? per_metre(resolution->y) : 0);
    put_little_endian(header, table.size() / 4);
    put_little_endian(header, 0); // all of them matter
    put(header, table);
    sink_.append(header);
}

void BmpEncoder::write_row(const uint8_t *row) {
    std::memcpy(row_.data(), row, row_bytes_);
    --rows_left_;
    sink_.replace(pixels_at_ + row_.size() * rows_left_, row_);
}

} // namespace apps
