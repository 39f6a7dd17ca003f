// Several processes and one master file: what a process that is killed leaves behind is removed by
// the next start, while the living are left alone.
#include "tests/storage/storage_fixture.h"

#include <memory>

namespace q32::test {
namespace {

// Another process that holds swap files.
class Holder {
public:
    explicit Holder(int count, const std::string &family = frame::sandbox_family()) {
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
                              frame::library_path() + "\" " + family + ' ' + std::to_string(count);
        EXPECT_TRUE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   nullptr, &startup, &process_));
        CloseHandle(child_input);
        CloseHandle(child_output);
        for (std::string line = read_line(); line != "ready"; line = read_line()) {
            if (line.empty())
                break;
            swap_files.push_back(line);
        }
    }
    ~Holder() {
        if (process_.hProcess != nullptr)
            kill();
    }
    Holder(const Holder &) = delete;
    Holder &operator=(const Holder &) = delete;

    void kill() {
        EXPECT_TRUE(TerminateProcess(process_.hProcess, 9));
        EXPECT_EQ(wait(), 9u);
    }
    // Lets it end in its own way; gives its exit code.
    DWORD end() {
        CloseHandle(input_);
        input_ = nullptr;
        return wait();
    }

    std::vector<std::string> swap_files;

private:
    DWORD wait() {
        EXPECT_EQ(WaitForSingleObject(process_.hProcess, 20000), DWORD(WAIT_OBJECT_0));
        DWORD code = 0;
        GetExitCodeProcess(process_.hProcess, &code);
        for (HANDLE handle : {process_.hProcess, process_.hThread, input_, output_})
            if (handle != nullptr)
                CloseHandle(handle);
        process_ = {};
        return code;
    }
    std::string read_line() {
        std::string line;
        char character = 0;
        DWORD read = 0;
        while (ReadFile(output_, &character, 1, &read, nullptr) && read == 1 && character != '\n')
            if (character != '\r')
                line += character;
        return line;
    }

    PROCESS_INFORMATION process_ = {};
    HANDLE input_ = nullptr, output_ = nullptr;
};

class OtherProcesses : public LibraryTest {
protected:
    static std::string slot(std::size_t n) {
        return text_at(frame::read_file(master_file()), n * slot_bytes);
    }
    static void expect_files(const std::vector<std::string> &paths, bool there) {
        for (const std::string &path : paths)
            EXPECT_EQ(frame::file_exists(path), there) << path;
    }
};

TEST_F(OtherProcesses, AKilledOneIsCleanedUpAfter) {
    Holder holder(3);
    ASSERT_EQ(holder.swap_files.size(), 3u);
    expect_files(holder.swap_files, true);
    const std::string record = slot(0);
    EXPECT_TRUE(is_record_file(record));

    // It lives: this process takes the next slot and touches nothing of the other's.
    start();
    expect_files(holder.swap_files, true);
    EXPECT_EQ(slot(0), record);
    free(allocate(8, 200, 200, BUF32_TILED_FILE));
    EXPECT_TRUE(is_record_file(slot(1)));
    library().detach();
    EXPECT_EQ(slot(0), record);
    EXPECT_EQ(slot(1), "");
    expect_files(holder.swap_files, true);

    holder.kill();
    expect_files(holder.swap_files, true); // nobody has looked yet
    EXPECT_TRUE(frame::file_exists(record));
    start();
    expect_files(holder.swap_files, false);
    EXPECT_FALSE(frame::file_exists(record));
    EXPECT_EQ(slot(0), "");
    stop();
}

TEST_F(OtherProcesses, OneThatEndsRemovesItsFilesItself) {
    Holder holder(3);
    ASSERT_EQ(holder.swap_files.size(), 3u);
    expect_files(holder.swap_files, true);
    const std::string record = slot(0);
    EXPECT_TRUE(frame::file_exists(record));
    EXPECT_EQ(holder.end(), 0u);
    expect_files(holder.swap_files, false);
    EXPECT_FALSE(frame::file_exists(record));
    EXPECT_EQ(slot(0), "");
}

// The system's own loader and a start that fails.
TEST_F(OtherProcesses, ARefusedLoadIsAnError) {
    Holder holder(1, frame::sandbox() + "not_there\\");
    EXPECT_EQ(holder.swap_files.size(), 0u);
    EXPECT_EQ(holder.end(), 3u);
}

TEST_F(OtherProcesses, OnlyTheDeadAreCleanedUpAfter) {
    Holder first(2);
    Holder second(2);
    Holder third(1);
    ASSERT_EQ(first.swap_files.size(), 2u);
    ASSERT_EQ(second.swap_files.size(), 2u);
    ASSERT_EQ(third.swap_files.size(), 1u);
    EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 3u);
    const std::string records[] = {slot(0), slot(1), slot(2)};
    second.kill();
    start();
    expect_files(first.swap_files, true);
    expect_files(second.swap_files, false);
    expect_files(third.swap_files, true);
    EXPECT_EQ(slot(0), records[0]);
    EXPECT_EQ(slot(1), "");
    EXPECT_EQ(slot(2), records[2]);
    // The slot of the dead one is free for us.
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED_FILE);
    EXPECT_TRUE(is_record_file(slot(1)));
    free(buffer);
    library().detach();
    EXPECT_EQ(slot(1), "");
    first.kill();
    third.kill();

    // Not this process but another one cleans up.
    Holder fourth(1);
    ASSERT_EQ(fourth.swap_files.size(), 1u);
    expect_files(first.swap_files, false);
    expect_files(third.swap_files, false);
    EXPECT_EQ(slot(2), "");
    EXPECT_EQ(fourth.end(), 0u);
    EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 0u);
}

} // namespace
} // namespace q32::test
