// The three tables and the ink limit for all kinds of settings.
#include "separation/kernels/separation_tables.h"
#include "tests/models/separation.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace q32::test {
namespace {

using separation::separation_tables;
using separation::SeparationTables;

constexpr int levels = 256;

// The settings of the library.
SeparationTables usual() {
    return separation_tables({0, 30, 10, 350});
}

TEST(SeparationTables, Removal) {
    const SeparationTables tables = usual();
    EXPECT_EQ(tables.removal[0], 0);
    EXPECT_EQ(tables.removal[4], 0);
    EXPECT_EQ(tables.removal[5], 1);
    EXPECT_EQ(tables.removal[14], 1);
    EXPECT_EQ(tables.removal[15], 2);
    EXPECT_EQ(tables.removal[100], 10);
    EXPECT_EQ(tables.removal[254], 25);
    EXPECT_EQ(tables.removal[255], 26);
    EXPECT_EQ(separation_tables({0, 30, 0, 350}).removal, SeparationTables::Table{});
    const SeparationTables all = separation_tables({0, 30, 100, 350}),
                           half = separation_tables({0, 30, 50, 350});
    for (int v = 0; v < levels; ++v) {
        EXPECT_EQ(all.removal[std::size_t(v)], v);
        EXPECT_EQ(half.removal[std::size_t(v)], (v + 1) / 2);
    }
}

TEST(SeparationTables, BentCurve) {
    const SeparationTables tables = usual();
    const struct {
        int grey, black;
    } points[] = {{0, 0},     {48, 0},    {49, 1},    {64, 2},    {100, 11},
                  {127, 24},  {128, 25},  {150, 43},  {192, 99},  {200, 113},
                  {240, 208}, {250, 238}, {253, 248}, {254, 251}, {255, 255}};
    for (const auto &[grey, black] : points)
        EXPECT_EQ(tables.black[std::size_t(grey)], black) << grey;
    const struct {
        int black, grey;
    } back[] = {{0, 0},    {1, 49},    {2, 60},    {3, 68},    {10, 97},   {25, 128},  {26, 129},
                {50, 157}, {100, 193}, {128, 208}, {200, 238}, {251, 254}, {252, 255}, {255, 255}};
    for (const auto &[black, grey] : back)
        EXPECT_EQ(tables.inverse_black[std::size_t(black)], grey) << black;
}

TEST(SeparationTables, StraightCurve) {
    for (int amount : {100, 101, 150, 1000}) {
        const SeparationTables tables = separation_tables({0, amount, 10, 350});
        for (int v = 0; v < levels; ++v) {
            EXPECT_EQ(tables.black[std::size_t(v)], v);
            EXPECT_EQ(tables.inverse_black[std::size_t(v)], v);
        }
    }
    // Amount 99 is bent, if only a little.
    EXPECT_EQ(separation_tables({0, 99, 10, 350}).black[128], 127);
}

TEST(SeparationTables, NoBlack) {
    for (int start : {0, 50, 100}) {
        const SeparationTables tables = separation_tables({start, 0, 10, 350});
        EXPECT_EQ(tables.black, SeparationTables::Table{});
        EXPECT_EQ(tables.inverse_black, SeparationTables::Table{});
        EXPECT_EQ(tables.removal[255], 26);
        EXPECT_EQ(tables.ink_limit, 893);
    }
}

TEST(SeparationTables, StartInTheMiddle) {
    const SeparationTables tables = separation_tables({50, 100, 10, 350});
    for (int v = 0; v <= 128; ++v)
        EXPECT_EQ(tables.black[std::size_t(v)], 0) << v;
    EXPECT_EQ(tables.black[129], 2);   // (255 + 63) / 127
    EXPECT_EQ(tables.black[130], 4);   // (510 + 63) / 127
    EXPECT_EQ(tables.black[254], 253); // (126 * 255 + 63) / 127
    EXPECT_EQ(tables.black[255], 255);
    EXPECT_EQ(tables.inverse_black[0], 0);
    EXPECT_EQ(tables.inverse_black[1], 129);
    EXPECT_EQ(tables.inverse_black[2], 129);
    EXPECT_EQ(tables.inverse_black[3], 130);
    EXPECT_EQ(tables.inverse_black[253], 254);
    EXPECT_EQ(tables.inverse_black[254], 255);
    // The bend is that of the straight curve's black, not of the grey.
    const SeparationTables bent = separation_tables({50, 50, 10, 350});
    EXPECT_EQ(bent.black[128], 0);
    EXPECT_EQ(bent.black[254], 251); // 253 * 253 / 255
    EXPECT_EQ(bent.black[255], 255);
}

TEST(SeparationTables, StartAtTheEnd) {
    for (int amount : {30, 100}) {
        const SeparationTables tables = separation_tables({100, amount, 10, 350});
        for (int v = 0; v < 255; ++v)
            EXPECT_EQ(tables.black[std::size_t(v)], 0);
        EXPECT_EQ(tables.black[255], 255);
        EXPECT_EQ(tables.inverse_black[0], 0);
        for (int v = 1; v < levels; ++v)
            EXPECT_EQ(tables.inverse_black[std::size_t(v)], 255);
    }
}

TEST(SeparationTables, InkLimit) {
    const struct {
        int percent, limit;
    } cases[] = {{0, 0}, {100, 255}, {200, 510}, {300, 765}, {350, 893}, {399, 1017}, {400, 1020}};
    for (const auto &[percent, limit] : cases)
        EXPECT_EQ(separation_tables({0, 30, 10, percent}).ink_limit, limit) << percent;
    EXPECT_EQ(separation::all_inks, 1020);
}

void expect_as_the_model(const model::Inks &inks) {
    SCOPED_TRACE("start " + std::to_string(inks.start) + ", amount " + std::to_string(inks.amount));
    const SeparationTables tables =
        separation_tables({inks.start, inks.amount, inks.removal, inks.limit});
    const model::Separation wanted = model::separation(inks);
    EXPECT_TRUE(std::ranges::equal(tables.black, wanted.black));
    EXPECT_TRUE(std::ranges::equal(tables.removal, wanted.removal));
    EXPECT_TRUE(std::ranges::equal(tables.inverse_black, wanted.inverse));
    EXPECT_EQ(tables.ink_limit, wanted.limit);
}

// Every start with some amounts, and every amount with some starts.
TEST(SeparationTables, OfAllSettings) {
    for (int start = 0; start <= 100; ++start)
        for (int amount : {0, 1, 30, 50, 77, 100, 150})
            expect_as_the_model({start, amount, start, 4 * start});
    for (int amount = 0; amount <= 110; ++amount)
        for (int start : {0, 1, 40, 99, 100})
            expect_as_the_model({start, amount, amount % 101, 350});
}

} // namespace
} // namespace q32::test
