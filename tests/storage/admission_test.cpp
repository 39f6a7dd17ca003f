// Who may have a swap file, and where it goes: the file limit, the four directories, volumes and
// their free space.
#include "tests/storage/storage_fixture.h"

#include <cstring>

namespace q32::test {
namespace {

class Admission : public StorageTest {
protected:
    void SetUp() override {
        StorageTest::SetUp();
        for (const char *name : {"one", "two", "three", "four"})
            folders.push_back(frame::make_folder(name));
    }

    // Where a swap file goes: 1 to 4 is the directory's number, 0 is a refusal with point 3.
    int chosen() {
        HBUF32 buffer = 0;
        if (api().buf32Alloc(&buffer, 8, 200, 200, BUF32_TILED_FILE, nullptr) == 0) {
            expect_reports({no_place});
            return 0;
        }
        expect_no_report();
        const std::string path = swap_file_of(buffer);
        int result = -1;
        for (int i = 0; i < 4; ++i)
            if (path.starts_with(folders[i] + "~QT"))
                result = i + 1;
        free(buffer);
        return result;
    }

    std::vector<std::string> folders;
};

// --- file limit ----------------------------------------------------------------------------------

TEST_F(Admission, TheLimitCountsOnlyWhileTheSwitchIsOn) {
    for (uint32_t limit : {0u, 1u, 39999u, 40000u}) {
        set_file_limit(0, limit);
        free(swapped(200, 200));
        set_file_limit(1, limit);
        expect_refused(no_place);
        set_file_limit(0xFFFFFFFF, limit);
        expect_refused(no_place);
    }
    set_file_limit(1, frame::no_limit);
    free(swapped(200, 200));
}

TEST_F(Admission, ReachingTheLimitIsRefused) {
    set_file_limit(1, 40000);
    expect_refused(no_place);
    set_file_limit(1, 40001);
    const HBUF32 first = swapped(200, 200);
    expect_refused(no_place);
    set_file_limit(1, 80000);
    expect_refused(no_place);
    set_file_limit(1, 80001);
    const HBUF32 second = swapped(200, 200);
    expect_refused(8, 129, 1, BUF32_TILED_FILE, no_place);
    free(first);
    free(swapped(200, 200)); // what was given back counts no more
    free(second);
}

TEST_F(Admission, ALimitOfNothingRefusesAllThatIsOver128) {
    set_file_limit(1, 0);
    expect_refused(no_place);
    expect_refused(1, 129, 1, BUF32_TILED_FILE, no_place);
    expect_refused(1, 1, 129, BUF32_TILED_FILE, no_place);
    expect_refused(8, 129, 129, BUF32_TILED_FILE, no_place);
    for (uint32_t type : {0u, 2u, 16u, 0x80000000u}) {
        free(allocate(8, 100, 100, type));
        free(allocate(8, 128, 128, type));
    }
    free(allocate(8, 200, 200, BUF32_LINEAR_MEMORY));
}

// A buffer of 128 x 128 for which there is no memory goes to a file whatever the limit.
TEST_F(Admission, SmallBuffersWithoutMemoryAreNotHeldToTheLimit) {
    Calls calls;
    Watch<call::VirtualAlloc> memory{calls};
    memory.refuse_all();
    set_file_limit(1, 0);
    const HBUF32 buffer = allocate(8, 128, 128, BUF32_TILED);
    EXPECT_NE(word(buffer, field_file), 0u);
    EXPECT_EQ(mapped_bytes(), 128u * 128u);
    free(buffer);
    expect_refused(8, 129, 128, BUF32_TILED, no_place);
    expect_refused(8, 128, 129, BUF32_TILED, no_place);
}

TEST_F(Admission, RefusedFilesTouchNothing) {
    set_file_limit(1, 1);
    FileWatch watch;
    expect_refused(no_place);
    EXPECT_EQ(watch.calls.text(), "");
}

TEST_F(Admission, OrdinaryBuffersFollowBothLimits) {
    set_memory_limit(1, 0);
    for (uint32_t type : {0u, 2u, 16u}) {
        const HBUF32 buffer = allocate(8, 200, 200, type);
        EXPECT_NE(word(buffer, field_file), 0u) << type;
        free(buffer);
    }
    set_file_limit(1, 0);
    for (uint32_t type : {0u, 2u, 16u})
        expect_refused(8, 200, 200, type, no_place);
    set_memory_limit(1, 40001);
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED);
    EXPECT_EQ(word(buffer, field_file), 0u);
    free(buffer);
    set_memory_limit(1, 40000);
    expect_refused(8, 200, 200, BUF32_TILED, no_place);
}

// --- directories ---------------------------------------------------------------------------------

TEST_F(Admission, TheFirstUsableDirectoryIsTaken) {
    // Each directory is switched off, empty or usable.
    for (int kind = 0; kind < 81; ++kind) {
        SCOPED_TRACE(kind);
        BUF32DIRECTORIES block = {};
        int expected = 0, digits = kind;
        for (int i = 0; i < 4; ++i, digits /= 3) {
            block.enabled[i] = digits % 3 != 0;
            if (digits % 3 != 1)
                std::strcpy(block.path[i], folders[i].c_str());
            if (digits % 3 == 2 && expected == 0)
                expected = i + 1;
        }
        set_directories(block);
        EXPECT_EQ(chosen(), expected);
    }
}

TEST_F(Admission, AnySwitchButZeroIsOn) {
    BUF32DIRECTORIES block = {};
    std::strcpy(block.path[2], folders[2].c_str());
    for (uint32_t on : {1u, 2u, 0x80000000u, 0xFFFFFFFFu}) {
        block.enabled[2] = on;
        set_directories(block);
        EXPECT_EQ(chosen(), 3);
    }
}

TEST_F(Admission, ADirectoryMayEndWithoutASeparator) {
    BUF32DIRECTORIES block = {};
    std::strcpy(block.path[1], folders[1].substr(0, folders[1].size() - 1).c_str());
    block.enabled[1] = 1;
    set_directories(block);
    EXPECT_EQ(chosen(), 2);
}

TEST_F(Admission, CompressedVolumesAreSkipped) {
    set_directories(folders);
    FileWatch watch;
    int compressed = 0, asked = 0;
    watch.volume.instead = [&](auto root, auto name, auto size, auto serial, auto length,
                               DWORD *flags, auto system, auto system_size) {
        EXPECT_STREQ(root, "C:\\");
        const BOOL result = call::GetVolumeInformationA::real(root, name, size, serial, length,
                                                              flags, system, system_size);
        *flags = ++asked <= compressed ? *flags | FILE_VOLUME_IS_COMPRESSED
                                       : *flags & ~DWORD(FILE_VOLUME_IS_COMPRESSED);
        return result;
    };
    for (compressed = 0; compressed <= 4; ++compressed) {
        asked = 0;
        EXPECT_EQ(chosen(), (compressed + 1) % 5);
        EXPECT_EQ(asked, std::min(compressed + 1, 4));
    }
    // Compression of single files is no reason.
    watch.volume.instead = [](auto root, auto name, auto size, auto serial, auto length,
                              DWORD *flags, auto system, auto system_size) {
        const BOOL result = call::GetVolumeInformationA::real(root, name, size, serial, length,
                                                              flags, system, system_size);
        *flags = 0xFFFF7FFF;
        return result;
    };
    EXPECT_EQ(chosen(), 1);
}

TEST_F(Admission, UnknownVolumesAreSkipped) {
    set_directories(folders);
    FileWatch watch;
    for (int unknown = 1; unknown <= 4; ++unknown) {
        watch.volume.refuse = [left = unknown](auto...) mutable { return left-- > 0; };
        EXPECT_EQ(chosen(), (unknown + 1) % 5);
        watch.volume.refuse = nullptr;
        watch.space.refuse = [left = unknown](auto...) mutable { return left-- > 0; };
        EXPECT_EQ(chosen(), (unknown + 1) % 5);
        watch.space.refuse = nullptr;
    }
}

TEST_F(Admission, TheVolumeIsTheDirectorysDrive) {
    BUF32DIRECTORIES block = {};
    std::strcpy(block.path[0], "Y:\\not\\there\\");
    std::strcpy(block.path[1], "x:");
    std::strcpy(block.path[2], folders[2].c_str());
    block.enabled[0] = block.enabled[1] = block.enabled[2] = 1;
    set_directories(block);
    FileWatch watch;
    EXPECT_EQ(chosen(), 3);
    const auto volumes = watch.calls.of("GetVolumeInformationA");
    ASSERT_EQ(volumes.size(), 3u);
    EXPECT_EQ(volumes[0].arguments[0], "\"Y:\\\"");
    EXPECT_EQ(volumes[1].arguments[0], "\"x:\\\"");
    EXPECT_EQ(volumes[2].arguments[0], "\"C:\\\"");
    const auto spaces = watch.calls.of("GetDiskFreeSpaceA");
    ASSERT_EQ(spaces.size(), 1u);
    EXPECT_EQ(spaces[0].arguments[0], "\"C:\\\"");
}

// --- free space ----------------------------------------------------------------------------------

class FreeSpace : public Admission {
protected:
    // What the volume of the next directories has: sectors of a cluster, bytes of a sector, free
    // clusters.
    struct Space {
        DWORD sectors, bytes, clusters;
    };
    void set_spaces(FileWatch &watch, std::vector<Space> spaces) {
        watch.space.instead = [spaces, next = std::size_t(0)](auto, DWORD *sectors, DWORD *bytes,
                                                              DWORD *clusters,
                                                              DWORD *all) mutable -> BOOL {
            const Space &space = spaces[std::min(next++, spaces.size() - 1)];
            *sectors = space.sectors;
            *bytes = space.bytes;
            *clusters = space.clusters;
            *all = 0xFFFFFFFF;
            return TRUE;
        };
    }
};

TEST_F(FreeSpace, ReservedBytesAnd256AreEnoughAndOneLessIsNot) {
    FileWatch watch;
    set_directories({folders[0]});
    set_spaces(watch, {{1, 1, 40256}});
    EXPECT_EQ(chosen(), 1);
    set_spaces(watch, {{1, 1, 40255}});
    EXPECT_EQ(chosen(), 0);
    set_spaces(watch, {{2, 4, 40256 / 8}});
    EXPECT_EQ(chosen(), 1);
    set_spaces(watch, {{2, 4, 40256 / 8 - 1}});
    EXPECT_EQ(chosen(), 0);
}

TEST_F(FreeSpace, IsComputedBeyond32Bits) {
    FileWatch watch;
    set_directories({folders[0]});
    for (const Space &space :
         {Space{128, 512, 0x10000}, Space{1, 1, 0xFFFFFFFF}, Space{0x10000, 0x10000, 0xFFFFFFFF},
          Space{0x80000000, 2, 1}, Space{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}}) {
        set_spaces(watch, {space});
        EXPECT_EQ(chosen(), 1) << space.sectors;
    }
    for (const Space &space : {Space{0, 512, 0xFFFFFFFF}, Space{1, 0, 5}, Space{8, 512, 0}}) {
        set_spaces(watch, {space});
        EXPECT_EQ(chosen(), 0) << space.sectors;
    }
}

TEST_F(FreeSpace, EachDirectoryIsTriedOnce) {
    set_directories(folders);
    FileWatch watch;
    const Space none{1, 1, 40255}, some{1, 1, 40256};
    set_spaces(watch, {none});
    EXPECT_EQ(chosen(), 0);
    EXPECT_EQ(watch.calls.count("GetVolumeInformationA"), 4);
    EXPECT_EQ(watch.calls.count("GetDiskFreeSpaceA"), 4);
    EXPECT_EQ(watch.calls.count("GetTempFileNameA"), 0);
    set_spaces(watch, {none, some, none, none});
    EXPECT_EQ(chosen(), 2);
    set_spaces(watch, {none, none, some, none});
    EXPECT_EQ(chosen(), 3);
    set_spaces(watch, {none, none, none, some});
    EXPECT_EQ(chosen(), 4);
}

// The choice is made before the file: when the file cannot be made there, no other directory is
// tried.
TEST_F(FreeSpace, TheChoiceIsFinal) {
    BUF32DIRECTORIES block = {};
    std::strcpy(block.path[0], (frame::sandbox() + "not there\\").c_str());
    std::strcpy(block.path[1], folders[1].c_str());
    block.enabled[0] = block.enabled[1] = 1;
    set_directories(block);
    FileWatch watch;
    expect_refused(no_file);
    EXPECT_EQ(watch.calls.count("GetTempFileNameA"), 1);
}

// More than 32 bits of pixels: in 32 bits no storage can hold them, in 64 no volume of 4 GB.
TEST_F(FreeSpace, AnImageOf8GigabytesIsRefused) {
    FileWatch watch;
    set_spaces(watch, {{1, 1, 0xFFFFFFFF}});
    HBUF32 buffer = 0;
    const Census before = Census::now();
    EXPECT_EQ(api().buf32Alloc(&buffer, 64, 32000, 32000, BUF32_TILED_FILE, nullptr), 0);
    EXPECT_EQ(buffer, 0u);
    const auto reports = frame::reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_TRUE(reports[0] == no_place || (!frame::is_64_bit && reports[0] == no_file))
        << reports[0];
    frame::forget_reports();
    EXPECT_EQ(Census::now(), before);
    EXPECT_EQ(mapped_bytes(), 0u);
}

} // namespace
} // namespace q32::test
