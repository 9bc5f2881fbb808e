// InvSqrt, Cbrt, InvCbrt, Pow2o3, Pow3o2, Hypot.

#include "tests/support/special_cases.h"

#include <cfenv>

namespace {

using namespace nvo::tests;

const Case both[] = {
    {"InvSqrt", 4, 0, 0.5, 0, 0},
    {"InvSqrt", 0.0, 0, inf, 0, ARK_STATUS_SINGULARITY},
    {"InvSqrt", -0.0, 0, -inf, 0, ARK_STATUS_SINGULARITY},
    {"InvSqrt", -1, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"InvSqrt", -inf, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"InvSqrt", inf, 0, 0.0, 0, 0},
    {"InvSqrt", quiet_nan, 0, quiet_nan, 0, 0},
    {"InvSqrt", 0x1p-148, 0, 0x1p74, 0, 0},
    {"Cbrt", -8, 0, -2, 0, 0},
    {"Cbrt", 0x1p-126, 0, 0x1p-42, 0, 0}, // the smallest normal float
    {"Cbrt", 0x1p-147, 0, 0x1p-49, 0, 0},
    {"Cbrt", 0.0, 0, 0.0, 0, 0},
    {"Cbrt", -0.0, 0, -0.0, 0, 0},
    {"Cbrt", inf, 0, inf, 0, 0},
    {"Cbrt", -inf, 0, -inf, 0, 0},
    {"Cbrt", quiet_nan, 0, quiet_nan, 0, 0},
    {"InvCbrt", -8, 0, -0.5, 0, 0},
    {"InvCbrt", -0x1p-147, 0, -0x1p49, 0, 0},
    {"InvCbrt", 0.0, 0, inf, 0, ARK_STATUS_SINGULARITY},
    {"InvCbrt", -0.0, 0, -inf, 0, ARK_STATUS_SINGULARITY},
    {"InvCbrt", inf, 0, 0.0, 0, 0},
    {"InvCbrt", -inf, 0, -0.0, 0, 0},
    {"InvCbrt", quiet_nan, 0, quiet_nan, 0, 0},
    {"Pow2o3", -8, 0, 4, 0, 0},
    {"Pow2o3", -0x1p-147, 0, 0x1p-98, 0, 0},
    {"Pow2o3", -0.0, 0, 0.0, 0, 0},
    {"Pow2o3", -inf, 0, inf, 0, 0},
    {"Pow2o3", inf, 0, inf, 0, 0},
    {"Pow2o3", quiet_nan, 0, quiet_nan, 0, 0},
    {"Pow3o2", 4, 0, 8, 0, 0},
    {"Pow3o2", 0.0, 0, 0.0, 0, 0},
    {"Pow3o2", -0.0, 0, 0.0, 0, 0},
    {"Pow3o2", -1, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"Pow3o2", -inf, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"Pow3o2", inf, 0, inf, 0, 0},
    {"Pow3o2", quiet_nan, 0, quiet_nan, 0, 0},
    {"Hypot", -3, 4, 5, 0, 0},
    {"Hypot", -0.0, -0.0, 0.0, 0, 0},
    {"Hypot", 0.0, -2, 2, 0, 0},
    {"Hypot", quiet_nan, inf, inf, 0, 0},
    {"Hypot", -inf, quiet_nan, inf, 0, 0},
    {"Hypot", quiet_nan, 1, quiet_nan, 0, 0},
    {"Hypot", 1, quiet_nan, quiet_nan, 0, 0},
    {"Hypot", quiet_nan, quiet_nan, quiet_nan, 0, 0},
    {"Hypot", 0x1p-149, 0, 0x1p-149, 0, 0},
    {"Hypot", 0x1.8p-148, -0x1p-147, 0x1.4p-147, 0, 0}, // 3, 4, 5 times the smallest float
};

const Case floats[] = {
    {"Pow3o2", 0x1p-100, 0, 0.0, 0, 0},
    {"Pow3o2", 0x1p-98, 0, 0x1p-147, 0, 0}, // denormal
    {"Pow3o2", 0x1.428a2ep85, 0, 0x1.fffffcp127, 0, 0},
    {"Pow3o2", 0x1.428a3p85, 0, inf, 0, 0},
    {"Hypot", 0x1.8p127, 0x1.8p127, inf, 0, 0},
};

const Case doubles[] = {
    {"InvSqrt", 0x1p-1074, 0, 0x1p537, 0, 0},
    {"Cbrt", 0x1p-1074, 0, 0x1p-358, 0, 0},
    {"InvCbrt", -0x1p-1074, 0, -0x1p358, 0, 0},
    {"Pow2o3", 0x1p-1074, 0, 0x1p-716, 0, 0},
    // The last that doesn't overflow shares its upper word with those that do.
    {"Pow3o2", 0x1.965fea53d6e3cp682, 0, 0x1.fffffffffffffp1023, 0, 0},
    {"Pow3o2", 0x1.965fea53d6e3dp682, 0, inf, 0, 0},
    {"Pow3o2", 0x1.966p682, 0, inf, 0, 0},
    {"Pow3o2", 0x1p-680, 0, 0x1p-1020, 0, 0},
    {"Pow3o2", 0x1p-682, 0, 0x1p-1023, 0, 0}, // denormal
    {"Pow3o2", 0x1p-716, 0, 0x1p-1074, 0, 0},
    {"Pow3o2", 0x1p-718, 0, 0.0, 0, 0},
    {"Pow3o2", 0x1p-1074, 0, 0.0, 0, 0},
    {"Hypot", 0x1p-1074, 0x1p-1074, 0x1p-1074, 0, 0}, // 1.41 times the smallest number
    {"Hypot", 0x1p-1073, 0x1p-1074, 0x1p-1073, 0, 0}, // 2.24
    {"Hypot", 0x1p1023, 0x1p1023, 0x1.6a09e667f3bcdp1023, 0, 0},
    {"Hypot", 0x1.8p1023, 0x1.8p1023, inf, 0, 0},
    {"Hypot", 0x1p1000, 0x1p-1000, 0x1p1000, 0, 0},
    {"Hypot", -0x1p-900, 0x1p-1074, 0x1p-900, 0, 0},
};

TEST_F(SpecialValues, Roots) {
    check_cases("sd", both);
    check_cases("s", floats);
    check_cases("d", doubles);
}

template <class T> void expect_no_flags(const char* row, T x) {
    T a[8], y[8];
    std::fill_n(a, 8, x);
    Arguments<T> v{.a = a, .b = a, .y = y};
    v.inca = v.incb = v.incy = 2;
    for (const char* form : {"", "I"}) {
        std::feclearexcept(FE_ALL_EXCEPT);
        call(row_of(row + std::string(form)), 4, v);
        EXPECT_EQ(0, std::fetestexcept(FE_ALL_EXCEPT & ~FE_INEXACT)) << row << form << " of " << x;
    }
}

// The reductions work on bits, also for lanes that the formulas can't handle.
TEST_F(SpecialValues, RootsOfSpecialArgumentsRaiseNoFlags) {
    for (double x : {0.0, inf, quiet_nan}) {
        for (const char* row : {"sCbrt", "sPow2o3", "sPow3o2", "sHypot"}) expect_no_flags(row, static_cast<float>(x));
        for (const char* row : {"dCbrt", "dPow2o3", "dPow3o2", "dHypot"}) expect_no_flags(row, x);
    }
}

} // namespace
