// What the buffer tests share: a fixture that checks after every test that nothing is left, buffers
// that give themselves back, reports to expect, limits to set, and pixels to compare.
#pragma once

#include "tests/buffer/record_words.h"
#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/fenced_memory.h"
#include "tests/frame/library.h"
#include "tests/frame/random.h"
#include "tests/frame/sandbox.h"
#include "tests/models/picture.h"

#include <gtest/gtest.h>
#include <q32base/buffers.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace q32::test {

using frame::acquiring_calls;
using frame::api;
using frame::FailingCall;
using frame::Failure;
using frame::file_exists;
using frame::forget_reports;

inline constexpr uint32_t ordinary_types[] = {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY,
                                              BUF32_LINEAR_SHRINK, BUF32_TILED_FILE};

// --- reports ---------------------------------------------------------------------------------

// Exactly these reports have been made since the last look, without a text and in the name of this
// library.
void expect_reports(std::initializer_list<Failure> failures);
void expect_report(const Failure &failure);
void expect_report(int message, int severity, int module, int point);
void expect_no_report();
// One report, one of these.
void expect_report_of(std::initializer_list<Failure> failures);

// --- settings and counters -------------------------------------------------------------------

void set_memory_limit(uint32_t on, size_t limit);
bool memory_is_limited();
// A memory limit that sends buffers over 128 x 128 to swap files, and the end of it. Every test
// begins without.
inline void send_to_files(bool on) {
    set_memory_limit(on ? 1 : 0, 0);
}
void set_file_limit(uint32_t on, size_t limit);
void use_no_directory();

// Bytes in virtual memory since the start of the test, and in swap files.
size_t memory_in_use();
size_t absolute_memory_in_use();
size_t mapped_bytes();
// From now on what is in use counts as the start of the test.
void forget_memory_in_use();

void expect_no_swap_files();

// Unloads the library, checks that nothing is left of it, and loads it again; with a record of swap
// files, as tests find it, or as it starts.
void fresh_library(bool with_record = true);

// --- calls of the system --------------------------------------------------------------------

// Keeps what the library asks of the global heap and of virtual memory.
class ObservedCalls {
public:
    struct GlobalBlock {
        UINT flags;
        SIZE_T bytes;
    };
    struct VirtualBlock {
        uintptr_t address;
        SIZE_T bytes;
        DWORD kind, protection;
    };
    const std::vector<GlobalBlock> &global_blocks() const { return global_blocks_; }
    const std::vector<VirtualBlock> &virtual_blocks() const { return virtual_blocks_; }

private:
    std::vector<GlobalBlock> global_blocks_;
    std::vector<VirtualBlock> virtual_blocks_;
    frame::Replaced<frame::call::GlobalAlloc> global_alloc_{[this](UINT flags, SIZE_T bytes) {
        global_blocks_.push_back({flags, bytes});
        return GlobalAlloc(flags, bytes);
    }};
    frame::Replaced<frame::call::VirtualAlloc> virtual_alloc_{
        [this](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
            const LPVOID address = VirtualAlloc(at, bytes, kind, protection);
            virtual_blocks_.push_back({uintptr_t(address), bytes, kind, protection});
            return address;
        }};
};

// --- buffers ---------------------------------------------------------------------------------

// Those that have pixels of their own and can share them.
inline constexpr uint32_t sharing_types[] = {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY,
                                             BUF32_LINEAR_SHRINK, BUF32_TILED_FILE};

// A buffer that is freed at the end of its scope.
class Buffer {
public:
    Buffer(int bits, int width, int height, uint32_t type = BUF32_TILED,
           const void *extra = nullptr);
    // One that another call has made; 0 is none.
    explicit Buffer(HBUF32 made) : handle_(made) {}
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

// A block of memory of exactly so many bytes, filled at random: at one end lies an inaccessible
// page, and what lies beyond the other end is looked after.
class MemoryBlock {
public:
    enum Fence { fence_before, fence_behind };

    MemoryBlock(size_t bytes, Fence fence, Random &random);

    uint8_t *data() const { return data_; }
    size_t size() const { return bytes_; }
    Bytes contents() const { return Bytes(data_, data_ + bytes_); }
    void set(const Bytes &bytes) { std::memcpy(data_, bytes.data(), bytes.size()); }
    // Makes any write to the block a crash.
    void protect();

    // The block holds these bytes, and its surroundings what they held.
    testing::AssertionResult holds(const Bytes &bytes) const;
    void expect(const Bytes &bytes) const { EXPECT_TRUE(holds(bytes)); }

private:
    static constexpr uint8_t surroundings = 0xB7;

    FencedMemory memory_;
    size_t bytes_;
    uint8_t *data_;
};
inline MemoryBlock::Fence random_fence(Random &random) {
    return random.below(2) == 0 ? MemoryBlock::fence_before : MemoryBlock::fence_behind;
}

Geometry geometry_of(HBUF32 buffer);

// Writes an image row by row; a lock is taken and given back.
void store(HBUF32 buffer, const PlainImage &image);
// The storage holds exactly these pixels.
void expect_pixels(HBUF32 buffer, const PlainImage &image);
// Random pixels for the whole buffer.
PlainImage fill(HBUF32 buffer, Random &random);
PlainImage fill_and_check(HBUF32 buffer);

// --- comparison ------------------------------------------------------------------------------

testing::AssertionResult same_bytes(std::span<const uint8_t> expected, const uint8_t *got);
// The first bits of each row only: what lies behind a row's last pixel is nobody's.
testing::AssertionResult same_rows(std::span<const uint8_t> expected, const uint8_t *got,
                                   size_t row_bytes, int64_t row_bits);
// The same for a block, as rectangles are laid out.
testing::AssertionResult same_block(const Geometry &geometry, const Area &area,
                                    const Bytes &expected, const uint8_t *got);

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

private:
    frame::Census before_{};
};

} // namespace q32::test
