// Every scenario of allocation and locking with every system call failing once: the first call of
// a kind, the second, and so on. Whatever fails, nothing is left behind.
#include "tests/buffer/buffer_fixture.h"

#include <functional>

namespace q32::test {
namespace {

class FailureSweep : public BufferTest {};

constexpr uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};

// A scenario returns whether all of it succeeded; it gives back what it has made.
using Scenario = std::function<bool()>;

class Made {
public:
    Made(int bits, int width, int height, uint32_t type, const void *extra = nullptr) {
        HBUF32 handle = 0x5A5A5A5A;
        if (api().buf32Alloc(&handle, bits, width, height, type, extra) == 1)
            handle_ = handle;
        else
            EXPECT_EQ(handle, 0x5A5A5A5Au);
    }
    ~Made() {
        if (handle_ == 0)
            return;
        while (word(handle_, field_lock_count) > 0)
            EXPECT_EQ(api().buf32Unlock(handle_), 1);
        EXPECT_EQ(api().buf32Free(handle_), 1);
    }
    Made(const Made &) = delete;
    Made &operator=(const Made &) = delete;
    operator HBUF32() const { return handle_; }

private:
    HBUF32 handle_ = 0;
};

struct Case {
    const char *name;
    bool through_file; // memory is not allowed
    Scenario run;
};

// One row in and out, of a buffer that may be null.
bool rows(HBUF32 buffer, int mode_in, int mode_out) {
    if (buffer == 0)
        return false;
    std::vector<uint8_t> row(4096);
    const auto locks = word(buffer, field_lock_count);
    if (api().buf32Lock(buffer, BUF32_READ, nullptr) != 1)
        return false;
    const bool in = api().buf32Line(buffer, 130, mode_in, row.data()) == 1;
    EXPECT_EQ(word(buffer, field_lock_count), locks + 1);
    const bool out = api().buf32Line(buffer, 130, mode_out, row.data()) == 1;
    EXPECT_EQ(word(buffer, field_lock_count), locks + 1);
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
    return in && out;
}

bool write_lock(HBUF32 buffer, int mode) {
    if (buffer == 0)
        return false;
    void *base = &base;
    if (api().buf32Lock(buffer, mode, &base) != 1) {
        EXPECT_EQ(base, nullptr);
        return false;
    }
    EXPECT_NE(base, nullptr);
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
    return true;
}

std::vector<Case> cases() {
    static const uint8_t pixels[4] = {};
    static const BUF32PATTERN pattern{2, 2, pixels};
    static uint8_t image[100] = {};
    static const BUF32MEMORY memory{0, image};
    std::vector<Case> result;
    for (bool file : {false, true}) {
        const auto add = [&](const char *name, Scenario run) {
            result.push_back({name, file, std::move(run)});
        };
        add("tiled", [] { return Made(24, 300, 200, 0) != 0; });
        add("linear", [] { return Made(24, 300, 200, 2) != 0; });
        add("linear, shrinking", [] {
            Made buffer(24, 300, 200, 16);
            return buffer != 0 && api().buf32ReAlloc(buffer, 20) == 1 &&
                   api().buf32ReAlloc(buffer, 200) == 1;
        });
        add("rows as stored", [] { return rows(Made(16, 300, 200, 0), 2, 1); });
        add("rows of bits", [] { return rows(Made(1, 300, 200, 2), 4, 3); });
        add("rows of 565", [] { return rows(Made(16, 300, 200, 0), 6, 5); });
        add("rows of 555", [] { return rows(Made(16, 300, 200, 16), 8, 7); });
        add("one colour, read", [] { return write_lock(Made(24, 300, 200, 1, colour), 1); });
        add("one colour, cell", [] {
            Made buffer(24, 300, 200, 1, colour);
            return buffer != 0 && api().buf32CellLock(buffer, 3, nullptr, nullptr) == 1;
        });
        add("one colour, written", [] { return write_lock(Made(24, 300, 200, 1, colour), 2); });
        add("one colour, overwritten", [] { return write_lock(Made(24, 300, 200, 1, colour), 4); });
        add("one colour, read and written", [] {
            Made buffer(24, 300, 200, 1, colour);
            return write_lock(buffer, 1) && rows(buffer, 2, 1);
        });
        add("two buffers", [] {
            Made first(8, 300, 200, 0), second(8, 200, 300, 0x80000000);
            return first != 0 && second != 0;
        });
    }
    result.push_back({"small", false, [] { return Made(24, 100, 100, 0) != 0; }});
    result.push_back({"memory only", false, [] { return Made(24, 300, 200, 4) != 0; }});
    result.push_back({"one colour", false, [] { return Made(24, 300, 200, 1, colour) != 0; }});
    result.push_back({"pattern", false, [] { return Made(24, 300, 200, 128, &pattern) != 0; }});
    result.push_back({"caller memory", false, [] { return Made(8, 10, 10, 32, &memory) != 0; }});
    result.push_back({"large", false, [] { return Made(8, 32000, 32000, 1, colour) != 0; }});
    return result;
}

// How often a scenario makes each of the calls when nothing fails.
std::map<std::string, int> calls_of(const Case &scenario) {
    return frame::acquiring_calls_of([&] {
        EXPECT_TRUE(scenario.run()) << scenario.name << " without a failure of the system";
        expect_no_report();
    });
}

std::string failure_text(const Case &scenario, const std::string &call, int n) {
    return std::string(scenario.name) + (scenario.through_file ? " (file)" : "") + ", call " +
           std::to_string(n) + " of " + call;
}

TEST_F(FailureSweep, NothingIsLeftBehind) {
    int failures = 0;
    for (const Case &scenario : cases()) {
        set_memory_limit(scenario.through_file ? 1 : 0, 0);
        for (const auto &[call, count] : calls_of(scenario)) {
            for (int n = 1; n <= count; ++n) {
                SCOPED_TRACE(failure_text(scenario, call, n) + " failing");
                const frame::Census before = frame::Census::now();
                {
                    frame::FailingCall failing(call, n);
                    failures += !scenario.run();
                    EXPECT_TRUE(failing.happened());
                }
                EXPECT_EQ(frame::Census::now(), before);
                EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
                EXPECT_EQ(mapped_bytes(), 0u);
                forget_reports();
                if (HasFailure())
                    return;
            }
        }
    }
    EXPECT_GT(failures, 100); // most of these calls cannot be done without
    forget_memory_in_use();   // failed commitments stay counted
}

// The same with every call failing from the n-th on: what is tried instead fails as well.
TEST_F(FailureSweep, NothingIsLeftBehindWhenAllFails) {
    for (const Case &scenario : cases()) {
        set_memory_limit(scenario.through_file ? 1 : 0, 0);
        for (const auto &[call, count] : calls_of(scenario)) {
            for (int n = 1; n <= count; ++n) {
                SCOPED_TRACE(failure_text(scenario, call, n) + " and all after it failing");
                const frame::Census before = frame::Census::now();
                {
                    frame::FailingCall failing(call, n, frame::FailingCall::from_there_on);
                    scenario.run();
                }
                EXPECT_EQ(frame::Census::now(), before);
                EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
                forget_reports();
                if (HasFailure())
                    return;
            }
        }
    }
    forget_memory_in_use();
}

// The process's first swap file brings the record of swap files with it. Whatever fails then, a
// later allocation works, and the end of the library leaves nothing.
TEST_F(FailureSweep, OfTheFirstSwapFile) {
    for (const char *call : acquiring_calls) {
        for (int n = 1;; ++n) {
            SCOPED_TRACE(std::string("call ") + std::to_string(n) + " of " + call + " failing");
            ASSERT_LT(n, 300) << "the allocation never succeeds";
            fresh_library(false);
            bool reached, succeeded;
            {
                frame::FailingCall failing(call, n);
                succeeded = Made(8, 300, 200, BUF32_TILED_FILE) != 0;
                reached = failing.happened();
            }
            EXPECT_TRUE(reached || succeeded);
            EXPECT_TRUE(succeeded || !frame::reports().empty()) << "failed in silence";
            forget_reports();
            expect_no_swap_files();
            EXPECT_EQ(mapped_bytes(), 0u);
            EXPECT_TRUE(Made(8, 300, 200, BUF32_TILED_FILE) != 0);
            expect_no_report();
            if (HasFailure())
                return;
            if (!reached)
                break;
        }
    }
    fresh_library();
}

} // namespace
} // namespace q32::test
