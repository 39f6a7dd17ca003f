// Which table of each kernel family an instruction set is handed. All tables give the same bytes,
// so that a wrong one would only be slower, or end the program on another processor.
#include "display/kernels/show_kernels.h"
#include "merge/kernels/blend_kernels.h"
#include "merge/kernels/colour_kernels.h"
#include "merge/kernels/effect_kernels.h"
#include "resample/kernels/resample_kernels.h"
#include "rows/kernels/row_kernels.h"
#include "rows/kernels/scaling_kernels.h"
#include "tests/kernels/levels.h"

#include <gtest/gtest.h>

namespace q32::test {
namespace {

// The tables of a family for SSE2, SSE4.1, AVX2 and AVX-512.
template <class Kernels>
void expect_choice(const Kernels &(*chosen)(InstructionSet), const Kernels *const (&tables)[4]) {
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(&chosen(all_sets[i]), tables[i]) << instruction_set_name(all_sets[i]);
}

TEST(KernelChoice, Rows) {
    using namespace rows;
    expect_choice(row_kernels,
                  {&sse2_row_kernels, &sse41_row_kernels, &avx2_row_kernels, &avx512_row_kernels});
    expect_choice(scaling_kernels, {&sse2_scaling_kernels, &sse41_scaling_kernels,
                                    &avx2_scaling_kernels, &avx512_scaling_kernels});
}

TEST(KernelChoice, Merging) {
    using namespace merge;
    expect_choice(blend_kernels, {&sse2_blend_kernels, &sse41_blend_kernels, &avx2_blend_kernels,
                                  &avx512_blend_kernels});
    expect_choice(effect_kernels, {&sse2_effect_kernels, &sse41_effect_kernels,
                                   &avx2_effect_kernels, &avx512_effect_kernels});
    expect_choice(colour_kernels, {&scalar_colour_kernels, &sse41_colour_kernels,
                                   &avx2_colour_kernels, &avx512_colour_kernels});
}

TEST(KernelChoice, Display) {
    using namespace display;
    expect_choice(show_kernels, {&sse2_show_kernels, &sse41_show_kernels, &avx2_show_kernels,
                                 &avx512_show_kernels});
}

TEST(KernelChoice, Resampling) {
    using namespace resample;
    const MethodKernels *const nearest[] = {&sse2_nearest_kernels, &sse41_nearest_kernels,
                                            &avx2_nearest_kernels, &avx512_nearest_kernels};
    const MethodKernels *const bilinear[] = {&sse2_bilinear_kernels, &sse41_bilinear_kernels,
                                             &avx2_bilinear_kernels, &avx512_bilinear_kernels};
    const MethodKernels *const bicubic[] = {&sse2_bicubic_kernels, &sse41_bicubic_kernels,
                                            &avx2_bicubic_kernels, &avx2_bicubic_kernels};
    for (int i = 0; i < 4; ++i) {
        const ResampleKernels &chosen = resample_kernels(all_sets[i]);
        EXPECT_EQ(chosen.nearest, nearest[i]) << instruction_set_name(all_sets[i]);
        EXPECT_EQ(chosen.bilinear, bilinear[i]) << instruction_set_name(all_sets[i]);
        EXPECT_EQ(chosen.bicubic, bicubic[i]) << instruction_set_name(all_sets[i]);
    }
    // No choice, but what the others are compared with.
    EXPECT_EQ(scalar_resample_kernels.nearest, &scalar_nearest_kernels);
    EXPECT_EQ(scalar_resample_kernels.bilinear, &scalar_bilinear_kernels);
    EXPECT_EQ(scalar_resample_kernels.bicubic, &scalar_bicubic_kernels);
}

} // namespace
} // namespace q32::test
