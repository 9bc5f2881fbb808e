// Conversions to and from binary16, against a search in the sorted list of all halves.

#include "nvo_ark/vector_math.h"

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

// Value of a half by its definition; 2^16 for infinity, as rounding sees it.
double defined_value(unsigned half) {
    const int exponent = half >> 10 & 0x1F;
    const int fraction = half & 0x3FF;
    const double magnitude = exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
    return (half & 0x8000) != 0 ? -magnitude : magnitude;
}

// x rounded to a half by its two neighbours.
unsigned rounded_by_search(double x, int direction) {
    static const std::vector<double> magnitudes = [] {
        std::vector<double> all;
        for (unsigned half = 0; half <= 0x7C00; ++half) all.push_back(defined_value(half));
        return all;
    }();
    const unsigned sign = std::signbit(x) ? 0x8000 : 0;
    const double magnitude = std::fabs(x);
    const auto above = std::lower_bound(magnitudes.begin(), magnitudes.end(), magnitude);
    if (magnitude >= magnitudes.back()) { // from 2^16 on
        const bool to_infinity = direction == FE_TONEAREST || direction == (sign != 0 ? FE_DOWNWARD : FE_UPWARD);
        return sign | (to_infinity || std::isinf(x) ? 0x7C00 : 0x7BFF);
    }
    const auto up = static_cast<unsigned>(above - magnitudes.begin());
    if (*above == magnitude) return sign | up;
    const unsigned down = up - 1;
    bool away = direction == (sign != 0 ? FE_DOWNWARD : FE_UPWARD);
    if (direction == FE_TONEAREST) {
        const double below_by = magnitude - magnitudes[down];
        const double above_by = magnitudes[up] - magnitude;
        away = above_by < below_by || (above_by == below_by && (up & 1) == 0);
    }
    return sign | (away ? up : down);
}

TEST(Half, EveryHalfWidensExactlyAndComesBack) {
    for (unsigned half = 0; half < 0x10000; ++half) {
        const double wide = __vlang_math_fp16to64(static_cast<std::uint16_t>(half));
        if ((half & 0x7C00) != 0x7C00) {
            EXPECT_EQ(std::bit_cast<std::uint64_t>(defined_value(half)), std::bit_cast<std::uint64_t>(wide)) << half;
        }
        const bool is_nan = (half & 0x7FFF) > 0x7C00;
        EXPECT_EQ(is_nan, std::isnan(wide)) << half;
        EXPECT_EQ((half & 0x7FFF) == 0x7C00, std::isinf(wide)) << half;
        EXPECT_EQ(is_nan ? half | 0x200 : half, __vlang_math_fp64to16(wide)) << half; // NaNs become quiet
    }
}

TEST(Half, NarrowingRoundsOnceInTheCurrentDirection) {
    std::mt19937_64 random(7);
    std::vector<double> inputs = {0x1p-25,
                                  0x1.0000000000001p-25,
                                  0x1p-24,
                                  0x1p-14,
                                  0x1.ffep15,
                                  0x1.ffefffffffffp15,
                                  0x1.fffp15,
                                  0x1p16,
                                  0x1p17,
                                  0x1p1023,
                                  0x1p-1074,
                                  0x1p-1022,
                                  0.0,
                                  1e300,
                                  std::numeric_limits<double>::infinity()};
    for (int i = 0; i < 20000; ++i) {
        const int exponent = static_cast<int>(random() % 48) - 30;
        inputs.push_back(std::ldexp(1 + std::ldexp(static_cast<double>(random() >> 12), -52), exponent));
        // A tie and its neighbours.
        const double tie = (defined_value(i % 0x7BFF) + defined_value(i % 0x7BFF + 1)) / 2;
        for (double x : {tie, std::nextafter(tie, 0), std::nextafter(tie, 1e9)}) inputs.push_back(x);
    }
    for (int direction : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
        for (double magnitude : inputs) {
            for (double x : {magnitude, -magnitude}) {
                const unsigned expected = rounded_by_search(x, direction);
                std::fesetround(direction);
                const unsigned narrowed = __vlang_math_fp64to16(x);
                std::fesetround(FE_TONEAREST);
                ASSERT_EQ(expected, narrowed) << std::hexfloat << x << " in direction " << direction;
            }
        }
    }
}

} // namespace
