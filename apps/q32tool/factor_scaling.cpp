// The options, and the walk over a picture in bands: rectangles of a buffer through memory, where
// the library scales them, into another.
#include "factor_scaling.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "conversion.h"
#include "progress.h"
#include "rectangles.h"
#include "timings.h"

#include <q32base/rows.h>

#include <algorithm>
#include <optional>

namespace apps::q32tool {
namespace {

// Bands of about a megabyte go through memory.
constexpr size_t band_bytes = 1 << 20;

constexpr int most = Q32_MAX_SIDE; // of a factor: a picture as wide as one pixel can become

// "N": both, "NxM": one for each direction.
std::optional<Factors> parse_factors(std::string_view text) {
    const std::vector<int> factors = parse_numbers<int>(text, 'x');
    const auto is_factor = [](int factor) { return factor >= 1 && factor <= most; };
    if (factors.empty() || factors.size() > 2 ||
        !std::all_of(factors.begin(), factors.end(), is_factor))
        return std::nullopt;
    return Factors{factors.front(), factors.back()};
}

int parts(int length, int factor) {
    return (length - 1) / factor + 1;
}

// What the library asks for: bytes per pixel, 0 for single bits.
int pixel_bytes(PixelFormat format) {
    return bits_of(format) / 8;
}

size_t row_bytes(int width, PixelFormat format) {
    return (static_cast<size_t>(width) * static_cast<size_t>(bits_of(format)) + 7) / 8;
}

int rows_in_band(size_t bytes_of_row) {
    return static_cast<int>(std::max<size_t>(1, band_bytes / bytes_of_row));
}

// Makes of each row of a band the wanted number of enlarged rows.
void enlarge_band(uint8_t *destination, const uint8_t *source, int width, int rows,
                  const Factors &by, int bytes_per_pixel) {
    const Timed timed(Part::library);
    timings().rows_converted += static_cast<uint64_t>(rows);
    if (bytes_per_pixel == 0)
        mem32BitEnlargeExt(destination, source, width, rows, static_cast<unsigned>(by.horizontal),
                           static_cast<unsigned>(by.vertical));
    else
        mem32EnlargeExt(destination, source, width, rows, by.horizontal, by.vertical,
                        bytes_per_pixel, 0);
}

void reduce_band(uint8_t *destination, const uint8_t *source, int width, int rows,
                 const Factors &by, int bytes_per_pixel) {
    const Timed timed(Part::library);
    timings().rows_converted += static_cast<uint64_t>(parts(rows, by.vertical));
    if (bytes_per_pixel == 0)
        mem32BitReduceExt(destination, source, width, rows, by.horizontal, by.vertical);
    else
        mem32ReduceExt(destination, source, width, rows, by.horizontal, by.vertical,
                       bytes_per_pixel, 0);
}

// Of a side of an enlarged frame. Throws Failure.
int enlarged_length(int length, int factor) {
    const int64_t product = int64_t{length} * factor;
    if (product > INT32_MAX)
        throw Failure("the enlarged picture",
                      "a side would be " + std::to_string(product) + " pixels long, and " +
                          std::to_string(INT32_MAX) + " are the most",
                      "use a smaller factor");
    return static_cast<int>(product);
}

} // namespace

std::vector<Option> factor_pixel_options() {
    std::vector<Option> options = pixel_options();
    options[0] = {"--bits", "1|8|16|24|32", "bits per pixel (24; with transparency 32)"};
    return options;
}

Factors factors_from(const Arguments &arguments) {
    return arguments.parsed("--factor", parse_factors,
                            "N or NxM, whole numbers from 1 to " + std::to_string(most) +
                                ", such as 3 or 2x4");
}

bool wants_transparency(const Arguments &arguments) {
    if (arguments.choice("--bits", {"1", "8", "16", "24", "32"}, "24") != "32")
        return false;
    if (arguments.has("--format"))
        throw UsageError("--format is for --bits 16");
    if (arguments.has("--threshold"))
        throw UsageError("--threshold is for --bits 1");
    return true;
}

// A row whose copies fill more than a band is enlarged again for each of their bands.
Image enlarged(const Image &image, const Factors &by, const std::string &named) {
    Image result(image.format(), {image.width() * by.horizontal, image.height() * by.vertical},
                 image.type(), named);
    const size_t source_row = row_bytes(image.width(), image.format());
    const size_t result_row = row_bytes(result.width(), image.format());
    const int most_rows = rows_in_band(result_row);
    const int copies = std::min(by.vertical, most_rows);
    const int band_rows = std::min(most_rows / copies, image.height());

    std::vector<uint8_t> band(source_row * static_cast<size_t>(band_rows));
    // The library writes a byte beyond some rows of bits.
    std::vector<uint8_t> enlarged_band(
        result_row * static_cast<size_t>(band_rows) * static_cast<size_t>(copies) + 1);
    Progress progress("enlarging", result.height());
    for (int first = 0; first < image.height(); first += band_rows) {
        const int count = std::min(band_rows, image.height() - first);
        get_pixels(image, area_of(0, first, image.width(), count), band.data());
        for (int done = 0; done < by.vertical; done += copies) {
            const int now = std::min(copies, by.vertical - done);
            enlarge_band(enlarged_band.data(), band.data(), image.width(), count,
                         {by.horizontal, now}, pixel_bytes(image.format()));
            put_pixels(result, area_of(0, first * by.vertical + done, result.width(), count * now),
                       enlarged_band.data());
            progress.advance(count * now);
        }
    }
    return result;
}

// Of each block of rows the library takes one. Where a band holds one block only, just the row that
// is taken is read.
Image reduced(const Image &image, const Factors &by, const std::string &named) {
    Image result(image.format(),
                 {parts(image.width(), by.horizontal), parts(image.height(), by.vertical)},
                 image.type(), named);
    const size_t source_row = row_bytes(image.width(), image.format());
    const int taken = std::clamp(rows_in_band(source_row) / by.vertical, 1, result.height());
    const int band_rows = taken == 1 ? 1 : taken * by.vertical;

    std::vector<uint8_t> band(source_row * static_cast<size_t>(band_rows));
    std::vector<uint8_t> reduced_band(row_bytes(result.width(), image.format()) *
                                      static_cast<size_t>(taken));
    band_by_band("reducing", result.height(), taken, [&](int first, int rows) {
        const int top = first * by.vertical;
        const int count = std::min(band_rows, image.height() - top);
        get_pixels(image, area_of(0, top, image.width(), count), band.data());
        reduce_band(reduced_band.data(), band.data(), image.width(), count, by,
                    pixel_bytes(image.format()));
        put_pixels(result, area_of(0, first, result.width(), rows), reduced_band.data());
    });
    return result;
}

Frame enlarged(const Frame &frame, const Factors &by) {
    Frame result(enlarged_length(frame.width, by.horizontal),
                 enlarged_length(frame.height, by.vertical), frame.bits);
    result.facts = frame.facts;
    enlarge_band(result.pixels.data(), frame.pixels.data(), frame.width, frame.height, by,
                 frame.bits / 8);
    return result;
}

Frame reduced(const Frame &frame, const Factors &by) {
    Frame result(parts(frame.width, by.horizontal), parts(frame.height, by.vertical), frame.bits);
    result.facts = frame.facts;
    reduce_band(result.pixels.data(), frame.pixels.data(), frame.width, frame.height, by,
                frame.bits / 8);
    return result;
}

} // namespace apps::q32tool
