// The steps of table mapping, written once for vectors of 32 and of 64 bytes. How one vector of
// bytes goes through one table is table_lookup.h's part.
//
// Pixels of three channels are first sorted by channel: vectors that hold consecutive samples have
// the samples of one channel at different places, so that a choice of bytes is all it takes, and
// the same choice takes the results back. Nothing moves within a vector.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/runs.h"
#include "rows/kernels/table_lookup.h"

namespace q32::rows {
namespace {

// --- choice of bytes ----------------------------------------------------------------------------

template <class V>
struct ByteSet {
    alignas(sizeof(V)) uint8_t at[sizeof(V)] = {};

    constexpr void add(size_t i) { at[i] = 0xFF; }
};

inline V32 choose(const ByteSet<V32> &from_second, V32 first, V32 second) {
    return _mm256_blendv_epi8(first, second, load<V32>(from_second.at));
}

#ifdef __AVX512VBMI__
// The mask comes from a vector because 32-bit code would put a constant one together on the stack,
// in every step.
inline V64 choose(const ByteSet<V64> &from_second, V64 first, V64 second) {
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(load<V64>(from_second.at)), first, second);
}
#endif

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
class Channels {
public:
    static Three<V> split(const Three<V> &mixed) {
        Three<V> channels;
        for (size_t k = 0; k < 3; ++k)
            channels.v[k] = pick(mixed, set_of(k, 1), set_of(k, 2));
        return channels;
    }
    static Three<V> join(const Three<V> &channels) {
        Three<V> mixed;
        for (size_t i = 0; i < 3; ++i)
            mixed.v[i] = pick(channels, set_of(1, i), set_of(2, i));
        return mixed;
    }

private:
    // Samples number r, r + 3 ... of a vector.
    static constexpr ByteSet<V> every_third(size_t r) {
        ByteSet<V> set;
        for (size_t i = 0; i < sizeof(V); ++i)
            if (Order::template sample_at<V>(i) % 3 == r)
                set.add(i);
        return set;
    }
    static constexpr ByteSet<V> sets[3] = {every_third(0), every_third(1), every_third(2)};

    // Where channel k lies in vector i: sample s of it is sample sizeof(V) x i + s of all.
    static constexpr const ByteSet<V> &set_of(size_t k, size_t i) {
        return sets[(k + 2 * sizeof(V) * i) % 3];
    }
    static V pick(const Three<V> &from, const ByteSet<V> &second, const ByteSet<V> &third) {
        return choose(third, choose(second, from.v[0], from.v[1]), from.v[2]);
    }
};

// --- bytes --------------------------------------------------------------------------------------

template <class V>
class MapBytes {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = 1;
    using Loaded = V;

    explicit MapBytes(const uint8_t *table) : table_(table) {}

    Loaded load(const uint8_t *source) const { return rows::load<V>(source); }
    void store(uint8_t *destination, Loaded v) const { rows::store(destination, table_(v)); }

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
    using Loaded = Three<V>;

    explicit MapThreeBytes(const uint8_t *tables) : tables_(tables) {}

    Loaded load(const uint8_t *source) const {
        return {rows::load<V>(source), rows::load<V>(source + sizeof(V)),
                rows::load<V>(source + 2 * sizeof(V))};
    }
    void store(uint8_t *destination, const Loaded &mixed) const {
        using Sorted = Channels<V, InOrder>;
        const Three<V> mapped = Sorted::join(tables_(Sorted::split(mixed)));
        for (size_t i = 0; i < 3; ++i)
            rows::store(destination + i * sizeof(V), mapped.v[i]);
    }

private:
    ThreeTables<V> tables_;
};

// --- words --------------------------------------------------------------------------------------

inline V32 high_bytes(V32 a, V32 b) {
    return _mm256_packus_epi16(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8));
}
inline V32 next_entry(V32 v) {
    return _mm256_adds_epu8(v, _mm256_set1_epi8(1));
}
inline V32 interleave_low_bytes(V32 a, V32 b) {
    return _mm256_unpacklo_epi8(a, b);
}
inline V32 interleave_high_bytes(V32 a, V32 b) {
    return _mm256_unpackhi_epi8(a, b);
}
inline V32 weigh_words(V32 here, V32 next, V32 words) {
    const V32 low_bytes = _mm256_and_si256(words, _mm256_set1_epi16(255));
    return _mm256_mullo_epi16(_mm256_sub_epi16(here, next), low_bytes);
}
inline V32 add_words(V32 a, V32 b) {
    return _mm256_add_epi16(a, b);
}

#ifdef __AVX512VBMI__
inline V64 high_bytes(V64 a, V64 b) {
    return _mm512_packus_epi16(_mm512_srli_epi16(a, 8), _mm512_srli_epi16(b, 8));
}
inline V64 next_entry(V64 v) {
    return _mm512_adds_epu8(v, _mm512_set1_epi8(1));
}
inline V64 interleave_low_bytes(V64 a, V64 b) {
    return _mm512_unpacklo_epi8(a, b);
}
inline V64 interleave_high_bytes(V64 a, V64 b) {
    return _mm512_unpackhi_epi8(a, b);
}
inline V64 weigh_words(V64 here, V64 next, V64 words) {
    const V64 low_bytes = _mm512_and_si512(words, _mm512_set1_epi16(255));
    return _mm512_mullo_epi16(_mm512_sub_epi16(here, next), low_bytes);
}
inline V64 add_words(V64 a, V64 b) {
    return _mm512_add_epi16(a, b);
}
#endif

// Two vectors of words: as many samples as a vector has bytes.
template <class V>
struct Samples {
    V first, second;

    static Samples load(const uint8_t *source) {
        return {rows::load<V>(source), rows::load<V>(source + sizeof(V))};
    }
    V entries() const { return high_bytes(first, second); }

    // (here - next) x low byte + next x 256, all in 16 bits.
    void store_interpolated(uint8_t *destination, V here, V next) const {
        const V none = V{};
        const V here_low = interleave_low_bytes(here, none);
        const V next_low = interleave_low_bytes(next, none);
        rows::store(destination, add_words(weigh_words(here_low, next_low, first),
                                           interleave_low_bytes(none, next)));
        const V here_high = interleave_high_bytes(here, none);
        const V next_high = interleave_high_bytes(next, none);
        rows::store(destination + sizeof(V), add_words(weigh_words(here_high, next_high, second),
                                                       interleave_high_bytes(none, next)));
    }
};

template <class V>
class MapWords {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 2, destination_bytes = 2;
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
    struct Loaded {
        Samples<V> part[3];
    };

    explicit MapThreeWords(const uint8_t *tables) : tables_(tables) {}

    Loaded load(const uint8_t *source) const {
        return {{Samples<V>::load(source), Samples<V>::load(source + 2 * sizeof(V)),
                 Samples<V>::load(source + 4 * sizeof(V))}};
    }
    void store(uint8_t *destination, const Loaded &loaded) const {
        using Sorted = Channels<V, PackedWords>;
        const Three<V> entries = Sorted::split(
            {loaded.part[0].entries(), loaded.part[1].entries(), loaded.part[2].entries()});
        const Three<V> next_entries = {next_entry(entries.v[0]), next_entry(entries.v[1]),
                                       next_entry(entries.v[2])};
        const Three<V> here = Sorted::join(tables_(entries));
        const Three<V> next = Sorted::join(tables_(next_entries));
        for (size_t i = 0; i < 3; ++i)
            loaded.part[i].store_interpolated(destination + 2 * i * sizeof(V), here.v[i],
                                              next.v[i]);
    }

private:
    ThreeTables<V> tables_;
};

// --- walk ---------------------------------------------------------------------------------------

// Tables are looked at only by runs that use them.
template <class Step>
inline void run_map(uint8_t *destination, const uint8_t *source, const uint8_t *tables,
                    size_t pixels, Mapping *shorter) {
    const auto run_shorter = [=](uint8_t *to, const uint8_t *from, size_t count) {
        shorter(to, from, tables, count);
    };
    if (pixels < Step::units)
        run_shorter(destination, source, pixels);
    else
        run(destination, source, pixels, Step(tables), run_shorter);
}

} // namespace
} // namespace q32::rows
