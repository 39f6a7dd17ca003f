// Which instruction set follows from what processor and system say: every combination of what is
// asked of them, so that no kernel ends the program on a machine that is unlike this one.
#include "library/process/cpu.h"
#include "tests/kernels/levels.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace q32::test {
namespace {

// One thing that a processor or a system has, the word and bit that say so, and the first level
// that needs it.
struct Feature {
    const char *name;
    unsigned ProcessorWords::*word;
    int bit;
    InstructionSet level;
};

constexpr Feature features[] = {
    {"SSSE3", &ProcessorWords::basic_ecx, 9, InstructionSet::sse41},
    {"SSE4.1", &ProcessorWords::basic_ecx, 19, InstructionSet::sse41},
    {"OSXSAVE", &ProcessorWords::basic_ecx, 27, InstructionSet::avx2},
    {"AVX", &ProcessorWords::basic_ecx, 28, InstructionSet::avx2},
    {"AVX2", &ProcessorWords::extended_ebx, 5, InstructionSet::avx2},
    {"saved XMM", &ProcessorWords::saved_state, 1, InstructionSet::avx2},
    {"saved YMM", &ProcessorWords::saved_state, 2, InstructionSet::avx2},
    {"AVX-512F", &ProcessorWords::extended_ebx, 16, InstructionSet::avx512},
    {"AVX-512DQ", &ProcessorWords::extended_ebx, 17, InstructionSet::avx512},
    {"AVX-512BW", &ProcessorWords::extended_ebx, 30, InstructionSet::avx512},
    {"AVX-512VL", &ProcessorWords::extended_ebx, 31, InstructionSet::avx512},
    {"AVX-512VBMI", &ProcessorWords::extended_ecx, 1, InstructionSet::avx512},
    {"saved masks", &ProcessorWords::saved_state, 5, InstructionSet::avx512},
    {"saved ZMM, upper halves", &ProcessorWords::saved_state, 6, InstructionSet::avx512},
    {"saved ZMM 16 to 31", &ProcessorWords::saved_state, 7, InstructionSet::avx512},
};
constexpr unsigned combinations = 1u << std::size(features);

void set(ProcessorWords &words, const Feature &feature, bool on) {
    const unsigned mask = 1u << feature.bit;
    words.*feature.word = on ? words.*feature.word | mask : words.*feature.word & ~mask;
}

// Bits that nobody asks for are all set or all clear.
TEST(InstructionSets, EveryCombinationHasItsLevel) {
    unsigned wrong = 0, of_level[4] = {};
    for (const unsigned others : {0u, ~0u})
        for (unsigned combination = 0; combination < combinations; ++combination) {
            ProcessorWords words{others, others, others, others};
            InstructionSet expected = InstructionSet::avx512;
            for (unsigned i = 0; i < std::size(features); ++i) {
                const bool on = (combination >> i & 1) != 0;
                set(words, features[i], on);
                if (!on) // the level below the one that needs it
                    expected = std::min(expected, InstructionSet(int(features[i].level) - 1));
            }
            ++of_level[int(expected)];
            if (level_of(words) != expected && ++wrong < 10)
                ADD_FAILURE() << "combination " << combination << ", others " << others << ": "
                              << instruction_set_name(level_of(words)) << " for "
                              << instruction_set_name(expected);
        }
    EXPECT_EQ(wrong, 0u);
    // 2, 7 and 15 features leave so many combinations of the others.
    EXPECT_EQ(of_level[3], 2 * 1u);
    EXPECT_EQ(of_level[2], 2 * 255u);
    EXPECT_EQ(of_level[1], 2 * 256u * 31);
    EXPECT_EQ(of_level[0], 2 * 8192u * 3);
}

// A processor with everything under systems that save less, as the words are in fact.
TEST(InstructionSets, WhatTheSystemDoesNotSaveIsNotUsed) {
    ProcessorWords words{0x7FFAFBFF, 0xF1BF07A9, 0x00405FCE, 0xE7};
    EXPECT_EQ(level_of(words), InstructionSet::avx512);
    struct {
        unsigned saved;
        InstructionSet level;
    } constexpr systems[] = {
        {0xE7, InstructionSet::avx512},  {0xE6, InstructionSet::avx512},
        {0x2E7, InstructionSet::avx512},                               // and protection keys
        {0x07, InstructionSet::avx2},                                  // 256 bits
        {0x1F, InstructionSet::avx2},                                  // and bounds
        {0x27, InstructionSet::avx2},                                  // masks only
        {0x67, InstructionSet::avx2},    {0xA7, InstructionSet::avx2}, // half of the 512 bits
        {0xC7, InstructionSet::avx2},                                  // no masks
        {0x03, InstructionSet::sse41},                                 // 128 bits
        {0x05, InstructionSet::sse41},   {0xE3, InstructionSet::sse41},
        {0xE5, InstructionSet::sse41},   {0xE1, InstructionSet::sse41},
        {0x01, InstructionSet::sse41},   {0x00, InstructionSet::sse41},
    };
    for (const auto &[saved, level] : systems) {
        words.saved_state = saved;
        EXPECT_EQ(level_of(words), level) << std::hex << saved;
    }
    // Without OSXSAVE nothing is known of what is saved, whatever the word says.
    words = {0x77FAFBFF, 0xF1BF07A9, 0x00405FCE, 0xE7};
    EXPECT_EQ(level_of(words), InstructionSet::sse41);
}

// Processors as they were built, under a system that saves what they have.
TEST(InstructionSets, OfKnownKindsOfProcessors) {
    EXPECT_EQ(level_of({}), InstructionSet::sse2);
    EXPECT_EQ(level_of({.basic_ecx = 0x00000001}), InstructionSet::sse2);  // SSE3
    EXPECT_EQ(level_of({.basic_ecx = 0x0000E3BD}), InstructionSet::sse2);  // SSSE3
    EXPECT_EQ(level_of({.basic_ecx = 0x0008E3FD}), InstructionSet::sse41); // SSE4.1
    EXPECT_EQ(level_of({.basic_ecx = 0x1FBAE3FF, .saved_state = 7}),
              InstructionSet::sse41); // AVX
    EXPECT_EQ(level_of({.basic_ecx = 0x7FFAFBFF, .extended_ebx = 0x000027AB, .saved_state = 7}),
              InstructionSet::avx2); // AVX2
    EXPECT_EQ(level_of({.basic_ecx = 0x7FFEFBFF, .extended_ebx = 0xD39FFFFB, .saved_state = 0x2E7}),
              InstructionSet::avx2); // AVX-512 without VBMI
}

// --- this machine --------------------------------------------------------------------------------

TEST(InstructionSets, ACapCapsAndNeverRaises) {
    const InstructionSet best = best_instruction_set(nullptr);
    for (InstructionSet cap : all_sets) {
        const char *name = instruction_set_name(cap);
        EXPECT_EQ(best_instruction_set(name), std::min(best, cap)) << name;
    }
}

TEST(InstructionSets, AnUnknownCapCapsNothing) {
    const InstructionSet best = best_instruction_set(nullptr);
    for (const char *cap : {"", "nonsense", "avx", "SSE2", "sse", "sse2 ", "sse22", "avx5120"})
        EXPECT_EQ(best_instruction_set(cap), best) << cap;
}

TEST(InstructionSets, HaveTheirNames) {
    EXPECT_STREQ(instruction_set_name(InstructionSet::sse2), "sse2");
    EXPECT_STREQ(instruction_set_name(InstructionSet::sse41), "sse41");
    EXPECT_STREQ(instruction_set_name(InstructionSet::avx2), "avx2");
    EXPECT_STREQ(instruction_set_name(InstructionSet::avx512), "avx512");
}

// The processor's own word, by the compiler's means.
TEST(InstructionSets, TheBestIsWhatTheProcessorHas) {
    __builtin_cpu_init();
    InstructionSet expected = InstructionSet::sse2;
    if (__builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1")) {
        expected = InstructionSet::sse41;
        if (__builtin_cpu_supports("avx2")) {
            expected = InstructionSet::avx2;
            if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
                __builtin_cpu_supports("avx512vbmi"))
                expected = InstructionSet::avx512;
        }
    }
    EXPECT_EQ(best_instruction_set(nullptr), expected);
}

} // namespace
} // namespace q32::test
