// Uses q32view as a user would, from another process: view_driver STEP...
// Each step is a word, and what belongs to it behind a colon. The first step may be "laboratory":
// all others are then for the window of one, whose area of pictures is the canvas. What a user
// would do is put into the window's queue, where it is done in this order:
//     command:ID            a menu command
//     key:VK                a key
//     wheel:TURN,X,Y        over a point of the canvas
//     drag:X,Y,X,Y          with the left button, from and to a point of the canvas
//     move:X,Y              the pointer over a point of the canvas
//     control:PLACE,VK      a key, in a laboratory's control by its place there, from 0 on
//     bar:BAR,CODE,PLACE    BAR 0 across, 1 down; CODE a SB_ value, PLACE where a thumb is dragged
//     drop:FILE             a file on the window
//     palettes              as if another window's palette had changed the colours
//     press:VK,VK...        real keys, all held down together, for the window in front; it comes
//     there
// Steps that are done when the next begins:
//     keep:FROM,TO          waits for a file, and moves it, replacing an older one
//     told:TEXT, titled:TEXT   waits until the status bar's message, the title begins so
//     says, title           prints them
//     explains:TEXT         waits until a laboratory's text holds that
//     explained             prints that text
//     dialog:FILE           waits for a dialog, names a file in it, and presses its button
//     spoil                 makes the canvas invalid
//     framed:FRAME,LINE     waits until the window has a frame or "none", a status "line" or "none"
//     shown:TEXT            waits until the status bar tells this of the picture's size and zoom
//     clipboard:FILE        saves the picture on the clipboard as a BMP file
//     answer                waits for a message box, prints its text, and closes it
//     size:W,H              of the whole window
//     close                 and waits until the program has ended: Wine waits two seconds for a
//                           window manager to take the window away
//     end                   ends the program at once, if it still answers
// Exit code: 0; 1 when the window does not come, or does not do what is asked of it.
#include <windows.h>

#include <commctrl.h>
#include <shlobj.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr DWORD patience = 20000; // milliseconds

// In a laboratory.
constexpr int laboratory_text = 999, first_control = 1000;

const wchar_t *main_class = L"Q32View", *canvas_class = L"Q32ViewCanvas";
HWND main_window, canvas, status;
DWORD process_id;

int fail(const std::wstring &what) {
    std::fprintf(stderr, "view_driver: %ls (error %lu)\n", what.c_str(), GetLastError());
    return 1;
}

// Asks again and again, for as long as a user would wait.
template <typename Is>
bool wait_for(const Is &is) {
    for (const DWORD start = GetTickCount(); GetTickCount() - start < patience; Sleep(10))
        if (is())
            return true;
    return false;
}

BOOL CALLBACK take_frame(HWND window, LPARAM) {
    wchar_t name[40] = {};
    GetClassNameW(window, name, 40);
    if (std::wcscmp(name, main_class) == 0 && IsWindowVisible(window))
        main_window = window;
    return main_window == nullptr;
}

// Anew each time: a window that is seen while its program ends, or has no parts yet, is none.
bool find_windows() {
    return wait_for([] {
        main_window = canvas = status = nullptr;
        EnumWindows(take_frame, 0);
        if (main_window == nullptr)
            return false;
        canvas = FindWindowExW(main_window, nullptr, canvas_class, nullptr);
        status = FindWindowExW(main_window, nullptr, L"msctls_statusbar32", nullptr);
        return canvas != nullptr && status != nullptr;
    });
}

// For the message, when it has not come.
BOOL CALLBACK list_window(HWND window, LPARAM list) {
    wchar_t name[40] = {};
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    GetClassNameW(window, name, 40);
    *reinterpret_cast<std::wstring *>(list) += L" " + std::wstring(name) + L" of process " +
                                               std::to_wstring(owner) +
                                               (IsWindowVisible(window) ? L"," : L" (hidden),");
    return TRUE;
}

std::wstring windows_that_are_there() {
    std::wstring list;
    EnumWindows(list_window, reinterpret_cast<LPARAM>(&list));
    return list;
}

bool send(HWND window, UINT message, WPARAM wide = 0, LPARAM param = 0) {
    DWORD_PTR result = 0;
    return SendMessageTimeoutW(window, message, wide, param, SMTO_NORMAL, patience, &result) != 0;
}

bool post(HWND window, UINT message, WPARAM wide, LPARAM param) {
    return PostMessageW(window, message, wide, param) != 0;
}

std::vector<int> numbers(const wchar_t *text) {
    std::vector<int> list;
    for (wchar_t *end = nullptr; *text != 0; text = *end != 0 ? end + 1 : end)
        list.push_back(static_cast<int>(std::wcstol(text, &end, 10)));
    return list;
}

// The handle of a drop is good in the window's process only; a block's address is as good there.
bool drop(const std::wstring &path) {
    const size_t name_bytes = (path.size() + 2) * sizeof(wchar_t);
    std::vector<unsigned char> block(sizeof(DROPFILES) + name_bytes);
    DROPFILES header = {};
    header.pFiles = sizeof header;
    header.fWide = TRUE;
    std::memcpy(block.data(), &header, sizeof header);
    std::memcpy(block.data() + sizeof header, path.c_str(), name_bytes - sizeof(wchar_t));
    const HANDLE process = OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_WRITE, FALSE, process_id);
    void *there =
        VirtualAllocEx(process, nullptr, block.size(), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    const bool written =
        there != nullptr && WriteProcessMemory(process, there, block.data(), block.size(), nullptr);
    CloseHandle(process);
    return written && post(main_window, WM_DROPFILES, reinterpret_cast<WPARAM>(there), 0);
}

bool wheel(const std::vector<int> &values) {
    POINT at = {values[1], values[2]};
    ClientToScreen(canvas, &at);
    return post(main_window, WM_MOUSEWHEEL, static_cast<WPARAM>(MAKELONG(0, values[0])),
                MAKELPARAM(at.x, at.y));
}

bool drag(const std::vector<int> &values) {
    return post(canvas, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(values[0], values[1])) &&
           post(canvas, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(values[2], values[3])) &&
           post(canvas, WM_LBUTTONUP, 0, MAKELPARAM(values[2], values[3]));
}

// The pointer itself goes there, too: the system tells of its place again whenever it likes.
bool move(const std::vector<int> &values) {
    POINT at = {values[0], values[1]};
    ClientToScreen(canvas, &at);
    return SetCursorPos(at.x, at.y) &&
           post(canvas, WM_MOUSEMOVE, 0, MAKELPARAM(values[0], values[1]));
}

bool press_in_control(const std::vector<int> &values) {
    const HWND control = GetDlgItem(main_window, first_control + values[0]);
    const WPARAM key = static_cast<WPARAM>(values[1]);
    return control != nullptr && post(control, WM_KEYDOWN, key, 1) &&
           post(control, WM_KEYUP, key, 1);
}

std::wstring text_of(HWND window) {
    wchar_t text[1000] = {};
    SendMessageTimeoutW(window, WM_GETTEXT, 1000, reinterpret_cast<LPARAM>(text), SMTO_NORMAL,
                        patience, nullptr);
    return text;
}

bool print_wide(const wchar_t *text) {
    char bytes[3000] = {};
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, sizeof bytes, nullptr, nullptr);
    return std::printf("%s\n", bytes) > 0;
}

bool print_text(HWND window) {
    return print_wide(text_of(window).c_str());
}

bool wait_for_text(HWND window, const std::wstring &wanted) {
    std::wstring said;
    const bool came = wait_for([&] { return (said = text_of(window)).starts_with(wanted); });
    if (!came)
        std::fprintf(stderr, "view_driver: it says \"%ls\"\n", said.c_str());
    return came;
}

bool close() {
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, process_id);
    const bool ended = post(main_window, WM_CLOSE, 0, 0) &&
                       WaitForSingleObject(process, patience) == WAIT_OBJECT_0;
    CloseHandle(process);
    return ended;
}

bool end() {
    const HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, process_id);
    const bool ended = send(main_window, WM_NULL) && TerminateProcess(process, 0);
    CloseHandle(process);
    return ended;
}

bool keep(const std::wstring &names) {
    const size_t comma = names.find(L',');
    const std::wstring from = names.substr(0, comma), to = names.substr(comma + 1);
    return wait_for(
        [&] { return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0; });
}

// The window in front gets keys where it looks for them. What the display has to tell of that may
// come later, and would then take keys away or let them go: so the window has to stay in front.
bool bring_to_front() {
    constexpr DWORD settled = 300; // milliseconds
    const DWORD thread = GetWindowThreadProcessId(main_window, nullptr);
    DWORD since = GetTickCount();
    return wait_for([&] {
        GUITHREADINFO info = {};
        info.cbSize = sizeof info;
        const bool is_in_front =
            send(main_window, WM_NULL) && GetForegroundWindow() == main_window &&
            GetGUIThreadInfo(thread, &info) &&
            (info.hwndFocus == main_window || (info.flags & GUI_INMENUMODE) != 0);
        if (is_in_front)
            return GetTickCount() - since >= settled;
        SetForegroundWindow(main_window);
        since = GetTickCount();
        return false;
    });
}

// Keys as they come from a keyboard.
bool press(const std::vector<int> &keys) {
    if (!bring_to_front())
        return false;
    std::vector<INPUT> inputs;
    const auto add = [&inputs](int key, DWORD flags) {
        INPUT input = {};
        input.type = INPUT_KEYBOARD;
        input.ki.wVk = static_cast<WORD>(key);
        input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(static_cast<UINT>(key), MAPVK_VK_TO_VSC));
        const bool is_extended = key >= VK_PRIOR && key <= VK_DOWN;
        input.ki.dwFlags = flags | (is_extended ? KEYEVENTF_EXTENDEDKEY : 0);
        inputs.push_back(input);
    };
    for (const int key : keys)
        add(key, 0);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key)
        add(*key, KEYEVENTF_KEYUP);
    const auto count = static_cast<UINT>(inputs.size());
    return SendInput(count, inputs.data(), sizeof(INPUT)) == count;
}

// A bitmap file is a header before what lies on the clipboard.
bool save_clipboard(const std::wstring &path) {
    if (!send(main_window, WM_NULL) || !OpenClipboard(nullptr))
        return false;
    const HANDLE block = GetClipboardData(CF_DIB);
    const void *bitmap = block != nullptr ? GlobalLock(block) : nullptr;
    bool saved = false;
    if (bitmap != nullptr) {
        const auto bytes = static_cast<DWORD>(GlobalSize(block));
        BITMAPFILEHEADER header = {};
        header.bfType = 0x4D42; // "BM"
        header.bfOffBits = sizeof header + sizeof(BITMAPINFOHEADER);
        header.bfSize = static_cast<DWORD>(sizeof header) + bytes;
        const HANDLE file =
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD written = 0;
        saved = WriteFile(file, &header, sizeof header, &written, nullptr) &&
                WriteFile(file, bitmap, bytes, &written, nullptr);
        CloseHandle(file);
        GlobalUnlock(block);
    }
    CloseClipboard();
    return saved;
}

// Real keys come after what is posted: waits until what they do is to be seen.
bool wait_for_frame(const std::wstring &wanted) {
    return wait_for([&] {
        const bool caption = (GetWindowLongW(main_window, GWL_STYLE) & WS_CAPTION) != 0;
        const bool line = IsWindowVisible(status) != 0;
        return send(main_window, WM_NULL) &&
               (caption ? L"frame," : L"none,") + std::wstring(line ? L"line" : L"none") == wanted;
    });
}

// What the status bar says of the picture. It writes its text into the memory of its own process.
bool wait_for_picture_text(const std::wstring &wanted) {
    constexpr WPARAM picture_part = 1;
    wchar_t text[200] = {};
    const HANDLE process = OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ, FALSE, process_id);
    void *there =
        VirtualAllocEx(process, nullptr, sizeof text, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    const bool found = wait_for([&] {
        return send(status, SB_GETTEXTW, picture_part, reinterpret_cast<LPARAM>(there)) &&
               ReadProcessMemory(process, there, text, sizeof text - sizeof *text, nullptr) &&
               text == wanted;
    });
    VirtualFreeEx(process, there, 0, MEM_RELEASE);
    CloseHandle(process);
    return found;
}

HWND dialog;

BOOL CALLBACK take_dialog(HWND window, LPARAM) {
    wchar_t name[40] = {};
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    GetClassNameW(window, name, 40);
    if (std::wcscmp(name, L"#32770") == 0 && IsWindowVisible(window) && owner == process_id)
        dialog = window;
    return dialog == nullptr;
}

bool dialog_comes() {
    return wait_for([] {
        dialog = nullptr;
        EnumWindows(take_dialog, 0);
        return dialog != nullptr;
    });
}

bool use_dialog(const std::wstring &file) {
    constexpr int name_field = 0x47C; // cmb13 of dlgs.h
    HWND field = nullptr;
    return dialog_comes() &&
           wait_for([&] { return (field = GetDlgItem(dialog, name_field)) != nullptr; }) &&
           send(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(file.c_str())) &&
           post(dialog, WM_COMMAND, IDOK, 0);
}

BOOL CALLBACK print_child(HWND window, LPARAM) {
    wchar_t name[40] = {};
    GetClassNameW(window, name, 40);
    if (std::wcscmp(name, L"Static") == 0 && !text_of(window).empty())
        print_text(window);
    return TRUE;
}

bool answer() {
    if (!dialog_comes())
        return false;
    EnumChildWindows(dialog, print_child, 0);
    return post(dialog, WM_COMMAND, IDOK, 0);
}

bool take_step(const std::wstring &word, const std::wstring &value) {
    if (word == L"drop")
        return drop(value);
    if (word == L"clipboard")
        return save_clipboard(value);
    if (word == L"framed")
        return wait_for_frame(value);
    if (word == L"shown")
        return wait_for_picture_text(value);
    if (word == L"answer")
        return answer();
    if (word == L"dialog")
        return use_dialog(value);
    if (word == L"keep")
        return keep(value);
    if (word == L"told")
        return wait_for_text(status, value);
    if (word == L"titled")
        return wait_for_text(main_window, value);
    if (word == L"says")
        return print_text(status);
    if (word == L"title")
        return print_text(main_window);
    if (word == L"explains")
        return wait_for([&value] {
            const HWND explained = GetDlgItem(main_window, laboratory_text);
            return text_of(explained).find(value) != std::wstring::npos;
        });
    if (word == L"explained")
        return print_text(GetDlgItem(main_window, laboratory_text));
    if (word == L"spoil")
        return InvalidateRect(canvas, nullptr, FALSE) != 0;
    if (word == L"palettes")
        return post(main_window, WM_QUERYNEWPALETTE, 0, 0) &&
               post(main_window, WM_PALETTECHANGED, reinterpret_cast<WPARAM>(GetDesktopWindow()),
                    0);
    if (word == L"close")
        return close();
    if (word == L"end")
        return end();
    const std::vector<int> list = numbers(value.c_str());
    const WPARAM first = static_cast<WPARAM>(list[0]);
    if (word == L"command")
        return post(main_window, WM_COMMAND, first, 0);
    if (word == L"key")
        return post(main_window, WM_KEYDOWN, first, 1) && post(main_window, WM_KEYUP, first, 1);
    if (word == L"press")
        return press(list);
    if (word == L"wheel")
        return wheel(list);
    if (word == L"drag")
        return drag(list);
    if (word == L"move")
        return move(list);
    if (word == L"control")
        return press_in_control(list);
    if (word == L"bar")
        return post(canvas, list[0] == 0 ? WM_HSCROLL : WM_VSCROLL,
                    static_cast<WPARAM>(MAKELONG(list[1], list[2])), 0);
    return word == L"size" && SetWindowPos(main_window, nullptr, 0, 0, list[0], list[1],
                                           SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

} // namespace

int wmain(int count, wchar_t **arguments) {
    const bool is_laboratory = count > 1 && std::wcscmp(arguments[1], L"laboratory") == 0;
    if (is_laboratory) {
        main_class = L"Q32ViewLaboratory";
        canvas_class = L"Q32ViewStage";
    }
    if (!find_windows())
        return fail(L"the window does not come; there are" + windows_that_are_there());
    GetWindowThreadProcessId(main_window, &process_id);
    for (int i = is_laboratory ? 2 : 1; i < count; ++i) {
        const std::wstring step = arguments[i];
        const size_t colon = step.find(L':');
        const std::wstring value = colon == std::wstring::npos ? L"" : step.substr(colon + 1);
        if (!take_step(step.substr(0, colon), value))
            return fail(step);
        std::fflush(stdout);
    }
    return 0;
}
