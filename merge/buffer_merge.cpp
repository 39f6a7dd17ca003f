#include <q32base/merge.h>
int Q32_CALL i32MergeBufToBuf(HBUF32, int, int, HBUF32, HBUF32, const RECT *, int, int) { return 0; }
int Q32_CALL i32MergeRamToBuf(HBUF32, int, int, const void *, const void *, const RECT *, int, int, int, int) { return 0; }
int Q32_CALL i32MergeBufToRam(void *, int, int, int, int, int, HBUF32, HBUF32, const RECT *, int, int) { return 0; }
