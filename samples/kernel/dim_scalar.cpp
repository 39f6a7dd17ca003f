// The scalar form, as its rule says it. Speed is the wide forms'.
#include "samples/kernel/dim_kernels.h"

#include <algorithm>

namespace q32::sample {
namespace {

struct ScalarDims {
    static void dim(std::uint8_t *destination, const std::uint8_t *source, std::size_t samples,
                    std::uint8_t amount) {
        for (std::size_t i = 0; i < samples; ++i)
            destination[i] = std::uint8_t(std::max(source[i] - amount, 0));
    }
};

} // namespace

constinit const DimKernels scalar_dim_kernels = dim_table<ScalarDims>();

} // namespace q32::sample
