// Tables that are computed: positions of resampling, colour separation, gamma.
#include "display/kernels/channel_tables.h"
#include "resample/kernels/positions.h"
#include "separation/kernels/separation_tables.h"
#include "tests/fuzz/input.h"
#include "tests/models/resampling.h"
#include "tests/models/separation.h"

namespace q32::fuzz {
namespace {

namespace model = test::model;

// A block that ends with the table.
class Table {
public:
    explicit Table(int count) : block_{std::size_t(count) * sizeof(std::int32_t)}, count_{count} {}

    std::int32_t *numbers() const {
        void *const memory = block_.at();
        return static_cast<std::int32_t *>(memory);
    }
    std::vector<std::int32_t> copy() const { return {numbers(), numbers() + count_}; }

private:
    Block block_;
    int count_;
};

void positions(Input &input) {
    using namespace q32::resample;
    const int most = input.below(64) == 0 ? 6000 : 1000;
    const int destination = input.between(1, most), source = input.between(1, most);
    const Table index(destination), fraction(destination);
    model::Axis expected;
    bool has_fractions = true;
    switch (input.below(4)) {
    case 0:
        table_positions(index.numbers(), fraction.numbers(), FractionBits::eight, destination,
                        source);
        expected = model::table_axis(destination, source, model::Units::of_256);
        break;
    case 1:
        table_positions(index.numbers(), fraction.numbers(), FractionBits::sixteen, destination,
                        source);
        expected = model::table_axis(destination, source, model::Units::of_65536);
        break;
    case 2:
        cell_positions(index.numbers(), fraction.numbers(), destination, source);
        expected = model::cell_axis(destination, source);
        break;
    default:
        nearest_cell_positions(index.numbers(), destination, source);
        expected = model::nearest_cell_axis(destination, source);
        has_fractions = false;
    }
    check(index.copy() == expected.index, "positions differ from their rule");
    check(!has_fractions || fraction.copy() == expected.fraction,
          "fractions differ from their rule");
}

void separation(Input &input) {
    using namespace q32::separation;
    const int start = input.between(0, 100), amount = input.between(0, 255),
              removal = input.between(0, 100), limit = input.between(0, 400);
    const SeparationTables made = separation_tables({start, amount, removal, limit});
    const model::Separation expected = model::separation({start, amount, removal, limit});
    const auto equal = [](const SeparationTables::Table &table, const std::array<int, 256> &rule) {
        return std::equal(table.begin(), table.end(), rule.begin());
    };
    check(equal(made.black, expected.black) && equal(made.removal, expected.removal) &&
              equal(made.inverse_black, expected.inverse) && made.ink_limit == expected.limit,
          "tables of separation differ from their rule");
}

void gamma(Input &input) {
    using namespace q32::display;
    const GammaPercent percent{input.any_int(), input.any_int(), input.any_int()};
    const ChannelTables corrected = gamma_tables(percent);
    for (const ChannelTable &table : {corrected.red, corrected.green, corrected.blue}) {
        check(table.front() == 0 && table.back() == 255, "black or white is corrected");
        check(std::is_sorted(table.begin(), table.end()), "a darker sample becomes lighter");
    }
    const ChannelTables high = high_colour_tables(corrected);
    for (const ChannelTable &table : {high.red, high.green, high.blue})
        check(*std::max_element(table.begin(), table.end()) <= 248, "a sample passes 5 bits");
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    constexpr void (*families[])(Input &) = {positions, separation, gamma};
    Input input(data, size);
    families[input.below(std::size(families))](input);
    return 0;
}
