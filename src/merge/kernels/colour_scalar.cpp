// The colour spaces, one pixel at a time and each as its rule says it. Speed is the wide forms'.
#include "merge/kernels/colour_kernels.h"

#include <algorithm>
#include <cstring>

namespace q32::merge {
namespace {

// --- numbers and pixels -------------------------------------------------------------------------

// 32 bits that wrap: records hold whatever the caller put there.
struct Int {
    std::int32_t value;

    constexpr Int(std::int32_t from = 0) : value(from) {}
    constexpr bool operator==(const Int &) const = default;
    constexpr bool operator<(const Int &other) const { return value < other.value; }
    constexpr bool operator>(const Int &other) const { return value > other.value; }
};

constexpr Int wrapped(std::uint32_t bits) {
    return std::int32_t(bits);
}
constexpr Int operator+(Int a, Int b) {
    return wrapped(std::uint32_t(a.value) + std::uint32_t(b.value));
}
constexpr Int operator-(Int a, Int b) {
    return wrapped(std::uint32_t(a.value) - std::uint32_t(b.value));
}
constexpr Int operator*(Int a, Int b) {
    return wrapped(std::uint32_t(a.value) * std::uint32_t(b.value));
}
constexpr Int operator/(Int a, Int b) {
    return a.value / b.value;
}
constexpr Int operator%(Int a, Int b) {
    return a.value % b.value;
}

struct Rgb {
    Int red, green, blue;
};

struct Hsv {
    Int hue, saturation, value;
};

struct Hls {
    Int hue, lightness, saturation;
};

Rgb load_pixel(const std::uint8_t *at) {
    return {at[0], at[1], at[2]};
}

void store_pixel(std::uint8_t *at, const Rgb &pixel) {
    at[0] = std::uint8_t(pixel.red.value);
    at[1] = std::uint8_t(pixel.green.value);
    at[2] = std::uint8_t(pixel.blue.value);
}

template <class Record>
Record load_record(const std::uint8_t *at) {
    static_assert(sizeof(Record) == record_bytes);
    Record record;
    std::memcpy(&record, at, record_bytes);
    return record;
}

template <class Record>
void store_record(std::uint8_t *at, const Record &record) {
    std::memcpy(at, &record, record_bytes);
}

// --- out of RGB ---------------------------------------------------------------------------------

// The three samples by size, and where on the circle of hues the largest and the middle one lie.
struct Ranked {
    Int max, middle, min;
    Int hue_begin;
    bool rising; // from the largest channel's hue towards the middle one's
};

// Ties matter: blue and green equal below red are hue 0 with green in the middle, but would be
// hue 359 with blue there.
Ranked rank(const Rgb &pixel) {
    const auto [red, green, blue] = pixel;
    if (blue > red) {
        if (green < red)
            return {blue, red, green, 240, true};
        if (green > blue)
            return {green, blue, red, 120, true};
        return {blue, green, red, 180, false};
    }
    if (green < blue)
        return {red, blue, green, 300, false};
    if (green > red)
        return {green, red, blue, 60, false};
    return {red, green, blue, 0, true};
}

Int hue_of(const Ranked &samples) {
    const Int range = samples.max - samples.min;
    if (range == 0)
        return no_hue;
    const Int part = samples.rising ? samples.middle - samples.min : samples.max - samples.middle;
    return std::clamp((range / 2 + part * 60) / range + samples.hue_begin, Int(0), Int(359));
}

Hsv hsv_from_rgb(const Rgb &pixel) {
    const Ranked samples = rank(pixel);
    const Int max = samples.max, range = max - samples.min;
    const Int saturation = range == 0 ? Int(0) : (range * 255 + max / 2) / max;
    return {hue_of(samples), saturation, max};
}

Hls hls_from_rgb(const Rgb &pixel) {
    const Ranked samples = rank(pixel);
    const Int sum = samples.max + samples.min, range = samples.max - samples.min;
    const Int most = sum < 256 ? sum : 510 - sum; // the range is at most this
    const Int saturation = range == 0 ? Int(0) : (range * 255 + most / 2) / most;
    return {hue_of(samples), sum / 2, saturation};
}

// --- back to RGB --------------------------------------------------------------------------------

// A hue between a largest and a smallest sample that differ by `range`.
Rgb rgb_of_hue(Int hue, Int max, Int range) {
    if (hue > 360)
        hue = hue - 360;
    if (hue < 0)
        hue = hue + 360;
    const Int min = max - range;
    const Int part = (hue % 60 * range + 30) / 60;
    switch ((hue / 60).value) {
    case 1:
        return {max - part, max, min};
    case 2:
        return {min, max, min + part};
    case 3:
        return {min, max - part, max};
    case 4:
        return {min + part, min, max};
    case 5:
        return {max, min, max - part};
    default: // hue 360 too
        return {max, min + part, min};
    }
}

Rgb rgb_from_hsv(const Hsv &record) {
    const auto [hue, saturation, value] = record;
    if (hue == no_hue || saturation == 0)
        return {value, value, value};
    return rgb_of_hue(hue, value, (value * saturation + 127) / 255);
}

Rgb rgb_from_hls(const Hls &record) {
    const auto [hue, lightness, saturation] = record;
    if (hue == no_hue || saturation == 0)
        return {lightness, lightness, lightness};
    const Int twice = lightness * 2;
    const Int most = twice < 256 ? twice : 510 - twice;
    const Int range = (saturation * most + 127) / 255;
    return rgb_of_hue(hue, (twice + range + 1) / 2, range);
}

// --- conversions --------------------------------------------------------------------------------

void rgb_to_grey(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels) {
    for (; pixels > 0; --pixels, ++destination, source += 3)
        *destination = std::uint8_t((299 * source[0] + 587 * source[1] + 114 * source[2]) / 1000);
}

void grey_to_rgb(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels) {
    for (; pixels > 0; --pixels, destination += 3, ++source)
        destination[0] = destination[1] = destination[2] = *source;
}

template <auto convert>
void rgb_to_records(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels) {
    for (; pixels > 0; --pixels, destination += record_bytes, source += 3)
        store_record(destination, convert(load_pixel(source)));
}

template <class Record, auto convert>
void records_to_rgb(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels) {
    for (; pixels > 0; --pixels, destination += 3, source += record_bytes)
        store_pixel(destination, convert(load_record<Record>(source)));
}

// --- transfers ----------------------------------------------------------------------------------

template <HsvFields fields>
Hsv with_fields(Hsv base, const Hsv &other) {
    if constexpr (fields == HsvFields::hue_and_saturation || fields == HsvFields::hue)
        base.hue = other.hue;
    if constexpr (fields == HsvFields::hue_and_saturation || fields == HsvFields::saturation)
        base.saturation = other.saturation;
    if constexpr (fields == HsvFields::value)
        base.value = other.value;
    return base;
}

template <HsvFields fields>
void transfer(std::uint8_t *destination, const std::uint8_t *base, const std::uint8_t *other,
              std::size_t pixels) {
    for (; pixels > 0; --pixels, destination += 3, base += 3, other += 3) {
        const Hsv mixed =
            with_fields<fields>(hsv_from_rgb(load_pixel(base)), hsv_from_rgb(load_pixel(other)));
        store_pixel(destination, rgb_from_hsv(mixed));
    }
}

} // namespace

constexpr ColourKernels scalar_colour_kernels = {
    .convert = {rgb_to_grey, grey_to_rgb, rgb_to_records<hsv_from_rgb>,
                records_to_rgb<Hsv, rgb_from_hsv>, rgb_to_records<hls_from_rgb>,
                records_to_rgb<Hls, rgb_from_hls>},
    .transfer = {transfer<HsvFields::hue_and_saturation>, transfer<HsvFields::hue>,
                 transfer<HsvFields::saturation>, transfer<HsvFields::value>},
};

} // namespace q32::merge
