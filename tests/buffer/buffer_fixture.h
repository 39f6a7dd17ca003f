// What the buffer tests share: a fixture that checks after every test that nothing is left, buffers
// that give themselves back, reports to expect, limits to set, and pixels to compare.
#pragma once

#include "tests/buffer/geometry_model.h"
#include "tests/buffer/record_words.h"
#include "tests/kernels/fenced_memory.h"
#include "tests/kernels/random.h"

#include <gtest/gtest.h>
#include <q32base/buffers.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace q32::test {

// --- reports ---------------------------------------------------------------------------------

struct Failure {
    int message, severity, module, point;
    bool operator==(const Failure &) const = default;
};
void PrintTo(const Failure &failure, std::ostream *to);

// Exactly these reports have been made since the last look, without a text and in the name of this
// library.
void expect_reports(std::initializer_list<Failure> failures);
void expect_report(const Failure &failure);
void expect_report(int message, int severity, int module, int point);
void expect_no_report();
// One report, one of these.
void expect_report_of(std::initializer_list<Failure> failures);
void forget_reports();

// --- settings and counters -------------------------------------------------------------------

void set_memory_limit(uint32_t on, uint32_t limit);
void set_file_limit(uint32_t on, uint32_t limit);
void use_no_directory();

// Bytes in virtual memory since the start of the test, and in swap files.
uint32_t memory_in_use();
uint32_t absolute_memory_in_use();
uint32_t mapped_bytes();
// From now on what is in use counts as the start of the test.
void forget_memory_in_use();

// Where the tests' swap files go; with a separator at the end.
std::string swap_folder();
bool file_exists(const std::string &name);
void expect_no_swap_files();

// Unloads the library, checks that nothing is left of it, and loads it again.
void fresh_library();

// --- failures of the system ------------------------------------------------------------------

// Counts the library's calls of one system function and lets the n-th fail; n = 0 fails none.
class FailingCall {
public:
    enum Extent { only_there, from_there_on };
    FailingCall(const char *function, int n, Extent extent = only_there);
    ~FailingCall();
    FailingCall(const FailingCall &) = delete;
    FailingCall &operator=(const FailingCall &) = delete;
    int calls() const;
};

// Keeps what the library asks of the global heap and of virtual memory.
class ObservedCalls {
public:
    struct GlobalBlock {
        UINT flags;
        SIZE_T bytes;
    };
    struct VirtualBlock {
        uint32_t address;
        SIZE_T bytes;
        DWORD kind, protection;
    };
    ObservedCalls();
    ~ObservedCalls();
    const std::vector<GlobalBlock> &global_blocks() const;
    const std::vector<VirtualBlock> &virtual_blocks() const;
};

// What the library holds of the system's: blocks, locks, virtual memory, handles, views, files.
class Census {
public:
    Census();
};
void expect_nothing_left(const Census &before);

// --- buffers ---------------------------------------------------------------------------------

// A buffer that is freed at the end of its scope.
class Buffer {
public:
    Buffer(int bits, int width, int height, uint32_t type = BUF32_TILED,
           const void *extra = nullptr);
    ~Buffer();
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    operator HBUF32() const { return handle_; }
    void free();

private:
    HBUF32 handle_ = 0;
};

// One allocation that must fail with this report alone; the handle keeps its value.
void expect_refused(int bits, int width, int height, uint32_t type, const void *extra,
                    const Failure &failure);

// Accessible bytes that end at an inaccessible page.
class FencedBlock {
public:
    explicit FencedBlock(size_t bytes) : memory_(std::max<size_t>(bytes, 1)), bytes_(bytes) {}
    uint8_t *data() const { return memory_.end() - bytes_; }
    size_t size() const { return bytes_; }

private:
    FencedMemory memory_;
    size_t bytes_;
};

Geometry geometry_of(HBUF32 buffer);

// Writes an image row by row; a lock is taken and given back.
void store(HBUF32 buffer, const PlainImage &image);
// The storage holds exactly these pixels.
void expect_pixels(HBUF32 buffer, const PlainImage &image);
// Random pixels for the whole buffer.
PlainImage fill(HBUF32 buffer, Random &random);
PlainImage fill_and_check(HBUF32 buffer);

// --- texts and numbers -----------------------------------------------------------------------

std::string size_text(int bits, int width, int height);

inline int between(Random &random, int least, int most) {
    return least + int(random.below(size_t(most - least) + 1));
}

// --- fixture ---------------------------------------------------------------------------------

class BufferTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

} // namespace q32::test
