// Floor, logarithm, square root and ln |gamma| against MPFR: around every place where the method changes, and beside
// every zero.

#include "nvo_ark/scalar.h"
#include "tools/support/mp.h"

#include <bit>
#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using nvo::tools::Mp;
using Values = std::vector<double>;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double least = std::numeric_limits<double>::denorm_min(), least_normal = std::numeric_limits<double>::min();
constexpr double largest = std::numeric_limits<double>::max();
const double nan = std::nan("");

bool same_bits(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

double lgamma_exactly(double x, mpfr_ptr y) {
    int sign;
    Mp a(x, 64);
    mpfr_lgamma(y, &sign, a.get(), MPFR_RNDN);
    return mpfr_get_d(y, MPFR_RNDN);
}
double ln_exactly(double x, mpfr_ptr y) {
    Mp a(x, 64);
    mpfr_log(y, a.get(), MPFR_RNDN);
    return mpfr_get_d(y, MPFR_RNDN);
}
double root_exactly(double x, mpfr_ptr y) {
    Mp a(x, 64);
    mpfr_sqrt(y, a.get(), MPFR_RNDN);
    return mpfr_get_d(y, MPFR_RNDN);
}

// |y - exact|, absolute and in ulp of a format with the given bits.
struct Error {
    double absolute, ulp;
};
Error error_of(double y, double (*exactly)(double, mpfr_ptr), double x, int bits = 53) {
    Mp exact(0.0, 128);
    const double want = exactly(x, exact.get());
    mpfr_d_sub(exact.get(), y, exact.get(), MPFR_RNDN);
    const double absolute = std::fabs(mpfr_get_d(exact.get(), MPFR_RNDN));
    if (absolute == 0) return {0, 0};
    return {absolute, absolute / std::ldexp(1.0, std::ilogb(want) - bits + 1)};
}

void expect_ulp(const Values& arguments, double (*f)(double), double (*exactly)(double, mpfr_ptr), double bound) {
    for (const double x : arguments) {
        const double y = f(x);
        const Error error = error_of(y, exactly, x);
        ASSERT_LE(error.ulp, bound) << std::hexfloat << "x " << x << ", got " << y;
    }
}

Values neighbours(double x, int count) {
    Values values = {x};
    double below = x, above = x;
    for (int k = 0; k < count; ++k) {
        values.push_back(below = std::nextafter(below, -infinity));
        values.push_back(above = std::nextafter(above, infinity));
    }
    return values;
}
Values evenly(double lo, double hi, int count) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> inside(lo, hi);
    Values values;
    for (int k = 0; k < count; ++k) values.push_back(inside(random));
    return values;
}
// Positive normal numbers of all exponents, and both ends of each of 256 parts of a binade.
Values all_exponents() {
    std::mt19937_64 random(8);
    Values values = {least_normal, largest};
    for (int e = -1022; e < 1024; ++e)
        for (int k = 0; k < 12; ++k) values.push_back(std::ldexp(1 + static_cast<double>(random() >> 12) * 0x1p-52, e));
    for (const int e : {-7, -2, 2, 3}) {
        for (int part = 0; part < 256; ++part)
            for (const double x : neighbours(std::ldexp(1 + part / 256.0, e), 1)) values.push_back(x);
    }
    return values;
}
Values joined(std::initializer_list<Values> parts) {
    Values all;
    for (const Values& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

TEST(Floor, IsExact) {
    std::mt19937_64 random(1);
    Values values = {0.0,     -0.0,     0.5,          -0.5,          2.5,          -2.5,          1,         -1,
                     -least,  least,    0x1p52,       -0x1p52,       0x1p52 - 0.5, 0.5 - 0x1p52,  -infinity, infinity,
                     largest, -largest, 0x1p51 + 0.5, -0x1p51 - 0.5, 0x1p63,       -0x1p31 - 0.25};
    for (int k = -60; k <= 60; ++k)
        for (const double x : neighbours(k, 2)) values.push_back(x);
    for (int k = 0; k < 100000; ++k) {
        const double x = std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 66) - 60);
        values.push_back(k % 2 == 0 ? x : -x);
    }
    for (const double x : values)
        ASSERT_TRUE(same_bits(std::floor(x), __ostdFloor(x))) << std::hexfloat << x << " " << __ostdFloor(x);
    EXPECT_TRUE(std::isnan(__ostdFloor(nan)));
    EXPECT_TRUE(std::isnan(__ostdFloor(-nan)));
}

TEST(Logarithm, SpecialArguments) {
    for (const double zero : {0.0, -0.0}) {
        EXPECT_EQ(-infinity, __ostdLn(zero));
        EXPECT_EQ(-infinity, __ostsLn(static_cast<float>(zero)));
    }
    for (const double negative : {-least, -1.0, -largest, -infinity}) EXPECT_TRUE(std::isnan(__ostdLn(negative)));
    EXPECT_TRUE(std::isnan(__ostdLn(nan)));
    EXPECT_TRUE(std::isnan(__ostsLn(-1)));
    EXPECT_EQ(infinity, __ostdLn(infinity));
    EXPECT_TRUE(same_bits(0.0, __ostdLn(1)));
}

// From 0.5 to 0.984375 -ln 2 and a row of the table cancel: the bound there is an absolute one.
TEST(Logarithm, StaysWithinItsBounds) {
    const Values values = joined({all_exponents(),
                                  evenly(0.984375, 1.015625, 40000),
                                  evenly(1, 1.0004, 20000),
                                  evenly(0.25, 0.5, 100000),
                                  evenly(0.5, 0.984375, 100000),
                                  neighbours(0.5, 50),
                                  neighbours(0.984375, 50),
                                  neighbours(1, 200),
                                  neighbours(1 + 0x1.8p-12, 50),
                                  neighbours(1.015625, 50),
                                  neighbours(2, 50),
                                  evenly(least, least_normal, 2000),
                                  {least, 3 * least},
                                  neighbours(least_normal, 5)});
    for (const double x : values) {
        const double y = __ostdLn(x);
        const Error error = error_of(y, ln_exactly, x);
        const bool cancels = x >= 0.5 && x < 0.984375;
        ASSERT_LE(cancels ? error.absolute : error.ulp, cancels ? 1.7e-16 : 2.5) << std::hexfloat << x << " " << y;
    }
}

TEST(Logarithm, OfFloatsIsNearlyTheNearest) {
    std::mt19937 random(2);
    for (int k = 0; k < 100000; ++k) {
        const float x = std::bit_cast<float>(static_cast<std::uint32_t>(random() % 0x7F800000));
        const double y = __ostsLn(x);
        if (x == 0) continue;
        ASSERT_LE(error_of(y, ln_exactly, x, 24).ulp, 0.51) << std::hexfloat << x;
    }
    for (const float x : {0x1p-149F, 0.5F, 0x1.fffffep-1F, 0x1.000002p+0F, 0x1.fffffep+127F})
        EXPECT_LE(error_of(__ostsLn(x), ln_exactly, x, 24).ulp, 0.51) << std::hexfloat << x;
}

TEST(SquareRoot, StaysWithinItsBound) {
    expect_ulp(joined({all_exponents(), evenly(1, 4, 100000), neighbours(1, 20), neighbours(4, 20), {largest}}),
               __ostdSqrt, root_exactly, 2);
    EXPECT_TRUE(same_bits(0.0, __ostdSqrt(0.0)));
}

constexpr double lgamma_bound = 0.6;

TEST(LogOfGamma, SpecialArguments) {
    for (const double pole :
         {0.0, -0.0, -1.0, -2.0, -3.0, -14.0, -15.0, -16.0, -17.0, -512.0, -0x1p40, -0x1p53, -largest})
        EXPECT_EQ(infinity, __ostdLGamma(pole)) << pole;
    EXPECT_EQ(infinity, __ostdLGamma(infinity));
    EXPECT_EQ(infinity, __ostdLGamma(-infinity));
    EXPECT_TRUE(std::isnan(__ostdLGamma(nan)));
    EXPECT_TRUE(same_bits(0.0, __ostdLGamma(1)));
    EXPECT_EQ(0.0, __ostdLGamma(2));
    const double last_finite = 0x1.754d9278b51a7p+1014;
    EXPECT_EQ(largest, __ostdLGamma(last_finite));
    EXPECT_EQ(infinity, __ostdLGamma(std::nextafter(last_finite, infinity)));
}

TEST(LogOfGamma, StaysWithinItsBound) {
    Values values = joined({evenly(0, 4, 8000), evenly(4, 16, 4000), evenly(16, 600, 4000), evenly(-20, 0, 12000),
                            evenly(-600, -17, 4000), evenly(-0x1p45, -1000, 500)});
    for (const double edge :
         {0.875, 1.0, 1.25, 1.4616321449683622, 1.75, 2.0, 2.25, 4.0, 8.0, 16.0, 32.0, 64.0, 128.0, 256.0})
        for (const double x : neighbours(edge, 30)) values.push_back(x);
    for (int k = 1; k < 19; ++k) // and the poles
        for (const double x : neighbours(-k, 30)) values.push_back(x);
    for (const double edge : {-256.0, -512.0, -0x1p51})
        for (const double x : neighbours(edge, 3)) values.push_back(x);
    for (int e = -1074; e < 1014; e += 3) {
        values.push_back(std::ldexp(1.0, e));
        if (e < 0) values.push_back(-std::ldexp(1.0, e));
    }
    std::erase_if(values, [](double x) { return x <= 0 && x == std::floor(x); });
    expect_ulp(values, __ostdLGamma, lgamma_exactly, lgamma_bound);
}

// The double next to the zero between two arguments.
double zero_between(double positive, double negative) {
    Mp y(0.0, 128);
    for (double middle = positive; (middle = positive + (negative - positive) / 2) != positive && middle != negative;)
        (lgamma_exactly(middle, y.get()) > 0 ? positive : negative) = middle;
    return negative;
}

TEST(LogOfGamma, KeepsItsRelativeAccuracyBesideItsZeros) {
    for (int k = -3; k > -18; --k) {
        for (const double pole : {k, k + 1}) {
            const double middle = k + 0.5, zero = zero_between(std::nextafter(pole, middle), middle);
            const double reach = std::fabs(zero - pole);
            const double bound = k >= -15 ? lgamma_bound : 0x1p-52; // beyond, doubles are too coarse to come near
            for (const double x : joined({neighbours(zero, 40), evenly(zero - reach / 4, zero + reach / 4, 300)})) {
                if (x == std::floor(x)) continue;
                const Error error = error_of(__ostdLGamma(x), lgamma_exactly, x);
                ASSERT_LE(k >= -15 ? error.ulp : error.absolute, bound) << std::hexfloat << x;
            }
        }
    }
}

// The extended format leaves room for any direction in all but the last rounding; a pole stays one, and nothing becomes
// one.
TEST(LogOfGamma, WorksInAllDirections) {
    const int saved = std::fegetround();
    for (const int direction : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        for (const double x : {-2.5, -3.75, -7.1, -16.9, -17.3, -600.75, -0.25, 0.3, 1.1, 1.5, 2.1, 3.3, 100.0, 1e10}) {
            std::fesetround(direction);
            const double y = __ostdLGamma(x);
            std::fesetround(saved);
            EXPECT_LE(error_of(y, lgamma_exactly, x).ulp, 1.1) << direction << " " << x;
        }
        std::fesetround(direction);
        const double at_pole = __ostdLGamma(-7);
        std::fesetround(saved);
        EXPECT_EQ(infinity, at_pole);
    }
}

} // namespace
