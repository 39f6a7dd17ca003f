// The options, each with the formats that it is for.
#include "output_options.h"

#include "apps/pictures/exceptions.h"

#include <string>

namespace apps::q32tool {
namespace {

template <typename Value>
struct Word {
    std::string_view text;
    Value value;
};

constexpr Word<JpegChroma> chromas[] = {
    {"420", JpegChroma::quarter},
    {"422", JpegChroma::half},
    {"444", JpegChroma::full},
};

constexpr Word<int> png_levels[] = {
    {"none", 0}, {"fast", 1}, {"default", OutputSettings::default_level},
    {"best", 9}, {"0", 0},    {"1", 1},
    {"2", 2},    {"3", 3},    {"4", 4},
    {"5", 5},    {"6", 6},    {"7", 7},
    {"8", 8},    {"9", 9},
};

constexpr Word<TiffPacking> tiff_packings[] = {
    {"none", TiffPacking::none},
    {"packbits", TiffPacking::packbits},
    {"lzw", TiffPacking::lzw},
    {"deflate", TiffPacking::deflate},
};

template <typename Value, size_t count>
auto one_of(const Word<Value> (&words)[count]) {
    return [&words](const std::string &text) -> std::optional<Value> {
        for (const Word<Value> &word : words)
            if (word.text == text)
                return word.value;
        return std::nullopt;
    };
}

void check_is_for(const Arguments &arguments, std::string_view option, bool is_for_format,
                  FileFormat format, std::string_view formats) {
    if (arguments.has(option) && !is_for_format)
        throw UsageError(std::string(option) + " is for " + std::string(formats) + ", not for " +
                         format_name(format));
}

} // namespace

std::vector<Option> output_options() {
    return {
        {"--quality", "N", "JPEG: 1, coarse and small, to 100 (85)"},
        {"--chroma", "420|422|444", "JPEG: how finely colours are kept (420 below quality 90)"},
        {"--compression", "WORD", "PNG: fast, best, 0 to 9; TIFF: none, packbits, lzw, deflate"},
    };
}

OutputSettings output_settings(const Arguments &arguments, FileFormat format) {
    const bool jpeg = format == FileFormat::jpeg, tiff = format == FileFormat::tiff;
    check_is_for(arguments, "--quality", jpeg, format, "JPEG");
    check_is_for(arguments, "--chroma", jpeg, format, "JPEG");
    check_is_for(arguments, "--compression", tiff || format == FileFormat::png, format,
                 "PNG and TIFF");
    OutputSettings settings;
    settings.jpeg_quality =
        static_cast<int>(arguments.number("--quality", 1, 100, OutputSettings::default_quality));
    if (arguments.has("--chroma"))
        settings.jpeg_chroma = arguments.parsed("--chroma", one_of(chromas), "420, 422 or 444");
    if (!arguments.has("--compression"))
        return settings;
    if (tiff)
        settings.tiff_packing = arguments.parsed("--compression", one_of(tiff_packings),
                                                 "none, packbits, lzw or deflate for TIFF");
    else
        settings.png_level =
            arguments.parsed("--compression", one_of(png_levels),
                             "none, fast, default, best or a level from 0 to 9 for PNG");
    return settings;
}

} // namespace apps::q32tool
