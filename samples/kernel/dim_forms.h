// The wide forms, by vectors V.
//
// Private to the file that includes it: every instruction set has its own copy of what is here, so
// that none runs on a processor that lacks it.
#pragma once

#include "samples/kernel/dim_kernels.h"
#include "simd/operations.h"
#include "simd/walk.h"

namespace q32::sample {
namespace {

// A step takes what it needs out of memory (load) before anything is stored (simd/walk.h).
template <class V>
class DimStep {
public:
    static constexpr size_t units = sizeof(V), source_bytes = 1, destination_bytes = 1;
    using Loaded = V;

    explicit DimStep(uint8_t amount) : amount_(repeat_u8<V>(amount)) {}

    Loaded load(const uint8_t *source) const { return simd::load<V>(source); }
    void store(uint8_t *destination, Loaded samples) const {
        simd::store(destination, subtract_saturating_u8(samples, amount_));
    }

private:
    V amount_;
};

// Runs that are shorter than a step go to the same entry of the narrower forms' table.
template <class V, const DimKernels &narrower>
struct WideDims {
    static void dim(uint8_t *destination, const uint8_t *source, size_t samples, uint8_t amount) {
        convert_run(destination, source, samples, DimStep<V>(amount),
                    [=](uint8_t *to, const uint8_t *from, size_t count) {
                        narrower.dim(to, from, count, amount);
                    });
    }
};

} // namespace
} // namespace q32::sample
