#include <q32base/merge.h>
int Q32_CALL i32Merge(void *, const void *, const void *, const void *, int, int, unsigned, int) { return 0; }
