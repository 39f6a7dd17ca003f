// Which instruction set the kernels may use, and what the common library says of the processor.
// Knows processor and system only; what there is for a level is each kernel family's own.
#pragma once

#include <cstddef>

namespace q32 {

// More than nearly all last caches hold: what is written in one run of so many bytes goes past
// them. Where caches are larger it makes no difference at this length.
inline constexpr std::size_t fewest_past_caches = 24 << 20;

// Each level includes those before it. sse41 means SSSE3 and SSE4.1; avx512 means F, BW, VL, DQ and
// VBMI. A level counts only when the system saves its registers too.
enum class InstructionSet { sse2, sse41, avx2, avx512 };
inline constexpr int instruction_set_count = 4;

constexpr const char *instruction_set_name(InstructionSet level) {
    constexpr const char *names[instruction_set_count] = {"sse2", "sse41", "avx2", "avx512"};
    return names[int(level)];
}

// What CPUID says of the processor, and XGETBV of the system.
struct ProcessorWords {
    unsigned basic_ecx = 0;                      // leaf 1
    unsigned extended_ebx = 0, extended_ecx = 0; // leaf 7
    unsigned saved_state = 0; // XCR0: which registers outlive a thread switch; 0 without OSXSAVE
};

// The best level that both of them have.
InstructionSet level_of(const ProcessorWords &words);

// The best level of this processor, capped by its name ("sse2", "sse41", "avx2", "avx512"). A null,
// empty or unknown cap caps nothing.
InstructionSet best_instruction_set(const char *cap);

// Whether the common library says that the processor has MMX, so that wide paths may be taken.
// Where a rule has two roundings, the flag decides between them. Asked once (process.h).
bool mmx_available();

} // namespace q32
