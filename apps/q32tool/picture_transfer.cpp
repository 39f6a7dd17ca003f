// Row loops between WIC and buffers. Files have blue first and buffers red, so rows pass through
// the library's RGBToBGR both ways.
#include "picture_transfer.h"

#include "apps/pictures/numbers.h"
#include "apps/pictures/picture_reader.h"
#include "apps/pictures/text.h"
#include "apps/pictures/turning.h"
#include "notes.h"
#include "opacity.h"
#include "option_values.h"
#include "output_options.h"
#include "progress.h"
#include "storage_options.h"

#include <q32base/rows.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
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

// Puts colours, red first, and opacity together as files have them, blue first.
void join_row(uint8_t *bgra, const uint8_t *colours, const uint8_t *opacity, int width) {
    for (int x = 0; x < width; ++x, bgra += 4, colours += 3) {
        bgra[0] = colours[2];
        bgra[1] = colours[1];
        bgra[2] = colours[0];
        bgra[3] = opacity[x];
    }
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

// The opacity of a picture whose rows come one after another. Most pictures that could have
// transparent parts have none, so it is made with the first of them.
class OpacityRows {
public:
    OpacityRows(Size size, uint32_t type, const std::string &named)
        : size_(size), type_(type), named_(named) {}

    void take(int y, const std::vector<uint8_t> &row) {
        if (!image_) {
            const std::vector<uint8_t> opaque(row.size(), 255);
            if (row == opaque)
                return;
            start(y, opaque);
        }
        image_->line(y, BUF32_LINE_WRITE, const_cast<uint8_t *>(row.data()));
    }

    std::optional<Image> finish() {
        lock_ = BufferLock();
        return std::move(image_);
    }

private:
    void start(int rows_before, std::vector<uint8_t> opaque) {
        image_.emplace(PixelFormat::grey, size_, type_, named_);
        lock_ = image_->lock(BUF32_OVERWRITE);
        for (int y = 0; y < rows_before; ++y)
            image_->line(y, BUF32_LINE_WRITE, opaque.data());
    }

    Size size_;
    uint32_t type_;
    std::string named_;
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

void turn(Picture &picture) {
    PictureFacts &facts = picture.facts;
    if (facts.orientation == 1)
        return;
    picture.image = picture.image.turned(facts.orientation);
    if (picture.opacity)
        picture.opacity = picture.opacity->turned(facts.orientation);
    if (facts.resolution && exchanges_sides(facts.orientation))
        std::swap(facts.resolution->x, facts.resolution->y);
    facts.orientation = 1;
}

constexpr char other_pixels[] = "the colour profile is left out, it is for other pixels";

// Notes what the file cannot have of the facts, and why not.
void note_losses(PictureFacts facts, const std::string &path, FileFormat format, RowFormat rows) {
    if (!facts.colour_profile.empty() && !is_profile_for(rows, facts.colour_profile)) {
        facts.colour_profile.clear();
        note(path, other_pixels);
    }
    const std::vector<std::string> lost = what_is_lost(format, facts, rows);
    const bool one = lost.size() == 1;
    if (!lost.empty())
        note(path, listed(lost, "and") + (one ? " is" : " are") + " left out, " +
                       format_name(format) + " has no place for " + (one ? "it" : "them"));
}

// Writes rows of a picture, without or with opacity, as the writer wants them.
void write_rows(Picture &picture, const Export &as, PictureWriter &writer) {
    const int width = picture.image.width();
    std::vector<uint8_t> row(static_cast<size_t>(width) * 4), colours(row.size()),
        opacity(row.size());
    const BufferLock lock = picture.image.lock(BUF32_READ);
    const BufferLock opacity_lock =
        picture.opacity ? picture.opacity->lock(BUF32_READ) : BufferLock();
    band_by_band("writing", picture.image.height(), 1, [&](int y, int) {
        {
            const Timed timed(Part::library);
            picture.image.line(y, as.line_mode, row.data());
            if (as.rows == RowFormat::bgr)
                swap_red_and_blue(row.data(), width);
            if (picture.opacity) {
                picture.opacity->line(y, BUF32_LINE_READ, opacity.data());
                row.swap(colours);
                join_row(row.data(), colours.data(), opacity.data(), width);
            }
        }
        const Timed timed(Part::writing);
        writer.write_row(row.data());
    });
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
        turn(picture);
    if (reader.pictures() > 1)
        note(path, "only the first of " + std::to_string(reader.pictures()) + " pictures is read");
    return picture;
}

void drop_profile(PictureFacts &facts, const std::string &out) {
    if (!facts.colour_profile.empty())
        note(out, other_pixels);
    facts.colour_profile.clear();
}

bool holds_transparency(FileFormat format) {
    return format == FileFormat::png || format == FileFormat::tiff;
}

void save_picture(Picture &picture, const std::string &path, FileFormat format,
                  const OutputSettings &settings) {
    if (picture.opacity && is_opaque(*picture.opacity))
        picture.opacity.reset();
    if (picture.opacity && !holds_transparency(format))
        lay_over_white(picture, path, std::string(format_name(format)) + " has");
    Export as = export_of(picture.image.format(), format);
    if (picture.opacity)
        as.rows = RowFormat::bgra;
    PictureWriter writer(path, format, as.rows, picture.image.width(), picture.image.height(),
                         picture.facts, settings);
    write_rows(picture, as, writer);
    {
        const Timed timed(Part::writing);
        writer.commit();
    }
    note_losses(picture.facts, path, format, as.rows);
}

std::string written_line(const std::string &path, Size size, int bits, FileFormat format) {
    return path + ": " + size_in_words(size) + ", " + counted(static_cast<uint64_t>(bits), "bit") +
           ", " + format_name(format) + "\n";
}

Option output_option() {
    return {"--output", "OUT", "the picture to write", once, "-o"};
}

std::vector<Option> reading_options() {
    return joined(
        {{{"--keep-orientation", "", "do not turn pictures as their files want them seen"}},
         storage_options()});
}

std::vector<Option> writing_options() {
    return joined({output_options(), storage_options()});
}

std::vector<Option> transfer_options() {
    return joined({output_options(), reading_options()});
}

Turning turning_from(const Arguments &arguments) {
    return arguments.has("--keep-orientation") ? Turning::as_stored : Turning::as_seen;
}

PictureTransfer::PictureTransfer(const Arguments &arguments, std::string out)
    : buffer_type_(apply_storage_options(arguments)), turning_(turning_from(arguments)),
      out_(std::move(out)), format_(check_output(out_)),
      settings_(output_settings(arguments, format_)), quiet_(arguments.has("--quiet")) {}

void PictureTransfer::save(Picture &picture, const std::string &path) const {
    save_picture(picture, path, format_, settings_);
    if (!quiet_)
        print(written_line(path, picture.image.size(),
                           picture.opacity ? 32 : bits_of(picture.image.format()), format_));
}

void change_picture(const Arguments &arguments, const std::function<void(Picture &)> &change) {
    const PictureTransfer transfer(arguments, arguments.last_operand());
    Picture picture = transfer.load(arguments.operand(0));
    change(picture);
    transfer.save(picture);
}

} // namespace apps::q32tool
