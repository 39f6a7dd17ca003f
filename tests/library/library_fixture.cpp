// Starting, stopping, and looking at what is left.
#include "tests/library/library_fixture.h"

#include <cstring>

namespace q32::test {

void LibraryTest::SetUp() {
    frame::reset_comm();
    frame::empty_sandbox();
    before_ = Census::now();
}

void LibraryTest::TearDown() {
    if (library_ && library_->attached())
        stop();
    library_.reset();
    expect_no_report();
    frame::empty_sandbox();
}

frame::Library &LibraryTest::load() {
    library_.reset();
    return library_.emplace();
}

bool LibraryTest::try_start() {
    if (!library_)
        load();
    if (library_->attach())
        return true;
    expect_nothing_left(); // of the image that is unmapped nothing counts any more
    library_.reset();
    return false;
}

void LibraryTest::start() {
    ASSERT_TRUE(try_start());
    expect_no_report();
}

void LibraryTest::stop() {
    library_->detach();
    expect_nothing_left(); // of the image that is unmapped nothing counts any more
    library_.reset();
}

void LibraryTest::expect_reports(const Reports &wanted) {
    EXPECT_EQ(frame::reports(), wanted);
    frame::forget_reports();
}

// The master file stays, and files that the test has made: so files are counted by their prefixes.
void LibraryTest::expect_nothing_left() {
    Census now = Census::now();
    now.files_on_disk = before_->files_on_disk;
    EXPECT_EQ(now, *before_);
    EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR"), std::vector<std::string>{});
    EXPECT_EQ(files_beginning(frame::sandbox_swap(), ""), std::vector<std::string>{});
}

// --- buffers -------------------------------------------------------------------------------------

HBUF32 LibraryTest::allocate(int bits, int width, int height, uint32_t type, const void *extra) {
    HBUF32 buffer = 0;
    EXPECT_EQ(api().buf32Alloc(&buffer, bits, width, height, type, extra), 1);
    expect_no_report();
    return buffer;
}

void LibraryTest::expect_refused(int bits, int width, int height, uint32_t type,
                                 const Failure &report) {
    const Census before = Census::now();
    const size_t memory = memory_in_use(), mapped = mapped_bytes();
    HBUF32 buffer = 0x5A5A5A5A;
    EXPECT_EQ(api().buf32Alloc(&buffer, bits, width, height, type, nullptr), 0);
    EXPECT_EQ(buffer, 0x5A5A5A5Au);
    expect_reports({report});
    EXPECT_EQ(Census::now(), before);
    EXPECT_EQ(memory_in_use(), memory);
    EXPECT_EQ(mapped_bytes(), mapped);
}

void LibraryTest::free(HBUF32 buffer) {
    EXPECT_EQ(api().buf32Free(buffer), 1);
    expect_no_report();
}

// --- settings and counters -----------------------------------------------------------------------

BUF32DIRECTORIES LibraryTest::directories() {
    BUF32DIRECTORIES block;
    std::memset(&block, 0xA5, sizeof block);
    EXPECT_EQ(api().buf32VMData(0, nullptr, nullptr, &block, nullptr, nullptr), 1);
    return block;
}

void LibraryTest::set_directories(const std::vector<std::string> &paths) {
    BUF32DIRECTORIES block = {};
    for (std::size_t i = 0; i < paths.size(); ++i) {
        std::strcpy(block.path[i], paths[i].c_str());
        block.enabled[i] = 1;
    }
    set_directories(block);
}

void LibraryTest::set_directories(BUF32DIRECTORIES block) {
    EXPECT_EQ(api().buf32VMData(1, nullptr, nullptr, &block, nullptr, nullptr), 1);
}

void LibraryTest::set_memory_limit(uint32_t on, size_t limit) {
    EXPECT_EQ(api().buf32VMData(1, &limit, nullptr, nullptr, &on, nullptr), 1);
}

void LibraryTest::set_file_limit(uint32_t on, size_t limit) {
    EXPECT_EQ(api().buf32VMData(1, nullptr, &limit, nullptr, nullptr, &on), 1);
}

size_t LibraryTest::memory_in_use() {
    size_t bytes = 0;
    api().buf32GetVMDataExt(&bytes, nullptr);
    return bytes;
}

size_t LibraryTest::mapped_bytes() {
    size_t bytes = 0;
    api().buf32GetVMDataExt(nullptr, &bytes);
    return bytes;
}

// --- files ---------------------------------------------------------------------------------------

std::vector<std::string> files_beginning(const std::string &folder, const std::string &beginning) {
    std::vector<std::string> names;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folder + "*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return names;
    do {
        const bool is_file = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
        if (is_file && std::string(found.cFileName).starts_with(beginning))
            names.push_back(found.cFileName);
    } while (FindNextFileA(search, &found));
    FindClose(search);
    return names;
}

Bytes content_of(HANDLE file) {
    Bytes bytes(GetFileSize(file, nullptr));
    DWORD read = 0;
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_BEGIN), 0u);
    EXPECT_TRUE(ReadFile(file, bytes.data(), DWORD(bytes.size()), &read, nullptr));
    EXPECT_EQ(read, bytes.size());
    return bytes;
}

std::string text_at(const Bytes &bytes, std::size_t offset) {
    std::string text;
    for (; offset < bytes.size() && bytes[offset] != 0; ++offset)
        text += char(bytes[offset]);
    return text;
}

std::string master_file() {
    return frame::sandbox_family() + "Q32BASE.CFG";
}

Bytes empty_master() {
    Bytes bytes(master_bytes);
    std::memcpy(&bytes[slot_count * slot_bytes], "QuillTempRec", 12);
    return bytes;
}

Bytes master_with(const std::vector<std::string> &paths) {
    Bytes bytes = empty_master();
    for (std::size_t i = 0; i < paths.size(); ++i)
        put_path(bytes, i, paths[i]);
    return bytes;
}

void put_path(Bytes &file, std::size_t slot, const std::string &path) {
    std::memcpy(&file[slot * slot_bytes], path.c_str(), path.size() + 1);
}

} // namespace q32::test
