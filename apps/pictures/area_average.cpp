// Rows are added up first, which is quick, for their values lie side by side; then columns, once
// for each row of the result.
//
// A sum is at most 2^24 (light times opacity) times the units of a pixel of the result. These are
// at most as many as the source has pixels: with 2^38 of them sums stay below 2^62.
#include "area_average.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace apps {
namespace {

constexpr uint32_t opaque = 255;

bool is_with_opacity(int channels) {
    return channels % 2 == 0;
}

uint32_t most_colour(Light light) {
    return light == Light::linear ? UINT16_MAX : UINT8_MAX;
}

uint32_t most_sample(int channels, Light light) {
    return most_colour(light) * (is_with_opacity(channels) ? opaque : 1);
}

// By a number that divides once.
struct PlainDivisor {
    uint64_t divisor;
    uint64_t quotient(uint64_t number) const { return number / divisor; }
    uint64_t rounded(uint64_t number) const { return (number + divisor / 2) / divisor; }
};

Size checked(Size source) {
    const uint64_t pixels =
        static_cast<uint64_t>(source.width) * static_cast<uint64_t>(source.height);
    if (pixels > AreaAverage::most_pixels)
        throw std::length_error("pictures of more than 2^38 pixels are not averaged");
    return source;
}

} // namespace

AreaAverage::Axis::Axis(int source_pixels, int result_pixels)
    : source(static_cast<uint32_t>(result_pixels / std::gcd(source_pixels, result_pixels))),
      result(static_cast<uint32_t>(source_pixels / std::gcd(source_pixels, result_pixels))) {}

AreaAverage::AreaAverage(Size source, Size result, int channels, Light light)
    : columns_(checked(source).width, result.width), rows_(source.height, result.height),
      channels_(channels), curve_(light == Light::linear ? &light_curve() : nullptr),
      most_added_(UINT32_MAX / most_sample(channels, light)),
      units_(static_cast<uint64_t>(columns_.result) * rows_.result),
      whole_(units_, most_colour(light) * units_ + units_),
      opaque_(opaque * units_, (most_colour(light) + 1) * (opaque * units_)),
      make_result_(channels == 1   ? &AreaAverage::make_result<1, false>
                   : channels == 2 ? &AreaAverage::make_result<1, true>
                   : channels == 3 ? &AreaAverage::make_result<3, false>
                                   : &AreaAverage::make_result<3, true>) {
    const auto row_values = [=](int width) {
        return static_cast<size_t>(width) * static_cast<size_t>(channels);
    };
    samples_.resize(row_values(source.width));
    whole_rows_.resize(samples_.size());
    sums_.resize(samples_.size());
    result_.resize(row_values(result.width));
}

const uint8_t *AreaAverage::take(const uint8_t *row) {
    read_samples(row);
    const uint32_t missing = rows_.result - filled_;
    if (rows_.source < missing) {
        add_whole_row();
        filled_ += rows_.source;
        return nullptr;
    }
    // A part of the row, or all of it, ends this row of the result, and the rest begins the next.
    weigh_whole_rows();
    for (size_t i = 0; i < sums_.size(); ++i)
        sums_[i] += uint64_t{samples_[i]} * missing;
    (this->*make_result_)();
    filled_ = rows_.source - missing;
    for (size_t i = 0; i < sums_.size(); ++i)
        sums_[i] = uint64_t{samples_[i]} * filled_;
    return result_.data();
}

void AreaAverage::read_samples(const uint8_t *row) {
    if (curve_ == nullptr && !is_with_opacity(channels_)) {
        std::copy_n(row, samples_.size(), samples_.begin());
        return;
    }
    const auto value = [curve = curve_](uint8_t stored) {
        return curve != nullptr ? uint32_t{curve->light[stored]} : stored;
    };
    if (!is_with_opacity(channels_)) {
        std::transform(row, row + samples_.size(), samples_.begin(), value);
        return;
    }
    const auto step = static_cast<size_t>(channels_);
    for (size_t pixel = 0; pixel < samples_.size(); pixel += step) {
        const uint32_t opacity = row[pixel + step - 1];
        for (size_t i = pixel; i < pixel + step - 1; ++i)
            samples_[i] = value(row[i]) * opacity;
        samples_[pixel + step - 1] = opacity;
    }
}

// Rows that count as a whole all count the same: they are weighed together.
void AreaAverage::add_whole_row() {
    for (size_t i = 0; i < whole_rows_.size(); ++i)
        whole_rows_[i] += samples_[i];
    if (++added_ == most_added_)
        weigh_whole_rows();
}

void AreaAverage::weigh_whole_rows() {
    if (added_ == 0)
        return;
    for (size_t i = 0; i < sums_.size(); ++i)
        sums_[i] += uint64_t{whole_rows_[i]} * rows_.source;
    std::fill(whole_rows_.begin(), whole_rows_.end(), 0);
    added_ = 0;
}

// What rows are to take(), columns are here.
template <int colours, bool has_opacity>
void AreaAverage::make_result() {
    constexpr int channels = colours + (has_opacity ? 1 : 0);
    const uint64_t *source = sums_.data();
    uint64_t begun[channels] = {};
    uint32_t filled = 0;
    for (uint8_t *pixel = result_.data(); pixel != result_.data() + result_.size();
         pixel += channels) {
        uint64_t whole_columns[channels] = {};
        uint32_t missing = columns_.result - filled;
        for (; columns_.source < missing; missing -= columns_.source, source += channels)
            for (int i = 0; i < channels; ++i)
                whole_columns[i] += source[i];
        filled = columns_.source - missing;
        uint64_t pixel_sums[channels];
        for (int i = 0; i < channels; ++i) {
            pixel_sums[i] = begun[i] + whole_columns[i] * columns_.source + source[i] * missing;
            begun[i] = source[i] * filled;
        }
        source += channels;
        put_pixel<colours, has_opacity>(pixel_sums, pixel);
    }
}

template <int colours, bool has_opacity>
void AreaAverage::put_pixel(const uint64_t *pixel_sums, uint8_t *pixel) const {
    if constexpr (!has_opacity) {
        for (int i = 0; i < colours; ++i)
            pixel[i] = colour_of(pixel_sums[i], whole_);
        return;
    }
    const uint64_t opacity = pixel_sums[colours];
    pixel[colours] = static_cast<uint8_t>(whole_.rounded(opacity));
    for (int i = 0; i < colours; ++i)
        pixel[i] = opacity == 0                 ? 0
                   : opacity == opaque * units_ ? colour_of(pixel_sums[i], opaque_)
                                                : colour_of(pixel_sums[i], PlainDivisor{opacity});
}

// In light the whole numbers are where stored values are rounded.
template <typename AnyDivisor>
uint8_t AreaAverage::colour_of(uint64_t sum, const AnyDivisor &divisor) const {
    if (curve_ != nullptr)
        return curve_->stored[static_cast<size_t>(divisor.quotient(sum))];
    return static_cast<uint8_t>(divisor.rounded(sum));
}

} // namespace apps
