// Showing for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says why).
#include "display/kernels/show_forms.h"

namespace q32::display {
namespace {

constexpr ShowKernels shorter_show_kernels = show_table<WideShows<V16, scalar_show_kernels>>();

} // namespace

constexpr ShowKernels avx2_show_kernels = show_table<WideShows<V32, shorter_show_kernels>>();

} // namespace q32::display
