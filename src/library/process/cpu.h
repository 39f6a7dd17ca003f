// Which instruction set the kernels may use. Knows the processor only; what there is for a level is
// each kernel family's own.
#pragma once

namespace q32 {

// Each level includes those before it. sse41 means SSSE3 and SSE4.1; avx512 means F, BW, VL, DQ and
// VBMI. A level counts only when the system saves its registers too.
enum class InstructionSet { sse2, sse41, avx2, avx512 };

// The best level of this processor, capped by its name ("sse2", "sse41", "avx2", "avx512"). A null,
// empty or unknown cap caps nothing.
InstructionSet best_instruction_set(const char *cap);

const char *instruction_set_name(InstructionSet level);

} // namespace q32
