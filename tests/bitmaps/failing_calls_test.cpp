// Every call of the system that bitmaps need fails in turn: nothing is left, nothing is half done,
// and the reports are the stated ones.
#include "tests/bitmaps/bitmap_fixture.h"
#include "tests/frame/small_memory.h"

#include <functional>

namespace q32::test {
namespace {

class BitmapFailingCalls : public BitmapTest {};

// What an owner can see of a bitmap and of the buffers over it.
struct State {
    frame::Census census;
    Bytes block;
    uint32_t locks;
    std::vector<std::vector<uint32_t>> records;
    bool operator==(const State &) const = default;
};

State state_of(const Bitmap &bitmap, std::initializer_list<HBUF32> buffers) {
    State state{frame::Census::now(), bitmap.bytes(), bitmap.locks(), {}};
    for (HBUF32 buffer : buffers) {
        std::vector<uint32_t> words;
        for (int field = field_type; field <= field_next_sharer; ++field)
            if (field != field_file_name && field != field_access_mode)
                words.push_back(word(buffer, field));
        state.records.push_back(words);
    }
    return state;
}

const char *const memory_calls[] = {"GlobalAlloc", "GlobalReAlloc", "VirtualAlloc", "malloc",
                                    "calloc",      "realloc",       "GlobalLock"};

// Lets the n-th call of each function fail, for all n, and the call and all after it: failed(n) is
// asked after a call that failed. Ends with a call that succeeds.
void fail_in_turn(const std::function<int()> &call,
                  const std::function<void(const std::string &function, int n)> &failed,
                  const std::function<void()> &succeeded) {
    for (const std::string function : memory_calls)
        for (const auto extent : {FailingCall::only_there, FailingCall::from_there_on})
            for (int n = 1; n < 100; ++n) {
                SCOPED_TRACE(function + " " + std::to_string(n));
                bool happened = false;
                int result = 0;
                {
                    FailingCall failing(function, n, extent);
                    result = call();
                    happened = failing.happened();
                }
                if (!happened) {
                    EXPECT_EQ(result, 1);
                    expect_no_report();
                    succeeded();
                    break;
                }
                if (result == 1) // there was another way
                    succeeded();
                else
                    failed(function, n);
                ASSERT_FALSE(::testing::Test::HasFailure());
            }
}

Bytes some_block(const Header &header) {
    Random random(test_seed(), 9);
    return block_of(header, random);
}

Bytes pixels_of_block(const Bytes &block, const Header &header) {
    return packed_pixels(Bytes(block.begin() + ptrdiff_t(header.pixels_at()), block.end()),
                         header.shape);
}

// --- opening ---------------------------------------------------------------------------------

TEST_F(BitmapFailingCalls, Opening) {
    const Header header{{24, 33, 9}};
    Bitmap bitmap(some_block(header));
    const State before = state_of(bitmap, {});
    HBUF32 handle = 0;
    int failures = 0;
    fail_in_turn([&] { return api().buf32DIBBufAlloc(&handle, bitmap); },
                 [&](const std::string &function, int n) {
                     EXPECT_EQ(handle, 0u);
                     // The record, and then its room for the row table.
                     if (function == "GlobalLock")
                         expect_report(not_a_bitmap);
                     else if (n == 1)
                         expect_report(no_bitmap_record);
                     else
                         expect_no_report();
                     EXPECT_EQ(state_of(bitmap, {}), before);
                     EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
                     ++failures;
                 },
                 [&] {
                     HGLOBAL back = nullptr;
                     EXPECT_SUCCESS(api().buf32DIBBufFree(handle, &back));
                     EXPECT_EQ(back, HGLOBAL(bitmap));
                     const Bytes now = bitmap.bytes();
                     EXPECT_EQ(pixels_of_block(now, header), pixels_of_block(before.block, header));
                     // The padding has changed: what it was is of no interest here.
                     void *const memory = GlobalLock(bitmap);
                     std::copy(before.block.begin(), before.block.end(),
                               static_cast<uint8_t *>(memory));
                     GlobalUnlock(bitmap);
                 });
    EXPECT_EQ(failures, 6); // record, room and lock, alone and with all that follow
}

// buf32Alloc tries memory first.
TEST_F(BitmapFailingCalls, OpeningByBuf32Alloc) {
    Bitmap bitmap(some_block(Header{{24, 33, 9}}));
    const State before = state_of(bitmap, {});
    const Failure reports[] = {{1001, 0, 4, 9}, no_bitmap_record};
    for (int n = 1; n <= 3; ++n) {
        SCOPED_TRACE(n);
        FailingCall failing("GlobalAlloc", n);
        HBUF32 handle = 0;
        EXPECT_EQ(api().buf32Alloc(&handle, 24, 33, 9, BUF32_DIB, HGLOBAL(bitmap)), 0);
        if (n <= 2)
            expect_report(reports[n - 1]);
        else
            expect_no_report();
        EXPECT_EQ(handle, 0u);
        EXPECT_EQ(state_of(bitmap, {}), before);
    }
}

TEST_F(BitmapFailingCalls, OpeningABareBlock) {
    const Shape shape{24, 33, 9};
    Random random(test_seed(), 1);
    Bytes pixels = random_bytes(random, shape.bitmap_bytes());
    const Bytes before = pixels;
    const frame::Census nothing = frame::Census::now();
    int failures = 0;
    HBUF32 handle = 0;
    fail_in_turn([&] { return api().buf32DIBMemBufAlloc(&handle, 24, 33, 9, pixels.data()); },
                 [&](const std::string &, int n) {
                     EXPECT_EQ(handle, 0u);
                     if (n == 1)
                         expect_report(no_bitmap_record);
                     else
                         expect_no_report();
                     EXPECT_EQ(pixels, before);
                     EXPECT_EQ(frame::Census::now(), nothing);
                     ++failures;
                 },
                 [&] {
                     EXPECT_SUCCESS(api().buf32DIBBufFree(handle, nullptr));
                     pixels = before;
                 });
    EXPECT_EQ(failures, 4);
}

// --- duplicates ------------------------------------------------------------------------------

TEST_F(BitmapFailingCalls, Duplicating) {
    Bitmap bitmap(some_block(Header{{24, 33, 9}}));
    Opened source(bitmap);
    const State before = state_of(bitmap, {source});
    int failures = 0;
    HBUF32 handle = 0;
    fail_in_turn([&] { return api().buf32DupBuf(source, &handle); },
                 [&](const std::string &, int n) {
                     EXPECT_EQ(handle, 0u);
                     expect_report(1001, 1, 1, n == 1 ? 8 : 9);
                     EXPECT_EQ(state_of(bitmap, {source}), before);
                     ++failures;
                 },
                 [&] {
                     EXPECT_SUCCESS(api().buf32Free(handle));
                     handle = 0;
                     EXPECT_EQ(state_of(bitmap, {source}), before);
                 });
    EXPECT_EQ(failures, 4);
}

// A private copy that cannot be had fails whatever needed it, with all as it was.
class Copying : public BitmapFailingCalls {
protected:
    struct Case {
        const char *name;
        std::function<int(HBUF32 source, HBUF32 duplicate)> call;
    };
    static std::vector<Case> cases() {
        static const uint8_t pixel[8] = {1, 2, 3, 4, 5, 6, 7, 8};
        static const BUF32PATTERN pattern{1, 1, pixel};
        static Bytes row(99);
        const auto lock = [](HBUF32 buffer) {
            void *base = &base;
            const int result = api().buf32Lock(buffer, BUF32_WRITE, &base);
            if (result == 1)
                api().buf32Unlock(buffer);
            else
                EXPECT_EQ(base, nullptr);
            return result;
        };
        const auto line = [](HBUF32 buffer) {
            EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
            const int result = api().buf32Line(buffer, 0, BUF32_LINE_WRITE, row.data());
            EXPECT_EQ(word(buffer, field_lock_count), 1u);
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
            return result;
        };
        const auto merge = [](HBUF32 buffer) {
            return api().buf32MergeMem(buffer, 0, 0, pixel, 1, 1);
        };
        const auto colour = [](HBUF32 buffer) { return api().buf32FillOneColor(buffer, pixel); };
        const auto fill = [](HBUF32 buffer) { return api().buf32FillPattern(buffer, &pattern); };
        const auto back = [](HBUF32 buffer) {
            return api().buf32DIBBufToDIB(buffer) != nullptr ? api().buf32DIBToDIBBuf(buffer) : 0;
        };
        return {{"lock the duplicate", [=](HBUF32, HBUF32 d) { return lock(d); }},
                {"lock the source", [=](HBUF32 s, HBUF32) { return lock(s); }},
                {"row of the duplicate", [=](HBUF32, HBUF32 d) { return line(d); }},
                {"row of the source", [=](HBUF32 s, HBUF32) { return line(s); }},
                {"rectangle of the duplicate", [=](HBUF32, HBUF32 d) { return merge(d); }},
                {"rectangle of the source", [=](HBUF32 s, HBUF32) { return merge(s); }},
                {"colour of the duplicate", [=](HBUF32, HBUF32 d) { return colour(d); }},
                {"colour of the source", [=](HBUF32 s, HBUF32) { return colour(s); }},
                {"pattern of the duplicate", [=](HBUF32, HBUF32 d) { return fill(d); }},
                {"pattern of the source", [=](HBUF32 s, HBUF32) { return fill(s); }},
                {"layout of the duplicate", [=](HBUF32, HBUF32 d) { return back(d); }},
                {"layout of the source", [=](HBUF32 s, HBUF32) { return back(s); }}};
    }
};

TEST_F(Copying, ForWriting) {
    const Header header{{24, 33, 9}};
    for (const Case &tried : cases()) {
        SCOPED_TRACE(tried.name);
        for (const char *const function : {"GlobalAlloc", "GlobalLock"}) {
            SCOPED_TRACE(function);
            Bitmap bitmap(some_block(header));
            Opened source(bitmap);
            Opened duplicate(duplicate_of(source)), second(duplicate_of(source));
            const State before = state_of(bitmap, {source, duplicate, second});
            const Bytes pixels = pixels_of(source);
            int failures = 0;
            for (int n = 1; n < 20; ++n) {
                bool happened = false;
                int result = 0;
                {
                    FailingCall failing(function, n);
                    result = tried.call(source, duplicate);
                    happened = failing.happened();
                }
                if (result == 1)
                    break;
                ASSERT_TRUE(happened);
                ++failures;
                // The lock is part of having a block; its row table is the last that can be missed.
                if (std::string(function) == "GlobalAlloc")
                    expect_report(no_private_block);
                else
                    expect_report_of({no_private_block, {1001, 0, 1, 7}});
                EXPECT_EQ(state_of(bitmap, {source, duplicate, second}), before);
                for (HBUF32 buffer : {HBUF32(source), HBUF32(duplicate), HBUF32(second)})
                    EXPECT_EQ(pixels_of(buffer), pixels);
            }
            EXPECT_GE(failures, 1);
            expect_no_report();
        }
    }
}

TEST_F(Copying, ForFreeingAndClosingTheSource) {
    const Header header{{24, 33, 9}};
    for (bool close : {true, false}) {
        for (const char *const function : {"GlobalAlloc", "GlobalLock"}) {
            SCOPED_TRACE(function);
            Bitmap bitmap(some_block(header));
            Opened source(bitmap);
            Opened duplicate(duplicate_of(source)), second(duplicate_of(source));
            const State before = state_of(bitmap, {source, duplicate, second});
            const Bytes pixels = pixels_of(source);
            {
                FailingCall failing(function, 1);
                HGLOBAL given = &given;
                EXPECT_EQ(close ? api().buf32DIBBufFree(source, &given) : api().buf32Free(source),
                          0);
                EXPECT_EQ(given, &given);
                EXPECT_TRUE(failing.happened());
            }
            if (std::string(function) == "GlobalAlloc")
                expect_report(no_private_block);
            else
                expect_report_of({no_private_block, {1001, 0, 1, 7}});
            EXPECT_EQ(state_of(bitmap, {source, duplicate, second}), before);
            EXPECT_EQ(api().buf32CountBuf(nullptr), 3);
            for (HBUF32 buffer : {HBUF32(source), HBUF32(duplicate), HBUF32(second)})
                EXPECT_EQ(pixels_of(buffer), pixels);
            // Next time there is memory.
            if (close) {
                EXPECT_EQ(source.close(), HGLOBAL(bitmap));
            } else {
                source.free();
                bitmap.gone();
            }
            EXPECT_EQ(pixels_of(duplicate), pixels);
            EXPECT_EQ(pixels_of(second), pixels);
        }
    }
}

// A locked source parts from its sharers before its lock is looked at; when it cannot, it says so.
TEST_F(Copying, ForClosingALockedSource) {
    Bitmap bitmap(some_block(Header{{24, 33, 9}}));
    Opened source(bitmap);
    Opened duplicate(duplicate_of(source));
    ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1);
    const State before = state_of(bitmap, {source, duplicate});
    {
        FailingCall failing("GlobalAlloc", 1);
        EXPECT_FAILURE(api().buf32DIBBufFree(source, nullptr), 1001, 0, 1, 5);
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_EQ(state_of(bitmap, {source, duplicate}), before);
    ASSERT_EQ(api().buf32Unlock(source), 1);
}

// A destination with sharers of its own, which need its pixels before it loses them.
TEST_F(Copying, ForTheSharersOfADestination) {
    const Header header{{24, 33, 9}};
    Bitmap bitmap(some_block(header)), other(some_block(header));
    Opened source(bitmap), destination(other);
    const uint8_t colour = 77;
    EXPECT_SUCCESS(api().buf32FillOneColor(destination, &colour));
    Opened sharer(duplicate_of(destination));
    const State before = state_of(other, {source, destination, sharer});
    const Bytes pixels = pixels_of(destination);
    HBUF32 handle = destination;
    {
        FailingCall failing("GlobalAlloc", 1);
        EXPECT_FAILURE(api().buf32DupBuf(source, &handle), 1001, 0, 1, 5);
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_EQ(handle, HBUF32(destination));
    EXPECT_EQ(state_of(other, {source, destination, sharer}), before);
    EXPECT_EQ(pixels_of(destination), pixels);
    EXPECT_EQ(pixels_of(sharer), pixels);
}

// A private copy so large that no memory can hold it: the table that its depth asks for.
TEST_F(Copying, OfADepthThatNoTableFits) {
    const frame::SmallMemory small;
    const Header header{{29, 5, 3}}; // 2 ^ 29 entries of 4 bytes
    Bitmap bitmap(some_block(header));
    Opened source(bitmap);
    const Opened duplicate(duplicate_of(source));
    const Bytes pixels = pixels_of(source);
    const State before = state_of(bitmap, {source, duplicate});
    void *base = &base;
    EXPECT_FAILURE(api().buf32Lock(duplicate, BUF32_WRITE, &base), 1001, 0, 1, 5);
    EXPECT_EQ(base, nullptr);
    EXPECT_EQ(state_of(bitmap, {source, duplicate}), before);
    EXPECT_EQ(pixels_of(duplicate), pixels);
}

// --- raised priority -------------------------------------------------------------------------

// The eight rectangle exports run raised, on bitmaps too, and give the priority back on failure.
TEST_F(BitmapFailingCalls, GiveThePriorityBack) {
    Bitmap bitmap(some_block(Header{{24, 33, 9}}));
    Opened source(bitmap);
    Opened duplicate(duplicate_of(source));
    uint8_t memory[3] = {};
    const BUF32PATTERN pattern{1, 1, memory};
    HBUF32 handle = 0;
    FailingCall allocation("GlobalAlloc", 1, FailingCall::from_there_on);
    int raised = 0, restored = 0;
    frame::Replaced<frame::call::SetThreadPriority> priority([&](HANDLE thread, int level) {
        (level == THREAD_PRIORITY_ABOVE_NORMAL ? raised : restored) += 1;
        return SetThreadPriority(thread, level);
    });
    const int before = GetThreadPriority(GetCurrentThread());
    const std::pair<const char *, std::function<int()>> calls[] = {
        {"GetMem outside", [&] { return api().buf32GetMem(source, 99, 0, 1, 1, memory); }},
        {"MergeMem", [&] { return api().buf32MergeMem(duplicate, 0, 0, memory, 1, 1); }},
        {"GetBuf", [&] { return api().buf32GetBuf(source, 0, 0, 5, 5, &handle); }},
        {"MergeBuf", [&] { return api().buf32MergeBuf(source, 0, 0, 5, 5, duplicate, 0, 0); }},
        {"DupBuf", [&] { return api().buf32DupBuf(source, &handle); }},
        {"FillOneColor", [&] { return api().buf32FillOneColor(duplicate, memory); }},
        {"FillPattern", [&] { return api().buf32FillPattern(duplicate, &pattern); }},
    };
    for (const auto &[name, call] : calls) {
        SCOPED_TRACE(name);
        raised = restored = 0;
        EXPECT_EQ(call(), 0);
        EXPECT_GE(raised, 1);
        EXPECT_EQ(restored, raised);
        EXPECT_EQ(GetThreadPriority(GetCurrentThread()), before);
        forget_reports();
    }
    raised = restored = 0;
    EXPECT_SUCCESS(api().buf32GetMemWithBC(source, -1, -1, 1, 1, memory, memory));
    EXPECT_EQ(raised, 1);
    EXPECT_EQ(restored, 1);
}

} // namespace
} // namespace q32::test
