// Bitmap buffers.
#include "buffer/bitmaps.h"

namespace q32::buffer {

int allocate_bitmap(HBUF32 *, HGLOBAL) {
    return 0;
}
void build_row_addresses(Record &) {}
bool copy_bitmap(Record &, const Record &) {
    return false;
}
void release_bitmap(Record &) {}

} // namespace q32::buffer

int Q32_CALL buf32DIBBufAlloc(HBUF32 *, HGLOBAL) {
    return 0;
}
int Q32_CALL buf32DIBMemBufAlloc(HBUF32 *, int, int, int, void *) {
    return 0;
}
int Q32_CALL buf32DIBToDIBBuf(HBUF32) {
    return 0;
}
HGLOBAL Q32_CALL buf32DIBBufToDIB(HBUF32) {
    return nullptr;
}
int Q32_CALL buf32DIBBufFree(HBUF32, HGLOBAL *) {
    return 0;
}
