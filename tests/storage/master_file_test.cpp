// What the start does with the master record file, and with what other processes have left in it.
#include "tests/storage/storage_fixture.h"

#include <cstring>

namespace q32::test {
namespace {

constexpr Failure not_created{4010, 0, 9, 1}, not_reopened{4010, 0, 9, 9};

class MasterFile : public LibraryTest {
protected:
    // A record file as a process leaves it: paths in entries, and a rest that is no whole entry.
    static Bytes record_of(const std::vector<std::string> &paths, std::size_t rest = 0) {
        Bytes bytes(paths.size() * 260);
        for (std::size_t i = 0; i < paths.size(); ++i)
            put_path(bytes, i, paths[i]);
        bytes.resize(bytes.size() + rest);
        return bytes;
    }

    static std::string left_file(const std::string &name) {
        const std::string path = frame::make_folder("left") + name + ".tmp";
        frame::write_file(path, {1, 2, 3});
        return path;
    }

    static std::string record_name(int n) {
        return frame::sandbox_family() + "QTR" + std::to_string(n) + ".TMP";
    }
};

// --- making it -----------------------------------------------------------------------------------

TEST_F(MasterFile, IsMadeWhenThereIsNone) {
    EXPECT_FALSE(frame::file_exists(master_file()));
    start();
    EXPECT_EQ(frame::read_file(master_file()), empty_master());
    stop();
    EXPECT_EQ(frame::read_file(master_file()), empty_master());
}

TEST_F(MasterFile, AValidOneIsKept) {
    Bytes master = master_with({frame::sandbox() + "gone"});
    master[5 * slot_bytes + 7] = 0xEE; // behind the zero byte of a free slot
    frame::write_file(master_file(), master);
    start();
    EXPECT_EQ(frame::read_file(master_file()), master);
    stop();
    EXPECT_EQ(frame::read_file(master_file()), master);
}

TEST_F(MasterFile, AnInvalidOneIsMadeAnew) {
    std::vector<Bytes> invalid = {{}, {1, 2, 3}};
    invalid.push_back(empty_master());
    invalid.back().back() = 'C';
    invalid.push_back(empty_master());
    invalid.back()[slot_count * slot_bytes] = 'q';
    invalid.push_back(empty_master());
    invalid.back().resize(master_bytes - 1);
    invalid.push_back(empty_master());
    invalid.back().resize(slot_count * slot_bytes);
    invalid.push_back(Bytes(100000, 0xFF));
    for (std::size_t i = 0; i < invalid.size(); ++i) {
        SCOPED_TRACE(i);
        frame::write_file(master_file(), invalid[i]);
        start();
        EXPECT_EQ(frame::read_file(master_file()), empty_master());
        stop();
    }
}

TEST_F(MasterFile, AnInvalidOneNamesNobody) {
    const std::string swap_file = left_file("kept");
    frame::write_file(record_name(1), record_of({swap_file}));
    Bytes master = master_with({record_name(1)});
    master.back() = 'x';
    frame::write_file(master_file(), master);
    start();
    EXPECT_EQ(frame::read_file(master_file()), empty_master());
    EXPECT_TRUE(frame::file_exists(swap_file));
    EXPECT_TRUE(frame::file_exists(record_name(1)));
    DeleteFileA(record_name(1).c_str());
}

TEST_F(MasterFile, WhatFollowsTheSignatureDoesNotMatter) {
    Bytes master = master_with({frame::sandbox() + "gone"});
    master.resize(master_bytes + 100, 0x77);
    frame::write_file(master_file(), master);
    start();
    EXPECT_EQ(frame::read_file(master_file()), master);
}

// --- attempts ------------------------------------------------------------------------------------

std::string open_text(DWORD disposition) {
    return "CreateFileA(\"" + master_file() + "\", " +
           std::to_string(GENERIC_READ | GENERIC_WRITE) + ", " +
           std::to_string(FILE_SHARE_READ | FILE_SHARE_WRITE) + ", null, " +
           std::to_string(disposition);
}

int count(const Calls &calls, const std::string &beginning) {
    int result = 0;
    for (const Call &call : calls.all())
        result += text_of(call).starts_with(beginning);
    return result;
}

TEST_F(MasterFile, ThatNeverOpensIsTriedFor501Times) {
    frame::write_file(master_file(), empty_master());
    FileWatch watch;
    watch.create.error = ERROR_SHARING_VIOLATION;
    watch.create.refuse_all();
    EXPECT_FALSE(try_start());
    expect_reports({not_created});
    EXPECT_EQ(count(watch.calls, open_text(OPEN_EXISTING)), 501);
    const std::string create = "CreateFileA(\"" + master_file() + "\", ";
    EXPECT_EQ(count(watch.calls, create), 1002);
    EXPECT_EQ(watch.calls.count("Sleep"), 1000);
    EXPECT_EQ(count(watch.calls, "Sleep(0)"), 1000);
    // Attempt, sleep, attempt ...; 501 to open, then 501 to create.
    const auto &calls = watch.calls.all();
    const int first = watch.calls.find(create);
    for (int i = 0; i < 1001; ++i)
        EXPECT_EQ(calls[std::size_t(first + i)].name, i % 2 == 0 ? "CreateFileA" : "Sleep") << i;
    EXPECT_EQ(calls[std::size_t(first + 1001)].name, "CreateFileA");
    EXPECT_EQ(calls[std::size_t(first + 1001)].arguments[4], std::to_string(OPEN_ALWAYS));
}

TEST_F(MasterFile, TheLastAttemptIsAsGoodAsTheFirst) {
    const Bytes master = master_with({frame::sandbox() + "gone"});
    frame::write_file(master_file(), master);
    FileWatch watch;
    watch.create.error = ERROR_SHARING_VIOLATION;
    watch.create.refuse = [left = 500](auto...) mutable { return left-- > 0; };
    start();
    EXPECT_EQ(watch.calls.count("Sleep"), 500);
    EXPECT_EQ(frame::read_file(master_file()), master);
}

TEST_F(MasterFile, CreationIsTriedAgainToo) {
    FileWatch watch;
    watch.create.refuse = [left = 500](auto, auto, auto, auto, DWORD how, auto...) mutable {
        return how == OPEN_ALWAYS && left-- > 0;
    };
    start();
    EXPECT_EQ(frame::read_file(master_file()), empty_master());
}

TEST_F(MasterFile, CreationIsGivenUpAfter501Attempts) {
    FileWatch watch;
    int attempts = 0;
    watch.create.refuse = [&](auto, auto, auto, auto, DWORD how, auto...) {
        return how == OPEN_ALWAYS && ++attempts > 0;
    };
    EXPECT_FALSE(try_start());
    expect_reports({not_created});
    EXPECT_EQ(attempts, 501);
}

// It is there, and then cannot be opened again: reported; and what is in it is kept.
TEST_F(MasterFile, ThatCannotBeReopenedIsKept) {
    const Bytes master = master_with({frame::sandbox() + "gone"});
    frame::write_file(master_file(), master);
    FileWatch watch;
    int opens = 0;
    watch.create.error = ERROR_SHARING_VIOLATION;
    watch.create.refuse = [&](auto, auto, auto, auto, DWORD how, auto...) {
        return how == OPEN_EXISTING && ++opens > 1;
    };
    EXPECT_TRUE(try_start());
    expect_reports({not_reopened});
    EXPECT_EQ(opens, 502);
    EXPECT_EQ(frame::read_file(master_file()), master);
}

// Another program holds it until the attempts to open it are over: nothing of it is lost.
TEST_F(MasterFile, ThatIsHeldForAMomentIsKept) {
    const Bytes master = master_with({frame::sandbox() + "gone"});
    frame::write_file(master_file(), master);
    FileWatch watch;
    watch.create.error = ERROR_SHARING_VIOLATION;
    watch.create.refuse = [left = 501](auto...) mutable { return left-- > 0; };
    start();
    EXPECT_EQ(frame::read_file(master_file()), master);
    EXPECT_EQ(count(watch.calls, open_text(OPEN_ALWAYS)), 1);
    EXPECT_EQ(watch.calls.count("DeleteFileA"), 0);
}

TEST_F(MasterFile, ThatCanNeitherBeReopenedNorMadeFailsTheStart) {
    frame::write_file(master_file(), empty_master());
    FileWatch watch;
    watch.create.refuse = [opens = 0](auto...) mutable { return ++opens > 1; };
    EXPECT_FALSE(try_start());
    expect_reports({not_reopened, not_created});
}

TEST_F(MasterFile, IsSharedWithOthersWhoHoldItOpen) {
    frame::write_file(master_file(), empty_master());
    const HANDLE other = CreateFileA(master_file().c_str(), GENERIC_READ | GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    start();
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED_FILE);
    EXPECT_NE(frame::read_file(master_file())[0], 0);
    free(buffer);
    stop();
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
    CloseHandle(other);
}

// --- cleaning up ---------------------------------------------------------------------------------

TEST_F(MasterFile, SwapFilesOfTheDeadAreDeleted) {
    std::vector<std::string> paths[3];
    for (int process = 0; process < 3; ++process) {
        for (int i = 0; i <= process * 2; ++i)
            paths[process].push_back(left_file(std::to_string(process) + "_" + std::to_string(i)));
        frame::write_file(record_name(process), record_of(paths[process]));
    }
    Bytes master = empty_master();
    const std::size_t slots[] = {0, 57, 99};
    for (int process = 0; process < 3; ++process)
        put_path(master, slots[process], record_name(process));
    frame::write_file(master_file(), master);

    start();
    for (int process = 0; process < 3; ++process) {
        EXPECT_FALSE(frame::file_exists(record_name(process)));
        for (const std::string &path : paths[process])
            EXPECT_FALSE(frame::file_exists(path)) << path;
        std::fill_n(master.begin() + slots[process] * slot_bytes, 4, 0);
    }
    EXPECT_EQ(frame::read_file(master_file()), master); // 4 bytes of each slot, no more
}

TEST_F(MasterFile, FreeEntriesAreSteppedOver) {
    const std::string first = left_file("first"), last = left_file("last");
    const std::string freed = left_file("freed");
    Bytes record = record_of({first, freed, freed, last});
    std::fill_n(record.begin() + 260, 4, 0); // of a buffer that was freed: the rest of its path
    std::fill_n(record.begin() + 520, 260, 0);
    frame::write_file(record_name(1), record);
    frame::write_file(master_file(), master_with({record_name(1)}));
    start();
    EXPECT_FALSE(frame::file_exists(first));
    EXPECT_FALSE(frame::file_exists(last));
    EXPECT_TRUE(frame::file_exists(freed));
    EXPECT_FALSE(frame::file_exists(record_name(1)));
}

TEST_F(MasterFile, TheFirstShortEntryEndsTheReading) {
    for (std::size_t rest : {1u, 100u, 259u}) {
        const std::string whole = left_file("whole"), cut = left_file("cut");
        Bytes record = record_of({whole, cut});
        record.resize(260 + rest);
        frame::write_file(record_name(1), record);
        frame::write_file(master_file(), master_with({record_name(1)}));
        start();
        EXPECT_FALSE(frame::file_exists(whole));
        EXPECT_TRUE(frame::file_exists(cut)) << rest;
        EXPECT_FALSE(frame::file_exists(record_name(1)));
        EXPECT_EQ(frame::read_file(master_file())[0], 0);
        stop();
    }
}

// Entries are read 252 at a time.
TEST_F(MasterFile, AReadThatFailsEndsTheReading) {
    const std::string first = left_file("first"), last = left_file("last");
    const std::string second = left_file("second");
    std::vector<std::string> paths(253);
    paths[0] = first;
    paths[251] = last;
    paths[252] = second;
    frame::write_file(record_name(1), record_of(paths));
    frame::write_file(master_file(), master_with({record_name(1)}));
    FileWatch watch;
    HANDLE record = nullptr;
    watch.create.instead = [&](auto path, auto... rest) {
        const HANDLE file = call::CreateFileA::real(path, rest...);
        if (is_record_file(path))
            record = file;
        return file;
    };
    int reads = 0;
    watch.read.refuse = [&](HANDLE file, auto...) { return file == record && ++reads == 2; };
    start();
    EXPECT_FALSE(frame::file_exists(first));
    EXPECT_FALSE(frame::file_exists(last));
    EXPECT_TRUE(frame::file_exists(second));
    EXPECT_EQ(reads, 2);
    EXPECT_FALSE(frame::file_exists(record_name(1)));
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
}

TEST_F(MasterFile, ListsOfEveryLengthAreReadToTheirEnd) {
    for (std::size_t entries : {1u, 251u, 252u, 253u, 503u, 504u, 505u, 1000u}) {
        SCOPED_TRACE(entries);
        const std::string last = left_file("last");
        std::vector<std::string> paths(entries);
        paths.back() = last;
        frame::write_file(record_name(1), record_of(paths, entries % 2 == 0 ? 259 : 0));
        frame::write_file(master_file(), master_with({record_name(1)}));
        start();
        EXPECT_FALSE(frame::file_exists(last));
        EXPECT_FALSE(frame::file_exists(record_name(1)));
        EXPECT_EQ(frame::read_file(master_file())[0], 0);
        stop();
    }
}

TEST_F(MasterFile, AnEmptyRecordFileIsRemoved) {
    frame::write_file(record_name(1), {});
    frame::write_file(master_file(), master_with({record_name(1)}));
    start();
    EXPECT_FALSE(frame::file_exists(record_name(1)));
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
}

TEST_F(MasterFile, TheLivingAreLeftAlone) {
    const std::string living = left_file("living"), dead = left_file("dead");
    frame::write_file(record_name(1), record_of({living}));
    frame::write_file(record_name(2), record_of({dead}));
    Bytes master = master_with({record_name(1), record_name(2)});
    frame::write_file(master_file(), master);
    const HANDLE owner = CreateFileA(record_name(1).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(owner, INVALID_HANDLE_VALUE);
    start();
    EXPECT_TRUE(frame::file_exists(living));
    EXPECT_TRUE(frame::file_exists(record_name(1)));
    EXPECT_FALSE(frame::file_exists(dead));
    EXPECT_FALSE(frame::file_exists(record_name(2)));
    std::fill_n(master.begin() + slot_bytes, 4, 0);
    EXPECT_EQ(frame::read_file(master_file()), master);
    library().detach();

    CloseHandle(owner); // now it is dead too
    start();
    EXPECT_FALSE(frame::file_exists(living));
    EXPECT_FALSE(frame::file_exists(record_name(1)));
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
}

// Also a record file that is not there at all cannot be opened: its slot is not cleared.
TEST_F(MasterFile, ARecordFileThatIsGoneKeepsItsSlot) {
    const Bytes master = master_with({record_name(1), frame::sandbox() + "no folder\\QTR2.TMP"});
    frame::write_file(master_file(), master);
    start();
    EXPECT_EQ(frame::read_file(master_file()), master);
}

TEST_F(MasterFile, RecordFilesAreOpenedExclusivelyAndNeverMade) {
    frame::write_file(record_name(1), record_of({}));
    frame::write_file(master_file(), master_with({record_name(1), record_name(2)}));
    FileWatch watch;
    start();
    for (int n : {1, 2}) {
        const int place = watch.calls.find("CreateFileA(\"" + record_name(n));
        ASSERT_NE(place, -1);
        const Call &open = watch.calls.all()[std::size_t(place)];
        EXPECT_EQ(open.arguments[2], "0");
        EXPECT_EQ(open.arguments[4], std::to_string(OPEN_EXISTING));
    }
    EXPECT_FALSE(frame::file_exists(record_name(2)));
}

// Slots and entries without a terminator, from a file that something else has written.
TEST_F(MasterFile, StandsPathsWithoutAnEnd) {
    Bytes master = empty_master();
    std::fill_n(master.begin(), slot_bytes * slot_count, 'x');
    frame::write_file(master_file(), master);
    start();
    EXPECT_EQ(frame::read_file(master_file()), master);
    stop();

    const std::string last = left_file("last");
    Bytes record = record_of({"", "", last});
    std::fill_n(record.begin(), 520, 'y');
    frame::write_file(record_name(1), record);
    frame::write_file(master_file(), master_with({record_name(1)}));
    start();
    EXPECT_FALSE(frame::file_exists(last));
    EXPECT_FALSE(frame::file_exists(record_name(1)));
}

// --- what is deleted, and in which order ---------------------------------------------------------

// Anybody can write these files. What the system's naming of temporary files cannot have made
// stays, whatever they say.
TEST_F(MasterFile, OnlyTemporaryNamesAreDeleted) {
    const std::string folder = frame::make_folder("left");
    const std::string names[] = {"letter.doc", "noextension",  "picture.tmp.bmp", "x.tm",
                                 "x.tmpp",     "x.bmp",        "x.tap",           "x.tmx",
                                 "tmp",        "picture.tmp ", "~QT1234.TMP.",    "x_tmp"};
    std::vector<std::string> paths;
    for (const std::string &name : names) {
        paths.push_back(folder + name);
        frame::write_file(paths.back(), {1, 2, 3});
    }
    const std::string good = folder + "~QT12AB.TMP", small = folder + "~qt12ac.tMp";
    frame::write_file(good, {1});
    frame::write_file(small, {1});
    std::vector<std::string> listed = paths;
    listed.push_back(good);
    listed.push_back(small);
    frame::write_file(record_name(1), record_of(listed));
    frame::write_file(master_file(), master_with({record_name(1)}));
    start();
    for (const std::string &path : paths)
        EXPECT_TRUE(frame::file_exists(path)) << path;
    EXPECT_FALSE(frame::file_exists(good));
    EXPECT_FALSE(frame::file_exists(small));
    EXPECT_FALSE(frame::file_exists(record_name(1)));
}

// A name that depends on the current directory or drive, or that is a device's, is none of ours.
TEST_F(MasterFile, OnlyWholePathsAreDeleted) {
    const std::string whole = left_file("file");
    const std::string folder = frame::make_folder("left");
    char before[MAX_PATH];
    GetCurrentDirectoryA(sizeof before, before);
    ASSERT_TRUE(SetCurrentDirectoryA(folder.c_str()));
    const std::string names[] = {"file.tmp",
                                 ".\\file.tmp",
                                 whole.substr(0, 2) + "file.tmp",
                                 whole.substr(2),
                                 "\\\\.\\" + whole,
                                 "\\\\?\\" + whole,
                                 "1" + whole.substr(1),
                                 "@" + whole.substr(1),
                                 "{" + whole.substr(1)};
    for (const std::string &name : names) {
        SCOPED_TRACE(name);
        frame::write_file(record_name(1), record_of({name}));
        frame::write_file(master_file(), master_with({record_name(1)}));
        FileWatch watch;
        start();
        EXPECT_EQ(watch.calls.count("DeleteFileA"), 1); // the record file
        EXPECT_TRUE(frame::file_exists(whole));
        stop();
    }
    SetCurrentDirectoryA(before);
}

TEST_F(MasterFile, PathsOfAllDrivesAreDeleted) {
    std::vector<std::string> paths;
    for (const char *const drive : {"A", "B", "Y", "Z", "a", "b", "y", "z"})
        paths.push_back(drive + std::string(":\\not there\\~QT1.TMP"));
    frame::write_file(record_name(1), record_of(paths));
    frame::write_file(master_file(), master_with({record_name(1)}));
    FileWatch watch;
    watch.remove.instead = [](const char *name) {
        return std::strstr(name, "not there") != nullptr ? TRUE : call::DeleteFileA::real(name);
    };
    start();
    for (const std::string &path : paths)
        EXPECT_NE(watch.calls.find("DeleteFileA(\"" + path), -1) << path;
}

TEST_F(MasterFile, PathsOfSharesAreDeleted) {
    const std::string paths[] = {"\\\\server\\share\\~QT1.TMP", "\\\\10.0.0.1\\share\\~QT2.TMP"};
    frame::write_file(record_name(1), record_of({paths[0], paths[1]}));
    frame::write_file(master_file(), master_with({record_name(1)}));
    FileWatch watch;
    watch.remove.instead = [&](const char *name) {
        return name[0] == '\\' ? TRUE : call::DeleteFileA::real(name);
    };
    start();
    for (const std::string &path : paths)
        EXPECT_NE(watch.calls.find("DeleteFileA(\"" + path), -1) << path;
}

// A slot that names somebody's document is left alone, and so is the document.
TEST_F(MasterFile, OnlyTemporaryNamesAreRecordFiles) {
    const std::string document = frame::make_folder("left") + "letter.doc";
    const std::string listed = left_file("listed");
    frame::write_file(document, record_of({listed}));
    const Bytes master = master_with({document});
    frame::write_file(master_file(), master);
    start();
    EXPECT_TRUE(frame::file_exists(document));
    EXPECT_TRUE(frame::file_exists(listed));
    EXPECT_EQ(frame::read_file(master_file()), master);
}

// Then the next start finds both.
TEST_F(MasterFile, ASlotThatCannotBeClearedKeepsItsRecordFile) {
    const std::string swap_file = left_file("swap");
    frame::write_file(record_name(1), record_of({swap_file}));
    const Bytes master = master_with({record_name(1)});
    frame::write_file(master_file(), master);
    {
        FileWatch watch;
        watch.write.refuse_all();
        start();
    }
    EXPECT_FALSE(frame::file_exists(swap_file));
    EXPECT_TRUE(frame::file_exists(record_name(1)));
    EXPECT_EQ(frame::read_file(master_file()), master);
    library().detach();
    ASSERT_TRUE(library().attach());
    EXPECT_FALSE(frame::file_exists(record_name(1)));
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
}

// Whenever it dies at it: the slot is there as long as anything that it leads to.
TEST_F(MasterFile, ASlotIsClearedBeforeItsRecordFileIsDeleted) {
    const std::string swap_file = left_file("swap");
    frame::write_file(record_name(1), record_of({swap_file}));
    frame::write_file(master_file(), master_with({record_name(1)}));
    FileWatch watch;
    std::vector<std::string> deleted;
    watch.remove.before = [&](const char *path) {
        deleted.push_back(path);
        EXPECT_EQ(frame::read_file(master_file())[0] == 0, is_record_file(path)) << path;
    };
    start();
    EXPECT_EQ(deleted, (std::vector<std::string>{swap_file, record_name(1)}));
}

// While a start deletes what a dead process has left, no other start is at the same list.
TEST_F(MasterFile, ARecordFileIsHeldWhileItsListIsWorked) {
    const std::string swap_file = left_file("swap");
    frame::write_file(record_name(1), record_of({swap_file}));
    frame::write_file(master_file(), master_with({record_name(1)}));
    FileWatch watch;
    watch.remove.before = [&](const char *path) {
        if (path != swap_file)
            return;
        EXPECT_EQ(CreateFileA(record_name(1).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, 0, nullptr),
                  INVALID_HANDLE_VALUE);
    };
    start();
    EXPECT_FALSE(frame::file_exists(record_name(1)));
}

// --- the lock of the slots -----------------------------------------------------------------------

// As another process has it.
class LockedSlots {
public:
    LockedSlots()
        : file_(CreateFileA(master_file().c_str(), GENERIC_READ | GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                            nullptr)),
          locked_(LockFile(file_, 0x40000000, 0, 1, 0) != FALSE) {}
    ~LockedSlots() { CloseHandle(file_); }
    bool locked() const { return locked_; }

private:
    HANDLE file_;
    bool locked_;
};

// What waiting takes is left out.
struct NoWaiting {
    int sleeps = 0;
    Replaced<call::Sleep> sleep{[this](DWORD) { ++sleeps; }};
};

TEST_F(MasterFile, IsLockedForEverySlotThatIsWorked) {
    frame::write_file(record_name(1), record_of({}));
    frame::write_file(master_file(), master_with({record_name(1), record_name(2)}));
    FileWatch watch;
    watch.write.before = [](HANDLE, auto...) { EXPECT_FALSE(LockedSlots().locked()); };
    start();
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
    EXPECT_EQ(watch.calls.count("LockFile"), watch.calls.count("UnlockFile"));
    EXPECT_GE(watch.calls.count("LockFile"), 4); // the signature, two claims, one slot cleared
    EXPECT_TRUE(LockedSlots().locked());         // and given back
}

// Another process is at work on it: the next start cleans up.
TEST_F(MasterFile, ThatIsLockedIsLeftToTheOther) {
    frame::write_file(record_name(1), record_of({}));
    Bytes master = master_with({record_name(1)});
    master.back() = 'x';
    frame::write_file(master_file(), master);
    NoWaiting waiting;
    {
        const LockedSlots other;
        ASSERT_TRUE(other.locked());
        start();
    }
    EXPECT_EQ(waiting.sleeps, 3500);
    EXPECT_EQ(frame::read_file(master_file()), master);
    EXPECT_TRUE(frame::file_exists(record_name(1)));
    library().detach();
    start(); // now it is free
    EXPECT_EQ(frame::read_file(master_file()), empty_master());
    DeleteFileA(record_name(1).c_str());
}

// The lock comes free while we wait.
TEST_F(MasterFile, WaitsForTheLock) {
    frame::write_file(record_name(1), record_of({}));
    frame::write_file(master_file(), master_with({record_name(1)}));
    FileWatch watch;
    watch.lock.error = ERROR_LOCK_VIOLATION;
    watch.lock.refuse = [left = 3500](auto...) mutable { return left-- > 0; };
    watch.sleep.instead = [](DWORD) {};
    start();
    EXPECT_FALSE(frame::file_exists(record_name(1)));
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
}

// File systems without locks.
TEST_F(MasterFile, WorksWithoutALock) {
    frame::write_file(record_name(1), record_of({}));
    frame::write_file(master_file(), master_with({record_name(1)}));
    FileWatch watch;
    watch.lock.error = ERROR_INVALID_FUNCTION;
    watch.lock.refuse_all();
    start();
    EXPECT_FALSE(frame::file_exists(record_name(1)));
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
    EXPECT_EQ(watch.calls.count("UnlockFile"), 0);
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED_FILE);
    EXPECT_NE(frame::read_file(master_file())[0], 0);
    free(buffer);
    stop();
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
}

// A swap file that another program holds open stays; all else goes.
TEST_F(MasterFile, StandsSwapFilesThatCannotBeDeleted) {
    const std::string open = left_file("open"), other = left_file("other");
    const HANDLE holder =
        CreateFileA(open.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    frame::write_file(record_name(1), record_of({open, frame::sandbox() + "gone", other}));
    frame::write_file(master_file(), master_with({record_name(1)}));
    start();
    EXPECT_TRUE(frame::file_exists(open));
    EXPECT_FALSE(frame::file_exists(other));
    EXPECT_FALSE(frame::file_exists(record_name(1)));
    CloseHandle(holder);
}

} // namespace
} // namespace q32::test
