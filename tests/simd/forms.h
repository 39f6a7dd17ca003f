// The operations of simd/ as functions over memory, for every size of vector that an instruction
// set has: what a test can compare with scalar code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::test {

// What an operation reads: three vectors and what follows them, where it asks for that.
struct Operands {
    static constexpr std::size_t bytes = 192; // behind each pointer
    const std::uint8_t *a, *b, *c;
};

struct Form {
    const char *operation;
    std::size_t size; // of the vector
    void (*run)(std::uint8_t *result, const Operands &operands);
};

std::vector<Form> simd_forms_sse2();
std::vector<Form> simd_forms_sse41();
std::vector<Form> simd_forms_avx2();
std::vector<Form> simd_forms_avx512();

} // namespace q32::test
