// Two pipes and a process.
#include "tests/storage/other_process.h"

#include "tests/frame/library.h"

#include <gtest/gtest.h>

namespace q32::test {

OtherProcess::OtherProcess(const std::string &arguments, const std::string &family) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE child_input = nullptr, child_output = nullptr;
    CreatePipe(&child_input, &input_, &inherited, 0);
    CreatePipe(&output_, &child_output, &inherited, 0);
    SetHandleInformation(input_, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(output_, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = child_input;
    startup.hStdOutput = child_output;
    startup.hStdError = child_output;
    char own[MAX_PATH];
    GetModuleFileNameA(nullptr, own, sizeof own);
    const std::string path = own;
    std::string command = path.substr(0, path.find_last_of('\\') + 1) + "holder.exe \"" +
                          frame::library_path() + "\" \"" + family + "\\\" " + arguments;
    EXPECT_TRUE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                               &startup, &process_));
    CloseHandle(child_input);
    CloseHandle(child_output);
}

OtherProcess::~OtherProcess() {
    if (process_.hProcess != nullptr)
        kill();
}

std::string OtherProcess::read_line() {
    std::string line;
    char character = 0;
    DWORD read = 0;
    while (ReadFile(output_, &character, 1, &read, nullptr) && read == 1 && character != '\n')
        if (character != '\r')
            line += character;
    return line;
}

void OtherProcess::write_line(const std::string &line) {
    const std::string ended = line + '\n';
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(input_, ended.data(), DWORD(ended.size()), &written, nullptr));
}

void OtherProcess::kill() {
    EXPECT_TRUE(TerminateProcess(process_.hProcess, 9));
    EXPECT_EQ(wait(), 9u);
}

DWORD OtherProcess::end() {
    CloseHandle(input_);
    input_ = nullptr;
    return wait();
}

DWORD OtherProcess::wait() {
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, 20000), DWORD(WAIT_OBJECT_0));
    DWORD code = 0;
    GetExitCodeProcess(process_.hProcess, &code);
    for (HANDLE handle : {process_.hProcess, process_.hThread, input_, output_})
        if (handle != nullptr)
            CloseHandle(handle);
    process_ = {};
    input_ = output_ = nullptr;
    return code;
}

} // namespace q32::test
