// Names of files.
#include "tests/storage/storage_fixture.h"

namespace q32::test {

bool is_swap_file(const std::string &path) {
    return path.find("\\~QT") != std::string::npos;
}

bool is_record_file(const std::string &path) {
    return path.find("\\QTR") != std::string::npos;
}

void StorageTest::SetUp() {
    LibraryTest::SetUp();
    start();
}

std::string StorageTest::record_path() {
    const auto names = files_beginning(frame::sandbox_family(), "QTR");
    EXPECT_EQ(names.size(), 1u);
    return names.empty() ? "" : frame::sandbox_family() + names[0];
}

} // namespace q32::test
