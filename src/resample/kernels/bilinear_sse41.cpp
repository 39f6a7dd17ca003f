// Bilinear interpolation for processors with the byte shuffle, 16 bytes at a time.
#include "resample/kernels/bilinear_forms.h"

namespace q32::resample {

constexpr MethodKernels sse41_bilinear_kernels = method_kernels<WideBilinear<V16>>();

} // namespace q32::resample
