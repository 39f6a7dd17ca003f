// The export that makes a selection mask from ranges of colours: checks, makes the ranges from
// colours and tolerances, and leaves the pixels to a kernel.
#include "library/process/owners.h"
#include "merge/kernels/filter_kernels.h"
#include "merge/overlap.h"

#include <q32base/merge.h>

#include <algorithm>
#include <cstring>

namespace q32::merge {
namespace {

// --- types --------------------------------------------------------------------------------------

struct FilterType {
    size_t ranged_samples;
    MaskFilter *FilterKernels::*kernel; // null: no pixel is looked at
};

constexpr FilterType types[] = {
    {1, &FilterKernels::grey},              // I32_FILTER_GREY
    {0, nullptr},                           // I32_FILTER_NONE
    {3, &FilterKernels::colour},            // I32_FILTER_RGB
    {4, &FilterKernels::colour_and_fourth}, // I32_FILTER_RGBX
};

const FilterType *type_of(int number) {
    return number >= I32_FILTER_GREY && number <= I32_FILTER_RGBX ? &types[number - 1] : nullptr;
}

// --- ranges -------------------------------------------------------------------------------------

uint8_t cut_to_sample(int64_t value) {
    return uint8_t(std::clamp<int64_t>(value, 0, 255));
}

// Pixels of four samples are held to the fourth's high end alone: below 0 it is no sample's.
bool has_no_pixels(const I32COLORRANGE &entry, size_t ranged_samples) {
    return ranged_samples == 4 && entry.colour[3] + int64_t{entry.tolerance[3]} < 0;
}

ColourRange range_of(const I32COLORRANGE &entry, size_t ranged_samples) {
    ColourRange range = {};
    if (has_no_pixels(entry, ranged_samples)) {
        range.samples[0] = {.high = 0, .low = 255};
        return range;
    }
    for (size_t sample = 0; sample < ranged_samples; ++sample) {
        // The fourth sample's low end goes by the first sample's colour. Required as it stands. No
        // pixel shows it: the fourth sample is not held to a range but to the high end alone, so
        // that callers see 40 within 10 match a fourth sample of 50 and no other.
        const uint8_t low_colour = entry.colour[sample == 3 ? 0 : sample];
        const int64_t tolerance = entry.tolerance[sample];
        range.samples[sample] = {cut_to_sample(entry.colour[sample] + tolerance),
                                 cut_to_sample(low_colour - tolerance)};
    }
    return range;
}

// --- masks --------------------------------------------------------------------------------------

void begin_mask(uint8_t *mask, const void *given, size_t pixels) {
    if (given == nullptr)
        std::memset(mask, 255, pixels);
    else if (given != mask)
        std::memmove(mask, given, pixels);
}

// A pixel is tested as the bytes cleared before it have left it.
const FilterKernels &kernels_for(const uint8_t *mask, const uint8_t *source, size_t samples,
                                 size_t pixels) {
    return overlaps({mask, pixels}, {source, pixels * samples}) ? scalar_filter_kernels
                                                                : filter_kernels;
}

} // namespace
} // namespace q32::merge

int Q32_CALL i32ColorFilter(void *mask_out, const void *mask_in, const void *source, int type,
                            unsigned pixels, const I32COLORFILTER *filter, int inside) {
    using namespace q32;
    using namespace q32::merge;
    const FilterType *const filter_type = type_of(type);
    if (mask_out == nullptr || filter_type == nullptr || filter == nullptr)
        return 0;
    if (pixels == 0)
        return 1;
    const bool looks_at_pixels = filter_type->kernel != nullptr;
    if (looks_at_pixels && source == nullptr)
        return 0;

    GlobalBlock block;
    if (filter->count > 0) {
        block = make_global_block(GMEM_FIXED, uint64_t{filter->count} * sizeof(ColourRange));
        if (!block)
            return 0;
    }
    auto *const mask = static_cast<uint8_t *>(mask_out);
    const auto *const first = static_cast<const uint8_t *>(source);
    begin_mask(mask, mask_in, pixels);
    if (!looks_at_pixels)
        return 1;

    auto *const ranges = static_cast<ColourRange *>(block.get());
    std::transform(filter->ranges, filter->ranges + filter->count, ranges,
                   [&](const auto &entry) { return range_of(entry, filter_type->ranged_samples); });
    const FilterKernels &kernels = kernels_for(mask, first, filter_type->ranged_samples, pixels);
    (kernels.*filter_type->kernel)(mask, first, pixels, {ranges, filter->count},
                                   inside != 0 ? Keep::inside : Keep::outside);
    return 1;
}
