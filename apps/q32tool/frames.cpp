// Frames from and to picture files. Both have blue first; only the library's conversions of rows
// want red first.
#include "frames.h"

#include "apps/pictures/edition.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/turning.h"
#include "interrupt.h"
#include "opacity.h"
#include "option_values.h"
#include "timings.h"

#include <q32base/merge.h>
#include <q32base/rows.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace apps::q32tool {
namespace {

constexpr int most_band_rows = 64;
constexpr uint64_t band_bytes = 16 << 20; // or one row

RowFormat rows_of(int bits) {
    return bits == 8    ? RowFormat::grey
           : bits == 16 ? RowFormat::words555
           : bits == 32 ? RowFormat::bgra
                        : RowFormat::bgr;
}

// Bytes of a row, padded to 4.
uint64_t stride_of(int width, int bits) {
    return (row_bytes_of(rows_of(bits), width) + 3) / 4 * 4;
}

// Memory for a picture of that size, or for some rows of it. Throws Failure.
std::vector<uint8_t> memory_for(Size size, uint64_t bytes) {
    try {
        if (bytes <= PTRDIFF_MAX)
            return std::vector<uint8_t>(static_cast<size_t>(bytes));
    } catch (const std::bad_alloc &) {
        // as if it were too much for any memory
    }
    throw Failure(size_in_words(size), "there is not enough memory for frames so large",
                  is_64_bit ? "choose a smaller size"
                            : "use the 64-bit edition or choose a smaller size");
}

// Converts a row of 24 bits, blue first, into a row of the frame. Overwrites the 24 bits.
void put_row(uint8_t *bgr, Frame &frame, int y) {
    if (frame.bits == 24) {
        std::memcpy(frame.row(y), bgr, static_cast<size_t>(frame.width) * 3);
        return;
    }
    RGBToBGR(bgr, bgr, frame.width);
    if (frame.bits == 8)
        i32ColorspaceConvert(frame.row(y), bgr, frame.width, I32_RGB_TO_GREY);
    else
        mem32_888To555(frame.row(y), bgr, frame.width);
    timings().rows_converted += 2;
}

// Calls take_row(y, pixels) for each row of a picture.
template <typename TakeRow>
void each_row(PictureReader &reader, RowFormat format, const TakeRow &take_row) {
    const uint64_t row_bytes = row_bytes_of(format, reader.width());
    const int rows =
        static_cast<int>(std::clamp<uint64_t>(band_bytes / row_bytes, 1, most_band_rows));
    std::vector<uint8_t> band = memory_for(reader.size(), row_bytes * static_cast<uint64_t>(rows));
    for (int first = 0; first < reader.height(); first += rows) {
        stop_if_cancelled();
        const int count = std::min(rows, reader.height() - first);
        reader.read_rows(format, first, count, band.data());
        uint8_t *row = band.data();
        for (int y = first; y < first + count; ++y, row += row_bytes)
            take_row(y, row);
    }
}

bool is_opaque(const uint8_t *bgra, int width) {
    for (int x = 0; x < width; ++x)
        if (bgra[x * 4 + 3] != opaque)
            return false;
    return true;
}

// In place: four bytes a pixel become three.
void lay_over_white(uint8_t *bgra, int width) {
    uint8_t *bgr = bgra;
    for (int x = 0; x < width; ++x, bgra += 4)
        for (int channel = 0; channel < 3; ++channel)
            *bgr++ = over_white(bgra[channel], bgra[3]);
}

void read_opaque(PictureReader &reader, Frame &frame) {
    each_row(reader, RowFormat::bgr, [&](int y, uint8_t *bgr) {
        if (frame.bits != 32) {
            put_row(bgr, frame, y);
            return;
        }
        uint8_t *pixel = frame.row(y);
        for (int x = 0; x < frame.width; ++x, pixel += 4, bgr += 3) {
            std::memcpy(pixel, bgr, 3);
            pixel[3] = 255;
        }
    });
}

void read_transparent(PictureReader &reader, Frame &frame) {
    each_row(reader, RowFormat::bgra, [&](int y, uint8_t *bgra) {
        if (frame.bits == 32) {
            std::memcpy(frame.row(y), bgra, frame.stride);
            return;
        }
        frame.lies_over_white |= !is_opaque(bgra, frame.width);
        lay_over_white(bgra, frame.width);
        put_row(bgra, frame, y);
    });
}

// The place in the picture as it is stored of pixel (x, y) as it is seen.
Point stored_place(int x, int y, int orientation, Size stored) {
    const bool exchanged = exchanges_sides(orientation);
    const Point place = exchanged ? Point{y, x} : Point{x, y};
    const bool from_right =
        orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool from_below =
        orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    return {from_right ? stored.width - 1 - place.x : place.x,
            from_below ? stored.height - 1 - place.y : place.y};
}

// Frames may be larger than the buffers in which pictures are turned elsewhere.
Frame as_seen(Frame &stored) {
    const int orientation = stored.facts.orientation;
    const Size size =
        exchanges_sides(orientation) ? Size{stored.height, stored.width} : stored.size();
    Frame seen(size.width, size.height, stored.bits);
    seen.facts = stored.facts;
    seen.lies_over_white = stored.lies_over_white;
    turn(seen.facts);
    const size_t bytes = static_cast<size_t>(stored.bits / 8);
    for (int y = 0; y < size.height; ++y) {
        uint8_t *pixel = seen.row(y);
        for (int x = 0; x < size.width; ++x, pixel += bytes) {
            const Point from = stored_place(x, y, orientation, stored.size());
            std::memcpy(pixel, stored.row(from.y) + static_cast<size_t>(from.x) * bytes, bytes);
        }
    }
    return seen;
}

} // namespace

Frame::Frame(int columns, int rows, int bits_per_pixel)
    : width(columns), height(rows), bits(bits_per_pixel),
      stride(static_cast<size_t>(stride_of(columns, bits_per_pixel))),
      pixels(memory_for({columns, rows},
                        stride_of(columns, bits_per_pixel) * static_cast<uint64_t>(rows))) {}

BITMAPINFOHEADER Frame::header() const {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bits);
    return header;
}

Frame read_frame(const std::string &path, int bits, Turning turning) {
    const Timed timed(Part::reading);
    PictureReader reader(path);
    Frame frame(reader.width(), reader.height(), bits);
    if (reader.has_transparency())
        read_transparent(reader, frame);
    else
        read_opaque(reader, frame);
    frame.facts = reader.facts();
    note_more_pictures(reader, path);
    return turning == Turning::as_seen && frame.facts.orientation != 1 ? as_seen(frame)
                                                                       : std::move(frame);
}

bool is_transparent(const std::string &path) {
    const Timed timed(Part::reading);
    PictureReader reader(path);
    bool found = false;
    if (reader.has_transparency())
        each_row(reader, RowFormat::bgra,
                 [&](int, const uint8_t *bgra) { found |= !is_opaque(bgra, reader.width()); });
    return found;
}

void write_frame(Frame &frame, const std::string &path, FileFormat format,
                 const OutputSettings &settings, const std::string &named) {
    const Timed timed(Part::writing);
    const bool widen = frame.bits == 16 && format != FileFormat::bmp;
    const RowFormat rows = widen ? RowFormat::bgr : rows_of(frame.bits);
    PictureWriter writer(path, format, rows, frame.width, frame.height, frame.facts, settings);
    std::vector<uint8_t> wide = memory_for(frame.size(), static_cast<uint64_t>(frame.width) * 3);
    for (int y = 0; y < frame.height; ++y) {
        stop_if_cancelled();
        const uint8_t *row = frame.row(y);
        if (widen) {
            mem32_555To888(wide.data(), row, frame.width);
            RGBToBGR(wide.data(), wide.data(), frame.width);
            row = wide.data();
            timings().rows_converted += 2;
        }
        writer.write_row(row);
    }
    writer.commit();
    note_losses(frame.facts, format, rows, named);
}

FileFormat check_transparent_output(const std::string &path) {
    const FileFormat format = check_output(path);
    if (format != FileFormat::png && format != FileFormat::tiff)
        throw Failure(path,
                      std::string(format_name(format)) + " files are not written with 32 bits",
                      "use .png or .tif, or --bits 24");
    return format;
}

} // namespace apps::q32tool
