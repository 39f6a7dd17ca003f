// The steps of table mapping, written once for vectors of 32 and of 64 bytes. How one vector of
// bytes goes through one table is table_lookup.h's part.
//
// Pixels of three channels are first deinterleaved: vectors that hold consecutive samples have
// the samples of one channel at different places, so that a choice of bytes is all it takes, and
// the same choice takes the results back. Nothing moves within a vector.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/row_kernels.h"
#include "rows/kernels/table_lookup.h"
#include "simd/byte_table.h"
#include "simd/operations.h"
#include "simd/walk.h"

namespace q32::rows {
namespace {

// --- order of samples ---------------------------------------------------------------------------

// Which sample lies at byte i of a vector.
struct InOrder {
    template <class V>
    static constexpr size_t sample_at(size_t i) {
        return i;
    }
};

// The same when bytes come from the words of two vectors, packed lane by lane.
struct PackedWords {
    template <class V>
    static constexpr size_t sample_at(size_t i) {
        const size_t lane = i / 16, in_lane = i % 16, words = sizeof(V) / 2;
        return (in_lane < 8 ? 0 : words) + 8 * lane + in_lane % 8;
    }
};

// Three vectors of consecutive samples as one vector for each channel, and back.
template <class V>
struct Three {
    V v[3];
};

template <class V, class Order>
class Interleaving {
public:
    static Three<V> deinterleave(const Three<V> &mixed) {
        if constexpr (sizeof(V) == 32)
            return exchange(mixed);
        Three<V> channels;
        for (size_t k = 0; k < 3; ++k)
            channels.v[k] = pick(mixed, set_of(k, 1), set_of(k, 2));
        return channels;
    }
    static Three<V> interleave(const Three<V> &channels) {
        if constexpr (sizeof(V) == 32)
            return exchange(channels);
        Three<V> mixed;
        for (size_t i = 0; i < 3; ++i)
            mixed.v[i] = pick(channels, set_of(1, i), set_of(2, i));
        return mixed;
    }

private:
    // Samples number r, r + 3 ... of a vector.
    static constexpr VectorBytes<V> every_third(size_t r) {
        return vector_by<V>(
            [=](int i) { return Order::template sample_at<V>(size_t(i)) % 3 == r ? 0xFF : 0; });
    }
    static constexpr VectorBytes<V> sets[3] = {every_third(0), every_third(1), every_third(2)};

    // Where channel k lies in vector i: sample s of it is sample sizeof(V) x i + s of all.
    static constexpr const VectorBytes<V> &set_of(size_t k, size_t i) {
        return sets[(k + 2 * sizeof(V) * i) % 3];
    }
    // In vectors of 32 bytes, samples r, r + 3 ... of a channel and of a vector have exchanged
    // their places, so that the way back is the way there. Less work than to pick where the
    // processor makes a choice of bytes out of several operations.
    static Three<V> exchange(const Three<V> &of) {
        const V in_01 = (of.v[0] ^ of.v[1]) & as_vector<V>(sets[1]);
        const V in_02 = (of.v[0] ^ of.v[2]) & as_vector<V>(sets[2]);
        const V in_12 = (of.v[1] ^ of.v[2]) & as_vector<V>(sets[0]);
        return {of.v[0] ^ in_01 ^ in_02, of.v[1] ^ in_01 ^ in_12, of.v[2] ^ in_02 ^ in_12};
    }
    static V pick(const Three<V> &from, const VectorBytes<V> &second, const VectorBytes<V> &third) {
        return select_by_top_bits_u8(
            as_vector<V>(third), from.v[2],
            select_by_top_bits_u8(as_vector<V>(second), from.v[1], from.v[0]));
    }
};

// --- bytes --------------------------------------------------------------------------------------

template <class V>
class MapBytes {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = 1;
    static constexpr size_t shortest = units;
    using Loaded = V;

    explicit MapBytes(const uint8_t *table) : table_(table) {}

    Loaded load(const uint8_t *source) const { return simd::load<V>(source); }
    void store(uint8_t *destination, Loaded v) const { simd::store(destination, table_(v)); }

private:
    TableLookup<V> table_;
};

template <class V>
class ThreeTables {
public:
    explicit ThreeTables(const uint8_t *tables)
        : first_(tables), second_(tables + 256), third_(tables + 512) {}

    Three<V> operator()(const Three<V> &channels) const {
        return {first_(channels.v[0]), second_(channels.v[1]), third_(channels.v[2])};
    }

private:
    TableLookup<V> first_, second_, third_;
};

template <class V>
class MapThreeBytes {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = 3;
    // Three tables that are prepared, and a last step that is mostly done twice: a run of fewer
    // steps of 32 bytes is as fast byte by byte.
    static constexpr size_t shortest = sizeof(V) == 32 ? 6 * units : units;
    static constexpr size_t bytes_ahead = 1024;
    using Loaded = Three<V>;

    explicit MapThreeBytes(const uint8_t *tables) : tables_(tables) {}

    Loaded load(const uint8_t *source) const {
        return {simd::load<V>(source), simd::load<V>(source + sizeof(V)),
                simd::load<V>(source + 2 * sizeof(V))};
    }
    void store(uint8_t *destination, const Loaded &mixed) const {
        using Order = Interleaving<V, InOrder>;
        const Three<V> mapped = Order::interleave(tables_(Order::deinterleave(mixed)));
        for (size_t i = 0; i < 3; ++i)
            simd::store(destination + i * sizeof(V), mapped.v[i]);
    }

private:
    ThreeTables<V> tables_;
};

// --- words --------------------------------------------------------------------------------------

// The high bytes of words: the table's entry below a sample.
template <class V>
V high_bytes(V a, V b) {
    return pack_i16_to_u8_in_lanes(shift_right_u16<8>(a), shift_right_u16<8>(b));
}
template <class V>
V next_entry(V v) {
    return add_saturating_u8(v, repeat_u8<V>(1));
}
template <class V>
V weigh_words(V here, V next, V words) {
    const V low_bytes = words & repeat_u16<V>(255);
    return multiply_low_u16(subtract_u16(here, next), low_bytes);
}

// Two vectors of words: as many samples as a vector has bytes.
template <class V>
struct Samples {
    V first, second;

    static Samples load(const uint8_t *source) {
        return {simd::load<V>(source), simd::load<V>(source + sizeof(V))};
    }
    V entries() const { return high_bytes(first, second); }

    // (here - next) x low byte + next x 256, all in 16 bits.
    void store_interpolated(uint8_t *destination, V here, V next) const {
        const V none = zero<V>();
        const V here_low = interleave_low_u8(here, none);
        const V next_low = interleave_low_u8(next, none);
        simd::store(destination,
                    add_u16(weigh_words(here_low, next_low, first), interleave_low_u8(none, next)));
        const V here_high = interleave_high_u8(here, none);
        const V next_high = interleave_high_u8(next, none);
        simd::store(destination + sizeof(V), add_u16(weigh_words(here_high, next_high, second),
                                                     interleave_high_u8(none, next)));
    }
};

template <class V>
class MapWords {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 2, destination_bytes = 2;
    static constexpr size_t shortest = units;
    using Loaded = Samples<V>;

    explicit MapWords(const uint8_t *table) : table_(table) {}

    Loaded load(const uint8_t *source) const { return Samples<V>::load(source); }
    void store(uint8_t *destination, const Loaded &samples) const {
        const V here = samples.entries();
        samples.store_interpolated(destination, table_(here), table_(next_entry(here)));
    }

private:
    TableLookup<V> table_;
};

template <class V>
class MapThreeWords {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 6, destination_bytes = 6;
    static constexpr size_t shortest = units;
    struct Loaded {
        Samples<V> part[3];
    };

    explicit MapThreeWords(const uint8_t *tables) : tables_(tables) {}

    Loaded load(const uint8_t *source) const {
        return {{Samples<V>::load(source), Samples<V>::load(source + 2 * sizeof(V)),
                 Samples<V>::load(source + 4 * sizeof(V))}};
    }
    void store(uint8_t *destination, const Loaded &loaded) const {
        using Order = Interleaving<V, PackedWords>;
        const Three<V> entries = Order::deinterleave(
            {loaded.part[0].entries(), loaded.part[1].entries(), loaded.part[2].entries()});
        const Three<V> next_entries = {next_entry(entries.v[0]), next_entry(entries.v[1]),
                                       next_entry(entries.v[2])};
        const Three<V> here = Order::interleave(tables_(entries));
        const Three<V> next = Order::interleave(tables_(next_entries));
        for (size_t i = 0; i < 3; ++i)
            loaded.part[i].store_interpolated(destination + 2 * i * sizeof(V), here.v[i],
                                              next.v[i]);
    }

private:
    ThreeTables<V> tables_;
};

// --- walk ---------------------------------------------------------------------------------------

// Tables are looked at only by runs that use them.
template <class Step, auto entry, const RowKernels &narrower>
void mapped(uint8_t *destination, const uint8_t *source, const uint8_t *tables, size_t pixels) {
    if (pixels < Step::shortest)
        (narrower.*entry)(destination, source, tables, pixels);
    else
        walk(pixels, ConversionStep<Step>{destination, source, Step(tables)});
}

// --- the forms ----------------------------------------------------------------------------------

template <class V, const RowKernels &narrower, class OtherRows>
struct MappingRows : OtherRows {
    static constexpr auto map_8 = mapped<MapBytes<V>, &RowKernels::map_8, narrower>;
    static constexpr auto map_24 = mapped<MapThreeBytes<V>, &RowKernels::map_24, narrower>;
    static constexpr auto map_16 = mapped<MapWords<V>, &RowKernels::map_16, narrower>;
    static constexpr auto map_48 = mapped<MapThreeWords<V>, &RowKernels::map_48, narrower>;
};

} // namespace
} // namespace q32::rows
