// Start and stop of the library.
#include "tests/failing_calls/stage.h"

#include "tests/library/library_fixture.h"

namespace q32::test {
namespace {

// A start, and what a library that has started does: buffers in memory and, when it has got to know
// where they go, in files.
class Start : public Scenario {
protected:
    void start_and_use() {
        attempt([&] { return load().attach(); }, [&] { return load().attach(); });
        const frame::Api &started = own().api();
        for (const uint32_t type : {BUF32_TILED, BUF32_TILED_FILE}) {
            HBUF32 buffer = 0;
            see(started.buf32Alloc(&buffer, 24, wide, high, type, nullptr));
            if (buffer != 0) {
                EXPECT_SUCCESS(started.buf32Free(buffer));
            }
        }
        frame::forget_reports();
        own().detach();
    }
};

#define START(name) Q32_SCENARIO(Start, start, name, Library::none)
START(WithoutAMasterFile) {
    may_report({{1004, 0, 9, 2}});
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    goes_unnoticed({"GetPrivateProfileIntA", "GetTempPathA"});
    frame::empty_sandbox();
    start_and_use();
}

START(AfterACrash) {
    may_report({{1004, 0, 9, 8}});
    may_be_silent({"CreatePalette", "GlobalAlloc"});
    goes_unnoticed({"GetPrivateProfileIntA", "GetTempPathA"});
    frame::empty_sandbox();
    frame::write_file(master_file(), master_with({frame::sandbox() + "nobody"}));
    start_and_use();
}

class Stop : public Scenario {
protected:
    // Stops a library that has made all that it makes once.
    void stop_after(const std::function<void(const frame::Api &)> &use) {
        frame::empty_sandbox();
        EXPECT_TRUE(load().attach());
        use(own().api());
        attempt([&] {
            own().detach();
            return true;
        });
    }
};

#define STOP(name) Q32_SCENARIO(Stop, stop, name, Library::none)
STOP(WithNothing) {
    stop_after([](const frame::Api &) {});
}

// A record file whose slot in the master file cannot be cleared is kept, for the next start to find
// both.
STOP(WithEverything) {
    keeps("files on disk");
    stop_after([](const frame::Api &library) {
        HBUF32 buffer = 0, duplicate = 0, scaled = 0;
        EXPECT_SUCCESS(library.buf32Alloc(&buffer, 24, wide, high, BUF32_TILED_FILE, nullptr));
        EXPECT_SUCCESS(library.buf32DupBuf(buffer, &duplicate));
        const SIZE size{70, 60};
        EXPECT_SUCCESS(
            library.q32BufferResampleEx(&size, buffer, &scaled, nullptr, 0, RESAMPLE_BICUBIC));
        EXPECT_SUCCESS(library.buf32Lock(scaled, BUF32_READ, nullptr));
        const DispIcmMode mode{1, "one", "two.icm", nullptr, nullptr, "five.icm", 3, 7, 8};
        EXPECT_SUCCESS(library.disp32SetICMMode(&mode));
    });
}

} // namespace
} // namespace q32::test
