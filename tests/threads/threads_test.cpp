// Eight threads that work with the library at once, each on memory, buffers and records of its own,
// beside queues that all of them share. What comes out must be what the same work gives alone.
//
// The threads keep to the rules of the headers. Allocating and freeing buffers, and first writes
// that allocate, are serialised (buffers.h); one thread paints (display.h, bars.h); the tables of
// separation are made before (separation.h); records and headers of frames are each thread's own
// (resample.h); the message queue is made before and deleted behind all of them, and nobody asks
// what is dispatched (queues.h). Whether a report is the thread's own (errors.h) is asked of the
// q32comm.dll that ships.
#include "tests/comm/comm_library.h"
#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/figures.h"
#include "tests/workload/work.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <thread>

namespace q32::test {
namespace {

constexpr int thread_count = 8;
constexpr std::size_t rounds =
    3; // of each thread's pieces; the first area by area, the others at random
constexpr std::chrono::seconds longest{180};

// Ends the program with a message when the threads have not come to their end in time.
class Watchdog {
public:
    Watchdog() : thread_([this] { watch(); }) {}
    ~Watchdog() {
        {
            const std::lock_guard lock(mutex_);
            done_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

private:
    void watch() {
        std::unique_lock lock(mutex_);
        if (changed_.wait_for(lock, longest, [this] { return done_; }))
            return;
        std::printf("threads hang: not done after %d s, seed %llu\n", int(longest.count()),
                    static_cast<unsigned long long>(test_seed()));
        std::fflush(stdout);
        TerminateProcess(GetCurrentProcess(), 3);
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool done_ = false;
    std::thread thread_;
};

// --- reports -------------------------------------------------------------------------------------

// The last report of the calling thread, and the calls that make one.
class OwnReports {
public:
    OwnReports()
        : hook_(frame::shared_library(), "q32comm.dll", "c32SetDLLErrInfo",
                reinterpret_cast<void *>(comm_.c32SetDLLErrInfo)) {}

    // One that fails, and whether its report is there after a while.
    bool fails_as_it_must(Random &random) {
        constexpr int size = 24;
        std::uint8_t bytes[size] = {};
        const int which = between(random, 4, 8);
        comm_.c32ClearDLLErrInfo();
        if (which == 4)
            api().mem32Fill(bytes, bytes, 1, 0);
        else if (which == 5)
            api().mem32Exchange(bytes, nullptr, size);
        else if (which == 6)
            api().mem32ByteInvert(bytes, nullptr, size);
        else if (which == 7)
            api().mem32BitToByte(bytes, nullptr, size);
        else
            api().mem32BitToByteExt(nullptr, bytes, size);
        std::this_thread::yield();
        C32ERRINFO info{};
        const bool reported = comm_.c32GetDLLErrInfo(&info) == 1;
        figures::report(info.message, info.severity, info.module, info.point);
        return reported && info.message == 3200 && info.severity == 0 &&
               info.library == Q32_LIBRARY_NUMBER && info.module == 7 && info.point == which;
    }
    void forget() { comm_.c32ClearDLLErrInfo(); }

private:
    CommLibrary comm_;
    frame::ImportHook hook_;
};

// --- the message queue ---------------------------------------------------------------------------

// What a thread has put into the queue and taken out of it.
class Post {
public:
    explicit Post(std::uint32_t number) : number_(number) {}

    bool send(Random &random) {
        std::uint8_t bytes[12 + 400];
        const std::uint32_t size = 12 + std::uint32_t(random.below(400)), next = sent_++;
        random.fill({bytes, size});
        std::memcpy(bytes, &number_, 4);
        std::memcpy(bytes + 4, &next, 4);
        const std::uint32_t check = check_of(bytes, size);
        std::memcpy(bytes + 8, &check, 4);
        return api().AddQueue(bytes, size) == 1;
    }
    // Nothing, or a message that is whole, and from its sender the next or a later one.
    bool receive() {
        std::uint8_t bytes[12 + 400 + 2];
        const int size = api().GetFromQueue(bytes, 12 + 400);
        if (size == 0)
            return true;
        std::uint32_t from, number, check;
        if (size < 12)
            return false;
        std::memcpy(&from, bytes, 4);
        std::memcpy(&number, bytes + 4, 4);
        std::memcpy(&check, bytes + 8, 4);
        ++received_;
        sum_ += number;
        const bool in_order = from < thread_count && number >= next_[from];
        if (in_order)
            next_[from] = number + 1;
        return in_order && check == check_of(bytes, std::uint32_t(size)) && bytes[size] == 0 &&
               bytes[size + 1] == 0;
    }

    std::uint32_t sent() const { return sent_; }
    std::uint32_t received() const { return received_; }
    std::uint64_t sum() const { return sum_; } // of the numbers of what was received

private:
    // Of all but itself.
    static std::uint32_t check_of(const std::uint8_t *bytes, std::uint32_t size) {
        Digest digest;
        digest.add(bytes, 8);
        digest.add(bytes + 12, size - 12);
        return std::uint32_t(digest.value());
    }

    std::uint32_t number_, sent_ = 0, received_ = 0;
    std::uint64_t sum_ = 0;
    std::uint32_t next_[thread_count] = {};
};

// --- the dispatch queue --------------------------------------------------------------------------

// A job of numbered steps, which any of the threads may make: the library's lock goes round them.
struct Job {
    int begins = 0, next = 0, wrong = 0;
    std::atomic<int> ends = 0;
};

int Q32_CALL job_callback(int message, std::uint32_t, std::intptr_t parameter, std::intptr_t data) {
    Job &job = *reinterpret_cast<Job *>(data);
    if (message == D32_BEGIN)
        ++job.begins;
    else if (message == D32_STEP)
        job.wrong += parameter != job.next++;
    else
        ++job.ends; // nobody touches the job from here on
    return 1;
}

// Adds a job and dispatches, its own steps or those of others, until it has ended.
bool job_is_done(std::uint32_t owner, Random &random) {
    Job job;
    const int steps = between(random, 1, 9);
    const RECT rectangle{0, 0, 10, 10};
    const DispatchDesc description{.value = 0,
                                   .callback = job_callback,
                                   .user_data = reinterpret_cast<std::intptr_t>(&job),
                                   .first = 0,
                                   .last = steps - 1};
    if (api().d32AddQueue(owner, &rectangle, 0, 0, 0, D32_STEPS, &description) != 1)
        return false;
    while (job.ends == 0)
        api().d32DispatchQueue();
    return job.begins == 1 && job.wrong == 0 && job.next == steps && job.ends == 1;
}

// --- the work ------------------------------------------------------------------------------------

struct Piece {
    const Area *area;
    std::uint64_t number;
    std::uint64_t digest = 0; // of the piece alone
};

std::uint64_t digest_of(const Piece &piece, std::uint64_t *cases = nullptr) {
    Random random{test_seed(), piece.number};
    Digest digest;
    piece.area->piece(random, digest);
    if (cases != nullptr)
        *cases += digest.cases();
    return digest.value();
}

// Expectations are the main thread's: a worker only counts.
struct Worker {
    std::uint32_t number = 0;
    std::vector<Piece> pieces;
    std::uint64_t cases = 0, pieces_done = 0;
    int wrong_pixels = 0, wrong_reports = 0, wrong_messages = 0, wrong_jobs = 0, wrong_priority = 0;
    std::set<std::string> wrong_areas;
    std::unique_ptr<Post> post;

    void work(OwnReports &reports) {
        Random random{test_seed() + 1, number};
        const int priority = GetThreadPriority(GetCurrentThread());
        for (std::size_t i = 0; i < rounds * pieces.size(); ++i) {
            const Piece &piece = pieces[i < pieces.size() ? i : random.below(pieces.size())];
            ++pieces_done;
            if (digest_of(piece, &cases) != piece.digest) {
                ++wrong_pixels;
                wrong_areas.insert(piece.area->name + (" " + std::to_string(piece.number)));
            }
            wrong_reports += !reports.fails_as_it_must(random);
            wrong_messages += !post->send(random);
            wrong_messages += !post->receive();
            wrong_jobs += !job_is_done(100 + number, random);
            wrong_priority += GetThreadPriority(GetCurrentThread()) != priority;
        }
        reports.forget();
    }
};

class Threads : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        frame::drop_shared_library();
        frame::reset_comm();
        frame::comm().mmx = GetParam();
        start();
        frame::drop_shared_library(); // the books of swap files are there from now on
        before_ = frame::Census::now();
        start();
    }
    void TearDown() override {
        stop();
        frame::reset_comm();
    }

    void start() {
        frame::shared_library();
        prepare_work();
    }
    // Nothing may be left of all that was done.
    void stop() {
        EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
        frame::shared_library().detach();
        EXPECT_EQ(frame::Census::now(), before_);
        frame::drop_shared_library();
    }

    // The pieces of all threads; painting is the first one's.
    static std::vector<Worker> some_work(std::size_t pieces) {
        std::vector<Worker> workers(thread_count);
        for (std::uint32_t i = 0; i < thread_count; ++i) {
            workers[i].number = i;
            workers[i].post = std::make_unique<Post>(i);
            Random random{test_seed(), i};
            while (workers[i].pieces.size() < pieces) {
                const Area &area = areas()[random.below(areas().size())];
                if (area.mmx == GetParam() && (i == 0 || area.where == Where::any_thread))
                    workers[i].pieces.push_back({&area, random.next() >> 1});
            }
            // All threads are at the same area at the same time in the first round.
            std::stable_sort(workers[i].pieces.begin(), workers[i].pieces.end(),
                             [](const Piece &a, const Piece &b) { return a.area < b.area; });
        }
        return workers;
    }

private:
    frame::Census before_{};
};

INSTANTIATE_TEST_SUITE_P(Mmx, Threads, testing::Bool(),
                         [](const auto &flag) { return flag.param ? "On" : "Off"; });

TEST_P(Threads, DoWhatOneDoesAlone) {
    const Watchdog watchdog;
    std::vector<Worker> workers = some_work(cases_of_the_round(GetParam() ? 300 : 100));
    for (Worker &worker : workers)
        for (Piece &piece : worker.pieces)
            piece.digest = digest_of(piece);
    frame::forget_reports(); // some rectangles meet nothing
    stop();
    start(); // so that what is made at its first use is made among threads

    ASSERT_EQ(api().CreateQueue(7), 1);
    const auto begin = std::chrono::steady_clock::now();
    {
        OwnReports reports;
        std::vector<std::thread> threads;
        for (Worker &worker : workers)
            threads.emplace_back([&] { worker.work(reports); });
        for (std::thread &thread : threads)
            thread.join();
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;

    std::uint64_t pieces = 0, cases = 0, sent = 0, sum = 0, received = 0;
    while (api().IsQueueEmpty() == 0)
        ASSERT_TRUE(workers[0].post->receive());
    for (const Worker &worker : workers) {
        SCOPED_TRACE("thread " + std::to_string(worker.number));
        EXPECT_EQ(worker.wrong_pixels, 0) << testing::PrintToString(worker.wrong_areas);
        EXPECT_EQ(worker.wrong_reports, 0);
        EXPECT_EQ(worker.wrong_messages, 0);
        EXPECT_EQ(worker.wrong_jobs, 0);
        EXPECT_EQ(worker.wrong_priority, 0);
        pieces += worker.pieces_done;
        cases += worker.cases;
        sent += worker.post->sent();
        sum +=
            std::uint64_t(worker.post->sent()) * (worker.post->sent() - 1) / 2 - worker.post->sum();
        received += worker.post->received();
    }
    EXPECT_EQ(received, sent);
    EXPECT_EQ(sum, 0u); // each number once
    EXPECT_EQ(api().DeleteQueue(7), 1);
    EXPECT_EQ(frame::reports(), std::vector<frame::Failure>{});
    std::printf("seed %llu: %d threads, %llu pieces of work with %llu pixels, %llu messages, "
                "%llu jobs in %.1f s\n",
                static_cast<unsigned long long>(test_seed()), thread_count,
                static_cast<unsigned long long>(pieces), static_cast<unsigned long long>(cases),
                static_cast<unsigned long long>(sent), static_cast<unsigned long long>(pieces),
                seconds.count());
    figures::count("pieces of work of eight threads", pieces);
    figures::count("pixels of eight threads", cases);
    figures::count("messages of eight threads", sent);
    figures::count("jobs of eight threads", pieces);
}

} // namespace
} // namespace q32::test
