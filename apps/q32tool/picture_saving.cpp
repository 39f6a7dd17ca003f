// Row loops from buffers to WIC. Files have blue first and buffers red.
#include "picture_saving.h"

#include "arguments.h"
#include "notes.h"
#include "opacity.h"
#include "picture_loading.h"
#include "progress.h"

#include <vector>

namespace apps::q32tool {
namespace {

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

void drop_profile(PictureFacts &facts, const std::string &out) {
    if (!facts.colour_profile.empty())
        note(out, "the colour profile is left out, it is for other pixels");
    facts.colour_profile.clear();
}

void note_losses(PictureFacts facts, FileFormat format, RowFormat rows, const std::string &out) {
    if (!facts.colour_profile.empty() && !is_profile_for(rows, facts.colour_profile))
        drop_profile(facts, out);
    const std::vector<std::string> lost = what_is_lost(format, facts, rows);
    const bool one = lost.size() == 1;
    if (!lost.empty())
        note(out, listed(lost, "and") + (one ? " is" : " are") + " left out, " +
                      format_name(format) + " has no place for " + (one ? "it" : "them"));
}

bool holds_transparency(FileFormat format) {
    return format == FileFormat::png || format == FileFormat::tiff;
}

void fit_transparency(Picture &picture, FileFormat format, const std::string &out) {
    if (picture.opacity && is_opaque(*picture.opacity))
        picture.opacity.reset();
    if (picture.opacity && !holds_transparency(format))
        lay_over_white(picture, out, std::string(format_name(format)) + " has");
}

void save_picture(Picture &picture, const std::string &path, FileFormat format,
                  const OutputSettings &settings) {
    fit_transparency(picture, format, path);
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
    note_losses(picture.facts, format, as.rows, path);
}

} // namespace apps::q32tool
