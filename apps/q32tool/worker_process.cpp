// Starting, asking and ending a worker. No job object ends the workers: they notice the end of
// their input, also when the batch's process was killed, and so have the time to remove what they
// began.
#include "worker_process.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/wic.h"
#include "batch_worker.h"

#include <string>

namespace apps::q32tool {
namespace {

constexpr DWORD patience = 10000; // milliseconds

struct Pipe {
    OpenFile reading;
    OpenFile writing;
};

Failure start_failure() {
    return {"batch", "no process can be started: " + system_words(GetLastError()),
            "try fewer --jobs"};
}

Pipe make_pipe() {
    HANDLE reading = nullptr, writing = nullptr;
    if (!CreatePipe(&reading, &writing, nullptr, 0))
        throw start_failure();
    return {OpenFile(reading), OpenFile(writing)};
}

HANDLE inherited(const OpenFile &handle) {
    SetHandleInformation(handle.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return handle.get();
}

std::wstring own_path() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

// A worker that inherited another's pipe would keep it open: one is started at a time, and the ends
// that it gets are closed here before the next one is.
std::mutex one_at_a_time;

} // namespace

WorkerProcess::WorkerProcess(unsigned processes) {
    const std::lock_guard lock(one_at_a_time);
    Pipe requests = make_pipe(), answers = make_pipe();
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = inherited(requests.reading);
    start.hStdOutput = inherited(answers.writing);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    const std::wstring path = own_path();
    std::wstring line =
        L"\"" + path + L"\" " +
        std::wstring(batch_worker_command.name.begin(), batch_worker_command.name.end()) + L" " +
        std::to_wstring(processes);
    // In a group of its own, so that Ctrl-C is for the batch, which then stops its workers.
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(path.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP,
                        nullptr, nullptr, &start, &process))
        throw start_failure();
    CloseHandle(process.hThread);
    process_ = OpenFile(process.hProcess);
    id_ = process.dwProcessId;
    input_ = std::move(requests.writing);
    output_ = std::move(answers.reading);
}

WorkerProcess::~WorkerProcess() {
    stop();
    if (WaitForSingleObject(process_.get(), patience) != WAIT_OBJECT_0) {
        TerminateProcess(process_.get(), exit_failure);
        WaitForSingleObject(process_.get(), patience);
    }
}

std::optional<Message> WorkerProcess::ask(const Message &request) {
    {
        const std::lock_guard lock(input_mutex_);
        if (!input_ || !send(input_.get(), request))
            return std::nullopt;
    }
    return receive(output_.get());
}

void WorkerProcess::stop() {
    const std::lock_guard lock(input_mutex_);
    input_ = {};
}

} // namespace apps::q32tool
