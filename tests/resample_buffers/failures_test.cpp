// Every row of the failure tables by its number: memory that cannot be had, locks, rows, fetches
// and writes that fail. Whatever fails, the source is unlocked, the library's lock is left, a new
// buffer is gone and a given one keeps what was finished.
#include "tests/frame/priority.h"
#include "tests/resample_buffers/resample_fixture.h"

#include <thread>

namespace q32::test {
namespace {

class ResampleFailures : public ResampleTest {};
class FreshResampleFailures : public FreshResampleTest {};

using Reports = std::vector<Failure>;
using Messages = std::vector<Message>;

// Another thread can resample: the library's lock has been left. One that waits in vain ends the
// program, since nothing could go on.
void expect_lock_is_free() {
    bool done = false;
    std::thread([&done] {
        HBUF32 source = 0, destination = 0;
        api().buf32Alloc(&source, 8, 3, 3, BUF32_TILED, nullptr);
        done = resample({false}, 5, 5, source, &destination) == 1;
        api().buf32Free(source);
        api().buf32Free(destination);
    }).join();
    EXPECT_TRUE(done);
}

// Takes a look at everything that a failing call must leave as it was.
class Surroundings {
public:
    explicit Surroundings(std::initializer_list<const Side *> sides) : sides_(sides) {}
    void expect_unchanged() const {
        EXPECT_EQ(Census::now(), before_);
        EXPECT_EQ(api().buf32CountBuf(nullptr), live_);
        EXPECT_EQ(memory_in_use(), memory_);
        EXPECT_EQ(mapped_bytes(), mapped_);
        EXPECT_TRUE(lock_.balanced());
        EXPECT_EQ(frame::thread_priority(), before_.thread_priority);
        for (const Side *side : sides_)
            EXPECT_EQ(side->locks(), 0u);
    }

private:
    std::vector<const Side *> sides_;
    Census before_ = Census::now();
    int live_ = api().buf32CountBuf(nullptr);
    size_t memory_ = memory_in_use(), mapped_ = mapped_bytes();
    LockBalance lock_;
};

// --- memory ----------------------------------------------------------------------------------

// Which block, or lock of a block, is missing, counted from 1, into a given destination of one
// cell: nothing is made before the path's own.
struct Missing {
    Path path;
    const char *function;
    int first, last;
    Reports reports;
};

const Missing all_missing[] = {
    // Four tables, the row of the source, the work rows.
    {Path::nearest_rows, "GlobalAlloc", 1, 4, {{1001, 1, 8, 16}}},
    {Path::nearest_rows, "GlobalLock", 1, 4, {{1001, 1, 8, 16}}},
    {Path::nearest_rows, "GlobalAlloc", 5, 5, {{1001, 1, 4, 17}}},
    {Path::nearest_rows, "GlobalAlloc", 6, 6, {{1001, 0, 8, 18}}},
    {Path::bilinear_rows, "GlobalAlloc", 1, 4, {{1001, 1, 8, 16}}},
    {Path::bilinear_rows, "GlobalLock", 1, 4, {{1001, 1, 8, 16}}},
    {Path::bilinear_rows, "GlobalAlloc", 5, 5, {{1001, 1, 4, 17}}},
    {Path::bilinear_rows, "GlobalAlloc", 6, 6, {{1001, 0, 8, 18}}},
    {Path::bicubic_rows, "GlobalAlloc", 1, 4, {{1001, 1, 8, 16}}},
    {Path::bicubic_rows, "GlobalLock", 1, 4, {{1001, 1, 8, 16}}},
    {Path::bicubic_rows, "GlobalAlloc", 5, 5, {{1001, 1, 4, 17}}},
    {Path::bicubic_rows, "GlobalAlloc", 6, 6, {{1001, 0, 8, 18}}},
    // Four tables, the work row; the staged row of each written one is without a report.
    {Path::bits, "GlobalAlloc", 1, 4, {{1001, 1, 8, 16}}},
    {Path::bits, "GlobalLock", 1, 4, {{1001, 1, 8, 16}}},
    {Path::bits, "GlobalAlloc", 5, 5, {{1001, 0, 8, 18}}},
    {Path::bits, "GlobalAlloc", 6, 6, {}},
    // Tables, a source block, a destination block.
    {Path::nearest_cells, "GlobalAlloc", 1, 2, {{1001, 1, 12, 741}}},
    {Path::nearest_cells, "GlobalAlloc", 3, 3, {{1001, 1, 12, 741}}},
    {Path::nearest_cells, "GlobalAlloc", 4, 4, {{1001, 1, 12, 755}}},
    {Path::bilinear_cells, "GlobalAlloc", 1, 4, {{1001, 1, 12, 961}}},
    {Path::bilinear_cells, "GlobalAlloc", 5, 5, {{1001, 1, 12, 1100}}},
    {Path::bilinear_cells, "GlobalAlloc", 6, 6, {{1001, 1, 12, 1114}}},
    {Path::bicubic_cells, "GlobalAlloc", 1, 4, {{1001, 1, 12, 1741}}},
    {Path::bicubic_cells, "GlobalAlloc", 5, 5, {{1001, 1, 12, 1741}}},
    {Path::bicubic_cells, "GlobalAlloc", 6, 6, {{1001, 1, 12, 1756}}},
};

void expect_missing(const Missing &missing, const Manner &manner, int bits) {
    Random random(test_seed(), 1);
    for (int n = missing.first; n <= missing.last; ++n)
        for (auto extent : {FailingCall::only_there, FailingCall::from_there_on}) {
            SCOPED_TRACE(text_of(manner) + ", " + std::to_string(bits) + " bits, " +
                         missing.function + " " + std::to_string(n));
            const Side source(bits, 20, 10, random);
            Side given(bits, 30, 25, random);
            Listener listener(-3, 3);
            const Surroundings surroundings({&source, &given});
            forget_reports();
            {
                const FailingCall failing(missing.function, n, extent);
                EXPECT_EQ(resample_into(given, manner, source, listener), 0);
                EXPECT_TRUE(failing.happened());
            }
            EXPECT_EQ(frame::reports(), missing.reports);
            forget_reports();
            surroundings.expect_unchanged();
            expect_lock_is_free();
            Messages expected{{1, -3}, {4, 3}};
            if (is_of_cells(missing.path) && (n > 4 || missing.path == Path::nearest_cells) &&
                n > 2)
                expected.insert(expected.begin() + 1, {2, -3});
            EXPECT_EQ(listener.heard(), expected);
            given.expect_picture();
            source.expect_picture();
            EXPECT_SUCCESS(resample_into(given, manner, source));
            model::resample(missing.path, source.picture, given.picture, given.cells());
            given.expect_picture();
            if (testing::Test::HasFailure())
                return;
        }
}

TEST_F(ResampleFailures, MemoryOfEveryPath) {
    for (const Missing &missing : all_missing) {
        SCOPED_TRACE(name_of(missing.path));
        expect_missing(missing, manner_of(missing.path), bits_of(missing.path));
        if (HasFailure())
            return;
    }
}

TEST_F(ResampleFailures, MemoryOfOtherDepthsAndManners) {
    uint64_t number = 0;
    const auto expect = [&](const Missing &missing, const Manner &manner, int bits) {
        if (in_this_round(number++))
            expect_missing(missing, manner, bits);
    };
    for (const Missing &missing : all_missing) {
        SCOPED_TRACE(name_of(missing.path));
        if (missing.path == Path::bits) {
            for (int bits : {1, 2, 4, 7})
                expect(missing, {false}, bits);
            expect(missing, {true, 1, RESAMPLE_BICUBIC}, 1);
        } else if (missing.path == Path::nearest_rows) {
            for (int bits : {8, 12, 16, 20, 32, 64})
                expect(missing, {true, -1, RESAMPLE_BICUBIC}, bits);
            expect(missing, {true, 0, RESAMPLE_NEAREST}, 16);
        } else if (missing.path == Path::bilinear_rows) {
            expect(missing, {false}, 16);
            expect(missing, {true, 0, RESAMPLE_BILINEAR}, 20);
        } else if (missing.path == Path::bicubic_rows) {
            expect(missing, {true, 0, 3}, 16);
            expect(missing, {true, 0, 0}, 20);
        } else {
            expect(missing, manner_of(missing.path), 8);
            if (missing.path == Path::bilinear_cells)
                expect(missing, {false}, 24);
            if (missing.path == Path::bicubic_cells)
                expect(missing, {true, 0, 7}, 24);
        }
        if (HasFailure())
            return;
    }
}

// Bicubic cells without coefficients fail at the points of the bilinear ones.
TEST_F(FreshResampleFailures, MemoryOfUnknownMethods) {
    for (Missing missing : all_missing)
        if (missing.path == Path::bilinear_cells)
            expect_missing(missing, {true, 0, 3}, 24);
}

// The coefficients come first in cells; in rows, between the row of the source and the work rows.
TEST_F(FreshResampleFailures, MemoryOfTheFirstBicubicCall) {
    Random random(test_seed(), 2);
    for (int bits : {8, 16, 24}) {
        const bool rows = bits == 16;
        const struct {
            const char *function;
            int n;
            Failure failure;
        } cases[] = {
            {"GlobalAlloc", rows ? 5 : 1, rows ? Failure{1001, 1, 4, 17} : Failure{1001, 0, 8, 17}},
            {"GlobalAlloc", rows ? 6 : 1, {1001, 0, 8, 17}},
            {"GlobalLock", rows ? 5 : 1, {1001, 0, 8, 17}}};
        for (const auto &[function, n, failure] : cases) {
            SCOPED_TRACE(std::string(function) + " " + std::to_string(n));
            const Side source(bits, 20, 10, random), given(bits, 30, 25, random);
            const Surroundings surroundings({&source, &given});
            for (bool to_new : {false, true}) {
                // A new buffer takes three blocks of its own.
                const bool counts = to_new && function == std::string("GlobalAlloc");
                const FailingCall failing(function, counts ? n + 3 : n);
                HBUF32 handle = to_new ? 0 : HBUF32(given);
                EXPECT_REPORT(resample({true, 0, RESAMPLE_BICUBIC}, 30, 25, source, &handle),
                              failure.message, failure.severity, failure.module, failure.point);
                EXPECT_EQ(handle, to_new ? 0 : HBUF32(given));
                EXPECT_TRUE(failing.happened());
            }
            surroundings.expect_unchanged();
            expect_lock_is_free();
            given.expect_picture();
        }
    }
}

// A row is staged on its way to bits: those before it stay.
TEST_F(ResampleFailures, BitsAreWrittenRowByRow) {
    Random random(test_seed(), 3);
    for (int bits : {1, 4})
        for (int row : {0, 1, 7, 24}) {
            SCOPED_TRACE(row);
            const Side source(bits, 20, 10, random);
            Side given(bits, 30, 25, random);
            const Surroundings surroundings({&source, &given});
            Listener listener(0, 25);
            {
                const FailingCall failing("GlobalAlloc", 6 + row);
                EXPECT_SILENT_FAILURE(
                    resample_into(given, manner_of(Path::bits), source, listener));
                EXPECT_TRUE(failing.happened());
            }
            surroundings.expect_unchanged();
            EXPECT_EQ(listener.progress(), row);
            EXPECT_EQ(listener.heard().back(), (Message{4, 25}));
            model::resample(Path::bits, source.picture, given.picture, given.cells(), row);
            given.expect_picture();
        }
}

// --- a new buffer ----------------------------------------------------------------------------

TEST_F(ResampleFailures, NoStorageForANewBuffer) {
    Random random(test_seed(), 4);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 20, 10, random);
        const Surroundings surroundings({&source});
        const NoStorage none;
        Listener listener(0, 100);
        HBUF32 handle = 0;
        EXPECT_REPORT(resample(manner_of(path), 200, 200, source, &handle, listener), 1001, 0, 4,
                      3);
        EXPECT_EQ(handle, 0u);
        EXPECT_EQ(listener.heard(), Messages{});
        EXPECT_EQ(source.mode(), Side::no_mode);
        surroundings.expect_unchanged();
    }
}

// --- locks -----------------------------------------------------------------------------------

TEST_F(ResampleFailures, SourceThatCannotBeLocked) {
    Random random(test_seed(), 5);
    const std::pair<Sort, Failure> cases[] = {{Sort::one_colour, {1001, 0, 2, 5}},
                                              {Sort::pattern, {1001, 1, 4, 21}}};
    for (const auto &[sort, failure] : cases)
        for (Path path : all_paths) {
            SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort));
            const Side source(sort, bits_of(path), 200, 150, random);
            const Side given(bits_of(path), 20, 10, random);
            const Surroundings surroundings({&source, &given});
            Listener listener(0, 100);
            const FailingCall failing("VirtualAlloc", 1, FailingCall::from_there_on);
            EXPECT_REPORT(resample_into(given, manner_of(path), source, listener), failure.message,
                          failure.severity, failure.module, failure.point);
            EXPECT_EQ(listener.heard(), Messages{});
            EXPECT_EQ(source.mode(), Side::no_mode);
            EXPECT_EQ(given.mode(), Side::no_mode);
            surroundings.expect_unchanged();
            given.expect_picture();
        }
    forget_memory_in_use();
}

TEST_F(ResampleFailures, SourceThatRefusesItsLock) {
    Random random(test_seed(), 6);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 20, 10, random), given(bits_of(path), 30, 25, random);
        const Surroundings surroundings({&source, &given});
        int asked = 0;
        const LockHook hook(source, [&](auto, HBUF32, int mode, void **) {
            EXPECT_EQ(mode, BUF32_READ);
            ++asked;
            return 0;
        });
        Listener listener(0, 100);
        HBUF32 handle = 0;
        EXPECT_SILENT_FAILURE(resample(manner_of(path), 30, 25, source, &handle, listener));
        EXPECT_EQ(handle, 0u);
        EXPECT_SILENT_FAILURE(resample_into(given, manner_of(path), source, listener));
        EXPECT_EQ(asked, 2);
        EXPECT_EQ(listener.heard(), Messages{});
        surroundings.expect_unchanged();
        given.expect_picture();
    }
}

// Rows fail in silence, cells with a report of their own after whatever the lock has said.
Reports not_locked(Path path, Reports before) {
    const std::pair<Path, Failure> cells[] = {{Path::nearest_cells, {5206, 1, 12, 643}},
                                              {Path::bilinear_cells, {5206, 1, 12, 918}},
                                              {Path::bicubic_cells, {5206, 1, 12, 1627}}};
    for (const auto &[of, failure] : cells)
        if (of == path)
            before.push_back(failure);
    return before;
}

TEST_F(ResampleFailures, DestinationThatRefusesItsLock) {
    Random random(test_seed(), 7);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 20, 10, random), given(bits_of(path), 30, 25, random);
        const Surroundings surroundings({&source, &given});
        {
            std::vector<int> modes;
            const LockHook hook(given, [&](auto, HBUF32, int mode, void **) {
                modes.push_back(mode);
                return 0;
            });
            Listener listener(0, 100);
            forget_reports();
            EXPECT_EQ(resample_into(given, manner_of(path), source, listener), 0);
            EXPECT_EQ(frame::reports(), not_locked(path, {}));
            forget_reports();
            EXPECT_EQ(modes, std::vector<int>{is_of_cells(path) ? BUF32_OVERWRITE : BUF32_WRITE});
            EXPECT_EQ(listener.heard(), (Messages{{1, 0}, {4, 100}}));
        }
        surroundings.expect_unchanged();
        given.expect_picture();
    }
}

TEST_F(ResampleFailures, NoStorageForTheDestination) {
    Random random(test_seed(), 8);
    const std::pair<Sort, Reports> cases[] = {
        {Sort::one_colour, {{1001, 0, 4, 3}, {1001, 0, 2, 4}}},
        {Sort::filled, {{1001, 0, 4, 3}, {1001, 0, 2, 4}}},
        {Sort::pattern, {{1001, 0, 4, 3}}},
        {Sort::duplicate, {{1001, 0, 4, 3}}},
        {Sort::shared, {{1001, 0, 4, 3}}},
        {Sort::linear_duplicate, {{1001, 0, 4, 3}}}};
    for (const auto &[sort, reports] : cases)
        for (Path path : all_paths) {
            SCOPED_TRACE(std::string(name_of(path)) + ", " + name_of(sort));
            const Side source(bits_of(path), 20, 10, random);
            Side given(sort, bits_of(path), 200, 150, random);
            const auto type = word(given, field_type);
            const Surroundings surroundings({&source, &given});
            {
                const NoStorage none;
                Listener listener(0, 100);
                forget_reports();
                EXPECT_EQ(resample_into(given, manner_of(path), source, listener), 0);
                EXPECT_EQ(frame::reports(), not_locked(path, reports));
                forget_reports();
                EXPECT_EQ(listener.heard(), (Messages{{1, 0}, {4, 100}}));
            }
            surroundings.expect_unchanged();
            EXPECT_EQ(word(given, field_type), type);
            EXPECT_EQ(given.mode(), Side::no_mode);
            given.expect_picture();
            check_given(manner_of(path), given, source);
        }
}

// Over caller memory nothing is written.
TEST_F(ResampleFailures, DestinationOverCallerMemory) {
    Random random(test_seed(), 9);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 20, 10, random);
        const Subject given(Kind::caller_memory, bits_of(path), 30, 25, random);
        const Surroundings surroundings({&source});
        Listener listener(0, 100);
        forget_reports();
        EXPECT_EQ(resample_into(given, manner_of(path), source, listener), 0);
        EXPECT_EQ(frame::reports(), not_locked(path, {}));
        forget_reports();
        EXPECT_EQ(listener.heard(), (Messages{{1, 0}, {4, 100}}));
        surroundings.expect_unchanged();
        EXPECT_EQ(word(given, field_lock_count), 0u);
        given.expect_picture();
    }
}

// --- rows ------------------------------------------------------------------------------------

TEST_F(ResampleFailures, RowsThatCannotBeWritten) {
    Random random(test_seed(), 10);
    for (Path path : {Path::bits, Path::nearest_rows, Path::bilinear_rows, Path::bicubic_rows})
        for (int fails : {0, 1, 12, 24}) {
            SCOPED_TRACE(std::string(name_of(path)) + ", row " + std::to_string(fails));
            const Side source(bits_of(path), 20, 10, random);
            Side given(bits_of(path), 30, 25, random);
            const Surroundings surroundings({&source, &given});
            {
                std::vector<int> rows;
                const LineHook hook(given, [&](auto original, HBUF32 buffer, int row, int mode,
                                               void *memory) {
                    EXPECT_EQ(mode, path == Path::bits ? BUF32_LINE_WRITE_BITS : BUF32_LINE_WRITE);
                    rows.push_back(row);
                    return row == fails ? 0 : original(buffer, row, mode, memory);
                });
                Listener listener(0, 25);
                EXPECT_SILENT_FAILURE(resample_into(given, manner_of(path), source, listener));
                EXPECT_EQ(listener.progress(), fails);
                EXPECT_EQ(listener.heard().back(), (Message{4, 25}));
                std::vector<int> expected(size_t(fails) + 1);
                for (int row = 0; row <= fails; ++row)
                    expected[size_t(row)] = row;
                EXPECT_EQ(rows, expected);
            }
            surroundings.expect_unchanged();
            expect_lock_is_free();
            model::resample(path, source.picture, given.picture, given.cells(), fails);
            given.expect_picture();
        }
}

TEST_F(ResampleFailures, RowsThatCannotBeRead) {
    Random random(test_seed(), 11);
    for (Path path : {Path::nearest_rows, Path::bilinear_rows, Path::bicubic_rows})
        for (int fails : {0, 5, 9}) {
            SCOPED_TRACE(std::string(name_of(path)) + ", row " + std::to_string(fails));
            const Side source(bits_of(path), 20, 10, random);
            Side given(bits_of(path), 30, 25, random);
            const Surroundings surroundings({&source, &given});
            int written = 0;
            {
                const LineHook hook(
                    source, [&](auto original, HBUF32 buffer, int row, int mode, void *memory) {
                        EXPECT_EQ(mode, BUF32_LINE_READ);
                        return row == fails ? 0 : original(buffer, row, mode, memory);
                    });
                Listener listener(0, 25);
                EXPECT_SILENT_FAILURE(resample_into(given, manner_of(path), source, listener));
                // The message of the row that could not be made was sent.
                written = listener.progress();
                EXPECT_EQ(listener.heard().back(), (Message{4, 25}));
            }
            surroundings.expect_unchanged();
            expect_lock_is_free();
            EXPECT_LT(written, 25);
            EXPECT_EQ(written == 0, fails == 0);
            model::resample(path, source.picture, given.picture, given.cells(), written);
            given.expect_picture();
        }
}

// --- cells -----------------------------------------------------------------------------------

struct CellPoints {
    Path path;
    Failure fetch, write;
};
const CellPoints cell_points[] = {
    {Path::nearest_cells, {1001, 1, 12, 748}, {1001, 1, 12, 844}},
    {Path::bilinear_cells, {1001, 1, 12, 1107}, {1001, 1, 12, 1551}},
    {Path::bicubic_cells, {1001, 1, 12, 1748}, {1001, 1, 12, 1901}},
};

// A pattern's pixels lie nowhere: they are always fetched. The first fetch for a cell fails.
TEST_F(ResampleFailures, PixelsThatCannotBeFetched) {
    Random random(test_seed(), 12);
    for (const auto &[path, fetch, write] : cell_points)
        for (int bits : {8, 24})
            for (int fails = 0; fails < 6; ++fails) {
                SCOPED_TRACE(std::string(name_of(path)) + ", cell " + std::to_string(fails));
                const Side source(Sort::pattern, bits, 150, 140, random);
                Side given(bits, 300, 200, random);
                ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1); // makes its block
                ASSERT_EQ(api().buf32Unlock(source), 1);
                const Surroundings surroundings({&source, &given});
                Listener listener(0, 6);
                {
                    const GetMemoryHook hook(source, [&](auto original, HBUF32 buffer, int x, int y,
                                                         int width, int height, void *memory) {
                        return listener.progress() > fails
                                   ? 0
                                   : original(buffer, x, y, width, height, memory);
                    });
                    EXPECT_REPORT(resample_into(given, manner_of(path), source, listener),
                                  fetch.message, fetch.severity, fetch.module, fetch.point);
                }
                surroundings.expect_unchanged();
                EXPECT_EQ(listener.progress(), fails + 1);
                EXPECT_EQ(listener.heard().back(), (Message{4, 6}));
                model::resample(path, source.picture, given.picture, given.cells(), fails);
                given.expect_picture();
            }
}

// Of a source whose rows are mostly passed over each is fetched alone. The second fetch fails: of
// the cell, which has an entry of its own for taking pixels, nothing is written.
TEST_F(ResampleFailures, PixelsBehindTheFirstThatCannotBeFetched) {
    Random random(test_seed(), 16);
    for (const auto &[path, fetch, write] : cell_points) {
        SCOPED_TRACE(name_of(path));
        const Side source(Sort::pattern, 24, 150, 2000, random);
        Side given(24, 100, 90, random);
        ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1); // makes its block
        ASSERT_EQ(api().buf32Unlock(source), 1);
        const Surroundings surroundings({&source, &given});
        Listener listener(0, 6);
        int fetches = 0;
        {
            const GetMemoryHook hook(source, [&](auto original, HBUF32 buffer, int x, int y,
                                                 int width, int height, void *memory) {
                return ++fetches == 2 ? 0 : original(buffer, x, y, width, height, memory);
            });
            const MergeMemoryHook own(given, [](auto original, HBUF32 buffer, int x, int y,
                                                int width, int height, const void *memory) {
                return original(buffer, x, y, width, height, memory);
            });
            EXPECT_REPORT(resample_into(given, manner_of(path), source, listener), fetch.message,
                          fetch.severity, fetch.module, fetch.point);
        }
        surroundings.expect_unchanged();
        EXPECT_EQ(fetches, 2);
        given.expect_picture();
    }
}

// Six cells, of which one cannot be finished.
struct SixCells {
    SixCells(const CellPoints &of, int bits, int cell, Random &random)
        : points(of), fails(cell), source(bits, 150, 140, random), given(bits, 300, 200, random) {}

    // Those before it are, and whoever listened has heard of it.
    void expect_those_before(bool is_watched = true) {
        surroundings.expect_unchanged();
        if (is_watched) {
            EXPECT_EQ(listener.progress(), fails + 1);
            EXPECT_EQ(listener.heard().back(), (Message{4, 6}));
        }
        model::resample(points.path, source.picture, given.picture, given.cells(), fails);
        given.expect_picture();
    }

    const CellPoints &points;
    int fails;
    Side source, given;
    Surroundings surroundings{&source, &given};
    Listener listener{0, 6};
};

template <typename Expect>
void each_cell_that_fails(Random &random, const Expect &expect) {
    for (const CellPoints &points : cell_points)
        for (int bits : {8, 24})
            for (int fails = 0; fails < 6; ++fails) {
                SCOPED_TRACE(std::string(name_of(points.path)) + ", cell " + std::to_string(fails));
                SixCells cells(points, bits, fails, random);
                expect(cells);
            }
}

// A destination with an entry of its own is written through it.
TEST_F(ResampleFailures, PixelsThatCannotBeWritten) {
    Random random(test_seed(), 13);
    each_cell_that_fails(random, [](SixCells &cells) {
        {
            const MergeMemoryHook hook(cells.given, [&](auto original, HBUF32 buffer, int x, int y,
                                                        int width, int height, const void *memory) {
                return cells.listener.progress() > cells.fails
                           ? 0
                           : original(buffer, x, y, width, height, memory);
            });
            const Failure &write = cells.points.write;
            EXPECT_REPORT(resample_into(cells.given, manner_of(cells.points.path), cells.source,
                                        cells.listener),
                          write.message, write.severity, write.module, write.point);
        }
        cells.expect_those_before();
    });
}

// A new buffer that could not be finished is gone.
TEST_F(ResampleFailures, NewBufferOfPixelsThatCannotBeFetched) {
    Random random(test_seed(), 14);
    for (const auto &[path, fetch, write] : cell_points) {
        const Side source(Sort::pattern, 24, 150, 140, random);
        ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1); // makes its block
        ASSERT_EQ(api().buf32Unlock(source), 1);
        const Surroundings surroundings({&source});
        Listener listener(0, 6);
        const GetMemoryHook hook(source, [&](auto original, HBUF32 buffer, int x, int y, int width,
                                             int height, void *memory) {
            return listener.progress() > 3 ? 0 : original(buffer, x, y, width, height, memory);
        });
        HBUF32 handle = 0;
        EXPECT_REPORT(resample(manner_of(path), 300, 200, source, &handle, listener), fetch.message,
                      fetch.severity, fetch.module, fetch.point);
        EXPECT_EQ(handle, 0u);
        surroundings.expect_unchanged();
    }
}

// A cell whose rectangle cannot be had ends the work, whether somebody listens or not.
TEST_F(ResampleFailures, CellsThatCannotBeLocked) {
    Random random(test_seed(), 15);
    for (bool is_watched : {false, true})
        each_cell_that_fails(random, [&](SixCells &cells) {
            {
                const CellLockHook hook(cells.given, [&](auto original, HBUF32 buffer, int index,
                                                         void **address, BUF32CELL *cell) {
                    return index == cells.fails ? 0 : original(buffer, index, address, cell);
                });
                const RESAMPLEPROGRESS *const progress = cells.listener;
                EXPECT_SILENT_FAILURE(resample_into(cells.given, manner_of(cells.points.path),
                                                    cells.source, is_watched ? progress : nullptr));
            }
            cells.expect_those_before(is_watched);
        });
}

// A band of the source that has no storage: said once, whether rows are made straight from the
// source's or by lines, and whether these lie in one cell or are put together of several.
TEST_F(ResampleFailures, BandsOfTheSourceWithoutStorage) {
    Random random(test_seed(), 17);
    for (const auto &[path, fetch, write] : cell_points)
        for (int bits : {8, 24})
            for (int width : {50, 100, 150, 300, 900})
                for (int columns : {20, 60, 200}) {
                    SCOPED_TRACE(std::string(name_of(path)) + ", " + size_text(bits, width, 300) +
                                 " to " + std::to_string(columns));
                    const Side source(bits, width, 300, random);
                    const Side given(bits, columns, 100, random);
                    ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1);
                    ASSERT_EQ(api().buf32Unlock(source), 1);
                    const int first_of_band = int(word(source, field_cell_columns));
                    const Surroundings surroundings({&source, &given});
                    const int lost = field_cell_address + first_of_band;
                    const uintptr_t address = word(source, lost);
                    set_word(source, lost, 0);
                    EXPECT_REPORT(resample_into(given, manner_of(path), source), fetch.message,
                                  fetch.severity, fetch.module, fetch.point);
                    set_word(source, lost, address);
                    surroundings.expect_unchanged();
                }
}

} // namespace
} // namespace q32::test
