// Row conversions for processors with the byte shuffle, 16 bytes at a time.
#include "rows/kernels/lane_forms.h"

namespace q32::rows {
namespace {

// Bytes become bits without the shuffle: that is faster.
struct ShufflingRows : LaneRows<V16, scalar_row_kernels> {
    static constexpr auto byte_to_bit = handed_on<sse2_row_kernels, &RowKernels::byte_to_bit>;
};

} // namespace

constinit const RowKernels sse41_row_kernels = row_table<ShufflingRows>();

} // namespace q32::rows
