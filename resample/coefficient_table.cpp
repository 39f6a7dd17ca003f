#include "resample/coefficient_table.h"
#include "resample/resample.h"

#include <q32base/resample.h>

namespace q32::resample {

bool make_coefficient_table() {
    return false;
}
bool coefficient_table_was_made() {
    return false;
}
void free_coefficient_table() {}

} // namespace q32::resample

extern "C" int Q32_CALL q32FreeBiCubicTable() {
    return 0;
}
