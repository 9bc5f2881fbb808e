// Ln, Log2, Log10.

#include "kernels/real/log_routine.h"
#include "tests/support/special_cases.h"

#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using namespace nvo::tests;

TEST_F(SpecialValues, Logarithms) {
    for (const char* op : {"Ln", "Log2", "Log10"}) {
        const Case both[] = {
            {op, 1, 0, 0.0, 0, 0},
            {op, 0.0, 0, -inf, 0, ARK_STATUS_SINGULARITY},
            {op, -0.0, 0, -inf, 0, ARK_STATUS_SINGULARITY},
            {op, -1, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
            {op, -0x1p-149, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
            {op, -inf, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
            {op, inf, 0, inf, 0, 0},
            {op, quiet_nan, 0, quiet_nan, 0, 0},
        };
        check_cases("sd", both);
    }
    const Case denormal_doubles[] = {{"Ln", -0x1p-1074, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
                                     {"Log2", -0x1p-1074, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
                                     {"Log10", -0x1p-1074, 0, quiet_nan, 0, ARK_STATUS_DOMAIN}};
    check_cases("d", denormal_doubles);
}

// Where the control register makes zeros of denormals, their logarithms have a pole.
TEST_F(SpecialValues, LogarithmsOfFlushedDenormals) {
    nvo_ark_kernel_SetMode(ARK_ERRMODE_IGNORE | ARK_DENORMALS_FLUSH);
    for (const char* op : {"Ln", "Log2", "Log10"}) {
        for (const std::string form : {"", "I"}) {
            const auto narrow = one<float>("s" + (op + form), 0x1p-149F, 0);
            EXPECT_EQ(-inf, narrow.y);
            EXPECT_EQ(ARK_STATUS_SINGULARITY, narrow.status);
            const auto wide = one<double>("d" + (op + form), -0x1p-1074, 0);
            EXPECT_EQ(-inf, wide.y);
            EXPECT_EQ(ARK_STATUS_SINGULARITY, wide.status);
        }
    }
}

TEST_F(SpecialValues, Log2OfPowersOfTwoIsExact) {
    std::vector<Case> floats, doubles;
    for (int k = -149; k < 128; ++k) floats.push_back({"Log2", std::ldexp(1.0, k), 0, double(k), 0, 0});
    for (int k = -1074; k < 1024; ++k) doubles.push_back({"Log2", std::ldexp(1.0, k), 0, double(k), 0, 0});
    check_cases("s", floats);
    check_cases("d", doubles);
}

// A quiet NaN is no invalid operation, in the lanes or in the routine.
TEST_F(SpecialValues, LogarithmsOfQuietNaNsRaiseNoFlag) {
    for (const char* row : {"sLn", "sLog2", "sLog10", "sLnI", "sLog2I", "sLog10I"}) {
        std::feclearexcept(FE_ALL_EXCEPT);
        EXPECT_TRUE(std::isnan(one<float>(row, static_cast<float>(quiet_nan), 0).y)) << row;
        EXPECT_EQ(0, std::fetestexcept(FE_INVALID)) << row;
    }
    for (const char* row : {"dLn", "dLog2", "dLog10", "dLnI", "dLog2I", "dLog10I"}) {
        std::feclearexcept(FE_ALL_EXCEPT);
        EXPECT_TRUE(std::isnan(one<double>(row, quiet_nan, 0).y)) << row;
        EXPECT_EQ(0, std::fetestexcept(FE_INVALID)) << row;
    }
}

// The lanes leave only denormals to the routine, but it is good for all positive numbers: at both sides of the switch
// to a polynomial alone, and where the rounded reciprocals change.
TEST(LogRoutine, IsGoodForAllPositiveNumbers) {
    std::mt19937_64 random(1);
    const auto check = [](double x) {
        const long double exact = std::log(static_cast<long double>(x));
        const double y = nvo::log_of_positive<nvo::LnBase>(x);
        const long double ulp = std::nextafter(std::abs(y), inf) - std::abs(y);
        ASSERT_LE(std::abs(y - exact), 0.6L * ulp) << std::hexfloat << x;
    };
    for (int i = 0; i < 100000; ++i) {
        const double fraction = 0x1p-53 * static_cast<double>(random() >> 11);
        check(0.9 + 0.2 * fraction);
        check(1 + fraction);
        check(std::ldexp(1 + fraction, static_cast<int>(random() % 2000) - 1000));
    }
    for (int j = 1; j < 128; j += 2) {
        check(1 + j / 128.0);
        check(std::nextafter(1 + j / 128.0, 0.0));
    }
    for (const double near : {1 - 0.009765625, 1 + 0.009765625}) {
        for (const double x : {std::nextafter(near, 0.0), near, std::nextafter(near, 2.0)}) check(x);
    }
    EXPECT_EQ(0, nvo::log_of_positive<nvo::LnBase>(1));
}

} // namespace
