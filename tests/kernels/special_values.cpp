// Special values and statuses, row by row, in both forms; and what a callback sees while a call runs.

#include "tests/support/special_cases.h"

#include <bit>
#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace nvo::tests;

// Values that are the same in both types and both forms.
const Case cases[] = {
    {"Inv", 0.0, 0, inf, 0, ARK_STATUS_SINGULARITY},
    {"Inv", -0.0, 0, -inf, 0, ARK_STATUS_SINGULARITY},
    {"Inv", inf, 0, 0.0, 0, 0},
    {"Inv", -inf, 0, -0.0, 0, 0},
    {"Inv", quiet_nan, 0, quiet_nan, 0, 0},
    {"Inv", -4, 0, -0.25, 0, 0},

    {"Div", 0, 0, quiet_nan, 0, ARK_STATUS_SINGULARITY},
    {"Div", 1, -0.0, -inf, 0, ARK_STATUS_SINGULARITY},
    {"Div", -1, -0.0, inf, 0, ARK_STATUS_SINGULARITY},
    {"Div", 1, inf, 0.0, 0, 0},
    {"Div", inf, 0, inf, 0, 0},
    {"Div", inf, inf, quiet_nan, 0, 0},
    {"Div", quiet_nan, 0, quiet_nan, 0, 0},
    {"Div", 0, quiet_nan, quiet_nan, 0, 0},
    {"Div", 0, -3, -0.0, 0, 0},

    {"Sqrt", 0.0, 0, 0.0, 0, 0},
    {"Sqrt", -0.0, 0, -0.0, 0, 0},
    {"Sqrt", -1, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"Sqrt", -1e-45, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"Sqrt", -inf, 0, quiet_nan, 0, ARK_STATUS_DOMAIN},
    {"Sqrt", inf, 0, inf, 0, 0},
    {"Sqrt", quiet_nan, 0, quiet_nan, 0, 0},
    {"Sqrt", 0x1p-148, 0, 0x1p-74, 0, 0},
    {"Sqrt", 0x1p126, 0, 0x1p63, 0, 0},

    {"Add", inf, -inf, quiet_nan, 0, 0},
    {"Sub", inf, inf, quiet_nan, 0, 0},
    {"Mul", 0, inf, quiet_nan, 0, 0},
    {"Sqr", -inf, 0, inf, 0, 0},
    {"Abs", -0.0, 0, 0.0, 0, 0},
    {"Abs", -inf, 0, inf, 0, 0},

    {"Ceil", -0.5, 0, -0.0, 0, 0},
    {"Ceil", -0.75, 0, -0.0, 0, 0},
    {"Ceil", 0.25, 0, 1, 0, 0},
    {"Ceil", -0.0, 0, -0.0, 0, 0},
    {"Ceil", 1e-40, 0, 1, 0, 0},
    {"Ceil", -1e-40, 0, -0.0, 0, 0},
    {"Ceil", 4194304.5, 0, 4194305, 0, 0},
    {"Ceil", -4194304.5, 0, -4194304, 0, 0},
    {"Ceil", 8388609, 0, 8388609, 0, 0},
    {"Ceil", inf, 0, inf, 0, 0},
    {"Ceil", quiet_nan, 0, quiet_nan, 0, 0},
    {"Floor", -1e-40, 0, -1, 0, 0},
    {"Floor", 0.5, 0, 0.0, 0, 0},
    {"Floor", 0.75, 0, 0.0, 0, 0},
    {"Floor", -0.0, 0, -0.0, 0, 0},
    {"Floor", 4194304.5, 0, 4194304, 0, 0},
    {"Floor", -4194304.5, 0, -4194305, 0, 0},
    {"Floor", -2.5, 0, -3, 0, 0},
    {"Floor", -inf, 0, -inf, 0, 0},
    {"Trunc", -0.75, 0, -0.0, 0, 0},
    {"Trunc", 2.75, 0, 2, 0, 0},
    {"Trunc", -8388607.5, 0, -8388607, 0, 0},
    {"Trunc", -inf, 0, -inf, 0, 0},
    {"Round", 2.5, 0, 3, 0, 0},
    {"Round", -2.5, 0, -3, 0, 0},
    {"Round", 0.5, 0, 1, 0, 0},
    {"Round", -0.49, 0, -0.0, 0, 0},
    {"Round", 0x1.fffffep-2, 0, 0.0, 0, 0}, // the float below one half
    {"Round", 8388607.5, 0, 8388608, 0, 0},
    {"Round", inf, 0, inf, 0, 0},
    {"Rint", 2.5, 0, 2, 0, 0},
    {"Rint", 3.5, 0, 4, 0, 0},
    {"Rint", 0.5, 0, 0.0, 0, 0},
    {"Rint", -0.5, 0, -0.0, 0, 0},
    {"Rint", 1.5, 0, 2, 0, 0},
    {"Rint", -8388606.5, 0, -8388606, 0, 0},
    {"Rint", -inf, 0, -inf, 0, 0},
    {"NearbyInt", -1.5, 0, -2, 0, 0},
    {"NearbyInt", quiet_nan, 0, quiet_nan, 0, 0},
    {"Frac", -3, 0, -0.0, 0, 0},
    {"Frac", 3, 0, 0.0, 0, 0},
    {"Frac", -3.25, 0, -0.25, 0, 0},
    {"Frac", inf, 0, 0.0, 0, 0},
    {"Frac", -inf, 0, -0.0, 0, 0},
    {"Frac", quiet_nan, 0, quiet_nan, 0, 0},
    {"Frac", 16777217, 0, 0.0, 0, 0},
    {"Modf", -inf, 0, -inf, -0.0, 0},
    {"Modf", inf, 0, inf, 0.0, 0},
    {"Modf", quiet_nan, 0, quiet_nan, quiet_nan, 0},
    {"Modf", -3.25, 0, -3, -0.25, 0},
    {"Modf", -3, 0, -3, -0.0, 0},
    {"Modf", 0.5, 0, 0.0, 0.5, 0},
    {"Modf", -0.0, 0, -0.0, -0.0, 0},
};

TEST_F(SpecialValues, OfAllRows) { check_cases("sd", cases); }

TEST_F(SpecialValues, OfDoublesBeyondFloats) {
    const Case doubles[] = {
        {"Sqrt", 0x1p-1074, 0, 0x1p-537, 0, 0},
        {"Sqrt", 0x1p-1022, 0, 0x1p-511, 0, 0},
        {"Sqrt", 0x1p1022, 0, 0x1p511, 0, 0},
        {"Sqrt", std::numeric_limits<double>::max(), 0, 0x1.fffffffffffffp511, 0, 0},
        {"Ceil", 0x1.fffffffffffffp51, 0, 0x1p52, 0, 0},
        {"Floor", -0x1.fffffffffffffp51, 0, -0x1p52, 0, 0},
        {"Floor", -0x1.0000000000001p0, 0, -2, 0, 0},
        {"Ceil", 0x1.00000000001p21, 0, 2097153, 0, 0},
        {"Round", 0x1.fffffffffffffp-2, 0, 0.0, 0, 0},
        {"Round", 0x1.fffffffffffffp51, 0, 0x1p52, 0, 0},
        {"Rint", 0x1.ffffffffffffdp51, 0, 0x1.ffffffffffffcp51, 0, 0},
        {"Trunc", -0x1.fffffffffffffp51, 0, -0x1.ffffffffffffep51, 0, 0},
        {"Frac", 0x1.fffffffffffffp51, 0, 0.5, 0, 0},
    };
    check_cases("d", doubles);
}

TEST_F(SpecialValues, SignallingNaNs) {
    const auto quiet_float = std::bit_cast<float>(0x7FA00000U); // signalling, as all below
    const auto quiet_double = std::bit_cast<double>(0x7FF4000000000001U);
    for (const char* row : {"sCeil", "sFloor", "sTrunc", "sRound", "sRint", "sNearbyInt"}) {
        EXPECT_EQ(0x7FE00000U, std::bit_cast<std::uint32_t>(one(row, quiet_float, 0.0F).y)) << row;
    }
    for (const char* row : {"dCeil", "dFloor", "dTrunc", "dRound"}) {
        EXPECT_EQ(0x7FF4000000000001U, std::bit_cast<std::uint64_t>(one(row, quiet_double, 0.0).y)) << row;
    }
    for (const char* row : {"dRint", "dNearbyInt", "dCeilI", "dTruncI", "dRintI"}) {
        EXPECT_EQ(0x7FFC000000000001U, std::bit_cast<std::uint64_t>(one(row, quiet_double, 0.0).y)) << row;
    }
    EXPECT_EQ(0x7FA00000U, std::bit_cast<std::uint32_t>(one("sAbs", -quiet_float, 0.0F).y));
}

// ---- While a call runs --------------------------------------------------------------------------------------------

struct Seen {
    std::vector<int> indices;
    std::vector<std::vector<float>> results; // the whole result vector at each report
    std::string name;
};
Seen seen;
const float* watched;
int watched_size;
float repaired;

std::int32_t watch(ArkErrorRecord* record) {
    seen.indices.push_back(record->index);
    seen.results.emplace_back(watched, watched + watched_size);
    seen.name = record->funcName;
    record->res1 = repaired;
    return 0;
}

Seen watch_call(const std::string& name, const std::vector<float>& a, const std::vector<float>& b, int stride,
                std::vector<float>& y) {
    seen = {};
    watched = y.data();
    watched_size = static_cast<int>(y.size());
    Arguments<float> v{.a = a.data(), .b = b.data(), .y = y.data()};
    v.inca = v.incb = 1;
    v.incy = stride;
    nvo_ark_kernel_SetErrorCallBack(watch);
    call(row_of(name), static_cast<std::int32_t>(a.size()), v);
    nvo_ark_kernel_ClearErrorCallBack();
    return seen;
}

TEST_F(SpecialValues, CallbacksComeInOrderAndSeeTheirElementStoredAndNoOtherOfItsBlock) {
    repaired = 7;
    // Element 6 is in the second block of 4, elements 9 and 10 in the tail.
    const std::vector<float> a = {1, 4, 9, 16, 25, 36, -1, 64, 81, -2, -3};
    std::vector<float> y(11, -5);
    const Seen unit = watch_call("sSqrt", a, a, 1, y);
    EXPECT_EQ((std::vector<int>{6, 9, 10}), unit.indices);
    EXPECT_EQ("vsSqrt", unit.name);
    EXPECT_EQ((std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 7, 7}), y);
    const std::vector<float>& first = unit.results[0];
    EXPECT_EQ((std::vector<float>{1, 2, 3, 4, -5, -5}), std::vector<float>(first.begin(), first.begin() + 6));
    EXPECT_TRUE(std::isnan(first[6]));
    EXPECT_EQ(-5, first[7]);
    const std::vector<float>& third = unit.results[2];
    EXPECT_EQ((std::vector<float>{5, 6, 7, 8, -5, 7}), std::vector<float>(third.begin() + 4, third.begin() + 10));

    std::vector<float> spread(22, -5);
    const Seen strided = watch_call("sSqrtI", a, a, 2, spread);
    EXPECT_EQ(unit.indices, strided.indices);
    EXPECT_EQ("vsSqrt", strided.name);
    for (int i = 0; i < 11; ++i) {
        EXPECT_EQ(y[i], spread[2 * i]);
        EXPECT_EQ(-5, spread[2 * i + 1]);
    }
    EXPECT_EQ(-5, strided.results[0][8]); // element 4, of the same block as element 6
}

TEST_F(SpecialValues, ScalarRowsStoreEachElementBeforeTheNext) {
    repaired = 3;
    const std::vector<float> a = {1, 2, 0, 4, 0, 8};
    std::vector<float> y(6, -5);
    const Seen unit = watch_call("sInv", a, a, 1, y);
    EXPECT_EQ("vsInv", unit.name);
    EXPECT_EQ((std::vector<float>{1, 0.5, 3, 0.25, 3, 0.125}), y);
    EXPECT_EQ((std::vector<float>{1, 0.5, std::numeric_limits<float>::infinity(), -5, -5, -5}), unit.results.at(0));

    std::vector<float> quotients(6, -5);
    EXPECT_EQ("vsDiv", watch_call("sDiv", y, a, 1, quotients).name);
    std::vector<float> spread(12, -5);
    EXPECT_EQ("vsInvI", watch_call("sInvI", a, a, 2, spread).name);
    EXPECT_EQ("vsDivI", watch_call("sDivI", y, a, 2, spread).name);
    // With strides of 1 the unit-stride row does the work, and reports under its name.
    EXPECT_EQ("vsInv", watch_call("sInvI", a, a, 1, y).name);
}

TEST_F(SpecialValues, InPlaceReportsShowTheResultForTheArgument) {
    static double argument;
    nvo_ark_kernel_SetErrorCallBack([](ArkErrorRecord* record) -> std::int32_t {
        argument = record->arg1;
        return 1;
    });
    double v[3] = {1, 0, 4};
    _arkdInv(3, v, v);
    EXPECT_EQ(inf, argument);
    EXPECT_EQ(0.25, v[2]);
}

} // namespace
