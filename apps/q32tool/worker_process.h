// A batch's end of a worker (batch_worker.h): the process, and the pipes to and from it.
#pragma once

#include "apps/pictures/files.h"
#include "message_pipe.h"

#include <windows.h>

#include <mutex>
#include <optional>

namespace apps::q32tool {

class WorkerProcess {
public:
    // processes: how many share the memory. Throws Failure.
    explicit WorkerProcess(unsigned processes);
    // The worker ends by itself when its input does; one that does not is ended after a while.
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess &) = delete;
    WorkerProcess &operator=(const WorkerProcess &) = delete;

    DWORD id() const { return id_; }

    // None when the worker has died.
    std::optional<Message> ask(const Message &request);

    // The worker stops what it does, cleans up after itself and ends. From any thread.
    void stop();

private:
    std::mutex input_mutex_;
    OpenFile input_;  // of the worker; none after stop
    OpenFile output_; // of the worker
    OpenFile process_;
    DWORD id_ = 0;
};

} // namespace apps::q32tool
