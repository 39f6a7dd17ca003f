// Row loops between WIC and buffers. Files have blue first and buffers red, so rows pass through
// the library's RGBToBGR both ways.
#include "picture_transfer.h"

#include "apps/pictures/numbers.h"
#include "apps/pictures/picture_reader.h"
#include "apps/pictures/text.h"
#include "option_values.h"
#include "output_options.h"
#include "progress.h"
#include "storage_options.h"

#include <q32base/rows.h>

#include <algorithm>
#include <vector>

namespace apps::q32tool {
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

PictureReader open_picture(const std::string &path) {
    const Timed timed(Part::reading);
    return PictureReader(path);
}

// Hands a picture's rows over one by one. take_row(y, pixels) may change its row.
template <typename TakeRow>
void read_row_by_row(PictureReader &reader, RowFormat rows, const TakeRow &take_row) {
    const size_t row_bytes = static_cast<size_t>(row_bytes_of(rows, reader.width()));
    const int band_rows = std::clamp(band_bytes / static_cast<int>(row_bytes), 1,
                                     std::min(reader.height(), band_rows_most));
    std::vector<uint8_t> band(row_bytes * static_cast<size_t>(band_rows));
    band_by_band("reading", reader.height(), band_rows, [&](int first, int count) {
        {
            const Timed timed(Part::reading);
            reader.read_rows(rows, first, count, band.data());
        }
        const Timed timed(Part::library);
        for (int i = 0; i < count; ++i)
            take_row(first + i, band.data() + row_bytes * static_cast<size_t>(i));
    });
}

} // namespace

LoadedPicture load_picture(const std::string &path, uint32_t buffer_type) {
    PictureReader reader = open_picture(path);
    const int width = reader.width();
    Image image(PixelFormat::rgb, reader.size(), buffer_type, path);
    const BufferLock lock = image.lock(BUF32_OVERWRITE);
    read_row_by_row(reader, RowFormat::bgr, [&](int y, uint8_t *row) {
        swap_red_and_blue(row, width);
        image.line(y, BUF32_LINE_WRITE, row);
    });
    return {std::move(image), reader.format(), reader.bits()};
}

PictureWithAlpha load_picture_with_alpha(const std::string &path, uint32_t buffer_type) {
    PictureReader reader = open_picture(path);
    if (!reader.has_transparency())
        return {load_picture(path, buffer_type).image, std::nullopt};
    const size_t width = static_cast<size_t>(reader.width());
    Image image(PixelFormat::rgb, reader.size(), buffer_type, path);
    Image alpha(PixelFormat::grey, reader.size(), buffer_type, path);
    const BufferLock image_lock = image.lock(BUF32_OVERWRITE);
    const BufferLock alpha_lock = alpha.lock(BUF32_OVERWRITE);
    std::vector<uint8_t> alpha_row(width);
    read_row_by_row(reader, RowFormat::bgra, [&](int y, uint8_t *row) {
        for (size_t x = 0; x < width; ++x) {
            const uint8_t blue = row[x * 4], green = row[x * 4 + 1], red = row[x * 4 + 2];
            alpha_row[x] = row[x * 4 + 3];
            row[x * 3] = red;
            row[x * 3 + 1] = green;
            row[x * 3 + 2] = blue;
        }
        image.line(y, BUF32_LINE_WRITE, row);
        alpha.line(y, BUF32_LINE_WRITE, alpha_row.data());
    });
    return {std::move(image), std::move(alpha)};
}

void save_picture(Image &image, const std::string &path, FileFormat format,
                  const OutputSettings &settings) {
    const Export as = export_of(image.format(), format);
    PictureWriter writer(path, format, as.rows, image.width(), image.height(), {}, settings);
    std::vector<uint8_t> row(static_cast<size_t>(image.width()) * 3);
    const BufferLock lock = image.lock(BUF32_READ);
    band_by_band("writing", image.height(), 1, [&](int y, int) {
        {
            const Timed timed(Part::library);
            image.line(y, as.line_mode, row.data());
            if (as.rows == RowFormat::bgr)
                swap_red_and_blue(row.data(), image.width());
        }
        const Timed timed(Part::writing);
        writer.write_row(row.data());
    });
    const Timed timed(Part::writing);
    writer.commit();
}

std::string written_line(const std::string &path, Size size, int bits, FileFormat format) {
    return path + ": " + size_in_words(size) + ", " + counted(static_cast<uint64_t>(bits), "bit") +
           ", " + format_name(format) + "\n";
}

Option output_option() {
    return {"--output", "OUT", "the picture to write", once, "-o"};
}

PictureTransfer::PictureTransfer(const Arguments &arguments, std::string out)
    : buffer_type_(apply_storage_options(arguments)), out_(std::move(out)),
      format_(check_output(out_)), settings_(output_settings(arguments, format_)),
      quiet_(arguments.has("--quiet")) {}

void PictureTransfer::save(Image &image, const std::string &path) const {
    save_picture(image, path, format_, settings_);
    if (!quiet_)
        print(written_line(path, image.size(), bits_of(image.format()), format_));
}

void change_picture(const Arguments &arguments, const std::function<void(Image &)> &change) {
    const PictureTransfer transfer(arguments, arguments.last_operand());
    Image image = transfer.load(arguments.operand(0));
    change(image);
    transfer.save(image);
}

} // namespace apps::q32tool
