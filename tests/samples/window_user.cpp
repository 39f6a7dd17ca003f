// Uses the window of the display run as a user and other windows would, from another process, and
// closes it. Exit code 1 when it does not come or does not answer.
#include <windows.h>

#include <cstdio>

namespace {

constexpr DWORD patience = 20000; // milliseconds

HWND find_window() {
    for (DWORD start = GetTickCount(); GetTickCount() - start < patience; Sleep(20))
        if (const HWND window = FindWindowA("Q32BaseSample", nullptr))
            return window;
    return nullptr;
}

bool send(HWND window, UINT message, WPARAM wide = 0) {
    DWORD_PTR result = 0;
    return SendMessageTimeoutA(window, message, wide, 0, SMTO_NORMAL, patience, &result) != 0;
}

} // namespace

int main() {
    const HWND window = find_window();
    const auto other = reinterpret_cast<WPARAM>(GetDesktopWindow());
    const bool answers = window != nullptr && send(window, WM_CHAR, '3') &&
                         send(window, WM_PALETTECHANGED, other) &&
                         send(window, WM_QUERYNEWPALETTE) && send(window, WM_CHAR, '4') &&
                         UpdateWindow(window) && send(window, WM_CLOSE);
    if (!answers)
        std::fprintf(stderr, "window_user: the window does not answer\n");
    return answers ? 0 : 1;
}
