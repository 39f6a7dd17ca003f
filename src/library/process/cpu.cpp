// Reads the processor's features with CPUID and XGETBV. Plain C++: the native tests and benchmarks
// use it as well.
#include "library/process/cpu.h"

#include <algorithm>
#include <cpuid.h>
#include <cstring>
#include <iterator>

namespace q32 {
namespace {

// What a level needs beyond the one before it.
constexpr unsigned ymm_state = 0x06, zmm_state = 0xE6;
constexpr ProcessorWords needed[instruction_set_count] = {
    {},
    {.basic_ecx = bit_SSSE3 | bit_SSE4_1},
    {.basic_ecx = bit_OSXSAVE | bit_AVX, .extended_ebx = bit_AVX2, .saved_state = ymm_state},
    {.extended_ebx = bit_AVX512F | bit_AVX512BW | bit_AVX512VL | bit_AVX512DQ,
     .extended_ecx = bit_AVX512VBMI,
     .saved_state = zmm_state},
};

struct Registers {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

Registers cpuid(unsigned leaf) {
    Registers r;
    __get_cpuid_count(leaf, 0, &r.eax, &r.ebx, &r.ecx, &r.edx);
    return r;
}

unsigned saved_state() {
    unsigned low, high;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

ProcessorWords words_of_this_machine() {
    const Registers basic = cpuid(1), extended = cpuid(7);
    const bool can_be_asked = (basic.ecx & bit_OSXSAVE) != 0;
    return {basic.ecx, extended.ebx, extended.ecx, can_be_asked ? saved_state() : 0};
}

// The bits that are needed and not there.
unsigned missing(const ProcessorWords &words, const ProcessorWords &needs) {
    return (needs.basic_ecx & ~words.basic_ecx) | (needs.extended_ebx & ~words.extended_ebx) |
           (needs.extended_ecx & ~words.extended_ecx) | (needs.saved_state & ~words.saved_state);
}

} // namespace

InstructionSet level_of(const ProcessorWords &words) {
    const auto *const beyond =
        std::find_if(std::begin(needed), std::end(needed),
                     [&](const ProcessorWords &needs) { return missing(words, needs) != 0; });
    return InstructionSet(beyond - needed - 1);
}

InstructionSet best_instruction_set(const char *cap) {
    const InstructionSet level = level_of(words_of_this_machine());
    if (cap == nullptr)
        return level;
    for (int i = 0; i < instruction_set_count; ++i)
        if (std::strcmp(cap, instruction_set_name(InstructionSet(i))) == 0)
            return std::min(level, InstructionSet(i));
    return level;
}

} // namespace q32
