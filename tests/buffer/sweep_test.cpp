// Every scenario of allocation and locking with every system call failing once: the first call of
// a kind, the second, and so on until the scenario runs through. Whatever fails, nothing is left
// behind, and a failed call has reported.
#include "tests/buffer/buffer_fixture.h"

#include <functional>

namespace q32::test {
namespace {

class FailureSweep : public BufferTest {};

constexpr uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};

// The calls of the system through which memory and files are had. Those that give something back
// are not among them: nothing can be done about a release that fails.
constexpr const char *acquiring_calls[] = {
    "GlobalAlloc",
    "GlobalReAlloc",
    "GlobalLock",
    "malloc",
    "calloc",
    "VirtualAlloc",
    "CreateFileA",
    "GetTempFileNameA",
    "SetFilePointer",
    "SetFilePointerEx",
    "WriteFile",
    "ReadFile",
    "FlushFileBuffers",
    "CreateFileMappingA",
    "MapViewOfFile",
    "GetVolumeInformationA",
    "GetDiskFreeSpaceA",
    "SetEndOfFile",
};

// A scenario returns whether all of it succeeded; it gives back what it has made.
using Scenario = std::function<bool()>;

class Made {
public:
    Made(int bits, int width, int height, uint32_t type, const void *extra = nullptr) {
        HBUF32 handle = 0x5A5A5A5A;
        if (buf32Alloc(&handle, bits, width, height, type, extra) == 1)
            handle_ = handle;
        else
            EXPECT_EQ(handle, 0x5A5A5A5Au);
    }
    ~Made() {
        if (handle_ == 0)
            return;
        while (word(handle_, field_lock_count) > 0)
            EXPECT_EQ(buf32Unlock(handle_), 1);
        EXPECT_EQ(buf32Free(handle_), 1);
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
    const uint32_t locks = word(buffer, field_lock_count);
    if (buf32Lock(buffer, BUF32_READ, nullptr) != 1)
        return false;
    const bool in = buf32Line(buffer, 130, mode_in, row.data()) == 1;
    EXPECT_EQ(word(buffer, field_lock_count), locks + 1);
    const bool out = buf32Line(buffer, 130, mode_out, row.data()) == 1;
    EXPECT_EQ(word(buffer, field_lock_count), locks + 1);
    EXPECT_EQ(buf32Unlock(buffer), 1);
    return in && out;
}

bool write_lock(HBUF32 buffer, int mode) {
    if (buffer == 0)
        return false;
    void *base = &base;
    if (buf32Lock(buffer, mode, &base) != 1) {
        EXPECT_EQ(base, nullptr);
        return false;
    }
    EXPECT_NE(base, nullptr);
    EXPECT_EQ(buf32Unlock(buffer), 1);
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
            return buffer != 0 && buf32ReAlloc(buffer, 20) == 1 && buf32ReAlloc(buffer, 200) == 1;
        });
        add("rows as stored", [] { return rows(Made(16, 300, 200, 0), 2, 1); });
        add("rows of bits", [] { return rows(Made(1, 300, 200, 2), 4, 3); });
        add("rows of 565", [] { return rows(Made(16, 300, 200, 0), 6, 5); });
        add("rows of 555", [] { return rows(Made(16, 300, 200, 16), 8, 7); });
        add("one colour, read", [] { return write_lock(Made(24, 300, 200, 1, colour), 1); });
        add("one colour, cell", [] {
            Made buffer(24, 300, 200, 1, colour);
            return buffer != 0 && buf32CellLock(buffer, 3, nullptr, nullptr) == 1;
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

TEST_F(FailureSweep, NothingIsLeftBehind) {
    int failures = 0;
    for (const Case &scenario : cases()) {
        for (const char *call : acquiring_calls) {
            for (int n = 1;; ++n) {
                SCOPED_TRACE(std::string(scenario.name) + (scenario.through_file ? " (file)" : "") +
                             ", call " + std::to_string(n) + " of " + call + " failing");
                ASSERT_LT(n, 200) << "the scenario never runs through";
                set_memory_limit(scenario.through_file ? 1 : 0, 0);
                const uint32_t mapped = mapped_bytes();
                bool reached, succeeded;
                {
                    const Census before;
                    FailingCall failing(call, n);
                    succeeded = scenario.run();
                    reached = failing.calls() >= n;
                    failures += reached && !succeeded;
                    expect_nothing_left(before);
                }
                EXPECT_EQ(buf32CountBuf(nullptr), 0);
                EXPECT_EQ(mapped_bytes(), mapped);
                expect_no_swap_files();
                EXPECT_TRUE(reached || succeeded) << "without a failure of the system";
                forget_reports();
                if (HasFailure())
                    return;
                if (!reached)
                    break;
            }
        }
    }
    EXPECT_GT(failures, 150); // the calls are those that the library makes
    forget_memory_in_use();   // failed commitments stay counted
}

// The same with every call failing from the n-th on: what is tried instead fails as well.
TEST_F(FailureSweep, NothingIsLeftBehindWhenAllFails) {
    for (const Case &scenario : cases()) {
        for (const char *call : acquiring_calls) {
            for (int n = 1;; ++n) {
                SCOPED_TRACE(std::string(scenario.name) + (scenario.through_file ? " (file)" : "") +
                             ", all from call " + std::to_string(n) + " of " + call + " failing");
                ASSERT_LT(n, 200) << "the scenario never runs through";
                set_memory_limit(scenario.through_file ? 1 : 0, 0);
                bool reached;
                {
                    const Census before;
                    FailingCall failing(call, n, FailingCall::from_there_on);
                    scenario.run();
                    reached = failing.calls() >= n;
                    expect_nothing_left(before);
                }
                EXPECT_EQ(buf32CountBuf(nullptr), 0);
                forget_reports();
                if (HasFailure())
                    return;
                if (!reached)
                    break;
            }
        }
    }
    forget_memory_in_use();
}

} // namespace
} // namespace q32::test
