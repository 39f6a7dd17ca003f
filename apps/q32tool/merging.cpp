// The modes' names, and the walk over bands. Rectangles of buffers merge in every mode but mask
// subtraction, which the library has for runs of pixels only.
#include "merging.h"

#include "apps/pictures/library_report.h"
#include "apps/pictures/merge_modes.h"
#include "apps/pictures/numbers.h"
#include "geometry/system_rect.h"
#include "progress.h"
#include "rectangles.h"

#include <q32base/merge.h>

#include <optional>
#include <vector>

namespace apps::q32tool {
namespace {

std::optional<int> parse_mode(std::string_view text) {
    for (size_t i = 0; i < merge_modes.size(); ++i)
        if (text == merge_modes[i])
            return static_cast<int>(i) + 1;
    const auto number = parse_number<unsigned>(text);
    if (number && *number >= MERGE_NORMAL && *number <= MERGE_MASK_SUBTRACT)
        return static_cast<int>(*number);
    return std::nullopt;
}

constexpr int band_rows = 128; // of the overlay

struct Job {
    const Canvas &base;
    const Image &overlay;
    const Image *mask;
    Merge merge;
};

Failure merge_failure(const Job &job) {
    return library_failure(job.base.named, "the pictures cannot be merged");
}

// source: in the overlay; it goes to a point of the base.
void merge_buffers(const Job &job, const Area &source, const Point &to) {
    const Timed timed(Part::library);
    ++timings().rectangles;
    const RECT rectangle = q32::as_rect(source);
    const HBUF32 mask = job.mask != nullptr ? job.mask->handle() : 0;
    if (!i32MergeBufToBuf(job.base.buffer, to.x, to.y, mask, job.overlay.handle(), &rectangle,
                          job.merge.mode, job.merge.transparency))
        throw merge_failure(job);
}

void merge_rows(const Job &job, const Area &source, const Point &to) {
    const size_t pixels = static_cast<size_t>(source.width());
    std::vector<uint8_t> base(pixels * 3), overlay(pixels * 3), mask(pixels);
    for (int y = 0; y < source.height(); ++y) {
        const Area row = area_of(source.left, source.top + y, source.width(), 1);
        const Area base_row = area_of(to.x, to.y + y, source.width(), 1);
        get_pixels(job.base, base_row, base.data());
        get_pixels(job.overlay, row, overlay.data());
        if (job.mask != nullptr)
            get_pixels(*job.mask, row, mask.data());
        ++timings().rows_converted;
        if (!i32Merge(base.data(), base.data(), job.mask != nullptr ? mask.data() : nullptr,
                      overlay.data(), 3, source.width(), static_cast<unsigned>(job.merge.mode),
                      job.merge.transparency))
            throw merge_failure(job);
        put_pixels(job.base, base_row, base.data());
    }
}

} // namespace

int merge_mode_from(const Arguments &arguments) {
    if (!arguments.has("--mode"))
        return MERGE_NORMAL;
    return arguments.parsed("--mode", parse_mode,
                            "a number from 1 to 16 or a name that q32tool help compose lists",
                            merge_modes);
}

std::string merge_mode_names() {
    std::vector<std::string> names;
    for (size_t i = 0; i < merge_modes.size(); ++i)
        names.push_back(std::to_string(i + 1) + " " + std::string(merge_modes[i]));
    return in_columns(names, 4);
}

void merge_area(const Canvas &base, const Image &overlay, const Image *mask, const Area &source,
                const Point &to, const Merge &merge) {
    const Job job = {base, overlay, mask, merge};
    band_by_band("merging", source.height(), band_rows, [&](int first, int count) {
        const Point band_to = {to.x, to.y + first};
        const Area band = area_of(source.left, source.top + first, source.width(), count);
        if (merge.mode == MERGE_MASK_SUBTRACT)
            merge_rows(job, band, band_to);
        else
            merge_buffers(job, band, band_to);
    });
}

void merge_image(const Canvas &base, const Image &overlay, const Image *mask, const Point &at,
                 const Merge &merge) {
    const Area part = part_on(base, at, overlay.size(), "the overlay of");
    merge_area(base, overlay, mask, moved(part, Point{} - at), part.corner(), merge);
}

} // namespace apps::q32tool
