// Positions, as the rules state them. Every rounding is part of them: the quotient before the
// product, then, where a rule says so, one rounding to single precision. The loops are the
// compiler's to turn into vectors (it is told that no operation traps); their divisions round
// alike.
#include "resample/kernels/positions.h"

#include <algorithm>

namespace q32::resample {
namespace {

struct Scale {
    double numerator, denominator;

    double of(int pixel) const { return pixel / denominator * numerator; }
};

// Reducing maps the first and last pixel onto the first and last of the source; enlarging maps the
// last one short of it. Required: a caller sees 10 columns become 0, 3, 6 and 9.
Scale scale_end_to_end(int destination, int source) {
    if (destination < source)
        return {double(source - 1), double(std::max(destination - 1, 1))};
    return {double(source), double(destination)};
}

double single(double position) {
    return float(position);
}

// The last pixel itself takes the place of a position beyond it.
double inside(double position, double source) {
    return position < source ? position : source - 1;
}

std::int32_t fraction_of(double position, std::int32_t index) {
    return std::int32_t((position - index) * 65536.0);
}

template <int dropped_bits>
void table_positions(std::int32_t *index, std::int32_t *fraction, int destination, int source) {
    const Scale scale = scale_end_to_end(destination, source);
    for (int i = 0; i < destination; ++i) {
        const double position = inside(single(scale.of(i)), source);
        const auto whole = std::int32_t(position);
        index[i] = whole;
        fraction[i] = fraction_of(position, whole) >> dropped_bits;
    }
}

} // namespace

void table_positions(std::int32_t *index, std::int32_t *fraction, FractionBits bits,
                     int destination, int source) {
    if (bits == FractionBits::eight)
        table_positions<8>(index, fraction, destination, source);
    else
        table_positions<0>(index, fraction, destination, source);
}

void cell_positions(std::int32_t *index, std::int32_t *fraction, int destination, int source) {
    const Scale scale{double(source), double(destination)};
    for (int i = 0; i < destination; ++i) {
        const double position = inside(scale.of(i), source);
        const auto whole = std::int32_t(position);
        index[i] = whole;
        fraction[i] = fraction_of(position, whole);
    }
}

void nearest_cell_positions(std::int32_t *index, int destination, int source) {
    const Scale scale = scale_end_to_end(destination, source);
    for (int i = 0; i < destination; ++i)
        index[i] = std::int32_t(inside(single(scale.of(i)) + 0.5, source));
}

} // namespace q32::resample
