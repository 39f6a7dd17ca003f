// The rules of blending, written a second time and as plainly as possible, for the tests to compare
// with. Shares no line with the library's own code; only the rules' names are the library's.
#pragma once

#include "merge/kernels/blend_kernels.h"

namespace q32::model {

using merge::Rounding;
using merge::Rule;

// A quotient by 255: a remainder of 127 or more rounds up where quotients are rounded.
inline int over_255(int product, Rounding rounding) {
    const int quotient = product / 255;
    const int remainder = product % 255;
    return rounding == Rounding::divided && remainder >= 127 ? quotient + 1 : quotient;
}

// What the overlay sample s makes of the base sample b; m, not 0, is the pixel's mask byte.
inline int result(Rule rule, Rounding rounding, int b, int s, int m) {
    switch (rule) {
    case Rule::normal:
        return s;
    case Rule::difference:
        return s > b ? s - b : b - s;
    case Rule::add:
        return s + b > 255 ? 255 : s + b;
    case Rule::subtract:
        return s > b ? s - b : 0;
    case Rule::multiply:
        return over_255(s * b, rounding);
    case Rule::screen:
        return 255 - over_255((255 - s) * (255 - b), rounding);
    case Rule::premultiplied_black:
        return s * 255 / m > 255 ? 255 : s * 255 / m;
    case Rule::premultiplied_white: {
        const int u = s + m > 255 ? s + m - 255 : 0;
        return u * 255 / m > 255 ? 255 : u * 255 / m;
    }
    }
    return -1;
}

inline bool is_premultiplied(Rule rule) {
    return rule == Rule::premultiplied_black || rule == Rule::premultiplied_white;
}

// r weighed into b.
inline int weigh(Rounding rounding, int r, int b, int w) {
    const int x = r * w + b * (255 - w);
    if (rounding == Rounding::divided)
        return x / 255;
    return x == 0 ? 0 : (x >> 8) + 1;
}

// One sample. Without a mask nothing was premultiplied, and nothing can be divided by it.
inline int blend(Rounding rounding, Rule rule, int b, int s, int w, int m) {
    if (w == 0 || (is_premultiplied(rule) && m == 0))
        return b;
    return weigh(rounding, result(rule, rounding, b, s, m), b, w);
}

inline int percent_weight(int m, int percent) {
    return m * percent / 100;
}

inline int scaled_weight(int m, int scale) {
    return (m * scale) >> 8;
}

} // namespace q32::model
