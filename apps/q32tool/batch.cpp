// A thread for each worker hands it one picture after another. The main thread tells of what has
// come of them, and looks out for the user who wants to stop.
#include "batch.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/files.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/pictures/unfinished_file.h"
#include "batch_plan.h"
#include "interrupt.h"
#include "picture_pipes.h"
#include "progress.h"
#include "timings.h"
#include "worker_process.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace apps::q32tool {
namespace {

using namespace std::chrono_literals;

class Batch {
public:
    Batch(const Command &command, BatchPlan plan)
        : command_(command), plan_(std::move(plan)), workers_(plan_.processes) {}

    // Until all pictures are through, or the user wants to stop.
    void run();

    size_t count() const { return plan_.pictures.size(); }
    size_t of(Outcome outcome) const { return counts_[static_cast<size_t>(outcome)]; }
    std::string summary() const;

private:
    void work(size_t lane);
    std::optional<size_t> next_picture();
    Answer attempt(size_t lane, const Request &request);
    std::shared_ptr<WorkerProcess> worker_of(size_t lane);
    Answer death_of(size_t lane, const Request &request);
    void stop_workers();

    void watch();
    void tell_all();
    void tell(const Answer &answer);
    void show_progress();

    using Clock = std::chrono::steady_clock;

    const Command &command_;
    const BatchPlan plan_;

    std::mutex mutex_; // of all up to the next empty line
    std::condition_variable change_;
    std::vector<std::shared_ptr<WorkerProcess>> workers_;
    std::map<size_t, Answer> answers_; // that are not told yet, by picture
    size_t next_ = 0;
    size_t ended_lanes_ = 0;
    bool stopped_ = false;

    size_t counts_[4] = {};
    size_t told_ = 0; // pictures whose answers stand on standard output, in the order of the inputs
    std::map<size_t, std::string> printed_; // what is to stand there later
    Clock::time_point next_draw_ = Clock::now() + 500ms;
};

std::optional<size_t> Batch::next_picture() {
    const std::lock_guard lock(mutex_);
    return stopped_ || next_ == plan_.pictures.size() ? std::nullopt : std::optional(next_++);
}

std::shared_ptr<WorkerProcess> Batch::worker_of(size_t lane) {
    std::shared_ptr<WorkerProcess> worker;
    {
        const std::lock_guard lock(mutex_);
        worker = workers_[lane];
    }
    if (worker)
        return worker;
    worker = std::make_shared<WorkerProcess>(plan_.processes);
    const std::lock_guard lock(mutex_);
    if (stopped_)
        worker->stop();
    return workers_[lane] = worker;
}

// The next picture gets another worker. What this one had begun is removed in its place.
Answer Batch::death_of(size_t lane, const Request &request) {
    std::shared_ptr<WorkerProcess> worker;
    Answer answer;
    {
        const std::lock_guard lock(mutex_);
        worker = std::move(workers_[lane]);
        workers_[lane] = nullptr;
        answer.outcome = stopped_ ? Outcome::cancelled : Outcome::failed;
    }
    const DWORD process = worker->id();
    worker.reset(); // waits for its end
    for (const std::string &file : files_written(command_, request.output))
        DeleteFileW(unfinished_path(to_wide(native_path(file)), process).c_str());
    if (answer.outcome == Outcome::failed)
        answer.errors = "q32tool: " + request.input +
                        ": the process that worked on this picture ended; try it alone\n";
    return answer;
}

Answer Batch::attempt(size_t lane, const Request &request) {
    try {
        const std::shared_ptr<WorkerProcess> worker = worker_of(lane);
        if (const std::optional<Message> answer = worker->ask(request.message()))
            return Answer(*answer);
    } catch (const Failure &failure) {
        Answer answer;
        answer.errors = "q32tool: " + request.input + ": " + failure.what() + "\n";
        return answer;
    }
    return death_of(lane, request);
}

void Batch::work(size_t lane) {
    while (const std::optional<size_t> picture = next_picture()) {
        Answer answer = attempt(lane, plan_.pictures[*picture]);
        const std::lock_guard lock(mutex_);
        answers_.emplace(*picture, std::move(answer));
        change_.notify_one();
    }
    std::shared_ptr<WorkerProcess> worker;
    {
        const std::lock_guard lock(mutex_);
        worker = std::move(workers_[lane]);
        workers_[lane] = nullptr;
    }
    worker.reset();
    const std::lock_guard lock(mutex_);
    ++ended_lanes_;
    change_.notify_one();
}

void Batch::stop_workers() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    for (const std::shared_ptr<WorkerProcess> &worker : workers_)
        if (worker)
            worker->stop();
}

void Batch::watch() {
    for (bool all_ended = false; !all_ended;) {
        {
            std::unique_lock lock(mutex_);
            change_.wait_for(lock, 50ms);
            all_ended = ended_lanes_ == workers_.size();
        }
        if (is_cancelled())
            stop_workers();
        tell_all();
    }
}

void Batch::run() {
    std::vector<std::thread> lanes;
    for (size_t lane = 0; lane < workers_.size(); ++lane)
        lanes.emplace_back([this, lane] { work(lane); });
    std::exception_ptr error; // standard output may refuse what is told
    try {
        watch();
    } catch (...) {
        error = std::current_exception();
        stop_workers();
    }
    for (std::thread &lane : lanes)
        lane.join();
    clear_progress();
    if (error)
        std::rethrow_exception(error);
}

void Batch::tell_all() {
    std::map<size_t, Answer> answers;
    {
        const std::lock_guard lock(mutex_);
        answers.swap(answers_);
    }
    for (auto &[picture, answer] : answers) {
        tell(answer);
        printed_.emplace(picture, std::move(answer.printed));
    }
    for (auto at = printed_.find(told_); at != printed_.end(); at = printed_.find(++told_)) {
        if (!at->second.empty()) {
            clear_progress();
            print(at->second);
        }
        printed_.erase(at);
    }
    show_progress();
}

void Batch::tell(const Answer &answer) {
    ++counts_[static_cast<size_t>(answer.outcome)];
    if (answer.outcome == Outcome::cancelled)
        request_cancel(); // a console tells all its programs
    if (!answer.errors.empty()) {
        clear_progress();
        print_error(answer.errors);
    }
    if (answer.timings.size() == sizeof(Timings)) {
        Timings others;
        std::memcpy(&others, answer.timings.data(), sizeof others);
        timings().add(others);
    }
}

void Batch::show_progress() {
    const auto now = Clock::now();
    if (!shows_progress() || now < next_draw_)
        return;
    next_draw_ = now + 100ms;
    const size_t through = of(Outcome::done) + of(Outcome::was_done) + of(Outcome::failed);
    draw_progress(
        std::to_string(through) + " of " + counted(count(), "picture") +
        (of(Outcome::failed) == 0 ? "" : ", " + std::to_string(of(Outcome::failed)) + " failed"));
}

std::string Batch::summary() const {
    std::string line =
        counted(count(), "picture") + ": " + std::to_string(of(Outcome::done)) + " done";
    if (const size_t before = of(Outcome::was_done))
        line += ", " + std::to_string(before) + (before == 1 ? " was" : " were") + " done already";
    if (const size_t failed = of(Outcome::failed))
        line += ", " + std::to_string(failed) + " failed";
    return line;
}

void make_folder(const BatchPlan &plan) {
    if (plan.makes_folder && !CreateDirectoryW(to_wide(native_path(plan.folder)).c_str(), nullptr))
        throw creation_failure(plan.folder, GetLastError());
}

void run_batch(const Command &command, const Arguments &arguments) {
    const BatchPlan plan = plan_batch(command, arguments);
    make_folder(plan);
    Batch batch(command, plan);
    batch.run();
    // A folder that was made for nothing; one that holds something stays.
    if (plan.makes_folder)
        RemoveDirectoryW(to_wide(native_path(plan.folder)).c_str());
    if (is_cancelled())
        throw Cancelled(batch.summary());
    if (batch.of(Outcome::failed) != 0)
        throw std::runtime_error(batch.summary());
    if (!plan.folder.empty() && !arguments.has("--quiet"))
        print(batch.summary() + "\n");
}

} // namespace

void run_on_pictures(const Command &command, const Arguments &arguments) {
    if (is_batch(command, arguments))
        run_batch(command, arguments);
    else
        run_with_pipes(command, arguments);
}

} // namespace apps::q32tool
