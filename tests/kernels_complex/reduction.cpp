// Reduction by pi/4 against 4/pi to 20000 bits.

#include "nvo_ark/scalar.h"
#include "tests/kernels_complex/quarter_turns.h"

#include <gtest/gtest.h>

namespace {

using namespace nvo::tests;
using nvo::tools::Mp;

// x less its nearest multiple of pi/2, and the multiple of pi/4 modulo 8.
struct Exact {
    Mp rest;
    int octant;
};
Exact reduced(long double x) {
    Mp n(0.0, bits), turns(0.0, bits);
    mpfr_rint((n).get(), (exactly(x) / (quarter_pi() * Mp(2.0))).get(), MPFR_RNDN);
    mpfr_fmod(turns.get(), n.get(), Mp(4.0).get(), MPFR_RNDN);
    return {exactly(x) - n * Mp(2.0) * quarter_pi(), (static_cast<int>(turns.to_double()) * 2 + 8) % 8};
}

// The pair's relative error, or -1 for a wrong octant.
double error_of(long double x, int count) {
    long double out[2];
    const int octant = nvo_ark_kernel_reduce_pi04l(count, out, x);
    const Exact exact = reduced(x);
    if (octant != exact.octant) return -1;
    return std::fabs(((exactly(out[0]) - exact.rest + exactly(out[1])) / exact.rest).to_double());
}

TEST(Reduction, OfHardArguments) {
    double worst = 0, nearest = 1;
    for (int e = 0; e < 16384; e += e < 40 ? 1 : 37) {
        const long double x = hardest(e);
        nearest = std::min(nearest, std::fabs(reduced(x).rest.to_double()));
        const double error = error_of(x, 5);
        ASSERT_GE(error, 0) << text(x);
        worst = std::max(worst, error);
    }
    std::printf("nearest 2^%.1f, error 2^%.1f\n", std::log2(nearest), std::log2(worst));
    EXPECT_LT(nearest, 0x1p-60);
    EXPECT_LT(worst, 0x1p-70);
}

TEST(Reduction, OfSamples) {
    Samples samples(0x1p-10L, Extended::max(), true);
    double worst = 0;
    for (int i = 0; i < 4000; ++i) {
        const long double x = samples.next();
        const double error = error_of(x, 5);
        ASSERT_GE(error, 0) << text(x);
        worst = std::max(worst, error);
    }
    for (const long double x : {0x1p28L, 0x1p29L, 0x1p33L, 0x1p34L, 0x1p64L, Extended::max()}) {
        for (int k = -2; k <= 0; ++k) {
            const double error = error_of(neighbour(x, k), 5);
            ASSERT_GE(error, 0) << text(x);
            worst = std::max(worst, error);
        }
    }
    std::printf("error 2^%.1f\n", std::log2(worst));
    EXPECT_LT(worst, 0x1p-70);
}

// Fewer digits leave an error of their own size, and a count out of range is one of the ends.
TEST(Reduction, TakesTheDigitsAskedFor) {
    const long double x = 0x1.23456789abcdefp1000L;
    EXPECT_GT(error_of(x, 0), error_of(x, 1));
    EXPECT_GT(error_of(x, 1), error_of(x, 5));
    EXPECT_EQ(error_of(x, -7), error_of(x, 0));
    EXPECT_EQ(error_of(x, 100), error_of(x, 5));
}

} // namespace
