// The operations of simd/ as they are compiled for AVX2.
#include "tests/simd/form_list.h"

namespace q32::test {

std::vector<Form> simd_forms_avx2() {
    return all_forms();
}

} // namespace q32::test
