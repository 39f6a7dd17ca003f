// The steps of the colour kernels and the table that they make up, written once for all vectors.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/colour_grey.h"
#include "merge/kernels/colour_layout.h"
#include "simd/walk.h"

#include <cstring>

namespace q32::merge {
namespace {

// --- out of RGB ----------------------------------------------------------------------------------

// Where records go: into the caches, or past them, which saves reading what is overwritten.
struct IntoCaches {
    template <class V>
    static void store(uint8_t *at, V v) {
        simd::store(at, v);
    }
};
struct PastCaches {
    template <class V>
    static void store(uint8_t *at, V v) {
        stream(at, v);
    }
};

template <class Space, class V, class Stores = IntoCaches>
struct RgbToRecords {
    static constexpr size_t units = sizeof(V), source_bytes = 3, destination_bytes = record_bytes;
    using Loaded = Channels<V>;

    Loaded load(const uint8_t *source) const { return load_pixels<V>(source); }
    void store(uint8_t *destination, const Loaded &pixels) const {
        const Ranked<V> samples = rank(pixels);
        const Bytes bytes = {
            .max = turned<Space::saturation_field>(samples.max),
            .min = turned<Space::saturation_field>(samples.min),
            .value = turned<Space::value_field>(Space::value(samples.max, samples.min))};
        store_half<0>(destination, Hues<V>::template of<0>(samples), bytes);
        store_half<1>(destination, Hues<V>::template of<1>(samples), bytes);
    }

private:
    struct Bytes {
        V max, min; // in the order of the saturation
        V value;    // in its own
    };

    template <size_t half>
    static void store_half(uint8_t *destination, const Hues<V> &hues, const Bytes &bytes) {
        const auto saturations =
            Saturations<V>::of(widen_u8_to_u16<half>(subtract_u8(bytes.max, bytes.min)),
                               Space::template most<half>(bytes.max, bytes.min));
        const V value = widen_u8_to_u16<half>(bytes.value);
        store_fields<Stores, half>(destination, fields_of<0>(hues, saturations, value),
                                   fields_of<1>(hues, saturations, value));
    }

    template <size_t half>
    static Fields<V> fields_of(const Hues<V> &hues, const Saturations<V> &saturations, V value) {
        Fields<V> fields;
        fields.field[0] = hues.template hue<half>();
        fields.field[Space::saturation_field] = saturations.template saturation<half>();
        fields.field[Space::value_field] = widen_u16_to_u32<half>(value);
        return fields;
    }
};

// --- back to RGB ---------------------------------------------------------------------------------

// A step of records that has a field out of range is left to the scalar form.
template <class Space, class V>
struct RecordsToRgb {
    static constexpr size_t units = sizeof(V), source_bytes = record_bytes, destination_bytes = 3;

    static void convert(uint8_t *destination, const uint8_t *source) {
        const Half low = half_of<0>(source), high = half_of<1>(source);
        if (!all_zero(low.outside | high.outside)) [[unlikely]]
            scalar_colour_kernels.convert[size_t(Space::to_rgb)](destination, source, units);
        else
            store_pixels(destination, pixels_of(low.cone, high.cone));
    }

private:
    struct Half {
        Cone<V> cone;
        V outside; // some bit is set when a field is out of range
    };

    template <size_t half>
    static Half half_of(const uint8_t *source) {
        const auto a = load_fields<2 * half, V>(source), b = load_fields<2 * half + 1, V>(source);
        const V hue = packed<0>(a, b);
        const V grey = equal_u16(hue, repeat_u16<V>(no_hue));
        const V above = greater_i16(hue, repeat_u16<V>(360));
        const V outside =
            ((a.field[0] | b.field[0]) & repeat_u32<V>(~no_hue)) |
            ((a.field[1] | b.field[1] | a.field[2] | b.field[2]) & repeat_u32<V>(~0xFF)) |
            (grey ^ above);
        const V saturation = without(grey, packed<Space::saturation_field>(a, b));
        return {Space::cone(hue, saturation, packed<Space::value_field>(a, b)), outside};
    }

    template <int field>
    static V packed(const Fields<V> &a, const Fields<V> &b) {
        return turned_back<field>(pack_i32_to_i16_in_lanes(a.field[field], b.field[field]));
    }
};

// As walk() knows steps. The last one's records are set aside because the destination may be the
// source. Those of a few steps further on are asked for: the processor does so too late by itself.
template <class Step>
struct RecordStep {
    static constexpr size_t units = Step::units;
    struct Records {
        uint8_t bytes[Step::source_bytes * units];
    };

    uint8_t *destination;
    const uint8_t *source;

    Records held(size_t at) const {
        Records records;
        std::memcpy(records.bytes, source + Step::source_bytes * at, sizeof records.bytes);
        return records;
    }
    void make(size_t at) const {
        prefetch<Step::source_bytes * units>(source + Step::source_bytes * at + 4096);
        Step::convert(destination + Step::destination_bytes * at, source + Step::source_bytes * at);
    }
    void make(size_t at, const Records &records) const {
        Step::convert(destination + Step::destination_bytes * at, records.bytes);
    }
};

// --- transfers -----------------------------------------------------------------------------------

// Ranks both pixels, but works out of each only the fields that it gives.
template <HsvFields fields, class V>
struct Transfer {
    static constexpr size_t units = sizeof(V), bytes = 3;
    struct Loaded {
        Channels<V> base, other;
    };

    uint8_t *destination;
    const uint8_t *base, *other; // of which the destination may be either

    Loaded held(size_t at) const {
        return {load_pixels<V>(base + bytes * at), load_pixels<V>(other + bytes * at)};
    }
    void make(size_t at, const Loaded &pixels) const {
        const Ranked<V> ranked_base = rank(pixels.base), ranked_other = rank(pixels.other);
        store_pixels(destination + bytes * at, pixels_of(cone<0>(ranked_base, ranked_other),
                                                         cone<1>(ranked_base, ranked_other)));
    }
    void make(size_t at) const { make(at, held(at)); }

private:
    template <size_t half>
    static Cone<V> cone(const Ranked<V> &of_base, const Ranked<V> &of_other) {
        constexpr bool hue_of_other =
            fields == HsvFields::hue || fields == HsvFields::hue_and_saturation;
        constexpr bool saturation_of_other =
            fields == HsvFields::saturation || fields == HsvFields::hue_and_saturation;
        const Ranked<V> &value_from = fields == HsvFields::value ? of_other : of_base;
        return cone_of<half>(hue_of_other ? of_other : of_base,
                             saturation_of_other ? of_other : of_base,
                             widen_u8_to_u16<half>(value_from.max));
    }

    template <size_t half>
    static Cone<V> cone_of(const Ranked<V> &hue_from, const Ranked<V> &saturation_from, V value) {
        const auto hues = Hues<V>::template of<half>(hue_from);
        const auto saturations =
            Saturations<V>::of(widen_u8_to_u16<half>(saturation_from.range),
                               HsvSpace::most<half>(saturation_from.max, saturation_from.min));
        const V hue = pack_i32_to_i16_in_lanes(hues.template hue<0>(), hues.template hue<1>());
        const V saturation = pack_i32_to_i16_in_lanes(saturations.template saturation<0>(),
                                                      saturations.template saturation<1>());
        const V grey = equal_u16(hue, repeat_u16<V>(no_hue));
        return HsvSpace::cone(hue, without(grey, saturation), value);
    }
};

// --- the table -----------------------------------------------------------------------------------

// The kernels for vectors V, each in one piece: a call would take vectors through memory. Runs
// shorter than a step go to the narrower table's.
template <class V, const ColourKernels &narrower>
struct WideColours {
    template <ColourChange change, class Step>
    [[gnu::flatten]] static void convert(uint8_t *destination, const uint8_t *source,
                                         size_t pixels) {
        convert_run(destination, source, pixels, Step{}, narrower.convert[size_t(change)]);
    }

    // As many whole steps as there are, past the caches.
    template <class Step>
    [[gnu::flatten]] static size_t convert_far(uint8_t *destination, const uint8_t *source,
                                               size_t pixels) {
        size_t done = 0;
        for (; pixels - done >= Step::units; done += Step::units) {
            const uint8_t *const from = source + Step::source_bytes * done;
            prefetch<Step::source_bytes * Step::units>(from + 1024);
            Step().store(destination + Step::destination_bytes * done, Step().load(from));
        }
        fence_streams();
        return done;
    }

    // Past the caches go whole vectors: the first pixels are those up to one, which there is where
    // records are made of whole words.
    template <class Space, ColourChange change>
    static void to_records(uint8_t *destination, const uint8_t *source, size_t pixels) {
        constexpr auto near = convert<change, RgbToRecords<Space, V>>;
        const auto address = reinterpret_cast<std::uintptr_t>(destination);
        if (pixels < fewest_pixels_past_caches || address % 4 != 0) {
            near(destination, source, pixels);
            return;
        }
        size_t done = 0;
        while ((address + record_bytes * done) % sizeof(V) != 0)
            ++done;
        near(destination, source, done);
        done += convert_far<RgbToRecords<Space, V, PastCaches>>(destination + record_bytes * done,
                                                                source + 3 * done, pixels - done);
        near(destination + record_bytes * done, source + 3 * done, pixels - done);
    }

    template <class Space>
    [[gnu::flatten]] static void to_rgb(uint8_t *destination, const uint8_t *source,
                                        size_t pixels) {
        using Step = RecordStep<RecordsToRgb<Space, V>>;
        if (pixels < Step::units)
            narrower.convert[size_t(Space::to_rgb)](destination, source, pixels);
        else
            walk(pixels, Step{destination, source});
    }

    template <HsvFields fields>
    [[gnu::flatten]] static void transfer(uint8_t *destination, const uint8_t *base,
                                          const uint8_t *other, size_t pixels) {
        using Step = Transfer<fields, V>;
        if (pixels < Step::units)
            narrower.transfer[size_t(fields)](destination, base, other, pixels);
        else
            walk(pixels, Step{destination, base, other});
    }

    static constexpr ColourKernels table = {
        .convert = {convert<ColourChange::rgb_to_grey, RgbToGrey<V>>,
                    convert<ColourChange::grey_to_rgb, GreyToRgb<V>>,
                    to_records<HsvSpace, ColourChange::rgb_to_hsv>, to_rgb<HsvSpace>,
                    to_records<HlsSpace, ColourChange::rgb_to_hls>, to_rgb<HlsSpace>},
        .transfer = {transfer<HsvFields::hue_and_saturation>, transfer<HsvFields::hue>,
                     transfer<HsvFields::saturation>, transfer<HsvFields::value>},
    };
};

// --- short runs ----------------------------------------------------------------------------------

// Runs shorter than a step of 16 bytes. What takes divisions is worth a whole step from a few
// pixels on, in memory of a step's size; what the run leaves of that is black, or grey of value 0.
template <const ColourKernels &step_kernels>
struct ShortColours {
    static constexpr size_t step = sizeof(V16), few = 6;

    template <ColourChange change>
    static void convert(uint8_t *destination, const uint8_t *source, size_t pixels) {
        scalar_colour_kernels.convert[size_t(change)](destination, source, pixels);
    }

    template <ColourChange change, size_t source_bytes, size_t destination_bytes>
    static void convert_filled(uint8_t *destination, const uint8_t *source, size_t pixels) {
        if (pixels < few)
            return convert<change>(destination, source, pixels);
        uint8_t from[step * source_bytes] = {}, to[step * destination_bytes];
        std::memcpy(from, source, pixels * source_bytes);
        step_kernels.convert[size_t(change)](to, from, step);
        std::memcpy(destination, to, pixels * destination_bytes);
    }

    template <HsvFields fields>
    static void transfer(uint8_t *destination, const uint8_t *base, const uint8_t *other,
                         size_t pixels) {
        if (pixels < few)
            return scalar_colour_kernels.transfer[size_t(fields)](destination, base, other, pixels);
        uint8_t to[step * 3] = {}, from[step * 3] = {};
        std::memcpy(to, base, pixels * 3);
        std::memcpy(from, other, pixels * 3);
        step_kernels.transfer[size_t(fields)](to, to, from, step);
        std::memcpy(destination, to, pixels * 3);
    }

    static constexpr ColourKernels table = {
        .convert = {convert<ColourChange::rgb_to_grey>, convert<ColourChange::grey_to_rgb>,
                    convert_filled<ColourChange::rgb_to_hsv, 3, record_bytes>,
                    convert_filled<ColourChange::hsv_to_rgb, record_bytes, 3>,
                    convert_filled<ColourChange::rgb_to_hls, 3, record_bytes>,
                    convert_filled<ColourChange::hls_to_rgb, record_bytes, 3>},
        .transfer = {transfer<HsvFields::hue_and_saturation>, transfer<HsvFields::hue>,
                     transfer<HsvFields::saturation>, transfer<HsvFields::value>},
    };
};

} // namespace
} // namespace q32::merge
