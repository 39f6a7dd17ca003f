// Colour rows for AVX2, 32 pixels at a time and 16 at their ends.
#include "merge/kernels/normal_rows.h"

#include "merge/kernels/normal_rows_forms.h"

namespace q32::merge {

void avx2_divided_normal_rows(const MaskedRows &rows) {
    NormalRows<V32, V16, Rounding::divided>::merge(rows);
}

void avx2_shifted_normal_rows(const MaskedRows &rows) {
    NormalRows<V32, V16, Rounding::shifted>::merge(rows);
}

} // namespace q32::merge
