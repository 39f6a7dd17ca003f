// What the tests of storage share: a started library, and every function of the system that makes,
// fills, maps and deletes files, watched.
#pragma once

#include "tests/library/library_fixture.h"

namespace q32::test {

inline constexpr Failure no_file{1001, 0, 4, 2}, no_place{1001, 0, 4, 3};
inline constexpr Failure no_record_file{4010, 0, 9, 5}, no_master_entry{4010, 0, 9, 6},
    no_free_slot{4010, 0, 9, 7}, no_slot_map{1004, 0, 9, 10}, no_larger_slot_map{1004, 0, 9, 11};

// The file functions, for the time of its own life.
struct FileWatch {
    Calls calls;
    Watch<call::GetVolumeInformationA> volume{calls};
    Watch<call::GetDiskFreeSpaceA> space{calls};
    Watch<call::GetTempFileNameA> name{calls};
    Watch<call::CreateFileA> create{calls};
    Watch<call::SetFilePointer> seek{calls};
    Watch<call::ReadFile> read{calls};
    Watch<call::WriteFile> write{calls};
    Watch<call::FlushFileBuffers> flush{calls};
    Watch<call::CloseHandle> close{calls};
    Watch<call::CreateFileMappingA> mapping{calls};
    Watch<call::MapViewOfFile> view{calls};
    Watch<call::UnmapViewOfFile> unmap{calls};
    Watch<call::DeleteFileA> remove{calls};
    Watch<call::LockFile> lock{calls};
    Watch<call::UnlockFile> unlock{calls};
    Watch<call::Sleep> sleep{calls};
};

// Whether a path is that of a swap file, or of a record file.
bool is_swap_file(const std::string &path);
bool is_record_file(const std::string &path);

class StorageTest : public LibraryTest {
protected:
    void SetUp() override;

    // A buffer in a swap file: 8 bits, so that rows have width bytes.
    HBUF32 swapped(int width, int height) { return allocate(8, width, height, BUF32_TILED_FILE); }
    void expect_refused(const Failure &report) {
        LibraryTest::expect_refused(8, 200, 200, BUF32_TILED_FILE, report);
    }
    using LibraryTest::expect_refused;

    // The open record file of the running library, found by its path.
    std::string record_path();
};

} // namespace q32::test
