// Entry point of the DLL.
#include "library/attach/attach.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void *) {
    if (reason == DLL_PROCESS_ATTACH)
        return q32::attach(module);
    if (reason == DLL_PROCESS_DETACH)
        q32::detach();
    return TRUE;
}
