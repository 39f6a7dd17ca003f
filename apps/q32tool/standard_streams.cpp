// Calls that block are made in a thread of their own, which is left behind when the user does not
// want to wait: the program ends then.
#include "standard_streams.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/wic.h"
#include "interrupt.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace apps::q32tool {
namespace {

constexpr size_t piece_bytes = 256 << 10;
constexpr char input_name[] = "standard input", output_name[] = "standard output";

// work owns all that it uses, and may outlive the call.
void wait_for(std::function<void()> work) {
    struct State {
        std::mutex mutex;
        std::condition_variable change;
        bool is_done = false;
        std::exception_ptr error;
    };
    stop_if_cancelled();
    const auto state = std::make_shared<State>();
    std::thread([state, work = std::move(work)] {
        std::exception_ptr error;
        try {
            work();
        } catch (...) {
            error = std::current_exception();
        }
        const std::lock_guard lock(state->mutex);
        state->is_done = true;
        state->error = error;
        state->change.notify_one();
    }).detach();
    std::unique_lock lock(state->mutex);
    while (!state->change.wait_for(lock, std::chrono::milliseconds(50),
                                   [&] { return state->is_done; }))
        stop_if_cancelled();
    if (state->error)
        std::rethrow_exception(state->error);
}

bool is_console(HANDLE stream) {
    DWORD mode = 0;
    return GetConsoleMode(stream, &mode) != 0;
}

// Calls take(bytes, count) for what comes, piece by piece.
template <typename Take>
void read_all(HANDLE input, const Take &take) {
    std::vector<char> piece(piece_bytes);
    DWORD count = 0;
    while (ReadFile(input, piece.data(), static_cast<DWORD>(piece.size()), &count, nullptr) &&
           count > 0)
        take(piece.data(), count);
    if (count > 0 || (GetLastError() != ERROR_BROKEN_PIPE && GetLastError() != ERROR_HANDLE_EOF &&
                      GetLastError() != ERROR_SUCCESS))
        throw Failure(input_name, "it cannot be read: " + system_words(GetLastError()));
}

HANDLE standard_input() {
    HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    if (is_console(input))
        throw Failure(input_name, "this is the keyboard", "send something through a pipe");
    return input;
}

void write_all(HANDLE output, const char *bytes, DWORD count, const std::string &named) {
    while (count > 0) {
        DWORD written = 0;
        if (!WriteFile(output, bytes, count, &written, nullptr))
            throw writing_failure(named, GetLastError());
        if (written == 0)
            throw writing_failure(named, ERROR_DISK_FULL);
        bytes += written;
        count -= written;
    }
}

} // namespace

std::string all_of_standard_input() {
    const auto all = std::make_shared<std::string>();
    wait_for([all, input = standard_input()] {
        SetLastError(ERROR_SUCCESS);
        read_all(input, [&](const char *bytes, DWORD count) { all->append(bytes, count); });
    });
    return std::move(*all);
}

void save_standard_input(const std::wstring &path) {
    wait_for([path, input = standard_input()] {
        const OpenFile file = open_file(path, GENERIC_WRITE, CREATE_ALWAYS);
        if (!file)
            throw creation_failure(input_name, GetLastError());
        SetLastError(ERROR_SUCCESS);
        read_all(input, [&](const char *bytes, DWORD count) {
            write_all(file.get(), bytes, count, input_name);
        });
    });
}

void check_standard_output_takes_pictures() {
    if (is_console(GetStdHandle(STD_OUTPUT_HANDLE)))
        throw Failure(output_name, "this is a console", "name a file or use a pipe");
}

// Opened for writing, too, so that the file can be removed while it is open.
void send_to_standard_output(const std::wstring &path) {
    wait_for([path, output = GetStdHandle(STD_OUTPUT_HANDLE)] {
        const OpenFile file = open_file(path, GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
        std::vector<char> piece(piece_bytes);
        DWORD count = 0;
        while (
            ReadFile(file.get(), piece.data(), static_cast<DWORD>(piece.size()), &count, nullptr) &&
            count > 0)
            write_all(output, piece.data(), count, output_name);
    });
}

} // namespace apps::q32tool
