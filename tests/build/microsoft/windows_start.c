/* Where a program begins that has WinMain instead of main. */
#include <stdlib.h>
#include <windows.h>

void mainCRTStartup(void);

int main(void) {
    return WinMain(GetModuleHandleA(NULL), NULL, GetCommandLineA(), SW_SHOWDEFAULT);
}

void WinMainCRTStartup(void) {
    mainCRTStartup();
}
