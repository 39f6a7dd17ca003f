// The options, and the loop over the rows.
#include "conversion.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "opacity.h"
#include "progress.h"
#include "timings.h"

#include <q32base/merge.h>
#include <q32base/rows.h>

#include <utility>

namespace apps::q32tool {
namespace {

PixelFormat pixel_format(std::string_view bits, std::string_view words) {
    if (bits == "1")
        return PixelFormat::bits;
    if (bits == "8")
        return PixelFormat::grey;
    if (bits == "16")
        return words == "565" ? PixelFormat::rgb565 : PixelFormat::rgb555;
    return PixelFormat::rgb;
}

// Luminance: white stays 255, black 0.
void row_to_grey(const uint8_t *rgb, uint8_t *grey, int width) {
    ++timings().rows_converted;
    i32ColorspaceConvert(grey, rgb, width, I32_RGB_TO_GREY);
}

void invert_bytes(uint8_t *row, int bytes) {
    ++timings().rows_converted;
    mem32ByteInvert(nullptr, row, bytes);
}

// Puts one 24-bit row into the target. An inverted row is exactly the complement of the one that is
// not inverted. So it is inverted before it becomes 16-bit words, which only lose low bits, but
// after it became grey or single bits, which are rounded.
void put_row(std::vector<uint8_t> &rgb, std::vector<uint8_t> &scratch, Image &target, int y,
             const Conversion &conversion) {
    const int width = target.width();
    switch (conversion.format) {
    case PixelFormat::bits:
        row_to_grey(rgb.data(), scratch.data(), width);
        ++timings().rows_converted;
        mem32ByteToBit(rgb.data(), scratch.data(), width, conversion.threshold);
        if (conversion.invert)
            invert_bytes(rgb.data(), (width + 7) / 8);
        target.line(y, BUF32_LINE_WRITE, rgb.data());
        return;
    case PixelFormat::grey:
        row_to_grey(rgb.data(), scratch.data(), width);
        if (conversion.invert)
            invert_bytes(scratch.data(), width);
        target.line(y, BUF32_LINE_WRITE, scratch.data());
        return;
    case PixelFormat::rgb555:
    case PixelFormat::rgb565:
    case PixelFormat::rgb:
        break;
    }
    if (conversion.invert)
        invert_bytes(rgb.data(), width * 3);
    target.line(y,
                conversion.format == PixelFormat::rgb555   ? BUF32_LINE_WRITE_555
                : conversion.format == PixelFormat::rgb565 ? BUF32_LINE_WRITE_565
                                                           : BUF32_LINE_WRITE,
                rgb.data());
}

// From a 24-bit image; a 24-bit target may be the same image.
void convert_rows(Image &source, Image &target, const Conversion &conversion) {
    std::vector<uint8_t> rgb(static_cast<size_t>(source.width()) * 3);
    std::vector<uint8_t> scratch(static_cast<size_t>(source.width()));
    const BufferLock source_lock = source.lock(BUF32_READ);
    const BufferLock target_lock = target.lock(BUF32_WRITE);
    row_by_row("converting", source.height(), [&](int y) {
        source.line(y, BUF32_LINE_READ, rgb.data());
        put_row(rgb, scratch, target, y, conversion);
    });
}

} // namespace

std::vector<Option> pixel_options() {
    return {
        {"--bits", "1|8|16|24", "bits per pixel of the result (24; with transparency 32)"},
        {"--format", "555|565", "kind of 16-bit pixels (555)"},
        {"--threshold", "N", "1 bit: grey above N is white, 0 to 255 (127)"},
    };
}

Conversion conversion_from(const Arguments &arguments) {
    const std::string_view bits = arguments.choice("--bits", {"1", "8", "16", "24"}, "24");
    if (arguments.has("--format") && bits != "16")
        throw UsageError("--format is for --bits 16");
    if (arguments.has("--threshold") && bits != "1")
        throw UsageError("--threshold is for --bits 1");
    Conversion conversion = {
        pixel_format(bits, arguments.choice("--format", {"555", "565"}, "555"))};
    conversion.opaque = arguments.has("--bits");
    conversion.threshold =
        static_cast<uint8_t>(arguments.number("--threshold", 0, 255, conversion.threshold));
    return conversion;
}

void convert(Image &image, const Conversion &conversion) {
    if (conversion.format == PixelFormat::rgb) {
        if (conversion.invert)
            convert_rows(image, image, conversion);
        return;
    }
    Image target(conversion.format, image.size(), image.type(), image.named());
    convert_rows(image, target, conversion);
    image = std::move(target);
}

void fit_transparency(Picture &picture, const Conversion &conversion, const std::string &out) {
    if (picture.opacity && (conversion.opaque || conversion.format != PixelFormat::rgb)) {
        const int bits = bits_of(conversion.format);
        lay_over_white(picture, out,
                       "pixels of " + counted(static_cast<uint64_t>(bits), "bit") + " have");
    }
}

void convert(Picture &picture, const Conversion &conversion, const std::string &out) {
    fit_transparency(picture, conversion, out);
    convert(picture.image, conversion);
}

} // namespace apps::q32tool
