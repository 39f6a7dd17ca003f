// What the two functions refuse, what they answer at once, and what they hand out.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResampleCalls : public ResampleTest {};

const Manner both_functions[] = {{false}, {true, 0, RESAMPLE_NEAREST}, {true, 1, 0}};

// The whole state of a buffer that must not have been touched.
void expect_untouched(const Side &side) {
    EXPECT_EQ(side.locks(), 0u);
    EXPECT_EQ(side.mode(), Side::no_mode);
    side.expect_picture();
}

HBUF32 freed_handle() {
    HBUF32 handle = 0;
    EXPECT_EQ(api().buf32Alloc(&handle, 24, 20, 10, 0, nullptr), 1);
    EXPECT_EQ(api().buf32Free(handle), 1);
    return handle;
}

// --- arguments -------------------------------------------------------------------------------

TEST_F(ResampleCalls, NeedASize) {
    Random random(test_seed(), 1);
    for (int bits : {1, 8, 16, 24, 32}) {
        Side source(bits, 20, 10, random), given(bits, 7, 5, random);
        for (const Manner &manner : both_functions) {
            SCOPED_TRACE(text_of(manner) + ", " + std::to_string(bits) + " bits");
            for (const SIZE &size : {SIZE{0, 100}, SIZE{100, 0}, SIZE{0, 0}, SIZE{0, -1},
                                     SIZE{-1, 0}, SIZE{0, 32001}}) {
                Listener listener(0, 100);
                FailingCall blocks("GlobalAlloc", 0);
                HBUF32 handle = 0;
                EXPECT_REPORT(resample(manner, &size, source, &handle, listener), 3200, 1, 8, 14);
                EXPECT_EQ(handle, 0u);
                handle = given;
                EXPECT_REPORT(resample(manner, &size, source, &handle, listener), 3200, 1, 8, 14);
                EXPECT_EQ(handle, HBUF32(given));
                EXPECT_REPORT(resample(manner, &size, source, nullptr, listener), 3200, 1, 8, 14);
                EXPECT_REPORT(resample(manner, &size, 0, &handle, listener), 3200, 1, 8, 14);
                EXPECT_EQ(listener.heard(), std::vector<Message>{});
                EXPECT_EQ(blocks.calls(), 0);
            }
        }
        expect_untouched(source);
        expect_untouched(given);
    }
}

TEST_F(ResampleCalls, NeedPointers) {
    Random random(test_seed(), 2);
    Side source(24, 20, 10, random), given(24, 7, 5, random);
    for (const Manner &manner : both_functions) {
        SCOPED_TRACE(text_of(manner));
        HBUF32 handle = 0;
        EXPECT_REPORT(resample(manner, nullptr, source, &handle), 3200, 1, 8, 14);
        EXPECT_EQ(handle, 0u);
        handle = given;
        EXPECT_REPORT(resample(manner, nullptr, source, &handle), 3200, 1, 8, 14);
        EXPECT_EQ(handle, HBUF32(given));
        EXPECT_REPORT(resample(manner, nullptr, source, nullptr), 3200, 1, 8, 14);
        EXPECT_REPORT(resample(manner, 5, 5, source, nullptr), 3200, 1, 8, 14);
    }
    expect_untouched(source);
    expect_untouched(given);
}

// What the new buffer's allocation says about the size comes as it is, before any message.
TEST_F(ResampleCalls, NeedASizeThatABufferCanHave) {
    Random random(test_seed(), 3);
    const std::pair<SIZE, Failure> cases[] = {
        {{-1, 5}, {3200, 0, 4, 7}},      {{5, -1}, {3200, 0, 4, 7}},
        {{INT_MIN, 5}, {3200, 0, 4, 7}}, {{5, INT_MIN}, {3200, 0, 4, 7}},
        {{32001, 5}, {5402, 0, 4, 71}},  {{5, 32001}, {5403, 0, 4, 72}},
        {{32001, -1}, {5402, 0, 4, 71}}, {{INT_MAX, INT_MAX}, {5402, 0, 4, 71}}};
    const Side one_colour(Sort::one_colour, 24, 20, 10, random);
    for (int bits : {1, 8, 16, 24, 32}) {
        const Side source(bits, 20, 10, random);
        for (const Manner &manner : both_functions)
            for (const auto &[size, failure] : cases) {
                SCOPED_TRACE(text_of(manner) + ", " + std::to_string(size.cx) + " x " +
                             std::to_string(size.cy));
                Listener listener(0, 100);
                HBUF32 handle = 0;
                EXPECT_REPORT(resample(manner, &size, source, &handle, listener), failure.message,
                              failure.severity, failure.module, failure.point);
                EXPECT_REPORT(resample(manner, &size, one_colour, &handle, listener),
                              failure.message, failure.severity, failure.module, failure.point);
                EXPECT_EQ(handle, 0u);
                EXPECT_EQ(listener.heard(), std::vector<Message>{});
            }
        expect_untouched(source);
    }
    expect_untouched(one_colour);
}

// A given buffer has its own size: the size is only looked at for zeros.
TEST_F(ResampleCalls, IgnoreTheSizeOfAGivenBuffer) {
    Random random(test_seed(), 4);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 20, 10, random);
        Side given(bits_of(path), 31, 17, random);
        for (const SIZE &size : {SIZE{-1, 5}, SIZE{INT_MIN, INT_MIN}, SIZE{32001, 1},
                                 SIZE{INT_MAX, INT_MAX}, SIZE{1, 1}}) {
            HBUF32 handle = given;
            EXPECT_SUCCESS(resample(manner_of(path), &size, source, &handle));
            EXPECT_EQ(handle, HBUF32(given));
            model::resample(path, source.picture, given.picture, given.cells());
            given.expect_picture();
        }
    }
}

TEST_F(ResampleCalls, NeedALiveSource) {
    Random random(test_seed(), 5);
    Bytes anything(4096);
    random.fill(anything);
    for (int bits : {1, 8, 16, 24, 32}) {
        const Side given(bits, 7, 5, random);
        const HBUF32 freed = freed_handle(); // the last that the system gave to a buffer
        for (const Manner &manner : both_functions)
            for (HBUF32 source : {HBUF32{0}, freed, HBUF32{1}, HBUF32{0xFFFFFFFF},
                                  HBUF32(uintptr_t(anything.data()))}) {
                SCOPED_TRACE(text_of(manner) + ", source " + std::to_string(source));
                Listener listener(0, 100);
                HBUF32 handle = 0;
                EXPECT_SILENT_FAILURE(resample(manner, 5, 5, source, &handle, listener));
                EXPECT_EQ(handle, 0u);
                EXPECT_SILENT_FAILURE(resample_into(given, manner, source, listener));
                EXPECT_EQ(listener.heard(), std::vector<Message>{});
            }
        expect_untouched(given);
    }
}

// The work has begun when this is found: rows find it when they make their tables.
TEST_F(ResampleCalls, NeedALiveDestination) {
    Random random(test_seed(), 6);
    Bytes anything(4096);
    random.fill(anything);
    const std::pair<Path, Failure> cases[] = {{Path::bits, {3200, 1, 8, 13}},
                                              {Path::nearest_rows, {3200, 1, 8, 13}},
                                              {Path::bilinear_rows, {3200, 1, 8, 13}},
                                              {Path::bicubic_rows, {3200, 1, 8, 13}},
                                              {Path::nearest_cells, {5206, 1, 12, 643}},
                                              {Path::bilinear_cells, {5206, 1, 12, 918}},
                                              {Path::bicubic_cells, {5206, 1, 12, 1627}}};
    for (const auto &[path, failure] : cases) {
        const Side source(bits_of(path), 20, 10, random);
        const HBUF32 freed = freed_handle();
        for (HBUF32 handle :
             {freed, HBUF32{1}, HBUF32{0xFFFFFFFF}, HBUF32(uintptr_t(anything.data()))}) {
            SCOPED_TRACE(std::string(name_of(path)) + ", destination " + std::to_string(handle));
            Listener listener(3, 100);
            const frame::Census before = frame::Census::now();
            const LockBalance lock;
            EXPECT_REPORT(resample_into(handle, manner_of(path), source, listener), failure.message,
                          failure.severity, failure.module, failure.point);
            EXPECT_EQ(frame::Census::now(), before);
            EXPECT_TRUE(lock.balanced());
            EXPECT_EQ(listener.heard(), (std::vector<Message>{{1, 3}, {4, 100}}));
            EXPECT_EQ(source.locks(), 0u);
            source.expect_picture();
        }
    }
}

// --- depths that cells do not take -----------------------------------------------------------

TEST_F(ResampleCalls, CellsTakeTheseDepths) {
    Random random(test_seed(), 7);
    const std::pair<Path, Failure> cases[] = {{Path::nearest_cells, {5206, 1, 12, 643}},
                                              {Path::bilinear_cells, {5206, 1, 12, 918}},
                                              {Path::bicubic_cells, {5206, 1, 12, 1627}}};
    for (int from = 8; from <= 64; ++from) {
        if (from / 8 == 2)
            continue; // rows
        const Side source(from, 13, 9, random);
        for (const auto &[path, failure] : cases) {
            const Manner manner = manner_of(path);
            SCOPED_TRACE("from " + std::to_string(from) + " bits, " + name_of(path));
            const auto expect_refused_for = [&](HBUF32 destination) {
                Listener listener(3, 100);
                HBUF32 handle = destination;
                EXPECT_REPORT(resample(manner, 6, 7, source, &handle, listener), failure.message,
                              failure.severity, failure.module, failure.point);
                EXPECT_EQ(handle, destination);
                EXPECT_EQ(listener.heard(), (std::vector<Message>{{1, 3}, {4, 100}}));
                EXPECT_EQ(source.locks(), 0u);
            };
            if (model::cells_take(from, from))
                check_new(manner, 6, 7, source);
            else
                expect_refused_for(0);
            for (int into : {1, 2, 4, 7, 8, 9, 12, 15, 16, 23, 24, 25, 32, 48, 64}) {
                SCOPED_TRACE("into " + std::to_string(into) + " bits");
                Side given(into, 6, 7, random);
                if (model::cells_take(from, into)) {
                    check_given(manner, given, source);
                } else {
                    expect_refused_for(given);
                    expect_untouched(given);
                }
            }
        }
        if (HasFailure())
            return;
    }
}

TEST_F(ResampleCalls, TheShorterFunctionTakesTheSameDepths) {
    Random random(test_seed(), 8);
    for (int from : {8, 9, 12, 15, 24, 25, 32, 40, 48, 64}) {
        SCOPED_TRACE(from);
        const Side source(from, 13, 9, random);
        HBUF32 handle = 0;
        if (model::cells_take(from, from))
            check_new({false}, 6, 7, source);
        else
            EXPECT_REPORT(resample({false}, 6, 7, source, &handle), 5206, 1, 12, 918);
        EXPECT_EQ(handle, 0u);
        Side given(8, 6, 7, random);
        check_given({false}, given, source);
    }
}

// --- one colour ------------------------------------------------------------------------------

TEST_F(ResampleCalls, OneColourAnswersAtOnce) {
    Random random(test_seed(), 9);
    for (int bits : {1, 2, 4, 7, 8, 12, 16, 20, 24, 32, 48, 64})
        for (Sort sort : {Sort::one_colour, Sort::filled})
            for (const Manner &manner :
                 {Manner{false}, {true, 0, 1}, {true, 0, 2}, {true, 0, 4}, {true, 1, 1}}) {
                SCOPED_TRACE(std::to_string(bits) + " bits, " + text_of(manner));
                const Side source(sort, bits, 20, 10, random);
                Listener listener(0, 100, 1);
                listener.refuses = 1;
                frame::comm().esc_from_poll = 1;
                const LockBalance lock;
                HBUF32 handle = 0;
                EXPECT_SUCCESS(resample(manner, 3000, 2000, source, &handle, listener));
                const Buffer made(handle);
                ASSERT_TRUE(made);
                EXPECT_EQ(listener.heard(), std::vector<Message>{});
                EXPECT_EQ(frame::comm().esc_polls, 0);
                EXPECT_EQ(lock.entered(), 0);
                BUF32INFO info{}, source_info{};
                EXPECT_EQ(api().buf32GetInfo(made, &info), 1);
                EXPECT_EQ(api().buf32GetInfo(source, &source_info), 1);
                EXPECT_EQ(info.type, BUF32_ONE_COLOUR);
                EXPECT_EQ(info.one_colour, 1);
                EXPECT_EQ(std::memcmp(info.colour, source_info.colour, size_t(bits + 7) / 8), 0);
                EXPECT_EQ(info.bits_per_pixel, bits);
                EXPECT_EQ(info.width, 3000);
                EXPECT_EQ(info.height, 2000);
                EXPECT_EQ(info.lock_count, 0);
                EXPECT_EQ(word(made, field_storage), 0u);
                EXPECT_EQ(source_info.lock_count, 0);
                EXPECT_EQ(uint32_t(source_info.access_mode), Side::no_mode);
            }
}

// A pattern is no colour, and a given destination gets pixels.
TEST_F(ResampleCalls, OnlyOneColourIntoANewBufferAnswersAtOnce) {
    Random random(test_seed(), 10);
    for (int bits : {8, 24}) {
        Side pattern(Sort::pattern, bits, 50, 40, random),
            colour(Sort::one_colour, bits, 50, 40, random);
        Side given(bits, 60, 30, random), also_colour(Sort::one_colour, bits, 60, 30, random);
        check_new({true, 0, RESAMPLE_BILINEAR}, 70, 90, pattern);
        check_given({true, 0, RESAMPLE_BILINEAR}, given, colour);
        check_given({true, 0, RESAMPLE_BILINEAR}, also_colour, colour);
        EXPECT_EQ(word(also_colour, field_type), BUF32_TILED);
    }
}

TEST_F(ResampleCalls, NoMemoryForOneColour) {
    Random random(test_seed(), 11);
    const Side source(Sort::one_colour, 24, 20, 10, random);
    for (const Manner &manner : both_functions)
        for (const auto &[n, failure] : {std::pair{1, Failure{1001, 0, 4, 9}},
                                         {2, Failure{1001, 0, 4, 9}},
                                         {3, Failure{1001, 0, 4, 10}}}) {
            Listener listener(0, 100);
            HBUF32 handle = 0;
            FailingCall block("GlobalAlloc", n);
            EXPECT_REPORT(resample(manner, 30, 20, source, &handle, listener), failure.message,
                          failure.severity, failure.module, failure.point);
            EXPECT_EQ(handle, 0u);
            EXPECT_EQ(listener.heard(), std::vector<Message>{});
        }
    expect_untouched(source);
}

// --- what is handed out ----------------------------------------------------------------------

// The new buffer is there from the first message on; when the work fails it is gone after the last.
TEST_F(ResampleCalls, NewBufferLivesWhileTheWorkGoesOn) {
    Random random(test_seed(), 12);
    for (Path path : all_paths)
        for (int refuses : {0, 1, 2}) {
            SCOPED_TRACE(std::string(name_of(path)) + ", refusing " + std::to_string(refuses));
            const Side source(bits_of(path), 20, 10, random);
            const int live = api().buf32CountBuf(nullptr);
            HBUF32 handle = 0, seen = 0;
            Listener listener(0, 1000);
            listener.refuses = refuses;
            listener.also = [&](const Message &message) {
                BUF32INFO info{};
                ASSERT_EQ(api().buf32GetInfo(handle, &info), 1);
                seen = seen == 0 ? handle : seen;
                EXPECT_EQ(handle, seen);
                EXPECT_EQ(info.width, 30);
                EXPECT_EQ(info.height, 25);
                EXPECT_EQ(info.bits_per_pixel, bits_of(path));
                const bool at_work = message.message == RESAMPLE_PROGRESS;
                EXPECT_EQ(info.lock_count, at_work ? 1 : 0) << message.message;
                EXPECT_EQ(source.locks(), 1u) << message.message;
                EXPECT_EQ(source.mode(), uint32_t(BUF32_READ));
            };
            forget_reports();
            EXPECT_EQ(resample(manner_of(path), 30, 25, source, &handle, listener), refuses == 0);
            EXPECT_EQ(frame::reports().size(), refuses == 0 ? 0u : 1u);
            forget_reports();
            EXPECT_NE(seen, 0u);
            EXPECT_EQ(handle, refuses == 0 ? seen : 0u);
            EXPECT_EQ(api().buf32CountBuf(nullptr), live + (refuses == 0));
            EXPECT_EQ(source.locks(), 0u);
            const Buffer made(handle);
        }
}

// Locks that the caller holds are neither in the way nor lost.
TEST_F(ResampleCalls, CallersLocksStay) {
    Random random(test_seed(), 13);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 20, 10, random);
        Side given(bits_of(path), 30, 25, random);
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1);
        for (int i = 0; i < 2; ++i)
            ASSERT_EQ(api().buf32Lock(given, BUF32_WRITE, nullptr), 1);
        check_given(manner_of(path), given, source);
        check_new(manner_of(path), 9, 11, source);
        EXPECT_EQ(source.locks(), 3u);
        EXPECT_EQ(given.locks(), 2u);
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(api().buf32Unlock(source), 1);
        for (int i = 0; i < 2; ++i)
            ASSERT_EQ(api().buf32Unlock(given), 1);
    }
}

// A buffer into itself: what it then shows is nobody's promise, but it is a buffer still.
TEST_F(ResampleCalls, IntoItself) {
    Random random(test_seed(), 14);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::linear, Sort::duplicate, Sort::shared, Sort::bitmap,
                          Sort::one_colour}) {
            SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort));
            const Side both(sort, bits_of(path), 200, 150, random);
            Listener listener(0, 100);
            EXPECT_SUCCESS(resample_into(both, manner_of(path), both, listener));
            EXPECT_EQ(listener.heard().front(), (Message{1, 0}));
            EXPECT_EQ(listener.heard().back(), (Message{4, 100}));
            EXPECT_EQ(both.locks(), 0u);
        }
}

} // namespace
} // namespace q32::test
