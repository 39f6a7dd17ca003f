// The three bars, drawn into memory that ends with the row.
#include "bars/bars.h"
#include "rows/rows.h"
#include "tests/bars/bar_model.h"
#include "tests/fuzz/input.h"

namespace q32::fuzz {
namespace {

using namespace q32::bars;

class MemoryTarget {
public:
    MemoryTarget(int width, int height, int bits_per_pixel)
        : width_{width}, height_{height}, row_{std::size_t(width * bits_per_pixel / 8)} {}

    std::int64_t width() const { return width_; }
    std::int64_t height() const { return height_; }
    std::uint8_t *row() const { return row_.at(); }
    bool put_row() {
        const Bytes row = row_.content();
        picture_.insert(picture_.end(), row.begin(), row.end());
        return true;
    }
    const Bytes &picture() const { return picture_; }

private:
    int width_, height_;
    Block row_;
    Bytes picture_;
};

template <class Bar>
void compare(const Bar &bar, int width, int height, const Bytes &expected) {
    MemoryTarget target(width, height, Bar::bits_per_pixel);
    check(draw(bar, target), "a bar is not drawn");
    check(target.picture() == expected, "a bar differs from its rule");
}

Colour colour_of_word(unsigned word) {
    return {std::uint8_t(word), std::uint8_t(word >> 8), std::uint8_t(word >> 16)};
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    namespace model = q32::test::bar_model;
    q32::chosen_kernels<q32::rows::RowKernels> =
        &q32::rows::row_kernels(q32::best_instruction_set(nullptr));
    Input input(data, size);
    const int width = 1 + input.between(0, 700), height = 1 + int(input.below(60));
    const bool horizontal = input.flag(), rainbow = input.flag();
    const auto from = input.number<std::uint32_t>(), to = input.number<std::uint32_t>();
    switch (input.below(3)) {
    case 0:
        compare(GreyBar{std::uint8_t(from), std::uint8_t(to), horizontal}, width, height,
                model::grey_bar(width, height, int(from & 255), int(to & 255), horizontal));
        break;
    case 1:
        compare(ColourBar{colour_of_word(from), colour_of_word(to), horizontal, rainbow}, width,
                height, model::colour_bar(width, height, from, to, horizontal, rainbow));
        break;
    case 2: {
        const int style = 1 + int(from % 4);
        compare(HueField{style}, width, height, model::hue_field(style, width, height));
    }
    }
    return 0;
}
