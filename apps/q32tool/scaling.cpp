// Sizes in whole numbers, and the library's progress messages on their way to the bar.
#include "scaling.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "interrupt.h"
#include "option_values.h"
#include "progress.h"
#include "timings.h"

#include <q32base/resample.h>

#include <algorithm>
#include <cstdint>

namespace apps::q32tool {
namespace {

constexpr uint32_t most_percent = Q32_MAX_SIDE * 100; // a pixel as wide as a picture can be

// numerator / denominator x length, rounded, and no less than a pixel.
int scaled_length(int length, uint64_t numerator, uint64_t denominator) {
    const uint64_t scaled =
        (static_cast<uint64_t>(length) * numerator + denominator / 2) / denominator;
    return static_cast<int>(std::clamp<uint64_t>(scaled, 1, INT32_MAX));
}

// As large as a box allows with the picture's proportions.
Size fitted(Size picture, Size box) {
    const auto width = static_cast<uint64_t>(picture.width);
    const auto height = static_cast<uint64_t>(picture.height);
    const auto box_width = static_cast<uint64_t>(box.width);
    const auto box_height = static_cast<uint64_t>(box.height);
    if (box_width * height <= box_height * width)
        return {box.width, std::min(box.height, scaled_length(picture.height, box_width, width))};
    return {std::min(box.width, scaled_length(picture.width, box_height, height)), box.height};
}

int method_of(std::string_view name) {
    if (name == "nearest")
        return RESAMPLE_NEAREST;
    return name == "bilinear" ? RESAMPLE_BILINEAR : RESAMPLE_BICUBIC;
}

// Called by the library, through which exceptions must not pass.
int __stdcall show_progress(int message, int value, int, uintptr_t progress) {
    if (message != RESAMPLE_PROGRESS)
        return !is_cancelled();
    return reinterpret_cast<Progress *>(progress)->reach(value);
}

} // namespace

std::vector<Option> scaling_options() {
    return {
        {"--size", "WxH", "the new width and height in pixels"},
        {"--fit", "WxH", "as large as fits into W x H with the picture's proportions"},
        {"--percent", "N", "N percent of the width and of the height"},
        {"--method", "nearest|bilinear|bicubic", "how pixels are made (bicubic)"},
    };
}

Scaling::Scaling(const Arguments &arguments) {
    const bool has_size = arguments.has("--size"), has_fit = arguments.has("--fit"),
               has_percent = arguments.has("--percent");
    if (has_size + has_fit + has_percent != 1)
        throw UsageError(has_size || has_fit || has_percent
                             ? "only one of --size, --fit and --percent can say the new size"
                             : "the new size is missing: --size WxH, --fit WxH or --percent N");
    kind_ = has_size ? Kind::size : has_fit ? Kind::fit : Kind::percent;
    if (kind_ == Kind::percent) {
        percent_ = arguments.number("--percent", 1, most_percent, 0);
    } else {
        box_ = size_from(arguments, has_size ? "--size" : "--fit");
    }
    method_name_ = arguments.choice("--method", {"nearest", "bilinear", "bicubic"}, "bicubic");
    method_ = method_of(method_name_);
}

Size Scaling::size_for(Size picture) const {
    switch (kind_) {
    case Kind::fit:
        return fitted(picture, box_);
    case Kind::percent:
        return {scaled_length(picture.width, percent_, 100),
                scaled_length(picture.height, percent_, 100)};
    case Kind::size:
        break;
    }
    return box_;
}

Image scaled(const Image &image, Size size, int method, const std::string &named) {
    Image result(image.format(), size, image.type(), named);
    constexpr int steps = 1000;
    Progress progress("scaling", steps);
    const RESAMPLEPROGRESS watch = {.poll_esc = 0, // the console's Esc key is looked at anyway
                                    .callback = show_progress,
                                    .user_data = reinterpret_cast<uintptr_t>(&progress),
                                    .start = 0,
                                    .end = steps};
    const SIZE new_size = {size.width, size.height};
    HBUF32 destination = result.handle();
    const Timed timed(Part::library);
    if (!q32BufferResampleEx(&new_size, image.handle(), &destination, &watch, 0, method)) {
        stop_if_cancelled();
        throw library_failure(image.named(), "the picture cannot be scaled");
    }
    stop_if_cancelled(); // during the last step
    return result;
}

} // namespace apps::q32tool
