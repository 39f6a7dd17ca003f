// A test that starts and stops the library itself, in the process's own folders and with no files
// or settings of the test before. At its end nothing may be left: no resource of the system, no
// swap or record file, no report that the test has not looked at.
#pragma once

#include "tests/buffer/record_words.h"
#include "tests/frame/comm.h"
#include "tests/frame/sandbox.h"
#include "tests/library/call_log.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace q32::test {

namespace call = frame::call;
using frame::Census;
using frame::FailingCall;
using frame::Failure;
using frame::Replaced;
using frame::set_text;
using Bytes = std::vector<unsigned char>;
using Reports = std::vector<Failure>;

class LibraryTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Maps a fresh copy of the DLL without starting it.
    frame::Library &load();
    // Starts it, after mapping a fresh copy where there is none. A start that fails unmaps it.
    bool try_start();
    // The same, and the start must succeed without a report.
    void start();
    // Stops and unmaps it; nothing may be left.
    void stop();

    frame::Library &library() { return *library_; }
    const frame::Api &api() { return library_->api(); }

    // Exactly these reports since the last look.
    void expect_reports(const Reports &wanted);
    void expect_no_report() { expect_reports({}); }
    void expect_nothing_left();

    // --- buffers
    // One that must succeed.
    HBUF32 allocate(int bits, int width, int height, uint32_t type, const void *extra = nullptr);
    // One that must fail with this report, keep the handle and leave nothing.
    void expect_refused(int bits, int width, int height, uint32_t type, const Failure &report);
    void free(HBUF32 buffer);

    // --- settings and counters
    BUF32DIRECTORIES directories();
    // Sets the first of the four directories, switched on; the others are switched off and empty.
    void set_directories(const std::vector<std::string> &paths);
    void set_directories(BUF32DIRECTORIES block);
    void set_memory_limit(uint32_t on, size_t limit);
    void set_file_limit(uint32_t on, size_t limit);
    size_t memory_in_use();
    size_t mapped_bytes();

private:
    std::optional<Census> before_;
    std::optional<frame::Library> library_;
};

// Names of the files in a folder that begin so.
std::vector<std::string> files_beginning(const std::string &folder, const std::string &beginning);

// Content of an open file, read through its own handle.
Bytes content_of(HANDLE file);

// The zero-terminated text at a place.
std::string text_at(const Bytes &bytes, std::size_t offset);

// --- the master record file --------------------------------------------------------------------

inline constexpr std::size_t slot_bytes = 260, slot_count = 100;
inline constexpr std::size_t master_bytes = slot_count * slot_bytes + 12;

std::string master_file();
// A master file of empty slots; and one whose first slots hold these paths.
Bytes empty_master();
Bytes master_with(const std::vector<std::string> &paths);
// Puts a zero-terminated text into a slot of a master file, or an entry of a record file.
void put_path(Bytes &file, std::size_t slot, const std::string &path);

} // namespace q32::test
