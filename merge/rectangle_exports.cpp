#include <q32base/merge.h>
int Q32_CALL i32MergeEx(void *, int, int, const void *, const RECT *, const void *, const RECT *, int, int, int) { return 0; }
int Q32_CALL i32MergeRamToRam(void *, int, int, int, int, int, const void *, const void *, int, int, RECT, int, int) { return 0; }
