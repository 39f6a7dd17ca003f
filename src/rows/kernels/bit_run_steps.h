// Runs of bits between two strides. All have one length and one place in their bytes: what is to be
// done is worked out once, and every run takes the same few steps. The first and the last step have
// the bits around the run put back; the steps between them end where the last one lets them, and
// may make bytes twice.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/few_bytes.h"
#include "simd/operations.h"

#include <algorithm>
#include <cstring>

namespace q32::rows {
namespace {

// --- places -------------------------------------------------------------------------------------

// How runs lie in their bytes. Byte i of the destination is made of two neighbours in the source, i
// and i + 1, or i - 1 and i: the first one shifted upwards, the second one downwards.
struct RunPlaces {
    size_t destination_bytes, source_bytes;
    bool from_byte_before; // is it i - 1 and i
    int shift;             // upwards, 0 to 7 bits
    int before, behind;    // bits of the first and of the last byte that are not the run's

    RunPlaces(size_t to, size_t from, size_t bits)
        : destination_bytes((to + bits + 7) / 8), source_bytes((from + bits + 7) / 8),
          from_byte_before(from < to), shift(int((8 + from - to) % 8)), before(0xFF00 >> to & 0xFF),
          behind(0xFF >> ((to + bits - 1) % 8 + 1)) {}
};

// Words are shifted, there being no shift of bytes: of every byte these bits come from the byte
// that is shifted upwards.
template <class V>
V bits_from_first(int shift) {
    return repeat_u8<V>(0xFF << shift & 0xFF);
}

inline V16 number(int value) {
    return _mm_cvtsi32_si128(value);
}

// --- runs of a few bytes ------------------------------------------------------------------------

// Up to eight bytes here and there, in one register. Both neighbours come out of it by shifts.
template <class Number>
class FewBits {
public:
    explicit FewBits(const RunPlaces &run)
        : from_(run.source_bytes), to_(run.destination_bytes),
          up_(number(run.shift + (run.from_byte_before ? 8 : 0))),
          down_(number((run.from_byte_before ? 8 : 16) - run.shift)),
          from_first_(bits_from_first<V16>(run.shift)),
          around_(number(run.before) |
                  _mm_sll_epi64(number(run.behind), number(8 * int(run.destination_bytes - 1)))) {}

    void copy(uint8_t *destination, const uint8_t *source) const {
        const V16 bytes = from_.load(source);
        const V16 moved =
            select_bits(from_first_, _mm_sll_epi64(bytes, up_), _mm_srl_epi64(bytes, down_));
        to_.store(destination, select_bits(around_, to_.load(destination), moved));
    }

private:
    FewBytes<Number> from_, to_;
    V16 up_, down_;
    V16 from_first_;
    V16 around_; // bits of the destination that stay
};

// --- longer runs --------------------------------------------------------------------------------

// The first and the last bytes of a run: eight or 16 of them.
struct EightBytes {
    static constexpr size_t bytes = 8;
    static V16 load(const uint8_t *from) { return load_8(from); }
    static void store(uint8_t *to, V16 v) { store_8(to, v); }
    static V16 byte_later(V16 v) { return _mm_slli_epi64(v, 8); }
    static V16 byte_earlier(V16 v) { return _mm_srli_epi64(v, 8); }
    static V16 as_last_byte(V16 v) { return _mm_slli_epi64(v, 56); }
};
struct SixteenBytes {
    static constexpr size_t bytes = 16;
    static V16 load(const uint8_t *from) { return load_16(from); }
    static void store(uint8_t *to, V16 v) { store_16(to, v); }
    static V16 byte_later(V16 v) { return _mm_slli_si128(v, 1); }
    static V16 byte_earlier(V16 v) { return _mm_srli_si128(v, 1); }
    static V16 as_last_byte(V16 v) { return _mm_slli_si128(v, 15); }
};

// Whole bytes between the ends, a vector of them.
template <class V>
class ShiftBits {
public:
    explicit ShiftBits(int shift)
        : up_(number(shift)), down_(number(8 - shift)), from_first_(bits_from_first<V>(shift)) {}

    V of(V first, V second) const {
        return select_bits(from_first_, shift_left_u16(first, up_), shift_right_u16(second, down_));
    }
    void make(uint8_t *destination, const uint8_t *source) const {
        store(destination, of(load<V>(source), load<V>(source + 1)));
    }

private:
    V16 up_, down_;
    V from_first_;
};

// Bytes that lie alike here and there.
template <class V>
struct MoveBytes {
    void make(uint8_t *destination, const uint8_t *source) const {
        store(destination, load<V>(source));
    }
};

// Runs of Ends::bytes bytes that are made of one more in the source: a cell's rows, most often.
template <class Ends>
class OneEnd {
public:
    static bool is_all_of(const RunPlaces &run) {
        return run.destination_bytes == Ends::bytes && run.source_bytes == Ends::bytes + 1;
    }

    explicit OneEnd(const RunPlaces &run)
        : shift_(run.shift), around_(number(run.before) | Ends::as_last_byte(number(run.behind))) {}

    void copy(uint8_t *destination, const uint8_t *source) const {
        const V16 bytes = shift_.of(Ends::load(source), Ends::load(source + 1));
        Ends::store(destination, select_bits(around_, Ends::load(destination), bytes));
    }

private:
    ShiftBits<V16> shift_;
    V16 around_; // bits of the destination that stay
};

// Runs of more than Ends::bytes bytes in the destination, and no fewer in the source. V: the
// vectors between the ends.
template <class Ends, class V>
class ManyBits {
public:
    explicit ManyBits(const RunPlaces &run)
        : run_(run), reads_behind_(run.source_bytes + run.from_byte_before > run.destination_bytes),
          last_(run.destination_bytes - Ends::bytes), narrow_(run.shift), wide_(run.shift),
          before_(number(run.before)), behind_(Ends::as_last_byte(number(run.behind))) {}

    void copy(uint8_t *destination, const uint8_t *source) const {
        const uint8_t *const first = source - run_.from_byte_before;
        // Both ends before either is stored: they may overlap, and a processor would wait for bytes
        // that it has just stored in part.
        const V16 begin = with_bits(destination, before_, first_bytes(source));
        const V16 end = with_bits(destination + last_, behind_, last_bytes(first + last_));
        Ends::store(destination, begin);
        if constexpr (Ends::bytes == sizeof(V16))
            if (last_ > Ends::bytes)
                copy_between(destination, first);
        Ends::store(destination + last_, end);
    }

private:
    static V16 with_bits(const uint8_t *destination, V16 around, V16 bytes) {
        return select_bits(around, Ends::load(destination), bytes);
    }
    // There is no byte before the first one.
    V16 first_bytes(const uint8_t *source) const {
        const V16 here = Ends::load(source);
        return run_.from_byte_before ? narrow_.of(Ends::byte_later(here), here)
                                     : narrow_.of(here, Ends::load(source + 1));
    }
    // There need not be one behind the last one.
    V16 last_bytes(const uint8_t *source) const {
        const V16 here = Ends::load(source);
        return narrow_.of(here, reads_behind_ ? Ends::load(source + 1) : Ends::byte_earlier(here));
    }
    void copy_between(uint8_t *destination, const uint8_t *source) const {
        constexpr size_t long_row = 4096; // from here on the runtime's own copy is as good
        if (run_.shift != 0)
            make_between(destination, source, narrow_, wide_);
        else if (last_ < long_row)
            make_between(destination, source, MoveBytes<V16>(), MoveBytes<V>());
        else
            std::memcpy(destination + Ends::bytes, source + Ends::bytes, last_ - Ends::bytes);
    }
    // Neither the first byte nor the last one is touched.
    template <class Narrow, class Wide>
    void make_between(uint8_t *destination, const uint8_t *source, const Narrow &narrow,
                      const Wide &wide) const {
        if (last_ <= Ends::bytes + sizeof(V16))
            return narrow.make(destination + Ends::bytes, source + Ends::bytes);
        const size_t last_step = last_ - sizeof(V);
        for (size_t at = Ends::bytes; at < last_step; at += sizeof(V))
            wide.make(destination + at, source + at);
        wide.make(destination + last_step, source + last_step);
    }

    RunPlaces run_;
    bool reads_behind_;
    size_t last_; // where the last bytes begin
    ShiftBits<V16> narrow_;
    ShiftBits<V> wide_;
    V16 before_, behind_; // bits of the destination that stay
};

// --- all lengths --------------------------------------------------------------------------------

template <class Run>
inline void copy_each_run(const Run &run, uint8_t *destination, size_t destination_stride,
                          const uint8_t *source, size_t source_stride, size_t rows) {
    for (; rows != 0; --rows, destination += destination_stride, source += source_stride)
        run.copy(destination, source);
}

template <class V>
void copy_bit_runs(uint8_t *destination, size_t destination_stride, size_t destination_bit,
                   const uint8_t *source, size_t source_stride, size_t source_bit, size_t bits,
                   size_t rows) {
    if (bits == 0)
        return;
    const RunPlaces run(destination_bit % 8, source_bit % 8, bits);
    destination += destination_bit / 8;
    source += source_bit / 8;
    const auto copy_all = [=](const auto &one) {
        copy_each_run(one, destination, destination_stride, source, source_stride, rows);
    };
    const auto [fewest, most] = std::minmax(run.destination_bytes, run.source_bytes);
    if (OneEnd<SixteenBytes>::is_all_of(run))
        copy_all(OneEnd<SixteenBytes>(run));
    else if (OneEnd<EightBytes>::is_all_of(run))
        copy_all(OneEnd<EightBytes>(run));
    else if (most > 16)
        copy_all(ManyBits<SixteenBytes, V>(run));
    else if (most > 8)
        copy_all(ManyBits<EightBytes, V16>(run));
    else if (fewest >= 4)
        copy_all(FewBits<std::uint32_t>(run));
    else if (fewest >= 2)
        copy_all(FewBits<std::uint16_t>(run));
    else
        copy_all(FewBits<uint8_t>(run));
}

} // namespace
} // namespace q32::rows
