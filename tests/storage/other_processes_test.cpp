// Several processes and one master file: what a process that is killed leaves behind is removed by
// the next start, while the living are left alone.
#include "tests/storage/other_process.h"
#include "tests/storage/storage_fixture.h"

namespace q32::test {
namespace {

// Another process that holds swap files.
class Holder : public OtherProcess {
public:
    explicit Holder(int count, const std::string &family = frame::sandbox_family())
        : OtherProcess("hold " + std::to_string(count), family) {
        for (std::string line = read_line(); line != "ready" && !line.empty(); line = read_line())
            swap_files.push_back(line);
    }

    std::vector<std::string> swap_files;
};

class OtherProcesses : public LibraryTest {
protected:
    static std::string slot(std::size_t n) {
        return text_at(frame::read_file(master_file()), n * slot_bytes);
    }
    static void expect_files(const std::vector<std::string> &paths, bool there) {
        for (const std::string &path : paths)
            EXPECT_EQ(frame::file_exists(path), there) << path;
    }
};

TEST_F(OtherProcesses, AKilledOneIsCleanedUpAfter) {
    Holder holder(3);
    ASSERT_EQ(holder.swap_files.size(), 3u);
    expect_files(holder.swap_files, true);
    const std::string record = slot(0);
    EXPECT_TRUE(is_record_file(record));

    // It lives: this process takes the next slot and touches nothing of the other's.
    start();
    expect_files(holder.swap_files, true);
    EXPECT_EQ(slot(0), record);
    free(allocate(8, 200, 200, BUF32_TILED_FILE));
    EXPECT_TRUE(is_record_file(slot(1)));
    library().detach();
    EXPECT_EQ(slot(0), record);
    EXPECT_EQ(slot(1), "");
    expect_files(holder.swap_files, true);

    holder.kill();
    expect_files(holder.swap_files, true); // nobody has looked yet
    EXPECT_TRUE(frame::file_exists(record));
    start();
    expect_files(holder.swap_files, false);
    EXPECT_FALSE(frame::file_exists(record));
    EXPECT_EQ(slot(0), "");
    stop();
}

TEST_F(OtherProcesses, OneThatEndsRemovesItsFilesItself) {
    Holder holder(3);
    ASSERT_EQ(holder.swap_files.size(), 3u);
    expect_files(holder.swap_files, true);
    const std::string record = slot(0);
    EXPECT_TRUE(frame::file_exists(record));
    EXPECT_EQ(holder.end(), 0u);
    expect_files(holder.swap_files, false);
    EXPECT_FALSE(frame::file_exists(record));
    EXPECT_EQ(slot(0), "");
}

// The system's own loader and a start that fails.
TEST_F(OtherProcesses, ARefusedLoadIsAnError) {
    Holder holder(1, frame::sandbox() + "not_there\\");
    EXPECT_EQ(holder.swap_files.size(), 0u);
    EXPECT_EQ(holder.end(), 3u);
}

TEST_F(OtherProcesses, OnlyTheDeadAreCleanedUpAfter) {
    Holder first(2);
    Holder second(2);
    Holder third(1);
    ASSERT_EQ(first.swap_files.size(), 2u);
    ASSERT_EQ(second.swap_files.size(), 2u);
    ASSERT_EQ(third.swap_files.size(), 1u);
    EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 3u);
    const std::string records[] = {slot(0), slot(1), slot(2)};
    second.kill();
    start();
    expect_files(first.swap_files, true);
    expect_files(second.swap_files, false);
    expect_files(third.swap_files, true);
    EXPECT_EQ(slot(0), records[0]);
    EXPECT_EQ(slot(1), "");
    EXPECT_EQ(slot(2), records[2]);
    // The slot of the dead one is free for us.
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED_FILE);
    EXPECT_TRUE(is_record_file(slot(1)));
    free(buffer);
    library().detach();
    EXPECT_EQ(slot(1), "");
    first.kill();
    third.kill();

    // Not this process but another one cleans up.
    Holder fourth(1);
    ASSERT_EQ(fourth.swap_files.size(), 1u);
    expect_files(first.swap_files, false);
    expect_files(third.swap_files, false);
    EXPECT_EQ(slot(2), "");
    EXPECT_EQ(fourth.end(), 0u);
    EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 0u);
}

} // namespace
} // namespace q32::test
