// Pictures made smaller by averaging: each pixel of the result is the mean of the rectangle of the
// source that it covers, in which parts of pixels count as parts. Row by row, without the pictures
// ever being whole; in whole numbers, rounded once, half up.
#pragma once

#include "areas.h"
#include "divisor.h"
#include "light.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace apps {

class AreaAverage {
public:
    // Of the source; 32000 x 32000 are 2^30.
    static constexpr uint64_t most_pixels = uint64_t{1} << 38;

    // The result is nowhere larger than the source. channels: 1 (grey) or 3 (colours), and one more
    // with opacity, which is the last one and 255 where a pixel is opaque. Colours count as much as
    // they are opaque; where nothing is, the result is black. Throws std::length_error.
    AreaAverage(Size source, Size result, int channels, Light light);

    // Takes the next row of the source, from the top. Returns the row of the result that it
    // completes, valid until the next call, or null. After the last row another picture of the same
    // size can follow.
    const uint8_t *take(const uint8_t *row);

private:
    // A side of both pictures in units of which all of their pixels have a whole number.
    struct Axis {
        Axis(int source_pixels, int result_pixels);
        uint32_t source; // units of a pixel of the source
        uint32_t result; // units of one of the result: no fewer
    };

    void read_samples(const uint8_t *row);
    void add_whole_row();
    void weigh_whole_rows();
    template <int colours, bool has_opacity>
    void make_result();
    template <int colours, bool has_opacity>
    void put_pixel(const uint64_t *sums, uint8_t *pixel) const;
    template <typename AnyDivisor>
    uint8_t colour_of(uint64_t sum, const AnyDivisor &divisor) const;

    Axis columns_, rows_;
    int channels_;
    const LightCurve *curve_; // null: values as stored
    uint32_t most_added_;     // rows whose sums fit into 32 bits
    uint64_t units_;          // of a pixel of the result
    Divisor whole_;           // by them
    Divisor opaque_;          // by 255 times them: of colours that were multiplied by opacity
    void (AreaAverage::*make_result_)();

    uint32_t filled_ = 0;              // units of the current row of the result
    uint32_t added_ = 0;               // rows in whole_rows_
    std::vector<uint32_t> samples_;    // of one row of the source: colours times opacity, opacity
    std::vector<uint32_t> whole_rows_; // of the source, added up and not yet weighed
    std::vector<uint64_t> sums_;       // times units
    std::vector<uint8_t> result_;
};

} // namespace apps
