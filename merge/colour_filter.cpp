#include <q32base/merge.h>
int Q32_CALL i32ColorFilter(void *, const void *, const void *, int, unsigned, const I32COLORFILTER *, int) { return 0; }
