// The fixture of the buffer tests and what goes with it.
#include "tests/buffer/buffer_fixture.h"

#include <algorithm>

namespace q32::test {
namespace {

size_t memory_at_start;

// A swap file comes and goes, so that the process's record of them exists: it stays until the
// library goes, and would look like something left behind by the test that is the first to need it.
void make_record_of_swap_files() {
    HBUF32 buffer = 0;
    ASSERT_EQ(api().buf32Alloc(&buffer, 8, 129, 1, BUF32_TILED_FILE, nullptr), 1);
    ASSERT_EQ(api().buf32Free(buffer), 1);
}

void reset_settings() {
    set_memory_limit(0, frame::no_limit);
    set_file_limit(0, frame::no_limit);
    BUF32DIRECTORIES directories{};
    const std::string folder = frame::sandbox_swap();
    std::copy(folder.begin(), folder.end(), directories.path[0]);
    directories.enabled[0] = 1;
    api().buf32VMData(1, nullptr, nullptr, &directories, nullptr, nullptr);
}

} // namespace

// --- reports ---------------------------------------------------------------------------------

void expect_reports(std::initializer_list<Failure> failures) {
    EXPECT_EQ(frame::reports(), std::vector<Failure>(failures));
    forget_reports();
}

void expect_report(const Failure &failure) {
    expect_reports({failure});
}

void expect_report(int message, int severity, int module, int point) {
    expect_report(Failure{message, severity, module, point});
}

void expect_no_report() {
    expect_reports({});
}

void expect_report_of(std::initializer_list<Failure> failures) {
    const std::vector<Failure> reports = frame::reports();
    forget_reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(std::find(failures.begin(), failures.end(), reports[0]), failures.end())
        << reports[0];
}

// --- settings and counters -------------------------------------------------------------------

void set_memory_limit(uint32_t on, size_t limit) {
    api().buf32VMData(1, &limit, nullptr, nullptr, &on, nullptr);
}

bool memory_is_limited() {
    uint32_t on = 0;
    api().buf32VMData(0, nullptr, nullptr, nullptr, &on, nullptr);
    return on != 0;
}

void set_file_limit(uint32_t on, size_t limit) {
    api().buf32VMData(1, nullptr, &limit, nullptr, nullptr, &on);
}

void use_no_directory() {
    BUF32DIRECTORIES none{};
    api().buf32VMData(1, nullptr, nullptr, &none, nullptr, nullptr);
}

size_t absolute_memory_in_use() {
    size_t bytes = 0;
    api().buf32GetVMDataExt(&bytes, nullptr);
    return bytes;
}

size_t memory_in_use() {
    return absolute_memory_in_use() - memory_at_start;
}

size_t mapped_bytes() {
    size_t bytes = 0;
    api().buf32GetVMDataExt(nullptr, &bytes);
    return bytes;
}

void forget_memory_in_use() {
    memory_at_start = absolute_memory_in_use();
}

void expect_no_swap_files() {
    EXPECT_EQ(frame::files_below(frame::sandbox_swap()), std::vector<std::string>{});
}

void fresh_library(bool with_record) {
    frame::drop_shared_library();
    frame::Census nothing{};
    nothing.thread_priority = frame::Census::now().thread_priority;
    nothing.files_on_disk = frame::Census::now().files_on_disk;
    EXPECT_EQ(frame::Census::now(), nothing);
    expect_no_swap_files();
    for (const std::string &name : frame::files_below(frame::sandbox_family()))
        EXPECT_EQ(name, frame::sandbox_family() + "Q32BASE.CFG");
    reset_settings();
    if (with_record)
        make_record_of_swap_files();
    forget_memory_in_use();
}

// --- buffers ---------------------------------------------------------------------------------

Buffer::Buffer(int bits, int width, int height, uint32_t type, const void *extra) {
    HBUF32 handle = 0;
    if (api().buf32Alloc(&handle, bits, width, height, type, extra) == 1)
        handle_ = handle;
    else
        ADD_FAILURE() << "no buffer of " << size_text(bits, width, height) << ", type " << type;
}

Buffer::~Buffer() {
    free();
}

void Buffer::free() {
    if (handle_ == 0)
        return;
    if (::testing::Test::HasFailure()) // a test that ended early may have left it locked
        set_word(handle_, field_lock_count, 0);
    EXPECT_EQ(api().buf32Free(handle_), 1);
    handle_ = 0;
}

void expect_refused(int bits, int width, int height, uint32_t type, const void *extra,
                    const Failure &failure) {
    SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type));
    HBUF32 handle = 0x5A5A5A5A;
    EXPECT_EQ(api().buf32Alloc(&handle, bits, width, height, type, extra), 0);
    EXPECT_EQ(handle, 0x5A5A5A5Au);
    expect_report(failure);
}

MemoryBlock::MemoryBlock(size_t bytes, Fence fence, Random &random)
    : memory_(std::max<size_t>(bytes, 1)), bytes_(bytes),
      data_(fence == fence_before ? memory_.begin() : memory_.end() - bytes) {
    std::memset(memory_.begin(), surroundings, memory_.size());
    random.fill({data_, bytes_});
}

void MemoryBlock::protect() {
    DWORD before;
    VirtualProtect(memory_.begin(), memory_.size(), PAGE_READONLY, &before);
}

testing::AssertionResult MemoryBlock::holds(const Bytes &bytes) const {
    if (bytes.size() != bytes_)
        return testing::AssertionFailure() << bytes_ << " bytes, not " << bytes.size();
    const auto [wanted, found] = std::mismatch(bytes.begin(), bytes.end(), data_);
    if (wanted != bytes.end())
        return testing::AssertionFailure() << "byte " << found - data_ << " of " << bytes_ << " is "
                                           << int(*found) << ", not " << int(*wanted);
    for (const uint8_t *at = memory_.begin(); at < memory_.end(); ++at)
        if ((at < data_ || at >= data_ + bytes_) && *at != surroundings)
            return testing::AssertionFailure()
                   << "written outside the block, at its byte " << at - data_;
    return testing::AssertionSuccess();
}

Geometry geometry_of(HBUF32 buffer) {
    return Geometry(int(word(buffer, field_width)), int(word(buffer, field_height)),
                    int(word(buffer, field_bits_per_pixel)), word(buffer, field_type));
}

void store(HBUF32 buffer, const PlainImage &image) {
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_OVERWRITE, nullptr), 1);
    std::vector<uint8_t> row(image.row_bytes());
    for (size_t y = 0; y < image.rows(); ++y) {
        std::memcpy(row.data(), image.row(y), row.size());
        ASSERT_EQ(api().buf32Line(buffer, int(y), BUF32_LINE_WRITE, row.data()), 1);
    }
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
}

void expect_pixels(HBUF32 buffer, const PlainImage &image) {
    const std::vector<uint8_t> expected = storage_of(image, geometry_of(buffer));
    const auto *storage = reinterpret_cast<const uint8_t *>(word(buffer, field_storage));
    const auto [differs, at] = std::mismatch(expected.begin(), expected.end(), storage);
    EXPECT_EQ(differs, expected.end())
        << "byte " << differs - expected.begin() << " of the storage is " << int(*at) << ", not "
        << int(*differs);
}

PlainImage fill(HBUF32 buffer, Random &random) {
    PlainImage image(geometry_of(buffer));
    random.fill(image.bytes());
    store(buffer, image);
    return image;
}

PlainImage fill_and_check(HBUF32 buffer) {
    Random random(test_seed(), word(buffer, field_image_bytes));
    PlainImage image = fill(buffer, random);
    expect_pixels(buffer, image);
    return image;
}

testing::AssertionResult same_bytes(std::span<const uint8_t> expected, const uint8_t *got) {
    return same_rows(expected, got, expected.size(), int64_t(expected.size()) * 8);
}

testing::AssertionResult same_rows(std::span<const uint8_t> expected, const uint8_t *got,
                                   size_t row_bytes, int64_t row_bits) {
    const size_t whole = size_t(row_bits / 8);
    const auto mask = uint8_t(0xFF00 >> row_bits % 8);
    for (size_t at = 0; at < expected.size(); at += row_bytes) {
        const bool tail_differs =
            mask != 0 && ((expected[at + whole] ^ got[at + whole]) & mask) != 0;
        if (std::memcmp(expected.data() + at, got + at, whole) == 0 && !tail_differs)
            continue;
        size_t i = at;
        while (i < at + whole && expected[i] == got[i])
            ++i;
        return testing::AssertionFailure() << "row " << at / row_bytes << ", byte " << i - at
                                           << " is " << int(got[i]) << ", not " << int(expected[i]);
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult same_block(const Geometry &geometry, const Area &area,
                                    const Bytes &expected, const uint8_t *got) {
    return same_rows(expected, got, size_t(block_row_bytes(geometry.bits, area.width)),
                     area.width * geometry.unit_bits());
}

std::string size_text(int bits, int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height) + " at " + std::to_string(bits) +
           " bits";
}

// --- fixture ---------------------------------------------------------------------------------

void BufferTest::SetUp() {
    frame::reset_comm();
    reset_settings();
    make_record_of_swap_files();
    forget_reports();
    forget_memory_in_use();
    before_ = frame::Census::now();
}

void BufferTest::TearDown() {
    expect_no_report();
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    EXPECT_EQ(frame::Census::now(), before_);
    expect_no_swap_files();
    if (HasFailure())
        frame::drop_shared_library(); // the next test starts clean
}

} // namespace q32::test
