// Rows on their way to a display as plain functions over pointers and counts: colours reduced to
// what it can show, in the layout that it takes. One table for each instruction set. Checks no
// argument, reports nothing; that is the drivers' part.
//
// Every form gives the bytes of its scalar form, for all inputs, lengths and alignments. It reads
// no byte outside the source run and writes none outside the destination run. The runs do not
// overlap. A count of 0 does nothing.
#pragma once

#include "display/kernels/channel_tables.h"
#include "library/process/cpu.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace q32::display {

// A row of a matrix as a run meets it: pixel i of the run has threshold i mod 8. Matrices of side 4
// are repeated.
using Thresholds = std::array<std::uint8_t, 8>;

// Colours of up to 256 entries, four bytes each: red, green, blue, and one that is not looked at.
using ColourEntries = std::array<std::uint8_t, 4 * 256>;

// 24-bit pixels are three bytes in the order of memory: RGB or BGR.
using ColoursOfIndices = void(std::uint8_t *rgb, const std::uint8_t *indices,
                              const ColourEntries &entries, std::size_t pixels);
using GreyLevels = void(std::uint8_t *levels, const std::uint8_t *greys, int shift,
                        std::size_t pixels);
using BitsOfGreys = void(std::uint8_t *bits, const std::uint8_t *greys,
                         const Thresholds &thresholds, std::size_t pixels);
using CubeIndices = void(std::uint8_t *indices, const std::uint8_t *rgb,
                         const Thresholds &thresholds, std::size_t pixels);
using Planes = void(std::uint8_t *planes, std::size_t plane_bytes, const std::uint8_t *rgb,
                    const Thresholds &thresholds, std::size_t pixels);
using Correction = void(std::uint8_t *bgr, const std::uint8_t *rgb, const ScreenTables &tables,
                        std::size_t pixels);
using HighColour = void(std::uint8_t *bgr, const std::uint8_t *rgb, const ScreenTables &tables,
                        const Thresholds &thresholds, std::size_t pixels);
using PlainHighColour = void(std::uint8_t *bgr, const std::uint8_t *rgb,
                             const Thresholds &thresholds, std::size_t pixels);

struct ShowKernels {
    ColoursOfIndices *colours_of_indices;

    // A grey shifted right: 4 gives 16 levels, 1 gives 128.
    GreyLevels *grey_levels;

    // A bit is set where the grey is at least the threshold. Bits of the last byte that belong to
    // no pixel are cleared.
    BitsOfGreys *bits_of_greys;

    // Places in the display palette, by colour_cube.h. Thresholds from 1 on, as there is nothing
    // above the last level.
    CubeIndices *cube_indices;

    // Four rows of bits, plane_bytes apart and each of that size, written whole: red, green, blue
    // where the sample is at least the threshold, and where any of them is set.
    Planes *planes;

    // A table for each channel, and the samples in the order of bitmaps.
    Correction *correct;

    // The same, and each sample v becomes ((v & 0xF8) + 8) & 0xFF where (v & 7) is at least the
    // threshold, else v & 0xF8.
    HighColour *high_colour;

    // The same with the tables that high_colour_tables gives where there is no gamma to correct,
    // computed instead of looked up.
    PlainHighColour *plain_high_colour;
};

// The table of an instruction set: its forms are a struct with a function for each kernel.
template <class Forms>
constexpr ShowKernels show_table() {
    return {
        .colours_of_indices = Forms::colours_of_indices,
        .grey_levels = Forms::grey_levels,
        .bits_of_greys = Forms::bits_of_greys,
        .cube_indices = Forms::cube_indices,
        .planes = Forms::planes,
        .correct = Forms::correct,
        .high_colour = Forms::high_colour,
        .plain_high_colour = Forms::plain_high_colour,
    };
}

// One table for each instruction set. The scalar one is the reference and reads like the rules; the
// forms of the others hand runs that are too short for them to the next narrower one.
extern const ShowKernels scalar_show_kernels, sse2_show_kernels, sse41_show_kernels,
    avx2_show_kernels, avx512_show_kernels;

// The fastest forms that need no more than this instruction set.
const ShowKernels &show_kernels(InstructionSet level);

} // namespace q32::display
