// Reads the processor's features with CPUID and XGETBV. Plain C++: the native tests and benchmarks
// use it as well.
#include "library/process/cpu.h"

#include <algorithm>
#include <cpuid.h>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace q32 {
namespace {

constexpr const char *level_names[] = {"sse2", "sse41", "avx2", "avx512"};

struct Registers {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

Registers cpuid(unsigned leaf) {
    Registers r;
    __get_cpuid_count(leaf, 0, &r.eax, &r.ebx, &r.ecx, &r.edx);
    return r;
}

// Register state that the system saves at a thread switch (XCR0).
unsigned saved_state() {
    unsigned low, high;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

bool all(unsigned word, unsigned bits) {
    return (word & bits) == bits;
}

InstructionSet processor_level() {
    const Registers basic = cpuid(1);
    if (!all(basic.ecx, bit_SSSE3 | bit_SSE4_1))
        return InstructionSet::sse2;
    if (!all(basic.ecx, bit_OSXSAVE | bit_AVX))
        return InstructionSet::sse41;

    constexpr unsigned ymm_state = 0x06, zmm_state = 0xE6;
    const unsigned state = saved_state();
    const Registers extended = cpuid(7);
    if (!all(state, ymm_state) || !all(extended.ebx, bit_AVX2))
        return InstructionSet::sse41;

    constexpr unsigned foundation = bit_AVX512F | bit_AVX512BW | bit_AVX512VL | bit_AVX512DQ;
    if (!all(state, zmm_state) || !all(extended.ebx, foundation) ||
        !all(extended.ecx, bit_AVX512VBMI))
        return InstructionSet::avx2;
    return InstructionSet::avx512;
}

} // namespace

InstructionSet best_instruction_set(const char *cap) {
    const InstructionSet level = processor_level();
    if (cap == nullptr)
        return level;
    for (int i = 0; i < int(std::size(level_names)); ++i)
        if (std::strcmp(cap, level_names[i]) == 0)
            return std::min(level, InstructionSet(i));
    return level;
}

const char *instruction_set_name(InstructionSet level) {
    return level_names[int(level)];
}

} // namespace q32
