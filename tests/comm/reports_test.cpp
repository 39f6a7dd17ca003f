// The error channel: one last report for each thread.
#include "tests/comm/comm_library.h"
#include "tests/comm/import_hook.h"

#include <thread>

namespace q32::test {
namespace {

TEST(Reports, AreReadBackWithAllSixArguments) {
    const CommLibrary comm;
    EXPECT_EQ(comm.c32GetDLLErrInfo(nullptr), 0);
    EXPECT_EQ(comm.c32SetDLLErrInfo("text", 1, 2, 3, 4, 5), 1);
    for (int i = 0; i < 2; ++i) { // reading does not clear
        C32ERRINFO info = {};
        ASSERT_EQ(comm.c32GetDLLErrInfo(&info), 1);
        EXPECT_STREQ(info.text, "text");
        EXPECT_EQ(info.message, 1);
        EXPECT_EQ(info.severity, 2);
        EXPECT_EQ(info.library, 3);
        EXPECT_EQ(info.module, 4);
        EXPECT_EQ(info.point, 5);
        EXPECT_EQ(comm.c32GetDLLErrInfo(nullptr), 1);
    }
}

TEST(Reports, ReplaceTheOneBefore) {
    const CommLibrary comm;
    comm.c32SetDLLErrInfo("first", 1, 1, 1, 1, 1);
    comm.c32SetDLLErrInfo(nullptr, -2, 0, 1450, 4, 9);
    C32ERRINFO info = {};
    ASSERT_EQ(comm.c32GetDLLErrInfo(&info), 1);
    EXPECT_STREQ(info.text, "");
    EXPECT_EQ(info.message, -2);
}

TEST(Reports, AreForgottenWhenCleared) {
    const CommLibrary comm;
    EXPECT_EQ(comm.c32ClearDLLErrInfo(), 0);
    comm.c32SetDLLErrInfo("text", 1, 2, 3, 4, 5);
    EXPECT_EQ(comm.c32ClearDLLErrInfo(), 1);
    EXPECT_EQ(comm.c32ClearDLLErrInfo(), 0);
    C32ERRINFO info;
    std::memset(&info, 0x55, sizeof info);
    const C32ERRINFO before = info;
    EXPECT_EQ(comm.c32GetDLLErrInfo(&info), 0);
    EXPECT_EQ(std::memcmp(&info, &before, sizeof info), 0);
}

TEST(Reports, CutLongTexts) {
    const CommLibrary comm;
    for (const std::size_t length : {1022u, 1023u, 1024u, 100000u}) {
        const std::string text(length, 'x');
        EXPECT_EQ(comm.c32SetDLLErrInfo(text.c_str(), 1, 0, 0, 0, 0), 1);
        C32ERRINFO info = {};
        ASSERT_EQ(comm.c32GetDLLErrInfo(&info), 1);
        EXPECT_EQ(info.text, text.substr(0, C32_ERR_TEXT_SIZE - 1));
    }
}

TEST(Reports, LeaveTheLastErrorAlone) {
    const CommLibrary comm;
    SetLastError(1234);
    comm.c32SetDLLErrInfo(nullptr, 1, 0, 0, 0, 0);
    comm.c32SetDLLErrInfo(nullptr, 1, 0, 0, 0, 0);
    comm.c32GetDLLErrInfo(nullptr);
    comm.c32ClearDLLErrInfo();
    EXPECT_EQ(GetLastError(), DWORD{1234});
}

TEST(Reports, BelongToTheirThread) {
    const CommLibrary comm;
    comm.c32SetDLLErrInfo("main", 1, 0, 0, 0, 0);
    std::vector<std::thread> threads;
    for (int number = 2; number < 10; ++number)
        threads.emplace_back([&comm, number] {
            EXPECT_EQ(comm.c32GetDLLErrInfo(nullptr), 0);
            for (int round = 0; round < 1000; ++round) {
                comm.c32SetDLLErrInfo(nullptr, number, round, 0, 0, 0);
                C32ERRINFO info = {};
                ASSERT_EQ(comm.c32GetDLLErrInfo(&info), 1);
                ASSERT_EQ(info.message, number);
                ASSERT_EQ(info.severity, round);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    C32ERRINFO info = {};
    ASSERT_EQ(comm.c32GetDLLErrInfo(&info), 1);
    EXPECT_STREQ(info.text, "main");
}

// Blocks of the process's heap that can be a report.
int report_blocks() {
    int count = 0;
    PROCESS_HEAP_ENTRY entry = {};
    HeapLock(GetProcessHeap());
    while (HeapWalk(GetProcessHeap(), &entry))
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 && entry.cbData >= sizeof(C32ERRINFO) &&
            entry.cbData < sizeof(C32ERRINFO) + 64)
            ++count;
    HeapUnlock(GetProcessHeap());
    return count;
}

TEST(Reports, AreFreedWithTheirThread) {
    const CommLibrary comm;
    comm.c32SetDLLErrInfo(nullptr, 1, 0, 0, 0, 0);
    const int before = report_blocks();
    EXPECT_GE(before, 1);
    for (int i = 0; i < 20; ++i)
        std::thread([&] { comm.c32SetDLLErrInfo(nullptr, 1, 0, 0, 0, 0); }).join();
    EXPECT_LT(report_blocks(), before + 5); // the system may keep a block or two of its own
}

TEST(Reports, AreFreedWithTheLibrary) {
    const int before = report_blocks();
    const HANDLE reported = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    const HANDLE end = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::vector<std::thread> threads;
    for (int load = 0; load < 20; ++load) {
        const CommLibrary comm;
        comm.c32SetDLLErrInfo(nullptr, 1, 0, 0, 0, 0);
        threads.emplace_back([&] {
            comm.c32SetDLLErrInfo("of a thread that outlives the library", 1, 0, 0, 0, 0);
            SetEvent(reported);
            WaitForSingleObject(end, INFINITE);
        });
        WaitForSingleObject(reported, INFINITE);
        EXPECT_GE(report_blocks(), before + 2);
    }
    EXPECT_LT(report_blocks(), before + 10);
    SetEvent(end);
    for (std::thread &thread : threads)
        thread.join();
    CloseHandle(reported);
    CloseHandle(end);
}

TEST(Reports, AreNotMadeWithoutMemory) {
    const CommLibrary comm;
    {
        const ImportHook no_memory(
            "HeapAlloc", +[](HANDLE, DWORD, SIZE_T) WINAPI -> void * { return nullptr; });
        EXPECT_EQ(comm.c32SetDLLErrInfo("text", 1, 2, 3, 4, 5), 0);
        EXPECT_EQ(comm.c32GetDLLErrInfo(nullptr), 0);
        EXPECT_EQ(comm.c32ClearDLLErrInfo(), 0);
    }
    EXPECT_EQ(comm.c32SetDLLErrInfo("text", 1, 2, 3, 4, 5), 1);
}

TEST(Reports, AreFreedWhereTheThreadCannotKeepThem) {
    const CommLibrary comm;
    const ImportHook no_room(
        "TlsSetValue", +[](DWORD, void *) WINAPI -> BOOL { return FALSE; });
    const int before = report_blocks();
    EXPECT_EQ(comm.c32SetDLLErrInfo("text", 1, 2, 3, 4, 5), 0);
    EXPECT_EQ(comm.c32GetDLLErrInfo(nullptr), 0);
    EXPECT_EQ(report_blocks(), before);
}

TEST(Reports, NeedASlotOfTheThreads) {
    const std::string path = CommLibrary::path();
    std::vector<DWORD> slots;
    for (DWORD slot; (slot = TlsAlloc()) != TLS_OUT_OF_INDEXES;)
        slots.push_back(slot);
    EXPECT_EQ(LoadLibraryA(path.c_str()), nullptr);
    for (const DWORD slot : slots)
        TlsFree(slot);
    const CommLibrary comm;
    EXPECT_EQ(comm.c32SetDLLErrInfo("text", 1, 2, 3, 4, 5), 1);
}

TEST(ReportsDeathTest, MayBeThereWhenTheProcessEnds) {
    EXPECT_EXIT(
        {
            const CommLibrary comm;
            comm.c32SetDLLErrInfo("text", 1, 2, 3, 4, 5);
            std::exit(5);
        },
        testing::ExitedWithCode(5), "");
}

} // namespace
} // namespace q32::test
