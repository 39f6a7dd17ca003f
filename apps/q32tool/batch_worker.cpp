// A thread reads the requests, so that the end of the input is noticed while a picture is in work.
#include "batch_worker.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/picture_check.h"
#include "apps/pictures/text.h"
#include "commands/commands.h"
#include "file_kind.h"
#include "interrupt.h"
#include "notes.h"
#include "progress.h"
#include "timings.h"

#include <q32base/buffers.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <thread>

namespace apps::q32tool {
namespace {

// What has come and is not yet worked on.
class Inbox {
public:
    void put(std::optional<Message> message) { // none: no more will come
        const std::lock_guard lock(mutex_);
        messages_.push_back(std::move(message));
        change_.notify_one();
    }
    std::optional<Message> take() {
        std::unique_lock lock(mutex_);
        change_.wait(lock, [this] { return !messages_.empty(); });
        std::optional<Message> message = std::move(messages_.front());
        messages_.pop_front();
        return message;
    }

private:
    std::mutex mutex_;
    std::condition_variable change_;
    std::deque<std::optional<Message>> messages_;
};

// Of several processes each may take its part.
void share_memory(uint32_t processes) {
    size_t limit = 0;
    uint32_t enabled = 0;
    buf32VMData(0, &limit, nullptr, nullptr, &enabled, nullptr);
    if (!enabled || limit == BUF32_NO_LIMIT)
        return;
    limit /= processes;
    buf32VMData(1, &limit, nullptr, nullptr, &enabled, nullptr);
}

std::optional<uint64_t> time_of_change(const std::string &path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(to_wide(native_path(path)).c_str(), GetFileExInfoStandard, &data))
        return std::nullopt;
    return uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32 | data.ftLastWriteTime.dwLowDateTime;
}

bool is_whole(const std::string &path) {
    try {
        return kind_of_file(path) == format_of_name(path) &&
               check_completeness(to_wide(native_path(path)), path) == Completeness::complete;
    } catch (const Failure &) {
        return false; // it will be seen why when it is written
    }
}

bool is_done(const Command &command, const Request &request) {
    const std::optional<uint64_t> made = time_of_change(request.input);
    const std::vector<std::string> files = files_written(command, request.output);
    return made && std::all_of(files.begin(), files.end(), [&](const std::string &file) {
               const std::optional<uint64_t> written = time_of_change(file);
               return written && *written > *made && is_whole(file);
           });
}

// The line that single use would print, and which picture it is about.
std::string line_about(const Request &request, const std::string &line) {
    const bool names_it =
        line.starts_with(request.input) ||
        (!request.output.empty() && line.find(request.output) != std::string::npos);
    return "q32tool: " + (names_it ? line : request.input + ": " + line) + "\n";
}

Outcome run(const Command &command, const Request &request) {
    try {
        command.run(Arguments(command, request.words));
        return Outcome::done;
    } catch (const Cancelled &) {
        return Outcome::cancelled;
    } catch (const std::bad_alloc &) {
        print_error(line_about(request, "not enough memory; try --storage file or fewer --jobs"));
    } catch (const std::exception &error) {
        print_error(line_about(request, error.what()));
    }
    return Outcome::failed;
}

Answer answer_to(const Request &request) {
    Answer answer;
    const Command &command = command_of(request.command);
    if (request.resume && is_done(command, request)) {
        answer.outcome = Outcome::was_done;
        return answer;
    }
    change_printed([&answer](StandardStream stream, std::string_view text) {
        (stream == StandardStream::output ? answer.printed : answer.errors) += text;
        return std::string();
    });
    timings() = {};
    answer.outcome = run(command, request);
    say_notes(request.quiet || answer.outcome != Outcome::done);
    answer.timings.assign(reinterpret_cast<const char *>(&timings()), sizeof(Timings));
    change_printed({});
    return answer;
}

void work(const Arguments &arguments) {
    HANDLE requests = GetStdHandle(STD_INPUT_HANDLE), answers = GetStdHandle(STD_OUTPUT_HANDLE);
    share_memory(parse_number<uint32_t>(arguments.operand(0)).value_or(1));
    set_progress(ShowProgress::never);
    static Inbox inbox; // for the thread, which is ended with the process
    std::thread([requests] {
        while (std::optional<Message> message = receive(requests))
            inbox.put(std::move(message));
        request_cancel();
        inbox.put(std::nullopt);
    }).detach();
    while (const std::optional<Message> message = inbox.take())
        if (!send(answers, answer_to(Request(*message)).message()))
            return;
}

} // namespace

const Command batch_worker_command = {
    .name = "batch-worker",
    .operands = {"PROCESSES"},
    .summary = "work on pictures of a batch",
    .description = "q32tool starts this by itself for commands of many pictures.",
    .options = {},
    .run = work,
};

Message Request::message() const {
    Message all = {std::string(resume ? "r" : "") + (quiet ? "q" : ""), input, output, command};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

Request::Request(const Message &message)
    : resume(message.at(0).find('r') != std::string::npos),
      quiet(message.at(0).find('q') != std::string::npos), input(message.at(1)),
      output(message.at(2)), command(message.at(3)), words(message.begin() + 4, message.end()) {}

Message Answer::message() const {
    return {std::to_string(static_cast<int>(outcome)), printed, errors, timings};
}

Answer::Answer(const Message &message)
    : outcome(static_cast<Outcome>(parse_number<int>(message.at(0)).value_or(0))),
      printed(message.at(1)), errors(message.at(2)), timings(message.at(3)) {}

std::vector<std::string> files_written(const Command &command, const std::string &output) {
    if (output.empty())
        return {};
    return command.outputs != nullptr ? command.outputs(output) : std::vector{output};
}

} // namespace apps::q32tool
