// Row conversions for AVX-512 with VBMI, 64 bytes at a time: permutations reach any byte of two
// vectors, and a shift of its own for every byte takes fields out of words.
#include "rows/kernels/formats.h"
#include "rows/kernels/map_forms.h"
#include "rows/kernels/plain_forms.h"
#include "simd/byte_table.h"

#include <cstring>

namespace q32::rows {
namespace {

// --- helpers ------------------------------------------------------------------------------------

using Bytes = VectorBytes<V64>;

constexpr int top(Field field) {
    return field.place + field.bits;
}

// The bytes that are 0xFF. As a number a mask would be stored in two halves and loaded as a whole
// in 32-bit code, for which a processor waits longer than a short run takes.
inline __mmask64 mask_of(const Bytes &bytes) {
    return _mm512_movepi8_mask(as_vector<V64>(bytes));
}

// --- first and third byte swapped ---------------------------------------------------------------

// Where byte i of the run comes from.
constexpr int swapped(int i) {
    return i + 2 - 2 * (i % 3);
}

struct SwapRedBlue {
    static constexpr size_t units = 64, source_bytes = 3, destination_bytes = 3;
    struct Loaded {
        V64 a, b, c;
    };

    Loaded load(const uint8_t *source) const {
        return {simd::load<V64>(source), simd::load<V64>(source + 64),
                simd::load<V64>(source + 128)};
    }
    // The middle vector needs one byte, its second, from the vector before.
    void store(uint8_t *destination, const Loaded &v) const {
        static constexpr Bytes from_ab = bytes_by<64>([](int i) { return swapped(i); });
        static constexpr Bytes from_bc = bytes_by<64>([](int i) { return swapped(64 + i) - 64; });
        static constexpr Bytes last_from_bc =
            bytes_by<64>([](int i) { return swapped(128 + i) - 64; });
        static constexpr Bytes from_a = bytes_by<64>([](int) { return swapped(65); });
        static constexpr Bytes second = bytes_by<64>([](int i) { return i == 1 ? 0xFF : 0; });
        const V64 middle = _mm512_permutex2var_epi8(v.b, as_vector<V64>(from_bc), v.c);
        simd::store(destination, _mm512_permutex2var_epi8(v.a, as_vector<V64>(from_ab), v.b));
        simd::store(destination + 64, _mm512_mask_permutexvar_epi8(middle, mask_of(second),
                                                                   as_vector<V64>(from_a), v.a));
        simd::store(destination + 128,
                    _mm512_permutex2var_epi8(v.b, as_vector<V64>(last_from_bc), v.c));
    }
};

// --- 24 bits to 16 ------------------------------------------------------------------------------

// Words of third and first channel side by side, and words of the second alone. One shift for every
// byte brings each field to its place in them; a mask keeps the fields apart.
template <class Format>
struct NarrowToWords {
    static constexpr size_t units = 32, source_bytes = 3, destination_bytes = 2;
    struct Loaded {
        V64 from_0, from_32;
    };

    Loaded load(const uint8_t *source) const {
        return {simd::load<V64>(source), simd::load<V64>(source + 32)};
    }

    // Byte `at` of the run in the two vectors, of which the second begins at byte 32.
    static constexpr int index_of(int at) { return at < 64 ? at : 64 + at - 32; }

    void store(uint8_t *destination, const Loaded &v) const {
        static constexpr Field first = Format::first, second = Format::second,
                               third = Format::third;
        constexpr int outer_fields = first.mask() | third.mask();

        static constexpr Bytes outer =
            bytes_by<64>([](int i) { return index_of(i / 2 * 3 + (i % 2 == 0 ? 2 : 0)); });
        static constexpr Bytes low = bytes_by<64>([](int i) { return i % 2 == 0 ? 0xFF : 0; });
        static constexpr Bytes inner = bytes_by<64>([](int i) { return index_of(i / 2 * 3 + 1); });
        // The bit that becomes the lowest of byte i, counted from the start of its eight bytes.
        static constexpr Bytes outer_shifts = bytes_by<64>([](int i) {
            const int word = i % 8 / 2 * 16;
            return (i % 2 == 0 ? word + 8 - top(third) : word + 8 + 16 - top(first)) & 63;
        });
        static constexpr Bytes inner_shifts = bytes_by<64>([](int i) {
            const int word = i % 8 / 2 * 16;
            return (word + 8 - top(second) + (i % 2 == 0 ? 0 : 8)) & 63;
        });

        const V64 blue_red = _mm512_permutex2var_epi8(v.from_0, as_vector<V64>(outer), v.from_32);
        const V64 green = _mm512_maskz_permutex2var_epi8(mask_of(low), v.from_0,
                                                         as_vector<V64>(inner), v.from_32);
        const V64 outer_bits = _mm512_multishift_epi64_epi8(as_vector<V64>(outer_shifts), blue_red);
        const V64 inner_bits = _mm512_multishift_epi64_epi8(as_vector<V64>(inner_shifts), green);
        simd::store(destination,
                    select_bits(repeat_u16<V64>(outer_fields), outer_bits, inner_bits));
    }
};

// --- 16 bits to 24 ------------------------------------------------------------------------------

// Every eight bytes of the destination are cut out of the four words that their pixels lie in. The
// bits below each field are set, whatever the cut brought along.
template <class Format>
struct WidenWords {
    static constexpr size_t units = 64, source_bytes = 2, destination_bytes = 3;
    struct Loaded {
        V64 v[3];
    };

    // The pixel that vector i of the source begins with, so that it has all that vector i of the
    // destination needs.
    static constexpr int first_pixel(int i) { return i == 0 ? 0 : i == 1 ? 21 : 32; }

    Loaded load(const uint8_t *source) const {
        return {{simd::load<V64>(source + 2 * first_pixel(0)),
                 simd::load<V64>(source + 2 * first_pixel(1)),
                 simd::load<V64>(source + 2 * first_pixel(2))}};
    }
    void store(uint8_t *destination, const Loaded &loaded) const {
        store_vector<0>(destination, loaded.v[0]);
        store_vector<1>(destination + 64, loaded.v[1]);
        store_vector<2>(destination + 128, loaded.v[2]);
    }

    static constexpr Field field_of(int byte) {
        constexpr Field fields[3] = {Format::first, Format::second, Format::third};
        return fields[byte % 3];
    }

    template <int index>
    static void store_vector(uint8_t *destination, V64 v) {
        // Byte i of this vector is byte 64 x index + i of the step; `eight` is the first of its
        // eight bytes.
        static constexpr Bytes words = bytes_by<64>([](int i) {
            const int eight = 64 * index + i / 8 * 8;
            const int word = eight / 3 + i % 8 / 2 - first_pixel(index);
            return 2 * (word < 32 ? word : 31) + i % 2;
        });
        static constexpr Bytes shifts = bytes_by<64>([](int i) {
            const int eight = 64 * index + i / 8 * 8, byte = 64 * index + i;
            return (16 * (byte / 3 - eight / 3) + top(field_of(byte)) - 8) & 63;
        });
        static constexpr Bytes ones =
            bytes_by<64>([](int i) { return 0xFF >> field_of(64 * index + i).bits; });

        const V64 four_words = permute_u8(v, as_vector<V64>(words));
        const V64 fields = _mm512_multishift_epi64_epi8(as_vector<V64>(shifts), four_words);
        simd::store(destination, fields | as_vector<V64>(ones));
    }
};

// --- bits and bytes -----------------------------------------------------------------------------

struct BitToByte {
    static constexpr size_t units = 8, source_bytes = 1, destination_bytes = 8;
    static constexpr size_t shortest_in_block = 4;
    using Loaded = V64; // the eight bytes, over and over

    explicit BitToByte(uint8_t value) : set(repeat_u8<V64>(value)) {}

    Loaded load(const uint8_t *source) const { return _mm512_broadcastq_epi64(load_8(source)); }
    void store(uint8_t *destination, Loaded groups) const {
        static constexpr Bytes group_of_pixel = bytes_by<64>([](int i) { return i / 8; });
        static constexpr Bytes bit_of_pixel = bytes_by<64>([](int i) { return 0x80 >> i % 8; });
        const V64 spread = shuffle_u8(groups, as_vector<V64>(group_of_pixel));
        const __mmask64 pixels = _mm512_test_epi8_mask(spread, as_vector<V64>(bit_of_pixel));
        simd::store(destination, _mm512_maskz_mov_epi8(pixels, set));
    }

    V64 set;
};

// The mask has its first byte lowest; the first pixel is the highest bit.
struct ByteToBit {
    static constexpr size_t units = 8, source_bytes = 8, destination_bytes = 1;
    static constexpr size_t shortest_in_block = 24;
    using Loaded = V64;

    explicit ByteToBit(uint8_t value) : threshold(repeat_u8<V64>(value)) {}

    Loaded load(const uint8_t *source) const { return simd::load<V64>(source); }
    void store(uint8_t *destination, Loaded pixels) const {
        static constexpr Bytes backwards = bytes_by<64>([](int i) { return i % 16 ^ 7; });
        const V64 reversed = shuffle_u8(pixels, as_vector<V64>(backwards));
        const __mmask64 above = _mm512_cmpgt_epu8_mask(reversed, threshold);
        std::memcpy(destination, &above, sizeof above);
    }

    V64 threshold;
};

// --- the forms ----------------------------------------------------------------------------------

struct PermutingRows : MappingRows<V64, avx2_row_kernels, NarrowerRows<avx2_row_kernels>> {
    static constexpr auto bit_to_byte =
        bits_converted<BitToByte, &RowKernels::bit_to_byte, avx2_row_kernels>;
    static constexpr auto byte_to_bit =
        bits_converted<ByteToBit, &RowKernels::byte_to_bit, avx2_row_kernels>;
    static constexpr auto rgb888_to_555 =
        converted<NarrowToWords<Rgb555>, &RowKernels::rgb888_to_555, avx2_row_kernels>;
    static constexpr auto rgb888_to_565 =
        converted<NarrowToWords<Rgb565>, &RowKernels::rgb888_to_565, avx2_row_kernels>;
    static constexpr auto rgb555_to_888 =
        converted<WidenWords<Rgb555>, &RowKernels::rgb555_to_888, avx2_row_kernels>;
    static constexpr auto rgb565_to_888 =
        converted<WidenWords<Rgb565>, &RowKernels::rgb565_to_888, avx2_row_kernels>;
    static constexpr auto swap_red_blue =
        converted<SwapRedBlue, &RowKernels::swap_red_blue, avx2_row_kernels>;
};

} // namespace

constinit const RowKernels avx512_row_kernels = row_table<PermutingRows>();

} // namespace q32::rows
