// Colour rows for AVX-512, 64 samples at a time wherever in a pixel they begin: so that all vectors
// of a row of a cell lie in whole cache lines of the destination, and rows of any width end with
// them. What a row's first and last vectors have beyond it is masked out. Rows that would need one
// vector more so stay where they begin: that takes longer than stores that cross a line.
#include "merge/kernels/normal_rows.h"

#include "merge/kernels/weighing.h"
#include "merge/kernels/weight_pairs.h"
#include "merge/rows_ahead.h"

#include <algorithm>

namespace q32::merge {
namespace {

constexpr size_t line = sizeof(V64);

// Of the pixels that a vector meets, the first being number 0: which one each sample belongs to, in
// the words of both halves, and 32 more for its complement.
struct PairIndices {
    ByteTable<64> low, high;
};

constexpr ByteTable<64> pair_indices_from(size_t phase, size_t half) {
    return bytes_by<64>(
        [=](size_t i) { return (phase + i / 16 * 16 + 8 * half + i % 16 / 2) / 3 + i % 2 * 32; });
}

constexpr PairIndices pair_indices_of(size_t phase) {
    return {pair_indices_from(phase, 0), pair_indices_from(phase, 1)};
}

// By which sample of a pixel a vector begins with; each vector begins with the next.
constexpr PairIndices phases[] = {pair_indices_of(0), pair_indices_of(1), pair_indices_of(2),
                                  pair_indices_of(0), pair_indices_of(1)};
constexpr size_t phase_count = 3;

constexpr int limited(std::int64_t place) {
    return int(std::clamp<std::int64_t>(place, 0, 64));
}

// Bytes from `begin` to `end` - 1. Compared as vectors: 32-bit code would store a mask as two
// numbers and wait for it.
template <class Mask>
Mask mask_between(std::int64_t begin, std::int64_t end) {
    static constexpr auto numbers = bytes_by<64>([](size_t i) { return i; });
    const V64 number = load<V64>(numbers.at);
    return Mask(
        _mm512_mask_cmplt_epi8_mask(_mm512_cmpge_epi8_mask(number, repeat_u8<V64>(limited(begin))),
                                    number, repeat_u8<V64>(limited(end))));
}

template <Rounding rounding>
V64 merged(V64 overlay, V64 base, V64 weights, const PairIndices &indices) {
    static constexpr auto second_half = bytes_by<64>([](int i) { return i < 32 ? 0 : 0xFF; });
    const V64 pieces = weights ^ as_vector<V64>(second_half);
    return blended<Normal, rounding>(overlay, base,
                                     Pairs<V64>{permute_u8(pieces, as_vector<V64>(indices.low)),
                                                permute_u8(pieces, as_vector<V64>(indices.high))});
}

// Where a vector begins: at these samples, and at the weight of the first one's pixel.
struct Place {
    uint8_t *destination;
    const uint8_t *overlay, *weights;
};

// What of a vector lies in its row.
struct Inside {
    __mmask64 samples;
    __mmask32 weights;
};

V64 repeat_half(V32 v) {
    return _mm512_broadcast_i64x4(v);
}

template <Rounding rounding>
void merge_vector(const Place &at, const PairIndices &indices) {
    store(at.destination, merged<rounding>(load<V64>(at.overlay), load<V64>(at.destination),
                                           repeat_half(load<V32>(at.weights)), indices));
}

template <Rounding rounding>
void merge_inside(const Place &at, const PairIndices &indices, const Inside &inside) {
    const V64 overlay = _mm512_maskz_loadu_epi8(inside.samples, at.overlay),
              base = _mm512_maskz_loadu_epi8(inside.samples, at.destination);
    const V32 weights = _mm256_maskz_loadu_epi8(inside.weights, at.weights);
    _mm512_mask_storeu_epi8(at.destination, inside.samples,
                            merged<rounding>(overlay, base, repeat_half(weights), indices));
}

template <Rounding rounding>
class AlignedRows {
public:
    explicit AlignedRows(const MaskedRows &all) : all_(all) {
        const size_t samples = 3 * all.pixels;
        const size_t before = reinterpret_cast<std::uintptr_t>(all.destination) % line;
        vectors_ = lines_of(samples);
        if (samples > line && all.destination_stride % line == 0 &&
            lines_of(before + samples) == vectors_)
            before_ = before;
        phase_ = (phase_count - before_ % phase_count) % phase_count;
        first_ = inside(0);
        last_ = inside(vectors_ - 1);
        last_but_one_ = inside(vectors_ - 2);
    }

    void merge() const {
        if (vectors_ == 1)
            merge_each([](const Place &) {});
        else if (vectors_ == 2)
            merge_each([this](const Place &row) { merge_at(row, 1, last_); });
        else
            merge_each([this](const Place &row) { merge_more(row); });
    }

private:
    static size_t lines_of(size_t samples) { return (samples + line - 1) / line; }

    // From the first vector's pixel to that of vector number k.
    size_t weight_of(size_t k) const { return (phase_ + k * line) / 3; }

    Inside inside(size_t k) const {
        const std::int64_t first_sample = std::int64_t(k * line) - std::int64_t(before_);
        const std::int64_t first_pixel =
            std::int64_t(weight_of(k)) - std::int64_t((before_ + 2) / 3);
        const std::int64_t pixels = std::int64_t(all_.pixels);
        return {mask_between<__mmask64>(-first_sample, 3 * pixels - first_sample),
                mask_between<__mmask32>(-first_pixel, pixels - first_pixel)};
    }

    void merge_at(const Place &row, size_t k, const Inside &inside) const {
        merge_inside<rounding>(
            {row.destination + k * line, row.overlay + k * line, row.weights + weight_of(k)},
            phases[(phase_ + k) % phase_count], inside);
    }

    // From the second vector on. Of all but the last two, 32 weights lie in the row.
    void merge_more(const Place &row) const {
        const PairIndices *const indices = phases + phase_;
        const size_t second = weight_of(1), third = weight_of(2);
        Place at = row;
        size_t left = vectors_ - 3;
        for (;; left -= 3) {
            if (left == 0)
                break;
            merge_vector<rounding>({at.destination + line, at.overlay + line, at.weights + second},
                                   indices[1]);
            if (left == 1)
                break;
            merge_vector<rounding>(
                {at.destination + 2 * line, at.overlay + 2 * line, at.weights + third}, indices[2]);
            if (left == 2)
                break;
            at = {at.destination + 3 * line, at.overlay + 3 * line, at.weights + line};
            merge_vector<rounding>(at, indices[0]);
        }
        merge_at(row, vectors_ - 2, last_but_one_);
        merge_at(row, vectors_ - 1, last_);
    }

    template <class Rest>
    [[gnu::always_inline]] void merge_each(const Rest &rest) const {
        const RowsAhead pixels_ahead(3 * all_.pixels), weights_ahead(all_.pixels);
        Place row = {all_.destination - before_, all_.overlay - before_,
                     all_.weights - (before_ + 2) / 3};
        for (size_t left = all_.rows; left != 0; --left) {
            pixels_ahead.fetch(row.destination, all_.destination_stride);
            pixels_ahead.fetch(row.overlay, all_.overlay_stride);
            weights_ahead.fetch(row.weights, all_.weights_stride);
            merge_inside<rounding>(row, phases[phase_], first_);
            rest(row);
            row = {row.destination + all_.destination_stride, row.overlay + all_.overlay_stride,
                   row.weights + all_.weights_stride};
        }
    }

    const MaskedRows &all_;
    size_t before_ = 0; // samples from the first vector's beginning to the row's
    size_t vectors_;
    size_t phase_; // of the first vector
    Inside first_, last_but_one_, last_;
};

// So short rows share vectors.
constexpr size_t most_shared_pixels = 10;

template <Rounding rounding>
[[gnu::flatten]] void merge_rows(const MaskedRows &rows) {
    AlignedRows<rounding>(rows).merge();
}

} // namespace

void avx512_divided_normal_rows(const MaskedRows &rows) {
    if (rows.pixels <= most_shared_pixels)
        avx2_divided_normal_rows(rows);
    else
        merge_rows<Rounding::divided>(rows);
}

void avx512_shifted_normal_rows(const MaskedRows &rows) {
    if (rows.pixels <= most_shared_pixels)
        avx2_shifted_normal_rows(rows);
    else
        merge_rows<Rounding::shifted>(rows);
}

} // namespace q32::merge
