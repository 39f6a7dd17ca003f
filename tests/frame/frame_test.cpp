// The frame itself: what the other tests lean on must be able to notice what they look for.
#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/fenced_memory.h"
#include "tests/frame/library.h"
#include "tests/frame/misaligned.h"
#include "tests/frame/sandbox.h"

#include <gtest/gtest-spi.h>

#include <array>
#include <cstdlib>
#include <functional>

namespace q32::frame {
namespace {

// --- the library ---------------------------------------------------------------------------------

TEST(LoadedLibrary, RunsThroughItsLifeManyTimes) {
    drop_shared_library();
    empty_sandbox(); // what other tests have left there
    const Census before = Census::now();
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        Library library;
        EXPECT_FALSE(library.attached());
        ASSERT_TRUE(library.attach());
        HBUF32 buffer = 0;
        EXPECT_SUCCESS(library.api().buf32Alloc(&buffer, 24, 300, 200, 0, nullptr));
        EXPECT_EQ(library.api().buf32CountBuf(nullptr), 1);
        EXPECT_SUCCESS(library.api().buf32Free(buffer));
        library.detach();
        EXPECT_FALSE(library.attached());
    }
    empty_sandbox(); // the master record file
    EXPECT_EQ(Census::now(), before);
}

TEST(LoadedLibrary, StartsWithoutHavingRun) {
    drop_shared_library();
    {
        FailingCall allocations("GlobalAlloc", 0);
        FailingCall files("CreateFileA", 0);
        Library library;
        EXPECT_EQ(allocations.calls() + files.calls(), 0);
        EXPECT_EQ(GetModuleHandleA("Q32BASE.DLL"), library.module());
        ASSERT_TRUE(library.attach());
        EXPECT_GT(files.calls(), 0);
    }
    EXPECT_EQ(GetModuleHandleA("Q32BASE.DLL"), nullptr);
}

TEST(LoadedLibrary, UsesTheRecordingCommonLibrary) {
    Library &library = shared_library();
    for (const auto &[name, slot] : library.imports())
        if (name.first == "q32comm.dll") {
            MEMORY_BASIC_INFORMATION memory;
            ASSERT_NE(VirtualQuery(*slot, &memory, sizeof memory), 0u);
            EXPECT_EQ(memory.AllocationBase, GetModuleHandleA("q32comm.dll")) << name.second;
        }
    EXPECT_NE(library.import_slot("Q32COMM.DLL", "c32SetDLLErrInfo"), nullptr);
    EXPECT_EQ(library.import_slot("q32comm.dll", "no_such_function"), nullptr);
}

// --- reports -------------------------------------------------------------------------------------

HBUF32 some_buffer;

TEST(Reports, AreThoseOfTheCall) {
    EXPECT_REPORT(api().buf32Alloc(&some_buffer, 24, 32001, 1, 0, nullptr), 5402, 0, 4, 71);
    EXPECT_SILENT_FAILURE(api().buf32Free(0));
    EXPECT_NO_REPORT(api().buf32CountBuf(nullptr));
}

TEST(Reports, ThatDifferAreNoticed) {
    forget_reports();
    EXPECT_FALSE(api().buf32Alloc(&some_buffer, 24, 1, 32001, 0, nullptr));
    EXPECT_TRUE(check_reports({{5403, 0, 4, 72}}, true, ""));
    EXPECT_FALSE(check_reports({{5403, 0, 4, 72}}, false, ""));
    EXPECT_FALSE(check_reports({{5403, 0, 4, 71}}, true, ""));
    EXPECT_FALSE(check_reports({{5403, 0, 4, 72}, {5403, 0, 4, 72}}, true, ""));
    EXPECT_FALSE(check_reports({}, true, ""));
}

TEST(CommonLibrary, AnswersWhatItIsTold) {
    set_text(10000, "ANOTHER.INI");
    EXPECT_EQ(text_of(10000), "ANOTHER.INI");
    EXPECT_EQ(settings_file().substr(settings_file().rfind('\\')), "\\ANOTHER.INI");
    remove_text(10000);
    EXPECT_EQ(text_of(10000), "");
    reset_comm();
    EXPECT_NE(text_of(10000), "ANOTHER.INI");
    EXPECT_EQ(path_key(2), "TestFolder2");
    EXPECT_EQ(switch_key(3), "Switch3");
}

// --- calls ---------------------------------------------------------------------------------------

TEST(FailingCalls, FailTheOneTheyName) {
    shared_library(); // whose own start must not meet the call that fails
    for (int n = 1; n <= 2; ++n) {
        SCOPED_TRACE(n);
        const Census before = Census::now();
        FailingCall nth("GlobalAlloc", n);
        EXPECT_FALSE(nth.happened());
        EXPECT_REPORT(api().buf32Alloc(&some_buffer, 24, 10, 10, 0, nullptr), 1001, 0, 4, 9);
        EXPECT_TRUE(nth.happened());
        EXPECT_EQ(nth.calls(), n);
        EXPECT_EQ(Census::now(), before);
        EXPECT_SUCCESS(api().buf32Alloc(&some_buffer, 24, 10, 10, 0, nullptr));
        EXPECT_SUCCESS(api().buf32Free(some_buffer));
    }
}

TEST(FailingCalls, GiveTheLastError) {
    drop_shared_library();
    Library library;
    auto *const create = reinterpret_cast<decltype(&CreateFileA)>(
        *library.import_slot("kernel32.dll", "CreateFileA"));
    const FailingCall usual("CreateFileA", 1);
    const FailingCall own("CreateFileA", 2, FailingCall::from_there_on, ERROR_SHARING_VIOLATION);
    const auto open = [&] {
        return create("C:\\x", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    };
    EXPECT_EQ(open(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(open(), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    }
    EXPECT_EQ(own.calls(), 3);
}

TEST(Replacements, LastForTheirScope) {
    drop_shared_library();
    {
        const Replaced<call::GetDeviceCaps> sixteen([](HDC dc, int index) {
            return index == BITSPIXEL ? 4 : index == PLANES ? 1 : GetDeviceCaps(dc, index);
        });
        Library library;
        EXPECT_FALSE(library.attach());
        ASSERT_EQ(comm().box_count, 1);
        EXPECT_STREQ(comm().boxes[0].text, "Refused: Q32BASE.DLL");
        ASSERT_EQ(comm().report_count, 1);
        EXPECT_TRUE(comm().reports[0].has_text);
    }
    reset_comm();
    Library library;
    EXPECT_TRUE(library.attach());
}

int hook_calls = 0;
HGLOBAL(WINAPI *hooked)(UINT, SIZE_T);
HGLOBAL WINAPI counting(UINT flags, SIZE_T bytes) {
    ++hook_calls;
    return hooked(flags, bytes);
}

TEST(ImportHooks, StandBeforeTheGate) {
    hook_calls = 0;
    shared_library();
    const FailingCall gate("GlobalAlloc", 0);
    {
        const ImportHook hook(shared_library(), "KERNEL32.dll", "GlobalAlloc",
                              reinterpret_cast<void *>(&counting));
        hooked = hook.original<decltype(hooked)>();
        EXPECT_SUCCESS(api().buf32Alloc(&some_buffer, 24, 10, 10, 0, nullptr));
    }
    EXPECT_GT(hook_calls, 0);
    EXPECT_EQ(gate.calls(), hook_calls);
    const int calls = hook_calls;
    EXPECT_SUCCESS(api().buf32Free(some_buffer));
    EXPECT_SUCCESS(api().buf32Alloc(&some_buffer, 24, 10, 10, 0, nullptr));
    EXPECT_SUCCESS(api().buf32Free(some_buffer));
    EXPECT_EQ(hook_calls, calls);
}

TEST(TheCensus, SeesWhatABufferHolds) {
    shared_library(); // what its own start takes is not the buffer's
    const Census before = Census::now();
    ASSERT_TRUE(api().buf32Alloc(&some_buffer, 24, 300, 200, 0, nullptr));
    Census with = Census::now();
    EXPECT_EQ(with.global_blocks, before.global_blocks + 1);
    EXPECT_EQ(with.reservations, before.reservations + 1);
    EXPECT_NE(with, before);
    ASSERT_TRUE(api().buf32Free(some_buffer));
    EXPECT_EQ(Census::now(), before);

    // The first swap file also makes the process's record file.
    ASSERT_TRUE(api().buf32Alloc(&some_buffer, 24, 300, 200, BUF32_TILED_FILE, nullptr));
    ASSERT_TRUE(api().buf32Free(some_buffer));
    const Census recorded = Census::now();
    ASSERT_TRUE(api().buf32Alloc(&some_buffer, 24, 300, 200, BUF32_TILED_FILE, nullptr));
    with = Census::now();
    EXPECT_EQ(with.files, recorded.files + 1);
    EXPECT_EQ(with.mappings, recorded.mappings + 1);
    EXPECT_EQ(with.views, recorded.views + 1);
    EXPECT_EQ(with.files_on_disk, recorded.files_on_disk + 1);
    EXPECT_EQ(files_below(sandbox_swap()).size(), 1u);
    ASSERT_TRUE(api().buf32Free(some_buffer));
    EXPECT_EQ(Census::now(), recorded);
}

TEST(TheCensus, CountsLocksAndMovedBlocks) {
    Library &library = shared_library();
    const auto slot = [&](const char *name) { return *library.import_slot("kernel32.dll", name); };
    const auto allocate = reinterpret_cast<decltype(&GlobalAlloc)>(slot("GlobalAlloc"));
    const auto lock = reinterpret_cast<decltype(&GlobalLock)>(slot("GlobalLock"));
    const auto unlock = reinterpret_cast<decltype(&GlobalUnlock)>(slot("GlobalUnlock"));
    const auto release = reinterpret_cast<decltype(&GlobalFree)>(slot("GlobalFree"));
    const Census before = Census::now();
    const HGLOBAL moveable = allocate(GMEM_MOVEABLE, 100);
    const HGLOBAL fixed = allocate(GMEM_FIXED, 100);
    lock(moveable);
    lock(moveable);
    lock(fixed);
    EXPECT_EQ(Census::now().global_locks, before.global_locks + 2);
    unlock(moveable);
    EXPECT_EQ(Census::now().global_locks, before.global_locks + 1);
    unlock(moveable);
    EXPECT_EQ(Census::now().global_locks, before.global_locks);
    EXPECT_EQ(Census::now().global_blocks, before.global_blocks + 2);
    release(moveable);
    forget_block(fixed);
    GlobalFree(fixed);
    EXPECT_EQ(Census::now(), before);
}

// --- misaligned calls ----------------------------------------------------------------------------

#ifndef _WIN64
// Not inlined and with arguments of its own, so that the stack is the caller's.
[[gnu::noinline]] std::uintptr_t place_of_arguments(int a, int b, int c) {
    std::uintptr_t frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return a == 11 && b == 22 && c == 33 ? frame : 0;
}

std::uint32_t sum(std::uint8_t small, std::int16_t negative, RECT by_value, double wide) {
    return static_cast<std::uint32_t>(small + negative + by_value.left + by_value.bottom +
                                      static_cast<int>(wide));
}

TEST(MisalignedCalls, HaveTheStackWhereItIsWanted) {
    for (const std::uint32_t remainder : {0u, 4u, 8u, 12u}) {
        // Return address and frame pointer lie between the call's stack and the frame.
        const std::uintptr_t frame = call_at(remainder, &place_of_arguments, 11, 22, 33);
        ASSERT_NE(frame, 0u);
        EXPECT_EQ((frame + 8) % 16, remainder);
        EXPECT_EQ(call_at(remainder, &sum, 200, -1000, RECT{1, 2, 3, 4}, 5000.0), 4205u);
    }
}

TEST(MisalignedCalls, TurnThroughAllPlaces) {
    struct Name;
    using Turning = OnTurningStack<Name, decltype(&place_of_arguments)>;
    Turning::function = place_of_arguments;
    for (std::uint32_t i = 0; i < 9; ++i)
        EXPECT_EQ((Turning::call(11, 22, 33) + 8) % 16, 4 * (i % 4));
}

// Every function of the interface, in a library that is loaded while the environment asks for it.
TEST(MisalignedCalls, StandBeforeEveryExport) {
    SetEnvironmentVariableA("Q32BASE_TEST_STACK", "turning");
    const Library turning;
    SetEnvironmentVariableA("Q32BASE_TEST_STACK", nullptr);
    const Library plain;
    int exports = 0;
#define Q32_EXPORT(name)                                                                           \
    EXPECT_NE(turning.api().name, plain.api().name) << #name;                                      \
    ++exports;
#include "q32_exports.inc"
#undef Q32_EXPORT
    EXPECT_EQ(exports, 108);
}

TEST(MisalignedCalls, ReachTheLibrary) {
    for (const std::uint32_t remainder : {4u, 8u, 12u}) {
        EXPECT_SUCCESS(
            call_at(remainder, api().buf32Alloc, &some_buffer, 24, 300, 200, 0, nullptr));
        EXPECT_SUCCESS(call_at(remainder, api().buf32Free, some_buffer));
    }
}
#endif

// --- fences --------------------------------------------------------------------------------------

DWORD protection_at(const void *address) {
    MEMORY_BASIC_INFORMATION memory = {};
    VirtualQuery(address, &memory, sizeof memory);
    return memory.State == MEM_COMMIT ? memory.Protect : DWORD{PAGE_NOACCESS};
}

TEST(FencedMemory, LiesBetweenInaccessiblePages) {
    const test::FencedMemory memory(5000);
    EXPECT_GE(memory.size(), 5000u);
    EXPECT_EQ(protection_at(memory.begin() - 1), DWORD{PAGE_NOACCESS});
    EXPECT_EQ(protection_at(memory.begin()), DWORD{PAGE_READWRITE});
    EXPECT_EQ(protection_at(memory.end() - 1), DWORD{PAGE_READWRITE});
    EXPECT_EQ(protection_at(memory.end()), DWORD{PAGE_NOACCESS});
}

TEST(FencedMemoryDeathTest, EndsTheProgramThatStepsOver) {
    const test::FencedMemory memory(1);
    volatile std::uint8_t *const behind = memory.end();
    EXPECT_DEATH(*behind = 1, "");
    EXPECT_DEATH(memory.begin()[-1] = 1, "");
}

// --- a heap of fenced blocks ---------------------------------------------------------------------

std::uint8_t *bytes_of(const void *block) {
    return static_cast<std::uint8_t *>(const_cast<void *>(block));
}

// The page heap of a whole process, from here on that of this program as well.
class ProcessHeap : public testing::Test {
protected:
    ProcessHeap() {
        drop_shared_library();
        SetEnvironmentVariableA("Q32BASE_TEST_HEAP", "fenced");
        shared_library();
    }
    ~ProcessHeap() override {
        drop_shared_library();
        SetEnvironmentVariableA("Q32BASE_TEST_HEAP", heap_before_.c_str());
    }

private:
    const std::string heap_before_ = std::getenv("Q32BASE_TEST_HEAP") ? "fenced" : "";
};

TEST_F(ProcessHeap, FencesEveryBlockOfTheLibrary) {
    HGLOBAL block = nullptr;
    {
        Replaced<call::GlobalAlloc> watch([&](UINT flags, SIZE_T size) {
            block = call::GlobalAlloc::real(flags, size);
            const auto *const memory = bytes_of(call::GlobalLock::real(block));
            EXPECT_EQ(protection_at(memory), DWORD{PAGE_READWRITE});
            constexpr SIZE_T unit = MEMORY_ALLOCATION_ALIGNMENT;
            EXPECT_EQ(protection_at(memory + (size + unit - 1) / unit * unit),
                      DWORD{PAGE_NOACCESS});
            call::GlobalUnlock::real(block);
            return block;
        });
        EXPECT_SUCCESS(api().buf32Alloc(&some_buffer, 24, 300, 200, 0, nullptr));
    }
    EXPECT_NE(block, nullptr);
    EXPECT_SUCCESS(api().buf32Free(some_buffer));
}

TEST_F(ProcessHeap, AnswersTheProgramToo) {
    const HGLOBAL block = GlobalAlloc(GHND, 11);
    auto *const first = bytes_of(GlobalLock(block));
    EXPECT_EQ(protection_at(first + 16), DWORD{PAGE_NOACCESS});
    EXPECT_EQ(first[10], 0);
    first[10] = 42;
    EXPECT_EQ(GlobalSize(block), 11u);
    EXPECT_EQ(GlobalHandle(first), block);
    EXPECT_EQ(GlobalFlags(block), 1u);
    EXPECT_FALSE(GlobalUnlock(block));
    const auto *const second = bytes_of(GlobalLock(block));
    EXPECT_NE(second, first);
    EXPECT_EQ(protection_at(first), DWORD{PAGE_NOACCESS});
    EXPECT_EQ(second[10], 42);
    GlobalUnlock(block);
    EXPECT_EQ(GlobalFree(block), nullptr);
    EXPECT_EQ(protection_at(second), DWORD{PAGE_NOACCESS});
}

TEST_F(ProcessHeap, NoticesBytesBesideABlock) {
    const HGLOBAL block = GlobalAlloc(GMEM_FIXED, 11);
    bytes_of(block)[11] = 1;
    EXPECT_NONFATAL_FAILURE(GlobalFree(block), "written beside a block of 11 bytes");
}

} // namespace
} // namespace q32::frame
