// What each rule makes of an overlay sample s and a base sample b: once for a sample, as it is
// defined, and beside it for vectors of samples. How results are weighed into the base and how runs
// are walked is the frames' part.
//
// Private to the file that includes it, as arithmetic.h.
#pragma once

#include "merge/kernels/blend_kernels.h"

#include <algorithm>

namespace q32::merge {
namespace {

// --- roundings ----------------------------------------------------------------------------------

// A product of two samples over 255. Divided: rounds up from a remainder of 127 on.
template <Rounding rounding>
constexpr int product(int x, int y) {
    const int quotient = x * y / 255, remainder = x * y % 255;
    return rounding == Rounding::divided && remainder >= 127 ? quotient + 1 : quotient;
}

// Result r weighed into base sample b.
template <Rounding rounding>
constexpr int weighed(int r, int b, int weight) {
    const int x = r * weight + b * (255 - weight);
    return rounding == Rounding::divided ? x / 255 : (x >> 8) + (x != 0);
}

// --- rules --------------------------------------------------------------------------------------

struct Normal {
    static constexpr int result(int s, int) { return s; }
};

struct Difference {
    static constexpr int result(int s, int b) { return s > b ? s - b : b - s; }
};

struct Add {
    static constexpr int result(int s, int b) { return std::min(s + b, 255); }
};

struct Subtract {
    static constexpr int result(int s, int b) { return std::max(s - b, 0); }
};

template <Rounding rounding>
struct Multiply {
    static constexpr int result(int s, int b) { return product<rounding>(s, b); }
};

template <Rounding rounding>
struct Screen {
    static constexpr int result(int s, int b) { return 255 - product<rounding>(255 - s, 255 - b); }
};

// The premultiplied rules do not look at the base: they give back the overlay sample as it was
// before it was multiplied with the mask m, which is not 0.

struct PremultipliedBlack {
    static constexpr int straight(int s, int m) { return std::min(s * 255 / m, 255); }
};

struct PremultipliedWhite {
    static constexpr int straight(int s, int m) {
        return PremultipliedBlack::straight(std::max(s + m - 255, 0), m);
    }
};

template <class R>
concept Premultiplied = requires {
    R::straight(255, 255);
};

// --- the list -----------------------------------------------------------------------------------

template <class...>
struct RuleList {};

// In the order of the enumerators. A rule that is added here has all its forms.
template <Rounding rounding>
using Rules = RuleList<Normal, Difference, Add, Subtract, Multiply<rounding>, Screen<rounding>,
                       PremultipliedBlack, PremultipliedWhite>;

} // namespace
} // namespace q32::merge
