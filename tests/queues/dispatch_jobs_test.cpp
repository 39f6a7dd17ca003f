// One job: its tiles, bands or steps, each with its message and parameter, and how it ends.
#include "tests/queues/dispatch_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class DispatchJobs : public DispatchTest {};

// --- tiles ---------------------------------------------------------------------------------------

TEST_F(DispatchJobs, TilesOf300By200) {
    EXPECT_SUCCESS(add(tiles(7, {0, 0, 300, 200}, 0, 0)));
    EXPECT_EQ(take_log(), (Lines{"7 begins 0 0 128 128"}));
    EXPECT_EQ(current(), 7u);
    expect_step(1, {"7 steps 0 0 128 128"});
    expect_step(1, {"7 steps 128 0 256 128"});
    expect_step(1, {"7 steps 256 0 300 128"});
    expect_step(1, {"7 steps 0 128 128 200"});
    expect_step(1, {"7 steps 128 128 256 200"});
    expect_step(0, {"7 steps 256 128 300 200", "7 ends 0 0 300 200"});
    expect_idle();
}

TEST_F(DispatchJobs, TilesLieWhereTheRectangleDoes) {
    EXPECT_SUCCESS(add(tiles(7, {1000, -50, 1300, 150}, 0, 0)));
    expect_rest({"7 begins 0 0 128 128", "7 steps 1000 -50 1128 78", "7 steps 1128 -50 1256 78",
                 "7 steps 1256 -50 1300 78", "7 steps 1000 78 1128 150", "7 steps 1128 78 1256 150",
                 "7 steps 1256 78 1300 150", "7 ends 1000 -50 1300 150"});
}

TEST_F(DispatchJobs, TilesOfGivenSizes) {
    EXPECT_SUCCESS(add(tiles(7, {0, 0, 10, 6}, 4, 3)));
    expect_rest({"7 begins 0 0 4 3", "7 steps 0 0 4 3", "7 steps 4 0 8 3", "7 steps 8 0 10 3",
                 "7 steps 0 3 4 6", "7 steps 4 3 8 6", "7 steps 8 3 10 6", "7 ends 0 0 10 6"});
    // 0 stands for 128 in each direction alone.
    EXPECT_SUCCESS(add(tiles(7, {0, 0, 129, 3}, 0, 2)));
    expect_rest({"7 begins 0 0 128 2", "7 steps 0 0 128 2", "7 steps 128 0 129 2",
                 "7 steps 0 2 128 3", "7 steps 128 2 129 3", "7 ends 0 0 129 3"});
    EXPECT_SUCCESS(add(tiles(7, {0, 0, 3, 257}, 2, 0)));
    expect_rest({"7 begins 0 0 2 128", "7 steps 0 0 2 128", "7 steps 2 0 3 128",
                 "7 steps 0 128 2 256", "7 steps 2 128 3 256", "7 steps 0 256 2 257",
                 "7 steps 2 256 3 257", "7 ends 0 0 3 257"});
}

// A job smaller than a tile is one tile, cut to it; D32_BEGIN tells of the whole tile.
TEST_F(DispatchJobs, TilesLargerThanTheRectangle) {
    EXPECT_SUCCESS(add(tiles(7, {5, 6, 6, 7}, 0, 0)));
    expect_rest({"7 begins 0 0 128 128", "7 steps 5 6 6 7", "7 ends 5 6 6 7"});
    EXPECT_SUCCESS(add(tiles(7, {-3, -3, 3, 3}, INT_MAX, INT_MAX)));
    expect_rest({"7 begins 0 0 2147483647 2147483647", "7 steps -3 -3 3 3", "7 ends -3 -3 3 3"});
    EXPECT_SUCCESS(add(tiles(7, {0, 0, 128, 256}, 0, 0)));
    expect_rest({"7 begins 0 0 128 128", "7 steps 0 0 128 128", "7 steps 0 128 128 256",
                 "7 ends 0 0 128 256"});
}

// Every tile once, row by row: they cover the rectangle.
TEST_F(DispatchJobs, TilesOfManySizes) {
    for (int width : {1, 2, 5, 12})
        for (int height : {1, 3, 7})
            for (int across : {1, 2, 3, 5, 13})
                for (int down : {1, 2, 4, 9}) {
                    Lines wanted{"9 begins 0 0 " + std::to_string(across) + ' ' +
                                 std::to_string(down)};
                    for (int y = 0; y < height; y += down)
                        for (int x = 0; x < width; x += across)
                            wanted.push_back(
                                "9 steps " +
                                text_of({100 + x, y - 3, 100 + std::min(x + across, width),
                                         std::min(y + down, height) - 3}));
                    const RECT whole{100, -3, 100 + width, height - 3};
                    wanted.push_back("9 ends " + text_of(whole));
                    EXPECT_SUCCESS(add(tiles(9, whole, across, down)));
                    expect_rest(wanted);
                }
}

// --- bands -----------------------------------------------------------------------------------

TEST_F(DispatchJobs, BandsOf50) {
    EXPECT_SUCCESS(add(bands(7, {0, 0, 300, 120}, 50)));
    EXPECT_EQ(take_log(), (Lines{"7 begins 0 0 300 50"}));
    expect_step(1, {"7 steps 0 0 300 50"});
    expect_step(1, {"7 steps 0 50 300 100"});
    expect_step(0, {"7 steps 0 100 300 120", "7 ends 0 0 300 120"});
    expect_idle();
}

TEST_F(DispatchJobs, BandsOf128WhereNothingElseIsSaid) {
    EXPECT_SUCCESS(add(bands(7, {-10, 20, 1, 276}, 0)));
    expect_rest({"7 begins 0 0 11 128", "7 steps -10 20 1 148", "7 steps -10 148 1 276",
                 "7 ends -10 20 1 276"});
    EXPECT_SUCCESS(add(bands(7, {0, 0, 1000, 129}, 0)));
    expect_rest({"7 begins 0 0 1000 128", "7 steps 0 0 1000 128", "7 steps 0 128 1000 129",
                 "7 ends 0 0 1000 129"});
    EXPECT_SUCCESS(add(bands(7, {0, 0, 1000, 3}, 0)));
    expect_rest({"7 begins 0 0 1000 128", "7 steps 0 0 1000 3", "7 ends 0 0 1000 3"});
    // The last number of the description means nothing to bands, not even below 0.
    EXPECT_SUCCESS(add({7, {0, 0, 9, 3}, D32_BANDS, 2, -5}));
    expect_rest({"7 begins 0 0 9 2", "7 steps 0 0 9 2", "7 steps 0 2 9 3", "7 ends 0 0 9 3"});
}

// --- steps -----------------------------------------------------------------------------------

TEST_F(DispatchJobs, Steps3To5) {
    EXPECT_SUCCESS(add(steps(7, 3, 5, {1, 2, 30, 40})));
    EXPECT_EQ(take_log(), (Lines{"7 begins 1 2 30 40"}));
    expect_step(1, {"7 steps 3"});
    expect_step(1, {"7 steps 4"});
    expect_step(0, {"7 steps 5", "7 ends 1 2 30 40"});
    expect_idle();
}

// The first step is made whatever the last one is; numbers may be below 0, and the last may be the
// largest there is.
TEST_F(DispatchJobs, StepsFromAndToAnything) {
    EXPECT_SUCCESS(add(steps(7, 0, 0)));
    expect_rest({"7 begins 0 0 1 1", "7 steps 0", "7 ends 0 0 1 1"});
    EXPECT_SUCCESS(add(steps(7, 5, 3)));
    expect_rest({"7 begins 0 0 1 1", "7 steps 5", "7 ends 0 0 1 1"});
    EXPECT_SUCCESS(add(steps(7, -2, 1)));
    expect_rest({"7 begins 0 0 1 1", "7 steps -2", "7 steps -1", "7 steps 0", "7 steps 1",
                 "7 ends 0 0 1 1"});
    EXPECT_SUCCESS(add(steps(7, INT_MAX - 1, INT_MAX)));
    expect_rest({"7 begins 0 0 1 1", "7 steps 2147483646", "7 steps 2147483647", "7 ends 0 0 1 1"});
    EXPECT_SUCCESS(add(steps(7, INT_MAX, INT_MAX)));
    expect_rest({"7 begins 0 0 1 1", "7 steps 2147483647", "7 ends 0 0 1 1"});
    EXPECT_SUCCESS(add(steps(7, INT_MAX, INT_MIN)));
    expect_rest({"7 begins 0 0 1 1", "7 steps 2147483647", "7 ends 0 0 1 1"});
    EXPECT_SUCCESS(add(steps(7, INT_MIN, INT_MIN + 1)));
    expect_rest(
        {"7 begins 0 0 1 1", "7 steps -2147483648", "7 steps -2147483647", "7 ends 0 0 1 1"});
}

// --- extreme coordinates -----------------------------------------------------------------------

TEST_F(DispatchJobs, RectanglesWiderThan31Bits) {
    constexpr LONG low = INT_MIN, high = INT_MAX;
    EXPECT_SUCCESS(add(tiles(7, {low, 0, high, 1}, INT_MAX, 1)));
    expect_rest({"7 begins 0 0 2147483647 1", "7 steps -2147483648 0 -1 1",
                 "7 steps -1 0 2147483646 1", "7 steps 2147483646 0 2147483647 1",
                 "7 ends -2147483648 0 2147483647 1"});
    EXPECT_SUCCESS(add(tiles(7, {0, low, 1, high}, 1, INT_MAX)));
    expect_rest({"7 begins 0 0 1 2147483647", "7 steps 0 -2147483648 1 -1",
                 "7 steps 0 -1 1 2147483646", "7 steps 0 2147483646 1 2147483647",
                 "7 ends 0 -2147483648 1 2147483647"});
    EXPECT_SUCCESS(add(bands(7, {0, low, 1, high}, 2000000000)));
    expect_rest({"7 begins 0 0 1 2000000000", "7 steps 0 -2147483648 1 -147483648",
                 "7 steps 0 -147483648 1 1852516352", "7 steps 0 1852516352 1 2147483647",
                 "7 ends 0 -2147483648 1 2147483647"});
    EXPECT_SUCCESS(add(tiles(7, {high - 3, high - 1, high, high}, 2, 0)));
    expect_rest({"7 begins 0 0 2 128", "7 steps 2147483644 2147483646 2147483646 2147483647",
                 "7 steps 2147483646 2147483646 2147483647 2147483647",
                 "7 ends 2147483644 2147483646 2147483647 2147483647"});
}

// Four thousand million columns are begun like four.
TEST_F(DispatchJobs, MoreTilesThanAnyoneWaitsFor) {
    constexpr LONG low = INT_MIN, high = INT_MAX;
    EXPECT_SUCCESS(add(tiles(7, {low, low, high, high}, 1, 1)));
    EXPECT_EQ(take_log(), (Lines{"7 begins 0 0 1 1"}));
    expect_step(1, {"7 steps -2147483648 -2147483648 -2147483647 -2147483647"});
    expect_step(1, {"7 steps -2147483647 -2147483648 -2147483646 -2147483647"});
    EXPECT_SUCCESS(api().d32DeleteQueue(7));
    EXPECT_EQ(take_log(), (Lines{"7 ends -2147483648 -2147483648 2147483647 2147483647"}));
    expect_idle();
}

// --- the callback's reply ------------------------------------------------------------------------

TEST_F(DispatchJobs, ZeroAtTheFirstTileEndsTheJob) {
    const auto stop_at = [this](const std::string &text) { when(text, [] { return 0; }); };
    stop_at("7 steps 0 0 128 128");
    EXPECT_SUCCESS(add(tiles(7, {0, 0, 300, 200}, 0, 0)));
    take_log();
    expect_step(0, {"7 steps 0 0 128 128", "7 ends 0 0 300 200"});
    expect_idle();
    stop_at("7 steps 128 0 256 128");
    EXPECT_SUCCESS(add(tiles(7, {0, 0, 300, 200}, 0, 0)));
    expect_rest({"7 begins 0 0 128 128", "7 steps 0 0 128 128", "7 steps 128 0 256 128",
                 "7 ends 0 0 300 200"});
    stop_at("7 steps 0 50 300 100");
    EXPECT_SUCCESS(add(bands(7, {0, 0, 300, 120}, 50)));
    expect_rest({"7 begins 0 0 300 50", "7 steps 0 0 300 50", "7 steps 0 50 300 100",
                 "7 ends 0 0 300 120"});
    stop_at("7 steps 3");
    EXPECT_SUCCESS(add(steps(7, 3, 5)));
    expect_rest({"7 begins 0 0 1 1", "7 steps 3", "7 ends 0 0 1 1"});
    // At the last one it makes no difference.
    stop_at("7 steps 4");
    EXPECT_SUCCESS(add(steps(7, 3, 4)));
    expect_rest({"7 begins 0 0 1 1", "7 steps 3", "7 steps 4", "7 ends 0 0 1 1"});
}

TEST_F(DispatchJobs, OnlyZeroStops) {
    for (int reply : {1, 2, -1, 256, INT_MIN, 0x10000}) {
        reply_ = [reply](const Message &) { return reply; };
        EXPECT_SUCCESS(add(steps(7, 3, 4)));
        expect_rest({"7 begins 0 0 1 1", "7 steps 3", "7 steps 4", "7 ends 0 0 1 1"});
    }
}

TEST_F(DispatchJobs, RepliesToTheOtherMessagesAreIgnored) {
    reply_ = [](const Message &message) { return message.message == 32 ? 1 : 0; };
    EXPECT_SUCCESS(add(steps(7, 3, 4)));
    EXPECT_SUCCESS(add(bands(7, {0, 0, 5, 2}, 1)));
    expect_rest({"7 begins 0 0 1 1", "7 steps 3", "7 steps 4", "7 ends 0 0 1 1", "7 begins 0 0 5 1",
                 "7 steps 0 0 5 1", "7 steps 0 1 5 2", "7 ends 0 0 5 2"});
}

// --- owners and user data ------------------------------------------------------------------------

// The four arguments as they are; the fixture compares owner and user data at every message.
struct Arguments {
    int message;
    uint32_t owner;
    intptr_t parameter, user_data;
    bool operator==(const Arguments &) const = default;
};
std::vector<Arguments> received;
int Q32_CALL keep_arguments(int message, uint32_t owner, intptr_t parameter, intptr_t user_data) {
    received.push_back({message, owner, message == 32 ? parameter : 0, user_data});
    return 1;
}

TEST_F(DispatchJobs, TheFourArguments) {
    for (uint32_t owner : {1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        for (intptr_t user_data : {intptr_t(0), intptr_t(-1), intptr_t(INT_MIN)}) {
            received.clear();
            const RECT rectangle{0, 0, 1, 1};
            const DispatchDesc description{-3, keep_arguments, user_data, -7, -6};
            EXPECT_SUCCESS(
                api().d32AddQueue(owner, &rectangle, 0, INT_MIN, -1, D32_STEPS, &description));
            EXPECT_EQ(current(), owner);
            EXPECT_SUCCESS(dispatch());
            EXPECT_SILENT_FAILURE(dispatch());
            EXPECT_EQ(received, (std::vector<Arguments>{{16, owner, 0, user_data},
                                                        {32, owner, -7, user_data},
                                                        {32, owner, -6, user_data},
                                                        {64, owner, 0, user_data}}));
        }
}

// --- idle ----------------------------------------------------------------------------------------

TEST_F(DispatchJobs, WithoutJobsThereIsNothingToDo) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_SILENT_FAILURE(dispatch());
        EXPECT_SILENT_FAILURE(current());
    }
    EXPECT_SUCCESS(api().d32DeleteQueue(5));
    EXPECT_SILENT_FAILURE(api().d32DeleteQueue(0));
    EXPECT_EQ(take_log(), Lines{});
}

// A library that stops with jobs at hand calls nobody and leaves nothing.
TEST_F(DispatchJobs, AStopInTheMiddle) {
    EXPECT_SUCCESS(add(steps(7, 1, 9)));
    EXPECT_SUCCESS(add(steps(8, 1, 9)));
    take_log();
    expect_step(1, {"7 steps 1"});
    stop();
    EXPECT_EQ(take_log(), Lines{});
    start();
    expect_idle();
}

} // namespace
} // namespace q32::test
