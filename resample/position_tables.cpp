#include "resample/position_tables.h"

#include <q32base/resample.h>

namespace q32::resample {

bool PositionTables::make(SIZE, SIZE, int) {
    return false;
}
void PositionTables::free() {}
void PositionTables::release(std::int32_t *(&)[4]) {}
void free_position_table(std::int32_t *) {}

} // namespace q32::resample

extern "C" {
int Q32_CALL q32InitResampleTable(HBUF32, HBUF32, int, int32_t **, int32_t **, int32_t **,
                                  int32_t **) {
    return 0;
}
int Q32_CALL q32FreeResampleTable(int32_t *, int32_t *, int32_t *, int32_t *) {
    return 0;
}
}
