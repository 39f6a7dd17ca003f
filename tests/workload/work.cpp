// The areas, and the memory that their pieces work on.
#include "tests/workload/work.h"

#include <algorithm>
#include <cstring>

namespace q32::test {
namespace {

constexpr Area all_areas[] = {
    {"rows", true, Where::any_thread, rows_piece},
    {"whole_factors", true, Where::any_thread, whole_factors_piece},
    {"separation", true, Where::any_thread, separation_piece},
    {"merge_accelerated", true, Where::any_thread, merge_piece},
    {"colours", true, Where::any_thread, colours_piece},
    {"filter", true, Where::any_thread, filter_piece},
    {"frames", true, Where::any_thread, frames_piece},
    {"buffers", true, Where::any_thread, buffers_piece},
    {"bars", true, Where::any_thread, bars_piece},
    {"display", true, Where::painting_thread, display_piece},
    {"merge_standard", false, Where::any_thread, merge_piece},
};

} // namespace

std::span<const Area> areas() {
    return all_areas;
}

void prepare_work() {
    api().qfdCalcBGCurve();
}

Field::Field(Random &random, std::size_t size)
    : memory_(size + 48, 0xEE), begin_(16 + random.below(16)), size_(size) {
    constexpr std::uint8_t levels[] = {0, 1, 126, 127, 128, 254, 255, 85};
    const std::size_t kind = random.below(5);
    const std::uint8_t first = random.byte();
    for (std::size_t done = 0; done < size; done += 8) {
        const std::uint64_t number = random.next();
        std::uint8_t bytes[8];
        std::memcpy(bytes, &number, sizeof bytes);
        if (kind == 1)
            for (std::uint8_t &byte : bytes)
                byte = levels[byte % std::size(levels)];
        else if (kind == 2)
            for (std::uint8_t &byte : bytes)
                byte = byte < 128 ? 0 : 255;
        else if (kind == 3)
            std::memset(bytes, first, sizeof bytes);
        std::memcpy(data() + done, bytes, std::min<std::size_t>(8, size - done));
    }
}

} // namespace q32::test
