// Placeholder.
#include <q32base/display.h>
int Q32_CALL disp32ShowInit(HDISPRUN *, HDC, int, int, int, int, int, HPALETTE, int, int) {
    return 0;
}
int Q32_CALL disp32ShowInitEx(HDISPRUN *, HDC, int, int, int, int, int, HPALETTE, int, int, int,
                              int) {
    return 0;
}
int Q32_CALL disp32ShowData(HDISPRUN, const void *, int, int, int, int) {
    return 0;
}
int Q32_CALL disp32ShowEnd(HDISPRUN) {
    return 0;
}
int Q32_CALL disp32SetAttrib(HDISPRUN, int, int) {
    return 0;
}
