// What the tests of resampled buffers share: the calls, a listener to their progress, and calls
// checked against the model.
#pragma once

#include "tests/buffer/entry_hook.h"
#include "tests/merge_buffers/merge_fixture.h"
#include "tests/resample_buffers/path_model.h"

#include <q32base/resample.h>

#include <functional>
#include <optional>
#include <ostream>

namespace q32::test {

using model::all_parts;
using model::all_paths;
using model::Manner;
using model::Message;
using model::Path;

namespace model {
void PrintTo(const Message &message, std::ostream *out);
void PrintTo(Path path, std::ostream *out);
} // namespace model

std::string text_of(const Manner &manner);

// One manner for each path, by q32BufferResampleEx; and the depth that goes with it.
Manner manner_of(Path path);
int bits_of(Path path);

inline HBUF32 duplicate_of(HBUF32 buffer) {
    HBUF32 handle = 0;
    EXPECT_EQ(api().buf32DupBuf(buffer, &handle), 1);
    return handle;
}

// --- calls -----------------------------------------------------------------------------------

int resample(const Manner &manner, const SIZE *size, HBUF32 source, HBUF32 *destination,
             const RESAMPLEPROGRESS *progress = nullptr);
int resample(const Manner &manner, int width, int height, HBUF32 source, HBUF32 *destination,
             const RESAMPLEPROGRESS *progress = nullptr);
// Into a given buffer.
int resample_into(HBUF32 destination, const Manner &manner, HBUF32 source,
                  const RESAMPLEPROGRESS *progress = nullptr);

// A progress record with a callback that notes what it hears, and stops the work when told to.
class Listener {
public:
    Listener(int start, int end, int poll_esc = 0)
        : record_{poll_esc, &callback, uintptr_t(this), start, end} {}
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    operator const RESAMPLEPROGRESS *() const { return &record_; }
    RESAMPLEPROGRESS &record() { return record_; }

    const std::vector<Message> &heard() const { return heard_; }
    // So many of RESAMPLE_PROGRESS.
    int progress() const;

    // The message to refuse, counted from 1; 0 refuses none.
    int refuses = 0;
    int consent = 1;
    // Called with every message.
    std::function<void(const Message &)> also;

private:
    static int __stdcall callback(int message, int value, int zero, uintptr_t user_data);

    RESAMPLEPROGRESS record_;
    std::vector<Message> heard_;
};

// --- the library's lock ----------------------------------------------------------------------

// Every entry and leaving of the library's lock.
class LockBalance {
public:
    int entered() const { return entered_; }
    bool balanced() const { return entered_ == left_; }

private:
    int entered_ = 0, left_ = 0;
    Replaced<frame::call::EnterCriticalSection> enter_{[this](CRITICAL_SECTION *section) {
        EnterCriticalSection(section);
        ++entered_;
    }};
    Replaced<frame::call::LeaveCriticalSection> leave_{[this](CRITICAL_SECTION *section) {
        ++left_;
        LeaveCriticalSection(section);
    }};
};

// --- fixtures --------------------------------------------------------------------------------

// The table of bicubic coefficients exists already: it stays until the library goes, and would look
// like something that a test has left behind.
class ResampleTest : public RectangleTest {
protected:
    void SetUp() override;

    // A new buffer, silently; its pixels, its record and the state of the source must be right.
    void check_new(const Manner &manner, int width, int height, const Picture &source_picture,
                   HBUF32 source);
    void check_new(const Manner &manner, int width, int height, const Side &source) {
        check_new(manner, width, height, source.picture, source);
    }
    // The same into a buffer of whatever sort. The destination's picture becomes the model's.
    void check_given(const Manner &manner, Side &destination, const Picture &source_picture,
                     HBUF32 source);
    void check_given(const Manner &manner, Side &destination, const Side &source) {
        check_given(manner, destination, source.picture, source);
    }

    bool has_coefficients = true;
};

// The library has just been loaded, and no bicubic call has been made.
class FreshResampleTest : public ResampleTest {
protected:
    FreshResampleTest() { has_coefficients = false; }
    void SetUp() override;
    void TearDown() override;
};

} // namespace q32::test
