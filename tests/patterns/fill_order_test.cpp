// In which order a fill gives up what the buffer has and takes what it needs: a buffer that fits
// into the address space only once can be filled. Seen at the calls of the system, and by filling
// buffers for which there is no other room.
#include "tests/patterns/special_buffers.h"

namespace q32::test {
namespace {

class FillOrder : public BufferTest {};

// --- the calls -------------------------------------------------------------------------------

// What gives up and takes pixels, in order, with what was in use when a block was asked for.
class Order {
public:
    const std::vector<std::string> &calls() const { return calls_; }
    size_t in_use_at_block() const { return in_use_; }
    size_t mapped_at_block() const { return mapped_; }
    size_t in_use_at_copy() const { return in_use_at_copy_; }
    const std::vector<std::string> &files_at_block() const { return files_; }

private:
    void note(const char *call) { calls_.push_back(call); }

    std::vector<std::string> calls_;
    size_t in_use_ = 0, mapped_ = 0, in_use_at_copy_ = 0;
    std::vector<std::string> files_;
    frame::Replaced<frame::call::VirtualAlloc> alloc_{
        [this](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
            if (kind == (MEM_RESERVE | MEM_COMMIT)) {
                note("block");
                in_use_ = memory_in_use();
                mapped_ = mapped_bytes();
                files_ = frame::files_below(frame::sandbox_swap());
            } else {
                note(kind == MEM_RESERVE ? "reserve" : "commit");
            }
            return VirtualAlloc(at, bytes, kind, protection);
        }};
    frame::Replaced<frame::call::VirtualFree> free_{[this](LPVOID at, SIZE_T bytes, DWORD kind) {
        note(kind == MEM_RELEASE ? "release" : "decommit");
        return VirtualFree(at, bytes, kind);
    }};
    frame::Replaced<frame::call::UnmapViewOfFile> unmap_{[this](LPCVOID at) {
        note("unmap");
        return UnmapViewOfFile(at);
    }};
    frame::Replaced<frame::call::DeleteFileA> remove_{[this](LPCSTR path) {
        note("delete");
        return DeleteFileA(path);
    }};
    frame::Replaced<frame::call::malloc> copy_{[this](size_t bytes) {
        note("copy");
        in_use_at_copy_ = memory_in_use();
        return std::malloc(bytes);
    }};
};

using Names = std::vector<std::string>;

// What a start gives up.
Names given_up(const Start &start, HBUF32 buffer) {
    if (word(buffer, field_file) != 0)
        return {"unmap", "delete"};
    if (word(buffer, field_storage) != 0)
        return {"release"};
    EXPECT_TRUE(start.type == BUF32_ONE_COLOUR || start.type == BUF32_PATTERN);
    return {};
}

TEST_F(FillOrder, OfOneColour) {
    for (const Start &start : starts()) {
        if (start.type == BUF32_ONE_COLOUR)
            continue; // takes and gives up nothing
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 1);
        const auto buffer = start.make(24, 150, 140, random);
        Names expected = given_up(start, *buffer);
        expected.push_back("block");
        const Order order;
        EXPECT_SUCCESS(api().buf32FillOneColor(*buffer, colour));
        EXPECT_EQ(order.calls(), expected);
        EXPECT_EQ(order.in_use_at_block(), 0u); // what the old pixels took is no longer counted
        EXPECT_EQ(order.mapped_at_block(), 0u);
        EXPECT_EQ(order.files_at_block(), Names{});
    }
}

TEST_F(FillOrder, OfAPattern) {
    for (const Start &start : starts()) {
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 2);
        const auto buffer = start.make(24, 150, 140, random);
        Names expected = given_up(start, *buffer);
        expected.insert(expected.end(), {"block", "copy"});
        const Pattern pattern(7, 200, 24, random);
        const BUF32PATTERN descriptor = pattern.descriptor();
        const Order order;
        EXPECT_SUCCESS(api().buf32FillPattern(*buffer, &descriptor));
        EXPECT_EQ(order.calls(), expected);
        EXPECT_EQ(order.in_use_at_block(), 0u);
        EXPECT_EQ(order.mapped_at_block(), 0u);
        EXPECT_EQ(order.files_at_block(), Names{});
        EXPECT_EQ(order.in_use_at_copy(), 450u * 200); // the block is counted by then
    }
}

// Those that share the pixels have them before they are given up.
TEST_F(FillOrder, OfSharedPixels) {
    for (const Start &start : starts()) {
        if (start.type == BUF32_ONE_COLOUR || start.type == BUF32_PATTERN)
            continue; // share nothing
        for (bool duplicate : {false, true}) {
            SCOPED_TRACE(testing::Message() << start.name << ' ' << duplicate);
            Random random(test_seed(), 3);
            const auto source = start.make(24, 150, 140, random);
            Picture picture = picture_shown_by(*source, Geometry(150, 140, 24, start.type));
            HBUF32 made = 0;
            ASSERT_EQ(api().buf32DupBuf(*source, &made), 1);
            const Buffer sharer(made);
            const HBUF32 filled = duplicate ? made : HBUF32(*source);
            const HBUF32 other = duplicate ? HBUF32(*source) : made;
            set_memory_limit(start.to_files ? 1 : 0, 0);
            {
                const Order order;
                EXPECT_SUCCESS(api().buf32FillOneColor(filled, colour));
                EXPECT_EQ(order.calls().back(), "block");
                EXPECT_EQ(order.in_use_at_block() + order.mapped_at_block(), 450u * 140);
            }
            picture.buffer = other;
            expect_read_everywhere(picture);
            picture.buffer = filled;
            picture.paint(colour);
            expect_read_everywhere(picture);
        }
    }
}

// --- the room --------------------------------------------------------------------------------

#ifndef _WIN64 // whose address space nobody fills
// Takes all of the address space that comes in pieces of this size, for the time of its life.
class NoRoomFor {
public:
    explicit NoRoomFor(size_t bytes) {
        while (void *const piece = VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS))
            pieces_.push_back(piece);
    }
    ~NoRoomFor() {
        for (void *const piece : pieces_)
            VirtualFree(piece, 0, MEM_RELEASE);
    }
    NoRoomFor(const NoRoomFor &) = delete;
    NoRoomFor &operator=(const NoRoomFor &) = delete;

private:
    std::vector<void *> pieces_;
};

constexpr int large_width = 8192, large_height = 4096;
constexpr uint32_t large_bytes = uint32_t(large_width) * large_height; // 32 MB at 8 bits

// A linear buffer of one cell, whose block is as large as its storage.
TEST_F(FillOrder, ThereIsRoomForALinearBufferOnce) {
    const Bytes column(large_height, 0x5D);
    const BUF32PATTERN pattern{1, large_height, column.data()};
    for (uint32_t type : {BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK})
        for (bool file : {false, true})
            for (bool by_pattern : {false, true}) {
                SCOPED_TRACE(testing::Message() << type << ' ' << file << ' ' << by_pattern);
                if (file && type == BUF32_LINEAR_MEMORY)
                    continue;
                set_memory_limit(file ? 1 : 0, 0);
                Buffer buffer(8, large_width, large_height, type);
                ASSERT_EQ(word(buffer, field_file) != 0, file);
                const NoRoomFor no_room(large_bytes);
                HBUF32 second = 0; // there is none
                EXPECT_EQ(api().buf32Alloc(&second, 8, large_width, large_height, type, nullptr),
                          0);
                forget_reports();
                EXPECT_EQ(memory_in_use(), file ? 0 : large_bytes);
                if (by_pattern)
                    EXPECT_SUCCESS(api().buf32FillPattern(buffer, &pattern));
                else
                    EXPECT_SUCCESS(api().buf32FillOneColor(buffer, column.data()));
                EXPECT_EQ(memory_in_use(), large_bytes);
                EXPECT_EQ(mapped_bytes(), 0u);
                EXPECT_EQ(word(buffer, field_type), by_pattern ? BUF32_PATTERN : BUF32_ONE_COLOUR);
                uint8_t pixel = 0;
                EXPECT_SUCCESS(
                    api().buf32GetMem(buffer, large_width - 1, large_height - 1, 1, 1, &pixel));
                EXPECT_EQ(pixel, 0x5D);
                // And once more, from block to block.
                EXPECT_SUCCESS(api().buf32FillPattern(buffer, &pattern));
                EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
                EXPECT_SUCCESS(api().buf32GetMem(buffer, 0, large_height - 1, 1, 1, &pixel));
                EXPECT_EQ(pixel, colour[0]);
                EXPECT_EQ(memory_in_use(), large_bytes);
                if (HasFailure())
                    return;
            }
}

// A block larger than anything there is room for, and than what the buffer gives up.
TEST_F(FillOrder, ThereIsNoRoomForALargerBlock) {
    const Bytes column(20000, 0x5D);
    const BUF32PATTERN pattern{1, 20000, column.data()};
    Buffer buffer(8, large_width, large_height, BUF32_LINEAR_MEMORY);
    const NoRoomFor no_room(large_bytes);
    EXPECT_REPORT(api().buf32FillPattern(buffer, &pattern), 1001, 1, 4, 21);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(word(buffer, field_type), BUF32_LINEAR_MEMORY);
    uint8_t pixel = 0;
    EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, 1, 1, &pixel));
    EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
    EXPECT_EQ(memory_in_use(), large_bytes);
    EXPECT_SUCCESS(api().buf32GetMem(buffer, 0, large_height - 1, 1, 1, &pixel));
    EXPECT_EQ(pixel, colour[0]);
}
#endif

} // namespace
} // namespace q32::test
