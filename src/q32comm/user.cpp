// What concerns the person at the machine: the message box and the Esc key.
#include <q32comm.h>
#include <windows.h>

int Q32COMM_CALL c32ShowMb(const char *text, const char *title) {
    if (text == nullptr)
        return 0;
    const UINT style = MB_OK | MB_ICONWARNING | MB_TASKMODAL | MB_SETFOREGROUND;
    return MessageBoxA(nullptr, text, title == nullptr ? "" : title, style) == IDOK;
}

// The highest bit says that the key is down, the lowest that it was pressed since the last poll: a
// press between two polls of a long job counts.
int Q32COMM_CALL q32IsEscPressed(void) {
    return (GetAsyncKeyState(VK_ESCAPE) & 0x8001) != 0;
}
