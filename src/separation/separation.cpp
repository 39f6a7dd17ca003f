// Colour separation, pixel by pixel: the exports and the tables of the process.
//
// A call that does nothing takes half of what these take, so that every instruction shows: the
// rules, which the header tells step by step, are tables of whole pixels here.
#include "separation/kernels/separation_tables.h"

#include <q32base/separation.h>

#include <algorithm>
#include <cstring>
#include <emmintrin.h>

namespace q32::separation {
namespace {

using Word = std::uint32_t; // bytes of a pixel, the first lowest

constexpr Word in_three_bytes(int value) {
    return Word(value) * 0x010101;
}

struct PixelTables {
    // By the lightest of a pixel's three channels: the four inks that it had without any light, and
    // how far these are above the limit.
    std::array<Word, 256> unlit;
    std::array<std::int16_t, 256> above;
    // By black: what the grey that it stands for leaves of white, three times.
    std::array<Word, 256> paper;
};

constexpr PixelTables pixel_tables(const SeparationTables &rules) {
    PixelTables tables{};
    for (int i = 0; i < 256; ++i) {
        const int black = rules.black[255 - i], ink = 255 - rules.removal[black];
        tables.unlit[i] = in_three_bytes(ink) | Word(black) << 24;
        if (rules.ink_limit < all_inks)
            tables.above[i] = std::int16_t(black + 3 * ink - rules.ink_limit);
        tables.paper[i] = in_three_bytes(255 - rules.inverse_black[i]);
    }
    return tables;
}

// Until they are built there is no black and no limit.
constinit PixelTables tables = pixel_tables({.ink_limit = all_inks});
constinit bool built = false;

// Read byte by byte: what the caller has just written that way would be waited for as a word, which
// takes five times as long as all the rest.
struct Samples {
    Word first, second, third;

    explicit Samples(const std::uint8_t *at) : first(at[0]), second(at[1]), third(at[2]) {}
    Word word() const { return first | second << 8 | third << 16; }
    Word least() const { return std::min(std::min(first, second), third); }
    Word greatest() const { return std::max(std::max(first, second), third); }
    int sum() const { return int(first + second + third); }
};

// Of what is below 512.
constexpr int third_of(int sum) {
    return int(unsigned(sum) * 171 >> 9);
}

__m128i in_vector(Word bytes) {
    return _mm_cvtsi32_si128(int(bytes));
}

} // namespace
} // namespace q32::separation

using namespace q32::separation;

void Q32_CALL qfdCalcBGCurve(void) {
    if (built)
        return;
    tables = pixel_tables(separation_tables(library_settings));
    built = true;
}

// No byte borrows from another: what is removed is never more than the inks have in common, and a
// pixel beyond the limit, by 49 at most, has more than 200 of each.
uint8_t *Q32_CALL qfdClrRgbToCmyk(const uint8_t *rgb, uint8_t *cmyk) {
    const Samples light(rgb);
    const Word lightest = light.greatest();
    Word inks = tables.unlit[lightest] - light.word();
    const int excess = tables.above[lightest] - light.sum();
    if (excess > 0) [[unlikely]]
        inks -= in_three_bytes(third_of(excess));
    std::memcpy(cmyk, &inks, sizeof inks);
    return cmyk;
}

// What under-colour removal took out does not come back. Light is 255 less what is added and less
// the ink; and what is added, the black's grey less the common ink, is never less than nothing.
void Q32_CALL qfdClrCmykToRgb(const uint8_t *cmyk, uint8_t *rgb) {
    const Samples inks(cmyk);
    const __m128i common = in_vector(in_three_bytes(int(inks.least())));
    const __m128i unadded = _mm_adds_epu8(in_vector(tables.paper[cmyk[3]]), common);
    const auto light = Word(_mm_cvtsi128_si32(_mm_subs_epu8(unadded, in_vector(inks.word()))));
    std::memcpy(rgb, &light, 2);
    rgb[2] = uint8_t(light >> 16);
}
