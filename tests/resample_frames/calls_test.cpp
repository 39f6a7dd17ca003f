// Calls for frames as they come: every size and method at random against the model, tables kept and
// built again, the header meanwhile, threads, and stacks that are not aligned.
#include "tests/resample_frames/frame_fixture.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace q32::test {
namespace {

class FrameCalls : public FrameTest {};

FrameCall random_call(Random &random) {
    FrameCall call;
    call.bits = 8 * between(random, 1, 4);
    const auto side = [&] { return between(random, 1, 1 << between(random, 0, 7)); };
    call.width = side();
    call.height = side();
    call.to_width = side();
    call.to_height = side();
    call.method = random.below(8) == 0 ? between(random, -1, 9) : 1 << between(random, 0, 2);
    call.nearest = random.below(6) == 0 ? between(random, 0, 2) : 0;
    call.record = random.below(2) == 0;
    call.record_method = random.below(4) == 0 ? between(random, 0, 5) : call.method;
    return call;
}

TEST_F(FrameCalls, AreAsTheModelSays) {
    bool frames = false, coefficients = false;
    random_cases(2000, [&](Random &random, std::uint64_t number) {
        const FrameCall call = random_call(random);
        frames |= !call.record;
        coefficients |= call.method == RESAMPLE_BICUBIC && call.nearest != 1;
        EXPECT_TRUE(agrees(call, random)) << rerun(number);
        return !HasFailure();
    });
    expect_kept_tables(frames, coefficients);
}

// Every width of both frames up to a vector and more, so every padding.
TEST_F(FrameCalls, OfEveryWidth) {
    Random random(test_seed(), 1);
    for (int width = 1; width <= 70; ++width)
        for (const int bits : frame_depths)
            for (const int method : {1, 2, 4}) {
                const FrameCall from{bits, width, 3, 37, 4, method};
                ASSERT_TRUE(agrees(from, random));
                const FrameCall to{bits, 37, 3, width, 4, method};
                ASSERT_TRUE(agrees(to, random));
            }
    expect_kept_tables(true, true);
}

TEST_F(FrameCalls, OfExtremeRatios) {
    Random random(test_seed(), 2);
    for (const int bits : frame_depths)
        for (const int method : {1, 2, 4}) {
            ASSERT_TRUE(agrees({bits, 1, 1, 300, 200, method}, random));
            ASSERT_TRUE(agrees({bits, 300, 200, 1, 1, method}, random));
            ASSERT_TRUE(agrees({bits, 640, 2, 20, 64, method}, random));
            ASSERT_TRUE(agrees({bits, 20, 64, 640, 2, method}, random));
            ASSERT_TRUE(agrees({bits, 5000, 1, 4999, 1, method}, random));
            ASSERT_TRUE(agrees({bits, 1, 5000, 1, 5001, method}, random));
            ASSERT_TRUE(agrees({bits, 301, 211, 301, 211, method}, random));
            ASSERT_TRUE(agrees({bits, 320, 240, 500, 375, method}, random));
        }
    expect_kept_tables(true, true);
}

// After the coefficient table's end too.
TEST_F(FrameCalls, AfterTheCoefficientTablesEnd) {
    Random random(test_seed(), 3);
    EXPECT_SUCCESS(resample_bicubic_frame());
    EXPECT_SUCCESS(api().q32FreeBiCubicTable());
    for (int i = 0; i < 50; ++i) {
        FrameCall call = random_call(random);
        call.method = RESAMPLE_BICUBIC;
        ASSERT_TRUE(agrees(call, random));
    }
    expect_kept_tables(true, false);
}

// --- tables without a record -----------------------------------------------------------------

// Required: what the tables were made for is not remembered in full, so that they never fit.
TEST_F(FrameCalls, WithoutARecordMakeTheirTablesAnew) {
    for (const int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC}) {
        row_of_bytes({0, 100}, 4, method);
        for (int i = 0; i < 3; ++i) {
            const GlobalAllocations allocations;
            const FailingCall frees("GlobalFree", 0);
            row_of_bytes({0, 100}, 4, method);
            EXPECT_EQ(allocations.of_bytes(4 * 4 + 8), 2);
            EXPECT_EQ(allocations.of_bytes(1 * 4 + 8), 2);
            EXPECT_GE(frees.calls(), 4);
            expect_kept_tables(true, method == RESAMPLE_BICUBIC);
        }
    }
}

TEST_F(FrameCalls, WithARecordMakeNoTables) {
    const BITMAPINFOHEADER header = header_of(3, 3, 8);
    for (const int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC}) {
        Record made(header, 50, 50, method);
        BITMAPINFOHEADER same = header;
        const Bytes source(12, 9);
        Bytes destination(52 * 50);
        const GlobalAllocations allocations;
        EXPECT_SUCCESS(api().vcResampleEx(0, source.data(), &same, destination.data(), 50, 50,
                                          method, &made.record));
        EXPECT_EQ(allocations.of_bytes(50 * 4 + 8), 0);
    }
    expect_kept_tables(false, true);
}

// --- the header meanwhile --------------------------------------------------------------------

// What the bit count says whenever the library asks for memory.
std::vector<int> bit_counts_during(int bits, int method, int nearest, VCRESAMPLE *record) {
    BITMAPINFOHEADER header = header_of(20, 30, bits);
    const Bytes source(frame_bytes(20, 30, bits), 9);
    Bytes destination(frame_bytes(33, 11, bits));
    std::vector<int> counts;
    {
        const Replaced<frame::call::GlobalAlloc> watch([&](UINT flags, SIZE_T bytes) {
            counts.push_back(header.biBitCount);
            return ::GlobalAlloc(flags, bytes);
        });
        EXPECT_SUCCESS(api().vcResampleEx(nearest, source.data(), &header, destination.data(), 33,
                                          11, method, record));
    }
    EXPECT_EQ(header.biBitCount, bits);
    return counts;
}

TEST_F(FrameCalls, OfWordsSay24InTheHeaderMeanwhile) {
    for (const int method : {RESAMPLE_BILINEAR, RESAMPLE_BICUBIC, 0})
        for (const int nearest : {0, 1}) {
            std::vector<int> counts = bit_counts_during(16, method, nearest, nullptr);
            ASSERT_GE(counts.size(), 6u); // copies, tables, work rows
            EXPECT_EQ(counts.front(), 16);
            // From the tables on.
            EXPECT_TRUE(std::all_of(counts.end() - 5, counts.end(), [](int count) {
                return count == 24;
            })) << testing::PrintToString(counts);
        }
    for (const int bits : frame_depths)
        for (const int count : bit_counts_during(bits, RESAMPLE_NEAREST, 0, nullptr))
            EXPECT_EQ(count, bits);
    expect_kept_tables(true, true);
}

// --- threads ---------------------------------------------------------------------------------

// Expectations are the main thread's: a worker only counts what went wrong.
class Worker {
public:
    explicit Worker(std::uint64_t number) {
        Random random(test_seed(), 100 + number);
        for (int i = 0; i < 12; ++i) {
            Job job;
            job.call = random_call(random);
            job.call.method = 1 << (i % 3);
            job.call.record = true;
            job.call.record_method = job.call.method;
            const FrameCall &c = job.call;
            job.header = header_of(c.width, c.height, c.bits);
            job.source = some_frame(random, frame_bytes(c.width, c.height, c.bits));
            job.start = Bytes(frame_bytes(c.to_width, c.to_height, c.bits), 0x77);
            job.expected = resampled_frame(c, job.source, job.start);
            jobs_.push_back(job);
        }
    }
    void work() {
        for (int round = 0; round < 20; ++round)
            for (Job &job : jobs_) {
                const FrameCall &c = job.call;
                VCRESAMPLE record{&job.header, c.to_width, c.to_height, c.method,
                                  nullptr,     nullptr,    nullptr,     nullptr};
                failures_ += api().vcResampleInit(&record) != 1;
                Bytes made = job.start;
                failures_ +=
                    api().vcResampleEx(c.nearest, job.source.data(), &job.header, made.data(),
                                       c.to_width, c.to_height, c.method, &record) != 1;
                failures_ += made != job.expected;
                api().vcResampleEnd(&record);
            }
    }
    int failures() const { return failures_; }

private:
    struct Job {
        FrameCall call;
        BITMAPINFOHEADER header;
        Bytes source, start, expected;
    };
    std::vector<Job> jobs_;
    int failures_ = 0;
};

TEST_F(FrameCalls, OfThreadsWithTheirOwnRecords) {
    std::vector<Worker> workers;
    for (std::uint64_t number = 0; number < 4; ++number)
        workers.emplace_back(number);
    std::vector<std::thread> threads;
    for (Worker &worker : workers)
        threads.emplace_back([&worker] { worker.work(); });
    for (std::thread &thread : threads)
        thread.join();
    for (const Worker &worker : workers)
        EXPECT_EQ(worker.failures(), 0);
    EXPECT_EQ(frame::reports(), std::vector<Failure>{});
    expect_kept_tables(false, true);
}

// All of them want the coefficient table first: there is one in the end.
TEST_F(FrameCalls, OfThreadsThatMeetAtTheCoefficientTable) {
    const BITMAPINFOHEADER header = header_of(2, 1, 8);
    for (int round = 0; round < 10; ++round) {
        SetUp();
        std::atomic<int> waiting{0}, failures{0};
        const auto work = [&] {
            BITMAPINFOHEADER own = header;
            VCRESAMPLE record{&own, 4, 1, RESAMPLE_BICUBIC, nullptr, nullptr, nullptr, nullptr};
            failures += api().vcResampleInit(&record) != 1;
            const std::uint8_t source[] = {0, 100, 9, 9};
            std::uint8_t made[4] = {};
            ++waiting;
            while (waiting != 4) {
            }
            failures +=
                api().vcResampleEx(0, source, &own, made, 4, 1, RESAMPLE_BICUBIC, &record) != 1;
            failures += std::memcmp(made, "\x00\x35\x64\x69", 4) != 0;
            api().vcResampleEnd(&record);
        };
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(work);
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(failures, 0);
        expect_kept_tables(false, true);
    }
}

} // namespace
} // namespace q32::test
