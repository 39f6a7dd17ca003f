// The Esc key.
#include <q32comm.h>
#include <windows.h>

int Q32COMM_CALL q32IsEscPressed(void) {
    return GetAsyncKeyState(VK_ESCAPE) != 0;
}
