// Placeholder.
#include <q32base/bars.h>
int Q32_CALL q32CreateGrayBarImage(HBUF32 *, int, int, int, int, int) {
    return 0;
}
int Q32_CALL q32RectDrawGrayBar(HDC, const RECT *, int, int, int) {
    return 0;
}
int Q32_CALL q32CreateHSBBarImage(HBUF32 *, int, int, int) {
    return 0;
}
int Q32_CALL q32RectDrawHSBBar(HDC, const RECT *, int) {
    return 0;
}
int Q32_CALL q32CreateColorBarImage(HBUF32 *, int, int, COLORREF, COLORREF, int, int) {
    return 0;
}
int Q32_CALL q32RectDrawColorBar(HDC, const RECT *, COLORREF, COLORREF, int, int) {
    return 0;
}
