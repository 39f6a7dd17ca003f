// The rules of merging, one pixel at a time.
#include "tests/merge/merge_model.h"

#include <algorithm>

namespace q32::test::model {
namespace {

using Pixel = const std::uint8_t *;

// Opacity in percent.
int opacity(const Call &call) {
    return 100 - std::clamp(call.transparency, 0, 100);
}

bool accelerated(const Call &call) {
    return call.mmx && call.bytes == 3;
}

// --- samples ---------------------------------------------------------------------------------

int divided(int b, int r, int w) {
    return (r * w + b * (255 - w)) / 255;
}

int shifted(int b, int r, int w) {
    const int x = r * w + b * (255 - w);
    return x == 0 ? 0 : (x >> 8) + 1;
}

int by_255_rounded(int product) {
    const int quotient = product / 255;
    const int remainder = product % 255;
    return remainder >= 127 ? quotient + 1 : quotient;
}

int by_255(int product, bool truncated) {
    return truncated ? product / 255 : by_255_rounded(product);
}

// What the mode makes of an overlay sample s over a base sample b under a mask byte m.
int mode_result(int mode, int b, int s, int m, bool truncated) {
    switch (mode) {
    case 9:
        return s > b ? s - b : b - s;
    case 10:
        return s + b > 255 ? 255 : s + b;
    case 11:
        return s < b ? 0 : s - b;
    case 12:
        return by_255(s * b, truncated);
    case 13:
        return 255 - by_255((255 - s) * (255 - b), truncated);
    case 14:
        return std::min(s * 255 / m, 255);
    case 15: {
        const int above = s + m > 255 ? s + m - 255 : 0;
        return std::min(above * 255 / m, 255);
    }
    default:
        return s;
    }
}

// --- the modes that blend: 1 and 9 to 15 -----------------------------------------------------

// One pixel of a run. A null mask is none.
void blend_in_run(std::uint8_t *result, const Call &call, Pixel base, Pixel mask, Pixel overlay) {
    const bool premultiplied = call.mode == 14 || call.mode == 15;
    const bool shifts = accelerated(call) && !premultiplied;
    const int p = opacity(call);
    const int a = p * 255 / 100;
    int w;
    if (mask == nullptr)
        w = a;
    else if (p == 100)
        w = *mask;
    else
        w = shifts ? (*mask * a) >> 8 : *mask * p / 100;
    for (int i = 0; i < call.bytes; ++i) {
        const int b = base[i], s = overlay[i];
        if (mask == nullptr && a == 255 && !shifts)
            result[i] = overlay[i];
        else if (shifts)
            result[i] = std::uint8_t(shifted(b, mode_result(call.mode, b, s, 0, true), w));
        else if (w == 0)
            result[i] = base[i];
        else if (premultiplied && mask == nullptr)
            result[i] = std::uint8_t(divided(b, s, w));
        else
            result[i] =
                std::uint8_t(divided(b, mode_result(call.mode, b, s, mask ? *mask : 0, false), w));
    }
}

// One pixel of a rectangle, which always has a mask byte.
void blend_in_rectangle(std::uint8_t *result, const Call &call, Pixel base, int m, Pixel overlay) {
    const int p = opacity(call);
    for (int i = 0; i < call.bytes; ++i) {
        const int b = base[i], s = overlay[i];
        if (call.mode == 1 && accelerated(call)) {
            const int scale = p * 256 / 100;
            const int w = p == 100 ? m : (m * (scale & 255)) >> 8;
            result[i] = std::uint8_t(shifted(b, s, w));
            continue;
        }
        const int w = p == 100 ? m : m * p / 100;
        result[i] =
            w == 0 ? base[i] : std::uint8_t(divided(b, mode_result(call.mode, b, s, m, false), w));
    }
}

// --- the colour modes: 2 to 5 ----------------------------------------------------------------

void merge_fields(std::uint8_t *result, int mode, Pixel base, Pixel merged) {
    Hsv hsv = hsv_of(base);
    const Hsv other = hsv_of(merged);
    if (mode == 2 || mode == 3)
        hsv.hue = other.hue;
    if (mode == 2 || mode == 4)
        hsv.saturation = other.saturation;
    if (mode == 5)
        hsv.value = other.value;
    rgb_of(hsv, result);
}

// The normal merge inside is that of a run in the rectangle functions, too.
void merge_colour(std::uint8_t *result, const Call &call, Pixel base, Pixel mask, Pixel overlay) {
    std::uint8_t merged[3];
    blend_in_run(merged, {1, call.bytes, call.transparency, call.mmx}, base, mask, overlay);
    merge_fields(result, call.mode, base, merged);
}

// --- by luminance: 6 and 7 -------------------------------------------------------------------

int weighted_sum(Pixel pixel) {
    return 30 * pixel[0] + 59 * pixel[1] + 11 * pixel[2];
}

int luminance(Pixel pixel, int bytes) {
    return bytes >= 3 ? weighted_sum(pixel) / 100 : pixel[0];
}

void merge_by_luminance(std::uint8_t *result, const Call &call, Pixel base, int m, Pixel overlay,
                        bool by_sums) {
    const int over = by_sums ? weighted_sum(overlay) : luminance(overlay, call.bytes);
    const int under = by_sums ? weighted_sum(base) : luminance(base, call.bytes);
    const bool acts = call.mode == 6 ? over > under : over < under;
    const int p = opacity(call);
    const int w = p == 100 ? m : m * p / 100;
    for (int i = 0; i < call.bytes; ++i)
        result[i] = acts ? std::uint8_t(divided(base[i], overlay[i], w)) : base[i];
}

// --- relief: 8 -------------------------------------------------------------------------------

void merge_relief(std::uint8_t *result, const Call &call, Pixel base, int m, Pixel overlay) {
    const int t = 100 - opacity(call);
    const int f = t == 100 ? 0 : 127 - 127 * t / 99;
    for (int i = 0; i < call.bytes; ++i) {
        const int b = base[i], s = overlay[i];
        if (m == 0)
            result[i] = base[i];
        else if (s > 127)
            result[i] = std::uint8_t(std::min(b + (s - 128) * f / 127, 255));
        else
            result[i] = std::uint8_t(std::max(b - (127 - s) * f / 127, 0));
    }
}

// --- subtraction by mask: 16 -----------------------------------------------------------------

void subtract(std::uint8_t *result, const Call &call, Pixel base, Pixel mask, Pixel first_mask,
              Pixel overlay) {
    const int p = opacity(call);
    for (int i = 0; i < call.bytes; ++i) {
        const int b = base[i], s = overlay[i];
        int less;
        if (p == 100)
            less = mask == nullptr ? s : s * *mask / 255;
        else
            less = mask == nullptr ? s * p / 100 : s * *first_mask * p / 25500;
        result[i] = std::uint8_t(std::max(b - less, 0));
    }
}

// --- one pixel -------------------------------------------------------------------------------

void merge_in_run(std::uint8_t *result, const Call &call, Pixel base, Pixel mask, Pixel first_mask,
                  Pixel overlay) {
    switch (call.mode) {
    case 2:
    case 3:
    case 4:
    case 5:
        return merge_colour(result, call, base, mask, overlay);
    case 6:
    case 7:
        return merge_by_luminance(result, call, base, mask ? *mask : 255, overlay, false);
    case 8: // on what the result holds
        return merge_relief(result, call, result, *mask, overlay);
    case 16:
        return subtract(result, call, base, mask, first_mask, overlay);
    default:
        return blend_in_run(result, call, base, mask, overlay);
    }
}

void merge_in_rectangle(std::uint8_t *pixel, const Call &call, Pixel mask, Pixel overlay) {
    if (!rectangles_have(call))
        return;
    const std::uint8_t full = 255;
    const int m = mask ? *mask : full;
    switch (call.mode) {
    case 2:
    case 3:
        return merge_colour(pixel, call, pixel, mask, overlay);
    case 4:
    case 5:
        return merge_colour(pixel, call, pixel, mask ? mask : &full, overlay);
    case 6:
        return merge_by_luminance(pixel, call, pixel, m, overlay, accelerated(call));
    case 7:
        return merge_by_luminance(pixel, call, pixel, m, overlay, false);
    case 8:
        return merge_relief(pixel, call, pixel, m, overlay);
    default:
        return blend_in_rectangle(pixel, call, pixel, m, overlay);
    }
}

bool inside(std::int64_t x, std::int64_t y, const RECT &rectangle) {
    return x >= rectangle.left && x < rectangle.right && y >= rectangle.top && y < rectangle.bottom;
}

} // namespace

bool rectangles_have(const Call &call) {
    const bool of_colour = call.mode >= 2 && call.mode <= 5;
    return call.mode >= 1 && call.mode <= 15 && (!of_colour || call.bytes == 3);
}

// --- HSV -------------------------------------------------------------------------------------

Hsv hsv_of(Pixel rgb) {
    const int r = rgb[0], g = rgb[1], b = rgb[2];
    const int highest = std::max({r, g, b});
    const int lowest = std::min({r, g, b});
    const int middle = r + g + b - highest - lowest;
    const int d = highest - lowest;
    if (d == 0)
        return {32767, 0, highest};
    const int saturation = (d * 255 + highest / 2) / highest;
    const int up = (highest - middle) * 60, rise = (middle - lowest) * 60, half = d / 2;
    int hue;
    if (r == highest && g >= b)
        hue = (half + rise) / d;
    else if (r == highest)
        hue = (half + up) / d + 300;
    else if (g == highest)
        hue = r >= b ? (half + up) / d + 60 : (half + rise) / d + 120;
    else
        hue = g >= r ? (half + up) / d + 180 : (half + rise) / d + 240;
    return {std::clamp(hue, 0, 359), saturation, highest};
}

void rgb_of(const Hsv &hsv, std::uint8_t *rgb) {
    const auto give = [rgb](int r, int g, int b) {
        rgb[0] = std::uint8_t(r);
        rgb[1] = std::uint8_t(g);
        rgb[2] = std::uint8_t(b);
    };
    const int v = hsv.value;
    if (hsv.hue == 32767 || hsv.saturation == 0)
        return give(v, v, v);
    int h = hsv.hue;
    if (h > 360)
        h -= 360;
    if (h < 0)
        h += 360;
    const int c = (v * hsv.saturation + 127) / 255;
    const int lo = v - c;
    const int f = (h % 60 * c + 30) / 60;
    switch (h / 60) {
    case 1:
        return give(v - f, v, lo);
    case 2:
        return give(lo, v, lo + f);
    case 3:
        return give(lo, v - f, v);
    case 4:
        return give(lo + f, lo, v);
    case 5:
        return give(v, lo, v - f);
    default:
        return give(v, lo + f, lo);
    }
}

// --- the calls -------------------------------------------------------------------------------

void merge_pixel_of_run(std::uint8_t *pixel, const Call &call, Pixel mask, Pixel first_mask,
                        Pixel overlay) {
    merge_in_run(pixel, call, pixel, mask, first_mask, overlay);
}

void merge_pixel_of_rectangle(std::uint8_t *pixel, const Call &call, Pixel mask, Pixel overlay) {
    merge_in_rectangle(pixel, call, mask, overlay);
}

bool merge_run(Bytes &result, const Call &call, const Bytes &base, const Bytes *mask,
               const Bytes &overlay) {
    const auto bytes = std::size_t(call.bytes);
    const std::size_t pixels = result.size() / bytes;
    if (opacity(call) == 0) {
        result = base;
        return true;
    }
    const bool of_colour = call.mode >= 2 && call.mode <= 5;
    if (call.mode < 1 || call.mode > 16 || (of_colour && bytes != 3) ||
        (call.mode == 8 && mask == nullptr))
        return false;
    const Pixel masks = mask ? mask->data() : nullptr;
    for (std::size_t i = 0; i < pixels; ++i)
        merge_in_run(&result[i * bytes], call, &base[i * bytes], masks ? masks + i : nullptr, masks,
                     &overlay[i * bytes]);
    return true;
}

int merge_rectangles(Bytes &image, int width, int height, const Bytes *mask,
                     const RECT &mask_rectangle, const Bytes &overlay,
                     const RECT &overlay_rectangle, const Call &call) {
    const std::int64_t mask_row = std::int64_t(mask_rectangle.right) - mask_rectangle.left;
    const std::int64_t overlay_row = std::int64_t(overlay_rectangle.right) - overlay_rectangle.left;
    bool meets_mask = false, meets_overlay = false;
    for (std::int64_t y = 0; y < height; ++y)
        for (std::int64_t x = 0; x < width; ++x) {
            if (!inside(x, y, mask_rectangle))
                continue;
            meets_mask = true;
            if (!inside(x, y, overlay_rectangle))
                continue;
            meets_overlay = true;
            const auto in_mask =
                std::size_t((y - mask_rectangle.top) * mask_row + x - mask_rectangle.left);
            const auto in_overlay =
                std::size_t((y - overlay_rectangle.top) * overlay_row + x - overlay_rectangle.left);
            merge_in_rectangle(&image[std::size_t((y * width + x) * call.bytes)], call,
                               mask ? mask->data() + in_mask : nullptr,
                               &overlay[in_overlay * std::size_t(call.bytes)]);
        }
    return !meets_mask ? 3 : !meets_overlay ? 4 : 0;
}

int merge_images(Bytes &image, int width, int height, int x, int y, const Bytes &overlay,
                 const Bytes *mask, int overlay_width, int overlay_height, const RECT &rectangle,
                 const Call &call) {
    bool meets_rectangle = false, meets_overlay = false;
    for (std::int64_t row = 0; row < height; ++row)
        for (std::int64_t column = 0; column < width; ++column) {
            // The same pixel in coordinates of the overlay.
            const std::int64_t u = column - x + rectangle.left, v = row - y + rectangle.top;
            if (!inside(u, v, rectangle))
                continue;
            meets_rectangle = true;
            if (!inside(u, v, {0, 0, overlay_width, overlay_height}))
                continue;
            meets_overlay = true;
            const auto there = std::size_t(v * overlay_width + u);
            merge_in_rectangle(&image[std::size_t((row * width + column) * call.bytes)], call,
                               mask ? mask->data() + there : nullptr,
                               &overlay[there * std::size_t(call.bytes)]);
        }
    return !meets_rectangle ? 3 : !meets_overlay ? 4 : 0;
}

} // namespace q32::test::model
