// Chunks, and the filters of lines.
#include "png_rows.h"

#include "bytes.h"
#include "png_signature.h"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace apps {
namespace {

constexpr uint32_t header_type = 0x49484452, palette_type = 0x504c5445, pixels_type = 0x49444154,
                   transparency_type = 0x74524e53;
constexpr uint32_t ancillary = 0x20000000; // set in the types of chunks that may be passed over
constexpr size_t most_piece_bytes = 65536;

uint32_t checksum_with(uint32_t checksum, std::span<const uint8_t> bytes) {
    return static_cast<uint32_t>(crc32_z(checksum, bytes.data(), bytes.size()));
}

// The one of the neighbours that is closest to left + above - corner.
uint8_t paeth(int left, int above, int corner) {
    const int to_left = std::abs(above - corner), to_above = std::abs(left - corner),
              to_corner = std::abs(left + above - 2 * corner);
    if (to_left <= to_above && to_left <= to_corner)
        return static_cast<uint8_t>(left);
    return static_cast<uint8_t>(to_above <= to_corner ? above : corner);
}

// Adds to each byte what its neighbours let expect: expected(left, above, corner), which are 0
// outside the picture. step: bytes from pixel to pixel.
template <typename Expected>
void add_expected(std::span<uint8_t> line, std::span<const uint8_t> line_above, size_t step,
                  const Expected &expected) {
    for (size_t i = 0; i < step; ++i)
        line[i] = static_cast<uint8_t>(line[i] + expected(0, line_above[i], 0));
    for (size_t i = step; i < line.size(); ++i)
        line[i] = static_cast<uint8_t>(
            line[i] + expected(line[i - step], line_above[i], line_above[i - step]));
}

void undo_filter(uint8_t filter, std::span<uint8_t> line, std::span<const uint8_t> line_above,
                 size_t step) {
    switch (filter) {
    case 0:
        return;
    case 1:
        return add_expected(line, line_above, step, [](int left, int, int) { return left; });
    case 2:
        return add_expected(line, line_above, step, [](int, int above, int) { return above; });
    case 3:
        return add_expected(line, line_above, step,
                            [](int left, int above, int) { return (left + above) / 2; });
    case 4:
        return add_expected(line, line_above, step, paeth);
    default:
        throw DamagedData();
    }
}

// Pixels of a file with blue first; grey becomes three samples.
void put_blue_first(const uint8_t *line, size_t samples, uint8_t *pixels, size_t width) {
    for (size_t x = 0; x < width; ++x, line += samples) {
        const bool grey = samples == 1;
        *pixels++ = line[grey ? 0 : 2];
        *pixels++ = line[grey ? 0 : 1];
        *pixels++ = line[0];
        if (samples == 4)
            *pixels++ = line[3];
    }
}

} // namespace

std::unique_ptr<PngRows> PngRows::open(ReadAt file) {
    std::unique_ptr<PngRows> rows(new PngRows(std::move(file)));
    try {
        return rows->begin() ? std::move(rows) : nullptr;
    } catch (const DamagedData &) {
        return nullptr;
    }
}

PngRows::PngRows(ReadAt file)
    : file_(std::move(file)), piece_(most_piece_bytes),
      inflater_([this] { return next_pixel_data(); }) {}

// False: the codec shall see to it.
bool PngRows::begin() {
    constexpr uint8_t bits_of_sample = 8, grey = 0, colours = 2, colours_and_opacity = 6;
    constexpr size_t header_bytes = 13;
    uint8_t start[sizeof png_signature];
    if (!read(start, sizeof start) || !std::equal(start, std::end(start), png_signature))
        return false;
    if (!begin_chunk() || chunk_type_ != header_type || chunk_left_ != header_bytes)
        return false;
    const uint8_t *const header = read_piece().data();
    const uint32_t width = big_endian(header), height = big_endian(header + 4);
    const uint8_t kind = header[9];
    constexpr uint32_t most = std::numeric_limits<int32_t>::max() / 4;
    if (width == 0 || width > most || height == 0 || height > most)
        return false;
    if (header[8] != bits_of_sample || header[10] != 0 || header[11] != 0 || header[12] != 0)
        return false;
    if (kind != grey && kind != colours && kind != colours_and_opacity)
        return false;
    width_ = static_cast<int>(width);
    height_ = static_cast<int>(height);
    samples_ = kind == grey ? 1 : kind == colours ? 3 : 4;
    bits_ = static_cast<int>(samples_) * bits_of_sample;

    while (end_chunk() && begin_chunk()) {
        if (chunk_type_ == pixels_type) {
            line_.resize(size_t{width} * samples_);
            line_above_.resize(line_.size());
            return true;
        }
        if (chunk_type_ == transparency_type ||
            ((chunk_type_ & ancillary) == 0 && chunk_type_ != palette_type))
            return false;
        while (chunk_left_ > 0)
            read_piece();
    }
    return false;
}

// The next bytes of the file; false where it ends.
bool PngRows::read(uint8_t *bytes, size_t count) {
    const size_t done = file_(at_, bytes, count);
    at_ += done;
    return done == count;
}

// False where the file ends.
bool PngRows::begin_chunk() {
    uint8_t start[8];
    if (!read(start, sizeof start))
        return false;
    chunk_left_ = big_endian(start);
    chunk_type_ = big_endian(start + 4);
    checksum_ = checksum_with(0, std::span(start).subspan(4));
    return true;
}

// False for a chunk that is damaged.
bool PngRows::end_chunk() {
    uint8_t checksum[4];
    return read(checksum, sizeof checksum) && big_endian(checksum) == checksum_;
}

std::span<const uint8_t> PngRows::read_piece() {
    const size_t count = std::min<size_t>(chunk_left_, piece_.size());
    if (!read(piece_.data(), count))
        throw DamagedData();
    const std::span<const uint8_t> piece(piece_.data(), count);
    chunk_left_ -= static_cast<uint32_t>(count);
    checksum_ = checksum_with(checksum_, piece);
    return piece;
}

std::span<const uint8_t> PngRows::next_pixel_data() {
    while (chunk_type_ == pixels_type && chunk_left_ == 0)
        if (!end_chunk() || !begin_chunk())
            throw DamagedData();
    if (chunk_type_ != pixels_type)
        return {};
    return read_piece();
}

void PngRows::read_line() {
    std::swap(line_, line_above_);
    uint8_t filter = 0;
    inflater_.read(&filter, 1);
    inflater_.read(line_.data(), line_.size());
    undo_filter(filter, line_, line_above_, samples_);
}

void PngRows::read_rows(int count, uint8_t *pixels) {
    const size_t width = static_cast<size_t>(width_);
    for (int i = 0; i < count; ++i, pixels += width * (has_transparency() ? 4 : 3)) {
        read_line();
        put_blue_first(line_.data(), samples_, pixels, width);
    }
    rows_read_ += count;
    // What damage there is behind the last row's data spoils the picture, too.
    while (rows_read_ == height_ && !next_pixel_data().empty()) {
    }
}

} // namespace apps
