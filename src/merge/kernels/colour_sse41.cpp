// Colour spaces for processors with the byte shuffle, 16 pixels at a time.
#include "merge/kernels/colour_registers.h"

#include "merge/kernels/colour_forms.h"
#include "merge/kernels/colour_steps.h"

namespace q32::merge {
namespace {

// Runs shorter than a step. What takes divisions is worth a whole step from a few pixels on, in
// memory of a step's size; what the run leaves of that is black, or grey of value 0.
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
        sse41_colour_kernels.convert[size_t(change)](to, from, step);
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
        sse41_colour_kernels.transfer[size_t(fields)](to, to, from, step);
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

constexpr ColourKernels sse41_colour_kernels = WideColours<V16, ShortColours::table>::table;

} // namespace q32::merge
