// mem32DuplicateHandle: what the copy holds, what the new block is, its refusals (with blocks that
// are really discarded and with failures of the system), and that nothing is left behind.
#include "tests/rows/row_fixture.h"

namespace q32::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using frame::FailingCall;
using frame::Replaced;
namespace call = frame::call;

// A block of the global heap, given back at the end of the test.
class Block {
public:
    explicit Block(HGLOBAL handle) : handle_{handle} {}
    Block(UINT flags, std::size_t size) : handle_{GlobalAlloc(flags, size)} {}
    Block(UINT flags, const Bytes &bytes) : Block{flags, bytes.size()} {
        std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t *>(GlobalLock(handle_)));
        GlobalUnlock(handle_);
    }
    ~Block() {
        frame::forget_block(handle_); // in case the library made it
        if (handle_)
            GlobalFree(handle_);
    }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;

    HGLOBAL handle() const { return handle_; }

    Bytes bytes() const {
        const auto *const data = static_cast<const std::uint8_t *>(GlobalLock(handle_));
        const Bytes copy(data, data + GlobalSize(handle_));
        GlobalUnlock(handle_);
        return copy;
    }

    unsigned locks() const { return GlobalFlags(handle_) & GMEM_LOCKCOUNT; }

private:
    HGLOBAL handle_;
};

Bytes counted(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256 + 1);
    return bytes;
}

class DuplicateHandle : public RowTest {
protected:
    HGLOBAL duplicate(const Block &block) { return rows().mem32DuplicateHandle(block.handle()); }

    void expect_refused(const Block &block, int message, int point) {
        EXPECT_EQ(duplicate(block), nullptr);
        expect_report(message, point);
    }
};

// --- the copy ---

TEST_F(DuplicateHandle, CopiesEveryByteOfEverySize) {
    for (std::size_t size = 1; size <= 300; ++size) {
        const Bytes bytes = counted(size);
        const Block source{GMEM_MOVEABLE, bytes};
        const Block copy{duplicate(source)};
        ASSERT_NE(copy.handle(), nullptr);
        Bytes copied = copy.bytes();
        ASSERT_GE(copied.size(), size + 2);
        copied.resize(size);
        ASSERT_EQ(copied, bytes) << size << " bytes";
        ASSERT_EQ(source.bytes(), bytes);
        ASSERT_NE(copy.handle(), source.handle());
    }
    expect_no_report();
}

TEST_F(DuplicateHandle, CopiesALargeBlock) {
    const Bytes bytes = counted(3'000'001);
    const Block source{GMEM_MOVEABLE, bytes};
    const Block copy{duplicate(source)};
    Bytes copied = copy.bytes();
    copied.resize(bytes.size());
    EXPECT_TRUE(copied == bytes);
}

TEST_F(DuplicateHandle, AsksForAMoveableBlockOfTwoBytesMoreAndLeavesThemAsAllocated) {
    int allocations = 0;
    UINT asked_flags = 0;
    SIZE_T asked_size = 0;
    const Replaced<call::GlobalAlloc> dirty([&](UINT flags, SIZE_T size) {
        ++allocations;
        asked_flags = flags;
        asked_size = size;
        const HGLOBAL block = GlobalAlloc(flags, size);
        std::memset(GlobalLock(block), 0xCD, size);
        GlobalUnlock(block);
        return block;
    });
    for (const std::size_t size : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 63u, 64u, 65u, 1000u}) {
        allocations = 0;
        const Bytes bytes = counted(size);
        const Block source{GMEM_MOVEABLE, bytes};
        const Block copy{duplicate(source)};
        EXPECT_EQ(allocations, 1);
        EXPECT_EQ(asked_flags, UINT{GMEM_MOVEABLE});
        EXPECT_EQ(asked_size, size + 2);
        Bytes expected = bytes;
        expected.insert(expected.end(), {0xCD, 0xCD});
        EXPECT_EQ(copy.bytes(), expected) << size << " bytes";
    }
}

TEST_F(DuplicateHandle, LeavesBothUnlocked) {
    const Block source{GMEM_MOVEABLE, counted(40)};
    const Block copy{duplicate(source)};
    EXPECT_EQ(source.locks(), 0u);
    EXPECT_EQ(copy.locks(), 0u);
}

TEST_F(DuplicateHandle, LeavesTheCallersLocksOnTheSource) {
    const Bytes bytes = counted(40);
    const Block source{GMEM_MOVEABLE, bytes};
    const void *const address = GlobalLock(source.handle());
    GlobalLock(source.handle());
    const Block copy{duplicate(source)};
    EXPECT_EQ(source.locks(), 2u);
    EXPECT_EQ(std::memcmp(address, bytes.data(), bytes.size()), 0);
    GlobalUnlock(source.handle());
    GlobalUnlock(source.handle());
}

TEST_F(DuplicateHandle, CopiesAFixedBlockIntoAMoveableOne) {
    const Bytes bytes = counted(40);
    const Block source{GMEM_FIXED, bytes};
    const Block copy{duplicate(source)};
    Bytes copied = copy.bytes();
    copied.resize(40);
    EXPECT_EQ(copied, bytes);
    // The address of a fixed block is its handle; a moveable one has another.
    EXPECT_NE(GlobalLock(copy.handle()), copy.handle());
    GlobalUnlock(copy.handle());
}

// --- refusals ---

TEST_F(DuplicateHandle, RefusesADiscardedBlock) {
    const FailingCall allocations{"GlobalAlloc", 0};
    const Block block{GMEM_MOVEABLE, 100};
    ASSERT_NE(GlobalDiscard(block.handle()), nullptr);
    ASSERT_EQ(GlobalFlags(block.handle()), UINT{GMEM_DISCARDED});
    expect_refused(block, 1005, 1);
    EXPECT_EQ(allocations.calls(), 0);
}

// The flags must be nothing but "discarded": with any other flag beside it the block counts as one
// of size 0. A caller sees which of the two reports comes.
TEST_F(DuplicateHandle, ADiscardableBlockThatWasDiscardedHasSizeZero) {
    const FailingCall allocations{"GlobalAlloc", 0};
    const Block block{GMEM_MOVEABLE | GMEM_DISCARDABLE, 100};
    ASSERT_NE(GlobalDiscard(block.handle()), nullptr);
    ASSERT_EQ(GlobalFlags(block.handle()), UINT{GMEM_DISCARDED | GMEM_DISCARDABLE});
    expect_refused(block, 3200, 2);
    EXPECT_EQ(allocations.calls(), 0);
}

TEST_F(DuplicateHandle, LooksAtTheFlagsBeforeTheSize) {
    const Block block{GMEM_MOVEABLE, counted(40)};
    UINT stated = GMEM_DISCARDED;
    const Replaced<call::GlobalFlags> flags([&](HGLOBAL) { return stated; });
    expect_refused(block, 1005, 1);
    const Replaced<call::GlobalSize> size([](HGLOBAL) { return SIZE_T{0}; });
    expect_refused(block, 1005, 1);
    for (const UINT other : {GMEM_DISCARDED | 1, GMEM_DISCARDED | GMEM_DISCARDABLE,
                             GMEM_INVALID_HANDLE, 0, GMEM_DISCARDABLE}) {
        stated = other;
        expect_refused(block, 3200, 2);
    }
}

TEST_F(DuplicateHandle, FlagsBesideDiscardedDoNotRefuseABlockWithASize) {
    const Block block{GMEM_MOVEABLE, counted(40)};
    const Replaced<call::GlobalFlags> flags([](HGLOBAL) { return UINT{GMEM_DISCARDED | 1}; });
    const Block copy{duplicate(block)};
    EXPECT_NE(copy.handle(), nullptr);
}

TEST_F(DuplicateHandle, RefusesASizeOfZero) {
    const FailingCall allocations{"GlobalAlloc", 0};
    const Replaced<call::GlobalSize> size([](HGLOBAL) { return SIZE_T{0}; });
    const Block block{GMEM_MOVEABLE, counted(40)};
    expect_refused(block, 3200, 2);
    EXPECT_EQ(allocations.calls(), 0);
}

TEST_F(DuplicateHandle, RefusesNoHandleAndAHandleThatIsNone) {
    EXPECT_EQ(rows().mem32DuplicateHandle(nullptr), nullptr);
    expect_report(3200, 2);
    const HGLOBAL freed = GlobalAlloc(GMEM_MOVEABLE, 10);
    GlobalFree(freed);
    EXPECT_EQ(rows().mem32DuplicateHandle(freed), nullptr);
    expect_report(3200, 2);
}

TEST_F(DuplicateHandle, ReportsThatTheBlockCannotBeAllocated) {
    const Block block{GMEM_MOVEABLE, counted(40)};
    const FailingCall allocation{"GlobalAlloc"};
    expect_refused(block, 1001, 3);
    EXPECT_EQ(allocation.calls(), 1);
    EXPECT_EQ(block.locks(), 0u);
    EXPECT_EQ(block.bytes(), counted(40));
    const Block copy{duplicate(block)}; // the next one can
    EXPECT_NE(copy.handle(), nullptr);
}

TEST_F(DuplicateHandle, ReportsThatEitherBlockCannotBeLockedAndKeepsNothing) {
    const Block block{GMEM_MOVEABLE, counted(40)};
    for (const int which : {1, 2}) {
        const FailingCall lock{"GlobalLock", which};
        expect_refused(block, 1001, 3);
        EXPECT_TRUE(lock.happened());
        EXPECT_EQ(block.locks(), 0u);
    }
}

} // namespace
} // namespace q32::test
