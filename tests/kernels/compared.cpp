// What was compared until the program ends.
#include "tests/kernels/compared.h"

#include "tests/frame/figures.h"

#include <gtest/gtest.h>

namespace q32::test {
namespace {

std::uint64_t pixels_compared = 0;

void tell() {
    figures::count("pixels compared, wide against scalar", pixels_compared);
}
[[maybe_unused]] const bool told_at_the_end = (figures::at_the_end(tell), true);

bool is_scalar(std::string_view name) {
    return name.find("scalar") != name.npos;
}

} // namespace

void count_compared(std::string_view form, std::size_t pixels) {
    if (!figures::wanted())
        return;
    if (!is_scalar(form) &&
        !is_scalar(testing::UnitTest::GetInstance()->current_test_info()->name()))
        pixels_compared += pixels;
}

} // namespace q32::test
