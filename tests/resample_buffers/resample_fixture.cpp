// The calls, the listener and the fixtures of the tests of resampled buffers.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {

namespace model {

void PrintTo(const Message &message, std::ostream *out) {
    *out << message.message << ": " << message.value;
}
void PrintTo(Path path, std::ostream *out) {
    *out << name_of(path);
}

} // namespace model

std::string text_of(const Manner &manner) {
    if (!manner.ex)
        return "q32BufferResample";
    return "q32BufferResampleEx, row path " + std::to_string(manner.row_path) + ", method " +
           std::to_string(manner.method);
}

Manner manner_of(Path path) {
    switch (path) {
    case Path::bits:
        break;
    case Path::nearest_rows:
        return {true, 1, RESAMPLE_NEAREST};
    case Path::bilinear_rows:
    case Path::bilinear_cells:
        return {true, 0, RESAMPLE_BILINEAR};
    case Path::bicubic_rows:
    case Path::bicubic_cells:
        return {true, 0, RESAMPLE_BICUBIC};
    case Path::nearest_cells:
        break;
    }
    return {true, 0, RESAMPLE_NEAREST};
}

int bits_of(Path path) {
    if (path == Path::bits)
        return 1;
    return path == Path::bilinear_rows || path == Path::bicubic_rows ? 16 : 24;
}

// --- calls -----------------------------------------------------------------------------------

int resample(const Manner &manner, const SIZE *size, HBUF32 source, HBUF32 *destination,
             const RESAMPLEPROGRESS *progress) {
    if (!manner.ex)
        return api().q32BufferResample(size, source, destination, progress);
    return api().q32BufferResampleEx(size, source, destination, progress, manner.row_path,
                                     manner.method);
}

int resample(const Manner &manner, int width, int height, HBUF32 source, HBUF32 *destination,
             const RESAMPLEPROGRESS *progress) {
    const SIZE size{width, height};
    return resample(manner, &size, source, destination, progress);
}

int resample_into(HBUF32 destination, const Manner &manner, HBUF32 source,
                  const RESAMPLEPROGRESS *progress) {
    HBUF32 handle = destination;
    const int result = resample(manner, 1, 1, source, &handle, progress);
    EXPECT_EQ(handle, destination);
    return result;
}

int Listener::progress() const {
    return int(std::count_if(heard_.begin(), heard_.end(), [](const Message &message) {
        return message.message == RESAMPLE_PROGRESS;
    }));
}

int __stdcall Listener::callback(int message, int value, int zero, uintptr_t user_data) {
    auto &self = *reinterpret_cast<Listener *>(user_data);
    EXPECT_EQ(zero, 0);
    self.heard_.push_back({message, value});
    if (self.also)
        self.also(self.heard_.back());
    return self.refuses == int(self.heard_.size()) ? 0 : self.consent;
}

// --- fixtures --------------------------------------------------------------------------------

namespace {

void make_coefficients() {
    HBUF32 source = 0, destination = 0;
    ASSERT_EQ(api().buf32Alloc(&source, 8, 1, 1, BUF32_TILED, nullptr), 1);
    EXPECT_EQ(resample({true, 0, RESAMPLE_BICUBIC}, 1, 1, source, &destination), 1);
    if (destination != 0) {
        EXPECT_EQ(api().buf32Free(destination), 1);
    }
    EXPECT_EQ(api().buf32Free(source), 1);
}

} // namespace

void ResampleTest::SetUp() {
    frame::reset_comm();
    if (has_coefficients)
        make_coefficients();
    RectangleTest::SetUp();
}

void FreshResampleTest::SetUp() {
    frame::drop_shared_library();
    ResampleTest::SetUp();
}

void FreshResampleTest::TearDown() {
    EXPECT_EQ(api().q32FreeBiCubicTable(), 1);
    ResampleTest::TearDown();
    frame::drop_shared_library(); // it would not make the table again
}

void ResampleTest::check_new(const Manner &manner, int width, int height,
                             const Picture &source_picture, HBUF32 source) {
    const int bits = source_picture.bits();
    SCOPED_TRACE(
        size_text(bits, int(source_picture.geometry.width), int(source_picture.geometry.height)) +
        " to " + std::to_string(width) + " x " + std::to_string(height) + ", " + text_of(manner));
    const auto locks = word(source, field_lock_count);
    HBUF32 handle = 0;
    EXPECT_SUCCESS(resample(manner, width, height, source, &handle));
    const Buffer made(handle);
    ASSERT_TRUE(made);
    EXPECT_EQ(word(made, field_type), BUF32_TILED);
    EXPECT_EQ(word(made, field_bits_per_pixel), uint32_t(bits));
    EXPECT_EQ(word(made, field_width), uint32_t(width));
    EXPECT_EQ(word(made, field_height), uint32_t(height));
    EXPECT_EQ(word(made, field_lock_count), 0u);
    EXPECT_EQ(word(source, field_lock_count), locks);
    EXPECT_EQ(word(source, field_access_mode), uint32_t(BUF32_READ));
    if (HasFatalFailure() || word(made, field_width) != uint32_t(width))
        return;
    Picture expected(Geometry(width, height, bits, BUF32_TILED));
    model::resample(path_of(manner, bits, has_coefficients), source_picture, expected,
                    expected.geometry);
    expect_rows(made, expected);
}

void ResampleTest::check_given(const Manner &manner, Side &destination,
                               const Picture &source_picture, HBUF32 source) {
    SCOPED_TRACE(size_text(source_picture.bits(), int(source_picture.geometry.width),
                           int(source_picture.geometry.height)) +
                 " to " +
                 size_text(destination.picture.bits(), destination.width(), destination.height()) +
                 ", " + text_of(manner));
    const uintptr_t locks = word(source, field_lock_count), destination_locks = destination.locks();
    EXPECT_SUCCESS(resample_into(destination, manner, source));
    EXPECT_EQ(word(source, field_lock_count), locks);
    EXPECT_EQ(word(source, field_access_mode), uint32_t(BUF32_READ));
    EXPECT_EQ(destination.locks(), destination_locks);
    const Path path = path_of(manner, source_picture.bits(), has_coefficients);
    EXPECT_EQ(destination.mode(), uint32_t(is_of_cells(path) ? BUF32_OVERWRITE : BUF32_WRITE));
    model::resample(path, source_picture, destination.picture, destination.cells());
    destination.expect_picture();
}

} // namespace q32::test
