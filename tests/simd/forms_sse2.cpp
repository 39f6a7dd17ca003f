// The operations of simd/ as they are compiled for the baseline.
#include "tests/simd/form_list.h"

namespace q32::test {

std::vector<Form> simd_forms_sse2() {
    return all_forms();
}

} // namespace q32::test
