#include "resample/resample.h"

#include <q32base/resample.h>

namespace q32::resample {
void free_kept_tables() {}
} // namespace q32::resample

extern "C" {
int Q32_CALL vcResampleInit(VCRESAMPLE *) {
    return 0;
}
int Q32_CALL vcResampleEnd(VCRESAMPLE *) {
    return 0;
}
int Q32_CALL vcResampleEx(int, const void *, BITMAPINFOHEADER *, void *, int, int, int,
                          VCRESAMPLE *) {
    return 0;
}
int Q32_CALL vcResample(int, const void *, BITMAPINFOHEADER *, void *, int, int, int) {
    return 0;
}
}
