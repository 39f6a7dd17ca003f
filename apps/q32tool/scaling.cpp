// Averaging and the library's resampling, with progress: what each of them does of a picture.
#include "scaling.h"

#include "apps/pictures/averaging.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "interrupt.h"
#include "new_size.h"
#include "option_values.h"
#include "premultiplied.h"
#include "progress.h"
#include "timings.h"

#include <q32base/resample.h>

#include <algorithm>

namespace apps::q32tool {
namespace {

// What averaging leaves is interpolated as it would be without it.
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

bool can_be_averaged(PixelFormat format) {
    return format == PixelFormat::grey || format == PixelFormat::rgb;
}

Image image_like(const Image &image, Size size, const std::string &named) {
    return Image(image.format(), size, image.type(), named);
}

// The same pixels, shared.
Picture duplicate(const Picture &picture) {
    Picture result = {picture.image.cut(picture.image.area()), std::nullopt, picture.facts};
    if (picture.opacity)
        result.opacity = picture.opacity->cut(picture.opacity->area());
    return result;
}

PictureBuffers buffers_of(const Picture &picture) {
    return {picture.image.handle(), picture.opacity ? picture.opacity->handle() : 0};
}

Picture averaged(const Picture &picture, Size size, Light light, const std::string &named) {
    Picture result = {image_like(picture.image, size, named), std::nullopt, picture.facts};
    if (picture.opacity)
        result.opacity = image_like(*picture.opacity, size, named);
    Progress progress("scaling", picture.image.height());
    const Timed timed(Part::library);
    average(buffers_of(picture), buffers_of(result), light, named,
            [&](int) { progress.advance(1); });
    const int rows = picture.image.height() + size.height;
    timings().rows_moved += static_cast<uint64_t>(picture.opacity ? 2 * rows : rows);
    return result;
}

Image resampled(const Image &image, Size size, int method, const std::string &named) {
    Image result = image_like(image, size, named);
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

Picture resampled(const Picture &picture, Size size, int method, const std::string &named) {
    if (!picture.opacity)
        return {resampled(picture.image, size, method, named), std::nullopt, picture.facts};
    const bool multiplies = method != RESAMPLE_NEAREST && can_be_averaged(picture.image.format());
    Picture result = {multiplies ? resampled(multiplied_colours(picture), size, method, named)
                                 : resampled(picture.image, size, method, named),
                      resampled(*picture.opacity, size, method, named), picture.facts};
    if (multiplies)
        divide_colours(result);
    return result;
}

} // namespace

std::vector<Option> scaling_options(std::string_view method_help) {
    return {
        {"--size", "WxH", "the new width and height in pixels; Wx or xH: in proportion"},
        {"--fit", "WxH", "as large as fits into W x H with the picture's proportions"},
        {"--percent", "N", "N percent of the width and of the height, such as 50 or 33.3"},
        {"--method", "average|nearest|bilinear|bicubic", method_help},
        {"--linear", "", "average the light that pixels stand for, not their values"},
    };
}

Scaling::Scaling(const Arguments &arguments, std::string_view usual_method)
    : method_name_(arguments.choice("--method", {"average", "nearest", "bilinear", "bicubic"},
                                    usual_method)),
      method_(method_of(method_name_)),
      light_(arguments.has("--linear") ? Light::linear : Light::as_stored) {
    const bool has_size = arguments.has("--size"), has_fit = arguments.has("--fit"),
               has_percent = arguments.has("--percent");
    if (has_size + has_fit + has_percent != 1)
        throw UsageError(has_size || has_fit || has_percent
                             ? "only one of --size, --fit and --percent can say the new size"
                             : "the new size is missing: --size WxH, --fit WxH or --percent N");
    kind_ = has_size ? Kind::size : has_fit ? Kind::fit : Kind::percent;
    if (has_size)
        box_ = arguments.parsed("--size", parse_new_size,
                                "WxH in pixels, such as 640x480, 640x or x480");
    else if (has_fit)
        box_ = size_from(arguments, "--fit");
    else
        percent_ = arguments.parsed("--percent", parse_percent, percent_range);
    if (light_ == Light::linear && !is_averaging())
        throw UsageError("--linear is for --method average");
}

Size Scaling::size_for(Size picture) const {
    switch (kind_) {
    case Kind::fit:
        return fitted(picture, box_);
    case Kind::percent:
        return percent_of(picture, percent_);
    case Kind::size:
        break;
    }
    return completed(box_, picture);
}

Size Scaling::averaged_size_for(Size picture) const {
    if (!is_averaging())
        return picture;
    const Size size = size_for(picture);
    return {std::min(picture.width, size.width), std::min(picture.height, size.height)};
}

Picture scaled(const Picture &picture, const Scaling &scaling, const std::string &named) {
    const Size old_size = picture.image.size(), size = scaling.size_for(old_size);
    const Size smaller =
        can_be_averaged(picture.image.format()) ? scaling.averaged_size_for(old_size) : old_size;
    if (smaller == old_size)
        return scaling.is_averaging() && size == old_size
                   ? duplicate(picture)
                   : resampled(picture, size, scaling.method(), named);
    Picture reduced = averaged(picture, smaller, scaling.light(), named);
    return smaller == size ? std::move(reduced) : resampled(reduced, size, scaling.method(), named);
}

} // namespace apps::q32tool
