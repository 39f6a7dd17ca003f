// Runs a program with a console of its own as standard input, in which keys are typed:
//     tool_console KEYS PROGRAM [ARGUMENT...]
// KEYS are typed before the program starts, and what comes from standard input while it runs. ^ is
// the Esc key, ~ the end of an Esc that was pressed before; all others are letters. Output and
// errors of the program go where those of this one go, followed by a line of the letters that it
// has left in the console. The exit code is the program's, or 99 when there can be no such console.
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int no_console = 99;

int fail(const char *what) {
    std::fprintf(stderr, "tool_console: %s (error %lu)\n", what, GetLastError());
    return no_console;
}

void let_inherit(HANDLE handle) {
    SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
}

INPUT_RECORD key(char character, bool down) {
    const bool escape = character == '^' || character == '~';
    INPUT_RECORD record = {};
    record.EventType = KEY_EVENT;
    record.Event.KeyEvent.bKeyDown = down;
    record.Event.KeyEvent.wRepeatCount = 1;
    record.Event.KeyEvent.wVirtualKeyCode =
        static_cast<WORD>(escape ? VK_ESCAPE : character - 'a' + 'A');
    record.Event.KeyEvent.uChar.UnicodeChar = static_cast<WCHAR>(escape ? 27 : character);
    return record;
}

bool type(HANDLE console, char character) {
    const INPUT_RECORD records[] = {key(character, true), key(character, false)};
    const DWORD skipped = character == '~' ? 1 : 0;
    DWORD written = 0;
    return WriteConsoleInputW(console, records + skipped, 2 - skipped, &written) &&
           written == 2 - skipped;
}

std::string letters_left(HANDLE console) {
    std::string letters;
    DWORD count = 0;
    GetNumberOfConsoleInputEvents(console, &count);
    std::vector<INPUT_RECORD> records(count + 1);
    PeekConsoleInputW(console, records.data(), count + 1, &count);
    for (DWORD i = 0; i < count; ++i)
        if (records[i].EventType == KEY_EVENT && records[i].Event.KeyEvent.bKeyDown)
            letters += static_cast<char>(records[i].Event.KeyEvent.uChar.UnicodeChar);
    return letters;
}

} // namespace

int wmain(int count, wchar_t **arguments) {
    HANDLE typed = GetStdHandle(STD_INPUT_HANDLE);
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    FreeConsole();
    if (count < 3 || !AllocConsole())
        return fail("no console");
    start.hStdInput =
        CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (start.hStdInput == INVALID_HANDLE_VALUE)
        return fail("no input of the console");
    for (const wchar_t *keys = arguments[1]; *keys != 0; ++keys)
        if (!type(start.hStdInput, static_cast<char>(*keys)))
            return fail("no keys can be typed");

    for (HANDLE handle : {start.hStdInput, start.hStdOutput, start.hStdError})
        let_inherit(handle);
    std::wstring line;
    for (int i = 2; i < count; ++i)
        line += L"\"" + std::wstring(arguments[i]) + L"\" ";
    PROCESS_INFORMATION program;
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                        &program))
        return fail("the program cannot be started");
    char character = 0;
    DWORD read = 0;
    while (ReadFile(typed, &character, 1, &read, nullptr) && read == 1)
        type(start.hStdInput, character);
    WaitForSingleObject(program.hProcess, INFINITE);
    DWORD code = no_console;
    GetExitCodeProcess(program.hProcess, &code);
    const std::string left = "left: " + letters_left(start.hStdInput) + "\n";
    DWORD written = 0;
    WriteFile(start.hStdOutput, left.data(), static_cast<DWORD>(left.size()), &written, nullptr);
    return static_cast<int>(code);
}
