// The choice among the tables of a kernel family: made once, at attach, before any export can be
// called.
#pragma once

#include "library/process/baseline.h"
#include "library/process/cpu.h"

namespace q32 {

// Of the tables that a kernel family has for the levels, the one for this level.
template <class Kernels>
const Kernels &choose(InstructionSet level, const Kernels &sse2, const Kernels &sse41,
                      const Kernels &avx2, const Kernels &avx512) {
    switch (level) {
    case InstructionSet::sse2:
        break;
    case InstructionSet::sse41:
        return sse41;
    case InstructionSet::avx2:
        return avx2;
    case InstructionSet::avx512:
        return avx512;
    }
    return sse2;
}

// The table that this process runs.
template <class Kernels>
inline const Kernels *chosen_kernels;

} // namespace q32
