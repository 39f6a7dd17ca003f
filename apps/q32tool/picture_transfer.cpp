// Row loops between WIC and buffers. Files have blue first and buffers red, so rows pass through
// the library's RGBToBGR both ways.
#include "picture_transfer.h"

#include "areas.h"
#include "numbers.h"
#include "picture_reader.h"
#include "progress.h"
#include "text.h"
#include "timings.h"

#include <q32base/rows.h>

#include <algorithm>
#include <vector>

namespace q32tool {
namespace {

// Rows are decoded in bands of about a megabyte, so that no second copy of a picture is needed.
constexpr int band_bytes = 1 << 20;
constexpr int band_rows_most = 128;

void swap_red_and_blue(uint8_t *row, int width) {
    ++timings().rows_converted;
    RGBToBGR(row, row, width);
}

// How an image's rows leave its buffer for a file.
struct Export {
    int line_mode;
    RowFormat rows;
};

Export export_of(PixelFormat pixels, FileFormat format) {
    switch (pixels) {
    case PixelFormat::bits:
        return format == FileFormat::jpeg ? Export{BUF32_LINE_READ_BITS, RowFormat::grey}
                                          : Export{BUF32_LINE_READ, RowFormat::bits};
    case PixelFormat::grey:
        return {BUF32_LINE_READ, RowFormat::grey};
    case PixelFormat::rgb555:
        return format == FileFormat::bmp ? Export{BUF32_LINE_READ, RowFormat::words555}
                                         : Export{BUF32_LINE_READ_555, RowFormat::bgr};
    case PixelFormat::rgb565:
        return {BUF32_LINE_READ_565, RowFormat::bgr};
    case PixelFormat::rgb:
        break;
    }
    return {BUF32_LINE_READ, RowFormat::bgr};
}

} // namespace

LoadedPicture load_picture(const std::string &path, uint32_t buffer_type) {
    PictureReader reader = [&] {
        const Timed timed(Part::reading);
        return PictureReader(path);
    }();
    const int width = reader.width(), height = reader.height();
    Image image(PixelFormat::rgb, width, height, buffer_type, path);
    const size_t row_bytes = static_cast<size_t>(width) * 3;
    const int band_rows =
        std::clamp(band_bytes / static_cast<int>(row_bytes), 1, std::min(height, band_rows_most));
    std::vector<uint8_t> band(row_bytes * static_cast<size_t>(band_rows));
    Progress progress("reading", height);
    const ImageLock lock(image, BUF32_OVERWRITE);
    for (int first = 0; first < height; first += band_rows) {
        const int count = std::min(band_rows, height - first);
        {
            const Timed timed(Part::reading);
            reader.read_rows(first, count, band.data());
        }
        {
            const Timed timed(Part::library);
            uint8_t *row = band.data();
            for (int y = first; y < first + count; ++y, row += row_bytes) {
                swap_red_and_blue(row, width);
                image.line(y, BUF32_LINE_WRITE, row);
            }
        }
        progress.advance(count);
    }
    return {std::move(image), reader.format(), reader.bits()};
}

void save_picture(Image &image, const std::string &path, FileFormat format) {
    const Export as = export_of(image.format(), format);
    PictureWriter writer(path, format, as.rows, image.width(), image.height());
    std::vector<uint8_t> row(static_cast<size_t>(image.width()) * 3);
    Progress progress("writing", image.height());
    const ImageLock lock(image, BUF32_READ);
    for (int y = 0; y < image.height(); ++y) {
        {
            const Timed timed(Part::library);
            image.line(y, as.line_mode, row.data());
            if (as.rows == RowFormat::bgr)
                swap_red_and_blue(row.data(), image.width());
        }
        {
            const Timed timed(Part::writing);
            writer.write_row(row.data());
        }
        progress.advance(1);
    }
    const Timed timed(Part::writing);
    writer.commit();
}

void save_picture_and_tell(Image &image, const std::string &path, FileFormat format,
                           const Arguments &arguments) {
    save_picture(image, path, format);
    if (!arguments.has("--quiet"))
        print(written_line(path, image.width(), image.height(), bits_of(image.format()), format));
}

std::string written_line(const std::string &path, int width, int height, int bits,
                         FileFormat format) {
    return path + ": " + size_in_words(width, height) + ", " +
           counted(static_cast<uint64_t>(bits), "bit") + ", " + format_name(format) + "\n";
}

} // namespace q32tool
