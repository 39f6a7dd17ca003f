// Row conversions for the baseline, 16 bytes at a time and without a byte shuffle: bytes move by
// shifts of whole vectors and by interleaving.
#include "rows/kernels/plain_forms.h"
#include "rows/kernels/widen_words.h"
#include "simd/byte_table.h"

namespace q32::rows {
namespace {

// --- helpers ------------------------------------------------------------------------------------

// Bytes begin to begin + 15 of the 32 bytes of two neighbours.
template <int begin>
V16 window(V16 low, V16 high) {
    return _mm_srli_si128(low, begin) | _mm_slli_si128(high, 16 - begin);
}

// --- first and third byte swapped ---------------------------------------------------------------

// The bytes of a vector that are byte `channel` of their pixel, in vector `index` of three.
constexpr LaneBytes channel_mask(int index, int channel) {
    return lane_by([=](int i) { return (16 * index + i) % 3 == channel ? 0xFF : 0; });
}

// Every first byte comes from two bytes further on, every third one from two bytes back.
template <int index>
V16 swap_in_window(V16 before, V16 here, V16 after) {
    static constexpr LaneBytes first = channel_mask(index, 0), second = channel_mask(index, 1),
                               third = channel_mask(index, 2);
    return (window<2>(here, after) & as_vector<V16>(first)) | (here & as_vector<V16>(second)) |
           (window<14>(before, here) & as_vector<V16>(third));
}

struct SwapRedBlue {
    static constexpr size_t units = 16, source_bytes = 3, destination_bytes = 3;
    struct Loaded {
        V16 a, b, c;
    };

    Loaded load(const uint8_t *source) const {
        return {load_16(source), load_16(source + 16), load_16(source + 32)};
    }
    void store(uint8_t *destination, const Loaded &v) const {
        const V16 none = zero<V16>();
        store_16(destination, swap_in_window<0>(none, v.a, v.b));
        store_16(destination + 16, swap_in_window<1>(v.a, v.b, v.c));
        store_16(destination + 32, swap_in_window<2>(v.b, v.c, none));
    }
};

// --- 24 bits to 16 ------------------------------------------------------------------------------

// Twelve bytes to four double words; their fourth bytes mean nothing.
V16 spread_pixels(V16 v) {
    const V16 first_two = interleave_low_u32(v, _mm_srli_si128(v, 3));
    const V16 last_two = interleave_low_u32(_mm_srli_si128(v, 6), _mm_srli_si128(v, 9));
    return interleave_low_u64(first_two, last_two);
}

// Four pixels as double words, each with its word in the low half and the word's top bit above it,
// as the packing with signs needs it.
template <class Format>
V16 narrow_four(V16 pixels) {
    constexpr auto top = [](Field field) { return field.place + field.bits; };
    constexpr Field first = Format::first, second = Format::second, third = Format::third;
    const V16 v = spread_pixels(pixels);
    const V16 words = (_mm_slli_epi32(v, top(first) - 8) & repeat_u32<V16>(first.mask())) |
                      (_mm_srli_epi32(v, 16 - top(second)) & repeat_u32<V16>(second.mask())) |
                      (_mm_srli_epi32(v, 24 - top(third)) & repeat_u32<V16>(third.mask()));
    return shift_right_i32<16>(_mm_slli_epi32(words, 16));
}

template <class Format>
struct NarrowToWords {
    static constexpr size_t units = 16, source_bytes = 3, destination_bytes = 2;
    using Loaded = SwapRedBlue::Loaded;

    Loaded load(const uint8_t *source) const { return SwapRedBlue{}.load(source); }
    void store(uint8_t *destination, const Loaded &v) const {
        const V16 first = narrow_four<Format>(v.a);
        const V16 second = narrow_four<Format>(window<12>(v.a, v.b));
        const V16 third = narrow_four<Format>(window<8>(v.b, v.c));
        const V16 fourth = narrow_four<Format>(_mm_srli_si128(v.c, 4));
        store_16(destination, pack_i32_to_i16_in_lanes(first, second));
        store_16(destination + 16, pack_i32_to_i16_in_lanes(third, fourth));
    }
};

// --- 16 bits to 24 ------------------------------------------------------------------------------

// Four double words to twelve bytes and four zeros.
V16 gather_pixels(V16 v) {
    const V16 first_of_two = _mm_set_epi32(0, 0x00FFFFFF, 0, 0x00FFFFFF);
    const V16 second_of_two =
        _mm_set_epi32(0x0000FFFF, int(0xFF000000), 0x0000FFFF, int(0xFF000000));
    const V16 sixes = (v & first_of_two) | (_mm_srli_epi64(v, 8) & second_of_two);
    return _mm_move_epi64(sixes) | _mm_slli_si128(_mm_srli_si128(sixes, 8), 6);
}

template <class Format>
struct WidenWords {
    static constexpr size_t units = 16, source_bytes = 2, destination_bytes = 3;
    struct Loaded {
        V16 first, second;
    };

    Loaded load(const uint8_t *source) const { return {load_16(source), load_16(source + 16)}; }
    void store(uint8_t *destination, const Loaded &v) const {
        const WidePixels<V16> first = widen_words<Format>(v.first);
        const WidePixels<V16> second = widen_words<Format>(v.second);
        const V16 p0 = gather_pixels(first.low), p1 = gather_pixels(first.high);
        const V16 p2 = gather_pixels(second.low), p3 = gather_pixels(second.high);
        store_16(destination, p0 | _mm_slli_si128(p1, 12));
        store_16(destination + 16, _mm_srli_si128(p1, 4) | _mm_slli_si128(p2, 8));
        store_16(destination + 32, _mm_srli_si128(p2, 8) | _mm_slli_si128(p3, 4));
    }
};

// --- bits and bytes -----------------------------------------------------------------------------

// Pixel i of a group of eight is bit 7 - i.
constexpr LaneBytes bit_of_pixel{128, 64, 32, 16, 8, 4, 2, 1, 128, 64, 32, 16, 8, 4, 2, 1};

struct BitToByte {
    static constexpr size_t units = 8, source_bytes = 1, destination_bytes = 8;
    static constexpr size_t shortest_in_block = 4;
    using Loaded = V16;

    explicit BitToByte(uint8_t value) : set(repeat_u8<V16>(value)) {}

    Loaded load(const uint8_t *source) const { return load_8(source); }
    void store(uint8_t *destination, Loaded groups) const {
        const V16 twice = interleave_low_u8(groups, groups);
        const V16 low = _mm_unpacklo_epi16(twice, twice), high = _mm_unpackhi_epi16(twice, twice);
        store_pixels(destination, _mm_shuffle_epi32(low, _MM_SHUFFLE(1, 1, 0, 0)));
        store_pixels(destination + 16, _mm_shuffle_epi32(low, _MM_SHUFFLE(3, 3, 2, 2)));
        store_pixels(destination + 32, _mm_shuffle_epi32(high, _MM_SHUFFLE(1, 1, 0, 0)));
        store_pixels(destination + 48, _mm_shuffle_epi32(high, _MM_SHUFFLE(3, 3, 2, 2)));
    }
    void store_pixels(uint8_t *destination, V16 spread) const {
        const V16 bits = as_vector<V16>(bit_of_pixel);
        store_16(destination, equal_u8(spread & bits, bits) & set);
    }

    V16 set;
};

// The sum of the bits of eight different pixels is their byte.
struct ByteToBit {
    static constexpr size_t units = 8, source_bytes = 8, destination_bytes = 1;
    static constexpr size_t shortest_in_block = 24;
    struct Loaded {
        V16 v[4];
    };

    explicit ByteToBit(uint8_t value) : threshold(repeat_u8<V16>(value)) {}

    Loaded load(const uint8_t *source) const {
        return {load_16(source), load_16(source + 16), load_16(source + 32), load_16(source + 48)};
    }
    void store(uint8_t *destination, const Loaded &loaded) const {
        const V16 first = pack_i32_to_i16_in_lanes(sums(loaded.v[0]), sums(loaded.v[1]));
        const V16 second = pack_i32_to_i16_in_lanes(sums(loaded.v[2]), sums(loaded.v[3]));
        const V16 words = pack_i32_to_i16_in_lanes(first, second);
        store_8(destination, pack_i16_to_u8_in_lanes(words, words));
    }
    // The two bytes of sixteen pixels, each in half a vector.
    V16 sums(V16 pixels) const {
        const V16 not_above = equal_u8(min_u8(pixels, threshold), pixels);
        return _mm_sad_epu8(without(not_above, as_vector<V16>(bit_of_pixel)), _mm_setzero_si128());
    }

    V16 threshold;
};

// --- the forms ----------------------------------------------------------------------------------

struct ShiftingRows : PlainRows<V16, scalar_row_kernels> {
    static constexpr auto bit_to_byte =
        bits_converted<BitToByte, &RowKernels::bit_to_byte, scalar_row_kernels>;
    static constexpr auto byte_to_bit =
        bits_converted<ByteToBit, &RowKernels::byte_to_bit, scalar_row_kernels>;
    static constexpr auto rgb888_to_555 =
        converted<NarrowToWords<Rgb555>, &RowKernels::rgb888_to_555, scalar_row_kernels>;
    static constexpr auto rgb888_to_565 =
        converted<NarrowToWords<Rgb565>, &RowKernels::rgb888_to_565, scalar_row_kernels>;
    static constexpr auto rgb555_to_888 =
        converted<WidenWords<Rgb555>, &RowKernels::rgb555_to_888, scalar_row_kernels>;
    static constexpr auto rgb565_to_888 =
        converted<WidenWords<Rgb565>, &RowKernels::rgb565_to_888, scalar_row_kernels>;
    static constexpr auto swap_red_blue =
        converted<SwapRedBlue, &RowKernels::swap_red_blue, scalar_row_kernels>;
};

} // namespace

constinit const RowKernels sse2_row_kernels = row_table<ShiftingRows>();

} // namespace q32::rows
