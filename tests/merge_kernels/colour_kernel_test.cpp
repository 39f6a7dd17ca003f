// The colour space kernels of every instruction set of this machine, and the scalar forms, against
// the plain model: all colours there and back, all records, hues that wrap, transfers of fields,
// records out of range, worked examples, and the sweeps over memory. What the exports add is tested
// with the library.
#include "merge/kernels/colour_kernels.h"

#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"
#include "tests/kernels/kernel_sweep.h"
#include "tests/kernels/levels.h"
#include "tests/merge_kernels/domains.h"
#include "tests/models/colours.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace q32::test {
namespace {

using merge::ColourChange;
using merge::ColourKernels;
using merge::HsvFields;
using model::Colour;
using model::colour_at;
using model::ColourConversion;
using model::put;
using model::Record;
using model::record_at;

const std::vector<Level<ColourKernels>> &levels() {
    static const auto all =
        levels_of_this_machine(merge::scalar_colour_kernels, merge::colour_kernels);
    return all;
}

const ColourConversion &shape_of(ColourChange change) {
    return model::colour_conversions[std::size_t(change)];
}

constexpr const char *field_names[merge::hsv_fields_count] = {"hue_and_saturation", "hue",
                                                              "saturation", "value"};

auto conversions(ColourChange change) {
    return forms_of(levels(), [=](const ColourKernels &kernels) {
        return kernels.convert[std::size_t(change)];
    });
}

auto transfers(std::size_t fields) {
    return forms_of(levels(),
                    [=](const ColourKernels &kernels) { return kernels.transfer[fields]; });
}

// --- pixels as bytes ---

// A pixel of a run: its bytes, or the fields of a record.
std::string text_of(const Bytes &run, std::size_t pixel, std::size_t pixel_bytes) {
    std::string text = "(";
    for (std::size_t k = 0; k < (pixel_bytes == 12 ? 3 : pixel_bytes); ++k)
        text += (k == 0 ? "" : ", ") +
                std::to_string(pixel_bytes == 12 ? record_at(&run[pixel * 12])[k]
                                                 : std::int32_t{run[pixel * pixel_bytes + k]});
    return text + ")";
}

// Runs every form over these pixels.
bool converts_exactly(ColourChange change, const Bytes &source, const Bytes &expected) {
    static Bytes destination;
    const ColourConversion &shape = shape_of(change);
    destination.resize(expected.size());
    for (const auto &form : conversions(change)) {
        std::fill(destination.begin(), destination.end(), std::uint8_t{0xA5});
        form.run(destination.data(), source.data(), source.size() / shape.from_bytes);
        const std::size_t at =
            first_difference(destination.data(), expected.data(), expected.size());
        count_compared(form.level, expected.size() / shape.to_bytes);
        if (at == expected.size())
            continue;
        const std::size_t pixel = at / shape.to_bytes;
        ADD_FAILURE() << shape.name << ", " << form.level << ": pixel " << pixel << ", "
                      << text_of(source, pixel, shape.from_bytes) << " gives "
                      << text_of(destination, pixel, shape.to_bytes) << ", expected "
                      << text_of(expected, pixel, shape.to_bytes);
        return false;
    }
    return true;
}

// --- everything ---

void all_colours_there_and_back(ColourChange there, ColourChange back) {
    Bytes colours, records, again;
    for (std::size_t first = 0; first < 256; first += next_turn) {
        set_colours(colours, first);
        model::convert(shape_of(there), records, colours);
        ASSERT_TRUE(converts_exactly(there, colours, records));
        model::convert(shape_of(back), again, records);
        ASSERT_TRUE(converts_exactly(back, records, again));
    }
}

TEST(Conversion, AllColoursToHsvAndBack) {
    all_colours_there_and_back(ColourChange::rgb_to_hsv, ColourChange::hsv_to_rgb);
}

TEST(Conversion, AllColoursToHlsAndBack) {
    all_colours_there_and_back(ColourChange::rgb_to_hls, ColourChange::hls_to_rgb);
}

TEST(Conversion, AllColoursToGrey) {
    Bytes colours, greys;
    for (std::size_t first = 0; first < 256; first += next_turn) {
        set_colours(colours, first);
        model::convert(shape_of(ColourChange::rgb_to_grey), greys, colours);
        ASSERT_TRUE(converts_exactly(ColourChange::rgb_to_grey, colours, greys));
    }
}

TEST(Conversion, AllGreysInEveryLane) {
    Bytes greys, colours;
    for (std::size_t i = 0; i < 257 * 64; ++i)
        greys.push_back(static_cast<std::uint8_t>(i % 257));
    model::convert(shape_of(ColourChange::grey_to_rgb), colours, greys);
    EXPECT_TRUE(converts_exactly(ColourChange::grey_to_rgb, greys, colours));
}

// Records of every hue in a list with everything that the other two fields can be in steps of
// `step` and at their ends. Unlike hues lie side by side; in as many turns as there are hues each
// pair of fields meets each hue.
void all_records(ColourChange back, const std::vector<std::int32_t> &hues, int step) {
    std::vector<std::int32_t> values;
    for (int value = 0; value < 255; value += step)
        values.push_back(value);
    values.push_back(255);
    const std::size_t pixels = values.size() * values.size();
    Bytes records(pixels * merge::record_bytes);
    Bytes colours;
    for (std::size_t turn = 0; turn < hues.size(); turn += next_turn) {
        for (std::size_t i = 0; i < pixels; ++i)
            put(&records[i * merge::record_bytes],
                Record{hues[(turn + i * 7) % hues.size()], values[i / values.size()],
                       values[i % values.size()]});
        model::convert(shape_of(back), colours, records);
        ASSERT_TRUE(converts_exactly(back, records, colours));
    }
}

std::vector<std::int32_t> hues_from_to(std::int32_t from, std::int32_t to) {
    std::vector<std::int32_t> hues{merge::no_hue};
    for (std::int32_t hue = from; hue <= to; ++hue)
        hues.push_back(hue);
    return hues;
}

TEST(Conversion, AllHsvRecords) {
    all_records(ColourChange::hsv_to_rgb, hues_from_to(0, 360), 1);
}

TEST(Conversion, AllHlsRecords) {
    all_records(ColourChange::hls_to_rgb, hues_from_to(0, 360), 1);
}

TEST(Conversion, HuesThatWrapOnce) {
    all_records(ColourChange::hsv_to_rgb, hues_from_to(-360, 720), 5);
    all_records(ColourChange::hls_to_rgb, hues_from_to(-360, 720), 5);
}

// --- records out of range ---

std::int32_t any_field(Random &random, std::int32_t usual) {
    constexpr std::int32_t odd[] = {-1,
                                    256,
                                    361,
                                    32766,
                                    merge::no_hue,
                                    32768,
                                    -32767,
                                    65536,
                                    std::numeric_limits<std::int32_t>::max(),
                                    std::numeric_limits<std::int32_t>::max() - 359,
                                    std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::min() + 361};
    switch (random.below(6)) {
    case 0: // in range
    case 1:
        return static_cast<std::int32_t>(random.below(static_cast<std::size_t>(usual) + 1));
    case 2: // beside it
        return static_cast<std::int32_t>(random.below(3000)) - 1500;
    case 3:
        return odd[random.below(std::size(odd))];
    case 4: // of any magnitude
        return static_cast<std::int32_t>(random.next()) >> random.below(32);
    default:
        return static_cast<std::int32_t>(random.next());
    }
}

Bytes any_records(Random &random, std::size_t pixels) {
    Bytes records(pixels * merge::record_bytes);
    for (std::size_t i = 0; i < pixels; ++i)
        put(&records[i * merge::record_bytes],
            Record{any_field(random, 360), any_field(random, 255), any_field(random, 255)});
    return records;
}

TEST(Conversion, RecordsOutOfRangeAreTheSameInEveryForm) {
    for (const ColourChange back : {ColourChange::hsv_to_rgb, ColourChange::hls_to_rgb})
        random_cases(60, [&](Random &random, std::uint64_t number) {
            const Bytes records = any_records(random, row_pixels);
            if (converts_exactly(back, records, model::converted(shape_of(back), records)))
                return true;
            ADD_FAILURE() << "case " << number << " differs: " << rerun(number);
            return false;
        });
}

// One field beyond its range in a run of good ones, wherever it stands.
TEST(Conversion, OneFieldOutOfRangeIsLikeAnyOther) {
    constexpr std::size_t pixels = 128;
    for (const ColourChange back : {ColourChange::hsv_to_rgb, ColourChange::hls_to_rgb}) {
        Random random{test_seed(), std::uint64_t(back)};
        Bytes records(pixels * merge::record_bytes);
        for (std::size_t i = 0; i < pixels; ++i)
            put(&records[i * merge::record_bytes],
                Record{std::int32_t(random.below(361)), random.byte(), random.byte()});
        for (std::size_t place = 0; place < pixels; ++place)
            for (std::size_t field = 0; field < 3; ++field)
                for (const std::int32_t value : {-1, 400, 65536 + 7}) {
                    Bytes changed = records;
                    Record record = record_at(&changed[place * merge::record_bytes]);
                    record[field] = value;
                    put(&changed[place * merge::record_bytes], record);
                    ASSERT_TRUE(
                        converts_exactly(back, changed, model::converted(shape_of(back), changed)))
                        << "field " << field << " of pixel " << place;
                }
    }
}

// A grey record gives the low byte of its value or lightness, whatever that is.
TEST(Conversion, GreyRecordsOutOfRange) {
    constexpr std::size_t pixels = 20000;
    for (const ColourChange back : {ColourChange::hsv_to_rgb, ColourChange::hls_to_rgb}) {
        Random random{test_seed(), std::uint64_t(back)};
        Bytes records(pixels * merge::record_bytes);
        Bytes colours(pixels * 3);
        for (std::size_t i = 0; i < pixels; ++i) {
            const auto light = static_cast<std::int32_t>(random.next());
            const bool by_hue = random.below(2) == 0;
            const std::int32_t hue = by_hue ? merge::no_hue : any_field(random, 360);
            const std::int32_t saturation = by_hue ? any_field(random, 255) : 0;
            put(&records[i * merge::record_bytes], back == ColourChange::hsv_to_rgb
                                                       ? Record{hue, saturation, light}
                                                       : Record{hue, light, saturation});
            put(&colours[i * 3], model::colour_of(light, light, light));
        }
        EXPECT_TRUE(converts_exactly(back, records, colours));
    }
}

// --- transfers ---

class Transfer : public testing::TestWithParam<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Each, Transfer, testing::Range(std::size_t{0}, merge::hsv_fields_count),
                         [](const auto &fields) { return std::string{field_names[fields.param]}; });

// In the order of the modes that take these fields.
Colour model_transfer(std::size_t fields, Colour base, Colour other) {
    return model::with_fields(2 + int(fields), base, other);
}

bool transfers_exactly(std::size_t fields, const Bytes &base, const Bytes &other) {
    static Bytes expected, destination;
    const std::size_t pixels = base.size() / 3;
    expected.resize(base.size());
    destination.resize(base.size());
    for (std::size_t i = 0; i < base.size(); i += 3)
        put(&expected[i], model_transfer(fields, colour_at(&base[i]), colour_at(&other[i])));
    for (const auto &form : transfers(fields)) {
        std::fill(destination.begin(), destination.end(), std::uint8_t{0xA5});
        form.run(destination.data(), base.data(), other.data(), pixels);
        const std::size_t at = first_difference(destination.data(), expected.data(), base.size());
        count_compared(form.level, pixels);
        if (at == base.size())
            continue;
        ADD_FAILURE() << field_names[fields] << ", " << form.level << ": base "
                      << text_of(base, at / 3, 3) << ", other " << text_of(other, at / 3, 3)
                      << " gives " << text_of(destination, at / 3, 3) << ", expected "
                      << text_of(expected, at / 3, 3);
        return false;
    }
    return true;
}

// Greys, primaries, ties of channels, and what lies beside them.
TEST_P(Transfer, AllPairsOfSpecialColours) {
    constexpr std::uint8_t samples[] = {0, 1, 2, 127, 128, 253, 254, 255};
    Bytes special;
    for (const std::uint8_t r : samples)
        for (const std::uint8_t g : samples)
            for (const std::uint8_t b : samples)
                special.insert(special.end(), {r, g, b});
    Bytes base(special.size());
    for (std::size_t i = 0; i < special.size(); i += 3) {
        for (std::size_t k = 0; k < special.size(); ++k)
            base[k] = special[i + k % 3];
        ASSERT_TRUE(transfers_exactly(GetParam(), base, special));
    }
}

// Each colour once as base and once as other, with a colour that has nothing to do with it.
TEST_P(Transfer, AllColours) {
    Bytes base, other(3 * row_pixels);
    for (std::size_t first = 0; first < 256; first += next_turn) {
        set_colours(base, first);
        for (std::size_t i = 0; i < row_pixels; ++i) {
            const std::size_t mixed = (first * row_pixels + i) * 2654435761u;
            other[3 * i] = static_cast<std::uint8_t>(mixed >> 8);
            other[3 * i + 1] = static_cast<std::uint8_t>(mixed >> 16);
            other[3 * i + 2] = static_cast<std::uint8_t>(mixed >> 24);
        }
        ASSERT_TRUE(transfers_exactly(GetParam(), base, other));
        ASSERT_TRUE(transfers_exactly(GetParam(), other, base));
    }
}

TEST_P(Transfer, RandomPairs) {
    random_cases(20, [&](Random &random, std::uint64_t number) {
        std::vector<Bytes> runs = random_contents(random, {3, 3}, row_pixels);
        for (Bytes &run : runs)
            for (std::size_t i = 0; i < run.size(); i += 3)
                switch (random.below(8)) {
                case 0: // grey
                    run[i + 1] = run[i + 2] = run[i];
                    break;
                case 1: // two channels tie
                    run[i + random.below(3)] = run[i + random.below(3)];
                    break;
                case 2: // dark
                    for (std::size_t k = 0; k < 3; ++k)
                        run[i + k] %= 4;
                    break;
                default:;
                }
        if (transfers_exactly(GetParam(), runs[0], runs[1]))
            return true;
        ADD_FAILURE() << "case " << number << " differs: " << rerun(number);
        return false;
    });
}

// --- every level ---

class ColourLevel : public testing::TestWithParam<Level<ColourKernels>> {
protected:
    // Enough for whole vectors and a rest.
    static constexpr std::size_t pixels = 70;

    const ColourKernels &kernels() const { return *GetParam().kernels; }

    // A run of one pixel, converted.
    Bytes converted(ColourChange change, const Bytes &pixel) const {
        const ColourConversion &shape = shape_of(change);
        Bytes source;
        for (std::size_t i = 0; i < pixels; ++i)
            source.insert(source.end(), pixel.begin(), pixel.end());
        Bytes destination(pixels * shape.to_bytes);
        kernels().convert[std::size_t(change)](destination.data(), source.data(), pixels);
        const auto second = destination.begin() + static_cast<std::ptrdiff_t>(shape.to_bytes);
        EXPECT_TRUE(std::equal(second, destination.end(), destination.begin())) << "unlike pixels";
        return Bytes(destination.begin(), second);
    }

    void expect_grey(Colour colour, std::uint8_t grey) const {
        EXPECT_EQ(converted(ColourChange::rgb_to_grey, Bytes(colour.begin(), colour.end())),
                  Bytes{grey});
    }

    void expect_record(ColourChange change, Colour colour, Record record) const {
        EXPECT_EQ(record_at(converted(change, Bytes(colour.begin(), colour.end())).data()), record);
    }

    void expect_colour(ColourChange change, Record record, Colour colour) const {
        Bytes bytes(merge::record_bytes);
        put(bytes.data(), record);
        EXPECT_EQ(colour_at(converted(change, bytes).data()), colour);
    }

    // Where the way back gives the colour itself.
    void expect_hsv(Colour colour, Record record) const {
        expect_record(ColourChange::rgb_to_hsv, colour, record);
        expect_colour(ColourChange::hsv_to_rgb, record, colour);
    }
    void expect_hls(Colour colour, Record record) const {
        expect_record(ColourChange::rgb_to_hls, colour, record);
        expect_colour(ColourChange::hls_to_rgb, record, colour);
    }

    void expect_transfer(HsvFields fields, Colour base, Colour other, Colour expected) const {
        Bytes bases, others, destination(3 * pixels);
        for (std::size_t i = 0; i < pixels; ++i) {
            bases.insert(bases.end(), base.begin(), base.end());
            others.insert(others.end(), other.begin(), other.end());
        }
        kernels().transfer[std::size_t(fields)](destination.data(), bases.data(), others.data(),
                                                pixels);
        for (std::size_t i = 0; i < pixels; ++i)
            ASSERT_EQ(colour_at(&destination[3 * i]), expected) << i;
    }
};

INSTANTIATE_TEST_SUITE_P(Each, ColourLevel, testing::ValuesIn(levels()), name_of_level);

TEST_P(ColourLevel, HasEveryForm) {
    for (merge::ColourConversion *const convert : kernels().convert)
        EXPECT_NE(convert, nullptr);
    for (merge::FieldTransfer *const transfer : kernels().transfer)
        EXPECT_NE(transfer, nullptr);
}

TEST_P(ColourLevel, Greys) {
    expect_grey({255, 255, 255}, 255);
    expect_grey({1, 1, 1}, 1);
    expect_grey({0, 0, 0}, 0);
    expect_grey({255, 0, 0}, 76);  // 76.245
    expect_grey({0, 255, 0}, 149); // 149.685
    expect_grey({0, 0, 255}, 29);  // 29.07
    expect_grey({1, 1, 0}, 0);     // 0.886
    EXPECT_EQ(converted(ColourChange::grey_to_rgb, {200}), Bytes({200, 200, 200}));
    for (const std::uint8_t g : {0, 1, 128, 255}) {
        expect_hsv({g, g, g}, {32767, 0, g});
        expect_hls({g, g, g}, {32767, g, 0});
    }
}

TEST_P(ColourLevel, PrimariesAndTheirMixtures) {
    expect_hsv({255, 0, 0}, {0, 255, 255});
    expect_hsv({255, 255, 0}, {60, 255, 255});
    expect_hsv({0, 255, 0}, {120, 255, 255});
    expect_hsv({0, 255, 255}, {180, 255, 255});
    expect_hsv({0, 0, 255}, {240, 255, 255});
    expect_hsv({255, 0, 255}, {300, 255, 255});
    // The lightness of 127.5 is cut to 127, so the way back gives 254.
    const auto expect_hls_cut = [&](Colour colour, int hue, Colour back) {
        expect_record(ColourChange::rgb_to_hls, colour, {hue, 127, 255});
        expect_colour(ColourChange::hls_to_rgb, {hue, 127, 255}, back);
    };
    expect_hls_cut({255, 0, 0}, 0, {254, 0, 0});
    expect_hls_cut({255, 255, 0}, 60, {254, 254, 0});
    expect_hls_cut({0, 255, 0}, 120, {0, 254, 0});
    expect_hls_cut({0, 255, 255}, 180, {0, 254, 254});
    expect_hls_cut({0, 0, 255}, 240, {0, 0, 254});
    expect_hls_cut({255, 0, 255}, 300, {254, 0, 254});
}

// Each order of the three samples, worked by hand: d = 100, half = 50.
TEST_P(ColourLevel, EveryOrderOfSamples) {
    // max 150, min 50: saturation (25500 + 75) / 150 = 170; HLS: sum 200, (25500 + 100) / 200 = 128
    struct {
        Colour colour;
        int hue;
    } const orders[] = {
        {{150, 50, 80}, 342}, // (50 + 70 x 60) / 100 + 300
        {{150, 80, 50}, 18},  // (50 + 30 x 60) / 100
        {{80, 150, 50}, 102}, // (50 + 70 x 60) / 100 + 60
        {{50, 150, 80}, 138}, // (50 + 30 x 60) / 100 + 120
        {{50, 80, 150}, 222}, // (50 + 70 x 60) / 100 + 180
        {{80, 50, 150}, 258}, // (50 + 30 x 60) / 100 + 240
    };
    for (const auto &order : orders) {
        expect_hsv(order.colour, {order.hue, 170, 150});
        expect_record(ColourChange::rgb_to_hls, order.colour, {order.hue, 100, 128});
    }
}

// Green equal to the smaller of red and blue counts as between: red keeps hue 0. A little below it
// the hue would round to 360.
TEST_P(ColourLevel, HuesAtTheSeam) {
    expect_record(ColourChange::rgb_to_hsv, {255, 0, 1}, {359, 255, 255});
    expect_record(ColourChange::rgb_to_hsv, {255, 0, 2}, {359, 255, 255}); // 300 + 59.5 + 0.5
    expect_record(ColourChange::rgb_to_hsv, {255, 0, 3}, {359, 255, 255}); // 300 + 59.8
    expect_record(ColourChange::rgb_to_hsv, {255, 0, 7}, {358, 255, 255}); // 300 + 58.9
    expect_record(ColourChange::rgb_to_hsv, {255, 1, 0}, {0, 255, 255});
    expect_record(ColourChange::rgb_to_hsv, {255, 7, 7}, {0, 248, 255});
    expect_record(ColourChange::rgb_to_hls, {255, 0, 1}, {359, 127, 255});
    expect_record(ColourChange::rgb_to_hls, {255, 7, 7}, {0, 131, 255});
}

TEST_P(ColourLevel, HlsSaturationOnBothSidesOfTheMiddle) {
    expect_record(ColourChange::rgb_to_hls, {155, 100, 100}, {0, 127, 55});  // sum 255
    expect_record(ColourChange::rgb_to_hls, {156, 100, 100}, {0, 128, 56});  // sum 256 of 254
    expect_record(ColourChange::rgb_to_hls, {255, 254, 254}, {0, 254, 255}); // sum 509 of 1
    expect_record(ColourChange::rgb_to_hls, {1, 0, 0}, {0, 0, 255});
}

TEST_P(ColourLevel, SectorsOfTheWayBack) {
    // c = (200 x 128 + 127) / 255 = 100, f = (30 x 100 + 30) / 60 = 50
    const auto hsv = [&](int hue, Colour colour) {
        expect_colour(ColourChange::hsv_to_rgb, {hue, 128, 200}, colour);
    };
    hsv(30, {200, 150, 100});
    hsv(90, {150, 200, 100});
    hsv(150, {100, 200, 150});
    hsv(210, {100, 150, 200});
    hsv(270, {150, 100, 200});
    hsv(330, {200, 100, 150});
    hsv(0, {200, 100, 100});
    hsv(360, {200, 100, 100}); // a sector of its own, like 0
    hsv(390, {200, 150, 100});
    hsv(-30, {200, 100, 150});
    // l2 = 200: c = (128 x 200 + 127) / 255 = 100, hi = (200 + 100 + 1) / 2 = 150
    const auto hls = [&](int hue, Colour colour) {
        expect_colour(ColourChange::hls_to_rgb, {hue, 100, 128}, colour);
    };
    hls(30, {150, 100, 50});
    hls(90, {100, 150, 50});
    hls(150, {50, 150, 100});
    hls(210, {50, 100, 150});
    hls(270, {100, 50, 150});
    hls(330, {150, 50, 100});
    hls(360, {150, 50, 50});
    // l2 = 400: c = (255 x 110 + 127) / 255 = 110, hi = (400 + 110 + 1) / 2 = 255
    expect_colour(ColourChange::hls_to_rgb, {120, 200, 255}, {145, 255, 145});
}

TEST_P(ColourLevel, NoHueAndNoSaturationAreGrey) {
    expect_colour(ColourChange::hsv_to_rgb, {32767, 200, 77}, {77, 77, 77});
    expect_colour(ColourChange::hsv_to_rgb, {100, 0, 77}, {77, 77, 77});
    expect_colour(ColourChange::hls_to_rgb, {32767, 77, 200}, {77, 77, 77});
    expect_colour(ColourChange::hls_to_rgb, {100, 77, 0}, {77, 77, 77});
}

TEST_P(ColourLevel, Transfers) {
    const Colour red{200, 0, 0}, green{50, 100, 50}, grey{80, 80, 80};
    // green: hue 120, saturation 128, value 100
    expect_transfer(HsvFields::hue, red, green, {0, 200, 0});
    expect_transfer(HsvFields::hue_and_saturation, red, green, {100, 200, 100});
    expect_transfer(HsvFields::saturation, red, green, {200, 100, 100});
    expect_transfer(HsvFields::value, red, green, {100, 0, 0});
    // Grey has no hue to give, and no saturation.
    expect_transfer(HsvFields::hue, red, grey, {200, 200, 200});
    expect_transfer(HsvFields::hue_and_saturation, red, grey, {200, 200, 200});
    expect_transfer(HsvFields::saturation, red, grey, {200, 200, 200});
    expect_transfer(HsvFields::value, red, grey, {80, 0, 0});
    // Nor does it take one without the other.
    expect_transfer(HsvFields::hue, grey, green, {80, 80, 80});
    expect_transfer(HsvFields::saturation, grey, green, {80, 80, 80});
    expect_transfer(HsvFields::hue_and_saturation, grey, green, {40, 80, 40});
    expect_transfer(HsvFields::value, grey, green, {100, 100, 100});
}

// --- memory ---

Call conversion_call(ColourChange change, const Form<merge::ColourConversion> &form) {
    const ColourConversion &shape = shape_of(change);
    Call call;
    call.name = std::string{shape.name} + ", " + form.level;
    call.bytes = {shape.to_bytes, shape.from_bytes};
    call.contents = [&, bytes = call.bytes](Random &random, std::size_t pixels) {
        std::vector<Bytes> contents = random_contents(random, bytes, pixels);
        if (shape.from_bytes == merge::record_bytes)
            for (std::size_t i = 0; i < pixels; ++i) {
                const auto hue = static_cast<std::int32_t>(random.below(1083)) - 360;
                put(&contents[1][i * merge::record_bytes],
                    Record{hue > 720 ? merge::no_hue : hue, random.byte(), random.byte()});
            }
        return contents;
    };
    call.run = [=](const Addresses &runs, std::size_t pixels) {
        form.run(runs[0], runs[1], pixels);
    };
    call.expected = [&](const std::vector<Bytes> &runs, std::size_t) {
        return model::converted(shape, runs[1]);
    };
    if (shape.to_bytes <= shape.from_bytes)
        call.sharings = {{0, 0}};
    return call;
}

TEST(Conversion, InMemory) {
    for (std::size_t change = 0; change < merge::colour_change_count; ++change)
        for (const auto &form : conversions(ColourChange(change)))
            sweep(conversion_call(ColourChange(change), form));
}

// So many pixels at once that records go past the caches, from every place in a vector on, whole
// words or not, up to a fence.
TEST(Conversion, OfManyPixelsToRecords) {
    constexpr std::size_t most = merge::fewest_pixels_past_caches + 16, before = 64;
    const FencedMemory from{3 * most}, to{before + merge::record_bytes * most + 3};
    Bytes expected(merge::record_bytes * most);
    Random random{test_seed(), 1};
    random.fill({from.end() - 3 * most, 3 * most});
    for (const ColourChange change : {ColourChange::rgb_to_hsv, ColourChange::rgb_to_hls}) {
        const std::size_t place(static_cast<std::size_t>(change));
        merge::scalar_colour_kernels.convert[place](expected.data(), from.end() - 3 * most, most);
        for (const auto &form : conversions(change))
            for (std::size_t i = 0; i < 20; ++i) {
                const std::size_t behind = i < 17 ? 0 : i - 16, pixels = most - i % 17,
                                  bytes = merge::record_bytes * pixels;
                std::uint8_t *const at = to.end() - behind - bytes;
                std::memset(at - before, 0xA5, before + bytes + behind);
                form.run(at, from.end() - 3 * pixels, pixels);
                const std::size_t skipped = merge::record_bytes * (most - pixels);
                ASSERT_EQ(std::memcmp(at, expected.data() + skipped, bytes), 0) << form.level << i;
                EXPECT_EQ(std::count(at - before, at, 0xA5), std::ptrdiff_t(before)) << form.level;
                EXPECT_EQ(std::count(at + bytes, to.end(), 0xA5), std::ptrdiff_t(behind));
            }
    }
}

TEST_P(Transfer, InMemory) {
    for (const auto &form : transfers(GetParam())) {
        Call call;
        call.name = std::string{field_names[GetParam()]} + ", " + form.level;
        call.bytes = {3, 3, 3};
        call.run = [=](const Addresses &runs, std::size_t pixels) {
            form.run(runs[0], runs[1], runs[2], pixels);
        };
        call.expected = [](const std::vector<Bytes> &runs, std::size_t pixels) {
            Bytes out(3 * pixels);
            for (std::size_t i = 0; i < out.size(); i += 3)
                put(&out[i],
                    model_transfer(GetParam(), colour_at(&runs[1][i]), colour_at(&runs[2][i])));
            return out;
        };
        call.sharings = {{0, 0, 2}, {0, 1, 0}, {0, 0, 0}};
        sweep(call);
    }
}

} // namespace
} // namespace q32::test
