// A process of another program of the family (holder.cpp): it is told what to do line by line, and
// may be killed at any moment.
#pragma once

#include "tests/frame/sandbox.h"

#include <windows.h>

#include <string>

namespace q32::test {

class OtherProcess {
public:
    // With these arguments after the library and the family's directory.
    explicit OtherProcess(const std::string &arguments,
                          const std::string &family = frame::sandbox_family());
    // One that runs still is killed.
    ~OtherProcess();
    OtherProcess(const OtherProcess &) = delete;
    OtherProcess &operator=(const OtherProcess &) = delete;

    // What it says, or an empty line when it has ended.
    std::string read_line();
    void write_line(const std::string &line);
    // Says a line and waits for the answer.
    std::string ask(const std::string &line) {
        write_line(line);
        return read_line();
    }

    void kill();
    // Lets it end in its own way; gives its exit code.
    DWORD end();

private:
    DWORD wait();

    PROCESS_INFORMATION process_ = {};
    HANDLE input_ = nullptr, output_ = nullptr; // its standard input, which we write, and output
};

} // namespace q32::test
