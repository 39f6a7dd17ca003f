#include "resample/resample.h"

#include <q32base/resample.h>

extern "C" {
int Q32_CALL q32BufferResample(const SIZE *, HBUF32, HBUF32 *, const RESAMPLEPROGRESS *) {
    return 0;
}
int Q32_CALL q32BufferResampleEx(const SIZE *, HBUF32, HBUF32 *, const RESAMPLEPROGRESS *, int,
                                 int) {
    return 0;
}
}
