// The kernels that bring rows to a display, of every instruction set of this machine, and the
// scalar forms, against the plain model: worked examples, exhaustive loops, and the sweeps over
// lengths, alignments and fences. Which row of a matrix a run meets is tested with display runs.
#include "tests/models/showing.h"

#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"
#include "tests/kernels/kernel_sweep.h"
#include "tests/kernels/levels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <span>
#include <string>

namespace q32::test {
namespace {

using display::ChannelTable;
using display::ChannelTables;
using display::ColourEntries;
using display::CurveShape;
using display::screen_tables;
using display::ScreenTables;
using display::ShowKernels;
using display::Thresholds;
using model::Bytes;

// --- forms -----------------------------------------------------------------------------------

class ShowKernel : public testing::TestWithParam<Level<ShowKernels>> {
protected:
    const ShowKernels &kernels() const { return *GetParam().kernels; }
};

INSTANTIATE_TEST_SUITE_P(Each, ShowKernel,
                         testing::ValuesIn(levels_of_this_machine(display::scalar_show_kernels,
                                                                  display::show_kernels)),
                         name_of_level);

// --- what they are given ---------------------------------------------------------------------

// Tables and thresholds are read to their last byte and no further: they lie at a fence.
template <class Table>
class Fenced {
public:
    explicit Fenced(const Table &table, bool at_end = true)
        : address_{at_end ? memory_.end() - sizeof table : memory_.begin()} {
        std::memcpy(address_, &table, sizeof table);
    }
    operator const Table &() const { return *reinterpret_cast<const Table *>(address_); }

private:
    static_assert(alignof(Table) == 1);
    FencedMemory memory_{sizeof(Table)};
    std::uint8_t *address_;
};

template <class Table>
Table random_table(std::uint64_t number) {
    Table table{};
    Random random{test_seed(), number};
    random.fill({reinterpret_cast<std::uint8_t *>(&table), sizeof table});
    return table;
}

ScreenTables random_tables(std::uint64_t number) {
    return screen_tables(random_table<ChannelTables>(number));
}

// A random table that is a curve: from entry to entry of an eight it rises by 1, at its steps by 2
// or, in other eights, by 0, and where it turns the other way round.
ChannelTable random_curve(Random &random, bool turning) {
    ChannelTable table{};
    for (std::size_t entry = 0; entry < 16; ++entry)
        table[entry] = std::uint8_t(random.below(256));
    for (std::size_t group = 16; group < 256; group += 8) {
        const int step = random.below(2) == 0 ? 1 : -1;
        const std::size_t turn = turning ? random.below(9) : 8;
        table[group] = std::uint8_t(random.below(256 - 14));
        for (std::size_t entry = group + 1; entry < group + 8; ++entry) {
            const int moved = entry == group + turn ? -step : random.below(2) == 0 ? step : 0;
            table[entry] = std::uint8_t(table[entry - 1] + 1 + moved);
        }
    }
    return table;
}

ScreenTables random_curves(std::uint64_t number, bool turning) {
    Random random{test_seed(), number};
    const ChannelTables tables{random_curve(random, turning), random_curve(random, turning),
                               random_curve(random, turning)};
    return screen_tables(tables);
}

// Tables of all kinds, and the shape that they must have been found to be.
struct Tables {
    ScreenTables tables;
    CurveShape shape;
};
std::vector<Tables> tables_of_every_shape(std::uint64_t number) {
    return {{random_tables(number), CurveShape::none},
            {random_curves(number, false), CurveShape::straight},
            {random_curves(number, true), CurveShape::turning}};
}

Thresholds all(int value) {
    Thresholds thresholds{};
    thresholds.fill(std::uint8_t(value));
    return thresholds;
}

// Eight that differ.
Thresholds spread(int value) {
    Thresholds thresholds{};
    for (std::size_t i = 0; i < 8; ++i)
        thresholds[i] = std::uint8_t(unsigned(value) + 37 * i);
    return thresholds;
}

// Fractions are compared with 1 and more: below, the highest level would be left.
Thresholds at_least_1(Thresholds thresholds) {
    for (std::uint8_t &threshold : thresholds)
        if (threshold == 0)
            threshold = 1;
    return thresholds;
}

// --- each kernel as the sweep sees it --------------------------------------------------------

std::size_t bit_bytes(std::size_t pixels) {
    return (pixels + 7) / 8;
}

// A kernel and a model that take these tables beside their rows. The tables are not copied: they
// lie where they are to be read.
template <class Kernel, class Model, class... Tables>
Conversion conversion(const char *name, RunBytes from, RunBytes to, Kernel *kernel, Model model,
                      const Tables &...tables) {
    return {name,
            from,
            to,
            false,
            [&, kernel](std::uint8_t *row, const std::uint8_t *source, std::size_t n) {
                kernel(row, source, tables..., n);
            },
            [&, model](const Bytes &source, std::size_t) { return model(source, tables...); }};
}

Conversion colours_of_indices(const ShowKernels &k, const ColourEntries &entries) {
    return conversion("colours of indices", 1, 3, k.colours_of_indices, model::colours_of_indices,
                      entries);
}

Conversion grey_levels(const ShowKernels &k, int shift) {
    return {"grey levels, shifted by " + std::to_string(shift),
            1,
            1,
            false,
            [=, run = k.grey_levels](std::uint8_t *to, const std::uint8_t *from, std::size_t n) {
                run(to, from, shift, n);
            },
            [=](const Bytes &source, std::size_t) { return model::grey_levels(source, shift); }};
}

Conversion bits_of_greys(const ShowKernels &k, const Thresholds &thresholds) {
    return conversion("bits of greys", 1, bit_bytes, k.bits_of_greys, model::bits_of_greys,
                      thresholds);
}

Conversion cube_indices(const ShowKernels &k, const Thresholds &thresholds) {
    return conversion("cube indices", 3, 1, k.cube_indices, model::cube_indices, thresholds);
}

// Bytes of a plane of that many pixels: what its bits need, words, and more than either.
using PlaneBytes = std::size_t (*)(std::size_t pixels);
std::size_t plane_words(std::size_t pixels) {
    return (pixels + 15) / 16 * 2;
}
std::size_t wide_planes(std::size_t pixels) {
    return (pixels + 7) / 8 + 37;
}

Conversion planes(const ShowKernels &k, PlaneBytes plane_bytes, const Thresholds &thresholds) {
    return {"planes",
            3,
            [=](std::size_t pixels) { return 4 * plane_bytes(pixels); },
            false,
            [=, &thresholds, run = k.planes](std::uint8_t *to, const std::uint8_t *from,
                                             std::size_t n) {
                run(to, plane_bytes(n), from, thresholds, n);
            },
            [=, &thresholds](const Bytes &source, std::size_t n) {
                return model::planes(source, thresholds, plane_bytes(n));
            },
            plane_bytes == wide_planes ? 1u : 0u};
}

Conversion correct(const ShowKernels &k, const ScreenTables &tables) {
    return conversion("correct", 3, 3, k.correct, model::correct, tables);
}

Conversion high_colour(const ShowKernels &k, const ScreenTables &tables,
                       const Thresholds &thresholds) {
    return conversion("high colour", 3, 3, k.high_colour, model::high_colour, tables, thresholds);
}

Conversion plain_high_colour(const ShowKernels &k, const Thresholds &thresholds) {
    const auto model = [](const Bytes &source, const Thresholds &given) {
        static const ChannelTables tables = model::plain_high_colour_tables();
        return model::high_colour(source, tables, given);
    };
    return conversion("plain high colour", 3, 3, k.plain_high_colour, model, thresholds);
}

// --- examples --------------------------------------------------------------------------------

TEST_P(ShowKernel, EveryKernelIsThere) {
    const ShowKernels &k = kernels();
    EXPECT_TRUE(k.colours_of_indices && k.grey_levels && k.bits_of_greys && k.cube_indices);
    EXPECT_TRUE(k.planes && k.correct && k.high_colour && k.plain_high_colour);
}

void add_pixel(Bytes &rgb, unsigned red, unsigned green, unsigned blue) {
    for (const unsigned sample : {red, green, blue})
        rgb.push_back(std::uint8_t(sample));
}

// So many pixels of one colour.
Bytes uniform(std::size_t pixels, std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
    Bytes rgb;
    for (std::size_t i = 0; i < pixels; ++i)
        add_pixel(rgb, red, green, blue);
    return rgb;
}

Bytes indices_of(const ShowKernels &k, const Thresholds &thresholds, const Bytes &rgb) {
    Bytes indices(rgb.size() / 3);
    k.cube_indices(indices.data(), rgb.data(), thresholds, indices.size());
    return indices;
}

TEST_P(ShowKernel, WhiteIs215AndBlackIs0AtEveryPlaceOfTheCubeMatrix) {
    for (const Thresholds &row : model::palette_rows)
        for (std::size_t column = 0; column < 8; ++column)
            for (const std::size_t pixels : {1, 8, 100}) {
                const Thresholds thresholds = model::turned(row, column);
                EXPECT_EQ(indices_of(kernels(), thresholds, uniform(pixels, 255, 255, 255)),
                          Bytes(pixels, 215));
                EXPECT_EQ(indices_of(kernels(), thresholds, uniform(pixels, 0, 0, 0)),
                          Bytes(pixels, 0));
            }
}

TEST_P(ShowKernel, CubeLevelsAtTheirEdges) {
    const Thresholds row{1, 39, 10, 48, 3, 41, 12, 51};
    const struct {
        std::uint8_t sample;
        Bytes indices; // 43 for each level
    } cases[] = {{0, {0, 0, 0, 0, 0, 0, 0, 0}},
                 {1, {43, 0, 0, 0, 0, 0, 0, 0}},
                 {3, {43, 0, 0, 0, 43, 0, 0, 0}},
                 {12, {43, 0, 43, 0, 43, 0, 43, 0}},
                 {50, {43, 43, 43, 43, 43, 43, 43, 0}},
                 {51, {43, 43, 43, 43, 43, 43, 43, 43}},
                 {52, {86, 43, 43, 43, 43, 43, 43, 43}},
                 {101, {86, 86, 86, 86, 86, 86, 86, 43}},
                 {102, {86, 86, 86, 86, 86, 86, 86, 86}},
                 {152, {129, 129, 129, 129, 129, 129, 129, 86}},
                 {153, {129, 129, 129, 129, 129, 129, 129, 129}},
                 {203, {172, 172, 172, 172, 172, 172, 172, 129}},
                 {204, {172, 172, 172, 172, 172, 172, 172, 172}},
                 {205, {215, 172, 172, 172, 172, 172, 172, 172}},
                 {254, {215, 215, 215, 215, 215, 215, 215, 172}},
                 {255, {215, 215, 215, 215, 215, 215, 215, 215}}};
    for (const auto &[sample, indices] : cases)
        EXPECT_EQ(indices_of(kernels(), row, uniform(8, sample, sample, sample)), indices)
            << int(sample);
}

// Red counts 36, green 6, blue 1.
TEST_P(ShowKernel, CubeIndicesOfColours) {
    const Thresholds row{1, 39, 10, 48, 3, 41, 12, 51};
    EXPECT_EQ(indices_of(kernels(), row, uniform(8, 10, 0, 255)),
              (Bytes{41, 5, 41, 5, 41, 5, 5, 5}));
    EXPECT_EQ(indices_of(kernels(), row, uniform(8, 255, 142, 0)), // level 2, 40 left
              (Bytes{198, 198, 198, 192, 198, 192, 198, 192}));
    EXPECT_EQ(indices_of(kernels(), row, uniform(8, 51, 102, 204)),
              (Bytes{52, 52, 52, 52, 52, 52, 52, 52}));
    EXPECT_EQ(indices_of(kernels(), row, uniform(8, 255, 0, 0)), Bytes(8, 180));
    EXPECT_EQ(indices_of(kernels(), row, uniform(8, 0, 255, 0)), Bytes(8, 30));
    EXPECT_EQ(indices_of(kernels(), row, uniform(8, 0, 0, 255)), Bytes(8, 5));
}

struct FourPlanes {
    Bytes red, green, blue, any;
    bool operator==(const FourPlanes &) const = default;
};
void PrintTo(const FourPlanes &planes, std::ostream *stream) {
    for (const Bytes &plane : {planes.red, planes.green, planes.blue, planes.any})
        *stream << testing::PrintToString(plane) << ' ';
}

FourPlanes planes_of(const ShowKernels &k, const Thresholds &thresholds, const Bytes &rgb,
                     std::size_t plane_bytes) {
    Bytes four(4 * plane_bytes, 0xA5);
    k.planes(four.data(), plane_bytes, rgb.data(), thresholds, rgb.size() / 3);
    const auto plane = [&](std::size_t n) {
        const auto begin = four.begin() + std::ptrdiff_t(n * plane_bytes);
        return Bytes(begin, begin + std::ptrdiff_t(plane_bytes));
    };
    return {plane(0), plane(1), plane(2), plane(3)};
}

TEST_P(ShowKernel, MiddleGreyLightsHalfOfThePlaces) {
    const std::uint8_t rows[8] = {0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55};
    const Bytes grey = uniform(8, 128, 128, 128);
    int lit = 0;
    for (std::size_t y = 0; y < 8; ++y) {
        const Bytes plane{rows[y]};
        EXPECT_EQ(planes_of(kernels(), model::sixteen_colour_rows[y], grey, 1),
                  (FourPlanes{plane, plane, plane, plane}))
            << y;
        for (int bit = 0; bit < 8; ++bit)
            lit += rows[y] >> bit & 1;
    }
    EXPECT_EQ(lit, 32);
}

TEST_P(ShowKernel, PlanesOfColours) {
    const Thresholds row{4, 195, 52, 243, 16, 207, 64, 255};
    EXPECT_EQ(planes_of(kernels(), row, uniform(8, 200, 100, 0), 1),
              (FourPlanes{{0xEA}, {0xAA}, {0x00}, {0xEA}}));
    EXPECT_EQ(planes_of(kernels(), row, uniform(8, 0, 15, 243), 1),
              (FourPlanes{{0x00}, {0x80}, {0xFE}, {0xFE}}));
    EXPECT_EQ(planes_of(kernels(), row, uniform(8, 255, 254, 3), 1),
              (FourPlanes{{0xFF}, {0xFE}, {0x00}, {0xFF}}));
    EXPECT_EQ(planes_of(kernels(), row, uniform(8, 3, 3, 3), 1),
              (FourPlanes{{0x00}, {0x00}, {0x00}, {0x00}}));
    EXPECT_EQ(planes_of(kernels(), row, {255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0}, 1),
              (FourPlanes{{0x80}, {0x40}, {0x20}, {0xE0}}));
}

// 255 reaches every threshold, 3 none.
TEST_P(ShowKernel, WhiteLightsEveryPlaceAndDarkNone) {
    for (const Thresholds &row : model::sixteen_colour_rows) {
        EXPECT_EQ(planes_of(kernels(), row, uniform(16, 255, 255, 255), 2),
                  (FourPlanes{{255, 255}, {255, 255}, {255, 255}, {255, 255}}));
        EXPECT_EQ(planes_of(kernels(), row, uniform(16, 3, 3, 3), 2),
                  (FourPlanes{{0, 0}, {0, 0}, {0, 0}, {0, 0}}));
    }
}

// What no pixel fills of a plane is cleared: bits and bytes.
TEST_P(ShowKernel, PlanesAreWrittenWhole) {
    EXPECT_EQ(planes_of(kernels(), all(1), uniform(3, 9, 0, 9), 4),
              (FourPlanes{{0xE0, 0, 0, 0}, {0, 0, 0, 0}, {0xE0, 0, 0, 0}, {0xE0, 0, 0, 0}}));
    EXPECT_EQ(planes_of(kernels(), all(0), uniform(9, 0, 0, 0), 2),
              (FourPlanes{{0xFF, 0x80}, {0xFF, 0x80}, {0xFF, 0x80}, {0xFF, 0x80}}));
}

Bytes bits_of(const ShowKernels &k, const Thresholds &thresholds, const Bytes &greys) {
    Bytes bits((greys.size() + 7) / 8, 0xA5);
    k.bits_of_greys(bits.data(), greys.data(), thresholds, greys.size());
    return bits;
}

TEST_P(ShowKernel, BitsOfGreysByTheirThresholds) {
    const Thresholds row{131, 68, 179, 116, 143, 80, 191, 128};
    EXPECT_EQ(bits_of(kernels(), row, Bytes(8, 128)), (Bytes{0x55}));
    EXPECT_EQ(bits_of(kernels(), row, Bytes(8, 127)), (Bytes{0x54}));
    EXPECT_EQ(bits_of(kernels(), row, Bytes(8, 255)), (Bytes{0xFF}));
    EXPECT_EQ(bits_of(kernels(), row, Bytes(8, 0)), (Bytes{0x00}));
    EXPECT_EQ(bits_of(kernels(), row, {131, 68, 179, 116, 143, 80, 191, 128}), (Bytes{0xFF}));
    EXPECT_EQ(bits_of(kernels(), row, {130, 67, 178, 115, 142, 79, 190, 127}), (Bytes{0x00}));
    EXPECT_EQ(bits_of(kernels(), row, Bytes(13, 255)), (Bytes{0xFF, 0xF8}));
    EXPECT_EQ(bits_of(kernels(), row, Bytes(17, 179)), (Bytes{0xFD, 0xFD, 0x80}));
    EXPECT_EQ(bits_of(kernels(), all(255), {255, 254}), (Bytes{0x80}));
    EXPECT_EQ(bits_of(kernels(), all(0), {0, 0}), (Bytes{0xC0}));
}

Bytes high_colours_of(const ShowKernels &k, const ScreenTables &tables,
                      const Thresholds &thresholds, const Bytes &rgb) {
    Bytes bgr(rgb.size(), 0xA5);
    k.high_colour(bgr.data(), rgb.data(), tables, thresholds, rgb.size() / 3);
    return bgr;
}
Bytes plain_high_colours_of(const ShowKernels &k, const Thresholds &thresholds, const Bytes &rgb) {
    Bytes bgr(rgb.size(), 0xA5);
    k.plain_high_colour(bgr.data(), rgb.data(), thresholds, rgb.size() / 3);
    return bgr;
}

TEST_P(ShowKernel, HighColourByItsThresholds) {
    const Fenced<ScreenTables> same{screen_tables(model::identity_tables())};
    const Thresholds row{1, 7, 2, 8, 1, 7, 2, 8};
    EXPECT_EQ(high_colours_of(kernels(), same, row, uniform(4, 100, 100, 100)), // 96 + 4
              (Bytes{104, 104, 104, 96, 96, 96, 104, 104, 104, 96, 96, 96}));
    // Red 8 + 1, green 16 + 7, blue 24: the threshold is the pixel's, and the order turns.
    EXPECT_EQ(high_colours_of(kernels(), same, row, uniform(4, 9, 23, 24)),
              (Bytes{24, 24, 16, 24, 24, 8, 24, 24, 8, 24, 16, 8}));
}

// Tables may hold more than 248: the sum is one of bytes.
TEST_P(ShowKernel, HighColourWrapsInAByte) {
    const Fenced<ScreenTables> same{screen_tables(model::identity_tables())};
    const Thresholds row{1, 7, 2, 8, 1, 7, 2, 8};
    EXPECT_EQ(high_colours_of(kernels(), same, row, uniform(4, 255, 255, 255)),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 248, 248, 248}));
    EXPECT_EQ(high_colours_of(kernels(), same, row, uniform(4, 249, 248, 250)),
              (Bytes{0, 248, 0, 248, 248, 248, 0, 248, 248, 248, 248, 248}));
}

TEST_P(ShowKernel, TheHighestLevelStays248AtEveryPlace) {
    ChannelTables highest{};
    for (auto *const table : {&highest.red, &highest.green, &highest.blue})
        table->fill(248);
    const Fenced<ScreenTables> tables{screen_tables(highest)};
    for (const Thresholds &row : model::high_colour_rows)
        for (std::size_t column = 0; column < 4; ++column) {
            const Thresholds thresholds = model::turned(row, column);
            const Bytes white = uniform(70, 255, 255, 255), black = uniform(70, 0, 0, 0);
            EXPECT_EQ(high_colours_of(kernels(), tables, thresholds, white), Bytes(210, 248));
            EXPECT_EQ(high_colours_of(kernels(), tables, thresholds, black), Bytes(210, 248));
            EXPECT_EQ(plain_high_colours_of(kernels(), thresholds, white), Bytes(210, 248));
            EXPECT_EQ(plain_high_colours_of(kernels(), thresholds, black), Bytes(210, 0));
        }
}

TEST_P(ShowKernel, PlainHighColourNumberByNumber) {
    const Thresholds row{1, 7, 2, 8, 1, 7, 2, 8};
    // 128 x 248 / 255 = 124.49 and a half: 120 + 4. 1 is 1, 200 is 195 = 192 + 3.
    EXPECT_EQ(plain_high_colours_of(kernels(), row, uniform(4, 128, 1, 200)),
              (Bytes{200, 8, 128, 192, 0, 120, 200, 0, 128, 192, 0, 120}));
    // 254 is 247 = 240 + 7, 255 is 248, 0 is 0.
    EXPECT_EQ(plain_high_colours_of(kernels(), row, uniform(4, 254, 255, 0)),
              (Bytes{0, 248, 248, 0, 248, 248, 0, 248, 248, 0, 248, 240}));
}

TEST_P(ShowKernel, ChannelsHaveTablesOfTheirOwn) {
    ChannelTables tables{};
    for (int sample = 0; sample < 256; ++sample) {
        tables.red[sample] = std::uint8_t(255 - sample);
        tables.green[sample] = std::uint8_t(sample / 2);
        tables.blue[sample] = std::uint8_t(sample * 2);
    }
    const Fenced<ScreenTables> fenced{screen_tables(tables)};
    const Bytes rgb{255, 255, 255, 0, 0, 0, 10, 20, 30};
    Bytes bgr(9);
    kernels().correct(bgr.data(), rgb.data(), fenced, 3);
    EXPECT_EQ(bgr, (Bytes{254, 127, 0, 0, 0, 255, 60, 10, 245}));
    // 254 = 248 + 6, 127 = 120 + 7, 60 = 56 + 4, 10 = 8 + 2, 245 = 240 + 5.
    EXPECT_EQ(high_colours_of(kernels(), fenced, {6, 8, 5, 1, 1, 1, 1, 1}, rgb),
              (Bytes{0, 128, 0, 0, 0, 248, 56, 8, 248}));
}

TEST_P(ShowKernel, ColoursAndGreyLevels) {
    ColourEntries entries{};
    for (std::size_t i = 0; i < 1024; ++i)
        entries[i] = std::uint8_t(i % 4 == 3 ? 0xEE : i / 4 + 50 * (i % 4));
    const Fenced<ColourEntries> fenced{entries};
    const Bytes indices{0, 255, 1, 200};
    Bytes rgb(12);
    kernels().colours_of_indices(rgb.data(), indices.data(), fenced, 4);
    EXPECT_EQ(rgb, (Bytes{0, 50, 100, 255, 49, 99, 1, 51, 101, 200, 250, 44}));

    const Bytes greys{0, 1, 2, 15, 16, 127, 128, 254, 255};
    Bytes levels(9);
    kernels().grey_levels(levels.data(), greys.data(), 4, 9);
    EXPECT_EQ(levels, (Bytes{0, 0, 0, 0, 1, 7, 8, 15, 15}));
    kernels().grey_levels(levels.data(), greys.data(), 1, 9);
    EXPECT_EQ(levels, (Bytes{0, 0, 1, 7, 8, 63, 64, 127, 127}));
}

// --- everything ------------------------------------------------------------------------------

// 64 rounds through all samples, one lane further in every round.
Bytes every_sample_in_every_lane() {
    Bytes bytes;
    for (unsigned round = 0; round < 64; ++round)
        for (unsigned i = 0; i < 257; ++i)
            bytes.push_back(std::uint8_t(i));
    return bytes;
}

// The same for pixels, with neighbours that differ.
Bytes every_sample_of_every_channel_in_every_lane() {
    Bytes rgb;
    for (unsigned round = 0; round < 64; ++round)
        for (unsigned i = 0; i < 257; ++i)
            add_pixel(rgb, i, i * 77 + 5, 255 - i * 3);
    return rgb;
}

TEST_P(ShowKernel, AllSamplesAndThresholdsInEveryLane) {
    const Bytes greys = every_sample_in_every_lane(),
                rgb = every_sample_of_every_channel_in_every_lane();
    const std::size_t pixels = greys.size();
    const Fenced<ScreenTables> tables{random_tables(1)};
    for (int value = 0; value < 256; ++value)
        for (const Thresholds &given : {all(value), spread(value)}) {
            const Fenced<Thresholds> thresholds{given}, fractions{at_least_1(given)};
            ASSERT_TRUE(runs_exactly(bits_of_greys(kernels(), thresholds), greys, pixels));
            ASSERT_TRUE(runs_exactly(cube_indices(kernels(), fractions), rgb, pixels));
            ASSERT_TRUE(runs_exactly(planes(kernels(), plane_words, thresholds), rgb, pixels));
            ASSERT_TRUE(runs_exactly(high_colour(kernels(), tables, thresholds), rgb, pixels));
            ASSERT_TRUE(runs_exactly(plain_high_colour(kernels(), thresholds), rgb, pixels));
        }
}

// The matrices as they are met: every row from every column.
TEST_P(ShowKernel, AllSamplesAtAllPlacesOfTheMatrices) {
    const Bytes greys = every_sample_in_every_lane(),
                rgb = every_sample_of_every_channel_in_every_lane();
    const std::size_t pixels = greys.size();
    for (std::size_t column = 0; column < 8; ++column)
        for (std::size_t y = 0; y < 8; ++y) {
            const Fenced<Thresholds> sixteen{model::turned(model::sixteen_colour_rows[y], column)};
            const Fenced<Thresholds> palette{model::turned(model::palette_rows[y], column)};
            const Fenced<Thresholds> high{model::turned(model::high_colour_rows[y % 4], column)};
            ASSERT_TRUE(runs_exactly(bits_of_greys(kernels(), sixteen), greys, pixels));
            ASSERT_TRUE(runs_exactly(planes(kernels(), plane_words, sixteen), rgb, pixels));
            ASSERT_TRUE(runs_exactly(cube_indices(kernels(), palette), rgb, pixels));
            ASSERT_TRUE(runs_exactly(plain_high_colour(kernels(), high), rgb, pixels));
        }
}

TEST_P(ShowKernel, AllIndicesAndSamplesInEveryLane) {
    const Bytes bytes = every_sample_in_every_lane(),
                rgb = every_sample_of_every_channel_in_every_lane();
    const std::size_t pixels = bytes.size();
    for (std::uint64_t number = 0; number < 8; ++number) {
        const Fenced<ColourEntries> entries{random_table<ColourEntries>(number)};
        ASSERT_TRUE(runs_exactly(colours_of_indices(kernels(), entries), bytes, pixels));
        ASSERT_TRUE(runs_exactly(grey_levels(kernels(), int(number)), bytes, pixels));
        const Fenced<ScreenTables> tables{random_tables(number)};
        ASSERT_TRUE(runs_exactly(correct(kernels(), tables), rgb, pixels));
    }
}

// The same of tables that are curves: a pixel's channels go through all samples, one after another
// and against each other, in every lane.
TEST_P(ShowKernel, AllSamplesOfCurvesInEveryLane) {
    const Bytes rgb = every_sample_of_every_channel_in_every_lane();
    const std::size_t pixels = rgb.size() / 3;
    for (std::uint64_t number = 0; number < 12; ++number)
        for (const auto &[given, shape] : tables_of_every_shape(number)) {
            ASSERT_EQ(given.curves.shape, shape);
            const Fenced<ScreenTables> tables{given};
            ASSERT_TRUE(runs_exactly(correct(kernels(), tables), rgb, pixels));
            const Fenced<Thresholds> thresholds{
                model::turned(model::high_colour_rows[number % 4], number / 4 % 4)};
            ASSERT_TRUE(runs_exactly(high_colour(kernels(), tables, thresholds), rgb, pixels));
        }
}

// Gammas that there is a use for, as true-colour and as high-colour displays are given it.
TEST_P(ShowKernel, AllSamplesOfManyGammas) {
    const Bytes rgb = every_sample_of_every_channel_in_every_lane();
    const std::size_t pixels = rgb.size() / 3;
    const Fenced<Thresholds> thresholds{model::high_colour_rows[1]};
    for (int percent = 40; percent < 320; percent += 3) {
        const ChannelTables corrected = display::gamma_tables({percent, 360 - percent, 100});
        const Fenced<ScreenTables> screen{screen_tables(corrected)},
            high{screen_tables(display::high_colour_tables(corrected))};
        ASSERT_TRUE(runs_exactly(correct(kernels(), screen), rgb, pixels)) << percent;
        ASSERT_TRUE(runs_exactly(high_colour(kernels(), high, thresholds), rgb, pixels)) << percent;
    }
}

// All colours with one red, unlike ones side by side.
Bytes colours_of_red(unsigned red) {
    Bytes rgb;
    rgb.reserve(3 * 65536);
    for (unsigned i = 0; i < 65536; ++i) {
        const unsigned rest = i * 40503 % 65536;
        add_pixel(rgb, red, rest / 256, rest);
    }
    return rgb;
}

// The channels meet in an index and in the fourth plane.
TEST_P(ShowKernel, AllColours) {
    for (unsigned red = 0; red < 256; ++red) {
        const Bytes rgb = colours_of_red(red);
        const std::size_t y = red % 8, column = red / 8 % 8;
        const Thresholds palette = model::turned(model::palette_rows[y], column);
        ASSERT_TRUE(runs_exactly(cube_indices(kernels(), palette), rgb, 65536)) << red;
        const Thresholds sixteen = model::turned(model::sixteen_colour_rows[y], column);
        ASSERT_TRUE(runs_exactly(planes(kernels(), plane_words, sixteen), rgb, 65536)) << red;
    }
}

// Where gamma corrects nothing the tables can be computed, with the same bytes.
TEST_P(ShowKernel, PlainHighColourIsHighColourWithoutGamma) {
    const ChannelTables corrected = display::gamma_tables({100, 100, 100});
    const Fenced<ScreenTables> tables{screen_tables(display::high_colour_tables(corrected))};
    const Bytes rgb = every_sample_of_every_channel_in_every_lane();
    for (const Thresholds &row : model::high_colour_rows)
        for (std::size_t column = 0; column < 4; ++column) {
            const Thresholds thresholds = model::turned(row, column);
            const Bytes looked_up = high_colours_of(kernels(), tables, thresholds, rgb);
            ASSERT_EQ(plain_high_colours_of(kernels(), thresholds, rgb), looked_up);
            ASSERT_EQ(looked_up,
                      model::high_colour(rgb, model::plain_high_colour_tables(), thresholds));
        }
}

// --- memory ----------------------------------------------------------------------------------

std::vector<Thresholds> some_thresholds() {
    return {model::turned(model::sixteen_colour_rows[3], 5), spread(11)};
}

// Both fences before and behind what is read beside the row.
TEST_P(ShowKernel, AllLengthsAlignmentsAndFences) {
    for (const bool at_end : {true, false}) {
        const Fenced<ColourEntries> entries{random_table<ColourEntries>(2), at_end};
        const Fenced<ScreenTables> tables{random_tables(3), at_end},
            curves{random_curves(3, at_end), at_end};
        const Fenced<Thresholds> thresholds{some_thresholds()[at_end], at_end};
        const Fenced<Thresholds> fractions{model::turned(model::palette_rows[at_end], 3), at_end};
        const Fenced<Thresholds> low{model::turned(model::high_colour_rows[at_end], 1), at_end};
        for (const Conversion &conversion :
             {colours_of_indices(kernels(), entries), grey_levels(kernels(), at_end ? 1 : 4),
              bits_of_greys(kernels(), thresholds), cube_indices(kernels(), fractions),
              planes(kernels(), at_end ? bit_bytes : plane_words, thresholds),
              correct(kernels(), tables), correct(kernels(), curves),
              high_colour(kernels(), tables, low), high_colour(kernels(), curves, low),
              plain_high_colour(kernels(), low)})
            sweep_lengths_and_alignments(conversion);
    }
    const Fenced<Thresholds> thresholds{spread(200)};
    sweep_lengths_and_alignments(planes(kernels(), wide_planes, thresholds));
}

TEST_P(ShowKernel, RandomRows) {
    for (std::uint64_t number = 0; number < 6; ++number) {
        const Fenced<ColourEntries> entries{random_table<ColourEntries>(number + 10)};
        const Fenced<ScreenTables> tables{random_tables(number + 20)},
            curves{random_curves(number + 40, number % 2 == 0)};
        const auto any = random_table<Thresholds>(number + 30);
        const Fenced<Thresholds> thresholds{any}, fractions{at_least_1(any)};
        Thresholds below_16 = any;
        for (std::uint8_t &threshold : below_16)
            threshold %= 16;
        const Fenced<Thresholds> low{below_16};
        for (const Conversion &conversion :
             {colours_of_indices(kernels(), entries),
              grey_levels(kernels(), number % 2 == 0 ? 1 : 4), bits_of_greys(kernels(), thresholds),
              cube_indices(kernels(), fractions), planes(kernels(), plane_words, thresholds),
              planes(kernels(), wide_planes, thresholds), correct(kernels(), tables),
              correct(kernels(), curves), high_colour(kernels(), tables, low),
              high_colour(kernels(), curves, low), plain_high_colour(kernels(), low)})
            sweep_random_rows(conversion, 10);
    }
}

// Tables and thresholds need not be aligned.
TEST_P(ShowKernel, TablesAtAllAlignments) {
    const FencedMemory memory{std::max(sizeof(ColourEntries), sizeof(ScreenTables)) + 64};
    Random random{test_seed(), 4};
    random.fill({memory.begin(), memory.size()});
    const auto shapes = tables_of_every_shape(4);
    const Bytes bytes = every_sample_in_every_lane(), rgb(bytes.begin(), bytes.begin() + 900);
    for (std::size_t shift = 0; shift < 64; ++shift) {
        std::uint8_t *const at = memory.begin() + shift;
        const auto &entries = *reinterpret_cast<const ColourEntries *>(at);
        const auto &tables = *reinterpret_cast<const ScreenTables *>(at);
        const auto &thresholds = *reinterpret_cast<const Thresholds *>(at);
        ASSERT_TRUE(runs_exactly(colours_of_indices(kernels(), entries), rgb, 900)) << shift;
        ASSERT_TRUE(runs_exactly(bits_of_greys(kernels(), thresholds), rgb, 900)) << shift;
        ASSERT_TRUE(runs_exactly(planes(kernels(), plane_words, thresholds), rgb, 300)) << shift;
        const Thresholds some = thresholds;
        for (const Tables &of_shape : shapes) {
            std::memcpy(at, &of_shape.tables, sizeof of_shape.tables);
            ASSERT_TRUE(runs_exactly(correct(kernels(), tables), rgb, 300)) << shift;
            ASSERT_TRUE(runs_exactly(high_colour(kernels(), tables, some), rgb, 300)) << shift;
        }
    }
}

// Nothing at all is read or written: any address will do.
TEST_P(ShowKernel, NoPixelsAreNothing) {
    const FencedMemory memory{1};
    std::uint8_t *const nowhere = memory.end();
    const auto thresholds = all(1);
    const auto tables = random_tables(5);
    const auto entries = random_table<ColourEntries>(5);
    kernels().colours_of_indices(nowhere, nowhere, entries, 0);
    kernels().grey_levels(nowhere, nowhere, 4, 0);
    kernels().bits_of_greys(nowhere, nowhere, thresholds, 0);
    kernels().cube_indices(nowhere, nowhere, thresholds, 0);
    kernels().planes(nowhere, 0, nowhere, thresholds, 0);
    kernels().correct(nowhere, nowhere, tables, 0);
    kernels().high_colour(nowhere, nowhere, tables, thresholds, 0);
    kernels().plain_high_colour(nowhere, nowhere, thresholds, 0);
}

} // namespace
} // namespace q32::test
