// Entry point of q32comm.dll.
#include "q32comm/recorder.h"
#include "q32comm/reports.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void *process_ends) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        if (!q32::comm::open_reports())
            return FALSE;
        q32::comm::open_recorder();
        break;
    case DLL_THREAD_DETACH:
        q32::comm::forget_thread();
        break;
    case DLL_PROCESS_DETACH:
        q32::comm::close_recorder(process_ends != nullptr);
        // At the end of a process the system takes everything back, and the heap may be locked for
        // ever by a thread that is gone.
        if (process_ends == nullptr)
            q32::comm::close_reports();
        break;
    }
    return TRUE;
}
