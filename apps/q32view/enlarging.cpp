// A part is a frame for the library's resampler, with position tables of our own: those of the
// part's columns and rows within the whole. Tables that the library would make for the part alone
// begin at its corner, and parts would not fit together unless the factor is whole.
#include "enlarging.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"

#include <q32base/resample.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace apps::q32view {
namespace {

constexpr int nearest_above = 4; // times: where single pixels are to be seen as such
constexpr int margin = 2;        // pixels at which bicubic interpolation looks on either side

// For columns or rows of a part: where they lie in the picture, and what of it they look at.
struct Positions {
    int first = 0, count = 0;        // of the picture's pixels
    std::vector<int32_t> index;      // counted from the first one
    std::vector<int32_t> fraction{}; // of 8 bits
};

// As the library places what it scales as a whole: in double precision, the quotient first. Single
// pixels begin where they begin, however quotients are rounded.
Positions positions_of(int from, int count, int shown, int picture, bool nearest) {
    Positions positions;
    for (int i = from; i < from + count; ++i) {
        double place = static_cast<double>(i) / shown * picture;
        if (nearest)
            place = static_cast<double>(static_cast<int64_t>(i) * picture / shown);
        if (place >= picture)
            place = picture - 1;
        const auto whole = static_cast<int32_t>(place);
        positions.index.push_back(whole);
        positions.fraction.push_back(static_cast<int32_t>((place - whole) * 65536.0) >> 8);
    }
    positions.first = std::max(positions.index.front() - margin, 0);
    positions.count = std::min(positions.index.back() + margin + 1, picture) - positions.first;
    for (int32_t &index : positions.index)
        index -= positions.first;
    return positions;
}

constexpr size_t padded(size_t row_bytes) {
    return (row_bytes + 3) / 4 * 4;
}

// The picture's pixels as a frame, with its rows padded.
std::vector<uint8_t> frame_of(HBUF32 picture, const Area &area, size_t pixel_bytes,
                              const std::string &named) {
    const size_t row_bytes = static_cast<size_t>(area.width()) * pixel_bytes;
    const auto rows = static_cast<size_t>(area.height());
    std::vector<uint8_t> packed(row_bytes * rows), frame(padded(row_bytes) * rows);
    if (!buf32GetMem(picture, area.left, area.top, area.width(), area.height(), packed.data()))
        throw library_failure(named, "a part of the picture cannot be read");
    for (size_t y = 0; y < rows; ++y)
        std::copy_n(packed.data() + row_bytes * y, row_bytes, frame.data() + padded(row_bytes) * y);
    return frame;
}

Buffer buffer_of(const std::vector<uint8_t> &pixels, Size size, int bits,
                 const std::string &named) {
    HBUF32 handle = 0;
    if (!buf32Alloc(&handle, bits, size.width, size.height, BUF32_LINEAR, nullptr))
        throw library_failure(named, "no buffer for a part of the picture");
    Buffer buffer(handle);
    if (!buf32MergeMem(handle, 0, 0, pixels.data(), size.width, size.height))
        throw library_failure(named, "a part of the picture cannot be stored");
    return buffer;
}

} // namespace

Buffer enlarged_part(HBUF32 picture, Size shown, const Area &part, const std::string &named) {
    BUF32INFO info = {};
    if (!buf32GetInfo(picture, &info))
        throw Failure(named, "the picture is gone");
    const bool nearest =
        shown.width > info.width * nearest_above || shown.height > info.height * nearest_above;
    // Rows of four pixels, or more of them, need no padding.
    const Size size = {(part.width() + 3) / 4 * 4, part.height()};
    Positions columns = positions_of(part.left, size.width, shown.width, info.width, nearest);
    Positions rows = positions_of(part.top, size.height, shown.height, info.height, nearest);

    const auto pixel_bytes = static_cast<size_t>(info.bytes_per_pixel);
    const Area source = area_of(columns.first, rows.first, columns.count, rows.count);
    const std::vector<uint8_t> frame = frame_of(picture, source, pixel_bytes, named);
    std::vector<uint8_t> result(static_cast<size_t>(size.width) * pixel_bytes *
                                static_cast<size_t>(size.height));
    BITMAPINFOHEADER header = {.biSize = sizeof header,
                               .biWidth = source.width(),
                               .biHeight = source.height(),
                               .biPlanes = 1,
                               .biBitCount = static_cast<WORD>(info.bits_per_pixel)};
    VCRESAMPLE record = {.source = &header,
                         .width = size.width,
                         .height = size.height,
                         .method = nearest ? RESAMPLE_NEAREST : RESAMPLE_BICUBIC,
                         .column_index = columns.index.data(),
                         .column_fraction = columns.fraction.data(),
                         .row_index = rows.index.data(),
                         .row_fraction = rows.fraction.data()};
    if (!vcResampleEx(0, frame.data(), &header, result.data(), size.width, size.height,
                      record.method, &record))
        throw library_failure(named, "a part of the picture cannot be scaled");
    return buffer_of(result, size, info.bits_per_pixel, named);
}

} // namespace apps::q32view
