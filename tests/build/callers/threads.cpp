// Messages between threads that the program starts itself, and reports that belong to their
// threads.
#include "expect.h"

#include <q32base.h>
#include <q32comm.h>

namespace {

const int messages = 1000;

DWORD WINAPI send(void *) {
    for (int i = 0; i < messages; ++i)
        if (!AddQueue(&i, sizeof i))
            return 0;
    buf32Alloc(nullptr, 8, 1, 1, BUF32_TILED, nullptr); // a report of this thread
    return static_cast<DWORD>(c32ClearDLLErrInfo());
}

void messages_arrive_in_order() {
    EXPECT(CreateQueue(7) == 1);
    HANDLE sender = CreateThread(nullptr, 0, send, nullptr, 0, nullptr);
    int received = 0, in_order = 0;
    while (received < messages) {
        struct {
            int number;
            unsigned char zeros[2];
        } message;
        if (GetFromQueue(&message, sizeof message.number) == sizeof message.number)
            in_order += message.number == received++ && !message.zeros[0] && !message.zeros[1];
        else
            Sleep(0);
    }
    DWORD reported = 0;
    EXPECT(WaitForSingleObject(sender, INFINITE) == WAIT_OBJECT_0);
    EXPECT(GetExitCodeThread(sender, &reported) && reported == 1);
    EXPECT(c32GetDLLErrInfo(nullptr) == 0); // none of this thread
    EXPECT(in_order == messages);
    EXPECT(IsQueueEmpty() == 1 && DeleteQueue(7) == 1);
    CloseHandle(sender);
}

} // namespace

int main() {
    messages_arrive_in_order();
    return finish("threads");
}
