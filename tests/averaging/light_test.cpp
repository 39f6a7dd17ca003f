// The curve between stored values and light, and division by a fixed number.
#include "apps/pictures/divisor.h"
#include "apps/pictures/light.h"
#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

namespace apps {
namespace {

TEST(LightCurve, HasTheValuesOfTheStandard) {
    const LightCurve &curve = light_curve();
    EXPECT_EQ(curve.light[0], 0);
    EXPECT_EQ(curve.light[1], 20);      // 65535 / 255 / 12.92 = 19.89
    EXPECT_EQ(curve.light[10], 199);    // the last on the straight line: 198.92
    EXPECT_EQ(curve.light[11], 219);    // the first on the curve: 219.32
    EXPECT_EQ(curve.light[128], 14146); // 0.215861
    EXPECT_EQ(curve.light[188], 32957); // 0.502886
    EXPECT_EQ(curve.light[255], 65535);
    EXPECT_EQ(curve.stored[32767], 188); // half the light
}

TEST(LightCurve, BringsEveryStoredValueBack) {
    for (int stored = 0; stored < 256; ++stored)
        EXPECT_EQ(light_curve().stored[light_curve().light[size_t(stored)]], stored);
}

TEST(LightCurve, StoresTheNearestValue) {
    for (int light = 0; light < 65536; ++light) {
        const double value = light / 65535.0;
        const double stored =
            255 * (value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1 / 2.4) - 0.055);
        EXPECT_EQ(light_curve().stored[size_t(light)], std::lround(stored)) << light;
    }
}

void expect_divides(uint64_t divisor, uint64_t most, uint64_t number) {
    const Divisor by(divisor, most);
    if (number > most)
        return;
    ASSERT_EQ(by.quotient(number), number / divisor) << number << " / " << divisor;
    if (number + divisor / 2 <= most) {
        ASSERT_EQ(by.rounded(number), number / divisor + (number % divisor * 2 >= divisor ? 1 : 0))
            << number << " / " << divisor;
    }
}

// Around multiples, where an estimate is wrong first; of every length of number.
TEST(Divisor, IsExact) {
    q32::test::random_cases(40000, [](q32::test::Random &random, uint64_t number) {
        SCOPED_TRACE(q32::test::rerun(number));
        const uint64_t divisor = (random.next() >> (18 + random.below(46))) + 1;
        const uint64_t most_quotient = random.below(2) ? 256 : 65536;
        const uint64_t most = divisor * most_quotient;
        for (uint64_t quotient : {uint64_t{0}, uint64_t{1}, most_quotient / 2, most_quotient - 1,
                                  random.next() % most_quotient}) {
            const uint64_t at = quotient * divisor;
            for (uint64_t beside : {at, at + 1, at - 1, at + divisor / 2, at + divisor / 2 - 1,
                                    at + random.next() % divisor})
                expect_divides(divisor, most, beside);
        }
        return !testing::Test::HasFailure();
    });
}

} // namespace
} // namespace apps
