// What the callback hears, in which order and with which values; what it can stop, and the Esc key.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResampleMessages : public ResampleTest {
protected:
    // What is heard while a new buffer is made.
    std::vector<Message> heard(const Manner &manner, int bits, int width, int height, int start,
                               int end) {
        Random random(test_seed(), 1);
        const Side source(bits, 10, 10, random);
        Listener listener(start, end);
        HBUF32 handle = 0;
        EXPECT_SUCCESS(resample(manner, width, height, source, &handle, listener));
        const Buffer made(handle);
        return listener.heard();
    }
};

using Messages = std::vector<Message>;
constexpr int lowest = INT_MIN, highest = INT_MAX;

constexpr Path row_paths[] = {Path::bits, Path::nearest_rows, Path::bilinear_rows,
                              Path::bicubic_rows};
constexpr Path cell_paths[] = {Path::nearest_cells, Path::bilinear_cells, Path::bicubic_cells};

// --- values ----------------------------------------------------------------------------------

TEST_F(ResampleMessages, OfRows) {
    const struct {
        int height, start, end;
        Messages messages;
    } cases[] = {
        {1, 0, 100, {{1, 0}, {4, 100}}},
        {2, 0, 100, {{1, 0}, {2, 50}, {4, 100}}},
        {4, 0, 100, {{1, 0}, {2, 25}, {2, 50}, {2, 75}, {4, 100}}},
        {3, 0, 100, {{1, 0}, {2, 33}, {2, 66}, {4, 100}}},
        {3, 100, 200, {{1, 100}, {2, 133}, {2, 166}, {4, 200}}},
        // Rows that give the value last sent send nothing.
        {5, 0, 2, {{1, 0}, {2, 1}, {4, 2}}},
        {7, 0, 3, {{1, 0}, {2, 1}, {2, 2}, {4, 3}}},
        {9, 5, 5, {{1, 5}, {4, 5}}},
        {9, 0, 1, {{1, 0}, {4, 1}}},
        {2, 0, 1, {{1, 0}, {4, 1}}},
        // Backwards, where the part is truncated towards the start.
        {4, 100, 0, {{1, 100}, {2, 75}, {2, 50}, {2, 25}, {4, 0}}},
        {3, 0, -10, {{1, 0}, {2, -3}, {2, -6}, {4, -10}}},
        {3, 10, 0, {{1, 10}, {2, 7}, {2, 4}, {4, 0}}},
        {6, 0, -2, {{1, 0}, {2, -1}, {4, -2}}},
        {3, -1, 1, {{1, -1}, {2, 0}, {4, 1}}},
        // The product of the range and the rows done has 32 bits.
        {4, 0, highest, {{1, 0}, {2, 536870911}, {2, 0}, {2, 536870911}, {4, highest}}},
        {3, 0, lowest, {{1, 0}, {2, -715827882}, {2, 0}, {4, lowest}}},
        {4,
         0,
         0x40000000,
         {{1, 0}, {2, 0x10000000}, {2, -0x20000000}, {2, -0x10000000}, {4, 0x40000000}}},
        // And so has the range.
        {3, lowest, highest, {{1, lowest}, {4, highest}}},
        {2, lowest, 0, {{1, lowest}, {2, highest / 2 + 1}, {4, 0}}},
        {2, highest, lowest, {{1, highest}, {4, lowest}}},
        {3, highest, -2147483645, {{1, highest}, {2, lowest}, {2, lowest + 1}, {4, -2147483645}}},
        {2, -2000000000, 2000000000, {{1, -2000000000}, {2, lowest}, {4, 2000000000}}},
        {5,
         -2000000000,
         2000000000,
         {{1, -2000000000},
          {2, -2058993459},
          {2, -2117986918},
          {2, 2117986919},
          {2, 2058993460},
          {4, 2000000000}}},
    };
    for (Path path : row_paths)
        for (const auto &[height, start, end, expected] : cases) {
            SCOPED_TRACE(std::string(name_of(path)) + ", " + std::to_string(height) +
                         " rows, from " + std::to_string(start) + " to " + std::to_string(end));
            EXPECT_EQ(heard(manner_of(path), bits_of(path), 3, height, start, end), expected);
        }
}

// One before each cell, be it the same value again.
TEST_F(ResampleMessages, OfCells) {
    const struct {
        int width, height, start, end;
        Messages messages;
    } cases[] = {
        {1, 1, 0, 100, {{1, 0}, {2, 0}, {4, 100}}},
        {128, 128, 7, 9, {{1, 7}, {2, 7}, {4, 9}}},
        {129, 1, 0, 100, {{1, 0}, {2, 0}, {2, 50}, {4, 100}}},
        {1, 129, 0, 100, {{1, 0}, {2, 0}, {2, 50}, {4, 100}}},
        {200, 200, 0, 100, {{1, 0}, {2, 0}, {2, 25}, {2, 50}, {2, 75}, {4, 100}}},
        {200, 200, 100, 0, {{1, 100}, {2, 100}, {2, 75}, {2, 50}, {2, 25}, {4, 0}}},
        {300, 200, 0, 3, {{1, 0}, {2, 0}, {2, 0}, {2, 1}, {2, 1}, {2, 2}, {2, 2}, {4, 3}}},
        {300, 200, 3, -4, {{1, 3}, {2, 3}, {2, 2}, {2, 1}, {2, 0}, {2, -1}, {2, -2}, {4, -4}}},
        {300, 10, 5, 5, {{1, 5}, {2, 5}, {2, 5}, {2, 5}, {4, 5}}},
        {257, 3, 0, 10, {{1, 0}, {2, 0}, {2, 3}, {2, 6}, {4, 10}}},
        {256,
         256,
         0,
         highest,
         {{1, 0}, {2, 0}, {2, 536870911}, {2, 0}, {2, 536870911}, {4, highest}}},
        {256,
         256,
         lowest,
         highest,
         {{1, lowest}, {2, lowest}, {2, lowest}, {2, lowest}, {2, lowest}, {4, highest}}},
        {256,
         256,
         -2000000000,
         2000000000,
         {{1, -2000000000},
          {2, -2000000000},
          {2, -2073741824},
          {2, lowest},
          {2, 2073741824},
          {4, 2000000000}}},
    };
    for (Path path : cell_paths)
        for (const auto &[width, height, start, end, expected] : cases) {
            SCOPED_TRACE(std::string(name_of(path)) + ", " + std::to_string(width) + " x " +
                         std::to_string(height) + ", from " + std::to_string(start) + " to " +
                         std::to_string(end));
            EXPECT_EQ(heard(manner_of(path), 24, width, height, start, end), expected);
            EXPECT_EQ(heard(manner_of(path), 8, width, height, start, end), expected);
        }
}

TEST_F(ResampleMessages, OfTheShorterFunction) {
    const Messages rows{{1, 0}, {2, 25}, {2, 50}, {2, 75}, {4, 100}};
    const Messages cells{{1, 0}, {2, 0}, {2, 50}, {4, 100}};
    for (int bits : {1, 2, 4, 7, 16, 20, 23})
        EXPECT_EQ(heard({false}, bits, 200, 4, 0, 100), rows) << bits;
    for (int bits : {8, 24})
        EXPECT_EQ(heard({false}, bits, 200, 4, 0, 100), cells) << bits;
}

// The cells and rows are those of the destination, and a linear buffer has one cell.
TEST_F(ResampleMessages, OfAGivenDestination) {
    Random random(test_seed(), 2);
    for (Path path : all_paths)
        for (Sort sort : {Sort::tiled, Sort::linear, Sort::linear_memory, Sort::file,
                          Sort::linear_duplicate, Sort::filled, Sort::bitmap, Sort::one_colour}) {
            const Side source(bits_of(path), 10, 10, random);
            const Side given(sort, bits_of(path), 300, 7, random);
            Listener listener(1000, 2000);
            EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
            const bool one = sort != Sort::tiled && sort != Sort::file && sort != Sort::one_colour;
            const Messages rows{{1, 1000}, {2, 1142}, {2, 1285}, {2, 1428},
                                {2, 1571}, {2, 1714}, {2, 1857}, {4, 2000}};
            const Messages cells{{1, 1000}, {2, 1000}, {2, 1333}, {2, 1666}, {4, 2000}};
            const Messages one_cell{{1, 1000}, {2, 1000}, {4, 2000}};
            EXPECT_EQ(listener.heard(), !is_of_cells(path) ? rows
                                        : one              ? one_cell
                                                           : cells)
                << name_of(path) << ", " << name_of(sort);
        }
}

TEST_F(ResampleMessages, OfAnySizeAndRange) {
    random_cases(120, [&](Random &random, uint64_t number) {
        const Path path = all_paths[random.below(std::size(all_paths))];
        const int width = between(random, 1, 400), height = between(random, 1, 300);
        const auto value = [&] {
            const int limits[] = {0, 1, 100, lowest, highest, lowest + 1, 0x40000000};
            return random.below(2) == 0 ? int(random.next()) : limits[random.below(7)];
        };
        const int start = value(), end = value();
        SCOPED_TRACE(std::string(name_of(path)) + ", from " + std::to_string(start) + " to " +
                     std::to_string(end) + "; " + rerun(number));
        EXPECT_EQ(
            heard(manner_of(path), bits_of(path), width, height, start, end),
            model::messages(path, Geometry(width, height, bits_of(path), BUF32_TILED), start, end));
        return !HasFailure();
    });
}

// --- the record ------------------------------------------------------------------------------

TEST_F(ResampleMessages, RecordIsReadOnce) {
    Random random(test_seed(), 3);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 10, 10, random);
        Listener listener(0, 100);
        listener.also = [&](const Message &) { listener.record() = {1, nullptr, 0, -77, 12345}; };
        frame::comm().esc_from_poll = 1;
        HBUF32 handle = 0;
        EXPECT_SUCCESS(resample(manner_of(path), 200, 4, source, &handle, listener));
        const Buffer made(handle);
        EXPECT_EQ(listener.heard(), is_of_cells(path)
                                        ? (Messages{{1, 0}, {2, 0}, {2, 50}, {4, 100}})
                                        : (Messages{{1, 0}, {2, 25}, {2, 50}, {2, 75}, {4, 100}}));
        EXPECT_EQ(frame::comm().esc_polls, 0);
        frame::comm().esc_from_poll = 0;
    }
}

TEST_F(ResampleMessages, AnythingButZeroGoesOn) {
    Random random(test_seed(), 4);
    for (Path path : all_paths)
        for (int consent : {1, 2, -1, 256, lowest, 0x10000}) {
            const Side source(bits_of(path), 10, 10, random);
            Listener listener(0, 100);
            listener.consent = consent;
            HBUF32 handle = 0;
            EXPECT_SUCCESS(resample(manner_of(path), 200, 4, source, &handle, listener));
            const Buffer made(handle);
            EXPECT_EQ(listener.heard().back(), (Message{4, 100}));
        }
}

std::vector<uintptr_t> seen_user_data;

int __stdcall keep_user_data(int, int, int zero, uintptr_t user_data) {
    EXPECT_EQ(zero, 0);
    seen_user_data.push_back(user_data);
    return 1;
}

TEST_F(ResampleMessages, UserDataIsHandedOn) {
    Random random(test_seed(), 5);
    for (uintptr_t data : {uintptr_t{0}, uintptr_t{1}, ~uintptr_t{0}, uintptr_t{0x80000000}})
        for (Path path : all_paths) {
            const Side source(bits_of(path), 10, 10, random);
            const RESAMPLEPROGRESS progress{0, keep_user_data, data, 0, 100};
            seen_user_data.clear();
            HBUF32 handle = 0;
            EXPECT_SUCCESS(resample(manner_of(path), 200, 2, source, &handle, &progress));
            const Buffer made(handle);
            EXPECT_EQ(seen_user_data, std::vector<uintptr_t>(is_of_cells(path) ? 4 : 3, data));
        }
}

TEST_F(ResampleMessages, NoCallbackIsFine) {
    Random random(test_seed(), 6);
    frame::comm().esc_from_poll = 1;
    for (Path path : all_paths) {
        const Side source(bits_of(path), 10, 10, random);
        const RESAMPLEPROGRESS progress{1, nullptr, 5, 0, 100};
        HBUF32 handle = 0;
        EXPECT_SUCCESS(resample(manner_of(path), 200, 4, source, &handle, &progress));
        const Buffer made(handle);
    }
    EXPECT_EQ(frame::comm().esc_polls, 0);
}

// --- refusing --------------------------------------------------------------------------------

TEST_F(ResampleMessages, RefusedBegin) {
    Random random(test_seed(), 7);
    for (int bits : {1, 4, 8, 12, 16, 24, 32, 64})
        for (const Manner &manner : {Manner{false}, {true, 0, 1}, {true, 0, 4}, {true, 1, 2}}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + text_of(manner));
            const int point = manner.ex ? 24 : 23;
            const Side source(bits, 10, 10, random), given(bits, 7, 6, random);
            const frame::Census before = frame::Census::now();
            Listener listener(-5, 100, 1);
            listener.refuses = 1;
            HBUF32 handle = 0;
            const LockBalance lock;
            EXPECT_REPORT(resample(manner, 20, 30, source, &handle, listener), 5808, 2, 8, point);
            EXPECT_EQ(handle, 0u);
            EXPECT_EQ(listener.heard(), (Messages{{1, -5}}));
            Listener again(-5, 100, 1);
            again.refuses = 1;
            EXPECT_REPORT(resample_into(given, manner, source, again), 5808, 2, 8, point);
            EXPECT_EQ(again.heard(), (Messages{{1, -5}}));
            EXPECT_EQ(lock.entered(), 0);
            EXPECT_EQ(frame::Census::now(), before);
            EXPECT_EQ(source.locks(), 0u);
            EXPECT_EQ(given.locks(), 0u);
            EXPECT_EQ(given.mode(), Side::no_mode);
            source.expect_picture();
            given.expect_picture();
        }
}

// The report of a refused message in the middle.
Failure refused(Path path) {
    switch (path) {
    case Path::bits:
        return {5808, 2, 8, 22};
    case Path::nearest_cells:
        return {5200, 2, 12, 687};
    case Path::bilinear_cells:
        return {5200, 2, 12, 1019};
    case Path::bicubic_cells:
        return {5200, 2, 12, 1680};
    default:
        return {5808, 2, 8, 20};
    }
}

// What is finished stays in a given destination; a new one is freed.
TEST_F(ResampleMessages, RefusedProgress) {
    Random random(test_seed(), 8);
    for (Path path : all_paths)
        for (int refuses = 2; refuses <= 5; ++refuses) {
            SCOPED_TRACE(std::string(name_of(path)) + ", refusing message " +
                         std::to_string(refuses));
            const Failure failure = refused(path);
            const Side source(bits_of(path), 150, 100, random);
            Side given(bits_of(path), 140, 150, random);
            const frame::Census before = frame::Census::now();
            const LockBalance lock;
            Messages expected = model::messages(path, given.cells(), 0, 150);
            // Rows tell of themselves from the second on, cells from the first.
            const int done = is_of_cells(path) ? refuses - 2 : refuses - 1;
            expected.erase(expected.begin() + refuses, expected.end() - 1);
            {
                Listener listener(0, 150);
                listener.refuses = refuses;
                HBUF32 handle = 0;
                EXPECT_REPORT(resample(manner_of(path), 140, 150, source, &handle, listener),
                              failure.message, failure.severity, failure.module, failure.point);
                EXPECT_EQ(handle, 0u);
                EXPECT_EQ(listener.heard(), expected);
            }
            Listener listener(0, 150);
            listener.refuses = refuses;
            EXPECT_REPORT(resample_into(given, manner_of(path), source, listener), failure.message,
                          failure.severity, failure.module, failure.point);
            EXPECT_EQ(listener.heard(), expected);
            EXPECT_EQ(frame::Census::now(), before);
            EXPECT_TRUE(lock.balanced());
            EXPECT_EQ(source.locks(), 0u);
            EXPECT_EQ(given.locks(), 0u);
            model::resample(path, source.picture, given.picture, given.cells(), done);
            given.expect_picture();
            source.expect_picture();
        }
}

TEST_F(ResampleMessages, RefusedProgressOfTheShorterFunction) {
    Random random(test_seed(), 9);
    for (const auto &[bits, failure] : {std::pair{1, Failure{5808, 2, 8, 22}},
                                        {4, Failure{5808, 2, 8, 22}},
                                        {8, Failure{5200, 2, 12, 1019}},
                                        {16, Failure{5808, 2, 8, 20}},
                                        {24, Failure{5200, 2, 12, 1019}}}) {
        const Side source(bits, 10, 10, random);
        Listener listener(0, 100);
        listener.refuses = 2;
        HBUF32 handle = 0;
        EXPECT_REPORT(resample({false}, 10, 10, source, &handle, listener), failure.message,
                      failure.severity, failure.module, failure.point);
        EXPECT_EQ(handle, 0u);
    }
}

TEST_F(ResampleMessages, RefusedEndIsIgnored) {
    Random random(test_seed(), 10);
    for (Path path : all_paths) {
        SCOPED_TRACE(name_of(path));
        const Side source(bits_of(path), 10, 10, random);
        Listener listener(0, 0);
        listener.refuses = is_of_cells(path) ? 3 : 2;
        HBUF32 handle = 0;
        EXPECT_SUCCESS(resample(manner_of(path), 10, 10, source, &handle, listener));
        EXPECT_EQ(listener.heard().back(), (Message{4, 0}));
        EXPECT_EQ(int(listener.heard().size()), listener.refuses);
        const Buffer made(handle);
        EXPECT_TRUE(made);
    }
}

// --- the Esc key -----------------------------------------------------------------------------

// Looked for when a message is due, before it is sent.
TEST_F(ResampleMessages, EscStopsRows) {
    Random random(test_seed(), 11);
    for (Path path : row_paths)
        for (int poll : {1, -1, 256, lowest})
            for (int pressed = 0; pressed <= 3; ++pressed) {
                SCOPED_TRACE(std::string(name_of(path)) + ", pressed from poll " +
                             std::to_string(pressed));
                const Side source(bits_of(path), 10, 10, random);
                Side given(bits_of(path), 20, 8, random);
                frame::comm().esc_from_poll = pressed;
                frame::comm().esc_polls = 0;
                Listener listener(0, 4, poll); // a message before every second row
                const LockBalance lock;
                const int point = path == Path::bits ? 21 : 19;
                if (pressed == 0)
                    EXPECT_SUCCESS(resample_into(given, manner_of(path), source, listener));
                else
                    EXPECT_REPORT(resample_into(given, manner_of(path), source, listener), 5200, 2,
                                  8, point);
                EXPECT_TRUE(lock.balanced());
                EXPECT_EQ(frame::comm().esc_polls, pressed == 0 ? 3 : pressed);
                Messages expected{{1, 0}, {2, 1}, {2, 2}, {2, 3}, {4, 4}};
                if (pressed != 0)
                    expected.erase(expected.begin() + pressed, expected.end() - 1);
                EXPECT_EQ(listener.heard(), expected);
                model::resample(path, source.picture, given.picture, given.cells(),
                                pressed == 0 ? all_parts : 2 * pressed);
                given.expect_picture();
                EXPECT_EQ(source.locks(), 0u);
                EXPECT_EQ(given.locks(), 0u);
                frame::comm().esc_from_poll = 0;
                if (HasFailure())
                    return;
            }
}

TEST_F(ResampleMessages, EscFreesANewBuffer) {
    Random random(test_seed(), 12);
    for (Path path : row_paths) {
        const Side source(bits_of(path), 10, 10, random);
        frame::comm().esc_from_poll = frame::comm().esc_polls + 2;
        Listener listener(0, 100, 1);
        HBUF32 handle = 0;
        EXPECT_REPORT(resample(manner_of(path), 20, 8, source, &handle, listener), 5200, 2, 8,
                      path == Path::bits ? 21 : 19);
        EXPECT_EQ(handle, 0u);
        EXPECT_EQ(listener.heard(), (Messages{{1, 0}, {2, 12}, {4, 100}}));
    }
}

TEST_F(ResampleMessages, EscIsLookedForOnlyWhenAsked) {
    Random random(test_seed(), 13);
    frame::comm().esc_from_poll = 1;
    for (Path path : all_paths)
        for (int poll : {0, 1}) {
            if (!is_of_cells(path) && poll != 0)
                continue;
            const Side source(bits_of(path), 10, 10, random);
            Listener listener(0, 100, poll);
            HBUF32 handle = 0;
            EXPECT_SUCCESS(resample(manner_of(path), 200, 8, source, &handle, listener));
            const Buffer made(handle);
            // Nor where no message is due.
            Listener silent(7, 7, is_of_cells(path) ? poll : 1);
            HBUF32 second = 0;
            EXPECT_SUCCESS(resample(manner_of(path), 200, 8, source, &second, silent));
            const Buffer also_made(second);
        }
    EXPECT_EQ(frame::comm().esc_polls, 0);
}

} // namespace
} // namespace q32::test
