// Row loops from WIC to buffers. Files have blue first and buffers red.
#include "picture_loading.h"

#include "apps/pictures/turning.h"
#include "notes.h"
#include "progress.h"

#include <q32base/rows.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace apps::q32tool {
namespace {

// Rows are decoded in bands of about a megabyte, so that no second copy of a picture is needed.
constexpr int band_bytes = 1 << 20;
constexpr int band_rows_most = 128;

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

// The opacity of a picture whose rows come one after another. Most pictures that could have
// transparent parts have none, so it is made with the first of them.
class OpacityRows {
public:
    OpacityRows(Size size, uint32_t type, const std::string &named)
        : size_(size), type_(type), named_(named), opaque_(static_cast<size_t>(size.width), 255) {}

    void take(int y, const std::vector<uint8_t> &row) {
        if (!image_) {
            if (row == opaque_)
                return;
            start(y);
        }
        image_->line(y, BUF32_LINE_WRITE, const_cast<uint8_t *>(row.data()));
    }

    std::optional<Image> finish() {
        lock_ = BufferLock();
        return std::move(image_);
    }

private:
    void start(int rows_before) {
        image_.emplace(PixelFormat::grey, size_, type_, named_);
        lock_ = image_->lock(BUF32_OVERWRITE);
        for (int y = 0; y < rows_before; ++y)
            image_->line(y, BUF32_LINE_WRITE, opaque_.data());
    }

    Size size_;
    uint32_t type_;
    std::string named_;
    std::vector<uint8_t> opaque_; // a row
    std::optional<Image> image_;
    BufferLock lock_; // given back before the image
};

void read_opaque(PictureReader &reader, Picture &picture) {
    const BufferLock lock = picture.image.lock(BUF32_OVERWRITE);
    read_row_by_row(reader, RowFormat::bgr, [&](int y, uint8_t *row) {
        swap_red_and_blue(row, picture.image.width());
        picture.image.line(y, BUF32_LINE_WRITE, row);
    });
}

void read_transparent(PictureReader &reader, Picture &picture) {
    const size_t width = static_cast<size_t>(reader.width());
    OpacityRows opacity(reader.size(), picture.image.type(), picture.image.named());
    std::vector<uint8_t> opacity_row(width);
    const BufferLock lock = picture.image.lock(BUF32_OVERWRITE);
    read_row_by_row(reader, RowFormat::bgra, [&](int y, uint8_t *row) {
        for (size_t x = 0; x < width; ++x) {
            const uint8_t blue = row[x * 4], green = row[x * 4 + 1], red = row[x * 4 + 2];
            opacity_row[x] = row[x * 4 + 3];
            row[x * 3] = red;
            row[x * 3 + 1] = green;
            row[x * 3 + 2] = blue;
        }
        picture.image.line(y, BUF32_LINE_WRITE, row);
        opacity.take(y, opacity_row);
    });
    picture.opacity = opacity.finish();
}

void turn_pixels(Picture &picture) {
    const int orientation = picture.facts.orientation;
    if (orientation == 1)
        return;
    picture.image = picture.image.turned(orientation);
    if (picture.opacity)
        picture.opacity = picture.opacity->turned(orientation);
    turn(picture.facts);
}

} // namespace

LoadedPicture load_picture(const std::string &path, uint32_t buffer_type, Turning turning) {
    PictureReader reader = open_picture(path);
    LoadedPicture picture = {
        {Image(PixelFormat::rgb, reader.size(), buffer_type, path), std::nullopt, reader.facts()},
        reader.format(),
        reader.bits(),
        reader.has_transparency()};
    if (picture.has_opacity)
        read_transparent(reader, picture);
    else
        read_opaque(reader, picture);
    if (turning == Turning::as_seen)
        turn_pixels(picture);
    note_more_pictures(reader, path);
    return picture;
}

void turn(PictureFacts &facts) {
    if (facts.resolution && exchanges_sides(facts.orientation))
        std::swap(facts.resolution->x, facts.resolution->y);
    facts.orientation = 1;
}

void note_more_pictures(const PictureReader &reader, const std::string &path) {
    if (reader.pictures() > 1)
        note(path, "only the first of " + std::to_string(reader.pictures()) + " pictures is read");
}

void swap_red_and_blue(uint8_t *row, int width) {
    ++timings().rows_converted;
    RGBToBGR(row, row, width);
}

} // namespace apps::q32tool
