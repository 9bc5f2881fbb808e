// Expm1, Log1p, Logb.

#include "tests/support/special_cases.h"

#include <bit>
#include <cfenv>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using namespace nvo::tests;

constexpr double largest_float = 0x1.fffffep127;

const Case both[] = {
    {"Expm1", 0.0, 0, 0.0, 0, 0},
    {"Expm1", -0.0, 0, -0.0, 0, 0},
    {"Expm1", 1e-30, 0, 1e-30, 0, 0},
    {"Expm1", -0x1p-148, 0, -0x1p-148, 0, 0},
    {"Expm1", -50, 0, -1, 0, 0},
    {"Expm1", -1e30, 0, -1, 0, 0},
    {"Expm1", -inf, 0, -1, 0, 0},
    {"Expm1", inf, 0, inf, 0, 0},
    {"Expm1", quiet_nan, 0, quiet_nan, 0, 0},

    {"Log1p", 0.0, 0, 0.0, 0, 0},
    {"Log1p", -0.0, 0, -0.0, 0, 0},
    {"Log1p", 1e-30, 0, 1e-30, 0, 0},
    {"Log1p", 0x1p-148, 0, 0x1p-148, 0, 0},
    {"Log1p", -1, 0, -inf, 0, ARK_STATUS_SINGULARITY},
    {"Log1p", -0x1.000002p0, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"Log1p", -inf, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"Log1p", inf, 0, inf, 0, 0},
    {"Log1p", quiet_nan, 0, quiet_nan, 0, 0},

    {"Logb", 0.0, 0, -inf, 0, ARK_STATUS_DOMAIN},
    {"Logb", -0.0, 0, -inf, 0, ARK_STATUS_DOMAIN},
    {"Logb", inf, 0, inf, 0, 0},
    {"Logb", -inf, 0, inf, 0, 0},
    {"Logb", quiet_nan, 0, quiet_nan, 0, 0},
    {"Logb", -1, 0, 0.0, 0, 0},
    {"Logb", 0x1.fffffep0, 0, 0.0, 0, 0},
    {"Logb", 0x1.fffffep-1, 0, -1, 0, 0},
    {"Logb", largest_float, 0, 127, 0, 0},
    {"Logb", 0x1p-126, 0, -126, 0, 0},
    {"Logb", 0x1p-149, 0, -149, 0, 0},
    {"Logb", -0x1.8p-128, 0, -128, 0, 0},
};

const Case floats[] = {
    {"Expm1", 0x1.62e42ep6, 0, 0x1.ffff08p127, 0, 0}, // the last that doesn't overflow
    {"Log1p", largest_float, 0, 0x1.62e43p6, 0, 0},
    {"Log1p", -0x1.fffffep-1, 0, -0x1.0a2b24p4, 0, 0}, // -24 ln 2
    {"Logb", 1e-40, 0, -133, 0, 0},
};

const Case doubles[] = {
    {"Expm1", 709.782712893384, 0, 0x1.fffffffffff2ap+1023, 0, 0},
    {"Expm1", 0x1.62e42fefa39fp9, 0, inf, 0, ARK_STATUS_OVERFLOW},
    {"Expm1", 0x1p-1074, 0, 0x1p-1074, 0, 0},
    {"Log1p", 0x1.fffffffffffffp1023, 0, 0x1.62e42fefa39efp9, 0, 0},
    {"Log1p", -0x1.fffffffffffffp-1, 0, -0x1.25e4f7b2737fap5, 0, 0}, // -53 ln 2
    {"Logb", 0x1p-1022, 0, -1022, 0, 0},
    {"Logb", -0x1p-1074, 0, -1074, 0, 0},
    {"Logb", 0x1.fffffffffffffp1023, 0, 1023, 0, 0},
};

TEST_F(SpecialValues, Expm1Log1pLogb) {
    check_cases("sd", both);
    check_cases("s", floats);
    check_cases("d", doubles);
}

// The unit-stride row works in doubles, and has their limit; the strided row has that of floats.
TEST_F(SpecialValues, Expm1OfFloatsOverflowsByFormWithAndWithoutStatus) {
    for (const double x : {88.73, 89.0, 709.0}) {
        check_case<float>({"", x, 0, inf, 0, 0}, "sExpm1");
        check_case<float>({"", x, 0, inf, 0, ARK_STATUS_OVERFLOW}, "sExpm1I");
    }
    check_case<float>({"", 710, 0, inf, 0, ARK_STATUS_OVERFLOW}, "sExpm1");
}

// ---- Blocks against single elements --------------------------------------------------------------------------------

struct Outcome {
    std::vector<std::uint64_t> patterns;
    int flags;
};

template <class T> Outcome run_as(const std::string& row, int direction, const std::vector<T>& a, int calls_of) {
    std::vector<T> y(a.size());
    std::fesetround(direction);
    std::feclearexcept(FE_ALL_EXCEPT);
    for (std::size_t i = 0; i < a.size(); i += calls_of)
        call(row_of(row), calls_of, Arguments<T>{.a = &a[i], .y = &y[i]});
    const int flags = std::fetestexcept(FE_ALL_EXCEPT);
    std::fesetround(FE_TONEAREST);
    std::feclearexcept(FE_ALL_EXCEPT);
    std::vector<std::uint64_t> patterns;
    for (const T x : y) {
        if constexpr (sizeof(T) == 4) patterns.push_back(std::bit_cast<std::uint32_t>(x));
        if constexpr (sizeof(T) == 8) patterns.push_back(std::bit_cast<std::uint64_t>(x));
    }
    return {patterns, flags};
}

template <class T> std::vector<T> arguments_for_blocks() {
    std::vector<T> a;
    // Exponents from where the result is the argument to where it is a limit; both signs.
    std::mt19937_64 random(7);
    for (int e = -60; e <= 12; ++e) {
        for (int i = 0; i < 8; ++i)
            a.push_back(std::ldexp(T(1 + (random() >> 40) * 0x1p-24), e) * (i % 2 == 0 ? 1 : -1));
    }
    // Where formulas change: thresholds of the text of either function, and their neighbours.
    for (const double x : {0x1p-57, 0x1p-13, 0x1p-8, 0x1p-6, 0x1.24p-4, 0x1.2388ep5, 0x1.419edp5, 0x1.586f2p5,
                           0x1.5a92dp6, 709.375, 709.4375, 0x1p54, 0x1p55, 1.0, 0.0, inf, quiet_nan}) {
        for (const double sign : {1, -1}) {
            const T t = static_cast<T>(sign * x);
            a.insert(a.end(), {std::nextafter(t, T(-inf)), t, std::nextafter(t, T(inf)), T(0.5)});
        }
    }
    a.resize(a.size() / 4 * 4);
    return a;
}

// A block has the bits, and the flags, of its elements one by one, whatever the caller's rounding direction.
template <class T> void check_blocks(const std::string& row) {
    const std::vector<T> all = arguments_for_blocks<T>();
    for (const int direction : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        for (std::size_t i = 0; i < all.size(); i += 4) {
            const std::vector<T> a(all.begin() + i, all.begin() + i + 4);
            const Outcome block = run_as(row, direction, a, 4);
            const Outcome single = run_as(row, direction, a, 1);
            ASSERT_EQ(single.patterns, block.patterns) << row << " from " << a[0] << ", direction " << direction;
            ASSERT_EQ(single.flags, block.flags) << row << " from " << a[0] << ", direction " << direction;
        }
    }
}

TEST_F(SpecialValues, BlocksOfExpm1AndLog1pAreTheirElements) {
    check_blocks<float>("sExpm1");
    check_blocks<double>("dExpm1");
    check_blocks<float>("sLog1p");
    check_blocks<double>("dLog1p");
}

// Results that are known without rounding raise nothing.
TEST_F(SpecialValues, ExactResultsOfExpm1AndLog1pRaiseNoFlag) {
    for (const double x : {0.0, inf, quiet_nan, 0x1p-60, -0x1p-60}) {
        EXPECT_EQ(0, run_as<float>("sExpm1", FE_TONEAREST, {float(x)}, 1).flags) << x;
        EXPECT_EQ(0, run_as<double>("dExpm1", FE_TONEAREST, {x}, 1).flags) << x;
        EXPECT_EQ(0, run_as<float>("sLog1p", FE_TONEAREST, {float(x)}, 1).flags) << x;
        EXPECT_EQ(0, run_as<double>("dLog1p", FE_TONEAREST, {x}, 1).flags) << x;
    }
    EXPECT_EQ(FE_INEXACT, run_as<double>("dExpm1", FE_TONEAREST, {-800.0}, 1).flags);
    EXPECT_EQ(FE_INEXACT, run_as<double>("dExpm1", FE_TONEAREST, {-100.0, -500, -700, -90}, 4).flags);
    EXPECT_EQ(FE_INEXACT | FE_OVERFLOW, run_as<float>("sExpm1", FE_TONEAREST, {89.0F}, 1).flags);
}

} // namespace
